// End-to-end facts about the filter's fixed files in /tmp (the driver log
// and the two debug bitmaps) when another user was there first: a link to a
// file of the filter's user elsewhere, a link to a file that does not exist
// yet, a world-writable file of their own, or a second name of a file
// elsewhere. None of them is followed or written, and the job prints as it
// would have. Each case is run twice: as root with the links planted by
// "nobody", and as the unprivileged user the spooler runs filters as
// ("nobody" here) with the links planted by root, who is then the other user.
// Without planted files the filter writes exactly what it always wrote.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "LogLines.h"
#include "PlantedFiles.h"
#include "PpdWriter.h"
#include "PrintJob.h"
#include "TestFiles.h"

using namespace kvtest;

namespace {

const char* const kDriverLog = "/tmp/kvepl.log";
const char* const kBeginDump = "/tmp/EplBegin.bmp";
const char* const kOutputDump = "/tmp/EplOutput.bmp";
const char* const kFixedPaths[] = {kDriverLog, kBeginDump, kOutputDump};

const char* const kOwnContent = "a file of the filter's user, outside /tmp\n";
const char* const kForeignContent = "another user's world-writable file\n";
const FilterUser kSpoolerUser{kNobodyUid, kNobodyGid};

// 16 x 4 grey values with ink in the first and last column and row, so the
// crop box is the whole page.
const std::vector<std::vector<int>> kGrey{
    {0, 128, 129, 130, 200, 249, 250, 255, 127, 128, 129, 0, 60, 70, 80, 90},
    {255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0},
    {128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128},
    {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0},
};
// The page after thresholding: 15 x 3 pixels in rows of 16 bytes, the last
// column never thresholded and left white.
const std::vector<std::string> kHalftonedRows{
    RawBytes({0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 255, 0, 0, 0, 0, 255}),
    Fill(255, 8) + Fill(0, 7) + Fill(255, 1),
    Fill(0, 15) + Fill(255, 1),
};

// Little-endian fields of a BMP file.
std::string U16(uint16_t v)
{
    return std::string{static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)};
}
std::string U32(uint32_t v)
{
    return U16(static_cast<uint16_t>(v & 0xFFFF)) + U16(static_cast<uint16_t>(v >> 16));
}

// The headers of a dump of `width` x `height` at `bits` whose colour table
// takes `tableBytes`, with `imageBytes` of rows. Planes, compression and
// colour counts are those of the job loop's page header: zero.
std::string BmpHeaders(int32_t width, int32_t height, uint16_t bits, uint32_t tableBytes, uint32_t imageBytes)
{
    const uint32_t offset = 14 + 40 + tableBytes;
    return "BM" + U32(offset + imageBytes) + U16(0) + U16(0) + U32(offset) + U32(40) +
           U32(static_cast<uint32_t>(width)) + U32(static_cast<uint32_t>(height)) + U16(0) + U16(bits) + U32(0) +
           U32(imageBytes) + U32(3780) + U32(3780) + U32(0) + U32(0);
}

// "/tmp/EplBegin.bmp" of the job: the page as received, 24 bits, top row first.
std::string ExpectedBeginDump()
{
    std::string rows;
    for (const std::vector<int>& row : kGrey)
        for (int v : row)
            rows += std::string(3, static_cast<char>(v));
    return BmpHeaders(16, 4, 24, 0, static_cast<uint32_t>(rows.size())) + rows;
}

// "/tmp/EplOutput.bmp" of the job: the halftoned page, 8 bits, with a grey
// colour table whose reserved bytes are 255.
std::string ExpectedOutputDump()
{
    std::string table;
    for (int i = 0; i < 256; ++i)
        table += std::string(3, static_cast<char>(i)) + '\xFF';
    std::string rows;
    for (const std::string& row : kHalftonedRows)
        rows += row;
    return BmpHeaders(15, 3, 8, static_cast<uint32_t>(table.size()), static_cast<uint32_t>(rows.size())) + table + rows;
}

// A log line without what differs from run to run (time stamp, thread,
// process id, buffer addresses).
std::string Masked(const LogLine& line)
{
    static const std::regex kAddress("0x[0-9a-f]+");
    static const std::regex kPid("^pid = [0-9]+$");
    std::string message = std::regex_replace(line.message, kAddress, "0x*");
    message = std::regex_replace(message, kPid, "pid = *");
    return line.level + " " + message + " " + line.file + ":" + std::to_string(line.line);
}

