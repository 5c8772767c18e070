// Tests of the levels tables (with their build-once rule), the light table
// and the direct brightness/contrast pass.
#include <gtest/gtest.h>

#include <vector>

#include "BmpProcessing.h"
#include "ImageTestSupport.h"

using kvtest::Rgb;

namespace {

COLORLEVELSITEM Levels(float gamma, uint8_t inLow, uint8_t inHigh, uint8_t outLow, uint8_t outHigh)
{
    return COLORLEVELSITEM{gamma, inLow, inHigh, outLow, outHigh};
}

// Looks a grey value up through table 0 by the public lookup.
uint8_t LookUpGrey(CBmpProcessing& p, uint8_t v)
{
    tagRGBQUAD out{};
    p.GetColorLevelsData(Rgb(v, v, v), &out);
    return out.rgbRed;
}

}  // namespace

TEST(Levels, ConstructionLeavesTablesZeroToTwoAsIdentity)
{
    CBmpProcessing p;
    for (int c = 0; c < 3; ++c) {
        for (int v = 0; v < 256; ++v) {
            ASSERT_EQ(p.m_LevelsTable[c][v], v) << "channel " << c;
        }
    }
}

TEST(Levels, ConstructionLeavesEverySettingAtItsDefault)
{
    CBmpProcessing p;
    for (const COLORLEVELSITEM& s : p.m_ColorLevels) {
        EXPECT_EQ(s.fGamma, 1.0f);
        EXPECT_EQ(s.byInLow, 0);
        EXPECT_EQ(s.byInHigh, 255);
        EXPECT_EQ(s.byOutLow, 0);
        EXPECT_EQ(s.byOutHigh, 255);
    }
}

TEST(Levels, ConstructionLeavesNoTableReady)
{
    CBmpProcessing p;
    for (uint8_t ready : p.m_bTableReady) {
        EXPECT_EQ(ready, 0);
    }
}

TEST(Levels, DefaultLookupReturnsTheColourUnchanged)
{
    CBmpProcessing p;
    tagRGBQUAD out{};
    EXPECT_EQ(p.GetColorLevelsData(Rgb(12, 130, 249), &out), 1);
    EXPECT_EQ(out.rgbRed, 12);
    EXPECT_EQ(out.rgbGreen, 130);
    EXPECT_EQ(out.rgbBlue, 249);
}

TEST(Levels, DefaultLookupSnapsAllChannelsAt250OrAboveToWhite)
{
    CBmpProcessing p;
    tagRGBQUAD out{};
    p.GetColorLevelsData(Rgb(250, 252, 251), &out);
    EXPECT_EQ(out.rgbRed, 255);
    EXPECT_EQ(out.rgbGreen, 255);
    EXPECT_EQ(out.rgbBlue, 255);
}

TEST(Levels, LookupWithOneChannelBelow250IsNotSnapped)
{
    CBmpProcessing p;
    tagRGBQUAD out{};
    p.GetColorLevelsData(Rgb(250, 250, 249), &out);
    EXPECT_EQ(out.rgbRed, 250);
    EXPECT_EQ(out.rgbGreen, 250);
    EXPECT_EQ(out.rgbBlue, 249);
}

TEST(Levels, LookupLeavesTheReservedByteUnwritten)
{
    CBmpProcessing p;
    tagRGBQUAD out = Rgb(0, 0, 0, 99);
    p.GetColorLevelsData(Rgb(1, 2, 3, 7), &out);
    EXPECT_EQ(out.rgbReserved, 99);
}

TEST(Levels, LookupSendsAllThreeChannelsThroughTableZero)
{
    CBmpProcessing p;
    const COLORLEVELSITEM gamma2 = Levels(2.0f, 0, 255, 0, 255);
    p.SetColorLevelsData(&gamma2, 0);
    tagRGBQUAD out{};
    p.GetColorLevelsData(Rgb(128, 128, 128), &out);
    EXPECT_EQ(out.rgbRed, 64);
    EXPECT_EQ(out.rgbGreen, 64);
    EXPECT_EQ(out.rgbBlue, 64);
}

TEST(Levels, LookupIgnoresTheTablesOfChannelsOneAndTwo)
{
    CBmpProcessing p;
    const COLORLEVELSITEM gamma2 = Levels(2.0f, 0, 255, 0, 255);
    p.SetColorLevelsData(&gamma2, 1);
    p.SetColorLevelsData(&gamma2, 2);
    EXPECT_EQ(LookUpGrey(p, 128), 128);
    EXPECT_EQ(p.m_LevelsTable[1][128], 64);
}

