// Tests of the float geometry records, the outside rules, pixel reads with
// the near-white snap, and interpolated and area reads.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "BmpProcessing.h"
#include "ImageTestSupport.h"

using kvtest::Rgb;

namespace {

// A 24-bit image whose pixels are set one by one (all channels equal).
struct GreyImage24 {
    int32_t width, height;
    uint32_t stride;
    std::vector<uint8_t> bytes;

    GreyImage24(int32_t w, int32_t h, uint8_t fill)
            : width(w), height(h), stride(kvtest::Stride(24, w)), bytes(stride * h, fill)
    {
    }

    void Set(int32_t x, int32_t y, uint8_t v)
    {
        bytes[y * stride + 3 * x] = bytes[y * stride + 3 * x + 1] = bytes[y * stride + 3 * x + 2] = v;
    }

    void SetRgb(int32_t x, int32_t y, uint8_t red, uint8_t green, uint8_t blue)
    {
        bytes[y * stride + 3 * x] = blue;
        bytes[y * stride + 3 * x + 1] = green;
        bytes[y * stride + 3 * x + 2] = red;
    }

    void Bind(CBmpProcessing& p) const { p.BindImage(bytes.data(), width, height, 24, stride); }
};

void ExpectColour(const tagRGBQUAD& c, uint8_t red, uint8_t green, uint8_t blue, uint8_t reserved)
{
    EXPECT_EQ(c.rgbRed, red);
    EXPECT_EQ(c.rgbGreen, green);
    EXPECT_EQ(c.rgbBlue, blue);
    EXPECT_EQ(c.rgbReserved, reserved);
}

const tagRGBQUAD kReplacement = Rgb(1, 2, 3, 4);

// The kernel each 4 x 4 (or Lanczos) method uses by definition.
std::function<float(float)> NamedKernel(int method)
{
    switch (method) {
    case InterpBSpline:
        return CBmpProcessing::KernelBSpline;
    case InterpBicubic:
        return CBmpProcessing::KernelCubic;
    case InterpGeneralizedCubic:
        return [](float d) { return CBmpProcessing::KernelGeneralizedCubic(d, -0.5f); };
    case InterpLanczos:
        return [](float d) { return CBmpProcessing::KernelLanczosSinc(d, 6.0f); };
    case InterpBox:
        return CBmpProcessing::KernelBox;
    case InterpHermite:
        return CBmpProcessing::KernelHermite;
    case InterpHamming:
        return CBmpProcessing::KernelHamming;
    case InterpSinc:
        return CBmpProcessing::KernelSinc;
    case InterpBlackman:
        return CBmpProcessing::KernelBlackman;
    case InterpBessel:
        return CBmpProcessing::KernelBessel;
    case InterpGaussian:
        return CBmpProcessing::KernelGaussian;
    case InterpQuadratic:
        return CBmpProcessing::KernelQuadratic;
    case InterpMitchell:
        return CBmpProcessing::KernelMitchell;
    case InterpCatrom:
        return CBmpProcessing::KernelCatrom;
    case InterpHanning:
        return CBmpProcessing::KernelHanning;
    default:
        return [](float d) { return CBmpProcessing::KernelPower(d, 2.0f); };
    }
}

// A channel of a kernel sum: clamped to 0..255, else truncated.
uint8_t Finish(float v)
{
    return v > 255.0f ? 255 : v < 0.0f ? 0 : static_cast<uint8_t>(static_cast<int>(v));
}

// The kernel reconstruction, written out, at an interior position of a
// 24-bit image: neighbours read straight from memory (no snap), weights
// wy[j] * wx[i], then clamping and the snap of the result.
tagRGBQUAD KernelExpectation(const GreyImage24& img, int method, float x, float y)
{
    const int taps = method == InterpLanczos ? 12 : 4;
    const int before = method == InterpLanczos ? 5 : 1;
    const int xi = static_cast<int>(x), yi = static_cast<int>(y);
    const auto k = NamedKernel(method);
    float wx[12], wy[12];
    for (int i = 0; i < taps; ++i) {
        wx[i] = k(static_cast<float>(xi - before + i) - x);
        wy[i] = k(static_cast<float>(yi - before + i) - y);
    }
    float r = 0, g = 0, b = 0;
    for (int j = 0; j < taps; ++j) {
        for (int i = 0; i < taps; ++i) {
            const uint8_t* p = &img.bytes[(yi - before + j) * img.stride + 3 * (xi - before + i)];
            const float w = wy[j] * wx[i];
            r += w * p[2];
            g += w * p[1];
            b += w * p[0];
        }
    }
    tagRGBQUAD c{Finish(b), Finish(g), Finish(r), 0};
    if (c.rgbRed > 250 && c.rgbGreen > 250 && c.rgbBlue > 250) {
        c = tagRGBQUAD{255, 255, 255, 0};
    }
    return c;
}

}  // namespace

