// The driver's option table and label sizes, shared by the PPD generator
// and the printer application. The filter reads every option as the number
// in its choice code; so each choice below carries the value the filter
// needs in its code and a readable name and text for the user.
#include "OptionTable.h"

#include <strings.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "OptionCodes.h"
#include "RecordUnits.h"

namespace kvppd {
namespace {

using namespace kvcodes;
using kvunits::kMmPerInch;
using kvunits::kPointsPerInch;
using kvunits::kTenthMmPerInch;

// EPL "f" value of the nominal cut and tear position; the filter sends the
// cut position only when it converts to 70..130 dots, so the choices stay
// around this middle.
constexpr int kNominalCutDots = 100;
// Widest printable width of each head class, in whole millimetres (the
// filter's maximum output width): two inches rounded down, and the 104 mm
// of a four-inch head.
constexpr int kTwoInchHeadMm = 51;
constexpr int kFourInchHeadMm = 104;
constexpr int kTwoInch = 2;

// Returns `v` with at most two decimals and no trailing zeros ("0.5", "2").
std::string Num(double v)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.2f", v);
    std::string s = buf;
    while (s.back() == '0')
        s.pop_back();
    if (s.back() == '.')
        s.pop_back();
    return s;
}

// Returns `v` as a whole decimal number.
std::string Int(long v)
{
    return std::to_string(v);
}

// The choice of a fixed label length of `mm` millimetres, with its code.
OptionChoice SheetLength(int mm, long code)
{
    return {Int(mm) + "mm", Int(mm) + " mm", Int(code)};
}

// Returns an Off/On option with codes 0 and 1, Off being the default.
DriverOption OffOn(const std::string& keyword, const std::string& text, const std::string& onText)
{
    return {keyword, text, "Off", {{"Off", "Off", "0"}, {"On", onText, "1"}}};
}

// Returns choices of whole millimetres; the code is the number itself.
std::vector<OptionChoice> WholeMm(const std::vector<int>& values)
{
    std::vector<OptionChoice> out;
    for (int v : values)
        out.push_back({Int(v) + "mm", Int(v) + " mm", Int(v)});
    return out;
}

// Returns choices of millimetres with decimals; the filter reads these codes
// as decimal numbers and keeps tenths of a millimetre.
std::vector<OptionChoice> DecimalMm(const std::vector<double>& values)
{
    std::vector<OptionChoice> out;
    for (double v : values)
        out.push_back({Num(v) + "mm", Num(v) + " mm", Num(v)});
    return out;
}

// Returns the darkness option: the printer's own setting or EPL levels.
DriverOption DensityOption()
{
    DriverOption o{
        "Density", "Darkness", "PrinterDefault", {{"PrinterDefault", "Printer default", Int(kPrinterDefault)}}};
    constexpr int kLightest = 0;
    constexpr int kDarkest = 15;  // EPL "D" accepts 0..15
    for (int d = kLightest; d <= kDarkest; ++d) {
        std::string text = Int(d);
        if (d == kLightest)
            text += " (lightest)";
        if (d == kDarkest)
            text += " (darkest)";
        o.choices.push_back({Int(d), text, Int(d)});
    }
    return o;
}

// Returns the speed option: the printer's own setting or EPL levels.
DriverOption SpeedOption()
{
    DriverOption o{
        "PrintSpeed", "Print Speed", "PrinterDefault", {{"PrinterDefault", "Printer default", Int(kPrinterDefault)}}};
    constexpr int kSlowest = 1;
    constexpr int kFastest = 6;  // the EPL "S" levels of common models
    for (int s = kSlowest; s <= kFastest; ++s) {
        std::string text = "Speed " + Int(s);
        if (s == kSlowest)
            text += " (slowest)";
        if (s == kFastest)
            text += " (fastest)";
        o.choices.push_back({Int(s), text, Int(s)});
    }
    return o;
}

// Halftone methods offered to users. Methods 6 (inverted polarity), 0 and
// 11 (no output) are left out on purpose.
DriverOption HalftoneOption()
{
    return {"Halftone",
            "Halftoning",
            "Threshold",
            {{"Threshold", "Fixed threshold (crisp barcodes and text)", Int(kvimg::kFixedThreshold)},
             {"ErrorDiffusion", "Error diffusion (photos)", Int(kvimg::kDiffuseFour)},
             {"Ordered16", "Ordered dither, 16 x 16 screen", Int(kvimg::kScreen16)},
             {"Adaptive", "Adaptive threshold (uneven backgrounds)", Int(kvimg::kLocalAdaptive)},
             {"Dispersed40", "Dispersed dither, 40 x 40 screen", Int(kvimg::kScreen40)},
             {"Levels16", "Ordered dither, 16 levels", Int(kvimg::kScreen15)},
             {"Bayer4", "Ordered dither, 4 x 4", Int(kvimg::kMatrix4)},
             {"Screen8x16", "Halftone screen, 8 x 16", Int(kvimg::kScreen8)},
             {"Bayer4Alt", "Ordered dither, 4 x 4 (alternative)", Int(kvimg::kInterleaved)}}};
}

// Cut and tear position: "PrinterDefault" has code 0, which converts to no
// "f" command at all; the others are the nominal position shifted by up to
// two millimetres, as tenths of a millimetre at this resolution.
DriverOption FeedOption(const PpdModel& m)
{
    DriverOption o{"Feed", "Cut Position", "PrinterDefault", {{"PrinterDefault", "Printer default", "0"}}};
    static const double kShiftsMm[] = {-2, -1.5, -1, -0.5, 0, 0.5, 1, 1.5, 2};
    double nominalTenths = kNominalCutDots * kTenthMmPerInch / m.dpi;
    for (double shift : kShiftsMm) {
        long code = std::lround(nominalTenths + shift * 10.0);
        std::string sign = shift > 0 ? "+" : "";
        std::string name = shift == 0 ? "Nominal" : sign + Num(shift) + "mm";
        std::string text = shift == 0 ? "Nominal" : sign + Num(shift) + " mm";
        o.choices.push_back({name, text, Int(code)});
    }
    return o;
}

// Brightness: the filter shifts grey levels by (code - 100) x 2. The choice
// names are the codes themselves, because CUPS's own image filters read an
// option "brightness" as a percentage: name 100 keeps them neutral, and the
// other names move them in the same direction as the driver.
DriverOption BrightnessOption()
{
    DriverOption o{"Brightness", "Brightness", "100", {}};
    static const int kCodes[] = {50, 75, 90, 100, 110, 125, 150};
    constexpr int kNeutral = 100;
    for (int code : kCodes) {
        int shift = (code - kNeutral) * 2;
        std::string text = shift > 0 ? "+" + Int(shift) + " (lighter)" : Int(shift) + " (darker)";
        if (shift == 0)
            text = "0 (normal)";
        o.choices.push_back({Int(code), text, Int(code)});
    }
    return o;
}

// Contrast: the filter scales grey levels around the middle by
// (code - 100) x 2 percent; codes of 50 and below would flatten or invert
// the image and are not offered.
DriverOption ContrastOption()
{
    DriverOption o{"Contrast", "Contrast", "Normal", {}};
    static const int kCodes[] = {75, 90, 100, 110, 125, 150, 175};
    constexpr int kNeutral = 100;
    for (int code : kCodes) {
        int percent = 100 + (code - kNeutral) * 2;
        std::string name = code == kNeutral ? "Normal" : Int(percent) + "pct";
        std::string text = Int(percent) + " %" + (code == kNeutral ? " (normal)" : "");
        o.choices.push_back({name, text, Int(code)});
    }
    return o;
}

// Returns the gamma that the filter derives from a levels code.
double LevelsGamma(int code)
{
    constexpr int kNeutral = 100;
    constexpr int kDarkRange = 899;  // code 0 gives gamma 9.99
    constexpr int kLightRange = 99;  // code 200 gives gamma 0.01
    int adj = code < kNeutral ? kNeutral + ((kNeutral - code) * kDarkRange) / 100
                              : kNeutral - ((code - kNeutral) * kLightRange) / 100;
    return adj / 100.0;
}

// Levels: a gamma curve; codes below 100 darken the mid-tones.
DriverOption LevelsOption()
{
    DriverOption o{"Levels", "Mid-tone Levels", "Normal", {}};
    static const int kCodes[] = {70, 80, 90, 95, 100, 110, 125, 150, 175};
    constexpr int kNeutral = 100;
    int darker = 0;
    for (int code : kCodes)
        darker += code < kNeutral;
    int lighter = 0;
    for (int code : kCodes) {
        std::string gamma = "gamma " + Num(LevelsGamma(code));
        if (code < kNeutral)
            o.choices.push_back({"Darker" + Int(darker--), "Darker (" + gamma + ")", Int(code)});
        else if (code == kNeutral)
            o.choices.push_back({"Normal", "Normal (gamma 1)", Int(code)});
        else
            o.choices.push_back({"Lighter" + Int(++lighter), "Lighter (" + gamma + ")", Int(code)});
    }
    return o;
}

// Returns the printable widths up to the model's head, the full head being
// the default.
DriverOption MaxWidthOption(const PpdModel& m)
{
    int head = m.headInches > kTwoInch ? kFourInchHeadMm : kTwoInchHeadMm;
    static const int kWidths[] = {48, kTwoInchHeadMm, 56, 72, 80, kFourInchHeadMm};
    DriverOption o{"MaxOutputWidth", "Printable Width", Int(head) + "mm", {}};
    for (int w : kWidths)
        if (w <= head)
            o.choices.push_back({Int(w) + "mm", Int(w) + " mm" + (w == head ? " (full head)" : ""), Int(w)});
    return o;
}

// The first group: what every job sets, including page size and raster.
OptionGroup GeneralGroup()
{
    OptionGroup g{"General", "General", {}};
    // Page sizes are written separately (they need PageRegion and friends).
    g.options.push_back({"MediaType",
                         "Media Type",
                         "Gap",
                         {{"Gap", "Gap", Int(MediaType::kGap)},
                          {"BlackMark", "Black mark", Int(MediaType::kBlackMark)},
                          {"Continuous", "Continuous", Int(MediaType::kContinuous)}}});
    g.options.push_back({"PrintMethod",
                         "Print Method",
                         "DirectThermal",
                         {{"DirectThermal", "Direct thermal (no ribbon)", Int(PrintMethod::kDirectThermal)},
                          {"ThermalTransfer", "Thermal transfer (ribbon)", Int(PrintMethod::kThermalTransfer)}}});
    // "Mode" 4 hands the cut to "CutMethod", whose choices are all 1..4.
    g.options.push_back({"Mode",
                         "After Printing",
                         "TearOff",
                         {{"TearOff", "Tear off", Int(AfterPrint::kTearOff)},
                          {"TearOffNoBackfeed", "Tear off, no back-feed", Int(AfterPrint::kTearOffNoBackFeed)},
                          {"PeelOff", "Peel off", Int(AfterPrint::kPeelOff)},
                          {"Cutter", "Cutter", Int(AfterPrint::kCutter)}}});
    g.options.push_back(DensityOption());
    g.options.push_back(SpeedOption());
    g.options.push_back(HalftoneOption());
    return g;
}

// The label media: gap, extra length, cropping and the printable width.
OptionGroup MediaGroup(const PpdModel& m)
{
    OptionGroup g{"LabelMedia", "Label Media", {}};
    g.options.push_back({"GAPHeight", "Gap or Mark Height", "3mm", DecimalMm({1, 1.5, 2, 2.5, 3, 4, 5, 6})});
    g.options.push_back({"GAPOffset", "Gap or Mark Offset", "0mm", DecimalMm({0, 0.5, 1, 1.5, 2, 3, 4, 5})});
    g.options.push_back({"StartOffsetValue", "Extra Length Before", "0mm", WholeMm({0, 1, 2, 3, 4, 5, 10})});
    g.options.push_back({"EndOffsetValue", "Extra Length After", "0mm", WholeMm({0, 1, 2, 3, 4, 5, 10})});
    g.options.push_back({"PrintMode",
                         "Page Cropping",
                         "Off",
                         {{"Off", "Off (label size from the page)", Int(PrintMode::kLabelFromPage)},
                          {"CropToContent", "Crop to the printed content", Int(PrintMode::kCropToContent)}}});
    g.options.push_back(OffOn("SavePaper", "Save Paper", "On (label length follows each page)"));
    g.options.push_back({"FixedHeight",
                         "Per-Page Label Length",
                         "FromContent",
                         {{"FromContent", "From the content", Int(FixedHeight::kFromContent)},
                          SheetLength(kA4LengthMm, FixedHeight::kA4),
                          SheetLength(kA5LengthMm, FixedHeight::kA5),
                          SheetLength(kA6LengthMm, FixedHeight::kA6)}});
    g.options.push_back(MaxWidthOption(m));
    return g;
}

// The cutter's settings; "interval" is written in lower case, see the note
// in the PPD header.
OptionGroup CutterGroup(const PpdModel& m)
{
    OptionGroup g{"Cutter", "Cutter", {}};
    g.options.push_back({"CutMethod",
                         "Cut",
                         "EachLabel",
                         {{"EachLabel", "After every label", Int(CutMethod::kEachLabel)},
                          {"EndOfJob", "At the end of the job", Int(CutMethod::kEndOfJob)},
                          {"EveryNPages", "Every N pages (Cut Interval)", Int(CutMethod::kEveryInterval)},
                          {"EachPage", "After all copies of each page", Int(CutMethod::kEachPage)}}});
    DriverOption interval{"interval", "Cut Interval (pages)", "1", {}};
    for (int n : {1, 2, 3, 4, 5, 10, 20, 25, 50, 100})
        interval.choices.push_back({Int(n), Int(n), Int(n)});
    g.options.push_back(interval);
    g.options.push_back(FeedOption(m));
    return g;
}

// Where the image lands on the label: shifts, rotation and mirroring.
OptionGroup PositionGroup()
{
    static const std::vector<double> kShifts = {0, 0.5, 1, 1.5, 2, 2.5, 3, 4, 5, 6, 8, 10};
    OptionGroup g{"Position", "Image Position", {}};
    g.options.push_back(
        {"horizontalOffset",
         "Horizontal Shift Direction",
         "Right",
         {{"Right", "Right", Int(ShiftDirection::kRightOrDown)}, {"Left", "Left", Int(ShiftDirection::kLeftOrUp)}}});
    g.options.push_back({"HorizontalOffsetValue", "Horizontal Shift", "0mm", DecimalMm(kShifts)});
    g.options.push_back(
        {"verticalOffset",
         "Vertical Shift Direction",
         "Down",
         {{"Down", "Down", Int(ShiftDirection::kRightOrDown)}, {"Up", "Up", Int(ShiftDirection::kLeftOrUp)}}});
    g.options.push_back({"VerticalOffsetValue", "Vertical Shift", "0mm", DecimalMm(kShifts)});
    g.options.push_back({"Rotation",
                         "Rotation",
                         "None",
                         {{"None", "None", Int(Rotation::kNoRotation)},
                          {"Left90", "90 degrees counter-clockwise", Int(Rotation::kLeft90)},
                          {"Turn180", "180 degrees", Int(Rotation::kTurn180)},
                          {"Right90", "90 degrees clockwise", Int(Rotation::kRight90)}}});
    g.options.push_back({"AutoRotate",
                         "Rotate Wide Pages",
                         "Off",
                         {{"Off", "Off", Int(AutoRotate::kNoAutoRotation)},
                          {"CounterClockwise", "Counter-clockwise", Int(AutoRotate::kCounterClockwise)},
                          {"Clockwise", "Clockwise", Int(AutoRotate::kClockwise)}}});
    // Not "On": the spooler's PDF and image filters mirror the page
    // themselves when an option "mirror" is on, true or yes, and the two
    // mirrorings would cancel out.
    g.options.push_back({"Mirror", "Mirror Image", "Off", {{"Off", "Off", "0"}, {"Mirrored", "Mirrored", "1"}}});
    return g;
}

// Tone controls and the dashing of long lines.
OptionGroup ImageGroup()
{
    OptionGroup g{"Image", "Image", {}};
    g.options.push_back(BrightnessOption());
    g.options.push_back(ContrastOption());
    g.options.push_back(LevelsOption());
    g.options.push_back(OffOn("NegativeFilm", "Negative Image", "On"));
    g.options.push_back(OffOn("IsToDashed", "Dashed Long Lines", "On"));
    g.options.push_back({"MinLength", "Shortest Line Made Dashed", "10mm", WholeMm({5, 10, 20, 30, 50})});
    g.options.push_back({"IntervalBlack", "Dash Length", "2mm", WholeMm({1, 2, 3, 4, 5})});
    g.options.push_back({"IntervalWhite", "Dash Gap", "1mm", WholeMm({1, 2, 3, 4, 5})});
    return g;
}

// The driver log and page dumps, off by default.
OptionGroup DiagnosticsGroup()
{
    return {"Diagnostics", "Diagnostics", {OffOn("DriverLog", "Driver Log", "On (log and page dumps in /tmp)")}};
}

}  // namespace

