// Tests of the per-page commands: graphic block and print line, shifts,
// per-page label size, corner dot, the four cutter modes and the two-call
// hand-over with the printed-label counter.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "EPLEmulation.h"
#include "EmulationTestSupport.h"
#include "LBPTREmulation.h"

using kvtest::BufferOf;
using kvtest::GraphicBlock;
using kvtest::PageCommands;
using kvtest::PatternBitmap;
using kvtest::TypicalConfig;

namespace {

// The typical page: 640 x 400 dots, 80 bytes per row.
constexpr int kPageWidth = 640;
constexpr int kPageHeight = 400;
constexpr size_t kPageBytes = 32000;

// A small page for the cutter tests: 32 x 2 dots, 4 bytes per row.
constexpr int kSmallWidth = 32;
constexpr int kSmallHeight = 2;
constexpr size_t kSmallBytes = 8;

// 12 mm cut position at 203 dpi: 95.9 dots, sent as 96.
constexpr int16_t kCutPositionTenths = 120;
const std::string kCutLine = "f96\r\n";

// "N", the small page's graphic block and "P<copies>".
std::string SmallGroup(const std::vector<char>& bitmap, int copies)
{
    return "N\r\n" + GraphicBlock("GW0,0,4,2,\r\n", bitmap) + "P" + std::to_string(copies) + "\r\n";
}

// The typical configuration with the cutter after printing.
tagOEMCFG CutterConfig(uint64_t mode, int page, int copies)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.dwOperationAfterPrn = 4;
    cfg.dwOperationModeAfterPrn = mode;
    cfg.sCutPosition = kCutPositionTenths;
    cfg.sIntervalValue = 2;
    cfg.nPageNum = page;
    cfg.sPageNum = static_cast<int16_t>(page);
    cfg.sCopies = static_cast<int16_t>(copies);
    return cfg;
}

// Fixture holding the typical and the small page bitmaps.
class EplPageCommandsTest : public ::testing::Test {
protected:
    std::vector<char> page_ = PatternBitmap(kPageBytes);
    std::vector<char> small_ = PatternBitmap(kSmallBytes);

    // Commands of the typical page for `cfg`.
    std::string Page(tagOEMCFG& cfg, int x = 0, bool lastPage = false)
    {
        return PageCommands(cfg, page_, x, kPageWidth, kPageHeight, lastPage);
    }

    // Commands of the small page for `cfg`.
    std::string Small(tagOEMCFG& cfg, bool lastPage = false)
    {
        return PageCommands(cfg, small_, 0, kSmallWidth, kSmallHeight, lastPage);
    }

    // Cutter mode `mode` on `page` with `copies`.
    std::string Cutter(uint64_t mode, int page, int copies, bool lastPage)
    {
        tagOEMCFG cfg = CutterConfig(mode, page, copies);
        return Small(cfg, lastPage);
    }

    std::string Group(int copies) { return SmallGroup(small_, copies); }

    // The typical page's graphic block at (x, y).
    std::string Graphic(int x, int y)
    {
        return GraphicBlock("GW" + std::to_string(x) + "," + std::to_string(y) + ",80,400,\r\n", page_);
    }
};

}  // namespace

// --- the typical page and the hand-over ---

TEST_F(EplPageCommandsTest, TypicalPageIsNGraphicBlockAndPrintLine)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sCopies = 2;
    EXPECT_EQ(Page(cfg), "N\r\n" + GraphicBlock("GW0,0,80,400,\r\n", page_) + "P2\r\n");
}

TEST_F(EplPageCommandsTest, FirstCallWithNullOutputReturnsZeroAndTheNeededLength)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    cfg.sCopies = 2;
    long length = -1;
    EXPECT_EQ(emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0,
                                             &length, false),
              0);
    // "N\r\n" 3 + header 15 + rows 32000 + line end 2 + "P2\r\n" 4.
    EXPECT_EQ(length, 32024);
}

