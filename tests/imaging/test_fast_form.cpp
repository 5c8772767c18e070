// The fast forms of the per-page operations against their straightforward,
// pixel-by-pixel forms on random images of several sizes: results must be
// identical bit for bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "AdThreshold.h"
#include "BmpProcessing.h"
#include "ImageTestSupport.h"
#include "RectAssert.h"
#include "ReferenceImaging.h"

using kvtest::Header;
using kvtest::Owned;
using kvtest::Stride;

namespace {

// The tone settings each comparison runs with: none, light only, levels
// only, and both.
const tagColorCFG kTones[] = {{0, 0, 0}, {15, -20, 0}, {0, 0, 170}, {-10, 30, 1}};

// Prepares a processor's light table and channel-0 levels table.
void PrepareTones(CBmpProcessing& p)
{
    const COLORLEVELSITEM levels{1.7f, 10, 240, 5, 250};
    p.SetColorLevelsData(&levels, 0);
    p.SetLightTable(15, -20);
}

// A white image with a few random ink pixels (ink at the given depth).
std::vector<uint8_t> SparseInk(kvtest::RandomImages& rnd, int32_t w, int32_t h, int bits)
{
    const uint32_t stride = Stride(bits, w);
    std::vector<uint8_t> img(stride * h, 255);
    for (int n = rnd.Int(0, 5); n > 0; --n) {
        const int32_t x = rnd.Int(0, w - 1), y = rnd.Int(0, h - 1);
        if (bits == 1) {
            img[y * stride + x / 8] &= static_cast<uint8_t>(~(0x80 >> (x % 8)));
        } else {
            for (int i = 0; i < bits / 8; ++i) {
                img[y * stride + x * (bits / 8) + i] = rnd.Byte(0, 250);
            }
        }
    }
    return img;
}

// A near-white 24-bit image (bytes 250 to 255, paper noise) with a few
// horizontal runs of ink, each of random length and grey, some of them
// channels only just below the near-white level.
std::vector<uint8_t> InkRuns(kvtest::RandomImages& rnd, int32_t w, int32_t h)
{
    const uint32_t stride = Stride(24, w);
    std::vector<uint8_t> img(stride * h);
    for (auto& b : img) {
        b = rnd.Byte(250, 255);
    }
    for (int n = rnd.Int(0, 6); n > 0; --n) {
        const int32_t y = rnd.Int(0, h - 1), x0 = rnd.Int(0, w - 1);
        const int32_t x1 = std::min(w, x0 + rnd.Int(1, 80));
        for (int32_t x = x0; x < x1; ++x) {
            const int channel = rnd.Int(0, 3);  // 3: every channel
            for (int c = 0; c < 3; ++c) {
                if (channel == 3 || channel == c) {
                    img[y * stride + 3 * x + c] = rnd.Int(0, 1) ? rnd.Byte(0, 255) : 249;
                }
            }
        }
    }
    return img;
}

// One call of the output format conversion: the page and the settings.
struct ConversionCase {
    const std::vector<uint8_t>& src;
    int32_t w;
    int32_t h;
    uint16_t bits;
    int orientation;
    bool tone;  // brightness 15, contrast -20
    int maxWidth;
    short crop;
};

// Expects the fast conversion of `c` by `fast` to give what the
// straightforward one gives with `plain` (both with the same tables):
// status, header, rectangle and every output byte.
void ExpectSameConversion(CBmpProcessing& fast, CBmpProcessing& plain, const ConversionCase& c)
{
    tagBITMAPINFOHEADER header = Header(c.w, c.h, c.bits);
    const tagBITMAPINFOHEADER before = header;
    tagRECT rect{};
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    const int brightness = c.tone ? 15 : 0, contrast = c.tone ? -20 : 0;
    const int status = fast.CoverBMP2OutputFormat(
        c.src.data(), static_cast<unsigned int>(c.src.size()), &out, &cap, &header, &rect, c.orientation, 0, 0,
        COLORLEVELSITEM{1.0f, 0, 255, 0, 255}, false, brightness, contrast, c.maxWidth, c.crop);
    Owned owned(out);
    const kvref::CoverResult want = kvref::CoverBMP2OutputFormat(plain, c.src.data(), before, c.orientation, brightness,
                                                                 contrast, c.maxWidth, c.crop);
    const std::vector<uint8_t> got = out ? std::vector<uint8_t>(out, out + cap) : std::vector<uint8_t>();
    ASSERT_EQ(status, want.status);
    ASSERT_EQ(std::memcmp(&header, &want.header, sizeof header), 0);
    ASSERT_TRUE(kvtest::RectIs(rect, want.rect.left, want.rect.top, want.rect.right, want.rect.bottom));
    ASSERT_EQ(got, want.pixels) << c.w << "x" << c.h << "@" << c.bits << " o" << c.orientation << " cap " << c.maxWidth;
}

// One shrink: the source, its size and depth, the destination's, the tone
// and the whitening rectangle.
struct ShrinkCase {
    const std::vector<uint8_t>& src;
    uint32_t sw, sh, sbits, dw, dh, dbits;
    tagColorCFG tone;
    tagRECT whiten;
    bool swapped;  // fast form writes 24-bit pixels third channel first
};

// Exchanges the first and third channels of every pixel of a 24-bit image.
void SwapFirstAndThird(std::vector<uint8_t>& image, uint32_t w, uint32_t h)
{
    for (uint32_t y = 0; y < h; ++y) {
        uint8_t* row = image.data() + uint64_t{y} * Stride(24, w);
        for (uint32_t x = 0; x < w; ++x) {
            std::swap(row[3 * x], row[3 * x + 2]);
        }
    }
}

// Expects the fast shrink of `c` to write what the straightforward one
// writes (its 24-bit pixels swapped when the case asks for swapped output),
// both with the same tone tables, into destinations of one prefilled value.
void ExpectSameShrink(const ShrinkCase& c)
{
    const uint32_t size = Stride(c.dbits, c.dw) * c.dh;
    CBmpProcessing fast, plain;
    PrepareTones(fast);
    PrepareTones(plain);
    fast.SetSwappedShrinkOutput(c.swapped);
    std::vector<uint8_t> got(size, 7), want(size, 7);
    unsigned char* out = got.data();
    ASSERT_EQ(fast.InvoicQIShrinkImg2(c.sw, c.sh, c.sbits, Stride(c.sbits, c.sw), c.src.data(), nullptr, c.dw, c.dh,
                                      c.dbits, &out, nullptr, size, c.tone, 0, c.tone, 0, c.whiten),
              1);
    kvref::Shrink(plain, c.sw, c.sh, c.sbits, Stride(c.sbits, c.sw), c.src.data(), c.dw, c.dh, c.dbits, want.data(),
                  size, c.tone, c.whiten);
    if (c.swapped && c.dbits == 24) {
        SwapFirstAndThird(want, c.dw, c.dh);
    }
    ASSERT_EQ(got, want) << c.sw << "x" << c.sh << "@" << c.sbits << " -> " << c.dw << "x" << c.dh << "@" << c.dbits;
}

}  // namespace

