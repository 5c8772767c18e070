// Reads a Windows BMP file back for tests, field by field: the file header,
// the 40-byte information header, the colour table and the pixel rows.
#ifndef KV_TESTS_BMPFILE_H
#define KV_TESTS_BMPFILE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kvtest {

struct BmpFile {
    // File header (14 bytes).
    uint16_t type = 0;  // "BM" reads as 19778
    uint32_t fileSize = 0;
    uint16_t reserved1 = 0;
    uint16_t reserved2 = 0;
    uint32_t dataOffset = 0;
    // Information header (40 bytes).
    uint32_t headerSize = 0;
    int32_t width = 0;
    int32_t height = 0;
    uint16_t planes = 0;
    uint16_t bitCount = 0;
    uint32_t compression = 0;
    uint32_t imageSize = 0;
    int32_t xPelsPerMeter = 0;
    int32_t yPelsPerMeter = 0;
    uint32_t clrUsed = 0;
    uint32_t clrImportant = 0;
    // Colour table entries between the headers and the pixel data, each
    // blue, green, red, reserved.
    std::vector<std::array<uint8_t, 4>> palette;
    // The pixel data as stored (rows of Stride() bytes).
    std::string pixels;
    // Empty when the file was read; otherwise what is wrong with it.
    std::string error;

    // Row stride: ((width x bits per pixel + 31) / 32) x 4 bytes.
    size_t Stride() const;
    // The stored bytes of row `r` (the first row in the file is row 0).
    std::string Row(size_t r) const;
};

// Parses the bytes of a BMP file. The pixel data must lie inside the file:
// height rows of Stride() bytes from dataOffset.
BmpFile ParseBmp(const std::string& bytes);

}  // namespace kvtest

#endif
