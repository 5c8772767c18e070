// The box average behind GetAreaColorInterpolated, split into per-axis
// geometry and one accumulation templated on how pixels are read, so the
// resampling can prepare the geometry once per row and column and read
// interior pixels directly. Every variant adds the same terms in the same
// order as the straightforward form and therefore gives identical floats.
#ifndef KV_IMAGING_AREAAVERAGE_H
#define KV_IMAGING_AREAAVERAGE_H

#include <cstdint>

#include "BmpArith.h"
#include "BmpProcessing.h"

namespace kvimg {

// Coordinates are kept within +-2^30 so that neighbour offsets never leave
// the 32-bit range; such positions are far outside any image.
constexpr int32_t kCoordLimit = 1 << 30;

// Truncates a position toward zero into the coordinate range.
inline int32_t TruncCoord(float v)
{
    const int32_t t = TruncToInt32(v);
    return t > kCoordLimit ? kCoordLimit : t < -kCoordLimit ? -kCoordLimit : t;
}

// Largest area averaged pixel by pixel; a larger one (only from absurd
// scales, e.g. an 8192 x 8192 page averaged into one pixel) gives the
// outside colour instead of stalling the job.
constexpr int64_t kMaxAreaPixels = int64_t{1} << 26;

// Pixels are snapped to white when all three channels exceed this.
constexpr unsigned kReadWhite = 250;

// One pixel's channels as floats are accumulated from.
struct Rgb {
    uint8_t red, green, blue;
};

// Applies the read snap: all three channels above 250 become pure white.
inline Rgb SnapRead(uint8_t blue, uint8_t green, uint8_t red)
{
    if (blue > kReadWhite && green > kReadWhite && red > kReadWhite) {
        return Rgb{255, 255, 255};
    }
    return Rgb{red, green, blue};
}

// One axis of an averaging area centred at c with extent s: the area runs
// from lo to hi; `first` and `last` are the pixels it starts and ends in;
// firstLen and lastLen are its overlaps with those pixels along this axis
// (valid only when firstOk / lastOk: the overlap is not empty).
struct AreaAxis {
    float lo, hi;
    int32_t first, last;
    float firstLen, lastLen;
    bool firstOk, lastOk;
};

// Overlap of [lo, hi] with the pixel box of p along one axis, in the
// operand order of CxRect2::CrossSection.
inline void AxisOverlap(float lo, float hi, int32_t p, float& len, bool& ok)
{
    const float boxLo = static_cast<float>(p) - 0.5f;
    const float boxHi = static_cast<float>(p) + 0.5f;
    const float l = lo > boxLo ? lo : boxLo;
    const float r = hi < boxHi ? hi : boxHi;
    ok = r >= l;
    len = r - l;
}

// Returns the axis geometry of an area centred at c with extent s.
inline AreaAxis MakeAreaAxis(float c, float s)
{
    AreaAxis a;
    a.lo = c - s / 2.0f;
    a.hi = c + s / 2.0f;
    a.first = TruncCoord(a.lo + 0.5f);
    a.last = TruncCoord(a.hi + 0.5f);
    AxisOverlap(a.lo, a.hi, a.first, a.firstLen, a.firstOk);
    AxisOverlap(a.lo, a.hi, a.last, a.lastLen, a.lastOk);
    return a;
}

// Edge weights of a box average: left and right column widths, top and
// bottom row heights. A corner whose cross-section is empty in either
// direction contributes the all-zero rectangle, so both of its lengths are 0.
struct AreaEdges {
    float wl, wr, ht, hb;
};

inline AreaEdges MakeAreaEdges(const AreaAxis& ax, const AreaAxis& ay)
{
    const bool startOk = ax.firstOk && ay.firstOk;
    const bool endOk = ax.lastOk && ay.lastOk;
    return AreaEdges{startOk ? ax.firstLen : 0.0f, endOk ? ax.lastLen : 0.0f, startOk ? ay.firstLen : 0.0f,
                     endOk ? ay.lastLen : 0.0f};
}

// Sums of a box average before the division by the area.
struct AreaSums {
    float red = 0.0f, green = 0.0f, blue = 0.0f;

