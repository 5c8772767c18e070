// Conversion of a page to oriented, cropped 8-bit grey (the renderer's main
// conversion step), expansion of 1-bit bitmaps to 8-bit grey, and cutting
// the file name off a path.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>

#include "BmpArith.h"
#include "BmpProcessing.h"
#include "BmpTone.h"
#include "MallocBuffer.h"

namespace {

// Pixels are grouped in bytes of eight when the kept box is widened.
constexpr int64_t kByteGroup = 8;

// Spare white bytes after the work image: the final copy reads whole
// bytes of eight pixels and may run up to seven bytes past the last row.
constexpr int64_t kWorkSpare = kByteGroup;

// Orientation codes of the conversion; any other value keeps the page.
constexpr int kTurnLeft = 0;
constexpr int kTurnHalf = 1;
constexpr int kTurnRight = 2;

// Grey value meaning "near-white pixel left out of the kept box".
constexpr int16_t kSkipped = -1;

// A 1-bit bitmap in memory: the header, then two palette entries.
constexpr size_t kPaletteOffset = sizeof(tagBITMAPINFOHEADER);
constexpr size_t kPaletteEntries = 2;

using kvimg::MallocBuffer;

// Rows, columns and stride of the oriented work image.
struct Oriented {
    int64_t rows;    // R
    int64_t cols;    // K, the width after the cap
    int64_t stride;  // T
};

// Returns the oriented image's size for a W x H page.
Oriented OrientedSize(int64_t W, int64_t H, int orientation, int maxWidth)
{
    const bool sideways = orientation == kTurnLeft || orientation == kTurnRight;
    Oriented o;
    o.rows = sideways ? W : H;
    // A negative cap keeps no column at all.
    o.cols = std::max<int64_t>(0, std::min<int64_t>(sideways ? H : W, maxWidth));
    o.stride = BmpRowStride(8, o.cols);
    return o;
}

// Where one source row lands: oriented column and row of pixel x are
// col0 + dcol * x and row0 + drow * x.
struct RowMap {
    int64_t col0, dcol, row0, drow;
};

// Returns the mapping of source row y of a W x H page.
RowMap MapRow(int orientation, int64_t W, int64_t H, int64_t y)
{
    switch (orientation) {
    case kTurnLeft:
        return RowMap{y, 0, W - 1, -1};
    case kTurnHalf:
        return RowMap{W - 1, -1, H - 1 - y, 0};
    case kTurnRight:
        return RowMap{H - 1 - y, 0, 0, 1};
    default:
        return RowMap{0, 1, y, 0};
    }
}

// Extent of the kept pixels in the oriented image.
struct KeptBox {
    int64_t minCol = INT64_MAX, maxCol = -1, minRow = INT64_MAX, maxRow = -1;
};

// Grey values of the conversion, prepared once per call so the per-pixel
// loop only looks values up.
struct GreyTables {
    int16_t grey8[256];    // 8-bit source: grey per byte, or kSkipped
    uint8_t channel[256];  // 24-bit source: light (if on) then levels
    uint8_t black[3];      // mapped channels of (0, 0, 0): light keeps black
    bool cropWhite;
    bool redFirst;  // 24-bit pixels are red, green, blue (else blue first)
};

// Grey of a non-near-white pixel from its three mapped channels.
int16_t GreyOfMapped(uint8_t r, uint8_t g, uint8_t b)
{
    if (r >= kvimg::kLevelsWhite && g >= kvimg::kLevelsWhite && b >= kvimg::kLevelsWhite) {
        return 255;
    }
    return kvimg::GreyOf(r, g, b);
}

// Grey of one pixel by the conversion's rules, or kSkipped.
int16_t GreyOfPixel(uint8_t b, uint8_t g, uint8_t r, bool light, const int16_t* lightTable, const uint8_t* levels,
                    bool cropWhite)
{
    if (b >= kvimg::kLevelsWhite && g >= kvimg::kLevelsWhite && r >= kvimg::kLevelsWhite) {
        return cropWhite ? kSkipped : 255;
    }
    if (light) {
        kvimg::ApplyLight(lightTable, r, g, b);
    }
    return GreyOfMapped(levels[r], levels[g], levels[b]);
}

// Fills the lookup tables for one call.
void PrepareTables(GreyTables& t, bool light, const int16_t* lightTable, const uint8_t* levels, bool cropWhite)
{
    t.cropWhite = cropWhite;
    for (int v = 0; v < 256; ++v) {
        const uint8_t u = static_cast<uint8_t>(v);
        t.grey8[v] = GreyOfPixel(u, u, u, light, lightTable, levels, cropWhite);
        t.channel[v] = levels[light ? static_cast<uint8_t>(lightTable[v]) : u];
    }
    t.black[0] = t.black[1] = t.black[2] = levels[0];
}

// Grey of a 24-bit pixel from the tables, or kSkipped. Equal to
// GreyOfPixel: a pixel that gets this far is not near-white, so the light
// step can only keep pure black or look each channel up.
inline int16_t GreyOf24(const GreyTables& t, uint8_t b, uint8_t g, uint8_t r)
{
    if (b >= kvimg::kLevelsWhite && g >= kvimg::kLevelsWhite && r >= kvimg::kLevelsWhite) {
        return t.cropWhite ? kSkipped : 255;
    }
    if ((b | g | r) == 0) {
        return GreyOfMapped(t.black[2], t.black[1], t.black[0]);
    }
    return GreyOfMapped(t.channel[r], t.channel[g], t.channel[b]);
}

// Grey of the 24-bit pixel at `p`, red first or blue first.
template <bool RedFirst>
inline int16_t GreyOfPixel24(const GreyTables& t, const unsigned char* p)
{
    return RedFirst ? GreyOf24(t, p[2], p[1], p[0]) : GreyOf24(t, p[0], p[1], p[2]);
}

// Grey of the 24-bit pixel at `p` in the tables' channel order.
inline int16_t GreyOfPixel24(const GreyTables& t, const unsigned char* p)
{
    return t.redFirst ? GreyOfPixel24<true>(t, p) : GreyOfPixel24<false>(t, p);
}

// Records a kept pixel in the box and stores it in the work image. Pixels
// beyond the width cap widen only the rows, yet are still stored whenever
// their linear index falls inside the work image (so they can land at the
// start of the next work row); the conversion has always behaved so.
inline void KeepPixel(KeptBox& box, unsigned char* work, int64_t workSize, int64_t cols, int64_t col, int64_t row,
                      int64_t index, int16_t grey)
{
    if (col < cols) {
        box.minCol = std::min(box.minCol, col);
        box.maxCol = std::max(box.maxCol, col);
    }
    box.minRow = std::min(box.minRow, row);
    box.maxRow = std::max(box.maxRow, row);
    if (index < workSize) {
        work[index] = static_cast<uint8_t>(grey);
    }
}

// Pixels passed over together when all of them are near-white.
constexpr int64_t kWhiteRun = 32;

// True when every byte of `bytes` bytes at `p` is at least the near-white
// level, so every pixel among them is near-white. Written as one minimum so
// that the compiler does it many bytes at a time.
inline bool AllNearWhite(const unsigned char* p, int64_t bytes)
{
    unsigned char least = 255;
    for (int64_t i = 0; i < bytes; ++i) {
        least = std::min(least, p[i]);
    }
    return least >= kvimg::kLevelsWhite;
}

// Whether ConvertUnturned24 may convert the page: 24-bit pixels kept in
// place (orientation codes other than 0 to 2), near-white ones left out.
bool UnturnedCroppedPage(int orientation, int bitCount, const GreyTables& t)
{
    const bool turned = orientation == kTurnLeft || orientation == kTurnHalf || orientation == kTurnRight;
    return !turned && bitCount == 24 && t.cropWhite;
}

// ConvertPixels for the pages labels come as: unturned 24-bit pages cropped
// to their content, mostly white; with `whitenRows` each work row is made
// white just before its source row is converted. Runs of near-white pixels are passed over
// kWhiteRun at a time and the box grows once per row; the result is
// ConvertPixels' own, pixels beyond the width cap included.
template <bool RedFirst>
KeptBox ConvertUnturned24(const unsigned char* src, int64_t W, int64_t H, const Oriented& o, const GreyTables& t,
                          unsigned char* work, bool whitenRows)
{
    KeptBox box;
    const int64_t S = BmpRowStride(24, W);
    const int64_t workSize = o.rows * o.stride;
    for (int64_t y = 0; y < H; ++y) {
        const unsigned char* row = src + y * S;
        unsigned char* out = work + y * o.stride;
        if (whitenRows) {
            std::memset(out, 255, static_cast<size_t>(o.stride));
        }
        int64_t first = -1, last = -1;
        for (int64_t x = 0; x < o.cols;) {
            if (x + kWhiteRun <= o.cols && AllNearWhite(row + 3 * x, 3 * kWhiteRun)) {
                x += kWhiteRun;
                continue;
            }
            const int64_t end = std::min(o.cols, x + kWhiteRun);
            for (; x < end; ++x) {
                const unsigned char* p = row + 3 * x;
                const int16_t grey = GreyOfPixel24<RedFirst>(t, p);
                if (grey != kSkipped) {
                    first = first < 0 ? x : first;
                    last = x;
                    out[x] = static_cast<uint8_t>(grey);
                }
            }
        }
        if (first >= 0) {
            box.minCol = std::min(box.minCol, first);
            box.maxCol = std::max(box.maxCol, last);
            box.minRow = std::min(box.minRow, y);
            box.maxRow = std::max(box.maxRow, y);
        }
        for (int64_t x = o.cols; x < W; ++x) {
            const unsigned char* p = row + 3 * x;
            const int16_t grey = GreyOfPixel24<RedFirst>(t, p);
            if (grey != kSkipped) {
                KeepPixel(box, work, workSize, o.cols, x, y, y * o.stride + x, grey);
            }
        }
    }
    return box;
}

// Converts every source pixel into the work image and returns the box.
KeptBox ConvertPixels(const unsigned char* src, int64_t W, int64_t H, int bitCount, int orientation, const Oriented& o,
                      const GreyTables& t, unsigned char* work)
{
    KeptBox box;
    const int64_t S = BmpRowStride(bitCount, W);
    const int64_t workSize = o.rows * o.stride;
    // Other depths are never read: every pixel keeps the first values, 0.
    const int16_t otherGrey = GreyOf24(t, 0, 0, 0);
    for (int64_t y = 0; y < H; ++y) {
        const RowMap m = MapRow(orientation, W, H, y);
        const unsigned char* row = src + y * S;
        int64_t col = m.col0, orow = m.row0, index = m.row0 * o.stride + m.col0;
        const int64_t step = m.drow * o.stride + m.dcol;
        for (int64_t x = 0; x < W; ++x, col += m.dcol, orow += m.drow, index += step) {
            int16_t grey;
            if (bitCount == 8) {
                grey = t.grey8[row[x]];
            } else if (bitCount == 24) {
                const unsigned char* p = row + 3 * x;
                grey = GreyOfPixel24(t, p);
            } else {
                grey = otherGrey;
            }
            if (grey != kSkipped) {
                KeepPixel(box, work, workSize, o.cols, col, orow, index, grey);
            }
        }
    }
    return box;
}

// Marks the result as empty: zero rectangle and a 0 x 0 8-bit header.
void SetEmptyResult(tagBITMAPINFOHEADER* header, tagRECT* rect)
{
    *rect = tagRECT{0, 0, 0, 0};
    header->biBitCount = 8;
    header->biWidth = 0;
    header->biHeight = 0;
    header->biSizeImage = 0;
}

// The copy of WriteKeptBox made inside the work image itself, which then
// becomes the output: rows of U bytes (at most the work stride) moved to
// the front in order never overwrite a byte a later row still reads, so
// the result is that of copying into a fresh buffer, with one page-sized
// buffer less. Every output byte is written, as U bytes are copied per row.
int CompactKeptBox(const KeptBox& box, const Oriented& o, MallocBuffer* work, int64_t left, int64_t U, int64_t height,
                   uint64_t size, unsigned char** output, unsigned int* outputCapacity)
{
    unsigned char* w = work->get();
    for (int64_t k = 0; k < height; ++k) {
        std::memmove(w + k * U, w + (box.minRow + k) * o.stride + left, static_cast<size_t>(U));
    }
    unsigned char* out = static_cast<unsigned char*>(std::realloc(w, std::max<uint64_t>(size, 1)));
    if (out == nullptr) {
        out = w;  // a block that cannot shrink stays as it is
    }
    work->release();
    *output = out;
    *outputCapacity = static_cast<unsigned int>(size);
    return 1;
}

// Widens the kept box to whole bytes of eight pixels, stores it and the
// new header, and copies it out of the work image into the caller's or a
// fresh buffer. Returns 1, or 0 when a given buffer is too small (after
// the header and rectangle were updated) or memory runs out.
int WriteKeptBox(const KeptBox& box, const Oriented& o, const unsigned char* work, unsigned char** output,
                 unsigned int* outputCapacity, tagBITMAPINFOHEADER* header, tagRECT* rect, MallocBuffer* spare)
{
    const int64_t left = box.minCol / kByteGroup * kByteGroup;
    const int64_t width = (box.maxCol - left + 1 + kByteGroup - 1) / kByteGroup * kByteGroup;
    const int64_t height = box.maxRow - box.minRow + 1;
    *rect = tagRECT{static_cast<int32_t>(left), static_cast<int32_t>(box.minRow),
                    static_cast<int32_t>(left + width - 1), static_cast<int32_t>(box.maxRow)};
    const int64_t U = BmpRowStride(8, width);
    const uint64_t size = static_cast<uint64_t>(U * height);
    if (size > UINT32_MAX) {
        return 0;
    }
    header->biBitCount = 8;
    header->biWidth = static_cast<int32_t>(width);
    header->biHeight = static_cast<int32_t>(height);
    header->biSizeImage = static_cast<uint32_t>(size);
    if (*output == nullptr && U <= o.stride && spare != nullptr) {
        return CompactKeptBox(box, o, spare, left, U, height, size, output, outputCapacity);
    }
    if (*output == nullptr) {
        unsigned char* out = static_cast<unsigned char*>(std::malloc(size));
        if (out == nullptr) {
            return 0;
        }
        std::memset(out, 255, size);
        *output = out;
        *outputCapacity = static_cast<unsigned int>(size);
    } else if (size > *outputCapacity) {
        return 0;
    }
    // Rows are copied whole bytes at a time; a copy running past its work
    // row reads the next row, past the last row the spare white bytes.
    const int64_t copy = std::min(o.stride, U);
    for (int64_t k = 0; k < height; ++k) {
        std::memcpy(*output + k * U, work + (box.minRow + k) * o.stride + left, static_cast<size_t>(copy));
    }
    return 1;
}

// Whether c separates path components.
bool IsPathSeparator(wchar_t c)
{
    return c == L'/' || c == L'\\';
}

}  // namespace

