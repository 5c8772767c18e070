// Tests of the RGB/YCbCr conversions and the three white balances.
#include <gtest/gtest.h>

#include <vector>

#include "BmpProcessing.h"
#include "ImageTestSupport.h"
#include "WhiteBalance.h"

using kvtest::Rgb;

namespace {

// A pixel word from red, green, blue and reserved.
uint32_t Word(unsigned red, unsigned green, unsigned blue, unsigned reserved = 0)
{
    return blue | (green << 8) | (red << 16) | (reserved << 24);
}

YCbCrQUAD Convert(tagRGBQUAD c)
{
    CBmpProcessing p;
    YCbCrQUAD out{0, 0, 0};
    p.RGB2YCbCr(&c, 1, &out, 1);
    return out;
}

}  // namespace

TEST(RGB2YCbCr, WhiteGivesLuma128AndZeroChroma)
{
    const YCbCrQUAD y = Convert(Rgb(255, 255, 255));
    EXPECT_EQ(y.Y, 128);
    EXPECT_EQ(y.Cb, 0);
    EXPECT_EQ(y.Cr, 0);
}

TEST(RGB2YCbCr, BlackGivesLumaMinus127AndZeroChroma)
{
    const YCbCrQUAD y = Convert(Rgb(0, 0, 0));
    EXPECT_EQ(y.Y, -127);
    EXPECT_EQ(y.Cb, 0);
    EXPECT_EQ(y.Cr, 0);
}

TEST(RGB2YCbCr, PureRedUsesTwentyBitFixedPointWithArithmeticShifts)
{
    // Y = ((313524*255 + 524288) >> 20) - 127 = 76 - 127;
    // Cb = (-176932*255 + 524288) >> 20 = floor(-42.53) = -43;
    // Cr = (524288*255 + 524288) >> 20 = 128.
    const YCbCrQUAD y = Convert(Rgb(255, 0, 0));
    EXPECT_EQ(y.Y, -51);
    EXPECT_EQ(y.Cb, -43);
    EXPECT_EQ(y.Cr, 128);
}

TEST(RGB2YCbCr, ConvertsEveryPixelOfTheCount)
{
    CBmpProcessing p;
    const tagRGBQUAD src[2] = {Rgb(255, 255, 255), Rgb(0, 0, 0)};
    YCbCrQUAD dst[2] = {{1, 1, 1}, {1, 1, 1}};
    p.RGB2YCbCr(src, 2, dst, 0);  // the destination count is not used
    EXPECT_EQ(dst[0].Y, 128);
    EXPECT_EQ(dst[1].Y, -127);
}

TEST(RGB2YCbCr, NonPositiveCountWritesNothing)
{
    CBmpProcessing p;
    const tagRGBQUAD src = Rgb(255, 255, 255);
    YCbCrQUAD dst{7, 7, 7};
    p.RGB2YCbCr(&src, 0, &dst, 1);
    p.RGB2YCbCr(&src, -3, &dst, 1);
    EXPECT_EQ(dst.Y, 7);
    EXPECT_EQ(dst.Cb, 7);
    EXPECT_EQ(dst.Cr, 7);
}

TEST(YCbCr2RGB, WhiteAndBlackConvertBack)
{
    CBmpProcessing p;
    const YCbCrQUAD src[2] = {{128, 0, 0}, {-127, 0, 0}};
    tagRGBQUAD dst[2] = {Rgb(1, 2, 3), Rgb(4, 5, 6)};
    p.YCbCr2RGB(src, 2, dst, 2);
    EXPECT_EQ(dst[0].rgbRed, 255);
    EXPECT_EQ(dst[0].rgbGreen, 255);
    EXPECT_EQ(dst[0].rgbBlue, 255);
    EXPECT_EQ(dst[1].rgbRed, 0);
    EXPECT_EQ(dst[1].rgbGreen, 0);
    EXPECT_EQ(dst[1].rgbBlue, 0);
}

