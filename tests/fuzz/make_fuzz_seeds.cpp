// kv-fuzz-seeds FOLDER: writes the seed inputs of fuzz_raster_job, small
// label jobs made with libcups's raster writer, each behind the control
// bytes that choose the PPD and the job's options (RasterJobInput.h).
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "RasterJobInput.h"
#include "RasterWriter.h"
#include "TempDir.h"
#include "TestFiles.h"

using kvtest::RasterPage;

namespace {

constexpr unsigned kLowDpi = 203;
constexpr unsigned kHighDpi = 300;

// A label page: a frame, bars like text and a grey block on white.
RasterPage LabelPage(unsigned width, unsigned height, unsigned dpi)
{
    return kvtest::RgbPage(width, height, dpi, [&](unsigned x, unsigned y, unsigned char rgb[3]) {
        const bool frame = x < 2 || y < 2 || x + 2 >= width || y + 2 >= height;
        const bool bar = y > height / 4 && y < height / 2 && (x / 3) % 3 == 0;
        const bool grey = x > width / 2 && y > height * 2 / 3;
        const unsigned char v = frame || bar ? 0 : grey ? 128 : 255;
        rgb[0] = rgb[1] = rgb[2] = v;
    });
}

// The same page as 8-bit grey (one byte per pixel, colour space W).
RasterPage GreyPage(unsigned width, unsigned height, unsigned dpi)
{
    RasterPage page{kvtest::RgbHeader(width, height, dpi), {}};
    page.header.cupsBitsPerPixel = 8;
    page.header.cupsBytesPerLine = width;
    page.header.cupsColorSpace = CUPS_CSPACE_W;
    for (unsigned y = 0; y < height; ++y)
        page.rows.push_back(std::vector<unsigned char>(width, static_cast<unsigned char>(y * 255 / height)));
    return page;
}

// The pages as a compressed (version 2) raster stream, the form the
// spooler's rasterizers write: a short input can then declare a large page.
std::string CompressedRasterBytes(const std::vector<RasterPage>& pages)
{
    kvtest::TempDir dir;
    const std::string path = dir.File("job.ras");
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    cups_raster_t* ras = fd < 0 ? nullptr : cupsRasterOpen(fd, CUPS_RASTER_WRITE_COMPRESSED);
    if (!ras) {
        fputs("kv-fuzz-seeds: cannot write a raster stream\n", stderr);
        exit(1);
    }
    for (RasterPage page : pages) {
        cupsRasterWriteHeader2(ras, &page.header);
        for (std::vector<unsigned char>& row : page.rows)
            cupsRasterWritePixels(ras, row.data(), static_cast<unsigned>(row.size()));
    }
    cupsRasterClose(ras);
    close(fd);
    return kvtest::ReadFile(path);
}

// The selection bytes of "option=choice" in `table`; aborts when the PPD
// has no such pair.
std::string Select(const kvfuzz::PpdTable& table, const std::string& pair, uint8_t extra = 0)
{
    for (size_t o = 0; o < table.options.size(); ++o) {
        for (size_t c = 0; c < table.options[o].size(); ++c) {
            if (table.options[o][c] == pair)
                return {static_cast<char>(o), static_cast<char>(c), static_cast<char>(extra)};
        }
    }
    fprintf(stderr, "kv-fuzz-seeds: no %s in %s\n", pair.c_str(), table.path.c_str());
    exit(1);
}

// The selection bytes of out-of-table form `form` with its two numbers.
std::string OutOfTable(const kvfuzz::PpdTable& table, unsigned form, uint8_t c, uint8_t x)
{
    return {static_cast<char>(table.options.size() + form), static_cast<char>(c), static_cast<char>(x)};
}

// A job on the PPD's defaults.
std::string DefaultsJob(bool highResolution, const std::vector<RasterPage>& pages)
{
    const char control = highResolution ? kvfuzz::kHighResolutionPpdBit : 0;
    return std::string(1, control) + kvtest::RasterBytes(pages);
}

// A job with options: `selections` are Select/OutOfTable results.
std::string OptionsJob(bool highResolution, const std::vector<std::string>& selections,
                       const std::vector<RasterPage>& pages)
{
    std::string input(
        1, static_cast<char>(kvfuzz::kFuzzedOptionsBit | (highResolution ? kvfuzz::kHighResolutionPpdBit : 0)));
    input += static_cast<char>(selections.size());
    for (const std::string& s : selections)
        input += s;
    return input + kvtest::RasterBytes(pages);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        fputs("usage: kv-fuzz-seeds FOLDER\n", stderr);
        return 2;
    }
    const std::string dir = argv[1];
    const kvfuzz::PpdTable low = kvfuzz::ReadPpdTable(std::string(KV_PPD_DIR) + "/" + kvfuzz::kLowResolutionPpd);
    const kvfuzz::PpdTable high = kvfuzz::ReadPpdTable(std::string(KV_PPD_DIR) + "/" + kvfuzz::kHighResolutionPpd);

