// Colour reads of the bound image at integer, fractional and area
// positions, with the selectable rule for positions outside the image and
// the near-white snap applied to every pixel read through it.
#include <algorithm>
#include <cstdlib>

#include "AreaAverage.h"
#include "BmpArith.h"
#include "BmpProcessing.h"

namespace {

// A position far outside every image, read to get the outside colour.
constexpr int32_t kOutside = -999;

// Neighbourhood sizes: 2 x 2 bilinear, 4 x 4 kernels, 12 x 12 Lanczos
// (radius 6, so columns from 5 before to 6 after the base cell).
constexpr int kKernelTaps = 4, kLanczosTaps = 12, kLanczosBefore = 5;
constexpr float kLanczosRadius = 6.0f;
// How far a base cell may lie outside the image before the outside rule
// replaces the reconstruction (the neighbourhood then no longer reaches
// the image): 2 before and 0 after for 4 x 4, 6 before and 4 after for
// Lanczos.
constexpr int32_t kKernelSlack = 2, kLanczosSlackBefore = 6, kLanczosSlackAfter = 4;
// Exponent of the power kernel.
constexpr float kPowerExponent = 2.0f;
// Shape parameter of the generalized cubic (the Catmull-Rom cubic).
constexpr float kGeneralizedCubicA = -0.5f;

// Bilinear fixed point: weights in 256 steps, results shifted back by 8.
constexpr float kBilinearSteps = 256.0f;
constexpr int kBilinearShift = 8;

// Base cell of a position: truncated toward zero, minus 1 when negative
// (so an exact -1.0 gives -2; kept on purpose).
int32_t BaseCell(float v)
{
    return kvimg::TruncCoord(v) - (v < 0.0f ? 1 : 0);
}

// Whether a mode returns a fixed outside colour (no mapping).
bool IsFixedOutsideMode(OverflowMethod mode)
{
    return mode == OverflowColor || mode == OverflowBlank || mode == OverflowWhite;
}

// Pure white with reserved 0, the snapped colour.
constexpr tagRGBQUAD kWhite = {255, 255, 255, 0};

// Applies the snap of interpolated results: all three channels above 250
// give pure white with reserved 0.
tagRGBQUAD SnapResult(tagRGBQUAD c)
{
    if (c.rgbBlue > kvimg::kReadWhite && c.rgbGreen > kvimg::kReadWhite && c.rgbRed > kvimg::kReadWhite) {
        return kWhite;
    }
    c.rgbReserved = 0;
    return c;
}

// Weight of distance d for one of the 4 x 4 kernel methods.
float KernelWeight(InterpolationMethod method, float d)
{
    switch (method) {
    case InterpBSpline:
        return CBmpProcessing::KernelBSpline(d);
    case InterpBicubic:
        return CBmpProcessing::KernelCubic(d);
    case InterpGeneralizedCubic:
        return CBmpProcessing::KernelGeneralizedCubic(d, kGeneralizedCubicA);
    case InterpLanczos:
        return CBmpProcessing::KernelLanczosSinc(d, kLanczosRadius);
    case InterpBox:
        return CBmpProcessing::KernelBox(d);
    case InterpHermite:
        return CBmpProcessing::KernelHermite(d);
    case InterpHamming:
        return CBmpProcessing::KernelHamming(d);
    case InterpSinc:
        return CBmpProcessing::KernelSinc(d);
    case InterpBlackman:
        return CBmpProcessing::KernelBlackman(d);
    case InterpBessel:
        return CBmpProcessing::KernelBessel(d);
    case InterpGaussian:
        return CBmpProcessing::KernelGaussian(d);
    case InterpQuadratic:
        return CBmpProcessing::KernelQuadratic(d);
    case InterpMitchell:
        return CBmpProcessing::KernelMitchell(d);
    case InterpCatrom:
        return CBmpProcessing::KernelCatrom(d);
    case InterpHanning:
        return CBmpProcessing::KernelHanning(d);
    case InterpPower:
        return CBmpProcessing::KernelPower(d, kPowerExponent);
    default:
        return 0.0f;
    }
}

// A reconstructed channel: above 255 gives 255, below 0 gives 0, else
// truncated.
uint8_t KernelChannel(float v)
{
    return kvimg::AverageChannel(v);
}

}  // namespace

