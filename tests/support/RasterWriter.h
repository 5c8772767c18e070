// Writes CUPS raster streams for tests with libcups's own raster writer.
#ifndef KV_TESTS_RASTERWRITER_H
#define KV_TESTS_RASTERWRITER_H

#include <cups/raster.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kvtest {

// One page: its header and the rows to write (fewer than cupsHeight rows
// make a short page; only sensible for the last page of a stream).
struct RasterPage {
    cups_page_header2_t header;
    std::vector<std::vector<unsigned char>> rows;
};

// A 24-bit RGB page header of `width` x `height` pixels at `dpi`.
cups_page_header2_t RgbHeader(unsigned width, unsigned height, unsigned dpi = 203);

// A page whose pixel (x, y) has the colour `pixel(x, y)` = {r, g, b}.
RasterPage RgbPage(unsigned width, unsigned height, unsigned dpi,
                   const std::function<void(unsigned x, unsigned y, unsigned char rgb[3])>& pixel);

// A uniform page of one colour.
RasterPage SolidPage(unsigned width, unsigned height, unsigned dpi, unsigned char r, unsigned char g, unsigned char b);

// An 8-bit grey page as the 24-bit sRGB page of the same greys, each
// level in all three channels: what a rasterizer asked for RGB makes of a
// page that is grey already.
RasterPage GreyPageAsRgb(const RasterPage& grey);

// Writes the pages as a raster stream to `path` (no pages: the stream
// holds only its synchronisation word).
void WriteRaster(const std::string& path, const std::vector<RasterPage>& pages);

// Writes a stream of one page whose rows `fill` makes one at a time (each
// cupsBytesPerLine bytes), so that a page of any size is written without
// being held in memory: a process that forks the filter passes its own
// peak memory on to the filter's accounting.
void WriteStreamedPage(const std::string& path, const cups_page_header2_t& header,
                       const std::function<void(unsigned y, std::vector<unsigned char>& row)>& fill);

// The same stream as bytes.
std::string RasterBytes(const std::vector<RasterPage>& pages);

}  // namespace kvtest

#endif