TEST(FastForm, UnturnedNearWhitePageConversionMatchesTheStraightforwardFormBitForBit)
{
    kvtest::RandomImages rnd(606);
    for (int round = 0; round < 600; ++round) {
        const int32_t w = rnd.Int(1, 300), h = rnd.Int(1, 12);
        const int orientation = rnd.Int(3, 5);
        const int maxWidth = rnd.Int(0, 1) ? w + rnd.Int(0, 10) : rnd.Int(1, w + 1);
        const bool toneChoice = rnd.Int(0, 1) != 0;
        const std::vector<uint8_t> src = InkRuns(rnd, w, h);
        // Half the rounds keep the processors' own tables, which change no
        // value (the conversion's plain case), the other half set tones.
        const bool plainTables = round % 2 == 0;
        const bool tone = toneChoice && !plainTables;
        CBmpProcessing fast, plain;
        if (!plainTables) {
            PrepareTones(fast);
            PrepareTones(plain);
        }
        ASSERT_NO_FATAL_FAILURE(ExpectSameConversion(fast, plain, {src, w, h, 24, orientation, tone, maxWidth, 1}))
            << "round " << round;
    }
}

TEST(FastForm, RedFirstConversionEqualsTheConversionOfTheSwappedPage)
{
    kvtest::RandomImages rnd(616);
    for (int round = 0; round < 300; ++round) {
        const int32_t w = rnd.Int(1, 120), h = rnd.Int(1, 12);
        const int orientation = rnd.Int(0, 4);
        const int maxWidth = rnd.Int(0, 1) ? w + 10 : rnd.Int(1, w + 1);
        const std::vector<uint8_t> sent = round % 2 ? InkRuns(rnd, w, h) : rnd.Image(w, h, 24);
        std::vector<uint8_t> swapped = sent;
        const uint32_t stride = Stride(24, w);
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                std::swap(swapped[y * stride + 3 * x], swapped[y * stride + 3 * x + 2]);
        CBmpProcessing fast, plain;
        fast.SetRedFirstSource(true);
        tagBITMAPINFOHEADER header = Header(w, h, 24);
        const tagBITMAPINFOHEADER before = header;
        tagRECT rect{};
        unsigned char* out = nullptr;
        unsigned int cap = 0;
        const short crop = static_cast<short>(rnd.Int(0, 1));
        const int status = fast.CoverBMP2OutputFormat(
            sent.data(), static_cast<unsigned int>(sent.size()), &out, &cap, &header, &rect, orientation, 0, 0,
            COLORLEVELSITEM{1.0f, 0, 255, 0, 255}, false, 0, 0, maxWidth, crop);
        Owned owned(out);
        const kvref::CoverResult want =
            kvref::CoverBMP2OutputFormat(plain, swapped.data(), before, orientation, 0, 0, maxWidth, crop);
        ASSERT_EQ(status, want.status) << "round " << round;
        ASSERT_TRUE(kvtest::RectIs(rect, want.rect.left, want.rect.top, want.rect.right, want.rect.bottom))
            << "round " << round;
        ASSERT_EQ(out ? std::vector<uint8_t>(out, out + cap) : std::vector<uint8_t>(), want.pixels)
            << "round " << round;
    }
}

