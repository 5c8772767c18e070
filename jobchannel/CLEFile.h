// Client side of the RFID exchange: recognises an RFID job by its title and
// asks the companion service, over a System V message queue, for the job's data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class CLEFile {
public:
    // Texts of the exchange; the companion service sends and expects exactly
    // these bytes (the misspelt error reply included).
    static constexpr char LE_RFID_FLAG[] = "RFID";
    static constexpr char GET_SIGN[] = "GET/";
    static constexpr char REMOVE_SIGN[] = "REMOVE/";
    static constexpr char MSG_OK[] = "MSG_OK/";
    static constexpr char MSG_ERROR[] = "MSG_ERRIR/";

    // Queue key and message types agreed with the companion service, which
    // creates the queue; this side only opens it.
    static constexpr int kQueueKey = 0x12345678;
    static constexpr int kQueuePermissions = 0666;
    static constexpr long kRequestType = 123;
    static constexpr long kReplyType = 456;

    // Largest reply text taken from the queue.
    static constexpr std::size_t kReplyCapacity = 2048;
    // The service gets about one second to answer a request.
    static constexpr int kReplyAttempts = 10;
    static constexpr int kReplyIntervalMs = 100;

    // Keeps the job title; the queue is opened later by InitMsgQueue.
    explicit CLEFile(std::string jobName);

    // Returns true when the title is "RFID_" followed by a file name; logs why not
    // when the title has an '_' but is not such a name.
    bool CheckRFIDTask();

    // True after CheckRFIDTask found an RFID job; false before any check.
    bool isRFIDJob() const { return m_bRFIDJob; }

    // Returns true when the service's queue exists and could be opened; never
    // creates the queue.
    bool InitMsgQueue();

    // Remembers `index` as the record index and asks for the job's data; returns
    // false when no reply came or the service answered "MSG_ERRIR/".
    bool GetLERFIDData(std::string& reply, int index);

    // Asks the service to remove the job's data file; true only when it answered
    // exactly "MSG_OK/".
    bool RemoveRFIDFile();

    // Sends `sign` + job name + "/" + record index + "/" and waits for the reply;
    // returns the result of RecvMsgWithTimeout, false when the send fails.
    bool SendAndRecvMsgQueue(std::string& reply, const std::string& sign);

    // Polls for a reply up to `attempts` times, `intervalMs` apart; on success
    // `reply` holds exactly the received bytes (zero bytes included). Returns
    // false when nothing arrived or the reply is "MSG_ERRIR/".
    bool RecvMsgWithTimeout(std::string& reply, int attempts, int intervalMs);

private:
    // Sends the request text as one message of the request type, without a
    // terminating zero, waiting for room in the queue; returns 0 or the system
    // error number of the failed send.
    int sendRequest(const std::string& request) const;

    std::string m_strJobName;
    bool m_bRFIDJob;
    int32_t m_nMsgId;
    int32_t m_nRecordIndex;
};
