// PNG reading and writing for the tests. The CRC here is computed bit by
// bit, on purpose unlike eplview's table-driven one, so that a wrong table
// there cannot pass unnoticed.
#include "PngFile.h"

#include <algorithm>

namespace kvtool {
namespace {

constexpr std::uint32_t kCrcPolynomial = 0xEDB88320u;
constexpr std::uint32_t kAdlerModulus = 65521u;
const std::string kSignature("\x89PNG\r\n\x1a\n", 8);
constexpr int kGreyscale = 0;

std::uint32_t BitwiseCrc(const std::string& bytes)
{
    std::uint32_t c = 0xffffffffu;
    for (char ch : bytes) {
        c ^= static_cast<std::uint8_t>(ch);
        for (int k = 0; k < 8; ++k)
            c = (c >> 1) ^ ((c & 1) ? kCrcPolynomial : 0);
    }
    return c ^ 0xffffffffu;
}

std::uint32_t Adler(const std::string& bytes)
{
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (char ch : bytes) {
        a = (a + static_cast<std::uint8_t>(ch)) % kAdlerModulus;
        b = (b + a) % kAdlerModulus;
    }
    return (b << 16) | a;
}

std::uint32_t U32(const std::string& s, std::size_t at)
{
    return (std::uint32_t(std::uint8_t(s[at])) << 24) | (std::uint32_t(std::uint8_t(s[at + 1])) << 16) |
           (std::uint32_t(std::uint8_t(s[at + 2])) << 8) | std::uint32_t(std::uint8_t(s[at + 3]));
}

std::uint32_t U16LE(const std::string& s, std::size_t at)
{
    return std::uint32_t(std::uint8_t(s[at])) | (std::uint32_t(std::uint8_t(s[at + 1])) << 8);
}

void PutU32(std::string& out, std::uint32_t v)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out += static_cast<char>((v >> shift) & 0xff);
}

void PutChunk(std::string& out, const std::string& type, const std::string& data)
{
    PutU32(out, static_cast<std::uint32_t>(data.size()));
    out += type + data;
    PutU32(out, BitwiseCrc(type + data));
}

// Inflates a zlib stream made of stored blocks only; false on anything else.
bool InflateStored(const std::string& z, std::string& raw, std::string& error)
{
    if (z.size() < 6 || (std::uint8_t(z[0]) & 0x0f) != 8 ||
        ((std::uint8_t(z[0]) << 8) | std::uint8_t(z[1])) % 31 != 0) {
        error = "bad zlib header";
        return false;
    }
    std::size_t pos = 2;
    bool last = false;
    while (!last) {
        if (pos + 5 > z.size()) {
            error = "zlib stream cut short";
            return false;
        }
        std::uint8_t head = std::uint8_t(z[pos]);
        last = head & 1;
        if ((head >> 1) != 0) {
            error = "deflate block is not stored";
            return false;
        }
        std::uint32_t len = U16LE(z, pos + 1);
        if ((len ^ U16LE(z, pos + 3)) != 0xffff || pos + 5 + len > z.size()) {
            error = "bad stored block length";
            return false;
        }
        raw.append(z, pos + 5, len);
        pos += 5 + len;
    }
    if (pos + 4 != z.size() || U32(z, pos) != Adler(raw)) {
        error = "bad Adler-32 sum";
        return false;
    }
    return true;
}

// Splits the chunks; false when one is cut short or its CRC is wrong.
bool ReadChunks(const std::string& file, PngImage& img, std::string& idat)
{
    std::size_t pos = kSignature.size();
    while (pos + 12 <= file.size()) {
        std::uint32_t len = U32(file, pos);
        if (pos + 12 + len > file.size()) {
            img.error = "chunk cut short";
            return false;
        }
        std::string type = file.substr(pos + 4, 4);
        std::string data = file.substr(pos + 8, len);
        if (U32(file, pos + 8 + len) != BitwiseCrc(type + data)) {
            img.error = "bad CRC in " + type;
            return false;
        }
        img.chunkTypes.push_back(type);
        if (type == "IHDR" && len == 13) {
            img.width = U32(data, 0);
            img.height = U32(data, 4);
            img.bitDepth = std::uint8_t(data[8]);
            img.colourType = std::uint8_t(data[9]);
        } else if (type == "tEXt") {
            std::size_t zero = data.find('\0');
            img.texts[data.substr(0, zero)] = zero == std::string::npos ? "" : data.substr(zero + 1);
        } else if (type == "IDAT")
            idat += data;
        pos += 12 + len;
    }
    if (pos != file.size() || img.chunkTypes.empty() || img.chunkTypes.back() != "IEND") {
        img.error = "no IEND at the end";
        return false;
    }
    return true;
}

}  // namespace

