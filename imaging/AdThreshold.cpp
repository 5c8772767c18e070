// Histogram threshold selection (four criteria and their consensus), the
// bilinear spreading of a block-threshold grid, and adaptive thresholding
// with interpolated block thresholds.
#include "AdThreshold.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>
#include <vector>

#include "BmpArith.h"
#include "MallocBuffer.h"

namespace {

using kvimg::BlockSpan;
using kvimg::GreyHistogram;
using kvimg::kHistogramBins;
using kvimg::kNoThreshold;

constexpr int kWhite = 255;
constexpr int kBlack = 0;
constexpr int kMinBlockSize = 8;  // smaller blocks are raised to this
constexpr int64_t kRowAlign = 4;  // rows of the grid and the map are padded to 4 bytes
constexpr int kGreyBits = 8;      // bits per pixel of the output rows

using CBuffer = kvimg::MallocBuffer;

// Returns n rounded up to a multiple of kRowAlign.
int64_t AlignRow(int64_t n)
{
    return (n + kRowAlign - 1) / kRowAlign * kRowAlign;
}

// Returns v narrowed to 32 bits, saturating at the top; block corners past
// the image are clipped away anyway, so saturation never changes a result.
int32_t SaturateInt32(int64_t v)
{
    return static_cast<int32_t>(std::min<int64_t>(v, std::numeric_limits<int32_t>::max()));
}

// Returns the half-open bottom-up rectangle of the size x size block whose
// first column is x and first row is y.
tagRECT BlockRect(int64_t x, int64_t y, int64_t size)
{
    return tagRECT{SaturateInt32(x), SaturateInt32(y + size), SaturateInt32(x + size), SaturateInt32(y)};
}

// Returns the weight clamped to 0.0 .. 1.0 (NaN counts as 0).
float ClampWeight(float weight)
{
    if (!(weight > 0.0f)) {
        return 0.0f;
    }
    return weight > 1.0f ? 1.0f : weight;
}

// A bilinear resampling: the source and the full destination size, which
// fixes the sampling steps.
struct ResampleJob {
    const unsigned char* src;
    int64_t srcWidth;
    int64_t srcHeight;
    int64_t srcStride;
    int64_t dstWidth;
    int64_t dstHeight;
};

// Writes the top-left cropWidth x cropHeight part of the resampled image
// into rows of outStride bytes. Each pixel depends only on its own position,
// so a crop holds exactly the values of the full image there. Every row
// samples the same columns, so their positions and weights are worked out
// once. A sample at (fx, fy) weighs the rows and columns at the truncated
// position and the next ones (clamped to the last), in single precision,
// truncated to a byte.
void ResampleRegion(const ResampleJob& job, int64_t cropWidth, int64_t cropHeight, unsigned char* out,
                    int64_t outStride)
{
    const float sx = static_cast<float>(job.srcWidth) / static_cast<float>(job.dstWidth);
    const float sy = static_cast<float>(job.srcHeight) / static_cast<float>(job.dstHeight);
    // The columns fall into runs that sample the same two source columns
    // (the grid is coarse): per row, a run's two column values are worked
    // out once and only the weight dx changes along it.
    struct ColumnRun {
        int64_t first, end, x0, x1;
    };
    std::vector<ColumnRun> runs;
    std::vector<float> dx(static_cast<size_t>(cropWidth));
    for (int64_t x = 0; x < cropWidth; ++x) {
        const float fx = static_cast<float>(x) * sx;
        const int64_t ix = static_cast<int64_t>(fx);
        dx[x] = fx - static_cast<float>(ix);
        const int64_t x0 = std::min(ix, job.srcWidth - 1);
        const int64_t x1 = std::min(job.srcWidth - 1, ix + 1);
        if (runs.empty() || runs.back().x0 != x0 || runs.back().x1 != x1) {
            runs.push_back({x, x, x0, x1});
        }
        runs.back().end = x + 1;
    }
    for (int64_t y = 0; y < cropHeight; ++y) {
        const float fy = static_cast<float>(y) * sy;
        const int64_t iy = static_cast<int64_t>(fy);
        const float dy = fy - static_cast<float>(iy);
        const unsigned char* upper = job.src + std::min(iy, job.srcHeight - 1) * job.srcStride;
        const unsigned char* lower = job.src + std::min(job.srcHeight - 1, iy + 1) * job.srcStride;
        unsigned char* row = out + y * outStride;
        for (const ColumnRun& run : runs) {
            const int p00 = upper[run.x0];
            const int p01 = upper[run.x1];
            const int p10 = lower[run.x0];
            const int p11 = lower[run.x1];
            const float a = static_cast<float>(p00) + static_cast<float>(p10 - p00) * dy;
            const float b = static_cast<float>(p01) + static_cast<float>(p11 - p01) * dy;
            const float slope = b - a;
            for (int64_t x = run.first; x < run.end; ++x) {
                row[x] = kvimg::ClampToByte(kvimg::TruncToInt32(a + slope * dx[x]));
            }
        }
    }
}

// An 8-bit image as the free functions receive it.
struct GreyView {
    const unsigned char* data;
    int64_t width;
    int64_t height;
    int64_t stride;
};

// The block-threshold grid of AdaptiveThreshold: one byte per block of
// block x block pixels, rows padded to 4 bytes.
struct BlockGrid {
    CBuffer data;
    int64_t block;
    int64_t width;
    int64_t height;
    int64_t stride;
};

// Fills every grid entry with bias + (1 - w) local + w global, in single
// precision, truncated and clamped to a byte. Returns false as soon as a
// block has no threshold.
bool FillBlockGrid(const GreyView& img, int method, int bias, float w, int global, BlockGrid& grid)
{
    for (int64_t j = 0; j < grid.height; ++j) {
        for (int64_t i = 0; i < grid.width; ++i) {
            const tagRECT rect = BlockRect(i * grid.block, j * grid.block, grid.block);
            const int local = OptimalThreshold(method, img.data, static_cast<int>(img.width),
                                               static_cast<int>(img.height), static_cast<int>(img.stride), &rect);
            if (local < 0) {
                return false;
            }
            const float entry =
                static_cast<float>(bias) + (1.0f - w) * static_cast<float>(local) + w * static_cast<float>(global);
            grid.data.get()[j * grid.stride + i] = kvimg::ClampToByte(kvimg::TruncToInt32(entry));
        }
    }
    return true;
}

// Returns the threshold map: the grid resampled to (gw B) x (gh B), of which
// only the width x height part over the image is ever read and so is all
// that is computed and held (rows padded to 4 bytes); null when it cannot
// be allocated. A huge block size thus costs no huge map.
CBuffer SpreadGridOverImage(const BlockGrid& grid, int64_t width, int64_t height)
{
    const int64_t mapStride = AlignRow(width);
    CBuffer map(static_cast<unsigned char*>(std::calloc(static_cast<size_t>(height), static_cast<size_t>(mapStride))));
    if (map) {
        const ResampleJob job{grid.data.get(),         grid.width, grid.height, grid.stride, grid.width * grid.block,
                              grid.height * grid.block};
        ResampleRegion(job, width, height, map.get(), mapStride);
    }
    return map;
}

// Writes 0 for each pixel below its map value and 255 otherwise (swapped
// when inverting) into rows padded to 4 bytes.
void ThresholdAgainstMap(const GreyView& img, const unsigned char* map, bool invert, unsigned char* out)
{
    const int64_t mapStride = AlignRow(img.width);
    const int64_t outStride = BmpRowStride(kGreyBits, img.width);
    const unsigned char below = invert ? kWhite : kBlack;
    const unsigned char notBelow = invert ? kBlack : kWhite;
    for (int64_t y = 0; y < img.height; ++y) {
        const unsigned char* in = img.data + y * img.stride;
        const unsigned char* limit = map + y * mapStride;
        unsigned char* row = out + y * outStride;
        for (int64_t x = 0; x < img.width; ++x) {
            row[x] = in[x] < limit[x] ? below : notBelow;
        }
    }
}

// Values of the four criteria for one split, kept together so the loop over
// the candidates reads as the list of criteria.
struct SplitScores {
    double value[kvimg::kThresholdCriteria];
    bool valid[kvimg::kThresholdCriteria];
};

// The occupied bins of a histogram range, in order: the class sums below
// run over them alone, since an empty bin adds nothing (an entropy term is
// skipped for it, a moment term is +0.0, which leaves a sum as it is).
struct OccupiedBins {
    int bin[kHistogramBins];
    int count = 0;
};

OccupiedBins OccupiedIn(const GreyHistogram& h, int lo, int hi)
{
    OccupiedBins o;
    for (int i = lo; i <= hi; ++i) {
        if (h[i] != 0.0) {
            o.bin[o.count++] = i;
        }
    }
    return o;
}

// Returns the sum of (h / count) ln(h / count) over the occupied bins
// bin[from..to): one class's entropy with its sign flipped.
double ClassEntropy(const GreyHistogram& h, const OccupiedBins& o, int from, int to, double count)
{
    double sum = 0.0;
    for (int k = from; k < to; ++k) {
        const double p = h[o.bin[k]] / count;
        sum += p * std::log(p);
    }
    return sum;
}

// Returns the moment-balance value for threshold t, whose lower class holds
// the occupied bins bin[0..split): with A and B the second moments of the
// two classes about t, -|A - B| / (A + B), or 0 when both are 0.
double MomentBalance(const GreyHistogram& h, const OccupiedBins& o, int split, int t)
{
    double below = 0.0;
    double above = 0.0;
    for (int k = 0; k < split; ++k) {
        const double d = static_cast<double>(t - o.bin[k]);
        below += h[o.bin[k]] * (d * d);
    }
    for (int k = split; k < o.count; ++k) {
        const double d = static_cast<double>(o.bin[k] - t);
        above += h[o.bin[k]] * (d * d);
    }
    if (below + above > 0.0) {
        return -std::fabs((below - above) / (below + above));
    }
    return 0.0;
}

// Running count, sum of values and sum of squared values of a class.
struct ClassSums {
    double count;
    double sum;
    double sumSq;
};

// Adds bin i of the histogram to a class.
void AddBin(ClassSums& c, const GreyHistogram& h, int i)
{
    c.count += h[i];
    c.sum += h[i] * i;
    c.sumSq += h[i] * static_cast<double>(i * i);
}

// The class entropies of one split; they change only where the split
// passes an occupied bin, so they are carried over the empty ones.
struct SplitEntropy {
    double lower = 0.0;
    double upper = 0.0;
};

// Returns the four criteria's values for the split at t: lower class lo..t
// (sums `lower`, the occupied bins bin[0..split)), upper class t + 1..hi
// (sums `all` minus `lower`). Both classes hold pixels, since lo and hi are
// occupied bins.
SplitScores ScoreSplit(const GreyHistogram& h, const OccupiedBins& o, int split, int t, const ClassSums& all,
                       const ClassSums& lower, const SplitEntropy& entropy)
{
    const double c1 = lower.count;
    const double c2 = all.count - c1;
    const double mean1 = lower.sum / c1;
    const double mean2 = (all.sum - lower.sum) / c2;
    const double var1 = lower.sumSq / c1 - mean1 * mean1;
    const double var2 = (all.sumSq - lower.sumSq) / c2 - mean2 * mean2;

    SplitScores s{};
    s.value[0] = -(var1 * c1 + var2 * c2);
    s.valid[0] = true;
    s.valid[1] = var1 > 0.0 && var2 > 0.0;
    if (s.valid[1]) {
        s.value[1] = c1 * std::log(c1 / std::sqrt(var1)) + c2 * std::log(c2 / std::sqrt(var2));
    }
    s.value[2] = -entropy.lower - entropy.upper;
    s.valid[2] = true;
    s.value[3] = MomentBalance(h, o, split, t);
    s.valid[3] = true;
    return s;
}

}  // namespace

