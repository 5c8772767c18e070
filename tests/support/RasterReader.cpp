// Raster streams read through cupsRasterOpen(CUPS_RASTER_READ).
#include "RasterReader.h"

#include <fcntl.h>
#include <unistd.h>

namespace kvtest {

std::vector<RasterPage> ReadRaster(const std::string& path)
{
    std::vector<RasterPage> pages;
    int fd = open(path.c_str(), O_RDONLY);
    if (fd < 0)
        return pages;
    cups_raster_t* ras = cupsRasterOpen(fd, CUPS_RASTER_READ);
    if (!ras) {
        close(fd);
        return pages;
    }
    RasterPage page;
    while (cupsRasterReadHeader2(ras, &page.header)) {
        page.rows.clear();
        for (unsigned y = 0; y < page.header.cupsHeight; ++y) {
            std::vector<unsigned char> row(page.header.cupsBytesPerLine);
            if (row.empty() || cupsRasterReadPixels(ras, row.data(), static_cast<unsigned>(row.size())) == 0)
                break;
            page.rows.push_back(std::move(row));
        }
        pages.push_back(page);
    }
    cupsRasterClose(ras);
    close(fd);
    return pages;
}

}  // namespace kvtest
