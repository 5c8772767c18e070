// The page limits: each check works out, in 64-bit or double arithmetic,
// the sizes that the job loop and the page pipeline would later allocate.
#include "PageLimits.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "GetPpdSelfOption.h"
#include "PagePipeline.h"
#include "RasterHeaderFields.h"
#include "RecordUnits.h"

namespace {

constexpr uint64_t kMegabyte = uint64_t(1) << 20;
constexpr uint64_t kMinCountedBitsPerPixel = 24;

// printf into a std::string.
template <typename... Args>
std::string Format(const char* format, Args... args)
{
    char text[512];
    snprintf(text, sizeof(text), format, args...);
    return text;
}

// Bytes of `pixels` pixels at `bits` each, rounded up to whole bytes.
uint64_t LineBytes(uint64_t pixels, uint64_t bits)
{
    return (pixels * bits + 7) / 8;
}

// Rows padded to 4 bytes, as every page buffer lays them out.
uint64_t Stride(uint64_t pixels, uint64_t bits)
{
    return ((pixels * bits + 31) / 32) * 4;
}

// Megabytes, rounded up, for messages.
unsigned long long Megabytes(uint64_t bytes)
{
    return static_cast<unsigned long long>((bytes + kMegabyte - 1) / kMegabyte);
}

// Chunked pixels fill a line with all their bits; banded and planar
// rasters carry one colour per line, which libcups does not tie to the
// width, so either depth is taken there.
std::string LayoutProblem(const cups_page_header2_t& h)
{
    uint64_t chunked = LineBytes(h.cupsWidth, h.cupsBitsPerPixel);
    uint64_t perColour = LineBytes(h.cupsWidth, h.cupsBitsPerColor);
    bool fits = h.cupsBytesPerLine == chunked ||
                (RasterHeaderValue(h.cupsColorOrder) != CUPS_ORDER_CHUNKED && h.cupsBytesPerLine == perColour);
    if (fits)
        return "";
    return Format("cupsBytesPerLine %u does not match cupsWidth %u at %u bits per pixel", h.cupsBytesPerLine,
                  h.cupsWidth, h.cupsBitsPerPixel);
}

// The raster resolutions the page may have: from kMinRasterDpi (and an
// eighth of the printer's) to eight times the printer's. Without a printer
// resolution only the floor applies; it also keeps the scale factors of
// the pipeline finite.
struct DpiRange {
    int lowest;
    int highest;
};

DpiRange RasterDpiRange(int outputDpi)
{
    if (outputDpi == 0)
        return {kMinRasterDpi, INT16_MAX};
    return {std::max(kMinRasterDpi, (outputDpi + kMaxScaleFactor - 1) / kMaxScaleFactor), outputDpi * kMaxScaleFactor};
}

std::string ResolutionProblem(int rasterX, int rasterY, int outputDpi)
{
    DpiRange range = RasterDpiRange(outputDpi);
    auto fits = [&](int dpi) { return dpi >= range.lowest && dpi <= range.highest; };
    if (fits(rasterX) && fits(rasterY))
        return "";
    if (outputDpi == 0)
        return Format("its raster resolution %d x %d dpi is below the %d dpi the filter takes", rasterX, rasterY,
                      kMinRasterDpi);
    return Format("its raster resolution %d x %d dpi is outside the %d to %d dpi that are scaled to the "
                  "printer's %d dpi",
                  rasterX, rasterY, range.lowest, range.highest, outputDpi);
}

// The page's size at the printer's resolution, as the pipeline scales it:
// unchanged when both factors are exactly 1, else truncated.
struct PrinterPage {
    double width;
    double height;
};

PrinterPage ScaledSize(const cups_page_header2_t& h, int rasterX, int rasterY, int outputDpi)
{
    double sx = double(outputDpi) / rasterX;
    double sy = double(outputDpi) / rasterY;
    if (sx == 1.0 && sy == 1.0)
        return {double(h.cupsWidth), double(h.cupsHeight)};
    return {std::trunc(h.cupsWidth * sx), std::trunc(h.cupsHeight * sy)};
}

std::string LabelSizeProblem(PrinterPage page, int outputDpi)
{
    if (page.width <= kvunits::MmToDots(kMaxLabelWidthMm, outputDpi) &&
        page.height <= kvunits::MmToDots(kMaxLabelLengthMm, outputDpi))
        return "";
    return Format("at %d dpi it is %.1f x %.1f mm, larger than the largest label (%.0f mm across, %d mm along)",
                  outputDpi, page.width / outputDpi * kvunits::kMmPerInch,
                  page.height / outputDpi * kvunits::kMmPerInch, kMaxLabelWidthMm, kMaxLabelLengthMm);
}

std::string RasterBytesProblem(const cups_page_header2_t& h)
{
    uint64_t bytes = Stride(h.cupsWidth, h.cupsBitsPerPixel) * h.cupsHeight;
    if (bytes <= kMaxRasterPageBytes)
        return "";
    return Format("its raster takes %llu MB, more than the %llu MB a page may take", Megabytes(bytes),
                  Megabytes(kMaxRasterPageBytes));
}

// The pipeline's grey and halftone copies take a byte per dot whatever the
// raster's depth, so a page is counted at no less than 24 bits per dot.
std::string PrinterBytesProblem(const cups_page_header2_t& h, PrinterPage page)
{
    uint64_t bits = std::max<uint64_t>(h.cupsBitsPerPixel, kMinCountedBitsPerPixel);
    uint64_t bytes = Stride(uint64_t(page.width), bits) * uint64_t(page.height);
    if (bytes <= kMaxPrinterPageBytes)
        return "";
    return Format("at the printer's resolution it takes %llu MB, more than the %llu MB a page may take",
                  Megabytes(bytes), Megabytes(kMaxPrinterPageBytes));
}

}  // namespace

int16_t PpdOutputDpi()
{
    const char* value = GetPpdKeywordValue("OutputDPI");
    return value ? static_cast<int16_t>(strtol(value, nullptr, 10)) : 0;
}

std::string OutputDpiProblem(int outputDpi)
{
    if (outputDpi >= 0 && outputDpi <= kMaxOutputDpi)
        return "";
    return Format("The PPD file's *OutputDPI %d is not a printer resolution (1 to %d dpi)", outputDpi, kMaxOutputDpi);
}

std::string PageLimitProblem(const cups_page_header2_t& header, int outputDpi)
{
    int rasterX = static_cast<int16_t>(header.HWResolution[0]);
    int rasterY = static_cast<int16_t>(header.HWResolution[1]);
    std::string problem = LayoutProblem(header);
    if (problem.empty())
        problem = ResolutionProblem(rasterX, rasterY, outputDpi);
    if (!problem.empty())
        return problem;
    // Without a printer resolution the pipeline scales every page to nothing.
    PrinterPage page = outputDpi == 0 ? PrinterPage{0, 0} : ScaledSize(header, rasterX, rasterY, outputDpi);
    if (outputDpi != 0)
        problem = LabelSizeProblem(page, outputDpi);
    if (problem.empty())
        problem = RasterBytesProblem(header);
    if (problem.empty())
        problem = PrinterBytesProblem(header, page);
    return problem;
}