TEST(Levels, InputRange50To200Maps50To0And125To128And200To255)
{
    CBmpProcessing p;
    const COLORLEVELSITEM item = Levels(1.0f, 50, 200, 0, 255);
    p.SetColorLevelsData(&item, 0);
    EXPECT_EQ(p.m_LevelsTable[0][49], 0);
    EXPECT_EQ(p.m_LevelsTable[0][50], 0);
    EXPECT_EQ(p.m_LevelsTable[0][125], 128);
    EXPECT_EQ(p.m_LevelsTable[0][200], 255);
    EXPECT_EQ(p.m_LevelsTable[0][230], 255);
}

TEST(Levels, Gamma2Maps128To64)
{
    // pow(128/255, 2) * 255 + 0.5 = 64.75, truncated.
    CBmpProcessing p;
    const COLORLEVELSITEM item = Levels(2.0f, 0, 255, 0, 255);
    p.SetColorLevelsData(&item, 0);
    EXPECT_EQ(p.m_LevelsTable[0][128], 64);
}

TEST(Levels, GammaIsTheExponentItselfNotItsReciprocal)
{
    // pow(64/255, 0.5) * 255 + 0.5 = 128.25; the reciprocal would give 16.
    CBmpProcessing p;
    const COLORLEVELSITEM item = Levels(0.5f, 0, 255, 0, 255);
    p.SetColorLevelsData(&item, 0);
    EXPECT_EQ(p.m_LevelsTable[0][64], 128);
}

TEST(Levels, OutputRangeScalesAndShiftsTheResult)
{
    CBmpProcessing p;
    const COLORLEVELSITEM item = Levels(1.0f, 0, 255, 20, 220);
    p.SetColorLevelsData(&item, 0);
    EXPECT_EQ(p.m_LevelsTable[0][0], 20);
    EXPECT_EQ(p.m_LevelsTable[0][255], 220);
}

TEST(Levels, EqualInputPointsSendEverythingAboveBlackToOutputWhite)
{
    CBmpProcessing p;
    const COLORLEVELSITEM item = Levels(1.0f, 100, 100, 0, 255);
    p.SetColorLevelsData(&item, 0);
    EXPECT_EQ(p.m_LevelsTable[0][100], 0);
    EXPECT_EQ(p.m_LevelsTable[0][101], 255);
    EXPECT_EQ(p.m_LevelsTable[0][255], 255);
}

TEST(Levels, SecondSetOnTheSameChannelLeavesTheFirstTable)
{
    CBmpProcessing p;
    const COLORLEVELSITEM first = Levels(2.0f, 0, 255, 0, 255);
    const COLORLEVELSITEM second = Levels(0.5f, 0, 255, 0, 255);
    p.SetColorLevelsData(&first, 0);
    p.SetColorLevelsData(&second, 0);
    EXPECT_EQ(p.m_LevelsTable[0][128], 64);
    EXPECT_EQ(p.m_ColorLevels[0].fGamma, 0.5f);  // the setting is stored all the same
}

TEST(Levels, SetMarksTheChannelReady)
{
    CBmpProcessing p;
    const COLORLEVELSITEM item = Levels(2.0f, 0, 255, 0, 255);
    p.SetColorLevelsData(&item, 2);
    EXPECT_EQ(p.m_bTableReady[2], 1);
    EXPECT_EQ(p.m_bTableReady[0], 0);
}

TEST(Levels, ResetAfterBuildRestoresTheSettingButNotTheTable)
{
    CBmpProcessing p;
    const COLORLEVELSITEM item = Levels(2.0f, 0, 255, 0, 255);
    p.SetColorLevelsData(&item, 0);
    p.InitColorLevelsData(0);
    EXPECT_EQ(p.m_ColorLevels[0].fGamma, 1.0f);
    EXPECT_EQ(p.m_LevelsTable[0][128], 64);
    EXPECT_EQ(p.m_bTableReady[0], 1);
}

