// Facts about the stand-alone steps of the page pipeline: orientation code,
// automatic rotation, dashed lines, one-bit packing and the label position.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "PagePipeline.h"

using namespace kvrender;

TEST(OrientationCode, FollowsTheTableAndDefaultsToThree)
{
    EXPECT_EQ(OrientationCode(2, 0, 0), 0);
    EXPECT_EQ(OrientationCode(2, 0, 1), 2);
    EXPECT_EQ(OrientationCode(2, 1, 1), 1);
    EXPECT_EQ(OrientationCode(1, 1, 1), 0);
    EXPECT_EQ(OrientationCode(1, 1, 0), 2);
    EXPECT_EQ(OrientationCode(1, 0, 1), 1);
    EXPECT_EQ(OrientationCode(1, 0, 0), 3);
    EXPECT_EQ(OrientationCode(2, 1, 0), 3);
    EXPECT_EQ(OrientationCode(0, 1, 1), 3);
}

TEST(AutoRotation, LandscapePageWiderThanThePrintableWidthGetsCodeMinusOneWithoutAutoRotate)
{
    // 958 dots at 203 dpi are 120 mm; the printable width is 80 mm.
    std::optional<short> code = AutoRotationCode(958, 400, 203, 203, 80, 0);
    ASSERT_TRUE(code.has_value());
    EXPECT_EQ(*code, -1);
}

TEST(AutoRotation, ExactlyTwentyMillimetresOverTheWidthIsKept)
{
    // 995 dots at 254 dpi: 99.5 mm + 0.5 = 100.0, exactly 20 over 80 mm.
    EXPECT_FALSE(AutoRotationCode(995, 100, 254, 254, 80, 1).has_value());
    EXPECT_EQ(AutoRotationCode(1005, 100, 254, 254, 80, 1), std::optional<short>(0));
}

TEST(AutoRotation, WideTestMeasuresItsMarginAtTheVerticalResolution)
{
    // 5 mm is 25 dots at 127 dpi but 50 at 254 dpi: 1005 > 960 + 25 only.
    EXPECT_EQ(AutoRotationCode(1005, 960, 254, 127, 80, 1), std::optional<short>(0));
    EXPECT_FALSE(AutoRotationCode(1005, 960, 254, 254, 80, 1).has_value());
}

TEST(AutoRotation, TallTestMeasuresItsMarginAtTheHorizontalResolution)
{
    // 50 dots at 254 dpi: 50 + 100 < 140 fails, 50 + 100 < 160 holds.
    EXPECT_FALSE(AutoRotationCode(100, 140, 254, 127, 80, 1).has_value());
    EXPECT_EQ(AutoRotationCode(100, 160, 254, 127, 80, 1), std::optional<short>(0));
}

TEST(AutoRotation, TallTestIsStrictAtTwentyMillimetres)
{
    // 995 rows at 254 dpi measure 100.0 mm: 20.0 over 80 mm is not below 20.
    EXPECT_FALSE(AutoRotationCode(100, 995, 254, 254, 80, 2).has_value());
    EXPECT_EQ(AutoRotationCode(100, 985, 254, 254, 80, 2), std::optional<short>(1));
}

TEST(AutoRotation, TallTestNeedsAutoRotateOn)
{
    EXPECT_FALSE(AutoRotationCode(100, 985, 254, 254, 80, 0).has_value());
}

TEST(MulDiv, ZeroDivisorGivesZero)
{
    EXPECT_EQ(MulDiv(203, 100, 0), 0);
    EXPECT_EQ(MulDiv(203, 100, 300), 67);
}

class DashedLines : public ::testing::Test {
protected:
    // 4 x 2 image, rows 4 bytes apart, at 25 dpi (1 dot = 1.016 mm); dash
    // periods of one black and one white dot; runs from 2 mm.
    void Convert(std::vector<unsigned char>& image)
    {
        CBmpProcessing bmp;
        ConvertToDashedLines(bmp, image.data(), image.size(), 4, 2, 4, 1, 1, 2, 25);
    }
};

TEST_F(DashedLines, RunEndingAtARowEndIsConvertedAtTheStartOfTheNextRow)
{
    std::vector<unsigned char> image{255, 0, 0, 0, 255, 255, 255, 255};
    Convert(image);
    std::vector<unsigned char> expected{255, 0, 255, 0, 255, 255, 255, 255};
    EXPECT_EQ(image, expected);
}

