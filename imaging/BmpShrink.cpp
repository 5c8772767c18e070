// Box-averaging shrink of an 8- or 24-bit image in one pass over the source
// rows, with the light and levels steps applied to each averaged pixel.
#include <algorithm>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "BmpArith.h"
#include "BmpProcessing.h"
#include "BmpTone.h"

namespace {

// Bytes per pixel of the depths the shrink reads and writes (0: neither).
uint32_t BytesPerPixel(uint32_t bitCount)
{
    return bitCount == 24 ? 3 : bitCount == 8 ? 1 : 0;
}

// Which source columns every destination column averages. The column
// error grows by the destination width per source pixel and moves on only
// when it exceeds the source width (strictly), after the pixel was added;
// as the error restarts with every row the plan is the same for all rows,
// and each destination column's source columns are consecutive.
struct ColumnPlan {
    std::vector<uint32_t> pixels;   // source columns per destination column
    std::vector<uint32_t> firstOf;  // first source column of each destination column
    bool oneOrTwo = false;          // every destination column has one or two
};

ColumnPlan PlanColumns(uint32_t srcWidth, uint32_t dstWidth)
{
    ColumnPlan plan;
    plan.pixels.assign(dstWidth, 0);
    plan.firstOf.assign(dstWidth, srcWidth);
    uint64_t error = 0;
    uint32_t column = 0;
    for (uint32_t x = 0; x < srcWidth; ++x) {
        error += dstWidth;
        plan.firstOf[column] = std::min(plan.firstOf[column], x);
        ++plan.pixels[column];
        if (error > srcWidth) {
            ++column;
            error -= srcWidth;
        }
    }
    plan.oneOrTwo = std::all_of(plan.pixels.begin(), plan.pixels.end(), [](uint32_t p) { return p == 1 || p == 2; });
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
    bool swapOut;  // 24-bit destination pixels written third channel first
};

// Writes one 24-bit destination pixel, its channels exchanged when the job
// asks for it.
inline void Put24(const ShrinkJob& job, unsigned char* out, uint8_t a, uint8_t b, uint8_t c)
{
    out[0] = job.swapOut ? c : a;
    out[1] = b;
    out[2] = job.swapOut ? a : c;
}

// Sums per source byte (per source pixel for 8-bit and other depths) of
// the source rows that make one destination row. Rows are added byte by
// byte, which the compiler does many bytes at a time; each destination
// column then sums its own source columns once per destination row instead
// of once per source row. Integer sums do not depend on their order, so the
// averages are those of adding pixel by pixel.
struct RowSums {
    std::vector<uint32_t> sums;
    uint32_t perPixel;  // 3 for 24-bit sources, else 1
};

// Adds `value` (or the row's own bytes when `row` is given) to sums
// [from, to).
void AddBytes(uint32_t* __restrict sums, const unsigned char* __restrict row, int64_t from, int64_t to, uint32_t white)
{
    if (row == nullptr) {
        for (int64_t i = from; i < to; ++i) {
            sums[i] += white;
        }
        return;
    }
    for (int64_t i = from; i < to; ++i) {
        sums[i] += row[i];
    }
}

// Adds source row y; white pixels (inside the whitening rectangle) add 255
// to each sum instead of their channels. Depths other than 8 and 24 bits
// add nothing else: their stale channels were never read, 0.
void AddRow(const ShrinkJob& job, uint32_t y, RowSums& line)
{
    const unsigned char* row = job.src + uint64_t{y} * job.srcStride;
    const unsigned char* bytes = job.srcBpp == 0 ? nullptr : row;
    const int64_t n = line.perPixel;
    int64_t first = 0, last = 0;
    WhitenedSpan(job.whiten, y, job.srcWidth, first, last);
    uint32_t* sums = line.sums.data();
    if (first > last) {
        if (bytes) {
            AddBytes(sums, bytes, 0, n * job.srcWidth, 0);
        }
        return;
    }
    if (bytes) {
        AddBytes(sums, bytes, 0, n * first, 0);
    }
    AddBytes(sums, nullptr, n * first, n * (last + 1), 255);
    if (bytes) {
        AddBytes(sums, bytes, n * (last + 1), n * job.srcWidth, 0);
    }
}

// The channel values carried from column to column: a column without
// pixels reuses them as the previous column's tone steps left them.
struct Carried {
    uint8_t first = 0, second = 0, third = 0;
};

// Exact division of sums by a count: q = (n x m) >> 32 with m = 2^32 / d
// rounded up equals n / d for every n below 2^32 / d, which covers the
// sums of up to d pixels of 255 whenever 255 x d x d < 2^32. Larger counts,
// which no scale within the filter's limits gives, divide plainly.
class CountDivider {
public:
    explicit CountDivider(uint32_t d)
            : m_d(d), m_exact(d != 0 && uint64_t{255} * d * d < (uint64_t{1} << 32)),
              m_m(m_exact ? ((uint64_t{1} << 32) + d - 1) / d : 0)
    {
    }
    uint8_t operator()(uint32_t n) const { return static_cast<uint8_t>(m_exact ? (n * m_m) >> 32 : n / m_d); }
    bool Exact() const { return m_exact; }
    uint64_t Multiplier() const { return m_m; }

private:
    uint32_t m_d;
    bool m_exact;
    uint64_t m_m;
};

// True when source row y holds pixels of the whitening rectangle.
bool RowIsWhitened(const ShrinkJob& job, uint32_t y)
{
    int64_t first = 0, last = 0;
    WhitenedSpan(job.whiten, y, job.srcWidth, first, last);
    return first <= last;
}

// Makes `line` the sums of source rows [from, to). Rows of 24- and 8-bit
// sources without whitened pixels are summed straight into the sums, up
// to three at a time (two or one when the group has no more), so each sum is written once per three rows rather
// than read and written once per row; other rows are added one by one.
void SumRows(const ShrinkJob& job, uint32_t from, uint32_t to, RowSums& line)
{
    uint32_t* sums = line.sums.data();
    const int64_t n = int64_t{line.perPixel} * job.srcWidth;
    bool plain = job.srcBpp != 0;
    for (uint32_t y = from; y < to && plain; ++y) {
        plain = !RowIsWhitened(job, y);
    }
    if (!plain) {
        std::fill(line.sums.begin(), line.sums.end(), 0);
        for (uint32_t y = from; y < to; ++y) {
            AddRow(job, y, line);
        }
        return;
    }
    auto row = [&](uint32_t y) { return job.src + uint64_t{y} * job.srcStride; };
    uint32_t y = from;
    const unsigned char* __restrict r0 = row(y);
    if (to - from >= 3) {
        const unsigned char* __restrict r1 = row(y + 1);
        const unsigned char* __restrict r2 = row(y + 2);
        for (int64_t i = 0; i < n; ++i) {
            sums[i] = uint32_t{r0[i]} + r1[i] + r2[i];
        }
        y += 3;
    } else if (to - from == 2) {
        const unsigned char* __restrict r1 = row(y + 1);
        for (int64_t i = 0; i < n; ++i) {
            sums[i] = uint32_t{r0[i]} + r1[i];
        }
        y += 2;
    } else {
        for (int64_t i = 0; i < n; ++i) {
            sums[i] = r0[i];
        }
        y += 1;
    }
    for (; y < to; ++y) {
        AddBytes(sums, row(y), 0, n, 0);
    }
}

// Dividers for the pixel counts of one destination row: its columns'
// source column counts times the rows it averages.
class RowDividers {
public:
    explicit RowDividers(const ColumnPlan& plan)
            : m_maxPixels(plan.pixels.empty() ? 0 : *std::max_element(plan.pixels.begin(), plan.pixels.end()))
    {
    }
    // Makes the dividers for rows of `rows` source rows, when not made yet.
    void Prepare(uint32_t rows)
    {
        if (rows == m_rows) {
            return;
        }
        m_rows = rows;
        m_byPixels.clear();
        m_multipliers.clear();
        m_allExact = true;
        for (uint32_t p = 0; p <= m_maxPixels; ++p) {
            m_byPixels.emplace_back(p * rows);
            m_multipliers.push_back(m_byPixels.back().Multiplier());
            m_allExact = m_allExact && (p == 0 || m_byPixels.back().Exact());
        }
    }
    const CountDivider& ForPixels(uint32_t pixels) const { return m_byPixels[pixels]; }
    // True when every count of the row divides by multiplying.
    bool AllExact() const { return m_allExact; }
    // The multipliers by source column count (index 0 unused).
    const std::vector<uint64_t>& Multipliers() const { return m_multipliers; }

private:
    uint32_t m_maxPixels;
    uint32_t m_rows = 0;
    std::vector<CountDivider> m_byPixels;
    std::vector<uint64_t> m_multipliers;
    bool m_allExact = true;
};

// WriteRow for the common case of a 24-bit source and destination without
// light or levels steps, every count dividing by multiplying.
void WritePlainRow24(const ShrinkJob& job, const ColumnPlan& plan, const uint32_t* sums,
                     const std::vector<uint64_t>& multiplier, unsigned char* out, Carried& v)
{
    if (plan.oneOrTwo) {
        // Every column averages one or two source columns (shrinks by less
        // than two, such as 300 to 203 dpi): the second is added times 0
        // or 1, which the sums' spare zeros make safe to read at the end.
        const uint64_t m1 = multiplier[1];
        const uint64_t m2 = multiplier.size() > 2 ? multiplier[2] : 0;
        const uint32_t* __restrict first = plan.firstOf.data();
        const uint32_t* __restrict pixels = plan.pixels.data();
        unsigned char* __restrict o = out;
        uint8_t c0 = v.first, c1 = v.second, c2 = v.third;
        for (uint32_t c = 0; c < job.dstWidth; ++c) {
            const uint32_t* p = sums + 3 * first[c];
            const uint32_t two = pixels[c] - 1;
            const uint64_t m = two ? m2 : m1;
            c0 = static_cast<uint8_t>(((p[0] + two * p[3]) * m) >> 32);
            c1 = static_cast<uint8_t>(((p[1] + two * p[4]) * m) >> 32);
            c2 = static_cast<uint8_t>(((p[2] + two * p[5]) * m) >> 32);
            Put24(job, o + 3 * c, c0, c1, c2);
        }
        v.first = c0;
        v.second = c1;
        v.third = c2;
        return;
    }
    for (uint32_t c = 0; c < job.dstWidth; ++c) {
        const uint32_t pixels = plan.pixels[c];
        if (pixels != 0) {
            const uint32_t* p = sums + 3 * plan.firstOf[c];
            uint32_t s0 = 0, s1 = 0, s2 = 0;
            if (pixels == 3) {
                // The common column of a shrink to a third.
                s0 = p[0] + p[3] + p[6];
                s1 = p[1] + p[4] + p[7];
                s2 = p[2] + p[5] + p[8];
            } else {
                for (uint32_t x = 0; x < pixels; ++x, p += 3) {
                    s0 += p[0];
                    s1 += p[1];
                    s2 += p[2];
                }
            }
            const uint64_t m = multiplier[pixels];
            v.first = static_cast<uint8_t>((s0 * m) >> 32);
            v.second = static_cast<uint8_t>((s1 * m) >> 32);
            v.third = static_cast<uint8_t>((s2 * m) >> 32);
        }
        Put24(job, out + 3 * c, v.first, v.second, v.third);
    }
}

// Writes destination row `row` from the sums of `rows` source rows: each
// column sums its source columns and divides by their count.
void WriteRow(const ShrinkJob& job, const ColumnPlan& plan, uint32_t rows, const RowSums& line, uint32_t row,
              const int16_t* lightTable, const uint8_t* levels, RowDividers& dividers, Carried& v)
{
    const bool light = job.color.brightness != 0 || job.color.contrast != 0;
    const bool useLevels = kvimg::LevelsSwitchOn(job.color.levels);
    unsigned char* out = job.dst + uint64_t{row} * job.dstStride;
    const uint32_t* sums = line.sums.data();
    dividers.Prepare(rows);
    if (!light && !useLevels && job.dstBitCount == 24 && line.perPixel == 3 && rows != 0 && dividers.AllExact()) {
        WritePlainRow24(job, plan, sums, dividers.Multipliers(), out, v);
        return;
    }
    for (uint32_t c = 0; c < job.dstWidth; ++c) {
        const uint32_t pixels = plan.pixels[c];
        if (pixels != 0 && rows != 0) {
            const uint32_t from = plan.firstOf[c];
            uint32_t s0 = 0, s1 = 0, s2 = 0;
            if (line.perPixel == 3) {
                for (uint32_t x = from; x < from + pixels; ++x) {
                    s0 += sums[3 * x];
                    s1 += sums[3 * x + 1];
                    s2 += sums[3 * x + 2];
                }
            } else {
                for (uint32_t x = from; x < from + pixels; ++x) {
                    s0 += sums[x];
                }
                s1 = s2 = s0;
            }
            const CountDivider& divide = dividers.ForPixels(pixels);
            v.first = divide(s0);
            v.second = divide(s1);
            v.third = divide(s2);
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
            Put24(job, out + 3 * c, v.first, v.second, v.third);
        }
    }
}

// Shrinks by less than two in both directions (300 to 203 dpi) average
// one, two or four pixels: powers of two, so dividing is shifting, and the
// sums of a destination pixel fit sixteen bits. Such rows of a 24-bit page
// without tone steps or whitened pixels are made straight from their one
// or two source rows, with no row sums in between.
struct PairPlan {
    std::vector<uint32_t> at;  // first source byte of each destination column
    std::vector<uint8_t> two;  // 1 when the column averages two source columns
    uint32_t wide = 0;         // leading columns that may read eight source bytes and write four
    bool usable = false;
};

// The pair plan of `job`; not usable when the job is not such a shrink.
PairPlan PlanPairs(const ShrinkJob& job, const ColumnPlan& plan)
{
    PairPlan pairs;
    const bool light = job.color.brightness != 0 || job.color.contrast != 0;
    pairs.usable =
        plan.oneOrTwo && job.srcBpp == 3 && job.dstBitCount == 24 && !light && !kvimg::LevelsSwitchOn(job.color.levels);
    if (!pairs.usable) {
        return pairs;
    }
    pairs.at.resize(job.dstWidth);
    pairs.two.resize(job.dstWidth);
    for (uint32_t c = 0; c < job.dstWidth; ++c) {
        pairs.at[c] = 3 * plan.firstOf[c];
        pairs.two[c] = static_cast<uint8_t>(plan.pixels[c] - 1);
    }
    // The last column writes exactly its three bytes, and no column reads
    // past its row's pixels.
    const uint64_t rowBytes = 3 * uint64_t{job.srcWidth};
    while (pairs.wide + 1 < job.dstWidth && pairs.at[pairs.wide] + uint64_t{8} <= rowBytes) {
        ++pairs.wide;
    }
    return pairs;
}

#if defined(__SSE2__)
// Columns [0, count) of a paired row, one pixel per step: the eight bytes
// from the column's first source pixel hold it and the next, which is
// moved onto it and added when the column has two; the sum is shifted by
// the count's power of two. Each step stores four bytes, the fourth
// rewritten by the next column.
template <bool TwoRows, bool Swap>
void PairedColumnsSse2(const unsigned char* r0, const unsigned char* r1, const PairPlan& pairs, uint32_t count,
                       uint32_t rowShift, unsigned char* out)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i keep[2] = {_mm_setzero_si128(), _mm_set1_epi32(-1)};
    const __m128i shift[2] = {_mm_cvtsi32_si128(static_cast<int>(rowShift)),
                              _mm_cvtsi32_si128(static_cast<int>(rowShift + 1))};
    const uint32_t* at = pairs.at.data();
    const uint8_t* two = pairs.two.data();
    for (uint32_t c = 0; c < count; ++c) {
        __m128i s = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(r0 + at[c])), zero);
        if (TwoRows) {
            s = _mm_add_epi16(s,
                              _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(r1 + at[c])), zero));
        }
        s = _mm_add_epi16(s, _mm_and_si128(_mm_srli_si128(s, 6), keep[two[c]]));
        s = _mm_srl_epi16(s, shift[two[c]]);
        if (Swap) {
            s = _mm_shufflelo_epi16(s, _MM_SHUFFLE(3, 0, 1, 2));
        }
        const uint32_t pixel = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(s, s)));
        memcpy(out + 3 * uint64_t{c}, &pixel, 4);
    }
}