TEST(Levels, CompositeSettingBuildsOnlyTheTablesNotYetBuilt)
{
    CBmpProcessing p;
    const COLORLEVELSITEM gamma2 = Levels(2.0f, 0, 255, 0, 255);
    const COLORLEVELSITEM range = Levels(1.0f, 50, 200, 0, 255);
    p.SetColorLevelsData(&gamma2, 1);
    p.SetColorLevelsData(&range, 3);
    EXPECT_EQ(p.m_LevelsTable[0][125], 128);
    EXPECT_EQ(p.m_LevelsTable[2][125], 128);
    EXPECT_EQ(p.m_LevelsTable[1][128], 64);
    EXPECT_EQ(p.m_LevelsTable[1][125], 61);  // still gamma 2: 61.27 + 0.5
    EXPECT_EQ(p.m_bTableReady[0], 1);
    EXPECT_EQ(p.m_bTableReady[2], 1);
    EXPECT_EQ(p.m_bTableReady[3], 0);
}

TEST(Levels, BuildTransformsTheCurrentTableInPlace)
{
    CBmpProcessing p;
    for (int v = 0; v < 256; ++v) {
        p.m_LevelsTable[0][v] = static_cast<uint8_t>(255 - v);
    }
    p.m_ColorLevels[0] = Levels(2.0f, 0, 255, 0, 255);
    EXPECT_NE(p.InitColorLevelsTable(0), 0);
    EXPECT_EQ(p.m_LevelsTable[0][127], 64);  // held 128
    EXPECT_EQ(p.m_LevelsTable[0][0], 255);   // held 255
    EXPECT_EQ(p.m_LevelsTable[0][255], 0);   // held 0
}

TEST(Levels, NullItemChangesNothing)
{
    CBmpProcessing p;
    p.SetColorLevelsData(nullptr, 0);
    EXPECT_EQ(p.m_bTableReady[0], 0);
    EXPECT_EQ(p.m_LevelsTable[0][128], 128);
}

TEST(Levels, ChannelIndexOutsideZeroToThreeIsIgnored)
{
    CBmpProcessing p;
    const COLORLEVELSITEM item = Levels(2.0f, 0, 255, 0, 255);
    p.SetColorLevelsData(&item, 4);
    p.SetColorLevelsData(&item, -1);
    EXPECT_EQ(p.InitColorLevelsTable(7), 0);
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(p.m_bTableReady[c], 0);
    }
}

TEST(LightTable, ZeroBrightnessAndContrastGiveTheIdentity)
{
    CBmpProcessing p;
    p.SetLightTable(0, 0);
    for (int v = 0; v < 256; ++v) {
        ASSERT_EQ(p.m_LightTable[v], v);
    }
}

TEST(LightTable, Brightness20Maps240To255And0To20)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    EXPECT_EQ(p.m_LightTable[240], 255);
    EXPECT_EQ(p.m_LightTable[0], 20);
}

TEST(LightTable, ContrastMinus100FlattensToThePivot)
{
    CBmpProcessing p;
    p.SetLightTable(0, -100);
    EXPECT_EQ(p.m_LightTable[0], 128);
    EXPECT_EQ(p.m_LightTable[255], 128);
}

TEST(LightTable, Contrast100DoublesTheSlopeAroundThePivot)
{
    CBmpProcessing p;
    p.SetLightTable(0, 100);
    EXPECT_EQ(p.m_LightTable[100], 72);  // -28 * 2 + 128.5
    EXPECT_EQ(p.m_LightTable[128], 128);
    EXPECT_EQ(p.m_LightTable[200], 255);
    EXPECT_EQ(p.m_LightTable[0], 0);
}

TEST(Light, KeepsPureBlack)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    unsigned char a = 0, b = 0, c = 0;
    EXPECT_EQ(p.Light(a, b, c, 20, 0), 1);
    EXPECT_EQ(a, 0);
    EXPECT_EQ(b, 0);
    EXPECT_EQ(c, 0);
}

TEST(Light, TurnsNearWhiteIntoPureWhite)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    unsigned char a = 252, b = 255, c = 251;
    p.Light(a, b, c, 20, 0);
    EXPECT_EQ(a, 255);
    EXPECT_EQ(b, 255);
    EXPECT_EQ(c, 255);
}

TEST(Light, KeepsPureWhiteWhateverTheTable)
{
    CBmpProcessing p;
    p.SetLightTable(-50, 0);
    unsigned char a = 255, b = 255, c = 255;
    p.Light(a, b, c, -50, 0);
    EXPECT_EQ(a, 255);
    EXPECT_EQ(b, 255);
    EXPECT_EQ(c, 255);
}

