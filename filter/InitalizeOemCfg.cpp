// Builds the job's print configuration from the PPD's option choices, and
// the device mode and page-device state from the first raster page header.
// The number of every choice is its code text, not its name or position.
#include "InitalizeOemCfg.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "GetPpdSelfOption.h"
#include "OptionCodes.h"
#include "PageLimits.h"
#include "RasterHeaderFields.h"
#include "log4z.h"

namespace {

// A choice code of -1 cannot be told apart from a missing option.
constexpr int32_t kMissingCode = -1;
constexpr float kMissingCodef = -1.0f;

// Brightness and contrast codes run 0..200 around 100; the members hold
// twice the distance from 100 (-200..+200).
constexpr int64_t kLightCentre = 100, kLightScale = 2;

// Levels: codes below 100 darken towards a gamma of 9.99, codes above
// lighten towards 0.01 (the member holds gamma x 100).
constexpr int64_t kLevelsNeutral = 100, kLevelsDarkRange = 899, kLevelsLightRange = 99;

// The option's integer choice code, or nothing when it has none.
std::optional<int32_t> IntCode(const char* option, ppd_file_t* ppd)
{
    int32_t code = GetOptionChoiceIndex(option, ppd);
    if (code == kMissingCode)
        return std::nullopt;
    return code;
}

// The option's code in tenths (the code is read as a single-precision
// number, multiplied by 10 and truncated toward zero), or nothing.
std::optional<int64_t> TenthsCode(const char* option, ppd_file_t* ppd)
{
    float code = GetOptionChoiceIndexf(option, ppd);
    if (code == kMissingCodef)
        return std::nullopt;
    return static_cast<int64_t>(std::trunc(code * 10.0));
}

// (code - 100) x 2, narrowed to the 32-bit member.
int32_t LightFromCode(int32_t code)
{
    return static_cast<int32_t>((code - kLightCentre) * kLightScale);
}

}  // namespace

int32_t LevelsAdjFromCode(int32_t code)
{
    int64_t v = code;
    if (v < kLevelsNeutral)
        return static_cast<int32_t>(kLevelsNeutral + ((kLevelsNeutral - v) * kLevelsDarkRange) / 100);
    return static_cast<int32_t>(kLevelsNeutral - ((v - kLevelsNeutral) * kLevelsLightRange) / 100);
}

void InitMirror(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("Mirror", ppd)) {
        cfg->sMirror = static_cast<int16_t>(*code);
        LOGFMTD("Init sMirror: %d", cfg->sMirror);
    }
}

// Rotation code -> (sRotation, sRotate90): 0 -> (0,0), 1 -> (1,1),
// 2 -> (1,0), 3 -> (0,1); anything else, a missing option included, leaves
// both 0. The line is logged in every case.
void InitRotation(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    int16_t code = static_cast<int16_t>(GetOptionChoiceIndex("Rotation", ppd));
    using kvcodes::Rotation;
    cfg->sRotation = (code == Rotation::kLeft90 || code == Rotation::kTurn180) ? 1 : 0;
    cfg->sRotate90 = (code == Rotation::kLeft90 || code == Rotation::kRight90) ? 1 : 0;
    LOGFMTD("Init sRotation: %d, sRotate90: %d", static_cast<int>(cfg->sRotation), cfg->sRotate90);
}

void InitNegativeFilm(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("NegativeFilm", ppd)) {
        cfg->bNegative = *code;
        LOGFMTD("Init bNegative: %d", cfg->bNegative);
    }
}

void InitDensity(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("Density", ppd)) {
        cfg->sDensity = *code;
        LOGFMTD("Init sDensity: %d", static_cast<int>(cfg->sDensity));
    }
}

void InitHorizontalOffset(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("HorizontalOffset", ppd)) {
        cfg->sHrzDir = *code;
        LOGFMTD("Init sHrzDir: %d", static_cast<int>(cfg->sHrzDir));
    }
}

void InitHorizontalOffsetValue(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto tenths = TenthsCode("HorizontalOffsetValue", ppd)) {
        cfg->sHrzOffset = *tenths;
        LOGFMTD("Init sHrzOffset: %d", static_cast<int>(cfg->sHrzOffset));
    }
}