namespace {

// Error diffusion (halftone 2) pixel by pixel as its rule states it: below
// 129 black, the error (value, or value - 255 for white) spread 7/16 right,
// 3/16 below left, 5/16 below and 1/16 below right, each neighbour clamped
// to 0..255 as it is changed.
std::vector<uint8_t> DiffuseFourReference(std::vector<uint8_t> src, int w, int h, int stride)
{
    std::vector<uint8_t> dst(src.size(), 255);
    auto add = [](uint8_t& v, int d) { v = static_cast<uint8_t>(std::clamp(v + d, 0, 255)); };
    const int cols = std::min(w, stride);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < cols; ++x) {
            const int v = src[y * stride + x];
            const bool white = v >= 129;
            const int e = white ? v - 255 : v;
            dst[y * stride + x] = white ? 255 : 0;
            if (x + 1 < cols)
                add(src[y * stride + x + 1], e * 7 / 16);
            if (y + 1 < h) {
                if (x >= 1)
                    add(src[(y + 1) * stride + x - 1], e * 3 / 16);
                add(src[(y + 1) * stride + x], e * 5 / 16);
                if (x + 1 < cols)
                    add(src[(y + 1) * stride + x + 1], e * 1 / 16);
            }
        }
    }
    return dst;
}

}  // namespace

