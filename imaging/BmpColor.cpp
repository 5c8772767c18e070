// Colour conversions between RGB and YCbCr and the three automatic white
// balances (grey world, perfect reflector, block statistics).
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "BmpArith.h"
#include "BmpProcessing.h"
#include "WhiteBalance.h"

namespace {

// Fixed point with 20 fraction bits; kRound is one half.
constexpr int kFixShift = 20;
constexpr int32_t kRound = 1 << (kFixShift - 1);

// 0.299, 0.587, 0.114 times 2^20, rounded.
constexpr int32_t kYR = 313524, kYG = 615514, kYB = 119538;
// -0.16874, -0.33126, 0.5 times 2^20.
constexpr int32_t kCbR = -176932, kCbG = -347354, kCbB = 524288;
// 0.5, -0.41869, -0.08131 times 2^20.
constexpr int32_t kCrR = 524288, kCrG = -439025, kCrB = -85261;
// 1.402, 0.34414, 0.71414 and 1.772 times 2^20.
constexpr int64_t kRCr = 1470104, kGCb = -360856, kGCr = -748829, kBCb = 1858077;

// Luminance is stored shifted by 127 so it fits the chroma's signed range.
constexpr int kLumaShift = 127;

// Weight of the block deviations in the near-white test, and of Mr.
constexpr double kNearWhiteSpread = 1.5;

// One part in ten of the near-white pixels sets the luminance threshold.
constexpr int64_t kNearWhiteShare = 10;

// Per cent.
constexpr int64_t kPercent = 100;

// Signed 16-bit counter increment that wraps as the counter would.
int16_t Increment16(int16_t v)
{
    return kvimg::LowInt16(int64_t{v} + 1);
}

// count * ratio / 100, saturated instead of overflowing.
int64_t ReflectorLimit(int64_t count, int ratio)
{
    int64_t product = 0;
    if (__builtin_mul_overflow(count, static_cast<int64_t>(ratio), &product)) {
        return (count < 0) != (ratio < 0) ? INT64_MIN / kPercent : INT64_MAX / kPercent;
    }
    return product / kPercent;
}

// Reflector-scaled channel: value times the brightest colour's channel
// over the channel average (0 for a zero average), at most 255.
unsigned ReflectChannel(unsigned value, unsigned brightest, uint64_t average)
{
    return static_cast<unsigned>(std::min<uint64_t>(kvimg::DivOrZero(uint64_t{value} * brightest, average), 255));
}

// Sum of the channels of a pixel word (the reflector's brightness key).
int KeyOf(uint32_t word)
{
    const tagRGBQUAD c = kvimg::UnpackPixel(word);
    return c.rgbBlue + c.rgbGreen + c.rgbRed;
}

// Whether a pixel's chroma lies near the white point of the block method.
bool IsNearWhite(const YCbCrQUAD& p, const kvimg::BlockChroma& s)
{
    const double signB = s.meanCb <= 0 ? -1.0 : 1.0;
    const double signR = s.meanCr <= 0 ? -1.0 : 1.0;
    const double db = static_cast<double>(s.devCb);
    const double dr = static_cast<double>(s.devCr);
    const bool cbNear = std::fabs(p.Cb - (static_cast<double>(s.meanCb) + signB * db)) < kNearWhiteSpread * db;
    const bool crNear =
        std::fabs(p.Cr - (kNearWhiteSpread * static_cast<double>(s.meanCr) + signR * dr)) < kNearWhiteSpread * dr;
    return cbNear && crNear;
}

// Per-channel gains of the block method.
struct Gains {
    double blue = 0.0, green = 0.0, red = 0.0;
};

// Gains of the block method: the luminance threshold comes from the
// near-white pixels; the pixels brighter than it give the channel averages
// that the brightest luminance is divided by. No bright pixel: all 0.
Gains NovelGains(const uint32_t* src, const YCbCrQUAD* ycc, int64_t count, const kvimg::BlockChroma& stats)
{
    uint16_t histogram[kvimg::kLumaBins] = {};
    int64_t nearWhite = 0;
    for (int64_t i = 0; i < count; ++i) {
        if (IsNearWhite(ycc[i], stats)) {
            ++histogram[ycc[i].Y + kLumaShift];
            ++nearWhite;
        }
    }
    const int threshold = kvimg::NearWhiteThreshold(histogram, nearWhite);
    uint64_t bright = 0, sumB = 0, sumG = 0, sumR = 0;
    for (int64_t i = 0; i < count; ++i) {
        if (ycc[i].Y > threshold) {
            const tagRGBQUAD c = kvimg::UnpackPixel(src[i]);
            ++bright;
            sumB += c.rgbBlue;
            sumG += c.rgbGreen;
            sumR += c.rgbRed;
        }
    }
    Gains g;
    if (bright != 0) {
        // An average of 0 gives an infinite gain, as the float division does.
        const double white = static_cast<double>(int{stats.maxY} + kLumaShift);
        g.blue = white / static_cast<double>(sumB / bright);
        g.green = white / static_cast<double>(sumG / bright);
        g.red = white / static_cast<double>(sumR / bright);
    }
    return g;
}

}  // namespace

