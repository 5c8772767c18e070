// End-to-end facts about what the built filter prints: the commands of each
// page, the graphic block's header and its decoded bits, for copies, print
// modes, halftoning, paper saving, automatic rotation, mirror, negative,
// dashed lines and the cutter modes.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "PpdWriter.h"
#include "PrintJob.h"
#include "TempDir.h"

using namespace kvtest;

namespace {

// The start of every job with the everyday PPD (speed 4, density 10, no
// cutter, back-feed on); the label size follows unless the page sends it.
const std::vector<std::string> kOpening{"N", "I8,E", "WN", "ZB", "S4", "D10", "O", "JF"};
// The start of a job with the cutter ("Mode" 4): no options or back-feed.
const std::vector<std::string> kCutterOpening{"N", "I8,E", "WN", "ZB", "S4", "D10"};

// 16 x 4 grey values around the fixed threshold (black below 129), with ink
// in the first and last column and row so that the crop box is the page:
// row 0 a mix of values (250 and 255 are near-white), row 1 white then
// black, row 2 the grey 128, row 3 white with a black last pixel.
RasterPage ThresholdPage()
{
    return GreyRows({
        {0, 128, 129, 130, 200, 249, 250, 255, 127, 128, 129, 0, 60, 70, 80, 90},
        {255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0},
        {128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128},
        {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0},
    });
}

// ThresholdPage thresholded at 129: the four rows of two bytes.
const std::string kThresholdBits = RawBytes({0x3F, 0x20, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0xFE});

// A uniform grey page of 16 x 4 pixels.
RasterPage UniformPage(int grey)
{
    return GreyRows(std::vector<std::vector<int>>(4, std::vector<int>(16, grey)));
}

// Builds raw bytes from runs of equal rows: {count, row bytes}.
std::string RowRuns(const std::vector<std::pair<size_t, std::string>>& runs)
{
    std::string raw;
    for (const auto& [count, row] : runs)
        for (size_t i = 0; i < count; ++i)
            raw += row;
    return raw;
}

// The bits of the single graphic block of a job run in print mode 1 with
// halftone `method` on a uniform page of grey `grey`.
std::string HalftoneBits(int method, int grey)
{
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}, {"Halftone", std::to_string(method)}}), {UniformPage(grey)});
    EXPECT_EQ(job.stream.error, "");
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q4,0", "N", "GW0,0,2,4,", "P1"}}));
    return job.graphics.size() == 1 ? job.graphics[0].raw : std::string();
}

// A cutter job ("Mode" 4, "CutMethod" `cutMethod`, `extra` codes) of
// `pages` ThresholdPages with 2 copies each.
PrintedJob CutterJob(const std::string& cutMethod, int pages, std::map<std::string, std::string> extra = {})
{
    extra["Mode"] = "4";
    extra["CutMethod"] = cutMethod;
    return RunJob(WithCodes(extra), std::vector<RasterPage>(pages, WithCopies(ThresholdPage(), 2)));
}

// One page of a cutter job: the print-mode-0 graphic block of
// ThresholdPage printed twice.
const std::vector<std::string> kTwoCopies{"N", "GW0,0,2,3,", "P2"};

// The dashed-line job: print mode 1, 1 mm dashes, 5 mm minimum.
PrintedJob DashedJob(const RasterPage& page, bool dashed)
{
    return RunJob(WithCodes({{"PrintMode", "1"},
                             {"IsToDashed", dashed ? "1" : "0"},
                             {"MinLength", "5"},
                             {"IntervalBlack", "1"},
                             {"IntervalWhite", "1"}}),
                  {page});
}

// A 200 x 3 page: row 0 black from column 16 to 175, row 1 black at its two
// ends, row 2 white.
RasterPage LinePage()
{
    return BlackBoxes(200, 3, {{16, 0, 176, 1}, {0, 1, 1, 2}, {199, 1, 200, 2}});
}

// A 200 x 3 page whose first two rows are black from edge to edge.
RasterPage TwoLinePage()
{
    return BlackBoxes(200, 3, {{0, 0, 200, 2}});
}

