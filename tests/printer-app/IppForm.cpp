#include "IppForm.h"

#include <stdexcept>

namespace kvapptest {

std::vector<IppSetting> IppFormOf(const kvppd::PpdModel& model, const std::string& keyword,
                                  const std::string& choiceName)
{
    if (keyword == "MediaType") {
        if (choiceName == "Gap")
            return {{"media-type", kvapp::kMediaTypeGap, "media-col"}};
        if (choiceName == "BlackMark")
            return {{"media-type", kvapp::kMediaTypeBlackMark, "media-col"}};
        return {{"media-type", kvapp::kMediaTypeContinuous, "media-col"}};
    }
    if (keyword == "Mode") {
        if (choiceName == "TearOff")
            return {{"label-mode-configured", "tear-off", "printer"}, {"tear-off-back-feed", "on", "keyword"}};
        if (choiceName == "TearOffNoBackfeed")
            return {{"label-mode-configured", "tear-off", "printer"}, {"tear-off-back-feed", "off", "keyword"}};
        if (choiceName == "PeelOff")
            return {{"label-mode-configured", "peel-off", "printer"}};
        return {{"label-mode-configured", "cutter", "printer"}};
    }
    if (keyword == "Density") {
        if (choiceName == "PrinterDefault")
            return {};
        const int level = std::stoi(choiceName);
        return {{"print-darkness",
                 std::to_string(kvapp::PrintDarknessForLevel(level, kvapp::kDarknessConfiguredDefault)), "integer"}};
    }
    if (keyword == "PrintSpeed") {
        if (choiceName == "PrinterDefault")
            return {};
        return {{"print-speed", std::to_string(std::stoi(choiceName) * kvapp::kSpeedUnitsPerLevel), "integer"}};
    }
    for (const kvapp::VendorAttribute& v : kvapp::VendorAttributes(model))
        if (v.ppdKeyword == keyword && v.ippName != "tear-off-back-feed")
            return {{v.ippName, kvapp::IppKeyword(choiceName), "keyword"}};
    throw std::runtime_error("no IPP form for " + keyword);
}

kvapp::JobChoices ChoicesOf(const std::vector<IppSetting>& settings)
{
    kvapp::JobChoices c;
    c.labelMode = "tear-off";
    c.mediaType = kvapp::kMediaTypeGap;
    for (const IppSetting& s : settings) {
        if (s.name == "media-type")
            c.mediaType = s.value;
        else if (s.name == "label-mode-configured")
            c.labelMode = s.value;
        else if (s.name == "print-darkness") {
            c.darknessGiven = true;
            c.printDarkness = std::stoi(s.value);
        } else if (s.name == "print-speed")
            c.printSpeed = std::stoi(s.value);
        else
            c.vendor.emplace_back(s.name, s.value);
    }
    return c;
}

std::string IpptoolAttributes(const std::vector<IppSetting>& settings)
{
    std::string out;
    for (const IppSetting& s : settings) {
        if (s.syntax == "printer")
            continue;
        if (s.syntax == "media-col")
            out += "ATTR collection media-col {\n  MEMBER keyword " + s.name + " " + s.value + "\n}\n";
        else
            out += "ATTR " + s.syntax + " " + s.name + " " + s.value + "\n";
    }
    return out;
}

}  // namespace kvapptest
