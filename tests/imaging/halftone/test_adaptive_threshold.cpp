// Tests of the spreading of block thresholds (Resample), of adaptive
// thresholding with interpolated block thresholds (AdaptiveThreshold) and of
// local thresholding with fixed 64 x 64 blocks (AdThresholdImgLocal).
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "AdThreshold.h"
#include "BmpProcessing.h"
#include "MallocBuffer.h"

namespace {

// Owns a buffer that the code under test allocated with malloc or calloc.
using Owned = kvimg::MallocBuffer;

// The first n bytes of a buffer.
std::vector<int> Bytes(const unsigned char* p, size_t n)
{
    return std::vector<int>(p, p + n);
}

// `count` copies of `value` followed by the rest.
std::vector<int> Repeat(int value, size_t count, std::vector<int> rest = {})
{
    std::vector<int> out(count, value);
    out.insert(out.end(), rest.begin(), rest.end());
    return out;
}

// A 16 x 1 image: 100 in the first block of 8, 200 in the second.
std::vector<unsigned char> TwoBlocks100And200()
{
    std::vector<unsigned char> image(16, 100);
    std::fill(image.begin() + 8, image.end(), 200);
    return image;
}

// Runs AdaptiveThreshold on a one-row image and returns the output bytes.
std::vector<int> AdaptiveRow(const std::vector<unsigned char>& image, bool invert, int method, int block, int bias,
                             float weight)
{
    unsigned char* out = nullptr;
    int size = -1;
    const int w = static_cast<int>(image.size());
    EXPECT_EQ(AdaptiveThreshold(image.data(), w, 1, w, &out, &size, invert, method, block, bias, weight), 1);
    Owned owner(out);
    EXPECT_NE(out, nullptr);
    if (out == nullptr) {
        return {};
    }
    return Bytes(out, static_cast<size_t>(w));
}

// Runs AdThresholdImgLocal on a one-row image into a buffer of its size.
std::vector<int> LocalRow(std::vector<unsigned char>& image, bool invert)
{
    CBmpProcessing bmp;
    std::vector<unsigned char> out(image.size(), 0x5A);
    unsigned char* target = out.data();
    const unsigned w = static_cast<unsigned>(image.size());
    EXPECT_EQ(bmp.AdThresholdImgLocal(w, 1, 0, w, image.data(), w, &target, nullptr, invert, false), 1);
    EXPECT_EQ(target, out.data());
    return std::vector<int>(out.begin(), out.end());
}

}  // namespace

// --- Resample ---

TEST(Resample, TwoByTwoToFourByFourGivesTheListedFirstRow)
{
    const unsigned char src[] = {0, 100, 100, 200};
    unsigned char* out = nullptr;
    ASSERT_EQ(Resample(src, 2, 2, 2, 4, 4, &out), 1);
    Owned owner(out);
    EXPECT_EQ(Bytes(out, 4), (std::vector<int>{0, 50, 100, 100}));
}

TEST(Resample, TwoByTwoToFourByFourSamplesWithoutHalfPixelOffset)
{
    // Rows sample at 0, 0.5, 1 and 1.5 source rows; the row after the last
    // is the last one again.
    const unsigned char src[] = {0, 100, 100, 200};
    unsigned char* out = nullptr;
    ASSERT_EQ(Resample(src, 2, 2, 2, 4, 4, &out), 1);
    Owned owner(out);
    EXPECT_EQ(Bytes(out, 16),
              (std::vector<int>{0, 50, 100, 100, 50, 100, 150, 150, 100, 150, 200, 200, 100, 150, 200, 200}));
}

TEST(Resample, ValuesAreTruncatedNotRounded)
{
    // 1 x 1 from {0, 3}: position 0.5 gives 1.5, stored as 1.
    const unsigned char src[] = {0, 3};
    unsigned char* out = nullptr;
    ASSERT_EQ(Resample(src, 2, 1, 2, 4, 1, &out), 1);
    Owned owner(out);
    EXPECT_EQ(Bytes(out, 4), (std::vector<int>{0, 1, 3, 3}));
}