// 544 x 64: 67.5 mm at 203 dpi, more than 20 mm over a 48 mm printable width.
// A black band at the left end and a marker at the top right.
RasterPage WidePage()
{
    return BlackBoxes(544, 64, {{0, 0, 8, 64}, {536, 0, 544, 8}});
}

// 64 x 200: much taller than wide, less than 20 mm over 48 mm tall. A black
// band at the top and a marker at the bottom right.
RasterPage TallPage()
{
    return BlackBoxes(64, 200, {{0, 0, 64, 8}, {56, 192, 64, 200}});
}

// A job of `page` with a 48 mm printable width and "AutoRotate" `autoRotate`.
PrintedJob RotationJob(const RasterPage& page, const std::string& autoRotate)
{
    return RunJob(WithCodes({{"MaxOutputWidth", "48"}, {"AutoRotate", autoRotate}}), {page});
}

}  // namespace

// --- pages and copies ---

TEST(PrintedPages, SinglePageIsOneGraphicBlockAndOnePrintLine)
{
    PrintedJob job = RunJob(LabelPpdCodes(), {ThresholdPage()});
    EXPECT_EQ(job.result.status, 0);
    EXPECT_EQ(job.stream.error, "");
    // 16 x 4 pixels: a 16-dot label, 5 dots long with the extra dot.
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q5,0", "N", "GW0,0,2,3,", "P1"}}));
}

TEST(PrintedPages, PrintLineCarriesTheHeaderCopyCount)
{
    PrintedJob job = RunJob(LabelPpdCodes(), {WithCopies(ThresholdPage(), 3)});
    ASSERT_FALSE(job.lines.empty());
    EXPECT_EQ(job.lines.back(), "P3");
}

TEST(PrintedPages, FirstPageHeaderCopyCountHoldsForEveryPage)
{
    PrintedJob job = RunJob(LabelPpdCodes(), {WithCopies(ThresholdPage(), 2), WithCopies(ThresholdPage(), 5)});
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q5,0"}, kTwoCopies, kTwoCopies}));
}

TEST(PrintedPages, CopiesArgumentDoesNotChangeThePrintCount)
{
    TempDir dir;
    const std::string ppd = LabelPpd().WriteTo(dir.File("label.ppd"));
    PrintedJob job =
        ReadJob(RunFilter(FilterArgs("", "label", std::nullopt, "42", "4"), ppd, RasterBytes({ThresholdPage()})));
    ASSERT_FALSE(job.lines.empty());
    EXPECT_EQ(job.lines.back(), "P1");
}

TEST(PrintedPages, MultiPageJobSendsEveryPageInOrder)
{
    // Page k has one black 8 x 4 block at column 8k: the crop box moves the
    // graphic block to that column.
    std::vector<RasterPage> pages;
    for (unsigned k = 0; k < 3; ++k)
        pages.push_back(WithCopies(BlackBoxes(32, 4, {{8 * k, 0, 8 * k + 8, 4}}), 2));
    PrintedJob job = RunJob(LabelPpdCodes(), pages);
    EXPECT_EQ(job.result.status, 0);
    EXPECT_EQ(job.lines, Join({kOpening,
                               {"q32", "Q5,0"},
                               {"N", "GW0,0,1,3,", "P2"},
                               {"N", "GW8,0,1,3,", "P2"},
                               {"N", "GW16,0,1,3,", "P2"}}));
    // Seven black columns (the eighth is the column print mode 0 loses) in
    // three rows, then the unsent fourth row.
    for (const GwBlock& gw : job.graphics)
        EXPECT_EQ(gw.raw, RawBytes({0x01, 0x01, 0x01, 0xFF}));
}

// --- print modes ---

