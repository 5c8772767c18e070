// RFID exchange with the companion service: job recognition, queue opening and
// the request/reply round trip over the System V message queue.
#include "CLEFile.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/types.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

#include "log4z.h"

// The logging call itself may change errno, so every failure path copies the
// number into a local before logging it.

namespace {

// Layout the kernel expects for a reply: the type, then the text area.
struct ReplyMessage {
    long mtype;
    char mtext[CLEFile::kReplyCapacity];
};

// Separates the "RFID" marker from the data file's name in a job title.
constexpr char kNameSeparator = '_';

// Separates the fields of a request text.
constexpr char kFieldEnd[] = "/";

// Waits `ms` milliseconds; a negative wait is no wait.
void sleepMs(int ms)
{
    if (ms > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    }
}

}  // namespace

CLEFile::CLEFile(std::string jobName)
        : m_strJobName(std::move(jobName)), m_bRFIDJob(false), m_nMsgId(-1), m_nRecordIndex(0)
{
}

bool CLEFile::CheckRFIDTask()
{
    m_bRFIDJob = false;
    const std::string::size_type separator = m_strJobName.find(kNameSeparator);
    if (separator == std::string::npos) {
        // Ordinary titles are the common case and are not worth a log line.
        return false;
    }
    const std::string prefix = m_strJobName.substr(0, separator);
    if (prefix != LE_RFID_FLAG) {
        LOGFMTD("not a le rfid job, the name is: %s", prefix.c_str());
        return false;
    }
    if (separator + 1 == m_strJobName.size()) {
        LOGFMTD("no found the le file name from the job name: %s", m_strJobName.c_str());
        return false;
    }
    m_bRFIDJob = true;
    return true;
}

bool CLEFile::InitMsgQueue()
{
    m_nMsgId = msgget(static_cast<key_t>(kQueueKey), kQueuePermissions);
    if (m_nMsgId < 0) {
        const int error = errno;
        LOGFMTD("msgget failed, error num: %d", error);
        return false;
    }
    LOGFMTD("message handle value: %d", m_nMsgId);
    return true;
}

bool CLEFile::GetLERFIDData(std::string& reply, int index)
{
    m_nRecordIndex = index;
    return SendAndRecvMsgQueue(reply, GET_SIGN);
}

bool CLEFile::RemoveRFIDFile()
{
    std::string reply;
    if (!SendAndRecvMsgQueue(reply, REMOVE_SIGN)) {
        return false;
    }
    return reply == MSG_OK;
}

bool CLEFile::SendAndRecvMsgQueue(std::string& reply, const std::string& sign)
{
    const std::string request = sign + m_strJobName + kFieldEnd + std::to_string(m_nRecordIndex) + kFieldEnd;
    LOGFMTD("SendMsg: %s", request.c_str());
    const int error = sendRequest(request);
    if (error != 0) {
        LOGFMTD("msgsnd failed, error: %d", error);
        return false;
    }
    return RecvMsgWithTimeout(reply, kReplyAttempts, kReplyIntervalMs);
}

int CLEFile::sendRequest(const std::string& request) const
{
    // The kernel reads a long type followed by the text; the text may be longer
    // than a fixed area, so the message is built in a buffer of its exact size.
    const long type = kRequestType;
    std::vector<char> message(sizeof(type) + request.size());
    std::memcpy(message.data(), &type, sizeof(type));
    std::memcpy(message.data() + sizeof(type), request.data(), request.size());
    if (msgsnd(m_nMsgId, message.data(), request.size(), 0) != 0) {
        return errno;
    }
    return 0;
}

bool CLEFile::RecvMsgWithTimeout(std::string& reply, int attempts, int intervalMs)
{
    if (attempts == 0) {
        return false;
    }
    ReplyMessage message;
    ssize_t received = 0;
    for (int left = attempts; left > 0; --left) {
        std::memset(&message, 0, sizeof(message));
        // An empty message returns 0 without touching errno; clearing it first
        // keeps the logged number from describing an older failure.
        errno = 0;
        received = msgrcv(m_nMsgId, &message, sizeof(message.mtext), kReplyType, IPC_NOWAIT);
        const int error = errno;
        if (received > 0) {
            break;
        }
        LOGFMTD("msgrcv(%d) failed, error: %d", left, error);
        sleepMs(intervalMs);
    }
    if (received <= 0) {
        return false;
    }
    reply.assign(message.mtext, static_cast<std::size_t>(received));
    return reply != MSG_ERROR;
}