void InitVerticalOffset(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("VerticalOffset", ppd)) {
        cfg->sVtcDir = *code;
        LOGFMTD("Init sVtcDir: %d", static_cast<int>(cfg->sVtcDir));
    }
}

void InitVerticalOffsetValue(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto tenths = TenthsCode("VerticalOffsetValue", ppd)) {
        cfg->sVtcOffset = *tenths;
        LOGFMTD("Init sVtcOffset: %d", static_cast<int>(cfg->sVtcOffset));
    }
}

// Brightness and contrast are cleared first, so a missing option means "no
// adjustment" even if the record held something.
void InitBrightness(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    cfg->nBrightness = 0;
    if (auto code = IntCode("Brightness", ppd)) {
        cfg->nBrightness = LightFromCode(*code);
        LOGFMTD("Init nBrightness: %d", cfg->nBrightness);
    }
}

void InitContrast(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    cfg->nContrast = 0;
    if (auto code = IntCode("Contrast", ppd)) {
        cfg->nContrast = LightFromCode(*code);
        LOGFMTD("Init nContrast: %d", cfg->nContrast);
    }
}

void InitLevels(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("Levels", ppd)) {
        cfg->nLevelsAdj = LevelsAdjFromCode(*code);
        LOGFMTD("Init nLevelsAdj: %d", cfg->nLevelsAdj);
    }
}

void InitHalftone(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("Halftone", ppd)) {
        cfg->sHalftoneMethod = static_cast<int16_t>(*code);
        LOGFMTD("Init sHalftoneMethod: %d", cfg->sHalftoneMethod);
    }
}

void InitPrintMethod(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("PrintMethod", ppd)) {
        cfg->sPaperType = static_cast<int16_t>(*code);
        LOGFMTD("Init sPaperType: %d", cfg->sPaperType);
    }
}

void InitMediaType(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("MediaType", ppd)) {
        cfg->sLabelType = static_cast<int16_t>(*code);
        LOGFMTD("Init sLabelType: %d", cfg->sLabelType);
    }
}

void InitGapOffset(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto tenths = TenthsCode("GAPOffset", ppd)) {
        cfg->GAPOffset = static_cast<int16_t>(*tenths);
        cfg->GAPOffset2 = cfg->GAPOffset;
        LOGFMTD("Init GAPOffset: %d", cfg->GAPOffset);
    }
}

void InitGapHeight(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto tenths = TenthsCode("GAPHeight", ppd)) {
        cfg->GAPHeight = static_cast<int16_t>(*tenths);
        cfg->GAPHeight2 = cfg->GAPHeight;
        LOGFMTD("Init GAPHeight: %d", cfg->GAPHeight);
    }
}

void InitMode(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("Mode", ppd)) {
        cfg->dwOperationAfterPrn = static_cast<uint64_t>(static_cast<int64_t>(*code));
        LOGFMTD("Init dwOperationAfterPrn: %d", static_cast<int>(cfg->dwOperationAfterPrn));
    }
}

void InitCutMethod(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("CutMethod", ppd)) {
        cfg->dwOperationModeAfterPrn = static_cast<uint64_t>(static_cast<int64_t>(*code));
        LOGFMTD("Init dwOperationModeAfterPrn: %d", static_cast<int>(cfg->dwOperationModeAfterPrn));
    }
}

void InitInterval(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("Interval", ppd)) {
        cfg->sIntervalValue = static_cast<int16_t>(*code);
        LOGFMTD("Init sIntervalValue: %d", cfg->sIntervalValue);
    }
}

void InitFeed(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("Feed", ppd)) {
        cfg->sCutPosition = static_cast<int16_t>(*code);
        LOGFMTD("Init sCutPosition: %d", cfg->sCutPosition);
    }
}

void InitMaxOutputWidth(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("MaxOutputWidth", ppd)) {
        cfg->sMaxOutputWidth = static_cast<int16_t>(*code);
        LOGFMTD("Init sMaxOutputWidth: %d", cfg->sMaxOutputWidth);
    }
}

void InitIsSolidToDashed(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("IsToDashed", ppd)) {
        cfg->sIsLineImaginary = static_cast<int16_t>(*code);
        LOGFMTD("Init sIsLineImaginary: %d", cfg->sIsLineImaginary);
    }
}

