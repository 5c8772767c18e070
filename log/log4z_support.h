// Small building blocks of the logger: a mutex, a semaphore, a thread, an open
// file, and the pieces that stamp a record with its date, thread and level.
#ifndef KV_LOG_LOG4Z_SUPPORT_H
#define KV_LOG_LOG4Z_SUPPORT_H

#include <pthread.h>
#include <semaphore.h>

#include <cstdint>
#include <cstdio>
#include <string>

// A plain mutex.
class LockHelper {
public:
    LockHelper();
    ~LockHelper();
    LockHelper(const LockHelper&) = delete;
    LockHelper& operator=(const LockHelper&) = delete;

    void lock();
    void unLock();

private:
    pthread_mutex_t m_mutex;
};

// Holds a LockHelper for the lifetime of a scope.
class AutoLock {
public:
    explicit AutoLock(LockHelper& lock) : m_lock(lock) { m_lock.lock(); }
    ~AutoLock() { m_lock.unLock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    LockHelper& m_lock;
};

// A counting semaphore used to hear from a thread that it has started.
class SemHelper {
public:
    SemHelper();
    ~SemHelper();
    SemHelper(const SemHelper&) = delete;
    SemHelper& operator=(const SemHelper&) = delete;

    // (Re)creates the semaphore with this count; false when the system refuses.
    bool create(int initcount);
    // Waits for a post; a time-out below 1 ms waits without limit. Returns
    // true when a post was taken, false on time-out or failure.
    bool wait(int timeout);
    // Adds one to the count; false when the semaphore does not exist.
    bool post();

private:
    sem_t m_sem;
    bool m_bCreated;
};

// A joinable thread whose body is the virtual run().
class ThreadHelper {
public:
    ThreadHelper();
    virtual ~ThreadHelper();
    ThreadHelper(const ThreadHelper&) = delete;
    ThreadHelper& operator=(const ThreadHelper&) = delete;

    // Creates the thread; false when the system refuses.
    bool start();
    // Joins the thread if one was started; true when it was joined.
    bool wait();
    virtual void run() = 0;

private:
    static void* threadProc(void* self);

    pthread_t m_thread;
    bool m_bStarted;
};

// An open file that closes itself. Closing pushes the data to the disk and
// drops it from the page cache, since a log file is written and not reread.
class Log4zFileHandler {
public:
    Log4zFileHandler();
    ~Log4zFileHandler();
    Log4zFileHandler(const Log4zFileHandler&) = delete;
    Log4zFileHandler& operator=(const Log4zFileHandler&) = delete;

    // Opens path with an fopen mode, closing any file held before; true on success.
    bool open(const char* path, const char* mode);
    // Opens path for appending as fopen mode "ab" does (creating it with mode
    // 0666 less the process mask), closing any file held before; true on
    // success. A log file is written where others may create names, so a
    // symbolic link, a file of another user, anything but a regular file and
    // a file with more than one hard link are refused and left unchanged.
    bool openOwnForAppend(const char* path);
    bool isOpen() const { return m_file != nullptr; }
    // Closes with fflush, fsync, posix_fadvise(DONTNEED), fsync, fclose.
    void close();
    // Flushes the stdio buffer to the system.
    void flush();
    // Writes len bytes; returns the number written.
    size_t write(const char* data, size_t len);
    // Returns the file's length, leaving the position where it was; 0 when closed.
    uint64_t size();
    // Returns everything from the start of the file to its end.
    std::string readContent();

private:
    FILE* m_file;
};

// The local calendar day a time stamp falls in, cached so that a record's
// prefix is built from the seconds since midnight without a call to localtime.
struct LogDay {
    int64_t dwMidnight;  // local midnight, seconds since the epoch
    int nYear;
    int nMonth;  // 1..12
    int nDay;    // 1..31

    // True when t lies in [midnight, midnight + 86399].
    bool covers(int64_t t) const;
    // The local day of t.
    static LogDay of(int64_t t);
};

// Seconds in a day; the day of a cached date ends one second before the next midnight.
constexpr int64_t kSecondsPerDay = 86400;

// Longest prefix formatLogPrefix writes: "YYYY-MM-DD hh:mm:ss.mmm [" (25), ten
// digits of a thread id, "] " (2), the longest level name (9) and a space.
constexpr int kLogPrefixMaxLength = 25 + 10 + 2 + 9 + 1;

// Returns the name of a level, "LOG_TRACE" .. "LOG_FATAL"; levels outside the
// table are named after the nearest end of it.
const char* logLevelName(int level);

// Writes "YYYY-MM-DD hh:mm:ss.mmm [tid] LEVEL " for a time inside day into
// dst (room for kLogPrefixMaxLength bytes, no NUL written); returns its length.
int formatLogPrefix(char* dst, const LogDay& day, int64_t time, unsigned milliseconds, unsigned threadId, int level);

// Returns the last component of a source path, after the last '/' or '\\'.
const char* logFileBaseName(const char* file);

// Queued records beyond which producers are slowed down.
constexpr size_t kLogQueueLimit = 20000;

// Returns the producer slow-down rate for a queue holding this many records:
// 0 up to the limit, then (queued * 100 - 2000000) / 20000, i.e. how many
// percent of the limit the queue is over it; not clamped.
unsigned queuePressureRate(size_t queued);

// Sleeps for ms milliseconds (nothing for ms <= 0).
void sleepMillis(long ms);

// Removes every leading and trailing character of text that is in set.
void trimLogConfig(std::string& text, const std::string& set = "\r\n\t ");

#endif  // KV_LOG_LOG4Z_SUPPORT_H
