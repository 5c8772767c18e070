// A printed label as a one-bit image, drawn from the graphics and lines of
// an EPL2 label the way the printer draws them into its image buffer.
#ifndef KV_TOOLS_LABELBITMAP_H
#define KV_TOOLS_LABELBITMAP_H

#include <cstdint>
#include <vector>

#include "EplDocument.h"

namespace eplview {

// Rows of packed bits, bit 7 the leftmost pixel, 1 white and 0 black (the
// polarity of EPL2 graphic data and of a one-bit grey PNG).
class LabelBitmap {
public:
    // An all-white image; a side below 1 is taken as 1.
    LabelBitmap(long width, long height);

    long Width() const { return m_width; }
    long Height() const { return m_height; }
    long RowBytes() const { return m_rowBytes; }
    const std::vector<std::uint8_t>& Bits() const { return m_bits; }

    // Blackens one dot; dots outside the image are ignored.
    void SetBlack(long x, long y);
    // True for a black dot; false outside the image.
    bool IsBlack(long x, long y) const;

private:
    long m_width;
    long m_height;
    long m_rowBytes;
    std::vector<std::uint8_t> m_bits;
};

// Draws `label` at its size: every "LO" box, then every "GW" graphic whose 0
// bits print black (1 bits leave the dot as it is).
LabelBitmap RenderLabel(const Label& label);

}  // namespace eplview

#endif
