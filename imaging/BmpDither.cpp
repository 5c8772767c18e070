// Dithering of an 8-bit grey page to black and white bytes by one of ten
// methods: fixed threshold, two error diffusions, ordered screens (constant
// and computed) and local adaptive thresholding.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

#include "BmpProcessing.h"
#include "DitherScreens.h"
#include "HalftoneMethods.h"
#include "MallocBuffer.h"

namespace {

using namespace kvimg;

constexpr int kMaxGrey = 255;
constexpr int kFixedCut = 129;         // methods 1 and 2: values from here up are white
constexpr int kScreenWhiteFrom = 250;  // methods 3 and 5: values from here up are always white
constexpr int kMatrixLevels = 16;      // method 8 quantises to 0..16
constexpr double kLevels15 = 15.0;     // method 7 levels 0..15
constexpr double kLevels128 = 128.0;   // method 9 levels 0..128
constexpr int kScreen8BandRows = 8;    // method 9 shifts every second band of 8 rows ...
constexpr int kScreen8Shift = 8;       // ... by 8 columns
constexpr double kRounding = 0.5;

// Method 2: shares of the error in sixteenths.
constexpr int kFsDivisor = 16;
constexpr int kFsRight = 7;
constexpr int kFsBelowLeft = 3;
constexpr int kFsBelow = 5;
constexpr int kFsBelowRight = 1;

// Method 6: the working range 0..144 with its midpoint, the divisor 42 and
// the twelve neighbours (their weights add up to 48, not 42, as they always
// have; the 8 at (+2, +1) is meant).
constexpr int kWorkRange = 144;
constexpr int kWorkMid = 72;
constexpr double kTwelveDivisor = 42.0;
constexpr int kTwelveMargin = 2;  // rows and columns left at the far edges
struct Neighbour {
    int dx;
    int dy;
    int weight;
};
constexpr Neighbour kTwelve[] = {
    {1, 0, 8}, {2, 0, 4},  {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4},
    {2, 1, 8}, {-2, 2, 1}, {-1, 2, 2}, {0, 2, 4},  {1, 2, 2}, {2, 2, 1},
};

// The buffers and sizes of one call, widened to signed 64 bits so every
// size comparison is signed and no product wraps.
struct DitherFrame {
    unsigned char* src;
    unsigned char* dst;
    int64_t height;
    int64_t width;
    int64_t stride;
    unsigned char black;
    unsigned char white;
};

// Columns processed by the methods that stop at the shorter of width and
// stride.
int64_t ClippedColumns(const DitherFrame& f)
{
    return std::min(f.width, f.stride);
}

// Bytes of the source a method reads (index of its last byte plus one).
int64_t SourceFootprint(int method, const DitherFrame& f)
{
    switch (method) {
    case kScreen16:
    case kLocalAdaptive:
    case kScreen40:
    case kInterleaved:
        return (f.height - 1) * f.stride + f.width;
    default:
        return (f.height - 1) * f.stride + ClippedColumns(f);
    }
}

// Bytes of the destination a method writes (index of its last byte plus
// one, 0 when it writes nothing).
int64_t DestinationFootprint(int method, const DitherFrame& f)
{
    switch (method) {
    case kFixedThreshold:
    case kDiffuseFour:
        return (f.height - 1) * f.stride + ClippedColumns(f);
    case kScreen16:
    case kLocalAdaptive:
    case kScreen40:
        return (f.height - 1) * f.stride + f.width;
    case kDiffuseTwelve:
        if (f.height - kTwelveMargin < 1 || ClippedColumns(f) - kTwelveMargin < 1) {
            return 0;
        }
        return (f.height - kTwelveMargin - 1) * f.width + ClippedColumns(f) - kTwelveMargin;
    case kInterleaved:
        return (f.height - 1) * f.width + f.width;
    default:
        return (f.height - 1) * f.width + ClippedColumns(f);
    }
}

// Whether a method's reads and writes stay inside height x stride bytes,
// the size of the source and of the destination, which has its layout.
bool FitsBuffers(int method, const DitherFrame& f)
{
    const int64_t available = f.height * f.stride;
    return SourceFootprint(method, f) <= available && DestinationFootprint(method, f) <= available;
}

// Method 1: below 129 black, otherwise white.
void FixedThreshold(const DitherFrame& f)
{
    const int64_t cols = ClippedColumns(f);
    for (int64_t y = 0; y < f.height; ++y) {
        const unsigned char* in = f.src + y * f.stride;
        unsigned char* out = f.dst + y * f.stride;
        for (int64_t x = 0; x < cols; ++x) {
            out[x] = in[x] < kFixedCut ? f.black : f.white;
        }
    }
}

// Adds `delta` to a source byte, clamped to 0..255.
void AddClamped(unsigned char& value, int delta)
{
    value = static_cast<unsigned char>(std::clamp(value + delta, 0, kMaxGrey));
}

// Method 2: error diffusion to four neighbours, in place on the caller's
// source; the shares are truncated toward zero.
void DiffuseFour(const DitherFrame& f)
{
    const int64_t cols = ClippedColumns(f);
    for (int64_t y = 0; y < f.height; ++y) {
        unsigned char* row = f.src + y * f.stride;
        unsigned char* next = y + 1 < f.height ? row + f.stride : nullptr;
        unsigned char* out = f.dst + y * f.stride;
        for (int64_t x = 0; x < cols; ++x) {
            const int v = row[x];
            const bool white = v >= kFixedCut;
            const int e = white ? v - kMaxGrey : v;
            out[x] = white ? f.white : f.black;
            // Pure white and pure black pass no error on; labels are mostly
            // made of them.
            if (e == 0) {
                continue;
            }
            if (x + 1 < cols) {
                AddClamped(row[x + 1], e * kFsRight / kFsDivisor);
            }
            if (next != nullptr) {
                if (x >= 1) {
                    AddClamped(next[x - 1], e * kFsBelowLeft / kFsDivisor);
                }
                AddClamped(next[x], e * kFsBelow / kFsDivisor);
                if (x + 1 < cols) {
                    AddClamped(next[x + 1], e * kFsBelowRight / kFsDivisor);
                }
            }
        }
    }
}

// Writes columns [0, cols) of every row white or black, output rows
// `outStride` apart (the stride for methods 3 and 5, the width for 7 to
// 10): rule(y) gives the row's test, and test(x, v) says whether source
// value v at column x is white.
template <class RowRule>
void ThresholdRows(const DitherFrame& f, int64_t outStride, int64_t cols, RowRule rule)
{
    for (int64_t y = 0; y < f.height; ++y) {
        const unsigned char* in = f.src + y * f.stride;
        unsigned char* out = f.dst + y * outStride;
        const auto white = rule(y);
        for (int64_t x = 0; x < cols; ++x) {
            out[x] = white(x, in[x]) ? f.white : f.black;
        }
    }
}

// Methods 3 and 5, ordered dither over a square screen of `size` x `size`
// entries (16 and 40): white from 250 up, black at 0, otherwise white
// where the screen's entry for the pixel is not above it.
void SquareScreen(const DitherFrame& f, const uint8_t* screen, int64_t size)
{
    ThresholdRows(f, f.stride, f.width, [&](int64_t y) {
        const uint8_t* entries = screen + (y % size) * size;
        return [=](int64_t x, int v) { return v >= kScreenWhiteFrom || (v != 0 && entries[x % size] <= v); };
    });
}

// Method 6: error diffusion over twelve neighbours of a 0..144 work copy.
// Reversed polarity (light becomes black), only non-negative errors are
// spread, shares wrap modulo 256, and the last two rows and columns are
// left unwritten. Returns false when the work buffer cannot be had.
bool DiffuseTwelve(const DitherFrame& f)
{
    const int64_t cols = ClippedColumns(f);
    const MallocPtr<uint8_t> owner = AllocateBlock<uint8_t>(static_cast<size_t>(f.height * f.width), true);
    if (!owner) {
        return false;
    }
    uint8_t* const work = owner.get();
    for (int64_t y = 0; y < f.height; ++y) {
        const unsigned char* in = f.src + y * f.stride;
        for (int64_t x = 0; x < cols; ++x) {
            work[y * f.width + x] =
                static_cast<uint8_t>(in[x] * kWorkRange / static_cast<double>(kMaxGrey) + kRounding);
        }
    }
    if (f.height - kTwelveMargin < 1) {
        return true;
    }
    for (int64_t y = 0; y < f.height - kTwelveMargin; ++y) {
        for (int64_t x = 0; x < cols - kTwelveMargin; ++x) {
            // Flat addressing: the left neighbours of columns 0 and 1 are
            // the last bytes of the row above them.
            const int64_t at = y * f.width + x;
            const int v = work[at];
            const bool black = v > kWorkMid;
            const int e = black ? v - kWorkRange : v;
            f.dst[at] = black ? f.black : f.white;
            if (e <= 0) {
                continue;  // a negative share converts to 0: nothing to spread
            }
            for (const Neighbour& n : kTwelve) {
                const unsigned share = static_cast<unsigned>(e * n.weight / kTwelveDivisor);
                uint8_t& target = work[at + n.dy * f.width + n.dx];
                target = static_cast<uint8_t>(target + share);
            }
        }
    }
    return true;
}

// Method 7: levels 0..15 against the 15-column screen; 255 is white. Row
// y mod 15 = 14 has no table row and uses row 0.
void Screen15(const DitherFrame& f)
{
    ThresholdRows(f, f.width, ClippedColumns(f), [](int64_t y) {
        const int64_t r = y % kScreen15Period;
        const uint8_t* screen = kScreen14x15[r < kScreen15Rows ? r : kScreen15MissingRowStandIn];
        return [=](int64_t x, int v) {
            return v == kMaxGrey || static_cast<int>(v / static_cast<double>(kMaxGrey) * kLevels15 + kRounding) >
                                        screen[x % kScreen15Cols];
        };
    });
}

// Method 8: q = 16 v / 255 against the 4 x 4 matrix; q = 16 is white.
void Matrix4(const DitherFrame& f)
{
    ThresholdRows(f, f.width, ClippedColumns(f), [](int64_t y) {
        const uint8_t* matrix = kScreen4x4[y % kScreen4Size];
        return [=](int64_t x, int v) {
            const int q = kMatrixLevels * v / kMaxGrey;
            return q == kMatrixLevels || q > matrix[x % kScreen4Size];
        };
    });
}

// Method 9: levels 0..128 against the 8 x 16 screen, shifted by 8 columns
// on the second band of every 16 rows.
void Screen8(const DitherFrame& f)
{
    ThresholdRows(f, f.width, ClippedColumns(f), [](int64_t y) {
        const uint8_t* screen = kScreen8x16[y % kScreen8Rows];
        const int64_t shift = (y % (2 * kScreen8BandRows)) >= kScreen8BandRows ? kScreen8Shift : 0;
        return [=](int64_t x, int v) {
            const int level = static_cast<int>(v / static_cast<double>(kMaxGrey) * kLevels128 + kRounding);
            return level > screen[(x + shift) % kScreen8Cols];
        };
    });
}

// Method 10: the computed 4 x 4 screen; white when the source is above the
// entry. Returns false when the table cannot be had.
bool Interleaved(const DitherFrame& f)
{
    const kvimg::MallocPtr<uint8_t> table = kvimg::AllocateBlock<uint8_t>(kInterleavedEntries);
    if (!table) {
        return false;
    }
    for (int k = 0; k < kInterleavedEntries; ++k) {
        table.get()[k] = InterleavedScreenEntry(static_cast<unsigned>(k));
    }
    const uint8_t* entries = table.get();
    ThresholdRows(f, f.width, f.width, [=](int64_t y) {
        const uint8_t* row = entries + kInterleavedSize * (y % kInterleavedSize);
        return [=](int64_t x, int v) { return v > row[x % kInterleavedSize]; };
    });
    return true;
}

}  // namespace

