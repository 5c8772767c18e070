// Rectangle checks for the image tests.
#include "RectAssert.h"

#include <string>

namespace kvtest {

namespace {

// "{left, top, right, bottom}", the order the record holds them in.
std::string Text(int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    return "{" + std::to_string(left) + ", " + std::to_string(top) + ", " + std::to_string(right) + ", " +
           std::to_string(bottom) + "}";
}

}  // namespace

::testing::AssertionResult RectIs(const tagRECT& rect, int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    if (rect.left == left && rect.top == top && rect.right == right && rect.bottom == bottom)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "rectangle " << Text(rect.left, rect.top, rect.right, rect.bottom)
                                         << ", expected " << Text(left, top, right, bottom);
}

}  // namespace kvtest
