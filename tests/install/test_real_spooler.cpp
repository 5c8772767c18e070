// The driver in a real print spooler: installed with "cmake --install",
// listed by "lpinfo -m", added as a queue with "lpadmin", a PDF label
// printed with "lp" through the spooler's own PDF filters into a file
// device, and the result read back with eplview. Each test starts a
// private scheduler and stops it again.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "CommandRunner.h"
#include "PdfLabel.h"
#include "PngFile.h"
#include "RasterWriter.h"
#include "SpoolerSupport.h"
#include "TempDir.h"
#include "TestFiles.h"

namespace {

using kvinstall::PrivateCupsd;
using kvinstall::StagedInstall;

constexpr int kJobSeconds = 120;            // a label job ends well within this on a loaded machine
constexpr int kCompleted = 9;               // IPP job state "completed"
constexpr int kStopped = 6;                 // IPP job state "processing-stopped"
const char* kDriverLog = "/tmp/kvepl.log";  // the filter's log, removed again if this test made it

const std::string kPpd203x2 = "kivcp/kivcp-epl2-203dpi-2in.ppd";
// The PDF label: 2 x 1 inch, a 3 point frame and a block inside it.
constexpr double kPageWidth = 144;
constexpr double kPageHeight = 72;

std::string LabelPdf()
{
    return kvtool::PdfLabel(kPageWidth, kPageHeight,
                            {{0, 0, kPageWidth, 3},
                             {0, kPageHeight - 3, kPageWidth, 3},
                             {0, 0, 3, kPageHeight},
                             {kPageWidth - 3, 0, 3, kPageHeight},
                             {36, 18, 36, 36}});
}

class RealSpooler : public ::testing::Test {
protected:
    void SetUp() override
    {
        struct stat st;
        m_logExisted = stat(kDriverLog, &st) == 0;
        ASSERT_TRUE(m_install.Ok()) << m_install.Log();
        m_cupsd = std::make_unique<PrivateCupsd>(m_install);
        ASSERT_TRUE(m_cupsd->Running()) << m_cupsd->ErrorLog();
    }

    void TearDown() override
    {
        m_cupsd.reset();
        if (!m_logExisted)
            std::remove(kDriverLog);
    }

    // Adds the queue "label" with the 2-inch 203 dpi driver and a file device.
    void AddQueue()
    {
        kvtool::CommandResult r = m_cupsd->Client(
            "lpadmin", {"-p", "label", "-E", "-v", "file://" + m_cupsd->OutputFile("label.epl"), "-m", kPpd203x2});
        ASSERT_EQ(r.status, 0) << r.err;
    }

    // Prints the PDF label with `options` and waits for the job to end;
    // returns the EPL stream the printer would have received.
    std::string PrintLabel(const std::vector<std::string>& options)
    {
        kvtest::WriteFile(m_files.File("label.pdf"), LabelPdf());
        std::vector<std::string> args = {"-d", "label", "-o", "PageSize=1x2Rotated.Fullbleed"};
        args.insert(args.end(), options.begin(), options.end());
        args.push_back(m_files.File("label.pdf"));
        kvtool::CommandResult r = m_cupsd->Client("lp", args);
        EXPECT_EQ(r.status, 0) << r.err;
        int job = kvinstall::JobIdFromLp(r.out);
        EXPECT_GT(job, 0) << r.out;
        EXPECT_EQ(m_cupsd->WaitForJob(job, kJobSeconds), kCompleted) << m_cupsd->ErrorLog();
        return kvtest::ReadFile(m_cupsd->OutputFile("label.epl"));
    }

    // Runs eplview on `stream`, writing images as `prefix`-N.png.
    kvtool::CommandResult Preview(const std::string& stream, const std::string& prefix)
    {
        kvtest::WriteFile(m_files.File("out.epl"), stream);
        return kvtool::RunCommand({KV_EPLVIEW_BINARY, "-o", prefix, m_files.File("out.epl")});
    }

