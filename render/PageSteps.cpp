// The page pipeline's steps, as TransCommand runs them for each held page:
// scaling to the printer's resolution, grey conversion (before or after
// fitting, by print mode), automatic rotation, fitting to the printable
// width, halftoning, then dashing, packing, positioning and the page's
// commands on standard output.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>

#include "AdThreshold.h"
#include "EPLRender.h"
#include "LBPTREmulation.h"
#include "MallocBuffer.h"
#include "OptionCodes.h"
#include "PagePipeline.h"
#include "RecordUnits.h"
#include "log4z.h"

namespace {

using kvrender::MallocBuffer;
using kvrender::WorkImage;

// The debug dumps of the page as the pipeline gets it and as it sends it.
constexpr const char* kBeginDump = "/tmp/EplBegin.bmp";
constexpr const char* kOutputDump = "/tmp/EplOutput.bmp";

// The adaptive threshold of halftone method 4: method 0, blocks of 64
// pixels, no bias, each block's threshold weighed half against the page's.
struct AdaptiveSettings {
    int method, block, bias;
    float weight;
};
constexpr AdaptiveSettings kAdaptive{0, 64, 0, 0.5f};

constexpr int kGreyBits = 8;
constexpr unsigned char kWhite = 255;

// Takes `next` as the working buffer when the operation produced one,
// logging both addresses when both exist.
void TakeBuffer(WorkImage& work, unsigned char* next, uint64_t bytes)
{
    if (!next)
        return;
    if (work.HasData())
        LOGFMTD("databuf2: 0x%x, databuf3: 0x%x", LogPointer32(work.Data()), LogPointer32(next));
    work.buffer.reset(next);
    work.borrowed = nullptr;
    work.bytes = bytes;
}

// Makes a step's result the working image: `next` (when the step produced
// one, of `bytes` bytes) with the kept box `box`, measured as
// WorkImage::Reshape does.
void SetStageOutput(WorkImage& work, unsigned char* next, uint64_t bytes, const tagRECT& box, bool inclusive)
{
    work.Reshape(box, inclusive);
    TakeBuffer(work, next, bytes);
}

// Whether a shrink of `w` x `h` to `dstW` x `dstH` pixels writes every pixel
// of its destination when it runs: it writes each destination row once,
// all its columns, at 8 and 24 bits, as long as it has at least one source
// row per destination row.
bool ShrinkWritesEveryPixel(uint32_t h, uint32_t bitCount, uint32_t dstH)
{
    return dstH != 0 && dstH <= h && (bitCount == 8 || bitCount == 24);
}

// Gives the bytes of a shrink's destination that it did not write the
// fill: the whole buffer when it refused, else each row's padding and what
// lies after the last row (its rows are the size over the height apart).
void FillAroundShrink(unsigned char* dst, uint64_t dstBytes, uint32_t dstW, uint32_t dstH, uint32_t bitCount,
                      bool shrunk, unsigned char fill)
{
    if (!shrunk) {
        memset(dst, fill, dstBytes ? dstBytes : 1);
        return;
    }
    const uint64_t stride = dstBytes / dstH;
    const uint64_t rowBytes = uint64_t{dstW} * (bitCount / 8);
    for (uint64_t y = 0; y < dstH && rowBytes < stride; ++y)
        memset(dst + y * stride + rowBytes, fill, stride - rowBytes);
    memset(dst + dstH * stride, fill, dstBytes - dstH * stride);
}

// Shrinks or resamples `w` x `h` pixels into a new `dstW` x `dstH` buffer of
// `dstBytes` bytes, whose bytes the operation leaves unwritten are `fill`:
// the shrink only when `shrink` is set. A buffer that the shrink writes
// whole is not filled first.
MallocBuffer Rescale(CBmpProcessing& bmp, bool shrink, const unsigned char* src, uint32_t w, uint32_t h,
                     uint32_t bitCount, uint32_t srcStride, uint32_t dstW, uint32_t dstH, uint64_t dstBytes,
                     unsigned char fill, tagColorCFG color)
{
    const bool fillAfter = shrink && ShrinkWritesEveryPixel(h, bitCount, dstH);
    MallocBuffer dst =
        fillAfter ? kvimg::AllocateBlock(dstBytes ? dstBytes : 1) : kvrender::FilledBuffer(dstBytes, fill);
    if (!dst)
        return dst;
    unsigned char* out = dst.get();
    const tagRECT noWhitening{};
    const tagColorCFG none{};
    if (shrink) {
        const int shrunk =
            bmp.InvoicQIShrinkImg2(w, h, bitCount, srcStride, src, nullptr, dstW, dstH, bitCount, &out, nullptr,
                                   static_cast<uint32_t>(dstBytes), color, 0, none, 0, noWhitening);
        if (fillAfter)
            FillAroundShrink(out, dstBytes, dstW, dstH, bitCount, shrunk != 0, fill);
    } else {
        bmp.InvoicResampleImg2(w, h, bitCount, srcStride, src, dstW, dstH, bitCount, &out,
                               static_cast<uint32_t>(dstBytes), color, 0, noWhitening);
    }
    return dst;
}

}  // namespace

