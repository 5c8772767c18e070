// Tests of rotation, blank-edge detection, rectangle copy and the periodic
// whitening of black runs.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "BmpProcessing.h"
#include "ImageTestSupport.h"
#include "RectAssert.h"

using kvtest::Header;
using kvtest::Owned;
using kvtest::RectIs;
using kvtest::Stride;

namespace {

// Outcome of one rotation into a buffer the operation allocates.
struct Rotated {
    int status = 0;
    std::vector<uint8_t> pixels;
    tagBITMAPINFOHEADER header{};
    tagRECT rect{};
};

// The 3 x 2 8-bit image 1 2 3 / 4 5 6 with white row padding.
std::vector<uint8_t> SmallImage()
{
    return {1, 2, 3, 255, 4, 5, 6, 255};
}

Rotated Rotate(const std::vector<uint8_t>& src, int32_t w, int32_t h, uint16_t bits, short code)
{
    Rotated r;
    r.header = Header(w, h, bits);
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    r.status = CBmpProcessing().RotateImgData(src.data(), static_cast<unsigned int>(src.size()),
                                              tagRECT{0, 0, w - 1, h - 1}, &r.header, code, &out, &cap, &r.rect);
    Owned owned(out);
    if (out != nullptr) {
        r.pixels.assign(out, out + cap);
    }
    return r;
}

// The pixel bytes of an image without its row padding.
std::vector<uint8_t> PixelBytes(const std::vector<uint8_t>& img, int32_t w, int32_t h, uint16_t bits)
{
    const uint32_t stride = Stride(bits, static_cast<uint32_t>(w));
    const size_t rowBytes = static_cast<size_t>(w) * bits / 8;
    std::vector<uint8_t> out;
    for (int32_t y = 0; y < h; ++y) {
        out.insert(out.end(), img.begin() + y * stride, img.begin() + y * stride + rowBytes);
    }
    return out;
}

// Outcome of a blank-edge search into a buffer the operation allocates.
struct Edges {
    int status = 0;
    tagRECT rect{};
    std::vector<uint8_t> pixels;
};

Edges FindEdges(const std::vector<uint8_t>& src, int32_t w, int32_t h, uint16_t bits)
{
    Edges e;
    const tagBITMAPINFOHEADER header = Header(w, h, bits);
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    e.status = CBmpProcessing().RemoveBlankEdge(src.data(), static_cast<unsigned int>(src.size()), &header, &out, &cap,
                                                &e.rect);
    Owned owned(out);
    if (out != nullptr) {
        e.pixels.assign(out, out + cap);
    }
    return e;
}

}  // namespace

TEST(Rotate, HalfTurnMapsEachPixelToTheOppositeCorner)
{
    const Rotated r = Rotate(SmallImage(), 3, 2, 8, 1);
    ASSERT_EQ(r.status, 1);
    EXPECT_EQ(r.pixels, (std::vector<uint8_t>{6, 5, 4, 255, 3, 2, 1, 255}));
}

TEST(Rotate, QuarterTurnRowIsASourceColumnReadFromTheTop)
{
    // Output row y is source column w - 1 - y, from row 0 downward.
    const Rotated r = Rotate(SmallImage(), 3, 2, 8, 0);
    ASSERT_EQ(r.status, 1);
    EXPECT_EQ(r.pixels, (std::vector<uint8_t>{3, 6, 255, 255, 2, 5, 255, 255, 1, 4, 255, 255}));
}

TEST(Rotate, QuarterTurnBackRowIsASourceColumnReadFromTheBottom)
{
    const Rotated r = Rotate(SmallImage(), 3, 2, 8, 2);
    ASSERT_EQ(r.status, 1);
    EXPECT_EQ(r.pixels, (std::vector<uint8_t>{4, 1, 255, 255, 5, 2, 255, 255, 6, 3, 255, 255}));
}

TEST(Rotate, HalfTurnTwiceGivesBackThe3x2Image)
{
    const Rotated once = Rotate(SmallImage(), 3, 2, 8, 1);
    const Rotated twice = Rotate(once.pixels, 3, 2, 8, 1);
    EXPECT_EQ(twice.pixels, SmallImage());
}

TEST(Rotate, QuarterTurnThenQuarterTurnBackGivesBackThe3x2Image)
{
    const Rotated once = Rotate(SmallImage(), 3, 2, 8, 0);
    const Rotated twice = Rotate(once.pixels, 2, 3, 8, 2);
    EXPECT_EQ(twice.pixels, SmallImage());
    EXPECT_EQ(twice.header.biWidth, 3);
    EXPECT_EQ(twice.header.biHeight, 2);
}

