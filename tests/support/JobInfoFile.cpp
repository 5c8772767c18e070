// Test access to the job information file, a watcher of its contents and a
// competing lock holder.
#include "JobInfoFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "TestFiles.h"

namespace kvtest {

namespace {

// A record is two short lines; this is more than any file a test makes.
constexpr size_t kReadLimit = 4096;
constexpr int kMillisecondsPerSecond = 1000;
// Pause between two reads of the watcher.
constexpr int kWatchPauseMs = 1;

// A whole-file lock request of `type`: from the start to the end, however
// far the file grows (the same range the filter locks).
struct flock WholeFile(short type)
{
    struct flock request;
    memset(&request, 0, sizeof(request));
    request.l_type = type;
    request.l_whence = SEEK_SET;
    request.l_start = 0;
    request.l_len = 0;
    return request;
}

// Runs in the child: takes the write lock, reports 1 (or 0) on `ready`, and
// keeps the lock until `release` is closed or the limit passes.
[[noreturn]] void HoldLock(int ready, int release, int limitSeconds)
{
    int fd = open(kJobInfoPath, O_RDWR | O_CREAT, 0666);
    struct flock request = WholeFile(F_WRLCK);
    const char locked = (fd >= 0 && fcntl(fd, F_SETLK, &request) == 0) ? 1 : 0;
    if (write(ready, &locked, 1) != 1)
        _exit(1);
    struct pollfd releaseEnd {
        release, POLLIN, 0
    };
    while (poll(&releaseEnd, 1, limitSeconds * kMillisecondsPerSecond) < 0 && errno == EINTR) {
    }
    _exit(0);
}

}  // namespace

JobInfoFileGuard::JobInfoFileGuard() : m_existed(FileExists(kJobInfoPath))
{
    if (m_existed)
        m_content = ReadFile(kJobInfoPath);
}

JobInfoFileGuard::~JobInfoFileGuard()
{
    RemoveJobInfo();
    if (m_existed)
        SetJobInfo(m_content);
}

void SetJobInfo(const std::string& content)
{
    WriteFile(kJobInfoPath, content);
}

void RemoveJobInfo()
{
    remove(kJobInfoPath);
}

std::optional<std::string> ReadJobInfoLocked()
{
    int fd = open(kJobInfoPath, O_RDONLY);
    if (fd < 0)
        return std::nullopt;
    struct flock request = WholeFile(F_RDLCK);
    int locked = -1;
    do {
        locked = fcntl(fd, F_SETLKW, &request);
    } while (locked < 0 && errno == EINTR);
    if (locked < 0) {
        close(fd);
        return std::nullopt;
    }
    char buffer[kReadLimit];
    ssize_t n = pread(fd, buffer, sizeof(buffer), 0);
    close(fd);  // closing drops the lock
    if (n < 0)
        return std::nullopt;
    return std::string(buffer, static_cast<size_t>(n));
}

JobInfoWatcher::JobInfoWatcher()
        : m_reader([this] {
              while (!m_done) {
                  std::optional<std::string> content = ReadJobInfoLocked();
                  m_seen.insert(content ? *content : std::string("<unreadable>"));
                  std::this_thread::sleep_for(std::chrono::milliseconds(kWatchPauseMs));
              }
          })
{
}

JobInfoWatcher::~JobInfoWatcher()
{
    Stop();
}

std::set<std::string> JobInfoWatcher::Stop()
{
    m_done = true;
    if (m_reader.joinable())
        m_reader.join();
    return m_seen;
}

JobInfoLockHolder::JobInfoLockHolder(int limitSeconds)
{
    int ready[2];
    int release[2];
    if (pipe2(ready, O_CLOEXEC) != 0)
        return;
    if (pipe2(release, O_CLOEXEC) != 0) {
        close(ready[0]);
        close(ready[1]);
        return;
    }
    m_pid = fork();
    if (m_pid == 0) {
        close(ready[0]);
        close(release[1]);
        HoldLock(ready[1], release[0], limitSeconds);
    }
    close(ready[1]);
    close(release[0]);
    m_release = release[1];
    char locked = 0;
    m_holding = m_pid > 0 && read(ready[0], &locked, 1) == 1 && locked == 1;
    close(ready[0]);
}

JobInfoLockHolder::~JobInfoLockHolder()
{
    Release();
}

void JobInfoLockHolder::Release()
{
    if (m_release >= 0) {
        close(m_release);
        m_release = -1;
    }
    if (m_pid > 0) {
        waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
}

}  // namespace kvtest
