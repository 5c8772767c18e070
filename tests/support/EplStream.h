// Reads the filter's EPL output back for tests: splits it into command lines
// and "GW" graphic blocks, and decodes a graphic block into a one-bit image
// (1 = white, bit 7 the leftmost pixel).
//
// Where a graphic block ends. The header "GWx,y,bytesPerRow,rows,\r\n" is
// followed by raw bytes that may hold any value, "\r\n" included, then by
// "\r\n". The header does not always give the raw length: the filter writes
// bytesPerRow = size / rows (truncated), and in print mode 0 (and when a page
// is fitted in print mode 1) the packed page carries one row more than
// `rows`. So the raw length S is not bytesPerRow x rows but some value with
// size / rows = bytesPerRow, that is bytesPerRow x rows <= S <
// bytesPerRow x rows + rows. Every graphic block the filter writes is
// followed directly by its print line "P<count>\r\n", and no command that
// follows a print line starts with "P". The rule is therefore: the raw block
// ends at the LAST position in that window where "\r\nP<digits>\r\n" begins.
// A match earlier in the window lies inside the raw bytes; none can lie
// after the true end. When rows is 0 (a one-row page in print mode 0: no
// window), the block ends at the first such position after which the rest
// of the stream reads as lines of the filter's own commands.
#ifndef KV_TESTS_EPLSTREAM_H
#define KV_TESTS_EPLSTREAM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kvtest {

// One "GW" block: the four header values and the raw bytes as sent.
struct GwBlock {
    long x = 0;
    long y = 0;
    long bytesPerRow = 0;
    long rows = 0;
    std::string header;  // "GWx,y,bytesPerRow,rows," without the line end
    std::string raw;
};

// One element of the stream: a command line (without "\r\n") or a graphic
// block.
struct EplItem {
    bool graphic = false;
    std::string line;  // the command line, or the graphic block's header
    GwBlock gw;        // only for a graphic block
};

struct EplStream {
    std::vector<EplItem> items;
    std::string error;  // empty when the whole input was read
};

// Splits `bytes` into command lines and graphic blocks. Reading stops at the
// first line without "\r\n", a malformed "GW" header or a graphic block
// without its print line; `error` then says where.
EplStream ParseEpl(const std::string& bytes);

// Every item as text: the command lines as they stand, graphic blocks as
// their header. A stream reads like the list of commands it carries.
std::vector<std::string> CommandLines(const EplStream& stream);

// The graphic blocks of the stream, in order.
std::vector<GwBlock> Graphics(const EplStream& stream);

// A one-bit image: `rows` rows of `rowBytes` bytes, 1 = white, bit 7 first.
struct Bitmap1 {
    size_t rowBytes = 0;
    size_t rows = 0;
    std::vector<uint8_t> bytes;

    size_t Width() const { return rowBytes * 8; }
    // True when pixel (x, y) is white; pixels outside the image are white.
    bool White(size_t x, size_t y) const;
    // The bytes of row `y`.
    std::vector<uint8_t> Row(size_t y) const;
    // Row `y` as text, '#' for black and '.' for white, `width` pixels.
    std::string RowText(size_t y, size_t width) const;
};

// Decodes the raw bytes of `gw` as rows of `rowBytes` bytes (0: the header's
// bytesPerRow). Every whole row carried is decoded, so the extra row of
// print mode 0 is included; a trailing part row is dropped.
Bitmap1 DecodeGw(const GwBlock& gw, size_t rowBytes = 0);

}  // namespace kvtest

#endif