TEST(PrintedPages, PrintModeZeroLosesTheLastColumnAndRow)
{
    PrintedJob job = RunJob(LabelPpdCodes(), {ThresholdPage()});
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].header, "GW0,0,2,3,");
    // Column 15 and row 3 stay white: only 15 x 3 pixels are thresholded.
    EXPECT_EQ(DecodeGw(job.graphics[0], 2).bytes,
              std::vector<uint8_t>({0x3F, 0x21, 0xFF, 0x01, 0x00, 0x01, 0xFF, 0xFF}));
}

TEST(PrintedPages, PrintModeZeroSendsOneRowMoreThanItsHeaderCounts)
{
    PrintedJob job = RunJob(LabelPpdCodes(), {ThresholdPage()});
    ASSERT_EQ(job.graphics.size(), 1u);
    // 2 bytes x 4 rows sent under a header of 8 / 3 = 2 bytes x 3 rows.
    EXPECT_EQ(job.graphics[0].bytesPerRow * job.graphics[0].rows, 6);
    EXPECT_EQ(job.graphics[0].raw.size(), 8u);
}

TEST(PrintedPages, FixedThresholdInPrintModeOneGivesExactBytes)
{
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}}), {ThresholdPage()});
    EXPECT_EQ(job.stream.error, "");
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q4,0", "N", "GW0,0,2,4,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, kThresholdBits);
}

TEST(PrintedPages, TypicalPageOf640By400DotsIsOneBlockOf32000Bytes)
{
    // Ink in the four corners keeps the crop box at the page.
    RasterPage page =
        WithCopies(BlackBoxes(640, 400, {{0, 0, 1, 1}, {639, 0, 640, 1}, {0, 399, 1, 400}, {639, 399, 640, 400}}), 2);
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}}), {page});
    EXPECT_EQ(job.lines, Join({kOpening, {"q640", "Q400,0", "N", "GW0,0,80,400,", "P2"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw.size(), 32000u);
}

TEST(PrintedPages, PrintModeOneSendsTheLabelSizeWithEveryPage)
{
    RasterPage second = BlackBoxes(16, 4, {{0, 0, 8, 2}, {8, 2, 16, 4}});
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}}), {ThresholdPage(), second});
    EXPECT_EQ(job.lines,
              Join({kOpening, {"q16", "Q4,0", "N", "GW0,0,2,4,", "P1"}, {"q16", "Q4,0", "N", "GW0,0,2,4,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 2u);
    EXPECT_EQ(job.graphics[1].raw, RawBytes({0x00, 0xFF, 0x00, 0xFF, 0xFF, 0x00, 0xFF, 0x00}));
}

TEST(PrintedPages, LaterPageIsReadWithTheFirstPageSize)
{
    // The second page is 6 rows tall, but only the first page's 4 rows are
    // read: ink in row 0 alone, a box one row high, which print mode 0
    // sends as zero rows ("GW0,0,0,0,") carrying one white row.
    RasterPage taller = BlackBoxes(16, 6, {{0, 0, 16, 1}, {0, 5, 16, 6}});
    PrintedJob job = RunJob(LabelPpdCodes(), {ThresholdPage(), taller});
    EXPECT_EQ(job.stream.error, "");
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q5,0", "N", "GW0,0,2,3,", "P1", "N", "GW0,0,0,0,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 2u);
    EXPECT_EQ(job.graphics[1].raw, Fill(0xFF, 2));
}

TEST(PrintedPages, ShorterLaterPageEndsTheJobCleanly)
{
    // The second page has fewer rows than the first page's size says.
    PrintedJob job = RunJob(LabelPpdCodes(), {BlackBoxes(16, 8, {{0, 0, 16, 8}}), BlackBoxes(16, 2, {{0, 0, 16, 2}})});
    EXPECT_EQ(job.result.status, 0);
    EXPECT_EQ(job.result.signal, 0);
    EXPECT_EQ(job.stream.error, "");
    EXPECT_EQ(job.graphics.size(), 2u);
}

TEST(PrintedPages, WhiteMarginsAreCroppedAndTheTopIsNotKept)
{
    // Ink in columns 10 to 20 and rows 2 to 5: the box starts at column 8
    // and is 16 wide; the block is sent at the label's top (y 0).
    PrintedJob job = RunJob(LabelPpdCodes(), {BlackBoxes(32, 8, {{10, 2, 21, 6}})});
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].header, "GW8,0,2,3,");
    EXPECT_EQ(job.graphics[0].raw, RawBytes({0xC0, 0x07, 0xC0, 0x07, 0xC0, 0x07, 0xFF, 0xFF}));
}

