// Facts about the print configuration built from the PPD on the first page.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "InitalizeOemCfg.h"
#include "LogCapture.h"
#include "PpdWriter.h"
#include "RasterWriter.h"
#include "TempDir.h"

// The job records are packed: a member that may sit at an unaligned address
// is copied into a local before EXPECT_EQ, which binds its arguments to
// references.

using namespace kvtest;

namespace {

const char* const kCfgSource = "filter/InitalizeOemCfg.cpp";

struct PpdCloser {
    void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdHandle = std::unique_ptr<ppd_file_t, PpdCloser>;

// Writes the PPD, points the PPD variable at it (the "OutputDPI" keyword is
// read from the file named there) and opens it with its defaults marked.
class OemCfgTest : public ::testing::Test {
protected:
    PpdHandle Open(const PpdWriter& writer)
    {
        std::string path = writer.WriteTo(m_dir.File("test.ppd"));
        setenv("PPD", path.c_str(), 1);
        PpdHandle ppd(ppdOpenFile(path.c_str()));
        EXPECT_NE(ppd, nullptr);
        if (ppd)
            ppdMarkDefaults(ppd.get());
        return ppd;
    }

    // Builds the configuration from the PPD, logging into the capture.
    tagOEMCFG Build(const PpdWriter& writer)
    {
        PpdHandle ppd = Open(writer);
        tagOEMCFG cfg;
        memset(&cfg, 0xA5, sizeof(cfg));
        cups_page_header2_t header = RgbHeader(100, 100);
        LogCapture::Instance().Mark();
        InitalizeOemCfg(&cfg, ppd.get(), &header);
        return cfg;
    }

    static std::vector<std::string> Logged() { return LogCapture::Instance().MessagesSince(); }

