// Tests of the one-pass box-averaging shrink.
#include <gtest/gtest.h>

#include <vector>

#include "BmpProcessing.h"
#include "ImageTestSupport.h"

using kvtest::Stride;

namespace {

// A whitening rectangle that covers no pixel at all.
constexpr tagRECT kNoWhitening{1, 1, 0, 0};
// What the page pipeline passes.
constexpr tagRECT kPipelineRect{0, 0, 0, 0};
constexpr tagColorCFG kNoTone{0, 0, 0};

// Marker the destination starts with, to see what was written.
constexpr uint8_t kUnwritten = 200;

struct ShrinkCall {
    uint32_t srcWidth, srcHeight, srcBits;
    uint32_t dstWidth, dstHeight, dstBits;
    tagColorCFG color = kNoTone;
    tagRECT whiten = kNoWhitening;
};

// Shrinks `src` (rows at the standard stride) into a fresh destination
// at the standard stride prefilled with kUnwritten.
std::vector<uint8_t> Shrink(CBmpProcessing& p, const std::vector<uint8_t>& src, const ShrinkCall& c,
                            int* status = nullptr)
{
    const uint32_t dstSize = Stride(c.dstBits, c.dstWidth) * c.dstHeight;
    std::vector<uint8_t> dst(dstSize, kUnwritten);
    unsigned char* out = dst.data();
    const int r = p.InvoicQIShrinkImg2(c.srcWidth, c.srcHeight, c.srcBits, Stride(c.srcBits, c.srcWidth), src.data(),
                                       nullptr, c.dstWidth, c.dstHeight, c.dstBits, &out, nullptr, dstSize, c.color, 0,
                                       kNoTone, 0, c.whiten);
    if (status != nullptr) {
        *status = r;
    }
    return dst;
}

std::vector<uint8_t> Shrink(const std::vector<uint8_t>& src, const ShrinkCall& c)
{
    CBmpProcessing p;
    return Shrink(p, src, c);
}

}  // namespace

TEST(Shrink, PipelineAllZeroRectangleCountsSourcePixelAtColumn0Row0AsWhite)
{
    // Four black pixels into one: (255 + 0 + 0 + 0) / 4 = 63.
    ShrinkCall c{2, 2, 8, 1, 1, 8};
    c.whiten = kPipelineRect;
    const std::vector<uint8_t> src = {0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(Shrink(src, c)[0], 63);
}

TEST(Shrink, FourByFourToTwoByTwoGroupsColumns012With3AndRows01With23)
{
    // Across a row the column test is strict and made after the pixel is
    // added (columns 0, 1, 2 | 3); down the image the row test is not
    // strict (rows 0, 1 | 2, 3).
    std::vector<uint8_t> src(16);
    auto v = [](int x, int y) { return static_cast<uint8_t>(40 * y + 7 * x); };
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            src[y * 4 + x] = v(x, y);
        }
    }
    const std::vector<uint8_t> dst = Shrink(src, ShrinkCall{4, 4, 8, 2, 2, 8});
    const int first = (v(0, 0) + v(1, 0) + v(2, 0) + v(0, 1) + v(1, 1) + v(2, 1)) / 6;
    const int second = (v(3, 0) + v(3, 1)) / 2;
    const int third = (v(0, 2) + v(1, 2) + v(2, 2) + v(0, 3) + v(1, 3) + v(2, 3)) / 6;
    const int fourth = (v(3, 2) + v(3, 3)) / 2;
    EXPECT_EQ(
        dst, (std::vector<uint8_t>{static_cast<uint8_t>(first), static_cast<uint8_t>(second), kUnwritten, kUnwritten,
                                   static_cast<uint8_t>(third), static_cast<uint8_t>(fourth), kUnwritten, kUnwritten}));
}

TEST(Shrink, DestinationWiderThanTheSourceRepeatsThePreviousColumnsValues)
{
    const std::vector<uint8_t> src = {10, 90, 0, 0};
    const std::vector<uint8_t> dst = Shrink(src, ShrinkCall{2, 1, 8, 4, 1, 8});
    EXPECT_EQ(dst, (std::vector<uint8_t>{10, 90, 90, 90}));
}

TEST(Shrink, RepeatedColumnTakesTheLightStepAgainOnTheCarriedValues)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    ShrinkCall c{2, 1, 8, 4, 1, 8};
    c.color = tagColorCFG{20, 0, 0};
    const std::vector<uint8_t> src = {10, 90, 0, 0};
    EXPECT_EQ(Shrink(p, src, c), (std::vector<uint8_t>{30, 110, 130, 150}));
}

TEST(Shrink, WhitenedPixelsAddWhiteAndStillCount)
{
    ShrinkCall c{4, 1, 8, 2, 1, 8};
    c.whiten = tagRECT{1, 0, 2, 0};
    const std::vector<uint8_t> src = {0, 0, 0, 0};
    const std::vector<uint8_t> dst = Shrink(src, c);
    EXPECT_EQ(dst[0], 170);  // (0 + 255 + 255) / 3
    EXPECT_EQ(dst[1], 0);
}