TEST(YCbCr2RGB, DifferingCountsWriteNothing)
{
    CBmpProcessing p;
    const YCbCrQUAD src[2] = {{128, 0, 0}, {128, 0, 0}};
    tagRGBQUAD dst[2] = {Rgb(1, 2, 3, 4), Rgb(1, 2, 3, 4)};
    p.YCbCr2RGB(src, 2, dst, 1);
    EXPECT_EQ(dst[0].rgbRed, 1);
    EXPECT_EQ(dst[0].rgbGreen, 2);
    EXPECT_EQ(dst[0].rgbBlue, 3);
}

TEST(YCbCr2RGB, ZeroCountWritesNothing)
{
    CBmpProcessing p;
    const YCbCrQUAD src{128, 0, 0};
    tagRGBQUAD dst = Rgb(1, 2, 3);
    p.YCbCr2RGB(&src, 0, &dst, 0);
    EXPECT_EQ(dst.rgbRed, 1);
}

TEST(YCbCr2RGB, ClampsEachChannelToByteRange)
{
    // base 255; red adds (1470104*127 + 524288) >> 20 = 178; blue adds
    // (1858077*-128 + 524288) >> 20 = -227; green adds
    // (360856*128 - 748829*127 + 524288) >> 20 = floor(-46.15) = -47.
    CBmpProcessing p;
    const YCbCrQUAD src{128, -128, 127};
    tagRGBQUAD dst = Rgb(9, 9, 9);
    p.YCbCr2RGB(&src, 1, &dst, 1);
    EXPECT_EQ(dst.rgbRed, 255);
    EXPECT_EQ(dst.rgbGreen, 208);
    EXPECT_EQ(dst.rgbBlue, 28);
}

TEST(YCbCr2RGB, KeepsTheDestinationReservedByte)
{
    CBmpProcessing p;
    const YCbCrQUAD src{0, 0, 0};
    tagRGBQUAD dst = Rgb(0, 0, 0, 77);
    p.YCbCr2RGB(&src, 1, &dst, 1);
    EXPECT_EQ(dst.rgbReserved, 77);
    EXPECT_EQ(dst.rgbRed, 127);
}

TEST(GrayWorld, ChannelPushedPastWhiteWrapsModulo256)
{
    // Averages blue 100, green 150, red 200: grey 150, blue gain 1.5, so a
    // blue of 200 becomes 300 mod 256 = 44, not 255.
    CBmpProcessing p;
    const std::vector<uint32_t> stats = {Word(200, 150, 100), Word(200, 150, 100)};
    std::vector<uint32_t> target = {Word(200, 150, 200, 9)};
    EXPECT_EQ(p.AutoWhiteBalanceGrayWorld(stats.data(), 1, target.data(), 0), 1);
    EXPECT_EQ(target[0] & 0xFF, 44u);
    EXPECT_EQ((target[0] >> 8) & 0xFF, 150u);
    EXPECT_EQ((target[0] >> 16) & 0xFF, 150u);  // 200 * 0.75
}

TEST(GrayWorld, ReservedByteBecomesZero)
{
    CBmpProcessing p;
    const uint32_t stats = Word(100, 100, 100);
    uint32_t target = Word(10, 20, 30, 200);
    p.AutoWhiteBalanceGrayWorld(&stats, 1, &target, 1);
    EXPECT_EQ(target, Word(10, 20, 30, 0));
}

TEST(GrayWorld, NonPositiveCountReturns1AndChangesNothing)
{
    CBmpProcessing p;
    const uint32_t stats = Word(100, 50, 10);
    uint32_t target = Word(1, 2, 3, 4);
    EXPECT_EQ(p.AutoWhiteBalanceGrayWorld(&stats, 0, &target, 1), 1);
    EXPECT_EQ(target, Word(1, 2, 3, 4));
}

