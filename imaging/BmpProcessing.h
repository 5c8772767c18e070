// The image processor: tone tables (levels and light) and every bitmap
// operation of the page pipeline (colour conversion, rotation, cropping,
// output format conversion, shrinking, interpolation and resampling).
#ifndef KV_IMAGING_BMPPROCESSING_H
#define KV_IMAGING_BMPPROCESSING_H

#include <cstdint>
#include <cwchar>

#include "BmpRecords.h"
#include "Interpolation.h"

// Channels of the levels data: 0, 1 and 2 own a table each; index 3 is the
// composite setting that is applied to the tables 0 to 2 not yet built.
constexpr int kLevelsChannels = 4;
constexpr int kCompositeChannel = 3;
constexpr int kToneEntries = 256;

class CBmpProcessing {
public:
    // Every channel setting at its default; tables 0 to 2 the identity.
    CBmpProcessing();
    // Releases nothing: every buffer belongs to the caller.
    virtual ~CBmpProcessing();

    // ---- Colour conversions and white balance (BmpColor.cpp) ----

    // Converts `count` pixels to YCbCr (luminance stored minus 127). The
    // destination count is not used.
    void RGB2YCbCr(const tagRGBQUAD* src, int64_t count, YCbCrQUAD* dst, int64_t dstCount);
    // Converts back to RGB; does nothing unless both counts are equal and
    // at least 1. The destination's reserved bytes are left as they were.
    void YCbCr2RGB(const YCbCrQUAD* src, int64_t count, tagRGBQUAD* dst, int64_t dstCount);
    // Grey-world balance of `count` target pixels from the averages of the
    // statistics array. Channels wrap modulo 256 (no clamping). Returns 1;
    // 0 only for null arrays.
    int AutoWhiteBalanceGrayWorld(const uint32_t* stats, int64_t count, uint32_t* target, int64_t targetCount);
    // Perfect-reflector balance: the target array gives the brightness
    // statistics and receives the result, the colour array the colours.
    // `ratio` is the share of brightest pixels in per cent. Returns 1; 0
    // only for null arrays.
    int AutoWhiteBalancePerfectReflector(const uint32_t* color, int64_t count, uint32_t* target, int64_t targetCount,
                                         int ratio);
    // Block-statistics balance of a width x height image. Returns 1, or 0
    // when the counts differ, the count is below 1 or the image does not
    // fit the count.
    int AutoWhiteBalanceNovel(const uint32_t* src, int64_t count, int64_t width, int64_t height, uint32_t* dst,
                              int64_t dstCount);

    // ---- Levels, light table and brightness (BmpLevels.cpp) ----

    // Resets the setting of `channel` to its default and, for tables not yet
    // built, the table to the identity. The ready flag is not touched.
    void InitColorLevelsData(int channel);
    // Builds the table of `channel` (index 3: every table 0..2 not yet
    // built) from its setting, once. Returns 1; 0 for a bad index.
    int InitColorLevelsTable(int channel);
    // Sets and builds one channel; only the first call per channel has
    // effect. A null item does nothing.
    void SetColorLevelsData(const COLORLEVELSITEM* item, int channel);
    // Looks all three channels up in table 0 and snaps near-white to white.
    // Returns 1; 0 for a null result.
    int GetColorLevelsData(tagRGBQUAD colour, tagRGBQUAD* result);
    // Rebuilds the light table from brightness and contrast.
    void SetLightTable(int brightness, int contrast);
    // Applies the light table to one pixel's three channels, keeping black
    // and white. Returns 1.
    int Light(unsigned char& first, unsigned char& second, unsigned char& third, int, int);
    // Brightness and contrast straight on an 8- or 24-bit buffer of `size`
    // bytes around the pivot colour; pure black and white are kept.
    void AdjustBrightness(unsigned char** buffer, unsigned int size, tagRGBQUAD pivot, int brightness, int contrast,
                          int bitCount);

    // ---- Geometry (BmpGeometry.cpp) ----

    // Rotates the rectangle's pixels by code 1 (half turn), 0 or 2 (quarter
    // turns) into a new or given buffer. Returns 1 when done or for other
    // codes, 0 when refused (a too-small buffer reports the needed size in
    // *outputCapacity).
    int RotateImgData(const unsigned char* src, unsigned int srcSize, tagRECT srcRect, tagBITMAPINFOHEADER* header,
                      short rotation, unsigned char** output, unsigned int* outputCapacity, tagRECT* outputRect);
    // Finds the box of ink pixels and, at 8 bits, copies it out. Returns 1
    // when done, 0 when refused.
    int RemoveBlankEdge(const unsigned char* src, unsigned int srcSize, const tagBITMAPINFOHEADER* header,
                        unsigned char** output, unsigned int* outputCapacity, tagRECT* found);
    // Copies an inclusive rectangle of an 8-bit image into rows whose width
    // is the rectangle's rounded up to a multiple of 8. Returns 1 when done,
    // 0 when refused.
    int Copy8BitImgBitRect(const unsigned char* src, unsigned int srcWidth, unsigned int srcHeight, unsigned char* dst,
                           const tagRECT* rect);
    // Whitens the periodic runs of `whiteRun` bytes (8 bits) or bits (1 bit)
    // after every `keptRun`. Returns 1; 0 for null data.
    int ResetBlackLineData(unsigned char* data, unsigned int size, short keptRun, short whiteRun, short bitCount);