    void Add(const Rgb& c, float w)
    {
        red += c.red * w;
        green += c.green * w;
        blue += c.blue * w;
    }
};

// Adds every pixel of the area with its weight: the four corners; the top
// and bottom rows; the left and right columns; then the interior row by
// row. `read(x, y)` returns a pixel as GetPixelColorWithOverflow would.
template <typename Reader>
AreaSums AccumulateArea(const AreaAxis& ax, const AreaAxis& ay, const AreaEdges& e, Reader read)
{
    AreaSums s;
    const int32_t x0 = ax.first, x1 = ax.last, y0 = ay.first, y1 = ay.last;
    s.Add(read(x0, y0), e.wl * e.ht);
    s.Add(read(x1, y0), e.wr * e.ht);
    s.Add(read(x0, y1), e.wl * e.hb);
    s.Add(read(x1, y1), e.wr * e.hb);
    for (int32_t x = x0 + 1; x < x1; ++x) {
        s.Add(read(x, y0), e.ht);
        s.Add(read(x, y1), e.hb);
    }
    for (int32_t y = y0 + 1; y < y1; ++y) {
        s.Add(read(x0, y), e.wl);
        s.Add(read(x1, y), e.wr);
    }
    for (int32_t y = y0 + 1; y < y1; ++y) {
        for (int32_t x = x0 + 1; x < x1; ++x) {
            s.Add(read(x, y), 1.0f);
        }
    }
    return s;
}

// A channel of a weighted average: above 255 gives 255, below 0 gives 0,
// anything else (NaN included) is truncated.
inline uint8_t AverageChannel(float v)
{
    if (v > 255.0f) {
        return 255;
    }
    if (v < 0.0f) {
        return 0;
    }
    return ClampToByte(TruncToInt32(v));
}

// Returns the averaged colour (reserved 0) of the sums over an area.
inline tagRGBQUAD FinishArea(const AreaSums& s, const AreaAxis& ax, const AreaAxis& ay)
{
    const float surface = (ax.hi - ax.lo) * (ay.hi - ay.lo);
    return tagRGBQUAD{AverageChannel(s.blue / surface), AverageChannel(s.green / surface),
                      AverageChannel(s.red / surface), 0};
}

// Reads in-range pixels of a 24-bit image straight from memory.
struct DirectReader24 {
    const unsigned char* pixels;
    int64_t stride;

    Rgb operator()(int32_t x, int32_t y) const
    {
        const unsigned char* p = pixels + y * stride + 3 * int64_t{x};
        return SnapRead(p[0], p[1], p[2]);
    }
};

// Reads in-range pixels of an 8-bit image straight from memory.
struct DirectReader8 {
    const unsigned char* pixels;
    int64_t stride;

    Rgb operator()(int32_t x, int32_t y) const
    {
        const unsigned char v = pixels[y * stride + x];
        return SnapRead(v, v, v);
    }
};

// Reads any position through the processor's outside rule.
struct OverflowReader {
    const CBmpProcessing* processor;
    OverflowMethod mode;
    const tagRGBQUAD* replacement;

    Rgb operator()(int32_t x, int32_t y) const
    {
        const tagRGBQUAD c = processor->GetPixelColorWithOverflow(x, y, mode, replacement);
        return Rgb{c.rgbRed, c.rgbGreen, c.rgbBlue};
    }
};

// Whether every pixel the area touches lies inside a w x h image.
inline bool AreaInside(const AreaAxis& ax, const AreaAxis& ay, int32_t w, int32_t h)
{
    return ax.first >= 0 && ax.last >= 0 && ax.first < w && ax.last < w && ay.first >= 0 && ay.last >= 0 &&
           ay.first < h && ay.last < h;
}

}  // namespace kvimg

#endif
