// The application's page lines as the filter reads them. PAPPL 1.3 gets
// grey PNG pictures wrong in two ways that the lines can undo: in colour it
// makes each RGB pixel from three neighbouring grey samples (the pixel's
// own in red), so every edge moves by a dot or two once the page is grey
// again; and it leaves 1-, 2- and 4-bit samples unscaled, so a black and
// white picture prints all black. Alpha it composites on black, which
// cannot be undone here.
#include "PageLines.h"

#include <cstring>

namespace kvapp {
namespace {

constexpr unsigned kRgbBytes = 3;
constexpr int kWhite = 255;

}  // namespace

LineForm::Channels WidenGreyHeader(cups_page_header2_t& header)
{
    constexpr unsigned kGreyBits = 8, kRgbBits = 24;
    if (header.cupsBitsPerPixel != kGreyBits || header.cupsBitsPerColor != kGreyBits)
        return LineForm::kRgb;
    LineForm::Channels channels;
    if (header.cupsColorSpace == CUPS_CSPACE_SW || header.cupsColorSpace == CUPS_CSPACE_W)
        channels = LineForm::kGrey;
    else if (header.cupsColorSpace == CUPS_CSPACE_K)
        channels = LineForm::kInk;
    else
        return LineForm::kRgb;
    header.cupsBitsPerPixel = kRgbBits;
    header.cupsBytesPerLine = header.cupsWidth * kRgbBytes;
    header.cupsColorSpace = CUPS_CSPACE_SRGB;
    header.cupsNumColors = kRgbBytes;
    return channels;
}

int GreyPngWhite(const std::string& head)
{
    // The signature, then the IHDR chunk: its length and name, the width,
    // the height, the bit depth and the colour type.
    static const char kSignature[] = "\x89PNG\r\n\x1a\n";
    constexpr size_t kSignatureBytes = 8, kChunkNameAt = 12, kDepthAt = 24, kColourTypeAt = 25;
    constexpr unsigned char kGreyType = 0, kGreyAlphaType = 4;
    if (head.size() <= kColourTypeAt || head.compare(0, kSignatureBytes, kSignature, kSignatureBytes) != 0 ||
        head.compare(kChunkNameAt, 4, "IHDR") != 0)
        return 0;
    const auto colourType = static_cast<unsigned char>(head[kColourTypeAt]);
    if (colourType != kGreyType && colourType != kGreyAlphaType)
        return 0;
    const int depth = static_cast<unsigned char>(head[kDepthAt]);
    return depth == 1 || depth == 2 || depth == 4 ? (1 << depth) - 1 : kWhite;
}

void WidenLine(const LineForm& form, const unsigned char* line, std::vector<unsigned char>& out)
{
    if (form.AsTheyCome()) {
        memcpy(out.data(), line, out.size());
        return;
    }
    const size_t width = out.size() / kRgbBytes;
    const size_t step = form.channels == LineForm::kRgb ? kRgbBytes : 1;
    const int white = form.pictureWhite > 0 ? form.pictureWhite : kWhite;
    for (size_t x = 0; x < width; ++x) {
        int v = line[x * step];
        if (white != kWhite)
            v = v >= white ? kWhite : v * kWhite / white;
        if (form.channels == LineForm::kInk)
            v = kWhite - v;
        out[kRgbBytes * x] = out[kRgbBytes * x + 1] = out[kRgbBytes * x + 2] = static_cast<unsigned char>(v);
    }
}

}  // namespace kvapp