TEST(FastForm, ErrorDiffusionMatchesThePixelByPixelRule)
{
    // Pages of white, black and grey areas: most pixels pass no error on.
    kvtest::RandomImages rnd(707);
    for (int round = 0; round < 200; ++round) {
        const int w = rnd.Int(1, 60), h = rnd.Int(1, 20);
        const int stride = static_cast<int>(Stride(8, w));
        std::vector<uint8_t> src(static_cast<size_t>(stride) * h);
        for (auto& b : src) {
            const int kind = rnd.Int(0, 5);
            b = kind < 3 ? 255 : kind == 3 ? 0 : rnd.Byte(0, 255);
        }
        std::vector<uint8_t> work = src, got(src.size(), 255);
        CBmpProcessing().Dither(2, work.data(), got.data(), h, w, stride, 0, false);
        ASSERT_EQ(got, DiffuseFourReference(src, w, h, stride)) << "round " << round;
    }
}

TEST(FastForm, GreyHistogramCountsEveryPixelOfItsBlockOnce)
{
    kvtest::RandomImages rnd(909);
    for (int round = 0; round < 200; ++round) {
        const int w = rnd.Int(1, 70), h = rnd.Int(1, 20);
        const std::vector<uint8_t> img = round % 2 ? rnd.Image(w, h, 8) : SparseInk(rnd, w, h, 8);
        const int64_t stride = Stride(8, w);
        const int64_t x0 = rnd.Int(0, w - 1), y0 = rnd.Int(0, h - 1);
        const kvimg::BlockSpan span{x0, rnd.Int(static_cast<int>(x0) + 1, w), y0, rnd.Int(static_cast<int>(y0) + 1, h)};
        kvimg::GreyHistogram got;
        kvimg::BuildGreyHistogram(img.data(), stride, span, got);
        kvimg::GreyHistogram want{};
        for (int64_t y = span.y0; y < span.y1; ++y)
            for (int64_t x = span.x0; x < span.x1; ++x)
                want[img[y * stride + x]] += 1.0;
        for (int i = 0; i < kvimg::kHistogramBins; ++i)
            ASSERT_EQ(got[i], want[i]) << "round " << round << " bin " << i;
    }
}

TEST(FastForm, ThresholdGridResampleMatchesTheSampleByPixelForm)
{
    kvtest::RandomImages rnd(910);
    for (int round = 0; round < 200; ++round) {
        const int sw = rnd.Int(1, 20), sh = rnd.Int(1, 20);
        const int dw = rnd.Int(1, 90), dh = rnd.Int(1, 60);
        if (sw == dw && sh == dh) {
            continue;  // equal sizes produce no output
        }
        const std::vector<uint8_t> src = rnd.Image(sw, sh, 8);
        const int stride = static_cast<int>(Stride(8, sw));
        unsigned char* out = nullptr;
        ASSERT_EQ(Resample(src.data(), sw, sh, stride, dw, dh, &out), 1);
        Owned owned(out);
        const std::vector<uint8_t> want = kvref::BilinearResample(src.data(), sw, sh, stride, dw, dh);
        ASSERT_EQ(std::vector<uint8_t>(out, out + want.size()), want) << "round " << round;
    }
}

TEST(FastForm, ThresholdCriteriaOverOccupiedBinsMatchTheSumsOverEveryBin)
{
    // Histograms of label blocks (a few grey levels) and of photographs
    // (most levels), over ranges that may start and end on empty bins.
    kvtest::RandomImages rnd(808);
    for (int round = 0; round < 300; ++round) {
        kvimg::GreyHistogram h{};
        const int levels = round % 3 == 0 ? rnd.Int(1, 256) : rnd.Int(1, 6);
        for (int n = 0; n < levels; ++n) {
            h[rnd.Int(0, 255)] += rnd.Int(1, 4096);
        }
        const int lo = rnd.Int(0, 254);
        const int hi = rnd.Int(lo + 1, 255);
        const kvimg::ThresholdCriteria got = kvimg::EvaluateThresholdCriteria(h, lo, hi);
        const kvimg::ThresholdCriteria want = kvref::EvaluateThresholdCriteria(h, lo, hi);
        for (int k = 0; k < kvimg::kThresholdCriteria; ++k) {
            ASSERT_EQ(got.threshold[k], want.threshold[k]) << "round " << round << " criterion " << k;
        }
    }
}