// Brings the held page to the output resolution, replacing the held buffer
// and its header. Both factors below 1 shrink; anything else resamples.
// The page's size at the printer's resolution and whether scaling is a
// shrink (both factors below one); no scaling for equal resolutions, an
// absurd raster resolution (0) or a size that does not fit.
CEPLRender::ScalePlan CEPLRender::PlanScale() const
{
    const tagBITMAPINFOHEADER& page = m_pOemPdev->bmInfoHeader;
    ScalePlan plan;
    if (m_pDevMode->dmPrintQuality == 0 || m_pDevMode->dmYResolution == 0)
        return plan;  // an absurd raster resolution: keep the page as it came
    const double sx = static_cast<double>(m_pOemCfg->sOutputXDPI) / m_pDevMode->dmPrintQuality;
    const double sy = static_cast<double>(m_pOemCfg->sOutputYDPI) / m_pDevMode->dmYResolution;
    if (sx == 1.0 && sy == 1.0)
        return plan;
    plan.width = static_cast<int64_t>(std::trunc(page.biWidth * sx));
    plan.height = static_cast<int64_t>(std::trunc(page.biHeight * sy));
    plan.bytes = plan.height * 4 * ((plan.width * page.biBitCount + 31) / 32);
    if (plan.width < 0 || plan.height < 0 || plan.bytes > int64_t(UINT32_MAX))
        return plan;
    plan.scale = true;
    plan.shrink = sx < 1.0 && sy < 1.0;
    return plan;
}

// Makes the held page's pending red-blue swap, in place.
void CEPLRender::SwapHeldPageIfPending()
{
    if (!m_pSwap || !m_pSwap->pending)
        return;
    kvrender::SwapRedBlueRows(m_pOemPdev->pBufStart, *m_pSwap);
    m_pSwap->pending = false;
}

// True when the grey conversion is the first step to read a held page that
// is still in raster order, so that it may read it so: no page dump, print
// mode 1 (the first conversion reads the page), or print mode 0 with no
// automatic rotation and no fitting to the printable width before the
// second conversion (which then reads the page in place).
bool CEPLRender::ConversionTakesHeldPageAsSent(bool logOn) const
{
    if (!m_pSwap || !m_pSwap->pending || logOn)
        return false;
    const tagOEMCFG& cfg = *m_pOemCfg;
    if (cfg.sPaperMode == kvcodes::PrintMode::kCropToContent)
        return true;
    if (cfg.sPaperMode != kvcodes::PrintMode::kLabelFromPage)
        return false;
    const int32_t w = m_pOemPdev->bmInfoHeader.biWidth;
    const int32_t h = m_pOemPdev->bmInfoHeader.biHeight;
    if (kvrender::AutoRotationCode(w, h, cfg.sOutputXDPI, cfg.sOutputYDPI, cfg.sMaxOutputWidth, cfg.sAutoRotate90))
        return false;
    const uint32_t maxDots = static_cast<uint32_t>(kvunits::MmToDots(cfg.sMaxOutputWidth, cfg.sOutputXDPI));
    return !(cfg.sSavePaper == kvcodes::SavePaper::kSavePaperOn && maxDots < static_cast<uint32_t>(w));
}