TEST(CxPoint2, DefaultIsTheOriginAndDistanceIsEuclidean)
{
    const CxPoint2 o;
    EXPECT_EQ(o.x, 0.0f);
    EXPECT_EQ(o.y, 0.0f);
    EXPECT_EQ(o.Distance(CxPoint2(3.0f, 4.0f)), 5.0f);
    EXPECT_EQ(o.Distance(-3.0f, -4.0f), 5.0f);
}

TEST(CxRect2, MeasuresWidthHeightSurfaceAndCentre)
{
    const CxRect2 r(1.0f, 2.0f, 4.0f, 6.0f);
    EXPECT_EQ(r.Width(), 3.0f);
    EXPECT_EQ(r.Height(), 4.0f);
    EXPECT_EQ(r.Surface(), 12.0f);
    EXPECT_EQ(r.Center().x, 2.5f);
    EXPECT_EQ(r.Center().y, 4.0f);
    const CxRect2 zero;
    EXPECT_EQ(zero.Surface(), 0.0f);
}

TEST(CxRect2, CrossSectionOfDisjointRectanglesIsAllZero)
{
    const CxRect2 c = CxRect2(0, 0, 1, 1).CrossSection(CxRect2(2, 2, 3, 3));
    EXPECT_EQ(c.cornerMin.x, 0.0f);
    EXPECT_EQ(c.cornerMin.y, 0.0f);
    EXPECT_EQ(c.cornerMax.x, 0.0f);
    EXPECT_EQ(c.cornerMax.y, 0.0f);
}

TEST(CxRect2, CrossSectionOfRectanglesTouchingAlongAnEdgeHasZeroWidth)
{
    const CxRect2 c = CxRect2(0, 0, 1, 1).CrossSection(CxRect2(1, 0, 2, 1));
    EXPECT_EQ(c.cornerMin.x, 1.0f);
    EXPECT_EQ(c.cornerMax.x, 1.0f);
    EXPECT_EQ(c.Width(), 0.0f);
    EXPECT_EQ(c.Height(), 1.0f);
}

TEST(CxRect2, CrossSectionOfOverlappingRectanglesIsTheirIntersection)
{
    const CxRect2 c = CxRect2(0, 0, 2, 2).CrossSection(CxRect2(1, 0.5f, 3, 1.5f));
    EXPECT_EQ(c.cornerMin.x, 1.0f);
    EXPECT_EQ(c.cornerMin.y, 0.5f);
    EXPECT_EQ(c.cornerMax.x, 2.0f);
    EXPECT_EQ(c.cornerMax.y, 1.5f);
}

class Overflow : public ::testing::Test {
protected:
    void SetUp() override { img.Bind(p); }

    // Maps (x, y) in a 4 x 3 image and returns the result.
    std::pair<int32_t, int32_t> Map(int32_t x, int32_t y, OverflowMethod m)
    {
        p.OverflowCoordinates(x, y, m);
        return {x, y};
    }

    GreyImage24 img{4, 3, 100};
    CBmpProcessing p;
};

