// Prints a label PDF the way a user's print queue does and reads the
// printed labels back: the spooler's rasterizer (cupsfilter) with a PPD and
// its choices, then the built filter or CUPS's own EPL2 driver, then eplview
// to turn the EPL2 stream into label images, and zbarimg to scan them.
#ifndef KV_TESTS_E2E_READABILITY_PRINTCHAIN_H
#define KV_TESTS_E2E_READABILITY_PRINTCHAIN_H

#include <string>
#include <vector>

namespace kvread {

enum class Driver {
    kThisFilter,    // rastertokivcp as built
    kSampleDriver,  // CUPS's rastertolabel with its sample EPL2 PPD
};

// One way of printing: a driver, its PPD and the job's choices.
struct PrintSetup {
    std::string heading;  // the name of its column in the tables
    Driver driver;
    std::string ppd;                   // path of the PPD
    std::vector<std::string> options;  // "keyword=choice", as given to lp -o
};

// The labels of one printed job.
struct PrintedJob {
    std::string epl;                  // the printer's input
    std::vector<std::string> images;  // label images (PNG), in print order
    std::string error;                // empty when every step succeeded
};

// Prints `pdf` with `setup`, keeping the intermediate files in `dir`.
PrintedJob PrintPdf(const PrintSetup& setup, const std::string& pdf, const std::string& dir);

// Returns the Code 128 or QR data zbarimg reads on the image `png`; empty
// when it finds no symbol, every symbol's data on its own line when it
// finds several.
std::string ScanImage(const std::string& png);

// Compiles CUPS's sample driver file into `dir` and returns the path of
// its EPL2 label printer's PPD; empty (with `error` set) when there is none.
std::string SampleEpl2Ppd(const std::string& dir, std::string& error);

// Paths of the PPDs this project ships, by file name.
std::string ShippedPpd(const std::string& fileName);

}  // namespace kvread

#endif
