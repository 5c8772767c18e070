// Facts about the page pipeline run on a held page: what it does to the
// records and what it writes to standard output.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "BmpProcessing.h"
#include "EPLRender.h"
#include "MallocBuffer.h"
#include "PagePipeline.h"
#include "StreamCapture.h"
#include "TestFiles.h"

// The job records are packed: a member that may sit at an unaligned address
// is copied into a local before EXPECT_EQ, which binds its arguments to
// references.

using namespace kvtest;

namespace {

// The three records around one held 24-bit page of `width` x `height`
// pixels at `dpi`, printed at `outputDpi` with a fixed threshold.
struct PageJob {
    tagOEMCFG cfg{};
    _DEVMODE devMode{};
    _OEMPDEV pdev{};

    PageJob(int32_t width, int32_t height, int16_t dpi, int16_t outputDpi, unsigned char grey)
    {
        cfg.sOutputXDPI = outputDpi;
        cfg.sOutputYDPI = outputDpi;
        cfg.sMaxOutputWidth = 104;
        cfg.sHalftoneMethod = 1;
        cfg.nLevelsAdj = 100;
        devMode.dmOrientation = 1;
        devMode.dmPrintQuality = dpi;
        devMode.dmYResolution = dpi;
        pdev.bmInfoHeader.biWidth = width;
        pdev.bmInfoHeader.biHeight = height;
        pdev.bmInfoHeader.biBitCount = 24;
        pdev.srcGdiInfo.szlPhysSize = {width, height};
        pdev.dwCurPageNum = 1;
        pdev.sCurCopies = 1;
        const uint32_t size = static_cast<uint32_t>(BmpRowStride(24, width) * height);
        pdev.pBufStart = static_cast<unsigned char*>(malloc(size));
        memset(pdev.pBufStart, grey, size);
        pdev.dwBufSize = size;
    }
    ~PageJob() { free(pdev.pBufStart); }

    // Runs the pipeline; returns its result and what it wrote.
    std::pair<bool, std::string> Render(bool lastPage = false, bool logOn = false,
                                        kvrender::DeferredSwap* swap = nullptr)
    {
        StdoutCapture capture;
        CEPLRender render;
        render.SetOemCfgPointer(&cfg);
        render.SetDevModePointer(&devMode);
        render.SetOemPdevPointer(&pdev);
        if (swap)
            render.SetDeferredSwap(swap);
        bool result = render.TransCommand(lastPage, logOn);
        return {result, capture.Take()};
    }

    // The held page's bytes.
    std::vector<unsigned char> Page() const { return {pdev.pBufStart, pdev.pBufStart + pdev.dwBufSize}; }
};

// A horizontal grey ramp, so that the scaling operations differ.
void FillRamp(PageJob& job)
{
    const int64_t stride = BmpRowStride(24, job.pdev.bmInfoHeader.biWidth);
    for (int32_t y = 0; y < job.pdev.bmInfoHeader.biHeight; ++y)
        for (int32_t x = 0; x < job.pdev.bmInfoHeader.biWidth; ++x)
            memset(job.pdev.pBufStart + y * stride + 3 * x, (x * 37 + y * 11) % 256, 3);
}

}  // namespace

TEST(TransCommand, WithoutAHeldPageReturnsFalseAndWritesNothing)
{
    PageJob job(16, 8, 203, 203, 0);
    free(job.pdev.pBufStart);
    job.pdev.pBufStart = nullptr;
    auto [result, out] = job.Render();
    EXPECT_FALSE(result);
    EXPECT_EQ(out, "");
}

TEST(TransCommand, EqualResolutionsLeaveThePageBufferUntouched)
{
    PageJob job(16, 8, 203, 203, 0);
    FillRamp(job);
    unsigned char* before = job.pdev.pBufStart;
    std::vector<unsigned char> copy(before, before + job.pdev.dwBufSize);
    job.Render();
    const auto pBufStart = job.pdev.pBufStart;
    EXPECT_EQ(pBufStart, before);
    EXPECT_EQ(std::vector<unsigned char>(job.pdev.pBufStart, job.pdev.pBufStart + job.pdev.dwBufSize), copy);
}

