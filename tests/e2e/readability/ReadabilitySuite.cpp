// Runs the readability suite: makes each row's labels once, prints them
// through every column's chain and counts the labels whose scan gives back
// exactly their data.
#include "ReadabilitySuite.h"

#include <sys/stat.h>

#include <cstdio>
#include <random>

#include "PngFile.h"
#include "TempDir.h"
#include "TestFiles.h"

namespace kvread {
namespace {

constexpr LabelPage kPage{288, 144};  // 4 x 2 inches
// The page size of kPage in the shipped PPDs and in the sample PPD.
const std::string kShippedSize = "PageSize=2x4Rotated.Fullbleed";
const std::string kSampleSize = "PageSize=w288h144";
constexpr double kCode128HeightMm = 15;
// The thin labels' symbol: wide bars, 5 mm high.
constexpr double kThinXMm = 0.4;
constexpr double kThinHeightMm = 5;

const std::string kLowPpd = "kivcp-epl2-203dpi-4in.ppd";
const std::string kHighPpd = "kivcp-epl2-300dpi-4in.ppd";

std::string Format(const char* format, double v)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, format, v);
    return buf;
}

// Returns a new folder `name` inside `parent`.
std::string SubFolder(const std::string& parent, const std::string& name)
{
    std::string path = parent + "/" + name;
    mkdir(path.c_str(), 0700);
    return path;
}

// A column of one of the shipped models at one raster resolution.
PrintSetup ShippedColumn(const std::string& heading, const std::string& ppd, int dpi)
{
    return {heading, Driver::kThisFilter, ShippedPpd(ppd), {kShippedSize, "Resolution=" + std::to_string(dpi) + "dpi"}};
}

// Counts the labels of `job` whose scan gives exactly `data`.
int CountRead(const PrintedJob& job, const std::vector<std::string>& data)
{
    int read = 0;
    for (std::size_t i = 0; i < job.images.size() && i < data.size(); ++i)
        read += ScanImage(job.images[i]) == data[i];
    return read;
}

// True when the label image `png` shows no slant: the rows at a quarter
// and at three quarters of its black extent are the same (an upright bar
// code or frame has the same dots in every row of that band; a slanted one
// is shifted by a byte or more from row to row).
bool Upright(const std::string& png)
{
    kvtool::PngImage image = kvtool::DecodeStoredPng(kvtest::ReadFile(png));
    long top = -1;
    long bottom = -1;
    for (std::uint32_t y = 0; y < image.height; ++y)
        if (image.BlackIn(0, y, image.width, y + 1) > 0) {
            top = top < 0 ? y : top;
            bottom = y;
        }
    if (top < 0)
        return false;
    const long quarter = top + (bottom - top) / 4;
    const long threeQuarters = top + 3 * (bottom - top) / 4;
    return image.rows[quarter] == image.rows[threeQuarters];
}

std::string RowName(const SymbolDesign& d)
{
    std::string symbol = d.symbology == Symbology::kQr ? "QR" : "Code 128";
    std::string drawn = d.embedding == Embedding::kVector ? "vector" : "300 dpi image";
    return "| " + symbol + " | " + Format("%.3g mm", d.xMm) + " | " + drawn + " |";
}

}  // namespace

std::vector<SymbolDesign> SuiteDesigns()
{
    std::vector<SymbolDesign> designs;
    for (Embedding e : {Embedding::kVector, Embedding::kImage300}) {
        for (double x : {0.15, 0.176, 0.212, 0.25, 0.3, 0.353, 0.375, 0.4})
            designs.push_back({Symbology::kCode128, x, kCode128HeightMm, e});
        for (double x : {0.25, 0.3, 0.375, 0.5})
            designs.push_back({Symbology::kQr, x, 0, e});
    }
    return designs;
}

std::vector<PrintSetup> SuiteColumns(const std::string& dir, std::string& error)
{
    std::vector<PrintSetup> columns = {
        ShippedColumn("203 dpi", kLowPpd, 203),
        ShippedColumn("406 dpi", kLowPpd, 406),
        ShippedColumn("609 dpi", kLowPpd, 609),
        {"CUPS sample EPL2", Driver::kSampleDriver, SampleEpl2Ppd(dir, error), {kSampleSize}},
        ShippedColumn("300 dpi model at 300", kHighPpd, 300),
        ShippedColumn("300 dpi model at 600", kHighPpd, 600),
    };
    return columns;
}