// The leading columns of a paired row done four bytes at a time; returns
// how many.
uint32_t PairedColumnsWide(const ShrinkJob& job, const unsigned char* r0, const unsigned char* r1,
                           const PairPlan& pairs, uint32_t rowShift, unsigned char* out)
{
    if (r1 != nullptr) {
        job.swapOut ? PairedColumnsSse2<true, true>(r0, r1, pairs, pairs.wide, rowShift, out)
                    : PairedColumnsSse2<true, false>(r0, r1, pairs, pairs.wide, rowShift, out);
    } else {
        job.swapOut ? PairedColumnsSse2<false, true>(r0, r1, pairs, pairs.wide, rowShift, out)
                    : PairedColumnsSse2<false, false>(r0, r1, pairs, pairs.wide, rowShift, out);
    }
    return pairs.wide;
}
#else
uint32_t PairedColumnsWide(const ShrinkJob&, const unsigned char*, const unsigned char*, const PairPlan&, uint32_t,
                           unsigned char*)
{
    return 0;
}
#endif

// Destination column c of a paired row, channel by channel; `v` gets its
// averages.
void PairedColumn(const ShrinkJob& job, const unsigned char* r0, const unsigned char* r1, const PairPlan& pairs,
                  uint32_t c, uint32_t rowShift, unsigned char* out, Carried& v)
{
    const uint32_t at = pairs.at[c];
    const uint32_t two = pairs.two[c];
    uint8_t average[3];
    for (uint32_t k = 0; k < 3; ++k) {
        uint32_t sum = r0[at + k] + (two ? r0[at + 3 + k] : 0u);
        if (r1 != nullptr) {
            sum += r1[at + k] + (two ? r1[at + 3 + k] : 0u);
        }
        average[k] = static_cast<uint8_t>(sum >> (rowShift + two));
    }
    v = Carried{average[0], average[1], average[2]};
    Put24(job, out + 3 * uint64_t{c}, average[0], average[1], average[2]);
}

