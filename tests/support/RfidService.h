// Runs the test stand-in for the companion RFID service (the program
// kv-fake-rfid-service) and reads back which requests it received; also
// looks after the service's message queue itself.
#ifndef KV_TESTS_RFIDSERVICE_H
#define KV_TESTS_RFIDSERVICE_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "Subprocess.h"
#include "TempDir.h"

namespace kvtest {

// The queue key the filter and the service agree on.
constexpr key_t kRfidQueueKey = 0x12345678;

// How the service answers; each field is one of its command-line options.
struct RfidServiceOptions {
    std::string reply;          // data template; empty keeps the service's own
    std::string get = "ok";     // "ok", "error" (answers "MSG_ERRIR/") or "silent"
    std::string remove = "ok";  // "ok" (answers "MSG_OK/") or "error"
    int failAfter = -1;         // data answers before every data request
                                // is answered "MSG_ERRIR/"; below 0: none
};

class RfidService {
public:
    // Starts `binary` and waits until it reports that its queue exists.
    explicit RfidService(const std::string& binary, const RfidServiceOptions& options = RfidServiceOptions());
    // Stops the service when it still runs.
    ~RfidService();
    RfidService(const RfidService&) = delete;
    RfidService& operator=(const RfidService&) = delete;

    // True when the service created its queue and is serving it.
    bool Ready() const { return m_ready; }
    // Sends SIGTERM, waits, and returns the service's exit status (0 when it
    // removed its queue and ended normally); later calls return the same.
    int Stop();
    // The requests received so far, oldest first, each as sent.
    std::vector<std::string> Requests() const;

private:
    TempDir m_dir;
    std::unique_ptr<Subprocess> m_process;
    bool m_ready = false;
    bool m_stopped = false;
    int m_status = -1;
};

// True when a queue exists under kRfidQueueKey.
bool RfidQueueExists();
// Removes the queue under kRfidQueueKey, if any; true when none is left.
bool RemoveRfidQueue();

}  // namespace kvtest

#endif
