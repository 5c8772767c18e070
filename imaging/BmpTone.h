// Inline forms of the per-pixel tone steps (light table, channel-0 levels
// lookup) for the per-page loops, so the hot loops need no call per pixel.
// CBmpProcessing::Light and the resampling and shrinking loops share them.
#ifndef KV_IMAGING_BMPTONE_H
#define KV_IMAGING_BMPTONE_H

#include <cstdint>

#include "BmpArith.h"

namespace kvimg {

// Lowest value at which all three channels count as white for the light
// step: such a pixel becomes pure white instead of being looked up.
constexpr unsigned kLightWhite = 251;

// Applies the light table to one pixel's three channels. Pure black and
// pure white are kept, near-white (all three >= 251) becomes pure white,
// anything else is looked up channel by channel.
inline void ApplyLight(const int16_t* table, uint8_t& a, uint8_t& b, uint8_t& c)
{
    if (a == 0 && b == 0 && c == 0) {
        return;
    }
    if (a == 255 && b == 255 && c == 255) {
        return;
    }
    if (a >= kLightWhite && b >= kLightWhite && c >= kLightWhite) {
        a = b = c = 255;
        return;
    }
    a = static_cast<uint8_t>(table[a]);
    b = static_cast<uint8_t>(table[b]);
    c = static_cast<uint8_t>(table[c]);
}

// Replaces the three channels by their entries in `levels` (the table of
// channel 0 for all three) and snaps them to white when all three mapped
// values are at least 250.
inline void ApplyLevelsSnap(const uint8_t* levels, uint8_t& a, uint8_t& b, uint8_t& c)
{
    a = levels[a];
    b = levels[b];
    c = levels[c];
    if (a >= kLevelsWhite && b >= kLevelsWhite && c >= kLevelsWhite) {
        a = b = c = 255;
    }
}

// Whether a levels switch asks for the table: 0 and 300 both mean "none".
constexpr int kLevelsOffValue = 300;
inline bool LevelsSwitchOn(int levels)
{
    return levels != 0 && levels != kLevelsOffValue;
}

}  // namespace kvimg

#endif
