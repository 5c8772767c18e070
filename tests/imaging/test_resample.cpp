// Tests of the resampling to a new size with its tone steps.
#include <gtest/gtest.h>

#include <vector>

#include "BmpProcessing.h"
#include "ImageTestSupport.h"

using kvtest::Stride;

namespace {

constexpr tagColorCFG kNoTone{0, 0, 0};
constexpr uint8_t kUnwritten = 200;

struct Sizes {
    uint32_t srcWidth, srcHeight, bits, dstWidth, dstHeight;
};

// Resamples into a fresh destination at the standard stride, prefilled
// with kUnwritten; `status` receives the result.
std::vector<uint8_t> Resample(CBmpProcessing& p, const std::vector<uint8_t>& src, const Sizes& s,
                              tagColorCFG tone = kNoTone, int32_t* status = nullptr)
{
    const uint32_t dstSize = Stride(s.bits, s.dstWidth) * s.dstHeight;
    std::vector<uint8_t> dst(dstSize == 0 ? 8 : dstSize, kUnwritten);
    unsigned char* out = dst.data();
    const int32_t r = p.InvoicResampleImg2(s.srcWidth, s.srcHeight, s.bits, Stride(s.bits, s.srcWidth), src.data(),
                                           s.dstWidth, s.dstHeight, 0, &out, dstSize, tone, 0, tagRECT{0, 0, 0, 0});
    if (status != nullptr) {
        *status = r;
    }
    return dst;
}

std::vector<uint8_t> Resample(const std::vector<uint8_t>& src, const Sizes& s, tagColorCFG tone = kNoTone)
{
    CBmpProcessing p;
    return Resample(p, src, s, tone);
}

// The source with every pixel whose channels all exceed 250 made white.
std::vector<uint8_t> SnappedCopy(std::vector<uint8_t> img, uint32_t w, uint32_t h, uint32_t bits)
{
    const uint32_t stride = Stride(bits, w), bytes = bits / 8;
    for (uint32_t y = 0; y < h; ++y) {
        for (uint32_t x = 0; x < w; ++x) {
            uint8_t* p = &img[y * stride + x * bytes];
            bool white = true;
            for (uint32_t i = 0; i < bytes; ++i) {
                white = white && p[i] > 250;
            }
            if (white) {
                for (uint32_t i = 0; i < bytes; ++i) {
                    p[i] = 255;
                }
            }
        }
    }
    return img;
}

// Pixel bytes only, without the row padding.
std::vector<uint8_t> PixelBytes(const std::vector<uint8_t>& img, uint32_t w, uint32_t h, uint32_t bits)
{
    const uint32_t stride = Stride(bits, w), rowBytes = w * bits / 8;
    std::vector<uint8_t> out;
    for (uint32_t y = 0; y < h; ++y) {
        out.insert(out.end(), img.begin() + y * stride, img.begin() + y * stride + rowBytes);
    }
    return out;
}

}  // namespace

TEST(Resampling, ZeroDestinationHeightWritesNothingAndReturns1)
{
    CBmpProcessing p;
    int32_t status = 0;
    const std::vector<uint8_t> dst = Resample(p, std::vector<uint8_t>(8, 0), Sizes{2, 2, 8, 2, 0}, kNoTone, &status);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(dst, std::vector<uint8_t>(8, kUnwritten));
}

TEST(Resampling, ZeroDestinationWidthWritesNothingAndReturns1)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src(8, 0);
    std::vector<uint8_t> dst(8, kUnwritten);
    unsigned char* out = dst.data();
    EXPECT_EQ(p.InvoicResampleImg2(2, 2, 8, 4, src.data(), 0, 2, 0, &out, 8, kNoTone, 0, tagRECT{}), 1);
    EXPECT_EQ(dst, std::vector<uint8_t>(8, kUnwritten));
}

TEST(Resampling, EqualSizeReproducesTheSourceWithNearWhiteSnapped)
{
    kvtest::RandomImages rnd(21);
    const uint32_t sizes[][2] = {{1, 1}, {7, 3}, {33, 17}, {64, 5}};
    for (uint32_t bits : {8u, 24u}) {
        for (const auto& s : sizes) {
            const std::vector<uint8_t> src = rnd.Image(s[0], s[1], bits);
            const std::vector<uint8_t> dst = Resample(src, Sizes{s[0], s[1], bits, s[0], s[1]});
            EXPECT_EQ(PixelBytes(dst, s[0], s[1], bits),
                      PixelBytes(SnappedCopy(src, s[0], s[1], bits), s[0], s[1], bits))
                << s[0] << "x" << s[1] << "@" << bits;
        }
    }
}

TEST(Resampling, EnlargingPicksTheNearestSourcePixel)
{
    // Positions -0.25, 0.25, 0.75, 1.25 round to columns 0, 0, 1, 1.
    const std::vector<uint8_t> src = {10, 90, 0, 0};
    EXPECT_EQ(Resample(src, Sizes{2, 1, 8, 4, 1}), (std::vector<uint8_t>{10, 10, 90, 90}));
}

TEST(Resampling, ShrinkingInOneDirectionOnlyStillAveragesAreas)
{
    // 4 x 2 to 2 x 2: pixel (0, 0) averages source columns 0 and 1 (the
    // nearest pixel would have been column 1 alone).
    const std::vector<uint8_t> src = {10, 30, 50, 70, 10, 30, 50, 70};
    const std::vector<uint8_t> dst = Resample(src, Sizes{4, 2, 8, 2, 2});
    EXPECT_EQ(dst[0], 20);
    EXPECT_EQ(dst[1], 60);
}