TEST(Rotate, RotationCodesUndoEachOtherOnRandomImages)
{
    kvtest::RandomImages rnd(11);
    const int32_t sizes[][2] = {{1, 1}, {5, 3}, {17, 9}, {31, 2}, {2, 29}};
    for (uint16_t bits : {8, 24}) {
        for (const auto& s : sizes) {
            const int32_t w = s[0], h = s[1];
            const std::vector<uint8_t> img = rnd.Image(w, h, bits);
            const std::vector<uint8_t> want = PixelBytes(img, w, h, bits);
            const Rotated half = Rotate(Rotate(img, w, h, bits, 1).pixels, w, h, bits, 1);
            EXPECT_EQ(PixelBytes(half.pixels, w, h, bits), want) << w << "x" << h << "@" << bits;
            const Rotated there = Rotate(Rotate(img, w, h, bits, 0).pixels, h, w, bits, 2);
            EXPECT_EQ(PixelBytes(there.pixels, w, h, bits), want) << w << "x" << h << "@" << bits;
            const Rotated back = Rotate(Rotate(img, w, h, bits, 2).pixels, h, w, bits, 0);
            EXPECT_EQ(PixelBytes(back.pixels, w, h, bits), want) << w << "x" << h << "@" << bits;
        }
    }
}

TEST(Rotate, OtherCodeReturns1AndTouchesNothing)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src = SmallImage();
    tagBITMAPINFOHEADER h = Header(3, 2, 8);
    const tagBITMAPINFOHEADER before = h;
    unsigned char buf[4] = {9, 9, 9, 9};
    unsigned char* out = buf;
    unsigned int cap = 4;
    tagRECT rect{7, 7, 7, 7};
    EXPECT_EQ(p.RotateImgData(src.data(), 8, tagRECT{0, 0, 2, 1}, &h, 3, &out, &cap, &rect), 1);
    EXPECT_EQ(std::memcmp(&h, &before, sizeof h), 0);
    EXPECT_EQ(buf[0], 9);
    EXPECT_EQ(cap, 4u);
    EXPECT_TRUE(RectIs(rect, 7, 7, 7, 7));
}

TEST(Rotate, OneBitImageIsRefused)
{
    const std::vector<uint8_t> src(8, 0);
    EXPECT_EQ(Rotate(src, 8, 2, 1, 1).status, 0);
}

TEST(Rotate, ThirtyTwoBitImageGivesAWhiteOutputOfTheRightSize)
{
    const std::vector<uint8_t> src(24, 0);  // 3 x 2 at 4 bytes a pixel
    const Rotated r = Rotate(src, 3, 2, 32, 0);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.pixels, std::vector<uint8_t>(3 * 8, 255));  // 3 rows of 2 pixels
    EXPECT_EQ(r.header.biWidth, 2);
    EXPECT_EQ(r.header.biHeight, 3);
}

TEST(Rotate, NullSourceIsRefused)
{
    CBmpProcessing p;
    tagBITMAPINFOHEADER h = Header(3, 2, 8);
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    tagRECT rect{};
    EXPECT_EQ(p.RotateImgData(nullptr, 8, tagRECT{0, 0, 2, 1}, &h, 1, &out, &cap, &rect), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(Rotate, SourceSmallerThanItsRectangleIsRefused)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src = SmallImage();
    tagBITMAPINFOHEADER h = Header(3, 2, 8);
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    tagRECT rect{};
    EXPECT_EQ(p.RotateImgData(src.data(), 7, tagRECT{0, 0, 2, 1}, &h, 1, &out, &cap, &rect), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(Rotate, TooSmallBufferIsRefusedAndReportsTheNeededSize)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src = SmallImage();
    tagBITMAPINFOHEADER h = Header(3, 2, 8);
    unsigned char buf[4] = {9, 9, 9, 9};
    unsigned char* out = buf;
    unsigned int cap = 4;
    tagRECT rect{};
    EXPECT_EQ(p.RotateImgData(src.data(), 8, tagRECT{0, 0, 2, 1}, &h, 0, &out, &cap, &rect), 0);
    EXPECT_EQ(cap, 12u);
    EXPECT_EQ(buf[0], 9);
    EXPECT_EQ(out, buf);
}

TEST(Rotate, GivenBufferIsFilledWhiteUpToItsStatedCapacity)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src = SmallImage();
    tagBITMAPINFOHEADER h = Header(3, 2, 8);
    std::vector<unsigned char> buf(20, 9);
    unsigned char* out = buf.data();
    unsigned int cap = 20;
    tagRECT rect{};
    EXPECT_EQ(p.RotateImgData(src.data(), 8, tagRECT{0, 0, 2, 1}, &h, 1, &out, &cap, &rect), 1);
    EXPECT_EQ(buf, (std::vector<unsigned char>{6,   5,   4,   255, 3,   2,   1,   255, 255, 255,
                                               255, 255, 255, 255, 255, 255, 255, 255, 255, 255}));
    EXPECT_EQ(cap, 20u);
}

TEST(Rotate, HeaderTakesTheNewSizeAndKeepsBiSizeAsARunningTotal)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src = SmallImage();
    tagBITMAPINFOHEADER h = Header(3, 2, 8);
    h.biSize = 1000;
    h.biSizeImage = 200;
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    tagRECT rect{};
    p.RotateImgData(src.data(), 8, tagRECT{0, 0, 2, 1}, &h, 0, &out, &cap, &rect);
    Owned owned(out);
    EXPECT_EQ(h.biWidth, 2);
    EXPECT_EQ(h.biHeight, 3);
    EXPECT_EQ(h.biSizeImage, 12u);
    EXPECT_EQ(h.biSize, 812u);
    EXPECT_EQ(cap, 12u);
}

