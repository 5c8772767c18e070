// Pixel, rectangle and bitmap-header records exchanged by every image
// operation. They keep the little-endian layout of the device-independent
// bitmap (BMP) format so a page can be dumped to a .bmp file as it is.
#ifndef KV_IMAGING_BMPRECORDS_H
#define KV_IMAGING_BMPRECORDS_H

#include <cstdint>

#pragma pack(push, 1)

// One 32-bit pixel: blue, green, red, reserved.
struct tagRGBQUAD {
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
};

// One converted pixel. Y is stored minus 127 (not 128) so it fits the same
// signed range as the chroma values; every consumer adds 127 back.
struct YCbCrQUAD {
    int16_t Y;
    int16_t Cb;
    int16_t Cr;
};

// The 40-byte bitmap information header of the BMP format.
struct tagBITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
};

// A rectangle; whether right and bottom are inclusive depends on the
// operation that uses it.
struct tagRECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

// One channel's levels setting: input black and white points, the gamma
// exponent applied to the normalised value, output black and white points.
struct COLORLEVELSITEM {
    float fGamma;
    uint8_t byInLow;
    uint8_t byInHigh;
    uint8_t byOutLow;
    uint8_t byOutHigh;
};

// The tone setting handed to the scaling operations. A `levels` of 0 or 300
// means "no levels table"; any other value applies the channel-0 table.
struct tagColorCFG {
    int16_t brightness;
    int16_t contrast;
    int16_t levels;
};

#pragma pack(pop)

static_assert(sizeof(COLORLEVELSITEM) == 8, "levels item is a float and four bytes");
static_assert(sizeof(tagColorCFG) == 6, "colour setting is three 16-bit values");
static_assert(sizeof(tagRGBQUAD) == 4, "RGBQUAD is one 32-bit pixel");
static_assert(sizeof(YCbCrQUAD) == 6, "YCbCr pixels advance by three 16-bit values");
static_assert(sizeof(tagBITMAPINFOHEADER) == 40, "BMP information header is 40 bytes");
static_assert(sizeof(tagRECT) == 16, "RECT is four 32-bit values");

// Bytes in one bitmap row of `width` pixels at `bitCount` bits per pixel:
// rows are padded to a multiple of 4 bytes.
inline int64_t BmpRowStride(int64_t bitCount, int64_t width)
{
    return ((bitCount * width + 31) / 32) * 4;
}

#endif
