// The printer application's web interface in a real browser: headless
// Chromium loads the printer's "Printing Defaults" page, a halftone is
// picked in its menu and the form's button pressed; the next job, which
// says nothing of halftoning, prints with that halftone, byte for byte as
// the filter prints with the same PPD choice.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "AppServer.h"
#include "CommandRunner.h"
#include "Drivers.h"
#include "OptionTable.h"
#include "PngFile.h"
#include "TestFiles.h"

namespace {

TEST(WebDefaults, HalftoneSetInTheDefaultsPageGovernsTheNextJob)
{
    if (std::string(KV_CHROMIUM).empty() || std::string(KV_PYTHON).empty())
        GTEST_SKIP() << "needs chromium and python3 (tools/install-deps.sh installs them)";
    kvapptest::AppServer server;
    ASSERT_TRUE(server.Running()) << server.Log();
    const kvppd::PpdModel& model = kvppd::PpdModels()[1];
    ASSERT_TRUE(server.AddPrinter("label", kvapp::DriverName(model)));

    const std::string page = "http://127.0.0.1:" + std::to_string(server.Port()) + "/label/printing";
    const std::string shot = server.Folder() + "/defaults.png";
    kvtool::CommandResult web =
        kvtool::RunCommand({KV_PYTHON, KV_WEB_SCRIPT, KV_CHROMIUM, page, "halftone", "errordiffusion", shot});
    ASSERT_EQ(web.status, 0) << web.out << web.err << server.Log();
    EXPECT_EQ(web.out, "before=threshold\nafter=errordiffusion\n");
    const std::string shotBytes = kvtest::ReadFile(shot);
    ASSERT_GT(shotBytes.size(), 10000u);
    EXPECT_EQ(shotBytes.substr(0, 8), "\x89PNG\r\n\x1a\n");

    // A grey wedge: error diffusion and the fixed threshold print it
    // differently.
    std::vector<uint8_t> grey(400 * 200);
    for (size_t i = 0; i < grey.size(); ++i)
        grey[i] = static_cast<uint8_t>((i % 400) * 255 / 399);
    const std::string png = server.Folder() + "/wedge.png";
    kvtest::WriteFile(png, kvtool::EncodeGreyPng(400, 200, grey));
    const std::string raster =
        kvapptest::PwgRaster(kvapptest::PpdFile(model.fileName), png, 203, server.Folder() + "/wedge.pwg");
    ASSERT_FALSE(raster.empty());
    const int job = server.PrintWithIpptool("label", raster, "image/pwg-raster", "after-web",
                                            "ATTR resolution printer-resolution 203dpi\n");
    ASSERT_GT(job, 0) << server.LastError();
    ASSERT_EQ(server.WaitForJob("label", job), kvapptest::kJobCompleted);
    const std::string printed = server.Output("label", "after-web");
    const std::string ppd = kvapptest::PpdFile(model.fileName);
    // (Compared as booleans: the streams are hundreds of kilobytes.)
    EXPECT_TRUE(printed == kvapptest::FilterEpl(ppd, raster, "Halftone=ErrorDiffusion")) << printed.size();
    EXPECT_FALSE(printed == kvapptest::FilterEpl(ppd, raster, ""));
}

}  // namespace
