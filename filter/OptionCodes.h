// The codes of the print configuration's options: the number each PPD
// choice carries, the value the configuration holds, and what the renderer
// and the EPL builder test for. The PPD generator writes these numbers and
// the rest of the filter reads them; nothing else spells them.
#ifndef KV_FILTER_OPTIONCODES_H
#define KV_FILTER_OPTIONCODES_H

#include <cstdint>

#include "HalftoneMethods.h"

namespace kvcodes {

// "Halftone" -> sHalftoneMethod: the image operations' method numbers
// (kvimg::HalftoneMethod). The PPDs leave out 6, whose polarity is
// inverted.

// "Mode" -> dwOperationAfterPrn: what the printer does after a label.
enum AfterPrint : uint64_t { kTearOff = 0, kTearOffNoBackFeed = 1, kPeelOff = 2, kCutter = 4 };

// "CutMethod" -> dwOperationModeAfterPrn: when the cutter of "Mode" 4 cuts.
enum CutMethod : uint64_t { kEachLabel = 1, kEndOfJob = 2, kEveryInterval = 3, kEachPage = 4 };

// "MediaType" -> sLabelType; any other value is continuous media too.
enum MediaType : int16_t { kContinuous = 0, kGap = 1, kBlackMark = 2 };

// "PrintMethod" -> sPaperType.
enum PrintMethod : int16_t { kThermalTransfer = 0, kDirectThermal = 1 };

// "PrintMode" -> sPaperMode, and "SavePaper" -> sSavePaper: 1 crops each
// page to its content (or lets its length follow the page) and makes every
// page carry its own label size.
enum PrintMode : int16_t { kLabelFromPage = 0, kCropToContent = 1 };
enum SavePaper : int16_t { kSavePaperOff = 0, kSavePaperOn = 1 };

// "FixedHeight" -> sFixedHeight: a per-page label length of an A4, A5 or A6
// sheet's long edge, in millimetres, instead of the content's.
enum FixedHeight : int16_t { kFromContent = 0, kA4 = 1, kA5 = 2, kA6 = 3 };
constexpr int kA4LengthMm = 297, kA5LengthMm = 210, kA6LengthMm = 148;

// "Rotation" (mapped to sRotation and sRotate90) and "AutoRotate" ->
// sAutoRotate90, whose code less one is the turn of the image operations.
enum Rotation : int16_t { kNoRotation = 0, kLeft90 = 1, kTurn180 = 2, kRight90 = 3 };
enum AutoRotate : int16_t { kNoAutoRotation = 0, kCounterClockwise = 1, kClockwise = 3 };

// "horizontalOffset" -> sHrzDir and "verticalOffset" -> sVtcDir: 1 shifts
// left or up.
enum ShiftDirection : int64_t { kRightOrDown = 0, kLeftOrUp = 1 };

// "Density" and "PrintSpeed": this code keeps the printer's own setting.
constexpr int kPrinterDefault = 1000;

}  // namespace kvcodes

#endif
