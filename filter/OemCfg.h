// The job's print configuration: every printing choice read from the PPD on
// the first page, plus the values the renderer writes back (label size, page
// number, copies). Packed, member by member at its own width, because the
// emulation keeps and compares whole copies of it.
#ifndef KV_FILTER_OEMCFG_H
#define KV_FILTER_OEMCFG_H

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)

struct tagOEMCFG {
    int64_t sHrzDir;       // horizontal offset direction
    int64_t sVtcDir;       // vertical offset direction
    int64_t sHrzOffset;    // horizontal offset, tenths of a millimetre
    int64_t sVtcOffset;    // vertical offset, tenths of a millimetre
    int64_t sDensity;      // print density
    int64_t sRotation;     // rotation flag
    int64_t sOrientation;  // copy of the device mode's orientation
    uint8_t byReserved1[2];
    int16_t sMirror;                   // mirror image
    int32_t bNegative;                 // inverted image
    uint64_t dwOperationAfterPrn;      // operation after printing ("Mode")
    uint64_t dwOperationModeAfterPrn;  // cut method ("CutMethod")
    int32_t nBrightness;               // -200..+200
    int32_t nContrast;                 // -200..+200
    int16_t sPaperType;                // print method
    int16_t sLabelType;                // media type
    int16_t GAPHeight;                 // gap height, tenths of a millimetre
    int16_t GAPOffset;                 // gap offset, tenths of a millimetre
    int16_t GAPHeight2;                // copy of GAPHeight
    int16_t GAPOffset2;                // copy of GAPOffset
    int16_t sIntervalValue;            // cut interval in pages
    int16_t sBackFeedDistance;         // back-feed distance
    int16_t sHalftoneMethod;           // halftone method
    int16_t sCopies;                   // copies of the page being rendered
    int16_t sRotate90;                 // 90 degree rotation flag
    int16_t sIsLineImaginary;          // convert solid lines to dashes
    int16_t sMinImaginaryLineLen;      // shortest line that is dashed, mm
    int16_t sBlackInterval;            // dash black run, mm
    int16_t sWhiteInterval;            // dash white run, mm
    uint32_t dwPrintedLabels;          // labels printed so far; the page builder adds each page's copies
    uint8_t bCornerDot;                // non-zero: the page builder marks the label's far corner with one dot
    uint8_t byReserved2[125];
    int32_t nLevelsAdj;  // levels adjustment (gamma x 100)
    uint8_t byReserved3[9];
    int16_t sMaxOutputWidth;  // widest printable width, mm
    int16_t sOutputXDPI;      // output resolution across
    int16_t sOutputYDPI;      // output resolution along
    int32_t nPageNum;         // number of the page being rendered
    int16_t sPageNum;         // the same, 16-bit
    int64_t dwLabelWidth;     // label width, tenths of a millimetre
    int64_t dwLabelLength;    // label length, tenths of a millimetre
    uint8_t byReserved4[3];
    int16_t sCutPosition;  // cut/feed position, tenths of a millimetre
    int16_t sPaperMode;    // print mode
    int16_t sPrintSpeed;   // print speed
    uint8_t byReserved5[1];
    int16_t dwStartOffsetValue;  // start offset, mm (16-bit despite its prefix)
    int16_t dwEndOffsetValue;    // end offset, mm (16-bit despite its prefix)
    uint8_t byReserved6[8];
    int16_t sSavePaper;     // paper saving
    int16_t sFixedHeight;   // fixed label height
    int16_t sAutoRotate90;  // automatic 90 degree rotation
};

#pragma pack(pop)

static_assert(offsetof(tagOEMCFG, sMirror) == 58, "sMirror follows 7 wide members and 2 spare bytes");
static_assert(offsetof(tagOEMCFG, dwPrintedLabels) == 118, "printed-label counter opens the 130-byte region");
static_assert(offsetof(tagOEMCFG, bCornerDot) == 122, "corner-dot flag follows the printed-label counter");
static_assert(offsetof(tagOEMCFG, nLevelsAdj) == 248, "nLevelsAdj follows the 130 spare bytes");
static_assert(offsetof(tagOEMCFG, sMaxOutputWidth) == 261, "sMaxOutputWidth follows 9 spare bytes");
static_assert(offsetof(tagOEMCFG, dwLabelWidth) == 273, "label width follows both page numbers");
static_assert(offsetof(tagOEMCFG, sCutPosition) == 292, "sCutPosition follows 3 spare bytes");
static_assert(offsetof(tagOEMCFG, sSavePaper) == 311, "sSavePaper follows 8 spare bytes");
static_assert(sizeof(tagOEMCFG) == 317, "the configuration record is packed");

#endif
