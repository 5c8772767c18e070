// Box-averaging shrink of an 8- or 24-bit image in one pass over the source
// rows, with the light and levels steps applied to each averaged pixel.
#include <algorithm>
#include <vector>

#include "BmpArith.h"
#include "BmpProcessing.h"
#include "BmpTone.h"

namespace {

// Channels summed per destination column.
constexpr size_t kChannels = 3;

// Bytes per pixel of the depths the shrink reads and writes (0: neither).
uint32_t BytesPerPixel(uint32_t bitCount)
{
    return bitCount == 24 ? 3 : bitCount == 8 ? 1 : 0;
}

// Which destination column every source column adds to. The column error
// grows by the destination width per source pixel and moves on only when
// it exceeds the source width (strictly), after the pixel was added; as the
// error restarts with every row the map is the same for all rows.
struct ColumnPlan {
    std::vector<uint32_t> columnOf;   // per source column
    std::vector<uint32_t> pixels;     // source columns per destination column
};

ColumnPlan PlanColumns(uint32_t srcWidth, uint32_t dstWidth)
{
    ColumnPlan plan;
    plan.columnOf.resize(srcWidth);
    plan.pixels.assign(dstWidth, 0);
    uint64_t error = 0;
    uint32_t column = 0;
    for (uint32_t x = 0; x < srcWidth; ++x) {
        error += dstWidth;
        plan.columnOf[x] = column;
        ++plan.pixels[column];
        if (error > srcWidth) {
            ++column;
            error -= srcWidth;
        }
    }
    return plan;
}

// Source columns of row y inside the whitening rectangle, as [first, last];
// first > last when the row has none.
void WhitenedSpan(const tagRECT& r, uint32_t y, uint32_t width, int64_t& first, int64_t& last)
{
    first = 1;
    last = 0;
    if (int64_t{y} < r.top || int64_t{y} > r.bottom) {
        return;
    }
    first = std::max<int64_t>(r.left, 0);
    last = std::min<int64_t>(r.right, int64_t{width} - 1);
}

// The shrink of one source into one destination.
struct ShrinkJob {
    uint32_t srcWidth, srcHeight, srcStride, srcBpp;
    const unsigned char* src;
    uint32_t dstWidth, dstHeight, dstStride, dstBitCount;
    unsigned char* dst;
    tagColorCFG color;
    tagRECT whiten;
};

// Adds source columns [from, to) of one row to the accumulators; white
// pixels add 255 to each sum instead of their channels.
void AddSpan(const ShrinkJob& job, const ColumnPlan& plan, const unsigned char* row, int64_t from,
             int64_t to, bool white, uint32_t* acc)
{
    for (int64_t x = from; x < to; ++x) {
        uint32_t* a = acc + kChannels * plan.columnOf[x];
        if (white) {
            a[0] += 255;
            a[1] += 255;
            a[2] += 255;
        } else if (job.srcBpp == 3) {
            const unsigned char* p = row + 3 * x;
            a[0] += p[0];
            a[1] += p[1];
            a[2] += p[2];
        } else if (job.srcBpp == 1) {
            a[0] += row[x];
            a[1] += row[x];
            a[2] += row[x];
        }
        // Other depths add their stale channels, which were never read: 0.
    }
}

// Adds one source row to the accumulators.
void AddRow(const ShrinkJob& job, const ColumnPlan& plan, uint32_t y, uint32_t* acc)
{
    const unsigned char* row = job.src + uint64_t{y} * job.srcStride;
    int64_t first = 0, last = 0;
    WhitenedSpan(job.whiten, y, job.srcWidth, first, last);
    if (first > last) {
        AddSpan(job, plan, row, 0, job.srcWidth, false, acc);
        return;
    }
    AddSpan(job, plan, row, 0, first, false, acc);
    AddSpan(job, plan, row, first, last + 1, true, acc);
    AddSpan(job, plan, row, last + 1, job.srcWidth, false, acc);
}

// The channel values carried from column to column: a column without
// pixels reuses them as the previous column's tone steps left them.
struct Carried {
    uint8_t first = 0, second = 0, third = 0;
};

// Writes destination row `row` from the accumulators of `rows` source rows.
void WriteRow(const ShrinkJob& job, const ColumnPlan& plan, uint32_t rows, const uint32_t* acc,
              uint32_t row, const int16_t* lightTable, const uint8_t* levels, Carried& v)
{
    const bool light = job.color.brightness != 0 || job.color.contrast != 0;
    const bool useLevels = kvimg::LevelsSwitchOn(job.color.levels);
    unsigned char* out = job.dst + uint64_t{row} * job.dstStride;
    for (uint32_t c = 0; c < job.dstWidth; ++c) {
        const uint32_t count = plan.pixels[c] * rows;
        const uint32_t* a = acc + kChannels * c;
        if (count != 0) {
            v.first = static_cast<uint8_t>(a[0] / count);
            v.second = static_cast<uint8_t>(a[1] / count);
            v.third = static_cast<uint8_t>(a[2] / count);
        }
        if (light) {
            kvimg::ApplyLight(lightTable, v.first, v.second, v.third);
        }
        if (useLevels) {
            kvimg::ApplyLevelsSnap(levels, v.first, v.second, v.third);
        }
        if (job.dstBitCount == 8) {
            out[c] = kvimg::GreyOf(v.third, v.second, v.first);
        } else if (job.dstBitCount == 24) {
            out[3 * c] = v.first;
            out[3 * c + 1] = v.second;
            out[3 * c + 2] = v.third;
        }
    }
}

// Runs the shrink of one source: rows are added until the row error
// reaches the source height (not strict), then one destination row is
// written and the accumulators start again.
void Shrink(const ShrinkJob& job, const ColumnPlan& plan, const int16_t* lightTable,
            const uint8_t* levels)
{
    std::vector<uint32_t> acc(kChannels * job.dstWidth, 0);
    Carried carried;
    uint64_t error = 0;
    uint32_t rows = 0;
    uint32_t dstRow = 0;
    for (uint32_t y = 0; y < job.srcHeight; ++y) {
        AddRow(job, plan, y, acc.data());
        ++rows;
        error += job.dstHeight;
        if (error >= job.srcHeight) {
            error -= job.srcHeight;
            WriteRow(job, plan, rows, acc.data(), dstRow, lightTable, levels, carried);
            std::fill(acc.begin(), acc.end(), 0);
            rows = 0;
            ++dstRow;
        }
    }
}

} // namespace