// The rectangle formulas, for a 3 x 2 block at (10, 5) of a 100 x 50 page.
class RotatedRectangle : public ::testing::Test {
protected:
    tagRECT RotateBlock(short code)
    {
        CBmpProcessing p;
        const std::vector<uint8_t> src = SmallImage();
        tagBITMAPINFOHEADER h = Header(100, 50, 8);
        unsigned char* out = nullptr;
        unsigned int cap = 0;
        tagRECT rect{};
        p.RotateImgData(src.data(), 8, tagRECT{10, 5, 12, 6}, &h, code, &out, &cap, &rect);
        Owned owned(out);
        return rect;
    }
};

TEST_F(RotatedRectangle, HalfTurnMirrorsTheBlockInBothDirections)
{
    EXPECT_TRUE(RectIs(RotateBlock(1), 97, 48, 99, 49));
}

TEST_F(RotatedRectangle, QuarterTurnSwapsAxesMeasuringTopFromTheRightEdge)
{
    EXPECT_TRUE(RectIs(RotateBlock(0), 5, 92, 6, 94));
}

TEST_F(RotatedRectangle, QuarterTurnBackSwapsAxesMeasuringLeftFromTheBottomEdge)
{
    EXPECT_TRUE(RectIs(RotateBlock(2), 48, 10, 49, 12));
}

TEST(RemoveBlankEdge, AllWhite8BitImageKeepsTheWholeImageRoundedToBytesOfEight)
{
    const std::vector<uint8_t> img(16 * 5, 255);  // 13 x 5, stride 16
    const Edges e = FindEdges(img, 13, 5, 8);
    EXPECT_EQ(e.status, 1);
    EXPECT_TRUE(RectIs(e.rect, 0, 0, 15, 4));
    EXPECT_EQ(e.pixels, std::vector<uint8_t>(16 * 5, 255));
}

TEST(RemoveBlankEdge, OneBlackPixelAt13And21Of64x64GivesLeft8Top16Right15Bottom21)
{
    std::vector<uint8_t> img(64 * 64, 255);
    img[21 * 64 + 13] = 0;
    const Edges e = FindEdges(img, 64, 64, 8);
    EXPECT_EQ(e.status, 1);
    EXPECT_TRUE(RectIs(e.rect, 8, 16, 15, 21));
    std::vector<uint8_t> want(8 * 6, 255);
    want[5 * 8 + 5] = 0;
    EXPECT_EQ(e.pixels, want);
}

TEST(RemoveBlankEdge, EightBitByte250IsInkAnd251IsBlank)
{
    std::vector<uint8_t> img(8 * 3, 255);
    img[1 * 8 + 2] = 251;
    EXPECT_TRUE(RectIs(FindEdges(img, 8, 3, 8).rect, 0, 0, 7, 2));
    img[1 * 8 + 2] = 250;
    EXPECT_TRUE(RectIs(FindEdges(img, 8, 3, 8).rect, 0, 0, 7, 1));
}

