// Tests of the histogram threshold selectors: the free OptimalThreshold, the
// member CBmpProcessing::OptimalThreshold with its deliberate differences,
// the four criteria, the consensus and the final guard.
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

#include "AdThreshold.h"
#include "BmpProcessing.h"

using kvimg::ThresholdCriteria;

namespace {

// A one-row image holding `values`.
std::vector<unsigned char> Row(std::initializer_list<int> values)
{
    std::vector<unsigned char> row;
    for (int v : values) {
        row.push_back(static_cast<unsigned char>(v));
    }
    return row;
}

// A one-row image of `count` pixels of each value in turn.
std::vector<unsigned char> Runs(std::initializer_list<std::pair<int, int>> runs)
{
    std::vector<unsigned char> row;
    for (const auto& [value, count] : runs) {
        row.insert(row.end(), static_cast<size_t>(count), static_cast<unsigned char>(value));
    }
    return row;
}

// The free selector over a whole one-row image.
int FreeOnRow(const std::vector<unsigned char>& row, int method)
{
    const int w = static_cast<int>(row.size());
    return OptimalThreshold(method, row.data(), w, 1, w, nullptr);
}

// The member selector over a whole one-row image.
int MemberOnRow(std::vector<unsigned char>& row, long method)
{
    CBmpProcessing bmp;
    const unsigned w = static_cast<unsigned>(row.size());
    return bmp.OptimalThreshold(row.data(), w, w, 1, method, nullptr, nullptr, 0, 0, 0);
}

// The four criteria over the occupied range of a one-row image.
ThresholdCriteria CriteriaOf(const std::vector<unsigned char>& row)
{
    kvimg::GreyHistogram h;
    kvimg::BlockSpan span{0, static_cast<int64_t>(row.size()), 0, 1};
    kvimg::BuildGreyHistogram(row.data(), static_cast<int64_t>(row.size()), span, h);
    return kvimg::EvaluateThresholdCriteria(h, kvimg::LowestOccupiedBin(h), kvimg::HighestOccupiedBin(h));
}

// Half 0 and half 255, the textbook tie case.
std::vector<unsigned char> BlackAndWhite()
{
    return Runs({{0, 4}, {255, 4}});
}

}  // namespace

// --- single-valued blocks ---

TEST(FreeThresholdSelector, BlockOfAll200Gives199)
{
    EXPECT_EQ(FreeOnRow(Runs({{200, 6}}), 0), 199);
}

TEST(MemberThresholdSelector, BlockOfAll200Gives199)
{
    auto row = Runs({{200, 6}});
    EXPECT_EQ(MemberOnRow(row, 0), 199);
}

TEST(FreeThresholdSelector, BlockOfAllZeroGives0)
{
    EXPECT_EQ(FreeOnRow(Runs({{0, 6}}), 0), 0);
}

TEST(MemberThresholdSelector, BlockOfAllZeroGives0)
{
    auto row = Runs({{0, 6}});
    EXPECT_EQ(MemberOnRow(row, 0), 0);
}

TEST(FreeThresholdSelector, BlockOfOnlyWhiteGives254)
{
    EXPECT_EQ(FreeOnRow(Runs({{255, 6}}), 0), 254);
}

TEST(MemberThresholdSelector, BlockOfOnlyWhiteGives0)
{
    auto row = Runs({{255, 6}});
    EXPECT_EQ(MemberOnRow(row, 0), 0);
}

// --- the equal 0 / 255 block ---

TEST(ThresholdCriteria, EqualBlackAndWhiteCriteria1And3ChooseZeroOnTies)
{
    const ThresholdCriteria c = CriteriaOf(BlackAndWhite());
    EXPECT_EQ(c.threshold[0], 0);
    EXPECT_EQ(c.threshold[2], 0);
}

TEST(ThresholdCriteria, EqualBlackAndWhiteMinimumErrorFindsNone)
{
    EXPECT_EQ(CriteriaOf(BlackAndWhite()).threshold[1], -1);
}

TEST(ThresholdCriteria, EqualBlackAndWhiteMomentBalanceChooses127Over128)
{
    EXPECT_EQ(CriteriaOf(BlackAndWhite()).threshold[3], 127);
}