int CBmpProcessing::CoverBMP2OutputFormat(const unsigned char* src, unsigned int srcSize, unsigned char** output,
                                          unsigned int* outputCapacity, tagBITMAPINFOHEADER* header, tagRECT* rect,
                                          int orientation, int, int, COLORLEVELSITEM, bool, int brightness,
                                          int contrast, int maxWidth, short cropWhite)
{
    if (src == nullptr || output == nullptr || outputCapacity == nullptr || header == nullptr || rect == nullptr) {
        return 0;
    }
    const int64_t W = header->biWidth, H = header->biHeight;
    const int bitCount = header->biBitCount;
    if (W < 1 || H < 1) {
        SetEmptyResult(header, rect);
        return 1;
    }
    const bool readable = bitCount == 8 || bitCount == 24;
    if (readable && static_cast<uint64_t>(srcSize) < static_cast<uint64_t>(H * BmpRowStride(bitCount, W))) {
        return 0;
    }
    const Oriented o = OrientedSize(W, H, orientation, maxWidth);
    const int64_t workBytes = o.rows * o.stride + kWorkSpare;
    MallocBuffer work(static_cast<unsigned char*>(std::malloc(static_cast<size_t>(workBytes))));
    if (!work) {
        return 0;
    }
    GreyTables tables;
    const bool light = (brightness != 0 || contrast != 0) && readable;
    PrepareTables(tables, light, m_LightTable, m_LevelsTable[0], cropWhite != 0);
    tables.redFirst = m_redFirst;
    // The work image starts white. A page within the width cap writes each
    // work row only while converting its own source row, so the unturned
    // conversion whitens each row just before it (while the row is in the
    // cache); otherwise the whole image is whitened first.
    const bool unturned = UnturnedCroppedPage(orientation, bitCount, tables);
    const bool rowByRow = unturned && W <= o.cols;
    std::memset(work.get() + (rowByRow ? o.rows * o.stride : 0), 255,
                static_cast<size_t>(rowByRow ? kWorkSpare : workBytes));
    const KeptBox box = !unturned         ? ConvertPixels(src, W, H, bitCount, orientation, o, tables, work.get())
                        : tables.redFirst ? ConvertUnturned24<true>(src, W, H, o, tables, work.get(), rowByRow)
                                          : ConvertUnturned24<false>(src, W, H, o, tables, work.get(), rowByRow);
    if (box.maxCol < 0) {
        SetEmptyResult(header, rect);
        return 1;
    }
    return WriteKeptBox(box, o, work.get(), output, outputCapacity, header, rect, &work);
}

