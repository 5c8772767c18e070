// Tests of CBmpProcessing::Dither: every method on a uniform grey and on a
// gradient with hand-derived bytes, the row addressing of each method, the
// listed edge cases, and refusals of unusable sizes.
#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "BmpProcessing.h"

namespace {

constexpr int S = 0x5A;  // sentinel for bytes a method must not write

// One Dither call on a copy of `src`, into a destination of `dstSize`
// sentinel bytes (default: the source's size). Returns the destination.
std::vector<int> DitherOnce(int method, std::vector<unsigned char> src, unsigned height, unsigned width,
                            unsigned stride, bool invert = false, size_t dstSize = 0)
{
    std::vector<unsigned char> dst(dstSize == 0 ? src.size() : dstSize, S);
    CBmpProcessing bmp;
    EXPECT_EQ(bmp.Dither(method, src.data(), dst.data(), height, width, stride, 0, invert), 1);
    return std::vector<int>(dst.begin(), dst.end());
}

// A source of `count` bytes of `value`.
std::vector<unsigned char> Uniform(int value, size_t count)
{
    return std::vector<unsigned char>(count, static_cast<unsigned char>(value));
}

// The rows given, concatenated.
std::vector<unsigned char> Rows(std::initializer_list<std::vector<int>> rows)
{
    std::vector<unsigned char> out;
    for (const auto& r : rows) {
        for (int v : r) {
            out.push_back(static_cast<unsigned char>(v));
        }
    }
    return out;
}

}  // namespace

// --- method 1: fixed threshold ---

TEST(DitherMethod1, UniformGrey128IsBlack)
{
    EXPECT_EQ(DitherOnce(1, Uniform(128, 8), 2, 4, 4), std::vector<int>(8, 0));
}

TEST(DitherMethod1, GradientSplitsBetween128And129)
{
    EXPECT_EQ(DitherOnce(1, Rows({{0, 128, 129, 255}, {129, 255, 0, 128}}), 2, 4, 4),
              (std::vector<int>{0, 0, 255, 255, 255, 255, 0, 0}));
}

TEST(DitherMethod1, Grey128GivesWhiteByteWhenInverted)
{
    EXPECT_EQ(DitherOnce(1, Rows({{128, 129}}), 1, 2, 2, true), (std::vector<int>{255, 0}));
}

// --- method 2: error diffusion to four neighbours ---

TEST(DitherMethod2, UniformGrey100DiffusesToTheHandComputedPattern)
{
    // Row 0: 100 black (e 100: +43 right, +31 below, +6 below right), 143
    // white (e -112), 51 black, 122 black; row 1 becomes 110 80 130 141 and
    // dithers to black, black (128), white (186), black (111).
    EXPECT_EQ(DitherOnce(2, Uniform(100, 8), 2, 4, 4), (std::vector<int>{0, 255, 0, 0, 0, 0, 255, 0}));
}

TEST(DitherMethod2, WhiteStartsAt129)
{
    EXPECT_EQ(DitherOnce(2, Rows({{129}}), 1, 1, 1), (std::vector<int>{255}));
    EXPECT_EQ(DitherOnce(2, Rows({{128}}), 1, 1, 1), (std::vector<int>{0}));
}

TEST(DitherMethod2, ChangesTheCallersSource)
{
    std::vector<unsigned char> src = Uniform(100, 8);
    std::vector<unsigned char> dst(8, S);
    CBmpProcessing bmp;
    ASSERT_EQ(bmp.Dither(2, src.data(), dst.data(), 2, 4, 4, 0, false), 1);
    EXPECT_EQ(std::vector<int>(src.begin(), src.end()), (std::vector<int>{100, 143, 51, 122, 110, 128, 186, 111}));
}

TEST(DitherMethod2, GradientDiffusesToTheHandComputedPattern)
{
    // 60 black (+26 right: 146), 146 white (-47: 133), 133 white (-53: 187).
    EXPECT_EQ(DitherOnce(2, Rows({{60, 120, 180, 240}}), 1, 4, 4), (std::vector<int>{0, 255, 255, 255}));
}

TEST(DitherMethod2, SharesTruncateTowardZero)
{
    // e = 200 - 255 = -55: 7/16 of it is -24.06, truncated to -24 (not -25).
    std::vector<unsigned char> src = Rows({{200, 100}});
    std::vector<unsigned char> dst(2, S);
    CBmpProcessing bmp;
    ASSERT_EQ(bmp.Dither(2, src.data(), dst.data(), 1, 2, 2, 0, false), 1);
    EXPECT_EQ(src[1], 76);
}

