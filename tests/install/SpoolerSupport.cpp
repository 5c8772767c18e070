// The staged installation and the private scheduler. The scheduler's
// folders are made readable for the unprivileged user it runs filters as,
// and its process is always stopped and reaped by the test that started it.
#include "SpoolerSupport.h"

#include <arpa/inet.h>
#include <cups/cups.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "LoopbackPorts.h"
#include "TestFiles.h"

namespace kvinstall {
namespace {

namespace fs = std::filesystem;

constexpr int kExecFailed = 127;
constexpr int kStartSeconds = 30;  // a scheduler on a busy machine starts within this
constexpr int kStopSeconds = 10;   // and stops within this after SIGTERM
constexpr auto kPoll = std::chrono::milliseconds(100);
constexpr mode_t kReadable = 0755;     // folders the filter user must pass through
constexpr mode_t kSharedTemp = 01777;  // the scheduler's temporary files folder
constexpr mode_t kWritable = 0777;     // the file device's folder

// Links every entry of `from` into `to`, except the one named `except`.
void LinkEntries(const fs::path& from, const fs::path& to, const std::string& except)
{
    std::error_code ec;
    for (const fs::directory_entry& e : fs::directory_iterator(from, ec))
        if (e.path().filename() != except)
            fs::create_symlink(e.path(), to / e.path().filename(), ec);
}

}  // namespace

StagedInstall::StagedInstall()
{
    chmod(m_dir.Path().c_str(), kReadable);
    kvtool::CommandResult r =
        kvtool::RunCommand({KV_CMAKE_COMMAND, "--install", KV_BINARY_DIR}, "", {{"DESTDIR", m_dir.Path()}});
    m_ok = r.status == 0;
    m_log = r.out + r.err;
}

PrivateCupsd::PrivateCupsd(const StagedInstall& install) : PrivateCupsd(install.Root()) {}

PrivateCupsd::PrivateCupsd(const std::string& installRoot)
{
    char pattern[] = "/tmp/kvcupsd.XXXXXX";
    if (!mkdtemp(pattern))
        return;
    m_folder = pattern;
    m_port = kvtest::FreeLoopbackPort();
    Layout(installRoot);
    WriteConfiguration();
    std::string conf = m_folder + "/conf/cupsd.conf";
    std::string files = m_folder + "/conf/cups-files.conf";
    pid_t pid = fork();
    if (pid == 0) {
        int null = open("/dev/null", O_RDWR);
        dup2(null, STDIN_FILENO);
        dup2(null, STDOUT_FILENO);
        execl(KV_CUPSD, KV_CUPSD, "-f", "-c", conf.c_str(), "-s", files.c_str(), static_cast<char*>(nullptr));
        _exit(kExecFailed);
    }
    m_pid = pid > 0 ? pid : 0;
    m_running = m_pid > 0 && WaitUntilListening(kStartSeconds);
}

PrivateCupsd::~PrivateCupsd()
{
    Stop();
}

void PrivateCupsd::Layout(const std::string& installRoot)
{
    fs::path root = m_folder;
    for (const char* dir : {"conf", "bin/filter", "data", "spool/tmp", "cache", "state", "log", "out"})
        fs::create_directories(root / dir);
    // The system's programs and data, with the staged filter and PPDs in
    // the places where an installed driver lives.
    LinkEntries(KV_CUPS_SERVERBIN, root / "bin", "filter");
    LinkEntries(std::string(KV_CUPS_SERVERBIN) + "/filter", root / "bin/filter", "rastertokivcp");
    fs::create_symlink(installRoot + KV_FILTER_INSTALL_DIR "/rastertokivcp", root / "bin/filter/rastertokivcp");
    LinkEntries(KV_CUPS_DATADIR, root / "data", "model");
    fs::create_symlink(installRoot + KV_CUPS_DATADIR "/model", root / "data/model");
    for (const char* dir : {"", "conf", "bin", "bin/filter", "data", "spool", "cache", "state", "log"})
        chmod((root / dir).c_str(), kReadable);
    chmod((root / "spool/tmp").c_str(), kSharedTemp);
    chmod((root / "out").c_str(), kWritable);
}

void PrivateCupsd::WriteConfiguration()
{
    std::string f = m_folder;
    kvtest::WriteFile(f + "/conf/cupsd.conf",
                      "LogLevel debug\n"
                      "Listen 127.0.0.1:" +
                          std::to_string(m_port) +
                          "\n"
                          "Browsing Off\n"
                          "WebInterface No\n"
                          "DefaultAuthType None\n"
                          "<Location />\n  Order allow,deny\n  Allow 127.0.0.1\n</Location>\n"
                          "<Policy default>\n  <Limit All>\n    Order deny,allow\n  </Limit>\n</Policy>\n");
    kvtest::WriteFile(f + "/conf/cups-files.conf", "FileDevice Yes\n"
                                                   "Printcap\n"
                                                   "ServerRoot " +
                                                       f +
                                                       "/conf\n"
                                                       "ServerBin " +
                                                       f +
                                                       "/bin\n"
                                                       "DataDir " +
                                                       f +
                                                       "/data\n"
                                                       "RequestRoot " +
                                                       f +
                                                       "/spool\n"
                                                       "TempDir " +
                                                       f +
                                                       "/spool/tmp\n"
                                                       "CacheDir " +
                                                       f +
                                                       "/cache\n"
                                                       "StateDir " +
                                                       f +
                                                       "/state\n"
                                                       "ErrorLog " +
                                                       f +
                                                       "/log/error_log\n"
                                                       "AccessLog " +
                                                       f +
                                                       "/log/access_log\n"
                                                       "PageLog " +
                                                       f + "/log/page_log\n");
}

bool PrivateCupsd::WaitUntilListening(int timeoutSeconds)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
    while (std::chrono::steady_clock::now() < deadline) {
        if (kvtest::LoopbackPortListening(m_port))
            return true;
        if (waitpid(m_pid, nullptr, WNOHANG) == m_pid) {
            m_pid = 0;  // it gave up (the error log says why) and is reaped
            return false;
        }
        std::this_thread::sleep_for(kPoll);
    }
    return false;
}

