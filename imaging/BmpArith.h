// Narrowing, truncation and clamping helpers shared by the image operations.
// They give every float-to-integer conversion a defined result, so values
// out of range (infinite gains, NaN kernel weights) never reach undefined
// behaviour and in-range values convert exactly as a plain cast would.
#ifndef KV_IMAGING_BMPARITH_H
#define KV_IMAGING_BMPARITH_H

#include <cstdint>
#include <limits>

namespace kvimg {

// Truncates toward zero into the signed integer type Int. Values beyond its
// range saturate at its ends and NaN gives 0, the rule the white-balance
// and levels operations rely on for infinite gains and scales. (The ends
// as doubles: 2^31 - 1 exactly, 2^63 - 1 rounded up to 2^63, so a value
// that would not fit saturates.)
template <class Int>
inline Int TruncSaturating(double v)
{
    if (v != v) {
        return 0;
    }
    if (v >= static_cast<double>(std::numeric_limits<Int>::max())) {
        return std::numeric_limits<Int>::max();
    }
    if (v <= static_cast<double>(std::numeric_limits<Int>::min())) {
        return std::numeric_limits<Int>::min();
    }
    return static_cast<Int>(v);
}

// Into a signed 32-bit integer.
inline int32_t TruncToInt32(double v)
{
    return TruncSaturating<int32_t>(v);
}

// Float overload of TruncToInt32: same rule (the conversion of a float to
// double is exact).
inline int32_t TruncToInt32(float v)
{
    return TruncToInt32(static_cast<double>(v));
}

// Into a signed 64-bit integer; used where a result is then narrowed to a
// few low bits.
inline int64_t TruncToInt64(double v)
{
    return TruncSaturating<int64_t>(v);
}

// Clamps v to 0..255 and returns it as a byte.
inline uint8_t ClampToByte(int64_t v)
{
    if (v < 0) {
        return 0;
    }
    if (v > 255) {
        return 255;
    }
    return static_cast<uint8_t>(v);
}

// Returns the low 16 bits of v read as a signed value (two's complement),
// the narrowing that 16-bit counters and results of the colour
// operations keep.
inline int16_t LowInt16(int64_t v)
{
    return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint64_t>(v) & 0xFFFFu));
}

// Unsigned division that gives 0 for a zero divisor instead of trapping.
inline uint64_t DivOrZero(uint64_t num, uint64_t den)
{
    return den == 0 ? 0 : num / den;
}

// Signed division that gives 0 for a zero divisor instead of trapping.
inline int64_t DivOrZero(int64_t num, int64_t den)
{
    return den == 0 ? 0 : num / den;
}

// Grey value of a pixel from its red, green and blue: 11/32, 16/32 and
// 5/32 (the integer approximation of the luminance weights the printer
// driver has always used).
inline uint8_t GreyOf(unsigned red, unsigned green, unsigned blue)
{
    return static_cast<uint8_t>((11u * red + 16u * green + 5u * blue) >> 5);
}

// Lowest channel value that the levels and output conversions treat as
// white: three mapped channels at or above it become pure white.
constexpr unsigned kLevelsWhite = 250;

}  // namespace kvimg

#endif