TEST(TransCommand, HalvedPageIsShrunkIntoANewHeldBuffer)
{
    PageJob job(20, 10, 406, 203, 0);
    FillRamp(job);
    std::vector<unsigned char> source(job.pdev.pBufStart, job.pdev.pBufStart + job.pdev.dwBufSize);
    job.Render();
    // 10 x 5 pixels at 24 bits: rows of 32 bytes.
    const auto dwBufSize = job.pdev.dwBufSize;
    EXPECT_EQ(dwBufSize, 160u);
    const auto biSizeImage = job.pdev.bmInfoHeader.biSizeImage;
    EXPECT_EQ(biSizeImage, 160u);
    CBmpProcessing bmp;
    std::vector<unsigned char> expected(160, 0);
    unsigned char* out = expected.data();
    bmp.InvoicQIShrinkImg2(20, 10, 24, 60, source.data(), nullptr, 10, 5, 24, &out, nullptr, 160, tagColorCFG{}, 0,
                           tagColorCFG{}, 0, tagRECT{});
    EXPECT_EQ(std::vector<unsigned char>(job.pdev.pBufStart, job.pdev.pBufStart + 160), expected);
}

TEST(TransCommand, HalfAcrossAndOneAndAHalfAlongIsResampledNotShrunk)
{
    PageJob job(20, 10, 203, 203, 0);
    job.devMode.dmPrintQuality = 406;  // x factor 0.5
    job.devMode.dmYResolution = 135;   // y factor 203 / 135 > 1
    FillRamp(job);
    std::vector<unsigned char> source(job.pdev.pBufStart, job.pdev.pBufStart + job.pdev.dwBufSize);
    job.Render();
    // 10 x 15 pixels: trunc(10 x 203 / 135) = 15 rows of 32 bytes.
    const auto dwBufSize = job.pdev.dwBufSize;
    ASSERT_EQ(dwBufSize, 480u);
    CBmpProcessing bmp;
    std::vector<unsigned char> resampled(480, 0);
    std::vector<unsigned char> shrunk(480, 0);
    unsigned char* out = resampled.data();
    bmp.InvoicResampleImg2(20, 10, 24, 60, source.data(), 10, 15, 24, &out, 480, tagColorCFG{}, 0, tagRECT{});
    out = shrunk.data();
    bmp.InvoicQIShrinkImg2(20, 10, 24, 60, source.data(), nullptr, 10, 15, 24, &out, nullptr, 480, tagColorCFG{}, 0,
                           tagColorCFG{}, 0, tagRECT{});
    ASSERT_NE(resampled, shrunk);
    EXPECT_EQ(std::vector<unsigned char>(job.pdev.pBufStart, job.pdev.pBufStart + 480), resampled);
}

TEST(TransCommand, PageHeaderWidthAndHeightArePutBackAfterScaling)
{
    PageJob job(20, 10, 406, 203, 0);
    job.Render();
    const auto biWidth = job.pdev.bmInfoHeader.biWidth;
    EXPECT_EQ(biWidth, 20);
    const auto biHeight = job.pdev.bmInfoHeader.biHeight;
    EXPECT_EQ(biHeight, 10);
}

TEST(TransCommand, AllWhitePageInPrintModeOneIsEmptyAndStillTrue)
{
    PageJob job(16, 8, 203, 203, 255);
    job.cfg.sPaperMode = 1;
    auto [result, out] = job.Render();
    EXPECT_TRUE(result);
    EXPECT_EQ(out, "");
}

TEST(TransCommand, EmptyPageStillPutsTheHeaderSizeBack)
{
    PageJob job(20, 10, 406, 203, 255);
    job.cfg.sPaperMode = 1;
    job.Render();
    const auto biWidth = job.pdev.bmInfoHeader.biWidth;
    EXPECT_EQ(biWidth, 20);
    const auto biHeight = job.pdev.bmInfoHeader.biHeight;
    EXPECT_EQ(biHeight, 10);
}

TEST(TransCommand, TypicalCroppedPageIsOneGraphicBlockAndItsCopies)
{
    PageJob job(640, 400, 203, 203, 0);
    job.cfg.sPaperMode = 1;
    job.pdev.sCurCopies = 2;
    auto [result, out] = job.Render();
    EXPECT_TRUE(result);
    std::string expected = "q640\r\nQ400,0\r\nN\r\nGW0,0,80,400,\r\n" + std::string(32000, '\0') + "\r\nP2\r\n";
    EXPECT_EQ(out, expected);
}

TEST(TransCommand, SecondConversionLosesOneColumnAndOneRow)
{
    // A black 16 x 8 page in print mode 0: the box is 16 x 8 but the image
    // goes on as 15 x 7; the packed page keeps the box's 8 rows of 2 bytes.
    PageJob job(16, 8, 203, 203, 0);
    auto [result, out] = job.Render();
    std::string bits;
    for (int r = 0; r < 7; ++r)
        bits += std::string("\x00\x01", 2);
    bits += "\xFF\xFF";
    EXPECT_EQ(out, "N\r\nGW0,0,2,7,\r\n" + bits + "\r\nP1\r\n");
}