TEST_F(Overflow, MirrorMapsMinusOneToOneNotZero)
{
    EXPECT_EQ(Map(-1, 0, OverflowMirror), std::make_pair(1, 0));
}

TEST_F(Overflow, MirrorMapsTheWidthToWidthMinusOne)
{
    EXPECT_EQ(Map(4, 0, OverflowMirror), std::make_pair(3, 0));
    EXPECT_EQ(Map(1, -2, OverflowMirror), std::make_pair(1, 2));
}

TEST_F(Overflow, WrapMapsMinusOneToWidthMinusOne)
{
    EXPECT_EQ(Map(-1, 0, OverflowWrap), std::make_pair(3, 0));
    EXPECT_EQ(Map(9, 4, OverflowWrap), std::make_pair(1, 1));
}

TEST_F(Overflow, RepeatClampsToTheNearestEdge)
{
    EXPECT_EQ(Map(-5, 7, OverflowRepeat), std::make_pair(0, 2));
}

TEST_F(Overflow, InsidePositionIsLeftAsItIs)
{
    EXPECT_EQ(Map(2, 1, OverflowWrap), std::make_pair(2, 1));
}

TEST_F(Overflow, FixedColourModesLeaveThePositionUnchanged)
{
    EXPECT_EQ(Map(-1, 7, OverflowColor), std::make_pair(-1, 7));
    EXPECT_EQ(Map(-1, 7, OverflowWhite), std::make_pair(-1, 7));
}

TEST(PixelRead, AllChannelsAbove250SnapToWhite)
{
    CBmpProcessing p;
    GreyImage24 img(2, 1, 251);
    img.Bind(p);
    ExpectColour(p.GetPixelColorWithOverflow(0, 0, OverflowColor, nullptr), 255, 255, 255, 0);
}

TEST(PixelRead, OneChannelAt250IsReadUnchanged)
{
    CBmpProcessing p;
    GreyImage24 img(2, 1, 0);
    img.SetRgb(1, 0, 250, 255, 255);
    img.Bind(p);
    ExpectColour(p.GetPixelColorWithOverflow(1, 0, OverflowColor, nullptr), 250, 255, 255, 0);
}

TEST(PixelRead, EightBitGreyFillsAllThreeChannels)
{
    CBmpProcessing p;
    const std::vector<uint8_t> img = {10, 20, 30, 40};
    p.BindImage(img.data(), 3, 1, 8, 4);
    ExpectColour(p.GetPixelColorWithOverflow(2, 0, OverflowColor, nullptr), 30, 30, 30, 0);
}

TEST(PixelRead, OutsideWithTheColourModeGivesTheReplacement)
{
    CBmpProcessing p;
    GreyImage24 img(2, 2, 100);
    img.Bind(p);
    ExpectColour(p.GetPixelColorWithOverflow(-1, 0, OverflowColor, &kReplacement), 1, 2, 3, 4);
}

TEST(PixelRead, OutsideWithoutAReplacementGivesWhite)
{
    CBmpProcessing p;
    GreyImage24 img(2, 2, 100);
    img.Bind(p);
    ExpectColour(p.GetPixelColorWithOverflow(5, 5, OverflowColor, nullptr), 255, 255, 255, 0);
}

TEST(PixelRead, BlankAndWhiteModesGiveWhiteWithTheReplacementsReservedByte)
{
    CBmpProcessing p;
    GreyImage24 img(2, 2, 100);
    img.Bind(p);
    ExpectColour(p.GetPixelColorWithOverflow(-1, 0, OverflowBlank, &kReplacement), 255, 255, 255, 4);
    ExpectColour(p.GetPixelColorWithOverflow(0, 9, OverflowWhite, &kReplacement), 255, 255, 255, 4);
}