TEST_F(EplPageCommandsTest, SecondCallHandsOverKeptCommandsWhateverItsArguments)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0, &length,
                                   false);
    std::vector<char> other(16, 'x');
    std::string out(static_cast<size_t>(length), '\0');
    EXPECT_EQ(emulation.TransferPageData2CMD(&cfg, other.data(), 16, 99, 5, 8, 2, &out[0], length, &length, true), 1);
    EXPECT_EQ(out, "N\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, TooSmallOutputReturnsZeroAndKeepsTheCommands)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0, &length,
                                   false);
    const long needed = length;
    std::string out(static_cast<size_t>(needed), '#');
    length = -1;
    EXPECT_EQ(emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, &out[0],
                                             needed - 1, &length, false),
              0);
    EXPECT_EQ(length, needed);
    EXPECT_EQ(out, std::string(static_cast<size_t>(needed), '#'));
    EXPECT_EQ(emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, &out[0],
                                             needed, &length, false),
              1);
    EXPECT_EQ(out, "N\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, SizeQueryWhileCommandsAreKeptBuildsAfresh)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0, &length,
                                   false);
    cfg.sCopies = 3;
    emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0, &length,
                                   false);
    EXPECT_EQ(BufferOf(emulation), "N\r\n" + Graphic(0, 0) + "P3\r\n");
}

TEST_F(EplPageCommandsTest, HandOverEmptiesTheCommandBuffer)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    PageCommands(emulation, cfg, page_, 0, kPageWidth, kPageHeight, false);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST_F(EplPageCommandsTest, PrintedLabelCounterGrowsByTheCopiesAtHandOver)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sCopies = 2;
    cfg.dwPrintedLabels = 5;
    Page(cfg);
    EXPECT_EQ(uint32_t{cfg.dwPrintedLabels}, 7u);
}

TEST_F(EplPageCommandsTest, PrintedLabelCounterIsNotWrittenBackByTheSizeQuery)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    cfg.sCopies = 2;
    cfg.dwPrintedLabels = 5;
    long length = 0;
    emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0, &length,
                                   false);
    EXPECT_EQ(uint32_t{cfg.dwPrintedLabels}, 5u);
}

TEST_F(EplPageCommandsTest, HandOverWritesTheWholeSavedConfigurationBack)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0, &length,
                                   false);
    cfg.sDensity = 77;
    std::string out(static_cast<size_t>(length), '\0');
    emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, &out[0], length,
                                   &length, false);
    EXPECT_EQ(int64_t{cfg.sDensity}, 10);
}

TEST_F(EplPageCommandsTest, ZeroCopiesWithoutPerPageSizeReturnsZeroAndLeavesLengthUntouched)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    cfg.sCopies = 0;
    long length = 777;
    EXPECT_EQ(emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0,
                                             &length, false),
              0);
    EXPECT_EQ(length, 777);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST_F(EplPageCommandsTest, ZeroCopiesWithPerPageSizeStillSendsTheLabelSize)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sCopies = 0;
    cfg.sPaperMode = 1;
    EXPECT_EQ(Page(cfg), "q640\r\nQ400,24\r\n");
}

TEST_F(EplPageCommandsTest, ZeroCopiesWithUnknownCutterModeReturnsWithoutCommands)
{
    tagOEMCFG cfg = CutterConfig(7, 1, 0);
    EXPECT_EQ(Small(cfg), "");
}

TEST_F(EplPageCommandsTest, NullConfigurationReturnsZero)
{
    CEPLEmulation emulation;
    long length = 777;
    EXPECT_EQ(emulation.TransferPageData2CMD(nullptr, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr,
                                             0, &length, false),
              0);
    EXPECT_EQ(length, 777);
}

TEST_F(EplPageCommandsTest, PrinterEmulationRefusesNullConfiguration)
{
    CLBPTREmulation emulation;
    long length = 777;
    EXPECT_EQ(emulation.TransferImageData2CMD(nullptr, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr,
                                              0, &length, false),
              0);
    EXPECT_EQ(length, 777);
}