    // ---- Output format conversion (BmpOutputFormat.cpp) ----

    // Turns an 8- or 24-bit page into oriented, optionally cropped 8-bit
    // grey. Returns 1 when done (also when nothing was kept), 0 when a given
    // output is too small or the input is unusable.
    int CoverBMP2OutputFormat(const unsigned char* src, unsigned int srcSize, unsigned char** output,
                              unsigned int* outputCapacity, tagBITMAPINFOHEADER* header, tagRECT* rect, int orientation,
                              int, int, COLORLEVELSITEM levels, bool mirror, int brightness, int contrast, int maxWidth,
                              short cropWhite);
    // Expands an in-memory 1-bit bitmap (header, two palette entries,
    // pixels) to unpadded 8-bit grey. Returns 1 when done, 0 when refused.
    int ConvertTo8BppBMP(const unsigned char* bitmap, unsigned int totalSize, unsigned char** output,
                         unsigned int* outputCapacity);
    // Cuts the last component off a path, optionally with its separator.
    void TakeOffExtName(wchar_t* path, bool dropSeparator);

    // ---- Shrinking (BmpShrink.cpp) ----

    // Box-averages an 8- or 24-bit image down to the destination size in one
    // pass. Returns 1, or 0 when a source, destination or size is missing
    // or the destination rows are too short.
    int InvoicQIShrinkImg2(uint32_t srcWidth, uint32_t srcHeight, uint32_t srcBitCount, uint32_t srcStride,
                           const unsigned char* src, const unsigned char* src2, uint32_t dstWidth, uint32_t dstHeight,
                           uint32_t dstBitCount, unsigned char** dst, unsigned char** dst2, uint32_t dstSize,
                           tagColorCFG color, int, tagColorCFG color2, int, tagRECT whiten);

    // ---- Interpolation kernels (InterpolationKernels.cpp) ----
    // Weight of a sample at signed distance x from the reconstructed point.

    // Piecewise polynomials, and the cubic with its free parameter.
    static float KernelBox(float x);
    static float KernelLinear(float x);
    static float KernelQuadratic(float x);
    static float KernelCubic(float x);
    static float KernelHermite(float x);
    static float KernelGeneralizedCubic(float x, float a);
    // Smoothing and windowed kernels, and the power kernel.
    static float KernelBSpline(float x);
    static float KernelMitchell(float x);
    static float KernelCatrom(float x);
    static float KernelGaussian(float x);
    static float KernelHanning(float x);
    static float KernelPower(float x, float a);
    static float KernelHamming(float x);
    static float KernelBlackman(float x);
    static float KernelSinc(float x);
    static float KernelLanczosSinc(float x, float r);
    // The Bessel kernel and the pieces of its first-order function.
    static float KernelBessel(float x);
    static float KernelBessel_Order1(float x);
    static float KernelBessel_J1(float x);
    static float KernelBessel_P1(float x);
    static float KernelBessel_Q1(float x);

    // ---- Pixel interpolation (Interpolation.cpp) ----

    // Binds the image that the interpolation reads. A null buffer, a size
    // that is not positive, or a stride too short for a row leaves the
    // processor with no usable image (every read gives the outside colour).
    void BindImage(const unsigned char* pixels, int32_t width, int32_t height, uint16_t bitCount, uint32_t stride);
    // Maps an outside position into the image by wrap, repeat or mirror.
    void OverflowCoordinates(int32_t& x, int32_t& y, OverflowMethod mode) const;
    // Reads one pixel, applying the outside rule and the near-white snap.
    tagRGBQUAD GetPixelColorWithOverflow(int32_t x, int32_t y, OverflowMethod mode,
                                         const tagRGBQUAD* replacement) const;
    // Adds colour times weight to the red, green and blue accumulators; the
    // fourth accumulator is not touched.
    void AddAveragingCont(const tagRGBQUAD& colour, float weight, float& red, float& green, float& blue,
                          float& alpha) const;
    // Reconstructs the colour at a fractional position.
    tagRGBQUAD GetPixelColorInterpolated(float x, float y, InterpolationMethod method, OverflowMethod mode,
                                         const tagRGBQUAD* replacement) const;
    // Average colour of the xScale x yScale area centred at (x, y).
    tagRGBQUAD GetAreaColorInterpolated(float x, float y, float xScale, float yScale, InterpolationMethod method,
                                        OverflowMethod mode, const tagRGBQUAD* replacement) const;