TEST(FreeThresholdSelector, EqualBlackAndWhiteConsensusGives42)
{
    EXPECT_EQ(FreeOnRow(BlackAndWhite(), 0), 42);
}

TEST(FreeThresholdSelector, EqualBlackAndWhiteMethod4Gives127)
{
    EXPECT_EQ(FreeOnRow(BlackAndWhite(), 4), 127);
}

TEST(FreeThresholdSelector, EqualBlackAndWhiteMethod1IsGuardedTo127)
{
    EXPECT_EQ(FreeOnRow(BlackAndWhite(), 1), 127);
}

TEST(MemberThresholdSelector, EqualBlackAndWhiteConsensusGives42)
{
    auto row = BlackAndWhite();
    EXPECT_EQ(MemberOnRow(row, 0), 42);
}

TEST(MemberThresholdSelector, EqualBlackAndWhiteMethod4Gives127)
{
    auto row = BlackAndWhite();
    EXPECT_EQ(MemberOnRow(row, 4), 127);
}

// --- two clusters, where every criterion finds a threshold ---

TEST(ThresholdCriteria, TwoClustersGive20From1To3And110FromMomentBalance)
{
    // {10, 20} and {200, 210}: every split between the clusters has class
    // variances 25 and 25, so criteria 1 to 3 keep the lowest, 20; the
    // second moments about t balance at t = 110.
    const ThresholdCriteria c = CriteriaOf(Row({10, 20, 200, 210}));
    EXPECT_EQ(c.threshold[0], 20);
    EXPECT_EQ(c.threshold[1], 20);
    EXPECT_EQ(c.threshold[2], 20);
    EXPECT_EQ(c.threshold[3], 110);
}

TEST(FreeThresholdSelector, ConsensusIsTheIntegerMeanOfAllFourCriteria)
{
    // (20 + 20 + 20 + 110) / 4 = 42.
    EXPECT_EQ(FreeOnRow(Row({10, 20, 200, 210}), 0), 42);
}

TEST(FreeThresholdSelector, MethodsOneToFourTakeTheirOwnCriterion)
{
    const auto row = Row({10, 20, 200, 210});
    EXPECT_EQ(FreeOnRow(row, 1), 20);
    EXPECT_EQ(FreeOnRow(row, 2), 20);
    EXPECT_EQ(FreeOnRow(row, 3), 20);
    EXPECT_EQ(FreeOnRow(row, 4), 110);
}

TEST(FreeThresholdSelector, ConsensusLeavesOutACriterionThatFoundNone)
{
    // {0, 100, 200}: criteria 1 and 3 tie at 0, criterion 2 finds none,
    // criterion 4 balances at 100: (0 + 0 + 100) / 3 = 33.
    EXPECT_EQ(FreeOnRow(Row({0, 100, 200}), 0), 33);
}

TEST(FreeThresholdSelector, MethodWhoseCriterionFoundNoneGivesTheMidRange)
{
    // {0, 50, 250}: one class always holds a single value, so the minimum
    // error criterion has nothing; (0 + 250) / 2 = 125.
    EXPECT_EQ(FreeOnRow(Row({0, 50, 250}), 2), 125);
}

TEST(FreeThresholdSelector, AnyMethodOutsideOneToFourTakesTheConsensus)
{
    EXPECT_EQ(FreeOnRow(Row({10, 20, 200, 210}), 7), 42);
    EXPECT_EQ(FreeOnRow(Row({10, 20, 200, 210}), -3), 42);
}

// --- blocks ---

TEST(FreeThresholdSelector, BlockRowsRunFromBottomUpToButNotIncludingTop)
{
    // Rows 0 and 1 hold 10, rows 2 and 3 hold 200.
    std::vector<unsigned char> image(16, 10);
    std::fill(image.begin() + 8, image.end(), 200);
    tagRECT lower{0, 2, 4, 0};
    tagRECT upper{0, 4, 4, 2};
    EXPECT_EQ(OptimalThreshold(0, image.data(), 4, 4, 4, &lower), 9);
    EXPECT_EQ(OptimalThreshold(0, image.data(), 4, 4, 4, &upper), 199);
}

