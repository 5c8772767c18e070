// Tone controls of the image processor: the per-channel levels tables with
// their build-once rule, the brightness/contrast light table, and the direct
// brightness/contrast pass over a buffer.
#include <cmath>

#include "BmpArith.h"
#include "BmpProcessing.h"
#include "BmpTone.h"

namespace {

// The default setting of a channel: gamma 1, full input and output ranges.
constexpr COLORLEVELSITEM kDefaultLevels = {1.0f, 0, 255, 0, 255};

// The scale of every normalised tone computation.
constexpr double kToneScale = 255.0;

// Contrast is given in per cent around a neutral 100.
constexpr int kContrastNeutral = 100;
constexpr float kContrastScale = 100.0f;

// Value around which the light table pivots its contrast.
constexpr int kLightPivot = 128;

// Whether `channel` names one of the four levels settings.
bool IsLevelsChannel(int channel)
{
    return channel >= 0 && channel < kLevelsChannels;
}

// Sets a table to the identity (entry v = v).
void FillIdentity(uint8_t* table)
{
    for (int v = 0; v < kToneEntries; ++v) {
        table[v] = static_cast<uint8_t>(v);
    }
}

// Transforms a table in place through one levels setting: input range to
// 0..255, gamma (the exponent is fGamma itself), then the output range.
// The entry keeps the low 8 bits of the result.
void BuildLevelsTable(const COLORLEVELSITEM& s, uint8_t* table)
{
    const double scaleIn = kToneScale / static_cast<double>(int{s.byInHigh} - int{s.byInLow});
    const double scaleOut = static_cast<double>(int{s.byOutHigh} - int{s.byOutLow}) / kToneScale;
    const double gamma = static_cast<double>(s.fGamma);
    for (int v = 0; v < kToneEntries; ++v) {
        const int x = table[v];
        double n = 0.0;
        if (x > s.byInLow) {
            int32_t t = kvimg::TruncToInt32((x - s.byInLow) * scaleIn + 0.5);
            if (t > 255) {
                t = 255;
            }
            n = t / kToneScale;
        }
        const int32_t p = kvimg::TruncToInt32(std::pow(n, gamma) * kToneScale + 0.5);
        const int64_t y = kvimg::TruncToInt64(p * scaleOut + s.byOutLow + 0.5);
        table[v] = static_cast<uint8_t>(static_cast<uint64_t>(y) & 0xFFu);
    }
}

// Slope of a contrast setting: (c + 100) / 100 in single precision.
float ContrastSlope(int contrast)
{
    return static_cast<float>(int64_t{contrast} + kContrastNeutral) / kContrastScale;
}

// New value of one channel for AdjustBrightness: (x - p) * k + (p + o) + 0.5
// in single precision, truncated and clamped to 0..255.
uint8_t AdjustChannel(uint8_t x, uint8_t pivot, int offset, float k)
{
    const float v = static_cast<float>(int{x} - int{pivot}) * k + static_cast<float>(int64_t{pivot} + offset) + 0.5f;
    return kvimg::ClampToByte(kvimg::TruncToInt32(v));
}

}  // namespace

CBmpProcessing::CBmpProcessing()
{
    // Resetting index 3 after the flags of 0..2 were cleared is what leaves
    // tables 0..2 as the identity.
    for (int channel = 0; channel < kLevelsChannels; ++channel) {
        InitColorLevelsData(channel);
        m_bTableReady[channel] = 0;
    }
    // The light table has no meaning before SetLightTable; the identity
    // keeps an early Light call harmless.
    for (int v = 0; v < kToneEntries; ++v) {
        m_LightTable[v] = static_cast<int16_t>(v);
    }
}

CBmpProcessing::~CBmpProcessing() = default;

void CBmpProcessing::InitColorLevelsData(int channel)
{
    if (!IsLevelsChannel(channel)) {
        return;
    }
    if (channel != kCompositeChannel) {
        if (!m_bTableReady[channel]) {
            FillIdentity(m_LevelsTable[channel]);
        }
    } else {
        for (int c = 0; c < kCompositeChannel; ++c) {
            if (!m_bTableReady[c]) {
                FillIdentity(m_LevelsTable[c]);
            }
        }
    }
    m_ColorLevels[channel] = kDefaultLevels;
}

