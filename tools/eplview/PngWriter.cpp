// PNG encoding for eplview; see PngWriter.h for what is written and why.
#include "PngWriter.h"

#include <algorithm>
#include <array>

namespace eplview {
namespace {

constexpr std::uint32_t kCrcPolynomial = 0xEDB88320u;  // reflected CRC-32, as PNG requires
constexpr std::uint32_t kAdlerModulus = 65521u;        // largest prime below 2^16
constexpr std::size_t kMaxStoredBlock = 65535;         // a stored block's length field is 16 bits
constexpr std::size_t kIdatChunk = 1u << 20;           // IDAT chunks of 1 MiB keep readers' buffers small
constexpr char kSignature[] = "\x89PNG\r\n\x1a\n";
constexpr std::size_t kSignatureLength = 8;
constexpr std::uint8_t kBitDepth = 1;
constexpr std::uint8_t kGreyscale = 0;       // colour type 0
constexpr std::uint8_t kNoFilter = 0;        // filter type of every row
constexpr std::uint8_t kZlibDeflate = 0x78;  // method 8, 32 KiB window
constexpr std::uint8_t kZlibCheck = 0x01;    // makes the header a multiple of 31, no dictionary

// Returns the CRC-32 table of all byte values, built once.
const std::array<std::uint32_t, 256>& CrcTable()
{
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t n = 0; n < t.size(); ++n) {
            std::uint32_t c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? kCrcPolynomial ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    return table;
}

// Appends `v` big-endian, as PNG stores its numbers.
void PutU32(std::string& out, std::uint32_t v)
{
    out += static_cast<char>(v >> 24);
    out += static_cast<char>(v >> 16);
    out += static_cast<char>(v >> 8);
    out += static_cast<char>(v);
}

// Appends the low 16 bits of `v` little-endian, as deflate stores lengths.
void PutU16LE(std::string& out, std::uint32_t v)
{
    out += static_cast<char>(v & 0xff);
    out += static_cast<char>((v >> 8) & 0xff);
}

// Appends one chunk: length, type, data, CRC of type and data.
void PutChunk(std::string& out, const std::string& type, const std::string& data)
{
    PutU32(out, static_cast<std::uint32_t>(data.size()));
    std::string body = type + data;
    out += body;
    PutU32(out, Crc32(body));
}

// Returns the rows as PNG scanlines: a filter byte, then the packed row.
std::string Scanlines(const LabelBitmap& image)
{
    std::string raw;
    auto rowBytes = static_cast<std::size_t>(image.RowBytes());
    raw.reserve((rowBytes + 1) * static_cast<std::size_t>(image.Height()));
    const std::vector<std::uint8_t>& bits = image.Bits();
    for (long y = 0; y < image.Height(); ++y) {
        raw += static_cast<char>(kNoFilter);
        raw.append(reinterpret_cast<const char*>(bits.data()) + static_cast<std::size_t>(y) * rowBytes, rowBytes);
    }
    return raw;
}

// Returns a zlib stream holding `raw` in stored deflate blocks.
std::string StoredZlib(const std::string& raw)
{
    std::string z;
    z += static_cast<char>(kZlibDeflate);
    z += static_cast<char>(kZlibCheck);
    std::size_t pos = 0;
    do {
        std::size_t n = std::min(kMaxStoredBlock, raw.size() - pos);
        bool last = pos + n == raw.size();
        z += static_cast<char>(last ? 1 : 0);  // BFINAL bit, block type 00 (stored)
        PutU16LE(z, static_cast<std::uint32_t>(n));
        PutU16LE(z, static_cast<std::uint32_t>(~n & 0xffff));
        z.append(raw, pos, n);
        pos += n;
    } while (pos < raw.size());
    PutU32(z, Adler32(raw));
    return z;
}

}  // namespace

std::uint32_t Crc32(const std::string& bytes, std::uint32_t crc)
{
    const std::array<std::uint32_t, 256>& t = CrcTable();
    std::uint32_t c = crc ^ 0xffffffffu;
    for (char ch : bytes)
        c = t[(c ^ static_cast<std::uint8_t>(ch)) & 0xff] ^ (c >> 8);
    return c ^ 0xffffffffu;
}

std::uint32_t Adler32(const std::string& bytes)
{
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (char ch : bytes) {
        a = (a + static_cast<std::uint8_t>(ch)) % kAdlerModulus;
        b = (b + a) % kAdlerModulus;
    }
    return (b << 16) | a;
}

std::string EncodePng(const LabelBitmap& image, const std::vector<std::pair<std::string, std::string>>& texts)
{
    std::string png(kSignature, kSignatureLength);
    std::string ihdr;
    PutU32(ihdr, static_cast<std::uint32_t>(image.Width()));
    PutU32(ihdr, static_cast<std::uint32_t>(image.Height()));
    ihdr += static_cast<char>(kBitDepth);
    ihdr += static_cast<char>(kGreyscale);
    ihdr += '\0';  // compression method: deflate
    ihdr += '\0';  // filter method: adaptive
    ihdr += '\0';  // no interlace
    PutChunk(png, "IHDR", ihdr);
    for (const auto& [keyword, text] : texts)
        PutChunk(png, "tEXt", keyword + std::string(1, '\0') + text);
    std::string z = StoredZlib(Scanlines(image));
    for (std::size_t pos = 0; pos < z.size(); pos += kIdatChunk)
        PutChunk(png, "IDAT", z.substr(pos, kIdatChunk));
    PutChunk(png, "IEND", "");
    return png;
}

}  // namespace eplview
