// Reads an EPL2 command stream into what a printer would make of it: the
// set-up it receives (speed, density, label size, gap, options, cutter) and
// each printed label with the graphics and lines drawn on it.
#ifndef KV_TOOLS_EPLDOCUMENT_H
#define KV_TOOLS_EPLDOCUMENT_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace eplview {

// A "GW" graphic: rows of packed bits, bit 7 leftmost, a 0 bit prints black.
struct Graphic {
    long x = 0;
    long y = 0;
    long bytesPerRow = 0;
    long rows = 0;
    std::string data;  // bytesPerRow x rows bytes
};

// An "LO" line: a black box.
struct Box {
    long x = 0;
    long y = 0;
    long width = 0;
    long height = 0;
};

// The "O" command's options as far as eplview knows them.
struct HardwareOptions {
    bool directThermal = false;
    bool peel = false;
    bool cutter = false;
    long cutEvery = 1;                // labels per cut
    std::vector<std::string> others;  // option letters eplview does not know
};

// The printer set-up as the stream leaves it; unset values keep the
// printer's own setting.
struct Setup {
    std::optional<std::string> characterSet;  // "I" arguments, e.g. "8,E"
    std::optional<bool> windowsMode;          // WY / WN
    std::optional<bool> fromBottom;           // ZB / ZT
    std::optional<long> speed;                // S
    std::optional<long> density;              // D
    std::optional<long> labelWidth;           // q, dots
    std::optional<long> labelLength;          // Q first value, dots
    long gap = 0;                             // Q second value, dots (0: continuous)
    long gapOffset = 0;                       // Q "+offset", dots
    bool blackMark = false;                   // Q "B" form
    std::optional<HardwareOptions> options;   // O
    std::optional<bool> backFeed;             // JF / JB
    std::optional<long> backFeedDistance;     // fB, dots
    std::optional<long> cutPosition;          // f
};

// One "P" command: the image buffer as it was printed.
struct Label {
    long width = 0;                          // dots across
    long length = 0;                         // dots along the feed
    long sets = 1;                           // P first value
    long copies = 1;                         // P second value (copies of each label), 1 when absent
    std::optional<HardwareOptions> options;  // options in force at print time
    std::vector<Graphic> graphics;
    std::vector<Box> boxes;
};

struct Document {
    Setup setup;
    std::vector<Label> labels;
    std::vector<std::string> notes;      // things eplview tolerated, with their byte offsets
    std::map<std::string, int> undrawn;  // commands eplview does not draw, by name
};

struct ParseError {
    std::size_t offset = 0;
    std::string message;
};

// Largest label eplview draws, in dots: 8 inches across and 100 inches
// along the feed at 300 dpi, far beyond any EPL2 printer's head.
constexpr long kMaxLabelWidth = 2400;
constexpr long kMaxLabelLength = 30000;

// Parses the whole stream. Returns true with `doc` filled, or false with
// `err` naming the byte offset where the stream stops making sense.
bool ParseEpl(const std::string& stream, Document& doc, ParseError& err);

}  // namespace eplview

#endif