std::string PrivateCupsd::Host() const
{
    return "127.0.0.1:" + std::to_string(m_port);
}

std::string PrivateCupsd::OutputFile(const std::string& name) const
{
    return m_folder + "/out/" + name;
}

std::string PrivateCupsd::ErrorLog() const
{
    return kvtest::ReadFile(m_folder + "/log/error_log");
}

kvtool::CommandResult PrivateCupsd::Client(const std::string& program, std::vector<std::string> args) const
{
    args.insert(args.begin(), {program, "-h", Host()});
    const char* path = std::getenv("PATH");
    return kvtool::RunCommand(args, "", {{"PATH", std::string("/usr/sbin:/usr/bin:/sbin:/bin:") + (path ? path : "")}});
}

int PrivateCupsd::WaitForJob(int jobId, int timeoutSeconds) const
{
    http_t* http = httpConnect2("127.0.0.1", m_port, nullptr, AF_INET, HTTP_ENCRYPTION_NEVER, 1, 30000, nullptr);
    if (!http)
        return -1;
    int state = -1;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
    while (std::chrono::steady_clock::now() < deadline) {
        cups_job_t* jobs = nullptr;
        int n = cupsGetJobs2(http, &jobs, nullptr, 0, CUPS_WHICHJOBS_ALL);
        for (int i = 0; i < n; ++i)
            if (jobs[i].id == jobId)
                state = jobs[i].state;
        cupsFreeJobs(n, jobs);
        if (state >= IPP_JSTATE_STOPPED)
            break;
        std::this_thread::sleep_for(kPoll);
    }
    httpClose(http);
    return state;
}

bool PrivateCupsd::Stop()
{
    bool ended = m_pid == 0;
    if (m_pid > 0) {
        kill(m_pid, SIGTERM);
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kStopSeconds);
        while (!ended && std::chrono::steady_clock::now() < deadline) {
            ended = waitpid(m_pid, nullptr, WNOHANG) == m_pid;
            if (!ended)
                std::this_thread::sleep_for(kPoll);
        }
        if (!ended) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        m_pid = 0;
    }
    m_running = false;
    if (!m_folder.empty()) {
        std::error_code ec;
        fs::remove_all(m_folder, ec);
    }
    return ended;
}

int PrivateCupsd::Pid() const
{
    return m_pid;
}

int JobIdFromLp(const std::string& lpOutput)
{
    const std::string prefix = "request id is ";
    std::size_t at = lpOutput.find(prefix);
    if (at == std::string::npos)
        return -1;
    std::size_t space = lpOutput.find(' ', at + prefix.size());
    std::size_t dash = lpOutput.rfind('-', space);
    if (dash == std::string::npos || dash < at)
        return -1;
    return std::atoi(lpOutput.c_str() + dash + 1);
}

}  // namespace kvinstall