int CBmpProcessing::InvoicQIShrinkImg2(uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcBitCount, uint32_t srcStride,
                                       const unsigned char* src, const unsigned char* src2,
                                       uint32_t dstWidth, uint32_t dstHeight,
                                       uint32_t dstBitCount, unsigned char** dst,
                                       unsigned char** dst2, uint32_t dstSize,
                                       tagColorCFG color, int, tagColorCFG color2, int,
                                       tagRECT whiten)
{
    if (src == nullptr || dst == nullptr || *dst == nullptr) {
        return 0;
    }
    if (src2 != nullptr && (dst2 == nullptr || *dst2 == nullptr)) {
        return 0;
    }
    if (srcWidth == 0 || srcHeight == 0 || dstWidth == 0 || dstHeight == 0) {
        return 0;
    }
    const uint32_t srcBpp = BytesPerPixel(srcBitCount);
    const uint32_t dstStride = dstSize / dstHeight;
    if (uint64_t{srcStride} < uint64_t{srcWidth} * srcBpp ||
        uint64_t{dstStride} < uint64_t{dstWidth} * BytesPerPixel(dstBitCount)) {
        return 0;
    }
    const ColumnPlan plan = PlanColumns(srcWidth, dstWidth);
    ShrinkJob job{srcWidth, srcHeight, srcStride, srcBpp, src, dstWidth, dstHeight,
                  dstStride, dstBitCount, *dst, color, whiten};
    Shrink(job, plan, m_LightTable, m_LevelsTable[0]);
    if (src2 != nullptr) {
        // The second source runs in step with the first; nothing is shared
        // but the positions, so it can run after it.
        job.src = src2;
        job.dst = *dst2;
        job.color = color2;
        Shrink(job, plan, m_LightTable, m_LevelsTable[0]);
    }
    // A whitening rectangle has done its work in the averages; the
    // destination needs nothing more.
    return 1;
}