TEST(DitherMethod2, UpdatedValuesAreClampedTo255)
{
    // 128 is black with e 128: 250 + 56 = 306 is stored as 255.
    std::vector<unsigned char> src = Rows({{128, 250}});
    std::vector<unsigned char> dst(2, S);
    CBmpProcessing bmp;
    ASSERT_EQ(bmp.Dither(2, src.data(), dst.data(), 1, 2, 2, 0, false), 1);
    EXPECT_EQ(src[1], 255);
}

TEST(DitherMethod2, UpdatedValuesAreClampedTo0)
{
    // 200 is white with e -55: 10 - 24 is stored as 0.
    std::vector<unsigned char> src = Rows({{200, 10}});
    std::vector<unsigned char> dst(2, S);
    CBmpProcessing bmp;
    ASSERT_EQ(bmp.Dither(2, src.data(), dst.data(), 1, 2, 2, 0, false), 1);
    EXPECT_EQ(src[1], 0);
}

// --- method 3: 16 x 16 screen ---

TEST(DitherMethod3, UniformGrey100IsWhiteWhereTheEntryIsAtMost100)
{
    // Entries 1 161 32 137 / 231 96 222 87.
    EXPECT_EQ(DitherOnce(3, Uniform(100, 8), 2, 4, 4), (std::vector<int>{255, 0, 255, 0, 0, 255, 0, 255}));
}

TEST(DitherMethod3, GradientAgainstTheFirstTwoScreenRows)
{
    EXPECT_EQ(DitherOnce(3, Rows({{0, 50, 100, 250}, {0, 50, 100, 250}}), 2, 4, 4),
              (std::vector<int>{0, 0, 255, 255, 0, 0, 0, 255}));
}

TEST(DitherMethod3, SourceZeroIsBlackAtEveryPosition)
{
    EXPECT_EQ(DitherOnce(3, Uniform(0, 256), 16, 16, 16), std::vector<int>(256, 0));
}

TEST(DitherMethod3, Source250IsWhiteAtEveryPosition)
{
    EXPECT_EQ(DitherOnce(3, Uniform(250, 256), 16, 16, 16), std::vector<int>(256, 255));
}

TEST(DitherMethod3, SourceOneIsWhiteAtOriginWhoseEntryIsOne)
{
    const std::vector<int> out = DitherOnce(3, Uniform(1, 256), 16, 16, 16);
    EXPECT_EQ(out[0], 255);
    EXPECT_EQ(out[1], 0);
}

TEST(DitherMethod3, ScreenRepeatsEvery16Columns)
{
    // Column 16 uses entry 1 of column 0 again; column 17 uses 161.
    const std::vector<int> out = DitherOnce(3, Uniform(1, 18), 1, 18, 18);
    EXPECT_EQ(out[16], 255);
    EXPECT_EQ(out[17], 0);
}

// --- method 4: local adaptive threshold ---

TEST(DitherMethod4, UniformGrey100IsWhite)
{
    EXPECT_EQ(DitherOnce(4, Uniform(100, 8), 2, 4, 4), std::vector<int>(8, 255));
}

TEST(DitherMethod4, GradientIsBlackOnlyBelowItsThreshold)
{
    // Threshold (0 + 0 + 100) / 3 = 33; the padding byte is not written.
    EXPECT_EQ(DitherOnce(4, Rows({{0, 100, 200, 7}}), 1, 3, 4), (std::vector<int>{0, 255, 255, S}));
}

TEST(DitherMethod4, InvertSwapsBlackAndWhite)
{
    EXPECT_EQ(DitherOnce(4, Rows({{0, 100, 200, 7}}), 1, 3, 4, true), (std::vector<int>{255, 0, 0, S}));
}

TEST(DitherMethod4, EqualBlackAndWhiteSplitsAtTheConsensus42)
{
    // Method 0 of the selector: 42 for block and image, so 0 black, 255 white.
    EXPECT_EQ(DitherOnce(4, Rows({{0, 255, 0, 255}}), 1, 4, 4), (std::vector<int>{0, 255, 0, 255}));
}

// --- method 5: 40 x 40 screen ---

TEST(DitherMethod5, UniformGrey100IsBlackWhereTheEntryIsAbove100)
{
    // Entries 1 154 250 72 / 51 140 38 194.
    EXPECT_EQ(DitherOnce(5, Uniform(100, 8), 2, 4, 4), (std::vector<int>{255, 0, 0, 255, 255, 0, 255, 0}));
}

