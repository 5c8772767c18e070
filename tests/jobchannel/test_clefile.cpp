// Tests of the RFID message-queue client: job recognition by title, opening the
// service's queue and the request/reply exchange, with the test process playing
// the companion service on the real queue key.
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/types.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "CLEFile.h"
#include "LogCapture.h"

using kvtest::LogCapture;

namespace {

// The values the companion service uses; written out so that a change on the
// client side is caught here.
constexpr key_t kServiceKey = 0x12345678;
constexpr long kRequestType = 123;
constexpr long kReplyType = 456;
// A message type that belongs to neither side of the exchange.
constexpr long kForeignType = 789;
constexpr std::size_t kLargestReply = 2048;
constexpr char kSource[] = "CLEFile.cpp";

// Linux error numbers as the client logs them.
constexpr char kNoQueueError[] = "2";        // ENOENT
constexpr char kTooBigError[] = "7";         // E2BIG
constexpr char kInvalidQueueError[] = "22";  // EINVAL
constexpr char kNoMessageError[] = "42";     // ENOMSG

// Room for any request a test sends; the real requests are short.
constexpr std::size_t kRequestRoom = 4096;

// Removes a queue left behind under the service's key, if any.
void removeServiceQueue()
{
    const int id = msgget(kServiceKey, 0);
    if (id >= 0) {
        msgctl(id, IPC_RMID, nullptr);
    }
}

// Plays the companion service: owns a fresh queue under the service's key,
// posts replies and takes the client's requests. The queue is removed at the
// end of the test, which also wakes a helper thread still waiting on it.
class FakeRfidService {
public:
    FakeRfidService()
    {
        removeServiceQueue();
        m_id = msgget(kServiceKey, IPC_CREAT | IPC_EXCL | 0666);
        EXPECT_GE(m_id, 0) << "cannot create the service queue";
    }

    ~FakeRfidService()
    {
        msgctl(m_id, IPC_RMID, nullptr);
        if (m_answerer.joinable()) {
            m_answerer.join();
        }
    }

    int id() const { return m_id; }

    // Posts `bytes` as one message of `type` (the reply type by default).
    void post(const std::string& bytes, long type = kReplyType)
    {
        std::vector<char> message(sizeof(long) + bytes.size());
        std::memcpy(message.data(), &type, sizeof(type));
        std::memcpy(message.data() + sizeof(long), bytes.data(), bytes.size());
        ASSERT_EQ(0, msgsnd(m_id, message.data(), bytes.size(), IPC_NOWAIT));
    }

    // Returns the requests waiting in the queue, oldest first, byte for byte.
    std::vector<std::string> takeRequests()
    {
        std::vector<std::string> requests;
        std::string text;
        while (receive(IPC_NOWAIT, text)) {
            requests.push_back(text);
        }
        return requests;
    }

    // Answers the next request with `bytes` from a helper thread, the way the
    // real service does: the reply is only posted once the request came in.
    void answerNextRequestWith(const std::string& bytes)
    {
        m_answerer = std::thread([this, bytes] {
            std::string request;
            if (receive(0, request)) {
                post(bytes);
            }
        });
    }

private:
    // Takes one request message; false when none could be taken.
    bool receive(int flags, std::string& text)
    {
        struct {
            long mtype;
            char mtext[kRequestRoom];
        } message;
        const ssize_t length = msgrcv(m_id, &message, sizeof(message.mtext), kRequestType, flags);
        if (length < 0) {
            return false;
        }
        text.assign(message.mtext, static_cast<std::size_t>(length));
        return true;
    }