void CBmpProcessing::BindImage(const unsigned char* pixels, int32_t width, int32_t height, uint16_t bitCount,
                               uint32_t stride)
{
    const int64_t bytesPerRow = bitCount == 24 ? 3 * int64_t{width} : bitCount == 8 ? int64_t{width} : 0;
    const bool usable = pixels != nullptr && width > 0 && height > 0 && stride >= bytesPerRow;
    m_pImgData = usable ? pixels : nullptr;
    m_nImgWidth = usable ? width : 0;
    m_nImgHeight = usable ? height : 0;
    m_wImgBitCount = bitCount;
    m_dwImgStride = stride;
}

bool CBmpProcessing::HasReadableImage() const
{
    return m_pImgData != nullptr && (m_wImgBitCount == 24 || m_wImgBitCount == 8);
}

tagRGBQUAD CBmpProcessing::ReadPixel(int32_t x, int32_t y) const
{
    // The reserved byte of a pixel read has no meaning: it is 0.
    if (m_wImgBitCount == 24) {
        const unsigned char* p = m_pImgData + int64_t{y} * m_dwImgStride + 3 * int64_t{x};
        return tagRGBQUAD{p[0], p[1], p[2], 0};
    }
    const unsigned char v = m_pImgData[int64_t{y} * m_dwImgStride + x];
    return tagRGBQUAD{v, v, v, 0};
}

void CBmpProcessing::OverflowCoordinates(int32_t& x, int32_t& y, OverflowMethod mode) const
{
    const int64_t w = m_nImgWidth, h = m_nImgHeight;
    if (w <= 0 || h <= 0) {
        return;
    }
    if (x >= 0 && x < w && y >= 0 && y < h) {
        return;
    }
    int64_t nx = x, ny = y;
    switch (mode) {
    case OverflowRepeat:
        nx = std::min(std::max<int64_t>(nx, 0), w - 1);
        ny = std::min(std::max<int64_t>(ny, 0), h - 1);
        break;
    case OverflowMirror:
        // -1 maps to 1, not 0.
        if (nx < 0) {
            nx = (-nx) % w;
        } else if (nx >= w) {
            nx = w - 1 - nx % w;
        }
        if (ny < 0) {
            ny = (-ny) % h;
        } else if (ny >= h) {
            ny = h - 1 - ny % h;
        }
        break;
    case OverflowWrap:
        nx %= w;
        if (nx < 0) {
            nx += w;
        }
        ny %= h;
        if (ny < 0) {
            ny += h;
        }
        break;
    default:
        return;
    }
    x = static_cast<int32_t>(nx);
    y = static_cast<int32_t>(ny);
}

tagRGBQUAD CBmpProcessing::GetPixelColorWithOverflow(int32_t x, int32_t y, OverflowMethod mode,
                                                     const tagRGBQUAD* replacement) const
{
    const tagRGBQUAD candidate = replacement != nullptr ? *replacement : kWhite;
    const bool inside = m_pImgData != nullptr && x >= 0 && x < m_nImgWidth && y >= 0 && y < m_nImgHeight;
    if (inside) {
        // An image of another depth has no defined colour: it reads as
        // the outside colour.
        return HasReadableImage() ? SnapResult(ReadPixel(x, y)) : candidate;
    }
    if (m_pImgData == nullptr || mode < OverflowBlank || mode > OverflowMirror) {
        return candidate;
    }
    if (mode == OverflowBlank || mode == OverflowWhite) {
        return tagRGBQUAD{255, 255, 255, candidate.rgbReserved};
    }
    OverflowCoordinates(x, y, mode);
    if (!HasReadableImage() || x < 0 || x >= m_nImgWidth || y < 0 || y >= m_nImgHeight) {
        return candidate;
    }
    return SnapResult(ReadPixel(x, y));
}

void CBmpProcessing::AddAveragingCont(const tagRGBQUAD& colour, float weight, float& red, float& green, float& blue,
                                      float&) const
{
    red += colour.rgbRed * weight;
    green += colour.rgbGreen * weight;
    blue += colour.rgbBlue * weight;
}

tagRGBQUAD CBmpProcessing::GetPixelColorInterpolated(float x, float y, InterpolationMethod method, OverflowMethod mode,
                                                     const tagRGBQUAD* replacement) const
{
    if (method == InterpNearest) {
        return GetPixelColorWithOverflow(kvimg::TruncCoord(x + 0.5f), kvimg::TruncCoord(y + 0.5f), mode, replacement);
    }
    const int32_t xi = BaseCell(x);
    const int32_t yi = BaseCell(y);
    if (method >= InterpBSpline && method <= InterpPower) {
        return KernelInterpolate(x, y, xi, yi, method, mode, replacement);
    }
    return BilinearInterpolate(x, y, xi, yi, mode, replacement);
}

