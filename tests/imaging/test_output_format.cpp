// Tests of the conversion to oriented, cropped 8-bit grey, the 1-bit
// expansion and the path cutting.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "BmpProcessing.h"
#include "ImageTestSupport.h"
#include "RectAssert.h"

using kvtest::Header;
using kvtest::Owned;
using kvtest::RectIs;
using kvtest::Stride;

namespace {

// Outcome of one conversion into a buffer the operation allocates.
struct Converted {
    int status = 0;
    tagBITMAPINFOHEADER header{};
    tagRECT rect{};
    std::vector<uint8_t> pixels;
    unsigned int capacity = 0;
};

Converted Convert(CBmpProcessing& p, const std::vector<uint8_t>& src, int32_t w, int32_t h, uint16_t bits,
                  int orientation, int maxWidth, short crop, int brightness = 0, int contrast = 0)
{
    Converted c;
    c.header = Header(w, h, bits);
    unsigned char* out = nullptr;
    c.status = p.CoverBMP2OutputFormat(src.data(), static_cast<unsigned int>(src.size()), &out, &c.capacity, &c.header,
                                       &c.rect, orientation, 0, 0, COLORLEVELSITEM{1.0f, 0, 255, 0, 255}, false,
                                       brightness, contrast, maxWidth, crop);
    Owned owned(out);
    if (out != nullptr) {
        c.pixels.assign(out, out + c.capacity);
    }
    return c;
}

Converted Convert(const std::vector<uint8_t>& src, int32_t w, int32_t h, uint16_t bits, int orientation, int maxWidth,
                  short crop)
{
    CBmpProcessing p;
    return Convert(p, src, w, h, bits, orientation, maxWidth, crop);
}

// One 24-bit pixel (blue, green, red bytes) padded to a 4-byte row.
std::vector<uint8_t> Pixel24(uint8_t red, uint8_t green, uint8_t blue)
{
    return {blue, green, red, 0};
}

// A row of eight output bytes, white but for `first` at the start.
std::vector<uint8_t> Row8(std::vector<uint8_t> first)
{
    first.resize(8, 255);
    return first;
}

// The 3 x 2 8-bit image 10 20 30 / 40 50 60 (white padding).
std::vector<uint8_t> SmallImage()
{
    return {10, 20, 30, 255, 40, 50, 60, 255};
}

// Concatenates rows.
std::vector<uint8_t> Rows(std::initializer_list<std::vector<uint8_t>> rows)
{
    std::vector<uint8_t> out;
    for (const auto& r : rows) {
        out.insert(out.end(), r.begin(), r.end());
    }
    return out;
}

// An in-memory 1-bit bitmap: header, palette (red components 3 and 6),
// a 4-byte gap, then the pixel rows.
std::vector<uint8_t> OneBitBitmap(int32_t w, int32_t h, const std::vector<uint8_t>& rows, uint16_t bits = 1)
{
    tagBITMAPINFOHEADER hdr = Header(w, h, bits);
    hdr.biSizeImage = static_cast<uint32_t>(rows.size());
    const uint8_t palette[8] = {1, 2, 3, 0, 4, 5, 6, 0};
    const size_t gap = 4;
    std::vector<uint8_t> bmp(sizeof hdr + sizeof palette + gap + rows.size(), 0xEE);
    std::memcpy(bmp.data(), &hdr, sizeof hdr);
    std::memcpy(bmp.data() + sizeof hdr, palette, sizeof palette);
    std::memcpy(bmp.data() + sizeof hdr + sizeof palette + gap, rows.data(), rows.size());
    return bmp;
}

std::wstring Cut(std::wstring path, bool drop)
{
    std::vector<wchar_t> buf(path.begin(), path.end());
    buf.push_back(L'\0');
    CBmpProcessing().TakeOffExtName(buf.data(), drop);
    return std::wstring(buf.data());
}

}  // namespace

