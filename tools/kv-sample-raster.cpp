// Writes a sample label page as a 24-bit RGB CUPS raster stream, the form in
// which the spooler hands pages to the filter: a frame, title-like blocks, a
// barcode and a grey patch, so the filter has something real to print.
#include <cups/raster.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr unsigned kDefaultDpi = 203;
constexpr double kLabelWidthInches = 4.0;
constexpr double kLabelHeightInches = 2.0;
constexpr unsigned kPointsPerInch = 72;
constexpr unsigned char kWhite = 255;
constexpr unsigned char kBlack = 0;
constexpr unsigned char kGrey = 128;

// Bar widths of the sample barcode, in narrow-bar units.
const unsigned kBars[] = {2, 1, 1, 2, 3, 1, 1, 1, 2, 2, 1, 3, 1, 1, 2, 1, 3, 2, 1, 1, 2, 2, 1, 1, 3};

struct Rect {
    unsigned x0, y0, x1, y1;  // half-open
};

// One 8-bit grey plane, turned into RGB when written.
struct Canvas {
    unsigned width, height;
    std::vector<unsigned char> pixels;

    Canvas(unsigned w, unsigned h) : width(w), height(h), pixels(size_t(w) * h, kWhite) {}
    void Fill(const Rect& r, unsigned char value)
    {
        for (unsigned y = r.y0; y < r.y1 && y < height; ++y)
            for (unsigned x = r.x0; x < r.x1 && x < width; ++x)
                pixels[size_t(y) * width + x] = value;
    }
};

// Draws the sample label's content scaled to the canvas.
void DrawLabel(Canvas& c)
{
    unsigned u = c.width / 100;  // one hundredth of the width
    unsigned frame = u > 0 ? u : 1;
    c.Fill({0, 0, c.width, frame}, kBlack);
    c.Fill({0, c.height - frame, c.width, c.height}, kBlack);
    c.Fill({0, 0, frame, c.height}, kBlack);
    c.Fill({c.width - frame, 0, c.width, c.height}, kBlack);
    // Title and address lines as solid blocks of text height.
    c.Fill({5 * u, 6 * u, 60 * u, 12 * u}, kBlack);
    c.Fill({5 * u, 15 * u, 45 * u, 18 * u}, kBlack);
    c.Fill({5 * u, 20 * u, 50 * u, 23 * u}, kBlack);
    // Grey patch, to exercise halftoning.
    c.Fill({65 * u, 6 * u, 95 * u, 23 * u}, kGrey);
    // Barcode.
    unsigned x = 5 * u;
    bool black = true;
    for (unsigned bar : kBars) {
        unsigned w = bar * (u > 1 ? u / 2 : 1);
        if (black)
            c.Fill({x, 28 * u, x + w, 45 * u}, kBlack);
        x += w;
        black = !black;
    }
}

// A 24-bit RGB page header for the canvas at `dpi`.
cups_page_header2_t PageHeader(const Canvas& c, unsigned dpi)
{
    cups_page_header2_t h;
    memset(&h, 0, sizeof(h));
    h.HWResolution[0] = h.HWResolution[1] = dpi;
    h.PageSize[0] = c.width * kPointsPerInch / dpi;
    h.PageSize[1] = c.height * kPointsPerInch / dpi;
    h.ImagingBoundingBox[2] = h.PageSize[0];
    h.ImagingBoundingBox[3] = h.PageSize[1];
    h.NumCopies = 1;
    h.cupsWidth = c.width;
    h.cupsHeight = c.height;
    h.cupsBitsPerColor = 8;
    h.cupsBitsPerPixel = 24;
    h.cupsBytesPerLine = c.width * 3;
    h.cupsColorOrder = CUPS_ORDER_CHUNKED;
    h.cupsColorSpace = CUPS_CSPACE_RGB;
    return h;
}

// Writes `pages` copies of the canvas to `fd`; returns false on failure.
bool WritePages(int fd, const Canvas& c, unsigned dpi, int pages)
{
    cups_raster_t* ras = cupsRasterOpen(fd, CUPS_RASTER_WRITE);
    if (!ras)
        return false;
    cups_page_header2_t header = PageHeader(c, dpi);
    std::vector<unsigned char> row(size_t(c.width) * 3);
    bool ok = true;
    for (int p = 0; p < pages && ok; ++p) {
        ok = cupsRasterWriteHeader2(ras, &header) != 0;
        for (unsigned y = 0; y < c.height && ok; ++y) {
            for (unsigned x = 0; x < c.width; ++x)
                memset(&row[3 * size_t(x)], c.pixels[size_t(y) * c.width + x], 3);
            ok = cupsRasterWritePixels(ras, row.data(), static_cast<unsigned>(row.size())) == row.size();
        }
    }
    cupsRasterClose(ras);
    return ok;
}

}  // namespace

int main(int argc, char* argv[])
{
    if (argc < 2 || argc > 4) {
        fprintf(stderr, "usage: kv-sample-raster OUTPUT.ras [DPI] [PAGES]\n");
        return 2;
    }
    unsigned dpi = argc > 2 ? static_cast<unsigned>(strtoul(argv[2], nullptr, 10)) : kDefaultDpi;
    int pages = argc > 3 ? atoi(argv[3]) : 1;
    if (dpi == 0 || dpi > 2400 || pages < 1) {
        fprintf(stderr, "kv-sample-raster: DPI must be 1-2400 and PAGES at least 1\n");
        return 2;
    }
    Canvas canvas(static_cast<unsigned>(kLabelWidthInches * dpi), static_cast<unsigned>(kLabelHeightInches * dpi));
    DrawLabel(canvas);
    int fd = open(argv[1], O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) {
        perror(argv[1]);
        return 1;
    }
    bool ok = WritePages(fd, canvas, dpi, pages);
    close(fd);
    if (!ok) {
        fprintf(stderr, "kv-sample-raster: could not write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