tagRGBQUAD CBmpProcessing::BilinearInterpolate(float x, float y, int32_t xi, int32_t yi, OverflowMethod mode,
                                               const tagRGBQUAD* replacement) const
{
    const int32_t w = m_nImgWidth, h = m_nImgHeight;
    if (xi < -1 || xi >= w || yi < -1 || yi >= h) {
        if (IsFixedOutsideMode(mode)) {
            return GetPixelColorWithOverflow(kOutside, kOutside, mode, replacement);
        }
        OverflowCoordinates(xi, yi, mode);
        x = static_cast<float>(xi);
        y = static_cast<float>(yi);
    }
    // The fixed-point path reads its neighbours 3 bytes apart, so it is
    // kept to 24-bit images.
    if (m_pImgData != nullptr && m_wImgBitCount == 24 && xi >= 0 && xi + 1 < w && yi >= 0 && yi + 1 < h) {
        const uint16_t ux = static_cast<uint16_t>(kvimg::TruncToInt32((x - static_cast<float>(xi)) * kBilinearSteps));
        const uint16_t uy = static_cast<uint16_t>(kvimg::TruncToInt32((y - static_cast<float>(yi)) * kBilinearSteps));
        const uint16_t w11 = static_cast<uint16_t>((ux * uy) >> kBilinearShift);
        const uint16_t w10 = static_cast<uint16_t>(ux - w11);
        const uint16_t w01 = static_cast<uint16_t>(uy - w11);
        const uint16_t w00 = static_cast<uint16_t>(int{1 << kBilinearShift} - ux - w01);
        const unsigned char* p = m_pImgData + int64_t{yi} * m_dwImgStride + 3 * int64_t{xi};
        const unsigned char* q = p + m_dwImgStride;
        uint8_t out[3];
        for (int ch = 0; ch < 3; ++ch) {
            uint16_t s = static_cast<uint16_t>(w00 * p[ch]);
            s = static_cast<uint16_t>(s + w10 * p[3 + ch]);
            s = static_cast<uint16_t>(s + w01 * q[ch]);
            s = static_cast<uint16_t>(s + w11 * q[3 + ch]);
            out[ch] = static_cast<uint8_t>(s >> kBilinearShift);
        }
        return SnapResult(tagRGBQUAD{out[0], out[1], out[2], 0});
    }
    const float fx = x - static_cast<float>(xi);
    const float fy = y - static_cast<float>(yi);
    const float w00 = (1.0f - fx) * (1.0f - fy);
    const float w10 = fx * (1.0f - fy);
    const float w01 = (1.0f - fx) * fy;
    const float w11 = fx * fy;
    const tagRGBQUAD c00 = GetPixelColorWithOverflow(xi, yi, mode, replacement);
    const tagRGBQUAD c10 = GetPixelColorWithOverflow(xi + 1, yi, mode, replacement);
    const tagRGBQUAD c01 = GetPixelColorWithOverflow(xi, yi + 1, mode, replacement);
    const tagRGBQUAD c11 = GetPixelColorWithOverflow(xi + 1, yi + 1, mode, replacement);
    const float r = w00 * c00.rgbRed + w10 * c10.rgbRed + w01 * c01.rgbRed + w11 * c11.rgbRed;
    const float g = w00 * c00.rgbGreen + w10 * c10.rgbGreen + w01 * c01.rgbGreen + w11 * c11.rgbGreen;
    const float b = w00 * c00.rgbBlue + w10 * c10.rgbBlue + w01 * c01.rgbBlue + w11 * c11.rgbBlue;
    return SnapResult(tagRGBQUAD{KernelChannel(b), KernelChannel(g), KernelChannel(r), 0});
}

