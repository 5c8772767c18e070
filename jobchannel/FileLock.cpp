// Job information file: opening, advisory whole-file locking by polling, record
// parsing and the locked rewrite of the record.
#include "FileLock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "SafeFile.h"
#include "log4z.h"

namespace {

// Blanks that may surround a record line.
constexpr char kLineBlanks[] = " \t";

// Returns `line` without leading and trailing spaces and tabs.
std::string trimBlanks(const std::string& line)
{
    const std::string::size_type first = line.find_first_not_of(kLineBlanks);
    if (first == std::string::npos) {
        return std::string();
    }
    const std::string::size_type last = line.find_last_not_of(kLineBlanks);
    return line.substr(first, last - first + 1);
}

// Returns the record text: both lines, each ended by a single line feed.
std::string formatJobInfo(int jobId, int jobIdx)
{
    return std::string(FileLock::kJobIdKey) + std::to_string(jobId) + "\n" + FileLock::kJobIdxKey +
           std::to_string(jobIdx) + "\n";
}

// Looks for `key` in `line` and converts the text after it as a signed decimal
// number (leading blanks skipped, anything after the digits ignored). Sets
// `value` and `found` on success; a key without a number logs `errorText` and
// leaves both alone. A line without the key changes nothing.
void parseKey(const std::string& line, const char* key, const char* errorText, int& value, bool& found)
{
    const std::string::size_type position = line.find(key);
    if (position == std::string::npos) {
        return;
    }
    try {
        value = std::stoi(line.substr(position + std::strlen(key)), nullptr, 10);
        found = true;
    } catch (...) {
        LOGFMTD("%s", errorText);
    }
}

}  // namespace

FileLock::FileLock() : m_nFd(-1), m_bLocked(false), m_strPath(std::string(kDirectory) + kFileName)
{
    kvfile::OwnFile file = kvfile::openOwnFile(m_strPath.c_str(), O_RDWR | O_CREAT, kFileMode);
    m_nFd = file.fd.release();
    if (m_nFd < 0) {
        m_strUnsafeReason = kvfile::describeRefusal(m_strPath, file.refusal);
        LOGFMTD("FileLock CreateFile Fail");
    }
}

FileLock::~FileLock()
{
    close();
}

bool FileLock::parseJobInfo(const std::string& text, int& jobId, int& jobIdx)
{
    bool idFound = false;
    bool idxFound = false;
    std::string::size_type begin = 0;
    while (begin < text.size()) {
        std::string::size_type end = text.find('\n', begin);
        if (end == std::string::npos) {
            end = text.size();  // a last line without its line feed still counts
        }
        const std::string line = trimBlanks(text.substr(begin, end - begin));
        parseKey(line, kJobIdKey, "job_id parse error", jobId, idFound);
        parseKey(line, kJobIdxKey, "job_idx parse error", jobIdx, idxFound);
        begin = end + 1;
    }
    return idFound && idxFound;
}

bool FileLock::setLock(short type) const
{
    struct flock request;
    std::memset(&request, 0, sizeof(request));
    request.l_type = type;
    request.l_whence = SEEK_SET;
    request.l_start = 0;
    request.l_len = 0;  // to the end of the file, however long it grows
    request.l_pid = getpid();
    return fcntl(m_nFd, F_SETLK, &request) == 0;
}

FileLock::LockResult FileLock::acquire(int timeoutSeconds)
{
    // A monotonic clock keeps a clock change from stretching or cutting the wait.
    const auto start = std::chrono::steady_clock::now();
    const auto limit = std::chrono::seconds(timeoutSeconds);
    while (!m_bLocked) {
        if (setLock(F_WRLCK)) {
            m_bLocked = true;
            break;
        }
        const int error = errno;
        // EACCES and EAGAIN only mean another process holds the lock.
        if (error != EACCES && error != EAGAIN) {
            LOGFMTD("tryLock failed");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(kLockPollMs));
        if (std::chrono::steady_clock::now() - start >= limit) {
            return LockResult::TimedOut;
        }
    }
    if (lseek(m_nFd, 0, SEEK_SET) < 0) {
        LOGFMTD("lseek failed");
        return LockResult::SeekFailed;
    }
    return LockResult::Locked;
}

bool FileLock::lockTimeout(int timeoutSeconds)
{
    return acquire(timeoutSeconds) == LockResult::Locked;
}

bool FileLock::unlock()
{
    if (!m_bLocked) {
        return true;
    }
    const bool released = setLock(F_UNLCK);
    if (!released) {
        LOGFMTD("unlock failed");
    }
    m_bLocked = false;
    return released;
}

bool FileLock::readAll(std::string& text)
{
    if (lseek(m_nFd, 0, SEEK_SET) < 0) {
        LOGFMTD("lseek failed");
        return false;
    }
    char buffer[kMaxReadBytes];
    const ssize_t count = ::read(m_nFd, buffer, sizeof(buffer));
    if (count < 0) {
        LOGFMTD("read failed");
        return false;
    }
    text.assign(buffer, static_cast<std::size_t>(count));
    return true;
}

void FileLock::close()
{
    unlock();
    if (m_nFd >= 0) {
        ::close(m_nFd);
        m_nFd = -1;
    }
}

bool FileLock::writeRecord(int jobId, int jobIdx)
{
    try {
        const std::string text = formatJobInfo(jobId, jobIdx);
        if (ftruncate(m_nFd, 0) != 0) {
            LOGFMTD("ftruncate failed");
            return false;
        }
        const ssize_t written = ::write(m_nFd, text.data(), text.size());
        if (written < 0 || static_cast<std::size_t>(written) != text.size()) {
            LOGFMTD("write failed");
            return false;
        }
        if (fsync(m_nFd) != 0) {
            LOGFMTD("fsync failed");
            return false;
        }
        LOGFMTD("Successfully wrote");
        return true;
    } catch (...) {
        LOGFMTD("Write exception");
        return false;
    }
}

bool FileLock::writeJobInfoTimeout(int jobId, int jobIdx, int timeoutSeconds)
{
    const LockResult result = acquire(timeoutSeconds);
    if (result == LockResult::TimedOut) {
        LOGFMTD("wirte-timeout failed");
        return false;
    }
    const bool written = result == LockResult::Locked && writeRecord(jobId, jobIdx);
    unlock();
    return written;
}
