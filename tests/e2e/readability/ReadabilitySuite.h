// The barcode readability suite: how many labels of each symbol size scan
// after printing, for every raster resolution the shipped PPDs offer and
// for CUPS's sample EPL2 driver; and what each print mode makes of a label
// whose content is much wider than tall.
#ifndef KV_TESTS_E2E_READABILITY_READABILITYSUITE_H
#define KV_TESTS_E2E_READABILITY_READABILITYSUITE_H

#include <cstdint>
#include <string>
#include <vector>

#include "LabelDesigns.h"
#include "PrintChain.h"

namespace kvread {

// The suite's fixed choices: 4 x 2 inch labels, twelve labels per cell
// (each at its own random place, so that the counts show how often a size
// scans rather than whether one place between the dots happens to suit it).
constexpr int kLabelsPerCell = 12;
constexpr std::uint32_t kSeed = 20261124;

// One row of the table: a symbol design and, per column, the labels read.
struct SuiteRow {
    SymbolDesign design;
    std::vector<int> read;
};

struct SuiteResult {
    std::vector<PrintSetup> columns;
    std::vector<SuiteRow> rows;
    int labelsPerCell = 0;
    std::string error;  // empty when every label was made and printed
};

// One way of printing the thin labels: alone or framed, in a print mode.
struct ThinResult {
    std::string label;      // what the label holds
    std::string printMode;  // the "PrintMode" choice
    int read = 0;
    int upright = 0;  // labels printed without slant
    int labels = 0;
};

struct ThinSuiteResult {
    std::vector<ThinResult> variants;
    std::string error;
};

// The rows of the table: Code 128 from 0.15 to 0.40 mm (among them 0.25 and
// 0.375 mm, two and three dots at 203 dpi) and QR codes of 0.25 to 0.5 mm
// modules, each drawn as vector and as 300 dpi picture.
std::vector<SymbolDesign> SuiteDesigns();

// The columns of the table: each raster resolution of the shipped 4 inch
// models, and CUPS's sample EPL2 driver (its PPD compiled into `dir`).
std::vector<PrintSetup> SuiteColumns(const std::string& dir, std::string& error);

// Index of the column headed `heading`; the column count when none is.
std::size_t ColumnOf(const SuiteResult& result, const std::string& heading);

// Prints every row through every column.
SuiteResult RunSuite(int labelsPerCell = kLabelsPerCell, std::uint32_t seed = kSeed);

// Prints thin labels (a Code 128 symbol of 0.4 mm bars, 5 mm high and far
// wider) with the 203 dpi model's defaults: alone in each print mode, and
// with a frame round the label in the default print mode.
ThinSuiteResult RunThinSuite(int labels = kLabelsPerCell, std::uint32_t seed = kSeed);

// The tables as Markdown, each row with its read counts "n/total" and a
// last row of totals.
std::string SuiteTable(const SuiteResult& result);
std::string ThinTable(const ThinSuiteResult& result);

// Total of labels read in column `column`, over the rows that `keep` keeps
// (rows that an error cut short count what they read).
template <typename Keep>
int ReadInColumn(const SuiteResult& result, std::size_t column, Keep keep)
{
    int total = 0;
    for (const SuiteRow& row : result.rows)
        if (column < row.read.size() && keep(row.design))
            total += row.read[column];
    return total;
}

}  // namespace kvread

#endif