    kvtest::TempDir m_dir;
};

bool Contains(const std::vector<std::string>& lines, const std::string& line)
{
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

}  // namespace

TEST_F(OemCfgTest, PpdWithoutOptionsGivesAllZerosButTheOutputResolution)
{
    tagOEMCFG cfg = Build(PpdWriter().Keyword("OutputDPI", "203"));
    tagOEMCFG expected;
    memset(&expected, 0, sizeof(expected));
    expected.sOutputXDPI = 203;
    expected.sOutputYDPI = 203;
    EXPECT_EQ(memcmp(&cfg, &expected, sizeof(cfg)), 0);
}

TEST_F(OemCfgTest, PpdWithoutOptionsLogsOnlyTheAlwaysLoggedMembers)
{
    Build(PpdWriter().Keyword("OutputDPI", "203"));
    std::vector<std::string> expected{
        "Init sRotation: 0, sRotate90: 0",
        "Init sOutputXDPI: 203, sOutputYDPI: 203",
        "Init sFixedHeight: 0",
        "Init sAutoRotate90: 0",
        "Init dwStartOffsetValue: 0",
        "Init dwEndOffsetValue: 0",
    };
    EXPECT_EQ(Logged(), expected);
}

TEST_F(OemCfgTest, EveryOptionIsLoggedInCallOrderWithItsSourceLine)
{
    Build(LabelPpd(WithCodes({{"Density", "12"}, {"GAPOffset", "1.5"}, {"GAPHeight", "3"}, {"SavePaper", "1"}})));
    struct Expect {
        const char* message;
        const char* call;
    } expected[] = {
        {"Init sMirror: 0", "\"Init sMirror: %d\""},
        {"Init sRotation: 0, sRotate90: 0", "\"Init sRotation: %d, sRotate90: %d\""},
        {"Init bNegative: 0", "\"Init bNegative: %d\""},
        {"Init sDensity: 12", "\"Init sDensity: %d\""},
        {"Init sHrzDir: 0", "\"Init sHrzDir: %d\""},
        {"Init sHrzOffset: 0", "\"Init sHrzOffset: %d\""},
        {"Init sVtcDir: 0", "\"Init sVtcDir: %d\""},
        {"Init sVtcOffset: 0", "\"Init sVtcOffset: %d\""},
        {"Init nBrightness: 0", "\"Init nBrightness: %d\""},
        {"Init nContrast: 0", "\"Init nContrast: %d\""},
        {"Init nLevelsAdj: 100", "\"Init nLevelsAdj: %d\""},
        {"Init sHalftoneMethod: 1", "\"Init sHalftoneMethod: %d\""},
        {"Init sPaperType: 0", "\"Init sPaperType: %d\""},
        {"Init sLabelType: 0", "\"Init sLabelType: %d\""},
        {"Init GAPOffset: 15", "\"Init GAPOffset: %d\""},
        {"Init GAPHeight: 30", "\"Init GAPHeight: %d\""},
        {"Init dwOperationAfterPrn: 0", "\"Init dwOperationAfterPrn: %d\""},
        {"Init dwOperationModeAfterPrn: 0", "\"Init dwOperationModeAfterPrn: %d\""},
        {"Init sIntervalValue: 1", "\"Init sIntervalValue: %d\""},
        {"Init sCutPosition: 100", "\"Init sCutPosition: %d\""},
        {"Init sMaxOutputWidth: 104", "\"Init sMaxOutputWidth: %d\""},
        {"Init sIsLineImaginary: 0", "\"Init sIsLineImaginary: %d\""},
        {"Init sMinImaginaryLineLen: 5", "\"Init sMinImaginaryLineLen: %d\""},
        {"Init sBlackInterval: 1", "\"Init sBlackInterval: %d\""},
        {"Init sWhiteInterval: 1", "\"Init sWhiteInterval: %d\""},
        {"Init sPaperMode: 1", "\"Init sPaperMode: %d\", cfg->sSavePaper"},
        {"Init sOutputXDPI: 203, sOutputYDPI: 203", "\"Init sOutputXDPI: %d, sOutputYDPI: %d\""},
        {"Init sPaperMode: 0", "\"Init sPaperMode: %d\", cfg->sPaperMode"},
        {"Init sPrintSpeed: 4", "\"Init sPrintSpeed: %d\""},
        {"Init sFixedHeight: 0", "\"Init sFixedHeight: %d\""},
        {"Init sAutoRotate90: 0", "\"Init sAutoRotate90: %d\""},
        {"Init dwStartOffsetValue: 0", "\"Init dwStartOffsetValue: %d\""},
        {"Init dwEndOffsetValue: 0", "\"Init dwEndOffsetValue: %d\""},
    };
    std::vector<LogLine> lines = LogCapture::Instance().Since();
    ASSERT_EQ(lines.size(), std::size(expected));
    for (size_t i = 0; i < lines.size(); ++i) {
        LogLine want = ExpectedDebug(expected[i].message, kCfgSource, expected[i].call);
        EXPECT_EQ(lines[i].level, "LOG_DEBUG");
        EXPECT_EQ(lines[i].message, want.message);
        EXPECT_EQ(lines[i].file, "InitalizeOemCfg.cpp");
        EXPECT_NE(want.line, 0);
        EXPECT_EQ(lines[i].line, want.line) << want.message;
    }
}

TEST_F(OemCfgTest, GapHeightOfTwoPointFiveGivesTwentyFiveInBothMembers)
{
    tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"GAPHeight", "2.5"}})));
    EXPECT_EQ(cfg.GAPHeight, 25);
    EXPECT_EQ(cfg.GAPHeight2, 25);
}

TEST_F(OemCfgTest, GapHeightOfTwoPointFiveFiveIsTruncatedToTwentyFive)
{
    tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"GAPHeight", "2.55"}})));
    EXPECT_EQ(cfg.GAPHeight, 25);
    EXPECT_EQ(cfg.GAPHeight2, 25);
}

TEST_F(OemCfgTest, GapOffsetFillsBothGapOffsetMembers)
{
    tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"GAPOffset", "1.5"}})));
    EXPECT_EQ(cfg.GAPOffset, 15);
    EXPECT_EQ(cfg.GAPOffset2, 15);
}