int CBmpProcessing::InitColorLevelsTable(int channel)
{
    if (!IsLevelsChannel(channel)) {
        return 0;
    }
    const COLORLEVELSITEM& s = m_ColorLevels[channel];
    if (channel != kCompositeChannel) {
        if (!m_bTableReady[channel]) {
            BuildLevelsTable(s, m_LevelsTable[channel]);
            m_bTableReady[channel] = 1;
        }
        return 1;
    }
    // The composite setting transforms every channel table not yet built.
    for (int c = 0; c < kCompositeChannel; ++c) {
        if (!m_bTableReady[c]) {
            BuildLevelsTable(s, m_LevelsTable[c]);
            m_bTableReady[c] = 1;
        }
    }
    return 1;
}

void CBmpProcessing::SetColorLevelsData(const COLORLEVELSITEM* item, int channel)
{
    if (item == nullptr || !IsLevelsChannel(channel)) {
        return;
    }
    InitColorLevelsData(channel);
    m_ColorLevels[channel] = *item;
    InitColorLevelsTable(channel);
}

int CBmpProcessing::GetColorLevelsData(tagRGBQUAD colour, tagRGBQUAD* result)
{
    if (result == nullptr) {
        return 0;
    }
    // All three channels go through table 0 on purpose.
    const uint8_t* table = m_LevelsTable[0];
    const uint8_t red = table[colour.rgbRed];
    const uint8_t green = table[colour.rgbGreen];
    const uint8_t blue = table[colour.rgbBlue];
    result->rgbRed = red;
    result->rgbGreen = green;
    if (red >= kvimg::kLevelsWhite && green >= kvimg::kLevelsWhite && blue >= kvimg::kLevelsWhite) {
        result->rgbBlue = result->rgbGreen = result->rgbRed = 255;
    } else {
        result->rgbBlue = blue;
    }
    return 1;
}

void CBmpProcessing::SetLightTable(int brightness, int contrast)
{
    const float k = ContrastSlope(contrast);
    const float shift = static_cast<float>(int64_t{brightness} + kLightPivot);
    for (int v = 0; v < kToneEntries; ++v) {
        const float e = static_cast<float>(v - kLightPivot) * k + shift + 0.5f;
        m_LightTable[v] = kvimg::ClampToByte(kvimg::TruncToInt32(e));
    }
}

int CBmpProcessing::Light(unsigned char& first, unsigned char& second, unsigned char& third, int, int)
{
    kvimg::ApplyLight(m_LightTable, first, second, third);
    return 1;
}

void CBmpProcessing::AdjustBrightness(unsigned char** buffer, unsigned int size, tagRGBQUAD pivot, int brightness,
                                      int contrast, int bitCount)
{
    if (buffer == nullptr || *buffer == nullptr || size == 0 || (bitCount != 8 && bitCount != 24)) {
        return;
    }
    const float k = ContrastSlope(contrast);
    unsigned char* p = *buffer;
    if (bitCount == 8) {
        for (unsigned int i = 0; i < size; ++i) {
            if (p[i] != 0 && p[i] != 255) {
                p[i] = AdjustChannel(p[i], pivot.rgbBlue, brightness, k);
            }
        }
        return;
    }
    // Whole triples only: a trailing partial pixel would lie past the buffer.
    for (unsigned int i = 0; i + 3 <= size; i += 3) {
        const bool white = p[i] == 255 && p[i + 1] == 255 && p[i + 2] == 255;
        const bool black = p[i] == 0 && p[i + 1] == 0 && p[i + 2] == 0;
        if (white || black) {
            continue;
        }
        p[i] = AdjustChannel(p[i], pivot.rgbBlue, brightness, k);
        p[i + 1] = AdjustChannel(p[i + 1], pivot.rgbGreen, brightness, k);
        p[i + 2] = AdjustChannel(p[i + 2], pivot.rgbRed, brightness, k);
    }
}
