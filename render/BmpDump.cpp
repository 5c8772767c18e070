// Debug dumps of a page buffer as a Windows BMP file, so a developer can
// look at what the page pipeline received and what it produced.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "EPLRender.h"
#include "SafeFile.h"
#include "log4z.h"

namespace {

constexpr uint16_t kBmpSignature = 0x4D42;  // "BM"
// The two headers before the palette.
constexpr uint32_t kFileHeaderSize = 14, kInfoHeaderSize = 40;
// 96 dots per inch, as pixels per metre.
constexpr int32_t kPixelsPerMetre = 3780;
constexpr mode_t kDumpUmask = 022;
// Created as fopen creates files, less the mask above: readable by all.
constexpr mode_t kDumpFileMode = 0666;
constexpr int kGreyLevels = 256;

struct FileCloser {
    void operator()(FILE* file) const { fclose(file); }
};
using FileHandle = std::unique_ptr<FILE, FileCloser>;

// Sets the file-creation mask for the lifetime of the object.
class UmaskScope {
public:
    explicit UmaskScope(mode_t mask) : m_old(umask(mask)) {}
    ~UmaskScope() { umask(m_old); }

private:
    mode_t m_old;
};

void PutU16(std::vector<unsigned char>& out, uint16_t v)
{
    out.push_back(static_cast<unsigned char>(v));
    out.push_back(static_cast<unsigned char>(v >> 8));
}

void PutU32(std::vector<unsigned char>& out, uint32_t v)
{
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<unsigned char>(v >> shift));
}

// The colour table for a depth: black and white for 1 bit, 256 greys (with
// 255 in the reserved byte) for 8 bits, none otherwise.
std::vector<unsigned char> ColourTable(int bitsPerPixel)
{
    std::vector<unsigned char> table;
    if (bitsPerPixel == 1) {
        table = {0, 0, 0, 0, 255, 255, 255, 0};
    } else if (bitsPerPixel == 8) {
        for (int i = 0; i < kGreyLevels; ++i)
            table.insert(table.end(), {static_cast<unsigned char>(i), static_cast<unsigned char>(i),
                                       static_cast<unsigned char>(i), 255});
    }
    return table;
}

// The 40-byte information header: the held page's header with the dump's
// size, depth and resolution written over it.
std::vector<unsigned char> InfoHeader(tagBITMAPINFOHEADER base, int width, int height, int bitsPerPixel,
                                      uint32_t imageSize)
{
    base.biSize = kInfoHeaderSize;
    base.biWidth = width;
    base.biHeight = height;
    base.biBitCount = static_cast<uint16_t>(bitsPerPixel);
    base.biSizeImage = imageSize;
    base.biXPelsPerMeter = kPixelsPerMetre;
    base.biYPelsPerMeter = kPixelsPerMetre;
    std::vector<unsigned char> out;
    PutU32(out, base.biSize);
    PutU32(out, static_cast<uint32_t>(base.biWidth));
    PutU32(out, static_cast<uint32_t>(base.biHeight));
    PutU16(out, base.biPlanes);
    PutU16(out, base.biBitCount);
    PutU32(out, base.biCompression);
    PutU32(out, base.biSizeImage);
    PutU32(out, static_cast<uint32_t>(base.biXPelsPerMeter));
    PutU32(out, static_cast<uint32_t>(base.biYPelsPerMeter));
    PutU32(out, base.biClrUsed);
    PutU32(out, base.biClrImportant);
    return out;
}

// Replaces whatever is at `path` with a new, empty file of ours. The dumps
// live where anyone may create names, so the file is only made new (never a
// link followed, never an existing file written into); when something we may
// not remove is in the way the dump is skipped, with a log line saying why.
FILE* CreateFreshDump(const char* path)
{
    if (path == nullptr)
        return nullptr;
    remove(path);
    kvfile::Refusal refusal = kvfile::Refusal::None;
    FILE* file = kvfile::openOwnStream(path, O_WRONLY | O_CREAT | O_EXCL, kDumpFileMode, "wb", &refusal);
    const std::string why = kvfile::describeRefusal(path, refusal);
    if (!why.empty())
        LOGFMTD("Debug bitmap skipped: %s", why.c_str());
    return file;
}

}  // namespace

void CEPLRender::LogData2BmpFile(const char* path, unsigned char* data, unsigned int size, int width, int height,
                                 int bitsPerPixel)
{
    UmaskScope mask(kDumpUmask);
    FileHandle file(CreateFreshDump(path));
    if (!file)
        return;
    const uint64_t stride = static_cast<uint64_t>(std::max<int64_t>(BmpRowStride(bitsPerPixel, width), 0));
    const uint64_t rows = static_cast<uint64_t>(std::max(height, 0));
    const uint32_t imageSize = static_cast<uint32_t>(stride * rows);
    std::vector<unsigned char> colours = ColourTable(bitsPerPixel);
    const uint32_t offset = kFileHeaderSize + kInfoHeaderSize + static_cast<uint32_t>(colours.size());

    std::vector<unsigned char> head;
    PutU16(head, kBmpSignature);
    PutU32(head, imageSize + offset);
    PutU16(head, 0);
    PutU16(head, 0);
    PutU32(head, offset);
    tagBITMAPINFOHEADER base{};
    if (m_pOemPdev)
        base = m_pOemPdev->bmInfoHeader;
    std::vector<unsigned char> info = InfoHeader(base, width, height, bitsPerPixel, imageSize);
    head.insert(head.end(), info.begin(), info.end());
    head.insert(head.end(), colours.begin(), colours.end());
    fwrite(head.data(), 1, head.size(), file.get());

    // Row r of the file takes the first size / height bytes of source row r,
    // in the order given: no flipping, padding left zero. A page cropped to
    // nothing has no bytes to copy or write (and its empty row buffer no
    // address to hand to memcpy or fwrite).
    std::vector<unsigned char> pixels(static_cast<size_t>(stride * rows), 0);
    const uint64_t sourceRow = rows ? size / rows : 0;
    const uint64_t copy = std::min(sourceRow, stride);
    for (uint64_t r = 0; data && copy > 0 && r < rows; ++r)
        memcpy(pixels.data() + r * stride, data + r * sourceRow, copy);
    if (!pixels.empty())
        fwrite(pixels.data(), 1, pixels.size(), file.get());
}