TEST_F(OemCfgTest, GapOffsetIsReadBeforeGapHeight)
{
    Build(LabelPpd(WithCodes({{"GAPOffset", "1"}, {"GAPHeight", "2"}})));
    std::vector<std::string> lines = Logged();
    auto offset = std::find(lines.begin(), lines.end(), "Init GAPOffset: 10");
    auto height = std::find(lines.begin(), lines.end(), "Init GAPHeight: 20");
    ASSERT_NE(offset, lines.end());
    ASSERT_NE(height, lines.end());
    EXPECT_LT(offset, height);
}

TEST_F(OemCfgTest, OffsetValuesAreStoredInTenths)
{
    tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"HorizontalOffsetValue", "1.5"}, {"VerticalOffsetValue", "-0.75"}})));
    EXPECT_EQ(cfg.sHrzOffset, 15);
    EXPECT_EQ(cfg.sVtcOffset, -7);
}

TEST_F(OemCfgTest, ChoiceCodeMinusOneIsTheSameAsAMissingOption)
{
    tagOEMCFG withMinusOne = Build(LabelPpd(WithCodes({{"Mirror", "-1"}})));
    EXPECT_FALSE(Contains(Logged(), "Init sMirror: -1"));
    EXPECT_FALSE(Contains(Logged(), "Init sMirror: 0"));
    tagOEMCFG missing = Build(LabelPpd(WithoutOptions({"Mirror"})));
    EXPECT_EQ(withMinusOne.sMirror, 0);
    EXPECT_EQ(memcmp(&withMinusOne, &missing, sizeof(tagOEMCFG)), 0);
}

TEST_F(OemCfgTest, RotationCodeFiveLeavesBothMembersZeroAndStillLogs)
{
    tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"Rotation", "5"}})));
    EXPECT_EQ(cfg.sRotation, 0);
    EXPECT_EQ(cfg.sRotate90, 0);
    EXPECT_TRUE(Contains(Logged(), "Init sRotation: 0, sRotate90: 0"));
}

TEST_F(OemCfgTest, RotationTableMapsCodesToRotationAndRotate90)
{
    const struct {
        const char* code;
        int rotation;
        int rotate90;
    } table[] = {{"0", 0, 0}, {"1", 1, 1}, {"2", 1, 0}, {"3", 0, 1}};
    for (const auto& row : table) {
        tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"Rotation", row.code}})));
        EXPECT_EQ(cfg.sRotation, row.rotation) << row.code;
        EXPECT_EQ(cfg.sRotate90, row.rotate90) << row.code;
    }
}

TEST_F(OemCfgTest, RotationCodeIsNarrowedToSixteenBitsFirst)
{
    // 65537 narrows to 1: rotation and rotate-90 both set.
    tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"Rotation", "65537"}})));
    EXPECT_EQ(cfg.sRotation, 1);
    EXPECT_EQ(cfg.sRotate90, 1);
}

TEST_F(OemCfgTest, MissingRotationStillLogsZeroAndZero)
{
    tagOEMCFG cfg = Build(LabelPpd(WithoutOptions({"Rotation"})));
    EXPECT_EQ(cfg.sRotation, 0);
    EXPECT_TRUE(Contains(Logged(), "Init sRotation: 0, sRotate90: 0"));
}

TEST_F(OemCfgTest, BrightnessOneHundredGivesZero)
{
    EXPECT_EQ(Build(LabelPpd(WithCodes({{"Brightness", "100"}}))).nBrightness, 0);
}

TEST_F(OemCfgTest, BrightnessZeroGivesMinusTwoHundred)
{
    EXPECT_EQ(Build(LabelPpd(WithCodes({{"Brightness", "0"}}))).nBrightness, -200);
}

TEST_F(OemCfgTest, BrightnessTwoHundredGivesPlusTwoHundred)
{
    EXPECT_EQ(Build(LabelPpd(WithCodes({{"Brightness", "200"}}))).nBrightness, 200);
}

