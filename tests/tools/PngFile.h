// Reads the PNG files that eplview writes (greyscale, stored deflate
// blocks), independently of eplview's own encoder, and writes 8-bit grey
// PNG images for jobs that need a grey picture.
#ifndef KV_TESTS_TOOLS_PNGFILE_H
#define KV_TESTS_TOOLS_PNGFILE_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kvtool {

struct PngImage {
    std::string error;  // empty when the file was read completely and every check held
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int bitDepth = 0;
    int colourType = -1;
    std::map<std::string, std::string> texts;     // tEXt chunks
    std::vector<std::string> chunkTypes;          // in file order
    std::vector<std::vector<std::uint8_t>> rows;  // scanlines without their filter byte

    // True for a black dot of a 1-bit image (bit 0); false outside it.
    bool IsBlack(std::uint32_t x, std::uint32_t y) const;
    // Number of black dots in the rectangle [x0, x1) x [y0, y1).
    long BlackIn(std::uint32_t x0, std::uint32_t y0, std::uint32_t x1, std::uint32_t y1) const;
};

// Decodes a greyscale PNG whose image data is in stored deflate blocks and
// whose rows are unfiltered; checks every CRC, the zlib header and the
// Adler-32 sum. Anything else sets `error`.
PngImage DecodeStoredPng(const std::string& file);

// Returns a greyscale PNG of `grey` (width x height bytes, row by row) of
// `bits` bits per pixel: 8, or 1 (levels from 128 up are white). With
// `dpi`, it also says its resolution (a pHYs chunk, in whole pixels per
// metre).
std::string EncodeGreyPng(std::uint32_t width, std::uint32_t height, const std::vector<std::uint8_t>& grey,
                          std::uint32_t dpi = 0, unsigned bits = 8);

}  // namespace kvtool

#endif
