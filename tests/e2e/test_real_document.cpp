// End-to-end facts about a real document: a PostScript label (text, a
// barcode drawn as bars, grey blocks) rasterized by the spooler's own
// rasterizer ("cupsfilter", without a running scheduler) into 24-bit RGB
// raster, printed by the filter and read back from its graphic block.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "PpdWriter.h"
#include "PrintJob.h"
#include "RasterReader.h"
#include "TempDir.h"
#include "TestFiles.h"

using namespace kvtest;

namespace {

// A PPD for the rasterizer: a 4 x 6 inch page at 203 or 300 dpi as 24-bit
// chunked RGB (colour space 1, 8 bits per colour), no printer filter after
// the raster.
const char* const kRasterPpd =
    "*PPD-Adobe: \"4.3\"\n"
    "*FormatVersion: \"4.3\"\n"
    "*FileVersion: \"1.0\"\n"
    "*LanguageVersion: English\n"
    "*LanguageEncoding: ISOLatin1\n"
    "*PCFileName: \"KVRAST.PPD\"\n"
    "*Manufacturer: \"Test\"\n"
    "*Product: \"(Raster Test)\"\n"
    "*ModelName: \"Raster Test\"\n"
    "*ShortNickName: \"Raster Test\"\n"
    "*NickName: \"Raster Test\"\n"
    "*PSVersion: \"(3010.000) 0\"\n"
    "*LanguageLevel: \"3\"\n"
    "*ColorDevice: True\n"
    "*DefaultColorSpace: RGB\n"
    "*FileSystem: False\n"
    "*cupsVersion: 2.4\n"
    "*cupsFilter: \"application/vnd.cups-raster 0 -\"\n"
    "*OpenUI *PageSize/Media Size: PickOne\n"
    "*OrderDependency: 10 AnySetup *PageSize\n"
    "*DefaultPageSize: w288h432\n"
    "*PageSize w288h432/4x6in: \"<</PageSize[288 432]/ImagingBBox null>>setpagedevice\"\n"
    "*CloseUI: *PageSize\n"
    "*DefaultImageableArea: w288h432\n"
    "*ImageableArea w288h432/4x6in: \"0 0 288 432\"\n"
    "*DefaultPaperDimension: w288h432\n"
    "*PaperDimension w288h432/4x6in: \"288 432\"\n"
    "*OpenUI *ColorModel/Color Mode: PickOne\n"
    "*OrderDependency: 10 AnySetup *ColorModel\n"
    "*DefaultColorModel: RGB\n"
    "*ColorModel RGB/Colour: \"<</cupsColorSpace 1/cupsColorOrder 0/cupsBitsPerColor 8>>setpagedevice\"\n"
    "*CloseUI: *ColorModel\n"
    "*OpenUI *Resolution/Resolution: PickOne\n"
    "*OrderDependency: 10 AnySetup *Resolution\n"
    "*DefaultResolution: 203dpi\n"
    "*Resolution 203dpi/203 dpi: \"<</HWResolution[203 203]>>setpagedevice\"\n"
    "*Resolution 300dpi/300 dpi: \"<</HWResolution[300 300]>>setpagedevice\"\n"
    "*CloseUI: *Resolution\n";

constexpr double kPointsPerInch = 72.0;
// The page: 4 x 6 inches.
constexpr unsigned kPageWidthPt = 288;
constexpr unsigned kPageHeightPt = 432;
// The barcode: widths of bars and spaces in modules, alternating and
// starting with a bar, laid out like a Code 128 symbol (the start B
// character, four six-element characters and the seven-element stop), 0.96
// pt to the module (4 pixels at 300 dpi). It stands alone across its rows so
// that a row through it crosses nothing else.
const std::vector<int> kBarcodeModules{2, 1, 1, 2, 1, 4, 1, 3, 1, 1, 2, 3, 2, 2, 1, 2, 3, 1, 1,
                                       1, 3, 2, 2, 2, 1, 4, 1, 1, 2, 2, 2, 3, 3, 1, 1, 1, 2};
constexpr double kModulePt = 0.96;
constexpr unsigned kSourceDpi = 300;
constexpr unsigned kOutputDpi = 203;
constexpr double kBarcodeXPt = 24;
constexpr double kBarcodeYPt = 150;
constexpr double kBarcodeHeightPt = 80;
// How far a row's run span may be from the symbol's width and still be taken
// as a row through the barcode.
constexpr double kSpanSlackDots = 3;
// Threshold of the fixed halftone: below it is black.
constexpr int kThreshold = 129;
// Channels at or above this are near-white, left out of the crop box.
constexpr int kNearWhite = 250;

// The label in PostScript: a title, a barcode, a dark and a light grey
// block.
std::string LabelPostScript()
{
    std::ostringstream ps;
    ps << "%!PS-Adobe-3.0\n%%BoundingBox: 0 0 " << kPageWidthPt << " " << kPageHeightPt << "\n"
       << "%%Pages: 1\n%%EndComments\n%%Page: 1 1\n"
       << "0 setgray /Helvetica-Bold findfont 28 scalefont setfont 24 370 moveto (KV LABEL 42) show\n"
       << "/Helvetica findfont 14 scalefont setfont 24 340 moveto (4 x 6 in, 203 dpi) show\n";
    double x = kBarcodeXPt;
    for (size_t i = 0; i < kBarcodeModules.size(); ++i) {
        const double width = kBarcodeModules[i] * kModulePt;
        if (i % 2 == 0)
            ps << x << " " << kBarcodeYPt << " " << width << " " << kBarcodeHeightPt << " rectfill\n";
        x += width;
    }
    ps << "0.3 setgray 24 60 110 50 rectfill\n"
       << "0.7 setgray 150 60 110 50 rectfill\n"
       << "showpage\n%%EOF\n";
    return ps.str();
}

// The rasterizer, from the cups package.
std::string CupsFilterPath()
{
    for (const char* path : {"/usr/sbin/cupsfilter", "/usr/bin/cupsfilter"})
        if (FileExists(path))
            return path;
    return "";
}

// The rasters of the label at 203 and 300 dpi, made once for all tests.
class RealDocument : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_dir = new TempDir;
        WriteFile(s_dir->File("raster.ppd"), kRasterPpd);
        WriteFile(s_dir->File("label.ps"), LabelPostScript());
        s_raster203 = Rasterize("203dpi");
        s_raster300 = Rasterize("300dpi");
    }
    static void TearDownTestSuite()
    {
        delete s_dir;
        s_dir = nullptr;
    }

    // Runs the rasterizer without a scheduler; returns the raster's path,
    // empty when it failed (its messages are kept beside it).
    static std::string Rasterize(const std::string& resolution)
    {
        const std::string tool = CupsFilterPath();
        if (tool.empty())
            return "";
        const std::string out = s_dir->File("label-" + resolution + ".ras");
        const std::string command = tool + " -p " + s_dir->File("raster.ppd") +
                                    " -m application/vnd.cups-raster -e -o Resolution=" + resolution + " " +
                                    s_dir->File("label.ps") + " >" + out + " 2>" + out + ".log";
        return system(command.c_str()) == 0 ? out : "";
    }

    // Prints `raster` with the label PPD, by default in print mode 1 with
    // fixed thresholding (`codes` added or replacing).
    static PrintedJob Print(const std::string& raster, std::map<std::string, std::string> codes = {})
    {
        codes.emplace("PrintMode", "1");
        codes.emplace("Halftone", "1");
        TempDir dir;
        const std::string ppd = LabelPpd(WithCodes(codes)).WriteTo(dir.File("label.ppd"));
        return ReadJob(RunFilter(FilterArgs("", "label", raster), ppd));
    }

    static TempDir* s_dir;
    static std::string s_raster203;
    static std::string s_raster300;
};

