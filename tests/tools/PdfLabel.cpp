// A minimal PDF writer: catalog, page tree, one page, one content stream,
// and the cross-reference table with exact byte offsets.
#include "PdfLabel.h"

#include <cstdio>

namespace kvtool {
namespace {

std::string Num(double v)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.3f", v);
    return buf;
}

}  // namespace

std::string PdfLabel(double width, double height, const std::vector<PdfRect>& rects)
{
    std::string content = "0 g\n";
    for (const PdfRect& r : rects)
        content += Num(r.x) + " " + Num(height - r.top - r.height) + " " + Num(r.width) + " " + Num(r.height) +
                   " re f\n";
    std::vector<std::string> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + Num(width) + " " + Num(height) +
            "] /Contents 4 0 R /Resources << >> >>",
        "<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content + "endstream",
    };
    std::string pdf = "%PDF-1.4\n";
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        offsets.push_back(pdf.size());
        pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    std::size_t xref = pdf.size();
    pdf += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (std::size_t off : offsets) {
        char line[32];
        std::snprintf(line, sizeof line, "%010zu 00000 n \n", off);
        pdf += line;
    }
    pdf += "trailer\n<< /Size " + std::to_string(objects.size() + 1) + " /Root 1 0 R >>\nstartxref\n" +
           std::to_string(xref) + "\n%%EOF\n";
    return pdf;
}

}  // namespace kvtool