namespace kvimg {

YCbCrQUAD ToYCbCr(const tagRGBQUAD& c)
{
    const int32_t r = c.rgbRed, g = c.rgbGreen, b = c.rgbBlue;
    YCbCrQUAD out;
    out.Y = static_cast<int16_t>(((kYR * r + kYG * g + kYB * b + kRound) >> kFixShift) - kLumaShift);
    out.Cb = static_cast<int16_t>((kCbR * r + kCbG * g + kCbB * b + kRound) >> kFixShift);
    out.Cr = static_cast<int16_t>((kCrR * r + kCrG * g + kCrB * b + kRound) >> kFixShift);
    return out;
}

int ReflectorThresholdKey(const uint16_t* histogram, int lastKey, int64_t limit)
{
    int16_t acc = LowInt16(lastKey);
    for (int k = kReflectorBins - 1; k > 0; --k) {
        acc = LowInt16(int64_t{acc} + static_cast<int16_t>(histogram[k]));
        if (acc > limit) {
            return k;
        }
    }
    return 0;
}

BlockChroma GatherBlockChroma(const uint32_t* src, int64_t width, int64_t height, YCbCrQUAD* ycc)
{
    const int64_t across = (width + kWhiteBlockSide - 1) / kWhiteBlockSide;
    const int64_t down = (height + kWhiteBlockSide - 1) / kWhiteBlockSide;
    BlockChroma s{0, 0, 0, 0, across * down, 0};
    std::vector<int64_t> meanCb(s.blocks), meanCr(s.blocks), devCb(s.blocks), devCr(s.blocks);
    for (int64_t block = 0; block < s.blocks; ++block) {
        const int64_t x0 = (block % across) * kWhiteBlockSide;
        const int64_t y0 = (block / across) * kWhiteBlockSide;
        const int64_t x1 = std::min(x0 + kWhiteBlockSide, width);
        const int64_t y1 = std::min(y0 + kWhiteBlockSide, height);
        const int64_t pixels = (x1 - x0) * (y1 - y0);
        int64_t sumCb = 0, sumCr = 0;
        for (int64_t y = y0; y < y1; ++y) {
            for (int64_t x = x0; x < x1; ++x) {
                YCbCrQUAD& p = ycc[y * width + x];
                p = ToYCbCr(UnpackPixel(src[y * width + x]));
                sumCb += p.Cb;
                sumCr += p.Cr;
                s.maxY = std::max(s.maxY, p.Y);
            }
        }
        meanCb[block] = DivOrZero(sumCb, pixels);
        meanCr[block] = DivOrZero(sumCr, pixels);
        int64_t spreadCb = 0, spreadCr = 0;
        for (int64_t y = y0; y < y1; ++y) {
            for (int64_t x = x0; x < x1; ++x) {
                const YCbCrQUAD& p = ycc[y * width + x];
                spreadCb += std::llabs(p.Cb - meanCb[block]);
                spreadCr += std::llabs(p.Cr - meanCr[block]);
            }
        }
        devCb[block] = DivOrZero(spreadCb, pixels);
        devCr[block] = DivOrZero(spreadCr, pixels);
    }
    for (int64_t block = 0; block < s.blocks; ++block) {
        s.meanCb += meanCb[block];
        s.meanCr += meanCr[block];
        s.devCb += devCb[block];
        s.devCr += devCr[block];
    }
    s.meanCb = DivOrZero(s.meanCb, s.blocks);
    s.meanCr = DivOrZero(s.meanCr, s.blocks);
    s.devCb = DivOrZero(s.devCb, s.blocks);
    s.devCr = DivOrZero(s.devCr, s.blocks);
    return s;
}

uint8_t NovelGainChannel(unsigned channel, double gain)
{
    const int32_t scaled = TruncToInt32(channel * gain);
    return ClampToByte(LowInt16(scaled));
}

int NearWhiteThreshold(const uint16_t* histogram, int64_t nearWhiteCount)
{
    const int64_t limit = nearWhiteCount / kNearWhiteShare;
    int64_t acc = 0;
    for (int k = kLumaBins - 1; k > 0; --k) {
        acc += static_cast<int16_t>(histogram[k]);
        if (acc > limit) {
            return k - kLumaShift;
        }
    }
    return 0;
}

}  // namespace kvimg