TEST(PrintedPages, PrintModeOneSendsNothingForAPageWithInkInOneRow)
{
    // The crop box's top equals its bottom: the empty-page test drops it.
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}}), {BlackBoxes(16, 4, {{0, 1, 16, 2}})});
    EXPECT_EQ(job.result.status, 0);
    EXPECT_EQ(job.lines, kOpening);
}

TEST(PrintedPages, PrintModeOneSendsNothingForAWhitePage)
{
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}}), {UniformPage(255)});
    EXPECT_EQ(job.result.status, 0);
    EXPECT_EQ(job.result.err, "Finish print operation.");
    EXPECT_EQ(job.lines, kOpening);
}

// --- offsets and fixed label lengths ---

TEST(PrintedPages, OffsetsMoveTheGraphicBlock)
{
    // 1 mm across is 8 dots, 2 mm down 16 dots.
    PrintedJob job =
        RunJob(WithCodes({{"HorizontalOffsetValue", "1"}, {"VerticalOffsetValue", "2"}}), {ThresholdPage()});
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q5,0", "N", "GW8,16,2,3,", "P1"}}));
}

TEST(PrintedPages, NegativeShiftsAreSentAsZero)
{
    // Both directions reversed: 0 - 8 across and 0 - 16 down.
    PrintedJob job = RunJob(WithCodes({{"HorizontalOffset", "1"},
                                       {"HorizontalOffsetValue", "1"},
                                       {"VerticalOffset", "1"},
                                       {"VerticalOffsetValue", "2"}}),
                            {ThresholdPage()});
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].header, "GW0,0,2,3,");
}

TEST(PrintedPages, HorizontalOffsetWidensThePageLabelTwice)
{
    // Print mode 1 sends the page width plus twice the 8-dot offset.
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}, {"HorizontalOffsetValue", "1"}}), {ThresholdPage()});
    EXPECT_EQ(job.lines, Join({kOpening, {"q32", "Q4,0", "N", "GW8,0,2,4,", "P1"}}));
}

TEST(PrintedPages, FixedHeightOneSendsA297MillimetreLabel)
{
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}, {"FixedHeight", "1"}}), {ThresholdPage()});
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q2374,0", "N", "GW0,0,2,4,", "P1"}}));
}

TEST(PrintedPages, FixedHeightThreeSendsA148MillimetreLabel)
{
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}, {"FixedHeight", "3"}}), {ThresholdPage()});
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q1183,0", "N", "GW0,0,2,4,", "P1"}}));
}

// --- halftoning (print mode 1, 16 x 4 uniform pages) ---

TEST(PrintedPages, HalftoneZeroLeavesThePageWhite)
{
    EXPECT_EQ(HalftoneBits(0, 128), Fill(0xFF, 8));
}

TEST(PrintedPages, FixedThresholdPrintsGrey128Black)
{
    EXPECT_EQ(HalftoneBits(1, 128), Fill(0x00, 8));
}

TEST(PrintedPages, ErrorDiffusionStartsBlackAndCarriesTheErrorRight)
{
    // 128 is black with an error of 128; its right neighbour becomes
    // 128 + 128 x 7 / 16 = 184, white.
    Bitmap1 image = DecodeGw({0, 0, 2, 4, "", HalftoneBits(2, 128)});
    EXPECT_FALSE(image.White(0, 0));
    EXPECT_TRUE(image.White(1, 0));
}

TEST(PrintedPages, OrderedScreenSixteenPrintsItsPattern)
{
    // White where the screen entry is at most 128.
    EXPECT_EQ(HalftoneBits(3, 128), RawBytes({0xAA, 0xAB, 0x55, 0x55, 0xAA, 0xAA, 0x55, 0x55}));
}

