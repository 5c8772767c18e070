// Builders of the three job records from the job's option choices and the
// first page header: the print configuration (one initialiser per option),
// the device mode and the page-device state. The choices come from the PPD
// in the filter; a ppd_file_t* converts to the ChoiceCodes they take.
#ifndef KV_FILTER_INITALIZEOEMCFG_H
#define KV_FILTER_INITALIZEOEMCFG_H

#include <cups/ppd.h>
#include <cups/raster.h>

#include "ChoiceCodes.h"
#include "DevMode.h"
#include "OemCfg.h"

// Zero-fills `cfg` and runs every option initialiser below in order.
// Does nothing when `cfg` is null or `codes` has no source (a null PPD).
void InitalizeOemCfg(tagOEMCFG* cfg, const ChoiceCodes& codes, cups_page_header2_t* header);

// One initialiser per option. Each stores the option's choice code (possibly
// converted) into its member and logs it; each does nothing when `cfg` is
// null or `codes` has no source.
void InitMirror(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitRotation(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitNegativeFilm(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitDensity(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitHorizontalOffset(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitHorizontalOffsetValue(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitVerticalOffset(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitVerticalOffsetValue(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitBrightness(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitContrast(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitLevels(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitHalftone(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitPrintMethod(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitMediaType(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitGapOffset(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitGapHeight(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitMode(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitCutMethod(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitInterval(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitFeed(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitMaxOutputWidth(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitIsSolidToDashed(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitSolidMinLength(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitIntervalBlack(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitIntervalWhite(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitSavePaper(tagOEMCFG* cfg, const ChoiceCodes& codes);
// Takes the page header but reads the resolution from the PPD's "OutputDPI"
// main keyword; 0 when the keyword is missing.
void InitOutputDpi(tagOEMCFG* cfg, cups_page_header2_t* header);
// The same with the resolution that `codes` gives (for a PPD, as above).
void InitOutputDpi(tagOEMCFG* cfg, cups_page_header2_t* header, const ChoiceCodes& codes);
void InitPaperMode(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitPrintSpeed(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitFixedHeight(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitAutoRotate90(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitStartOffsetValue(tagOEMCFG* cfg, const ChoiceCodes& codes);
void InitEndOffsetValue(tagOEMCFG* cfg, const ChoiceCodes& codes);

// Levels code to gamma x 100: 0 -> 999, 100 -> 100, 200 -> 1.
int32_t LevelsAdjFromCode(int32_t code);

// Fills the device mode from the first page header (orientation always 1).
void InitDevmode(_DEVMODE* devMode, cups_page_header2_t* header);

// Starts the page-device state from the first page header: no held buffer,
// page 0, the page's bitmap header and physical size.
void InitOemPDEV(_OEMPDEV* pdev, cups_page_header2_t* header);

#endif
