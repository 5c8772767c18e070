// Job settings read from the PPD file: the code texts of the chosen options,
// turned into numbers, and main keywords scanned straight from the PPD text.
#ifndef KV_FILTER_GETPPDSELFOPTION_H
#define KV_FILTER_GETPPDSELFOPTION_H

#include <cstdint>
#include <string>

#include <cups/ppd.h>

#include "ChoiceCodes.h"

// Returns the code text of the option's marked choice, or of its default
// choice when none is marked; null when an argument is null, the option is
// missing or its default choice does not exist. The text belongs to the PPD.
const char* GetOptionChoiceCode(const char* keyword, ppd_file_t* ppd);

// Returns the option's code read as a decimal integer ("3dpi" gives 3, "abc"
// gives 0, values beyond 32 bits are clamped); -1 when there is no code.
int32_t GetOptionChoiceIndex(const char* keyword, ppd_file_t* ppd);

// Returns the option's code read as a floating-point number, narrowed to
// single precision (beyond its range: infinity); -1.0 when there is no code.
float GetOptionChoiceIndexf(const char* keyword, ppd_file_t* ppd);

// The same two readings of the code that `codes` holds for the option.
int32_t GetOptionChoiceIndex(const char* keyword, const ChoiceCodes& codes);
float GetOptionChoiceIndexf(const char* keyword, const ChoiceCodes& codes);

// The readings themselves, of a code text (null: no code, -1).
int32_t ChoiceCodeIndex(const char* code);
float ChoiceCodeIndexf(const char* code);

// Returns 1 for space, tab, line feed, vertical tab, form feed and carriage
// return, 0 for every other value (whatever the locale says).
int _cups_isspace(int ch);

// Returns the value of the first line of the PPD file named by the "PPD"
// environment variable whose main keyword equals `keyword` (case-sensitive);
// null when the keyword is null or not found, the file cannot be opened, a
// "*%APLWORKSET START" line comes first, or the file breaks a syntax rule
// (see GetPpdKeywordLastError). The text lives in a process-wide pool that
// shares identical strings; the caller never frees it. The filter never
// changes the conformance, so the default relaxed mode is the one in use.
const char* GetPpdKeywordValue(const char* keyword, ppd_conform_t conformance = PPD_CONFORM_RELAXED);

// Returns the status of this thread's last GetPpdKeywordValue call (PPD_OK
// unless a syntax rule failed; ppd_status_t numbers, so ppdErrorString
// describes them) and stores in *line, when line is not null, the first
// physical line of the failing logical line (0 when nothing failed).
ppd_status_t GetPpdKeywordLastError(int* line);

// What one logical PPD line means to a keyword search.
enum class PpdLineKind {
    kSkip,   // no value for the keyword here: read on
    kMatch,  // the keyword's value: `value` holds it
    kStop,   // "*%APLWORKSET START": the search ends without a value
    kFail    // a syntax rule is broken: `status` holds which
};

// Outcome of parsing one logical line.
struct PpdLineResult {
    PpdLineKind kind = PpdLineKind::kSkip;
    ppd_status_t status = PPD_OK;
    std::string value;
};

// Parses one logical line (as the reader of GetPpdKeywordValue delivers it,
// without its final line feed) and returns whether it holds the value of
// main keyword `keyword`; a null keyword never matches.
PpdLineResult ParsePpdLine(const std::string& line, const char* keyword,
                           ppd_conform_t conformance = PPD_CONFORM_RELAXED);

// Returns a translation string with its <hex> runs decoded to bytes: two
// digits per byte in either case, other characters inside a run ignored, a
// lone last digit taken as the high half of a byte, the run ending at ">"
// or at the end of the text. A "<" not followed by a digit stays as it is.
std::string DecodePpdTranslation(const std::string& text);

#endif  // KV_FILTER_GETPPDSELFOPTION_H
