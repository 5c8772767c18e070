// The application's page lines as the filter reads them: 8-bit grey pages
// widened to RGB, and the lines PAPPL 1.3 makes of grey PNG pictures
// mended (each pixel's own sample, raised to 0-255).
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "PageLines.h"
#include "PngFile.h"

namespace {

using kvapp::LineForm;
using Bytes = std::vector<unsigned char>;

// The start of a PNG of `depth` bits and colour type `type`.
std::string PngHead(unsigned depth, unsigned type)
{
    std::string png = kvtool::EncodeGreyPng(1, 1, {0});
    png[24] = static_cast<char>(depth);
    png[25] = static_cast<char>(type);
    return png.substr(0, 26);
}

Bytes Widen(const LineForm& form, const Bytes& line, size_t width)
{
    Bytes out(width * 3, 0x5a);
    kvapp::WidenLine(form, line.data(), out);
    return out;
}

TEST(PageLines, GreyPngOfEightOrSixteenBitsHasWhite255)
{
    EXPECT_EQ(kvapp::GreyPngWhite(kvtool::EncodeGreyPng(3, 2, Bytes(6, 0))), 255);
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(16, 0)), 255);
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(8, 4)), 255);
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(16, 4)), 255);
}

TEST(PageLines, GreyPngOfFewerBitsHasItsUnscaledWhite)
{
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(1, 0)), 1);
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(2, 0)), 3);
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(4, 0)), 15);
}

TEST(PageLines, ColourPalettesAndOtherFilesAreNotGreyPictures)
{
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(8, 2)), 0);  // RGB
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(1, 3)), 0);  // palette
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(8, 6)), 0);  // RGB and alpha
    EXPECT_EQ(kvapp::GreyPngWhite(PngHead(8, 0).substr(0, 25)), 0);
    EXPECT_EQ(kvapp::GreyPngWhite(std::string(26, '\0')), 0);
    EXPECT_EQ(kvapp::GreyPngWhite(""), 0);
}

TEST(PageLines, GreyPictureRgbLineTakesEachPixelsOwnSample)
{
    // Grey samples 0 0 255 255 as PAPPL 1.3 fills them: (g[x], g[x+1], g[x+2]).
    const LineForm form{LineForm::kRgb, 255};
    EXPECT_EQ(Widen(form, {0, 0, 255, 0, 255, 255, 255, 255, 0, 255, 0, 0}, 4),
              (Bytes{0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 255}));
}

TEST(PageLines, OneBitPictureSamplesAreRaisedToBlackAndWhite)
{
    const LineForm form{LineForm::kRgb, 1};
    EXPECT_EQ(Widen(form, {1, 1, 0, 1, 0, 0, 0, 0, 1}, 3), (Bytes{255, 255, 255, 255, 255, 255, 0, 0, 0}));
}

TEST(PageLines, TwoBitGreyPictureLinesAreRaisedToFourLevels)
{
    const LineForm form{LineForm::kGrey, 3};
    EXPECT_EQ(Widen(form, {0, 1, 2, 3}, 4), (Bytes{0, 0, 0, 85, 85, 85, 170, 170, 170, 255, 255, 255}));
}

TEST(PageLines, SamplesAboveThePicturesWhiteAreWhite)
{
    const LineForm form{LineForm::kGrey, 15};
    EXPECT_EQ(Widen(form, {16, 200}, 2), (Bytes{255, 255, 255, 255, 255, 255}));
}

TEST(PageLines, GreyLineIsWidenedLevelForLevel)
{
    const LineForm form{LineForm::kGrey, 0};
    EXPECT_EQ(Widen(form, {0, 17, 254}, 3), (Bytes{0, 0, 0, 17, 17, 17, 254, 254, 254}));
}

TEST(PageLines, InkLineIsWidenedAsGreyLevels)
{
    const LineForm form{LineForm::kInk, 0};
    EXPECT_EQ(Widen(form, {0, 17, 255}, 3), (Bytes{255, 255, 255, 238, 238, 238, 0, 0, 0}));
}

TEST(PageLines, RgbLineOfAnyOtherPageIsCopied)
{
    const LineForm form;
    EXPECT_TRUE(form.AsTheyCome());
    EXPECT_EQ(Widen(form, {1, 2, 3, 4, 5, 6}, 2), (Bytes{1, 2, 3, 4, 5, 6}));
}

cups_page_header2_t Header(unsigned bits, cups_cspace_t space)
{
    cups_page_header2_t h;
    memset(&h, 0, sizeof h);
    h.cupsWidth = 10;
    h.cupsBitsPerColor = 8;
    h.cupsBitsPerPixel = bits;
    h.cupsBytesPerLine = 10 * bits / 8;
    h.cupsColorSpace = space;
    h.cupsNumColors = bits / 8;
    return h;
}

TEST(PageLines, GreyPageHeaderBecomesTheRgbPageTheFilterReads)
{
    cups_page_header2_t h = Header(8, CUPS_CSPACE_SW);
    EXPECT_EQ(kvapp::WidenGreyHeader(h), LineForm::kGrey);
    EXPECT_EQ(h.cupsBitsPerPixel, 24u);
    EXPECT_EQ(h.cupsBytesPerLine, 30u);
    EXPECT_EQ(h.cupsColorSpace, CUPS_CSPACE_SRGB);
    EXPECT_EQ(h.cupsNumColors, 3u);
}

TEST(PageLines, BlackPageHeaderIsReadAsInk)
{
    cups_page_header2_t h = Header(8, CUPS_CSPACE_K);
    EXPECT_EQ(kvapp::WidenGreyHeader(h), LineForm::kInk);
    EXPECT_EQ(h.cupsBitsPerPixel, 24u);
}

TEST(PageLines, RgbPageHeaderIsLeftAsItIs)
{
    cups_page_header2_t h = Header(24, CUPS_CSPACE_SRGB);
    const cups_page_header2_t before = h;
    EXPECT_EQ(kvapp::WidenGreyHeader(h), LineForm::kRgb);
    EXPECT_EQ(memcmp(&h, &before, sizeof h), 0);
}

}  // namespace
