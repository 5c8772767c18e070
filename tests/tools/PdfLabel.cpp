// A minimal PDF writer: catalog, page tree, pages with one content stream
// each (and a picture where they have one), and the cross-reference table
// with exact byte offsets.
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

// Returns a stream object holding `data` behind `dictionary` entries.
std::string Stream(const std::string& dictionary, const std::string& data)
{
    return "<< " + dictionary + "/Length " + std::to_string(data.size()) + " >>\nstream\n" + data + "\nendstream";
}

// Returns the file of `objects`, numbered from 1; object 1 is the catalog.
std::string PdfFile(const std::vector<std::string>& objects)
{
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

std::string Ref(std::size_t object)
{
    return std::to_string(object) + " 0 R";
}

}  // namespace

std::string PdfLabel(double width, double height, const std::vector<PdfRect>& rects)
{
    std::string content = "0 g\n";
    for (const PdfRect& r : rects)
        content +=
            Num(r.x) + " " + Num(height - r.top - r.height) + " " + Num(r.width) + " " + Num(r.height) + " re f\n";
    return PdfFile({
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + Num(width) + " " + Num(height) +
            "] /Contents 4 0 R /Resources << >> >>",
        "<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content + "endstream",
    });
}

std::string PdfBitmapPages(double width, double height, const std::vector<PdfBitmap>& pages)
{
    // Objects: 1 catalog, 2 page tree, then page, content and picture for
    // each page in turn.
    constexpr std::size_t kFirstPage = 3;
    constexpr std::size_t kPerPage = 3;
    std::vector<std::string> objects = {"<< /Type /Catalog /Pages 2 0 R >>", ""};
    std::string kids;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const std::size_t page = kFirstPage + i * kPerPage;
        kids += Ref(page) + " ";
        const PdfBitmap& b = pages[i];
        objects.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + Num(width) + " " + Num(height) +
                          "] /Contents " + Ref(page + 1) + " /Resources << /XObject << /Im0 " + Ref(page + 2) +
                          " >> >> >>");
        objects.push_back(Stream("", "q " + Num(width) + " 0 0 " + Num(height) + " 0 0 cm /Im0 Do Q"));
        // Decode [1 0]: a set bit is black, as in the bitmap.
        objects.push_back(Stream("/Type /XObject /Subtype /Image /Width " + std::to_string(b.width) + " /Height " +
                                     std::to_string(b.height) +
                                     " /ColorSpace /DeviceGray /BitsPerComponent 1 /Decode [1 0] ",
                                 b.rows));
    }
    objects[1] = "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages.size()) + " >>";
    return PdfFile(objects);
}

}  // namespace kvtool
