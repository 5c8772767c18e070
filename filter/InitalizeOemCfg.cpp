// Builds the job's print configuration from the option choices (the PPD's
// marked choices in the filter, the job's and printer's choices in the
// printer application; see ChoiceCodes), and the device mode and
// page-device state from the first raster page header. The number of every
// choice is its code text, not its name or position.
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
std::optional<int32_t> IntCode(const char* option, const ChoiceCodes& codes)
{
    int32_t code = GetOptionChoiceIndex(option, codes);
    if (code == kMissingCode)
        return std::nullopt;
    return code;
}

// The option's code in tenths (the code is read as a single-precision
// number, multiplied by 10 and truncated toward zero), or nothing.
std::optional<int64_t> TenthsCode(const char* option, const ChoiceCodes& codes)
{
    float code = GetOptionChoiceIndexf(option, codes);
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

void InitMirror(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("Mirror", codes)) {
        cfg->sMirror = static_cast<int16_t>(*code);
        LOGFMTD("Init sMirror: %d", cfg->sMirror);
    }
}

// Rotation code -> (sRotation, sRotate90): 0 -> (0,0), 1 -> (1,1),
// 2 -> (1,0), 3 -> (0,1); anything else, a missing option included, leaves
// both 0. The line is logged in every case.
void InitRotation(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    int16_t code = static_cast<int16_t>(GetOptionChoiceIndex("Rotation", codes));
    using kvcodes::Rotation;
    cfg->sRotation = (code == Rotation::kLeft90 || code == Rotation::kTurn180) ? 1 : 0;
    cfg->sRotate90 = (code == Rotation::kLeft90 || code == Rotation::kRight90) ? 1 : 0;
    LOGFMTD("Init sRotation: %d, sRotate90: %d", static_cast<int>(cfg->sRotation), cfg->sRotate90);
}

void InitNegativeFilm(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("NegativeFilm", codes)) {
        cfg->bNegative = *code;
        LOGFMTD("Init bNegative: %d", cfg->bNegative);
    }
}

void InitDensity(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("Density", codes)) {
        cfg->sDensity = *code;
        LOGFMTD("Init sDensity: %d", static_cast<int>(cfg->sDensity));
    }
}

void InitHorizontalOffset(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("HorizontalOffset", codes)) {
        cfg->sHrzDir = *code;
        LOGFMTD("Init sHrzDir: %d", static_cast<int>(cfg->sHrzDir));
    }
}

void InitHorizontalOffsetValue(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto tenths = TenthsCode("HorizontalOffsetValue", codes)) {
        cfg->sHrzOffset = *tenths;
        LOGFMTD("Init sHrzOffset: %d", static_cast<int>(cfg->sHrzOffset));
    }
}

void InitVerticalOffset(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("VerticalOffset", codes)) {
        cfg->sVtcDir = *code;
        LOGFMTD("Init sVtcDir: %d", static_cast<int>(cfg->sVtcDir));
    }
}

void InitVerticalOffsetValue(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto tenths = TenthsCode("VerticalOffsetValue", codes)) {
        cfg->sVtcOffset = *tenths;
        LOGFMTD("Init sVtcOffset: %d", static_cast<int>(cfg->sVtcOffset));
    }
}

// Brightness and contrast are cleared first, so a missing option means "no
// adjustment" even if the record held something.
void InitBrightness(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    cfg->nBrightness = 0;
    if (auto code = IntCode("Brightness", codes)) {
        cfg->nBrightness = LightFromCode(*code);
        LOGFMTD("Init nBrightness: %d", cfg->nBrightness);
    }
}

void InitContrast(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    cfg->nContrast = 0;
    if (auto code = IntCode("Contrast", codes)) {
        cfg->nContrast = LightFromCode(*code);
        LOGFMTD("Init nContrast: %d", cfg->nContrast);
    }
}

void InitLevels(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("Levels", codes)) {
        cfg->nLevelsAdj = LevelsAdjFromCode(*code);
        LOGFMTD("Init nLevelsAdj: %d", cfg->nLevelsAdj);
    }
}