TEST(Resample, OutputRowsArePaddedToFourBytes)
{
    const unsigned char src[] = {7};
    unsigned char* out = nullptr;
    ASSERT_EQ(Resample(src, 1, 1, 1, 3, 2, &out), 1);
    Owned owner(out);
    EXPECT_EQ(Bytes(out, 8), (std::vector<int>{7, 7, 7, 0, 7, 7, 7, 0}));
}

TEST(Resample, SourceStrideSkipsPadding)
{
    // 2 x 2 to 1 x 2: the second output row samples source row 1, which
    // starts at the stride (4), not at the width (2).
    const unsigned char src[] = {10, 20, 99, 99, 30, 40, 99, 99};
    unsigned char* out = nullptr;
    ASSERT_EQ(Resample(src, 2, 2, 4, 1, 2, &out), 1);
    Owned owner(out);
    EXPECT_EQ(Bytes(out, 8), (std::vector<int>{10, 0, 0, 0, 30, 0, 0, 0}));
}

TEST(Resample, EqualSizesReturnOneAndProduceNoOutput)
{
    const unsigned char src[] = {1, 2, 3, 4};
    unsigned char sentinel = 0;
    unsigned char* out = &sentinel;
    EXPECT_EQ(Resample(src, 2, 2, 2, 2, 2, &out), 1);
    EXPECT_EQ(out, &sentinel);
}

