// The built filter on raster jobs and PPDs made to starve or crash it: each
// is refused with its message, or printed, and the filter's peak memory
// stays far below what such input could once make it take.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FilterProcess.h"
#include "PpdWriter.h"
#include "PrintJob.h"
#include "RasterWriter.h"
#include "TempDir.h"

using namespace kvtest;

namespace {

// Any job, refused or printed, stays under this.
constexpr long kPeakBoundKb = 256 * 1024;
constexpr int kRefused = 1;

// A page header as a hostile job may declare it, followed by `rows` rows of
// alternating black and white bytes (fewer rows than declared are allowed).
RasterPage Declared(unsigned width, unsigned height, unsigned dpi, unsigned bitsPerPixel, unsigned bytesPerLine,
                    unsigned rows)
{
    RasterPage page{RgbHeader(1, 1), {}};
    page.header.HWResolution[0] = page.header.HWResolution[1] = dpi;
    page.header.cupsWidth = width;
    page.header.cupsHeight = height;
    page.header.cupsBitsPerPixel = bitsPerPixel;
    page.header.cupsBitsPerColor = bitsPerPixel >= 8 ? 8 : bitsPerPixel;
    page.header.cupsColorSpace = bitsPerPixel == 24 ? CUPS_CSPACE_RGB : CUPS_CSPACE_K;
    page.header.cupsBytesPerLine = bytesPerLine;
    for (unsigned y = 0; y < rows; ++y) {
        std::vector<unsigned char> row(bytesPerLine);
        for (unsigned x = 0; x < bytesPerLine; ++x)
            row[x] = (x / 7 + y) % 2 ? 0 : 255;
        page.rows.push_back(row);
    }
    return page;
}

// A page that fits every limit: 2 x 1 inch at 203 dpi with a black box.
RasterPage Label()
{
    return BlackBoxes(406, 203, {{40, 40, 200, 160}});
}

// Runs the filter on `pages` from a raster file, as the spooler does for a
// file argument, with a label PPD of `codes`.
class HostileInput : public ::testing::Test {
protected:
    FilterResult Run(const std::vector<RasterPage>& pages, const std::map<std::string, std::string>& codes,
                     const std::string& options = "")
    {
        WriteRaster(RasterFile(), pages);
        return RunOnFile(codes, options);
    }

    // Runs the filter on the raster already written to RasterFile().
    FilterResult RunOnFile(const std::map<std::string, std::string>& codes, const std::string& options = "")
    {
        std::string ppd = LabelPpd(codes).WriteTo(m_dir.File("label.ppd"));
        FilterResult result = RunFilter(FilterArgs(options, "label", RasterFile()), ppd);
#ifndef KV_SANITIZED
        EXPECT_LT(result.peakKb, kPeakBoundKb);
#endif
        return result;
    }

    std::string RasterFile() const
    {
        return m_dir.File("job.ras");
    }

    FilterResult Run(const std::vector<RasterPage>& pages)
    {
        return Run(pages, LabelPpdCodes());
    }

    TempDir m_dir;
};

}  // namespace

TEST_F(HostileInput, PageAtOneDpiIsRefused)
{
    FilterResult r = Run({Declared(186, 186, 1, 24, 558, 186)});
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: Page 1 not printed: its raster resolution 1 x 1 dpi is outside the 50 to 1624 dpi "
                     "that are scaled to the printer's 203 dpi\n");
}

TEST_F(HostileInput, PageAtTwoDpiIsRefused)
{
    FilterResult r = Run({Declared(100, 100, 2, 24, 300, 100)});
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(r.err, "ERROR: Page 1 not printed: its raster resolution 2 x 2 dpi is outside the 50 to 1624 dpi "
                     "that are scaled to the printer's 203 dpi\n");
}

TEST_F(HostileInput, PageAtZeroDpiIsRefused)
{
    FilterResult r = Run({Declared(100, 100, 0, 24, 300, 100)});
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(r.err, "ERROR: Page 1 not printed: its raster resolution 0 x 0 dpi is outside the 50 to 1624 dpi "
                     "that are scaled to the printer's 203 dpi\n");
}

TEST_F(HostileInput, WidthThatWrapsToOneBytePerLineIsRefused)
{
    FilterResult r = Run({Declared(2147483649u, 10, 203, 8, 1, 1)});
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: Page 1 not printed: cupsBytesPerLine 1 does not match cupsWidth 2147483649 at 8 bits "
                     "per pixel\n");
}

TEST_F(HostileInput, SmallerWrappingWidthIsRefused)
{
    FilterResult r = Run({Declared(536870913u, 10, 203, 8, 1, 1)});
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(r.err, "ERROR: Page 1 not printed: cupsBytesPerLine 1 does not match cupsWidth 536870913 at 8 bits "
                     "per pixel\n");
}

