// Resampling of an 8- or 24-bit image to a new size (nearest pixel when
// enlarging, box average when reducing), with the light and levels steps
// applied to every output pixel.
#include <vector>

#include "AreaAverage.h"
#include "BmpArith.h"
#include "BmpProcessing.h"
#include "BmpTone.h"

namespace {

// Where output column (or row) i samples the source: (i + 0.5) * scale - 0.5,
// evaluated in double precision and stored as a float.
float SourcePosition(uint32_t i, float scale)
{
    return static_cast<float>((i + 0.5) * static_cast<double>(scale) - 0.5);
}

// Source positions of every output column (or row).
std::vector<float> SourcePositions(uint32_t count, float scale)
{
    std::vector<float> pos(count);
    for (uint32_t i = 0; i < count; ++i) {
        pos[i] = SourcePosition(i, scale);
    }
    return pos;
}

// Nearest source index of every position, with positions outside the
// image repeated from the edge (clamping each axis on its own is the same
// as the repeat rule, which clamps both when either is outside).
std::vector<int32_t> NearestIndices(const std::vector<float>& pos, int32_t size)
{
    std::vector<int32_t> index(pos.size());
    for (size_t i = 0; i < pos.size(); ++i) {
        const int32_t v = kvimg::TruncCoord(pos[i] + 0.5f);
        index[i] = v < 0 ? 0 : v >= size ? size - 1 : v;
    }
    return index;
}

// Box geometry of every output column (or row).
std::vector<kvimg::AreaAxis> AreaAxes(const std::vector<float>& pos, float scale)
{
    std::vector<kvimg::AreaAxis> axes(pos.size());
    for (size_t i = 0; i < pos.size(); ++i) {
        axes[i] = kvimg::MakeAreaAxis(pos[i], scale);
    }
    return axes;
}

// Stores one output pixel: blue, green, red at 24 bits, else its grey.
inline void StorePixel(unsigned char* row, uint32_t x, bool colour, const tagRGBQUAD& c)
{
    if (colour) {
        unsigned char* p = row + 3 * uint64_t{x};
        p[0] = c.rgbBlue;
        p[1] = c.rgbGreen;
        p[2] = c.rgbRed;
    } else {
        row[x] = kvimg::GreyOf(c.rgbRed, c.rgbGreen, c.rgbBlue);
    }
}

}  // namespace

// One resampling: output geometry, the source position of every output
// column and row, the scales and the tone setting.
struct CBmpProcessing::ResampleJob {
    unsigned char* out;
    uint32_t width, height, stride;
    bool colour;
    float xScale, yScale;
    std::vector<float> xs, ys;
    tagColorCFG tone;

    // Start of output row y.
    unsigned char* Row(uint32_t y) const { return out + uint64_t{y} * stride; }
};

void CBmpProcessing::ApplyResampleTone(tagRGBQUAD& c, const tagColorCFG& color)
{
    if (color.brightness != 0 || color.contrast != 0) {
        kvimg::ApplyLight(m_LightTable, c.rgbRed, c.rgbGreen, c.rgbBlue);
    }
    // All three channels use the table of channel 0, deliberately.
    if (kvimg::LevelsSwitchOn(color.levels)) {
        kvimg::ApplyLevelsSnap(m_LevelsTable[0], c.rgbRed, c.rgbGreen, c.rgbBlue);
    }
    c.rgbReserved = 0;
}

void CBmpProcessing::ResamplePixelByPixel(const ResampleJob& job)
{
    const bool nearest = job.xScale <= 1.0f && job.yScale <= 1.0f;
    for (uint32_t y = 0; y < job.height; ++y) {
        unsigned char* row = job.Row(y);
        for (uint32_t x = 0; x < job.width; ++x) {
            tagRGBQUAD c = nearest
                               ? GetPixelColorInterpolated(job.xs[x], job.ys[y], InterpNearest, OverflowRepeat, nullptr)
                               : GetAreaColorInterpolated(job.xs[x], job.ys[y], job.xScale, job.yScale, InterpNearest,
                                                          OverflowRepeat, nullptr);
            ApplyResampleTone(c, job.tone);
            StorePixel(row, x, job.colour, c);
        }
    }
}

