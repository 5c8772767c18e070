// Stand-in for the companion RFID service, for tests: it owns the message
// queue the filter asks for RFID data, answers every request from the command
// line's settings, records each request it received, and removes its queue
// when it is told to stop.
//
// Usage: kv-fake-rfid-service --log PATH [--reply TEMPLATE]
//                             [--get ok|error|silent] [--remove ok|error]
//                             [--fail-after COUNT]
//
//   --log PATH       every request is appended to PATH as its text plus "\n"
//   --reply TEMPLATE data sent for a "GET/<name>/<index>/" request; "%n" is
//                    the name, "%i" the index, "%%" a percent sign, and
//                    "\0", "\r", "\n", "\\" stand for those bytes
//   --get MODE       ok: answer with the data; error: answer "MSG_ERRIR/";
//                    silent: never answer
//   --remove MODE    ok: answer "MSG_OK/"; error: answer "MSG_ERRIR/"
//   --fail-after N   with --get ok: only the first N data requests get their
//                    data, every later one is answered "MSG_ERRIR/"
//
// Once the queue exists the service writes "ready\n" to standard output and
// closes it. SIGTERM (or SIGINT) removes the queue and ends the service with
// status 0. Status 2: bad command line; 3: the queue could not be created
// (a queue under the key already exists, or the system refused).
#include <fcntl.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// The queue key and message types the filter's client uses.
constexpr key_t kQueueKey = 0x12345678;
constexpr int kQueuePermissions = 0666;
constexpr long kRequestType = 123;
constexpr long kReplyType = 456;

// The largest message the system takes by default (msgmax); longer requests
// are cut rather than left stuck in the queue.
constexpr size_t kRequestCapacity = 8192;

// Texts of the exchange, byte for byte as the client expects them.
constexpr char kGetSign[] = "GET/";
constexpr char kRemoveSign[] = "REMOVE/";
constexpr char kMsgOk[] = "MSG_OK/";
constexpr char kMsgError[] = "MSG_ERRIR/";
constexpr char kFieldEnd = '/';

// The data sent when no template is given: the request's name and index
// between zero bytes, ended like a printer command line.
constexpr char kDefaultTemplate[] = "RF\\0%n\\0%i\\0\\0\\r\\n";

constexpr char kReadyLine[] = "ready\n";

constexpr int kExitOk = 0;
constexpr int kExitUsage = 2;
constexpr int kExitNoQueue = 3;

enum class GetMode { Data, Error, Silent };

struct Settings {
    std::string logPath;
    std::string replyTemplate = kDefaultTemplate;
    GetMode get = GetMode::Data;
    bool removeOk = true;
    long dataAnswersLeft = -1;  // below 0: no limit
};

// The queue, for the signal handler; -1 until created.
volatile sig_atomic_t g_queueId = -1;
// Set by a stop signal, also by one that comes before the queue exists.
volatile sig_atomic_t g_stopRequested = 0;

// Removes the queue: a receive blocked on it then returns at once with EIDRM,
// which ends the main loop. Only a system call, so safe in a signal handler.
void StopOnSignal(int /*sig*/)
{
    g_stopRequested = 1;
    if (g_queueId >= 0)
        msgctl(g_queueId, IPC_RMID, nullptr);
}

// Returns the reply data for one request: the template with its escapes and
// the request's name and index put in.
std::string ExpandTemplate(const std::string& pattern, const std::string& name, const std::string& index)
{
    std::string out;
    for (size_t i = 0; i < pattern.size(); ++i) {
        char c = pattern[i];
        if (i + 1 == pattern.size() || (c != '\\' && c != '%')) {
            out.push_back(c);
            continue;
        }
        char next = pattern[++i];
        if (c == '%')
            out += next == 'n' ? name : next == 'i' ? index : std::string(1, next);
        else
            out.push_back(next == '0' ? '\0' : next == 'r' ? '\r' : next == 'n' ? '\n' : next);
    }
    return out;
}

// Splits "<name>/<index>/" (what follows the sign) at its last inner '/';
// a text without that shape is all name and no index.
void SplitNameAndIndex(const std::string& rest, std::string& name, std::string& index)
{
    std::string body = rest;
    if (!body.empty() && body.back() == kFieldEnd)
        body.pop_back();
    size_t slash = body.rfind(kFieldEnd);
    if (slash == std::string::npos) {
        name = body;
        index.clear();
        return;
    }
    name = body.substr(0, slash);
    index = body.substr(slash + 1);
}

// Returns true when `text` starts with `sign`.
bool StartsWith(const std::string& text, const char* sign)
{
    return text.compare(0, strlen(sign), sign) == 0;
}

