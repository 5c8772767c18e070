// Stand-alone steps of the page pipeline: orientation code, automatic
// rotation decision, dashed lines, one-bit packing and label position.
#include "PagePipeline.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#if defined(__x86_64__) || defined(__i386__)
#include <tmmintrin.h>
#endif
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kvrender {

namespace {

// Automatic rotation: a page must be wider than the printable width by more
// than this many millimetres, and the sides must differ by 5 mm.
constexpr double kRotateExcessMm = 20.0;
constexpr double kRotateMarginMm = 5.0;
constexpr int kBitsPerByte = 8;
constexpr unsigned char kWhite = 255;
constexpr unsigned char kBlack = 0;
// With a y of 0 the printer would start on the label's edge.
constexpr int32_t kTopMarginDots = 8;

// Floor of a / 8 for any sign.
int64_t FloorDiv8(int64_t a)
{
    return a >= 0 ? a / kBitsPerByte : -((-a + kBitsPerByte - 1) / kBitsPerByte);
}

// Length in millimetres, rounded, of a run of `n` dots at `dpi`.
int64_t RunMillimetres(int16_t n, int16_t dpi)
{
    if (dpi == 0)
        return 0;
    return static_cast<int64_t>(std::trunc(static_cast<double>(n) / dpi * kvunits::kMmPerInch + 0.5));
}

// Whitens the dash gaps of the run of `n` bytes that ends just before
// `end`. A counter that wrapped below 1 marks no run.
void DashRun(CBmpProcessing& bmp, unsigned char* end, int16_t n, int32_t blackDots, int32_t whiteDots)
{
    if (n > 0)
        bmp.ResetBlackLineData(end - n, static_cast<unsigned>(n), static_cast<short>(blackDots),
                               static_cast<short>(whiteDots), kBitsPerByte);
}

// The eight grey pixels at `p` as one packed byte, first pixel in the top
// bit: a bit is set for a white pixel and clear for any other.
inline unsigned char WhiteBits8(const unsigned char* p)
{
    unsigned bits = 0;
    for (int j = 0; j < kBitsPerByte; ++j)
        bits |= static_cast<unsigned>(p[j] == kWhite) << (kBitsPerByte - 1 - j);
    return static_cast<unsigned char>(bits);
}

#if defined(__SSE2__)
// Each byte with its bits in reverse order.
constexpr std::array<unsigned char, 256> ReversedBytes()
{
    std::array<unsigned char, 256> table{};
    for (unsigned v = 0; v < 256; ++v) {
        unsigned r = 0;
        for (int j = 0; j < kBitsPerByte; ++j)
            r |= ((v >> j) & 1u) << (kBitsPerByte - 1 - j);
        table[v] = static_cast<unsigned char>(r);
    }
    return table;
}
constexpr std::array<unsigned char, 256> kReversed = ReversedBytes();

// Packs the first `end` pixels of a row that starts on a byte sixteen at a
// time, as WhiteBits8 does eight; returns the pixels done.
int64_t PackWhiteBits16(const unsigned char* in, unsigned char* out, int64_t end)
{
    constexpr int64_t kStep = 16;
    const __m128i white = _mm_set1_epi8(static_cast<char>(kWhite));
    int64_t c = 0;
    for (; c + kStep <= end; c += kStep) {
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + c));
        // Bit j of the mask is pixel j; packed bytes hold the first pixel in their top bit.
        const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(pixels, white)));
        out[c >> 3] &= kReversed[mask & 0xFFu];
        out[(c >> 3) + 1] &= kReversed[mask >> kBitsPerByte];
    }
    return c;
}
#else
int64_t PackWhiteBits16(const unsigned char*, unsigned char*, int64_t)
{
    return 0;
}
#endif

// True when the eight grey pixels at `p` are all white.
inline bool AllWhite8(const unsigned char* p)
{
    uint64_t word;
    memcpy(&word, p, sizeof word);
    return word == ~uint64_t{0};
}

