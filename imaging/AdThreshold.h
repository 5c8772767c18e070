// Histogram threshold selection and adaptive thresholding of 8-bit grey
// images: the free selector, the bilinear spreading of block thresholds and
// the interpolated adaptive threshold the page renderer uses. The parts of
// the selector shared with CBmpProcessing::OptimalThreshold live in kvimg.
#ifndef KV_IMAGING_ADTHRESHOLD_H
#define KV_IMAGING_ADTHRESHOLD_H

#include <cstdint>

#include "BmpRecords.h"

namespace kvimg {

constexpr int kHistogramBins = 256;
constexpr int kThresholdCriteria = 4;
// A selector result for "no threshold" (and a criterion that found none).
constexpr int kNoThreshold = -1;

// Histogram of grey values, one double-precision count per bin.
using GreyHistogram = double[kHistogramBins];

// Columns x0 .. x1 - 1 and rows y0 .. y1 - 1 of an image.
struct BlockSpan {
    int64_t x0;
    int64_t x1;
    int64_t y0;
    int64_t y1;
};

// Thresholds found by the four criteria (index 0 = criterion 1: within-class
// variance, 1: minimum error, 2: maximum entropy, 3: moment balance);
// kNoThreshold where a criterion found none.
struct ThresholdCriteria {
    int threshold[kThresholdCriteria];
};

// Clips a half-open bottom-up block ({left, top, right, bottom} = columns
// left..right-1, rows bottom..top-1) to a width x height image; no block
// means the whole image. Returns false when nothing is left.
bool ClipThresholdBlock(const tagRECT* block, int64_t width, int64_t height, BlockSpan& span);

// Fills `histogram` with the grey values of the span's pixels, row y
// starting at y * stride.
void BuildGreyHistogram(const unsigned char* image, int64_t stride, const BlockSpan& span, GreyHistogram& histogram);

// Lowest non-empty bin among 0..254, or kNoThreshold when all are empty
// (bin 255 is deliberately not searched: the two selectors treat an
// all-white block differently).
int LowestOccupiedBin(const GreyHistogram& histogram);

// Highest non-empty bin among 255..1, or 0 when all are empty.
int HighestOccupiedBin(const GreyHistogram& histogram);

// Evaluates the four criteria over the splits t = lo .. hi - 1 (lower class
// lo..t). Each keeps the lowest t of its greatest value.
ThresholdCriteria EvaluateThresholdCriteria(const GreyHistogram& histogram, int lo, int hi);

// The threshold for `method` over the occupied range lo..hi: -1 when
// lo > hi, lo - 1 (0 for lo = 0) when lo = hi, else criterion 1..4 or, for
// any other method, the integer mean of the criteria that found one. The
// final guard turns a choice at or outside lo or hi (and a criterion that
// found none) into (lo + hi) / 2.
int ThresholdFromRange(const GreyHistogram& histogram, int lo, int hi, long method);

}  // namespace kvimg

// Threshold 0..255 of an 8-bit image (rows `stride` bytes apart) or of the
// half-open bottom-up block of it, by criterion `method` (1..4) or the
// consensus (anything else). Returns -1 for a null image, a stride shorter
// than the width or an empty block. A block with no pixel below 255 gives
// 254 here (unlike the member selector, which gives 0).
int OptimalThreshold(int method, const unsigned char* image, int width, int height, int stride, const tagRECT* block);

// Bilinearly resamples an 8-bit image to dstWidth x dstHeight into a new
// `calloc` buffer (rows of dstWidth rounded up to a multiple of 4 bytes)
// stored in *output; the caller frees it with `free`. Samples are taken at
// x * srcWidth / dstWidth with no half-pixel offset. Returns 1 when done or
// when the sizes are equal (then nothing is allocated and *output is left
// alone), 0 when refused (empty destination or source, null pointers, a
// stride shorter than the width, allocation failure).
int Resample(const unsigned char* src, int srcWidth, int srcHeight, int srcStride, int dstWidth, int dstHeight,
             unsigned char** output);

// Thresholds an 8-bit image against per-block thresholds (blocks of
// max(blockSize, 8) pixels, each bias + (1 - weight) * local + weight *
// global) spread bilinearly over the image. Stores a new `calloc` buffer of
// 0/255 bytes (rows padded to 4 bytes) in *output and its size in
// *outputSize; the caller frees it with `free`. A pixel is 0 when below its
// threshold, else 255; `invert` swaps them. Returns 1 done, 0 failed.
int AdaptiveThreshold(const unsigned char* image, int width, int height, int stride, unsigned char** output,
                      int* outputSize, bool invert, int method, int blockSize, int bias, float weight);

#endif