TEST_F(EplPageCommandsTest, PrinterEmulationForwardsThePageCommands)
{
    CLBPTREmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    cfg.sCopies = 2;
    long length = 0;
    EXPECT_EQ(emulation.TransferImageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, nullptr, 0,
                                              &length, false),
              0);
    std::string out(static_cast<size_t>(length), '\0');
    EXPECT_EQ(emulation.TransferImageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, kPageHeight, &out[0],
                                              length, &length, false),
              1);
    EXPECT_EQ(out, "N\r\n" + Graphic(0, 0) + "P2\r\n");
    EXPECT_EQ(uint32_t{cfg.dwPrintedLabels}, 2u);
}

TEST_F(EplPageCommandsTest, ReservedArgumentHasNoEffect)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    long length = 0;
    emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 250, kPageWidth, kPageHeight, nullptr, 0, &length,
                                   false);
    EXPECT_EQ(BufferOf(emulation), "N\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, RowWidthComesFromTheDataSizeNotTheWidth)
{
    std::vector<char> bitmap = PatternBitmap(260);
    tagOEMCFG cfg = TypicalConfig();
    EXPECT_EQ(PageCommands(cfg, bitmap, 0, 203, 10, false),
              "N\r\n" + GraphicBlock("GW0,0,26,10,\r\n", bitmap) + "P1\r\n");
}

// --- shifts ---

// 5 mm at 203 dpi: 39.96 dots, 40.
TEST_F(EplPageCommandsTest, HorizontalOffsetShiftsTheGraphicRight)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sHrzOffset = 50;
    EXPECT_EQ(Page(cfg, 10), "N\r\n" + Graphic(50, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, HorizontalDirectionNegatesTheShift)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sHrzDir = 1;
    cfg.sHrzOffset = 50;
    EXPECT_EQ(Page(cfg, 100), "N\r\n" + Graphic(60, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, NegativeHorizontalPositionIsSentAsZero)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sHrzDir = 1;
    cfg.sHrzOffset = 50;
    EXPECT_EQ(Page(cfg, 0), "N\r\n" + Graphic(0, 0) + "P1\r\n");
}

// 5 mm across at 300 dpi: 59.06 dots, 59.
TEST_F(EplPageCommandsTest, HorizontalOffsetUsesTheAcrossResolution)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sOutputXDPI = 300;
    cfg.sHrzOffset = 50;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(59, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, VerticalOffsetMovesTheGraphicDown)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sVtcOffset = 50;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(0, 40) + "P1\r\n");
}

// 2 mm end offset: 15.98 dots, 16; plus the 40-dot vertical offset.
TEST_F(EplPageCommandsTest, EndOffsetAddsToTheVerticalPosition)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sVtcOffset = 50;
    cfg.dwEndOffsetValue = 2;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(0, 56) + "P1\r\n");
}

// 10 mm end offset is 79.92 dots, 80; minus 40 for the offset upward.
TEST_F(EplPageCommandsTest, VerticalDirectionSubtractsTheOffsetFromTheEndOffset)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sVtcDir = 1;
    cfg.sVtcOffset = 50;
    cfg.dwEndOffsetValue = 10;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(0, 40) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, NegativeVerticalPositionIsSentAsZero)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sVtcDir = 1;
    cfg.sVtcOffset = 50;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(0, 0) + "P1\r\n");
}

// 5 mm along at 300 dpi: 59.06 dots, 59.
TEST_F(EplPageCommandsTest, VerticalOffsetUsesTheAlongResolution)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sOutputYDPI = 300;
    cfg.sVtcOffset = 50;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(0, 59) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, StartOffsetDoesNotMoveTheGraphic)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.dwStartOffsetValue = 5;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(0, 0) + "P1\r\n");
}

// --- per-page label size ---