TEST_F(DashedLines, RunAtTheEndOfTheLastRowIsNeverConverted)
{
    std::vector<unsigned char> image{255, 255, 255, 255, 255, 0, 0, 0};
    Convert(image);
    std::vector<unsigned char> expected{255, 255, 255, 255, 255, 0, 0, 0};
    EXPECT_EQ(image, expected);
}

TEST_F(DashedLines, RunOfOnePeriodIsLeftAlone)
{
    // Column 0 is not examined: the run is columns 1 and 2, two dots, no
    // longer than one period of two, so nothing is whitened.
    std::vector<unsigned char> image{0, 0, 0, 255, 255, 255, 255, 255};
    Convert(image);
    std::vector<unsigned char> expected{0, 0, 0, 255, 255, 255, 255, 255};
    EXPECT_EQ(image, expected);
}

TEST(DashedLinesInRow, RunEndedByAWhitePixelIsDashedThere)
{
    // Columns 1-5 black (5 mm at 25 dpi): every second byte of each whole
    // period of two is whitened.
    std::vector<unsigned char> image{255, 0, 0, 0, 0, 0, 255, 255};
    CBmpProcessing bmp;
    ConvertToDashedLines(bmp, image.data(), image.size(), 8, 1, 8, 1, 1, 2, 25);
    std::vector<unsigned char> expected{255, 0, 255, 0, 255, 0, 255, 255};
    EXPECT_EQ(image, expected);
}

TEST_F(DashedLines, ShortRunIsKept)
{
    std::vector<unsigned char> image{255, 0, 255, 255, 255, 255, 255, 255};
    Convert(image);
    std::vector<unsigned char> expected{255, 0, 255, 255, 255, 255, 255, 255};
    EXPECT_EQ(image, expected);
}

TEST(PackToOneBit, WhiteIsOnlyByte255)
{
    // 10 x 2, rows 12 bytes apart: black at columns 0 and 9 of row 0, 254
    // at column 1 of row 1.
    std::vector<unsigned char> image(24, 255);
    image[0] = 0;
    image[9] = 0;
    image[12 + 1] = 254;
    PackedPage page = PackToOneBit(image.data(), image.size(), 10, 2, 12, {0, 0, 9, 1}, false, 0);
    ASSERT_EQ(page.size, 4u);
    std::vector<unsigned char> bits(page.bits.get(), page.bits.get() + page.size);
    EXPECT_EQ(bits, (std::vector<unsigned char>{0x7F, 0xBF, 0xBF, 0xFF}));
    EXPECT_EQ(page.x, 0);
}

TEST(PackToOneBit, MirrorReadsEachRowBackwards)
{
    std::vector<unsigned char> image(24, 255);
    image[0] = 0;
    image[9] = 0;
    image[12 + 1] = 254;
    PackedPage page = PackToOneBit(image.data(), image.size(), 10, 2, 12, {0, 0, 9, 1}, true, 0);
    ASSERT_EQ(page.size, 4u);
    std::vector<unsigned char> bits(page.bits.get(), page.bits.get() + page.size);
    EXPECT_EQ(bits, (std::vector<unsigned char>{0x7F, 0xBF, 0xFF, 0x7F}));
    EXPECT_EQ(page.x, -9);
}

TEST(PackToOneBit, StartColumnShiftsTheBitsWithinTheFirstByte)
{
    std::vector<unsigned char> image(12, 255);
    image[0] = 0;
    PackedPage page = PackToOneBit(image.data(), image.size(), 10, 1, 12, {3, 0, 12, 0}, false, 0);
    ASSERT_EQ(page.size, 2u);
    EXPECT_EQ(page.bits.get()[0], 0xEF);
    EXPECT_EQ(page.bits.get()[1], 0xFF);
}

TEST(PackToOneBit, PackedRowsFollowTheBoxNotTheImageHeight)
{
    // One row fewer in the image than in the box: the last packed row
    // stays white.
    std::vector<unsigned char> image(8, 0);
    PackedPage page = PackToOneBit(image.data(), image.size(), 7, 1, 8, {0, 0, 7, 1}, false, 0);
    ASSERT_EQ(page.size, 2u);
    EXPECT_EQ(page.bits.get()[0], 0x01);
    EXPECT_EQ(page.bits.get()[1], 0xFF);
}

TEST(PackToOneBit, NegativeBoxOriginIsClampedToZero)
{
    std::vector<unsigned char> image(4, 0);
    PackedPage page = PackToOneBit(image.data(), image.size(), 4, 1, 4, {-5, -2, 3, 0}, false, 0);
    ASSERT_EQ(page.size, 1u);
    EXPECT_EQ(page.bits.get()[0], 0x0F);
}

