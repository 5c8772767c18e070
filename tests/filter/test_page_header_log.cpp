// Facts about the page header dump of the driver log (StartPage): header
// fields that the CUPS headers declare as enums are logged as the numbers
// the raster stream carries, whatever those are.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "LogCapture.h"
#include "RasterWriter.h"
#include "rastokivepl.h"

using namespace kvtest;

namespace {

// Stores `value` into an enum-typed header field byte-wise: assigning a
// number outside the enum's range would itself be undefined.
template <typename Field>
void SetRaw(Field& field, unsigned value)
{
    static_assert(sizeof(Field) == sizeof(value), "raster header fields are 32 bits wide");
    memcpy(&field, &value, sizeof(value));
}

// True when `messages` holds `line`.
bool Logged(const std::vector<std::string>& messages, const std::string& line)
{
    for (const std::string& message : messages) {
        if (message == line)
            return true;
    }
    return false;
}

}  // namespace

TEST(PageHeaderLog, EnumFieldsBeyondTheirNamesAreLoggedAsTheirNumbers)
{
    cups_page_header2_t header = RgbHeader(16, 8);
    SetRaw(header.Duplex, 7);
    SetRaw(header.ManualFeed, 8);
    SetRaw(header.Orientation, 9);
    SetRaw(header.cupsColorOrder, 10);
    SetRaw(header.cupsColorSpace, 200);
    LogCapture::Instance().Mark();
    StartPage(nullptr, &header, 1);
    const std::vector<std::string> messages = LogCapture::Instance().MessagesSince();
    EXPECT_TRUE(Logged(messages, "Duplex = 7"));
    EXPECT_TRUE(Logged(messages, "ManualFeed = 8"));
    EXPECT_TRUE(Logged(messages, "Orientation = 9"));
    EXPECT_TRUE(Logged(messages, "cupsColorOrder = 10"));
    EXPECT_TRUE(Logged(messages, "cupsColorSpace = 200"));
}