// After a conversion of the held page: a page it read in raster order
// counts as swapped (nothing reads it again), unless the conversion gave
// nothing, when the page is swapped for the steps that then read it.
void CEPLRender::HeldPageConverted(CBmpProcessing& bmp, bool gaveImage)
{
    if (!bmp.RedFirstSource())
        return;
    bmp.SetRedFirstSource(false);
    if (gaveImage && m_pSwap)
        m_pSwap->pending = false;
    SwapHeldPageIfPending();
}

void CEPLRender::ScaleToOutputResolution(CBmpProcessing& bmp)
{
    _OEMPDEV& pdev = *m_pOemPdev;
    tagBITMAPINFOHEADER& page = pdev.bmInfoHeader;
    const ScalePlan plan = PlanScale();
    if (!plan.scale)
        return;
    // A pending swap waits for a shrink, whose smaller result it is made on;
    // a resampling reads the page swapped.
    if (!plan.shrink)
        SwapHeldPageIfPending();
    // The shrink writes its result swapped, which is the same as swapping
    // it afterwards, and saves a pass over it.
    const bool swapInShrink = m_pSwap && m_pSwap->pending;
    bmp.SetSwappedShrinkOutput(swapInShrink);
    MallocBuffer scaled =
        Rescale(bmp, plan.shrink, pdev.pBufStart, page.biWidth, page.biHeight, page.biBitCount,
                static_cast<uint32_t>(BmpRowStride(page.biBitCount, page.biWidth)), static_cast<uint32_t>(plan.width),
                static_cast<uint32_t>(plan.height), static_cast<uint64_t>(plan.bytes), 0, tagColorCFG{});
    bmp.SetSwappedShrinkOutput(false);
    if (!scaled) {
        m_shortfalls.push_back("scaling to the printer's resolution");
        SwapHeldPageIfPending();
        return;
    }
    if (swapInShrink)
        m_pSwap->pending = false;
    free(pdev.pBufStart);
    pdev.pBufStart = scaled.release();
    pdev.dwBufSize = static_cast<uint32_t>(plan.bytes);
    page.biSizeImage = static_cast<uint32_t>(plan.bytes);
    page.biWidth = static_cast<int32_t>(plan.width);
    page.biHeight = static_cast<int32_t>(plan.height);
}

// Writes a debug dump, logging instead of failing when it throws.
void CEPLRender::DumpPage(const char* path, unsigned char* data, uint64_t size, int width, int height, int bits)
{
    try {
        LogData2BmpFile(path, data, static_cast<unsigned>(size), width, height, bits);
    } catch (const std::exception&) {
        if (path == kBeginDump)
            LOGFMTD("Out - EplBegin.bmp Error");
        else
            LOGFMTD("Out - EplOutput.bmp Error");
    }
}

bool CEPLRender::TransCommand(bool lastPage, bool logOn)
{
    if (!m_pOemPdev || !m_pOemPdev->pBufStart || !m_pOemCfg || !m_pDevMode)
        return false;
    const tagOEMCFG& cfg = *m_pOemCfg;
    _OEMPDEV& pdev = *m_pOemPdev;
    const tagBITMAPINFOHEADER savedHeader = pdev.bmInfoHeader;
    CBmpProcessing bmp;
    ScaleToOutputResolution(bmp);
    // A held page still in raster order goes to the grey conversion as it
    // is when the conversion is the first step to read it; otherwise it is
    // swapped now.
    const bool redFirst = ConversionTakesHeldPageAsSent(logOn);
    if (!redFirst)
        SwapHeldPageIfPending();
    bmp.SetRedFirstSource(redFirst);

    WorkImage work;
    work.header = pdev.bmInfoHeader;
    work.rect = {0, 0, work.header.biWidth - 1, work.header.biHeight - 1};
    const int orientation = kvrender::OrientationCode(m_pDevMode->dmOrientation, cfg.sRotate90, cfg.sRotation);
    const COLORLEVELSITEM levels{cfg.nLevelsAdj / 100.0f, 0, 255, 0, 255};
    if (logOn)
        DumpPage(kBeginDump, pdev.pBufStart, pdev.dwBufSize, work.header.biWidth, work.header.biHeight,
                 work.header.biBitCount);
    if (levels.fGamma != 1.0f)
        bmp.SetColorLevelsData(&levels, 0);
    if (cfg.nBrightness != 0 || cfg.nContrast != 0)
        bmp.SetLightTable(cfg.nBrightness, cfg.nContrast);

    FirstConversion(bmp, work, orientation, levels);
    if (work.rect.right == work.rect.left || work.rect.bottom == work.rect.top) {
        RestorePageSize(savedHeader);
        return true;
    }
    work.rect.left = std::max(work.rect.left, 0);
    work.rect.top = std::max(work.rect.top, 0);
    work.Measure(true);
    AutoRotate(bmp, work);
    FitPrintableWidth(bmp, work);
    SecondConversion(bmp, work, orientation, levels);
    Halftone(bmp, work);
    if (logOn)
        DumpPage(kOutputDump, work.buffer.get(), work.size, work.w, work.h, kGreyBits);
    SendPage(bmp, work, orientation, lastPage);
    RestorePageSize(savedHeader);
    return true;
}

