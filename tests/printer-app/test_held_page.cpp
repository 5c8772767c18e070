// The held page built line by line, as the printer application's raster
// callback stores each line, is the held page the filter reads from the
// raster stream: the same bytes, the same size, the same swap left to the
// renderer.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "HeldPage.h"
#include "HeldPageRecords.h"
#include "RasterWriter.h"
#include "TempDir.h"
#include "rastokivepl.h"

namespace {

kvtest::RasterPage RandomPage(unsigned width, unsigned height, unsigned seed)
{
    srandom(seed);
    return kvtest::RgbPage(width, height, 203, [](unsigned, unsigned, unsigned char rgb[3]) {
        for (int i = 0; i < 3; ++i)
            rgb[i] = static_cast<unsigned char>(random());
    });
}

// The filter's held page of `page` (read from a raster stream).
std::vector<unsigned char> FilterHeldPage(const kvtest::RasterPage& page, bool swap, kvrender::DeferredSwap* pending)
{
    kvtest::TempDir dir;
    const std::string path = dir.File("page.ras");
    kvtest::WriteRaster(path, {page});
    int fd = open(path.c_str(), O_RDONLY);
    cups_raster_t* ras = cupsRasterOpen(fd, CUPS_RASTER_READ);
    cups_page_header2_t header;
    EXPECT_TRUE(cupsRasterReadHeader2(ras, &header));
    _OEMPDEV pdev = kvtest::PdevWithFirstPage(header);
    EXPECT_TRUE(ReadPageIntoHeldBuffer(ras, header, &pdev, swap, pending));
    std::vector<unsigned char> held(pdev.pBufStart, pdev.pBufStart + pdev.dwBufSize);
    ReleaseHeldPage(&pdev);
    cupsRasterClose(ras);
    close(fd);
    return held;
}

// The application's held page of `page`, stored line by line (the rows
// the page has, which a short page has fewer of than its height).
std::vector<unsigned char> AppHeldPage(const kvtest::RasterPage& page, bool swap, kvrender::DeferredSwap* pending)
{
    _OEMPDEV pdev = kvtest::PdevWithFirstPage(page.header);
    HeldPageFill fill;
    EXPECT_TRUE(fill.Begin(page.header, &pdev, swap));
    for (size_t y = 0; y < page.rows.size(); ++y)
        fill.StoreLine(y, page.rows[y].data());
    *pending = fill.End();
    std::vector<unsigned char> held(pdev.pBufStart, pdev.pBufStart + pdev.dwBufSize);
    ReleaseHeldPage(&pdev);
    return held;
}

bool SameSwap(const kvrender::DeferredSwap& a, const kvrender::DeferredSwap& b)
{
    return a.pending == b.pending && a.rows == b.rows && a.stride == b.stride && a.lineBytes == b.lineBytes &&
           a.width == b.width;
}

TEST(AppHeldPage, LinesStoredOneByOneAreTheFiltersHeldPage)
{
    for (unsigned width : {1u, 5u, 8u, 13u, 812u})
        for (bool swap : {true, false}) {
            const kvtest::RasterPage page = RandomPage(width, 7, width);
            kvrender::DeferredSwap filterSwap, appSwap;
            const std::vector<unsigned char> filter = FilterHeldPage(page, swap, &filterSwap);
            const std::vector<unsigned char> app = AppHeldPage(page, swap, &appSwap);
            EXPECT_TRUE(app == filter) << width << " " << swap;
            EXPECT_TRUE(SameSwap(appSwap, filterSwap));
            EXPECT_EQ(appSwap.pending, !swap);
            EXPECT_EQ(filter.size(), PageStride(page.header) * 7);
        }
}

TEST(AppHeldPage, ShortPageLeavesTheSameZeroRowsAsTheFilter)
{
    kvtest::RasterPage page = RandomPage(9, 6, 3);
    page.rows.resize(2);
    kvrender::DeferredSwap filterSwap, appSwap;
    const std::vector<unsigned char> filter = FilterHeldPage(page, true, &filterSwap);
    const std::vector<unsigned char> app = AppHeldPage(page, true, &appSwap);
    EXPECT_TRUE(app == filter);
    const size_t stride = PageStride(page.header);
    for (size_t i = 2 * stride; i < app.size(); ++i)
        ASSERT_EQ(app[i], 0) << i;
}

TEST(AppHeldPage, RowsSkippedAreZeroAndRowsBeyondThePageAreIgnored)
{
    const kvtest::RasterPage page = RandomPage(4, 5, 9);
    _OEMPDEV pdev = kvtest::PdevWithFirstPage(page.header);
    memset(&pdev, 0, sizeof pdev);
    HeldPageFill fill;
    ASSERT_TRUE(fill.Begin(page.header, &pdev, false));
    memset(pdev.pBufStart, 0xAB, pdev.dwBufSize);  // what malloc may leave
    fill.StoreLine(0, page.rows[0].data());
    fill.StoreLine(3, page.rows[3].data());
    fill.StoreLine(5, page.rows[4].data());     // beyond the 5 rows: ignored
    fill.StoreLine(1000, page.rows[4].data());  // far beyond
    fill.End();
    const size_t stride = PageStride(page.header);
    ASSERT_EQ(pdev.dwBufSize, stride * 5);
    EXPECT_EQ(0, memcmp(pdev.pBufStart, page.rows[0].data(), 12));
    EXPECT_EQ(0, memcmp(pdev.pBufStart + 3 * stride, page.rows[3].data(), 12));
    for (size_t y : {1u, 2u, 4u})
        for (size_t i = 0; i < stride; ++i)
            ASSERT_EQ(pdev.pBufStart[y * stride + i], 0) << y;
    ReleaseHeldPage(&pdev);
}

}  // namespace
