// Straightforward, pixel-by-pixel forms of the operations that the library
// implements in a faster form. They follow the stated steps literally
// (one call per pixel, overflow handling everywhere) and serve as the
// yardstick the fast forms must match bit for bit.
#ifndef KV_TESTS_IMAGING_REFERENCEIMAGING_H
#define KV_TESTS_IMAGING_REFERENCEIMAGING_H

#include <cstdint>
#include <vector>

#include "AdThreshold.h"
#include "BmpProcessing.h"

namespace kvref {

// Result of the straightforward output format conversion.
struct CoverResult {
    int status;
    tagBITMAPINFOHEADER header;
    tagRECT rect;
    std::vector<uint8_t> pixels;  // empty when nothing was kept
};

// The output format conversion, one pixel at a time, into a fresh buffer.
CoverResult CoverBMP2OutputFormat(CBmpProcessing& p, const uint8_t* src, const tagBITMAPINFOHEADER& header,
                                  int orientation, int brightness, int contrast, int maxWidth, short cropWhite);

// The shrink with its column and row errors advanced pixel by pixel.
void Shrink(CBmpProcessing& p, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcBitCount, uint32_t srcStride,
            const uint8_t* src, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstBitCount, uint8_t* dst,
            uint32_t dstSize, tagColorCFG color, tagRECT whiten);

// The area average of the bound image, every read through the outside rule.
tagRGBQUAD AreaColor(const CBmpProcessing& p, float x, float y, float xScale, float yScale, InterpolationMethod method,
                     OverflowMethod mode, const tagRGBQUAD* replacement);

// The resampling, one interpolated read per output pixel.
void Resample(CBmpProcessing& p, uint32_t srcWidth, uint32_t srcHeight, uint32_t bitCount, uint32_t srcStride,
              const uint8_t* src, uint32_t dstWidth, uint32_t dstHeight, uint8_t* dst, uint32_t dstSize,
              tagColorCFG color);

// The blank-edge search as four separate scans (columns from the left,
// rows from the top, columns from the right, rows from the bottom).
tagRECT BlankEdgeScans(const uint8_t* src, int32_t width, int32_t height, int bitCount);

// The four threshold criteria for every split of bins lo..hi, each class
// sum taken over every bin of its range.
kvimg::ThresholdCriteria EvaluateThresholdCriteria(const kvimg::GreyHistogram& h, int lo, int hi);

// The bilinear resampling of the threshold grid, one sample per output
// pixel at (x sx, y sy), into rows padded to 4 bytes.
std::vector<uint8_t> BilinearResample(const uint8_t* src, int srcWidth, int srcHeight, int srcStride, int dstWidth,
                                      int dstHeight);

}  // namespace kvref

#endif
