// The job information file "/tmp/TASK_INFO.lock" as tests see it: keeping
// and restoring what a test run found there, reading it the way a careful
// reader must (under a shared lock), watching it while processes race on it,
// and another process holding its lock.
#ifndef KV_TESTS_JOBINFOFILE_H
#define KV_TESTS_JOBINFOFILE_H

#include <sys/types.h>

#include <atomic>
#include <optional>
#include <set>
#include <string>
#include <thread>

namespace kvtest {

constexpr char kJobInfoPath[] = "/tmp/TASK_INFO.lock";

// Remembers the file (or that there was none) and puts it back at
// destruction, so a test may change or remove it freely.
class JobInfoFileGuard {
public:
    JobInfoFileGuard();
    ~JobInfoFileGuard();
    JobInfoFileGuard(const JobInfoFileGuard&) = delete;
    JobInfoFileGuard& operator=(const JobInfoFileGuard&) = delete;

private:
    bool m_existed = false;
    std::string m_content;
};

// Replaces the file's content with `content` (creating it).
void SetJobInfo(const std::string& content);
// Removes the file.
void RemoveJobInfo();
// The file's content read under a shared whole-file lock, which a writer
// never holds at the same time as its exclusive one; nullopt when the file
// cannot be opened or locked.
std::optional<std::string> ReadJobInfoLocked();

// Reads the file as ReadJobInfoLocked does, a moment apart, on a thread of
// its own from construction until Stop, keeping every distinct content seen
// ("<unreadable>" for a read that could not open or lock the file). The
// pause leaves the machine's two cores to the processes being watched.
class JobInfoWatcher {
public:
    JobInfoWatcher();
    ~JobInfoWatcher();
    JobInfoWatcher(const JobInfoWatcher&) = delete;
    JobInfoWatcher& operator=(const JobInfoWatcher&) = delete;

    // Ends the reading and returns every distinct content seen.
    std::set<std::string> Stop();

private:
    std::atomic<bool> m_done{false};
    std::set<std::string> m_seen;
    std::thread m_reader;
};

// Another process holding the whole-file write lock on the file, as a
// competing filter would, until Release, destruction or `limitSeconds`.
class JobInfoLockHolder {
public:
    explicit JobInfoLockHolder(int limitSeconds);
    ~JobInfoLockHolder();
    JobInfoLockHolder(const JobInfoLockHolder&) = delete;
    JobInfoLockHolder& operator=(const JobInfoLockHolder&) = delete;

    // True when the holder took the lock.
    bool Holding() const { return m_holding; }
    // Ends the holder (releasing the lock) and waits for it.
    void Release();

private:
    pid_t m_pid = -1;
    int m_release = -1;
    bool m_holding = false;
};

}  // namespace kvtest

#endif