tagRGBQUAD CBmpProcessing::KernelInterpolate(float x, float y, int32_t xi, int32_t yi, InterpolationMethod method,
                                             OverflowMethod mode, const tagRGBQUAD* replacement) const
{
    const bool lanczos = method == InterpLanczos;
    const int taps = lanczos ? kLanczosTaps : kKernelTaps;
    const int before = lanczos ? kLanczosBefore : 1;
    const int32_t w = m_nImgWidth, h = m_nImgHeight;
    const bool outside = lanczos ? (xi < -kLanczosSlackBefore || xi - kLanczosSlackAfter > w ||
                                    yi < -kLanczosSlackBefore || yi - kLanczosSlackAfter > h)
                                 : (xi < -kKernelSlack || xi > w || yi < -kKernelSlack || yi > h);
    if (outside) {
        if (IsFixedOutsideMode(mode)) {
            return GetPixelColorWithOverflow(kOutside, kOutside, mode, replacement);
        }
        OverflowCoordinates(xi, yi, mode);
        x = static_cast<float>(xi);
        y = static_cast<float>(yi);
    }
    float wx[kLanczosTaps];
    float wy[kLanczosTaps];
    for (int i = 0; i < taps; ++i) {
        wx[i] = KernelWeight(method, static_cast<float>(xi - before + i) - x);
        wy[i] = KernelWeight(method, static_cast<float>(yi - before + i) - y);
    }
    // The interior reads the block straight from memory, without the snap
    // that reads through the outside rule apply.
    const int32_t x0 = xi - before, y0 = yi - before;
    const bool direct =
        m_pImgData != nullptr && m_wImgBitCount == 24 && x0 >= 0 && x0 + taps - 1 < w && y0 >= 0 && y0 + taps - 1 < h;
    float r = 0.0f, g = 0.0f, b = 0.0f;
    for (int j = 0; j < taps; ++j) {
        for (int i = 0; i < taps; ++i) {
            const tagRGBQUAD c =
                direct ? ReadPixel(x0 + i, y0 + j) : GetPixelColorWithOverflow(x0 + i, y0 + j, mode, replacement);
            const float wt = wy[j] * wx[i];
            r += wt * c.rgbRed;
            g += wt * c.rgbGreen;
            b += wt * c.rgbBlue;
        }
    }
    return SnapResult(tagRGBQUAD{KernelChannel(b), KernelChannel(g), KernelChannel(r), 0});
}

tagRGBQUAD CBmpProcessing::GetAreaColorInterpolated(float x, float y, float xScale, float yScale,
                                                    InterpolationMethod method, OverflowMethod mode,
                                                    const tagRGBQUAD* replacement) const
{
    if (xScale <= 1.0f && yScale <= 1.0f) {
        return GetPixelColorInterpolated(x, y, method, mode, replacement);
    }
    const kvimg::AreaAxis ax = kvimg::MakeAreaAxis(x, xScale);
    const kvimg::AreaAxis ay = kvimg::MakeAreaAxis(y, yScale);
    const int64_t pixels = (int64_t{ax.last} - ax.first + 1) * (int64_t{ay.last} - ay.first + 1);
    if (pixels > kvimg::kMaxAreaPixels) {
        return GetPixelColorWithOverflow(kOutside, kOutside, mode, replacement);
    }
    kvimg::AreaSums s;
    if (xScale > 1.0f && yScale > 1.0f) {
        const kvimg::AreaEdges e = kvimg::MakeAreaEdges(ax, ay);
        if (HasReadableImage() && kvimg::AreaInside(ax, ay, m_nImgWidth, m_nImgHeight)) {
            s = m_wImgBitCount == 24
                    ? kvimg::AccumulateArea(ax, ay, e, kvimg::DirectReader24{m_pImgData, m_dwImgStride})
                    : kvimg::AccumulateArea(ax, ay, e, kvimg::DirectReader8{m_pImgData, m_dwImgStride});
        } else {
            s = kvimg::AccumulateArea(ax, ay, e, kvimg::OverflowReader{this, mode, replacement});
        }
        return kvimg::FinishArea(s, ax, ay);
    }
    // One direction only: interpolate at the centre of each pixel's share
    // of the area, weighted by that share.
    const CxRect2 area(ax.lo, ay.lo, ax.hi, ay.hi);
    float unused = 0.0f;
    for (int32_t j = ay.first; j <= ay.last; ++j) {
        for (int32_t i = ax.first; i <= ax.last; ++i) {
            const CxRect2 box(static_cast<float>(i) - 0.5f, static_cast<float>(j) - 0.5f, static_cast<float>(i) + 0.5f,
                              static_cast<float>(j) + 0.5f);
            const CxRect2 part = area.CrossSection(box);
            const CxPoint2 centre = part.Center();
            const tagRGBQUAD c = GetPixelColorInterpolated(centre.x, centre.y, method, mode, replacement);
            AddAveragingCont(c, part.Surface(), s.red, s.green, s.blue, unused);
        }
    }
    return kvimg::FinishArea(s, ax, ay);
}
