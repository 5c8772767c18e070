// Where the print configuration's initialisers find each option's choice
// code. The filter reads the codes of the choices marked in the job's PPD
// and the printer's resolution from the PPD text; the printer application
// has no PPD and hands over the codes of the choices its job asked for (or
// its printer's defaults), taken from the same option table the PPDs are
// written from. Either way every initialiser reads the same code text and
// turns it into the same number.
#ifndef KV_FILTER_CHOICECODES_H
#define KV_FILTER_CHOICECODES_H

#include <strings.h>

#include <cstdint>
#include <map>
#include <string>

#include <cups/ppd.h>

// Option keywords compare without regard to case, as the PPD reader
// matches them ("Interval" finds the PPD's "interval").
struct KeywordLess {
    bool operator()(const std::string& a, const std::string& b) const { return strcasecmp(a.c_str(), b.c_str()) < 0; }
};

// Option keyword -> code text of the chosen choice.
using ChoiceCodeMap = std::map<std::string, std::string, KeywordLess>;

class ChoiceCodes {
public:
    // The codes of the choices marked in `ppd` (or the PPD's defaults), and
    // the resolution of the PPD named by the "PPD" environment variable.
    // Implicit, so the initialisers take the filter's PPD handle as before.
    ChoiceCodes(ppd_file_t* ppd);  // NOLINT(google-explicit-constructor)
    // The codes of `codes` (which must outlive this object) and the
    // printer's resolution `outputDpi`.
    ChoiceCodes(const ChoiceCodeMap& codes, int16_t outputDpi);

    // False for a null PPD: there is nothing to read.
    bool Valid() const { return m_ppd != nullptr || m_codes != nullptr; }
    // The code text of the option's chosen choice; null when the option is
    // not there (or `keyword` is null).
    const char* Code(const char* keyword) const;
    // The printer's resolution as the job records hold it; 0 when unknown.
    int16_t OutputDpi() const;
    // The PPD read, or null.
    ppd_file_t* Ppd() const { return m_ppd; }

private:
    ppd_file_t* m_ppd = nullptr;
    const ChoiceCodeMap* m_codes = nullptr;
    int16_t m_outputDpi = 0;
};

#endif
