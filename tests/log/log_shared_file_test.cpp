// Tests of the logger's file in a folder that every user may create names
// in, as the driver log in /tmp is: links, other users' files, extra hard
// links and pipes planted at the log's path are refused like an unopenable
// file and left as they were; the logger's own earlier file is continued.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "PlantedFiles.h"
#include "log_test_helpers.h"

using namespace logtest;
using kvtest::FileSnapshot;
using kvtest::Snapshot;

namespace {

const char* const kOwnContent = "a file of ours elsewhere\r\n";

// The main logger writes "kvepl.log" into a shared folder; whatever a test
// plants there is in place before the manager starts.
class SharedLogFile : public ::testing::Test {
protected:
    void SetUp() override
    {
        mgr.setLoggerPath(LOG4Z_MAIN_LOGGER_ID, shared.Path().c_str());
        mgr.setLoggerName(LOG4Z_MAIN_LOGGER_ID, "kvepl");
    }

    std::string logPath() const { return shared.File("kvepl.log"); }
    std::string ownFile() const { return kvtest::MakeFile(elsewhere.File("own.txt"), kOwnContent, 0644); }

    // Starts the manager and logs one line; returns what reached standard error.
    std::string startAndLog()
    {
        StderrCapture capture;
        if (!mgr.start()) {
            return "start failed";
        }
        mgr.pushLog(recordWith(mgr, LOG4Z_MAIN_LOGGER_ID, LOG_DEBUG, "job line"));
        return capture.Take();
    }

    std::string refusedMessage() const { return "log4z: can not open log file " + logPath() + ". \r\n"; }

    kvtest::OpenFolder shared{kvtest::kOutsideTmp, kvtest::kSharedFolderMode};
    kvtest::OpenFolder elsewhere{kvtest::kOutsideTmp};
    LogerManager mgr;  // declared last: stops before the folders go
};

}  // namespace

TEST_F(SharedLogFile, LinkedLogIsReportedAsUnopenable)
{
    ASSERT_EQ(0, symlink(ownFile().c_str(), logPath().c_str()));
    EXPECT_EQ(refusedMessage(), startAndLog());
}

TEST_F(SharedLogFile, LinkedLogSwitchesOutfileOff)
{
    ASSERT_EQ(0, symlink(ownFile().c_str(), logPath().c_str()));
    startAndLog();
    EXPECT_FALSE(snapshotOf(mgr, LOG4Z_MAIN_LOGGER_ID).bOutFile);
}

TEST_F(SharedLogFile, FileBehindALinkedLogIsUnchanged)
{
    const std::string target = ownFile();
    const FileSnapshot before = Snapshot(target);
    ASSERT_EQ(0, symlink(target.c_str(), logPath().c_str()));
    startAndLog();
    EXPECT_EQ(before, Snapshot(target));
}

TEST_F(SharedLogFile, DanglingLinkedLogCreatesNothing)
{
    ASSERT_EQ(0, symlink(elsewhere.File("never.log").c_str(), logPath().c_str()));
    startAndLog();
    EXPECT_FALSE(Snapshot(elsewhere.File("never.log")).exists);
}

TEST_F(SharedLogFile, HardLinkedLogIsReportedAsUnopenable)
{
    ASSERT_EQ(0, link(ownFile().c_str(), logPath().c_str()));
    EXPECT_EQ(refusedMessage(), startAndLog());
}

TEST_F(SharedLogFile, FileBehindAHardLinkedLogIsUnchanged)
{
    const std::string target = ownFile();
    ASSERT_EQ(0, link(target.c_str(), logPath().c_str()));
    startAndLog();
    EXPECT_EQ(kOwnContent, Snapshot(target).content);
}

TEST_F(SharedLogFile, AnotherUsersLogIsReportedAsUnopenable)
{
    if (!kvtest::RunningAsRoot())
        GTEST_SKIP() << "planting a file as another user needs root";
    ASSERT_TRUE(kvtest::PlantForeignFile(logPath(), "theirs\r\n"));
    EXPECT_EQ(refusedMessage(), startAndLog());
}

TEST_F(SharedLogFile, AnotherUsersLogIsUnchanged)
{
    if (!kvtest::RunningAsRoot())
        GTEST_SKIP() << "planting a file as another user needs root";
    ASSERT_TRUE(kvtest::PlantForeignFile(logPath(), "theirs\r\n"));
    const FileSnapshot before = Snapshot(logPath());
    startAndLog();
    EXPECT_EQ(before, Snapshot(logPath()));
}

TEST_F(SharedLogFile, PipeAsLogIsReportedWithoutWaitingForAReader)
{
    ASSERT_EQ(0, mkfifo(logPath().c_str(), 0666));
    EXPECT_EQ(refusedMessage(), startAndLog());
}

TEST_F(SharedLogFile, OwnEarlierLogIsContinued)
{
    WriteFile(logPath(), "earlier\r\n");
    ASSERT_EQ("", startAndLog());
    const std::string content = ReadFile(logPath());
    EXPECT_EQ("earlier\r\n", content.substr(0, 9));
    EXPECT_NE(std::string::npos, content.find("job line"));
}

TEST_F(SharedLogFile, MissingLogIsCreated)
{
    ASSERT_EQ("", startAndLog());
    EXPECT_NE(std::string::npos, ReadFile(logPath()).find("job line"));
}
