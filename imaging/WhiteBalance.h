// Building blocks of the white-balance operations, exposed so that their
// statistics (threshold keys, block means) can be checked on their own.
#ifndef KV_IMAGING_WHITEBALANCE_H
#define KV_IMAGING_WHITEBALANCE_H

#include <cstdint>

#include "BmpRecords.h"

namespace kvimg {

// Keys of the perfect reflector are B + G + R (0..765), kept in 768 bins.
constexpr int kReflectorBins = 768;
// Bins of the luminance histogram of the block method (stored Y + 127).
constexpr int kLumaBins = 256;
// Side of the square blocks of the block method, in pixels.
constexpr int64_t kWhiteBlockSide = 100;

// Returns the pixel word's channels as a record (blue in bits 0-7).
inline tagRGBQUAD UnpackPixel(uint32_t word)
{
    return tagRGBQUAD{static_cast<uint8_t>(word & 0xFFu), static_cast<uint8_t>((word >> 8) & 0xFFu),
                      static_cast<uint8_t>((word >> 16) & 0xFFu), static_cast<uint8_t>((word >> 24) & 0xFFu)};
}

// Returns the word of a pixel with the given channels and reserved 0.
inline uint32_t PackPixel(unsigned blue, unsigned green, unsigned red)
{
    return (blue & 0xFFu) | ((green & 0xFFu) << 8) | ((red & 0xFFu) << 16);
}

// Converts one pixel to YCbCr in 20-bit fixed point, luminance minus 127.
YCbCrQUAD ToYCbCr(const tagRGBQUAD& c);

// Threshold key of the perfect reflector: walking bins from 767 down, an
// accumulator that starts at `lastKey` (not 0) and is kept to 16 bits adds
// each bin read as a signed 16-bit count; the first key at which it exceeds
// `limit` is returned, 0 when none does (bin 0 is never added).
int ReflectorThresholdKey(const uint16_t* histogram, int lastKey, int64_t limit);

// Chroma statistics of the block method, averaged over all blocks.
struct BlockChroma {
    int64_t meanCb;  // Mb: mean of the block means of Cb
    int64_t meanCr;  // Mr
    int64_t devCb;   // Db: mean of the block mean deviations of Cb
    int64_t devCr;   // Dr
    int64_t blocks;  // number of 100 x 100 blocks (edge blocks partial)
    int16_t maxY;    // largest stored Y, never below 0
};

// Converts a width x height image (pixel words, row after row) into `ycc`
// block by block and returns the averaged block statistics.
BlockChroma GatherBlockChroma(const uint32_t* src, int64_t width, int64_t height, YCbCrQUAD* ycc);

// Luminance threshold (stored scale) of the block method: walking bins from
// 255 down, the first bin at which the running sum exceeds a tenth of the
// near-white count gives bin - 127; 0 when none does.
int NearWhiteThreshold(const uint16_t* histogram, int64_t nearWhiteCount);

// Gain-scaled channel of the block method: truncated toward zero, narrowed
// to a signed 16-bit value (so a product past 32767 turns negative), then
// clamped to 0..255.
uint8_t NovelGainChannel(unsigned channel, double gain);

}  // namespace kvimg

#endif