// The masked lines of the driver log.
std::vector<std::string> MaskedLog()
{
    std::vector<std::string> lines;
    for (const LogLine& line : ParseLog(ReadFile(kDriverLog)))
        lines.push_back(Masked(line));
    return lines;
}

// Every test starts and ends with nothing at the fixed paths; jobs run with
// the driver log on, so the log and both dumps are written.
class FixedFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!RunningAsRoot())
            GTEST_SKIP() << "planting files as another user needs root";
        RemoveFixedFiles();
    }

    void TearDown() override { RemoveFixedFiles(); }

    static void RemoveFixedFiles()
    {
        for (const char* path : kFixedPaths)
            RemoveEntry(path);
    }

    // Runs the one-page job, as root or as `user`.
    FilterResult RunLoggedJob(const std::optional<FilterUser>& user = std::nullopt)
    {
        const std::string ppd = LabelPpd(WithCodes({{"DriverLog", "1"}})).WriteTo(m_folder.File("label.ppd"));
        return RunFilter(FilterArgs(), ppd, RasterBytes({GreyRows(kGrey)}), user);
    }

    // What the job prints with nothing planted; the fixed paths are cleared
    // again afterwards.
    std::string ReferenceOutput(const std::optional<FilterUser>& user = std::nullopt)
    {
        const std::string out = RunLoggedJob(user).out;
        RemoveFixedFiles();
        return out;
    }

    // Holds the PPD (readable by the unprivileged filter) and the files
    // planted links point at, outside /tmp.
    OpenFolder m_folder{kOutsideTmp};
};

// The fixed path a parameterised test plants at.
class PlantedFile : public FixedFiles, public ::testing::WithParamInterface<const char*> {
protected:
    std::string path() const { return GetParam(); }
    // A folder for a file that a hard link in /tmp can reach.
    OpenFolder m_linkable{HardLinkableBase()};
};

// Test names for the fixed paths.
std::string PathName(const ::testing::TestParamInfo<const char*>& info)
{
    const std::string path = info.param;
    if (path == kDriverLog)
        return "DriverLog";
    return path == kBeginDump ? "BeginDump" : "OutputDump";
}

// ---- the filter as root, files planted by nobody -------------------------

class PlantedByAnotherUser : public PlantedFile {
protected:
    // A file of root's outside /tmp, and a link to it at the path.
    std::string PlantLinkToOwnFile()
    {
        const std::string target = MakeFile(m_folder.File("own.txt"), kOwnContent, 0644);
        EXPECT_TRUE(PlantSymlinkAsNobody(target, path()));
        return target;
    }
    // A link at the path to a file outside /tmp that does not exist.
    std::string PlantDanglingLink()
    {
        const std::string target = m_folder.File("never.txt");
        EXPECT_TRUE(PlantSymlinkAsNobody(target, path()));
        return target;
    }
    // A world-writable file of root's (so nobody may link it) and a second
    // name of it at the path.
    std::string PlantHardLink()
    {
        const std::string target = MakeFile(m_linkable.File("own.txt"), kOwnContent, 0666);
        EXPECT_TRUE(PlantHardLinkAsNobody(target, path()));
        return target;
    }
};

TEST_P(PlantedByAnotherUser, LinkToAFileOfTheFiltersUserLeavesItUnchanged)
{
    const std::string target = PlantLinkToOwnFile();
    const FileSnapshot before = Snapshot(target);
    RunLoggedJob();
    EXPECT_EQ(before, Snapshot(target));
}

TEST_P(PlantedByAnotherUser, LinkToAFileOfTheFiltersUserStillPrintsThePage)
{
    const std::string reference = ReferenceOutput();
    ASSERT_FALSE(reference.empty());
    PlantLinkToOwnFile();
    EXPECT_EQ(reference, RunLoggedJob().out);
}

TEST_P(PlantedByAnotherUser, DanglingLinkCreatesNothingOutsideTmp)
{
    const std::string target = PlantDanglingLink();
    RunLoggedJob();
    EXPECT_FALSE(Snapshot(target).exists);
}

TEST_P(PlantedByAnotherUser, DanglingLinkStillPrintsThePage)
{
    const std::string reference = ReferenceOutput();
    ASSERT_FALSE(reference.empty());
    PlantDanglingLink();
    EXPECT_EQ(reference, RunLoggedJob().out);
}