TEST(CoverBMP2OutputFormat, AllWhitePageWithCropWhiteGivesTheEmptyResult)
{
    CBmpProcessing p;
    const std::vector<uint8_t> page(100 * 50, 255);
    tagBITMAPINFOHEADER h = Header(100, 50, 8);
    tagRECT rect{1, 2, 3, 4};
    unsigned char buf[10];
    std::memset(buf, 7, sizeof buf);
    unsigned char* out = buf;
    unsigned int cap = 10;
    EXPECT_EQ(p.CoverBMP2OutputFormat(page.data(), 5000, &out, &cap, &h, &rect, 3, 0, 0,
                                      COLORLEVELSITEM{1.0f, 0, 255, 0, 255}, false, 0, 0, 100, 1),
              1);
    EXPECT_TRUE(RectIs(rect, 0, 0, 0, 0));
    EXPECT_EQ(h.biWidth, 0);
    EXPECT_EQ(h.biHeight, 0);
    EXPECT_EQ(h.biSizeImage, 0u);
    EXPECT_EQ(h.biBitCount, 8);
    EXPECT_EQ(out, buf);
    EXPECT_EQ(cap, 10u);
    EXPECT_EQ(std::vector<uint8_t>(buf, buf + 10), std::vector<uint8_t>(10, 7));
}

TEST(CoverBMP2OutputFormat, SingleDarkPixelAt10And5KeepsAnEightPixelBoxOneRowHigh)
{
    std::vector<uint8_t> page(100 * 50, 255);
    page[5 * 100 + 10] = 0;
    const Converted c = Convert(page, 100, 50, 8, 3, 100, 1);
    EXPECT_EQ(c.status, 1);
    EXPECT_TRUE(RectIs(c.rect, 8, 5, 15, 5));
    EXPECT_EQ(c.header.biWidth, 8);
    EXPECT_EQ(c.header.biHeight, 1);
    EXPECT_EQ(c.header.biSizeImage, 8u);
    EXPECT_EQ(c.pixels, Row8({255, 255, 0}));
}

TEST(CoverBMP2OutputFormat, PureGrey24BitPixel100GivesGrey100)
{
    const Converted c = Convert(Pixel24(100, 100, 100), 1, 1, 24, 3, 100, 1);
    EXPECT_EQ(c.pixels, Row8({100}));
}

TEST(CoverBMP2OutputFormat, Blue250Green250Red249IsNotNearWhiteAndGives249)
{
    const Converted c = Convert(Pixel24(249, 250, 250), 1, 1, 24, 3, 100, 1);
    EXPECT_TRUE(RectIs(c.rect, 0, 0, 7, 0));
    EXPECT_EQ(c.pixels, Row8({249}));
}

TEST(CoverBMP2OutputFormat, MaximumWidthCapDropsColumnsAtOrBeyondTheCap)
{
    std::vector<uint8_t> page(20, 255);
    page[3] = 7;
    page[10] = 8;
    page[12] = 9;
    const Converted c = Convert(page, 20, 1, 8, 3, 10, 1);
    EXPECT_TRUE(RectIs(c.rect, 0, 0, 7, 0));
    EXPECT_EQ(c.pixels, Row8({255, 255, 255, 7}));
}

TEST(CoverBMP2OutputFormat, NearWhiteWithoutCropWhiteWidensTheBoxToTheWholeImage)
{
    const std::vector<uint8_t> page(20 * 3, 252);
    const Converted c = Convert(page, 20, 3, 8, 3, 100, 0);
    EXPECT_TRUE(RectIs(c.rect, 0, 0, 23, 2));
    EXPECT_EQ(c.pixels, std::vector<uint8_t>(24 * 3, 255));
}

TEST(CoverBMP2OutputFormat, OrientationOtherThanZeroToTwoKeepsThePage)
{
    const std::vector<uint8_t> want = Rows({Row8({10, 20, 30}), Row8({40, 50, 60})});
    EXPECT_EQ(Convert(SmallImage(), 3, 2, 8, 3, 100, 1).pixels, want);
    EXPECT_EQ(Convert(SmallImage(), 3, 2, 8, 7, 100, 1).pixels, want);
}