TEST(TransCommand, PageNumberAndCopiesReachTheConfiguration)
{
    PageJob job(16, 8, 203, 203, 0);
    job.pdev.dwCurPageNum = 3;
    job.pdev.sCurCopies = 4;
    job.Render();
    const auto sPageNum = job.cfg.sPageNum;
    EXPECT_EQ(sPageNum, 3);
    const auto nPageNum = job.cfg.nPageNum;
    EXPECT_EQ(nPageNum, 3);
    EXPECT_EQ(job.cfg.sCopies, 4);
    const auto dwPrintedLabels = job.cfg.dwPrintedLabels;
    EXPECT_EQ(dwPrintedLabels, 4u);
}

TEST(TransCommand, PageWiderThanThePrintableWidthIsFittedWhenSavingPaper)
{
    // 120 mm at 203 dpi is 958 dots; 80 mm is 639 dots. Automatic rotation
    // is off, so rotation code -1 leaves the page as it is; then it is
    // shrunk to 639 x trunc(100 / 958 x 639) = 66 rows. The packed page is
    // 80 bytes x 66 rows but goes on as 65 rows after the second
    // conversion, so the graphic header reads 5280 / 65 = 81 bytes a row.
    PageJob job(958, 100, 203, 203, 0);
    job.cfg.sMaxOutputWidth = 80;
    job.cfg.sSavePaper = 1;
    auto [result, out] = job.Render();
    const std::string head = "q639\r\nQ65,0\r\nN\r\nGW0,0,81,65,\r\n";
    EXPECT_EQ(out.substr(0, head.size()), head);
}

TEST(TransCommand, PageWiderThanThePrintableWidthIsKeptWithoutPaperSaving)
{
    PageJob job(958, 100, 203, 203, 0);
    job.cfg.sMaxOutputWidth = 80;
    auto [result, out] = job.Render();
    // 958 dots widen to 120 bytes; 120 x 100 bytes over 99 rows.
    const std::string head = "N\r\nGW0,0,121,99,\r\n";
    EXPECT_EQ(out.substr(0, head.size()), head);
}

TEST(TransCommand, LogOnDumpsThePageBeforeAndAfter)
{
    remove("/tmp/EplBegin.bmp");
    remove("/tmp/EplOutput.bmp");
    PageJob job(16, 8, 203, 203, 0);
    job.Render(false, true);
    std::string begin = ReadFile("/tmp/EplBegin.bmp");
    std::string output = ReadFile("/tmp/EplOutput.bmp");
    // 16 x 8 at 24 bits; then 15 x 7 at 8 bits (rows of 16 bytes).
    EXPECT_EQ(begin.size(), 54u + 48u * 8u);
    EXPECT_EQ(output.size(), 1078u + 16u * 7u);
}

TEST(TransCommand, LogOffWritesNoDumps)
{
    remove("/tmp/EplBegin.bmp");
    remove("/tmp/EplOutput.bmp");
    PageJob job(16, 8, 203, 203, 0);
    job.Render(false, false);
    EXPECT_FALSE(FileExists("/tmp/EplBegin.bmp"));
    EXPECT_FALSE(FileExists("/tmp/EplOutput.bmp"));
}