void InitHalftone(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("Halftone", codes)) {
        cfg->sHalftoneMethod = static_cast<int16_t>(*code);
        LOGFMTD("Init sHalftoneMethod: %d", cfg->sHalftoneMethod);
    }
}

void InitPrintMethod(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("PrintMethod", codes)) {
        cfg->sPaperType = static_cast<int16_t>(*code);
        LOGFMTD("Init sPaperType: %d", cfg->sPaperType);
    }
}

void InitMediaType(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("MediaType", codes)) {
        cfg->sLabelType = static_cast<int16_t>(*code);
        LOGFMTD("Init sLabelType: %d", cfg->sLabelType);
    }
}

void InitGapOffset(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto tenths = TenthsCode("GAPOffset", codes)) {
        cfg->GAPOffset = static_cast<int16_t>(*tenths);
        cfg->GAPOffset2 = cfg->GAPOffset;
        LOGFMTD("Init GAPOffset: %d", cfg->GAPOffset);
    }
}

void InitGapHeight(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto tenths = TenthsCode("GAPHeight", codes)) {
        cfg->GAPHeight = static_cast<int16_t>(*tenths);
        cfg->GAPHeight2 = cfg->GAPHeight;
        LOGFMTD("Init GAPHeight: %d", cfg->GAPHeight);
    }
}

void InitMode(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("Mode", codes)) {
        cfg->dwOperationAfterPrn = static_cast<uint64_t>(static_cast<int64_t>(*code));
        LOGFMTD("Init dwOperationAfterPrn: %d", static_cast<int>(cfg->dwOperationAfterPrn));
    }
}

void InitCutMethod(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("CutMethod", codes)) {
        cfg->dwOperationModeAfterPrn = static_cast<uint64_t>(static_cast<int64_t>(*code));
        LOGFMTD("Init dwOperationModeAfterPrn: %d", static_cast<int>(cfg->dwOperationModeAfterPrn));
    }
}

void InitInterval(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("Interval", codes)) {
        cfg->sIntervalValue = static_cast<int16_t>(*code);
        LOGFMTD("Init sIntervalValue: %d", cfg->sIntervalValue);
    }
}

void InitFeed(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("Feed", codes)) {
        cfg->sCutPosition = static_cast<int16_t>(*code);
        LOGFMTD("Init sCutPosition: %d", cfg->sCutPosition);
    }
}

void InitMaxOutputWidth(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("MaxOutputWidth", codes)) {
        cfg->sMaxOutputWidth = static_cast<int16_t>(*code);
        LOGFMTD("Init sMaxOutputWidth: %d", cfg->sMaxOutputWidth);
    }
}

void InitIsSolidToDashed(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("IsToDashed", codes)) {
        cfg->sIsLineImaginary = static_cast<int16_t>(*code);
        LOGFMTD("Init sIsLineImaginary: %d", cfg->sIsLineImaginary);
    }
}

void InitSolidMinLength(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("MinLength", codes)) {
        cfg->sMinImaginaryLineLen = static_cast<int16_t>(*code);
        LOGFMTD("Init sMinImaginaryLineLen: %d", cfg->sMinImaginaryLineLen);
    }
}

void InitIntervalBlack(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("IntervalBlack", codes)) {
        cfg->sBlackInterval = static_cast<int16_t>(*code);
        LOGFMTD("Init sBlackInterval: %d", cfg->sBlackInterval);
    }
}

void InitIntervalWhite(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("IntervalWhite", codes)) {
        cfg->sWhiteInterval = static_cast<int16_t>(*code);
        LOGFMTD("Init sWhiteInterval: %d", cfg->sWhiteInterval);
    }
}

// Paper saving logs under the same text as the print mode; the shared text
// is kept so existing log readers keep matching.
void InitSavePaper(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("SavePaper", codes)) {
        cfg->sSavePaper = static_cast<int16_t>(*code);
        LOGFMTD("Init sPaperMode: %d", cfg->sSavePaper);
    }
}

// The output resolution is the printer's, written in the PPD text; the
// raster header's resolution is the page's and does not enter here.
void InitOutputDpi(tagOEMCFG* cfg, cups_page_header2_t* header)
{
    InitOutputDpi(cfg, header, ChoiceCodes(static_cast<ppd_file_t*>(nullptr)));
}

