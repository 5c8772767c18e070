// Builds the suite's label PDFs with the tools a label designer uses: GNU
// barcode and qrencode draw the symbols as EPS, ghostscript turns the
// labels into a PDF (or into 300 dpi bitmaps that go into a PDF as
// pictures).
#include "LabelDesigns.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "CommandRunner.h"
#include "PdfLabel.h"
#include "TestFiles.h"

namespace kvread {
namespace {

constexpr double kPointsPerMm = 72.0 / 25.4;
// The picture resolution of shipping sites' labels.
constexpr int kImageDpi = 300;
// White space each side of a symbol that the symbology asks for, in
// narrow bars or modules.
constexpr double kCode128QuietZone = 10;
constexpr double kQrQuietZone = 4;
// How far a symbol may move from the middle of its label, at most.
constexpr double kMaxShiftMm = 2.0;
// Data lengths of the two symbologies.
constexpr int kCode128MinLength = 8;
constexpr int kCode128MaxLength = 14;
constexpr int kQrMinLength = 16;
constexpr int kQrMaxLength = 32;

// A symbol drawn as EPS at its final size, in points, without margins.
struct Symbol {
    std::string eps;
    double width = 0;
    double height = 0;
    std::string error;
};

// Returns a whole number from `lo` to `hi`, the same on every platform.
int Between(std::mt19937& random, int lo, int hi)
{
    return lo + static_cast<int>(random() % static_cast<unsigned>(hi - lo + 1));
}

// Returns a number from -`limit` to `limit` in steps of a thousandth.
double Shift(std::mt19937& random, double limit)
{
    constexpr int kSteps = 1000;
    return limit * Between(random, -kSteps, kSteps) / kSteps;
}

std::string Num(double v)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.4f", v);
    return buf;
}

// Returns the number of modules of a Code 128 symbol from GNU barcode's
// comment listing its bar and space widths ("% 0211214...").
int ModuleCount(const std::string& eps)
{
    std::istringstream in(eps);
    std::string line;
    while (std::getline(in, line)) {
        bool widths = line.size() > 20 && line.compare(0, 2, "% ") == 0 &&
                      line.find_first_not_of("0123456789", 2) == std::string::npos;
        if (!widths)
            continue;
        int modules = 0;
        for (std::size_t i = 2; i < line.size(); ++i)
            modules += line[i] - '0';
        return modules;
    }
    return 0;
}

// Draws a Code 128 symbol whose narrowest bar is `xPt` wide: GNU barcode
// scales a symbol to the width it is given, so the width is the module
// count (from a first drawing) times `xPt`.
Symbol Code128(const std::string& data, double xPt, double heightPt)
{
    Symbol s;
    kvtool::CommandResult first = kvtool::RunCommand({"barcode", "-E", "-e", "128", "-n", "-b", data});
    int modules = ModuleCount(first.out);
    if (first.status != 0 || modules == 0) {
        s.error = "barcode failed on \"" + data + "\": " + first.err;
        return s;
    }
    s.width = modules * xPt;
    s.height = heightPt;
    kvtool::CommandResult r = kvtool::RunCommand(
        {"barcode", "-E", "-e", "128", "-n", "-b", data, "-g", Num(s.width) + "x" + Num(heightPt) + "+0+0"});
    if (r.status != 0)
        s.error = "barcode failed on \"" + data + "\": " + r.err;
    s.eps = r.out;
    return s;
}

// Draws a QR code of `modulePt` modules: qrencode draws one point per
// module, which the label scales.
Symbol Qr(const std::string& data, double modulePt)
{
    Symbol s;
    kvtool::CommandResult r =
        kvtool::RunCommand({"qrencode", "-t", "EPS", "-s", "1", "-m", "0", "-l", "M", "-o", "-", data});
    int modules = 0;
    std::size_t box = r.out.find("%%BoundingBox: 0 0 ");
    if (r.status != 0 || box == std::string::npos ||
        std::sscanf(r.out.c_str() + box, "%%%%BoundingBox: 0 0 %d", &modules) != 1) {
        s.error = "qrencode failed on \"" + data + "\": " + r.err;
        return s;
    }
    s.width = s.height = modules * modulePt;
    s.eps = "gsave " + Num(modulePt) + " dup scale\n" + r.out + "\ngrestore\n";
    return s;
}

// Returns `eps` without its structuring comments, ready to sit inside a page.
std::string Body(const std::string& eps)
{
    std::istringstream in(eps);
    std::string line;
    std::string body;
    while (std::getline(in, line))
        if (line.compare(0, 2, "%%") != 0 && line.compare(0, 2, "%!") != 0)
            body += line + "\n";
    return body;
}

// Returns PostScript that strokes a thin frame 1 mm inside `page`'s edges.
std::string Frame(const LabelPage& page)
{
    const double inset = 1.0 * kPointsPerMm;
    return "gsave 0 setgray 0.5 setlinewidth " + Num(inset) + " " + Num(inset) + " " + Num(page.width - 2 * inset) +
           " " + Num(page.height - 2 * inset) + " rectstroke grestore\n";
}

// Returns the PostScript page of `symbol` placed near the middle of `page`,
// moved at random by up to kMaxShiftMm where its quiet zone `quietPt` allows.
std::string Page(const Symbol& symbol, const LabelPage& page, double quietPt, std::mt19937& random, int number,
                 bool framed)
{
    auto place = [&](double room, double size) {
        double slack = (room - size) / 2 - quietPt;
        double limit = std::max(0.0, std::min(kMaxShiftMm * kPointsPerMm, slack));
        return (room - size) / 2 + Shift(random, limit);
    };
    double x = place(page.width, symbol.width);
    double y = place(page.height, symbol.height);
    return "%%Page: " + std::to_string(number) + " " + std::to_string(number) + "\n" + (framed ? Frame(page) : "") +
           "save " + Num(x) + " " + Num(y) + " translate\n" + Body(symbol.eps) + "restore showpage\n";
}

// Reads a binary PBM file (as ghostscript writes it) into a PDF picture.
bool ReadPbm(const std::string& path, kvtool::PdfBitmap& bitmap)
{
    std::string data = kvtest::ReadFile(path);
    std::istringstream in(data);
    std::string magic;
    in >> magic;
    // Comment lines ("# Image generated by ...") may sit before the size.
    while (in >> std::ws && in.peek() == '#')
        in.ignore(data.size(), '\n');
    in >> bitmap.width >> bitmap.height;
    if (!in || magic != "P4")
        return false;
    std::size_t start = static_cast<std::size_t>(in.tellg()) + 1;  // one white-space byte
    std::size_t size = static_cast<std::size_t>((bitmap.width + 7) / 8) * bitmap.height;
    if (data.size() < start + size)
        return false;
    bitmap.rows = data.substr(start, size);
    return true;
}

// Runs ghostscript on the PostScript file `ps` with `args` before it.
kvtool::CommandResult Ghostscript(std::vector<std::string> args, const std::string& ps)
{
    std::vector<std::string> argv = {"gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE"};
    argv.insert(argv.end(), args.begin(), args.end());
    argv.push_back(ps);
    return kvtool::RunCommand(argv);
}

// Turns the PostScript labels `ps` into the PDF `pdf` of `embedding`;
// returns an error message or "".
std::string WritePdf(const std::string& ps, const std::string& pdf, Embedding embedding, const LabelPage& page,
                     int pages, const std::string& dir)
{
    if (embedding == Embedding::kVector) {
        kvtool::CommandResult r = Ghostscript({"-sDEVICE=pdfwrite", "-o", pdf}, ps);
        return r.status == 0 ? "" : "ghostscript could not write the PDF: " + r.err;
    }
    kvtool::CommandResult r =
        Ghostscript({"-sDEVICE=pbmraw", "-r" + std::to_string(kImageDpi), "-o", dir + "/page-%03d.pbm"}, ps);
    if (r.status != 0)
        return "ghostscript could not draw the bitmaps: " + r.err;
    std::vector<kvtool::PdfBitmap> bitmaps(pages);
    for (int i = 0; i < pages; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "/page-%03d.pbm", i + 1);
        if (!ReadPbm(dir + name, bitmaps[i]))
            return std::string("unreadable bitmap ") + name;
    }
    kvtest::WriteFile(pdf, kvtool::PdfBitmapPages(page.width, page.height, bitmaps));
    return "";
}

}  // namespace