TEST(Shrink, LevelsSwitch300BehavesLikeZero)
{
    CBmpProcessing p;
    const COLORLEVELSITEM gamma2{2.0f, 0, 255, 0, 255};
    p.SetColorLevelsData(&gamma2, 0);
    const std::vector<uint8_t> src = {128, 0, 0, 0};
    ShrinkCall c{1, 1, 8, 1, 1, 8};
    c.color = tagColorCFG{0, 0, 300};
    EXPECT_EQ(Shrink(p, src, c)[0], 128);
    c.color = tagColorCFG{0, 0, 0};
    EXPECT_EQ(Shrink(p, src, c)[0], 128);
    c.color = tagColorCFG{0, 0, 150};
    EXPECT_EQ(Shrink(p, src, c)[0], 64);
}

TEST(Shrink, LevelsStepSnapsAllChannelsAt250OrAboveToWhite)
{
    // Output range 250..255 maps 100 to 252; snapped, the grey is 255.
    CBmpProcessing p;
    const COLORLEVELSITEM range{1.0f, 0, 255, 250, 255};
    p.SetColorLevelsData(&range, 0);
    ShrinkCall c{1, 1, 8, 1, 1, 8};
    c.color = tagColorCFG{0, 0, 1};
    EXPECT_EQ(Shrink(p, std::vector<uint8_t>{100, 0, 0, 0}, c)[0], 255);
}

TEST(Shrink, ZeroBrightnessAndContrastSkipTheLightTableSetEarlier)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    const std::vector<uint8_t> src = {100, 0, 0, 0};
    EXPECT_EQ(Shrink(p, src, ShrinkCall{1, 1, 8, 1, 1, 8})[0], 100);
}

TEST(Shrink, NonZeroBrightnessAppliesTheLightTableToTheAverages)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    ShrinkCall c{1, 1, 8, 1, 1, 8};
    c.color = tagColorCFG{1, 0, 0};  // only switches the table on
    EXPECT_EQ(Shrink(p, std::vector<uint8_t>{100, 0, 0, 0}, c)[0], 120);
}

TEST(Shrink, TwentyFourBitDestinationKeepsTheChannelsWithoutGrey)
{
    const std::vector<uint8_t> src = {10, 20, 30, 30, 40, 50, 0, 0};  // 2 x 1 at 24 bits
    const std::vector<uint8_t> dst = Shrink(src, ShrinkCall{2, 1, 24, 1, 1, 24});
    EXPECT_EQ(dst, (std::vector<uint8_t>{20, 30, 40, kUnwritten}));
}

TEST(Shrink, EightBitDestinationWritesTheGreyOfRedGreenAndBlue)
{
    // (11 * 40 + 16 * 30 + 5 * 20) >> 5 = 31.
    const std::vector<uint8_t> src = {10, 20, 30, 30, 40, 50, 0, 0};
    EXPECT_EQ(Shrink(src, ShrinkCall{2, 1, 24, 1, 1, 8})[0], 31);
}

TEST(Shrink, SourceOfAnotherDepthAddsChannelsNeverRead)
{
    const std::vector<uint8_t> src(8, 99);  // 2 x 1 at 16 bits
    EXPECT_EQ(Shrink(src, ShrinkCall{2, 1, 16, 1, 1, 8})[0], 0);
}

TEST(Shrink, DestinationOfAnotherDepthIsNotWritten)
{
    int status = 0;
    CBmpProcessing p;
    const std::vector<uint8_t> dst =
        Shrink(p, std::vector<uint8_t>{5, 5, 0, 0}, ShrinkCall{2, 1, 8, 1, 1, 16}, &status);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(dst, std::vector<uint8_t>(4, kUnwritten));
}

TEST(Shrink, DestinationRowStrideIsTheSizeOverTheHeight)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src = {1, 1, 2, 2, 1, 1, 2, 2};  // 4 x 2
    std::vector<uint8_t> dst(12, kUnwritten);
    unsigned char* out = dst.data();
    EXPECT_EQ(p.InvoicQIShrinkImg2(4, 2, 8, 4, src.data(), nullptr, 2, 2, 8, &out, nullptr, 12, kNoTone, 0, kNoTone, 0,
                                   kNoWhitening),
              1);
    EXPECT_EQ(dst, (std::vector<uint8_t>{1, 2, kUnwritten, kUnwritten, kUnwritten, kUnwritten, 1, 2, kUnwritten,
                                         kUnwritten, kUnwritten, kUnwritten}));
}

TEST(Shrink, SecondSourceIsShrunkWithItsOwnColourSettingIntoItsOwnDestination)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    const std::vector<uint8_t> src = {100, 100, 0, 0};
    const std::vector<uint8_t> src2 = {100, 100, 0, 0};
    std::vector<uint8_t> dst(4, kUnwritten), dst2(4, kUnwritten);
    unsigned char* out = dst.data();
    unsigned char* out2 = dst2.data();
    EXPECT_EQ(p.InvoicQIShrinkImg2(2, 1, 8, 4, src.data(), src2.data(), 1, 1, 8, &out, &out2, 4, kNoTone, 0,
                                   tagColorCFG{20, 0, 0}, 0, kNoWhitening),
              1);
    EXPECT_EQ(dst[0], 100);
    EXPECT_EQ(dst2[0], 120);
}