void InitOutputDpi(tagOEMCFG* cfg, cups_page_header2_t* header, const ChoiceCodes& codes)
{
    if (!cfg || !header)
        return;
    int16_t dpi = codes.OutputDpi();
    cfg->sOutputXDPI = dpi;
    cfg->sOutputYDPI = dpi;
    LOGFMTD("Init sOutputXDPI: %d, sOutputYDPI: %d", cfg->sOutputXDPI, cfg->sOutputYDPI);
}

void InitPaperMode(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("PrintMode", codes)) {
        cfg->sPaperMode = static_cast<int16_t>(*code);
        LOGFMTD("Init sPaperMode: %d", cfg->sPaperMode);
    }
}

void InitPrintSpeed(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    if (auto code = IntCode("PrintSpeed", codes)) {
        cfg->sPrintSpeed = static_cast<int16_t>(*code);
        LOGFMTD("Init sPrintSpeed: %d", cfg->sPrintSpeed);
    }
}

// The last four options default to 0 and are always logged, found or not.
void InitFixedHeight(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    cfg->sFixedHeight = static_cast<int16_t>(IntCode("FixedHeight", codes).value_or(0));
    LOGFMTD("Init sFixedHeight: %d", cfg->sFixedHeight);
}

void InitAutoRotate90(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    cfg->sAutoRotate90 = static_cast<int16_t>(IntCode("AutoRotate", codes).value_or(0));
    LOGFMTD("Init sAutoRotate90: %d", cfg->sAutoRotate90);
}

void InitStartOffsetValue(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    cfg->dwStartOffsetValue = static_cast<int16_t>(IntCode("StartOffsetValue", codes).value_or(0));
    LOGFMTD("Init dwStartOffsetValue: %d", cfg->dwStartOffsetValue);
}

void InitEndOffsetValue(tagOEMCFG* cfg, const ChoiceCodes& codes)
{
    if (!cfg || !codes.Valid())
        return;
    cfg->dwEndOffsetValue = static_cast<int16_t>(IntCode("EndOffsetValue", codes).value_or(0));
    LOGFMTD("Init dwEndOffsetValue: %d", cfg->dwEndOffsetValue);
}

// Gap offset is read before gap height although the members lie the other
// way round; the order of the log lines follows the calls.
void InitalizeOemCfg(tagOEMCFG* cfg, const ChoiceCodes& codes, cups_page_header2_t* header)
{
    if (!cfg || !codes.Valid())
        return;
    memset(cfg, 0, sizeof(*cfg));
    InitMirror(cfg, codes);
    InitRotation(cfg, codes);
    InitNegativeFilm(cfg, codes);
    InitDensity(cfg, codes);
    InitHorizontalOffset(cfg, codes);
    InitHorizontalOffsetValue(cfg, codes);
    InitVerticalOffset(cfg, codes);
    InitVerticalOffsetValue(cfg, codes);
    InitBrightness(cfg, codes);
    InitContrast(cfg, codes);
    InitLevels(cfg, codes);
    InitHalftone(cfg, codes);
    InitPrintMethod(cfg, codes);
    InitMediaType(cfg, codes);
    InitGapOffset(cfg, codes);
    InitGapHeight(cfg, codes);
    InitMode(cfg, codes);
    InitCutMethod(cfg, codes);
    InitInterval(cfg, codes);
    InitFeed(cfg, codes);
    InitMaxOutputWidth(cfg, codes);
    InitIsSolidToDashed(cfg, codes);
    InitSolidMinLength(cfg, codes);
    InitIntervalBlack(cfg, codes);
    InitIntervalWhite(cfg, codes);
    InitSavePaper(cfg, codes);
    InitOutputDpi(cfg, header, codes);
    InitPaperMode(cfg, codes);
    InitPrintSpeed(cfg, codes);
    InitFixedHeight(cfg, codes);
    InitAutoRotate90(cfg, codes);
    InitStartOffsetValue(cfg, codes);
    InitEndOffsetValue(cfg, codes);
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