// Print mode 1 converts to grey (cropped) before any fitting; otherwise the
// working image is the page itself, read in place, and conversion waits.
void CEPLRender::FirstConversion(CBmpProcessing& bmp, WorkImage& work, int orientation, const COLORLEVELSITEM& levels)
{
    const tagOEMCFG& cfg = *m_pOemCfg;
    _OEMPDEV& pdev = *m_pOemPdev;
    if (cfg.sPaperMode == kvcodes::PrintMode::kCropToContent) {
        unsigned char* out = nullptr;
        unsigned int capacity = 0;
        bmp.CoverBMP2OutputFormat(pdev.pBufStart, pdev.dwBufSize, &out, &capacity, &work.header, &work.rect,
                                  orientation, 0, 0, levels, cfg.sMirror != 0, cfg.nBrightness, cfg.nContrast,
                                  kvunits::MmToDots(kvrender::kConversionMaxWidthMm, cfg.sOutputXDPI), 1);
        HeldPageConverted(bmp, out != nullptr);
        TakeBuffer(work, out, capacity);
        return;
    }
    work.borrowed = pdev.pBufStart;
    work.bytes = pdev.dwBufSize;
}

// Turns a page that is much wider than the printable width, or much taller
// than wide, by the configured code.
void CEPLRender::AutoRotate(CBmpProcessing& bmp, WorkImage& work)
{
    const tagOEMCFG& cfg = *m_pOemCfg;
    std::optional<short> code = kvrender::AutoRotationCode(work.w, work.h, cfg.sOutputXDPI, cfg.sOutputYDPI,
                                                           cfg.sMaxOutputWidth, cfg.sAutoRotate90);
    if (!code)
        return;
    unsigned char* out = nullptr;
    unsigned int capacity = 0;
    tagRECT rotated = work.rect;
    bmp.RotateImgData(work.Data(), static_cast<unsigned>(work.Readable()), work.rect, &work.header, *code, &out,
                      &capacity, &rotated);
    SetStageOutput(work, out, capacity, rotated, true);
}

// Brings a page wider than the printable width down to it, keeping its
// proportions, when print mode 1 or paper saving asks for it.
void CEPLRender::FitPrintableWidth(CBmpProcessing& bmp, WorkImage& work)
{
    const tagOEMCFG& cfg = *m_pOemCfg;
    const uint32_t maxDots = static_cast<uint32_t>(kvunits::MmToDots(cfg.sMaxOutputWidth, cfg.sOutputXDPI));
    if (!(maxDots < static_cast<uint32_t>(work.w) &&
          (cfg.sPaperMode == kvcodes::PrintMode::kCropToContent || cfg.sSavePaper == kvcodes::SavePaper::kSavePaperOn)))
        return;
    const int32_t newH = static_cast<int32_t>(static_cast<double>(work.h) / work.w * maxDots);
    const int64_t newStride = BmpRowStride(work.header.biBitCount, maxDots);
    const uint64_t newBytes = static_cast<uint64_t>(newStride) * static_cast<uint64_t>(std::max(newH, 0));
    const tagColorCFG color{static_cast<int16_t>(cfg.nBrightness), static_cast<int16_t>(cfg.nContrast),
                            static_cast<int16_t>(cfg.nLevelsAdj)};
    MallocBuffer fitted =
        Rescale(bmp, newH < work.h, work.Data(), static_cast<uint32_t>(work.w), static_cast<uint32_t>(work.h),
                work.header.biBitCount, static_cast<uint32_t>(work.stride), maxDots, static_cast<uint32_t>(newH),
                newBytes, kWhite, color);
    if (!fitted)
        m_shortfalls.push_back("fitting to the printable width");
    // The box's right and bottom are the size itself here, not size - 1.
    SetStageOutput(work, fitted.release(), newBytes, {0, 0, static_cast<int32_t>(maxDots), newH}, false);
}