TEST(RemoveBlankEdge, TwentyFourBitLastInkRowGoesToTopAndBottomStaysAtTheEnd)
{
    std::vector<uint8_t> img(48 * 10, 255);  // 16 x 10 at 24 bits
    std::memset(&img[2 * 48 + 3 * 3], 0, 3);
    std::memset(&img[7 * 48 + 5 * 3], 0, 3);
    const Edges e = FindEdges(img, 16, 10, 24);
    EXPECT_TRUE(RectIs(e.rect, 0, 7, 7, 9));
    EXPECT_EQ(e.pixels, std::vector<uint8_t>(24 * 3, 0));  // zero-filled, nothing copied
}

TEST(RemoveBlankEdge, TwentyFourBitPixelWithOneByteAbove250IsBlank)
{
    std::vector<uint8_t> img(48 * 2, 255);
    img[3] = 100;
    img[4] = 100;
    img[5] = 251;
    EXPECT_TRUE(RectIs(FindEdges(img, 16, 2, 24).rect, 0, 0, 15, 1));
}

TEST(RemoveBlankEdge, OneBitLastInkRowGoesToTopAndBottomStaysAtTheEnd)
{
    std::vector<uint8_t> img(4 * 10, 0xFF);  // 16 x 10 at 1 bit, white = 1
    img[2 * 4 + 0] = static_cast<uint8_t>(~(0x80 >> 3));
    img[7 * 4 + 1] = static_cast<uint8_t>(~(0x80 >> 1));  // column 9
    const Edges e = FindEdges(img, 16, 10, 1);
    EXPECT_TRUE(RectIs(e.rect, 0, 7, 15, 9));
    EXPECT_EQ(e.pixels, std::vector<uint8_t>(4 * 3, 0));
}

TEST(RemoveBlankEdge, MissingArgumentsAreRefused)
{
    CBmpProcessing p;
    const std::vector<uint8_t> img(64, 255);
    const tagBITMAPINFOHEADER h = Header(8, 8, 8);
    unsigned char* out = nullptr;
    unsigned int cap = 0;
    tagRECT rect{};
    EXPECT_EQ(p.RemoveBlankEdge(nullptr, 64, &h, &out, &cap, &rect), 0);
    EXPECT_EQ(p.RemoveBlankEdge(img.data(), 64, &h, nullptr, &cap, &rect), 0);
    EXPECT_EQ(p.RemoveBlankEdge(img.data(), 64, &h, &out, nullptr, &rect), 0);
    EXPECT_EQ(p.RemoveBlankEdge(img.data(), 64, &h, &out, &cap, nullptr), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(RemoveBlankEdge, TooSmallGivenBufferIsRefusedWithoutReportingTheSize)
{
    CBmpProcessing p;
    const std::vector<uint8_t> img(64, 255);
    const tagBITMAPINFOHEADER h = Header(8, 8, 8);
    unsigned char buf[10] = {};
    unsigned char* out = buf;
    unsigned int cap = 10;
    tagRECT rect{};
    EXPECT_EQ(p.RemoveBlankEdge(img.data(), 64, &h, &out, &cap, &rect), 0);
    EXPECT_EQ(cap, 10u);
}

TEST(RemoveBlankEdge, GivenBufferLargeEnoughReceivesTheBox)
{
    CBmpProcessing p;
    std::vector<uint8_t> img(16 * 2, 255);
    img[16 + 9] = 7;
    const tagBITMAPINFOHEADER h = Header(16, 2, 8);
    std::vector<unsigned char> buf(32, 1);
    unsigned char* out = buf.data();
    unsigned int cap = 32;
    tagRECT rect{};
    EXPECT_EQ(p.RemoveBlankEdge(img.data(), 32, &h, &out, &cap, &rect), 1);
    EXPECT_TRUE(RectIs(rect, 8, 0, 15, 1));
    EXPECT_EQ(buf[9], 7);  // row 1 - top 0 = 1, column 9 - 8 = 1
    EXPECT_EQ(buf[0], 255);
    EXPECT_EQ(buf[16], 1);  // beyond the 16-byte box: untouched
}

TEST(Copy8BitImgBitRect, CopiesRowsRoundedUpToBytesOfEight)
{
    CBmpProcessing p;
    std::vector<uint8_t> src(12 * 3);
    for (size_t i = 0; i < src.size(); ++i) {
        src[i] = static_cast<uint8_t>(i);
    }
    std::vector<uint8_t> dst(16, 0);
    const tagRECT r{2, 1, 4, 2};
    EXPECT_EQ(p.Copy8BitImgBitRect(src.data(), 10, 3, dst.data(), &r), 1);
    EXPECT_EQ(dst, (std::vector<uint8_t>{14, 15, 16, 17, 18, 19, 20, 21, 26, 27, 28, 29, 30, 31, 32, 33}));
}

TEST(Copy8BitImgBitRect, ZeroHeightReturns1AndCopiesNothing)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src(12 * 3, 4);
    std::vector<uint8_t> dst(8, 0);
    const tagRECT r{0, 3, 5, 2};
    EXPECT_EQ(p.Copy8BitImgBitRect(src.data(), 10, 3, dst.data(), &r), 1);
    EXPECT_EQ(dst, std::vector<uint8_t>(8, 0));
}

TEST(Copy8BitImgBitRect, MissingPointersAreRefused)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src(12, 4);
    std::vector<uint8_t> dst(8, 0);
    const tagRECT r{0, 0, 7, 0};
    EXPECT_EQ(p.Copy8BitImgBitRect(src.data(), 10, 1, dst.data(), nullptr), 0);
    EXPECT_EQ(p.Copy8BitImgBitRect(nullptr, 10, 1, dst.data(), &r), 0);
    EXPECT_EQ(p.Copy8BitImgBitRect(src.data(), 10, 1, nullptr, &r), 0);
}

