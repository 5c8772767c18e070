// Operations that move pixels without changing them: quarter and half turns,
// blank-margin detection with its rectangle copy, and the periodic whitening
// that turns long black runs into dashes.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "BmpArith.h"
#include "BmpProcessing.h"

namespace {

// Rotation codes: a quarter turn, a half turn, a quarter turn the other way.
constexpr short kQuarterTurn = 0, kHalfTurn = 1, kQuarterTurnBack = 2;

// Pixels are grouped in bytes of eight when boxes are widened.
constexpr int32_t kByteGroup = 8;

// Byte-level ink thresholds of the blank-edge search: an 8-bit pixel below
// 251 is ink; a 24-bit pixel is ink only when no byte exceeds 250.
constexpr unsigned kInk8Below = 251, kInk24Max = 250;

// Rounds v down to a multiple of 8.
int32_t FloorToByteGroup(int32_t v)
{
    return v - v % kByteGroup;
}

// Returns a buffer of `need` bytes: the caller's when it is large enough,
// else a new one from malloc recorded in *buffer and *capacity. nullptr
// when the caller's buffer is too small or memory runs out.
unsigned char* ObtainOutput(unsigned char** buffer, unsigned int* capacity, uint64_t need)
{
    if (need > UINT32_MAX) {
        return nullptr;
    }
    if (*buffer != nullptr) {
        return need <= *capacity ? *buffer : nullptr;
    }
    unsigned char* p = static_cast<unsigned char*>(std::malloc(need == 0 ? 1 : need));
    if (p != nullptr) {
        *buffer = p;
        *capacity = static_cast<unsigned int>(need);
    }
    return p;
}

// Copies one pixel of `bytes` bytes.
inline void CopyPixel(unsigned char* to, const unsigned char* from, int bytes)
{
    for (int i = 0; i < bytes; ++i) {
        to[i] = from[i];
    }
}

// Copies the w x h source into the rotated output (code 0, 1 or 2).
void RotatePixels(const unsigned char* src, int64_t w, int64_t h, int64_t srcStride, unsigned char* out,
                  int64_t outStride, short rotation, int bytes)
{
    if (rotation == kHalfTurn) {
        for (int64_t y = 0; y < h; ++y) {
            const unsigned char* row = src + (h - 1 - y) * srcStride;
            unsigned char* o = out + y * outStride;
            for (int64_t x = 0; x < w; ++x) {
                CopyPixel(o + x * bytes, row + (w - 1 - x) * bytes, bytes);
            }
        }
        return;
    }
    // Quarter turns: output row y is one source column, w rows of h pixels.
    for (int64_t y = 0; y < w; ++y) {
        unsigned char* o = out + y * outStride;
        if (rotation == kQuarterTurn) {
            const unsigned char* col = src + (w - 1 - y) * bytes;
            for (int64_t x = 0; x < h; ++x) {
                CopyPixel(o + x * bytes, col + x * srcStride, bytes);
            }
        } else {
            const unsigned char* col = src + y * bytes + (h - 1) * srcStride;
            for (int64_t x = 0; x < h; ++x) {
                CopyPixel(o + x * bytes, col - x * srcStride, bytes);
            }
        }
    }
}

// The rectangle of the rotated pixels in the rotated page, from the source
// rectangle and the page size W x H before the turn.
tagRECT RotatedRect(const tagRECT& r, int64_t W, int64_t H, int64_t w, int64_t h, short rotation)
{
    int64_t left = 0, top = 0, right = 0, bottom = 0;
    if (rotation == kHalfTurn) {
        left = W + r.left - 1 - r.right;
        top = r.top + H - 1 - r.bottom;
        right = left + w - 1;
        bottom = top + h - 1;
    } else if (rotation == kQuarterTurn) {
        left = r.top;
        right = int64_t{r.top} + h - 1;
        top = r.top + W - 1 - r.right;
        bottom = top + w - 1;
    } else {
        left = r.top + H - 1 - r.bottom;
        right = left + h - 1;
        top = r.left;
        bottom = r.right;
    }
    return tagRECT{static_cast<int32_t>(left), static_cast<int32_t>(top), static_cast<int32_t>(right),
                   static_cast<int32_t>(bottom)};
}

// Whether pixel x of a row is ink at the given depth.
bool IsInk(const unsigned char* row, int32_t x, int bitCount)
{
    switch (bitCount) {
    case 8:
        return row[x] < kInk8Below;
    case 24: {
        const unsigned char* p = row + 3 * int64_t{x};
        return p[0] <= kInk24Max && p[1] <= kInk24Max && p[2] <= kInk24Max;
    }
    case 1:
        return ((row[x / 8] >> (7 - x % 8)) & 1u) == 0;
    default:
        return false;
    }
}

// Extent of the ink pixels of an image.
struct InkBox {
    bool found = false;
    int32_t minX = 0, maxX = 0, minY = 0, maxY = 0;
};

// Returns the extent of the ink. The first ink pixel of a column-major scan
// has the smallest column, that of a row-major scan the smallest row, so
// one row-major pass finds all four edges.
InkBox FindInk(const unsigned char* src, int32_t W, int32_t H, int64_t stride, int bitCount)
{
    InkBox box;
    for (int32_t y = 0; y < H; ++y) {
        const unsigned char* row = src + y * stride;
        for (int32_t x = 0; x < W; ++x) {
            if (!IsInk(row, x, bitCount)) {
                continue;
            }
            if (!box.found) {
                box = InkBox{true, x, x, y, y};
            }
            box.minX = std::min(box.minX, x);
            box.maxX = std::max(box.maxX, x);
            box.maxY = y;
        }
    }
    return box;
}

}  // namespace