TempDir* RealDocument::s_dir = nullptr;
std::string RealDocument::s_raster203;
std::string RealDocument::s_raster300;

// The grey value the filter computes for an RGB pixel.
int Grey(const unsigned char* rgb)
{
    return (11 * rgb[0] + 16 * rgb[1] + 5 * rgb[2]) >> 5;
}

bool NearWhite(const unsigned char* rgb)
{
    return rgb[0] >= kNearWhite && rgb[1] >= kNearWhite && rgb[2] >= kNearWhite;
}

// The crop box of a page: ink columns widened to whole bytes, ink rows.
struct CropBox {
    unsigned left = 0, top = 0, width = 0, height = 0;
};

CropBox InkBox(const RasterPage& page)
{
    unsigned minX = ~0u, maxX = 0, minY = ~0u, maxY = 0;
    for (unsigned y = 0; y < page.rows.size(); ++y)
        for (unsigned x = 0; x < page.header.cupsWidth; ++x)
            if (!NearWhite(&page.rows[y][3 * x])) {
                minX = std::min(minX, x);
                maxX = std::max(maxX, x);
                minY = std::min(minY, y);
                maxY = std::max(maxY, y);
            }
    CropBox box;
    if (minX > maxX)
        return box;
    box.left = minX / 8 * 8;
    box.width = (maxX - box.left + 1 + 7) / 8 * 8;
    box.top = minY;
    box.height = maxY - minY + 1;
    return box;
}