TEST(GrayWorld, ZeroChannelAverageSaturatesNonZeroToWhiteAndKeepsZero)
{
    CBmpProcessing p;
    const uint32_t stats = Word(90, 90, 0);  // blue average 0: infinite gain
    uint32_t target[2] = {Word(90, 90, 7), Word(90, 90, 0)};
    p.AutoWhiteBalanceGrayWorld(&stats, 1, target, 2);
    EXPECT_EQ(target[0] & 0xFF, 255u);
    EXPECT_EQ(target[1] & 0xFF, 0u);
}

TEST(PerfectReflector, RatioZeroWithLastPixelBlackTakesTheHighestKeyPresent)
{
    uint16_t hist[kvimg::kReflectorBins] = {};
    hist[300] = 2;
    hist[500] = 1;
    EXPECT_EQ(kvimg::ReflectorThresholdKey(hist, 0, 0), 500);
}

TEST(PerfectReflector, RatioZeroWithLastPixelNotBlackTakesTheTopBin)
{
    // The accumulator starts at the last pixel's key, which already
    // exceeds a limit of 0 at the first bin visited.
    uint16_t hist[kvimg::kReflectorBins] = {};
    hist[300] = 2;
    EXPECT_EQ(kvimg::ReflectorThresholdKey(hist, 30, 0), 767);
}

TEST(PerfectReflector, ThresholdSearchNeverAddsBinZero)
{
    uint16_t hist[kvimg::kReflectorBins] = {};
    hist[0] = 50;
    EXPECT_EQ(kvimg::ReflectorThresholdKey(hist, 0, 10), 0);
}

TEST(PerfectReflector, ThresholdAccumulatorIsKeptToSixteenBits)
{
    // 40000 read as a signed 16-bit count is -25536: the sum never exceeds 5.
    uint16_t hist[kvimg::kReflectorBins] = {};
    hist[700] = 40000;
    hist[10] = 3;
    EXPECT_EQ(kvimg::ReflectorThresholdKey(hist, 0, 5), 0);
}

TEST(PerfectReflector, AccumulatorStartingAtLastKeyChangesTheThreshold)
{
    // Keys 300, 600, 600, 30; limit = 4 * 50 / 100 = 2. Started at 30 the
    // accumulator exceeds 2 at key 767, so no pixel is brighter than the
    // threshold and every channel average is 0: the result is black.
    CBmpProcessing p;
    std::vector<uint32_t> px = {Word(100, 100, 100), Word(200, 200, 200), Word(200, 200, 200), Word(10, 10, 10)};
    const std::vector<uint32_t> colours = px;
    EXPECT_EQ(p.AutoWhiteBalancePerfectReflector(colours.data(), 4, px.data(), 4, 50), 1);
    for (uint32_t w : px) {
        EXPECT_EQ(w, 0u);
    }
}

TEST(PerfectReflector, ScalesColoursByBrightestOverAverageOfBrighterPixels)
{
    // Keys 300, 600 and 0 (the last, so the accumulator starts at 0);
    // limit = 3 * 34 / 100 = 1: key 600 gives 1, key 300 gives 2 > 1, so
    // the threshold is 300 and only the 600 pixel is brighter. Its colour
    // is both the brightest colour and the average.
    CBmpProcessing p;
    std::vector<uint32_t> px = {Word(100, 100, 100), Word(200, 200, 200), Word(0, 0, 0)};
    const std::vector<uint32_t> colours = {Word(100, 50, 10), Word(200, 100, 50), Word(0, 0, 0)};
    EXPECT_EQ(p.AutoWhiteBalancePerfectReflector(colours.data(), 3, px.data(), 3, 34), 1);
    EXPECT_EQ(px[0], Word(100, 50, 10));
    EXPECT_EQ(px[1], Word(200, 100, 50));
    EXPECT_EQ(px[2], Word(0, 0, 0));
}

