// Where the page pipeline's time goes: each stage run on its own against the
// libraries, on the 4 x 6 inch benchmark label at 203 dpi and at 300 dpi
// (scaled to 203), in print mode 0 with the everyday settings; and the whole
// TransCommand for halftone methods 1 to 4. Google Benchmark; run the
// executable, it is not part of the test suite.
#include <benchmark/benchmark.h>
#include <cups/raster.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "AdThreshold.h"
#include "BenchLabel.h"
#include "BmpProcessing.h"
#include "EPLRender.h"
#include "LBPTREmulation.h"
#include "PagePipeline.h"
#include "rastokivepl.h"

namespace {

constexpr uint32_t kOutputDpi = 203;
// The printable width of the everyday PPD, in millimetres.
constexpr int16_t kMaxOutputWidthMm = 104;
// The vertical position the renderer passes along with a page (the page
// commands do not use it).
constexpr int kTopMarginDots = 8;
constexpr uint32_t kColourBits = 24;
constexpr uint32_t kGreyBits = 8;
// The orientation code of an upright page, and the conversion's width cap:
// 300 mm at the raster resolution.
constexpr int kUpright = 3;
constexpr double kConversionCapMm = 300.0;
constexpr short kCropWhite = 1;
// The adaptive threshold's settings in the pipeline.
constexpr int kAdaptiveBlock = 64;
constexpr float kAdaptiveWeight = 0.5f;

// The label at `dpi` as the job loop holds it: rows padded to 4 bytes,
// blue-green-red.
std::vector<uint8_t> PageBuffer(uint32_t dpi)
{
    const uint32_t w = kvbench::LabelWidth(dpi), h = kvbench::LabelHeight(dpi);
    const std::vector<uint8_t> rgb = kvbench::LabelRgb(w, h);
    const size_t stride = static_cast<size_t>(BmpRowStride(kColourBits, w));
    std::vector<uint8_t> page(stride * h, 0);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            for (int c = 0; c < 3; ++c)
                page[y * stride + 3 * x + c] = rgb[(static_cast<size_t>(y) * w + x) * 3 + 2 - c];
    return page;
}

// The page at the output resolution: the 203 dpi page as it is, or the
// page at `dpi` shrunk as the pipeline's first step shrinks it. `w` and `h`
// receive the size.
std::vector<uint8_t> Scale(const std::vector<uint8_t>& page, uint32_t dpi, uint32_t& w, uint32_t& h)
{
    w = kvbench::LabelWidth(dpi);
    h = kvbench::LabelHeight(dpi);
    if (dpi == kOutputDpi)
        return page;
    const double scale = static_cast<double>(kOutputDpi) / dpi;
    const uint32_t dw = static_cast<uint32_t>(w * scale), dh = static_cast<uint32_t>(h * scale);
    std::vector<uint8_t> out(static_cast<size_t>(BmpRowStride(kColourBits, dw)) * dh, 0);
    unsigned char* dst = out.data();
    CBmpProcessing bmp;
    bmp.InvoicQIShrinkImg2(w, h, kColourBits, static_cast<uint32_t>(BmpRowStride(kColourBits, w)), page.data(), nullptr,
                           dw, dh, kColourBits, &dst, nullptr, static_cast<uint32_t>(out.size()), tagColorCFG{}, 0,
                           tagColorCFG{}, 0, tagRECT{});
    w = dw;
    h = dh;
    return out;
}

std::vector<uint8_t> OutputPage(uint32_t dpi, uint32_t& w, uint32_t& h)
{
    return Scale(PageBuffer(dpi), dpi, w, h);
}

// The grey, cropped page the halftoning receives, with its size.
struct GreyPage {
    std::vector<uint8_t> pixels;
    int32_t w = 0, h = 0;
    int64_t stride = 0;
    tagRECT rect{};
};

GreyPage Convert(const std::vector<uint8_t>& page, uint32_t w, uint32_t h, uint32_t rasterDpi)
{
    CBmpProcessing bmp;
    tagBITMAPINFOHEADER header{};
    header.biWidth = static_cast<int32_t>(w);
    header.biHeight = static_cast<int32_t>(h);
    header.biBitCount = kColourBits;
    GreyPage grey;
    unsigned char* out = nullptr;
    unsigned int capacity = 0;
    bmp.CoverBMP2OutputFormat(page.data(), static_cast<unsigned>(page.size()), &out, &capacity, &header, &grey.rect,
                              kUpright, 0, 0, COLORLEVELSITEM{1.0f, 0, 255, 0, 255}, false, 0, 0,
                              kvunits::MmToDots(kConversionCapMm, rasterDpi), kCropWhite);
    // Print mode 0 keeps one column and one row less than the box.
    grey.w = grey.rect.right - grey.rect.left;
    grey.h = grey.rect.bottom - grey.rect.top;
    grey.stride = BmpRowStride(kGreyBits, grey.w);
    grey.pixels.assign(out, out + capacity);
    free(out);
    return grey;
}

// The converted page of the label at `dpi`.
GreyPage ConvertedPage(uint32_t dpi)
{
    uint32_t w = 0, h = 0;
    const std::vector<uint8_t> page = OutputPage(dpi, w, h);
    return Convert(page, w, h, dpi);
}

// A one-page raster file of the label at `dpi`, written once per run.
std::string RasterFile(uint32_t dpi)
{
    const std::string path = "/tmp/kv_stages_" + std::to_string(getpid()) + "_" + std::to_string(dpi) + ".ras";
    const uint32_t w = kvbench::LabelWidth(dpi), h = kvbench::LabelHeight(dpi);
    const std::vector<uint8_t> rgb = kvbench::LabelRgb(w, h);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    cups_raster_t* ras = cupsRasterOpen(fd, CUPS_RASTER_WRITE);
    cups_page_header2_t header{};
    header.HWResolution[0] = header.HWResolution[1] = dpi;
    header.NumCopies = 1;
    header.cupsWidth = w;
    header.cupsHeight = h;
    header.cupsBitsPerColor = 8;
    header.cupsBitsPerPixel = kColourBits;
    header.cupsBytesPerLine = w * 3;
    header.cupsColorSpace = CUPS_CSPACE_RGB;
    cupsRasterWriteHeader2(ras, &header);
    std::vector<uint8_t> row(header.cupsBytesPerLine);
    for (uint32_t y = 0; y < h; ++y) {
        memcpy(row.data(), &rgb[static_cast<size_t>(y) * header.cupsBytesPerLine], row.size());
        cupsRasterWritePixels(ras, row.data(), header.cupsBytesPerLine);
    }
    cupsRasterClose(ras);
    close(fd);
    return path;
}

// An open raster stream positioned after the page header.
struct OpenRaster {
    int fd;
    cups_raster_t* ras;
    cups_page_header2_t header{};
    explicit OpenRaster(const std::string& path)
            : fd(open(path.c_str(), O_RDONLY)), ras(cupsRasterOpen(fd, CUPS_RASTER_READ))
    {
        cupsRasterReadHeader2(ras, &header);
    }
    ~OpenRaster()
    {
        cupsRasterClose(ras);
        close(fd);
    }
};

// Reading one page's rows with libcups into a line buffer, and nothing
// else: what the read-only program does per page.
void BM_ReadRowsOnly(benchmark::State& state)
{
    const std::string path = RasterFile(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto raster = std::make_unique<OpenRaster>(path);
        std::vector<unsigned char> line(raster->header.cupsBytesPerLine);
        state.ResumeTiming();
        for (unsigned y = 0; y < raster->header.cupsHeight; ++y)
            cupsRasterReadPixels(raster->ras, line.data(), raster->header.cupsBytesPerLine);
        state.PauseTiming();
        raster.reset();
        state.ResumeTiming();
    }
    unlink(path.c_str());
}
BENCHMARK(BM_ReadRowsOnly)->Arg(203)->Arg(300)->Unit(benchmark::kMillisecond);

// The job loop's reading of one page into the held buffer: allocation,
// rows, red-blue swap.
void BM_ReadIntoHeldBuffer(benchmark::State& state)
{
    const std::string path = RasterFile(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto raster = std::make_unique<OpenRaster>(path);
        _OEMPDEV pdev{};
        state.ResumeTiming();
        ReadPageIntoHeldBuffer(raster->ras, raster->header, &pdev);
        ReleaseHeldPage(&pdev);
        state.PauseTiming();
        raster.reset();
        state.ResumeTiming();
    }
    unlink(path.c_str());
}
BENCHMARK(BM_ReadIntoHeldBuffer)->Arg(203)->Arg(300)->Unit(benchmark::kMillisecond);

void BM_ScaleTo203(benchmark::State& state)
{
    const uint32_t dpi = static_cast<uint32_t>(state.range(0));
    const std::vector<uint8_t> page = PageBuffer(dpi);
    for (auto _ : state) {
        uint32_t w = 0, h = 0;
        benchmark::DoNotOptimize(Scale(page, dpi, w, h));
    }
}
BENCHMARK(BM_ScaleTo203)->Arg(300)->Unit(benchmark::kMillisecond);

void BM_WorkingCopy(benchmark::State& state)
{
    uint32_t w = 0, h = 0;
    const std::vector<uint8_t> page = OutputPage(static_cast<uint32_t>(state.range(0)), w, h);
    for (auto _ : state) {
        kvrender::MallocBuffer copy = kvrender::FilledBuffer(page.size(), 0);
        memcpy(copy.get(), page.data(), page.size());
        benchmark::DoNotOptimize(copy.get());
    }
}
BENCHMARK(BM_WorkingCopy)->Arg(203)->Arg(300)->Unit(benchmark::kMillisecond);

void BM_GreyConversion(benchmark::State& state)
{
    const uint32_t dpi = static_cast<uint32_t>(state.range(0));
    uint32_t w = 0, h = 0;
    const std::vector<uint8_t> page = OutputPage(dpi, w, h);
    for (auto _ : state)
        benchmark::DoNotOptimize(Convert(page, w, h, dpi));
}
BENCHMARK(BM_GreyConversion)->Arg(203)->Arg(300)->Unit(benchmark::kMillisecond);

// Halftoning of the converted page with method range(1).
void BM_Halftone(benchmark::State& state)
{
    const uint32_t dpi = static_cast<uint32_t>(state.range(0));
    const int method = static_cast<int>(state.range(1));
    const GreyPage grey = ConvertedPage(dpi);
    const size_t size = static_cast<size_t>(grey.stride) * grey.h;
    std::vector<uint8_t> work(grey.pixels.begin(), grey.pixels.begin() + size);
    std::vector<uint8_t> dst(size);
    CBmpProcessing bmp;
    for (auto _ : state) {
        if (method == 4) {
            unsigned char* out = nullptr;
            int outSize = 0;
            AdaptiveThreshold(work.data(), grey.w, grey.h, static_cast<int>(grey.stride), &out, &outSize, false, 0,
                              kAdaptiveBlock, 0, kAdaptiveWeight);
            free(out);
        } else {
            memset(dst.data(), 255, size);
            bmp.Dither(method, work.data(), dst.data(), static_cast<unsigned>(grey.h), static_cast<unsigned>(grey.w),
                       static_cast<unsigned>(grey.stride), 0, false);
        }
        benchmark::DoNotOptimize(dst.data());
    }
}
BENCHMARK(BM_Halftone)
    ->ArgsProduct({{203, 300}, {1, 2, 3, 4}})
    ->ArgNames({"dpi", "method"})
    ->Unit(benchmark::kMillisecond);

void BM_PackToOneBit(benchmark::State& state)
{
    const uint32_t dpi = static_cast<uint32_t>(state.range(0));
    const GreyPage grey = ConvertedPage(dpi);
    for (auto _ : state)
        benchmark::DoNotOptimize(kvrender::PackToOneBit(grey.pixels.data(), grey.pixels.size(), grey.w, grey.h,
                                                        grey.stride, grey.rect, false, 0));
}
BENCHMARK(BM_PackToOneBit)->Arg(203)->Arg(300)->Unit(benchmark::kMillisecond);

void BM_PageCommands(benchmark::State& state)
{
    const uint32_t dpi = static_cast<uint32_t>(state.range(0));
    const GreyPage grey = ConvertedPage(dpi);
    kvrender::PackedPage packed = kvrender::PackToOneBit(grey.pixels.data(), grey.pixels.size(), grey.w, grey.h,
                                                         grey.stride, grey.rect, false, 0);
    char* bits = reinterpret_cast<char*>(packed.bits.get());
    const long bitsSize = static_cast<long>(packed.size);
    tagOEMCFG cfg{};
    cfg.sOutputXDPI = cfg.sOutputYDPI = kOutputDpi;
    cfg.sCopies = 1;
    cfg.sPageNum = 1;
    for (auto _ : state) {
        CLBPTREmulation emulation;
        long length = 0;
        emulation.TransferImageData2CMD(&cfg, bits, bitsSize, 0, kTopMarginDots, grey.w, grey.h, nullptr, 0, &length,
                                        false);
        std::vector<char> out(static_cast<size_t>(length));
        emulation.TransferImageData2CMD(&cfg, bits, bitsSize, 0, kTopMarginDots, grey.w, grey.h, out.data(), length,
                                        &length, false);
        benchmark::DoNotOptimize(out.data());
        state.counters["bytes"] = static_cast<double>(length);
    }
}
BENCHMARK(BM_PageCommands)->Arg(203)->Arg(300)->Unit(benchmark::kMillisecond);

// Standard output on /dev/null while a renderer writes to it.
class QuietStdout {
public:
    QuietStdout() : m_saved(dup(1))
    {
        fflush(stdout);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        close(null);
    }
    ~QuietStdout()
    {
        fflush(stdout);
        dup2(m_saved, 1);
        close(m_saved);
    }

private:
    int m_saved;
};

// The whole page pipeline, from the held raster page to commands on
// standard output, as the job loop calls it.
void BM_TransCommand(benchmark::State& state)
{
    const uint32_t dpi = static_cast<uint32_t>(state.range(0));
    const std::vector<uint8_t> page = PageBuffer(dpi);
    const int32_t w = static_cast<int32_t>(kvbench::LabelWidth(dpi));
    const int32_t h = static_cast<int32_t>(kvbench::LabelHeight(dpi));
    tagOEMCFG cfg{};
    cfg.sOutputXDPI = cfg.sOutputYDPI = kOutputDpi;
    cfg.sMaxOutputWidth = kMaxOutputWidthMm;
    cfg.sHalftoneMethod = static_cast<int16_t>(state.range(1));
    cfg.nLevelsAdj = 100;
    _DEVMODE devMode{};
    devMode.dmOrientation = 1;
    devMode.dmPrintQuality = devMode.dmYResolution = static_cast<int16_t>(dpi);
    QuietStdout quiet;
    for (auto _ : state) {
        state.PauseTiming();
        _OEMPDEV pdev{};
        pdev.bmInfoHeader.biWidth = w;
        pdev.bmInfoHeader.biHeight = h;
        pdev.bmInfoHeader.biBitCount = kColourBits;
        pdev.srcGdiInfo.szlPhysSize = {w, h};
        pdev.dwCurPageNum = 1;
        pdev.sCurCopies = 1;
        pdev.pBufStart = static_cast<unsigned char*>(malloc(page.size()));
        memcpy(pdev.pBufStart, page.data(), page.size());
        pdev.dwBufSize = static_cast<uint32_t>(page.size());
        state.ResumeTiming();
        CEPLRender render;
        render.SetOemCfgPointer(&cfg);
        render.SetDevModePointer(&devMode);
        render.SetOemPdevPointer(&pdev);
        render.TransCommand(false, false);
        state.PauseTiming();
        free(pdev.pBufStart);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_TransCommand)
    ->ArgsProduct({{203, 300}, {1, 2, 3, 4}})
    ->ArgNames({"dpi", "method"})
    ->Unit(benchmark::kMillisecond);

}  // namespace