TEST_F(OemCfgTest, ContrastUsesTheSameScaleAsBrightness)
{
    EXPECT_EQ(Build(LabelPpd(WithCodes({{"Contrast", "0"}}))).nContrast, -200);
    EXPECT_EQ(Build(LabelPpd(WithCodes({{"Contrast", "150"}}))).nContrast, 100);
}

TEST_F(OemCfgTest, MissingBrightnessAndContrastAreZeroAndNotLogged)
{
    tagOEMCFG cfg = Build(LabelPpd(WithoutOptions({"Brightness", "Contrast"})));
    EXPECT_EQ(cfg.nBrightness, 0);
    EXPECT_EQ(cfg.nContrast, 0);
    for (const std::string& line : Logged()) {
        EXPECT_EQ(line.find("nBrightness"), std::string::npos);
        EXPECT_EQ(line.find("nContrast"), std::string::npos);
    }
}

TEST_F(OemCfgTest, BrightnessInitialiserClearsTheMemberBeforeAsking)
{
    PpdHandle ppd = Open(LabelPpd(WithoutOptions({"Brightness"})));
    tagOEMCFG cfg;
    memset(&cfg, 0, sizeof(cfg));
    cfg.nBrightness = 77;
    InitBrightness(&cfg, ppd.get());
    EXPECT_EQ(cfg.nBrightness, 0);
}

TEST_F(OemCfgTest, MirrorInitialiserLeavesTheMemberWhenTheOptionIsMissing)
{
    PpdHandle ppd = Open(LabelPpd(WithoutOptions({"Mirror"})));
    tagOEMCFG cfg;
    memset(&cfg, 0, sizeof(cfg));
    cfg.sMirror = 7;
    InitMirror(&cfg, ppd.get());
    EXPECT_EQ(cfg.sMirror, 7);
}

TEST_F(OemCfgTest, LevelsFiftyGivesFiveHundredFortyNine)
{
    EXPECT_EQ(Build(LabelPpd(WithCodes({{"Levels", "50"}}))).nLevelsAdj, 549);
}

TEST_F(OemCfgTest, LevelsFormulaEndPoints)
{
    EXPECT_EQ(LevelsAdjFromCode(100), 100);
    EXPECT_EQ(LevelsAdjFromCode(0), 999);
    EXPECT_EQ(LevelsAdjFromCode(200), 1);
    EXPECT_EQ(LevelsAdjFromCode(150), 51);  // 100 - 50 * 99 / 100 = 100 - 49
    EXPECT_EQ(LevelsAdjFromCode(99), 108);  // 100 + 1 * 899 / 100 = 100 + 8
}

TEST_F(OemCfgTest, MissingLevelsLeavesZero)
{
    EXPECT_EQ(Build(LabelPpd(WithoutOptions({"Levels"}))).nLevelsAdj, 0);
}

TEST_F(OemCfgTest, SavePaperWritesSavePaperButLogsThePrintModeText)
{
    tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"SavePaper", "1"}, {"PrintMode", "0"}})));
    const auto sSavePaper = cfg.sSavePaper;
    EXPECT_EQ(sSavePaper, 1);
    EXPECT_EQ(cfg.sPaperMode, 0);
    std::vector<std::string> lines = Logged();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Init sPaperMode: 1"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Init sPaperMode: 0"), 1);
}