TEST(Resample, ZeroDestinationSizeIsRefused)
{
    const unsigned char src[] = {1, 2, 3, 4};
    unsigned char* out = nullptr;
    EXPECT_EQ(Resample(src, 2, 2, 2, 0, 4, &out), 0);
    EXPECT_EQ(Resample(src, 2, 2, 2, 4, 0, &out), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(Resample, NullSourceOrOutputIsRefused)
{
    const unsigned char src[] = {1, 2, 3, 4};
    unsigned char* out = nullptr;
    EXPECT_EQ(Resample(nullptr, 2, 2, 2, 4, 4, &out), 0);
    EXPECT_EQ(Resample(src, 2, 2, 2, 4, 4, nullptr), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(Resample, EmptySourceOrShortStrideIsRefused)
{
    const unsigned char src[] = {1, 2, 3, 4};
    unsigned char* out = nullptr;
    EXPECT_EQ(Resample(src, 0, 2, 2, 4, 4, &out), 0);
    EXPECT_EQ(Resample(src, 2, 2, 1, 4, 4, &out), 0);
    EXPECT_EQ(out, nullptr);
}

// --- AdaptiveThreshold ---

TEST(AdaptiveThreshold, BlockSizeBelowEightUsesBlocksOfEight)
{
    // 10 10 10 10 50 50 50 50 | 30 x 8 with local thresholds only: blocks of
    // 8 give 16 and 29, spread as 16, 17, 19, 20, ... so the 10s are black.
    // Blocks of 4 would give 9 for the first four and make the first white.
    std::vector<unsigned char> image = {10, 10, 10, 10, 50, 50, 50, 50};
    image.insert(image.end(), 8, 30);
    EXPECT_EQ(AdaptiveRow(image, false, 0, 4, 0, 0.0f), Repeat(0, 4, Repeat(255, 12)));
}

TEST(AdaptiveThreshold, PixelEqualToItsThresholdIsWhite)
{
    // Uniform 100: block and whole give 99, bias 1 makes the map exactly 100.
    const std::vector<unsigned char> image(4, 100);
    EXPECT_EQ(AdaptiveRow(image, false, 0, 64, 1, 0.5f), Repeat(255, 4));
}

TEST(AdaptiveThreshold, PixelEqualToItsThresholdIsBlackWhenInverted)
{
    const std::vector<unsigned char> image(4, 100);
    EXPECT_EQ(AdaptiveRow(image, true, 0, 64, 1, 0.5f), Repeat(0, 4));
}

TEST(AdaptiveThreshold, PixelBelowItsThresholdIsBlack)
{
    // Map 101 (bias 2) over a uniform 100.
    const std::vector<unsigned char> image(4, 100);
    EXPECT_EQ(AdaptiveRow(image, false, 0, 64, 2, 0.5f), Repeat(0, 4));
}

TEST(AdaptiveThreshold, BlockThresholdsAreSpreadBilinearlyFromBlockCorners)
{
    // Local only (weight 0): block thresholds 99 and 199 spread as
    // 99 + 12.5 x over the first block, so only its first pixel reaches 100.
    EXPECT_EQ(AdaptiveRow(TwoBlocks100And200(), false, 0, 8, 0, 0.0f), Repeat(255, 1, Repeat(0, 7, Repeat(255, 8))));
}

TEST(AdaptiveThreshold, WeightBelowZeroCountsAsZero)
{
    EXPECT_EQ(AdaptiveRow(TwoBlocks100And200(), false, 0, 8, 0, -1.0f), Repeat(255, 1, Repeat(0, 7, Repeat(255, 8))));
}

TEST(AdaptiveThreshold, WeightAboveOneCountsAsOne)
{
    // Whole image only: (100 + 100 + 150) / 3 = 116 everywhere.
    EXPECT_EQ(AdaptiveRow(TwoBlocks100And200(), false, 0, 8, 0, 5.0f), Repeat(0, 8, Repeat(255, 8)));
}

TEST(AdaptiveThreshold, OutputRowsArePaddedToFourBytesAndSizeIsReported)
{
    const std::vector<unsigned char> image = {100, 100, 100, 0, 100, 100, 100, 0};
    unsigned char* out = nullptr;
    int size = -1;
    ASSERT_EQ(AdaptiveThreshold(image.data(), 3, 2, 4, &out, &size, false, 0, 64, 1, 0.5f), 1);
    Owned owner(out);
    EXPECT_EQ(size, 8);
    EXPECT_EQ(Bytes(out, 8), (std::vector<int>{255, 255, 255, 0, 255, 255, 255, 0}));
}

TEST(AdaptiveThreshold, NullImageFails)
{
    unsigned char* out = nullptr;
    int size = -1;
    EXPECT_EQ(AdaptiveThreshold(nullptr, 4, 4, 4, &out, &size, false, 0, 64, 0, 0.5f), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(AdaptiveThreshold, EmptyImageFails)
{
    const unsigned char image[] = {1};
    unsigned char* out = nullptr;
    int size = -1;
    EXPECT_EQ(AdaptiveThreshold(image, 0, 1, 1, &out, &size, false, 0, 64, 0, 0.5f), 0);
    EXPECT_EQ(AdaptiveThreshold(image, 1, 0, 1, &out, &size, false, 0, 64, 0, 0.5f), 0);
    EXPECT_EQ(out, nullptr);
}

TEST(AdaptiveThreshold, MissingOutputPointersFail)
{
    const unsigned char image[] = {1, 2, 3, 4};
    unsigned char* out = nullptr;
    int size = -1;
    EXPECT_EQ(AdaptiveThreshold(image, 4, 1, 4, nullptr, &size, false, 0, 64, 0, 0.5f), 0);
    EXPECT_EQ(AdaptiveThreshold(image, 4, 1, 4, &out, nullptr, false, 0, 64, 0, 0.5f), 0);
    EXPECT_EQ(out, nullptr);
}

// --- AdThresholdImgLocal ---

TEST(AdThresholdImgLocal, UniformGreyIsWhiteAboveItsThreshold)
{
    // Block and whole image give 99: 100 > 99.
    std::vector<unsigned char> image(4, 100);
    EXPECT_EQ(LocalRow(image, false), Repeat(255, 4));
}

TEST(AdThresholdImgLocal, GradientIsBlackOnlyBelowItsThreshold)
{
    // {0, 100, 200}: criteria 1 and 3 tie at 0, criterion 2 finds none,
    // criterion 4 balances at 100; (0 + 0 + 100) / 3 = 33 for block and image.
    std::vector<unsigned char> gradient = {0, 100, 200};
    EXPECT_EQ(LocalRow(gradient, false), (std::vector<int>{0, 255, 255}));
}

TEST(AdThresholdImgLocal, PixelEqualToItsBlockThresholdIsBlack)
{
    // 64 x 100 then 64 x 106. Whole image (100 + 100 + 103) / 3 = 101; the
    // first block's 99 gives 49.5 + 50.5 = 100, equal to its pixels, which
    // are therefore not above it. The second block: 52.5 + 50.5 = 103.
    std::vector<unsigned char> image(64, 100);
    image.insert(image.end(), 64, 106);
    EXPECT_EQ(LocalRow(image, false), Repeat(0, 64, Repeat(255, 64)));
}

TEST(AdThresholdImgLocal, InvertSwapsBlackAndWhite)
{
    std::vector<unsigned char> gradient = {0, 100, 200};
    EXPECT_EQ(LocalRow(gradient, true), (std::vector<int>{255, 0, 0}));
}

TEST(AdThresholdImgLocal, BlockThresholdWeighsHalfAgainstTheWholeImage)
{
    // 64 x 50 then 64 x 200. Whole image (50 + 50 + 125) / 3 = 75; block 49:
    // 24.5 + 37.5 = 62, so the 50s are black although their own block alone
    // would make them white.
    std::vector<unsigned char> image(64, 50);
    image.insert(image.end(), 64, 200);
    EXPECT_EQ(LocalRow(image, false), Repeat(0, 64, Repeat(255, 64)));
}

TEST(AdThresholdImgLocal, WholeImageThresholdWeighsHalfAgainstTheBlock)
{
    // 32 x (0, 100) then 64 x 200. Whole image (100 + 100 + 117) / 3 = 105,
    // first block 16: 8 + 52.5 = 60.5, truncated to 60, so the 100s are
    // white although the whole-image threshold alone would make them black.
    std::vector<unsigned char> image;
    for (int i = 0; i < 32; ++i) {
        image.push_back(0);
        image.push_back(100);
    }
    image.insert(image.end(), 64, 200);
    std::vector<int> expected;
    for (int i = 0; i < 32; ++i) {
        expected.push_back(0);
        expected.push_back(255);
    }
    expected.insert(expected.end(), 64, 255);
    EXPECT_EQ(LocalRow(image, false), expected);
}

TEST(AdThresholdImgLocal, AllWhiteImageStaysWhiteWithTheMemberSelectorsZero)
{
    std::vector<unsigned char> image(4, 255);
    EXPECT_EQ(LocalRow(image, false), Repeat(255, 4));
}

TEST(AdThresholdImgLocal, OutputUsesTheImageRowStride)
{
    CBmpProcessing bmp;
    std::vector<unsigned char> image = {100, 100, 7, 7, 100, 100, 7, 7};
    std::vector<unsigned char> out(8, 0x5A);
    unsigned char* target = out.data();
    ASSERT_EQ(bmp.AdThresholdImgLocal(2, 2, 0, 4, image.data(), 8, &target, nullptr, false, false), 1);
    EXPECT_EQ(std::vector<int>(out.begin(), out.end()), (std::vector<int>{255, 255, 0x5A, 0x5A, 255, 255, 0x5A, 0x5A}));
}

TEST(AdThresholdImgLocal, MissingOutputBufferFails)
{
    CBmpProcessing bmp;
    std::vector<unsigned char> image(4, 100);
    unsigned char* target = nullptr;
    EXPECT_EQ(bmp.AdThresholdImgLocal(4, 1, 0, 4, image.data(), 4, &target, nullptr, false, false), 0);
    EXPECT_EQ(bmp.AdThresholdImgLocal(4, 1, 0, 4, image.data(), 4, nullptr, nullptr, false, false), 0);
}

TEST(AdThresholdImgLocal, ImageSizeTooSmallForItsRowsFails)
{
    CBmpProcessing bmp;
    std::vector<unsigned char> image(8, 100);
    std::vector<unsigned char> out(8, 0x5A);
    unsigned char* target = out.data();
    EXPECT_EQ(bmp.AdThresholdImgLocal(4, 2, 0, 4, image.data(), 7, &target, nullptr, false, false), 0);
    EXPECT_EQ(std::vector<int>(out.begin(), out.end()), Repeat(0x5A, 8));
}

TEST(AdThresholdImgLocal, NullImageOrZeroSizeFails)
{
    CBmpProcessing bmp;
    std::vector<unsigned char> out(4, 0x5A);
    unsigned char* target = out.data();
    EXPECT_EQ(bmp.AdThresholdImgLocal(4, 1, 0, 4, nullptr, 4, &target, nullptr, false, false), 0);
    EXPECT_EQ(bmp.AdThresholdImgLocal(0, 1, 0, 4, out.data(), 4, &target, nullptr, false, false), 0);
    EXPECT_EQ(bmp.AdThresholdImgLocal(4, 0, 0, 4, out.data(), 4, &target, nullptr, false, false), 0);
}
