// Tests of the dither screens: every constant table entry by entry, the
// computed method-10 matrix, and the properties of the 40 x 40 dispersed
// screen (value counts, no touching equal values, grey shares, even spread).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BmpProcessing.h"
#include "DitherScreens.h"

using namespace kvimg;

namespace {

constexpr int kN40 = kScreen40Size;
constexpr int kCells40 = kN40 * kN40;

// Value of the 40 x 40 screen at a wrapped position.
int At40(int x, int y)
{
    return kScreen40x40[((y % kN40) + kN40) % kN40][((x % kN40) + kN40) % kN40];
}

// Method 5 applied to a uniform 40 x 40 grey g: one byte per cell.
std::vector<unsigned char> Uniform40(unsigned char g)
{
    std::vector<unsigned char> src(kCells40, g);
    std::vector<unsigned char> dst(kCells40, 0x5A);
    CBmpProcessing bmp;
    EXPECT_EQ(bmp.Dither(5, src.data(), dst.data(), kN40, kN40, kN40, 0, false), 1);
    return dst;
}

// Whether the method-5 output is white at a wrapped position.
bool WhiteAt(const std::vector<unsigned char>& out, int x, int y)
{
    return out[((y + kN40) % kN40) * kN40 + (x + kN40) % kN40] == 255;
}

}  // namespace

// --- constant tables, entry by entry ---

TEST(DitherScreens, Screen16x16HoldsEveryListedEntry)
{
    const int expected[16][16] = {
        {1, 161, 32, 137, 8, 170, 40, 130, 3, 163, 34, 138, 10, 171, 42, 128},
        {231, 96, 222, 87, 241, 103, 220, 85, 234, 97, 224, 89, 243, 105, 217, 84},
        {52, 153, 24, 186, 56, 151, 22, 184, 54, 155, 26, 189, 58, 149, 21, 182},
        {208, 76, 253, 120, 202, 70, 252, 118, 210, 77, 253, 122, 200, 68, 251, 116},
        {12, 174, 44, 134, 7, 167, 38, 142, 14, 176, 45, 132, 5, 166, 36, 141},
        {246, 107, 215, 81, 238, 102, 229, 93, 248, 109, 213, 79, 236, 100, 226, 91},
        {59, 146, 18, 180, 50, 159, 30, 193, 61, 144, 17, 178, 48, 157, 29, 191},
        {197, 66, 250, 113, 207, 73, 255, 126, 195, 64, 249, 112, 204, 72, 255, 124},
        {3, 163, 34, 138, 11, 172, 42, 128, 1, 161, 32, 136, 9, 170, 40, 130},
        {233, 97, 224, 89, 242, 106, 217, 83, 231, 95, 222, 87, 241, 104, 219, 85},
        {54, 155, 26, 189, 58, 149, 20, 183, 51, 153, 24, 186, 56, 151, 22, 184},
        {211, 77, 254, 122, 199, 67, 251, 115, 209, 75, 253, 120, 202, 70, 252, 118},
        {15, 176, 46, 132, 5, 165, 36, 140, 13, 174, 44, 134, 6, 168, 38, 142},
        {248, 110, 213, 79, 236, 99, 227, 91, 245, 107, 215, 82, 238, 102, 229, 93},
        {61, 144, 17, 179, 48, 157, 29, 192, 60, 146, 18, 180, 50, 159, 31, 193},
        {196, 63, 249, 112, 204, 71, 254, 123, 197, 66, 250, 114, 206, 73, 255, 126},
    };
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            EXPECT_EQ(kScreen16x16[y][x], expected[y][x]) << "row " << y << " col " << x;
        }
    }
}

TEST(DitherScreens, Screen15ColumnsHoldsFourteenListedRows)
{
    const int expected[14][15] = {
        {1, 6, 5, 0, 13, 14, 3, 12, 8, 9, 15, 7, 11, 10, 7},   {11, 10, 4, 1, 6, 5, 0, 13, 14, 3, 12, 8, 9, 12, 8},
        {9, 15, 7, 11, 10, 4, 1, 6, 5, 0, 13, 14, 0, 13, 14},  {3, 12, 8, 9, 15, 7, 11, 10, 4, 1, 6, 4, 1, 6, 5},
        {0, 13, 14, 3, 12, 8, 9, 15, 7, 11, 15, 7, 11, 10, 4}, {1, 6, 5, 0, 13, 14, 3, 12, 8, 3, 12, 8, 9, 15, 7},
        {11, 10, 4, 1, 6, 5, 0, 13, 5, 0, 13, 14, 3, 12, 8},   {9, 15, 7, 11, 10, 4, 1, 10, 4, 1, 6, 5, 0, 13, 14},
        {3, 12, 8, 9, 15, 7, 9, 15, 7, 11, 10, 4, 1, 6, 5},    {0, 13, 14, 3, 12, 14, 3, 12, 8, 9, 15, 7, 11, 10, 4},
        {1, 6, 5, 0, 6, 5, 0, 13, 14, 3, 12, 8, 9, 15, 7},     {11, 10, 4, 11, 10, 4, 1, 6, 5, 0, 13, 14, 3, 12, 8},
        {9, 15, 8, 9, 15, 7, 11, 10, 4, 1, 6, 5, 0, 13, 14},   {3, 13, 14, 3, 12, 8, 9, 15, 7, 11, 10, 4, 1, 6, 5},
    };
    static_assert(sizeof(kScreen14x15) == 14 * 15, "14 rows of 15 entries");
    for (int y = 0; y < 14; ++y) {
        for (int x = 0; x < 15; ++x) {
            EXPECT_EQ(kScreen14x15[y][x], expected[y][x]) << "row " << y << " col " << x;
        }
    }
}