TEST_F(OemCfgTest, LastFourOptionsAreZeroAndLoggedWhenMissing)
{
    tagOEMCFG cfg =
        Build(LabelPpd(WithoutOptions({"FixedHeight", "AutoRotate", "StartOffsetValue", "EndOffsetValue"})));
    const auto sFixedHeight = cfg.sFixedHeight;
    EXPECT_EQ(sFixedHeight, 0);
    const auto sAutoRotate90 = cfg.sAutoRotate90;
    EXPECT_EQ(sAutoRotate90, 0);
    const auto dwStartOffsetValue = cfg.dwStartOffsetValue;
    EXPECT_EQ(dwStartOffsetValue, 0);
    const auto dwEndOffsetValue = cfg.dwEndOffsetValue;
    EXPECT_EQ(dwEndOffsetValue, 0);
    std::vector<std::string> lines = Logged();
    EXPECT_TRUE(Contains(lines, "Init sFixedHeight: 0"));
    EXPECT_TRUE(Contains(lines, "Init sAutoRotate90: 0"));
    EXPECT_TRUE(Contains(lines, "Init dwStartOffsetValue: 0"));
    EXPECT_TRUE(Contains(lines, "Init dwEndOffsetValue: 0"));
}

TEST_F(OemCfgTest, OutputResolutionComesFromThePpdKeywordNotTheRasterHeader)
{
    PpdHandle ppd = Open(LabelPpd(WithCodes({{"OutputDPI", "300"}})));
    tagOEMCFG cfg;
    cups_page_header2_t header = RgbHeader(100, 100, 203);
    InitalizeOemCfg(&cfg, ppd.get(), &header);
    const auto sOutputXDPI = cfg.sOutputXDPI;
    EXPECT_EQ(sOutputXDPI, 300);
    const auto sOutputYDPI = cfg.sOutputYDPI;
    EXPECT_EQ(sOutputYDPI, 300);
}

TEST_F(OemCfgTest, UnquotedOutputDpiIsReadToo)
{
    tagOEMCFG cfg = Build(LabelPpd(WithoutOptions({"OutputDPI"})).Keyword("OutputDPI", "203", false));
    const auto sOutputXDPI = cfg.sOutputXDPI;
    EXPECT_EQ(sOutputXDPI, 203);
}

TEST_F(OemCfgTest, MissingOutputDpiGivesResolutionZero)
{
    tagOEMCFG cfg = Build(LabelPpd(WithoutOptions({"OutputDPI"})));
    const auto sOutputXDPI = cfg.sOutputXDPI;
    EXPECT_EQ(sOutputXDPI, 0);
    const auto sOutputYDPI = cfg.sOutputYDPI;
    EXPECT_EQ(sOutputYDPI, 0);
    EXPECT_TRUE(Contains(Logged(), "Init sOutputXDPI: 0, sOutputYDPI: 0"));
}

TEST_F(OemCfgTest, ModeAndCutMethodAreStoredAsCodes)
{
    tagOEMCFG cfg = Build(LabelPpd(WithCodes({{"Mode", "4"}, {"CutMethod", "3"}, {"Interval", "2"}})));
    EXPECT_EQ(cfg.dwOperationAfterPrn, 4u);
    EXPECT_EQ(cfg.dwOperationModeAfterPrn, 3u);
    EXPECT_EQ(cfg.sIntervalValue, 2);
}

TEST_F(OemCfgTest, ChoiceCodeNotTheChoiceNameCarriesTheNumber)
{
    PpdWriter writer = LabelPpd(WithoutOptions({"Density"}));
    writer.OptionChoices({"Density", "Dark", {{"Light", "5"}, {"Dark", "14"}}});
    EXPECT_EQ(Build(writer).sDensity, 14);
}

TEST_F(OemCfgTest, JobOptionChangesTheMarkedChoice)
{
    PpdWriter writer = LabelPpd(WithoutOptions({"Halftone"}));
    writer.OptionChoices({"Halftone", "Threshold", {{"Threshold", "1"}, {"Adaptive", "4"}}});
    PpdHandle ppd = Open(writer);
    cups_option_t* options = nullptr;
    int count = cupsParseOptions("Halftone=Adaptive", 0, &options);
    cupsMarkOptions(ppd.get(), count, options);
    cupsFreeOptions(count, options);
    tagOEMCFG cfg;
    cups_page_header2_t header = RgbHeader(10, 10);
    InitalizeOemCfg(&cfg, ppd.get(), &header);
    EXPECT_EQ(cfg.sHalftoneMethod, 4);
}