void InitSolidMinLength(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("MinLength", ppd)) {
        cfg->sMinImaginaryLineLen = static_cast<int16_t>(*code);
        LOGFMTD("Init sMinImaginaryLineLen: %d", cfg->sMinImaginaryLineLen);
    }
}

void InitIntervalBlack(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("IntervalBlack", ppd)) {
        cfg->sBlackInterval = static_cast<int16_t>(*code);
        LOGFMTD("Init sBlackInterval: %d", cfg->sBlackInterval);
    }
}

void InitIntervalWhite(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("IntervalWhite", ppd)) {
        cfg->sWhiteInterval = static_cast<int16_t>(*code);
        LOGFMTD("Init sWhiteInterval: %d", cfg->sWhiteInterval);
    }
}

// Paper saving logs under the same text as the print mode; the shared text
// is kept so existing log readers keep matching.
void InitSavePaper(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("SavePaper", ppd)) {
        cfg->sSavePaper = static_cast<int16_t>(*code);
        LOGFMTD("Init sPaperMode: %d", cfg->sSavePaper);
    }
}

// The output resolution is the printer's, written in the PPD text; the
// raster header's resolution is the page's and does not enter here.
void InitOutputDpi(tagOEMCFG* cfg, cups_page_header2_t* header)
{
    if (!cfg || !header)
        return;
    int16_t dpi = PpdOutputDpi();
    cfg->sOutputXDPI = dpi;
    cfg->sOutputYDPI = dpi;
    LOGFMTD("Init sOutputXDPI: %d, sOutputYDPI: %d", cfg->sOutputXDPI, cfg->sOutputYDPI);
}

void InitPaperMode(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("PrintMode", ppd)) {
        cfg->sPaperMode = static_cast<int16_t>(*code);
        LOGFMTD("Init sPaperMode: %d", cfg->sPaperMode);
    }
}

void InitPrintSpeed(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    if (auto code = IntCode("PrintSpeed", ppd)) {
        cfg->sPrintSpeed = static_cast<int16_t>(*code);
        LOGFMTD("Init sPrintSpeed: %d", cfg->sPrintSpeed);
    }
}

// The last four options default to 0 and are always logged, found or not.
void InitFixedHeight(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    cfg->sFixedHeight = static_cast<int16_t>(IntCode("FixedHeight", ppd).value_or(0));
    LOGFMTD("Init sFixedHeight: %d", cfg->sFixedHeight);
}

void InitAutoRotate90(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    cfg->sAutoRotate90 = static_cast<int16_t>(IntCode("AutoRotate", ppd).value_or(0));
    LOGFMTD("Init sAutoRotate90: %d", cfg->sAutoRotate90);
}

void InitStartOffsetValue(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    cfg->dwStartOffsetValue = static_cast<int16_t>(IntCode("StartOffsetValue", ppd).value_or(0));
    LOGFMTD("Init dwStartOffsetValue: %d", cfg->dwStartOffsetValue);
}

void InitEndOffsetValue(tagOEMCFG* cfg, ppd_file_t* ppd)
{
    if (!cfg || !ppd)
        return;
    cfg->dwEndOffsetValue = static_cast<int16_t>(IntCode("EndOffsetValue", ppd).value_or(0));
    LOGFMTD("Init dwEndOffsetValue: %d", cfg->dwEndOffsetValue);
}

// Gap offset is read before gap height although the members lie the other
// way round; the order of the log lines follows the calls.
void InitalizeOemCfg(tagOEMCFG* cfg, ppd_file_t* ppd, cups_page_header2_t* header)
{
    if (!cfg || !ppd)
        return;
    memset(cfg, 0, sizeof(*cfg));
    InitMirror(cfg, ppd);
    InitRotation(cfg, ppd);
    InitNegativeFilm(cfg, ppd);
    InitDensity(cfg, ppd);
    InitHorizontalOffset(cfg, ppd);
    InitHorizontalOffsetValue(cfg, ppd);
    InitVerticalOffset(cfg, ppd);
    InitVerticalOffsetValue(cfg, ppd);
    InitBrightness(cfg, ppd);
    InitContrast(cfg, ppd);
    InitLevels(cfg, ppd);
    InitHalftone(cfg, ppd);
    InitPrintMethod(cfg, ppd);
    InitMediaType(cfg, ppd);
    InitGapOffset(cfg, ppd);
    InitGapHeight(cfg, ppd);
    InitMode(cfg, ppd);
    InitCutMethod(cfg, ppd);
    InitInterval(cfg, ppd);
    InitFeed(cfg, ppd);
    InitMaxOutputWidth(cfg, ppd);
    InitIsSolidToDashed(cfg, ppd);
    InitSolidMinLength(cfg, ppd);
    InitIntervalBlack(cfg, ppd);
    InitIntervalWhite(cfg, ppd);
    InitSavePaper(cfg, ppd);
    InitOutputDpi(cfg, header);
    InitPaperMode(cfg, ppd);
    InitPrintSpeed(cfg, ppd);
    InitFixedHeight(cfg, ppd);
    InitAutoRotate90(cfg, ppd);
    InitStartOffsetValue(cfg, ppd);
    InitEndOffsetValue(cfg, ppd);
}