namespace kvimg {

bool ClipThresholdBlock(const tagRECT* block, int64_t width, int64_t height, BlockSpan& span)
{
    span = BlockSpan{0, width, 0, height};
    if (block != nullptr) {
        span.x0 = std::max<int64_t>(block->left, 0);
        span.x1 = std::min<int64_t>(block->right, width);
        span.y0 = std::max<int64_t>(block->bottom, 0);
        span.y1 = std::min<int64_t>(block->top, height);
    }
    return span.y0 < span.y1 && span.x0 < span.x1;
}

void BuildGreyHistogram(const unsigned char* image, int64_t stride, const BlockSpan& span, GreyHistogram& histogram)
{
    // Whole counts, in four tallies so that runs of one grey (a label is
    // mostly white) do not wait on one counter. Every count is far below
    // 2^53, so as a double it is exactly what adding 1.0 per pixel gives.
    constexpr int kTallies = 4;
    std::array<uint64_t, static_cast<size_t>(kTallies) * kHistogramBins> tally{};
    for (int64_t y = span.y0; y < span.y1; ++y) {
        const unsigned char* row = image + y * stride;
        int64_t x = span.x0;
        for (; x + kTallies <= span.x1; x += kTallies) {
            for (int k = 0; k < kTallies; ++k) {
                ++tally[static_cast<size_t>(k) * kHistogramBins + row[x + k]];
            }
        }
        for (; x < span.x1; ++x) {
            ++tally[row[x]];
        }
    }
    for (int i = 0; i < kHistogramBins; ++i) {
        uint64_t count = 0;
        for (int k = 0; k < kTallies; ++k) {
            count += tally[static_cast<size_t>(k) * kHistogramBins + i];
        }
        histogram[i] = static_cast<double>(count);
    }
}

int LowestOccupiedBin(const GreyHistogram& histogram)
{
    for (int i = 0; i < kHistogramBins - 1; ++i) {
        if (histogram[i] != 0.0) {
            return i;
        }
    }
    return kNoThreshold;
}

int HighestOccupiedBin(const GreyHistogram& histogram)
{
    for (int i = kHistogramBins - 1; i >= 1; --i) {
        if (histogram[i] != 0.0) {
            return i;
        }
    }
    return 0;
}

ThresholdCriteria EvaluateThresholdCriteria(const GreyHistogram& h, int lo, int hi)
{
    ClassSums all{};
    for (int i = lo; i <= hi; ++i) {
        AddBin(all, h, i);
    }
    const OccupiedBins occupied = OccupiedIn(h, lo, hi);
    ThresholdCriteria best{{kNoThreshold, kNoThreshold, kNoThreshold, kNoThreshold}};
    double bestValue[kThresholdCriteria] = {};
    ClassSums lower{};
    SplitEntropy entropy;
    entropy.upper = ClassEntropy(h, occupied, 0, occupied.count, all.count - lower.count);
    int split = 0;  // occupied bins in the lower class
    for (int t = lo; t < hi; ++t) {
        AddBin(lower, h, t);
        if (split < occupied.count && occupied.bin[split] == t) {
            ++split;
            entropy.lower = ClassEntropy(h, occupied, 0, split, lower.count);
            entropy.upper = ClassEntropy(h, occupied, split, occupied.count, all.count - lower.count);
        }
        const SplitScores s = ScoreSplit(h, occupied, split, t, all, lower, entropy);
        for (int k = 0; k < kThresholdCriteria; ++k) {
            // Strictly greater: the lowest t keeps a tie.
            if (s.valid[k] && (best.threshold[k] == kNoThreshold || s.value[k] > bestValue[k])) {
                best.threshold[k] = t;
                bestValue[k] = s.value[k];
            }
        }
    }
    return best;
}

int ThresholdFromRange(const GreyHistogram& histogram, int lo, int hi, long method)
{
    if (lo > hi) {
        return kNoThreshold;
    }
    if (lo == hi) {
        return lo > 0 ? lo - 1 : 0;
    }
    const ThresholdCriteria criteria = EvaluateThresholdCriteria(histogram, lo, hi);
    int chosen = kNoThreshold;
    if (method >= 1 && method <= kThresholdCriteria) {
        chosen = criteria.threshold[method - 1];
    } else {
        int sum = 0;
        int found = 0;
        for (int t : criteria.threshold) {
            if (t != kNoThreshold) {
                sum += t;
                ++found;
            }
        }
        chosen = found > 0 ? sum / found : (lo + hi) / 2;
    }
    // Final guard; also catches a criterion that found nothing.
    if (chosen >= hi || chosen <= lo) {
        return (lo + hi) / 2;
    }
    return chosen;
}

}  // namespace kvimg