TEST(FreeThresholdSelector, BlockColumnsRunFromLeftUpToButNotIncludingRight)
{
    const auto row = Row({50, 50, 90, 90});
    tagRECT left{0, 1, 2, 0};
    tagRECT right{2, 1, 4, 0};
    EXPECT_EQ(OptimalThreshold(0, row.data(), 4, 1, 4, &left), 49);
    EXPECT_EQ(OptimalThreshold(0, row.data(), 4, 1, 4, &right), 89);
}

TEST(FreeThresholdSelector, BlockIsClippedToTheImage)
{
    const auto row = Row({10, 20, 200, 210});
    tagRECT wide{-5, 100, 100, -5};
    EXPECT_EQ(OptimalThreshold(0, row.data(), 4, 1, 4, &wide), 42);
}

TEST(FreeThresholdSelector, BlockOutsideTheImageGivesMinusOne)
{
    const auto row = Row({10, 20, 200, 210});
    tagRECT outside{4, 1, 8, 0};
    EXPECT_EQ(OptimalThreshold(0, row.data(), 4, 1, 4, &outside), -1);
}

TEST(FreeThresholdSelector, StrideSkipsRowPadding)
{
    // Two rows of two 200s, each padded with two zeros.
    const auto image = Row({200, 200, 0, 0, 200, 200, 0, 0});
    EXPECT_EQ(OptimalThreshold(0, image.data(), 2, 2, 4, nullptr), 199);
}

TEST(MemberThresholdSelector, RowStrideIsImageSizeOverHeight)
{
    auto image = Row({200, 200, 0, 0, 200, 200, 0, 0});
    CBmpProcessing bmp;
    EXPECT_EQ(bmp.OptimalThreshold(image.data(), 8, 2, 2, 0, nullptr, nullptr, 0, 0, 0), 199);
}

TEST(MemberThresholdSelector, BlockRowsRunFromBottomUpToButNotIncludingTop)
{
    std::vector<unsigned char> image(16, 10);
    std::fill(image.begin() + 8, image.end(), 200);
    CBmpProcessing bmp;
    tagRECT upper{0, 4, 4, 2};
    EXPECT_EQ(bmp.OptimalThreshold(image.data(), 16, 4, 4, 0, &upper, nullptr, 0, 0, 0), 199);
}

// --- refusals ---

TEST(FreeThresholdSelector, NullImageGivesMinusOne)
{
    EXPECT_EQ(OptimalThreshold(0, nullptr, 4, 4, 4, nullptr), -1);
}

TEST(FreeThresholdSelector, EmptyImageGivesMinusOne)
{
    const auto row = Row({1});
    EXPECT_EQ(OptimalThreshold(0, row.data(), 0, 1, 1, nullptr), -1);
    EXPECT_EQ(OptimalThreshold(0, row.data(), 1, 0, 1, nullptr), -1);
}

TEST(FreeThresholdSelector, StrideShorterThanWidthGivesMinusOne)
{
    const auto row = Row({1, 2, 3, 4});
    EXPECT_EQ(OptimalThreshold(0, row.data(), 4, 1, 3, nullptr), -1);
}

TEST(MemberThresholdSelector, NullImageGivesMinusOne)
{
    CBmpProcessing bmp;
    EXPECT_EQ(bmp.OptimalThreshold(nullptr, 16, 4, 4, 0, nullptr, nullptr, 0, 0, 0), -1);
}

TEST(MemberThresholdSelector, ZeroHeightGivesMinusOne)
{
    auto row = Row({1, 2});
    CBmpProcessing bmp;
    EXPECT_EQ(bmp.OptimalThreshold(row.data(), 2, 2, 0, 0, nullptr, nullptr, 0, 0, 0), -1);
}

TEST(MemberThresholdSelector, ImageSizeTooSmallForTheWidthGivesMinusOne)
{
    // 3 bytes over 1 row is a stride of 3, shorter than the width of 4.
    auto row = Row({1, 2, 3, 4});
    CBmpProcessing bmp;
    EXPECT_EQ(bmp.OptimalThreshold(row.data(), 3, 4, 1, 0, nullptr, nullptr, 0, 0, 0), -1);
}