// The page thresholded inside the box, packed like the filter's output.
Bitmap1 ThresholdedBox(const RasterPage& page, const CropBox& box)
{
    Bitmap1 image;
    image.rowBytes = box.width / 8;
    image.rows = box.height;
    image.bytes.assign(image.rowBytes * image.rows, 0xFF);
    for (unsigned r = 0; r < box.height; ++r)
        for (unsigned c = 0; c < box.width; ++c) {
            const unsigned x = box.left + c;
            if (x >= page.header.cupsWidth)
                continue;
            const unsigned char* rgb = &page.rows[box.top + r][3 * x];
            if (!NearWhite(rgb) && Grey(rgb) < kThreshold)
                image.bytes[r * image.rowBytes + c / 8] &= static_cast<uint8_t>(~(0x80u >> (c % 8)));
        }
    return image;
}

// Widths of the alternating black and white runs of row `y`, from the
// first black pixel to the last.
std::vector<int> Runs(const Bitmap1& image, size_t y)
{
    std::vector<int> runs;
    size_t x = 0;
    while (x < image.Width() && image.White(x, y))
        ++x;
    while (x < image.Width()) {
        const bool white = image.White(x, y);
        int n = 0;
        while (x < image.Width() && image.White(x, y) == white) {
            ++x;
            ++n;
        }
        runs.push_back(n);
    }
    if (runs.size() % 2 == 0 && !runs.empty())
        runs.pop_back();  // the white after the last bar
    return runs;
}

// True when `runs` cross the barcode at `dpi`: one run per bar and space,
// spanning the symbol's width (text rows may have as many runs, but wider).
bool CrossesBarcode(const std::vector<int>& runs, unsigned dpi)
{
    int modules = 0;
    for (int m : kBarcodeModules)
        modules += m;
    int span = 0;
    for (int run : runs)
        span += run;
    const double idealSpan = modules * kModulePt * dpi / kPointsPerInch;
    return runs.size() == kBarcodeModules.size() && std::abs(span - idealSpan) <= kSpanSlackDots;
}

// The runs of the middle row of those that cross the barcode; empty when no
// row does.
std::vector<int> BarcodeRuns(const Bitmap1& image, unsigned dpi)
{
    std::vector<size_t> crossing;
    for (size_t y = 0; y < image.rows; ++y)
        if (CrossesBarcode(Runs(image, y), dpi))
            crossing.push_back(y);
    return crossing.empty() ? std::vector<int>() : Runs(image, crossing[crossing.size() / 2]);
}

}  // namespace

TEST_F(RealDocument, RasterizerRunsWithoutAScheduler)
{
    ASSERT_NE(CupsFilterPath(), "") << "cupsfilter is missing: tools/install-deps.sh installs cups";
    EXPECT_NE(s_raster203, "") << ReadFile(s_dir->File("label-203dpi.ras.log"));
    EXPECT_NE(s_raster300, "") << ReadFile(s_dir->File("label-300dpi.ras.log"));
}

TEST_F(RealDocument, RasterIsOne24BitRgbPageAt203Dpi)
{
    std::vector<RasterPage> pages = ReadRaster(s_raster203);
    ASSERT_EQ(pages.size(), 1u);
    const cups_page_header2_t& h = pages[0].header;
    EXPECT_EQ(h.HWResolution[0], 203u);
    EXPECT_EQ(h.HWResolution[1], 203u);
    EXPECT_EQ(h.cupsWidth, 812u);
    EXPECT_EQ(h.cupsHeight, 1218u);
    EXPECT_EQ(h.cupsBitsPerColor, 8u);
    EXPECT_EQ(h.cupsBitsPerPixel, 24u);
    EXPECT_EQ(h.cupsColorSpace, CUPS_CSPACE_RGB);
    EXPECT_EQ(h.cupsColorOrder, CUPS_ORDER_CHUNKED);
    EXPECT_EQ(pages[0].rows.size(), 1218u);
}

TEST_F(RealDocument, LabelIsSentAsItsCropBoxAtEqualResolutions)
{
    std::vector<RasterPage> pages = ReadRaster(s_raster203);
    ASSERT_EQ(pages.size(), 1u);
    const CropBox box = InkBox(pages[0]);
    ASSERT_GT(box.height, 1u);
    PrintedJob job = Print(s_raster203);
    EXPECT_EQ(job.result.status, 0);
    EXPECT_EQ(job.stream.error, "");
    const std::string gw = "GW" + std::to_string(box.left) + ",0," + std::to_string(box.width / 8) + "," +
                           std::to_string(box.height) + ",";
    EXPECT_EQ(job.lines,
              Join({{"N", "I8,E", "WN", "ZB", "S4", "D10", "O", "JF"},
                    {"q" + std::to_string(box.width), "Q" + std::to_string(box.height) + ",0", "N", gw, "P1"}}));
}