TEST(PrintedPages, AdaptiveHalftonePrintsAUniformGreyPageWhite)
{
    // Every threshold is 127, and no pixel of 128 lies below it; the fixed
    // threshold prints the same page black.
    EXPECT_EQ(HalftoneBits(4, 128), Fill(0xFF, 8));
}

TEST(PrintedPages, AdaptiveHalftoneWithNegativePrintsAUniformGreyPageBlack)
{
    PrintedJob job =
        RunJob(WithCodes({{"PrintMode", "1"}, {"Halftone", "4"}, {"NegativeFilm", "1"}}), {UniformPage(128)});
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, Fill(0x00, 8));
}

TEST(PrintedPages, OrderedScreenFortyPrintsItsFirstRows)
{
    // Black where the entry exceeds 128; the first three rows of the screen.
    std::string bits = HalftoneBits(5, 128);
    ASSERT_EQ(bits.size(), 8u);
    EXPECT_EQ(bits.substr(0, 6), RawBytes({0x94, 0xE5, 0xA7, 0x29, 0x39, 0x4E}));
}

TEST(PrintedPages, TwelveNeighbourDiffusionPrintsABlackPageWhite)
{
    EXPECT_EQ(HalftoneBits(6, 0), Fill(0xFF, 8));
}

TEST(PrintedPages, TwelveNeighbourDiffusionLeavesTheLastTwoRowsAndColumnsWhite)
{
    // 249 scales to 141 of 144: black in the written area (rows 0 and 1,
    // columns 0 to 13), with no positive error to spread.
    EXPECT_EQ(HalftoneBits(6, 249), RawBytes({0x00, 0x03, 0x00, 0x03, 0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(PrintedPages, FifteenLevelScreenPrintsItsPattern)
{
    // Level 8: white where the entry is below 8; column 15 reuses column 0.
    EXPECT_EQ(HalftoneBits(7, 128), RawBytes({0xF2, 0x13, 0x3E, 0x40, 0x27, 0xC8, 0x84, 0xFF}));
}

TEST(PrintedPages, FourByFourDitherPrintsGrey128AsACheckerboard)
{
    EXPECT_EQ(HalftoneBits(8, 128), RawBytes({0xAA, 0xAA, 0x55, 0x55, 0xAA, 0xAA, 0x55, 0x55}));
}

TEST(PrintedPages, ShiftedEightBySixteenScreenPrintsItsPattern)
{
    // Level 64: white where the entry is below 64.
    EXPECT_EQ(HalftoneBits(9, 128), RawBytes({0x03, 0xC0, 0x0F, 0xF0, 0x1F, 0xF8, 0x3E, 0x3C}));
}

TEST(PrintedPages, ComputedFourByFourDitherPrintsGrey128AsACheckerboard)
{
    EXPECT_EQ(HalftoneBits(10, 128), RawBytes({0xAA, 0xAA, 0x55, 0x55, 0xAA, 0xAA, 0x55, 0x55}));
}

// --- negative and mirror ---

TEST(PrintedPages, NegativeInvertsEveryBit)
{
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}, {"NegativeFilm", "1"}}), {ThresholdPage()});
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RawBytes({0xC0, 0xDF, 0x00, 0xFF, 0xFF, 0xFF, 0x00, 0x01}));
}