TEST(FastForm, ResampleMatchesTheStraightforwardFormBitForBit)
{
    kvtest::RandomImages rnd(101);
    const uint32_t cases[][4] = {{37, 23, 17, 11}, {51, 40, 34, 27},   {20, 20, 45, 31}, {30, 10, 15, 25},
                                 {10, 30, 25, 15}, {13, 17, 13, 17},   {61, 7, 40, 5},   {5, 5, 1, 1},
                                 {3, 3, 2, 2},     {122, 183, 81, 122}};
    for (uint32_t bits : {8u, 24u}) {
        for (const auto& c : cases) {
            const std::vector<uint8_t> src = rnd.Image(c[0], c[1], bits);
            const uint32_t size = Stride(bits, c[2]) * c[3];
            for (const tagColorCFG& tone : kTones) {
                CBmpProcessing fast, plain;
                PrepareTones(fast);
                PrepareTones(plain);
                std::vector<uint8_t> got(size, 7), want(size, 7);
                unsigned char* out = got.data();
                fast.InvoicResampleImg2(c[0], c[1], bits, Stride(bits, c[0]), src.data(), c[2], c[3], 0, &out, size,
                                        tone, 0, tagRECT{});
                kvref::Resample(plain, c[0], c[1], bits, Stride(bits, c[0]), src.data(), c[2], c[3], want.data(), size,
                                tone);
                ASSERT_EQ(got, want) << c[0] << "x" << c[1] << " -> " << c[2] << "x" << c[3] << " @" << bits
                                     << " levels " << tone.levels;
            }
        }
    }
}

TEST(FastForm, AreaAverageMatchesTheStraightforwardFormEverywhere)
{
    kvtest::RandomImages rnd(202);
    const tagRGBQUAD replacement = kvtest::Rgb(17, 99, 240, 5);
    for (uint32_t bits : {8u, 24u}) {
        const std::vector<uint8_t> img = rnd.Image(9, 7, bits);
        CBmpProcessing p;
        p.BindImage(img.data(), 9, 7, static_cast<uint16_t>(bits), Stride(bits, 9));
        for (int round = 0; round < 3000; ++round) {
            const float x = rnd.Float(-4.0f, 13.0f), y = rnd.Float(-4.0f, 11.0f);
            const bool both = round % 3 != 0;
            const float xs = rnd.Float(1.01f, 4.0f);
            const float ys = both ? rnd.Float(1.01f, 4.0f) : rnd.Float(0.2f, 1.0f);
            const auto mode = static_cast<OverflowMethod>(rnd.Int(1, 6));
            const auto method = static_cast<InterpolationMethod>(rnd.Int(1, 2));
            const tagRGBQUAD* rep = round % 2 ? &replacement : nullptr;
            const tagRGBQUAD got = p.GetAreaColorInterpolated(x, y, xs, ys, method, mode, rep);
            const tagRGBQUAD want = kvref::AreaColor(p, x, y, xs, ys, method, mode, rep);
            ASSERT_EQ(std::memcmp(&got, &want, sizeof got), 0)
                << "at " << x << "," << y << " scales " << xs << "," << ys << " mode " << mode;
        }
    }
}

TEST(FastForm, ShrinkMatchesTheStraightforwardFormBitForBit)
{
    kvtest::RandomImages rnd(303);
    for (int round = 0; round < 300; ++round) {
        const uint32_t sw = rnd.Int(1, 60), sh = rnd.Int(1, 40);
        const uint32_t dw = rnd.Int(1, sw + 4), dh = rnd.Int(1, sh + 4);
        const uint32_t sbits = rnd.Int(0, 1) ? 24 : 8, dbits = rnd.Int(0, 1) ? 24 : 8;
        const tagColorCFG tone = kTones[rnd.Int(0, 3)];
        tagRECT whiten{0, 0, 0, 0};
        if (round % 3 == 1) {
            whiten = tagRECT{rnd.Int(-3, 30), rnd.Int(-3, 20), rnd.Int(-3, 70), rnd.Int(-3, 50)};
        } else if (round % 3 == 2) {
            whiten = tagRECT{5, 5, 4, 4};
        }
        const std::vector<uint8_t> src = rnd.Image(sw, sh, sbits);
        ASSERT_NO_FATAL_FAILURE(ExpectSameShrink({src, sw, sh, sbits, dw, dh, dbits, tone, whiten, false}));
    }
}