// Returns the length `v` of size `s` (inches or millimetres) in points.
double ToPoints(const LabelSize& s, double v)
{
    return s.metric ? v * kPointsPerInch / kMmPerInch : v * kPointsPerInch;
}

// Returns the size's name as CUPS expects it for a borderless size: short
// side first, "mm" for metric sizes, "Rotated" when the label is wider than
// long, and ".Fullbleed" because labels print edge to edge.
std::string SizeName(const LabelSize& s)
{
    double shortSide = s.width < s.length ? s.width : s.length;
    double longSide = s.width < s.length ? s.length : s.width;
    std::string name = Num(shortSide) + "x" + Num(longSide) + (s.metric ? "mm" : "");
    if (s.width > s.length)
        name += "Rotated";
    return name + ".Fullbleed";
}

// Returns the size's text for the user, width first: "2 x 1 in".
std::string SizeText(const LabelSize& s)
{
    return Num(s.width) + " x " + Num(s.length) + (s.metric ? " mm" : " in");
}

// Returns the common label sizes that fit the model's head: the inch sizes
// first, then their metric counterparts.
std::vector<LabelSize> LabelSizes(const PpdModel& m)
{
    static const std::vector<LabelSize> all = {
        {1, 0.5, false},  {1.5, 1, false},  {2, 1, false},  {2, 2, false},  {2, 3, false},   {3, 1, false},
        {3, 2, false},    {3, 3, false},    {4, 1, false},  {4, 2, false},  {4, 3, false},   {4, 4, false},
        {4, 6, false},    {25, 13, true},   {38, 25, true}, {50, 25, true}, {50, 30, true},  {50, 50, true},
        {57, 32, true},   {60, 40, true},   {75, 50, true}, {80, 50, true}, {100, 50, true}, {100, 75, true},
        {100, 100, true}, {100, 150, true},
    };
    std::vector<LabelSize> fit;
    for (const LabelSize& s : all) {
        double widthInches = s.metric ? s.width / kMmPerInch : s.width;
        if (widthInches <= m.headInches)
            fit.push_back(s);
    }
    return fit;
}