    bool m_logExisted = false;
    StagedInstall m_install;
    std::unique_ptr<PrivateCupsd> m_cupsd;
    kvtest::TempDir m_files;
};

TEST_F(RealSpooler, LpinfoListsTheFourDriverPpds)
{
    kvtool::CommandResult r = m_cupsd->Client("lpinfo", {"-m"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* line : {"kivcp/kivcp-epl2-203dpi-2in.ppd KIVCP EPL2 2-inch 203 dpi, rastertokivcp 1.0\n",
                             "kivcp/kivcp-epl2-203dpi-4in.ppd KIVCP EPL2 4-inch 203 dpi, rastertokivcp 1.0\n",
                             "kivcp/kivcp-epl2-300dpi-2in.ppd KIVCP EPL2 2-inch 300 dpi, rastertokivcp 1.0\n",
                             "kivcp/kivcp-epl2-300dpi-4in.ppd KIVCP EPL2 4-inch 300 dpi, rastertokivcp 1.0\n"})
        EXPECT_NE(r.out.find(line), std::string::npos) << line;
}

TEST_F(RealSpooler, LpinfoProposesOnlyTheDriverForTheGenericEpl2DeviceId)
{
    // lpinfo takes the device ID into account only when it comes before -m.
    // CUPS adds its driverless choice to every device ID's list.
    kvtool::CommandResult r =
        m_cupsd->Client("lpinfo", {"--device-id", "MFG:Generic;MDL:EPL2 Label Printer;CMD:EPL2;", "-m"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "kivcp/kivcp-epl2-203dpi-2in.ppd KIVCP EPL2 2-inch 203 dpi, rastertokivcp 1.0\n"
                     "kivcp/kivcp-epl2-300dpi-2in.ppd KIVCP EPL2 2-inch 300 dpi, rastertokivcp 1.0\n"
                     "kivcp/kivcp-epl2-203dpi-4in.ppd KIVCP EPL2 4-inch 203 dpi, rastertokivcp 1.0\n"
                     "kivcp/kivcp-epl2-300dpi-4in.ppd KIVCP EPL2 4-inch 300 dpi, rastertokivcp 1.0\n"
                     "everywhere IPP Everywhere\n");
}

TEST_F(RealSpooler, LpinfoProposesNoDriverForAnotherCommandSet)
{
    kvtool::CommandResult r = m_cupsd->Client("lpinfo", {"--device-id", "MFG:Nobody;MDL:Nothing;CMD:XYZ;", "-m"});
    EXPECT_EQ(r.out, "");
}

TEST_F(RealSpooler, QueueWithTheDriverIsReady)
{
    AddQueue();
    kvtool::CommandResult r = m_cupsd->Client("lpstat", {"-p", "label"});
    EXPECT_EQ(r.out.rfind("printer label is idle.", 0), 0u) << r.out;
}

TEST_F(RealSpooler, PdfLabelArrivesAsOneLabelOfItsSize)
{
    AddQueue();
    std::string prefix = m_files.File("preview");
    kvtool::CommandResult r = Preview(PrintLabel({}), prefix);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("  label width: 408 dots\n  label length: 204 dots\n  gap: 24 dots\n"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("labels: 1\n  label 1: 408 x 204 dots, 1 copy, no cut, 1 graphic, 0 lines -> " + prefix +
                         "-1.png\n"),
              std::string::npos)
        << r.out;
}

TEST_F(RealSpooler, PdfLabelShowsItsFrameAndBlock)
{
    AddQueue();
    std::string prefix = m_files.File("preview");
    ASSERT_EQ(Preview(PrintLabel({}), prefix).status, 0);
    kvtool::PngImage img = kvtool::DecodeStoredPng(kvtest::ReadFile(prefix + "-1.png"));
    ASSERT_EQ(img.error, "");
    ASSERT_EQ(img.width, 408u);
    ASSERT_EQ(img.height, 204u);
    // 3 points are 8.5 dots at 203 dpi; the block spans 101.5..203 across
    // and 50.8..152.3 down. Regions stay clear of the rounded edges.
    EXPECT_EQ(img.BlackIn(0, 0, 8, 200), 8 * 200) << "left frame";
    EXPECT_EQ(img.BlackIn(0, 0, 406, 8), 406 * 8) << "top frame";
    EXPECT_EQ(img.BlackIn(398, 0, 406, 200), 8 * 200) << "right frame";
    EXPECT_EQ(img.BlackIn(104, 54, 200, 150), 96 * 96) << "block";
    EXPECT_EQ(img.BlackIn(12, 12, 97, 192), 0) << "white left of the block";
    EXPECT_EQ(img.BlackIn(208, 12, 394, 192), 0) << "white right of the block";
    EXPECT_EQ(img.BlackIn(406, 0, 408, 204), 0) << "padding beyond the page";
}

TEST_F(RealSpooler, CopiesArriveAsTheLabelCount)
{
    AddQueue();
    kvtool::CommandResult r = Preview(PrintLabel({"-n", "3"}), m_files.File("preview"));
    EXPECT_NE(r.out.find("  label 1: 408 x 204 dots, 3 copies,"), std::string::npos) << r.out;
}

TEST_F(RealSpooler, JobOptionsReachThePrinterSetUp)
{
    AddQueue();
    kvtool::CommandResult r =
        Preview(PrintLabel({"-o", "Density=12", "-o", "PrintSpeed=2", "-o", "Mode=Cutter"}), m_files.File("p"));
    EXPECT_NE(r.out.find("  speed: 2\n  density: 12\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  cutter: after every label\n"), std::string::npos) << r.out;
}

TEST_F(RealSpooler, QueueDefaultsSetWithLpadminApplyToJobs)
{
    AddQueue();
    ASSERT_EQ(m_cupsd->Client("lpadmin", {"-p", "label", "-o", "Density-default=5"}).status, 0);
    kvtool::CommandResult r = Preview(PrintLabel({}), m_files.File("p"));
    EXPECT_NE(r.out.find("  density: 5\n"), std::string::npos) << r.out;
}

// A raster job whose page the filter refuses (1 dpi): the filter's status 1
// makes the spooler stop that job with "Filter failed"; the queue stays
// idle and enabled and prints the next job.
TEST_F(RealSpooler, RefusedJobStopsAloneAndTheNextJobPrints)
{
    AddQueue();
    kvtest::RasterPage page = kvtest::SolidPage(10, 10, 203, 0, 0, 0);
    page.header.HWResolution[0] = page.header.HWResolution[1] = 1;
    kvtest::WriteRaster(m_files.File("refused.ras"), {page});
    kvtool::CommandResult r = m_cupsd->Client("lp", {"-d", "label", m_files.File("refused.ras")});
    int job = kvinstall::JobIdFromLp(r.out);
    ASSERT_GT(job, 0) << r.out << r.err;
    EXPECT_EQ(m_cupsd->WaitForJob(job, kJobSeconds), kStopped);
    EXPECT_NE(m_cupsd->ErrorLog().find("[Job " + std::to_string(job) +
                                       "] Page 1 not printed: its raster resolution 1 x 1 dpi is outside"),
              std::string::npos)
        << m_cupsd->ErrorLog();
    EXPECT_NE(PrintLabel({}).find("GW"), std::string::npos);
    EXPECT_EQ(m_cupsd->Client("lpstat", {"-p", "label"}).out.rfind("printer label is idle.", 0), 0u);
}

TEST_F(RealSpooler, StoppedServerLeavesNothingBehind)
{
    std::string folder = m_cupsd->Folder();
    EXPECT_TRUE(m_cupsd->Stop());
    struct stat st;
    EXPECT_NE(stat(folder.c_str(), &st), 0);
}

}  // namespace
