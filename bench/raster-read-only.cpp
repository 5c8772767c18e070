// Reads a CUPS raster stream with libcups and does nothing else: the floor
// under the filter's time and memory per page in the whole-filter
// benchmark. Usage: raster-read-only [FILE] (standard input without FILE).
#include <cups/raster.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

int main(int argc, char* argv[])
{
    const int fd = argc > 1 ? open(argv[1], O_RDONLY) : 0;
    if (fd < 0) {
        fputs("raster-read-only: cannot open the raster file\n", stderr);
        return 1;
    }
    cups_raster_t* ras = cupsRasterOpen(fd, CUPS_RASTER_READ);
    if (!ras) {
        fputs("raster-read-only: not a raster stream\n", stderr);
        return 1;
    }
    // One line buffer, rows read one at a time as the filter reads them.
    cups_page_header2_t header;
    std::vector<unsigned char> line;
    unsigned pages = 0;
    while (cupsRasterReadHeader2(ras, &header)) {
        line.resize(header.cupsBytesPerLine);
        for (unsigned y = 0; y < header.cupsHeight && !line.empty(); ++y)
            if (cupsRasterReadPixels(ras, line.data(), header.cupsBytesPerLine) == 0)
                break;
        ++pages;
    }
    cupsRasterClose(ras);
    if (fd != 0)
        close(fd);
    return pages > 0 ? 0 : 1;
}