std::size_t ColumnOf(const SuiteResult& result, const std::string& heading)
{
    for (std::size_t i = 0; i < result.columns.size(); ++i)
        if (result.columns[i].heading == heading)
            return i;
    return result.columns.size();
}

SuiteResult RunSuite(int labelsPerCell, std::uint32_t seed)
{
    SuiteResult result;
    result.labelsPerCell = labelsPerCell;
    kvtest::TempDir dir;
    result.columns = SuiteColumns(SubFolder(dir.Path(), "sample"), result.error);
    std::vector<SymbolDesign> designs = SuiteDesigns();
    for (std::size_t r = 0; r < designs.size() && result.error.empty(); ++r) {
        // Each row draws from its own sequence, so rows can be added or
        // left out without changing the others' labels.
        std::mt19937 random(seed + static_cast<std::uint32_t>(r));
        std::string rowDir = SubFolder(dir.Path(), "row" + std::to_string(r));
        LabelSet labels = MakeLabels(designs[r], kPage, labelsPerCell, random, rowDir);
        result.error = labels.error;
        SuiteRow row{designs[r], {}};
        for (std::size_t c = 0; c < result.columns.size() && result.error.empty(); ++c) {
            PrintedJob job = PrintPdf(result.columns[c], labels.pdf, SubFolder(rowDir, "col" + std::to_string(c)));
            result.error = job.error;
            row.read.push_back(CountRead(job, labels.data));
        }
        result.rows.push_back(row);
    }
    return result;
}

ThinSuiteResult RunThinSuite(int labels, std::uint32_t seed)
{
    struct Variant {
        std::string label;
        bool framed;
        std::string printMode;
    };
    const Variant variants[] = {
        {"symbol alone", false, "Off"},
        {"symbol alone", false, "CropToContent"},
        {"symbol and a frame round the label", true, "Off"},
    };
    ThinSuiteResult result;
    kvtest::TempDir dir;
    int n = 0;
    for (const Variant& v : variants) {
        // The same data and places for every variant.
        std::mt19937 random(seed);
        std::string variantDir = SubFolder(dir.Path(), "variant" + std::to_string(n++));
        LabelSet set = MakeLabels({Symbology::kCode128, kThinXMm, kThinHeightMm, Embedding::kVector, v.framed}, kPage,
                                  labels, random, variantDir);
        result.error = set.error;
        if (!result.error.empty())
            break;
        PrintSetup setup{
            v.printMode, Driver::kThisFilter, ShippedPpd(kLowPpd), {kShippedSize, "PrintMode=" + v.printMode}};
        PrintedJob job = PrintPdf(setup, set.pdf, variantDir);
        result.error = job.error;
        ThinResult thin{v.label, v.printMode, CountRead(job, set.data), 0, labels};
        for (const std::string& image : job.images)
            thin.upright += Upright(image);
        result.variants.push_back(thin);
    }
    return result;
}

std::string SuiteTable(const SuiteResult& result)
{
    std::string table = "| symbol | X | drawn as |";
    std::string rule = "|---|---|---|";
    for (const PrintSetup& c : result.columns) {
        table += " " + c.heading + " |";
        rule += "---|";
    }
    table += "\n" + rule + "\n";
    const std::string total = "/" + std::to_string(result.labelsPerCell);
    for (const SuiteRow& row : result.rows) {
        table += RowName(row.design);
        for (int read : row.read)
            table += " " + std::to_string(read) + total + " |";
        table += "\n";
    }
    const std::string all = "/" + std::to_string(result.labelsPerCell * static_cast<int>(result.rows.size()));
    table += "| all | | |";
    for (std::size_t c = 0; c < result.columns.size(); ++c)
        table += " " + std::to_string(ReadInColumn(result, c, [](const SymbolDesign&) { return true; })) + all + " |";
    return table + "\n";
}

std::string ThinTable(const ThinSuiteResult& result)
{
    std::string table = "| label | print mode | printed upright | labels read |\n|---|---|---|---|\n";
    for (const ThinResult& v : result.variants) {
        const std::string total = "/" + std::to_string(v.labels);
        table += "| " + v.label + " | " + v.printMode + " | " + std::to_string(v.upright) + total + " | " +
                 std::to_string(v.read) + total + " |\n";
    }
    return table;
}

}  // namespace kvread