TEST(PrintedPages, MirrorReversesEveryRowInPrintModeOne)
{
    PrintedJob job = RunJob(WithCodes({{"PrintMode", "1"}, {"Mirror", "1"}}), {ThresholdPage()});
    EXPECT_EQ(job.lines, Join({kOpening, {"q16", "Q4,0", "N", "GW0,0,2,4,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RawBytes({0x04, 0xFC, 0x00, 0xFF, 0x00, 0x00, 0x7F, 0xFF}));
}

TEST(PrintedPages, MirrorInPrintModeZeroStartsWithTheLostColumn)
{
    // Each row read backwards from column 15, which print mode 0 never
    // thresholds (white); column 0 is not sent.
    PrintedJob job = RunJob(WithCodes({{"Mirror", "1"}}), {ThresholdPage()});
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].header, "GW0,0,2,3,");
    EXPECT_EQ(job.graphics[0].raw, RawBytes({0x84, 0xFD, 0x80, 0xFF, 0x80, 0x01, 0xFF, 0xFF}));
}

// --- width limit and paper saving (48 mm: 384 dots) ---

TEST(PrintedPages, PaperSavingFitsAWidePageToThePrintableWidth)
{
    // 480 x 240 black shrinks to 384 x 192; print mode 0 then loses a
    // column and a row. The page carries its own label size.
    PrintedJob job =
        RunJob(WithCodes({{"MaxOutputWidth", "48"}, {"SavePaper", "1"}}), {BlackBoxes(480, 240, {{0, 0, 480, 240}})});
    EXPECT_EQ(job.stream.error, "");
    EXPECT_EQ(job.lines, Join({kOpening, {"q383", "Q191,0", "N", "GW0,0,48,191,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RowRuns({{191, Fill(0x00, 47) + RawBytes({0x01})}, {1, Fill(0xFF, 48)}}));
}

TEST(PrintedPages, WidePageWithoutPaperSavingIsNotFitted)
{
    PrintedJob job = RunJob(WithCodes({{"MaxOutputWidth", "48"}}), {BlackBoxes(480, 240, {{0, 0, 480, 240}})});
    // Only the label width is capped at 384 dots; the page stays 480 wide.
    EXPECT_EQ(job.lines, Join({kOpening, {"q384", "Q241,0", "N", "GW0,0,60,239,", "P1"}}));
}

TEST(PrintedPages, PrintModeOneFitsAWidePageWithOneMoreByteAndRow)
{
    // The fitted box's right and bottom are the size itself: 49 bytes a row
    // and 193 rows are packed, of which 384 columns and 192 rows are black.
    PrintedJob job =
        RunJob(WithCodes({{"MaxOutputWidth", "48"}, {"PrintMode", "1"}}), {BlackBoxes(480, 240, {{0, 0, 480, 240}})});
    EXPECT_EQ(job.stream.error, "");
    EXPECT_EQ(job.lines, Join({kOpening, {"q384", "Q192,0", "N", "GW0,0,49,192,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RowRuns({{192, Fill(0x00, 48) + Fill(0xFF, 1)}, {1, Fill(0xFF, 49)}}));
}

TEST(PrintedPages, LandscapePageOf120MillimetresIsFittedTo80WithAutoRotateOff)
{
    // 960 x 100 black: more than 20 mm over 80 mm, so rotation is asked
    // for with code -1, which keeps the page; paper saving then shrinks it
    // to 639 x 66, of which print mode 0 sends 639 columns and 65 rows.
    PrintedJob job =
        RunJob(WithCodes({{"MaxOutputWidth", "80"}, {"SavePaper", "1"}}), {BlackBoxes(960, 100, {{0, 0, 960, 100}})});
    EXPECT_EQ(job.stream.error, "");
    EXPECT_EQ(job.lines, Join({kOpening, {"q639", "Q65,0", "N", "GW0,0,81,65,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RowRuns({{65, Fill(0x00, 79) + RawBytes({0x01})}, {1, Fill(0xFF, 80)}}));
}

// --- automatic rotation (48 mm printable width) ---

TEST(PrintedPages, WidePageIsTurnedAQuarterWithAutoRotateOne)
{
    // Turned 64 wide and 544 tall, the right end at the top: the marker in
    // rows 0 to 7, the band in rows 536 to 543 (less the lost column and
    // row).
    PrintedJob job = RotationJob(WidePage(), "1");
    EXPECT_EQ(job.lines, Join({kOpening, {"q384", "Q65,0", "N", "GW0,0,8,543,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RowRuns({{8, RawBytes({0x00}) + Fill(0xFF, 7)},
                                            {528, Fill(0xFF, 8)},
                                            {7, Fill(0x00, 7) + RawBytes({0x01})},
                                            {1, Fill(0xFF, 8)}}));
}

TEST(PrintedPages, WidePageIsTurnedAHalfWithAutoRotateTwo)
{
    // Code 1 is a half turn: the band moves to the right end, the marker to
    // the bottom left.
    PrintedJob job = RotationJob(WidePage(), "2");
    EXPECT_EQ(job.lines, Join({kOpening, {"q384", "Q65,0", "N", "GW0,0,69,63,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RowRuns({{56, Fill(0xFF, 67) + RawBytes({0x01})},
                                            {7, RawBytes({0x00}) + Fill(0xFF, 66) + RawBytes({0x01})},
                                            {1, Fill(0xFF, 68)}}));
}

TEST(PrintedPages, WidePageStaysAsItIsWithAutoRotateOff)
{
    // Rotation code -1 changes nothing.
    PrintedJob job = RotationJob(WidePage(), "0");
    EXPECT_EQ(job.lines, Join({kOpening, {"q384", "Q65,0", "N", "GW0,0,69,63,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RowRuns({{8, RawBytes({0x00}) + Fill(0xFF, 66) + RawBytes({0x01})},
                                            {55, RawBytes({0x00}) + Fill(0xFF, 67)},
                                            {1, Fill(0xFF, 68)}}));
}

TEST(PrintedPages, TallPageIsTurnedWithAutoRotateOne)
{
    // Turned 200 wide and 64 tall: the top band becomes the left band, the
    // marker comes to the top right.
    PrintedJob job = RotationJob(TallPage(), "1");
    EXPECT_EQ(job.lines, Join({kOpening, {"q64", "Q201,0", "N", "GW0,0,25,63,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.graphics[0].raw, RowRuns({{8, RawBytes({0x00}) + Fill(0xFF, 23) + RawBytes({0x01})},
                                            {55, RawBytes({0x00}) + Fill(0xFF, 24)},
                                            {1, Fill(0xFF, 25)}}));
}

TEST(PrintedPages, TallPageStaysUprightWithAutoRotateOff)
{
    PrintedJob job = RotationJob(TallPage(), "0");
    EXPECT_EQ(job.lines, Join({kOpening, {"q64", "Q201,0", "N", "GW0,0,8,199,", "P1"}}));
}

// --- dashed lines (print mode 1, 1 mm = 8 dot dashes) ---

TEST(PrintedPages, LongBlackLineIsBrokenIntoDashes)
{
    // The 160-dot run (20 mm) keeps 8 dots and whitens 8 in each whole
    // period but the last.
    PrintedJob job = DashedJob(LinePage(), true);
    EXPECT_EQ(job.lines, Join({kOpening, {"q200", "Q2,0", "N", "GW0,0,25,2,", "P1"}}));
    ASSERT_EQ(job.graphics.size(), 1u);
    std::string row0 = Fill(0xFF, 2);
    for (int period = 0; period < 9; ++period)
        row0 += RawBytes({0x00, 0xFF});
    row0 += Fill(0x00, 2) + Fill(0xFF, 3);
    const std::string row1 = RawBytes({0x7F}) + Fill(0xFF, 23) + RawBytes({0xFE});
    EXPECT_EQ(job.graphics[0].raw, row0 + row1);
}

TEST(PrintedPages, BlackLineStaysSolidWithoutDashedLines)
{
    PrintedJob job = DashedJob(LinePage(), false);
    ASSERT_EQ(job.graphics.size(), 1u);
    const std::string row0 = Fill(0xFF, 2) + Fill(0x00, 20) + Fill(0xFF, 3);
    EXPECT_EQ(job.graphics[0].raw.substr(0, 25), row0);
}

TEST(PrintedPages, RunEndingARowIsDashedAtTheStartOfTheNextRow)
{
    // Row 0's run (columns 1 to 199; column 0 is never counted) is dashed
    // when row 1 starts: periods of 16 from column 1, the last part one left.
    PrintedJob job = DashedJob(TwoLinePage(), true);
    ASSERT_EQ(job.graphics.size(), 1u);
    std::string row0 = RawBytes({0x00});
    for (int period = 0; period < 12; ++period)
        row0 += RawBytes({0x7F, 0x80});
    EXPECT_EQ(job.graphics[0].raw.substr(0, 25), row0);
}

TEST(PrintedPages, RunStillOpenAfterTheLastRowStaysSolid)
{
    PrintedJob job = DashedJob(TwoLinePage(), true);
    ASSERT_EQ(job.graphics.size(), 1u);
    ASSERT_EQ(job.graphics[0].raw.size(), 50u);
    EXPECT_EQ(job.graphics[0].raw.substr(25), Fill(0x00, 25));
}

// --- cutter ("Mode" 4; cut position 10 mm = 80 dots; 2 copies) ---

TEST(PrintedPages, CutAfterEveryLabelSetsTheCutterOnPageOneOnly)
{
    PrintedJob job = CutterJob("1", 3);
    EXPECT_EQ(job.lines,
              Join({kCutterOpening, {"q16", "Q5,0"}, {"OC", "JF", "f80"}, kTwoCopies, kTwoCopies, kTwoCopies}));
}

TEST(PrintedPages, CutAtJobEndCutsAfterTheLastPage)
{
    PrintedJob job = CutterJob("2", 3);
    EXPECT_EQ(
        job.lines,
        Join(
            {kCutterOpening, {"q16", "Q5,0"}, {"O", "f80"}, kTwoCopies, kTwoCopies, {"JF", "OC2", "f80"}, kTwoCopies}));
}

TEST(PrintedPages, CutAtJobEndOnASinglePageJobCutsAtOnce)
{
    PrintedJob job = CutterJob("2", 1);
    EXPECT_EQ(job.lines, Join({kCutterOpening, {"q16", "Q5,0"}, {"JF", "OC2", "f80"}, kTwoCopies}));
}

TEST(PrintedPages, CutAtJobEndSendsAPlainOptionsLineOnPageOneEvenForDirectThermal)
{
    PrintedJob job = CutterJob("2", 2, {{"PrintMethod", "1"}});
    EXPECT_EQ(job.lines,
              Join({kCutterOpening, {"q16", "Q5,0"}, {"O", "f80"}, kTwoCopies, {"JF", "OD,C2", "f80"}, kTwoCopies}));
}

TEST(PrintedPages, CutAfterAllCopiesCountsTheCopies)
{
    PrintedJob job = CutterJob("4", 3);
    EXPECT_EQ(job.lines,
              Join({kCutterOpening, {"q16", "Q5,0"}, {"OC2", "JF", "f80"}, kTwoCopies, kTwoCopies, kTwoCopies}));
}

TEST(PrintedPages, CutAfterAllCopiesOfOneCopyCutsEachLabel)
{
    PrintedJob job = RunJob(WithCodes({{"Mode", "4"}, {"CutMethod", "4"}}), {ThresholdPage()});
    EXPECT_EQ(job.lines, Join({kCutterOpening, {"q16", "Q5,0"}, {"OC", "JF", "f80", "N", "GW0,0,2,3,", "P1"}}));
}

TEST(PrintedPages, CutEverySecondPageCutsEachCopyOfEvenPages)
{
    // Page 1: no cut, both copies at once. Page 2: a cut after each copy.
    // Page 3: no cut. Page 4, the last: one cut after both copies.
    PrintedJob job = CutterJob("3", 4, {{"Interval", "2"}});
    EXPECT_EQ(job.lines, Join({kCutterOpening,
                               {"q16", "Q5,0"},
                               {"O", "JF", "f80"},
                               kTwoCopies,
                               {"OC", "N", "GW0,0,2,3,", "P1", "OC", "N", "GW0,0,2,3,", "P1"},
                               {"O"},
                               kTwoCopies,
                               {"OC2"},
                               kTwoCopies}));
}