    RasterPage copies = LabelPage(64, 32, kLowDpi);
    copies.header.NumCopies = 3;
    copies.header.Collate = CUPS_TRUE;

    kvtest::WriteFile(dir + "/label-203dpi-defaults", DefaultsJob(false, {LabelPage(64, 32, kLowDpi)}));
    kvtest::WriteFile(dir + "/label-300dpi-defaults", DefaultsJob(true, {LabelPage(96, 48, kHighDpi)}));
    kvtest::WriteFile(dir + "/label-300dpi-raster-on-203dpi", DefaultsJob(false, {LabelPage(80, 40, kHighDpi)}));
    kvtest::WriteFile(dir + "/two-pages-of-two-sizes",
                      DefaultsJob(false, {LabelPage(64, 32, kLowDpi), LabelPage(40, 56, kLowDpi)}));
    kvtest::WriteFile(dir + "/three-collated-copies", DefaultsJob(false, {copies}));
    kvtest::WriteFile(dir + "/grey-page", DefaultsJob(false, {GreyPage(64, 32, kLowDpi)}));
    kvtest::WriteFile(dir + "/no-pages", DefaultsJob(false, {}));
    kvtest::WriteFile(dir + "/compressed-label-203dpi",
                      std::string(1, 0) + CompressedRasterBytes({LabelPage(64, 32, kLowDpi)}));
    kvtest::WriteFile(dir + "/compressed-4x6in-label-203dpi",
                      std::string(1, 0) + CompressedRasterBytes({LabelPage(812, 1218, kLowDpi)}));
    kvtest::WriteFile(dir + "/rotated-cropped-dithered",
                      OptionsJob(false,
                                 {Select(low, "Rotation=Left90"), Select(low, "PrintMode=CropToContent"),
                                  Select(low, "Halftone=ErrorDiffusion"), Select(low, "Mirror=Mirrored")},
                                 {LabelPage(64, 32, kLowDpi)}));
    kvtest::WriteFile(
        dir + "/cutter-every-2-pages-negative",
        OptionsJob(false,
                   {Select(low, "Mode=Cutter"), Select(low, "CutMethod=EveryNPages"), Select(low, "interval=2"),
                    Select(low, "NegativeFilm=On"), Select(low, "IsToDashed=On")},
                   {LabelPage(64, 32, kLowDpi), LabelPage(64, 32, kLowDpi)}));
    kvtest::WriteFile(dir + "/save-paper-adaptive-300dpi",
                      OptionsJob(true,
                                 {Select(high, "SavePaper=On"), Select(high, "Halftone=Adaptive"),
                                  Select(high, "AutoRotate=Clockwise"), Select(high, "Levels=Darker2")},
                                 {LabelPage(96, 48, kHighDpi)}));
    kvtest::WriteFile(dir + "/custom-size-and-odd-numbers",
                      OptionsJob(false,
                                 {OutOfTable(low, 0, 49, 7), OutOfTable(low, 3, 200, 0), OutOfTable(low, 4, 9, 9)},
                                 {LabelPage(64, 32, kLowDpi)}));
    return 0;
}
