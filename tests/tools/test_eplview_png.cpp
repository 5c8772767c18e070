// eplview's PNG files: the checksums the format needs, a one-bit greyscale
// image of the label's size, and image data that any reader can inflate.
#include <gtest/gtest.h>

#include <string>

#include "LabelBitmap.h"
#include "PngFile.h"
#include "PngWriter.h"

namespace {

using eplview::LabelBitmap;

TEST(EplviewPng, Crc32OfTheCheckStringIsCBF43926)
{
    EXPECT_EQ(eplview::Crc32("123456789"), 0xCBF43926u);
}

TEST(EplviewPng, Adler32OfWikipediaIs11E60398)
{
    EXPECT_EQ(eplview::Adler32("Wikipedia"), 0x11E60398u);
}

TEST(EplviewPng, StartsWithThePngSignature)
{
    std::string png = eplview::EncodePng(LabelBitmap(8, 8), {});
    EXPECT_EQ(png.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
}

TEST(EplviewPng, HeaderGivesOneBitGreyscaleOfTheLabelsSize)
{
    kvtool::PngImage img = kvtool::DecodeStoredPng(eplview::EncodePng(LabelBitmap(408, 204), {}));
    ASSERT_EQ(img.error, "");
    EXPECT_EQ(img.width, 408u);
    EXPECT_EQ(img.height, 204u);
    EXPECT_EQ(img.bitDepth, 1);
    EXPECT_EQ(img.colourType, 0);
}

TEST(EplviewPng, ChunksAreHeaderTextsDataAndEnd)
{
    kvtool::PngImage img = kvtool::DecodeStoredPng(eplview::EncodePng(LabelBitmap(8, 8), {{"Copies", "2"}}));
    ASSERT_EQ(img.error, "");
    EXPECT_EQ(img.chunkTypes, (std::vector<std::string>{"IHDR", "tEXt", "IDAT", "IEND"}));
}

TEST(EplviewPng, TextChunksCarryTheirKeywordAndText)
{
    kvtool::PngImage img = kvtool::DecodeStoredPng(eplview::EncodePng(LabelBitmap(8, 8), {{"Copies", "2"}}));
    EXPECT_EQ(img.texts, (std::map<std::string, std::string>{{"Copies", "2"}}));
}

TEST(EplviewPng, BlackDotsReadBackBlack)
{
    LabelBitmap bmp(10, 3);
    bmp.SetBlack(0, 0);
    bmp.SetBlack(9, 2);
    kvtool::PngImage img = kvtool::DecodeStoredPng(eplview::EncodePng(bmp, {}));
    ASSERT_EQ(img.error, "");
    EXPECT_TRUE(img.IsBlack(0, 0));
    EXPECT_TRUE(img.IsBlack(9, 2));
    EXPECT_EQ(img.BlackIn(0, 0, 10, 3), 2);
}

TEST(EplviewPng, LargeImagesSpanSeveralStoredBlocks)
{
    // 2400 dots across are 300 bytes a row: 300 rows make 90300 bytes of
    // scanlines, more than one stored block holds.
    LabelBitmap bmp(2400, 300);
    bmp.SetBlack(2399, 299);
    kvtool::PngImage img = kvtool::DecodeStoredPng(eplview::EncodePng(bmp, {}));
    ASSERT_EQ(img.error, "");
    EXPECT_TRUE(img.IsBlack(2399, 299));
    EXPECT_EQ(img.BlackIn(0, 0, 2400, 300), 1);
}

TEST(EplviewPng, VeryLargeImagesSpanSeveralDataChunks)
{
    // 2400 x 3600 dots are about 1.08 MB of scanlines: two data chunks.
    kvtool::PngImage img = kvtool::DecodeStoredPng(eplview::EncodePng(LabelBitmap(2400, 3600), {}));
    ASSERT_EQ(img.error, "");
    EXPECT_EQ(img.chunkTypes, (std::vector<std::string>{"IHDR", "IDAT", "IDAT", "IEND"}));
}

}  // namespace
