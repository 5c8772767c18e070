// Facts about the page limits: which raster headers may be printed at a
// printer resolution, and the sentence that says why the others may not.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "PageLimits.h"
#include "PpdWriter.h"
#include "RasterWriter.h"
#include "TempDir.h"

using kvtest::RgbHeader;

namespace {

// A 24-bit page at `dpi` in both directions.
cups_page_header2_t Page(unsigned width, unsigned height, unsigned dpi)
{
    return RgbHeader(width, height, dpi);
}

// A page of `bits` per pixel with the bytes per line that depth gives.
cups_page_header2_t PageOfDepth(unsigned width, unsigned height, unsigned dpi, unsigned bits)
{
    cups_page_header2_t h = RgbHeader(width, height, dpi);
    h.cupsBitsPerPixel = bits;
    h.cupsBitsPerColor = bits >= 8 ? 8 : bits;
    h.cupsBytesPerLine = static_cast<unsigned>((uint64_t(width) * bits + 7) / 8);
    return h;
}

}  // namespace

TEST(PageLimits, FourBySixInchLabelAt203DpiIsPrinted)
{
    EXPECT_EQ(PageLimitProblem(Page(812, 1218, 203), 203), "");
}

TEST(PageLimits, ThreeTimesFinerRasterOfTheLabelIsPrinted)
{
    EXPECT_EQ(PageLimitProblem(Page(2436, 3654, 609), 203), "");
}

TEST(PageLimits, BytesPerLineThatWrapWithTheWidthAreRefused)
{
    cups_page_header2_t h = PageOfDepth(10, 10, 203, 8);
    h.cupsWidth = 2147483649u;
    h.cupsBytesPerLine = 1;
    EXPECT_EQ(PageLimitProblem(h, 203), "cupsBytesPerLine 1 does not match cupsWidth 2147483649 at 8 bits per pixel");
}

TEST(PageLimits, ChunkedPixelsNeedEveryBitInTheLine)
{
    cups_page_header2_t h = Page(100, 100, 203);
    h.cupsBytesPerLine = 100;
    EXPECT_EQ(PageLimitProblem(h, 203), "cupsBytesPerLine 100 does not match cupsWidth 100 at 24 bits per pixel");
}

TEST(PageLimits, BandedRasterMayCarryOneColourPerLine)
{
    cups_page_header2_t h = Page(100, 100, 203);
    h.cupsColorOrder = CUPS_ORDER_BANDED;
    h.cupsBytesPerLine = 100;
    EXPECT_EQ(PageLimitProblem(h, 203), "");
}

TEST(PageLimits, ColourOrderBeyondTheEnumIsTakenAsNotChunked)
{
    // Stored byte-wise: assigning 7 to the enum would itself be undefined.
    cups_page_header2_t h = Page(100, 100, 203);
    const unsigned seven = 7;
    memcpy(&h.cupsColorOrder, &seven, sizeof(seven));
    h.cupsBytesPerLine = 100;
    EXPECT_EQ(PageLimitProblem(h, 203), "");
}

TEST(PageLimits, RasterAtOneDpiIsRefused)
{
    EXPECT_EQ(PageLimitProblem(Page(186, 186, 1), 203),
              "its raster resolution 1 x 1 dpi is outside the 50 to 1624 dpi that are scaled to the printer's "
              "203 dpi");
}

TEST(PageLimits, RasterAtTheFloorIsPrinted)
{
    EXPECT_EQ(PageLimitProblem(Page(100, 100, 50), 203), "");
}

TEST(PageLimits, RasterJustBelowTheFloorIsRefusedInEitherDirection)
{
    cups_page_header2_t h = Page(100, 100, 203);
    h.HWResolution[1] = 49;
    EXPECT_EQ(PageLimitProblem(h, 203),
              "its raster resolution 203 x 49 dpi is outside the 50 to 1624 dpi that are scaled to the printer's "
              "203 dpi");
}

TEST(PageLimits, RasterEightTimesFinerIsPrintedAndFinerRefused)
{
    EXPECT_EQ(PageLimitProblem(Page(800, 800, 1624), 203), "");
    EXPECT_EQ(PageLimitProblem(Page(800, 800, 1625), 203),
              "its raster resolution 1625 x 1625 dpi is outside the 50 to 1624 dpi that are scaled to the "
              "printer's 203 dpi");
}

TEST(PageLimits, RasterMoreThanEightTimesCoarserIsRefused)
{
    EXPECT_EQ(PageLimitProblem(Page(100, 100, 149), 1200),
              "its raster resolution 149 x 149 dpi is outside the 150 to 9600 dpi that are scaled to the "
              "printer's 1200 dpi");
}

TEST(PageLimits, ResolutionIsTakenNarrowedAsTheJobRecordsTakeIt)
{
    EXPECT_EQ(PageLimitProblem(Page(812, 1218, 65536 + 203), 203), "");
}

TEST(PageLimits, WithoutPrinterResolutionOnlyTheFloorApplies)
{
    EXPECT_EQ(PageLimitProblem(Page(100, 100, 20000), 0), "");
    EXPECT_EQ(PageLimitProblem(Page(100, 100, 49), 0), "its raster resolution 49 x 49 dpi is below the 50 dpi the "
                                                       "filter takes");
}

