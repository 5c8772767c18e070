// End-to-end facts about the debug bitmaps of a job run with the driver log
// on: "/tmp/EplBegin.bmp" holds the page as the pipeline received it,
// "/tmp/EplOutput.bmp" the halftoned page, and both open as BMP files.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "BmpFile.h"
#include "PpdWriter.h"
#include "PrintJob.h"
#include "TestFiles.h"

using namespace kvtest;

namespace {

const char* const kBeginDump = "/tmp/EplBegin.bmp";
const char* const kOutputDump = "/tmp/EplOutput.bmp";
// "BM" read as a little-endian 16-bit value.
constexpr uint16_t kBmpType = 19778;
// File header and information header; the 8-bit colour table adds 1024.
constexpr uint32_t kColourOffset = 54;
constexpr uint32_t kGreyOffset = 1078;
constexpr int32_t kPelsPerMetre = 3780;

// 16 x 4 grey values: ink in the first and last column and row, so the crop
// box is the whole page.
const std::vector<std::vector<int>> kGrey{
    {0, 128, 129, 130, 200, 249, 250, 255, 127, 128, 129, 0, 60, 70, 80, 90},
    {255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0},
    {128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128},
    {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0},
};

// One 24-bit row of the page buffer: every grey value three times.
std::string ColourRow(const std::vector<int>& grey)
{
    std::string row;
    for (int v : grey)
        row += std::string(3, static_cast<char>(v));
    return row;
}

class DebugBitmaps : public ::testing::Test {
protected:
    // Dumps of an earlier job must not answer for this one.
    void SetUp() override
    {
        remove(kBeginDump);
        remove(kOutputDump);
    }

    static PrintedJob Run(const std::vector<RasterPage>& pages, const std::string& driverLog = "1")
    {
        return RunJob(WithCodes({{"DriverLog", driverLog}}), pages);
    }
};

}  // namespace

TEST_F(DebugBitmaps, BeginDumpHasTheFileHeaderOfA24BitPage)
{
    Run({GreyRows(kGrey)});
    BmpFile bmp = ParseBmp(ReadFile(kBeginDump));
    ASSERT_EQ(bmp.error, "");
    EXPECT_EQ(bmp.type, kBmpType);
    EXPECT_EQ(bmp.fileSize, 48u * 4 + kColourOffset);
    EXPECT_EQ(bmp.reserved1, 0);
    EXPECT_EQ(bmp.reserved2, 0);
    EXPECT_EQ(bmp.dataOffset, kColourOffset);
}

TEST_F(DebugBitmaps, BeginDumpHasTheInformationHeaderOfThePage)
{
    Run({GreyRows(kGrey)});
    BmpFile bmp = ParseBmp(ReadFile(kBeginDump));
    ASSERT_EQ(bmp.error, "");
    EXPECT_EQ(bmp.headerSize, 40u);
    EXPECT_EQ(bmp.width, 16);
    EXPECT_EQ(bmp.height, 4);
    // Planes, compression and colour counts come from the page's header,
    // which the job loop leaves at zero.
    EXPECT_EQ(bmp.planes, 0);
    EXPECT_EQ(bmp.bitCount, 24);
    EXPECT_EQ(bmp.compression, 0u);
    EXPECT_EQ(bmp.imageSize, 48u * 4);
    EXPECT_EQ(bmp.xPelsPerMeter, kPelsPerMetre);
    EXPECT_EQ(bmp.yPelsPerMeter, kPelsPerMetre);
    EXPECT_EQ(bmp.clrUsed, 0u);
    EXPECT_EQ(bmp.clrImportant, 0u);
}

TEST_F(DebugBitmaps, BeginDumpHasNoColourTableAndThePageRowsTopDown)
{
    Run({GreyRows(kGrey)});
    BmpFile bmp = ParseBmp(ReadFile(kBeginDump));
    ASSERT_EQ(bmp.error, "");
    EXPECT_TRUE(bmp.palette.empty());
    for (size_t r = 0; r < kGrey.size(); ++r)
        EXPECT_EQ(bmp.Row(r), ColourRow(kGrey[r])) << "row " << r;
}