TEST_F(HostileInput, HugeOneBitPageWithTwoRowsIsRefused)
{
    FilterResult r = Run({Declared(100000, 100000, 203, 1, 12500, 2)});
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: Page 1 not printed: at 203 dpi it is 12512.3 x 12512.3 mm, larger than the largest "
                     "label (300 mm across, 1000 mm along)\n");
}

TEST_F(HostileInput, LargeCompressedPageWithTwentyRowsIsRefused)
{
    FilterResult r = Run({Declared(20000, 20000, 203, 24, 60000, 20)});
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(r.err, "ERROR: Page 1 not printed: at 203 dpi it is 2502.5 x 2502.5 mm, larger than the largest "
                     "label (300 mm across, 1000 mm along)\n");
}

TEST_F(HostileInput, RefusedSecondPageStillPrintsTheFirstAsTheLastLabel)
{
    FilterResult r = Run({Label(), Declared(186, 186, 1, 24, 558, 186)});
    EXPECT_EQ(r.status, kRefused);
    PrintedJob job = ReadJob(r);
    EXPECT_EQ(job.graphics.size(), 1u);
    EXPECT_EQ(job.lines.back(), "P1");
    EXPECT_EQ(r.err, "Finish print operation.\nERROR: Page 2 not printed: its raster resolution 1 x 1 dpi is "
                     "outside the 50 to 1624 dpi that are scaled to the printer's 203 dpi\n");
}

TEST_F(HostileInput, PageRefusedInTheMiddleEndsTheJob)
{
    FilterResult r = Run({Label(), Declared(100000, 100000, 203, 1, 12500, 2), Label()});
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(ReadJob(r).graphics.size(), 1u);
}

TEST_F(HostileInput, LaterPageOfAnotherSizeIsPrintedWithAWarning)
{
    FilterResult r = Run({Label(), BlackBoxes(300, 100, {{0, 0, 10, 10}})});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(ReadJob(r).graphics.size(), 2u);
    EXPECT_EQ(r.err, "Finish print operation.\nWARNING: Page 2 is 300 x 100 pixels at 24 bits, page 1 406 x 203 at "
                     "24 bits: it is printed with page 1's size and may come out distorted\n"
                     "Finish print operation.");
}

TEST_F(HostileInput, PpdWithoutOutputDpiSaysTheLabelsComeOutBlank)
{
    FilterResult r = Run({Label()}, WithoutOptions({"OutputDPI"}));
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("\r\nGW0,0,0,0,\r\n"), std::string::npos);
    EXPECT_EQ(r.err, "ERROR: The PPD file has no *OutputDPI, the printer's resolution: labels come out blank\n"
                     "Finish print operation.");
}

TEST_F(HostileInput, PpdWithAnAbsurdOutputDpiIsRefused)
{
    FilterResult r = Run({Label()}, WithCodes({{"OutputDPI", "40000"}}));
    EXPECT_EQ(r.status, kRefused);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "ERROR: The PPD file's *OutputDPI -25536 is not a printer resolution (1 to 1200 dpi)\n");
}

// A 24-bit page of `width` x `height` at `dpi`, white with a black frame
// 100 pixels in from each edge, written row by row to the job's raster file.
void WriteFramedPage(const std::string& path, unsigned width, unsigned height, unsigned dpi)
{
    WriteStreamedPage(path, RgbHeader(width, height, dpi), [&](unsigned y, std::vector<unsigned char>& row) {
        for (unsigned x = 0; x < width; ++x) {
            bool frame = (y == 100 || y == height - 100) || (x == 100 || x == width - 100);
            row[3 * x] = row[3 * x + 1] = row[3 * x + 2] = frame ? 0 : 255;
        }
    });
}

TEST_F(HostileInput, LargestPrinterPageAt300DpiIsPrinted)
{
    WriteFramedPage(RasterFile(), 3543, 6311, 300);
    FilterResult r = RunOnFile(WithCodes({{"OutputDPI", "300"}}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(ReadJob(r).graphics.size(), 1u);
    EXPECT_EQ(r.err, "Finish print operation.");
}

TEST_F(HostileInput, LargestRasterShrunkToThePrinterIsPrinted)
{
    WriteFramedPage(RasterFile(), 5592, 8000, 609);
    FilterResult r = RunOnFile(LabelPpdCodes());
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(ReadJob(r).graphics.size(), 1u);
    EXPECT_EQ(r.err, "Finish print operation.");
}

TEST_F(HostileInput, HeaderValuesBeyondTheirEnumsStillPrint)
{
    RasterPage page = Label();
    page.header.cupsColorOrder = static_cast<cups_order_t>(256);
    page.header.Orientation = static_cast<cups_orient_t>(77);
    page.header.Duplex = static_cast<cups_bool_t>(7);
    page.header.Collate = static_cast<cups_bool_t>(-5);
    FilterResult r = Run({page});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(ReadJob(r).graphics.size(), 1u);
    EXPECT_EQ(r.err, "Finish print operation.");
}
