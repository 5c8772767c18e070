// The units of the job records' lengths and their conversion to printer
// dots. Configuration lengths are tenths of a millimetre or whole
// millimetres, PPD page sizes points, printer positions dots at the output
// resolution. Lengths become dots as x x dpi / 25.4 mm, in double
// precision, plus one half, truncated toward zero and held to the 32-bit
// range: a PPD may ask for any length, and no conversion may overflow.
#ifndef KV_FILTER_RECORDUNITS_H
#define KV_FILTER_RECORDUNITS_H

#include <cstdint>

#include "BmpArith.h"

namespace kvunits {

// An inch in millimetres, tenths of a millimetre and PostScript points.
constexpr double kMmPerInch = 25.4, kTenthMmPerInch = 254.0, kPointsPerInch = 72.0;
// The conversions to dots count in micrometres.
constexpr double kMicronsPerInch = 25400.0, kMicronsPerMm = 1000.0, kMicronsPerTenthMm = 100.0;

// Whole millimetres as dots at `dpi`, rounded half up.
inline int32_t MmToDots(double mm, double dpi)
{
    return kvimg::TruncToInt32(mm * kMicronsPerMm * dpi / kMicronsPerInch + 0.5);
}

// Tenths of a millimetre as dots at `dpi`, rounded half up.
inline int32_t TenthsToDots(double tenths, double dpi)
{
    return kvimg::TruncToInt32(tenths * kMicronsPerTenthMm * dpi / kMicronsPerInch + 0.5);
}

}  // namespace kvunits

#endif