int CBmpProcessing::RotateImgData(const unsigned char* src, unsigned int srcSize, tagRECT srcRect,
                                  tagBITMAPINFOHEADER* header, short rotation, unsigned char** output,
                                  unsigned int* outputCapacity, tagRECT* outputRect)
{
    if (src == nullptr || header == nullptr || header->biBitCount == 1) {
        return 0;
    }
    if (rotation != kQuarterTurn && rotation != kHalfTurn && rotation != kQuarterTurnBack) {
        return 1;
    }
    const int64_t w = int64_t{srcRect.right} - srcRect.left + 1;
    const int64_t h = int64_t{srcRect.bottom} - srcRect.top + 1;
    if (output == nullptr || outputCapacity == nullptr || outputRect == nullptr || w < 1 || h < 1) {
        return 0;
    }
    const int bitCount = header->biBitCount;
    const int64_t srcStride = BmpRowStride(bitCount, w);
    if (static_cast<uint64_t>(srcSize) < static_cast<uint64_t>(h * srcStride)) {
        return 0;
    }
    const int64_t outW = rotation == kHalfTurn ? w : h;
    const int64_t outH = rotation == kHalfTurn ? h : w;
    const int64_t outStride = BmpRowStride(bitCount, outW);
    const uint64_t need = static_cast<uint64_t>(outH * outStride);
    unsigned char* out = ObtainOutput(output, outputCapacity, need);
    if (out == nullptr) {
        if (*output != nullptr && need <= UINT32_MAX) {
            *outputCapacity = static_cast<unsigned int>(need);
        }
        return 0;
    }
    // The whole stated capacity goes white, not only the image.
    std::memset(out, 255, *outputCapacity);
    if (bitCount == 8 || bitCount == 24) {
        RotatePixels(src, w, h, srcStride, out, outStride, rotation, bitCount / 8);
    }

    const int64_t W = header->biWidth, H = header->biHeight;
    header->biWidth = static_cast<int32_t>(outW);
    header->biHeight = static_cast<int32_t>(outH);
    // biSize is kept as a running total of header and image.
    header->biSize = header->biSize - header->biSizeImage + static_cast<uint32_t>(need);
    header->biSizeImage = static_cast<uint32_t>(need);
    *outputRect = RotatedRect(srcRect, W, H, w, h, rotation);
    return 1;
}

