// Child processes for helper programs of the test suite.
#include "Subprocess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace kvtest {

namespace {

// Exit status of a child whose program could not be started.
constexpr int kExecFailed = 127;

// Points `fd` at /dev/null; ends the child when that fails.
void NullOrDie(int fd, int flags)
{
    int file = open("/dev/null", flags);
    if (file < 0 || dup2(file, fd) < 0)
        _exit(kExecFailed);
    close(file);
}

}  // namespace

Subprocess::Subprocess(const std::string& binary, const std::vector<std::string>& args, bool pipeStdout)
{
    int pipeFds[2] = {-1, -1};
    if (pipeStdout && pipe2(pipeFds, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe failed");
    // Everything the child needs is built before the fork.
    std::vector<char*> argv{const_cast<char*>(binary.c_str())};
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    m_pid = fork();
    if (m_pid < 0)
        throw std::runtime_error("fork failed");
    if (m_pid == 0) {
        NullOrDie(0, O_RDONLY);
        if (pipeStdout) {
            if (dup2(pipeFds[1], 1) < 0)
                _exit(kExecFailed);
        } else {
            NullOrDie(1, O_WRONLY);
        }
        execv(binary.c_str(), argv.data());
        _exit(kExecFailed);
    }
    if (pipeStdout) {
        close(pipeFds[1]);
        m_stdout = pipeFds[0];
    }
}

Subprocess::~Subprocess()
{
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    if (m_stdout >= 0)
        close(m_stdout);
}

std::string Subprocess::ReadLine()
{
    std::string line;
    char c = 0;
    while (m_stdout >= 0) {
        ssize_t n = read(m_stdout, &c, 1);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0 || c == '\n')
            break;
        line.push_back(c);
    }
    return line;
}

void Subprocess::Signal(int sig)
{
    if (m_pid > 0)
        kill(m_pid, sig);
}

int Subprocess::Wait()
{
    if (m_pid <= 0)
        return -1;
    int status = 0;
    pid_t reaped = -1;
    do {
        reaped = waitpid(m_pid, &status, 0);
    } while (reaped < 0 && errno == EINTR);
    m_pid = -1;
    if (reaped < 0 || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

}  // namespace kvtest