void InitDevmode(_DEVMODE* devMode, cups_page_header2_t* header)
{
    if (!devMode || !header)
        return;
    memset(devMode, 0, sizeof(*devMode));
    devMode->dmOrientation = kDmPortrait;
    devMode->dmPrintQuality = static_cast<int16_t>(header->HWResolution[0]);
    devMode->dmYResolution = static_cast<int16_t>(header->HWResolution[1]);
    devMode->dmCollate = static_cast<int16_t>(RasterHeaderValue(header->Collate));
    LOGFMTD("Init dmPrintQuality: %d, dmYResolution: %d", devMode->dmPrintQuality, devMode->dmYResolution);
    LOGFMTD("Init dmOrientation: %d", devMode->dmOrientation);
    LOGFMTD("Init dmCollate: %d", devMode->dmCollate);
}

// The buffer pointer is reset without freeing: on the first page there is
// none yet. biHeight stays positive although the buffer rows run top-down.
void InitOemPDEV(_OEMPDEV* pdev, cups_page_header2_t* header)
{
    if (!pdev || !header)
        return;
    pdev->pBufStart = nullptr;
    pdev->bmInfoHeader.biWidth = static_cast<int32_t>(header->cupsWidth);
    pdev->bmInfoHeader.biHeight = static_cast<int32_t>(header->cupsHeight);
    pdev->bmInfoHeader.biBitCount = static_cast<uint16_t>(header->cupsBitsPerPixel);
    pdev->sCurCopies = static_cast<int16_t>(header->NumCopies);
    pdev->dwPagePrinted = 0;
    pdev->dwCurPageNum = 0;
    pdev->srcGdiInfo.szlPhysSize.cx = static_cast<int32_t>(header->cupsWidth);
    pdev->srcGdiInfo.szlPhysSize.cy = static_cast<int32_t>(header->cupsHeight);
    pdev->srcGdiInfo.ptlPhysOffset.x = 0;
    pdev->srcGdiInfo.ptlPhysOffset.y = 0;
    pdev->srcGdiInfo.ulVertRes = header->cupsHeight;
    LOGFMTD("Init bmInfoHeader.biWidth: %d", pdev->bmInfoHeader.biWidth);
    LOGFMTD("Init bmInfoHeader.biHeight: %d", pdev->bmInfoHeader.biHeight);
    LOGFMTD("Init bmInfoHeader.biBitCount: %d", pdev->bmInfoHeader.biBitCount);
    LOGFMTD("Init sCurCopies: %d", pdev->sCurCopies);
    LOGFMTD("Init dwPagePrinted: %d", pdev->dwPagePrinted);
    LOGFMTD("Init dwCurPageNum: %d", pdev->dwCurPageNum);
    LOGFMTD("Init srcGdiInfo.szlPhysSize.cx: %d", pdev->srcGdiInfo.szlPhysSize.cx);
    LOGFMTD("Init srcGdiInfo.szlPhysSize.cy: %d", pdev->srcGdiInfo.szlPhysSize.cy);
    LOGFMTD("Init srcGdiInfo.ptlPhysOffset.x: %d", pdev->srcGdiInfo.ptlPhysOffset.x);
    LOGFMTD("Init srcGdiInfo.ptlPhysOffset.y: %d", pdev->srcGdiInfo.ptlPhysOffset.y);
    LOGFMTD("Init srcGdiInfo.ulVertRes: %d", pdev->srcGdiInfo.ulVertRes);
}