TEST(FastForm, ShrinkByWholeAndPrinterRatiosMatchesTheStraightforwardFormBitForBit)
{
    // The ratios the filter meets: a raster of two or three times the
    // printer's resolution, and 300 dpi printed at 203.
    kvtest::RandomImages rnd(313);
    for (int round = 0; round < 300; ++round) {
        const uint32_t dw = rnd.Int(1, 120), dh = rnd.Int(1, 30);
        uint32_t sw = 0, sh = 0;
        switch (round % 3) {
        case 0:
            sw = 3 * dw, sh = 3 * dh;
            break;
        case 1:
            sw = 2 * dw, sh = 2 * dh;
            break;
        default:
            sw = std::max<uint32_t>(dw, dw * 300 / 203), sh = std::max<uint32_t>(dh, dh * 300 / 203);
            break;
        }
        const uint32_t sbits = round % 5 == 0 ? 8 : 24, dbits = round % 7 == 0 ? 8 : 24;
        const tagColorCFG tone = kTones[rnd.Int(0, 3)];
        const tagRECT whiten = round % 2
                                   ? tagRECT{0, 0, 0, 0}
                                   : tagRECT{rnd.Int(-3, 100), rnd.Int(-3, 40), rnd.Int(-3, 300), rnd.Int(-3, 90)};
        const std::vector<uint8_t> src = rnd.Int(0, 1) ? rnd.Image(sw, sh, sbits) : SparseInk(rnd, sw, sh, sbits);
        ASSERT_NO_FATAL_FAILURE(ExpectSameShrink({src, sw, sh, sbits, dw, dh, dbits, tone, whiten, false}));
    }
}

TEST(FastForm, ShrinkByLessThanTwoMatchesTheStraightforwardFormBitForBit)
{
    // One or two source rows and columns per destination pixel: the rows
    // made straight from their source rows. Narrow widths leave no column
    // for the wide steps; widths of a multiple of four pixels have no row
    // padding, so the last row ends the allocation.
    kvtest::RandomImages rnd(333);
    for (int round = 0; round < 400; ++round) {
        const uint32_t dw = round % 4 == 0 ? rnd.Int(1, 4) : rnd.Int(1, 150), dh = rnd.Int(1, 30);
        const uint32_t sw = rnd.Int(dw, 2 * dw - (dw > 1 ? 1 : 0)), sh = rnd.Int(dh, 2 * dh - (dh > 1 ? 1 : 0));
        const uint32_t sbits = round % 9 == 0 ? 8 : 24, dbits = round % 11 == 0 ? 8 : 24;
        const tagColorCFG tone = round % 3 == 0 ? kTones[rnd.Int(0, 3)] : kTones[0];
        const tagRECT whiten = round % 5
                                   ? tagRECT{-1, -1, -1, -1}
                                   : tagRECT{rnd.Int(-3, 100), rnd.Int(-3, 40), rnd.Int(-3, 300), rnd.Int(-3, 90)};
        const std::vector<uint8_t> src = rnd.Int(0, 1) ? rnd.Image(sw, sh, sbits) : SparseInk(rnd, sw, sh, sbits);
        ASSERT_NO_FATAL_FAILURE(ExpectSameShrink({src, sw, sh, sbits, dw, dh, dbits, tone, whiten, round % 2 == 1}));
    }
}

