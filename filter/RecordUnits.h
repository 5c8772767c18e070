// The units of the job records' lengths and their conversion to printer
// dots. Configuration lengths are tenths of a millimetre or whole
// millimetres, PPD page sizes points, printer positions dots at the output
// resolution. Lengths become dots as x x dpi / 25.4 mm, in double
// precision, plus one half, truncated toward zero and held to the 32-bit
// range: a PPD may ask for any length, and no conversion may overflow.
#ifndef KV_FILTER_RECORDUNITS_H
#define KV_FILTER_RECORDUNITS_H

#include <cmath>
#include <cstdint>
#include <limits>

namespace kvunits {

constexpr double kMmPerInch = 25.4;
constexpr double kTenthMmPerInch = 254.0;
constexpr double kPointsPerInch = 72.0;
constexpr double kMicronsPerInch = 25400.0;
constexpr double kMicronsPerMm = 1000.0;
constexpr double kMicronsPerTenthMm = 100.0;

// `value` truncated toward zero and held to the 32-bit range; NaN gives 0.
inline int32_t TruncToInt32(double value)
{
    if (std::isnan(value))
        return 0;
    if (value >= static_cast<double>(std::numeric_limits<int32_t>::max()))
        return std::numeric_limits<int32_t>::max();
    if (value <= static_cast<double>(std::numeric_limits<int32_t>::min()))
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

// Whole millimetres as dots at `dpi`, rounded half up.
inline int32_t MmToDots(double mm, double dpi)
{
    return TruncToInt32(mm * kMicronsPerMm * dpi / kMicronsPerInch + 0.5);
}

// Tenths of a millimetre as dots at `dpi`, rounded half up.
inline int32_t TenthsToDots(double tenths, double dpi)
{
    return TruncToInt32(tenths * kMicronsPerTenthMm * dpi / kMicronsPerInch + 0.5);
}

}  // namespace kvunits

#endif
