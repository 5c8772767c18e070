// Reads the raster page header's enum-typed fields as the plain 32-bit
// numbers the stream carries.
#ifndef KV_FILTER_RASTERHEADERFIELDS_H
#define KV_FILTER_RASTERHEADERFIELDS_H

#include <cstring>

// Returns the number stored in a header field that the CUPS headers declare
// as an enum (cups_bool_t, cups_orient_t, cups_order_t, ...). A raster
// stream may hold any value there, and loading a value outside the enum's
// range through the enum type is undefined; copying the bytes is not.
template <typename Field>
unsigned RasterHeaderValue(const Field& field)
{
    static_assert(sizeof(Field) == sizeof(unsigned), "raster header fields are 32 bits wide");
    unsigned value = 0;
    std::memcpy(&value, &field, sizeof(value));
    return value;
}

#endif
