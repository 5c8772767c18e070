// Writes PDF files of a given page size holding black rectangles or one-bit
// pictures: the kinds of job a label program sends to the spooler.
#ifndef KV_TESTS_TOOLS_PDFLABEL_H
#define KV_TESTS_TOOLS_PDFLABEL_H

#include <cstdint>
#include <string>
#include <vector>

namespace kvtool {

// A filled black rectangle in points, measured from the page's top-left
// corner (PDF itself measures from the bottom-left).
struct PdfRect {
    double x;
    double top;
    double width;
    double height;
};

// Returns the bytes of a PDF with one page of `width` x `height` points.
std::string PdfLabel(double width, double height, const std::vector<PdfRect>& rects);

// A one-bit picture: rows of (width + 7) / 8 bytes, the first pixel in the
// top bit, 1 for black (the layout of a binary PBM file).
struct PdfBitmap {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::string rows;
};

// Returns the bytes of a PDF with one page of `width` x `height` points per
// bitmap, each bitmap stretched over its whole page.
std::string PdfBitmapPages(double width, double height, const std::vector<PdfBitmap>& pages);

}  // namespace kvtool

#endif