int OptimalThreshold(int method, const unsigned char* image, int width, int height, int stride, const tagRECT* block)
{
    if (image == nullptr || stride < width) {
        return kNoThreshold;
    }
    BlockSpan span{};
    if (!kvimg::ClipThresholdBlock(block, width, height, span)) {
        return kNoThreshold;
    }
    GreyHistogram histogram;
    kvimg::BuildGreyHistogram(image, stride, span, histogram);
    int lo = kvimg::LowestOccupiedBin(histogram);
    if (lo == kNoThreshold) {
        lo = kWhite;  // only white pixels: lo = hi = 255 gives 254
    }
    const int hi = kvimg::HighestOccupiedBin(histogram);
    return kvimg::ThresholdFromRange(histogram, lo, hi, method);
}

int Resample(const unsigned char* src, int srcWidth, int srcHeight, int srcStride, int dstWidth, int dstHeight,
             unsigned char** output)
{
    if (dstWidth <= 0 || dstHeight <= 0) {
        return 0;
    }
    if (src == nullptr || output == nullptr || srcWidth <= 0 || srcHeight <= 0 || srcStride < srcWidth) {
        return 0;
    }
    if (srcWidth == dstWidth && srcHeight == dstHeight) {
        return 1;
    }
    const int64_t dstStride = AlignRow(dstWidth);
    CBuffer out(
        static_cast<unsigned char*>(std::calloc(static_cast<size_t>(dstHeight), static_cast<size_t>(dstStride))));
    if (!out) {
        return 0;
    }
    const ResampleJob job{src, srcWidth, srcHeight, srcStride, dstWidth, dstHeight};
    ResampleRegion(job, dstWidth, dstHeight, out.get(), dstStride);
    *output = out.release();
    return 1;
}