// Decides the answer to one request; false when the service stays silent.
// Counts the data answers against the --fail-after limit.
bool AnswerFor(Settings& settings, const std::string& request, std::string& answer)
{
    if (StartsWith(request, kGetSign)) {
        if (settings.get == GetMode::Silent)
            return false;
        if (settings.get == GetMode::Error || settings.dataAnswersLeft == 0) {
            answer = kMsgError;
            return true;
        }
        if (settings.dataAnswersLeft > 0)
            --settings.dataAnswersLeft;
        std::string name;
        std::string index;
        SplitNameAndIndex(request.substr(strlen(kGetSign)), name, index);
        answer = ExpandTemplate(settings.replyTemplate, name, index);
        return true;
    }
    if (StartsWith(request, kRemoveSign)) {
        answer = settings.removeOk ? kMsgOk : kMsgError;
        return true;
    }
    answer = kMsgError;
    return true;
}

// Sends `text` as one reply message; false when the queue refused it.
bool SendReply(int queue, const std::string& text)
{
    std::vector<char> message(sizeof(long) + text.size());
    const long type = kReplyType;
    memcpy(message.data(), &type, sizeof(type));
    memcpy(message.data() + sizeof(type), text.data(), text.size());
    return msgsnd(queue, message.data(), text.size(), 0) == 0;
}

// Appends the request and a line feed with one write, so a reader never sees
// half a line.
void RecordRequest(int logFd, const std::string& request)
{
    std::string line = request + "\n";
    ssize_t ignored = write(logFd, line.data(), line.size());
    (void)ignored;
}

// Reads a count of zero or more; false when `text` is not one.
bool ParseCount(const std::string& text, long& count)
{
    char* end = nullptr;
    count = strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && count >= 0;
}

// Reads the command line into `settings`; false on anything unknown.
bool ParseArguments(int argc, char* argv[], Settings& settings)
{
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string option = argv[i];
        std::string value = argv[i + 1];
        if (option == "--log")
            settings.logPath = value;
        else if (option == "--reply")
            settings.replyTemplate = value;
        else if (option == "--get" && (value == "ok" || value == "error" || value == "silent"))
            settings.get = value == "ok" ? GetMode::Data : value == "error" ? GetMode::Error : GetMode::Silent;
        else if (option == "--remove" && (value == "ok" || value == "error"))
            settings.removeOk = value == "ok";
        else if (option != "--fail-after" || !ParseCount(value, settings.dataAnswersLeft))
            return false;
    }
    return argc % 2 == 1 && !settings.logPath.empty();
}

// Installs StopOnSignal for SIGTERM and SIGINT, without restarting system
// calls, so the blocked receive is not resumed.
void InstallStopHandler()
{
    struct sigaction action;
    memset(&action, 0, sizeof(action));
    sigemptyset(&action.sa_mask);
    action.sa_handler = StopOnSignal;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

// Serves requests until the queue is removed; returns the exit status.
int Serve(Settings& settings, int queue, int logFd)
{
    struct Request {
        long type;
        char text[kRequestCapacity];
    };
    static Request request;
    for (;;) {
        ssize_t length = msgrcv(queue, &request, sizeof(request.text), kRequestType, MSG_NOERROR);
        if (length < 0) {
            if (errno == EINTR)
                continue;
            break;  // EIDRM: the queue was removed, the service is done
        }
        std::string text(request.text, static_cast<size_t>(length));
        RecordRequest(logFd, text);
        std::string answer;
        if (AnswerFor(settings, text, answer))
            SendReply(queue, answer);
    }
    return kExitOk;
}

}  // namespace

int main(int argc, char* argv[])
{
    Settings settings;
    if (!ParseArguments(argc, argv, settings)) {
        fputs("usage: kv-fake-rfid-service --log PATH [--reply TEMPLATE] [--get ok|error|silent] "
              "[--remove ok|error] [--fail-after COUNT]\n",
              stderr);
        return kExitUsage;
    }
    int logFd = open(settings.logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
    if (logFd < 0) {
        perror("kv-fake-rfid-service: log");
        return kExitUsage;
    }
    InstallStopHandler();
    // A queue that is already there belongs to someone else; serving it could
    // answer with stale messages, so the service refuses to start.
    int queue = msgget(kQueueKey, IPC_CREAT | IPC_EXCL | kQueuePermissions);
    if (queue < 0) {
        perror("kv-fake-rfid-service: msgget");
        return kExitNoQueue;
    }
    g_queueId = queue;
    // A stop that came while the queue was being made found nothing to remove.
    if (g_stopRequested)
        msgctl(queue, IPC_RMID, nullptr);
    ssize_t ignored = write(STDOUT_FILENO, kReadyLine, strlen(kReadyLine));
    (void)ignored;
    close(STDOUT_FILENO);
    int status = Serve(settings, queue, logFd);
    msgctl(queue, IPC_RMID, nullptr);  // already gone after a signal; harmless
    close(logFd);
    return status;
}
