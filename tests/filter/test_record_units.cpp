// The records' length units and their conversion to printer dots.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "RecordUnits.h"

using kvunits::MmToDots;
using kvunits::TenthsToDots;

TEST(RecordUnits, MillimetresBecomeDotsRoundedHalfUp)
{
    EXPECT_EQ(MmToDots(104, 203), 831);
    EXPECT_EQ(MmToDots(300, 203), 2398);
    EXPECT_EQ(MmToDots(5, 203), 40);
    EXPECT_EQ(MmToDots(297, 203), 2374);
}

TEST(RecordUnits, TenthsOfAMillimetreBecomeDotsRoundedHalfUp)
{
    EXPECT_EQ(TenthsToDots(30, 203), 24);
    EXPECT_EQ(TenthsToDots(800, 203), 639);
    EXPECT_EQ(TenthsToDots(1016, 300), 1200);
}

TEST(RecordUnits, NegativeLengthsTruncateTowardZeroAfterTheHalf)
{
    // -10 mm at 203 dpi is -79.92 dots; plus one half, -79.42, truncated -79.
    EXPECT_EQ(MmToDots(-10, 203), -79);
    EXPECT_EQ(TenthsToDots(-1, 203), 0);
}

TEST(RecordUnits, LengthsBeyondThe32BitRangeAreHeldToIt)
{
    EXPECT_EQ(MmToDots(1e12, 600), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(TenthsToDots(-1e13, 600), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(MmToDots(std::nan(""), 203), 0);
}