int AdaptiveThreshold(const unsigned char* image, int width, int height, int stride, unsigned char** output,
                      int* outputSize, bool invert, int method, int blockSize, int bias, float weight)
{
    if (image == nullptr || output == nullptr || outputSize == nullptr || width <= 0 || height <= 0 || stride < width) {
        return 0;
    }
    const GreyView view{image, width, height, stride};
    BlockGrid grid{};
    grid.block = std::max(blockSize, kMinBlockSize);
    grid.width = (width + grid.block - 1) / grid.block;
    grid.height = (height + grid.block - 1) / grid.block;
    grid.stride = AlignRow(grid.width);
    grid.data.reset(
        static_cast<unsigned char*>(std::calloc(static_cast<size_t>(grid.height), static_cast<size_t>(grid.stride))));
    if (!grid.data) {
        return 0;
    }
    const int global = OptimalThreshold(method, image, width, height, stride, nullptr);
    if (global < 0 || !FillBlockGrid(view, method, bias, ClampWeight(weight), global, grid)) {
        return 0;
    }
    CBuffer map = SpreadGridOverImage(grid, width, height);
    if (!map) {
        return 0;
    }
    grid.data.reset();

    const int64_t size = BmpRowStride(kGreyBits, width) * height;
    if (size > std::numeric_limits<int>::max()) {
        return 0;
    }
    *outputSize = static_cast<int>(size);
    CBuffer out(static_cast<unsigned char*>(std::calloc(static_cast<size_t>(size), 1)));
    if (!out) {
        return 0;
    }
    ThresholdAgainstMap(view, map.get(), invert, out.get());
    *output = out.release();
    return 1;
}
