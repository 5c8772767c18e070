// What a label printer can print, and what raster a label may come from.
// The limits are checked on every page header before any buffer is taken
// for the page, so that no raster stream, however its header is made, can
// make the filter take gigabytes of memory or minutes of time: a page
// beyond them is not printed and the job ends.
#ifndef KV_FILTER_PAGELIMITS_H
#define KV_FILTER_PAGELIMITS_H

#include <cups/raster.h>

#include <cstdint>
#include <string>

#include "PagePipeline.h"

// The printer's resolution (*OutputDPI) may be at most this; 0 stands for a
// PPD without it.
constexpr int kMaxOutputDpi = 1200;
// The raster's resolution, in each direction: at least this ...
constexpr int kMinRasterDpi = 50;
// ... and at most this many times finer or coarser than the printer's.
constexpr int kMaxScaleFactor = 8;
// The largest label, at the printer's resolution: across the print head
// what the grey conversion keeps anyway, along the feed a metre.
constexpr double kMaxLabelWidthMm = kvrender::kConversionMaxWidthMm;
constexpr int kMaxLabelLengthMm = 1000;
// Memory of one page: as the raster comes (the held page), and once scaled
// to the printer's resolution (the pipeline's working copies follow it).
constexpr uint64_t kMaxRasterPageBytes = uint64_t(128) << 20;
constexpr uint64_t kMaxPrinterPageBytes = uint64_t(64) << 20;

// The printer's resolution as the job records hold it: the PPD's
// *OutputDPI as a decimal number narrowed to 16 bits, 0 when it is missing.
int16_t PpdOutputDpi();

// Empty when `outputDpi` is 0 (no *OutputDPI: pages come out empty, as
// they always did) or a printer resolution up to kMaxOutputDpi; otherwise
// why the job cannot be printed, as a sentence for the spooler.
std::string OutputDpiProblem(int outputDpi);

// Empty when the page of `header` may be printed at `outputDpi` (which
// OutputDpiProblem accepted); otherwise why not, as a sentence for the
// spooler naming the limit. The raster resolution is taken narrowed to 16
// bits, as the job records take it.
std::string PageLimitProblem(const cups_page_header2_t& header, int outputDpi);

#endif