void CBmpProcessing::ResampleNearest(const ResampleJob& job)
{
    const std::vector<int32_t> cols = NearestIndices(job.xs, m_nImgWidth);
    const std::vector<int32_t> rows = NearestIndices(job.ys, m_nImgHeight);
    for (uint32_t y = 0; y < job.height; ++y) {
        unsigned char* row = job.Row(y);
        for (uint32_t x = 0; x < job.width; ++x) {
            const tagRGBQUAD raw = ReadPixel(cols[x], rows[y]);
            const kvimg::Rgb s = kvimg::SnapRead(raw.rgbBlue, raw.rgbGreen, raw.rgbRed);
            tagRGBQUAD c{s.blue, s.green, s.red, 0};
            ApplyResampleTone(c, job.tone);
            StorePixel(row, x, job.colour, c);
        }
    }
}

void CBmpProcessing::ResampleBoxes(const ResampleJob& job)
{
    const std::vector<kvimg::AreaAxis> ax = AreaAxes(job.xs, job.xScale);
    const std::vector<kvimg::AreaAxis> ay = AreaAxes(job.ys, job.yScale);
    const kvimg::DirectReader24 read24{m_pImgData, m_dwImgStride};
    const kvimg::DirectReader8 read8{m_pImgData, m_dwImgStride};
    const bool colourSource = m_wImgBitCount == 24;
    for (uint32_t y = 0; y < job.height; ++y) {
        unsigned char* row = job.Row(y);
        for (uint32_t x = 0; x < job.width; ++x) {
            tagRGBQUAD c;
            if (kvimg::AreaInside(ax[x], ay[y], m_nImgWidth, m_nImgHeight)) {
                const kvimg::AreaEdges e = kvimg::MakeAreaEdges(ax[x], ay[y]);
                const kvimg::AreaSums s = colourSource ? kvimg::AccumulateArea(ax[x], ay[y], e, read24)
                                                       : kvimg::AccumulateArea(ax[x], ay[y], e, read8);
                c = kvimg::FinishArea(s, ax[x], ay[y]);
            } else {
                c = GetAreaColorInterpolated(job.xs[x], job.ys[y], job.xScale, job.yScale, InterpNearest,
                                             OverflowRepeat, nullptr);
            }
            ApplyResampleTone(c, job.tone);
            StorePixel(row, x, job.colour, c);
        }
    }
}

int32_t CBmpProcessing::InvoicResampleImg2(uint32_t srcWidth, uint32_t srcHeight, uint32_t bitCount, uint32_t srcStride,
                                           const unsigned char* src, uint32_t dstWidth, uint32_t dstHeight, uint32_t,
                                           unsigned char** dst, uint32_t dstSize, tagColorCFG color, int32_t, tagRECT)
{
    const bool sizesFit = srcWidth <= INT32_MAX && srcHeight <= INT32_MAX;
    BindImage(src, sizesFit ? static_cast<int32_t>(srcWidth) : 0, sizesFit ? static_cast<int32_t>(srcHeight) : 0,
              static_cast<uint16_t>(bitCount), srcStride);
    const float xScale = static_cast<float>(srcWidth) / static_cast<float>(dstWidth);
    const float yScale = static_cast<float>(srcHeight) / static_cast<float>(dstHeight);
    if (dstHeight < 1 || dstWidth < 1) {
        return 1;
    }
    const bool colour = bitCount == 24;
    const uint64_t bytesPerPixel = colour ? 3 : 1;
    const uint32_t dstStride = dstSize / dstHeight;
    if (src == nullptr || dst == nullptr || *dst == nullptr || !sizesFit || srcWidth == 0 || srcHeight == 0 ||
        uint64_t{srcStride} < srcWidth * bytesPerPixel || uint64_t{dstStride} < dstWidth * bytesPerPixel) {
        return 0;
    }
    const ResampleJob job{*dst,
                          dstWidth,
                          dstHeight,
                          dstStride,
                          colour,
                          xScale,
                          yScale,
                          SourcePositions(dstWidth, xScale),
                          SourcePositions(dstHeight, yScale),
                          color};
    if (!HasReadableImage()) {
        // Images of other depths read as white everywhere: the general path.
        ResamplePixelByPixel(job);
    } else if (xScale <= 1.0f && yScale <= 1.0f) {
        // Enlarging or equal size: the nearest source pixel, snapped.
        ResampleNearest(job);
    } else if (xScale > 1.0f && yScale > 1.0f) {
        // Reducing in both directions: box averages.
        ResampleBoxes(job);
    } else {
        // Reducing in one direction only: interpolated strips.
        ResamplePixelByPixel(job);
    }
    return 1;
}
