// The shipped PPD in the spooler's own rasterizers (cupsfilter runs the
// same PDF and image filters that a print queue runs): no driver choice may
// change the raster they make, since the driver applies its choices itself.
#include <cups/ppd.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CommandRunner.h"
#include "DriverOptions.h"
#include "PdfLabel.h"
#include "PngFile.h"
#include "TempDir.h"
#include "TestFiles.h"

namespace {

const std::string kPpd = std::string(KV_PPD_DIR) + "/kivcp-epl2-203dpi-2in.ppd";
const std::string kLabelSize = "PageSize=1x2Rotated.Fullbleed";

// The driver's options of the PPD, with their choice names; none when the
// file cannot be read.
std::vector<kvtool::DriverOption> ShippedDriverOptions()
{
    ppd_file_t* ppd = ppdOpenFile(kPpd.c_str());
    if (!ppd)
        return {};
    std::vector<kvtool::DriverOption> options = kvtool::DriverOptions(ppd);
    ppdClose(ppd);
    return options;
}

// The raster that the spooler's filters make of `file` with `options`.
kvtool::CommandResult Rasterize(const std::string& file, const std::vector<std::string>& options)
{
    std::vector<std::string> args = {KV_CUPSFILTER, "-p", kPpd, "-m", "application/vnd.cups-raster", "-o", kLabelSize};
    for (const std::string& o : options) {
        args.push_back("-o");
        args.push_back(o);
    }
    args.push_back(file);
    return kvtool::RunCommand(args);
}

// A 2 x 1 inch PDF label with a frame and a block.
std::string WriteLabelPdf(const kvtest::TempDir& dir)
{
    std::string path = dir.File("label.pdf");
    kvtest::WriteFile(path, kvtool::PdfLabel(144, 72, {{0, 0, 144, 4}, {0, 0, 4, 72}, {40, 20, 50, 30}}));
    return path;
}

// A grey ramp picture, 200 x 100 pixels, as an image job.
std::string WriteGreyPng(const kvtest::TempDir& dir)
{
    constexpr std::uint32_t kW = 200;
    constexpr std::uint32_t kH = 100;
    std::vector<std::uint8_t> grey(kW * kH);
    for (std::uint32_t y = 0; y < kH; ++y)
        for (std::uint32_t x = 0; x < kW; ++x)
            grey[y * kW + x] = static_cast<std::uint8_t>(x * 255 / (kW - 1));
    std::string path = dir.File("ramp.png");
    kvtest::WriteFile(path, kvtool::EncodeGreyPng(kW, kH, grey));
    return path;
}

TEST(PpdInTheSpoolersRasterizers, EveryDriverChoiceLeavesThePdfRasterUnchanged)
{
    // Round r sets every option to its r-th choice (wrapping around), so
    // every choice is tried in as many rounds as the longest option has.
    kvtest::TempDir dir;
    std::string pdf = WriteLabelPdf(dir);
    kvtool::CommandResult base = Rasterize(pdf, {});
    ASSERT_EQ(base.status, 0) << base.err;
    ASSERT_FALSE(base.out.empty());
    auto options = ShippedDriverOptions();
    ASSERT_FALSE(options.empty());
    // The 33 options the filter reads and the colour model.
    ASSERT_EQ(options.size(), 34u);
    std::size_t rounds = 0;
    for (const auto& [keyword, choices] : options)
        rounds = std::max(rounds, choices.size());
    for (std::size_t r = 0; r < rounds; ++r) {
        std::vector<std::string> set;
        for (const auto& [keyword, choices] : options)
            set.push_back(keyword + "=" + choices[r % choices.size()]);
        kvtool::CommandResult result = Rasterize(pdf, set);
        EXPECT_EQ(result.status, 0) << "round " << r;
        EXPECT_TRUE(result.out == base.out) << "round " << r;
    }
}

TEST(PpdInTheSpoolersRasterizers, MirroredChoiceLeavesThePdfUnmirrored)
{
    kvtest::TempDir dir;
    std::string pdf = WriteLabelPdf(dir);
    kvtool::CommandResult base = Rasterize(pdf, {});
    kvtool::CommandResult mirrored = Rasterize(pdf, {"Mirror=Mirrored"});
    ASSERT_EQ(mirrored.status, 0);
    EXPECT_TRUE(mirrored.out == base.out);
}

TEST(PpdInTheSpoolersRasterizers, NeutralBrightnessLeavesAnImageJobUnchanged)
{
    kvtest::TempDir dir;
    std::string png = WriteGreyPng(dir);
    kvtool::CommandResult base = Rasterize(png, {});
    ASSERT_EQ(base.status, 0) << base.err;
    kvtool::CommandResult neutral = Rasterize(png, {"Brightness=100"});
    ASSERT_EQ(neutral.status, 0);
    EXPECT_TRUE(neutral.out == base.out);
}

TEST(PpdInTheSpoolersRasterizers, OtherBrightnessChoicesAlsoChangeAnImageJob)
{
    // The spooler's image filter reads "brightness" as a percentage too, so
    // image jobs get the brightness twice; the README says so.
    kvtest::TempDir dir;
    std::string png = WriteGreyPng(dir);
    kvtool::CommandResult base = Rasterize(png, {});
    kvtool::CommandResult darker = Rasterize(png, {"Brightness=90"});
    ASSERT_EQ(darker.status, 0);
    EXPECT_FALSE(darker.out == base.out);
}

}  // namespace
