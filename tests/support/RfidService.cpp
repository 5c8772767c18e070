// The RFID service stand-in as a child process, and its queue.
#include "RfidService.h"

#include <signal.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>

#include "TestFiles.h"

namespace kvtest {

namespace {

// What the service writes once its queue exists.
constexpr char kReadyLine[] = "ready";
constexpr char kRequestLog[] = "requests.log";

// The service's command line for `options`, logging to `logPath`.
std::vector<std::string> ServiceArgs(const RfidServiceOptions& options, const std::string& logPath)
{
    std::vector<std::string> args{"--log", logPath, "--get", options.get, "--remove", options.remove};
    if (options.failAfter >= 0) {
        args.push_back("--fail-after");
        args.push_back(std::to_string(options.failAfter));
    }
    if (!options.reply.empty()) {
        args.push_back("--reply");
        args.push_back(options.reply);
    }
    return args;
}

}  // namespace

RfidService::RfidService(const std::string& binary, const RfidServiceOptions& options)
        : m_process(new Subprocess(binary, ServiceArgs(options, m_dir.File(kRequestLog)), true))
{
    m_ready = m_process->ReadLine() == kReadyLine;
}

RfidService::~RfidService()
{
    Stop();
}

int RfidService::Stop()
{
    if (!m_stopped) {
        m_process->Signal(SIGTERM);
        m_status = m_process->Wait();
        m_stopped = true;
    }
    return m_status;
}

std::vector<std::string> RfidService::Requests() const
{
    std::vector<std::string> requests;
    std::string text = ReadFile(m_dir.File(kRequestLog));
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        requests.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return requests;
}

bool RfidQueueExists()
{
    return msgget(kRfidQueueKey, 0) >= 0;
}

bool RemoveRfidQueue()
{
    int id = msgget(kRfidQueueKey, 0);
    if (id >= 0)
        msgctl(id, IPC_RMID, nullptr);
    return !RfidQueueExists();
}

}  // namespace kvtest
