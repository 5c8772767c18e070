// How the lines PAPPL hands the application become the 24-bit RGB lines
// the filter reads: RGB lines as they are, 8-bit grey lines widened, and
// the lines PAPPL 1.3 makes of grey PNG pictures mended.
#ifndef KV_PRINTER_APP_PAGELINES_H
#define KV_PRINTER_APP_PAGELINES_H

#include <cups/raster.h>

#include <string>
#include <vector>

namespace kvapp {

// What the lines of a page are.
struct LineForm {
    enum Channels {
        kRgb,   // 24-bit RGB
        kGrey,  // 8-bit grey levels, 255 white (sgray, "W")
        kInk    // 8-bit ink levels, 255 black (device black, "K")
    } channels = kRgb;
    // For a grey PNG picture: the white level of its samples in PAPPL's
    // lines (1, 3, 15 or 255), each pixel's own sample first; 0 for any
    // other page.
    int pictureWhite = 0;

    // True when the lines are stored as they come.
    bool AsTheyCome() const { return channels == kRgb && pictureWhite == 0; }
};

// For an 8-bit grey page: widens `header` to the 24-bit RGB page the
// filter reads and returns the form of its lines. Other pages are left
// and read as RGB.
LineForm::Channels WidenGreyHeader(cups_page_header2_t& header);

// The white level of the samples of a grey PNG's lines as PAPPL 1.3
// makes them, from the PNG's header at the start of `head`: 1, 3 or 15 for
// 1, 2 and 4 bits (PAPPL does not scale them), 255 for 8 and 16 bits; 0
// when `head` is not a grey PNG (palette and colour pictures come right).
int GreyPngWhite(const std::string& head);

// Writes `line` of `form` as the RGB line `out` (of the page's bytes per
// line; lines that come as they are are copied). A grey picture's line takes each pixel's own sample (PAPPL 1.3
// fills the RGB of a grey picture's pixel from three neighbouring samples),
// raised to 0-255.
void WidenLine(const LineForm& form, const unsigned char* line, std::vector<unsigned char>& out);

}  // namespace kvapp

#endif
