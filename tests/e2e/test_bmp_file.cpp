// Facts about the test suite's BMP reader, on hand-made files: the header
// fields at their offsets, the colour table, the rows, and files it refuses.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "BmpFile.h"

using namespace kvtest;

namespace {

// Little-endian bytes of `value`, `n` of them.
std::string Le(uint32_t value, int n)
{
    std::string out;
    for (int i = 0; i < n; ++i)
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
    return out;
}

// A BMP of `width` x `height` at `bits` per pixel with `palette` entries and
// the pixel bytes `pixels`, every field set to a distinct value.
std::string MakeBmp(int32_t width, int32_t height, uint16_t bits, int paletteEntries, const std::string& pixels)
{
    // A 14-byte file header and a 40-byte information header, then 4 bytes
    // per colour table entry.
    const uint32_t offset = 54 + 4 * static_cast<uint32_t>(paletteEntries);
    std::string file =
        "BM" + Le(offset + static_cast<uint32_t>(pixels.size()), 4) + Le(1, 2) + Le(2, 2) + Le(offset, 4);
    file += Le(40, 4) + Le(static_cast<uint32_t>(width), 4) + Le(static_cast<uint32_t>(height), 4) + Le(1, 2) +
            Le(bits, 2) + Le(0, 4) + Le(static_cast<uint32_t>(pixels.size()), 4) + Le(3780, 4) + Le(3779, 4) +
            Le(5, 4) + Le(6, 4);
    for (int i = 0; i < paletteEntries; ++i)
        file += std::string{static_cast<char>(i), static_cast<char>(i + 1), static_cast<char>(i + 2), '\x7F'};
    return file + pixels;
}

}  // namespace

TEST(BmpFileReader, HeaderFieldsAreReadAtTheirOffsets)
{
    BmpFile bmp = ParseBmp(MakeBmp(2, 1, 24, 0, std::string(8, '\x11')));
    ASSERT_EQ(bmp.error, "");
    EXPECT_EQ(bmp.type, 19778);
    EXPECT_EQ(bmp.fileSize, 62u);
    EXPECT_EQ(bmp.reserved1, 1);
    EXPECT_EQ(bmp.reserved2, 2);
    EXPECT_EQ(bmp.dataOffset, 54u);
    EXPECT_EQ(bmp.headerSize, 40u);
    EXPECT_EQ(bmp.width, 2);
    EXPECT_EQ(bmp.height, 1);
    EXPECT_EQ(bmp.planes, 1);
    EXPECT_EQ(bmp.bitCount, 24);
    EXPECT_EQ(bmp.compression, 0u);
    EXPECT_EQ(bmp.imageSize, 8u);
    EXPECT_EQ(bmp.xPelsPerMeter, 3780);
    EXPECT_EQ(bmp.yPelsPerMeter, 3779);
    EXPECT_EQ(bmp.clrUsed, 5u);
    EXPECT_EQ(bmp.clrImportant, 6u);
}

TEST(BmpFileReader, ColourTableLiesBetweenTheHeadersAndThePixels)
{
    BmpFile bmp = ParseBmp(MakeBmp(3, 2, 8, 2, std::string(8, '\x22')));
    ASSERT_EQ(bmp.error, "");
    ASSERT_EQ(bmp.palette.size(), 2u);
    EXPECT_EQ(bmp.palette[1], (std::array<uint8_t, 4>{1, 2, 3, 0x7F}));
}

TEST(BmpFileReader, RowsArePaddedToFourBytes)
{
    BmpFile bmp = ParseBmp(MakeBmp(3, 2, 8, 0, "abc_def_"));
    ASSERT_EQ(bmp.error, "");
    EXPECT_EQ(bmp.Stride(), 4u);
    EXPECT_EQ(bmp.Row(0), "abc_");
    EXPECT_EQ(bmp.Row(1), "def_");
    EXPECT_EQ(bmp.Row(2), "");
}

TEST(BmpFileReader, FileShorterThanItsHeadersIsRefused)
{
    EXPECT_EQ(ParseBmp("BM").error, "shorter than the two headers");
}

TEST(BmpFileReader, PixelRowsPastTheEndAreRefused)
{
    EXPECT_EQ(ParseBmp(MakeBmp(3, 100000, 8, 0, "abc_")).error, "pixel rows run past the end of the file");
}

TEST(BmpFileReader, DataOffsetOutsideTheFileIsRefused)
{
    std::string file = MakeBmp(1, 1, 8, 0, "abcd");
    file.replace(10, 4, Le(1000, 4));
    EXPECT_EQ(ParseBmp(file).error, "pixel data offset outside the file");
}