#if defined(__x86_64__) || defined(__i386__)
// Swaps the first `groups` groups four at a time (16 bytes read, the 12 of
// the four groups written back, so that no read overlaps the write before
// it) while at least six are left, so no access passes the last group.
// Returns the groups done.
__attribute__((target("ssse3"))) uint64_t SwapRedBlueFourAtATime(unsigned char* line, uint64_t groups)
{
    const __m128i order = _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 12, 13, 14, 15);
    constexpr uint64_t kStep = 4;
    constexpr uint64_t kGroupsRead = 6;  // 16 bytes reach into the sixth group
    uint64_t i = 0;
    for (; i + kGroupsRead <= groups; i += kStep) {
        unsigned char* at = line + 3 * i;
        const __m128i swapped = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)), order);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(at), swapped);
        const int32_t last = _mm_cvtsi128_si32(_mm_srli_si128(swapped, 8));
        memcpy(at + 8, &last, sizeof last);
    }
    return i;
}
#endif

}  // namespace

unsigned char* WorkImage::Writable()
{
    if (!buffer && borrowed) {
        buffer = FilledBuffer(bytes, 0);
        if (buffer)
            memcpy(buffer.get(), borrowed, bytes);
        bytes = buffer ? bytes : 0;
        borrowed = nullptr;
    }
    return buffer.get();
}

MallocBuffer FilledBuffer(uint64_t size, unsigned char fill)
{
    MallocBuffer buffer = kvimg::AllocateBlock(size ? size : 1);
    if (buffer)
        memset(buffer.get(), fill, size ? size : 1);
    return buffer;
}

int32_t MulDiv(int32_t a, int32_t b, int32_t c)
{
    int32_t product = static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
    if (c == 0 || (c == -1 && product == INT32_MIN))
        return 0;
    return product / c;
}

int OrientationCode(int16_t dmOrientation, int16_t rotate90, int64_t rotation)
{
    struct Row {
        int16_t orientation, rotate90;
        int64_t rotation;
        int code;
    };
    static const Row kTable[] = {{2, 0, 0, 0}, {2, 0, 1, 2}, {2, 1, 1, 1}, {1, 1, 1, 0}, {1, 1, 0, 2}, {1, 0, 1, 1}};
    for (const Row& row : kTable)
        if (row.orientation == dmOrientation && row.rotate90 == rotate90 && row.rotation == rotation)
            return row.code;
    return 3;
}

std::optional<short> AutoRotationCode(int32_t w, int32_t h, int16_t xdpi, int16_t ydpi, int16_t maxWidthMm,
                                      int16_t autoRotate90)
{
    const double widthMm = static_cast<double>(w) / xdpi * kvunits::kMmPerInch + 0.5;
    const double heightMm = static_cast<double>(h) / xdpi * kvunits::kMmPerInch + 0.5;
    const short code = static_cast<short>(autoRotate90 - 1);
    if (widthMm - maxWidthMm > kRotateExcessMm && int64_t(w) > int64_t(h) + kvunits::MmToDots(kRotateMarginMm, ydpi))
        return code;
    if (int64_t(kvunits::MmToDots(kRotateMarginMm, xdpi)) + w < h && heightMm - maxWidthMm < kRotateExcessMm &&
        autoRotate90 > 0)
        return code;
    return std::nullopt;
}

void ConvertToDashedLines(CBmpProcessing& bmp, unsigned char* image, uint64_t imageSize, int32_t w, int32_t h,
                          int64_t stride, int32_t blackDots, int32_t whiteDots, int16_t minLengthMm, int16_t rasterDpi)
{
    int16_t n = 0;
    for (int64_t r = 0; r < h; ++r) {
        for (int64_t c = 0; c < w; ++c) {
            const uint64_t i = static_cast<uint64_t>(r * stride + c);
            if (i >= imageSize)
                return;
            if (c != 0 && image[i] == kBlack) {
                ++n;
                continue;
            }
            if (RunMillimetres(n, rasterDpi) >= minLengthMm)
                DashRun(bmp, image + i, n, blackDots, whiteDots);
            n = 0;
        }
    }
}

void SwapRedBlue(unsigned char* line, uint64_t lineBytes, uint64_t width)
{
    uint64_t groups = std::min(width, lineBytes / 3);
    uint64_t i = 0;
#if defined(__x86_64__) || defined(__i386__)
    if (__builtin_cpu_supports("ssse3"))
        i = SwapRedBlueFourAtATime(line, groups);
#endif
    for (; i < groups; ++i)
        std::swap(line[3 * i], line[3 * i + 2]);
}

void SwapRedBlueRows(unsigned char* image, const DeferredSwap& page)
{
    for (uint64_t row = 0; row < page.rows; ++row)
        SwapRedBlue(image + row * page.stride, page.lineBytes, page.width);
}

