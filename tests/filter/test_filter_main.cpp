// Facts about the job loop that only show inside the filter's own process:
// what happens to its standard input descriptor, and that a job that ends
// early leaves no descriptor of its raster file open.
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "MallocBuffer.h"
#include "PpdWriter.h"
#include "RasterWriter.h"
#include "TempDir.h"
#include "TestFiles.h"
#include "rastokivepl.h"

using namespace kvtest;

namespace {

// Replaces descriptor `fd` with `replacement` until destruction.
class SwappedFd {
public:
    SwappedFd(int fd, int replacement) : m_fd(fd), m_saved(dup(fd))
    {
        fflush(nullptr);
        dup2(replacement, fd);
    }
    ~SwappedFd()
    {
        fflush(nullptr);
        dup2(m_saved, m_fd);
        close(m_saved);
    }

private:
    int m_fd;
    int m_saved;
};

// Number of descriptors this process has open.
int OpenDescriptorCount()
{
    int count = 0;
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (readdir(dir))
            ++count;
        closedir(dir);
    }
    return count;
}

// Runs a seven-argument job on the raster file `raster`, with standard
// output and error sent to /dev/null; returns the exit status.
int RunFileJob(const std::string& raster)
{
    int devNull = open("/dev/null", O_WRONLY);
    int status;
    {
        SwappedFd out(1, devNull);
        SwappedFd err(2, devNull);
        std::string file = raster;
        char* argv[] = {const_cast<char*>("rastertokivcp"),
                        const_cast<char*>("3"),
                        const_cast<char*>("user"),
                        const_cast<char*>("title"),
                        const_cast<char*>("1"),
                        const_cast<char*>(""),
                        file.data(),
                        nullptr};
        status = FilterMain(7, argv);
    }
    close(devNull);
    return status;
}

}  // namespace

TEST(FilterMainInProcess, FileThatIsNoRasterStreamIsClosedAgain)
{
    kvtest::TempDir dir;
    setenv("PPD", LabelPpd().WriteTo(dir.File("label.ppd")).c_str(), 1);
    const std::string raster = dir.File("job.ras");
    WriteFile(raster, "not a raster stream");
    const int before = OpenDescriptorCount();
    EXPECT_EQ(RunFileJob(raster), 1);
    EXPECT_EQ(OpenDescriptorCount(), before);
}

TEST(FilterMainInProcess, RasterFileIsClosedWhenThePpdCannotBeOpened)
{
    kvtest::TempDir dir;
    setenv("PPD", dir.File("missing.ppd").c_str(), 1);
    const std::string raster = dir.File("job.ras");
    WriteFile(raster, RasterBytes({SolidPage(8, 4, 203, 255, 255, 255)}));
    const int before = OpenDescriptorCount();
    EXPECT_EQ(RunFileJob(raster), 1);
    EXPECT_EQ(OpenDescriptorCount(), before);
}

TEST(FilterMainInProcess, SixArgumentJobReadsStandardInputAndNeverClosesIt)
{
    kvtest::TempDir dir;
    std::string ppd = LabelPpd().WriteTo(dir.File("label.ppd"));
    setenv("PPD", ppd.c_str(), 1);
    std::string raster = RasterBytes({SolidPage(8, 4, 203, 255, 255, 255)});
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(write(fds[1], raster.data(), raster.size()), static_cast<ssize_t>(raster.size()));
    close(fds[1]);
    struct stat pipeStat;
    fstat(fds[0], &pipeStat);
    int devNull = open("/dev/null", O_WRONLY);

    int status;
    struct stat afterStat;
    int flagsAfter;
    {
        SwappedFd in(0, fds[0]);
        SwappedFd out(1, devNull);
        SwappedFd err(2, devNull);
        char* argv[] = {const_cast<char*>("rastertokivcp"),
                        const_cast<char*>("3"),
                        const_cast<char*>("user"),
                        const_cast<char*>("title"),
                        const_cast<char*>("1"),
                        const_cast<char*>(""),
                        nullptr};
        status = FilterMain(6, argv);
        flagsAfter = fcntl(0, F_GETFD);
        fstat(0, &afterStat);
    }
    close(fds[0]);
    close(devNull);
    EXPECT_EQ(status, 0);
    EXPECT_NE(flagsAfter, -1);
    EXPECT_EQ(afterStat.st_ino, pipeStat.st_ino);
}

TEST(FilterMainInProcess, PageStepWithoutMemoryIsAWarningAndThePageStillPrints)
{
    // A 406 dpi page printed at 203 dpi: the 240,000-byte shrunk page
    // cannot be had, every smaller block can.
    kvtest::TempDir dir;
    setenv("PPD", LabelPpd().WriteTo(dir.File("label.ppd")).c_str(), 1);
    const std::string raster = dir.File("job.ras");
    WriteFile(raster, RasterBytes({SolidPage(800, 400, 406, 0, 0, 0)}));
    const int errFd = open(dir.File("stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int outFd = open(dir.File("stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(errFd, 0);
    ASSERT_GE(outFd, 0);
    int status = -1;
    {
        SwappedFd out(1, outFd);
        SwappedFd err(2, errFd);
        kvimg::g_failBlocksFrom = 200000;
        std::string file = raster;
        char* argv[] = {const_cast<char*>("rastertokivcp"),
                        const_cast<char*>("3"),
                        const_cast<char*>("user"),
                        const_cast<char*>("title"),
                        const_cast<char*>("1"),
                        const_cast<char*>(""),
                        file.data(),
                        nullptr};
        status = FilterMain(7, argv);
        kvimg::g_failBlocksFrom = 0;
    }
    close(errFd);
    close(outFd);
    EXPECT_EQ(status, 0);
    EXPECT_NE(ReadFile(dir.File("stderr"))
                  .find("\nWARNING: Not enough memory for scaling to the printer's resolution of page 1; the label "
                        "may be incomplete\n"),
              std::string::npos)
        << ReadFile(dir.File("stderr"));
    EXPECT_NE(ReadFile(dir.File("stdout")).find("GW"), std::string::npos);
}
