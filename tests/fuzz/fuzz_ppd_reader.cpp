// libFuzzer harness: the filter's PPD access on a fuzzed PPD text. libcups
// opens the text and every option the job configuration reads is looked up
// (choice code, integer and floating-point number, then the whole
// configuration build); the keyword reader scans the same file for
// *OutputDPI and a few other main keywords, in both conformance modes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <cups/ppd.h>

#include "GetPpdSelfOption.h"
#include "InitalizeOemCfg.h"
#include "PpdWriter.h"
#include "TempDir.h"
#include "TestFiles.h"

namespace {

// The options InitalizeOemCfg and the job loop read, by their PPD keywords.
const std::vector<std::string> kConfigurationOptions = kvtest::FilterOptionKeywords();

// Main keywords for the line reader: the one the filter reads, one every
// PPD has, and one that stands in an option's own lines.
const char* const kKeywords[] = {"OutputDPI", "PPD-Adobe", "DefaultDensity"};

// The temporary PPD file, rewritten for each input.
struct Harness {
    kvtest::TempDir dir;
    std::string ppdPath = dir.File("fuzz.ppd");
};

Harness& State()
{
    static Harness harness;
    return harness;
}

// Reads every configuration option of an opened PPD, with its defaults marked.
void ReadOptions(ppd_file_t* ppd)
{
    ppdMarkDefaults(ppd);
    for (const std::string& keyword : kConfigurationOptions) {
        GetOptionChoiceCode(keyword.c_str(), ppd);
        GetOptionChoiceIndex(keyword.c_str(), ppd);
        GetOptionChoiceIndexf(keyword.c_str(), ppd);
    }
    cups_page_header2_t header;
    memset(&header, 0, sizeof(header));
    tagOEMCFG cfg;
    InitalizeOemCfg(&cfg, ppd, &header);
}

// Scans the PPD file for each keyword in both conformance modes.
void ReadKeywords()
{
    for (const char* keyword : kKeywords) {
        GetPpdKeywordValue(keyword, PPD_CONFORM_RELAXED);
        GetPpdKeywordValue(keyword, PPD_CONFORM_STRICT);
        int line = 0;
        GetPpdKeywordLastError(&line);
    }
}

}  // namespace

// libcups's PPD parser loses a few copied strings on some malformed files,
// even after ppdClose; that is not this project's to fix. The harness closes every PPD it opens, so
// leaks from inside the parser are all libcups's own.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:_ppdOpen\n";
}

// Without the table of suppressions used after every input's leak check.
extern "C" const char* __lsan_default_options()
{
    return "print_suppressions=0";
}

// Points the PPD variable at the harness's file, as the spooler would.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setenv("PPD", State().ppdPath.c_str(), 1);
    return 0;
}

// Runs the option and keyword reads on one PPD text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvtest::WriteFile(State().ppdPath, std::string(reinterpret_cast<const char*>(data), size));
    if (ppd_file_t* ppd = ppdOpenFile(State().ppdPath.c_str())) {
        ReadOptions(ppd);
        ppdClose(ppd);
    }
    ReadKeywords();
    return 0;
}