TEST_F(RealDocument, LabelEqualsTheThresholdedRasterPixelForPixel)
{
    std::vector<RasterPage> pages = ReadRaster(s_raster203);
    ASSERT_EQ(pages.size(), 1u);
    PrintedJob job = Print(s_raster203);
    ASSERT_EQ(job.graphics.size(), 1u);
    const CropBox box = InkBox(pages[0]);
    const Bitmap1 expected = ThresholdedBox(pages[0], box);
    const Bitmap1 printed = DecodeGw(job.graphics[0]);
    ASSERT_EQ(printed.rowBytes, expected.rowBytes);
    ASSERT_EQ(printed.rows, expected.rows);
    size_t differing = 0;
    for (size_t y = 0; y < expected.rows; ++y)
        for (size_t x = 0; x < expected.Width(); ++x)
            if (printed.White(x, y) != expected.White(x, y) && differing++ == 0)
                ADD_FAILURE() << "first differing pixel at (" << x << ", " << y << ")";
    EXPECT_EQ(differing, 0u);
}

TEST_F(RealDocument, PrintModeZeroLosesOnlyTheLabelsLastColumnAndRow)
{
    std::vector<RasterPage> pages = ReadRaster(s_raster203);
    ASSERT_EQ(pages.size(), 1u);
    PrintedJob job = Print(s_raster203, {{"PrintMode", "0"}});
    ASSERT_EQ(job.graphics.size(), 1u);
    const CropBox box = InkBox(pages[0]);
    EXPECT_EQ(job.graphics[0].rows, static_cast<long>(box.height) - 1);
    Bitmap1 expected = ThresholdedBox(pages[0], box);
    for (size_t y = 0; y < expected.rows; ++y)
        for (size_t x = 0; x < expected.Width(); ++x)
            if (y + 1 == expected.rows || x + 1 == expected.Width())
                expected.bytes[y * expected.rowBytes + x / 8] |= static_cast<uint8_t>(0x80u >> (x % 8));
    const Bitmap1 printed = DecodeGw(job.graphics[0], box.width / 8);
    ASSERT_EQ(printed.rows, expected.rows);
    EXPECT_TRUE(printed.bytes == expected.bytes);
}

TEST_F(RealDocument, LabelHasBlackTextBarsAndGreyBlocks)
{
    // The thresholded label is neither blank nor solid: ink covers some of
    // the box, not most of it.
    PrintedJob job = Print(s_raster203);
    ASSERT_EQ(job.graphics.size(), 1u);
    const Bitmap1 printed = DecodeGw(job.graphics[0]);
    size_t black = 0;
    for (size_t y = 0; y < printed.rows; ++y)
        for (size_t x = 0; x < printed.Width(); ++x)
            black += printed.White(x, y) ? 0 : 1;
    const size_t all = printed.rows * printed.Width();
    EXPECT_GT(black, all / 20);
    EXPECT_LT(black, all / 2);
}

TEST_F(RealDocument, BarcodeKeepsItsBarsAndWidthsFrom300To203Dpi)
{
    std::vector<RasterPage> pages = ReadRaster(s_raster300);
    ASSERT_EQ(pages.size(), 1u);
    ASSERT_EQ(pages[0].header.HWResolution[0], kSourceDpi);
    // The bars and spaces as the rasterizer drew them, thresholded as the
    // filter thresholds, and the whole dots they should take at 203 dpi.
    const std::vector<int> source = BarcodeRuns(ThresholdedBox(pages[0], InkBox(pages[0])), kSourceDpi);
    ASSERT_EQ(source.size(), kBarcodeModules.size());
    std::vector<int> target;
    for (int run : source)
        target.push_back(static_cast<int>(std::lround(run * double(kOutputDpi) / kSourceDpi)));

    PrintedJob job = Print(s_raster300);
    ASSERT_EQ(job.graphics.size(), 1u);
    const Bitmap1 printed = DecodeGw(job.graphics[0]);
    size_t rowsCrossing = 0;
    for (size_t y = 0; y < printed.rows; ++y) {
        std::vector<int> runs = Runs(printed, y);
        if (!CrossesBarcode(runs, kOutputDpi))
            continue;
        ++rowsCrossing;
        for (size_t i = 0; i < runs.size(); ++i)
            EXPECT_LE(std::abs(runs[i] - target[i]), 1) << "row " << y << ", run " << i;
    }
    // 80 pt of bars are 225 rows at 203 dpi.
    EXPECT_GE(rowsCrossing, 220u);
}
