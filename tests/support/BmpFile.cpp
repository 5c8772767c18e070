// BMP reader for tests: little-endian fields at their published offsets.
#include "BmpFile.h"

namespace kvtest {

namespace {

constexpr size_t kFileHeaderSize = 14;
constexpr size_t kInfoHeaderSize = 40;
constexpr size_t kPaletteEntrySize = 4;

// Little-endian unsigned value of `n` bytes at `offset`.
uint32_t Le(const std::string& bytes, size_t offset, size_t n)
{
    uint32_t value = 0;
    for (size_t i = n; i-- > 0;)
        value = (value << 8) | static_cast<uint8_t>(bytes[offset + i]);
    return value;
}

}  // namespace

size_t BmpFile::Stride() const
{
    const long long bits = static_cast<long long>(width) * bitCount;
    return bits <= 0 ? 0 : static_cast<size_t>((bits + 31) / 32 * 4);
}

std::string BmpFile::Row(size_t r) const
{
    const size_t stride = Stride();
    if ((r + 1) * stride > pixels.size())
        return {};
    return pixels.substr(r * stride, stride);
}

BmpFile ParseBmp(const std::string& bytes)
{
    BmpFile bmp;
    if (bytes.size() < kFileHeaderSize + kInfoHeaderSize) {
        bmp.error = "shorter than the two headers";
        return bmp;
    }
    // Field offsets and widths as the format publishes them: the file header
    // from byte 0, the information header from byte 14.
    bmp.type = static_cast<uint16_t>(Le(bytes, 0, 2));
    bmp.fileSize = Le(bytes, 2, 4);
    bmp.reserved1 = static_cast<uint16_t>(Le(bytes, 6, 2));
    bmp.reserved2 = static_cast<uint16_t>(Le(bytes, 8, 2));
    bmp.dataOffset = Le(bytes, 10, 4);
    const size_t info = kFileHeaderSize;
    bmp.headerSize = Le(bytes, info + 0, 4);
    bmp.width = static_cast<int32_t>(Le(bytes, info + 4, 4));
    bmp.height = static_cast<int32_t>(Le(bytes, info + 8, 4));
    bmp.planes = static_cast<uint16_t>(Le(bytes, info + 12, 2));
    bmp.bitCount = static_cast<uint16_t>(Le(bytes, info + 14, 2));
    bmp.compression = Le(bytes, info + 16, 4);
    bmp.imageSize = Le(bytes, info + 20, 4);
    bmp.xPelsPerMeter = static_cast<int32_t>(Le(bytes, info + 24, 4));
    bmp.yPelsPerMeter = static_cast<int32_t>(Le(bytes, info + 28, 4));
    bmp.clrUsed = Le(bytes, info + 32, 4);
    bmp.clrImportant = Le(bytes, info + 36, 4);
    const size_t paletteStart = kFileHeaderSize + kInfoHeaderSize;
    if (bmp.dataOffset < paletteStart || bmp.dataOffset > bytes.size()) {
        bmp.error = "pixel data offset outside the file";
        return bmp;
    }
    for (size_t at = paletteStart; at + kPaletteEntrySize <= bmp.dataOffset; at += kPaletteEntrySize)
        bmp.palette.push_back({static_cast<uint8_t>(bytes[at]), static_cast<uint8_t>(bytes[at + 1]),
                               static_cast<uint8_t>(bytes[at + 2]), static_cast<uint8_t>(bytes[at + 3])});
    const size_t rows =
        bmp.height < 0 ? static_cast<size_t>(-static_cast<long long>(bmp.height)) : static_cast<size_t>(bmp.height);
    const size_t room = bytes.size() - bmp.dataOffset;
    if (rows != 0 && bmp.Stride() > room / rows) {
        bmp.error = "pixel rows run past the end of the file";
        return bmp;
    }
    bmp.pixels = bytes.substr(bmp.dataOffset, bmp.Stride() * rows);
    return bmp;
}

}  // namespace kvtest
