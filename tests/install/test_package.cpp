// The Debian package at work: installed with "dpkg -i" on this machine, its
// driver found by a private scheduler and printing a label, then removed
// with "dpkg -r" without a trace. The package is the one KV_PACKAGE_DEB
// names (tools/build-package.sh makes it; CI sets the variable); without
// it, or without root, the tests are skipped.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "CommandRunner.h"
#include "PdfLabel.h"
#include "SpoolerSupport.h"
#include "TempDir.h"
#include "TestFiles.h"

namespace {

using kvinstall::PrivateCupsd;

constexpr const char* kPackage = "printer-driver-kivcp";
constexpr int kJobSeconds = 120;
constexpr int kCompleted = 9;  // IPP job state "completed"

// The package file, or "" when none is named.
std::string PackageFile()
{
    const char* deb = std::getenv("KV_PACKAGE_DEB");
    return deb ? deb : "";
}

// Runs `args` and returns the result.
kvtool::CommandResult Command(const std::vector<std::string>& args)
{
    return kvtool::RunCommand(args);
}

// True when `path` is a regular file.
bool IsFile(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// The files (not folders, which other packages share) the installed
// package owns, from "dpkg -L".
std::vector<std::string> OwnedFiles()
{
    std::vector<std::string> files;
    std::istringstream lines(Command({"dpkg", "-L", kPackage}).out);
    for (std::string path; std::getline(lines, path);)
        if (IsFile(path))
            files.push_back(path);
    return files;
}

class DebianPackage : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (PackageFile().empty() || geteuid() != 0)
            GTEST_SKIP() << "set KV_PACKAGE_DEB to a built package and run as root";
        kvtool::CommandResult r = Command({"dpkg", "-i", PackageFile()});
        ASSERT_EQ(r.status, 0) << r.out << r.err;
        m_installed = true;
    }
    void TearDown() override
    {
        m_cupsd.reset();
        if (m_installed)
            Command({"dpkg", "-r", kPackage});
    }
    // Starts a private scheduler that sees the system's installation.
    void StartScheduler()
    {
        m_cupsd = std::make_unique<PrivateCupsd>("/");
        ASSERT_TRUE(m_cupsd->Running()) << m_cupsd->ErrorLog();
    }

    bool m_installed = false;
    std::unique_ptr<PrivateCupsd> m_cupsd;
    kvtest::TempDir m_files;
};

}  // namespace

TEST_F(DebianPackage, PutsTheFilterPpdsProgramsServiceAndManualPagesWhereTheyAreFound)
{
    for (const char* path :
         {"/usr/lib/cups/filter/rastertokivcp", "/usr/share/cups/model/kivcp/kivcp-epl2-203dpi-2in.ppd",
          "/usr/share/cups/model/kivcp/kivcp-epl2-300dpi-4in.ppd", "/usr/bin/eplview", "/usr/bin/kivcp-printer-app",
          "/usr/lib/systemd/system/kivcp-printer-app.service", "/usr/share/doc/printer-driver-kivcp/copyright"})
        EXPECT_TRUE(kvtest::FileExists(path)) << path;
    EXPECT_EQ(Command({"man", "-w", "rastertokivcp"}).out, "/usr/share/man/man8/rastertokivcp.8.gz\n");
    EXPECT_EQ(Command({"man", "-w", "eplview"}).out, "/usr/share/man/man1/eplview.1.gz\n");
    EXPECT_EQ(Command({"man", "-w", "kivcp-printer-app"}).out, "/usr/share/man/man1/kivcp-printer-app.1.gz\n");
}

TEST_F(DebianPackage, SchedulerProposesItsDriversForTheEpl2DeviceId)
{
    StartScheduler();
    kvtool::CommandResult r =
        m_cupsd->Client("lpinfo", {"--device-id", "MFG:Generic;MDL:EPL2 Label Printer;CMD:EPL2;", "-m"});
    EXPECT_EQ(r.out, "kivcp/kivcp-epl2-203dpi-2in.ppd KIVCP EPL2 2-inch 203 dpi, rastertokivcp 1.0\n"
                     "kivcp/kivcp-epl2-300dpi-2in.ppd KIVCP EPL2 2-inch 300 dpi, rastertokivcp 1.0\n"
                     "kivcp/kivcp-epl2-203dpi-4in.ppd KIVCP EPL2 4-inch 203 dpi, rastertokivcp 1.0\n"
                     "kivcp/kivcp-epl2-300dpi-4in.ppd KIVCP EPL2 4-inch 300 dpi, rastertokivcp 1.0\n"
                     "everywhere IPP Everywhere\n");
}

TEST_F(DebianPackage, QueueWithItsDriverPrintsAPdfLabel)
{
    StartScheduler();
    const std::string out = m_cupsd->OutputFile("label.epl");
    ASSERT_EQ(
        m_cupsd
            ->Client("lpadmin", {"-p", "label", "-E", "-v", "file://" + out, "-m", "kivcp/kivcp-epl2-203dpi-2in.ppd"})
            .status,
        0);
    kvtest::WriteFile(m_files.File("label.pdf"), kvtool::PdfLabel(144, 72, {{36, 18, 36, 36}}));
    kvtool::CommandResult lp =
        m_cupsd->Client("lp", {"-d", "label", "-o", "PageSize=1x2Rotated.Fullbleed", m_files.File("label.pdf")});
    ASSERT_EQ(lp.status, 0) << lp.err;
    EXPECT_EQ(m_cupsd->WaitForJob(kvinstall::JobIdFromLp(lp.out), kJobSeconds), kCompleted) << m_cupsd->ErrorLog();
    kvtest::WriteFile(m_files.File("label.epl"), kvtest::ReadFile(out));
    kvtool::CommandResult view = Command({"/usr/bin/eplview", "-n", m_files.File("label.epl")});
    ASSERT_EQ(view.status, 0) << view.err;
    EXPECT_NE(view.out.find("labels: 1\n  label 1: 408 x 204 dots, 1 copy"), std::string::npos) << view.out;
}

TEST_F(DebianPackage, RemovalLeavesNoneOfItsFiles)
{
    const std::vector<std::string> files = OwnedFiles();
    EXPECT_GT(files.size(), 10u);
    ASSERT_EQ(Command({"dpkg", "-r", kPackage}).status, 0);
    m_installed = false;
    for (const std::string& path : files)
        EXPECT_FALSE(IsFile(path)) << path;
    EXPECT_FALSE(kvtest::FileExists("/usr/share/cups/model/kivcp"));
}
