// What "cmake --install" puts where: the filter into CUPS's filter folder,
// the PPDs below CUPS's model folder (where "lpinfo -m" looks), eplview into
// the prefix's programs. Installed under a temporary DESTDIR.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <iterator>
#include <string>

#include "CommandRunner.h"
#include "SpoolerSupport.h"
#include "TestFiles.h"

namespace {

const char* kPpds[] = {"kivcp-epl2-203dpi-2in.ppd", "kivcp-epl2-203dpi-4in.ppd", "kivcp-epl2-300dpi-2in.ppd",
                       "kivcp-epl2-300dpi-4in.ppd"};
static_assert(std::size(kPpds) == 4, "the package ships four PPDs");

// Returns one line that cups-config prints for `option`, without its end.
std::string CupsConfig(const std::string& option)
{
    std::string out = kvtool::RunCommand({KV_CUPS_CONFIG, option}).out;
    while (!out.empty() && (out.back() == '\n' || out.back() == '\r'))
        out.pop_back();
    return out;
}

// True when `path` is a file that its owner may run.
bool Executable(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && (st.st_mode & S_IXUSR);
}

TEST(Installation, FilterFolderIsCupsServerBinFilter)
{
    EXPECT_EQ(std::string(KV_FILTER_INSTALL_DIR), CupsConfig("--serverbin") + "/filter");
}

TEST(Installation, PpdFolderIsBelowCupsModelFolder)
{
    EXPECT_EQ(std::string(KV_PPD_INSTALL_DIR), CupsConfig("--datadir") + "/model/kivcp");
}

TEST(Installation, PutsTheFilterIntoTheFilterFolder)
{
    kvinstall::StagedInstall install;
    ASSERT_TRUE(install.Ok()) << install.Log();
    EXPECT_TRUE(Executable(install.Staged(KV_FILTER_INSTALL_DIR "/rastertokivcp")));
}

TEST(Installation, PutsTheFourPpdsIntoThePpdFolder)
{
    kvinstall::StagedInstall install;
    ASSERT_TRUE(install.Ok()) << install.Log();
    for (const char* ppd : kPpds)
        EXPECT_EQ(kvtest::ReadFile(install.Staged(std::string(KV_PPD_INSTALL_DIR) + "/" + ppd)),
                  kvtest::ReadFile(std::string(KV_PPD_DIR) + "/" + ppd))
            << ppd;
}

TEST(Installation, PutsEplviewAmongThePrefixsPrograms)
{
    kvinstall::StagedInstall install;
    ASSERT_TRUE(install.Ok()) << install.Log();
    EXPECT_TRUE(Executable(install.Staged(KV_BIN_INSTALL_DIR "/eplview")));
}

TEST(Installation, InstalledFilterRunsAndAsksForItsArguments)
{
    kvinstall::StagedInstall install;
    ASSERT_TRUE(install.Ok()) << install.Log();
    kvtool::CommandResult r = kvtool::RunCommand({install.Staged(KV_FILTER_INSTALL_DIR "/rastertokivcp")});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "rastertokivcp job-id user title copies options [file]");
}

}  // namespace