std::string RandomData(std::mt19937& random, int length)
{
    static const char kAlphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::string data;
    for (int i = 0; i < length; ++i)
        data += kAlphabet[Between(random, 0, static_cast<int>(sizeof kAlphabet) - 2)];
    return data;
}

LabelSet MakeLabels(const SymbolDesign& design, const LabelPage& page, int count, std::mt19937& random,
                    const std::string& dir)
{
    LabelSet set;
    const bool qr = design.symbology == Symbology::kQr;
    const double xPt = design.xMm * kPointsPerMm;
    const double quietPt = (qr ? kQrQuietZone : kCode128QuietZone) * xPt;
    std::string ps = "%!PS-Adobe-3.0\n%%Pages: " + std::to_string(count) + "\n<</PageSize[" + Num(page.width) + " " +
                     Num(page.height) + "]>>setpagedevice\n";
    for (int i = 0; i < count; ++i) {
        std::string data = qr ? RandomData(random, Between(random, kQrMinLength, kQrMaxLength))
                              : RandomData(random, Between(random, kCode128MinLength, kCode128MaxLength));
        Symbol symbol = qr ? Qr(data, xPt) : Code128(data, xPt, design.heightMm * kPointsPerMm);
        if (!symbol.error.empty()) {
            set.error = symbol.error;
            return set;
        }
        ps += Page(symbol, page, quietPt, random, i + 1, design.framed);
        set.data.push_back(data);
    }
    const std::string psPath = dir + "/labels.ps";
    kvtest::WriteFile(psPath, ps);
    set.pdf = dir + "/labels.pdf";
    set.error = WritePdf(psPath, set.pdf, design.embedding, page, count, dir);
    return set;
}

}  // namespace kvread