TEST_F(EplPageCommandsTest, PrintModeOneSendsTheLabelSizeWithThePage)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    EXPECT_EQ(Page(cfg), "q640\r\nQ400,24\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, PaperSavingOneSendsTheLabelSizeWithThePage)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sSavePaper = 1;
    EXPECT_EQ(Page(cfg), "q640\r\nQ400,24\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, PrintModeTwoSendsNoPerPageSize)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 2;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(0, 0) + "P1\r\n");
}

// 0.3 mm is 2.4 dots (2) for the shift, while twice it, 0.6 mm, is 4.8
// dots (5): the doubled offset is converted as one value.
TEST_F(EplPageCommandsTest, PerPageWidthAddsTwiceTheHorizontalOffsetConvertedOnce)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sHrzOffset = 3;
    EXPECT_EQ(Page(cfg), "q645\r\nQ400,24\r\nN\r\n" + Graphic(2, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, PerPageWidthIgnoresTheHorizontalDirection)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sHrzDir = 1;
    cfg.sHrzOffset = 50;
    EXPECT_EQ(Page(cfg, 100), "q720\r\nQ400,24\r\nN\r\n" + Graphic(60, 0) + "P1\r\n");
}

// Across 300 dpi: 2 mm + 3 mm is 59.06 dots (59) and the 3 mm gap 35.43 (35),
// although both lie along the feed.
TEST_F(EplPageCommandsTest, PerPageLengthConvertsOffsetsWithTheAcrossResolution)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sOutputXDPI = 300;
    cfg.dwStartOffsetValue = 2;
    cfg.dwEndOffsetValue = 3;
    // The end offset (3 mm along at 203 dpi: 24 dots) moves the graphic.
    EXPECT_EQ(Page(cfg), "q640\r\nQ459,35\r\nN\r\n" + Graphic(0, 24) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, PerPageGapOffsetFollowsThePlusSign)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.GAPOffset = 10;
    EXPECT_EQ(Page(cfg), "q640\r\nQ400,24+8\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, PerPageSizeOnContinuousMediaHasNoGap)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sLabelType = 3;
    cfg.GAPOffset = 10;
    EXPECT_EQ(Page(cfg), "q640\r\nQ400,0\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, PerPageSizeOnMarkedMediaMatchesGappedMedia)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sLabelType = 2;
    EXPECT_EQ(Page(cfg), "q640\r\nQ400,24\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

// 297 mm at 203 dpi: 2373.7 dots, 2374.
TEST_F(EplPageCommandsTest, FixedHeightOneIs297MillimetresAt203Dpi)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sFixedHeight = 1;
    EXPECT_EQ(Page(cfg), "q640\r\nQ2374,24\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

// 210 mm at 203 dpi: 1678.3 dots, 1678.
TEST_F(EplPageCommandsTest, FixedHeightTwoIs210MillimetresAt203Dpi)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sFixedHeight = 2;
    EXPECT_EQ(Page(cfg), "q640\r\nQ1678,24\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

// 148 mm at 203 dpi: 1182.8 dots, 1183.
TEST_F(EplPageCommandsTest, FixedHeightThreeIs148MillimetresAt203Dpi)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sFixedHeight = 3;
    EXPECT_EQ(Page(cfg), "q640\r\nQ1183,24\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

// 2 + 297 + 3 mm at 203 dpi: 2413.6 dots, 2414.
TEST_F(EplPageCommandsTest, FixedHeightAddsStartAndEndOffsets)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sSavePaper = 1;
    cfg.sFixedHeight = 1;
    cfg.dwStartOffsetValue = 2;
    cfg.dwEndOffsetValue = 3;
    // The 3 mm end offset also moves the graphic 24 dots down.
    EXPECT_EQ(Page(cfg), "q640\r\nQ2414,24\r\nN\r\n" + Graphic(0, 24) + "P1\r\n");
}

// 297 mm across at 300 dpi: 3507.9 dots, 3508; gap 35.
TEST_F(EplPageCommandsTest, FixedHeightUsesTheAcrossResolution)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sFixedHeight = 1;
    cfg.sOutputXDPI = 300;
    EXPECT_EQ(Page(cfg), "q640\r\nQ3508,35\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, OtherFixedHeightValueUsesThePageHeight)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    cfg.sFixedHeight = 4;
    EXPECT_EQ(Page(cfg), "q640\r\nQ400,24\r\nN\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, FixedHeightWithoutPerPageSizeSendsNoLabelSize)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.sFixedHeight = 1;
    EXPECT_EQ(Page(cfg), "N\r\n" + Graphic(0, 0) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, EmptyPageInPerPageModeReturnsZeroAndKeepsNothing)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    cfg.sPaperMode = 1;
    long length = 777;
    EXPECT_EQ(emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, 0, kPageHeight, nullptr, 0, &length,
                                             false),
              0);
    EXPECT_EQ(length, 777);
    EXPECT_EQ(BufferOf(emulation), "");
}

TEST_F(EplPageCommandsTest, PageWithoutRowsInPerPageModeReturnsZeroAndKeepsNothing)
{
    CEPLEmulation emulation;
    tagOEMCFG cfg = TypicalConfig();
    cfg.sSavePaper = 1;
    long length = 777;
    EXPECT_EQ(
        emulation.TransferPageData2CMD(&cfg, page_.data(), kPageBytes, 0, 0, kPageWidth, 0, nullptr, 0, &length, false),
        0);
    EXPECT_EQ(length, 777);
    EXPECT_EQ(BufferOf(emulation), "");
}

// --- corner dot ---

// 80 mm across: 639 dots; 50 mm along: 400 dots.
TEST_F(EplPageCommandsTest, CornerDotMarksTheFarCornerOfTheLabel)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.bCornerDot = 1;
    EXPECT_EQ(Page(cfg), "N\r\nLO639,400,1,1\r\n" + Graphic(0, 0) + "P1\r\n");
}

// 2 mm + 3 mm at 203 dpi: 40 dots further down.
TEST_F(EplPageCommandsTest, CornerDotAddsStartAndEndOffsets)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.bCornerDot = 1;
    cfg.dwStartOffsetValue = 2;
    cfg.dwEndOffsetValue = 3;
    EXPECT_EQ(Page(cfg), "N\r\nLO639,440,1,1\r\n" + Graphic(0, 24) + "P1\r\n");
}

TEST_F(EplPageCommandsTest, CornerDotInPrintModeSitsBelowThePageHeight)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.bCornerDot = 1;
    cfg.sPaperMode = 2;
    EXPECT_EQ(Small(cfg), "N\r\nLO639,2,1,1\r\n" + GraphicBlock("GW0,0,4,2,\r\n", small_) + "P1\r\n");
}

// Across 300 dpi: 80 mm is 944.9 dots (945); along 300 dpi: 50 mm is 590.6
// dots (591).
TEST_F(EplPageCommandsTest, CornerDotUsesAcrossAndAlongResolutions)
{
    tagOEMCFG cfg = TypicalConfig();
    cfg.bCornerDot = 1;
    cfg.sOutputXDPI = 300;
    cfg.sOutputYDPI = 203;
    EXPECT_EQ(Page(cfg), "N\r\nLO945,400,1,1\r\n" + Graphic(0, 0) + "P1\r\n");
    cfg.sOutputXDPI = 203;
    cfg.sOutputYDPI = 300;
    EXPECT_EQ(Page(cfg), "N\r\nLO639,591,1,1\r\n" + Graphic(0, 0) + "P1\r\n");
}

// --- cutter mode 1: cut after every label ---

TEST_F(EplPageCommandsTest, CutEveryLabelFirstPageOneCopySetsUpTheCutter)
{
    EXPECT_EQ(Cutter(1, 1, 1, false), "OC\r\nJF\r\n" + kCutLine + Group(1));
}

TEST_F(EplPageCommandsTest, CutEveryLabelFirstPageSeveralCopiesStillCutsEachLabel)
{
    EXPECT_EQ(Cutter(1, 1, 3, false), "OC\r\nJF\r\n" + kCutLine + Group(3));
}

TEST_F(EplPageCommandsTest, CutEveryLabelMiddlePageOneCopyIsThePageAlone)
{
    EXPECT_EQ(Cutter(1, 2, 1, false), Group(1));
}

TEST_F(EplPageCommandsTest, CutEveryLabelMiddlePageSeveralCopiesIsThePageAlone)
{
    EXPECT_EQ(Cutter(1, 2, 3, false), Group(3));
}

TEST_F(EplPageCommandsTest, CutEveryLabelLastPageOneCopyIsThePageAlone)
{
    EXPECT_EQ(Cutter(1, 3, 1, true), Group(1));
}

TEST_F(EplPageCommandsTest, CutEveryLabelLastPageSeveralCopiesIsThePageAlone)
{
    EXPECT_EQ(Cutter(1, 3, 3, true), Group(3));
}

TEST_F(EplPageCommandsTest, CutEveryLabelOnDirectThermalPaperIsODCommaC)
{
    tagOEMCFG cfg = CutterConfig(1, 1, 1);
    cfg.sPaperType = 1;
    EXPECT_EQ(Small(cfg), "OD,C\r\nJF\r\n" + kCutLine + Group(1));
}

TEST_F(EplPageCommandsTest, PageNumberIsReadFromTheSixteenBitMember)
{
    tagOEMCFG cfg = CutterConfig(1, 1, 1);
    cfg.nPageNum = 7;
    EXPECT_EQ(Small(cfg), "OC\r\nJF\r\n" + kCutLine + Group(1));
}

// 8 mm at 203 dpi is 64 dots, below the printer's window: no "f" line. At
// 300 dpi along the feed it is 94.49 dots (94), inside the window.
TEST_F(EplPageCommandsTest, CutPositionOutsideTheWindowIsLeftOut)
{
    tagOEMCFG cfg = CutterConfig(1, 1, 1);
    cfg.sCutPosition = 80;
    EXPECT_EQ(Small(cfg), "OC\r\nJF\r\n" + Group(1));
}

TEST_F(EplPageCommandsTest, CutPositionUsesTheAlongResolution)
{
    tagOEMCFG cfg = CutterConfig(1, 1, 1);
    cfg.sCutPosition = 80;
    cfg.sOutputYDPI = 300;
    EXPECT_EQ(Small(cfg), "OC\r\nJF\r\nf94\r\n" + Group(1));
}

TEST_F(EplPageCommandsTest, CutterPageAddsItsCopiesToThePrintedLabelCounter)
{
    tagOEMCFG cfg = CutterConfig(1, 2, 3);
    cfg.dwPrintedLabels = 10;
    Small(cfg);
    EXPECT_EQ(uint32_t{cfg.dwPrintedLabels}, 13u);
}

// --- cutter mode 2: cut at the end of the job ---

TEST_F(EplPageCommandsTest, CutAtJobEndFirstPageOneCopySendsBareOptions)
{
    EXPECT_EQ(Cutter(2, 1, 1, false), "O\r\n" + kCutLine + Group(1));
}

TEST_F(EplPageCommandsTest, CutAtJobEndFirstPageSeveralCopiesSendsBareOptions)
{
    EXPECT_EQ(Cutter(2, 1, 3, false), "O\r\n" + kCutLine + Group(3));
}

TEST_F(EplPageCommandsTest, CutAtJobEndFirstPageOptionsLeaveOutDirectThermal)
{
    tagOEMCFG cfg = CutterConfig(2, 1, 1);
    cfg.sPaperType = 1;
    EXPECT_EQ(Small(cfg), "O\r\n" + kCutLine + Group(1));
}

TEST_F(EplPageCommandsTest, CutAtJobEndMiddlePageOneCopyIsThePageAlone)
{
    EXPECT_EQ(Cutter(2, 2, 1, false), Group(1));
}

TEST_F(EplPageCommandsTest, CutAtJobEndMiddlePageSeveralCopiesIsThePageAlone)
{
    EXPECT_EQ(Cutter(2, 2, 3, false), Group(3));
}

TEST_F(EplPageCommandsTest, CutAtJobEndLastPageOneCopyTurnsTheCutterOn)
{
    EXPECT_EQ(Cutter(2, 3, 1, true), "JF\r\nOC\r\n" + kCutLine + Group(1));
}

TEST_F(EplPageCommandsTest, CutAtJobEndLastPageSeveralCopiesCutsAfterAllOfThem)
{
    EXPECT_EQ(Cutter(2, 3, 3, true), "JF\r\nOC3\r\n" + kCutLine + Group(3));
}

TEST_F(EplPageCommandsTest, CutAtJobEndSinglePageJobTurnsTheCutterOn)
{
    EXPECT_EQ(Cutter(2, 1, 3, true), "JF\r\nOC3\r\n" + kCutLine + Group(3));
}

TEST_F(EplPageCommandsTest, CutAtJobEndLastPageOnDirectThermalPaperIsODCommaCn)
{
    tagOEMCFG cfg = CutterConfig(2, 3, 2);
    cfg.sPaperType = 1;
    EXPECT_EQ(Small(cfg, true), "JF\r\nOD,C2\r\n" + kCutLine + Group(2));
}

// --- cutter mode 4: cut after all copies of a page ---

TEST_F(EplPageCommandsTest, CutAfterCopiesFirstPageOneCopyCutsEachLabel)
{
    EXPECT_EQ(Cutter(4, 1, 1, false), "OC\r\nJF\r\n" + kCutLine + Group(1));
}

TEST_F(EplPageCommandsTest, CutAfterCopiesFirstPageSeveralCopiesCutsAfterThem)
{
    EXPECT_EQ(Cutter(4, 1, 3, false), "OC3\r\nJF\r\n" + kCutLine + Group(3));
}

TEST_F(EplPageCommandsTest, CutAfterCopiesMiddlePageOneCopyIsThePageAlone)
{
    EXPECT_EQ(Cutter(4, 2, 1, false), Group(1));
}

TEST_F(EplPageCommandsTest, CutAfterCopiesMiddlePageSeveralCopiesIsThePageAlone)
{
    EXPECT_EQ(Cutter(4, 2, 3, false), Group(3));
}

TEST_F(EplPageCommandsTest, CutAfterCopiesLastPageOneCopyIsThePageAlone)
{
    EXPECT_EQ(Cutter(4, 3, 1, true), Group(1));
}

TEST_F(EplPageCommandsTest, CutAfterCopiesLastPageSeveralCopiesIsThePageAlone)
{
    EXPECT_EQ(Cutter(4, 3, 3, true), Group(3));
}

// --- cutter mode 3: cut every sIntervalValue pages (2 here) ---

TEST_F(EplPageCommandsTest, CutIntervalFirstPageOneCopyOffIntervalSendsBareOptions)
{
    EXPECT_EQ(Cutter(3, 1, 1, false), "O\r\nJF\r\n" + kCutLine + Group(1));
}

TEST_F(EplPageCommandsTest, CutIntervalFirstPageSeveralCopiesOffIntervalIsOneGroup)
{
    EXPECT_EQ(Cutter(3, 1, 3, false), "O\r\nJF\r\n" + kCutLine + Group(3));
}

TEST_F(EplPageCommandsTest, CutIntervalMiddlePageOnIntervalOneCopyCuts)
{
    EXPECT_EQ(Cutter(3, 2, 1, false), "OC\r\n" + Group(1));
}

TEST_F(EplPageCommandsTest, CutIntervalMiddlePageOnIntervalSeveralCopiesCutsEachCopy)
{
    const std::string round = "OC\r\n" + Group(1);
    EXPECT_EQ(Cutter(3, 2, 3, false), round + round + round);
}

TEST_F(EplPageCommandsTest, CutIntervalMiddlePageOffIntervalOneCopyDoesNotCut)
{
    EXPECT_EQ(Cutter(3, 3, 1, false), "O\r\n" + Group(1));
}

TEST_F(EplPageCommandsTest, CutIntervalMiddlePageOffIntervalSeveralCopiesIsOneGroup)
{
    EXPECT_EQ(Cutter(3, 3, 3, false), "O\r\n" + Group(3));
}

TEST_F(EplPageCommandsTest, CutIntervalLastPageOneCopyCuts)
{
    EXPECT_EQ(Cutter(3, 3, 1, true), "OC\r\n" + Group(1));
}

TEST_F(EplPageCommandsTest, CutIntervalLastPageSeveralCopiesCutsAfterAllOfThem)
{
    EXPECT_EQ(Cutter(3, 3, 3, true), "OC3\r\n" + Group(3));
}

TEST_F(EplPageCommandsTest, CutIntervalLastPageOverridesTheIntervalCut)
{
    EXPECT_EQ(Cutter(3, 4, 3, true), "OC3\r\n" + Group(3));
}

TEST_F(EplPageCommandsTest, CutIntervalTwoCopiesOnPageTwoGiveTwoGroupsEndingInP1)
{
    const std::string round = "OC\r\n" + Group(1);
    EXPECT_EQ(Cutter(3, 2, 2, false), round + round);
}

TEST_F(EplPageCommandsTest, CutIntervalTwoCopiesOnPageThreeGiveOneGroupEndingInP2)
{
    EXPECT_EQ(Cutter(3, 3, 2, false), "O\r\n" + Group(2));
}

TEST_F(EplPageCommandsTest, CutIntervalOnFirstPageRepeatsBackFeedAndCutPositionPerCopy)
{
    tagOEMCFG cfg = CutterConfig(3, 1, 2);
    cfg.sIntervalValue = 1;
    const std::string round = "OC\r\nJF\r\n" + kCutLine + Group(1);
    EXPECT_EQ(Small(cfg), round + round);
}

TEST_F(EplPageCommandsTest, CutIntervalZeroDoesNotCutPageOne)
{
    tagOEMCFG cfg = CutterConfig(3, 1, 1);
    cfg.sIntervalValue = 0;
    EXPECT_EQ(Small(cfg), "O\r\nJF\r\n" + kCutLine + Group(1));
}

TEST_F(EplPageCommandsTest, CutIntervalZeroCutsPageZero)
{
    tagOEMCFG cfg = CutterConfig(3, 0, 1);
    cfg.sIntervalValue = 0;
    EXPECT_EQ(Small(cfg), "OC\r\n" + Group(1));
}

TEST_F(EplPageCommandsTest, CutIntervalOnDirectThermalPaperKeepsTheDLetter)
{
    tagOEMCFG onInterval = CutterConfig(3, 2, 1);
    onInterval.sPaperType = 1;
    tagOEMCFG offInterval = CutterConfig(3, 3, 1);
    offInterval.sPaperType = 1;
    EXPECT_EQ(Small(onInterval), "OD,C\r\n" + Group(1));
    EXPECT_EQ(Small(offInterval), "OD\r\n" + Group(1));
}

TEST_F(EplPageCommandsTest, CutIntervalCountsEveryCutCopyInThePrintedLabelCounter)
{
    tagOEMCFG cfg = CutterConfig(3, 2, 3);
    cfg.dwPrintedLabels = 1;
    Small(cfg);
    EXPECT_EQ(uint32_t{cfg.dwPrintedLabels}, 4u);
}

TEST_F(EplPageCommandsTest, CutIntervalDrawsTheCornerDotInEachGroup)
{
    tagOEMCFG cfg = CutterConfig(3, 2, 2);
    cfg.bCornerDot = 1;
    const std::string round = "OC\r\nN\r\nLO639,400,1,1\r\n" + GraphicBlock("GW0,0,4,2,\r\n", small_) + "P1\r\n";
    EXPECT_EQ(Small(cfg), round + round);
}

TEST_F(EplPageCommandsTest, PerPageLabelSizeComesBeforeTheCutterSetUp)
{
    tagOEMCFG cfg = CutterConfig(4, 1, 2);
    cfg.sPaperMode = 1;
    EXPECT_EQ(Small(cfg), "q32\r\nQ2,24\r\nOC2\r\nJF\r\n" + kCutLine + Group(2));
}
