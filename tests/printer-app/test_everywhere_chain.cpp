// The whole chain without a printer: a private CUPS scheduler makes an IPP
// Everywhere queue of the printer application ("lpadmin -m everywhere",
// from the attributes the application reports), a PDF label printed on it
// goes through the spooler's own PDF filters to PWG raster, over IPP to
// the application, and arrives as EPL2 in the printer's file device.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "AppServer.h"
#include "PdfLabel.h"
#include "SpoolerSupport.h"
#include "TempDir.h"
#include "TestFiles.h"

namespace {

constexpr int kJobSeconds = 120;
constexpr int kPpdPolls = 300;                 // 30 seconds
constexpr double kWidth = 288, kLength = 144;  // 4 x 2 inches

TEST(EverywhereChain, PdfLabelThroughAnIppEverywhereQueueArrivesAsEpl)
{
    kvapptest::AppServer app;
    ASSERT_TRUE(app.Running()) << app.Log();
    ASSERT_TRUE(app.AddPrinter("label", "kivcp_epl2_203dpi_4in")) << app.LastError();

    kvtest::TempDir root;  // nothing of the driver is installed for this queue
    kvinstall::PrivateCupsd cupsd(root.Path());
    ASSERT_TRUE(cupsd.Running()) << cupsd.ErrorLog();
    kvtool::CommandResult added =
        cupsd.Client("lpadmin", {"-p", "app", "-E", "-v", app.PrinterUri("label"), "-m", "everywhere"});
    ASSERT_EQ(added.status, 0) << added.err << cupsd.ErrorLog();
    // The scheduler writes the queue's PPD from the application's
    // attributes after lpadmin returns; a job sent before is sent raw.
    bool ready = false;
    for (int i = 0; i < kPpdPolls && !ready; ++i) {
        ready = cupsd.Client("lpoptions", {"-p", "app", "-l"}).out.find("PageSize") != std::string::npos;
        if (!ready)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    ASSERT_TRUE(ready) << cupsd.ErrorLog();

    const std::string pdf = root.File("label.pdf");
    kvtest::WriteFile(pdf, kvtool::PdfLabel(kWidth, kLength,
                                            {{0, 0, kWidth, 4},
                                             {0, kLength - 4, kWidth, 4},
                                             {0, 0, 4, kLength},
                                             {kWidth - 4, 0, 4, kLength},
                                             {40, 40, 100, 60}}));
    kvtool::CommandResult lp = cupsd.Client("lp", {"-d", "app", "-o", "media=oe_4x2in_4x2in", pdf});
    ASSERT_EQ(lp.status, 0) << lp.err;
    const int job = kvinstall::JobIdFromLp(lp.out);
    ASSERT_GT(job, 0) << lp.out;
    ASSERT_EQ(cupsd.WaitForJob(job, kJobSeconds), kvapptest::kJobCompleted) << cupsd.ErrorLog() << app.Log();

    // The scheduler's job ends once the application has the document; the
    // application's job may still be printing.
    const std::string file = app.OutputFolder("label") + "/label.pdf.prn";
    ASSERT_EQ(app.WaitForJob("label", 1, kJobSeconds), kvapptest::kJobCompleted) << app.Log();
    const std::string epl = kvtest::ReadFile(file);
    ASSERT_FALSE(epl.empty()) << app.Log();
    // The queue asks for 8-bit grey (monochrome); the application widens it
    // to the RGB the filter reads.
    EXPECT_NE(app.Log().find("raster data is 1598x799x8 (sGray)"), std::string::npos) << app.Log();
    const std::string summary = kvapptest::EplviewSummary(epl, root.Path());
    EXPECT_NE(summary.find("labels: 1\n"), std::string::npos) << summary;
    EXPECT_NE(summary.find("  label 1: 800 x 400 dots, 1 copy, no cut, 1 graphic, 0 lines"), std::string::npos)
        << summary;
}

}  // namespace