    int m_id = -1;
    std::thread m_answerer;
};

// Expected log lines of a receive that never got a reply: attempts counted
// down to 1, each with the system error.
std::vector<std::string> failedAttempts(int attempts, const std::string& error)
{
    std::vector<std::string> lines;
    for (int left = attempts; left > 0; --left) {
        lines.push_back("msgrcv(" + std::to_string(left) + ") failed, error: " + error);
    }
    return lines;
}

class RfidJobName : public ::testing::Test {
protected:
    void SetUp() override { LogCapture::Instance().Mark(); }
    std::vector<std::string> logged() const { return LogCapture::Instance().DebugMessagesFrom(kSource); }
};

class RfidQueue : public RfidJobName {};

using Lines = std::vector<std::string>;

// ---- recognising an RFID job by its title ----

TEST_F(RfidJobName, RfidPrefixFollowedByFileNameIsRfidJob)
{
    CLEFile job("RFID_tag01");
    EXPECT_TRUE(job.CheckRFIDTask());
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(RfidJobName, RfidJobFlagIsOffUntilChecked)
{
    CLEFile job("RFID_tag01");
    EXPECT_FALSE(job.isRFIDJob());
}

TEST_F(RfidJobName, SuccessfulCheckSetsTheRfidJobFlag)
{
    CLEFile job("RFID_tag01");
    job.CheckRFIDTask();
    EXPECT_TRUE(job.isRFIDJob());
}

TEST_F(RfidJobName, FailedCheckLeavesTheRfidJobFlagOff)
{
    CLEFile job("RFID_");
    job.CheckRFIDTask();
    EXPECT_FALSE(job.isRFIDJob());
}

TEST_F(RfidJobName, TitleWithoutUnderscoreIsNotRfidJob)
{
    CLEFile job("RFID");
    EXPECT_FALSE(job.CheckRFIDTask());
}

TEST_F(RfidJobName, TitleWithoutUnderscoreLogsNothing)
{
    CLEFile job("RFID");
    job.CheckRFIDTask();
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(RfidJobName, EmptyTitleIsNotRfidJobAndLogsNothing)
{
    CLEFile job("");
    EXPECT_FALSE(job.CheckRFIDTask());
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(RfidJobName, RfidPrefixWithoutFileNameIsNotRfidJob)
{
    CLEFile job("RFID_");
    EXPECT_FALSE(job.CheckRFIDTask());
}

TEST_F(RfidJobName, RfidPrefixWithoutFileNameLogsNoFoundWithWholeTitle)
{
    CLEFile job("RFID_");
    job.CheckRFIDTask();
    EXPECT_EQ(Lines{"no found the le file name from the job name: RFID_"}, logged());
}

TEST_F(RfidJobName, LowerCasePrefixIsNotRfidJob)
{
    CLEFile job("rfid_x");
    EXPECT_FALSE(job.CheckRFIDTask());
}

TEST_F(RfidJobName, LowerCasePrefixLogsNotALeRfidJobWithThePrefix)
{
    CLEFile job("rfid_x");
    job.CheckRFIDTask();
    EXPECT_EQ(Lines{"not a le rfid job, the name is: rfid"}, logged());
}

TEST_F(RfidJobName, OnlyTheFirstUnderscoreEndsThePrefix)
{
    CLEFile job("tag_RFID_x");
    EXPECT_FALSE(job.CheckRFIDTask());
    EXPECT_EQ(Lines{"not a le rfid job, the name is: tag"}, logged());
}

TEST_F(RfidJobName, FileNameMayContainFurtherUnderscores)
{
    CLEFile job("RFID_tag_01");
    EXPECT_TRUE(job.CheckRFIDTask());
}

TEST_F(RfidJobName, LeadingUnderscoreLogsEmptyPrefix)
{
    CLEFile job("_RFID");
    EXPECT_FALSE(job.CheckRFIDTask());
    EXPECT_EQ(Lines{"not a le rfid job, the name is: "}, logged());
}

// ---- opening the service's queue ----

TEST_F(RfidQueue, InitFailsWhenServiceQueueIsMissing)
{
    removeServiceQueue();
    CLEFile job("RFID_tag01");
    EXPECT_FALSE(job.InitMsgQueue());
}

TEST_F(RfidQueue, InitFailureLogsMsggetErrorNumber)
{
    removeServiceQueue();
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    EXPECT_EQ(Lines{std::string("msgget failed, error num: ") + kNoQueueError}, logged());
}

TEST_F(RfidQueue, InitNeverCreatesTheQueue)
{
    removeServiceQueue();
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    EXPECT_EQ(-1, msgget(kServiceKey, 0));
}

TEST_F(RfidQueue, InitOpensExistingServiceQueue)
{
    FakeRfidService service;
    CLEFile job("RFID_tag01");
    EXPECT_TRUE(job.InitMsgQueue());
}

TEST_F(RfidQueue, InitLogsTheQueueHandle)
{
    FakeRfidService service;
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    EXPECT_EQ(Lines{"message handle value: " + std::to_string(service.id())}, logged());
}

// ---- requests as the service receives them ----

TEST_F(RfidQueue, DataRequestReachesServiceAsGetJobNameIndex)
{
    FakeRfidService service;
    service.post("data");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    job.GetLERFIDData(reply, 2);
    EXPECT_EQ(Lines{"GET/RFID_tag01/2/"}, service.takeRequests());
}

TEST_F(RfidQueue, RemovalRequestReachesServiceAsRemoveJobNameIndex)
{
    FakeRfidService service;
    service.post("data");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    job.GetLERFIDData(reply, 2);
    service.takeRequests();
    service.post("MSG_OK/");
    job.RemoveRFIDFile();
    EXPECT_EQ(Lines{"REMOVE/RFID_tag01/2/"}, service.takeRequests());
}

TEST_F(RfidQueue, RemovalBeforeAnyDataRequestCarriesIndexZero)
{
    FakeRfidService service;
    service.post("MSG_OK/");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    job.RemoveRFIDFile();
    EXPECT_EQ(Lines{"REMOVE/RFID_tag01/0/"}, service.takeRequests());
}

TEST_F(RfidQueue, RequestIsLoggedAsSendMsg)
{
    FakeRfidService service;
    service.post("data");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    LogCapture::Instance().Mark();
    std::string reply;
    job.GetLERFIDData(reply, 2);
    EXPECT_EQ(Lines{"SendMsg: GET/RFID_tag01/2/"}, logged());
}

TEST_F(RfidQueue, SendWithoutOpenQueueFails)
{
    CLEFile job("RFID_tag01");
    std::string reply;
    EXPECT_FALSE(job.GetLERFIDData(reply, 2));
}

TEST_F(RfidQueue, SendWithoutOpenQueueLogsMsgsndError)
{
    CLEFile job("RFID_tag01");
    std::string reply;
    job.GetLERFIDData(reply, 2);
    EXPECT_EQ((Lines{"SendMsg: GET/RFID_tag01/2/", std::string("msgsnd failed, error: ") + kInvalidQueueError}),
              logged());
}

// ---- replies ----

TEST_F(RfidQueue, DataReplyIsReturned)
{
    FakeRfidService service;
    service.post("tag data 01");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    EXPECT_TRUE(job.GetLERFIDData(reply, 2));
    EXPECT_EQ("tag data 01", reply);
}

TEST_F(RfidQueue, ReplyBytesWithEmbeddedZerosAreKept)
{
    const std::string data("\x01\x00"
                           "AB\x00\xff",
                           6);
    FakeRfidService service;
    service.post(data);
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    job.GetLERFIDData(reply, 2);
    EXPECT_EQ(data, reply);
}

TEST_F(RfidQueue, ReplyReplacesEarlierContentOfTheString)
{
    FakeRfidService service;
    service.post("ab");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply = "earlier and longer content";
    job.GetLERFIDData(reply, 2);
    EXPECT_EQ("ab", reply);
}

TEST_F(RfidQueue, ReplyOfFullCapacityIsReceivedWhole)
{
    const std::string data(kLargestReply, 'Z');
    FakeRfidService service;
    service.post(data);
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    EXPECT_TRUE(job.GetLERFIDData(reply, 2));
    EXPECT_EQ(data, reply);
}

TEST_F(RfidQueue, ReplyLongerThanCapacityIsRefusedOnEveryAttempt)
{
    FakeRfidService service;
    service.post(std::string(kLargestReply + 1, 'Z'));
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    LogCapture::Instance().Mark();
    std::string reply;
    EXPECT_FALSE(job.GetLERFIDData(reply, 2));
    Lines expected{"SendMsg: GET/RFID_tag01/2/"};
    const Lines attempts = failedAttempts(10, kTooBigError);
    expected.insert(expected.end(), attempts.begin(), attempts.end());
    EXPECT_EQ(expected, logged());
}

TEST_F(RfidQueue, ReplyArrivingAfterTheRequestIsReceived)
{
    FakeRfidService service;
    service.answerNextRequestWith("late data");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    EXPECT_TRUE(job.GetLERFIDData(reply, 2));
    EXPECT_EQ("late data", reply);
}

TEST_F(RfidQueue, MessagesOfOtherTypesAreNotTakenAsReply)
{
    FakeRfidService service;
    service.post("not for us", kForeignType);
    service.post("data");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    job.GetLERFIDData(reply, 2);
    EXPECT_EQ("data", reply);
}

TEST_F(RfidQueue, ErrorReplyFailsDataRequest)
{
    FakeRfidService service;
    service.post("MSG_ERRIR/");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    EXPECT_FALSE(job.GetLERFIDData(reply, 2));
}

TEST_F(RfidQueue, NoReplyFailsDataRequest)
{
    FakeRfidService service;
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    std::string reply;
    EXPECT_FALSE(job.GetLERFIDData(reply, 2));
}

TEST_F(RfidQueue, NoReplyLogsTenAttemptsCountingDown)
{
    FakeRfidService service;
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    LogCapture::Instance().Mark();
    std::string reply;
    job.GetLERFIDData(reply, 2);
    Lines expected{"SendMsg: GET/RFID_tag01/2/"};
    const Lines attempts = failedAttempts(10, kNoMessageError);
    expected.insert(expected.end(), attempts.begin(), attempts.end());
    EXPECT_EQ(expected, logged());
}

TEST_F(RfidQueue, RemovalSucceedsOnMsgOk)
{
    FakeRfidService service;
    service.post("MSG_OK/");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    EXPECT_TRUE(job.RemoveRFIDFile());
}

TEST_F(RfidQueue, RemovalFailsOnErrorReply)
{
    FakeRfidService service;
    service.post("MSG_ERRIR/");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    EXPECT_FALSE(job.RemoveRFIDFile());
}

TEST_F(RfidQueue, RemovalFailsOnAnyOtherReply)
{
    FakeRfidService service;
    service.post("MSG_OK");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    EXPECT_FALSE(job.RemoveRFIDFile());
}

TEST_F(RfidQueue, RemovalFailsOnMsgOkWithTrailingBytes)
{
    FakeRfidService service;
    service.post("MSG_OK/x");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    EXPECT_FALSE(job.RemoveRFIDFile());
}

// ---- receiving with a given number of attempts ----

TEST_F(RfidQueue, ZeroAttemptsFailWithoutReceivingOrLogging)
{
    FakeRfidService service;
    service.post("data");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    LogCapture::Instance().Mark();
    std::string reply = "before";
    EXPECT_FALSE(job.RecvMsgWithTimeout(reply, 0, 100));
    EXPECT_EQ("before", reply);
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(RfidQueue, NegativeAttemptsFailWithoutLogging)
{
    FakeRfidService service;
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    LogCapture::Instance().Mark();
    std::string reply;
    EXPECT_FALSE(job.RecvMsgWithTimeout(reply, -3, 100));
    EXPECT_EQ(Lines{}, logged());
}

TEST_F(RfidQueue, FailedAttemptsAreLoggedCountingDownFromTheGivenNumber)
{
    FakeRfidService service;
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    LogCapture::Instance().Mark();
    std::string reply;
    EXPECT_FALSE(job.RecvMsgWithTimeout(reply, 3, 1));
    EXPECT_EQ(failedAttempts(3, kNoMessageError), logged());
}

TEST_F(RfidQueue, EmptyReplyMessageCountsAsFailedAttemptWithErrorZero)
{
    FakeRfidService service;
    service.post("");
    service.post("data");
    CLEFile job("RFID_tag01");
    job.InitMsgQueue();
    LogCapture::Instance().Mark();
    std::string reply;
    EXPECT_TRUE(job.RecvMsgWithTimeout(reply, 2, 1));
    EXPECT_EQ("data", reply);
    EXPECT_EQ(Lines{"msgrcv(2) failed, error: 0"}, logged());
}

TEST_F(RfidQueue, ReceiveWithoutOpenQueueLogsInvalidQueue)
{
    CLEFile job("RFID_tag01");
    std::string reply;
    EXPECT_FALSE(job.RecvMsgWithTimeout(reply, 1, 1));
    EXPECT_EQ(Lines{std::string("msgrcv(1) failed, error: ") + kInvalidQueueError}, logged());
}

}  // namespace