int CBmpProcessing::ConvertTo8BppBMP(const unsigned char* bitmap, unsigned int totalSize, unsigned char** output,
                                     unsigned int* outputCapacity)
{
    const size_t headerBytes = kPaletteOffset + kPaletteEntries * sizeof(tagRGBQUAD);
    if (bitmap == nullptr || output == nullptr || outputCapacity == nullptr || totalSize < headerBytes) {
        return 0;
    }
    tagBITMAPINFOHEADER h;
    std::memcpy(&h, bitmap, sizeof h);
    if (h.biBitCount != 1 || h.biWidth < 1 || h.biHeight < 1) {
        return 0;
    }
    const int64_t W = h.biWidth, H = h.biHeight;
    const int64_t rowBytes = BmpRowStride(1, W);
    // The pixels are the last biSizeImage bytes and must hold every row.
    if (h.biSizeImage > totalSize - headerBytes || rowBytes * H > int64_t{h.biSizeImage}) {
        return 0;
    }
    const uint64_t need = static_cast<uint64_t>(W * H);
    if (need > UINT32_MAX) {
        return 0;
    }
    if (*output == nullptr) {
        unsigned char* out = static_cast<unsigned char*>(std::malloc(need));
        if (out == nullptr) {
            return 0;
        }
        std::memset(out, 255, need);
        *output = out;
        *outputCapacity = static_cast<unsigned int>(need);
    } else if (*outputCapacity < need) {
        return 0;
    }
    const unsigned char* pixels = bitmap + (totalSize - h.biSizeImage);
    // The grey of each palette entry is its red component.
    const unsigned char* palette = bitmap + kPaletteOffset;
    const unsigned char grey[2] = {palette[offsetof(tagRGBQUAD, rgbRed)],
                                   palette[sizeof(tagRGBQUAD) + offsetof(tagRGBQUAD, rgbRed)]};
    unsigned char* out = *output;
    for (int64_t y = 0; y < H; ++y) {
        const unsigned char* row = pixels + y * rowBytes;
        for (int64_t x = 0; x < W; ++x) {
            out[y * W + x] = grey[(row[x / 8] >> (7 - x % 8)) & 1u];
        }
    }
    return 1;
}

void CBmpProcessing::TakeOffExtName(wchar_t* path, bool dropSeparator)
{
    if (path == nullptr) {
        return;
    }
    const size_t n = std::wcslen(path);
    if (n == 0) {
        return;
    }
    if (IsPathSeparator(path[n - 1])) {
        if (dropSeparator) {
            path[n - 1] = L'\0';
        }
        return;
    }
    size_t keep = n;
    while (keep > 0 && !IsPathSeparator(path[keep - 1])) {
        --keep;
    }
    path[keep] = L'\0';
    if (keep > 0 && dropSeparator) {
        path[keep - 1] = L'\0';
    }
}
