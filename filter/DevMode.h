// The two page-geometry records of a job: the device mode (raster
// resolution and orientation) and the page-device state carried from page to
// page (held page buffer, its bitmap header, device geometry, counters).
#ifndef KV_FILTER_DEVMODE_H
#define KV_FILTER_DEVMODE_H

#include <cstddef>
#include <cstdint>

#include "BmpRecords.h"

// dmOrientation codes: portrait and landscape.
constexpr int16_t kDmPortrait = 1;
constexpr int16_t kDmLandscape = 2;

#pragma pack(push, 1)

// Device mode: resolution and orientation of the raster.
struct _DEVMODE {
    int16_t dmOrientation;   // always kDmPortrait in this filter
    int16_t dmPrintQuality;  // horizontal raster resolution, dpi
    int16_t dmYResolution;   // vertical raster resolution, dpi
    int16_t dmCollate;       // collate copies
};

struct POINTL {
    int32_t x;
    int32_t y;
};

struct SIZEL {
    int32_t cx;  // across
    int32_t cy;  // along
};

// Device-information block, 32-bit members in the order of the classic
// printer-driver device-information record. Only the resolution, the
// physical offset and the physical size are used; the rest stays zero.
struct GDIINFO {
    uint32_t ulVersion;
    uint32_t ulTechnology;
    uint32_t ulHorzSize;
    uint32_t ulVertSize;
    uint32_t ulHorzRes;
    uint32_t ulVertRes;
    uint32_t cBitsPixel;
    uint32_t cPlanes;
    uint32_t ulNumColors;
    uint32_t flRaster;
    uint32_t ulLogPixelsX;
    uint32_t ulLogPixelsY;
    uint32_t flTextCaps;
    uint32_t ulDACRed;
    uint32_t ulDACGreen;
    uint32_t ulDACBlue;
    uint32_t ulAspectX;
    uint32_t ulAspectY;
    uint32_t ulAspectXY;
    int32_t xStyleStep;
    int32_t yStyleStep;
    int32_t denStyleStep;
    POINTL ptlPhysOffset;
    SIZEL szlPhysSize;
    uint32_t ulNumPalReg;
    int32_t ciDevice[30];  // colour information: seven chromaticities and nine dye values
    uint32_t ulDevicePelsDPI;
    uint32_t ulPrimaryOrder;
    uint32_t ulHTPatternSize;
    uint32_t ulHTOutputFormat;
    uint32_t flHTFlags;
    uint32_t ulVRefresh;
    uint32_t ulBltAlignment;
    uint32_t ulPanningHorzRes;
    uint32_t ulPanningVertRes;
};

// Page-device state. The job loop owns pBufStart, dwBufSize and
// dwCurPageNum; the renderer keeps its per-page state in the other members.
struct _OEMPDEV {
    unsigned char* pBufStart;          // held page buffer (malloc), null when none
    uint32_t dwBufSize;                // its size in bytes
    tagBITMAPINFOHEADER bmInfoHeader;  // header of the held page bitmap
    GDIINFO srcGdiInfo;                // source device geometry (first page)
    uint32_t dwCurPageNum;             // page held in pBufStart; 0 before the first
    int16_t sCurCopies;                // copies of the current page
    uint32_t dwPagePrinted;            // pages already printed
    int32_t nMirrorRefWidth;           // reference width for mirrored packing; never set, so 0
};

#pragma pack(pop)

static_assert(sizeof(_DEVMODE) == 8, "device mode is four 16-bit members");

#endif