TEST_P(PlantedByAnotherUser, WorldWritableFileOfTheirsIsUnchanged)
{
    ASSERT_TRUE(PlantForeignFile(path(), kForeignContent));
    // Root may remove their file from /tmp; what it holds must not change.
    HeldFile theirs(path());
    ASSERT_TRUE(theirs.Open());
    RunLoggedJob();
    EXPECT_EQ(kForeignContent, theirs.Content());
}

TEST_P(PlantedByAnotherUser, WorldWritableFileOfTheirsStillPrintsThePage)
{
    const std::string reference = ReferenceOutput();
    ASSERT_FALSE(reference.empty());
    ASSERT_TRUE(PlantForeignFile(path(), kForeignContent));
    EXPECT_EQ(reference, RunLoggedJob().out);
}

TEST_P(PlantedByAnotherUser, HardLinkToAFileOfTheFiltersUserLeavesItUnchanged)
{
    const std::string target = PlantHardLink();
    RunLoggedJob();
    EXPECT_EQ(kOwnContent, Snapshot(target).content);
}

TEST_P(PlantedByAnotherUser, HardLinkToAFileOfTheFiltersUserStillPrintsThePage)
{
    const std::string reference = ReferenceOutput();
    ASSERT_FALSE(reference.empty());
    PlantHardLink();
    EXPECT_EQ(reference, RunLoggedJob().out);
}

INSTANTIATE_TEST_SUITE_P(FixedPaths, PlantedByAnotherUser, ::testing::ValuesIn(kFixedPaths), PathName);

// ---- the filter as the spooler's user, files planted by root --------------

// The filter's user cannot remove what root left in /tmp, so these files
// are still there when the filter opens its own.
class PlantedForTheSpoolerUser : public PlantedFile {
protected:
    void SetUp() override
    {
        PlantedFile::SetUp();
        if (IsSkipped())
            return;
        ASSERT_EQ(0, mkdir(usersFolder().c_str(), 0755));
        ASSERT_EQ(0, chown(usersFolder().c_str(), kNobodyUid, kNobodyGid));
    }

    // A folder of the filter's user outside /tmp.
    std::string usersFolder() const { return m_folder.File("spooler-user"); }

    // A file of the filter's user outside /tmp, and a link to it at the path.
    std::string PlantLinkToOwnFile()
    {
        const std::string target = MakeFile(usersFolder() + "/own.txt", kOwnContent, 0644, kNobodyUid, kNobodyGid);
        EXPECT_EQ(0, symlink(target.c_str(), path().c_str()));
        return target;
    }
    // A link at the path into a folder the filter's user may create files in.
    std::string PlantDanglingLink()
    {
        const std::string target = usersFolder() + "/never.txt";
        EXPECT_EQ(0, symlink(target.c_str(), path().c_str()));
        return target;
    }
    // A world-writable file outside /tmp and a second name of it at the path.
    std::string PlantHardLink()
    {
        const std::string target = MakeFile(m_linkable.File("shared.txt"), kOwnContent, 0666);
        EXPECT_EQ(0, link(target.c_str(), path().c_str()));
        return target;
    }
};

TEST_P(PlantedForTheSpoolerUser, LinkToAFileOfTheFiltersUserLeavesItUnchanged)
{
    const std::string target = PlantLinkToOwnFile();
    const FileSnapshot before = Snapshot(target);
    RunLoggedJob(kSpoolerUser);
    EXPECT_EQ(before, Snapshot(target));
}

TEST_P(PlantedForTheSpoolerUser, LinkToAFileOfTheFiltersUserStillPrintsThePage)
{
    const std::string reference = ReferenceOutput(kSpoolerUser);
    ASSERT_FALSE(reference.empty());
    PlantLinkToOwnFile();
    EXPECT_EQ(reference, RunLoggedJob(kSpoolerUser).out);
}

TEST_P(PlantedForTheSpoolerUser, DanglingLinkCreatesNothingOutsideTmp)
{
    const std::string target = PlantDanglingLink();
    RunLoggedJob(kSpoolerUser);
    EXPECT_FALSE(Snapshot(target).exists);
}

TEST_P(PlantedForTheSpoolerUser, DanglingLinkStillPrintsThePage)
{
    const std::string reference = ReferenceOutput(kSpoolerUser);
    ASSERT_FALSE(reference.empty());
    PlantDanglingLink();
    EXPECT_EQ(reference, RunLoggedJob(kSpoolerUser).out);
}

