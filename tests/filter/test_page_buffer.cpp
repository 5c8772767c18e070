// Facts about the held page buffer: its layout, the red/blue swap and how
// short, smaller and larger pages are read.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <random>

#include "HeldPageRecords.h"
#include "RasterWriter.h"
#include "TempDir.h"
#include "rastokivepl.h"

using namespace kvtest;

namespace {

// Reads raster pages back one by one as the job loop does.
class RasterReader {
public:
    explicit RasterReader(const std::string& path) : m_fd(open(path.c_str(), O_RDONLY))
    {
        m_ras = cupsRasterOpen(m_fd, CUPS_RASTER_READ);
    }
    ~RasterReader()
    {
        cupsRasterClose(m_ras);
        close(m_fd);
    }
    bool NextHeader(cups_page_header2_t* header) { return cupsRasterReadHeader2(m_ras, header) != 0; }
    cups_raster_t* Stream() { return m_ras; }

private:
    int m_fd;
    cups_raster_t* m_ras = nullptr;
};

// Pixel colours that identify their position.
void PositionColour(unsigned x, unsigned y, unsigned char rgb[3])
{
    rgb[0] = static_cast<unsigned char>(10 + x);
    rgb[1] = static_cast<unsigned char>(100 + y);
    rgb[2] = static_cast<unsigned char>(200 + x);
}

}  // namespace

TEST(PageStride, RowsArePaddedToFourBytes)
{
    EXPECT_EQ(PageStride(RgbHeader(1, 1)), 4u);
    EXPECT_EQ(PageStride(RgbHeader(5, 1)), 16u);  // 15 bytes -> 16
    EXPECT_EQ(PageStride(RgbHeader(4, 1)), 12u);  // already aligned
    EXPECT_EQ(PageStride(RgbHeader(812, 1)), 2436u);
}

TEST(SwapRedBlue, ExchangesFirstAndThirdByteOfEveryGroup)
{
    unsigned char line[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0xEE};
    SwapRedBlue(line, 9, 3);
    unsigned char expected[] = {3, 2, 1, 6, 5, 4, 9, 8, 7, 0xEE};
    EXPECT_EQ(memcmp(line, expected, sizeof(line)), 0);
}

