// EPL stream reader for tests: command lines, graphic blocks and their
// one-bit images.
#include "EplStream.h"

#include <algorithm>
#include <cctype>
#include <climits>

namespace kvtest {

namespace {

const std::string kLineEnd = "\r\n";
const std::string kGraphicCommand = "GW";
// What a print line that ends a graphic block starts with: the block's own
// line end, then the print command.
const std::string kPrintLineStart = "\r\nP";
// The header carries four numbers: x, y, bytes per row, rows.
constexpr int kGraphicHeaderFields = 4;
constexpr int kBitsPerByte = 8;
constexpr long kDecimalBase = 10;
constexpr uint8_t kLeftmostBit = 0x80;

// Reads an optionally signed decimal number at `pos` of `text`; returns false
// when there is none or it does not fit a long. `pos` moves past it.
bool ReadNumber(const std::string& text, size_t& pos, long& value)
{
    const size_t start = pos;
    bool negative = false;
    if (pos < text.size() && text[pos] == '-') {
        negative = true;
        ++pos;
    }
    const size_t digits = pos;
    long v = 0;
    bool tooLong = false;
    while (pos < text.size() && isdigit(static_cast<unsigned char>(text[pos]))) {
        tooLong = tooLong || v > (LONG_MAX - (kDecimalBase - 1)) / kDecimalBase;
        if (!tooLong)
            v = v * kDecimalBase + (text[pos] - '0');
        ++pos;
    }
    if (pos == digits || tooLong) {
        pos = start;
        return false;
    }
    value = negative ? -v : v;
    return true;
}

// Parses "GWx,y,bytesPerRow,rows," (the whole line); false when malformed.
bool ParseGraphicHeader(const std::string& line, GwBlock& gw)
{
    if (line.compare(0, kGraphicCommand.size(), kGraphicCommand) != 0)
        return false;
    size_t pos = kGraphicCommand.size();
    long fields[kGraphicHeaderFields] = {};
    for (long& field : fields) {
        if (!ReadNumber(line, pos, field) || pos >= line.size() || line[pos] != ',')
            return false;
        ++pos;
    }
    if (pos != line.size())
        return false;
    gw.x = fields[0];
    gw.y = fields[1];
    gw.bytesPerRow = fields[2];
    gw.rows = fields[3];
    gw.header = line;
    return true;
}

// True when "\r\nP<count>\r\n" (count optionally signed) begins at `pos`.
bool PrintLineAt(const std::string& bytes, size_t pos)
{
    if (bytes.compare(pos, kPrintLineStart.size(), kPrintLineStart) != 0)
        return false;
    size_t p = pos + kPrintLineStart.size();
    long count = 0;
    if (!ReadNumber(bytes, p, count))
        return false;
    return bytes.compare(p, kLineEnd.size(), kLineEnd) == 0;
}

// True when `tail` reads cleanly as lines of the commands the filter sends,
// each known by its first letter, and graphic blocks.
bool ReadsAsCommands(const std::string& tail)
{
    static const std::string kCommandLetters = "NIWZSDOJfqQPLG";
    const EplStream rest = ParseEpl(tail);
    if (!rest.error.empty())
        return false;
    for (const EplItem& item : rest.items)
        if (item.line.empty() || kCommandLetters.find(item.line[0]) == std::string::npos)
            return false;
    return true;
}

// Where the raw bytes of a graphic block that start at `start` end, by the
// rule in the header; npos when the block has no print line after it.
size_t RawEnd(const std::string& bytes, size_t start, const GwBlock& gw)
{
    if (gw.rows > 0 && gw.bytesPerRow >= 0) {
        const size_t rows = static_cast<size_t>(gw.rows);
        const size_t rowBytes = static_cast<size_t>(gw.bytesPerRow);
        const size_t room = bytes.size() - start;
        // A header that claims more bytes than the stream holds has no end.
        if (rows > room || (rowBytes > 0 && rows > room / rowBytes))
            return std::string::npos;
        const size_t first = start + rowBytes * rows;
        const size_t last = std::min(first + rows - 1, bytes.size());
        for (size_t pos = last + 1; pos-- > first;)
            if (PrintLineAt(bytes, pos))
                return pos;
        return std::string::npos;
    }
    for (size_t pos = start; pos < bytes.size(); ++pos)
        if (PrintLineAt(bytes, pos) && ReadsAsCommands(bytes.substr(pos + kLineEnd.size())))
            return pos;
    return std::string::npos;
}

}  // namespace

EplStream ParseEpl(const std::string& bytes)
{
    EplStream stream;
    size_t pos = 0;
    while (pos < bytes.size()) {
        const size_t end = bytes.find(kLineEnd, pos);
        if (end == std::string::npos) {
            stream.error = "unterminated line at offset " + std::to_string(pos);
            return stream;
        }
        EplItem item;
        item.line = bytes.substr(pos, end - pos);
        pos = end + kLineEnd.size();
        if (item.line.compare(0, kGraphicCommand.size(), kGraphicCommand) == 0) {
            item.graphic = true;
            if (!ParseGraphicHeader(item.line, item.gw)) {
                stream.error = "malformed graphic header \"" + item.line + "\"";
                return stream;
            }
            const size_t rawEnd = RawEnd(bytes, pos, item.gw);
            if (rawEnd == std::string::npos) {
                stream.error = "graphic block \"" + item.line + "\" has no print line after it";
                return stream;
            }
            item.gw.raw = bytes.substr(pos, rawEnd - pos);
            pos = rawEnd + kLineEnd.size();
        }
        stream.items.push_back(std::move(item));
    }
    return stream;
}

std::vector<std::string> CommandLines(const EplStream& stream)
{
    std::vector<std::string> lines;
    for (const EplItem& item : stream.items)
        lines.push_back(item.line);
    return lines;
}

std::vector<GwBlock> Graphics(const EplStream& stream)
{
    std::vector<GwBlock> blocks;
    for (const EplItem& item : stream.items)
        if (item.graphic)
            blocks.push_back(item.gw);
    return blocks;
}

bool Bitmap1::White(size_t x, size_t y) const
{
    if (x >= Width() || y >= rows)
        return true;
    return (bytes[y * rowBytes + x / kBitsPerByte] & (kLeftmostBit >> (x % kBitsPerByte))) != 0;
}

std::vector<uint8_t> Bitmap1::Row(size_t y) const
{
    if (y >= rows)
        return {};
    return std::vector<uint8_t>(bytes.begin() + static_cast<long>(y * rowBytes),
                                bytes.begin() + static_cast<long>((y + 1) * rowBytes));
}

std::string Bitmap1::RowText(size_t y, size_t width) const
{
    std::string text;
    for (size_t x = 0; x < width; ++x)
        text += White(x, y) ? '.' : '#';
    return text;
}

Bitmap1 DecodeGw(const GwBlock& gw, size_t rowBytes)
{
    Bitmap1 image;
    image.rowBytes = rowBytes ? rowBytes : static_cast<size_t>(gw.bytesPerRow > 0 ? gw.bytesPerRow : 0);
    if (image.rowBytes == 0)
        return image;
    image.rows = gw.raw.size() / image.rowBytes;
    image.bytes.assign(gw.raw.begin(), gw.raw.begin() + static_cast<long>(image.rows * image.rowBytes));
    return image;
}

}  // namespace kvtest