TEST(PixelRead, WrapRepeatAndMirrorReadTheMappedPixel)
{
    CBmpProcessing p;
    GreyImage24 img(3, 1, 0);
    img.Set(0, 0, 10);
    img.Set(1, 0, 20);
    img.Set(2, 0, 30);
    img.Bind(p);
    EXPECT_EQ(p.GetPixelColorWithOverflow(-1, 0, OverflowWrap, nullptr).rgbRed, 30);
    EXPECT_EQ(p.GetPixelColorWithOverflow(-1, 0, OverflowRepeat, nullptr).rgbRed, 10);
    EXPECT_EQ(p.GetPixelColorWithOverflow(-1, 0, OverflowMirror, nullptr).rgbRed, 20);
}

TEST(PixelRead, WithoutABoundImageEveryReadGivesTheReplacement)
{
    const CBmpProcessing p;
    ExpectColour(p.GetPixelColorWithOverflow(0, 0, OverflowRepeat, &kReplacement), 1, 2, 3, 4);
}

TEST(PixelRead, ImageOfAnotherDepthReadsAsTheReplacement)
{
    CBmpProcessing p;
    const std::vector<uint8_t> img(16, 9);
    p.BindImage(img.data(), 2, 2, 32, 8);
    ExpectColour(p.GetPixelColorWithOverflow(1, 1, OverflowColor, &kReplacement), 1, 2, 3, 4);
    ExpectColour(p.GetPixelColorWithOverflow(-1, 1, OverflowRepeat, &kReplacement), 1, 2, 3, 4);
}

TEST(PixelRead, StrideTooShortForTheWidthLeavesNoImageBound)
{
    CBmpProcessing p;
    const std::vector<uint8_t> img(8, 9);
    p.BindImage(img.data(), 3, 2, 24, 4);
    ExpectColour(p.GetPixelColorWithOverflow(0, 0, OverflowColor, &kReplacement), 1, 2, 3, 4);
}

TEST(Interpolate, NearestAtMinusPoint7ReadsColumnZero)
{
    CBmpProcessing p;
    GreyImage24 img(2, 1, 40);
    img.Bind(p);
    ExpectColour(p.GetPixelColorInterpolated(-0.7f, 0.0f, InterpNearest, OverflowColor, &kReplacement), 40, 40, 40, 0);
}

TEST(Interpolate, NearestRoundsAHalfUp)
{
    CBmpProcessing p;
    GreyImage24 img(2, 1, 40);
    img.Set(1, 0, 80);
    img.Bind(p);
    EXPECT_EQ(p.GetPixelColorInterpolated(0.5f, 0.0f, InterpNearest, OverflowColor, nullptr).rgbRed, 80);
    EXPECT_EQ(p.GetPixelColorInterpolated(0.49f, 0.0f, InterpNearest, OverflowColor, nullptr).rgbRed, 40);
}

TEST(Interpolate, FixedOutsideModesReturnTheOutsideColourWithoutWeightingPixels)
{
    CBmpProcessing p;
    GreyImage24 img(16, 16, 100);
    img.Bind(p);
    const std::pair<InterpolationMethod, float> cases[] = {
        {InterpBilinear, -3.0f}, {InterpCatrom, -4.0f}, {InterpBSpline, 17.5f}, {InterpLanczos, -8.0f}};
    for (const auto& c : cases) {
        ExpectColour(p.GetPixelColorInterpolated(c.second, 2.0f, c.first, OverflowColor, &kReplacement), 1, 2, 3, 4);
        ExpectColour(p.GetPixelColorInterpolated(c.second, 2.0f, c.first, OverflowWhite, &kReplacement), 255, 255, 255,
                     4);
    }
}

TEST(Interpolate, ExactNegativeIntegerPositionTakesTheCellBelow)
{
    // -1.0 gives base cell -2, which is outside; -0.999 gives -1, inside.
    CBmpProcessing p;
    GreyImage24 img(4, 4, 100);
    img.Bind(p);
    ExpectColour(p.GetPixelColorInterpolated(-1.0f, 1.0f, InterpBilinear, OverflowColor, &kReplacement), 1, 2, 3, 4);
    EXPECT_EQ(p.GetPixelColorInterpolated(-0.999f, 1.0f, InterpBilinear, OverflowColor, &kReplacement).rgbReserved, 0);
}