TEST(CoverBMP2OutputFormat, OrientationZeroSendsSourceColumnsToRowsFromTheRight)
{
    const Converted c = Convert(SmallImage(), 3, 2, 8, 0, 100, 1);
    EXPECT_TRUE(RectIs(c.rect, 0, 0, 7, 2));
    EXPECT_EQ(c.pixels, Rows({Row8({30, 60}), Row8({20, 50}), Row8({10, 40})}));
}

TEST(CoverBMP2OutputFormat, OrientationOneTurnsThePageHalfway)
{
    const Converted c = Convert(SmallImage(), 3, 2, 8, 1, 100, 1);
    EXPECT_EQ(c.pixels, Rows({Row8({60, 50, 40}), Row8({30, 20, 10})}));
}

TEST(CoverBMP2OutputFormat, OrientationTwoSendsSourceColumnsToRowsFromTheBottom)
{
    const Converted c = Convert(SmallImage(), 3, 2, 8, 2, 100, 1);
    EXPECT_EQ(c.pixels, Rows({Row8({40, 10}), Row8({50, 20}), Row8({60, 30})}));
}

TEST(CoverBMP2OutputFormat, CropBoxesAreWidenedToWholeBytesOfEight)
{
    kvtest::RandomImages rnd(5);
    for (int round = 0; round < 40; ++round) {
        const int32_t w = rnd.Int(1, 70), h = rnd.Int(1, 9);
        const uint32_t stride = Stride(8, w);
        std::vector<uint8_t> page(stride * h, 255);
        int32_t minX = w, maxX = -1, minY = h, maxY = -1;
        for (int n = rnd.Int(1, 4); n > 0; --n) {
            const int32_t x = rnd.Int(0, w - 1), y = rnd.Int(0, h - 1);
            page[y * stride + x] = rnd.Byte(0, 249);
            minX = std::min(minX, x);
            maxX = std::max(maxX, x);
            minY = std::min(minY, y);
            maxY = std::max(maxY, y);
        }
        const Converted c = Convert(page, w, h, 8, 3, 1000, 1);
        const int32_t left = minX / 8 * 8;
        const int32_t width = (maxX - left + 1 + 7) / 8 * 8;
        EXPECT_TRUE(RectIs(c.rect, left, minY, left + width - 1, maxY));
        EXPECT_EQ(c.header.biWidth % 8, 0);
    }
}

TEST(CoverBMP2OutputFormat, LevelsTableOfChannelZeroAppliesToEveryChannel)
{
    CBmpProcessing p;
    const COLORLEVELSITEM gamma2{2.0f, 0, 255, 0, 255};
    p.SetColorLevelsData(&gamma2, 0);
    EXPECT_EQ(Convert(p, Pixel24(128, 128, 128), 1, 1, 24, 3, 100, 1).pixels, Row8({64}));
}

TEST(CoverBMP2OutputFormat, MappedChannelsAllAt250OrAboveBecomeWhite)
{
    // Output range 250..255 maps 100 to 252, which the step snaps to 255.
    CBmpProcessing p;
    const COLORLEVELSITEM range{1.0f, 0, 255, 250, 255};
    p.SetColorLevelsData(&range, 0);
    const Converted c = Convert(p, Pixel24(100, 100, 100), 1, 1, 24, 3, 100, 1);
    EXPECT_TRUE(RectIs(c.rect, 0, 0, 7, 0));
    EXPECT_EQ(c.pixels, Row8({255}));
}

TEST(CoverBMP2OutputFormat, LightTableAppliesWhenBrightnessOrContrastIsNonZero)
{
    // The values only switch the table on: the table set earlier applies.
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    EXPECT_EQ(Convert(p, Pixel24(100, 100, 100), 1, 1, 24, 3, 100, 1, 0, 5).pixels, Row8({120}));
    EXPECT_EQ(Convert(p, std::vector<uint8_t>{100, 0, 0, 0}, 1, 1, 8, 3, 100, 1, 3, 0).pixels, Row8({120}));
}