TEST_F(OemCfgTest, NullRecordOrPpdChangesNothing)
{
    PpdHandle ppd = Open(LabelPpd());
    tagOEMCFG cfg;
    memset(&cfg, 0x5A, sizeof(cfg));
    tagOEMCFG before = cfg;
    cups_page_header2_t header = RgbHeader(10, 10);
    InitalizeOemCfg(&cfg, nullptr, &header);
    InitMirror(&cfg, nullptr);
    InitOutputDpi(&cfg, nullptr);
    EXPECT_EQ(memcmp(&cfg, &before, sizeof(cfg)), 0);
    InitalizeOemCfg(nullptr, ppd.get(), &header);  // must not crash
}

TEST_F(OemCfgTest, UnnamedRegionsAndRendererMembersStartZero)
{
    tagOEMCFG cfg = Build(LabelPpd());
    tagOEMCFG zero;
    memset(&zero, 0, sizeof(zero));
    EXPECT_EQ(memcmp(cfg.byReserved2, zero.byReserved2, sizeof(cfg.byReserved2)), 0);
    EXPECT_EQ(cfg.sOrientation, 0);
    EXPECT_EQ(cfg.sBackFeedDistance, 0);
    const auto dwLabelWidth = cfg.dwLabelWidth;
    EXPECT_EQ(dwLabelWidth, 0);
    const auto dwLabelLength = cfg.dwLabelLength;
    EXPECT_EQ(dwLabelLength, 0);
    const auto nPageNum = cfg.nPageNum;
    EXPECT_EQ(nPageNum, 0);
    EXPECT_EQ(cfg.sCopies, 0);
    const auto dwPrintedLabels = cfg.dwPrintedLabels;
    EXPECT_EQ(dwPrintedLabels, 0u);
    EXPECT_EQ(cfg.bCornerDot, 0);
}

TEST(OemCfgLayout, MembersLieAtTheirPackedOffsets)
{
    EXPECT_EQ(offsetof(tagOEMCFG, sHrzDir), 0u);
    EXPECT_EQ(offsetof(tagOEMCFG, sOrientation), 48u);
    EXPECT_EQ(offsetof(tagOEMCFG, sMirror), 58u);
    EXPECT_EQ(offsetof(tagOEMCFG, bNegative), 60u);
    EXPECT_EQ(offsetof(tagOEMCFG, dwOperationAfterPrn), 64u);
    EXPECT_EQ(offsetof(tagOEMCFG, nBrightness), 80u);
    EXPECT_EQ(offsetof(tagOEMCFG, sPaperType), 88u);
    EXPECT_EQ(offsetof(tagOEMCFG, GAPHeight2), 96u);
    EXPECT_EQ(offsetof(tagOEMCFG, sHalftoneMethod), 104u);
    EXPECT_EQ(offsetof(tagOEMCFG, sWhiteInterval), 116u);
    EXPECT_EQ(offsetof(tagOEMCFG, nLevelsAdj), 248u);
    EXPECT_EQ(offsetof(tagOEMCFG, sMaxOutputWidth), 261u);
    EXPECT_EQ(offsetof(tagOEMCFG, nPageNum), 267u);
    EXPECT_EQ(offsetof(tagOEMCFG, sPageNum), 271u);
    EXPECT_EQ(offsetof(tagOEMCFG, dwLabelWidth), 273u);
    EXPECT_EQ(offsetof(tagOEMCFG, dwLabelLength), 281u);
    EXPECT_EQ(offsetof(tagOEMCFG, sCutPosition), 292u);
    EXPECT_EQ(offsetof(tagOEMCFG, dwStartOffsetValue), 299u);
    EXPECT_EQ(offsetof(tagOEMCFG, sSavePaper), 311u);
    EXPECT_EQ(offsetof(tagOEMCFG, sAutoRotate90), 315u);
    EXPECT_EQ(sizeof(tagOEMCFG), 317u);
}
