// How a test asks the printer application for one PPD choice over IPP:
// the attributes (or the printer setting) that stand for "-o Keyword=Choice"
// of the filter. The tests compare what the application prints for these
// with what the filter prints for the PPD choice.
#ifndef KV_TESTS_PRINTER_APP_IPPFORM_H
#define KV_TESTS_PRINTER_APP_IPPFORM_H

#include <string>
#include <vector>

#include "IppOptions.h"
#include "OptionTable.h"

namespace kvapptest {

// One IPP setting: a job attribute of a syntax ("keyword", "integer"), a
// media-col member ("media-col"), or a printer setting ("printer").
struct IppSetting {
    std::string name;
    std::string value;
    std::string syntax;
};

// The settings that choose `choiceName` of PPD option `keyword`; empty when
// the choice is what the application does when nothing is said (the
// printer's own darkness and speed).
std::vector<IppSetting> IppFormOf(const kvppd::PpdModel& model, const std::string& keyword,
                                  const std::string& choiceName);

// `settings` as the application's mapping gets them from PAPPL.
kvapp::JobChoices ChoicesOf(const std::vector<IppSetting>& settings);

// `settings` as ipptool ATTR lines of a job (printer settings left out).
std::string IpptoolAttributes(const std::vector<IppSetting>& settings);

}  // namespace kvapptest

#endif