TEST(SwapRedBlue, NeverTouchesBytesBeyondTheLine)
{
    // An 8-bit page: four pixels in four bytes, but the swap is asked for
    // four 3-byte groups. Only the one whole group inside the line swaps.
    unsigned char line[] = {1, 2, 3, 4, 0xEE, 0xEE, 0xEE, 0xEE};
    SwapRedBlue(line, 4, 4);
    unsigned char expected[] = {3, 2, 1, 4, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(memcmp(line, expected, sizeof(line)), 0);
}

TEST(SwapRedBlue, StopsAfterWidthGroups)
{
    unsigned char line[] = {1, 2, 3, 4, 5, 6};
    SwapRedBlue(line, 6, 1);
    unsigned char expected[] = {3, 2, 1, 4, 5, 6};
    EXPECT_EQ(memcmp(line, expected, sizeof(line)), 0);
}

TEST(SwapRedBlue, LinesOfEveryLengthMatchTheGroupByGroupSwap)
{
    // Lines of 0 to 69 whole groups and up to two bytes of a group more,
    // asked for one group more than they hold: the whole groups swap, and
    // nothing after them changes.
    std::mt19937 random(5);
    for (uint64_t groups = 0; groups < 70; ++groups) {
        for (uint64_t partial = 0; partial < 3; ++partial) {
            std::vector<unsigned char> line(3 * groups + partial + 8);
            for (unsigned char& b : line)
                b = static_cast<unsigned char>(random());
            std::vector<unsigned char> want = line;
            for (uint64_t i = 0; i < groups; ++i)
                std::swap(want[3 * i], want[3 * i + 2]);
            SwapRedBlue(line.data(), 3 * groups + partial, groups + 1);
            ASSERT_EQ(line, want) << groups << " groups and " << partial << " bytes";
        }
    }
}

TEST(HeldPage, RowsAreTopDownWithBlueGreenRedPixelsAndZeroPadding)
{
    kvtest::TempDir dir;
    std::string path = dir.File("page.ras");
    WriteRaster(path, {RgbPage(5, 3, 203, PositionColour)});
    RasterReader reader(path);
    cups_page_header2_t header;
    ASSERT_TRUE(reader.NextHeader(&header));
    _OEMPDEV pdev = kvtest::PdevWithFirstPage(header);
    ASSERT_TRUE(ReadPageIntoHeldBuffer(reader.Stream(), header, &pdev));
    ASSERT_NE(pdev.pBufStart, nullptr);
    EXPECT_EQ(pdev.dwBufSize, 16u * 3u);
    for (unsigned y = 0; y < 3; ++y) {
        const unsigned char* row = pdev.pBufStart + y * 16;
        for (unsigned x = 0; x < 5; ++x) {
            EXPECT_EQ(row[3 * x], 200 + x);      // blue first
            EXPECT_EQ(row[3 * x + 1], 100 + y);  // green
            EXPECT_EQ(row[3 * x + 2], 10 + x);   // red last
        }
        EXPECT_EQ(row[15], 0);  // padding
    }
    ReleaseHeldPage(&pdev);
    EXPECT_EQ(pdev.pBufStart, nullptr);
}

TEST(HeldPage, ShortPageLeavesTheMissingRowsZero)
{
    kvtest::TempDir dir;
    std::string path = dir.File("short.ras");
    RasterPage page = SolidPage(4, 10, 203, 255, 255, 255);
    page.rows.resize(6);
    WriteRaster(path, {page});
    RasterReader reader(path);
    cups_page_header2_t header;
    ASSERT_TRUE(reader.NextHeader(&header));
    _OEMPDEV pdev = kvtest::PdevWithFirstPage(header);
    ASSERT_TRUE(ReadPageIntoHeldBuffer(reader.Stream(), header, &pdev));
    ASSERT_EQ(pdev.dwBufSize, 120u);
    for (unsigned i = 0; i < 6 * 12; ++i)
        ASSERT_EQ(pdev.pBufStart[i], 255) << i;
    for (unsigned i = 6 * 12; i < 120; ++i)
        ASSERT_EQ(pdev.pBufStart[i], 0) << i;
    ReleaseHeldPage(&pdev);
}

TEST(HeldPage, SmallerLaterPageGetsABufferAsLargeAsTheFirstPageNeeds)
{
    kvtest::TempDir dir;
    std::string path = dir.File("pages.ras");
    WriteRaster(path, {SolidPage(8, 8, 203, 1, 2, 3), SolidPage(4, 2, 203, 9, 9, 9)});
    RasterReader reader(path);
    cups_page_header2_t first;
    ASSERT_TRUE(reader.NextHeader(&first));
    _OEMPDEV pdev = kvtest::PdevWithFirstPage(first);
    ASSERT_TRUE(ReadPageIntoHeldBuffer(reader.Stream(), first, &pdev));
    EXPECT_EQ(pdev.dwBufSize, 24u * 8u);
    ReleaseHeldPage(&pdev);

    cups_page_header2_t second;
    ASSERT_TRUE(reader.NextHeader(&second));
    ASSERT_TRUE(ReadPageIntoHeldBuffer(reader.Stream(), second, &pdev));
    EXPECT_EQ(pdev.dwBufSize, 24u * 8u);
    // The second page's two rows of 12 bytes, then zeros up to the size the
    // first page's geometry needs.
    EXPECT_EQ(pdev.pBufStart[0], 9);
    EXPECT_EQ(pdev.pBufStart[23], 9);
    for (unsigned i = 12 * 2; i < 24u * 8u; ++i)
        ASSERT_EQ(pdev.pBufStart[i], 0) << i;
    // The first page's geometry is kept for the renderer.
    EXPECT_EQ(pdev.bmInfoHeader.biWidth, 8);
    EXPECT_EQ(pdev.bmInfoHeader.biHeight, 8);
    ReleaseHeldPage(&pdev);
}

TEST(HeldPage, LargerLaterPageGetsItsOwnSizeWithoutChangingTheFirstGeometry)
{
    kvtest::TempDir dir;
    std::string path = dir.File("pages.ras");
    WriteRaster(path, {SolidPage(2, 2, 203, 1, 2, 3), SolidPage(6, 5, 203, 4, 5, 6)});
    RasterReader reader(path);
    cups_page_header2_t header;
    ASSERT_TRUE(reader.NextHeader(&header));
    _OEMPDEV pdev = kvtest::PdevWithFirstPage(header);
    ASSERT_TRUE(ReadPageIntoHeldBuffer(reader.Stream(), header, &pdev));
    EXPECT_EQ(pdev.dwBufSize, 8u * 2u);
    ReleaseHeldPage(&pdev);
    ASSERT_TRUE(reader.NextHeader(&header));
    ASSERT_TRUE(ReadPageIntoHeldBuffer(reader.Stream(), header, &pdev));
    EXPECT_EQ(pdev.dwBufSize, 20u * 5u);
    EXPECT_EQ(pdev.bmInfoHeader.biWidth, 2);
    EXPECT_EQ(pdev.bmInfoHeader.biHeight, 2);
    ReleaseHeldPage(&pdev);
}