TEST(TransCommand, RedBlueSwapLeftToTheRendererPrintsAsTheSwapMadeOnReading)
{
    // Pages of random colours (the grey conversion weighs red and blue
    // differently): held with the swap made, and held as the raster sends
    // them with the swap left to the renderer. Shrinks, resamplings and
    // equal resolutions; print modes 0 and 1; a page turned automatically
    // and one fitted to the printable width before its conversion. Both
    // print the same, and a scaled page is the same scaled page.
    struct Setup {
        int16_t dpi;
        int32_t w, h;
        int16_t paperMode, savePaper, autoRotate;
    };
    const Setup setups[] = {
        {609, 67, 49, 0, 0, 0},  {406, 57, 42, 0, 0, 0},  {300, 52, 39, 0, 0, 0},
        {203, 47, 35, 0, 0, 0},  {135, 43, 33, 0, 0, 0},  {203, 47, 35, 1, 0, 0},
        {609, 67, 49, 1, 0, 0},  {203, 900, 60, 0, 0, 1},  // wider than the printable width: turned
        {203, 900, 60, 0, 1, 0},                           // saving paper: fitted to the printable width
    };
    std::mt19937 random(42);
    for (const Setup& set : setups) {
        SCOPED_TRACE(std::to_string(set.dpi) + " dpi, " + std::to_string(set.w) + " x " + std::to_string(set.h) +
                     ", mode " + std::to_string(set.paperMode));
        PageJob eager(set.w, set.h, set.dpi, 203, 0), deferred(set.w, set.h, set.dpi, 203, 0);
        for (PageJob* job : {&eager, &deferred}) {
            job->cfg.sPaperMode = set.paperMode;
            job->cfg.sSavePaper = set.savePaper;
            job->cfg.sAutoRotate90 = set.autoRotate;
        }
        for (uint32_t i = 0; i < deferred.pdev.dwBufSize; ++i)
            deferred.pdev.pBufStart[i] = static_cast<unsigned char>(random());
        const uint64_t stride = static_cast<uint64_t>(BmpRowStride(24, set.w));
        kvrender::DeferredSwap swap{true, static_cast<uint64_t>(set.h), stride, 3ull * set.w,
                                    static_cast<uint64_t>(set.w)};
        memcpy(eager.pdev.pBufStart, deferred.pdev.pBufStart, deferred.pdev.dwBufSize);
        kvrender::SwapRedBlueRows(eager.pdev.pBufStart, swap);
        const auto want = eager.Render();
        const auto got = deferred.Render(false, false, &swap);
        EXPECT_FALSE(swap.pending);
        EXPECT_EQ(got, want);
        if (set.dpi != 203) {
            EXPECT_EQ(deferred.Page(), eager.Page());
        }
    }
}

namespace {

// Makes blocks of `bytes` or more fail while it lives.
struct ShortOfMemory {
    explicit ShortOfMemory(uint64_t bytes) { kvimg::g_failBlocksFrom = bytes; }
    ~ShortOfMemory() { kvimg::g_failBlocksFrom = 0; }
};

// Renders `job` as TransCommand does, with blocks from `limit` bytes up
// failing; returns the result, the output and the steps that went short.
struct ShortRender {
    bool result;
    std::string out;
    std::vector<std::string> shortfalls;
};
ShortRender RenderShortOfMemory(PageJob& job, uint64_t limit)
{
    StdoutCapture capture;
    CEPLRender render;
    render.SetOemCfgPointer(&job.cfg);
    render.SetDevModePointer(&job.devMode);
    render.SetOemPdevPointer(&job.pdev);
    ShortOfMemory shortOfMemory(limit);
    const bool result = render.TransCommand(false, false);
    return {result, capture.Take(), {render.MemoryShortfalls().begin(), render.MemoryShortfalls().end()}};
}

}  // namespace

TEST(TransCommand, AHalftoneWithoutMemoryIsNamedAndThePageGoesOn)
{
    // 200 x 100 grey page, error diffusion: its 20000-byte destination
    // fails; packing (2500 bytes) and the commands still fit.
    PageJob job(200, 100, 203, 203, 0);
    job.cfg.sHalftoneMethod = 2;
    const ShortRender r = RenderShortOfMemory(job, 10000);
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.shortfalls, std::vector<std::string>{"the halftone"});
    EXPECT_NE(r.out.find("GW"), std::string::npos);
}

TEST(TransCommand, PrinterCommandsWithoutMemoryAreNamedAndNothingIsWritten)
{
    // The fixed threshold works in place and packing takes 2500 bytes; the
    // page's commands, a little more, fail.
    PageJob job(200, 100, 203, 203, 0);
    const ShortRender r = RenderShortOfMemory(job, 2501);
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.shortfalls, std::vector<std::string>{"the page's printer commands"});
    EXPECT_EQ(r.out, "");
}

TEST(TransCommand, ScalingWithoutMemoryIsNamed)
{
    // A 406 dpi page printed at 203 dpi: the shrunk page (about 3 x 100 x
    // 50 bytes) fails.
    PageJob job(200, 100, 406, 203, 0);
    const ShortRender r = RenderShortOfMemory(job, 10000);
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.shortfalls, std::vector<std::string>{"scaling to the printer's resolution"});
}

TEST(TransCommand, EnoughMemoryNamesNoStep)
{
    PageJob job(200, 100, 203, 203, 0);
    job.cfg.sHalftoneMethod = 2;
    EXPECT_EQ(RenderShortOfMemory(job, 0).shortfalls, std::vector<std::string>{});
}