TEST_F(DebugBitmaps, OutputDumpHasTheHeadersOfAn8BitPage)
{
    // Print mode 0 halftones 15 x 3 pixels of the 16 x 4 crop box.
    Run({GreyRows(kGrey)});
    BmpFile bmp = ParseBmp(ReadFile(kOutputDump));
    ASSERT_EQ(bmp.error, "");
    EXPECT_EQ(bmp.type, kBmpType);
    EXPECT_EQ(bmp.fileSize, 16u * 3 + kGreyOffset);
    EXPECT_EQ(bmp.reserved1, 0);
    EXPECT_EQ(bmp.reserved2, 0);
    EXPECT_EQ(bmp.dataOffset, kGreyOffset);
    EXPECT_EQ(bmp.headerSize, 40u);
    EXPECT_EQ(bmp.width, 15);
    EXPECT_EQ(bmp.height, 3);
    EXPECT_EQ(bmp.planes, 0);
    EXPECT_EQ(bmp.bitCount, 8);
    EXPECT_EQ(bmp.compression, 0u);
    EXPECT_EQ(bmp.imageSize, 16u * 3);
    EXPECT_EQ(bmp.xPelsPerMeter, kPelsPerMetre);
    EXPECT_EQ(bmp.yPelsPerMeter, kPelsPerMetre);
    EXPECT_EQ(bmp.clrUsed, 0u);
    EXPECT_EQ(bmp.clrImportant, 0u);
}

TEST_F(DebugBitmaps, OutputDumpHasAGreyColourTableWithReservedBytes255)
{
    Run({GreyRows(kGrey)});
    BmpFile bmp = ParseBmp(ReadFile(kOutputDump));
    ASSERT_EQ(bmp.error, "");
    ASSERT_EQ(bmp.palette.size(), 256u);
    for (size_t i = 0; i < bmp.palette.size(); ++i) {
        const uint8_t v = static_cast<uint8_t>(i);
        EXPECT_EQ(bmp.palette[i], (std::array<uint8_t, 4>{v, v, v, 255})) << "entry " << i;
    }
}

TEST_F(DebugBitmaps, OutputDumpHoldsTheHalftonedRows)
{
    // Black 0 and white 255 in the 15 thresholded columns; the 16th column
    // was never thresholded and stays white.
    Run({GreyRows(kGrey)});
    BmpFile bmp = ParseBmp(ReadFile(kOutputDump));
    ASSERT_EQ(bmp.error, "");
    EXPECT_EQ(bmp.Row(0), RawBytes({0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 255, 0, 0, 0, 0, 255}));
    EXPECT_EQ(bmp.Row(1), Fill(255, 8) + Fill(0, 7) + Fill(255, 1));
    EXPECT_EQ(bmp.Row(2), Fill(0, 15) + Fill(255, 1));
}

TEST_F(DebugBitmaps, OutputDumpOfA640By400PageIs257078Bytes)
{
    // Print mode 1 keeps the whole crop box: 640 x 400 grey bytes.
    RasterPage page = BlackBoxes(640, 400, {{0, 0, 1, 1}, {639, 399, 640, 400}});
    RunJob(WithCodes({{"DriverLog", "1"}, {"PrintMode", "1"}}), {page});
    const std::string bytes = ReadFile(kOutputDump);
    EXPECT_EQ(bytes.size(), 257078u);
    BmpFile bmp = ParseBmp(bytes);
    ASSERT_EQ(bmp.error, "");
    EXPECT_EQ(bmp.fileSize, 257078u);
    EXPECT_EQ(bmp.dataOffset, kGreyOffset);
    EXPECT_EQ(bmp.Stride(), 640u);
    EXPECT_EQ(bmp.imageSize, 640u * 400);
}

TEST_F(DebugBitmaps, DumpsAreNotWrittenWithTheDriverLogOff)
{
    Run({GreyRows(kGrey)}, "0");
    EXPECT_FALSE(FileExists(kBeginDump));
    EXPECT_FALSE(FileExists(kOutputDump));
}

TEST_F(DebugBitmaps, EachPageReplacesTheDumpsOfThePageBefore)
{
    std::vector<std::vector<int>> second = kGrey;
    second[1][0] = 7;
    Run({GreyRows(kGrey), GreyRows(second)});
    BmpFile bmp = ParseBmp(ReadFile(kBeginDump));
    ASSERT_EQ(bmp.error, "");
    EXPECT_EQ(bmp.Row(1), ColourRow(second[1]));
}

TEST_F(DebugBitmaps, DumpsAreWrittenUnderTheUsualFileMask)
{
    Run({GreyRows(kGrey)});
    struct stat st;
    ASSERT_EQ(stat(kBeginDump, &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);
}

TEST_F(DebugBitmaps, StandardFileToolReadsTheDumpsAsBitmaps)
{
    Run({GreyRows(kGrey)});
    FILE* pipe = popen((std::string("file -b ") + kBeginDump + " " + kOutputDump).c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string text;
    char buffer[256];
    while (fgets(buffer, sizeof buffer, pipe))
        text += buffer;
    ASSERT_EQ(pclose(pipe), 0);
    EXPECT_EQ(text.find("PC bitmap, Windows 3.x format, 16 x 4 x 24"), 0u) << text;
    EXPECT_NE(text.find("\nPC bitmap, Windows 3.x format, 15 x 3 x 8"), std::string::npos) << text;
}
