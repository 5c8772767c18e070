// Helpers for the image tests: deterministic random images rich in the
// values the operations treat specially (white, near-white, black), and
// small builders for headers, colours and buffers.
#ifndef KV_TESTS_IMAGING_IMAGETESTSUPPORT_H
#define KV_TESTS_IMAGING_IMAGETESTSUPPORT_H

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "BmpProcessing.h"
#include "MallocBuffer.h"

namespace kvtest {

// Row stride of the bitmaps: rows padded to 4 bytes.
inline uint32_t Stride(uint32_t bitCount, uint32_t width)
{
    return static_cast<uint32_t>(BmpRowStride(bitCount, width));
}

// A colour record from red, green, blue (the argument order people read).
inline tagRGBQUAD Rgb(uint8_t red, uint8_t green, uint8_t blue, uint8_t reserved = 0)
{
    return tagRGBQUAD{blue, green, red, reserved};
}

// A header for a width x height image at the given depth.
inline tagBITMAPINFOHEADER Header(int32_t width, int32_t height, uint16_t bitCount)
{
    tagBITMAPINFOHEADER h{};
    h.biSize = sizeof(tagBITMAPINFOHEADER);
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = bitCount;
    h.biSizeImage = Stride(bitCount, static_cast<uint32_t>(width)) * static_cast<uint32_t>(height);
    return h;
}

// Owns a buffer that an operation allocated with malloc.
using Owned = kvimg::MallocBuffer;

// Random pixel bytes where a good share of pixels is white, near-white
// (every channel 246..255), black, or grey, so every branch is taken.
class RandomImages {
public:
    explicit RandomImages(uint32_t seed) : m_gen(seed) {}

    // Returns one random byte in lo..hi.
    uint8_t Byte(int lo, int hi) { return static_cast<uint8_t>(std::uniform_int_distribution<int>(lo, hi)(m_gen)); }

    // Returns a random integer in lo..hi.
    int Int(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_gen); }

    // Returns a random float in lo..hi.
    float Float(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(m_gen); }

    // Returns a stride x height image whose padding bytes are random too.
    std::vector<uint8_t> Image(uint32_t width, uint32_t height, uint32_t bitCount)
    {
        const uint32_t stride = Stride(bitCount, width);
        std::vector<uint8_t> img(static_cast<size_t>(stride) * height);
        for (auto& b : img) {
            b = Byte(0, 255);
        }
        const uint32_t bytes = bitCount == 24 ? 3 : bitCount == 32 ? 4 : 1;
        if (bitCount == 1) {
            return img;
        }
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t x = 0; x < width; ++x) {
                FillPixel(&img[static_cast<size_t>(y) * stride + x * bytes], bytes);
            }
        }
        return img;
    }

private:
    // Writes one pixel of one of the special kinds, or random channels.
    void FillPixel(uint8_t* p, uint32_t bytes)
    {
        const int kind = Int(0, 9);
        for (uint32_t i = 0; i < bytes; ++i) {
            switch (kind) {
            case 0:
            case 1:
                p[i] = 255;
                break;
            case 2:
            case 3:
                p[i] = Byte(246, 255);
                break;
            case 4:
                p[i] = 0;
                break;
            case 5:
                p[i] = i == 0 ? Byte(0, 255) : p[0];
                break;
            default:
                p[i] = Byte(0, 255);
            }
        }
    }

    std::mt19937 m_gen;
};

}  // namespace kvtest

#endif
