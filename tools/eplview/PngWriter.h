// Encodes a one-bit label image as a PNG file without any compression
// library: the image data goes into "stored" (uncompressed) deflate blocks,
// with the CRC-32 and Adler-32 checksums the format requires.
#ifndef KV_TOOLS_PNGWRITER_H
#define KV_TOOLS_PNGWRITER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "LabelBitmap.h"

namespace eplview {

// CRC-32 of the PNG chunks (polynomial 0xEDB88320), continuing from `crc`
// (0 for a fresh sum).
std::uint32_t Crc32(const std::string& bytes, std::uint32_t crc = 0);

// Adler-32 of the zlib stream.
std::uint32_t Adler32(const std::string& bytes);

// Returns the PNG file of `image`: 1-bit greyscale, one tEXt chunk per
// keyword/text pair, the rows unfiltered in stored deflate blocks.
std::string EncodePng(const LabelBitmap& image, const std::vector<std::pair<std::string, std::string>>& texts);

}  // namespace eplview

#endif