TEST(CoverBMP2OutputFormat, LightTableIsNotAppliedWithZeroBrightnessAndContrast)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    EXPECT_EQ(Convert(p, Pixel24(100, 100, 100), 1, 1, 24, 3, 100, 1, 0, 0).pixels, Row8({100}));
}

TEST(CoverBMP2OutputFormat, LightStepKeepsPureBlack)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    EXPECT_EQ(Convert(p, Pixel24(0, 0, 0), 1, 1, 24, 3, 100, 1, 20, 0).pixels, Row8({0}));
}

TEST(CoverBMP2OutputFormat, OtherDepthsReadEveryPixelAsBlack)
{
    const std::vector<uint8_t> page(8, 200);  // 2 x 1 at 32 bits
    const Converted c = Convert(page, 2, 1, 32, 3, 100, 1);
    EXPECT_TRUE(RectIs(c.rect, 0, 0, 7, 0));
    EXPECT_EQ(c.pixels, Row8({0, 0}));
}

TEST(CoverBMP2OutputFormat, TooSmallGivenBufferIsRefusedAfterTheHeaderIsUpdated)
{
    CBmpProcessing p;
    const std::vector<uint8_t> page = {0, 255, 255, 255};
    tagBITMAPINFOHEADER h = Header(1, 1, 8);
    tagRECT rect{};
    unsigned char buf[4] = {7, 7, 7, 7};
    unsigned char* out = buf;
    unsigned int cap = 4;
    EXPECT_EQ(p.CoverBMP2OutputFormat(page.data(), 4, &out, &cap, &h, &rect, 3, 0, 0,
                                      COLORLEVELSITEM{1.0f, 0, 255, 0, 255}, false, 0, 0, 100, 1),
              0);
    EXPECT_EQ(h.biWidth, 8);
    EXPECT_EQ(h.biHeight, 1);
    EXPECT_TRUE(RectIs(rect, 0, 0, 7, 0));
    EXPECT_EQ(buf[0], 7);
    EXPECT_EQ(cap, 4u);
}

TEST(CoverBMP2OutputFormat, FreshOutputIsAllocatedAndItsSizeStoredAsCapacity)
{
    const Converted c = Convert(SmallImage(), 3, 2, 8, 3, 100, 1);
    EXPECT_EQ(c.capacity, 16u);
    EXPECT_EQ(c.header.biSizeImage, 16u);
}

TEST(CoverBMP2OutputFormat, SourceSmallerThanThePageIsRefused)
{
    CBmpProcessing p;
    const std::vector<uint8_t> page(7, 0);
    tagBITMAPINFOHEADER h = Header(3, 2, 8);
    tagRECT rect{};
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    EXPECT_EQ(p.CoverBMP2OutputFormat(page.data(), 7, &out, &cap, &h, &rect, 3, 0, 0,
                                      COLORLEVELSITEM{1.0f, 0, 255, 0, 255}, false, 0, 0, 100, 1),
              0);
    EXPECT_EQ(out, nullptr);
}

TEST(CoverBMP2OutputFormat, ZeroMaximumWidthKeepsNothing)
{
    const Converted c = Convert(SmallImage(), 3, 2, 8, 3, 0, 1);
    EXPECT_EQ(c.status, 1);
    EXPECT_TRUE(RectIs(c.rect, 0, 0, 0, 0));
    EXPECT_EQ(c.header.biWidth, 0);
    EXPECT_TRUE(c.pixels.empty());
}

TEST(CoverBMP2OutputFormat, CopyPastARowEndContinuesIntoTheNextRowAndPastTheImageReadsWhite)
{
    // 14 x 2 page capped at 10 columns (work stride 12). The pixel at
    // column 13 is beyond the cap: it widens no column, but its linear
    // index lands on column 1 of the next work row, where a near-white
    // pixel is skipped. The kept box is columns 8..15, so each output row
    // reads 4 bytes past its work row: the next row's first bytes, and
    // after the last row the spare white bytes.
    std::vector<uint8_t> page(16 * 2, 255);
    page[13] = 40;
    page[9] = 30;
    page[16 + 9] = 20;
    const Converted c = Convert(page, 14, 2, 8, 3, 10, 1);
    EXPECT_TRUE(RectIs(c.rect, 8, 0, 15, 1));
    EXPECT_EQ(c.pixels, Rows({{255, 30, 255, 255, 255, 40, 255, 255}, Row8({255, 20})}));
}