TEST(Resampling, ShrinkingInBothDirectionsAveragesBoxes)
{
    const std::vector<uint8_t> src = {10, 30, 0, 0, 50, 71, 0, 0};  // 2 x 2
    EXPECT_EQ(Resample(src, Sizes{2, 2, 8, 1, 1})[0], 40);          // 161 / 4
}

TEST(Resampling, TwentyFourBitOutputKeepsBlueGreenRed)
{
    const std::vector<uint8_t> src = {20, 30, 40, 0};  // blue, green, red
    const std::vector<uint8_t> dst = Resample(src, Sizes{1, 1, 24, 1, 1});
    EXPECT_EQ(dst, (std::vector<uint8_t>{20, 30, 40, kUnwritten}));
}

TEST(Resampling, LevelsSwitchOf300Or0BypassesTheTableAndItsSnap)
{
    CBmpProcessing p;
    const COLORLEVELSITEM gamma2{2.0f, 0, 255, 0, 255};
    p.SetColorLevelsData(&gamma2, 0);
    const std::vector<uint8_t> src = {128, 250, 0, 0};
    const Sizes s{2, 1, 8, 2, 1};
    EXPECT_EQ(Resample(p, src, s, tagColorCFG{0, 0, 300}), (std::vector<uint8_t>{128, 250, kUnwritten, kUnwritten}));
    EXPECT_EQ(Resample(p, src, s, tagColorCFG{0, 0, 0}), (std::vector<uint8_t>{128, 250, kUnwritten, kUnwritten}));
}

TEST(Resampling, LevelsSwitchOnUsesTableZeroForEveryChannel)
{
    CBmpProcessing p;
    const COLORLEVELSITEM gamma2{2.0f, 0, 255, 0, 255};
    p.SetColorLevelsData(&gamma2, 0);
    const std::vector<uint8_t> src = {128, 128, 128, 0};
    EXPECT_EQ(Resample(p, src, Sizes{1, 1, 24, 1, 1}, tagColorCFG{0, 0, 150}),
              (std::vector<uint8_t>{64, 64, 64, kUnwritten}));
}

TEST(Resampling, LevelsStepSnapsAt250WhileReadsSnapOnlyAbove250)
{
    // 250 passes the read unchanged; the levels step (identity table) then
    // makes it white.
    CBmpProcessing p;
    const std::vector<uint8_t> src = {250, 0, 0, 0};
    EXPECT_EQ(Resample(p, src, Sizes{1, 1, 8, 1, 1}, tagColorCFG{0, 0, 0})[0], 250);
    EXPECT_EQ(Resample(p, src, Sizes{1, 1, 8, 1, 1}, tagColorCFG{0, 0, 1})[0], 255);
}

TEST(Resampling, NonZeroBrightnessAppliesTheLightTable)
{
    CBmpProcessing p;
    p.SetLightTable(20, 0);
    const std::vector<uint8_t> src = {100, 0, 0, 0};
    EXPECT_EQ(Resample(p, src, Sizes{1, 1, 8, 1, 1}, tagColorCFG{20, 0, 0})[0], 120);
    EXPECT_EQ(Resample(p, src, Sizes{1, 1, 8, 1, 1}, kNoTone)[0], 100);
}

TEST(Resampling, SourceOfAnotherDepthReadsAsWhite)
{
    // One grey byte per output pixel; the rest of the 8-byte row is untouched.
    const std::vector<uint8_t> src(8, 7);  // 2 x 1 at 32 bits
    std::vector<uint8_t> want(8, kUnwritten);
    want[0] = want[1] = 255;
    EXPECT_EQ(Resample(src, Sizes{2, 1, 32, 2, 1}), want);
}

TEST(Resampling, MissingBuffersAreRefused)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src(4, 0);
    std::vector<uint8_t> dst(4, kUnwritten);
    unsigned char* out = dst.data();
    unsigned char* none = nullptr;
    EXPECT_EQ(p.InvoicResampleImg2(1, 1, 8, 4, nullptr, 1, 1, 0, &out, 4, kNoTone, 0, tagRECT{}), 0);
    EXPECT_EQ(p.InvoicResampleImg2(1, 1, 8, 4, src.data(), 1, 1, 0, nullptr, 4, kNoTone, 0, tagRECT{}), 0);
    EXPECT_EQ(p.InvoicResampleImg2(1, 1, 8, 4, src.data(), 1, 1, 0, &none, 4, kNoTone, 0, tagRECT{}), 0);
    EXPECT_EQ(dst, std::vector<uint8_t>(4, kUnwritten));
}

TEST(Resampling, DestinationRowsShorterThanTheWidthAreRefused)
{
    CBmpProcessing p;
    const std::vector<uint8_t> src(4, 0);
    std::vector<uint8_t> dst(3, kUnwritten);
    unsigned char* out = dst.data();
    EXPECT_EQ(p.InvoicResampleImg2(1, 1, 8, 4, src.data(), 4, 1, 0, &out, 3, kNoTone, 0, tagRECT{}), 0);
    EXPECT_EQ(dst, std::vector<uint8_t>(3, kUnwritten));
}
