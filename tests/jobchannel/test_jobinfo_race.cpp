// Facts about the job information file under several real processes: writers
// racing each other never leave a torn record, and a writer that meets a lock
// held past its time-out gives up without touching the file.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "JobInfoFile.h"
#include "LogLines.h"
#include "Subprocess.h"
#include "TempDir.h"
#include "TestFiles.h"

using namespace kvtest;

namespace {

const char* const kWriterBinary = KV_JOBINFO_WRITER;
const char* const kLockSource = "jobchannel/FileLock.cpp";

// A record of some other job, there before each test.
const char* const kOtherJobRecord = "JOB_ID = 1\nJOB_IDX = 0\n";

// Writer processes started at once, each writing this many records (indexes
// 0, 1, ...) of its own job id, kFirstWriterId and up.
constexpr int kWriters = 8;
constexpr int kRecordsPerWriter = 20;
constexpr int kFirstWriterId = 101;

// The holder outlives the writer's 5-second wait by a wide margin, but never
// hangs a test run when something goes wrong.
constexpr int kHolderLimitSeconds = 30;

// The writer's exit statuses.
constexpr int kAllWritten = 0;
constexpr int kWriteGaveUp = 1;

// The record text the file holds after writing (jobId, jobIdx).
std::string Record(int jobId, int jobIdx)
{
    return "JOB_ID = " + std::to_string(jobId) + "\nJOB_IDX = " + std::to_string(jobIdx) + "\n";
}

// Starts the job information file with another job's record and puts back
// what was there before at the end.
class JobInfoWriters : public ::testing::Test {
protected:
    void SetUp() override { SetJobInfo(kOtherJobRecord); }

    // Runs kWriters writers at once while another thread reads the file under
    // a shared lock, a moment apart, until all have ended; keeps every
    // distinct content seen and every writer's exit status.
    void RunRace()
    {
        std::vector<std::unique_ptr<Subprocess>> writers;
        for (int i = 0; i < kWriters; ++i) {
            std::vector<std::string> args{std::to_string(kFirstWriterId + i), "0", std::to_string(kRecordsPerWriter)};
            writers.push_back(std::make_unique<Subprocess>(kWriterBinary, args));
        }
        JobInfoWatcher watcher;
        for (auto& writer : writers)
            m_statuses.push_back(writer->Wait());
        m_seen = watcher.Stop();
    }

    // Runs one writer of the record (7, 1) that logs to m_logDir; returns its
    // exit status.
    int RunLoggingWriter()
    {
        Subprocess writer(kWriterBinary, {"7", "1", "1", m_logDir.Path()});
        return writer.Wait();
    }

    // Messages the logging writer logged from FileLock.cpp.
    std::vector<std::string> WriterLockMessages() const
    {
        std::vector<std::string> messages;
        for (const LogLine& line : ParseLog(ReadFile(m_logDir.File("writer.log"))))
            if (line.file == "FileLock.cpp")
                messages.push_back(line.message);
        return messages;
    }

    JobInfoFileGuard m_jobInfo;
    TempDir m_logDir;
    std::set<std::string> m_seen;
    std::vector<int> m_statuses;
};

}  // namespace

// ---- racing writers --------------------------------------------------------

TEST_F(JobInfoWriters, RacingWritersAlwaysLeaveOneCompleteRecord)
{
    std::set<std::string> allowed{kOtherJobRecord};
    for (int i = 0; i < kWriters; ++i)
        for (int j = 0; j < kRecordsPerWriter; ++j)
            allowed.insert(Record(kFirstWriterId + i, j));
    RunRace();
    ASSERT_FALSE(m_seen.empty());
    for (const std::string& content : m_seen)
        EXPECT_EQ(allowed.count(content), 1u) << "seen: " << content;
}

TEST_F(JobInfoWriters, RacingWritersAllGetTheLockInTime)
{
    RunRace();
    EXPECT_EQ(m_statuses, std::vector<int>(kWriters, kAllWritten));
}

TEST_F(JobInfoWriters, RacingWritersEndWithTheLastRecordOfOneOfThem)
{
    std::set<std::string> lastRecords;
    for (int i = 0; i < kWriters; ++i)
        lastRecords.insert(Record(kFirstWriterId + i, kRecordsPerWriter - 1));
    RunRace();
    EXPECT_EQ(lastRecords.count(ReadFile(kJobInfoPath)), 1u) << ReadFile(kJobInfoPath);
}

// ---- a lock held past the time-out ---------------------------------------

TEST_F(JobInfoWriters, LockHeldPastFiveSecondsMakesTheWriterGiveUp)
{
    JobInfoLockHolder holder(kHolderLimitSeconds);
    ASSERT_TRUE(holder.Holding());
    EXPECT_EQ(RunLoggingWriter(), kWriteGaveUp);
}

TEST_F(JobInfoWriters, LockHeldPastFiveSecondsLogsOnlyWirteTimeoutFailed)
{
    JobInfoLockHolder holder(kHolderLimitSeconds);
    ASSERT_TRUE(holder.Holding());
    RunLoggingWriter();
    EXPECT_EQ(WriterLockMessages(), std::vector<std::string>{"wirte-timeout failed"});
    for (const LogLine& line : ParseLog(ReadFile(m_logDir.File("writer.log")))) {
        if (line.message == "wirte-timeout failed") {
            EXPECT_EQ(line.line, SourceLine(kLockSource, "\"wirte-timeout failed\""));
        }
    }
}

TEST_F(JobInfoWriters, LockHeldPastFiveSecondsLeavesTheFileUnchanged)
{
    JobInfoLockHolder holder(kHolderLimitSeconds);
    ASSERT_TRUE(holder.Holding());
    RunLoggingWriter();
    holder.Release();
    EXPECT_EQ(ReadFile(kJobInfoPath), kOtherJobRecord);
}

TEST_F(JobInfoWriters, FreeLockLetsTheWriterStoreItsRecord)
{
    EXPECT_EQ(RunLoggingWriter(), kAllWritten);
    EXPECT_EQ(ReadFile(kJobInfoPath), Record(7, 1));
    EXPECT_EQ(WriterLockMessages(), std::vector<std::string>{"Successfully wrote"});
}