TEST(DitherScreens, Screen4x4HoldsTheListedMatrix)
{
    const int expected[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            EXPECT_EQ(kScreen4x4[y][x], expected[y][x]) << "row " << y << " col " << x;
        }
    }
}

TEST(DitherScreens, Screen8x16HoldsEveryListedEntry)
{
    const int expected[8][16] = {
        {128, 120, 109, 92, 74, 66, 46, 8, 15, 10, 64, 79, 97, 111, 122, 127},
        {123, 116, 87, 69, 62, 38, 6, 39, 42, 3, 19, 55, 86, 105, 115, 119},
        {107, 96, 71, 59, 24, 12, 28, 52, 63, 47, 20, 1, 58, 95, 108, 112},
        {84, 73, 56, 2, 18, 23, 48, 78, 82, 67, 35, 5, 31, 61, 91, 101},
        {77, 53, 32, 4, 25, 43, 75, 85, 100, 89, 60, 30, 9, 34, 68, 80},
        {51, 41, 21, 27, 40, 70, 94, 102, 110, 103, 93, 57, 26, 11, 37, 65},
        {44, 29, 33, 45, 72, 90, 104, 121, 117, 114, 106, 88, 54, 17, 13, 16},
        {14, 36, 49, 76, 83, 98, 118, 126, 125, 124, 113, 99, 81, 50, 22, 7},
    };
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 16; ++x) {
            EXPECT_EQ(kScreen8x16[y][x], expected[y][x]) << "row " << y << " col " << x;
        }
    }
}

TEST(DitherScreens, ComputedMethod10MatrixHasTheListedRows)
{
    const int expected[4][4] = {{0, 192, 48, 240}, {128, 64, 176, 112}, {32, 224, 16, 208}, {160, 96, 144, 80}};
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            EXPECT_EQ(InterleavedScreenEntry(static_cast<unsigned>(x + 4 * y)), expected[y][x])
                << "row " << y << " col " << x;
        }
    }
}

TEST(DitherScreens, ComputedMethod10EntryBeyondTheMatrixFollowsTheBitRule)
{
    // k = 16: a = 0, b = 4. Rounds: t = 0, 0, (0 + 1) * 2 = 2, (4 + 0) * 2 = 8.
    EXPECT_EQ(InterleavedScreenEntry(16), 8);
    // k = 255: a = 3, b = 63. Rounds: 1, 1 | (2 * 1) * 2 = 5, (10 + 1) * 2 = 22,
    // (44 + 1) * 2 = 90.
    EXPECT_EQ(InterleavedScreenEntry(255), 90);
}

// --- the 40 x 40 screen ---

TEST(DitherScreen40, FirstThreeRowsBeginWithTheListedTwentyEntries)
{
    const int expected[3][20] = {
        {1, 154, 250, 72, 132, 30, 186, 228, 93, 108, 7, 162, 253, 63, 139, 36, 192, 234, 99, 103},
        {51, 140, 38, 194, 218, 81, 119, 17, 172, 247, 58, 148, 45, 201, 213, 86, 125, 24, 178, 239},
        {181, 223, 89, 110, 9, 163, 255, 67, 135, 33, 189, 232, 95, 106, 4, 158, 252, 73, 130, 27},
    };
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 20; ++x) {
            EXPECT_EQ(kScreen40x40[y][x], expected[y][x]) << "row " << y << " col " << x;
        }
    }
}

TEST(DitherScreen40, EveryValueFrom1To255IsUsedSixOrSevenTimes)
{
    int count[256] = {};
    for (int y = 0; y < kN40; ++y) {
        for (int x = 0; x < kN40; ++x) {
            ++count[kScreen40x40[y][x]];
        }
    }
    EXPECT_EQ(count[0], 0);
    for (int v = 1; v <= 255; ++v) {
        EXPECT_GE(count[v], 6) << "value " << v;
        EXPECT_LE(count[v], 7) << "value " << v;
    }
}