TEST(Light, LooksEachChannelUpOnItsOwn)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    unsigned char a = 10, b = 100, c = 251;
    p.Light(a, b, c, 20, 0);
    EXPECT_EQ(a, 30);
    EXPECT_EQ(b, 120);
    EXPECT_EQ(c, 255);
}

TEST(Light, ChannelsJustBelowTheWhiteLimitAreLookedUp)
{
    CBmpProcessing p;
    p.SetLightTable(-50, 0);
    unsigned char a = 251, b = 251, c = 250;
    p.Light(a, b, c, -50, 0);
    EXPECT_EQ(a, 201);
    EXPECT_EQ(b, 201);
    EXPECT_EQ(c, 200);
}

TEST(AdjustBrightness, EightBitLeavesBlackAndWhiteBytes)
{
    CBmpProcessing p;
    std::vector<unsigned char> buf = {0, 255, 100, 0, 255};
    unsigned char* ptr = buf.data();
    p.AdjustBrightness(&ptr, 5, Rgb(0, 0, 100), 50, 20, 8);
    EXPECT_EQ(buf, (std::vector<unsigned char>{0, 255, 150, 0, 255}));
}

TEST(AdjustBrightness, EightBitPivotsOnTheBlueComponent)
{
    // (150 - 100) * 2 + 100 + 0.5 = 200.5 with blue as pivot.
    CBmpProcessing p;
    std::vector<unsigned char> buf = {150};
    unsigned char* ptr = buf.data();
    p.AdjustBrightness(&ptr, 1, Rgb(0, 0, 100), 0, 100, 8);
    EXPECT_EQ(buf[0], 200);
}

TEST(AdjustBrightness, ContrastScalesAroundThePivotInSinglePrecision)
{
    // k = 1.5: (150 - 100) * 1.5 + 100 + 0.5 = 175.5.
    CBmpProcessing p;
    std::vector<unsigned char> buf = {150};
    unsigned char* ptr = buf.data();
    p.AdjustBrightness(&ptr, 1, Rgb(0, 0, 100), 0, 50, 8);
    EXPECT_EQ(buf[0], 175);
}

TEST(AdjustBrightness, TwentyFourBitUsesEachChannelsPivot)
{
    // Bytes are blue, green, red: pivots 100, 50 and 0 with slope 2.
    CBmpProcessing p;
    std::vector<unsigned char> buf = {150, 150, 150};
    unsigned char* ptr = buf.data();
    p.AdjustBrightness(&ptr, 3, Rgb(0, 50, 100), 0, 100, 24);
    EXPECT_EQ(buf, (std::vector<unsigned char>{200, 250, 255}));
}

TEST(AdjustBrightness, TwentyFourBitLeavesAllBlackAndAllWhitePixels)
{
    CBmpProcessing p;
    std::vector<unsigned char> buf = {0, 0, 0, 255, 255, 255, 0, 0, 1};
    unsigned char* ptr = buf.data();
    p.AdjustBrightness(&ptr, 9, Rgb(0, 0, 0), 10, 0, 24);
    EXPECT_EQ(buf, (std::vector<unsigned char>{0, 0, 0, 255, 255, 255, 10, 10, 11}));
}

TEST(AdjustBrightness, TwentyFourBitLeavesATrailingPartialPixel)
{
    CBmpProcessing p;
    std::vector<unsigned char> buf = {100, 100, 100, 100};
    unsigned char* ptr = buf.data();
    p.AdjustBrightness(&ptr, 4, Rgb(0, 0, 0), 10, 0, 24);
    EXPECT_EQ(buf, (std::vector<unsigned char>{110, 110, 110, 100}));
}

TEST(AdjustBrightness, OtherDepthsAndMissingBuffersChangeNothing)
{
    CBmpProcessing p;
    std::vector<unsigned char> buf = {100, 100};
    unsigned char* ptr = buf.data();
    p.AdjustBrightness(&ptr, 2, Rgb(0, 0, 0), 10, 0, 16);
    p.AdjustBrightness(&ptr, 0, Rgb(0, 0, 0), 10, 0, 8);
    p.AdjustBrightness(nullptr, 2, Rgb(0, 0, 0), 10, 0, 8);
    unsigned char* none = nullptr;
    p.AdjustBrightness(&none, 2, Rgb(0, 0, 0), 10, 0, 8);
    EXPECT_EQ(buf, (std::vector<unsigned char>{100, 100}));
}