TEST_P(PlantedForTheSpoolerUser, WorldWritableFileOfRootsIsUnchanged)
{
    MakeFile(path(), kForeignContent, 0666);
    const FileSnapshot before = Snapshot(path());
    RunLoggedJob(kSpoolerUser);
    EXPECT_EQ(before, Snapshot(path()));
}

TEST_P(PlantedForTheSpoolerUser, WorldWritableFileOfRootsStillPrintsThePage)
{
    const std::string reference = ReferenceOutput(kSpoolerUser);
    ASSERT_FALSE(reference.empty());
    MakeFile(path(), kForeignContent, 0666);
    EXPECT_EQ(reference, RunLoggedJob(kSpoolerUser).out);
}

TEST_P(PlantedForTheSpoolerUser, HardLinkToAWritableFileLeavesItUnchanged)
{
    const std::string target = PlantHardLink();
    RunLoggedJob(kSpoolerUser);
    EXPECT_EQ(kOwnContent, Snapshot(target).content);
}

TEST_P(PlantedForTheSpoolerUser, HardLinkToAWritableFileStillPrintsThePage)
{
    const std::string reference = ReferenceOutput(kSpoolerUser);
    ASSERT_FALSE(reference.empty());
    PlantHardLink();
    EXPECT_EQ(reference, RunLoggedJob(kSpoolerUser).out);
}

INSTANTIATE_TEST_SUITE_P(FixedPaths, PlantedForTheSpoolerUser, ::testing::ValuesIn(kFixedPaths), PathName);

// ---- nothing planted -------------------------------------------------------

using UsualFixedFiles = FixedFiles;

TEST_F(UsualFixedFiles, BeginDumpHoldsExactlyTheReceivedPage)
{
    RunLoggedJob();
    EXPECT_EQ(ExpectedBeginDump(), ReadFile(kBeginDump));
}

TEST_F(UsualFixedFiles, OutputDumpHoldsExactlyTheHalftonedPage)
{
    RunLoggedJob();
    EXPECT_EQ(ExpectedOutputDump(), ReadFile(kOutputDump));
}

TEST_F(UsualFixedFiles, OwnEarlierDumpIsReplacedByExactlyThisPage)
{
    WriteFile(kBeginDump, "an earlier page");
    RunLoggedJob();
    EXPECT_EQ(ExpectedBeginDump(), ReadFile(kBeginDump));
}

TEST_F(UsualFixedFiles, SpoolerUsersDumpHoldsExactlyTheReceivedPage)
{
    RunLoggedJob(kSpoolerUser);
    EXPECT_EQ(ExpectedBeginDump(), ReadFile(kBeginDump));
}

TEST_F(UsualFixedFiles, LogIsCreatedReadableByAllAndWritableByTheFiltersUserOnly)
{
    RunLoggedJob();
    EXPECT_EQ(S_IFREG | 0644u, Snapshot(kDriverLog).mode);
}

TEST_F(UsualFixedFiles, LogStartsWithTheLoggersBanner)
{
    RunLoggedJob();
    const std::vector<std::string> lines = MaskedLog();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ("LOG_ALARM -----------------  log4z thread started!   ---------------------------- log4z.cpp:" +
                  std::to_string(SourceLine("log/log4z.cpp", "LOG_ALARM, \"%s\", kLogStartBanner")),
              lines[0]);
}

TEST_F(UsualFixedFiles, LogNamesTheJobRightAfterTheLoggerTable)
{
    RunLoggedJob();
    const std::vector<std::string> lines = MaskedLog();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ("LOG_DEBUG job_id = 42 rastokivepl.cpp:" +
                  std::to_string(SourceLine("filter/rastokivepl.cpp", "LOGFMTD(\"job_id = %d\"")),
              lines[2]);
}

TEST_F(UsualFixedFiles, OwnEarlierLogIsReplacedByTheLogOfAJobWithNoFileThere)
{
    RunLoggedJob();
    const std::vector<std::string> fresh = MaskedLog();
    WriteFile(kDriverLog, "an earlier job's log\r\n");
    RunLoggedJob();
    EXPECT_EQ(fresh, MaskedLog());
}

TEST_F(UsualFixedFiles, SpoolerUsersLogIsTheSameAsRootsLog)
{
    RunLoggedJob();
    const std::vector<std::string> roots = MaskedLog();
    RemoveFixedFiles();
    RunLoggedJob(kSpoolerUser);
    EXPECT_EQ(roots, MaskedLog());
}

}  // namespace