int CBmpProcessing::Dither(int method, unsigned char* src, unsigned char* dst, unsigned int height, unsigned int width,
                           unsigned int stride, unsigned int, bool invert)
{
    if (method < kFixedThreshold || method > kInterleaved) {
        return 1;
    }
    if (src == nullptr || dst == nullptr || height == 0 || width == 0 || stride == 0) {
        return 1;
    }
    constexpr unsigned char kBlackByte = 0;
    constexpr unsigned char kWhiteByte = 255;
    const DitherFrame f{
        src, dst, height, width, stride, invert ? kWhiteByte : kBlackByte, invert ? kBlackByte : kWhiteByte};
    if (!FitsBuffers(method, f)) {
        return 1;
    }
    switch (method) {
    case kFixedThreshold:
        FixedThreshold(f);
        break;
    case kDiffuseFour:
        DiffuseFour(f);
        break;
    case kScreen16:
        SquareScreen(f, &kScreen16x16[0][0], kScreen16Size);
        break;
    case kLocalAdaptive: {
        // The renderer never comes here: for method 4 it runs the
        // adaptive threshold (AdThreshold) itself, with its own settings.
        // This is the method for callers of Dither alone, with the local
        // threshold's defaults.
        const uint64_t size = static_cast<uint64_t>(height) * stride;
        if (size <= std::numeric_limits<unsigned int>::max()) {
            unsigned char* out = dst;
            AdThresholdImgLocal(width, height, 0, stride, src, static_cast<unsigned int>(size), &out, nullptr, invert,
                                false);
        }
        break;
    }
    case kScreen40:
        SquareScreen(f, &kScreen40x40[0][0], kScreen40Size);
        break;
    case kDiffuseTwelve:
        return DiffuseTwelve(f) ? 1 : 0;
    case kScreen15:
        Screen15(f);
        break;
    case kMatrix4:
        Matrix4(f);
        break;
    case kScreen8:
        Screen8(f);
        break;
    case kInterleaved:
        return Interleaved(f) ? 1 : 0;
    default:
        break;
    }
    return 1;
}