TEST(Shrink, MissingSourceOrDestinationReturns0AndWritesNothing)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src = {1, 2, 3, 4};
    std::vector<uint8_t> dst(4, kUnwritten);
    unsigned char* out = dst.data();
    unsigned char* none = nullptr;
    EXPECT_EQ(p.InvoicQIShrinkImg2(2, 1, 8, 4, nullptr, nullptr, 1, 1, 8, &out, nullptr, 4, kNoTone, 0, kNoTone, 0,
                                   kNoWhitening),
              0);
    EXPECT_EQ(p.InvoicQIShrinkImg2(2, 1, 8, 4, src.data(), nullptr, 1, 1, 8, nullptr, nullptr, 4, kNoTone, 0, kNoTone,
                                   0, kNoWhitening),
              0);
    EXPECT_EQ(p.InvoicQIShrinkImg2(2, 1, 8, 4, src.data(), nullptr, 1, 1, 8, &none, nullptr, 4, kNoTone, 0, kNoTone, 0,
                                   kNoWhitening),
              0);
    EXPECT_EQ(dst, std::vector<uint8_t>(4, kUnwritten));
}

TEST(Shrink, ZeroSizesAreRefused)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src = {1, 2, 3, 4};
    std::vector<uint8_t> dst(4, kUnwritten);
    unsigned char* out = dst.data();
    EXPECT_EQ(p.InvoicQIShrinkImg2(2, 1, 8, 4, src.data(), nullptr, 1, 0, 8, &out, nullptr, 4, kNoTone, 0, kNoTone, 0,
                                   kNoWhitening),
              0);
    EXPECT_EQ(p.InvoicQIShrinkImg2(2, 1, 8, 4, src.data(), nullptr, 0, 1, 8, &out, nullptr, 4, kNoTone, 0, kNoTone, 0,
                                   kNoWhitening),
              0);
    EXPECT_EQ(p.InvoicQIShrinkImg2(0, 1, 8, 4, src.data(), nullptr, 1, 1, 8, &out, nullptr, 4, kNoTone, 0, kNoTone, 0,
                                   kNoWhitening),
              0);
    EXPECT_EQ(dst, std::vector<uint8_t>(4, kUnwritten));
}

TEST(Shrink, DestinationRowsShorterThanTheWidthAreRefused)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src(8, 1);
    std::vector<uint8_t> dst(3, kUnwritten);
    unsigned char* out = dst.data();
    EXPECT_EQ(p.InvoicQIShrinkImg2(8, 1, 8, 8, src.data(), nullptr, 4, 1, 8, &out, nullptr, 3, kNoTone, 0, kNoTone, 0,
                                   kNoWhitening),
              0);
    EXPECT_EQ(dst, std::vector<uint8_t>(3, kUnwritten));
}

TEST(Shrink, DestinationNoTallerThanTheSourceHasEveryPixelWrittenAndNoPadding)
{
    // The renderer leaves such destinations unfilled and fills only what
    // lies around the pixels; two different prefills must give the same
    // pixels and keep their own padding.
    kvtest::RandomImages rnd(717);
    for (int round = 0; round < 200; ++round) {
        const uint32_t bits = round % 2 ? 24 : 8;
        const uint32_t sw = rnd.Int(1, 40), sh = rnd.Int(1, 30);
        const uint32_t dw = rnd.Int(1, sw + 5), dh = rnd.Int(1, sh);
        const std::vector<uint8_t> src = rnd.Image(sw, sh, bits);
        const uint32_t stride = Stride(bits, dw), rowBytes = dw * bits / 8;
        std::vector<uint8_t> first(stride * dh, 0), second(stride * dh, 255);
        for (std::vector<uint8_t>* dst : {&first, &second}) {
            unsigned char* out = dst->data();
            ASSERT_EQ(CBmpProcessing().InvoicQIShrinkImg2(sw, sh, bits, Stride(bits, sw), src.data(), nullptr, dw, dh,
                                                          bits, &out, nullptr, stride * dh, kNoTone, 0, kNoTone, 0,
                                                          kPipelineRect),
                      1);
        }
        for (uint32_t i = 0; i < stride * dh; ++i) {
            if (i % stride < rowBytes) {
                ASSERT_EQ(first[i], second[i]) << sw << "x" << sh << " -> " << dw << "x" << dh << " byte " << i;
            } else {
                ASSERT_EQ(first[i], 0) << sw << "x" << sh << " -> " << dw << "x" << dh << " byte " << i;
                ASSERT_EQ(second[i], 255) << sw << "x" << sh << " -> " << dw << "x" << dh << " byte " << i;
            }
        }
    }
}
