// The EPL2 reader: command lines ended by a line feed (with or without a
// carriage return) and "GW" blocks of raw graphic bytes. Commands eplview
// does not draw (text, barcodes, ...) are counted, not rejected; a stream
// that breaks the command syntax is rejected at the offending byte.
#include "EplDocument.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

namespace eplview {
namespace {

// Longest number eplview reads: nine digits keep every product of two
// numbers inside a 64-bit value.
constexpr std::size_t kMaxDigits = 9;
constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kLastPrintable = 0x7e;

bool IsPrintable(unsigned char c)
{
    return (c >= kFirstPrintable && c <= kLastPrintable) || c == '\t';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

// Returns "byte N: " for messages.
std::string At(std::size_t offset)
{
    return "byte " + std::to_string(offset) + ": ";
}

// Reads an unsigned decimal number at text[i]; returns false (i unchanged)
// when there is none or it has more digits than eplview reads.
bool ReadNumber(const std::string& text, std::size_t& i, long& value)
{
    std::size_t j = i;
    while (j < text.size() && IsDigit(text[j]))
        ++j;
    if (j == i || j - i > kMaxDigits)
        return false;
    long v = 0;
    for (std::size_t k = i; k < j; ++k)
        v = v * 10 + (text[k] - '0');
    value = v;
    i = j;
    return true;
}

// Reads a line that must be exactly one number after a prefix of `skip`
// characters; returns false when it is anything else.
bool WholeNumber(const std::string& line, std::size_t skip, long& value)
{
    std::size_t i = skip;
    return ReadNumber(line, i, value) && i == line.size();
}

// Reads "a,b,c,d" (exactly `count` numbers separated by commas) after
// `skip` characters.
bool NumberList(const std::string& line, std::size_t skip, long* values, int count)
{
    std::size_t i = skip;
    for (int k = 0; k < count; ++k) {
        if (k > 0) {
            if (i >= line.size() || line[i] != ',')
                return false;
            ++i;
        }
        if (!ReadNumber(line, i, values[k]))
            return false;
    }
    return i == line.size();
}

// The name under which an undrawn command is counted: its first letter, or
// its first two when both are capitals (as in "LE" or "GG").
std::string CommandName(const std::string& line)
{
    if (line.size() >= 2 && IsUpper(line[0]) && IsUpper(line[1]))
        return line.substr(0, 2);
    return line.substr(0, 1);
}

class Parser {
public:
    Parser(const std::string& stream, Document& doc) : m_s(stream), m_doc(doc) {}

    // Reads the whole stream; false with `err` set at the first bad byte.
    bool Run(ParseError& err)
    {
        while (m_pos < m_s.size()) {
            bool ok = m_s.compare(m_pos, 2, "GW") == 0 ? GraphicBlock() : CommandLine();
            if (!ok) {
                err = m_err;
                return false;
            }
        }
        return true;
    }

private:
    // Records the error at `offset`; returns false for the caller to pass on.
    bool Fail(std::size_t offset, const std::string& message)
    {
        m_err.offset = offset;
        m_err.message = message;
        return false;
    }

    // Length of the line end at `at` ("\r\n" 2, "\n" 1), 0 when there is none.
    std::size_t LineEndAt(std::size_t at) const
    {
        if (at < m_s.size() && m_s[at] == '\n')
            return 1;
        if (at + 1 < m_s.size() && m_s[at] == '\r' && m_s[at + 1] == '\n')
            return 2;
        return 0;
    }

    // True when graphic data may end at `at`: the stream ends there, or a
    // line end follows and then the end or a printable command byte.
    bool DataMayEndAt(std::size_t at) const
    {
        if (at == m_s.size())
            return true;
        std::size_t end = LineEndAt(at);
        if (end == 0)
            return false;
        std::size_t next = at + end;
        return next == m_s.size() || IsPrintable(static_cast<unsigned char>(m_s[next])) || LineEndAt(next) > 0;
    }

    // True when a print line "P<digits>" starts at `at`.
    bool PrintLineAt(std::size_t at) const
    {
        if (at >= m_s.size() || m_s[at] != 'P')
            return false;
        std::size_t i = at + 1;
        long v = 0;
        return ReadNumber(m_s, i, v) && (LineEndAt(i) > 0 || (i < m_s.size() && m_s[i] == ','));
    }

    // Reads one command line and carries it out.
    bool CommandLine()
    {
        std::size_t at = m_pos;
        std::size_t lf = m_s.find('\n', at);
        if (lf == std::string::npos)
            return Fail(at, "the last command is not ended by a line feed");
        std::size_t end = lf > at && m_s[lf - 1] == '\r' ? lf - 1 : lf;
        for (std::size_t i = at; i < end; ++i) {
            unsigned char c = static_cast<unsigned char>(m_s[i]);
            if (!IsPrintable(c)) {
                char buf[64];
                std::snprintf(buf, sizeof buf, "unexpected byte 0x%02X in a command line", c);
                return Fail(i, buf);
            }
        }
        m_pos = lf + 1;
        std::string line = m_s.substr(at, end - at);
        return line.empty() || Command(line, at);
    }

    // Carries out one command line that started at byte `at`; commands
    // eplview does not draw are only counted.
    bool Command(const std::string& line, std::size_t at)
    {
        Setup& s = m_doc.setup;
        long v = 0;
        switch (line[0]) {
        case 'N':
            if (line != "N")
                break;
            m_graphics.clear();
            m_boxes.clear();
            return true;
        case 'I':
            if (line.size() < 2)
                return Fail(at, "I needs the data bits and the code page");
            s.characterSet = line.substr(1);
            return true;
        case 'W':
            if (line != "WY" && line != "WN")
                break;
            s.windowsMode = line == "WY";
            return true;
        case 'Z':
            if (line != "ZB" && line != "ZT")
                break;
            s.fromBottom = line == "ZB";
            return true;
        case 'S':
            if (!WholeNumber(line, 1, v))
                return Fail(at, "S needs one number (the speed)");
            s.speed = v;
            return true;
        case 'D':
            if (!WholeNumber(line, 1, v))
                return Fail(at, "D needs one number (the density)");
            s.density = v;
            return true;
        case 'O':
            return Options(line, at);
        case 'J':
            if (line != "JF" && line != "JB")
                break;
            s.backFeed = line == "JF";
            return true;
        case 'f':
            return Feed(line, at);
        case 'q':
            if (!WholeNumber(line, 1, v))
                return Fail(at, "q needs one number (the label width in dots)");
            s.labelWidth = v;
            return true;
        case 'Q':
            return LabelLength(line, at);
        case 'L':
            if (line.compare(0, 2, "LO") != 0)
                break;
            return Line(line, at);
        case 'P':
            return Print(line, at);
        default:
            break;
        }
        ++m_doc.undrawn[CommandName(line)];
        return true;
    }

    // "O" followed by comma-separated option letters.
    bool Options(const std::string& line, std::size_t at)
    {
        HardwareOptions o;
        std::size_t i = 1;
        while (i < line.size()) {
            std::size_t comma = line.find(',', i);
            std::string item = line.substr(i, comma == std::string::npos ? std::string::npos : comma - i);
            i = comma == std::string::npos ? line.size() : comma + 1;
            if (item.empty())
                return Fail(at, "O has an empty option between commas");
            long n = 0;
            if (item == "D")
                o.directThermal = true;
            else if (item == "P")
                o.peel = true;
            else if (item == "C")
                o.cutter = true;
            else if (item[0] == 'C' && WholeNumber(item, 1, n)) {
                o.cutter = true;
                o.cutEvery = n;
            } else
                o.others.push_back(item);
        }
        m_doc.setup.options = o;
        return true;
    }

    // "fB<dots>" (back-feed distance) or "f<value>" (cut position).
    bool Feed(const std::string& line, std::size_t at)
    {
        long v = 0;
        if (line.compare(0, 2, "fB") == 0) {
            if (!WholeNumber(line, 2, v))
                return Fail(at, "fB needs one number (the back-feed distance)");
            m_doc.setup.backFeedDistance = v;
            return true;
        }
        if (!WholeNumber(line, 1, v))
            return Fail(at, "f needs one number (the cut position)");
        m_doc.setup.cutPosition = v;
        return true;
    }

    // "Q<length>,<gap>[+|-<offset>]" or "Q<length>,B<mark>[+|-<offset>]".
    bool LabelLength(const std::string& line, std::size_t at)
    {
        const char* usage = "Q needs the label length, a comma and the gap (Qlength,gap[+offset])";
        std::size_t i = 1;
        long length = 0;
        long gap = 0;
        long offset = 0;
        if (!ReadNumber(line, i, length) || i >= line.size() || line[i] != ',')
            return Fail(at, usage);
        ++i;
        bool mark = i < line.size() && line[i] == 'B';
        i += mark ? 1 : 0;
        if (!ReadNumber(line, i, gap))
            return Fail(at, usage);
        if (i < line.size()) {
            bool minus = line[i] == '-';
            if (line[i] != '+' && !minus)
                return Fail(at, usage);
            ++i;
            if (!ReadNumber(line, i, offset) || i != line.size())
                return Fail(at, usage);
            offset = minus ? -offset : offset;
        }
        Setup& s = m_doc.setup;
        s.labelLength = length;
        s.gap = gap;
        s.gapOffset = offset;
        s.blackMark = mark;
        return true;
    }

    // "LO<x>,<y>,<width>,<height>".
    bool Line(const std::string& line, std::size_t at)
    {
        long v[4];
        if (!NumberList(line, 2, v, 4))
            return Fail(at, "LO needs four numbers: x,y,width,height");
        m_boxes.push_back({v[0], v[1], v[2], v[3]});
        return true;
    }

    // "P<sets>[,<copies>]": the image buffer becomes a label.
    bool Print(const std::string& line, std::size_t at)
    {
        long v[2] = {1, 1};
        if (!NumberList(line, 1, v, 1) && !NumberList(line, 1, v, 2))
            return Fail(at, "P needs the number of labels (Pcount or Psets,copies)");
        Label label;
        label.sets = v[0];
        label.copies = v[1];
        label.options = m_doc.setup.options;
        label.graphics = m_graphics;
        label.boxes = m_boxes;
        Size(label, at);
        m_doc.labels.push_back(std::move(label));
        return true;
    }

    // Sets the label's size: "q" and "Q" when the stream gave them, else
    // the extent of what is drawn; clipped to what eplview draws.
    void Size(Label& label, std::size_t at)
    {
        long right = 1;
        long bottom = 1;
        for (const Graphic& g : label.graphics) {
            right = std::max(right, g.x + g.bytesPerRow * 8);
            bottom = std::max(bottom, g.y + g.rows);
        }
        for (const Box& b : label.boxes) {
            right = std::max(right, b.x + b.width);
            bottom = std::max(bottom, b.y + b.height);
        }
        const Setup& s = m_doc.setup;
        label.width = s.labelWidth && *s.labelWidth > 0 ? *s.labelWidth : right;
        label.length = s.labelLength && *s.labelLength > 0 ? *s.labelLength : bottom;
        if (label.width > kMaxLabelWidth || label.length > kMaxLabelLength) {
            m_doc.notes.push_back(At(at) + "label of " + std::to_string(label.width) + " x " +
                                  std::to_string(label.length) + " dots clipped to what eplview draws");
            label.width = std::min(label.width, kMaxLabelWidth);
            label.length = std::min(label.length, kMaxLabelLength);
        }
    }

    // "GW<x>,<y>,<bytes per row>,<rows>," then the raw rows. The data
    // starts after the header's line end when there is one (the form this
    // driver writes), else right after the last comma (the classic form).
    // Other drivers end the header with the line end alone, without the
    // last comma ("GW0,155,102,1" and a line feed); that form is read too.
    bool GraphicBlock()
    {
        const char* usage = "GW needs four numbers followed by commas: x,y,bytes per row,rows,";
        std::size_t at = m_pos;
        std::size_t i = at + 2;
        long v[4];
        for (int n = 0; n < 4; ++n) {
            if (!ReadNumber(m_s, i, v[n]) || i >= m_s.size())
                return Fail(at, usage);
            bool last = n == 3;
            if (m_s[i] == ',')
                ++i;
            else if (!last || LineEndAt(i) == 0)
                return Fail(at, usage);
        }
        i += LineEndAt(i);
        Graphic g{v[0], v[1], v[2], v[3], {}};
        long declared = g.bytesPerRow * g.rows;
        if (static_cast<std::size_t>(declared) > m_s.size() - i)
            return Fail(at, "GW declares " + std::to_string(declared) + " bytes of graphic data but only " +
                                std::to_string(m_s.size() - i) + " follow");
        std::size_t length = 0;
        if (!DataLength(g, i, at, length))
            return false;
        g.data = m_s.substr(i, declared);
        m_graphics.push_back(std::move(g));
        m_pos = i + length;
        m_pos += LineEndAt(m_pos);
        return true;
    }

    // Finds where the raw bytes of `g` (starting at `start`) end. Normally
    // after bytesPerRow x rows bytes. The filter may send one packed row
    // more than the header counts: its bytes-per-row value is the raw length
    // divided by the rows, so raw length = L x (rows + 1) for the true row
    // length L; with no rows at all the raw bytes run up to the print line.
    bool DataLength(const Graphic& g, std::size_t start, std::size_t at, std::size_t& length)
    {
        long declared = g.bytesPerRow * g.rows;
        if (DataMayEndAt(start + declared)) {
            length = declared;
            return true;
        }
        long extra = 0;
        if (g.rows > 0) {
            long rowLength = (g.bytesPerRow * g.rows + g.rows) / (g.rows + 1);  // ceil(p h / (h + 1))
            long raw = rowLength * (g.rows + 1);
            if (raw / g.rows == g.bytesPerRow && raw > declared &&
                static_cast<std::size_t>(raw) <= m_s.size() - start && DataMayEndAt(start + raw))
                extra = raw - declared;
        } else {
            for (std::size_t p = start; p < m_s.size() && extra == 0; ++p) {
                std::size_t end = LineEndAt(p);
                if (end > 0 && PrintLineAt(p + end))
                    extra = static_cast<long>(p - start);
            }
        }
        if (extra == 0)
            return Fail(start + declared, "GW graphic data (" + std::to_string(g.bytesPerRow) + " bytes per row x " +
                                              std::to_string(g.rows) + " rows) is not followed by a line end");
        m_doc.notes.push_back(At(at) + "GW carries " + std::to_string(extra) + " bytes beyond its " +
                              std::to_string(g.bytesPerRow) + " x " + std::to_string(g.rows) +
                              " bytes (one packed row more than declared); skipped");
        length = declared + extra;
        return true;
    }

    const std::string& m_s;
    Document& m_doc;
    std::size_t m_pos = 0;
    ParseError m_err;
    std::vector<Graphic> m_graphics;  // the printer's image buffer
    std::vector<Box> m_boxes;
};

}  // namespace

bool ParseEpl(const std::string& stream, Document& doc, ParseError& err)
{
    doc = Document{};
    return Parser(stream, doc).Run(err);
}

}  // namespace eplview
