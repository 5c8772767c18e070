// Builders of the three job records from the PPD and the first page header:
// the print configuration (one initialiser per PPD option), the device mode
// and the page-device state.
#ifndef KV_FILTER_INITALIZEOEMCFG_H
#define KV_FILTER_INITALIZEOEMCFG_H

#include <cups/ppd.h>
#include <cups/raster.h>

#include "DevMode.h"
#include "OemCfg.h"

// Zero-fills `cfg` and runs every option initialiser below in order.
// Does nothing when `cfg` or `ppd` is null.
void InitalizeOemCfg(tagOEMCFG* cfg, ppd_file_t* ppd, cups_page_header2_t* header);

// One initialiser per option. Each stores the option's choice code (possibly
// converted) into its member and logs it; each does nothing when `cfg` or
// `ppd` is null.
void InitMirror(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitRotation(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitNegativeFilm(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitDensity(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitHorizontalOffset(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitHorizontalOffsetValue(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitVerticalOffset(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitVerticalOffsetValue(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitBrightness(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitContrast(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitLevels(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitHalftone(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitPrintMethod(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitMediaType(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitGapOffset(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitGapHeight(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitMode(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitCutMethod(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitInterval(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitFeed(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitMaxOutputWidth(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitIsSolidToDashed(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitSolidMinLength(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitIntervalBlack(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitIntervalWhite(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitSavePaper(tagOEMCFG* cfg, ppd_file_t* ppd);
// Takes the page header but reads the resolution from the PPD's "OutputDPI"
// main keyword; 0 when the keyword is missing.
void InitOutputDpi(tagOEMCFG* cfg, cups_page_header2_t* header);
void InitPaperMode(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitPrintSpeed(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitFixedHeight(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitAutoRotate90(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitStartOffsetValue(tagOEMCFG* cfg, ppd_file_t* ppd);
void InitEndOffsetValue(tagOEMCFG* cfg, ppd_file_t* ppd);

// Levels code to gamma x 100: 0 -> 999, 100 -> 100, 200 -> 1.
int32_t LevelsAdjFromCode(int32_t code);

// Fills the device mode from the first page header (orientation always 1).
void InitDevmode(_DEVMODE* devMode, cups_page_header2_t* header);

// Starts the page-device state from the first page header: no held buffer,
// page 0, the page's bitmap header and physical size.
void InitOemPDEV(_OEMPDEV* pdev, cups_page_header2_t* header);

#endif