TEST(ConvertTo8BppBMP, ExpandsEachBitToTheRedComponentOfItsPaletteEntry)
{
    const std::vector<uint8_t> bmp = OneBitBitmap(10, 2, {0xA0, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00});
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    EXPECT_EQ(CBmpProcessing().ConvertTo8BppBMP(bmp.data(), static_cast<unsigned int>(bmp.size()), &out, &cap), 1);
    Owned owned(out);
    ASSERT_EQ(cap, 20u);  // 10 x 2, no row padding
    EXPECT_EQ(std::vector<uint8_t>(out, out + 20),
              (std::vector<uint8_t>{6, 3, 6, 3, 3, 3, 3, 3, 6, 6, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3}));
}

TEST(ConvertTo8BppBMP, RefusesAnEightBitBitmap)
{
    const std::vector<uint8_t> bmp = OneBitBitmap(4, 1, {0, 0, 0, 0}, 8);
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    EXPECT_EQ(CBmpProcessing().ConvertTo8BppBMP(bmp.data(), static_cast<unsigned int>(bmp.size()), &out, &cap), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(ConvertTo8BppBMP, RefusesAGivenBufferBelowWidthTimesHeight)
{
    const std::vector<uint8_t> bmp = OneBitBitmap(10, 2, std::vector<uint8_t>(8, 0));
    unsigned char buf[19];
    unsigned char* out = buf;
    unsigned int cap = 19;
    EXPECT_EQ(CBmpProcessing().ConvertTo8BppBMP(bmp.data(), static_cast<unsigned int>(bmp.size()), &out, &cap), 0);
}

TEST(ConvertTo8BppBMP, RefusesMissingPointers)
{
    const std::vector<uint8_t> bmp = OneBitBitmap(10, 2, std::vector<uint8_t>(8, 0));
    unsigned int cap = 0;
    unsigned char* out = nullptr;
    EXPECT_EQ(CBmpProcessing().ConvertTo8BppBMP(nullptr, 60, &out, &cap), 0);
    EXPECT_EQ(CBmpProcessing().ConvertTo8BppBMP(bmp.data(), 60, nullptr, &cap), 0);
}

TEST(ConvertTo8BppBMP, RefusesPixelDataShorterThanItsRows)
{
    const std::vector<uint8_t> bmp = OneBitBitmap(10, 2, std::vector<uint8_t>(4, 0));
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    EXPECT_EQ(CBmpProcessing().ConvertTo8BppBMP(bmp.data(), static_cast<unsigned int>(bmp.size()), &out, &cap), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(TakeOffExtName, RemovesTheFileNameAndKeepsTheSeparator)
{
    EXPECT_EQ(Cut(L"tmp/a/b.bmp", false), L"tmp/a/");
}

TEST(TakeOffExtName, DropSeparatorRemovesTheSeparatorToo)
{
    EXPECT_EQ(Cut(L"tmp/a/b.bmp", true), L"tmp/a");
}

TEST(TakeOffExtName, PathWithoutSeparatorBecomesEmpty)
{
    EXPECT_EQ(Cut(L"b.bmp", false), L"");
    EXPECT_EQ(Cut(L"b.bmp", true), L"");
}

TEST(TakeOffExtName, TrailingSeparatorIsKeptUnlessDropped)
{
    EXPECT_EQ(Cut(L"tmp/a/", false), L"tmp/a/");
    EXPECT_EQ(Cut(L"tmp/a/", true), L"tmp/a");
}

TEST(TakeOffExtName, BackslashSeparatesComponentsToo)
{
    EXPECT_EQ(Cut(L"c:\\dir\\file.txt", false), L"c:\\dir\\");
}

TEST(TakeOffExtName, EmptyPathStaysEmpty)
{
    EXPECT_EQ(Cut(L"", true), L"");
}