// Print mode 0 converts to grey after fitting. The size taken afterwards
// leaves out the box's last column and row: kept as the printer's output has
// always been.
void CEPLRender::SecondConversion(CBmpProcessing& bmp, WorkImage& work, int orientation, const COLORLEVELSITEM& levels)
{
    const tagOEMCFG& cfg = *m_pOemCfg;
    if (cfg.sPaperMode != kvcodes::PrintMode::kLabelFromPage)
        return;
    unsigned char* out = nullptr;
    unsigned int capacity = 0;
    bmp.CoverBMP2OutputFormat(work.Data(), static_cast<unsigned>(work.Readable()), &out, &capacity, &work.header,
                              &work.rect, orientation, 0, 0, levels, cfg.sMirror != 0, cfg.nBrightness, cfg.nContrast,
                              kvunits::MmToDots(kvrender::kConversionMaxWidthMm, m_pDevMode->dmPrintQuality), 1);
    HeldPageConverted(bmp, out != nullptr);
    TakeBuffer(work, out, capacity);
    work.Measure(false);
}

// Reduces the grey page to black and white: method 4 is adaptive
// thresholding, every other value a dither method.
void CEPLRender::Halftone(CBmpProcessing& bmp, WorkImage& work)
{
    const tagOEMCFG& cfg = *m_pOemCfg;
    const bool invert = cfg.bNegative != 0;
    const bool hadImage = work.HasData();
    if (!work.Writable()) {
        if (hadImage)
            m_shortfalls.push_back("the halftone");
        return;
    }
    if (cfg.sHalftoneMethod == kvimg::kLocalAdaptive) {
        unsigned char* out = nullptr;
        int outSize = 0;
        if (AdaptiveThreshold(work.buffer.get(), work.w, work.h, static_cast<int>(work.stride), &out, &outSize, invert,
                              kAdaptive.method, kAdaptive.block, kAdaptive.bias, kAdaptive.weight) != 1) {
            return;
        }
        MallocBuffer result(out);
        MallocBuffer fresh = kvrender::FilledBuffer(static_cast<uint64_t>(outSize), kWhite);
        if (!fresh) {
            m_shortfalls.push_back("the halftone");
            return;
        }
        memcpy(fresh.get(), result.get(), static_cast<size_t>(outSize));
        work.header.biBitCount = kGreyBits;
        work.size = static_cast<uint64_t>(outSize);
        work.buffer = std::move(fresh);
        work.bytes = work.size;
        return;
    }
    const uint64_t size = work.Readable();
    if (ThresholdInPlace(bmp, work, invert))
        return;
    MallocBuffer dst = kvrender::FilledBuffer(size, kWhite);
    if (!dst) {
        m_shortfalls.push_back("the halftone");
        return;
    }
    if (!bmp.Dither(cfg.sHalftoneMethod, work.buffer.get(), dst.get(), static_cast<unsigned>(std::max(work.h, 0)),
                    static_cast<unsigned>(std::max(work.w, 0)), static_cast<unsigned>(work.stride), 0, invert))
        m_shortfalls.push_back("the halftone");
    // The result takes the image's place: every byte that may be read from
    // here on is in it.
    work.buffer = std::move(dst);
    work.bytes = size;
}