bool PngImage::IsBlack(std::uint32_t x, std::uint32_t y) const
{
    if (x >= width || y >= rows.size() || bitDepth != 1)
        return false;
    return ((rows[y][x / 8] >> (7 - x % 8)) & 1) == 0;
}

long PngImage::BlackIn(std::uint32_t x0, std::uint32_t y0, std::uint32_t x1, std::uint32_t y1) const
{
    long n = 0;
    for (std::uint32_t y = y0; y < y1; ++y)
        for (std::uint32_t x = x0; x < x1; ++x)
            n += IsBlack(x, y);
    return n;
}

PngImage DecodeStoredPng(const std::string& file)
{
    PngImage img;
    if (file.compare(0, kSignature.size(), kSignature) != 0) {
        img.error = "no PNG signature";
        return img;
    }
    std::string idat;
    std::string raw;
    if (!ReadChunks(file, img, idat) || !InflateStored(idat, raw, img.error))
        return img;
    if (img.colourType != kGreyscale) {
        img.error = "not a greyscale image";
        return img;
    }
    std::size_t rowBytes = (std::size_t(img.width) * img.bitDepth + 7) / 8;
    if (raw.size() != (rowBytes + 1) * img.height) {
        img.error = "image data has the wrong size";
        return img;
    }
    for (std::uint32_t y = 0; y < img.height; ++y) {
        std::size_t at = y * (rowBytes + 1);
        if (raw[at] != 0) {
            img.error = "filtered row";
            return img;
        }
        img.rows.emplace_back(raw.begin() + at + 1, raw.begin() + at + 1 + rowBytes);
    }
    return img;
}

namespace {

// The scanline of `grey` row `y` in `bits` bits per pixel.
std::string GreyScanline(const std::vector<std::uint8_t>& grey, std::uint32_t width, std::uint32_t y, unsigned bits)
{
    const std::uint8_t* row = grey.data() + std::size_t(y) * width;
    if (bits == 8)
        return std::string(reinterpret_cast<const char*>(row), width);
    std::string line((width + 7) / 8, '\0');
    for (std::uint32_t x = 0; x < width; ++x)
        if (row[x] >= 128)
            line[x / 8] = static_cast<char>(line[x / 8] | (0x80 >> (x % 8)));
    return line;
}

}  // namespace

std::string EncodeGreyPng(std::uint32_t width, std::uint32_t height, const std::vector<std::uint8_t>& grey,
                          std::uint32_t dpi, unsigned bits)
{
    constexpr std::size_t kMaxStored = 65535;
    std::string raw;
    for (std::uint32_t y = 0; y < height; ++y) {
        raw += '\0';
        raw += GreyScanline(grey, width, y, bits);
    }
    std::string z("\x78\x01", 2);
    std::size_t pos = 0;
    do {
        std::size_t n = std::min(kMaxStored, raw.size() - pos);
        z += static_cast<char>(pos + n == raw.size() ? 1 : 0);
        z += static_cast<char>(n & 0xff);
        z += static_cast<char>(n >> 8);
        z += static_cast<char>(~n & 0xff);
        z += static_cast<char>((~n >> 8) & 0xff);
        z.append(raw, pos, n);
        pos += n;
    } while (pos < raw.size());
    PutU32(z, Adler(raw));
    std::string ihdr;
    PutU32(ihdr, width);
    PutU32(ihdr, height);
    ihdr += static_cast<char>(bits);
    ihdr += std::string(4, '\0');  // greyscale, deflate, no filter set, no interlace
    std::string png = kSignature;
    PutChunk(png, "IHDR", ihdr);
    if (dpi) {
        constexpr double kMetresPerInch = 0.0254;
        const auto perMetre = static_cast<std::uint32_t>(dpi / kMetresPerInch + 0.5);
        std::string phys;
        PutU32(phys, perMetre);
        PutU32(phys, perMetre);
        phys += '\x01';  // the unit is the metre
        PutChunk(png, "pHYs", phys);
    }
    PutChunk(png, "IDAT", z);
    PutChunk(png, "IEND", "");
    return png;
}

}  // namespace kvtool