namespace {

// The unmirrored packing pixel by pixel, for a page of `size` bytes in rows
// of `rowBytes` whose pixels start `shift` bits into their first byte:
// every pixel that is not white clears its bit.
std::vector<unsigned char> PackPixelByPixel(const std::vector<unsigned char>& image, int32_t w, int32_t h,
                                            int64_t stride, int64_t shift, int64_t rowBytes, uint64_t size)
{
    std::vector<unsigned char> bits(size, 0xFF);
    for (int64_t r = 0; r < h; ++r) {
        const int64_t pixelsLeft = (static_cast<int64_t>(size) - r * rowBytes) * 8;
        const int64_t imageLeft = static_cast<int64_t>(image.size()) - r * stride;
        if (pixelsLeft <= 0 || imageLeft <= 0)
            break;
        for (int64_t c = 0; c < std::min<int64_t>({w, pixelsLeft - shift, imageLeft}); ++c)
            if (image[r * stride + c] != 255)
                bits[r * rowBytes + (c + shift) / 8] &= static_cast<unsigned char>(~(0x80u >> ((c + shift) % 8)));
    }
    return bits;
}

}  // namespace

TEST(PackToOneBit, MostlyWhitePagesPackAsPixelByPixel)
{
    std::mt19937 random(77);
    auto upTo = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n + 1)); };
    for (int round = 0; round < 500; ++round) {
        const int32_t w = 1 + upTo(199), h = 1 + upTo(5);
        const int64_t stride = w + upTo(3);
        std::vector<unsigned char> image(static_cast<size_t>(stride * h), 255);
        for (int runs = upTo(6); runs > 0; --runs) {
            const int64_t at = upTo(static_cast<int>(image.size()) - 1);
            for (int64_t i = at; i < std::min<int64_t>(image.size(), at + 1 + upTo(20)); ++i)
                image[i] = static_cast<unsigned char>(upTo(255));
        }
        const int32_t left = upTo(w - 1);
        // Boxes as the pipeline gives them: rows 0..h-1, or one row fewer.
        const tagRECT rect{left, 0, w - 1, h - 1 - upTo(h > 1 ? 1 : 0)};
        PackedPage page = PackToOneBit(image.data(), image.size(), w, h, stride, rect, false, 0);
        ASSERT_TRUE(page.bits);
        const std::vector<unsigned char> got(page.bits.get(), page.bits.get() + page.size);
        const int64_t rowBytes = static_cast<int64_t>(page.size) / (rect.bottom - rect.top + 1);
        ASSERT_EQ(got, PackPixelByPixel(image, w, h, stride, left % 8, rowBytes, page.size)) << "round " << round;
    }
}

TEST(PositionOnLabel, ZeroVerticalPositionIsSentAsEight)
{
    tagOEMCFG cfg{};
    _DEVMODE devMode{};
    _OEMPDEV pdev{};
    EXPECT_EQ(PositionOnLabel(0, 0, 3, cfg, devMode, pdev).y, 8);
    EXPECT_EQ(PositionOnLabel(0, -3, 3, cfg, devMode, pdev).y, 8);
    EXPECT_EQ(PositionOnLabel(0, 5, 3, cfg, devMode, pdev).y, 5);
}

TEST(PositionOnLabel, HorizontalPositionIsRoundedDownToWholeBytes)
{
    tagOEMCFG cfg{};
    _DEVMODE devMode{};
    _OEMPDEV pdev{};
    EXPECT_EQ(PositionOnLabel(13, 5, 3, cfg, devMode, pdev).x, 8);
    EXPECT_EQ(PositionOnLabel(5, 5, 3, cfg, devMode, pdev).x, 0);
    EXPECT_EQ(PositionOnLabel(-9, 5, 3, cfg, devMode, pdev).x, 0);
}

