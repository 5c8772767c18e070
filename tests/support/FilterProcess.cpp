// Child-process runner for end-to-end tests of the filter binary.
#include "FilterProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "PlantedFiles.h"
#include "TestFiles.h"

namespace kvtest {

namespace {

constexpr int kPollIntervalMs = 20;

// Redirects `fd` to `path` opened with `flags`; exits the child on failure.
void RedirectOrDie(int fd, const std::string& path, int flags)
{
    int file = open(path.c_str(), flags, 0644);
    if (file < 0 || dup2(file, fd) < 0)
        _exit(127);
    close(file);
}

}  // namespace

std::string FilterBinary()
{
    return KV_FILTER_BINARY;
}

namespace {

// The filter binary as another user can run it: the build tree may lie
// where only its owner can reach (a checkout under /root), so that user
// gets a copy in a folder anyone may enter, made on first use and removed
// when the test program ends.
std::string FilterBinaryFor(const std::optional<FilterUser>& user)
{
    if (!user)
        return FilterBinary();
    static OpenFolder folder{kOutsideTmp};
    static const std::string copy = [] {
        std::string path = folder.File("rastertokivcp");
        std::filesystem::copy_file(FilterBinary(), path);
        chmod(path.c_str(), 0755);
        return path;
    }();
    return copy;
}

}  // namespace

std::vector<std::string> FilterArgs(const std::string& options, const std::string& title,
                                    const std::optional<std::string>& file, const std::string& jobId,
                                    const std::string& copies)
{
    std::vector<std::string> args{jobId, "tester", title, copies, options};
    if (file)
        args.push_back(*file);
    return args;
}

FilterProcess::FilterProcess(const std::vector<std::string>& args, const std::optional<std::string>& ppd,
                             bool pipeStdin, const std::optional<FilterUser>& user)
{
    // A filter that ends before reading its input must not kill the test.
    signal(SIGPIPE, SIG_IGN);
    int pipeFds[2] = {-1, -1};
    if (pipeStdin && pipe2(pipeFds, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe failed");
    const std::string binary = FilterBinaryFor(user);
    std::string outPath = m_dir.File("stdout");
    std::string errPath = m_dir.File("stderr");
    m_pid = fork();
    if (m_pid < 0)
        throw std::runtime_error("fork failed");
    if (m_pid == 0) {
        if (pipeStdin) {
            dup2(pipeFds[0], 0);
            close(pipeFds[0]);
            close(pipeFds[1]);
        } else {
            RedirectOrDie(0, "/dev/null", O_RDONLY);
        }
        RedirectOrDie(1, outPath, O_WRONLY | O_CREAT | O_TRUNC);
        RedirectOrDie(2, errPath, O_WRONLY | O_CREAT | O_TRUNC);
        if (ppd)
            setenv("PPD", ppd->c_str(), 1);
        else
            unsetenv("PPD");
        if (user && !BecomeUser(user->uid, user->gid))
            _exit(127);
        std::vector<char*> argv{const_cast<char*>(binary.c_str())};
        for (const std::string& arg : args)
            argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        execv(binary.c_str(), argv.data());
        _exit(127);
    }
    if (pipeStdin) {
        close(pipeFds[0]);
        m_stdin = pipeFds[1];
    }
}

FilterProcess::~FilterProcess()
{
    CloseInput();
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
}

void FilterProcess::Write(const std::string& data)
{
    size_t done = 0;
    while (done < data.size()) {
        ssize_t n = write(m_stdin, data.data() + done, data.size() - done);
        if (n <= 0)
            break;
        done += static_cast<size_t>(n);
    }
}

void FilterProcess::CloseInput()
{
    if (m_stdin >= 0)
        close(m_stdin);
    m_stdin = -1;
}

void FilterProcess::Signal(int sig)
{
    kill(m_pid, sig);
}

FilterResult FilterProcess::Wait()
{
    CloseInput();
    FilterResult result;
    int status = 0;
    struct rusage usage = {};
    wait4(m_pid, &status, 0, &usage);
    m_pid = -1;
    result.peakKb = usage.ru_maxrss;
    if (WIFEXITED(status))
        result.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status))
        result.signal = WTERMSIG(status);
    result.out = ReadFile(m_dir.File("stdout"));
    result.err = ReadFile(m_dir.File("stderr"));
    return result;
}

FilterResult RunFilter(const std::vector<std::string>& args, const std::optional<std::string>& ppd,
                       const std::string& stdinData, const std::optional<FilterUser>& user)
{
    FilterProcess process(args, ppd, true, user);
    std::thread feeder([&] {
        process.Write(stdinData);
        process.CloseInput();
    });
    feeder.join();
    return process.Wait();
}

bool WaitForFileText(const std::string& path, const std::string& text, int timeoutMs)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < deadline) {
        if (ReadFile(path).find(text) != std::string::npos)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(kPollIntervalMs));
    }
    return false;
}

}  // namespace kvtest
