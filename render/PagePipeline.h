// The pieces of the page pipeline that stand on their own: the orientation
// code, the automatic-rotation decision, the dashed-line conversion, the
// packing to one bit per pixel and the label position. The renderer's
// TransCommand strings them together with the image operations.
#ifndef KV_RENDER_PAGEPIPELINE_H
#define KV_RENDER_PAGEPIPELINE_H

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

#include "BmpProcessing.h"
#include "BmpRecords.h"
#include "DevMode.h"
#include "MallocBuffer.h"
#include "OemCfg.h"
#include "RecordUnits.h"

namespace kvrender {

using kvimg::MallocBuffer;

// The working image of one page: its buffer, header, kept box and the
// geometry derived from them. Until a step first writes a buffer of its
// own, the image may read the held page in place (`borrowed`) instead of a
// copy of it: the steps before then only read.
struct WorkImage {
    MallocBuffer buffer;
    const unsigned char* borrowed = nullptr;  // the held page, read-only, while `buffer` is empty
    uint64_t bytes = 0;                       // allocated
    tagBITMAPINFOHEADER header{};
    tagRECT rect{};
    int32_t w = 0;
    int32_t h = 0;
    int64_t stride = 0;
    uint64_t size = 0;  // h rows of stride bytes

    // Width and height from the box; `inclusive` adds the one the box's
    // right and bottom edges stand for.
    void Measure(bool inclusive)
    {
        const int32_t extra = inclusive ? 1 : 0;
        w = rect.right - rect.left + extra;
        h = rect.bottom - rect.top + extra;
        stride = BmpRowStride(header.biBitCount, w);
        size = (w > 0 && h > 0) ? static_cast<uint64_t>(stride) * static_cast<uint64_t>(h) : 0;
    }
    // Makes `box` the kept box of a step's new image: the size is measured
    // from it (as Measure) and the header's width, height and image size
    // follow.
    void Reshape(const tagRECT& box, bool inclusive)
    {
        rect = box;
        Measure(inclusive);
        header.biWidth = w;
        header.biHeight = h;
        header.biSizeImage = static_cast<uint32_t>(size);
    }
    // Bytes that may be read: never more than were allocated.
    uint64_t Readable() const { return size < bytes ? size : bytes; }
    // The image's bytes to read: its own buffer, else the borrowed page.
    const unsigned char* Data() const { return buffer ? buffer.get() : borrowed; }
    bool HasData() const { return Data() != nullptr; }
    // Makes the image's bytes its own before a step writes them: a borrowed
    // page is copied (null when memory is short).
    unsigned char* Writable();
};

// Exchanges the first and third byte of the first `width` three-byte groups
// of `line` (RGB pixels become BGR), never past `lineBytes`.
void SwapRedBlue(unsigned char* line, uint64_t lineBytes, uint64_t width);

// A held 24-bit page read as the raster sends it (red first), whose red and
// blue are still to be exchanged, row by row as the job loop would have:
// the renderer does it after shrinking the page, on far fewer bytes, since
// averaging treats the three channels alike, or before any other step.
struct DeferredSwap {
    bool pending = false;
    uint64_t rows = 0;
    uint64_t stride = 0;     // bytes from one row to the next
    uint64_t lineBytes = 0;  // bytes of each row that the swap may touch
    uint64_t width = 0;      // pixels (three-byte groups) to swap per row
};

// SwapRedBlue on each of `page.rows` rows of `image`.
void SwapRedBlueRows(unsigned char* image, const DeferredSwap& page);

// A fresh buffer of `size` bytes (at least one) filled with `fill`; null
// when memory is short.
MallocBuffer FilledBuffer(uint64_t size, unsigned char fill);

// a x b / c in 32-bit integers, the product wrapping as a 32-bit register
// does. A zero divisor, which only an absurd raster header (resolution 0)
// can bring, gives 0; so does the one quotient that does not fit.
int32_t MulDiv(int32_t a, int32_t b, int32_t c);

// Widest page the grey conversion keeps: 300 mm.
constexpr double kConversionMaxWidthMm = 300.0;

// The orientation code of the grey conversion from the device-mode
// orientation and the two rotation flags; every case not in the table is 3.
int OrientationCode(int16_t dmOrientation, int16_t rotate90, int64_t rotation);

// The rotation code for automatic rotation of a w x h page, or nothing.
// The 5 mm margin is converted with the vertical resolution in the first
// test and the horizontal one in the second; the first threshold keeps a
// page at exactly 20 mm, the second is strict. Both asymmetries are kept.
std::optional<short> AutoRotationCode(int32_t w, int32_t h, int16_t xdpi, int16_t ydpi, int16_t maxWidthMm,
                                      int16_t autoRotate90);

// Breaks long black runs of an 8-bit image into dashes. The run counter
// carries from row to row; a run ending at a row's end is converted at the
// start of the next row, and a run still open after the last row is not
// converted. Runs are measured at the raster resolution `rasterDpi`, the
// dash periods `blackDots` and `whiteDots` at the output resolution.
void ConvertToDashedLines(CBmpProcessing& bmp, unsigned char* image, uint64_t imageSize, int32_t w, int32_t h,
                          int64_t stride, int32_t blackDots, int32_t whiteDots, int16_t minLengthMm, int16_t rasterDpi);

// A page packed to one bit per pixel (1 white, bit 7 leftmost).
struct PackedPage {
    MallocBuffer bits;
    uint64_t size = 0;
    int32_t x = 0;  // start column before the position rules
};

// Packs the 8-bit image (w x h, rows `stride` apart) whose kept box is
// `rect`: a byte of exactly 255 stays white, anything else is black. With
// `mirror` each row is read backwards from the mirror reference width.
PackedPage PackToOneBit(const unsigned char* image, uint64_t imageSize, int32_t w, int32_t h, int64_t stride,
                        tagRECT rect, bool mirror, int32_t mirrorRefWidth);

// The label position in output dots: the physical page offset added by
// orientation code, x rounded down to whole bytes (0 below 1), y clamped at
// 0 and 0 made 8. Only x places the graphic: y goes to the page builder in
// the argument it ignores (it takes the graphic's row from the vertical
// offsets instead).
struct PagePosition {
    int32_t x;
    int32_t y;
};
PagePosition PositionOnLabel(int32_t x, int32_t y, int orientation, const tagOEMCFG& cfg, const _DEVMODE& devMode,
                             const _OEMPDEV& pdev);

}  // namespace kvrender

#endif