void CBmpProcessing::RGB2YCbCr(const tagRGBQUAD* src, int64_t count, YCbCrQUAD* dst, int64_t)
{
    if (src == nullptr || dst == nullptr) {
        return;
    }
    for (int64_t i = 0; i < count; ++i) {
        dst[i] = kvimg::ToYCbCr(src[i]);
    }
}

void CBmpProcessing::YCbCr2RGB(const YCbCrQUAD* src, int64_t count, tagRGBQUAD* dst, int64_t dstCount)
{
    if (src == nullptr || dst == nullptr || count != dstCount || count < 1) {
        return;
    }
    // 64-bit products: out-of-range chroma must not overflow.
    for (int64_t i = 0; i < count; ++i) {
        const int64_t base = int64_t{src[i].Y} + kLumaShift;
        const int64_t cb = src[i].Cb, cr = src[i].Cr;
        dst[i].rgbRed = kvimg::ClampToByte(base + ((kRCr * cr + kRound) >> kFixShift));
        dst[i].rgbGreen = kvimg::ClampToByte(base + ((kGCb * cb + kGCr * cr + kRound) >> kFixShift));
        dst[i].rgbBlue = kvimg::ClampToByte(base + ((kBCb * cb + kRound) >> kFixShift));
    }
}

int CBmpProcessing::AutoWhiteBalanceGrayWorld(const uint32_t* stats, int64_t count, uint32_t* target, int64_t)
{
    if (count <= 0) {
        return 1;
    }
    if (stats == nullptr || target == nullptr) {
        return 0;
    }
    uint64_t sumB = 0, sumG = 0, sumR = 0;
    for (int64_t i = 0; i < count; ++i) {
        const tagRGBQUAD c = kvimg::UnpackPixel(stats[i]);
        sumB += c.rgbBlue;
        sumG += c.rgbGreen;
        sumR += c.rgbRed;
    }
    const uint64_t n = static_cast<uint64_t>(count);
    const uint64_t avgB = sumB / n, avgG = sumG / n, avgR = sumR / n;
    const double grey = static_cast<double>(avgB + avgG + avgR) / 3.0;
    const double gainB = grey / static_cast<double>(avgB);
    const double gainG = grey / static_cast<double>(avgG);
    const double gainR = grey / static_cast<double>(avgR);
    // No clamping: a channel pushed past 255 keeps its low 8 bits.
    for (int64_t i = 0; i < count; ++i) {
        const tagRGBQUAD c = kvimg::UnpackPixel(target[i]);
        target[i] = kvimg::PackPixel(static_cast<uint32_t>(kvimg::TruncToInt32(c.rgbBlue * gainB)),
                                     static_cast<uint32_t>(kvimg::TruncToInt32(c.rgbGreen * gainG)),
                                     static_cast<uint32_t>(kvimg::TruncToInt32(c.rgbRed * gainR)));
    }
    return 1;
}

