// Writes small PPD files for tests: the header libcups requires, PickOne
// options whose choices carry their numbers in the choice code, and free
// main keywords such as "OutputDPI".
#ifndef KV_TESTS_PPDWRITER_H
#define KV_TESTS_PPDWRITER_H

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kvtest {

struct PpdChoice {
    std::string name;
    std::string code;
};

struct PpdOption {
    std::string keyword;
    std::string defaultChoice;
    std::vector<PpdChoice> choices;
};

class PpdWriter {
public:
    // An option whose choices are named and coded by the given codes
    // ("0" -> choice "0" with code "0"); the first is the default.
    PpdWriter& Option(const std::string& keyword, const std::vector<std::string>& codes);
    // An option with one choice whose code is `code`, which is the default.
    PpdWriter& OptionCode(const std::string& keyword, const std::string& code);
    // An option with explicit choices and default.
    PpdWriter& OptionChoices(PpdOption option);
    // A main keyword line: *keyword: "value" (quoted unless `quoted` false).
    PpdWriter& Keyword(const std::string& keyword, const std::string& value, bool quoted = true);
    // Text appended verbatim after everything else.
    PpdWriter& Raw(const std::string& text);

    std::string Text() const;
    // Writes the text to `path`; returns the path.
    std::string WriteTo(const std::string& path) const;

private:
    std::vector<PpdOption> m_options;
    std::vector<std::string> m_lines;
    std::string m_raw;
};

// The choice codes of a complete label PPD: every option the filter's
// configuration reads, with everyday values (203 dpi, 104 mm wide, fixed
// threshold, no log).
std::map<std::string, std::string> LabelPpdCodes();

// Every option keyword the filter's configuration reads, with "DriverLog":
// the options of LabelPpdCodes(), without the main keyword "OutputDPI".
std::vector<std::string> FilterOptionKeywords();

// A PPD holding `codes` as one-choice options (an empty code text keeps the
// option with an empty code; the key "OutputDPI" becomes the main keyword).
PpdWriter LabelPpd(const std::map<std::string, std::string>& codes = LabelPpdCodes());

// LabelPpdCodes() with the given codes replaced or added.
std::map<std::string, std::string> WithCodes(std::map<std::string, std::string> overrides);

// LabelPpdCodes() without the given options.
std::map<std::string, std::string> WithoutOptions(const std::vector<std::string>& keywords);

}  // namespace kvtest

#endif
