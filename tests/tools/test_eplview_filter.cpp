// eplview on the filter's own output, with a shipped PPD: the label it shows
// is the page the filter was given, and the PPD's choices arrive in the
// printer set-up. These run the built filter, which rewrites the driver log
// in /tmp.
#include <gtest/gtest.h>

#include <string>

#include "EplDocument.h"
#include "FilterProcess.h"
#include "LabelBitmap.h"
#include "RasterWriter.h"

namespace {

const std::string kPpd = std::string(KV_PPD_DIR) + "/kivcp-epl2-203dpi-2in.ppd";
constexpr unsigned kDpi = 203;
// A 2 x 1 inch page at 203 dpi.
constexpr unsigned kWidth = 406;
constexpr unsigned kHeight = 203;
constexpr unsigned kFrame = 4;

// True where the test page is black: a frame along the edges and a block.
bool PageIsBlack(unsigned x, unsigned y)
{
    bool frame = x < kFrame || y < kFrame || x >= kWidth - kFrame || y >= kHeight - kFrame;
    bool block = x >= 40 && x < 140 && y >= 50 && y < 100;
    return frame || block;
}

kvtest::RasterPage FramedPage(unsigned copies = 1)
{
    kvtest::RasterPage page = kvtest::RgbPage(kWidth, kHeight, kDpi, [](unsigned x, unsigned y, unsigned char rgb[3]) {
        unsigned char v = PageIsBlack(x, y) ? 0 : 255;
        rgb[0] = rgb[1] = rgb[2] = v;
    });
    page.header.NumCopies = copies;
    return page;
}

// Runs the filter on one framed page with the job's `options` and reads its
// output back.
eplview::Document Print(const std::string& options, unsigned copies = 1)
{
    kvtest::FilterResult r =
        kvtest::RunFilter(kvtest::FilterArgs(options), kPpd, kvtest::RasterBytes({FramedPage(copies)}));
    EXPECT_EQ(r.status, 0) << r.err;
    eplview::Document doc;
    eplview::ParseError err;
    EXPECT_TRUE(eplview::ParseEpl(r.out, doc, err)) << err.offset << ": " << err.message;
    return doc;
}

TEST(EplviewOnFilterOutput, LabelHasTheSizeOfThePage)
{
    eplview::Document doc = Print("");
    ASSERT_EQ(doc.labels.size(), 1u);
    EXPECT_EQ(doc.labels[0].width, 408);  // 406 dots rounded up to a whole byte
    EXPECT_EQ(doc.labels[0].length, 204);
}

TEST(EplviewOnFilterOutput, LabelShowsThePageTheFilterWasGiven)
{
    // The filter keeps every row of the page but the last (its pipeline
    // drops one row), so that row and the padding stay white.
    eplview::Document doc = Print("");
    ASSERT_EQ(doc.labels.size(), 1u);
    eplview::LabelBitmap bmp = eplview::RenderLabel(doc.labels[0]);
    long wrong = 0;
    for (long y = 0; y < bmp.Height(); ++y)
        for (long x = 0; x < bmp.Width(); ++x) {
            bool expected = y < static_cast<long>(kHeight) - 1 && x < static_cast<long>(kWidth) &&
                            PageIsBlack(static_cast<unsigned>(x), static_cast<unsigned>(y));
            wrong += bmp.IsBlack(x, y) != expected;
        }
    EXPECT_EQ(wrong, 0);
}

TEST(EplviewOnFilterOutput, NotesTheFiltersExtraPackedRow)
{
    eplview::Document doc = Print("");
    ASSERT_EQ(doc.notes.size(), 1u);
    EXPECT_NE(doc.notes[0].find(": GW carries 51 bytes beyond its 51 x 202 bytes (one packed row more than declared)"),
              std::string::npos);
}

TEST(EplviewOnFilterOutput, ContentBelowBlankSpaceStartsAtTheLabelsTopEdge)
{
    // Only a block 50 rows down: the filter crops the blank rows above it
    // and does not keep their height, while the block keeps its column.
    kvtest::RasterPage page = kvtest::RgbPage(kWidth, kHeight, kDpi, [](unsigned x, unsigned y, unsigned char rgb[3]) {
        unsigned char v = x >= 40 && x < 140 && y >= 50 && y < 100 ? 0 : 255;
        rgb[0] = rgb[1] = rgb[2] = v;
    });
    kvtest::FilterResult r = kvtest::RunFilter(kvtest::FilterArgs(""), kPpd, kvtest::RasterBytes({page}));
    eplview::Document doc;
    eplview::ParseError err;
    ASSERT_TRUE(eplview::ParseEpl(r.out, doc, err)) << err.message;
    ASSERT_EQ(doc.labels.size(), 1u);
    eplview::LabelBitmap bmp = eplview::RenderLabel(doc.labels[0]);
    EXPECT_TRUE(bmp.IsBlack(40, 0));
    EXPECT_TRUE(bmp.IsBlack(139, 48));
    EXPECT_FALSE(bmp.IsBlack(39, 0));
    EXPECT_FALSE(bmp.IsBlack(40, 50));
}

TEST(EplviewOnFilterOutput, CopiesOfThePageAreTheLabelsCount)
{
    eplview::Document doc = Print("", 3);
    ASSERT_EQ(doc.labels.size(), 1u);
    EXPECT_EQ(doc.labels[0].sets, 3);
}

TEST(EplviewOnFilterOutput, PrinterDefaultDensityAndSpeedSendNothing)
{
    eplview::Document doc = Print("");
    EXPECT_FALSE(doc.setup.density.has_value());
    EXPECT_FALSE(doc.setup.speed.has_value());
}

TEST(EplviewOnFilterOutput, DensityAndSpeedChoicesReachThePrinter)
{
    eplview::Document doc = Print("Density=12 PrintSpeed=2");
    EXPECT_EQ(doc.setup.density, 12);
    EXPECT_EQ(doc.setup.speed, 2);
}

TEST(EplviewOnFilterOutput, DefaultMediaIsGappedLabelsWithAThreeMillimetreGap)
{
    eplview::Document doc = Print("");
    EXPECT_EQ(doc.setup.gap, 24);  // 3 mm at 203 dpi
}

TEST(EplviewOnFilterOutput, GapChoiceBecomesTheGapInDots)
{
    eplview::Document doc = Print("GAPHeight=2.5mm");
    EXPECT_EQ(doc.setup.gap, 20);
}

TEST(EplviewOnFilterOutput, ContinuousMediaHasNoGap)
{
    eplview::Document doc = Print("MediaType=Continuous");
    EXPECT_EQ(doc.setup.gap, 0);
}

TEST(EplviewOnFilterOutput, DefaultPrintsDirectThermalWithTearOff)
{
    eplview::Document doc = Print("");
    ASSERT_TRUE(doc.setup.options.has_value());
    EXPECT_TRUE(doc.setup.options->directThermal);
    EXPECT_FALSE(doc.setup.options->cutter);
    EXPECT_FALSE(doc.setup.options->peel);
    EXPECT_EQ(doc.setup.backFeed, true);
}

TEST(EplviewOnFilterOutput, PeelOffSetsThePeelOption)
{
    eplview::Document doc = Print("Mode=PeelOff");
    ASSERT_TRUE(doc.setup.options.has_value());
    EXPECT_TRUE(doc.setup.options->peel);
}

TEST(EplviewOnFilterOutput, TearOffWithoutBackFeedSwitchesBackFeedOff)
{
    eplview::Document doc = Print("Mode=TearOffNoBackfeed");
    EXPECT_EQ(doc.setup.backFeed, false);
}

TEST(EplviewOnFilterOutput, CutterCutsAfterEveryLabelByDefault)
{
    eplview::Document doc = Print("Mode=Cutter");
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_TRUE(doc.labels[0].options.has_value());
    EXPECT_TRUE(doc.labels[0].options->cutter);
    EXPECT_EQ(doc.labels[0].options->cutEvery, 1);
}

TEST(EplviewOnFilterOutput, CutAfterAllCopiesCutsOncePerPage)
{
    eplview::Document doc = Print("Mode=Cutter CutMethod=EachPage", 4);
    ASSERT_EQ(doc.labels.size(), 1u);
    ASSERT_TRUE(doc.labels[0].options.has_value());
    EXPECT_EQ(doc.labels[0].options->cutEvery, 4);
}

TEST(EplviewOnFilterOutput, NominalCutPositionReachesThePrinterAs100)
{
    eplview::Document doc = Print("Mode=Cutter Feed=Nominal");
    EXPECT_EQ(doc.setup.cutPosition, 100);
}

TEST(EplviewOnFilterOutput, DefaultCutPositionIsLeftToThePrinter)
{
    eplview::Document doc = Print("Mode=Cutter");
    EXPECT_FALSE(doc.setup.cutPosition.has_value());
}

}  // namespace
