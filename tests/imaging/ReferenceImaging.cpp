// Straightforward forms of the fast image operations, written step by step
// from the algorithms as stated for bit-for-bit comparison.
#include "ReferenceImaging.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "BmpArith.h"

namespace kvref {

namespace {

int64_t Stride(int64_t bits, int64_t width)
{
    return ((bits * width + 31) / 32) * 4;
}

// Oriented (column, row) of source pixel (x, y).
void Orient(int o, int64_t W, int64_t H, int64_t x, int64_t y, int64_t& col, int64_t& row)
{
    switch (o) {
    case 0:
        col = y;
        row = W - 1 - x;
        break;
    case 1:
        col = W - 1 - x;
        row = H - 1 - y;
        break;
    case 2:
        col = H - 1 - y;
        row = x;
        break;
    default:
        col = x;
        row = y;
    }
}

bool LevelsOn(int16_t levels)
{
    return levels != 0 && levels != 300;
}

}  // namespace

CoverResult CoverBMP2OutputFormat(CBmpProcessing& p, const uint8_t* src, const tagBITMAPINFOHEADER& header, int o,
                                  int brightness, int contrast, int maxWidth, short cropWhite)
{
    CoverResult res{1, header, tagRECT{0, 0, 0, 0}, {}};
    const int64_t W = header.biWidth, H = header.biHeight, d = header.biBitCount;
    const int64_t S = Stride(d, W);
    const int64_t R = (o == 0 || o == 2) ? W : H;
    const int64_t K = (o == 0 || o == 2) ? std::min<int64_t>(H, maxWidth) : std::min<int64_t>(W, maxWidth);
    const int64_t T = Stride(8, K);
    std::vector<uint8_t> work(static_cast<size_t>(R * T + 8), 255);
    uint8_t b = 0, g = 0, r = 0;
    int64_t minC = -1, maxC = -1, minR = -1, maxR = -1;
    bool colSet = false, rowSet = false;
    for (int64_t y = 0; y < H; ++y) {
        for (int64_t x = 0; x < W; ++x) {
            if (d == 8) {
                b = g = r = src[y * S + x];
            } else if (d == 24) {
                b = src[y * S + 3 * x];
                g = src[y * S + 3 * x + 1];
                r = src[y * S + 3 * x + 2];
            }
            int grey;
            if (b >= 250 && g >= 250 && r >= 250) {
                if (cropWhite) {
                    continue;
                }
                grey = 255;
            } else {
                uint8_t rr = r, gg = g, bb = b;
                if ((brightness != 0 || contrast != 0) && (d == 8 || d == 24)) {
                    p.Light(rr, gg, bb, brightness, contrast);
                }
                const uint8_t R1 = p.m_LevelsTable[0][rr];
                const uint8_t G1 = p.m_LevelsTable[0][gg];
                const uint8_t B1 = p.m_LevelsTable[0][bb];
                grey = (R1 >= 250 && G1 >= 250 && B1 >= 250) ? 255 : (11 * R1 + 16 * G1 + 5 * B1) >> 5;
            }
            int64_t col = 0, row = 0;
            Orient(o, W, H, x, y, col, row);
            if (col < K) {
                minC = colSet ? std::min(minC, col) : col;
                maxC = colSet ? std::max(maxC, col) : col;
                colSet = true;
            }
            if (row < R) {
                minR = rowSet ? std::min(minR, row) : row;
                maxR = rowSet ? std::max(maxR, row) : row;
                rowSet = true;
            }
            if (row * T + col < R * T) {
                work[static_cast<size_t>(row * T + col)] = static_cast<uint8_t>(grey);
            }
        }
    }
    if (!colSet || !rowSet) {
        res.header.biBitCount = 8;
        res.header.biWidth = 0;
        res.header.biHeight = 0;
        res.header.biSizeImage = 0;
        return res;
    }
    const int64_t left = minC - minC % 8;
    int64_t width = maxC - left + 1;
    if (width % 8 != 0) {
        width += 8 - width % 8;
    }
    const int64_t height = maxR - minR + 1;
    res.rect = tagRECT{static_cast<int32_t>(left), static_cast<int32_t>(minR), static_cast<int32_t>(left + width - 1),
                       static_cast<int32_t>(maxR)};
    const int64_t U = Stride(8, width);
    res.header.biBitCount = 8;
    res.header.biWidth = static_cast<int32_t>(width);
    res.header.biHeight = static_cast<int32_t>(height);
    res.header.biSizeImage = static_cast<uint32_t>(U * height);
    res.pixels.assign(static_cast<size_t>(U * height), 255);
    for (int64_t k = 0; k < height; ++k) {
        for (int64_t i = 0; i < std::min(T, U); ++i) {
            res.pixels[static_cast<size_t>(k * U + i)] = work[static_cast<size_t>((minR + k) * T + left + i)];
        }
    }
    return res;
}

void Shrink(CBmpProcessing& p, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcBitCount, uint32_t srcStride,
            const uint8_t* src, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstBitCount, uint8_t* dst,
            uint32_t dstSize, tagColorCFG color, tagRECT whiten)
{
    std::vector<uint32_t> acc(static_cast<size_t>(dstWidth) * 4, 0);
    const uint32_t dstStride = dstSize / dstHeight;
    uint8_t c0 = 0, c1 = 0, c2 = 0;  // channels read last
    uint8_t v0 = 0, v1 = 0, v2 = 0;  // values written last
    uint64_t rowError = 0;
    uint32_t dstRow = 0;
    for (uint32_t y = 0; y < srcHeight; ++y) {
        uint64_t e = 0;
        uint32_t col = 0;
        const uint8_t* row = src + static_cast<size_t>(y) * srcStride;
        for (uint32_t x = 0; x < srcWidth; ++x) {
            e += dstWidth;
            uint32_t* a = &acc[static_cast<size_t>(col) * 4];
            if (int64_t{x} >= whiten.left && int64_t{x} <= whiten.right && int64_t{y} >= whiten.top &&
                int64_t{y} <= whiten.bottom) {
                a[0] += 255;
                a[1] += 255;
                a[2] += 255;
            } else {
                if (srcBitCount == 24) {
                    c0 = row[3 * x];
                    c1 = row[3 * x + 1];
                    c2 = row[3 * x + 2];
                } else if (srcBitCount == 8) {
                    c0 = c1 = c2 = row[x];
                }
                a[0] += c0;
                a[1] += c1;
                a[2] += c2;
            }
            a[3] += 1;
            if (e > srcWidth) {
                ++col;
                e -= srcWidth;
            }
        }
        rowError += dstHeight;
        if (rowError >= srcHeight) {
            rowError -= srcHeight;
            uint8_t* out = dst + static_cast<size_t>(dstRow) * dstStride;
            for (uint32_t c = 0; c < dstWidth; ++c) {
                const uint32_t* a = &acc[static_cast<size_t>(c) * 4];
                if (a[3] != 0) {
                    v0 = static_cast<uint8_t>(a[0] / a[3]);
                    v1 = static_cast<uint8_t>(a[1] / a[3]);
                    v2 = static_cast<uint8_t>(a[2] / a[3]);
                }
                if (color.brightness != 0 || color.contrast != 0) {
                    p.Light(v0, v1, v2, color.brightness, color.contrast);
                }
                if (LevelsOn(color.levels)) {
                    v0 = p.m_LevelsTable[0][v0];
                    v1 = p.m_LevelsTable[0][v1];
                    v2 = p.m_LevelsTable[0][v2];
                    if (v0 >= 250 && v1 >= 250 && v2 >= 250) {
                        v0 = v1 = v2 = 255;
                    }
                }
                if (dstBitCount == 8) {
                    out[c] = static_cast<uint8_t>((11 * v2 + 16 * v1 + 5 * v0) >> 5);
                } else if (dstBitCount == 24) {
                    out[3 * c] = v0;
                    out[3 * c + 1] = v1;
                    out[3 * c + 2] = v2;
                }
            }
            std::fill(acc.begin(), acc.end(), 0);
            ++dstRow;
        }
    }
}

tagRGBQUAD AreaColor(const CBmpProcessing& p, float x, float y, float xScale, float yScale, InterpolationMethod method,
                     OverflowMethod mode, const tagRGBQUAD* replacement)
{
    if (xScale <= 1 && yScale <= 1) {
        return p.GetPixelColorInterpolated(x, y, method, mode, replacement);
    }
    const CxRect2 A(x - xScale / 2, y - yScale / 2, x + xScale / 2, y + yScale / 2);
    const int xmin = static_cast<int>(A.cornerMin.x + 0.5f);
    const int ymin = static_cast<int>(A.cornerMin.y + 0.5f);
    const int xmax = static_cast<int>(A.cornerMax.x + 0.5f);
    const int ymax = static_cast<int>(A.cornerMax.y + 0.5f);
    float r = 0, g = 0, b = 0, a = 0;
    auto box = [](int i, int j) { return CxRect2(i - 0.5f, j - 0.5f, i + 0.5f, j + 0.5f); };
    if (xScale > 1 && yScale > 1) {
        const CxRect2 c1 = A.CrossSection(box(xmin, ymin));
        const CxRect2 c2 = A.CrossSection(box(xmax, ymax));
        const float wl = c1.Width(), ht = c1.Height();
        const float wr = c2.Width(), hb = c2.Height();
        auto add = [&](int i, int j, float w) {
            p.AddAveragingCont(p.GetPixelColorWithOverflow(i, j, mode, replacement), w, r, g, b, a);
        };
        add(xmin, ymin, wl * ht);
        add(xmax, ymin, wr * ht);
        add(xmin, ymax, wl * hb);
        add(xmax, ymax, wr * hb);
        for (int i = xmin + 1; i < xmax; ++i) {
            add(i, ymin, ht);
            add(i, ymax, hb);
        }
        for (int j = ymin + 1; j < ymax; ++j) {
            add(xmin, j, wl);
            add(xmax, j, wr);
        }
        for (int j = ymin + 1; j < ymax; ++j) {
            for (int i = xmin + 1; i < xmax; ++i) {
                add(i, j, 1.0f);
            }
        }
    } else {
        for (int j = ymin; j <= ymax; ++j) {
            for (int i = xmin; i <= xmax; ++i) {
                const CxRect2 c = A.CrossSection(box(i, j));
                const CxPoint2 m = c.Center();
                p.AddAveragingCont(p.GetPixelColorInterpolated(m.x, m.y, method, mode, replacement), c.Surface(), r, g,
                                   b, a);
            }
        }
    }
    const float s = A.Surface();
    auto finish = [](float v) -> uint8_t {
        if (v > 255) {
            return 255;
        }
        if (v < 0) {
            return 0;
        }
        return static_cast<uint8_t>(static_cast<int>(v));
    };
    return tagRGBQUAD{finish(b / s), finish(g / s), finish(r / s), 0};
}

void Resample(CBmpProcessing& p, uint32_t srcWidth, uint32_t srcHeight, uint32_t bitCount, uint32_t srcStride,
              const uint8_t* src, uint32_t dstWidth, uint32_t dstHeight, uint8_t* dst, uint32_t dstSize,
              tagColorCFG color)
{
    p.BindImage(src, static_cast<int32_t>(srcWidth), static_cast<int32_t>(srcHeight), static_cast<uint16_t>(bitCount),
                srcStride);
    const float xScale = static_cast<float>(srcWidth) / static_cast<float>(dstWidth);
    const float yScale = static_cast<float>(srcHeight) / static_cast<float>(dstHeight);
    const uint32_t stride = dstSize / dstHeight;
    for (uint32_t y = 0; y < dstHeight; ++y) {
        for (uint32_t x = 0; x < dstWidth; ++x) {
            const float sx = static_cast<float>((x + 0.5) * xScale - 0.5);
            const float sy = static_cast<float>((y + 0.5) * yScale - 0.5);
            tagRGBQUAD c = (xScale <= 1 && yScale <= 1)
                               ? p.GetPixelColorInterpolated(sx, sy, InterpNearest, OverflowRepeat, nullptr)
                               : AreaColor(p, sx, sy, xScale, yScale, InterpNearest, OverflowRepeat, nullptr);
            if (color.brightness != 0 || color.contrast != 0) {
                p.Light(c.rgbRed, c.rgbGreen, c.rgbBlue, color.brightness, color.contrast);
            }
            if (LevelsOn(color.levels)) {
                c.rgbRed = p.m_LevelsTable[0][c.rgbRed];
                c.rgbGreen = p.m_LevelsTable[0][c.rgbGreen];
                c.rgbBlue = p.m_LevelsTable[0][c.rgbBlue];
                if (c.rgbRed >= 250 && c.rgbGreen >= 250 && c.rgbBlue >= 250) {
                    c.rgbRed = c.rgbGreen = c.rgbBlue = 255;
                }
            }
            uint8_t* row = dst + static_cast<size_t>(y) * stride;
            if (bitCount == 24) {
                row[3 * x] = c.rgbBlue;
                row[3 * x + 1] = c.rgbGreen;
                row[3 * x + 2] = c.rgbRed;
            } else {
                row[x] = static_cast<uint8_t>((11 * c.rgbRed + 16 * c.rgbGreen + 5 * c.rgbBlue) >> 5);
            }
        }
    }
}

tagRECT BlankEdgeScans(const uint8_t* src, int32_t W, int32_t H, int d)
{
    const int64_t S = Stride(d, W);
    auto ink = [&](int32_t x, int32_t y) {
        const uint8_t* row = src + y * S;
        if (d == 8) {
            return row[x] < 251;
        }
        if (d == 24) {
            return row[3 * x] <= 250 && row[3 * x + 1] <= 250 && row[3 * x + 2] <= 250;
        }
        if (d == 1) {
            return ((row[x / 8] >> (7 - x % 8)) & 1) == 0;
        }
        return false;
    };
    tagRECT r{0, 0, W - 1, H - 1};
    [&] {
        for (int32_t x = 0; x < W; ++x)
            for (int32_t y = 0; y < H; ++y)
                if (ink(x, y)) {
                    r.left = x / 8 * 8;
                    return;
                }
    }();
    [&] {
        for (int32_t y = 0; y < H; ++y)
            for (int32_t x = 0; x < W; ++x)
                if (ink(x, y)) {
                    r.top = y / 8 * 8;
                    return;
                }
    }();
    [&] {
        for (int32_t x = W - 1; x >= 0; --x)
            for (int32_t y = 0; y < H; ++y)
                if (ink(x, y)) {
                    r.right = x;
                    return;
                }
    }();
    [&] {
        for (int32_t y = H - 1; y >= 0; --y)
            for (int32_t x = 0; x < W; ++x)
                if (ink(x, y)) {
                    if (d == 8) {
                        r.bottom = y;
                    } else {
                        r.top = y;
                    }
                    return;
                }
    }();
    int32_t width = r.right - r.left + 1;
    if (width % 8 != 0) {
        width += 8 - width % 8;
        r.right = r.left + width - 1;
    }
    return r;
}

namespace {

double EntropyOfClass(const kvimg::GreyHistogram& h, int first, int last, double count)
{
    double sum = 0.0;
    for (int i = first; i <= last; ++i) {
        if (h[i] != 0.0) {
            const double p = h[i] / count;
            sum += p * std::log(p);
        }
    }
    return sum;
}

double BalanceOfMoments(const kvimg::GreyHistogram& h, int lo, int t, int hi)
{
    double below = 0.0;
    double above = 0.0;
    for (int i = lo; i <= t; ++i) {
        const double d = static_cast<double>(t - i);
        below += h[i] * (d * d);
    }
    for (int i = t + 1; i <= hi; ++i) {
        const double d = static_cast<double>(i - t);
        above += h[i] * (d * d);
    }
    return below + above > 0.0 ? -std::fabs((below - above) / (below + above)) : 0.0;
}

}  // namespace

kvimg::ThresholdCriteria EvaluateThresholdCriteria(const kvimg::GreyHistogram& h, int lo, int hi)
{
    double allCount = 0.0, allSum = 0.0, allSq = 0.0;
    for (int i = lo; i <= hi; ++i) {
        allCount += h[i];
        allSum += h[i] * i;
        allSq += h[i] * static_cast<double>(i * i);
    }
    kvimg::ThresholdCriteria best{{kvimg::kNoThreshold, kvimg::kNoThreshold, kvimg::kNoThreshold, kvimg::kNoThreshold}};
    double bestValue[kvimg::kThresholdCriteria] = {};
    double c1 = 0.0, s1 = 0.0, q1 = 0.0;
    for (int t = lo; t < hi; ++t) {
        c1 += h[t];
        s1 += h[t] * t;
        q1 += h[t] * static_cast<double>(t * t);
        const double c2 = allCount - c1;
        const double mean1 = s1 / c1;
        const double mean2 = (allSum - s1) / c2;
        const double var1 = q1 / c1 - mean1 * mean1;
        const double var2 = (allSq - q1) / c2 - mean2 * mean2;
        double value[kvimg::kThresholdCriteria] = {};
        bool valid[kvimg::kThresholdCriteria] = {true, var1 > 0.0 && var2 > 0.0, true, true};
        value[0] = -(var1 * c1 + var2 * c2);
        if (valid[1]) {
            value[1] = c1 * std::log(c1 / std::sqrt(var1)) + c2 * std::log(c2 / std::sqrt(var2));
        }
        value[2] = -EntropyOfClass(h, lo, t, c1) - EntropyOfClass(h, t + 1, hi, c2);
        value[3] = BalanceOfMoments(h, lo, t, hi);
        for (int k = 0; k < kvimg::kThresholdCriteria; ++k) {
            if (valid[k] && (best.threshold[k] == kvimg::kNoThreshold || value[k] > bestValue[k])) {
                best.threshold[k] = t;
                bestValue[k] = value[k];
            }
        }
    }
    return best;
}

std::vector<uint8_t> BilinearResample(const uint8_t* src, int srcWidth, int srcHeight, int srcStride, int dstWidth,
                                      int dstHeight)
{
    const int64_t stride = (dstWidth + 3) / 4 * 4;
    std::vector<uint8_t> out(static_cast<size_t>(stride) * dstHeight, 0);
    const float sx = static_cast<float>(srcWidth) / static_cast<float>(dstWidth);
    const float sy = static_cast<float>(srcHeight) / static_cast<float>(dstHeight);
    for (int y = 0; y < dstHeight; ++y) {
        for (int x = 0; x < dstWidth; ++x) {
            const float fx = static_cast<float>(x) * sx;
            const float fy = static_cast<float>(y) * sy;
            const int64_t ix = static_cast<int64_t>(fx);
            const int64_t iy = static_cast<int64_t>(fy);
            const float dx = fx - static_cast<float>(ix);
            const float dy = fy - static_cast<float>(iy);
            const int64_t x0 = std::min<int64_t>(ix, srcWidth - 1), x1 = std::min<int64_t>(srcWidth - 1, ix + 1);
            const int64_t y0 = std::min<int64_t>(iy, srcHeight - 1), y1 = std::min<int64_t>(srcHeight - 1, iy + 1);
            const int p00 = src[y0 * srcStride + x0], p01 = src[y0 * srcStride + x1];
            const int p10 = src[y1 * srcStride + x0], p11 = src[y1 * srcStride + x1];
            const float a = static_cast<float>(p00) + static_cast<float>(p10 - p00) * dy;
            const float b = static_cast<float>(p01) + static_cast<float>(p11 - p01) * dy;
            const float value = a + (b - a) * dx;
            out[y * stride + x] = kvimg::ClampToByte(kvimg::TruncToInt32(value));
        }
    }
    return out;
}

}  // namespace kvref
