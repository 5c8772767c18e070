// EPL2 command builder: the command lines, the job's opening block and the
// per-page graphic and print commands, all collected in one command buffer.
#include "EPLEmulation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <thread>

#include "OptionCodes.h"
#include "RecordUnits.h"

namespace {

using namespace kvcodes;

// Every command line is formatted into a scratch line of this size; no
// command the builders produce comes near it.
constexpr size_t kScratchLineSize = 256;

// Cut/tear positions the printer's "f" command accepts, in dots.
constexpr int kMinCutPosition = 70, kMaxCutPosition = 130;

// Opening block: 8 data bits and code page "E" (index 18 of the table).
constexpr int kStartDocDataBits = 8, kStartDocCodePage = 18;

// Page numbers count from 1; set-up commands go with the job's first page.
constexpr int kFirstPage = 1;

// The corner dot is a box of one dot by one dot.
constexpr int kCornerDotSize = 1;

// Returns `value` held to the 32-bit range.
int ClampToInt(int64_t value)
{
    if (value > std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    if (value < std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

using kvunits::MmToDots;
using kvunits::TenthsToDots;

// Gap (or mark) length and offset of the "Q" command, in dots.
struct LabelGap {
    int gap = 0;
    int offset = 0;
    bool blackMark = false;
};

// Returns the gap of the configured media type; continuous media has none.
// The gap runs along the feed but is converted with the across resolution,
// as the printer set-up has always done.
LabelGap GapFromConfig(const tagOEMCFG& cfg)
{
    LabelGap result;
    const int labelType = cfg.sLabelType;
    if (labelType != MediaType::kGap && labelType != MediaType::kBlackMark)
        return result;
    result.gap = TenthsToDots(cfg.GAPHeight, cfg.sOutputXDPI);
    result.offset = TenthsToDots(cfg.GAPOffset, cfg.sOutputXDPI);
    result.blackMark = labelType == MediaType::kBlackMark;
    return result;
}

// Returns whether `page` is a multiple of `interval`; with an interval of 0
// only page 0 is.
bool IsMultipleOf(int page, int interval)
{
    if (interval == 0)
        return page == 0;
    return page % interval == 0;
}

}  // namespace

const char CEPLEmulation::m_lpCodePageString[kCodePageCount][3] = {
    "0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "A", "B", "C", "D", "E", "F"};

CEPLEmulation::CEPLEmulation() : m_bStartDocBuilt(false)
{
    std::memset(&m_savedCfg, 0, sizeof(m_savedCfg));
}

CEPLEmulation::~CEPLEmulation() = default;

int32_t CEPLEmulation::SetCmdBuf(char* data, long size)
{
    if (!data || size < 0)
        return 0;
    m_cmdBuf.insert(m_cmdBuf.end(), data, data + size);
    return 1;
}

int32_t CEPLEmulation::ClearCmdBuf()
{
    std::vector<char>().swap(m_cmdBuf);
    return 1;
}

// An empty buffer is never "copied": the caller learns length 0 and result 0.
int32_t CEPLEmulation::GetOutputData(char* out, long outSize, long* outLen)
{
    const long length = static_cast<long>(m_cmdBuf.size());
    if (outLen)
        *outLen = length;
    if (!out || m_cmdBuf.empty() || length > outSize)
        return 0;
    std::memcpy(out, m_cmdBuf.data(), m_cmdBuf.size());
    return 1;
}

int32_t CEPLEmulation::AppendLine(const char* fmt, ...)
{
    std::array<char, kScratchLineSize> line{};
    va_list args;
    va_start(args, fmt);
    const int written = std::vsnprintf(line.data(), line.size(), fmt, args);
    va_end(args);
    long length = written < 0 ? 0 : written;
    if (length >= static_cast<long>(line.size()))
        length = static_cast<long>(line.size()) - 1;
    return SetCmdBuf(line.data(), length);
}

int32_t CEPLEmulation::ClearPrinterImgBufCMD()
{
    return AppendLine("N\r\n");
}

int32_t CEPLEmulation::SetPtrCharSetCMD(int bits, int codePage)
{
    if (codePage < 0 || codePage >= kCodePageCount)
        return 0;
    return AppendLine("I%d,%s\r\n", bits, m_lpCodePageString[codePage]);
}

int32_t CEPLEmulation::SetLabelWidthCMD(int dots)
{
    return AppendLine("q%d\r\n", dots);
}

// The black-mark flag is carried through the callers but the printer set-up
// has only ever sent the gap form, so it stays unused here.
int32_t CEPLEmulation::SetLabelLenghtCMD(int length, int gap, int offset, bool /*blackMark*/)
{
    if (gap == 0)
        return AppendLine("Q%d,0\r\n", length);
    if (offset != 0)
        return AppendLine("Q%d,%d+%d\r\n", length, gap, offset);
    return AppendLine("Q%d,%d\r\n", length, gap);
}

int32_t CEPLEmulation::SetWindowModeCMD(int on)
{
    return AppendLine(on ? "WY\r\n" : "WN\r\n");
}

int32_t CEPLEmulation::SetPrintDirectionCMD(int bottom)
{
    return AppendLine(bottom ? "ZB\r\n" : "ZT\r\n");
}

// Letters in the order D, C, P; a comma separates each from the one before.
int32_t CEPLEmulation::SetPrinterOptionsCMD(_HWOPT* opt)
{
    if (!opt)
        return 0;
    std::string line = "O";
    if (opt->bDirectThermal)
        line += "D";
    if (opt->bCutter) {
        if (opt->bDirectThermal)
            line += ",";
        const int cutCount = opt->nCutCount;
        line += cutCount <= 1 ? std::string("C") : "C" + std::to_string(cutCount);
    }
    if (opt->bPeel) {
        if (line.size() > 1)
            line += ",";
        line += "P";
    }
    line += "\r\n";
    return SetCmdBuf(&line[0], static_cast<long>(line.size()));
}

int32_t CEPLEmulation::EnableBackupTopCMD(bool on)
{
    return AppendLine(on ? "JF\r\n" : "JB\r\n");
}

// The printer takes the whole distance in one line, also above 255 dots; it
// is never split into several "fB" lines.
int32_t CEPLEmulation::SetBackupPositionCMD(int dots)
{
    if (dots < 1)
        return 1;
    return AppendLine("fB%d\r\n", dots);
}

int32_t CEPLEmulation::SetCutPositionCMD(int pos)
{
    if (pos < kMinCutPosition || pos > kMaxCutPosition)
        return 0;
    return AppendLine("f%d\r\n", pos);
}

// The bytes per row come from the data size, never from `width`, so the
// header always matches the rows that follow. The data is sent raw.
int32_t CEPLEmulation::DirectGraphicWriteCMD(int x, int y, int /*width*/, int height, char* data, long size)
{
    if (!data || size < 0)
        return 0;
    const long rowBytes = height != 0 ? size / height : 0;
    AppendLine("GW%d,%d,%d,%d,\r\n", x, y, ClampToInt(rowBytes), height);
    SetCmdBuf(data, size);
    char lineEnd[] = "\r\n";
    SetCmdBuf(lineEnd, static_cast<long>(sizeof(lineEnd)) - 1);
    return 1;
}

int32_t CEPLEmulation::PrintCMD(int copies)
{
    return AppendLine("P%d\r\n", copies);
}

int32_t CEPLEmulation::DrawLine(int x, int y, int width, int height)
{
    return AppendLine("LO%d,%d,%d,%d\r\n", x, y, width, height);
}

int32_t CEPLEmulation::SetPrinterDensity(int level)
{
    if (level == kvcodes::kPrinterDefault)
        return 1;
    return AppendLine("D%d\r\n", level);
}

int32_t CEPLEmulation::SetPrinterSpeed(int level)
{
    if (level == kvcodes::kPrinterDefault)
        return 1;
    return AppendLine("S%d\r\n", level);
}

// The size query and the copying call normally carry the same configuration,
// so an unchanged record (compared byte for byte) reuses the built block.
int32_t CEPLEmulation::GetStartDocCMD(tagOEMCFG* cfg, char* out, long outSize, long* outLen)
{
    if (!cfg) {
        if (outLen)
            *outLen = 0;
        return 0;
    }
    const bool cached = m_bStartDocBuilt && std::memcmp(&m_savedCfg, cfg, sizeof(tagOEMCFG)) == 0;
    if (!cached) {
        m_savedCfg = *cfg;
        ClearCmdBuf();
        ClearPrinterImgBufCMD();
        SetPtrCharSetCMD(kStartDocDataBits, kStartDocCodePage);
        SetWindowModeCMD(0);
        SetPrintDirectionCMD(1);
        SetPrinterSpeed(m_savedCfg.sPrintSpeed);
        SetPrinterDensity(static_cast<int>(m_savedCfg.sDensity));
        AppendHardwareSetup();
        AppendStartDocLabelSize();
        m_bStartDocBuilt = true;
    }
    return GetOutputData(out, outSize, outLen);
}

// Options, back-feed and back-feed distance of the opening block. With the
// cutter selected none of them is sent here: the page builder sends the
// cutter's own set-up with the first page.
void CEPLEmulation::AppendHardwareSetup()
{
    const uint64_t afterPrint = m_savedCfg.dwOperationAfterPrn;
    if (afterPrint == AfterPrint::kCutter)
        return;
    _HWOPT opt{};
    opt.bDirectThermal = m_savedCfg.sPaperType == PrintMethod::kDirectThermal;
    opt.bPeel = afterPrint == AfterPrint::kPeelOff;
    SetPrinterOptionsCMD(&opt);
    if (afterPrint == AfterPrint::kTearOffNoBackFeed) {
        EnableBackupTopCMD(false);
        return;
    }
    EnableBackupTopCMD(true);
    SetBackupPositionCMD(TenthsToDots(m_savedCfg.sBackFeedDistance, m_savedCfg.sOutputYDPI));
}

// Label width and length of the opening block; left out when every page
// carries its own size.
void CEPLEmulation::AppendStartDocLabelSize()
{
    const tagOEMCFG& cfg = m_savedCfg;
    if (cfg.sPaperMode != 0 || cfg.sSavePaper != 0)
        return;
    const int extra = MmToDots(cfg.dwStartOffsetValue + cfg.dwEndOffsetValue, cfg.sOutputYDPI);
    const LabelGap gap = GapFromConfig(cfg);
    SetLabelWidthCMD(TenthsToDots(static_cast<double>(cfg.dwLabelWidth), cfg.sOutputXDPI));
    const int64_t length =
        static_cast<int64_t>(extra) + TenthsToDots(static_cast<double>(cfg.dwLabelLength), cfg.sOutputYDPI);
    SetLabelLenghtCMD(ClampToInt(length), gap.gap, gap.offset, gap.blackMark);
}

// Building and handing over are two calls: a call with an output block while
// commands are kept only hands them over, whatever its other arguments. The
// caller's record gets the updated counter only when the commands leave.
int32_t CEPLEmulation::TransferPageData2CMD(tagOEMCFG* cfg, char* bitmap, long size, int x, int /*reserved*/, int width,
                                            int height, char* out, long outSize, long* outLen, bool lastPage)
{
    if (!cfg)
        return 0;
    if (!m_cmdBuf.empty() && out)
        return HandOverPage(cfg, out, outSize, outLen);
    m_savedCfg = *cfg;
    ClearCmdBuf();
    const tagOEMCFG& c = m_savedCfg;
    if (c.sPaperMode == PrintMode::kCropToContent || c.sSavePaper == SavePaper::kSavePaperOn) {
        if (!AppendPageLabelSize(width, height)) {
            ClearCmdBuf();
            return 0;
        }
    }
    const PageGraphic page = PlaceGraphic(bitmap, size, x, width, height);
    if (c.sCopies != 0) {
        if (c.dwOperationAfterPrn != AfterPrint::kCutter)
            AppendPageGroup(page, c.sCopies);
        else
            AppendCutterPage(page, lastPage);
    }
    if (m_cmdBuf.empty())
        return 0;
    return HandOverPage(cfg, out, outSize, outLen);
}

// Copies the kept commands out when they fit, then writes the saved
// configuration (with its printed-label counter) back and empties the
// buffer. Returns 1 when handed over; otherwise 0 with the needed length.
int32_t CEPLEmulation::HandOverPage(tagOEMCFG* cfg, char* out, long outSize, long* outLen)
{
    const int32_t copied = GetOutputData(out, outSize, outLen);
    if (copied) {
        *cfg = m_savedCfg;
        ClearCmdBuf();
    }
    return copied;
}

// Returns the graphic placed by the configured shifts: across by the
// horizontal offset (leftward when sHrzDir is set), along by the end offset
// plus the vertical offset (minus it when sVtcDir is set). A position that
// would fall before the label's edge is sent as 0.
CEPLEmulation::PageGraphic CEPLEmulation::PlaceGraphic(char* bitmap, long size, int x, int width, int height) const
{
    const tagOEMCFG& c = m_savedCfg;
    int64_t shiftX = TenthsToDots(static_cast<double>(c.sHrzOffset), c.sOutputXDPI);
    if (c.sHrzDir != 0)
        shiftX = -shiftX;
    const int64_t shiftY = TenthsToDots(static_cast<double>(c.sVtcOffset), c.sOutputYDPI);
    const int64_t endOffset = MmToDots(c.dwEndOffsetValue, c.sOutputYDPI);
    const int64_t posY = c.sVtcDir != 0 ? endOffset - shiftY : shiftY + endOffset;
    PageGraphic page;
    page.x = std::max(0, ClampToInt(static_cast<int64_t>(x) + shiftX));
    page.y = std::max(0, ClampToInt(posY));
    page.width = width;
    page.height = height;
    page.bitmap = bitmap;
    page.size = size;
    return page;
}

// Per-page "q" and "Q". Returns false for an empty page, which is not
// printed at all. The label length is converted with the across resolution,
// as the printer set-up has always done.
bool CEPLEmulation::AppendPageLabelSize(int width, int height)
{
    const tagOEMCFG& c = m_savedCfg;
    if (static_cast<int64_t>(width) * height == 0)
        return false;
    const LabelGap gap = GapFromConfig(c);
    const int offsets = c.dwStartOffsetValue + c.dwEndOffsetValue;
    int64_t length = 0;
    switch (c.sFixedHeight) {
    case FixedHeight::kA4:
        length = MmToDots(offsets + kA4LengthMm, c.sOutputXDPI);
        break;
    case FixedHeight::kA5:
        length = MmToDots(offsets + kA5LengthMm, c.sOutputXDPI);
        break;
    case FixedHeight::kA6:
        length = MmToDots(offsets + kA6LengthMm, c.sOutputXDPI);
        break;
    default:
        length = static_cast<int64_t>(height) + MmToDots(offsets, c.sOutputXDPI);
        break;
    }
    // The horizontal offset widens the label on both sides; the doubled
    // offset is converted as one value.
    const int margin = TenthsToDots(2.0 * static_cast<double>(c.sHrzOffset), c.sOutputXDPI);
    SetLabelWidthCMD(ClampToInt(static_cast<int64_t>(width) + margin));
    SetLabelLenghtCMD(ClampToInt(length), gap.gap, gap.offset, gap.blackMark);
    return true;
}

// One dot at the label's far corner, so that the printer feeds the whole
// label even when its end is blank.
void CEPLEmulation::AppendCornerDot(int height)
{
    const tagOEMCFG& c = m_savedCfg;
    const int x = TenthsToDots(static_cast<double>(c.dwLabelWidth), c.sOutputXDPI);
    const int64_t offsets = MmToDots(c.dwStartOffsetValue + c.dwEndOffsetValue, c.sOutputYDPI);
    const int64_t length =
        c.sPaperMode != 0 ? height : TenthsToDots(static_cast<double>(c.dwLabelLength), c.sOutputYDPI);
    DrawLine(x, ClampToInt(offsets + length), kCornerDotSize, kCornerDotSize);
}

// "N", the corner dot when flagged, the graphic block and "P<copies>"; the
// copies are added to the printed-label counter of the saved configuration.
void CEPLEmulation::AppendPageGroup(const PageGraphic& page, int copies)
{
    ClearPrinterImgBufCMD();
    if (m_savedCfg.bCornerDot)
        AppendCornerDot(page.height);
    DirectGraphicWriteCMD(page.x, page.y, page.width, page.height, page.bitmap, page.size);
    PrintCMD(copies);
    // Unsigned, so a bad negative count wraps instead of overflowing.
    m_savedCfg.dwPrintedLabels += static_cast<uint32_t>(copies);
}

// Cut position from the configuration; the printer command drops values
// outside its window.
void CEPLEmulation::AppendCutPosition()
{
    SetCutPositionCMD(TenthsToDots(m_savedCfg.sCutPosition, m_savedCfg.sOutputYDPI));
}

// The page's commands when the cutter runs after printing, in rounds while
// copies remain. Modes 1, 2 and 4 send one group for all copies in the first
// round; mode 3 sends a group per round. Any other mode adds nothing and so,
// with copies left, never returns: the configuration never produces such a
// mode and the builder does not guard against it.
void CEPLEmulation::AppendCutterPage(const PageGraphic& page, bool lastPage)
{
    int remaining = m_savedCfg.sCopies;
    while (remaining > 0) {
        _HWOPT opt{};
        opt.bDirectThermal = m_savedCfg.sPaperType == PrintMethod::kDirectThermal;
        switch (m_savedCfg.dwOperationModeAfterPrn) {
        case CutMethod::kEachLabel:
            AppendCutEveryLabel(page, opt);
            return;
        case CutMethod::kEndOfJob:
            AppendCutAtJobEnd(page, opt, lastPage);
            return;
        case CutMethod::kEachPage:
            AppendCutAfterCopies(page, opt);
            return;
        case CutMethod::kEveryInterval:
            remaining -= AppendCutIntervalRound(page, opt, remaining, lastPage);
            break;
        default:
            // Nothing changes, so the round repeats for ever; yielding keeps
            // the loop a real one that the compiler may not drop.
            std::this_thread::yield();
            break;
        }
    }
}

// Mode 1: the first page turns on a cut after every label.
void CEPLEmulation::AppendCutEveryLabel(const PageGraphic& page, _HWOPT& opt)
{
    if (m_savedCfg.sPageNum == kFirstPage) {
        opt.bCutter = 1;
        opt.nCutCount = 1;
        SetPrinterOptionsCMD(&opt);
        EnableBackupTopCMD(true);
        AppendCutPosition();
    }
    AppendPageGroup(page, m_savedCfg.sCopies);
}

// Mode 2: the last page turns on one cut after all its copies (back-feed
// line first); a first page that is not the last sends a bare "O", without
// even the direct-thermal letter, and the cut position.
void CEPLEmulation::AppendCutAtJobEnd(const PageGraphic& page, _HWOPT& opt, bool lastPage)
{
    const int copies = m_savedCfg.sCopies;
    if (lastPage) {
        opt.bCutter = 1;
        opt.nCutCount = copies < 1 ? 1 : copies;
        EnableBackupTopCMD(true);
        SetPrinterOptionsCMD(&opt);
        AppendCutPosition();
    } else if (m_savedCfg.sPageNum == kFirstPage) {
        _HWOPT none{};
        SetPrinterOptionsCMD(&none);
        AppendCutPosition();
    }
    AppendPageGroup(page, copies);
}

// Mode 4: the first page turns on a cut after all copies of each page.
void CEPLEmulation::AppendCutAfterCopies(const PageGraphic& page, _HWOPT& opt)
{
    const int copies = m_savedCfg.sCopies;
    opt.bCutter = 1;
    opt.nCutCount = copies < 2 ? 1 : copies;
    if (m_savedCfg.sPageNum == kFirstPage) {
        SetPrinterOptionsCMD(&opt);
        EnableBackupTopCMD(true);
        AppendCutPosition();
    }
    AppendPageGroup(page, copies);
}

// Mode 3, one round: on a page that is a multiple of the interval each copy
// is cut on its own; the last page cuts once after all remaining copies;
// other pages print the remaining copies uncut. The options line goes with
// every round, the back-feed and cut position with every round of page 1.
// Returns the copies printed in this round.
int CEPLEmulation::AppendCutIntervalRound(const PageGraphic& page, _HWOPT& opt, int remaining, bool lastPage)
{
    const int pageNum = m_savedCfg.sPageNum;
    if (IsMultipleOf(pageNum, m_savedCfg.sIntervalValue)) {
        opt.bCutter = 1;
        opt.nCutCount = 1;
    }
    if (lastPage) {
        opt.bCutter = 1;
        opt.nCutCount = remaining;
    }
    SetPrinterOptionsCMD(&opt);
    if (pageNum == kFirstPage) {
        EnableBackupTopCMD(true);
        AppendCutPosition();
    }
    const int printed = opt.nCutCount != 0 ? opt.nCutCount : remaining;
    AppendPageGroup(page, printed);
    return printed;
}
