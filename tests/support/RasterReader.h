// Reads a CUPS raster stream back into pages with libcups, so tests can
// compare the filter's output with the raster a spooler's rasterizer made.
#ifndef KV_TESTS_RASTERREADER_H
#define KV_TESTS_RASTERREADER_H

#include <string>
#include <vector>

#include "RasterWriter.h"

namespace kvtest {

// Every page of the raster file at `path`: its header and its rows of
// cupsBytesPerLine bytes. A page cut short keeps only the rows read; a file
// that is not a raster stream gives no pages.
std::vector<RasterPage> ReadRaster(const std::string& path);

}  // namespace kvtest

#endif
