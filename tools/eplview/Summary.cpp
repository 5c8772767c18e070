// Wording of eplview's summary. Values the stream never set are reported as
// left to the printer, since the printer then keeps its own setting.
#include "Summary.h"

#include <string>

namespace eplview {
namespace {

const char* kNotSet = "not set (printer setting)";

// Returns "24 dots".
std::string Dots(long v)
{
    return std::to_string(v) + " dots";
}

// Returns "1 graphic" / "2 graphics".
std::string Count(std::size_t n, const std::string& what)
{
    return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

// Returns the words for a switch, or that the printer keeps its setting.
std::string OnOff(const std::optional<bool>& v, const char* on, const char* off)
{
    return !v ? kNotSet : (*v ? on : off);
}

// Returns the number, or that the printer keeps its setting.
std::string Number(const std::optional<long>& v)
{
    return v ? std::to_string(*v) : kNotSet;
}

// Returns the gap line: gap or black mark with its offset, or none.
std::string Gap(const Setup& s)
{
    if (!s.labelLength)
        return std::string("gap: ") + kNotSet;
    if (s.gap == 0 && !s.blackMark)
        return "gap: none (continuous media)";
    std::string text = (s.blackMark ? "black mark: " : "gap: ") + Dots(s.gap);
    if (s.gapOffset != 0)
        text += ", offset " + Dots(s.gapOffset);
    return text;
}

// Returns the "O" options but the cutter, which has a line of its own.
std::string OptionList(const std::optional<HardwareOptions>& o)
{
    if (!o)
        return kNotSet;
    std::string text;
    auto add = [&text](const std::string& item) { text += (text.empty() ? "" : ", ") + item; };
    if (o->directThermal)
        add("direct thermal");
    if (o->peel)
        add("peel");
    for (const std::string& other : o->others)
        add(other + " (not known to eplview)");
    return text.empty() ? "none" : text;
}

// Returns when the cutter cuts under `o`.
std::string Cutter(const std::optional<HardwareOptions>& o)
{
    if (!o)
        return kNotSet;
    if (!o->cutter)
        return "off";
    return o->cutEvery <= 1 ? "after every label" : "after every " + std::to_string(o->cutEvery) + " labels";
}

// Returns "1 copy", "3 copies" or "2 sets of 3 copies".
std::string Copies(const Label& l)
{
    if (l.copies == 1)
        return l.sets == 1 ? "1 copy" : std::to_string(l.sets) + " copies";
    return std::to_string(l.sets) + " sets of " + std::to_string(l.copies) + " copies";
}

// Returns one label's line of the summary.
std::string LabelLine(const Label& l, std::size_t index, const std::string& file)
{
    std::string cut = l.options && l.options->cutter ? "cut " + Cutter(l.options) : "no cut";
    std::string line = "  label " + std::to_string(index + 1) + ": " + std::to_string(l.width) + " x " +
                       Dots(l.length) + ", " + Copies(l) + ", " + cut + ", " + Count(l.graphics.size(), "graphic") +
                       ", " + Count(l.boxes.size(), "line");
    if (!file.empty())
        line += " -> " + file;
    return line + "\n";
}

}  // namespace

std::string Summary(const Document& doc, const std::vector<std::string>& imageFiles)
{
    const Setup& s = doc.setup;
    std::string out = "set-up:\n";
    out += "  character set: " + (s.characterSet ? *s.characterSet : kNotSet) + "\n";
    out += "  windows mode: " + OnOff(s.windowsMode, "on", "off") + "\n";
    out += "  print direction: " + OnOff(s.fromBottom, "from bottom", "from top") + "\n";
    out += "  speed: " + Number(s.speed) + "\n";
    out += "  density: " + Number(s.density) + "\n";
    out += "  label width: " + (s.labelWidth ? Dots(*s.labelWidth) : kNotSet) + "\n";
    out += "  label length: " + (s.labelLength ? Dots(*s.labelLength) : kNotSet) + "\n";
    out += "  " + Gap(s) + "\n";
    out += "  options: " + OptionList(s.options) + "\n";
    out += "  cutter: " + Cutter(s.options) + "\n";
    out += "  back-feed: " + OnOff(s.backFeed, "on", "off") + "\n";
    if (s.backFeedDistance)
        out += "  back-feed distance: " + Dots(*s.backFeedDistance) + "\n";
    out += "  cut position: " + Number(s.cutPosition) + "\n";
    out += "labels: " + std::to_string(doc.labels.size()) + "\n";
    for (std::size_t i = 0; i < doc.labels.size(); ++i)
        out += LabelLine(doc.labels[i], i, i < imageFiles.size() ? imageFiles[i] : "");
    if (!doc.undrawn.empty()) {
        out += "not drawn:";
        for (const auto& [name, count] : doc.undrawn)
            out += " " + name + " (" + std::to_string(count) + ")";
        out += "\n";
    }
    if (!doc.notes.empty()) {
        out += "notes:\n";
        for (const std::string& note : doc.notes)
            out += "  " + note + "\n";
    }
    return out;
}

}  // namespace eplview