TEST(FastForm, SwappedShrinkOutputIsTheShrinkWithFirstAndThirdChannelsExchanged)
{
    // Every way of averaging: pairs, three-pixel columns, longer runs,
    // columns without pixels, tone steps and whitening; 8-bit
    // destinations are grey and stay as they are.
    kvtest::RandomImages rnd(343);
    for (int round = 0; round < 300; ++round) {
        const uint32_t sw = rnd.Int(1, 90), sh = rnd.Int(1, 40);
        const uint32_t dw = rnd.Int(1, sw + 4), dh = rnd.Int(1, sh + 4);
        const uint32_t sbits = round % 7 == 0 ? 8 : 24, dbits = round % 5 == 0 ? 8 : 24;
        const tagColorCFG tone = kTones[rnd.Int(0, 3)];
        const tagRECT whiten = round % 3 ? tagRECT{-1, -1, -1, -1}
                                         : tagRECT{rnd.Int(-3, 30), rnd.Int(-3, 20), rnd.Int(-3, 70), rnd.Int(-3, 50)};
        const std::vector<uint8_t> src = rnd.Image(sw, sh, sbits);
        ASSERT_NO_FATAL_FAILURE(ExpectSameShrink({src, sw, sh, sbits, dw, dh, dbits, tone, whiten, true}));
    }
}

TEST(FastForm, ShrinkAveragingMoreThan4103PixelsDividesAsTheStraightforwardForm)
{
    // Counts from 4104 on are past what the multiplying division is exact
    // for; such averages are divided plainly.
    kvtest::RandomImages rnd(323);
    const uint32_t cases[][4] = {{100, 60, 1, 1}, {130, 80, 2, 1}, {70, 70, 1, 1}};
    for (const auto& c : cases) {
        const std::vector<uint8_t> src = rnd.Image(c[0], c[1], 24);
        ASSERT_NO_FATAL_FAILURE(
            ExpectSameShrink({src, c[0], c[1], 24, c[2], c[3], 24, kTones[0], tagRECT{0, 0, 0, 0}, false}));
    }
}

TEST(FastForm, OutputFormatConversionMatchesTheStraightforwardFormBitForBit)
{
    kvtest::RandomImages rnd(404);
    for (int round = 0; round < 400; ++round) {
        const int32_t w = rnd.Int(1, 45), h = rnd.Int(1, 30);
        const uint16_t bits = round % 5 == 0 ? 32 : (rnd.Int(0, 1) ? 24 : 8);
        const int orientation = rnd.Int(0, 4);
        const int maxWidth = rnd.Int(1, 50);
        const short crop = static_cast<short>(rnd.Int(0, 1));
        const bool tone = rnd.Int(0, 1) != 0;
        const std::vector<uint8_t> src = round % 2 ? rnd.Image(w, h, bits) : SparseInk(rnd, w, h, bits);
        CBmpProcessing fast, plain;
        PrepareTones(fast);
        PrepareTones(plain);
        ASSERT_NO_FATAL_FAILURE(ExpectSameConversion(fast, plain, {src, w, h, bits, orientation, tone, maxWidth, crop}))
            << "round " << round;
    }
}

TEST(FastForm, BlankEdgeSearchMatchesTheFourSeparateScans)
{
    kvtest::RandomImages rnd(505);
    for (int round = 0; round < 300; ++round) {
        const int32_t w = rnd.Int(1, 40), h = rnd.Int(1, 30);
        const int bits = round % 3 == 0 ? 1 : round % 3 == 1 ? 8 : 24;
        const std::vector<uint8_t> img = round % 4 == 0 ? rnd.Image(w, h, bits) : SparseInk(rnd, w, h, bits);
        const tagBITMAPINFOHEADER header = Header(w, h, static_cast<uint16_t>(bits));
        unsigned char* out = nullptr;
        unsigned int cap = 0;
        tagRECT got{};
        ASSERT_EQ(CBmpProcessing().RemoveBlankEdge(img.data(), static_cast<unsigned int>(img.size()), &header, &out,
                                                   &cap, &got),
                  1);
        Owned owned(out);
        const tagRECT want = kvref::BlankEdgeScans(img.data(), w, h, bits);
        ASSERT_TRUE(kvtest::RectIs(got, want.left, want.top, want.right, want.bottom)) << "round " << round;
    }
}