TEST(PerfectReflector, ScaledChannelIsClampedTo255)
{
    // limit = 3 * 67 / 100 = 2: no bin above 0 exceeds it, threshold 0;
    // both bright pixels count, average 150, brightest colour 200:
    // 200 * 200 / 150 = 266 is clamped, 100 * 200 / 150 = 133.
    CBmpProcessing p;
    std::vector<uint32_t> px = {Word(200, 200, 200), Word(200, 200, 200), Word(0, 0, 0)};
    const std::vector<uint32_t> colours = {Word(200, 200, 200), Word(100, 100, 100), Word(0, 0, 0)};
    p.AutoWhiteBalancePerfectReflector(colours.data(), 3, px.data(), 3, 67);
    EXPECT_EQ(px[0], Word(255, 255, 255));
    EXPECT_EQ(px[1], Word(133, 133, 133));
}

TEST(PerfectReflector, FirstPixelWithTheGreatestKeyGivesTheBrightestColour)
{
    // Both bright pixels have key 600; the first one's colour (100) is the
    // brightest colour, so the second (200) becomes 200 * 100 / 150.
    CBmpProcessing p;
    std::vector<uint32_t> px = {Word(200, 200, 200), Word(200, 200, 200), Word(0, 0, 0)};
    const std::vector<uint32_t> colours = {Word(100, 100, 100), Word(200, 200, 200), Word(0, 0, 0)};
    p.AutoWhiteBalancePerfectReflector(colours.data(), 3, px.data(), 3, 67);
    EXPECT_EQ(px[0], Word(66, 66, 66));
    EXPECT_EQ(px[1], Word(133, 133, 133));
}

TEST(PerfectReflector, NonPositiveCountReturns1)
{
    CBmpProcessing p;
    uint32_t px = Word(1, 2, 3);
    EXPECT_EQ(p.AutoWhiteBalancePerfectReflector(&px, 0, &px, 0, 10), 1);
    EXPECT_EQ(px, Word(1, 2, 3));
}

TEST(BlockWhiteBalance, ImageOf150x50FormsTwoBlocksOf100x50And50x50)
{
    // The left 100 columns have blue 200, the right 50 blue 0 (grey 100
    // elsewhere): the block means of Cb are those of each part, and Mb is
    // their plain average, not the pixel-weighted one.
    std::vector<uint32_t> img(150 * 50);
    for (int y = 0; y < 50; ++y) {
        for (int x = 0; x < 150; ++x) {
            img[y * 150 + x] = x < 100 ? Word(100, 100, 200) : Word(100, 100, 0);
        }
    }
    std::vector<YCbCrQUAD> ycc(img.size());
    const kvimg::BlockChroma s = kvimg::GatherBlockChroma(img.data(), 150, 50, ycc.data());
    const int16_t cbLeft = kvimg::ToYCbCr(kvimg::UnpackPixel(img[0])).Cb;
    const int16_t cbRight = kvimg::ToYCbCr(kvimg::UnpackPixel(img[149])).Cb;
    EXPECT_EQ(s.blocks, 2);
    EXPECT_EQ(s.meanCb, (cbLeft + cbRight) / 2);
    EXPECT_EQ(s.devCb, 0);
}

TEST(BlockWhiteBalance, BlockMeanDeviationIsMeanAbsoluteDistance)
{
    // One block of four pixels with Cb -43, -43, 0, 0 (mean -21): the
    // deviations 22, 22, 21, 21 average to 21.
    const std::vector<uint32_t> img = {Word(255, 0, 0), Word(255, 0, 0), Word(0, 0, 0), Word(0, 0, 0)};
    std::vector<YCbCrQUAD> ycc(4);
    const kvimg::BlockChroma s = kvimg::GatherBlockChroma(img.data(), 2, 2, ycc.data());
    EXPECT_EQ(s.blocks, 1);
    EXPECT_EQ(s.meanCb, -21);
    EXPECT_EQ(s.devCb, 21);
    EXPECT_EQ(s.maxY, 0);  // starts at 0: red's -51 and black's -127 stay below
}