TEST(PageLimits, PageAsWideAsTheConversionKeepsIsPrinted)
{
    EXPECT_EQ(PageLimitProblem(Page(2398, 100, 203), 203), "");
}

TEST(PageLimits, PageOneDotWiderIsRefused)
{
    EXPECT_EQ(PageLimitProblem(Page(2399, 100, 203), 203),
              "at 203 dpi it is 300.2 x 12.5 mm, larger than the largest label (300 mm across, 1000 mm along)");
}

TEST(PageLimits, PageAMetreLongIsPrintedAndLongerRefused)
{
    EXPECT_EQ(PageLimitProblem(Page(812, 7992, 203), 203), "");
    EXPECT_EQ(PageLimitProblem(Page(812, 7993, 203), 203),
              "at 203 dpi it is 101.6 x 1000.1 mm, larger than the largest label (300 mm across, 1000 mm along)");
}

TEST(PageLimits, LabelSizeIsTakenAfterScalingToThePrinter)
{
    EXPECT_EQ(PageLimitProblem(Page(7194, 300, 609), 203), "");
    EXPECT_EQ(PageLimitProblem(Page(7197, 300, 609), 203),
              "at 203 dpi it is 300.2 x 12.5 mm, larger than the largest label (300 mm across, 1000 mm along)");
}

TEST(PageLimits, HugeOneBitPageIsRefusedForItsSize)
{
    EXPECT_EQ(PageLimitProblem(PageOfDepth(100000, 100000, 203, 1), 203),
              "at 203 dpi it is 12512.3 x 12512.3 mm, larger than the largest label (300 mm across, 1000 mm along)");
}

TEST(PageLimits, RasterOfExactly128MegabytesIsPrinted)
{
    EXPECT_EQ(PageLimitProblem(PageOfDepth(1024, 32768, 1624, 32), 203), "");
}

TEST(PageLimits, RasterOneRowOver128MegabytesIsRefused)
{
    EXPECT_EQ(PageLimitProblem(PageOfDepth(1024, 32769, 1624, 32), 203),
              "its raster takes 129 MB, more than the 128 MB a page may take");
}

TEST(PageLimits, PrinterPageOf64MegabytesIsPrinted)
{
    EXPECT_EQ(PageLimitProblem(Page(3543, 6311, 300), 300), "");
}

TEST(PageLimits, PrinterPageOneRowOver64MegabytesIsRefused)
{
    EXPECT_EQ(PageLimitProblem(Page(3543, 6312, 300), 300),
              "at the printer's resolution it takes 65 MB, more than the 64 MB a page may take");
}

TEST(PageLimits, PrinterPageIsCountedAtTwentyFourBitsAtLeast)
{
    EXPECT_EQ(PageLimitProblem(PageOfDepth(3543, 6312, 300, 1), 300),
              "at the printer's resolution it takes 65 MB, more than the 64 MB a page may take");
}

TEST(PageLimits, UpscaledPageIsCountedAtThePrinterResolution)
{
    EXPECT_EQ(PageLimitProblem(Page(590, 1053, 50), 300), "");
    EXPECT_EQ(PageLimitProblem(Page(590, 1054, 50), 300),
              "at the printer's resolution it takes 65 MB, more than the 64 MB a page may take");
}

TEST(OutputDpiLimits, MissingResolutionIsNoProblemHere)
{
    EXPECT_EQ(OutputDpiProblem(0), "");
}

TEST(OutputDpiLimits, ResolutionsUpTo1200AreAccepted)
{
    EXPECT_EQ(OutputDpiProblem(203), "");
    EXPECT_EQ(OutputDpiProblem(1200), "");
}

TEST(OutputDpiLimits, ResolutionAbove1200IsRefused)
{
    EXPECT_EQ(OutputDpiProblem(1201), "The PPD file's *OutputDPI 1201 is not a printer resolution (1 to 1200 dpi)");
}

TEST(OutputDpiLimits, NegativeResolutionIsRefused)
{
    EXPECT_EQ(OutputDpiProblem(-25536), "The PPD file's *OutputDPI -25536 is not a printer resolution (1 to 1200 dpi)");
}

class PpdOutputDpiTest : public ::testing::Test {
protected:
    int16_t Read(const kvtest::PpdWriter& writer)
    {
        setenv("PPD", writer.WriteTo(m_dir.File("test.ppd")).c_str(), 1);
        return PpdOutputDpi();
    }
    kvtest::TempDir m_dir;
};

TEST_F(PpdOutputDpiTest, ReadsTheKeywordAsADecimalNumber)
{
    EXPECT_EQ(Read(kvtest::PpdWriter().Keyword("OutputDPI", "300")), 300);
}

TEST_F(PpdOutputDpiTest, MissingKeywordGivesZero)
{
    EXPECT_EQ(Read(kvtest::PpdWriter()), 0);
}

TEST_F(PpdOutputDpiTest, ValueIsNarrowedTo16Bits)
{
    EXPECT_EQ(Read(kvtest::PpdWriter().Keyword("OutputDPI", "65739")), 203);
    EXPECT_EQ(Read(kvtest::PpdWriter().Keyword("OutputDPI", "40000")), -25536);
}
