// Facts about the test suite's EPL stream reader, on hand-made streams: how
// it splits command lines, where it ends a graphic block whose raw bytes may
// hold any byte, and how it decodes a block to a one-bit image.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "EplStream.h"

using namespace kvtest;

namespace {

// A string of raw bytes from a list of values (so zeros and line ends are
// written plainly).
std::string Bytes(const std::vector<int>& values)
{
    std::string out;
    for (int v : values)
        out += static_cast<char>(v);
    return out;
}

}  // namespace

TEST(EplStreamReader, CommandLinesAreSplitAtTheirLineEnds)
{
    EplStream s = ParseEpl("N\r\nq16\r\nQ4,0\r\n");
    EXPECT_EQ(s.error, "");
    EXPECT_EQ(CommandLines(s), (std::vector<std::string>{"N", "q16", "Q4,0"}));
}

TEST(EplStreamReader, EmptyInputHasNoItems)
{
    EplStream s = ParseEpl("");
    EXPECT_EQ(s.error, "");
    EXPECT_TRUE(s.items.empty());
}

TEST(EplStreamReader, GraphicHeaderValuesAreRead)
{
    EplStream s = ParseEpl("GW8,16,2,3,\r\n" + Bytes({1, 2, 3, 4, 5, 6}) + "\r\nP1\r\n");
    ASSERT_EQ(s.error, "");
    std::vector<GwBlock> gw = Graphics(s);
    ASSERT_EQ(gw.size(), 1u);
    EXPECT_EQ(gw[0].x, 8);
    EXPECT_EQ(gw[0].y, 16);
    EXPECT_EQ(gw[0].bytesPerRow, 2);
    EXPECT_EQ(gw[0].rows, 3);
    EXPECT_EQ(gw[0].header, "GW8,16,2,3,");
    EXPECT_EQ(gw[0].raw, Bytes({1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(CommandLines(s), (std::vector<std::string>{"GW8,16,2,3,", "P1"}));
}

TEST(EplStreamReader, RawBytesMayHoldLineEndsAndZeros)
{
    const std::string raw = Bytes({'\r', '\n', 0, '\r', '\n', 0});
    EplStream s = ParseEpl("GW0,0,3,2,\r\n" + raw + "\r\nP2\r\n");
    ASSERT_EQ(s.error, "");
    ASSERT_EQ(Graphics(s).size(), 1u);
    EXPECT_EQ(Graphics(s)[0].raw, raw);
    EXPECT_EQ(CommandLines(s).back(), "P2");
}

TEST(EplStreamReader, RawBytesThatSpellAPrintLineStayRawBytes)
{
    // Six raw bytes that read "\r\nP1\r\n", then the real print line.
    const std::string raw = "\r\nP1\r\n";
    EplStream s = ParseEpl("GW0,0,3,2,\r\n" + raw + "\r\nP2\r\nN\r\n");
    ASSERT_EQ(s.error, "");
    EXPECT_EQ(Graphics(s)[0].raw, raw);
    EXPECT_EQ(CommandLines(s), (std::vector<std::string>{"GW0,0,3,2,", "P2", "N"}));
}

TEST(EplStreamReader, ExtraRowOfPrintModeZeroBelongsToTheBlock)
{
    // Four rows of two bytes sent under a header that says three rows of
    // 8 / 3 = 2 bytes.
    const std::string raw = Bytes({0x3F, 0x21, 0xFF, 0x01, 0x00, 0x01, 0xFF, 0xFF});
    EplStream s = ParseEpl("GW0,0,2,3,\r\n" + raw + "\r\nP1\r\n");
    ASSERT_EQ(s.error, "");
    EXPECT_EQ(Graphics(s)[0].raw, raw);
}

TEST(EplStreamReader, PrintLineInsideTheExtraBytesIsNotTheEnd)
{
    // 10 rows of 2 bytes declared, 28 bytes sent (28 / 10 = 2); bytes 20 to
    // 25 spell a print line, which is inside the window but not the last
    // match in it.
    std::string raw(28, '\xFF');
    raw.replace(20, 6, "\r\nP7\r\n");
    EplStream s = ParseEpl("GW0,0,2,10,\r\n" + raw + "\r\nP1\r\nN\r\n");
    ASSERT_EQ(s.error, "");
    EXPECT_EQ(Graphics(s)[0].raw, raw);
    EXPECT_EQ(CommandLines(s), (std::vector<std::string>{"GW0,0,2,10,", "P1", "N"}));
}

TEST(EplStreamReader, BlockWithoutRowsEndsWhereTheRestReadsAsCommands)
{
    // A one-row page in print mode 0 is sent as "GWx,y,0,0,": no window. The
    // first print-line look-alike is followed by "zz", no command.
    const std::string raw = "a\r\nP1\r\nzz";
    EplStream s = ParseEpl("GW0,0,0,0,\r\n" + raw + "\r\nP1\r\nN\r\n");
    ASSERT_EQ(s.error, "");
    EXPECT_EQ(Graphics(s)[0].raw, raw);
    EXPECT_EQ(CommandLines(s), (std::vector<std::string>{"GW0,0,0,0,", "P1", "N"}));
}

TEST(EplStreamReader, NegativePrintCountEndsABlock)
{
    EplStream s = ParseEpl("GW0,0,1,1,\r\n" + Bytes({0}) + "\r\nP-1\r\n");
    ASSERT_EQ(s.error, "");
    EXPECT_EQ(CommandLines(s), (std::vector<std::string>{"GW0,0,1,1,", "P-1"}));
}

TEST(EplStreamReader, SeveralBlocksAreReadInOrder)
{
    EplStream s = ParseEpl("N\r\nGW0,0,1,1,\r\n" + Bytes({0xAA}) + "\r\nP1\r\nN\r\nGW8,0,1,2,\r\n" +
                           Bytes({0x55, '\r'}) + "\r\nP3\r\n");
    ASSERT_EQ(s.error, "");
    std::vector<GwBlock> gw = Graphics(s);
    ASSERT_EQ(gw.size(), 2u);
    EXPECT_EQ(gw[0].raw, Bytes({0xAA}));
    EXPECT_EQ(gw[1].raw, Bytes({0x55, '\r'}));
    EXPECT_EQ(CommandLines(s), (std::vector<std::string>{"N", "GW0,0,1,1,", "P1", "N", "GW8,0,1,2,", "P3"}));
}

TEST(EplStreamReader, UnterminatedLineIsAnError)
{
    EplStream s = ParseEpl("N\r\nP1");
    EXPECT_EQ(s.error, "unterminated line at offset 3");
    EXPECT_EQ(CommandLines(s), (std::vector<std::string>{"N"}));
}

TEST(EplStreamReader, MalformedGraphicHeaderIsAnError)
{
    EplStream s = ParseEpl("GW1,2,3\r\nP1\r\n");
    EXPECT_EQ(s.error, "malformed graphic header \"GW1,2,3\"");
}

TEST(EplStreamReader, GraphicBlockWithoutItsPrintLineIsAnError)
{
    EplStream s = ParseEpl("GW0,0,1,2,\r\n" + Bytes({1, 2}) + "\r\nN\r\n");
    EXPECT_EQ(s.error, "graphic block \"GW0,0,1,2,\" has no print line after it");
}

TEST(EplStreamReader, DecodingUsesTheHeaderRowLengthByDefault)
{
    GwBlock gw;
    gw.bytesPerRow = 2;
    gw.rows = 2;
    gw.raw = Bytes({0x7F, 0xFF, 0xFF, 0xFE});
    Bitmap1 image = DecodeGw(gw);
    EXPECT_EQ(image.rowBytes, 2u);
    EXPECT_EQ(image.rows, 2u);
    EXPECT_EQ(image.Width(), 16u);
    EXPECT_FALSE(image.White(0, 0));
    EXPECT_TRUE(image.White(1, 0));
    EXPECT_TRUE(image.White(14, 1));
    EXPECT_FALSE(image.White(15, 1));
}

TEST(EplStreamReader, DecodingWithAGivenRowLengthKeepsEveryWholeRow)
{
    GwBlock gw;
    gw.bytesPerRow = 2;
    gw.rows = 3;
    gw.raw = Bytes({0x3F, 0x21, 0xFF, 0x01, 0x00, 0x01, 0xFF, 0xFF, 0x00});
    Bitmap1 image = DecodeGw(gw, 2);
    EXPECT_EQ(image.rows, 4u);
    EXPECT_EQ(image.Row(3), (std::vector<uint8_t>{0xFF, 0xFF}));
}

TEST(EplStreamReader, BitSevenIsTheLeftmostPixel)
{
    GwBlock gw;
    gw.bytesPerRow = 1;
    gw.rows = 1;
    gw.raw = Bytes({0x3F});
    EXPECT_EQ(DecodeGw(gw).RowText(0, 8), "##......");
}

TEST(EplStreamReader, PixelsOutsideTheImageReadAsWhite)
{
    GwBlock gw;
    gw.bytesPerRow = 1;
    gw.rows = 1;
    gw.raw = Bytes({0x00});
    Bitmap1 image = DecodeGw(gw);
    EXPECT_TRUE(image.White(8, 0));
    EXPECT_TRUE(image.White(0, 1));
    EXPECT_EQ(image.RowText(0, 10), "########..");
}

TEST(EplStreamReader, HeaderClaimingMoreBytesThanTheStreamHoldsIsAnError)
{
    EplStream s = ParseEpl("GW0,0,1000000000,1000000000,\r\n" + Bytes({1, 2}) + "\r\nP1\r\n");
    EXPECT_EQ(s.error, "graphic block \"GW0,0,1000000000,1000000000,\" has no print line after it");
}

TEST(EplStreamReader, HeaderNumberTooLongForALongIsAnError)
{
    EplStream s = ParseEpl("GW0,0,99999999999999999999999,1,\r\n" + Bytes({1}) + "\r\nP1\r\n");
    EXPECT_EQ(s.error, "malformed graphic header \"GW0,0,99999999999999999999999,1,\"");
}
