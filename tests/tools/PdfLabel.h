// Writes one-page PDF files of a given size holding black rectangles: the
// kind of job a label program sends to the spooler.
#ifndef KV_TESTS_TOOLS_PDFLABEL_H
#define KV_TESTS_TOOLS_PDFLABEL_H

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

}  // namespace kvtool

#endif