TEST(Copy8BitImgBitRect, BytesPastTheEndOfTheImageReadAsWhite)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src(12 * 2, 4);
    std::vector<uint8_t> dst(8, 0);
    const tagRECT r{8, 1, 15, 1};
    EXPECT_EQ(p.Copy8BitImgBitRect(src.data(), 10, 2, dst.data(), &r), 1);
    EXPECT_EQ(dst, (std::vector<uint8_t>{4, 4, 4, 4, 255, 255, 255, 255}));
}

TEST(ResetBlackLineData, EightBitWith10Bytes2Kept1WhitenedWhitensBytes2And5And8)
{
    CBmpProcessing p;
    std::vector<uint8_t> data(10, 0);
    EXPECT_EQ(p.ResetBlackLineData(data.data(), 10, 2, 1, 8), 1);
    EXPECT_EQ(data, (std::vector<uint8_t>{0, 0, 255, 0, 0, 255, 0, 0, 255, 0}));
}

TEST(ResetBlackLineData, EightBitLeavesTheFinalPartialPeriod)
{
    CBmpProcessing p;
    std::vector<uint8_t> data(11, 0);
    p.ResetBlackLineData(data.data(), 11, 3, 2, 8);
    EXPECT_EQ(data, (std::vector<uint8_t>{0, 0, 0, 255, 255, 0, 0, 0, 255, 255, 0}));
}

TEST(ResetBlackLineData, EightBitDataNoLongerThanOnePeriodIsUntouched)
{
    CBmpProcessing p;
    std::vector<uint8_t> data(3, 0);
    EXPECT_EQ(p.ResetBlackLineData(data.data(), 3, 2, 1, 8), 1);
    EXPECT_EQ(data, std::vector<uint8_t>(3, 0));
}

TEST(ResetBlackLineData, OneBitWhitensFromThePeriodBoundaryOnward)
{
    // Period 5, run 2: bits 5-6, 10-11 and 15 (16 is past the data).
    CBmpProcessing p;
    std::vector<uint8_t> data(3, 0);
    EXPECT_EQ(p.ResetBlackLineData(data.data(), 2, 3, 2, 1), 1);
    EXPECT_EQ(data, (std::vector<uint8_t>{0x06, 0x31, 0x00}));
}

TEST(ResetBlackLineData, OneBitDataNoLongerThanOnePeriodIsUntouched)
{
    CBmpProcessing p;
    std::vector<uint8_t> data(1, 0);
    EXPECT_EQ(p.ResetBlackLineData(data.data(), 1, 6, 2, 1), 1);
    EXPECT_EQ(data[0], 0);
}

TEST(ResetBlackLineData, NullDataReturns0)
{
    EXPECT_EQ(CBmpProcessing().ResetBlackLineData(nullptr, 10, 2, 1, 8), 0);
}

TEST(ResetBlackLineData, OtherDepthsChangeNothing)
{
    CBmpProcessing p;
    std::vector<uint8_t> data(10, 0);
    EXPECT_EQ(p.ResetBlackLineData(data.data(), 10, 2, 1, 24), 1);
    EXPECT_EQ(data, std::vector<uint8_t>(10, 0));
}
