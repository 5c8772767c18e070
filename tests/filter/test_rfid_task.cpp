// Facts about the RFID step of the job loop: which jobs are RFID jobs, how
// the repeat index is kept in the job information file, and what reaches
// standard output.
#include <gtest/gtest.h>

#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "StreamCapture.h"
#include "TestFiles.h"
#include "rastokivepl.h"

using namespace kvtest;

namespace {

const char* const kJobInfoPath = "/tmp/TASK_INFO.lock";
constexpr key_t kQueueKey = 0x12345678;
constexpr long kRequestType = 123;
constexpr long kReplyType = 456;
constexpr size_t kTextMax = 2048;

struct Message {
    long type;
    char text[kTextMax];
};

// Plays the companion service: owns the queue while it lives.
class FakeService {
public:
    FakeService() : m_id(msgget(kQueueKey, IPC_CREAT | 0666)) {}
    ~FakeService() { msgctl(m_id, IPC_RMID, nullptr); }
    // Posts the reply the next request will find.
    void PostReply(const std::string& text)
    {
        Message m{kReplyType, {}};
        memcpy(m.text, text.data(), text.size());
        msgsnd(m_id, &m, text.size(), 0);
    }
    // The request the filter sent, or "" when none.
    std::string TakeRequest()
    {
        Message m{};
        ssize_t n = msgrcv(m_id, &m, kTextMax, kRequestType, IPC_NOWAIT);
        return n > 0 ? std::string(m.text, static_cast<size_t>(n)) : std::string();
    }

private:
    int m_id;
};

// Saves the job information file and the queue state, and puts the file
// back afterwards.
class RfidTask : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_hadFile = FileExists(kJobInfoPath);
        if (m_hadFile)
            m_saved = ReadFile(kJobInfoPath);
        remove(kJobInfoPath);
        int stale = msgget(kQueueKey, 0666);
        if (stale >= 0)
            msgctl(stale, IPC_RMID, nullptr);
    }
    void TearDown() override
    {
        remove(kJobInfoPath);
        if (m_hadFile)
            WriteFile(kJobInfoPath, m_saved);
    }

    // Runs the RFID step with standard output captured.
    int Run(const char* title, int jobId)
    {
        StdoutCapture capture;
        int result = LERFIDJobTask(title, jobId);
        m_out = capture.Take();
        return result;
    }

    std::string m_out;
    bool m_hadFile = false;
    std::string m_saved;
};

}  // namespace

TEST_F(RfidTask, TitleWithoutRfidPrefixIsNoRfidJobAndTouchesNeitherQueueNorFile)
{
    FakeService service;
    EXPECT_EQ(Run("label", 42), 0);
    EXPECT_EQ(service.TakeRequest(), "");
    EXPECT_FALSE(FileExists(kJobInfoPath));
    EXPECT_EQ(m_out, "");
}

TEST_F(RfidTask, SameJobAgainAsksForTheNextIndexAndStoresIt)
{
    WriteFile(kJobInfoPath, "JOB_ID = 42\nJOB_IDX = 3\n");
    FakeService service;
    service.PostReply("RFIDDATA");
    EXPECT_EQ(Run("RFID_tag01", 42), 2);
    EXPECT_EQ(service.TakeRequest(), "GET/RFID_tag01/4/");
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 42\nJOB_IDX = 4\n");
    EXPECT_EQ(m_out, "RFIDDATA");
}

TEST_F(RfidTask, AnotherJobStartsAtIndexZero)
{
    WriteFile(kJobInfoPath, "JOB_ID = 42\nJOB_IDX = 3\n");
    FakeService service;
    service.PostReply("X");
    EXPECT_EQ(Run("RFID_tag01", 43), 2);
    EXPECT_EQ(service.TakeRequest(), "GET/RFID_tag01/0/");
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 43\nJOB_IDX = 0\n");
}

TEST_F(RfidTask, TwoRunsOfOneJobGetIndexesZeroAndOne)
{
    WriteFile(kJobInfoPath, "JOB_ID = 1\nJOB_IDX = 0\n");
    FakeService service;
    service.PostReply("A");
    Run("RFID_x", 7);
    service.PostReply("B");
    Run("RFID_x", 7);
    EXPECT_EQ(service.TakeRequest(), "GET/RFID_x/0/");
    EXPECT_EQ(service.TakeRequest(), "GET/RFID_x/1/");
}

TEST_F(RfidTask, ReplyBytesReachStandardOutputUnchanged)
{
    WriteFile(kJobInfoPath, "JOB_ID = 1\nJOB_IDX = 0\n");
    FakeService service;
    std::string data("RF\0ID\r\n", 7);
    service.PostReply(data);
    EXPECT_EQ(Run("RFID_x", 2), 2);
    EXPECT_EQ(m_out, data);
}

TEST_F(RfidTask, MissingServiceQueueStopsTheJobAndLeavesTheFileUntouched)
{
    WriteFile(kJobInfoPath, "JOB_ID = 42\nJOB_IDX = 3\n");
    EXPECT_EQ(Run("RFID_tag01", 42), 1);
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 42\nJOB_IDX = 3\n");
    EXPECT_EQ(m_out, "");
}

TEST_F(RfidTask, EmptyJobInformationFileStopsTheJobAndStaysEmpty)
{
    WriteFile(kJobInfoPath, "");
    FakeService service;
    EXPECT_EQ(Run("RFID_tag01", 42), 1);
    EXPECT_EQ(service.TakeRequest(), "");
    EXPECT_EQ(ReadFile(kJobInfoPath), "");
}

TEST_F(RfidTask, ErrorReplyStopsTheJobWithNothingWritten)
{
    WriteFile(kJobInfoPath, "JOB_ID = 1\nJOB_IDX = 0\n");
    FakeService service;
    service.PostReply("MSG_ERRIR/");
    EXPECT_EQ(Run("RFID_tag01", 42), 1);
    EXPECT_EQ(m_out, "");
}

TEST_F(RfidTask, TaskInfoDerivesTheIndexFromTheStoredRecord)
{
    WriteFile(kJobInfoPath, "JOB_ID = 9\nJOB_IDX = 5\n");
    int index = -1;
    EXPECT_TRUE(TaskInfo(9, index));
    EXPECT_EQ(index, 6);
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 9\nJOB_IDX = 6\n");
}

TEST_F(RfidTask, TaskInfoFailsOnAnUnparsableRecordAndWritesNothing)
{
    WriteFile(kJobInfoPath, "JOB_ID = 9\n");
    int index = -1;
    EXPECT_FALSE(TaskInfo(9, index));
    EXPECT_EQ(index, -1);
    EXPECT_EQ(ReadFile(kJobInfoPath), "JOB_ID = 9\n");
}
