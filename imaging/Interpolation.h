// Interpolation choices and the small float geometry records with which the
// image processor reads colours at fractional positions and over areas.
#ifndef KV_IMAGING_INTERPOLATION_H
#define KV_IMAGING_INTERPOLATION_H

#include <cmath>

// How a colour is reconstructed between pixel centres. Values outside
// 1..18 are read as bilinear. The fixed underlying type makes every int a
// valid value, so a number from outside (a setting, a cast) can never be an
// invalid enum value.
enum InterpolationMethod : int {
    InterpNearest = 1,
    InterpBilinear,
    InterpBSpline,
    InterpBicubic,
    InterpGeneralizedCubic,
    InterpLanczos,
    InterpBox,
    InterpHermite,
    InterpHamming,
    InterpSinc,
    InterpBlackman,
    InterpBessel,
    InterpGaussian,
    InterpQuadratic,
    InterpMitchell,
    InterpCatrom,
    InterpHanning,
    InterpPower
};
static_assert(InterpPower == 18, "the methods are numbered 1 to 18");

// What a read outside the image returns. Fixed to int, like the
// interpolation choice, so that no int is an invalid value.
enum OverflowMethod : int {
    OverflowColor = 1,   // the replacement colour
    OverflowBlank = 2,   // white with the replacement's reserved byte
    OverflowWhite = 3,   // same as OverflowBlank
    OverflowWrap = 4,    // coordinates wrap around
    OverflowRepeat = 5,  // coordinates clamp to the nearest edge pixel
    OverflowMirror = 6   // coordinates reflect at the edge
};

// A point in pixel coordinates; pixel centres sit at integer positions.
struct CxPoint2 {
    float x;
    float y;

    CxPoint2() : x(0.0f), y(0.0f) {}
    CxPoint2(float px, float py) : x(px), y(py) {}
    CxPoint2(const CxPoint2& p) = default;
    CxPoint2& operator=(const CxPoint2& p) = default;

    // Returns the Euclidean distance to p.
    float Distance(CxPoint2 p) const { return Distance(p.x, p.y); }
    // Returns the Euclidean distance to (px, py).
    float Distance(float px, float py) const
    {
        const float dx = x - px;
        const float dy = y - py;
        return std::sqrt(dx * dx + dy * dy);
    }
};

// An axis-aligned float rectangle: cornerMin is (left, top), cornerMax is
// (right, bottom), with the larger coordinates in cornerMax.
struct CxRect2 {
    CxPoint2 cornerMin;
    CxPoint2 cornerMax;

    CxRect2() = default;
    CxRect2(float left, float top, float right, float bottom) : cornerMin(left, top), cornerMax(right, bottom) {}
    CxRect2(const CxRect2& r) = default;
    CxRect2& operator=(const CxRect2& r) = default;

    // Returns right - left.
    float Width() const { return cornerMax.x - cornerMin.x; }
    // Returns bottom - top.
    float Height() const { return cornerMax.y - cornerMin.y; }
    // Returns width times height, computed from the corners.
    float Surface() const { return (cornerMax.x - cornerMin.x) * (cornerMax.y - cornerMin.y); }
    // Returns the centre point.
    CxPoint2 Center() const { return CxPoint2((cornerMax.x + cornerMin.x) * 0.5f, (cornerMax.y + cornerMin.y) * 0.5f); }
    // Returns the intersection with r, or an all-zero rectangle when they do
    // not meet. Rectangles that only touch give a zero-width (or
    // zero-height) rectangle, not the all-zero one.
    CxRect2 CrossSection(const CxRect2& r) const
    {
        const float left = cornerMin.x > r.cornerMin.x ? cornerMin.x : r.cornerMin.x;
        const float top = cornerMin.y > r.cornerMin.y ? cornerMin.y : r.cornerMin.y;
        const float right = cornerMax.x < r.cornerMax.x ? cornerMax.x : r.cornerMax.x;
        const float bottom = cornerMax.y < r.cornerMax.y ? cornerMax.y : r.cornerMax.y;
        if (right >= left && bottom >= top) {
            return CxRect2(left, top, right, bottom);
        }
        return CxRect2();
    }
};

#endif
