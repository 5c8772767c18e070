// The synthetic 4 x 6 inch label the benchmarks print: white paper with a
// black frame, text-like bars, a barcode, a dark and a light grey block and
// near-white paper noise, so every branch of the pipeline (white,
// near-white, ink, grey) is taken as on a real label.
#ifndef KV_BENCH_BENCHLABEL_H
#define KV_BENCH_BENCHLABEL_H

#include <cstdint>
#include <vector>

namespace kvbench {

// 4 x 6 inches in pixels at `dpi`.
constexpr uint32_t LabelWidth(uint32_t dpi)
{
    return 4 * dpi;
}
constexpr uint32_t LabelHeight(uint32_t dpi)
{
    return 6 * dpi;
}

// The label as rows of RGB triplets, `width` x `height`, no row padding.
inline std::vector<uint8_t> LabelRgb(uint32_t width, uint32_t height)
{
    std::vector<uint8_t> rgb(static_cast<size_t>(width) * height * 3, 255);
    // The picture's parts are placed in fractions of the label's width and
    // height; text lines are 24 pixels apart, characters 9 wide; every 97th
    // diagonal carries a near-white speck.
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const bool frame =
                x < width / 80 || x >= width - width / 80 || y < height / 120 || y >= height - height / 120;
            const bool text = y > height / 20 && y < height * 4 / 10 && (y / 24) % 3 == 1 && (x / 9) % 4 != 3 &&
                              x > width / 10 && x < width * 9 / 10;
            const bool barcode = y > height * 5 / 10 && y < height * 7 / 10 && x > width / 8 && x < width * 7 / 8 &&
                                 ((x * 7919u) / 13u) % 3 == 0;
            const bool blockRows = y > height * 75 / 100 && y < height * 85 / 100;
            const bool darkBlock = blockRows && x > width / 10 && x < width * 4 / 10;
            const bool lightBlock = blockRows && x > width * 5 / 10 && x < width * 8 / 10;
            uint8_t* p = &rgb[(static_cast<size_t>(y) * width + x) * 3];
            if (frame || text || barcode) {
                p[0] = p[1] = p[2] = 0;
            } else if (darkBlock) {
                p[0] = 90;
                p[1] = 100;
                p[2] = 110;
            } else if (lightBlock) {
                p[0] = p[1] = p[2] = 190;
            } else if ((x + y) % 97 == 0) {
                p[0] = 252;  // paper noise, near-white
                p[1] = 251;
                p[2] = 253;
            }
        }
    }
    return rgb;
}

}  // namespace kvbench

#endif
