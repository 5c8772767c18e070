// The check of a rectangle that an image operation returned: one assertion
// at the caller's line that shows the whole rectangle when it is wrong.
#ifndef KV_TESTS_RECTASSERT_H
#define KV_TESTS_RECTASSERT_H

#include <gtest/gtest.h>

#include <cstdint>

#include "BmpRecords.h"

namespace kvtest {

// Success when `rect` is exactly left, top, right, bottom; otherwise a
// failure naming both rectangles. Used as EXPECT_TRUE(RectIs(...)).
::testing::AssertionResult RectIs(const tagRECT& rect, int32_t left, int32_t top, int32_t right, int32_t bottom);

}  // namespace kvtest

#endif
