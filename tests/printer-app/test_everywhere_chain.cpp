// The whole chain without a printer: a private CUPS scheduler makes an IPP
// Everywhere queue of the printer application ("lpadmin -m everywhere",
// from the attributes the application reports), a PDF label printed on it
// goes through the spooler's own PDF filters to PWG raster, over IPP to
// the application, and arrives as EPL2 in the printer's file device: the
// filter's EPL for the page the queue sends, with the same choices.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "AppServer.h"
#include "PdfLabel.h"
#include "RasterReader.h"
#include "RasterWriter.h"
#include "SpoolerSupport.h"
#include "TempDir.h"
#include "TestFiles.h"

namespace {

constexpr int kJobSeconds = 120;
constexpr int kPpdPolls = 300;                 // 30 seconds
constexpr double kWidth = 288, kLength = 144;  // 4 x 2 inches
const char kMedia[] = "media=oe_4x2in_4x2in";

class EverywhereChain : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(app.Running()) << app.Log();
        ASSERT_TRUE(app.AddPrinter("label", "kivcp_epl2_203dpi_4in")) << app.LastError();
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
        pdf = root.File("label.pdf");
        kvtest::WriteFile(pdf, kvtool::PdfLabel(kWidth, kLength,
                                                {{0, 0, kWidth, 4},
                                                 {0, kLength - 4, kWidth, 4},
                                                 {0, 0, 4, kLength},
                                                 {kWidth - 4, 0, 4, kLength},
                                                 {40, 40, 100, 60}}));
    }

    // Prints the label on `queue` and waits until the scheduler's job ends;
    // returns its last state.
    int PrintOn(const std::string& queue)
    {
        kvtool::CommandResult lp = cupsd.Client("lp", {"-d", queue, "-o", kMedia, pdf});
        EXPECT_EQ(lp.status, 0) << lp.err;
        const int job = kvinstall::JobIdFromLp(lp.out);
        EXPECT_GT(job, 0) << lp.out;
        return job > 0 ? cupsd.WaitForJob(job, kJobSeconds) : 0;
    }

    // The label printed through the queue, as the printer's device got it.
    std::string PrintThroughTheApplication()
    {
        EXPECT_EQ(PrintOn("app"), kvapptest::kJobCompleted) << cupsd.ErrorLog() << app.Log();
        // The scheduler's job ends once the application has the document;
        // the application's job may still be printing.
        EXPECT_EQ(app.WaitForJob("label", 1, kJobSeconds), kvapptest::kJobCompleted) << app.Log();
        return kvtest::ReadFile(app.OutputFolder("label") + "/label.pdf.prn");
    }

    // The PWG raster the queue sends for the label: the same queue (its
    // PPD, its filters, the same options) with a file in place of the
    // application.
    std::string RasterTheQueueSends()
    {
        const std::string file = cupsd.OutputFile("label.pwg");
        kvtool::CommandResult added = cupsd.Client(
            "lpadmin", {"-p", "capture", "-E", "-v", "file://" + file, "-P", cupsd.Folder() + "/conf/ppd/app.ppd"});
        EXPECT_EQ(added.status, 0) << added.err;
        EXPECT_EQ(PrintOn("capture"), kvapptest::kJobCompleted) << cupsd.ErrorLog();
        return file;
    }

    // Expects `epl` to be what the filter prints, with the job options
    // `options`, for the page the queue sends: the same page as a PPD
    // queue's rasterizer gives the filter, RGB, and one copy where PWG
    // raster leaves the count 0 (copies are the printer's). Otherwise the
    // application's printer has the PPD's defaults, as the filter reads
    // them from the 203 dpi 4-inch model's PPD.
    void ExpectTheFiltersEpl(const std::string& epl, const std::string& options)
    {
        const std::vector<kvtest::RasterPage> grey = kvtest::ReadRaster(RasterTheQueueSends());
        ASSERT_EQ(grey.size(), 1u) << cupsd.ErrorLog();
        ASSERT_EQ(grey[0].header.cupsBitsPerPixel, 8u);
        ASSERT_EQ(grey[0].header.cupsColorSpace, CUPS_CSPACE_SW);
        ASSERT_EQ(grey[0].rows.size(), grey[0].header.cupsHeight);
        ASSERT_EQ(grey[0].header.NumCopies, 0u);
        kvtest::RasterPage page = kvtest::GreyPageAsRgb(grey[0]);
        page.header.NumCopies = 1;
        const std::string rgb = root.File("label-rgb.ras");
        kvtest::WriteRaster(rgb, {page});
        const std::string filter = kvapptest::FilterEpl(kvapptest::PpdFile("kivcp-epl2-203dpi-4in.ppd"), rgb, options);
        ASSERT_FALSE(filter.empty());
        EXPECT_TRUE(epl == filter) << epl.size() << " bytes from the application, " << filter.size()
                                   << " from the filter";
    }

    kvapptest::AppServer app;
    kvtest::TempDir root;  // nothing of the driver is installed for these queues
    kvinstall::PrivateCupsd cupsd{root.Path()};
    std::string pdf;
};

TEST_F(EverywhereChain, PdfLabelThroughAnIppEverywhereQueueArrivesAsEpl)
{
    const std::string epl = PrintThroughTheApplication();
    ASSERT_FALSE(epl.empty()) << app.Log();
    // The queue asks for 8-bit grey (monochrome); the application widens it
    // to the RGB the filter reads.
    EXPECT_NE(app.Log().find("raster data is 1598x799x8 (sGray)"), std::string::npos) << app.Log();
    const std::string summary = kvapptest::EplviewSummary(epl, root.Path());
    EXPECT_NE(summary.find("labels: 1\n"), std::string::npos) << summary;
    EXPECT_NE(summary.find("  label 1: 800 x 400 dots, 1 copy, no cut, 1 graphic, 0 lines"), std::string::npos)
        << summary;
}

TEST_F(EverywhereChain, PdfLabelThroughTheQueueIsTheFiltersEplForThePageTheQueueSends)
{
    const std::string epl = PrintThroughTheApplication();
    ASSERT_FALSE(epl.empty()) << app.Log();
    ExpectTheFiltersEpl(epl, "");
}

// The spooler's queue passes no vendor attribute of a job on, but the
// printer's defaults in the application are its choices.
TEST_F(EverywhereChain, PrinterDefaultsInTheApplicationAreTheChoicesOfTheQueuesJobs)
{
    const kvtool::CommandResult set = app.Command(
        {"modify", "-d", "label", "-o", "negative-image-default=on", "-o", "halftone-default=errordiffusion"});
    ASSERT_EQ(set.status, 0) << set.err;
    const std::string epl = PrintThroughTheApplication();
    ASSERT_FALSE(epl.empty()) << app.Log();
    ExpectTheFiltersEpl(epl, "NegativeFilm=On Halftone=ErrorDiffusion");
}

}  // namespace