TEST(BlockWhiteBalance, LumaThresholdIsTheBinWhereTheTopTenthIsExceeded)
{
    uint16_t hist[kvimg::kLumaBins] = {};
    hist[250] = 1;
    hist[200] = 30;
    // 31 near-white pixels: limit 3; bin 250 gives 1, bin 200 gives 31.
    EXPECT_EQ(kvimg::NearWhiteThreshold(hist, 31), 200 - 127);
}

TEST(BlockWhiteBalance, LumaThresholdIsZeroWhenNoBinExceedsTheLimit)
{
    uint16_t hist[kvimg::kLumaBins] = {};
    hist[0] = 100;
    EXPECT_EQ(kvimg::NearWhiteThreshold(hist, 100), 0);
}

TEST(BlockWhiteBalance, DifferingCountsReturn0AndWriteNothing)
{
    CBmpProcessing p;
    const std::vector<uint32_t> src(4, Word(200, 200, 200));
    std::vector<uint32_t> dst(4, 5);
    EXPECT_EQ(p.AutoWhiteBalanceNovel(src.data(), 4, 2, 2, dst.data(), 3), 0);
    EXPECT_EQ(dst, std::vector<uint32_t>(4, 5));
}

TEST(BlockWhiteBalance, ZeroCountReturns0AndWritesNothing)
{
    CBmpProcessing p;
    const std::vector<uint32_t> src(4, Word(200, 200, 200));
    std::vector<uint32_t> dst(4, 5);
    EXPECT_EQ(p.AutoWhiteBalanceNovel(src.data(), 0, 2, 2, dst.data(), 0), 0);
    EXPECT_EQ(dst, std::vector<uint32_t>(4, 5));
}

TEST(BlockWhiteBalance, ImageLargerThanTheCountIsRefused)
{
    CBmpProcessing p;
    const std::vector<uint32_t> src(4, Word(200, 200, 200));
    std::vector<uint32_t> dst(4, 5);
    EXPECT_EQ(p.AutoWhiteBalanceNovel(src.data(), 4, 3, 2, dst.data(), 4), 0);
    EXPECT_EQ(dst, std::vector<uint32_t>(4, 5));
}

TEST(BlockWhiteBalance, UniformLightGreyIsUnchanged)
{
    // Grey has no chroma, so no pixel is near-white and the threshold is 0;
    // every pixel (Y = 73) passes, the gain is (73 + 127) / 200 = 1.
    CBmpProcessing p;
    const std::vector<uint32_t> src(12, Word(200, 200, 200, 5));
    std::vector<uint32_t> dst(12, 1);
    EXPECT_EQ(p.AutoWhiteBalanceNovel(src.data(), 12, 4, 3, dst.data(), 12), 1);
    EXPECT_EQ(dst, std::vector<uint32_t>(12, Word(200, 200, 200, 0)));
}

TEST(BlockWhiteBalance, NoPixelBrighterThanTheThresholdTurnsTheImageBlack)
{
    // Dark grey: luminance below 127 everywhere, nothing passes, gains 0.
    CBmpProcessing p;
    const std::vector<uint32_t> src(6, Word(50, 50, 50));
    std::vector<uint32_t> dst(6, 1);
    EXPECT_EQ(p.AutoWhiteBalanceNovel(src.data(), 6, 3, 2, dst.data(), 6), 1);
    EXPECT_EQ(dst, std::vector<uint32_t>(6, 0u));
}

TEST(BlockWhiteBalance, GainedChannelIsNarrowedTo16BitsBeforeClamping)
{
    // 200 * 226 = 45200, which as a signed 16-bit value is negative: 0.
    EXPECT_EQ(kvimg::NovelGainChannel(200, 226.0), 0);
    EXPECT_EQ(kvimg::NovelGainChannel(200, 1.5), 255);
    EXPECT_EQ(kvimg::NovelGainChannel(100, 1.999), 199);
}