PackedPage PackToOneBit(const unsigned char* image, uint64_t imageSize, int32_t w, int32_t h, int64_t stride,
                        tagRECT rect, bool mirror, int32_t mirrorRefWidth)
{
    const int64_t left = rect.left < 0 ? 0 : rect.left;
    const int64_t top = rect.top < 0 ? 0 : rect.top;
    int64_t x = left;
    int64_t e = rect.right;
    if (mirror) {
        x = int64_t(mirrorRefWidth) - rect.right;
        e = x + rect.right - left;
    }
    const int64_t rowBytes = FloorDiv8(e - kBitsPerByte * (x / kBitsPerByte) + kBitsPerByte);
    const int64_t rows = int64_t(rect.bottom) - top + 1;
    PackedPage page;
    page.x = static_cast<int32_t>(x);
    page.size = (rowBytes > 0 && rows > 0) ? static_cast<uint64_t>(rowBytes * rows) : 0;
    page.bits = FilledBuffer(page.size, kWhite);
    if (!page.bits)
        return page;
    if (page.size == 0 || stride < 0)
        return page;
    // Each row walks only the columns whose packed byte lies in the page and
    // whose source byte lies in the image; every other pixel stays white.
    unsigned char* bits = page.bits.get();
    const int64_t shift = x % kBitsPerByte;
    const int64_t span = e - x;  // mirrored rows are read from column span down
    for (int64_t r = 0; r < h; ++r) {
        const int64_t rowStart = r * rowBytes;
        const int64_t pixelsLeft = (static_cast<int64_t>(page.size) - rowStart) * kBitsPerByte;
        const int64_t base = r * stride;
        const int64_t imageLeft = static_cast<int64_t>(imageSize) - base;
        if (pixelsLeft <= 0 || imageLeft <= 0)
            break;
        unsigned char* out = bits + rowStart;
        const unsigned char* in = image + base;
        if (!mirror) {
            const int64_t end = std::min<int64_t>({w, pixelsLeft - shift, imageLeft});
            int64_t c = 0;
            // Rows that start on a byte take eight pixels into each byte.
            if (shift == 0)
                c = PackWhiteBits16(in, out, end);
            for (; shift == 0 && c + kBitsPerByte <= end; c += kBitsPerByte)
                out[c >> 3] &= WhiteBits8(in + c);
            for (; c < end; ++c) {
                // Labels are mostly white: eight white pixels at a time
                // leave their bits as they are.
                if (c + kBitsPerByte <= end && AllWhite8(in + c)) {
                    c += kBitsPerByte - 1;
                    continue;
                }
                if (in[c] != kWhite)
                    out[(c + shift) >> 3] &= static_cast<unsigned char>(~(0x80u >> ((c + shift) & 7)));
            }
        } else {
            const int64_t first = std::max<int64_t>(0, span - imageLeft + 1);
            const int64_t end = std::min<int64_t>({w, pixelsLeft, span + 1});
            for (int64_t c = first; c < end; ++c)
                if (in[span - c] != kWhite)
                    out[c >> 3] &= static_cast<unsigned char>(~(0x80u >> (c & 7)));
        }
    }
    return page;
}

PagePosition PositionOnLabel(int32_t x, int32_t y, int orientation, const tagOEMCFG& cfg, const _DEVMODE& devMode,
                             const _OEMPDEV& pdev)
{
    const POINTL offset = pdev.srcGdiInfo.ptlPhysOffset;
    switch (orientation) {
    case 0:
        x += MulDiv(cfg.sOutputYDPI, offset.y, devMode.dmYResolution);
        break;
    case 1:
        break;
    case 2:
        y += MulDiv(cfg.sOutputXDPI, offset.x, devMode.dmPrintQuality);
        break;
    default:
        x += MulDiv(cfg.sOutputXDPI, offset.x, devMode.dmPrintQuality);
        y += MulDiv(cfg.sOutputYDPI, offset.y, devMode.dmYResolution);
        break;
    }
    x = static_cast<int32_t>(FloorDiv8(x) * kBitsPerByte);
    if (x < 1)
        x = 0;
    if (y < 0)
        y = 0;
    if (y == 0)
        y = kTopMarginDots;
    return {x, y};
}

}  // namespace kvrender
