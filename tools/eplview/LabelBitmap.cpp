// Drawing of a label's image buffer, clipped to the label.
#include "LabelBitmap.h"

#include <algorithm>

namespace eplview {
namespace {

constexpr int kBitsPerByte = 8;
constexpr std::uint8_t kAllWhite = 0xff;
constexpr std::uint8_t kLeftmostBit = 0x80;

// Blackens the part of box `b` that lies on the label.
void DrawBox(LabelBitmap& bmp, const Box& b)
{
    long top = std::max(0L, b.y);
    long bottom = std::min(bmp.Height(), b.y + b.height);
    long left = std::max(0L, b.x);
    long right = std::min(bmp.Width(), b.x + b.width);
    for (long y = top; y < bottom; ++y)
        for (long x = left; x < right; ++x)
            bmp.SetBlack(x, y);
}

// Blackens the dots of graphic `g` whose bits are 0.
void DrawGraphic(LabelBitmap& bmp, const Graphic& g)
{
    // Only the rows that fall on the label are visited.
    long first = std::max(0L, -g.y);
    long last = std::min(g.rows, bmp.Height() - g.y);
    for (long r = first; r < last; ++r) {
        long y = g.y + r;
        for (long k = 0; k < g.bytesPerRow; ++k) {
            auto byte = static_cast<std::uint8_t>(g.data[static_cast<std::size_t>(r * g.bytesPerRow + k)]);
            for (int bit = 0; bit < kBitsPerByte; ++bit)
                if ((byte & (kLeftmostBit >> bit)) == 0)
                    bmp.SetBlack(g.x + k * kBitsPerByte + bit, y);
        }
    }
}

}  // namespace

LabelBitmap::LabelBitmap(long width, long height)
        : m_width(std::max(1L, width)), m_height(std::max(1L, height)),
          m_rowBytes((m_width + kBitsPerByte - 1) / kBitsPerByte),
          m_bits(static_cast<std::size_t>(m_rowBytes * m_height), kAllWhite)
{
}

void LabelBitmap::SetBlack(long x, long y)
{
    if (x < 0 || y < 0 || x >= m_width || y >= m_height)
        return;
    m_bits[static_cast<std::size_t>(y * m_rowBytes + x / kBitsPerByte)] &=
        static_cast<std::uint8_t>(~(kLeftmostBit >> (x % kBitsPerByte)));
}

bool LabelBitmap::IsBlack(long x, long y) const
{
    if (x < 0 || y < 0 || x >= m_width || y >= m_height)
        return false;
    return (m_bits[static_cast<std::size_t>(y * m_rowBytes + x / kBitsPerByte)] &
            (kLeftmostBit >> (x % kBitsPerByte))) == 0;
}

LabelBitmap RenderLabel(const Label& label)
{
    LabelBitmap bmp(label.width, label.length);
    for (const Box& b : label.boxes)
        DrawBox(bmp, b);
    for (const Graphic& g : label.graphics)
        DrawGraphic(bmp, g);
    return bmp;
}

}  // namespace eplview
