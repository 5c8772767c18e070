// The driver's options as one table per model: every option the user can
// set, its choices and the code each choice carries to the print
// configuration, grouped as the PPD groups them; and the label sizes a
// model takes. The PPD generator writes the PPD files from it and the
// printer application offers the same options and sizes over IPP, so a
// choice means the same number to the filter whichever way a job comes.
#ifndef KV_TOOLS_OPTIONTABLE_H
#define KV_TOOLS_OPTIONTABLE_H

#include <string>
#include <vector>

#include "PpdGenerator.h"

namespace kvppd {

// One choice of an option: its keyword-safe name, its text for the user,
// and its code, the text the filter reads the number from.
struct OptionChoice {
    std::string name;
    std::string text;
    std::string code;
};

// A PickOne option: the keyword (as the PPD spells it), its text, the name
// of its default choice and its choices in the order offered.
struct DriverOption {
    std::string keyword;
    std::string text;
    std::string defaultChoice;
    std::vector<OptionChoice> choices;

    // The choice called `choiceName` (exact), or null.
    const OptionChoice* Find(const std::string& choiceName) const;
    // The default choice (never null for the table's options).
    const OptionChoice* Default() const { return Find(defaultChoice); }
};

// A group of options, as the PPD's OpenGroup names it.
struct OptionGroup {
    std::string name;
    std::string text;
    std::vector<DriverOption> options;
};

// Every option of `model` besides the page size and the raster resolution,
// in the PPD's order: General (media type, print method, after printing,
// darkness, speed, halftone), Media, Cutter, Position, Image, Diagnostics.
std::vector<OptionGroup> DriverOptions(const PpdModel& model);

// The option of `model` whose keyword equals `keyword` without regard to
// case (as the spooler matches option names), or null; it points into
// `groups`.
const DriverOption* FindDriverOption(const std::vector<OptionGroup>& groups, const std::string& keyword);

// A label size: width across the print head and length along the feed.
struct LabelSize {
    double width;  // in inches or millimetres, as `metric` says
    double length;
    bool metric;
};

// The common label sizes that fit the model's head: the inch sizes first,
// then their metric counterparts.
std::vector<LabelSize> LabelSizes(const PpdModel& model);

// The default label size: 4 x 6 in (shipping labels) on four-inch printers,
// 2 x 1 in on two-inch ones.
LabelSize DefaultLabelSize(const PpdModel& model);

// The size's PPD name: short side first, "mm" for metric sizes, "Rotated"
// when the label is wider than long, and ".Fullbleed" ("1x2Rotated.Fullbleed").
std::string SizeName(const LabelSize& size);

// The size's text for the user, width first: "2 x 1 in".
std::string SizeText(const LabelSize& size);

// The length `v` of `size`'s unit (inches or millimetres) in points.
double ToPoints(const LabelSize& size, double v);

// The custom label sizes the model accepts, in points of 1/72 inch: each
// side at least kMinCustomSidePt, the width at most the head's, the length
// at most kMaxCustomLengthPt.
constexpr int kMinCustomSidePt = 36;
constexpr int kMaxCustomLengthPt = 40 * 72;
int MaxCustomWidthPt(const PpdModel& model);

// `v` with at most two decimals and no trailing zeros ("0.5", "2").
std::string FormatDecimal(double v);

}  // namespace kvppd

#endif
