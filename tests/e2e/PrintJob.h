// Runs the built filter on a job of raster pages with a label PPD and reads
// its output back as EPL commands and graphic blocks; builds the small grey
// pages the end-to-end tests print.
#ifndef KV_TESTS_E2E_PRINTJOB_H
#define KV_TESTS_E2E_PRINTJOB_H

#include <map>
#include <string>
#include <vector>

#include "EplStream.h"
#include "FilterProcess.h"
#include "RasterWriter.h"

namespace kvtest {

// What one job produced.
struct PrintedJob {
    FilterResult result;
    EplStream stream;
    std::vector<std::string> lines;  // CommandLines(stream)
    std::vector<GwBlock> graphics;   // Graphics(stream)
};

// Runs the filter with a PPD of `codes` (see LabelPpd), the job options
// `options` and `pages` on standard input.
PrintedJob RunJob(const std::map<std::string, std::string>& codes, const std::vector<RasterPage>& pages,
                  const std::string& options = "");

// Reads the output of a finished filter run.
PrintedJob ReadJob(const FilterResult& result);

// A 203 dpi RGB page whose pixel (x, y) is grey `rows[y][x]` (red, green and
// blue all equal, so the filter's grey value is the same number).
RasterPage GreyRows(const std::vector<std::vector<int>>& rows);

// A rectangle of pixels, half-open: columns x0..x1-1, rows y0..y1-1.
struct Box {
    unsigned x0, y0, x1, y1;
};

// A 203 dpi RGB page of `width` x `height`, white but for the `black` boxes.
RasterPage BlackBoxes(unsigned width, unsigned height, const std::vector<Box>& black);

// The same page with the header's copy count set.
RasterPage WithCopies(RasterPage page, unsigned copies);

// Raw bytes from a list of byte values.
std::string RawBytes(const std::vector<int>& values);

// `count` copies of the byte `value`.
std::string Fill(int value, size_t count);

// Concatenates lists of command lines.
std::vector<std::string> Join(const std::vector<std::vector<std::string>>& parts);

}  // namespace kvtest

#endif
