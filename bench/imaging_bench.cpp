// Per-page cost of the scaling and conversion steps on a 4 x 6 inch label:
// 1218 x 1827 pixels at 24 bits (300 dpi) brought to 812 x 1218 (203 dpi).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "BmpProcessing.h"

namespace {

// Page sizes: 4 x 6 inches at 300 dpi and at 203 dpi.
constexpr uint32_t kSrcWidth = 1218, kSrcHeight = 1827;
constexpr uint32_t kDstWidth = 812, kDstHeight = 1218;
constexpr uint32_t kBits = 24;
// 300 mm at 203 dpi, the conversion's width cap in the page pipeline.
constexpr int kMaxWidth = 2398;
// The orientation code that keeps the page as it is.
constexpr int kKeepOrientation = 3;

uint32_t Stride(uint32_t width)
{
    return static_cast<uint32_t>(BmpRowStride(kBits, width));
}

// A synthetic label: white paper with black text bars, a barcode, a grey
// logo block and a light-grey frame, so every branch of the conversions
// (white, near-white, ink) is exercised as on a real page.
std::vector<uint8_t> LabelPage(uint32_t w, uint32_t h)
{
    const uint32_t stride = Stride(w);
    std::vector<uint8_t> page(static_cast<size_t>(stride) * h, 255);
    auto set = [&](uint32_t x, uint32_t y, uint8_t b, uint8_t g, uint8_t r) {
        uint8_t* p = &page[static_cast<size_t>(y) * stride + 3 * x];
        p[0] = b;
        p[1] = g;
        p[2] = r;
    };
    for (uint32_t y = 0; y < h; ++y) {
        for (uint32_t x = 0; x < w; ++x) {
            const bool frame = x < w / 40 || x > w - w / 40 || y < h / 60 || y > h - h / 60;
            const bool text = (y / 24) % 3 == 1 && y < h / 2 && (x / 9) % 4 != 3 && x > w / 10 && x < w * 9 / 10;
            const bool barcode =
                y > h * 6 / 10 && y < h * 8 / 10 && x > w / 8 && x < w * 7 / 8 && ((x * 7919u) / 13u) % 3 == 0;
            const bool logo = y > h * 85 / 100 && y < h * 95 / 100 && x > w / 10 && x < w * 4 / 10;
            if (text || barcode) {
                set(x, y, 0, 0, 0);
            } else if (logo) {
                set(x, y, static_cast<uint8_t>(x % 200), 90, 160);
            } else if (frame) {
                set(x, y, 200, 200, 200);
            } else if ((x + y) % 97 == 0) {
                set(x, y, 252, 251, 253);  // paper noise, near-white
            }
        }
    }
    return page;
}

void BM_InvoicResampleImg2(benchmark::State& state)
{
    const std::vector<uint8_t> src = LabelPage(kSrcWidth, kSrcHeight);
    const uint32_t size = Stride(kDstWidth) * kDstHeight;
    std::vector<uint8_t> dst(size);
    unsigned char* out = dst.data();
    CBmpProcessing p;
    for (auto _ : state) {
        p.InvoicResampleImg2(kSrcWidth, kSrcHeight, kBits, Stride(kSrcWidth), src.data(), kDstWidth, kDstHeight, kBits,
                             &out, size, tagColorCFG{0, 0, 0}, 0, tagRECT{});
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(state.iterations() * kDstWidth * kDstHeight);
}
BENCHMARK(BM_InvoicResampleImg2)->Unit(benchmark::kMillisecond);

void BM_InvoicQIShrinkImg2(benchmark::State& state)
{
    const std::vector<uint8_t> src = LabelPage(kSrcWidth, kSrcHeight);
    const uint32_t size = Stride(kDstWidth) * kDstHeight;
    std::vector<uint8_t> dst(size);
    unsigned char* out = dst.data();
    CBmpProcessing p;
    for (auto _ : state) {
        p.InvoicQIShrinkImg2(kSrcWidth, kSrcHeight, kBits, Stride(kSrcWidth), src.data(), nullptr, kDstWidth,
                             kDstHeight, kBits, &out, nullptr, size, tagColorCFG{0, 0, 0}, 0, tagColorCFG{0, 0, 0}, 0,
                             tagRECT{0, 0, 0, 0});
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(state.iterations() * kSrcWidth * kSrcHeight);
}
BENCHMARK(BM_InvoicQIShrinkImg2)->Unit(benchmark::kMillisecond);

// The conversion to cropped 8-bit grey of a page of the given size, as the
// pipeline runs it (light table on, crop white on).
void Convert(benchmark::State& state, uint32_t w, uint32_t h)
{
    const std::vector<uint8_t> src = LabelPage(w, h);
    CBmpProcessing p;
    p.SetLightTable(10, 10);
    for (auto _ : state) {
        tagBITMAPINFOHEADER header{};
        header.biWidth = static_cast<int32_t>(w);
        header.biHeight = static_cast<int32_t>(h);
        header.biBitCount = kBits;
        tagRECT rect{};
        unsigned char* out = nullptr;
        unsigned int cap = 0;
        p.CoverBMP2OutputFormat(src.data(), static_cast<unsigned int>(src.size()), &out, &cap, &header, &rect,
                                kKeepOrientation, 0, 0, COLORLEVELSITEM{1.0f, 0, 255, 0, 255}, false, 10, 10, kMaxWidth,
                                1);
        benchmark::DoNotOptimize(out);
        std::free(out);
    }
    state.SetItemsProcessed(state.iterations() * w * h);
}

void BM_CoverBMP2OutputFormat_203dpi(benchmark::State& state)
{
    Convert(state, kDstWidth, kDstHeight);
}
BENCHMARK(BM_CoverBMP2OutputFormat_203dpi)->Unit(benchmark::kMillisecond);

void BM_CoverBMP2OutputFormat_300dpi(benchmark::State& state)
{
    Convert(state, kSrcWidth, kSrcHeight);
}
BENCHMARK(BM_CoverBMP2OutputFormat_300dpi)->Unit(benchmark::kMillisecond);

}  // namespace
