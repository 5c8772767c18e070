// kv-barcode-table: runs the barcode readability suite and prints its two
// tables (symbol sizes by print chain, and thin labels by print mode) as
// Markdown, the form the README quotes them in.
//
// Usage: kv-barcode-table [LABELS-PER-CELL [SEED]]
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ReadabilitySuite.h"

int main(int argc, char** argv)
{
    int labels = argc > 1 ? std::atoi(argv[1]) : kvread::kLabelsPerCell;
    auto seed = argc > 2 ? static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10)) : kvread::kSeed;
    if (argc > 3 || labels < 1) {
        std::fprintf(stderr, "usage: kv-barcode-table [LABELS-PER-CELL [SEED]]\n");
        return 2;
    }
    kvread::SuiteResult suite = kvread::RunSuite(labels, seed);
    std::printf("%s", kvread::SuiteTable(suite).c_str());
    kvread::ThinSuiteResult thin = kvread::RunThinSuite(labels, seed);
    std::printf("\n%s", kvread::ThinTable(thin).c_str());
    for (const std::string& error : {suite.error, thin.error})
        if (!error.empty())
            std::fprintf(stderr, "kv-barcode-table: %s\n", error.c_str());
    return suite.error.empty() && thin.error.empty() ? 0 : 1;
}