TEST(Interpolate, BilinearInteriorOf24BitImageUsesFixedPointWeights)
{
    // At (0.1, 0.1): ux = uy = 25, w11 = 2, w10 = w01 = 23, w00 = 208, so
    // a lone 255 gives 208 * 255 >> 8 = 207 (float weights would give 206).
    CBmpProcessing p;
    GreyImage24 img(2, 2, 0);
    img.Set(0, 0, 255);
    img.Bind(p);
    ExpectColour(p.GetPixelColorInterpolated(0.1f, 0.1f, InterpBilinear, OverflowColor, nullptr), 207, 207, 207, 0);
}

TEST(Interpolate, BilinearOf8BitImageUsesFloatWeights)
{
    CBmpProcessing p;
    const std::vector<uint8_t> img = {255, 0, 0, 0, 0, 0, 0, 0};
    p.BindImage(img.data(), 2, 2, 8, 4);
    ExpectColour(p.GetPixelColorInterpolated(0.1f, 0.1f, InterpBilinear, OverflowColor, nullptr), 206, 206, 206, 0);
}

TEST(Interpolate, BilinearResultSnapsNearWhiteToWhite)
{
    CBmpProcessing p;
    GreyImage24 img(2, 2, 252);
    img.Bind(p);
    ExpectColour(p.GetPixelColorInterpolated(0.5f, 0.5f, InterpBilinear, OverflowColor, nullptr), 255, 255, 255, 0);
}

TEST(Interpolate, MethodOutsideOneToEighteenIsBilinear)
{
    CBmpProcessing p;
    GreyImage24 img(2, 2, 0);
    img.Set(0, 0, 255);
    img.Bind(p);
    for (int m : {0, 19, 99}) {
        EXPECT_EQ(
            p.GetPixelColorInterpolated(0.1f, 0.1f, static_cast<InterpolationMethod>(m), OverflowColor, nullptr).rgbRed,
            207);
    }
}

TEST(Interpolate, KernelMethodsWeightTheirNamedKernel)
{
    kvtest::RandomImages rnd(3);
    GreyImage24 img(16, 16, 0);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            img.SetRgb(x, y, rnd.Byte(0, 255), rnd.Byte(0, 255), rnd.Byte(0, 255));
        }
    }
    CBmpProcessing p;
    img.Bind(p);
    for (int m = InterpBSpline; m <= InterpPower; ++m) {
        const auto method = static_cast<InterpolationMethod>(m);
        const tagRGBQUAD want = KernelExpectation(img, m, 7.3f, 8.6f);
        const tagRGBQUAD got = p.GetPixelColorInterpolated(7.3f, 8.6f, method, OverflowColor, nullptr);
        EXPECT_EQ(got.rgbRed, want.rgbRed) << "method " << m;
        EXPECT_EQ(got.rgbGreen, want.rgbGreen) << "method " << m;
        EXPECT_EQ(got.rgbBlue, want.rgbBlue) << "method " << m;
        EXPECT_EQ(got.rgbReserved, 0) << "method " << m;
    }
}

TEST(Interpolate, KernelResultAboveWhiteIsClampedTo255)
{
    // Catmull-Rom just past a step from 0 to 255 overshoots to 271.
    CBmpProcessing p;
    GreyImage24 img(5, 5, 255);
    for (int y = 0; y < 5; ++y) {
        img.Set(0, y, 0);
        img.Set(1, y, 0);
    }
    img.Bind(p);
    EXPECT_EQ(p.GetPixelColorInterpolated(2.2f, 2.0f, InterpCatrom, OverflowColor, nullptr).rgbRed, 255);
}

TEST(Interpolate, KernelResultBelowBlackIsClampedTo0)
{
    CBmpProcessing p;
    GreyImage24 img(5, 5, 0);
    for (int y = 0; y < 5; ++y) {
        img.Set(0, y, 255);
        img.Set(1, y, 255);
    }
    img.Bind(p);
    EXPECT_EQ(p.GetPixelColorInterpolated(2.2f, 2.0f, InterpCatrom, OverflowColor, nullptr).rgbRed, 0);
}