// Returns the default label size: 4 x 6 in (shipping labels) on four-inch
// printers, 2 x 1 in on two-inch ones.
LabelSize DefaultLabelSize(const PpdModel& m)
{
    return m.headInches > kTwoInch ? LabelSize{4, 6, false} : LabelSize{2, 1, false};
}

int MaxCustomWidthPt(const PpdModel& model)
{
    return model.headInches * static_cast<int>(kPointsPerInch);
}

std::string FormatDecimal(double v)
{
    return Num(v);
}

const OptionChoice* DriverOption::Find(const std::string& choiceName) const
{
    for (const OptionChoice& c : choices)
        if (c.name == choiceName)
            return &c;
    return nullptr;
}

std::vector<OptionGroup> DriverOptions(const PpdModel& model)
{
    return {GeneralGroup(), MediaGroup(model), CutterGroup(model), PositionGroup(), ImageGroup(), DiagnosticsGroup()};
}

const DriverOption* FindDriverOption(const std::vector<OptionGroup>& groups, const std::string& keyword)
{
    for (const OptionGroup& g : groups)
        for (const DriverOption& o : g.options)
            if (strcasecmp(o.keyword.c_str(), keyword.c_str()) == 0)
                return &o;
    return nullptr;
}

}  // namespace kvppd