int CBmpProcessing::RemoveBlankEdge(const unsigned char* src, unsigned int srcSize, const tagBITMAPINFOHEADER* header,
                                    unsigned char** output, unsigned int* outputCapacity, tagRECT* found)
{
    if (src == nullptr || header == nullptr || output == nullptr || outputCapacity == nullptr || found == nullptr ||
        header->biWidth < 1 || header->biHeight < 1) {
        return 0;
    }
    const int32_t W = header->biWidth, H = header->biHeight;
    const int bitCount = header->biBitCount;
    const int64_t stride = BmpRowStride(bitCount, W);
    if (static_cast<uint64_t>(srcSize) < static_cast<uint64_t>(H * stride)) {
        return 0;
    }
    tagRECT r{0, 0, W - 1, H - 1};
    const InkBox ink = FindInk(src, W, H, stride, bitCount);
    if (ink.found) {
        r.left = FloorToByteGroup(ink.minX);
        r.top = FloorToByteGroup(ink.minY);
        r.right = ink.maxX;
        // The last ink row is the bottom only at 8 bits; at 24 and 1 bits it
        // lands in `top` and the band runs to the end of the image.
        if (bitCount == 8) {
            r.bottom = ink.maxY;
        } else if (bitCount == 24 || bitCount == 1) {
            r.top = ink.maxY;
        }
    }
    int64_t width = int64_t{r.right} - r.left + 1;
    if (width % kByteGroup != 0) {
        width += kByteGroup - width % kByteGroup;
        r.right = static_cast<int32_t>(r.left + width - 1);
    }
    *found = r;
    const uint64_t need = static_cast<uint64_t>(BmpRowStride(bitCount, width) * (int64_t{r.bottom} - r.top + 1));
    const bool fresh = *output == nullptr;
    unsigned char* out = ObtainOutput(output, outputCapacity, need);
    if (out == nullptr) {
        return 0;
    }
    if (fresh) {
        std::memset(out, 0, *outputCapacity);
    }
    if (bitCount == 8) {
        Copy8BitImgBitRect(src, static_cast<unsigned int>(W), static_cast<unsigned int>(H), out, &r);
    }
    return 1;
}

int CBmpProcessing::Copy8BitImgBitRect(const unsigned char* src, unsigned int srcWidth, unsigned int srcHeight,
                                       unsigned char* dst, const tagRECT* rect)
{
    if (src == nullptr || dst == nullptr || rect == nullptr) {
        return 0;
    }
    if (int64_t{rect->bottom} - rect->top == -1) {
        return 1;
    }
    if (rect->left < 0 || rect->top < 0 || rect->bottom < rect->top || rect->right < rect->left) {
        return 0;
    }
    const int64_t S = BmpRowStride(8, srcWidth);
    const int64_t D = (int64_t{rect->right} - rect->left + kByteGroup) / kByteGroup * kByteGroup;
    const int64_t L = std::min(S, D);
    const int64_t total = S * int64_t{srcHeight};
    for (int64_t r = 0; r <= int64_t{rect->bottom} - rect->top; ++r) {
        // A row that runs past the image reads its missing bytes as white.
        const int64_t start = (rect->top + r) * S + rect->left;
        const int64_t avail = std::max<int64_t>(0, std::min(L, total - start));
        unsigned char* d = dst + r * D;
        if (avail > 0) {
            std::memcpy(d, src + start, static_cast<size_t>(avail));
        }
        std::memset(d + avail, 255, static_cast<size_t>(L - avail));
    }
    return 1;
}

int CBmpProcessing::ResetBlackLineData(unsigned char* data, unsigned int size, short keptRun, short whiteRun,
                                       short bitCount)
{
    if (data == nullptr) {
        return 0;
    }
    const short period = static_cast<short>(keptRun + whiteRun);
    if (period <= 0) {
        return 1;
    }
    if (bitCount == 8) {
        if (size <= static_cast<unsigned int>(period)) {
            return 1;
        }
        // The last `whiteRun` bytes of every whole period go white.
        for (int64_t i = period; i < size; i += period) {
            for (int64_t k = std::max<int64_t>(0, i - whiteRun); k < i; ++k) {
                data[k] = 255;
            }
        }
    } else if (bitCount == 1) {
        const int64_t bits = int64_t{size} * 8;
        if (period >= bits || whiteRun <= 0) {
            return 1;
        }
        // Here the white run starts at the period boundary.
        for (int64_t i = period; i < bits; i += period) {
            for (int64_t k = i; k < std::min(bits, i + whiteRun); ++k) {
                data[k / 8] = static_cast<unsigned char>(data[k / 8] | (0x80u >> (k % 8)));
            }
        }
    }
    return 1;
}