// The fixed threshold (method 1) in the image's own buffer, which saves a
// page-sized buffer: each pixel depends on itself alone, and the bytes the
// threshold leaves alone (each row's bytes past the width) are made white,
// as in the fresh white buffer of the other methods. Returns false, having
// done nothing, for any other method or an image the threshold would not
// take whole.
bool CEPLRender::ThresholdInPlace(CBmpProcessing& bmp, WorkImage& work, bool invert)
{
    const bool whole = work.h > 0 && work.w > 0 && work.stride > 0 &&
                       work.Readable() == static_cast<uint64_t>(work.h) * static_cast<uint64_t>(work.stride);
    if (m_pOemCfg->sHalftoneMethod != kvimg::kFixedThreshold || !whole)
        return false;
    unsigned char* image = work.buffer.get();
    bmp.Dither(kvimg::kFixedThreshold, image, image, static_cast<unsigned>(work.h), static_cast<unsigned>(work.w),
               static_cast<unsigned>(work.stride), 0, invert);
    const int64_t written = std::min<int64_t>(work.w, work.stride);
    for (int64_t y = 0; y < work.h; ++y)
        memset(image + y * work.stride + written, kWhite, static_cast<size_t>(work.stride - written));
    return true;
}

// Dashes, packs, positions and hands the page to the emulation, then writes
// its commands to the sink (standard output: in one buffered write).
void CEPLRender::SendPage(CBmpProcessing& bmp, WorkImage& work, int orientation, bool lastPage)
{
    tagOEMCFG& cfg = *m_pOemCfg;
    const _OEMPDEV& pdev = *m_pOemPdev;
    work.rect.left = std::max(work.rect.left, 0);
    work.rect.top = std::max(work.rect.top, 0);
    const bool hadImage = work.HasData();
    if (!work.Writable() && hadImage)
        m_shortfalls.push_back("the page's image");
    if (cfg.sIsLineImaginary && work.buffer)
        kvrender::ConvertToDashedLines(bmp, work.buffer.get(), work.Readable(), work.w, work.h, work.stride,
                                       kvunits::MmToDots(cfg.sBlackInterval, cfg.sOutputXDPI),
                                       kvunits::MmToDots(cfg.sWhiteInterval, cfg.sOutputXDPI), cfg.sMinImaginaryLineLen,
                                       m_pDevMode->dmPrintQuality);
    kvrender::PackedPage packed =
        kvrender::PackToOneBit(work.buffer.get(), work.buffer ? work.Readable() : 0, work.w, work.h, work.stride,
                               work.rect, cfg.sMirror != 0, pdev.nMirrorRefWidth);
    const kvrender::PagePosition position =
        kvrender::PositionOnLabel(packed.x, work.rect.top, orientation, cfg, *m_pDevMode, pdev);
    cfg.sPageNum = static_cast<int16_t>(pdev.dwCurPageNum);
    cfg.nPageNum = cfg.sPageNum;
    cfg.sCopies = pdev.sCurCopies;
    if (!packed.bits) {
        if (packed.size != 0)
            m_shortfalls.push_back("the page's one-bit image");
        return;
    }

    CLBPTREmulation emulation;
    char* bits = reinterpret_cast<char*>(packed.bits.get());
    const long bitsSize = static_cast<long>(packed.size);
    long length = 0;
    if (emulation.TransferImageData2CMD(&cfg, bits, bitsSize, position.x, position.y, work.w, work.h, nullptr, 0,
                                        &length, lastPage) != 0 ||
        length <= 0)
        return;
    const kvimg::MallocPtr<char> commands = kvimg::AllocateBlock<char>(static_cast<size_t>(length), true);
    if (!commands) {
        m_shortfalls.push_back("the page's printer commands");
        return;
    }
    if (emulation.TransferImageData2CMD(&cfg, bits, bitsSize, position.x, position.y, work.w, work.h, commands.get(),
                                        length, &length, lastPage) != 0 &&
        m_pOemCfg)
        Emit(commands.get(), static_cast<size_t>(length));
}

// Puts the page header's width and height back as they were at entry; the
// held buffer stays the scaled one.
void CEPLRender::RestorePageSize(const tagBITMAPINFOHEADER& saved)
{
    m_pOemPdev->bmInfoHeader.biWidth = saved.biWidth;
    m_pOemPdev->bmInfoHeader.biHeight = saved.biHeight;
}