TEST(PositionOnLabel, PhysicalOffsetIsAddedByOrientation)
{
    tagOEMCFG cfg{};
    cfg.sOutputXDPI = 203;
    cfg.sOutputYDPI = 203;
    _DEVMODE devMode{};
    devMode.dmPrintQuality = 300;
    devMode.dmYResolution = 300;
    _OEMPDEV pdev{};
    pdev.srcGdiInfo.ptlPhysOffset = {100, 60};
    // 203 x 100 / 300 = 67 across, 203 x 60 / 300 = 40 along.
    EXPECT_EQ(PositionOnLabel(0, 5, 3, cfg, devMode, pdev).x, 64);
    EXPECT_EQ(PositionOnLabel(0, 5, 3, cfg, devMode, pdev).y, 45);
    EXPECT_EQ(PositionOnLabel(0, 5, 0, cfg, devMode, pdev).x, 40);
    EXPECT_EQ(PositionOnLabel(0, 5, 2, cfg, devMode, pdev).y, 72);
    EXPECT_EQ(PositionOnLabel(0, 5, 1, cfg, devMode, pdev).x, 0);
}

TEST(PositionOnLabel, ZeroRasterResolutionAddsNothing)
{
    tagOEMCFG cfg{};
    cfg.sOutputXDPI = 203;
    _DEVMODE devMode{};
    _OEMPDEV pdev{};
    pdev.srcGdiInfo.ptlPhysOffset = {100, 60};
    EXPECT_EQ(PositionOnLabel(16, 5, 3, cfg, devMode, pdev).x, 16);
}

namespace {

// The packing written pixel by pixel, every index checked on its own: the
// form the row-wise packing must reproduce.
std::vector<unsigned char> ReferencePack(const std::vector<unsigned char>& image, int32_t w, int32_t h, int64_t stride,
                                         tagRECT rect, bool mirror, int32_t ref)
{
    const int64_t left = rect.left < 0 ? 0 : rect.left;
    const int64_t top = rect.top < 0 ? 0 : rect.top;
    int64_t x = left;
    int64_t e = rect.right;
    if (mirror) {
        x = int64_t(ref) - rect.right;
        e = x + rect.right - left;
    }
    const int64_t num = e - 8 * (x / 8) + 8;
    const int64_t rowBytes = num >= 0 ? num / 8 : -((-num + 7) / 8);
    const int64_t rows = int64_t(rect.bottom) - top + 1;
    const int64_t size = (rowBytes > 0 && rows > 0) ? rowBytes * rows : 0;
    std::vector<unsigned char> bits(static_cast<size_t>(size), 255);
    for (int64_t r = 0; r < h; ++r)
        for (int64_t c = 0; c < w; ++c) {
            const int64_t p = mirror ? c : c + x % 8;
            const int64_t dest = r * rowBytes + p / 8;
            if (dest < 0 || dest >= size)
                continue;
            const int64_t column = mirror ? (e - x) - c : c;
            const int64_t source = r * stride + column;
            const bool white = column < 0 || source < 0 || source >= int64_t(image.size()) || image[source] == 255;
            if (!white)
                bits[dest] &= static_cast<unsigned char>(~(0x80u >> (p & 7)));
        }
    return bits;
}

}  // namespace

TEST(PackToOneBit, RowWiseFormEqualsThePixelByPixelFormOnRandomImages)
{
    unsigned seed = 12345;
    auto next = [&seed] {
        seed = seed * 1103515245u + 12345u;
        return seed >> 16;
    };
    for (int trial = 0; trial < 300; ++trial) {
        const int32_t w = 1 + static_cast<int32_t>(next() % 70);
        const int32_t h = 1 + static_cast<int32_t>(next() % 12);
        const int64_t stride = (w + 3) / 4 * 4;
        // Sometimes an image shorter than its rows, as after the lost row.
        const size_t imageSize = static_cast<size_t>(stride * h) - (next() % 3 == 0 ? next() % 10 : 0);
        std::vector<unsigned char> image(imageSize);
        for (unsigned char& b : image)
            b = (next() % 3 == 0) ? 255 : static_cast<unsigned char>(next() % 256);
        const int32_t left = static_cast<int32_t>(next() % 20) - 4;
        const int32_t right = left + w - 1 + static_cast<int32_t>(next() % 3) - 1;
        tagRECT rect{left, static_cast<int32_t>(next() % 3) - 1, right, h - 1 + static_cast<int32_t>(next() % 3) - 1};
        const bool mirror = next() % 2 == 0;
        const int32_t ref = static_cast<int32_t>(next() % 40);
        PackedPage page = PackToOneBit(image.data(), image.size(), w, h, stride, rect, mirror, ref);
        std::vector<unsigned char> expected = ReferencePack(image, w, h, stride, rect, mirror, ref);
        ASSERT_EQ(page.size, expected.size()) << trial;
        ASSERT_EQ(std::vector<unsigned char>(page.bits.get(), page.bits.get() + page.size), expected) << trial;
    }
}
