// The numbers of the halftone methods `CBmpProcessing::Dither` knows. They
// are also the codes of the configuration's "Halftone" option, so the PPD
// generator, the configuration and the renderer use these names.
#ifndef KV_IMAGING_HALFTONEMETHODS_H
#define KV_IMAGING_HALFTONEMETHODS_H

#include <cstdint>

namespace kvimg {

enum HalftoneMethod : int16_t {
    kFixedThreshold = 1,  // white from grey 129 up
    kDiffuseFour = 2,     // error diffusion to four neighbours
    kScreen16 = 3,        // ordered dither, 16 x 16 screen
    kLocalAdaptive = 4,   // adaptive threshold; the renderer runs AdThreshold for it
    kScreen40 = 5,        // dispersed dither, 40 x 40 screen
    kDiffuseTwelve = 6,   // error diffusion to twelve neighbours, polarity inverted
    kScreen15 = 7,        // ordered dither, 16 levels
    kMatrix4 = 8,         // ordered dither, 4 x 4
    kScreen8 = 9,         // halftone screen, 8 x 16
    kInterleaved = 10     // ordered dither, 4 x 4, computed
};

}  // namespace kvimg

#endif