TEST(DitherScreen40, NoTwoEqualValuesTouchEvenAcrossTheWrappedEdges)
{
    for (int y = 0; y < kN40; ++y) {
        for (int x = 0; x < kN40; ++x) {
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    if (dx == 0 && dy == 0) {
                        continue;
                    }
                    EXPECT_NE(At40(x, y), At40(x + dx, y + dy))
                        << "(" << x << ", " << y << ") and (" << x + dx << ", " << y + dy << ")";
                }
            }
        }
    }
}

TEST(DitherScreen40, UniformGreyTurnsItsShareOfCellsWhiteWithinOnePercent)
{
    for (int g = 1; g <= 249; ++g) {
        const std::vector<unsigned char> out = Uniform40(static_cast<unsigned char>(g));
        int white = 0;
        for (unsigned char b : out) {
            EXPECT_TRUE(b == 0 || b == 255);
            white += b == 255;
        }
        const double share = white / static_cast<double>(kCells40);
        EXPECT_LE(std::abs(share - g / 255.0), 0.01) << "grey " << g << " share " << share;
    }
}

TEST(DitherScreen40, LightGreysUpTo50LeaveNoTwoWhiteDotsSideBySide)
{
    for (int g = 1; g <= 50; ++g) {
        const std::vector<unsigned char> out = Uniform40(static_cast<unsigned char>(g));
        for (int y = 0; y < kN40; ++y) {
            for (int x = 0; x < kN40; ++x) {
                if (!WhiteAt(out, x, y)) {
                    continue;
                }
                EXPECT_FALSE(WhiteAt(out, x + 1, y)) << "grey " << g << " at (" << x << ", " << y << ")";
                EXPECT_FALSE(WhiteAt(out, x, y + 1)) << "grey " << g << " at (" << x << ", " << y << ")";
            }
        }
    }
}

TEST(DitherScreen40, DarkGreysFrom201LeaveNoTwoBlackDotsSideBySide)
{
    for (int g = 201; g <= 249; ++g) {
        const std::vector<unsigned char> out = Uniform40(static_cast<unsigned char>(g));
        for (int y = 0; y < kN40; ++y) {
            for (int x = 0; x < kN40; ++x) {
                if (WhiteAt(out, x, y)) {
                    continue;
                }
                EXPECT_TRUE(WhiteAt(out, x + 1, y)) << "grey " << g << " at (" << x << ", " << y << ")";
                EXPECT_TRUE(WhiteAt(out, x, y + 1)) << "grey " << g << " at (" << x << ", " << y << ")";
            }
        }
    }
}

TEST(DitherScreen40, EveryEightByEightWindowHoldsItsShareOfWhiteWithinSixCells)
{
    // A clump or a stripe would put many more (or fewer) white cells into
    // some window than the grey's share; a random screen misses by up to 14.
    constexpr int kWindow = 8;
    constexpr double kTolerance = 6.0;
    for (int g = 1; g <= 249; ++g) {
        const std::vector<unsigned char> out = Uniform40(static_cast<unsigned char>(g));
        int white = 0;
        for (unsigned char b : out) {
            white += b == 255;
        }
        const double expected = white * (kWindow * kWindow) / static_cast<double>(kCells40);
        for (int y = 0; y < kN40; ++y) {
            for (int x = 0; x < kN40; ++x) {
                int inWindow = 0;
                for (int dy = 0; dy < kWindow; ++dy) {
                    for (int dx = 0; dx < kWindow; ++dx) {
                        inWindow += WhiteAt(out, x + dx, y + dy);
                    }
                }
                EXPECT_LE(std::abs(inWindow - expected), kTolerance)
                    << "grey " << g << " window at (" << x << ", " << y << ")";
            }
        }
    }
}

#ifdef KV_GEN_DITHER40
TEST(DitherScreen40, IsExactlyWhatItsGeneratorPrints)
{
    FILE* pipe = popen(KV_GEN_DITHER40, "r");
    ASSERT_NE(pipe, nullptr);
    std::vector<int> printed;
    int c = 0;
    int value = -1;
    while ((c = std::fgetc(pipe)) != EOF) {
        if (c >= '0' && c <= '9') {
            value = (value < 0 ? 0 : value * 10) + (c - '0');
        } else if (value >= 0) {
            printed.push_back(value);
            value = -1;
        }
    }
    ASSERT_EQ(pclose(pipe), 0);
    ASSERT_EQ(printed.size(), static_cast<size_t>(kCells40));
    for (int i = 0; i < kCells40; ++i) {
        EXPECT_EQ(kScreen40x40[i / kN40][i % kN40], printed[i]) << "cell " << i;
    }
}
#endif
