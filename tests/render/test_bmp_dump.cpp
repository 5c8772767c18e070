// Facts about the debug bitmap dumps: headers, colour tables and rows.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "EPLRender.h"
#include "LogCapture.h"
#include "TempDir.h"
#include "TestFiles.h"

using namespace kvtest;

namespace {

uint32_t U32(const std::string& file, size_t offset)
{
    uint32_t v = 0;
    for (int i = 3; i >= 0; --i)
        v = (v << 8) | static_cast<unsigned char>(file[offset + static_cast<size_t>(i)]);
    return v;
}

uint16_t U16(const std::string& file, size_t offset)
{
    return static_cast<uint16_t>(static_cast<unsigned char>(file[offset]) |
                                 (static_cast<unsigned char>(file[offset + 1]) << 8));
}

class BmpDump : public ::testing::Test {
protected:
    // Dumps `data` and returns the file's bytes.
    std::string Dump(std::vector<unsigned char> data, int width, int height, int bits)
    {
        std::string path = m_dir.File("dump.bmp");
        CEPLRender render;
        render.SetOemPdevPointer(&m_pdev);
        render.LogData2BmpFile(path.c_str(), data.data(), static_cast<unsigned>(data.size()), width, height, bits);
        return ReadFile(path);
    }

    kvtest::TempDir m_dir;
    _OEMPDEV m_pdev{};
};

}  // namespace

TEST_F(BmpDump, OneBitPage203WideHasStride28AndOffset62)
{
    std::string file = Dump(std::vector<unsigned char>(28 * 5, 0xFF), 203, 5, 1);
    EXPECT_EQ(U16(file, 0), 19778);
    EXPECT_EQ(U32(file, 2), 28u * 5u + 62u);
    EXPECT_EQ(U32(file, 10), 62u);
    EXPECT_EQ(U32(file, 14 + 20), 28u * 5u);
    EXPECT_EQ(file.size(), 28u * 5u + 62u);
    // Index 0 black, index 1 white.
    EXPECT_EQ(file.substr(54, 8), std::string("\0\0\0\0\xFF\xFF\xFF\0", 8));
}

TEST_F(BmpDump, ZeroWidthPageIsJustTheHeadersAndColourTable)
{
    // A page cropped to nothing: no row has a byte to copy.
    std::string file = Dump(std::vector<unsigned char>(4, 0xFF), 0, 4, 1);
    EXPECT_EQ(U32(file, 14 + 20), 0u);
    EXPECT_EQ(file.size(), 62u);
}

TEST_F(BmpDump, EightBitPage640By400HasOffset1078AndSize257078)
{
    std::string file = Dump(std::vector<unsigned char>(640 * 400, 128), 640, 400, 8);
    EXPECT_EQ(U32(file, 10), 1078u);
    EXPECT_EQ(U32(file, 2), 257078u);
    EXPECT_EQ(file.size(), 257078u);
    EXPECT_EQ(U32(file, 14 + 20), 640u * 400u);
    // Grey entry i is i, i, i, 255.
    EXPECT_EQ(file.substr(54 + 4 * 7, 4), std::string("\x07\x07\x07\xFF", 4));
    EXPECT_EQ(file.substr(54 + 4 * 255, 4), std::string("\xFF\xFF\xFF\xFF", 4));
}

TEST_F(BmpDump, TwentyFourBitBufferHasNoColourTableAndOffset54)
{
    std::string file = Dump(std::vector<unsigned char>(12 * 2, 9), 4, 2, 24);
    EXPECT_EQ(U32(file, 10), 54u);
    EXPECT_EQ(file.size(), 54u + 24u);
    EXPECT_EQ(static_cast<unsigned char>(file[54]), 9);
}

TEST_F(BmpDump, InformationHeaderCarriesTheDumpSizeAndKeepsThePageFields)
{
    m_pdev.bmInfoHeader.biPlanes = 1;
    m_pdev.bmInfoHeader.biCompression = 0;
    m_pdev.bmInfoHeader.biClrUsed = 7;
    m_pdev.bmInfoHeader.biWidth = 999;
    std::string file = Dump(std::vector<unsigned char>(8 * 3, 0), 8, 3, 8);
    EXPECT_EQ(U32(file, 14), 40u);
    EXPECT_EQ(U32(file, 18), 8u);
    EXPECT_EQ(U32(file, 22), 3u);
    EXPECT_EQ(U16(file, 26), 1u);
    EXPECT_EQ(U16(file, 28), 8u);
    EXPECT_EQ(U32(file, 38), 3780u);
    EXPECT_EQ(U32(file, 42), 3780u);
    EXPECT_EQ(U32(file, 46), 7u);
}

TEST_F(BmpDump, RowsAreWrittenInTheGivenOrderWithZeroPadding)
{
    // Three rows of 5 bytes, each row its own value; the file rows are
    // padded to 8 bytes.
    std::vector<unsigned char> data;
    for (unsigned char v : {1, 2, 3})
        data.insert(data.end(), 5, v);
    std::string file = Dump(data, 5, 3, 8);
    std::string rows = file.substr(1078);
    ASSERT_EQ(rows.size(), 24u);
    EXPECT_EQ(rows, std::string("\x01\x01\x01\x01\x01\0\0\0\x02\x02\x02\x02\x02\0\0\0\x03\x03\x03\x03\x03\0\0\0", 24));
}

TEST_F(BmpDump, ExistingFileIsReplaced)
{
    std::string path = m_dir.File("dump.bmp");
    WriteFile(path, std::string(100000, 'x'));
    std::string file = Dump(std::vector<unsigned char>(4, 0), 4, 1, 8);
    EXPECT_EQ(file.size(), 1078u + 4u);
}

TEST_F(BmpDump, UnopenablePathIsSkippedSilently)
{
    // A dump into folders that are not there makes none of them: nothing is
    // written anywhere in the test's directory, and, since nothing was in the
    // way, the log says nothing either.
    CEPLRender render;
    unsigned char data[4] = {};
    std::string path = m_dir.File("missing/dir/dump.bmp");
    LogCapture::Instance().Mark();
    render.LogData2BmpFile(path.c_str(), data, 4, 4, 1, 8);
    EXPECT_FALSE(FileExists(path));
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
    EXPECT_EQ(LogCapture::Instance().MessagesSince(), std::vector<std::string>{});
}

TEST_F(BmpDump, FileIsCreatedReadableByAll)
{
    mode_t old = umask(077);
    Dump(std::vector<unsigned char>(4, 0), 4, 1, 8);
    umask(old);
    struct stat st;
    ASSERT_EQ(stat(m_dir.File("dump.bmp").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);
}

TEST_F(BmpDump, DumpSkippedForSomethingInTheWayLogsWhy)
{
    // A folder that is not empty cannot be removed to make way for the dump.
    std::string path = m_dir.File("dump.bmp");
    ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
    WriteFile(path + "/inside", "kept");
    LogCapture::Instance().Mark();
    Dump(std::vector<unsigned char>(4, 0), 4, 1, 8);
    EXPECT_EQ(LogCapture::Instance().MessagesSince(),
              std::vector<std::string>{"Debug bitmap skipped: " + path + " is not a regular file"});
}