TEST(Interpolate, HanningAtAnIntegerPositionGivesNaNWeightsAndReadsBlack)
{
    CBmpProcessing p;
    GreyImage24 img(5, 5, 100);
    img.Bind(p);
    ExpectColour(p.GetPixelColorInterpolated(2.0f, 2.0f, InterpHanning, OverflowColor, nullptr), 0, 0, 0, 0);
}

TEST(AreaColor, ScalesOfAtMostOneReadOneInterpolatedPixel)
{
    CBmpProcessing p;
    GreyImage24 img(2, 2, 0);
    img.Set(0, 0, 255);
    img.Bind(p);
    EXPECT_EQ(p.GetAreaColorInterpolated(0.1f, 0.1f, 1.0f, 0.5f, InterpBilinear, OverflowColor, nullptr).rgbRed, 207);
}

TEST(AreaColor, BothScalesAboveOneAverageTheCoveredPixels)
{
    // A 2 x 2 area centred at (1.5, 1.5) covers pixels 1..2 fully; the
    // pixels in column and row 3 only touch it and weigh 0.
    CBmpProcessing p;
    GreyImage24 img(4, 4, 200);
    img.Set(1, 1, 10);
    img.Set(2, 1, 20);
    img.Set(1, 2, 30);
    img.Set(2, 2, 41);
    img.Bind(p);
    ExpectColour(p.GetAreaColorInterpolated(1.5f, 1.5f, 2.0f, 2.0f, InterpNearest, OverflowRepeat, nullptr), 25, 25, 25,
                 0);
}

TEST(AreaColor, OneScaleAboveOneAveragesInterpolatedStrips)
{
    CBmpProcessing p;
    GreyImage24 img(4, 4, 200);
    img.Set(1, 1, 10);
    img.Set(2, 1, 20);
    img.Bind(p);
    ExpectColour(p.GetAreaColorInterpolated(1.5f, 1.0f, 2.0f, 1.0f, InterpNearest, OverflowRepeat, nullptr), 15, 15, 15,
                 0);
}

TEST(AreaColor, AverageIsNotSnappedToWhite)
{
    CBmpProcessing p;
    GreyImage24 img(4, 4, 0);
    img.Set(1, 1, 255);
    img.Set(2, 1, 249);
    img.Set(1, 2, 255);
    img.Set(2, 2, 249);
    img.Bind(p);
    ExpectColour(p.GetAreaColorInterpolated(1.5f, 1.5f, 2.0f, 2.0f, InterpNearest, OverflowRepeat, nullptr), 252, 252,
                 252, 0);
}

TEST(AreaColor, EachPixelIsSnappedBeforeItIsWeighted)
{
    CBmpProcessing p;
    GreyImage24 img(4, 4, 251);
    img.Bind(p);
    ExpectColour(p.GetAreaColorInterpolated(1.5f, 1.5f, 2.0f, 2.0f, InterpNearest, OverflowRepeat, nullptr), 255, 255,
                 255, 0);
}

TEST(AreaColor, AreaOutsideTheImageReadsTheOutsideColour)
{
    CBmpProcessing p;
    GreyImage24 img(4, 4, 0);
    img.Bind(p);
    ExpectColour(p.GetAreaColorInterpolated(20.0f, 20.0f, 2.0f, 2.0f, InterpNearest, OverflowColor, &kReplacement), 1,
                 2, 3, 0);
}

TEST(AddAveragingCont, AddsWeightedChannelsAndLeavesTheFourthAccumulator)
{
    const CBmpProcessing p;
    float r = 1.0f, g = 2.0f, b = 3.0f, a = 7.0f;
    p.AddAveragingCont(Rgb(10, 20, 30, 40), 0.5f, r, g, b, a);
    EXPECT_EQ(r, 6.0f);
    EXPECT_EQ(g, 12.0f);
    EXPECT_EQ(b, 18.0f);
    EXPECT_EQ(a, 7.0f);
}