int CBmpProcessing::AutoWhiteBalancePerfectReflector(const uint32_t* color, int64_t count, uint32_t* target, int64_t,
                                                     int ratio)
{
    if (count > 0 && (color == nullptr || target == nullptr)) {
        return 0;
    }
    uint16_t histogram[kvimg::kReflectorBins] = {};
    int maxKey = 0;
    int lastKey = 0;
    tagRGBQUAD brightest{0, 0, 0, 0};
    for (int64_t i = 0; i < count; ++i) {
        const int key = KeyOf(target[i]);
        ++histogram[key];
        if (key > maxKey) {
            maxKey = key;
            brightest = kvimg::UnpackPixel(color[i]);
        }
        lastKey = key;
    }
    const int threshold = kvimg::ReflectorThresholdKey(histogram, lastKey, ReflectorLimit(count, ratio));
    if (count <= 0) {
        return 1;
    }
    int16_t bright = 0;
    uint64_t sumB = 0, sumG = 0, sumR = 0;
    for (int64_t i = 0; i < count; ++i) {
        if (KeyOf(target[i]) > threshold) {
            bright = Increment16(bright);
            const tagRGBQUAD c = kvimg::UnpackPixel(color[i]);
            sumB += c.rgbBlue;
            sumG += c.rgbGreen;
            sumR += c.rgbRed;
        }
    }
    // A wrapped (negative) counter divides as the huge unsigned value it
    // converts to.
    const uint64_t divisor = static_cast<uint64_t>(int64_t{bright});
    const uint64_t avgB = kvimg::DivOrZero(sumB, divisor);
    const uint64_t avgG = kvimg::DivOrZero(sumG, divisor);
    const uint64_t avgR = kvimg::DivOrZero(sumR, divisor);
    for (int64_t i = 0; i < count; ++i) {
        const tagRGBQUAD c = kvimg::UnpackPixel(color[i]);
        const unsigned b = ReflectChannel(c.rgbBlue, brightest.rgbBlue, avgB);
        const unsigned g = ReflectChannel(c.rgbGreen, brightest.rgbGreen, avgG);
        const unsigned r = ReflectChannel(c.rgbRed, brightest.rgbRed, avgR);
        target[i] = kvimg::PackPixel(b, g, r);
    }
    return 1;
}

int CBmpProcessing::AutoWhiteBalanceNovel(const uint32_t* src, int64_t count, int64_t width, int64_t height,
                                          uint32_t* dst, int64_t dstCount)
{
    if (count != dstCount || count < 1 || src == nullptr || dst == nullptr || width < 1 || height < 1 ||
        width > count / height) {
        return 0;
    }
    // The blocks are walked with a signed 16-bit index, which cannot
    // address more blocks than this.
    const int64_t blocks = ((width + kvimg::kWhiteBlockSide - 1) / kvimg::kWhiteBlockSide) *
                           ((height + kvimg::kWhiteBlockSide - 1) / kvimg::kWhiteBlockSide);
    if (blocks > INT16_MAX) {
        return 0;
    }
    std::vector<YCbCrQUAD> ycc(static_cast<size_t>(count), YCbCrQUAD{0, 0, 0});
    const kvimg::BlockChroma stats = kvimg::GatherBlockChroma(src, width, height, ycc.data());

    const Gains gains = NovelGains(src, ycc.data(), count, stats);
    for (int64_t i = 0; i < count; ++i) {
        const tagRGBQUAD c = kvimg::UnpackPixel(src[i]);
        dst[i] = kvimg::PackPixel(kvimg::NovelGainChannel(c.rgbBlue, gains.blue),
                                  kvimg::NovelGainChannel(c.rgbGreen, gains.green),
                                  kvimg::NovelGainChannel(c.rgbRed, gains.red));
    }
    return 1;
}