// Writes destination row `row` from source rows [from, from + rows) when
// the pair plan covers them; false, writing nothing, otherwise.
bool WritePairedRow(const ShrinkJob& job, const PairPlan& pairs, uint32_t from, uint32_t rows, uint32_t row, Carried& v)
{
    if (!pairs.usable || rows > 2) {
        return false;
    }
    for (uint32_t y = from; y < from + rows; ++y) {
        if (RowIsWhitened(job, y)) {
            return false;
        }
    }
    const unsigned char* r0 = job.src + uint64_t{from} * job.srcStride;
    const unsigned char* r1 = rows == 2 ? r0 + job.srcStride : nullptr;
    unsigned char* out = job.dst + uint64_t{row} * job.dstStride;
    const uint32_t rowShift = rows - 1;
    for (uint32_t c = PairedColumnsWide(job, r0, r1, pairs, rowShift, out); c < job.dstWidth; ++c) {
        PairedColumn(job, r0, r1, pairs, c, rowShift, out, v);
    }
    return true;
}

// Runs the shrink of one source: rows are added until the row error
// reaches the source height (not strict), then one destination row is
// written and the accumulators start again.
void Shrink(const ShrinkJob& job, const ColumnPlan& plan, const int16_t* lightTable, const uint8_t* levels)
{
    RowSums line{{}, job.srcBpp == 3 ? 3u : 1u};
    RowDividers dividers(plan);
    // Three spare zeros after the sums: a pixel's neighbour may be read
    // and added times zero.
    constexpr uint64_t kSpare = 3;
    line.sums.assign(uint64_t{line.perPixel} * job.srcWidth + kSpare, 0);
    const PairPlan pairs = PlanPairs(job, plan);
    Carried carried;
    uint64_t error = 0;
    uint32_t first = 0;
    uint32_t dstRow = 0;
    for (uint32_t y = 0; y < job.srcHeight; ++y) {
        error += job.dstHeight;
        if (error >= job.srcHeight) {
            error -= job.srcHeight;
            if (!WritePairedRow(job, pairs, first, y + 1 - first, dstRow, carried)) {
                SumRows(job, first, y + 1, line);
                WriteRow(job, plan, y + 1 - first, line, dstRow, lightTable, levels, dividers, carried);
            }
            first = y + 1;
            ++dstRow;
        }
    }
}

}  // namespace

int CBmpProcessing::InvoicQIShrinkImg2(uint32_t srcWidth, uint32_t srcHeight, uint32_t srcBitCount, uint32_t srcStride,
                                       const unsigned char* src, const unsigned char* src2, uint32_t dstWidth,
                                       uint32_t dstHeight, uint32_t dstBitCount, unsigned char** dst,
                                       unsigned char** dst2, uint32_t dstSize, tagColorCFG color, int,
                                       tagColorCFG color2, int, tagRECT whiten)
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
    ShrinkJob job{srcWidth,  srcHeight,   srcStride, srcBpp, src,    dstWidth,       dstHeight,
                  dstStride, dstBitCount, *dst,      color,  whiten, m_swappedShrink};
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
