// The image processor's own threshold selector and its local thresholding
// with fixed 64 x 64 blocks, used by dither method 4.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>

#include "AdThreshold.h"
#include "BmpArith.h"
#include "BmpProcessing.h"
#include "MallocBuffer.h"

namespace {

using kvimg::kNoThreshold;

constexpr unsigned char kWhite = 255;
constexpr unsigned char kBlack = 0;
constexpr int64_t kLocalBlock = 64;  // edge of the fixed blocks
constexpr long kConsensus = 0;       // selector method: mean of the criteria
constexpr float kHalf = 0.5f;        // block and whole-image thresholds weigh the same
constexpr int kGridBits = 8;         // one byte per grid entry, rows padded like bitmaps

// Whether the image geometry is usable: both buffers present, a non-empty
// image whose rows fit the stride and whose last pixel lies inside the
// stated image size, and sizes the 32-bit block rectangles can address.
bool LocalGeometryFits(unsigned int width, unsigned int height, unsigned int stride, const unsigned char* image,
                       unsigned int imageSize, unsigned char* const* output)
{
    constexpr int64_t kMaxRectCoord = std::numeric_limits<int32_t>::max() - kLocalBlock;
    if (image == nullptr || output == nullptr || *output == nullptr) {
        return false;
    }
    if (width == 0 || height == 0 || stride < width) {
        return false;
    }
    if (static_cast<int64_t>(width) > kMaxRectCoord || static_cast<int64_t>(height) > kMaxRectCoord) {
        return false;
    }
    const uint64_t lastByte = static_cast<uint64_t>(height - 1) * stride + width;
    return lastByte <= imageSize;
}

// Writes 255 for each pixel strictly above the grid entry of its 64 x 64
// block and 0 otherwise (swapped when inverting); image and output share
// the row stride.
void ThresholdAgainstBlocks(const unsigned char* image, unsigned char* out, int64_t width, int64_t height,
                            int64_t stride, const unsigned char* grid, int64_t gridStride, bool invert)
{
    const unsigned char above = invert ? kBlack : kWhite;
    const unsigned char notAbove = invert ? kWhite : kBlack;
    for (int64_t y = 0; y < height; ++y) {
        const unsigned char* in = image + y * stride;
        const unsigned char* limits = grid + (y / kLocalBlock) * gridStride;
        unsigned char* row = out + y * stride;
        for (int64_t x = 0; x < width; ++x) {
            row[x] = in[x] > limits[x / kLocalBlock] ? above : notAbove;
        }
    }
}

}  // namespace

int CBmpProcessing::OptimalThreshold(unsigned char* image, unsigned int imageSize, unsigned int width,
                                     unsigned int height, long method, tagRECT* block, unsigned char*, unsigned int,
                                     unsigned int, unsigned int)
{
    if (image == nullptr || height == 0) {
        return kNoThreshold;
    }
    // The stride is derived, not given: every row is imageSize / height bytes.
    const int64_t stride = imageSize / height;
    if (static_cast<int64_t>(width) > stride) {
        return kNoThreshold;
    }
    kvimg::BlockSpan span{};
    if (!kvimg::ClipThresholdBlock(block, width, height, span)) {
        return kNoThreshold;
    }
    kvimg::GreyHistogram histogram;
    kvimg::BuildGreyHistogram(image, stride, span, histogram);
    const int lo = kvimg::LowestOccupiedBin(histogram);
    if (lo == kNoThreshold) {
        return 0;  // only white pixels: 0 here, where the free selector gives 254
    }
    const int hi = kvimg::HighestOccupiedBin(histogram);
    return kvimg::ThresholdFromRange(histogram, lo, hi, method);
}

int CBmpProcessing::AdThresholdImgLocal(unsigned int width, unsigned int height, unsigned int, unsigned int stride,
                                        unsigned char* image, unsigned int imageSize, unsigned char** output,
                                        unsigned int*, bool invert, bool)
{
    if (!LocalGeometryFits(width, height, stride, image, imageSize, output)) {
        return 0;
    }
    const int64_t gridWidth = (static_cast<int64_t>(width) + kLocalBlock - 1) / kLocalBlock;
    const int64_t gridHeight = (static_cast<int64_t>(height) + kLocalBlock - 1) / kLocalBlock;
    const int64_t gridStride = BmpRowStride(kGridBits, gridWidth);
    const size_t gridSize = static_cast<size_t>(gridStride * gridHeight);
    const kvimg::MallocBuffer grid = kvimg::AllocateBlock(gridSize);
    if (!grid) {
        return 0;
    }
    std::fill(grid.get(), grid.get() + gridSize, kWhite);

    const int global = OptimalThreshold(image, imageSize, width, height, kConsensus, nullptr, nullptr, 0, 0, 0);
    if (global < 0) {
        return 0;
    }
    for (int64_t j = 0; j < gridHeight; ++j) {
        for (int64_t i = 0; i < gridWidth; ++i) {
            const int32_t x = static_cast<int32_t>(i * kLocalBlock);
            const int32_t y = static_cast<int32_t>(j * kLocalBlock);
            tagRECT rect{x, static_cast<int32_t>(y + kLocalBlock), static_cast<int32_t>(x + kLocalBlock), y};
            const int local = OptimalThreshold(image, imageSize, width, height, kConsensus, &rect, nullptr, 0, 0, 0);
            if (local < 0) {
                return 0;
            }
            const float entry = static_cast<float>(local) * kHalf + static_cast<float>(global) * kHalf;
            grid.get()[j * gridStride + i] = kvimg::ClampToByte(kvimg::TruncToInt32(entry));
        }
    }

    ThresholdAgainstBlocks(image, *output, width, height, stride, grid.get(), gridStride, invert);
    return 1;
}