    // ---- Resampling (Resample.cpp) ----

    // Scales an 8- or 24-bit image into the caller's buffer. Returns 1 (also
    // when there is nothing to write), 0 for a missing source or destination
    // or rows too short for the sizes given.
    int32_t InvoicResampleImg2(uint32_t srcWidth, uint32_t srcHeight, uint32_t bitCount, uint32_t srcStride,
                               const unsigned char* src, uint32_t dstWidth, uint32_t dstHeight, uint32_t,
                               unsigned char** dst, uint32_t dstSize, tagColorCFG color, int32_t, tagRECT);

    // ---- Halftoning (defined with the thresholding and dithering code) ----

    // Histogram threshold of an 8-bit image or block, or -1.
    int OptimalThreshold(unsigned char* image, unsigned int imageSize, unsigned int width, unsigned int height,
                         long method, tagRECT* block, unsigned char*, unsigned int, unsigned int, unsigned int);
    // Local thresholding with fixed 64 x 64 blocks. Returns 1 done, 0 failed.
    int AdThresholdImgLocal(unsigned int width, unsigned int height, unsigned int, unsigned int stride,
                            unsigned char* image, unsigned int imageSize, unsigned char** output, unsigned int*,
                            bool invert, bool);
    // Reduces an 8-bit grey page to black and white by one of ten methods.
    // Returns 1, also when it refuses the image, or 0 when methods 6 and 10
    // cannot have their work memory (nothing is written then).
    int Dither(int method, unsigned char* src, unsigned char* dst, unsigned int height, unsigned int width,
               unsigned int stride, unsigned int, bool invert);

    // ---- Channel order ----

    // Whether the 24-bit pages the output conversion reads hold red first
    // (as a CUPS raster sends them) instead of blue first; off by default.
    void SetRedFirstSource(bool redFirst) { m_redFirst = redFirst; }
    bool RedFirstSource() const { return m_redFirst; }
    // Whether the shrink writes its 24-bit destinations with the first and
    // third channels exchanged, so that a red-first page comes out blue
    // first without another pass; off by default. The averages treat the
    // channels alike, so this equals swapping the result afterwards.
    void SetSwappedShrinkOutput(bool swapped) { m_swappedShrink = swapped; }

    // ---- Tone data, in this order ----

    COLORLEVELSITEM m_ColorLevels[kLevelsChannels] = {};
    uint8_t m_LevelsTable[kLevelsChannels][kToneEntries] = {};
    uint8_t m_bTableReady[kLevelsChannels] = {};
    int16_t m_LightTable[kToneEntries] = {};

private:
    bool m_redFirst = false;
    bool m_swappedShrink = false;

    // Whether a bound image can be read: buffer present, positive size and
    // a depth of 8 or 24 bits.
    bool HasReadableImage() const;
    // Reads the pixel at an in-range position of a readable image.
    tagRGBQUAD ReadPixel(int32_t x, int32_t y) const;
    // The 4 x 4 (or 12 x 12 for Lanczos) kernel reconstruction.
    tagRGBQUAD KernelInterpolate(float x, float y, int32_t xi, int32_t yi, InterpolationMethod method,
                                 OverflowMethod mode, const tagRGBQUAD* replacement) const;
    // The 2 x 2 bilinear reconstruction.
    tagRGBQUAD BilinearInterpolate(float x, float y, int32_t xi, int32_t yi, OverflowMethod mode,
                                   const tagRGBQUAD* replacement) const;
    // Per-pixel tone step of the resampling: light table, then levels.
    void ApplyResampleTone(tagRGBQUAD& c, const tagColorCFG& color);
    // The resampling paths: one interpolated read per output pixel (any
    // depth, strips), nearest pixels (enlarging), box averages (reducing).
    struct ResampleJob;
    void ResamplePixelByPixel(const ResampleJob& job);
    void ResampleNearest(const ResampleJob& job);
    void ResampleBoxes(const ResampleJob& job);

    // The image bound for interpolation (by BindImage or the resampling).
    const unsigned char* m_pImgData = nullptr;
    int32_t m_nImgWidth = 0;
    int32_t m_nImgHeight = 0;
    uint16_t m_wImgBitCount = 0;
    uint32_t m_dwImgStride = 0;
};

#endif
