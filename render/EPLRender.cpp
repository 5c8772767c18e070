// The renderer's connection to the job loop and to its output (standard
// output, or the sink a job gives it): the job records it is given, the
// label size it stores from the first page, and the start-of-document
// block. Each page's steps are in PageSteps.cpp.
#include "EPLRender.h"

#include <cstdint>
#include <cstdio>

#include "LBPTREmulation.h"
#include "MallocBuffer.h"
#include "PagePipeline.h"
#include "RecordUnits.h"
#include "log4z.h"

using kvrender::MulDiv;

namespace {

// Label widths go to the printer in whole bytes of eight dots.
constexpr int32_t kDotsPerByte = 8;
// The label length written back holds one dot more than the page.
constexpr int32_t kExtraLengthDot = 1;

// Rounds `dots` up to a whole number of bytes of eight dots.
int32_t RoundUpToByte(int32_t dots)
{
    return static_cast<int32_t>((int64_t(dots) + kDotsPerByte - 1) / kDotsPerByte * kDotsPerByte);
}

// True when the page is taken as turned by a quarter turn: portrait with
// the rotate flag set, landscape without it set to 1, and any orientation
// other than those two.
bool IsPageTurned(int16_t orientation, int16_t rotate90)
{
    if (orientation == kDmPortrait)
        return rotate90 != 0;
    if (orientation == kDmLandscape)
        return rotate90 != 1;
    return true;
}

// Dots at `dpi` to tenths of a millimetre, rounded; 0 when `dpi` is 0.
int64_t DotsToTenths(int32_t dots, int32_t dpi)
{
    return dpi == 0 ? 0 : static_cast<int64_t>(static_cast<double>(dots) / dpi * kvunits::kTenthMmPerInch + 0.5);
}

}  // namespace

// Only the configuration pointer marks a job as set up; the other two are
// cleared as well so that a renderer used before set-up never follows a
// stray pointer.
CEPLRender::CEPLRender() : m_pOemCfg(nullptr), m_pDevMode(nullptr), m_pOemPdev(nullptr) {}

CEPLRender::~CEPLRender() = default;

void CEPLRender::SetOemCfgPointer(tagOEMCFG* cfg)
{
    m_pOemCfg = cfg;
}

void CEPLRender::SetDevModePointer(_DEVMODE* devMode)
{
    m_pDevMode = devMode;
}

void CEPLRender::SetOemPdevPointer(_OEMPDEV* pdev)
{
    m_pOemPdev = pdev;
}

void CEPLRender::SetDeferredSwap(kvrender::DeferredSwap* swap)
{
    m_pSwap = swap;
}

void CEPLRender::SetCommandSink(kvrender::CommandSink* sink)
{
    m_pSink = sink;
}

size_t CEPLRender::Emit(const void* data, size_t size)
{
    if (m_pSink)
        return m_pSink->Write(data, size);
    return fwrite(data, 1, size, stdout);
}

int32_t CEPLRender::SendCommand(unsigned char* data, unsigned int size, unsigned char, wchar_t*)
{
    if (!m_pOemCfg)
        return 0;
    return Emit(data, size) > 0 ? 1 : 0;
}

// Derives the label size from the first page and sends the printer set-up
// block. All size arithmetic is 32-bit signed with truncating division, as
// the printer's label size has always been computed.
int32_t CEPLRender::StartDocCMD()
{
    if (!m_pOemCfg)
        return 0;
    StoreLabelSize();
    SendStartDocBlock();
    return 1;
}

void CEPLRender::StoreLabelSize()
{
    tagOEMCFG& cfg = *m_pOemCfg;
    const int32_t pixelWidth = m_pOemPdev->srcGdiInfo.szlPhysSize.cx;
    const int32_t pixelHeight = m_pOemPdev->srcGdiInfo.szlPhysSize.cy;
    const int32_t xdpi = cfg.sOutputXDPI;
    const int32_t ydpi = cfg.sOutputYDPI;
    int32_t width;
    int32_t length;
    if (IsPageTurned(m_pDevMode->dmOrientation, cfg.sRotate90)) {
        width = MulDiv(xdpi, pixelHeight, m_pDevMode->dmYResolution);
        length = MulDiv(ydpi, pixelWidth, m_pDevMode->dmPrintQuality);
    } else {
        width = MulDiv(xdpi, pixelWidth, m_pDevMode->dmPrintQuality);
        length = MulDiv(ydpi, pixelHeight, m_pDevMode->dmYResolution);
    }
    width = RoundUpToByte(width);
    const int32_t maxWidth = kvunits::MmToDots(cfg.sMaxOutputWidth, xdpi);
    if (static_cast<uint32_t>(width) > static_cast<uint32_t>(maxWidth))
        width = RoundUpToByte(maxWidth);
    cfg.dwLabelWidth = DotsToTenths(width, xdpi);
    cfg.dwLabelLength = DotsToTenths(length + kExtraLengthDot, ydpi);
    cfg.sOrientation = m_pDevMode->dmOrientation;
    cfg.sBackFeedDistance = 0;
}

void CEPLRender::SendStartDocBlock()
{
    CLBPTREmulation emulation;
    long length = 0;
    if (emulation.GetStartDocCMD(m_pOemCfg, nullptr, 0, &length) != 0 || length <= 0)
        return;
    const kvimg::MallocPtr<char> block = kvimg::AllocateBlock<char>(static_cast<size_t>(length), true);
    if (!block)
        return;
    if (emulation.GetStartDocCMD(m_pOemCfg, block.get(), length, &length) != 0 && m_pOemCfg)
        Emit(block.get(), static_cast<size_t>(length));
}
