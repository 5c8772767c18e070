// The page-device record a held-page test starts from: zero but for the
// first page's geometry, as the job loop sets it up from the first header.
#ifndef KV_TESTS_HELDPAGERECORDS_H
#define KV_TESTS_HELDPAGERECORDS_H

#include <cups/raster.h>

#include <cstdint>
#include <cstring>

#include "DevMode.h"

namespace kvtest {

// A page-device record whose first-page geometry is `first`.
inline _OEMPDEV PdevWithFirstPage(const cups_page_header2_t& first)
{
    _OEMPDEV pdev;
    std::memset(&pdev, 0, sizeof(pdev));
    pdev.bmInfoHeader.biWidth = static_cast<int32_t>(first.cupsWidth);
    pdev.bmInfoHeader.biHeight = static_cast<int32_t>(first.cupsHeight);
    pdev.bmInfoHeader.biBitCount = static_cast<uint16_t>(first.cupsBitsPerPixel);
    return pdev;
}

}  // namespace kvtest

#endif
