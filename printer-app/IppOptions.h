// The driver's options as the printer application offers them over IPP,
// and the choice codes a job's IPP attributes select. Every option of the
// PPDs' option table (tools/ppdgen/OptionTable.h) is reachable: the ones
// IPP has a standard attribute for through that attribute (media-type,
// label-mode, print-darkness, print-speed), every other one as a vendor
// attribute whose keywords are the PPD choice names in IPP spelling. The
// codes are the table's, so a choice prints the same label whether the job
// comes through the spooler and the PPD or through this application.
#ifndef KV_PRINTER_APP_IPPOPTIONS_H
#define KV_PRINTER_APP_IPPOPTIONS_H

#include <string>
#include <utility>
#include <vector>

#include "ChoiceCodes.h"
#include "OptionTable.h"

namespace kvapp {

// A vendor attribute: the IPP name ("halftone") of a PPD option
// ("Halftone"), with its keywords in the table's order of choices.
struct VendorAttribute {
    std::string ippName;
    std::string ppdKeyword;
    std::vector<std::string> keywords;  // one per choice
    std::string defaultKeyword;
};

// The vendor attributes of `model`, in the table's order, plus
// "tear-off-back-feed", which picks between the two tear-off choices of
// "Mode" (label-mode tear-off): "on" (default) and "off".
std::vector<VendorAttribute> VendorAttributes(const kvppd::PpdModel& model);

// The IPP keyword of a PPD choice name: lower case, a leading "+" as
// "plus", a leading "-" as "minus" ("+0.5mm" -> "plus0.5mm").
std::string IppKeyword(const std::string& choiceName);

// media-type keywords and the "MediaType" choices they stand for.
constexpr const char* kMediaTypeGap = "labels";
constexpr const char* kMediaTypeBlackMark = "labels-black-mark";
constexpr const char* kMediaTypeContinuous = "continuous";

// print-speed of one EPL speed level: inches per second in hundredths of
// a millimetre per second, as IPP counts speed.
constexpr int kSpeedUnitsPerLevel = 2540;
// print-darkness is relative to printer-darkness-configured (0..100); EPL
// has 16 levels.
constexpr int kDarknessLevels = 16;
constexpr int kDarknessConfiguredDefault = 50;

// What a job (with its printer's defaults) asks for, as PAPPL hands it.
struct JobChoices {
    std::string mediaType;                                // media-col's media-type
    std::string labelMode;                                // label-mode-configured: "tear-off", "peel-off" or "cutter"
    bool darknessGiven = false;                           // print-darkness in the job, or a non-zero default
    int printDarkness = 0;                                // -100..100
    int darknessConfigured = kDarknessConfiguredDefault;  // 0..100
    int printSpeed = 0;                                   // 0: the printer's own setting
    std::vector<std::pair<std::string, std::string>> vendor;  // vendor attribute -> keyword
};

// The choice codes of `job` on `model`: every option's default choice,
// overlaid with what the job asks for. Values that name no choice keep the
// default and are listed in `ignored`, when given, as "name=value".
ChoiceCodeMap CodesForJob(const kvppd::PpdModel& model, const JobChoices& job,
                          std::vector<std::string>* ignored = nullptr);

// The darkness level (0..15) of an effective darkness of 0..100 and back:
// the print-darkness that gives `level` with printer-darkness-configured
// `configured`.
int DarknessLevel(int configured, int printDarkness);
int PrintDarknessForLevel(int level, int configured);

}  // namespace kvapp

#endif
