// From a job's IPP attributes to the choice codes of the option table.
#include "IppOptions.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace kvapp {
namespace {

// The options IPP has no standard attribute for, with their IPP names.
// Some names differ from the PPD keyword on purpose: "label-brightness",
// "label-contrast" and "mirror-image" because the spooler's own filters
// act on options called "brightness", "contrast" and "mirror", and a job
// that passes through a spooler queue on its way here would be adjusted
// twice.
struct VendorName {
    const char* ppdKeyword;
    const char* ippName;
};
constexpr VendorName kVendorNames[] = {
    {"PrintMethod", "print-method"},
    {"Halftone", "halftone"},
    {"GAPHeight", "gap-height"},
    {"GAPOffset", "gap-offset"},
    {"StartOffsetValue", "start-offset"},
    {"EndOffsetValue", "end-offset"},
    {"PrintMode", "print-mode"},
    {"SavePaper", "save-paper"},
    {"FixedHeight", "fixed-height"},
    {"MaxOutputWidth", "max-output-width"},
    {"CutMethod", "cut-method"},
    {"interval", "cut-interval"},
    {"Feed", "cut-position"},
    {"horizontalOffset", "horizontal-shift-direction"},
    {"HorizontalOffsetValue", "horizontal-shift"},
    {"verticalOffset", "vertical-shift-direction"},
    {"VerticalOffsetValue", "vertical-shift"},
    {"Rotation", "rotation"},
    {"AutoRotate", "auto-rotate"},
    {"Mirror", "mirror-image"},
    {"Brightness", "label-brightness"},
    {"Contrast", "label-contrast"},
    {"Levels", "levels"},
    {"NegativeFilm", "negative-image"},
    {"IsToDashed", "dashed-lines"},
    {"MinLength", "dashed-min-length"},
    {"IntervalBlack", "dash-length"},
    {"IntervalWhite", "dash-gap"},
    {"DriverLog", "driver-log"},
};

constexpr const char* kBackFeed = "tear-off-back-feed";
constexpr const char* kPrinterDefault = "PrinterDefault";
constexpr int kMaxDarkness = 100;
constexpr int kMaxSpeedLevel = 6;

// Sets `keyword` to the code of its choice `choiceName`; false when the
// table has no such option or choice.
bool SetChoice(ChoiceCodeMap& codes, const std::vector<kvppd::OptionGroup>& table, const std::string& keyword,
               const std::string& choiceName)
{
    const kvppd::DriverOption* option = kvppd::FindDriverOption(table, keyword);
    const kvppd::OptionChoice* choice = option ? option->Find(choiceName) : nullptr;
    if (!choice)
        return false;
    codes[option->keyword] = choice->code;
    return true;
}

// The "Mode" choice of a label mode and the back-feed switch.
std::string ModeChoice(const std::string& labelMode, bool backFeed)
{
    if (labelMode == "peel-off")
        return "PeelOff";
    if (labelMode == "cutter")
        return "Cutter";
    return backFeed ? "TearOff" : "TearOffNoBackfeed";
}

// The "MediaType" choice of a media-type keyword; empty for others.
std::string MediaTypeChoice(const std::string& mediaType)
{
    if (mediaType == kMediaTypeGap)
        return "Gap";
    if (mediaType == kMediaTypeBlackMark)
        return "BlackMark";
    if (mediaType == kMediaTypeContinuous)
        return "Continuous";
    return "";
}

}  // namespace

std::string IppKeyword(const std::string& choiceName)
{
    std::string out;
    size_t start = 0;
    if (!choiceName.empty() && choiceName[0] == '+') {
        out = "plus";
        start = 1;
    } else if (!choiceName.empty() && choiceName[0] == '-') {
        out = "minus";
        start = 1;
    }
    for (size_t i = start; i < choiceName.size(); ++i)
        out += static_cast<char>(std::tolower(static_cast<unsigned char>(choiceName[i])));
    return out;
}

std::vector<VendorAttribute> VendorAttributes(const kvppd::PpdModel& model)
{
    const std::vector<kvppd::OptionGroup> table = kvppd::DriverOptions(model);
    std::vector<VendorAttribute> out;
    for (const VendorName& v : kVendorNames) {
        const kvppd::DriverOption* option = kvppd::FindDriverOption(table, v.ppdKeyword);
        if (!option)
            continue;
        VendorAttribute a{v.ippName, option->keyword, {}, IppKeyword(option->defaultChoice)};
        for (const kvppd::OptionChoice& c : option->choices)
            a.keywords.push_back(IppKeyword(c.name));
        out.push_back(a);
    }
    out.push_back({kBackFeed, "Mode", {"on", "off"}, "on"});
    return out;
}

int DarknessLevel(int configured, int printDarkness)
{
    const int effective = std::clamp(configured + printDarkness, 0, kMaxDarkness);
    return (effective * (kDarknessLevels - 1) + kMaxDarkness / 2) / kMaxDarkness;
}

int PrintDarknessForLevel(int level, int configured)
{
    const int effective = (level * kMaxDarkness + (kDarknessLevels - 1) / 2) / (kDarknessLevels - 1);
    return effective - configured;
}

ChoiceCodeMap CodesForJob(const kvppd::PpdModel& model, const JobChoices& job, std::vector<std::string>* ignored)
{
    const std::vector<kvppd::OptionGroup> table = kvppd::DriverOptions(model);
    ChoiceCodeMap codes;
    for (const kvppd::OptionGroup& g : table)
        for (const kvppd::DriverOption& o : g.options)
            if (const kvppd::OptionChoice* c = o.Default())
                codes[o.keyword] = c->code;
    auto ignore = [&](const std::string& name, const std::string& value) {
        if (ignored)
            ignored->push_back(name + "=" + value);
    };

    const std::string mediaChoice = MediaTypeChoice(job.mediaType);
    if (!mediaChoice.empty())
        SetChoice(codes, table, "MediaType", mediaChoice);
    else if (!job.mediaType.empty())
        ignore("media-type", job.mediaType);

    if (job.darknessGiven)
        SetChoice(codes, table, "Density", std::to_string(DarknessLevel(job.darknessConfigured, job.printDarkness)));
    else
        SetChoice(codes, table, "Density", kPrinterDefault);

    if (job.printSpeed > 0) {
        const int level =
            std::clamp(static_cast<int>(std::lround(static_cast<double>(job.printSpeed) / kSpeedUnitsPerLevel)), 1,
                       kMaxSpeedLevel);
        SetChoice(codes, table, "PrintSpeed", std::to_string(level));
    }

    bool backFeed = true;
    const std::vector<VendorAttribute> vendor = VendorAttributes(model);
    for (const std::pair<std::string, std::string>& setting : job.vendor) {
        const std::string& name = setting.first;
        const std::string& value = setting.second;
        auto attr =
            std::find_if(vendor.begin(), vendor.end(), [&](const VendorAttribute& a) { return a.ippName == name; });
        if (attr == vendor.end())
            continue;  // not ours: PAPPL's own or another application's
        if (name == kBackFeed) {
            if (value == "on" || value == "off")
                backFeed = value == "on";
            else
                ignore(name, value);
            continue;
        }
        const kvppd::DriverOption* option = kvppd::FindDriverOption(table, attr->ppdKeyword);
        bool found = false;
        for (const kvppd::OptionChoice& c : option->choices)
            if (IppKeyword(c.name) == value) {
                codes[option->keyword] = c.code;
                found = true;
            }
        if (!found)
            ignore(name, value);
    }
    SetChoice(codes, table, "Mode", ModeChoice(job.labelMode, backFeed));
    return codes;
}

}  // namespace kvapp