TEST(DitherMethod5, GradientAgainstTheFirstTwoScreenRows)
{
    EXPECT_EQ(DitherOnce(5, Rows({{0, 60, 160, 250}, {0, 60, 160, 250}}), 2, 4, 4),
              (std::vector<int>{0, 0, 0, 255, 0, 0, 255, 255}));
}

TEST(DitherMethod5, Source250IsWhiteAlthoughTheEntryIs253)
{
    // Row 0, column 12 holds 253.
    const std::vector<int> out = DitherOnce(5, Uniform(250, 13), 1, 13, 13);
    EXPECT_EQ(out[12], 255);
}

TEST(DitherMethod5, SourceEqualToTheEntryIsWhite)
{
    // Row 0 column 1 holds 154.
    EXPECT_EQ(DitherOnce(5, Rows({{154, 154}}), 1, 2, 2), (std::vector<int>{255, 255}));
    EXPECT_EQ(DitherOnce(5, Rows({{153, 153}}), 1, 2, 2), (std::vector<int>{255, 0}));
}

// --- method 6: twelve-neighbour error diffusion ---

TEST(DitherMethod6, UniformGrey100DiffusesToTheHandComputedPattern)
{
    // Work 56 everywhere; (0,0) and (1,0) white spreading their errors,
    // (0,1) reaches exactly 72 (white), (1,1) reaches 86 (black). Rows 2, 3
    // and columns 2, 3 are not written.
    EXPECT_EQ(DitherOnce(6, Uniform(100, 16), 4, 4, 4),
              (std::vector<int>{255, 255, S, S, 255, 0, S, S, S, S, S, S, S, S, S, S}));
}

TEST(DitherMethod6, GradientDiffusesToTheHandComputedPattern)
{
    // Work 0 36 72 108 144: 0 white, 36 white (+6 right: 78), 78 black.
    const std::vector<unsigned char> row = {0, 64, 128, 192, 255};
    std::vector<unsigned char> src;
    for (int y = 0; y < 3; ++y) {
        src.insert(src.end(), row.begin(), row.end());
    }
    EXPECT_EQ(DitherOnce(6, src, 3, 5, 5), (std::vector<int>{255, 255, 0, S, S, S, S, S, S, S, S, S, S, S, S}));
}

TEST(DitherMethod6, Uniform255IsBlackInTheWrittenArea)
{
    EXPECT_EQ(DitherOnce(6, Uniform(255, 25), 5, 5, 5),
              (std::vector<int>{0, 0, 0, S, S, 0, 0, 0, S, S, 0, 0, 0, S, S, S, S, S, S, S, S, S, S, S, S}));
}

TEST(DitherMethod6, UniformZeroIsWhiteInTheWrittenArea)
{
    EXPECT_EQ(DitherOnce(6, Uniform(0, 25), 5, 5, 5),
              (std::vector<int>{255, 255, 255, S, S, 255, 255, 255, S, S, 255, 255, 255,
                                S,   S,   S,   S, S, S,   S,   S,   S, S, S,   S}));
}

TEST(DitherMethod6, Uniform255GivesWhiteByteWhenInverted)
{
    EXPECT_EQ(DitherOnce(6, Uniform(255, 9), 3, 3, 3, true), (std::vector<int>{255, S, S, S, S, S, S, S, S}));
}

