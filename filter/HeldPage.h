// Storing a raster page into the held page buffer, line by line. The
// filter reads each line of the CUPS raster stream straight into its row;
// the printer application is handed each line by its raster callback.
// Both store it here, so the held page the renderer gets is built one way:
// rows top-down, PageStride bytes apart, red and blue swapped in every
// 3-byte group (or the swap left to the renderer), and every byte no line
// fills zero.
#ifndef KV_FILTER_HELDPAGE_H
#define KV_FILTER_HELDPAGE_H

#include <cups/raster.h>

#include <cstdint>

#include "DevMode.h"
#include "MallocBuffer.h"
#include "PagePipeline.h"

// Bytes of one held-buffer row: rows padded to a multiple of 4 bytes.
uint64_t PageStride(const cups_page_header2_t& header);

// Exchanges byte 0 and byte 2 of each of the first `width` 3-byte groups of
// `line`, never touching a byte at or beyond `lineBytes`.
void SwapRedBlue(unsigned char* line, uint64_t lineBytes, uint64_t width);

// One page on its way into the held buffer of a page-device record.
class HeldPageFill {
public:
    // Takes a fresh held buffer for the page of `header` into `pdev` (whose
    // old buffer must already be released). The buffer is at least as large
    // as the first page's geometry in `pdev->bmInfoHeader` needs, so a
    // smaller later page is still read safely with that geometry. Red and
    // blue are swapped as each line arrives unless `swap` is false; then the
    // page waits in raster order and End says what the renderer must swap.
    // Returns false, with no buffer held, when the buffer cannot be had.
    bool Begin(const cups_page_header2_t& header, _OEMPDEV* pdev, bool swap);

    // Where raster line `row` (below the page's height) is to be read to:
    // its row of the held buffer, or a line buffer when a line is longer
    // than a row. Then LineRead(row).
    unsigned char* LineTarget(uint64_t row);
    // Finishes line `row` once its cupsBytesPerLine bytes are at
    // LineTarget(row): swaps red and blue, zeroes the row's padding, cuts a
    // longer line to its row. Rows skipped since the last line become zero.
    void LineRead(uint64_t row);
    // Stores line `row` of cupsBytesPerLine bytes from `line` (LineTarget,
    // a copy and LineRead in one); rows at or beyond the height are ignored.
    void StoreLine(uint64_t row, const unsigned char* line);

    // Zero-fills what no line filled (the rows a short page did not
    // deliver, and the room a larger first page needs) and returns the swap
    // the renderer still owes the page.
    kvrender::DeferredSwap End();

private:
    unsigned char* m_buffer = nullptr;
    uint64_t m_size = 0;
    uint64_t m_stride = 0;
    uint64_t m_lineBytes = 0;
    uint64_t m_width = 0;
    uint64_t m_height = 0;
    uint64_t m_nextRow = 0;  // rows before it are filled or zeroed
    bool m_swap = true;
    bool m_direct = true;  // lines fit their rows and are read in place
    kvimg::MallocBuffer m_line;
};

#endif