TEST(DitherMethod6, SpreadsPositiveErrorToTheRight)
{
    // 100 -> work 56, white, e 56: +10 to the right turns its 65 into 75,
    // above 72, so black.
    EXPECT_EQ(DitherOnce(6, Rows({{100, 115, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}), 3, 4, 4),
              (std::vector<int>{255, 0, S, S, S, S, S, S, S, S, S, S}));
}

TEST(DitherMethod6, SpreadsNoNegativeError)
{
    // 200 -> work 113, black, e -31: nothing is taken from the 75 beside
    // it, which stays black (it would be 70 and white if -5 were spread).
    EXPECT_EQ(DitherOnce(6, Rows({{200, 133, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}), 3, 4, 4),
              (std::vector<int>{0, 0, S, S, S, S, S, S, S, S, S, S}));
}

namespace {

// One neighbour of method 6 and the share it gets of an error of 72
// (72 x weight / 42, truncated): weight 8 -> 13, 4 -> 6, 2 -> 3, 1 -> 1.
struct TwelveShare {
    int dx;
    int dy;
    int share;
};
constexpr TwelveShare kSharesOf72[] = {
    {1, 0, 13}, {2, 0, 6},  {-2, 1, 3}, {-1, 1, 6}, {0, 1, 13}, {1, 1, 6},
    {2, 1, 13}, {-2, 2, 1}, {-1, 2, 3}, {0, 2, 6},  {1, 2, 3},  {2, 2, 1},
};

// Source bytes whose work value (v x 144 / 255 + 0.5) is the key.
int SourceForWork(int work)
{
    switch (work) {
    case 59:
        return 104;
    case 60:
        return 106;
    case 66:
        return 116;
    case 67:
        return 118;
    case 69:
        return 122;
    case 70:
        return 124;
    case 71:
        return 125;
    case 72:
        return 127;
    default:
        return 177;  // work 100: black, e -44, spreads nothing
    }
}

// Method 6 on a 7 x 5 image of work 100 with work 72 (white, e 72) at
// (2, 0) and `work` at the neighbour; returns the neighbour's output byte.
int NeighbourAfterShare(const TwelveShare& n, int work)
{
    constexpr int kW = 7;
    constexpr int kH = 5;
    std::vector<unsigned char> src(kW * kH, static_cast<unsigned char>(SourceForWork(100)));
    src[2] = static_cast<unsigned char>(SourceForWork(72));
    src[n.dy * kW + 2 + n.dx] = static_cast<unsigned char>(SourceForWork(work));
    return DitherOnce(6, src, kH, kW, kW)[n.dy * kW + 2 + n.dx];
}

}  // namespace

TEST(DitherMethod6, EachNeighbourGetsErrorTimesWeightOver42)
{
    // With its share the neighbour reaches 73 and turns black; one less
    // than that leaves it at 72, white.
    for (const TwelveShare& n : kSharesOf72) {
        EXPECT_EQ(NeighbourAfterShare(n, 73 - n.share), 0) << n.dx << "," << n.dy;
        EXPECT_EQ(NeighbourAfterShare(n, 72 - n.share), 255) << n.dx << "," << n.dy;
    }
}

TEST(DitherMethod6, FewerThanThreeRowsWritesNothing)
{
    EXPECT_EQ(DitherOnce(6, Uniform(0, 10), 2, 5, 5), std::vector<int>(10, S));
}

TEST(DitherMethod6, FewerThanThreeColumnsWritesNothing)
{
    EXPECT_EQ(DitherOnce(6, Uniform(0, 8), 4, 2, 2), std::vector<int>(8, S));
}

// --- method 7: 15-column screen ---

TEST(DitherMethod7, UniformGrey100IsWhiteWhereLevel6ExceedsTheEntry)
{
    // Level 100 / 255 x 15 + 0.5 = 6.38 -> 6. Entries 1 6 5 0 / 11 10 4 1.
    EXPECT_EQ(DitherOnce(7, Uniform(100, 8), 2, 4, 4), (std::vector<int>{255, 0, 255, 255, 0, 0, 255, 255}));
}

TEST(DitherMethod7, VerticalGradientAgainstTheFirstFourScreenRows)
{
    // Rows of 17, 68, 136, 204: levels 1, 4, 8, 12.
    EXPECT_EQ(
        DitherOnce(7, Rows({{17, 17, 17, 17}, {68, 68, 68, 68}, {136, 136, 136, 136}, {204, 204, 204, 204}}), 4, 4, 4),
        (std::vector<int>{0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 255, 0, 255, 0, 255, 255}));
}

TEST(DitherMethod7, Source255IsWhiteEvenAboveEntry15)
{
    // Row 0 column 10 holds 15, which no level exceeds.
    const std::vector<int> out = DitherOnce(7, Uniform(255, 11), 1, 11, 11);
    EXPECT_EQ(out[10], 255);
    EXPECT_EQ(DitherOnce(7, Uniform(254, 11), 1, 11, 11)[10], 0);
}

TEST(DitherMethod7, RowFourteenOfEachFifteenReusesTableRowZero)
{
    // Level 6: row 0 is white where its entry is below 6 (1, 5, 0, 3).
    const std::vector<int> out = DitherOnce(7, Uniform(100, 15 * 15), 15, 15, 15);
    const std::vector<int> row14(out.begin() + 14 * 15, out.end());
    EXPECT_EQ(row14, (std::vector<int>{255, 0, 255, 255, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(DitherMethod7, ScreenRepeatsEvery15Columns)
{
    // Column 15 is column 0 again (entry 1, white at level 6); column 16 is
    // column 1 (entry 6, black).
    const std::vector<int> out = DitherOnce(7, Uniform(100, 17), 1, 17, 17);
    EXPECT_EQ(out[15], 255);
    EXPECT_EQ(out[16], 0);
}

// --- method 8: 4 x 4 matrix, 17 levels ---

TEST(DitherMethod8, Uniform128IsWhiteWhereTheEntryIsBelow8)
{
    EXPECT_EQ(DitherOnce(8, Uniform(128, 16), 4, 4, 4),
              (std::vector<int>{255, 0, 255, 0, 0, 255, 0, 255, 255, 0, 255, 0, 0, 255, 0, 255}));
}

TEST(DitherMethod8, GradientAgainstTheFirstTwoMatrixRows)
{
    // q = 0, 4, 12, 16 against 0 8 2 10 / 12 4 14 6.
    EXPECT_EQ(DitherOnce(8, Rows({{0, 64, 192, 255}, {0, 64, 192, 255}}), 2, 4, 4),
              (std::vector<int>{0, 0, 255, 255, 0, 0, 0, 255}));
}

TEST(DitherMethod8, Source255IsWhiteEverywhere)
{
    EXPECT_EQ(DitherOnce(8, Uniform(255, 16), 4, 4, 4), std::vector<int>(16, 255));
}

// --- method 9: 8 x 16 screen with shifted bands ---

TEST(DitherMethod9, UniformGrey200IsWhiteWhereLevel100ExceedsTheEntry)
{
    // Level 200 / 255 x 128 + 0.5 = 100.9 -> 100. Entries 128 120 109 92 /
    // 123 116 87 69.
    EXPECT_EQ(DitherOnce(9, Uniform(200, 8), 2, 4, 4), (std::vector<int>{0, 0, 0, 255, 0, 0, 255, 255}));
}

TEST(DitherMethod9, GradientAgainstTheFirstTwoScreenRows)
{
    // Levels 0 18 37 55 73 91 110 128.
    const std::vector<int> row = {0, 36, 73, 109, 146, 182, 219, 255};
    EXPECT_EQ(DitherOnce(9, Rows({row, row}), 2, 8, 8),
              (std::vector<int>{0, 0, 0, 0, 0, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255}));
}

TEST(DitherMethod9, RowsEightToFifteenUseTheScreenShiftedByEightColumns)
{
    // Row 8 reads row 0 from column 8: 15 10 64 79, all below level 100.
    const std::vector<int> out = DitherOnce(9, Uniform(200, 9 * 4), 9, 4, 4);
    EXPECT_EQ(std::vector<int>(out.begin(), out.begin() + 4), (std::vector<int>{0, 0, 0, 255}));
    EXPECT_EQ(std::vector<int>(out.begin() + 32, out.end()), (std::vector<int>{255, 255, 255, 255}));
}

TEST(DitherMethod9, LevelIsRoundedToNearest)
{
    // 185 / 255 x 128 = 92.86 rounds to 93, above the entry 92 of column 3.
    EXPECT_EQ(DitherOnce(9, Rows({{0, 0, 0, 185}}), 1, 4, 4), (std::vector<int>{0, 0, 0, 255}));
}

TEST(DitherMethod9, Source255StaysBlackOnEntry128)
{
    EXPECT_EQ(DitherOnce(9, Uniform(255, 2), 1, 2, 2), (std::vector<int>{0, 255}));
}

// --- method 10: computed 4 x 4 screen ---

TEST(DitherMethod10, UniformGrey100IsWhiteWhereTheEntryIsBelow100)
{
    // Entries 0 192 48 240 / 128 64 176 112.
    EXPECT_EQ(DitherOnce(10, Uniform(100, 8), 2, 4, 4), (std::vector<int>{255, 0, 255, 0, 0, 255, 0, 0}));
}

TEST(DitherMethod10, GradientAgainstTheFirstTwoMatrixRows)
{
    EXPECT_EQ(DitherOnce(10, Rows({{50, 100, 150, 250}, {50, 100, 150, 250}}), 2, 4, 4),
              (std::vector<int>{255, 0, 255, 255, 0, 255, 0, 255}));
}

TEST(DitherMethod10, SourceEqualToTheEntryIsBlack)
{
    EXPECT_EQ(DitherOnce(10, Rows({{0, 192}}), 1, 2, 2), (std::vector<int>{0, 0}));
}

// --- row addressing (source of 0: every method but 6 writes black) ---

TEST(DitherAddressing, Methods1To5WriteRowsAtTheSourceStride)
{
    for (int method = 1; method <= 5; ++method) {
        EXPECT_EQ(DitherOnce(method, Uniform(0, 8), 2, 2, 4), (std::vector<int>{0, 0, S, S, 0, 0, S, S}))
            << "method " << method;
    }
}

TEST(DitherAddressing, Methods7To10WriteRowsWithoutPadding)
{
    for (int method = 7; method <= 10; ++method) {
        EXPECT_EQ(DitherOnce(method, Uniform(0, 8), 2, 2, 4), (std::vector<int>{0, 0, 0, 0, S, S, S, S}))
            << "method " << method;
    }
}

TEST(DitherAddressing, Method6WritesRowsWithoutPadding)
{
    // Width 3, stride 4: one written column per row, rows 0 and 1.
    EXPECT_EQ(DitherOnce(6, Uniform(0, 16), 4, 3, 4),
              (std::vector<int>{255, S, S, 255, S, S, S, S, S, S, S, S, S, S, S, S}));
}

TEST(DitherAddressing, Methods7To10ReadSourceRowsAtTheStride)
{
    // Row 1 of the source starts at byte 4; the padding bytes are white.
    const auto src = Rows({{0, 0, 255, 255}, {0, 0, 255, 255}});
    for (int method = 7; method <= 10; ++method) {
        EXPECT_EQ(DitherOnce(method, src, 2, 2, 4), (std::vector<int>{0, 0, 0, 0, S, S, S, S})) << "method " << method;
    }
}

TEST(DitherAddressing, Methods1And2StopAtTheStrideWhenItIsShorterThanTheWidth)
{
    for (int method = 1; method <= 2; ++method) {
        EXPECT_EQ(DitherOnce(method, Uniform(0, 4), 2, 4, 2), (std::vector<int>{0, 0, 0, 0})) << "method " << method;
    }
}

TEST(DitherAddressing, Methods7To9StopAtTheStrideWhenItIsShorterThanTheWidth)
{
    // One row of width 4 but stride 2: two columns, within the 2 bytes.
    for (int method = 7; method <= 9; ++method) {
        EXPECT_EQ(DitherOnce(method, Uniform(0, 2), 1, 4, 2, false, 4), (std::vector<int>{0, 0, S, S}))
            << "method " << method;
    }
}

// --- refusals: nothing outside height x stride bytes is touched ---

TEST(DitherRefusals, MethodsThatWouldLeaveTheBuffersSkipAStrideShorterThanTheWidth)
{
    for (int method : {3, 4, 5, 10}) {
        EXPECT_EQ(DitherOnce(method, Uniform(0, 4), 2, 4, 2), std::vector<int>(4, S)) << "method " << method;
    }
    for (int method = 7; method <= 9; ++method) {
        EXPECT_EQ(DitherOnce(method, Uniform(0, 4), 2, 4, 2), std::vector<int>(4, S)) << "method " << method;
    }
}

TEST(DitherRefusals, MethodZeroLeavesTheDestinationUntouchedAndReturnsOne)
{
    EXPECT_EQ(DitherOnce(0, Uniform(0, 4), 2, 2, 2), std::vector<int>(4, S));
}

TEST(DitherRefusals, MethodElevenLeavesTheDestinationUntouchedAndReturnsOne)
{
    EXPECT_EQ(DitherOnce(11, Uniform(0, 4), 2, 2, 2), std::vector<int>(4, S));
}

TEST(DitherRefusals, ZeroSizesWriteNothing)
{
    for (int method = 1; method <= 10; ++method) {
        EXPECT_EQ(DitherOnce(method, Uniform(0, 4), 0, 2, 2), std::vector<int>(4, S)) << method;
        EXPECT_EQ(DitherOnce(method, Uniform(0, 4), 2, 0, 2), std::vector<int>(4, S)) << method;
        EXPECT_EQ(DitherOnce(method, Uniform(0, 4), 2, 2, 0), std::vector<int>(4, S)) << method;
    }
}

TEST(DitherRefusals, NullBuffersReturnOne)
{
    CBmpProcessing bmp;
    unsigned char buffer[4] = {0, 0, 0, 0};
    for (int method = 1; method <= 10; ++method) {
        EXPECT_EQ(bmp.Dither(method, nullptr, buffer, 2, 2, 2, 0, false), 1);
        EXPECT_EQ(bmp.Dither(method, buffer, nullptr, 2, 2, 2, 0, false), 1);
    }
    EXPECT_EQ(std::vector<int>(buffer, buffer + 4), (std::vector<int>{0, 0, 0, 0}));
}
