// Building blocks of the logger: mutex, semaphore, thread and file wrappers,
// the calendar-day cache and the formatting of a record's prefix.
#include "log4z_support.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "SafeFile.h"

namespace {

// Log files are created as fopen creates them: readable and writable by all,
// less the process mask.
constexpr mode_t kLogFileMode = 0666;
constexpr long kNanosPerMilli = 1000000L;
constexpr long long kMillisPerSecond = 1000;
constexpr int kSecondsPerHour = 3600;
constexpr int kSecondsPerMinute = 60;
constexpr int kFirstTmYear = 1900;  // struct tm counts years from 1900
// The date fields of a prefix have fixed widths; values outside them are clamped.
constexpr int kMaxYear = 9999;
constexpr unsigned kMaxMilliseconds = 999;

// The level names, indexed by level.
const char* const kLevelNames[] = {"LOG_TRACE", "LOG_DEBUG", "LOG_INFO", "LOG_WARN",
                                   "LOG_ERROR", "LOG_ALARM", "LOG_FATAL"};
constexpr int kLevelCount = sizeof(kLevelNames) / sizeof(kLevelNames[0]);

constexpr int kDecimalBase = 10;
// Values below this have two decimal digits.
constexpr int kTwoDigitLimit = 100;

// The pairs "00".."99" back to back, so that two digits are one copy.
struct TwoDigitTable {
    char pairs[2 * kTwoDigitLimit];
    constexpr TwoDigitTable() : pairs()
    {
        for (int i = 0; i < kTwoDigitLimit; ++i) {
            pairs[2 * i] = static_cast<char>('0' + i / kDecimalBase);
            pairs[2 * i + 1] = static_cast<char>('0' + i % kDecimalBase);
        }
    }
};
constexpr TwoDigitTable kTwoDigits;

// Writes v as two digits (clamped to 0..99); returns the position after them.
char* putTwoDigits(char* dst, int v)
{
    v = v < 0 ? 0 : (v >= kTwoDigitLimit ? kTwoDigitLimit - 1 : v);
    memcpy(dst, kTwoDigits.pairs + 2 * v, 2);
    return dst + 2;
}

// Writes v in decimal without padding; returns the position after it.
char* putDecimal(char* dst, unsigned v)
{
    char digits[10];  // 4294967295 has ten digits
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + v % kDecimalBase);
        v /= kDecimalBase;
    } while (v != 0);
    while (n > 0) {
        *dst++ = digits[--n];
    }
    return dst;
}

}  // namespace

void sleepMillis(long ms)
{
    if (ms <= 0) {
        return;
    }
    struct timespec ts;
    ts.tv_sec = static_cast<time_t>(ms / kMillisPerSecond);
    ts.tv_nsec = static_cast<long>(ms % kMillisPerSecond) * kNanosPerMilli;
    nanosleep(&ts, nullptr);
}

LockHelper::LockHelper()
{
    pthread_mutex_init(&m_mutex, nullptr);
}

LockHelper::~LockHelper()
{
    pthread_mutex_destroy(&m_mutex);
}

void LockHelper::lock()
{
    pthread_mutex_lock(&m_mutex);
}

void LockHelper::unLock()
{
    pthread_mutex_unlock(&m_mutex);
}

SemHelper::SemHelper() : m_sem(), m_bCreated(false) {}

SemHelper::~SemHelper()
{
    if (m_bCreated) {
        sem_destroy(&m_sem);
    }
}

bool SemHelper::create(int initcount)
{
    if (m_bCreated) {
        sem_destroy(&m_sem);
        m_bCreated = false;
    }
    if (initcount < 0) {
        initcount = 0;
    }
    m_bCreated = sem_init(&m_sem, 0, static_cast<unsigned>(initcount)) == 0;
    return m_bCreated;
}

// A wait with a time-out blocks until the post or the deadline (on the
// monotonic clock, so that setting the time changes nothing), rather than
// looking every few milliseconds: the waiter goes on the moment it is posted.
bool SemHelper::wait(int timeout)
{
    if (!m_bCreated) {
        return false;
    }
    if (timeout < 1) {
        while (sem_wait(&m_sem) != 0) {
            if (errno != EINTR) {
                return false;
            }
        }
        return true;
    }
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += timeout / kMillisPerSecond;
    deadline.tv_nsec += (timeout % kMillisPerSecond) * kNanosPerMilli;
    if (deadline.tv_nsec >= kMillisPerSecond * kNanosPerMilli) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= kMillisPerSecond * kNanosPerMilli;
    }
    while (sem_clockwait(&m_sem, CLOCK_MONOTONIC, &deadline) != 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool SemHelper::post()
{
    return m_bCreated && sem_post(&m_sem) == 0;
}

ThreadHelper::ThreadHelper() : m_thread(), m_bStarted(false) {}

ThreadHelper::~ThreadHelper() {}

bool ThreadHelper::start()
{
    if (m_bStarted) {
        return false;
    }
    m_bStarted = pthread_create(&m_thread, nullptr, &ThreadHelper::threadProc, this) == 0;
    return m_bStarted;
}

bool ThreadHelper::wait()
{
    if (!m_bStarted) {
        return false;
    }
    m_bStarted = false;
    return pthread_join(m_thread, nullptr) == 0;
}

void* ThreadHelper::threadProc(void* self)
{
    static_cast<ThreadHelper*>(self)->run();
    return nullptr;
}

Log4zFileHandler::Log4zFileHandler() : m_file(nullptr) {}

Log4zFileHandler::~Log4zFileHandler()
{
    close();
}

bool Log4zFileHandler::open(const char* path, const char* mode)
{
    close();
    if (path == nullptr || mode == nullptr) {
        return false;
    }
    m_file = fopen(path, mode);
    return m_file != nullptr;
}

bool Log4zFileHandler::openOwnForAppend(const char* path)
{
    close();
    m_file = kvfile::openOwnStream(path, O_WRONLY | O_CREAT | O_APPEND, kLogFileMode, "ab");
    return m_file != nullptr;
}

void Log4zFileHandler::close()
{
    if (m_file == nullptr) {
        return;
    }
    int fd = fileno(m_file);
    fflush(m_file);
    fsync(fd);
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    fsync(fd);
    fclose(m_file);
    m_file = nullptr;
}

void Log4zFileHandler::flush()
{
    if (m_file != nullptr) {
        fflush(m_file);
    }
}

size_t Log4zFileHandler::write(const char* data, size_t len)
{
    if (m_file == nullptr || data == nullptr) {
        return 0;
    }
    return fwrite(data, 1, len, m_file);
}

uint64_t Log4zFileHandler::size()
{
    if (m_file == nullptr) {
        return 0;
    }
    long here = ftell(m_file);
    if (fseek(m_file, 0, SEEK_END) != 0) {
        return 0;
    }
    long end = ftell(m_file);
    fseek(m_file, here < 0 ? 0 : here, SEEK_SET);
    return end < 0 ? 0 : static_cast<uint64_t>(end);
}

std::string Log4zFileHandler::readContent()
{
    std::string content;
    if (m_file == nullptr) {
        return content;
    }
    fseek(m_file, 0, SEEK_SET);
    char chunk[BUFSIZ];
    size_t got;
    while ((got = fread(chunk, 1, sizeof(chunk), m_file)) > 0) {
        content.append(chunk, got);
    }
    return content;
}

bool LogDay::covers(int64_t t) const
{
    return t >= dwMidnight && t <= dwMidnight + kSecondsPerDay - 1;
}

LogDay LogDay::of(int64_t t)
{
    time_t tt = static_cast<time_t>(t);
    struct tm local;
    memset(&local, 0, sizeof(local));
    localtime_r(&tt, &local);
    LogDay day;
    day.nYear = local.tm_year + kFirstTmYear;
    day.nMonth = local.tm_mon + 1;
    day.nDay = local.tm_mday;
    day.dwMidnight = t - (local.tm_hour * kSecondsPerHour + local.tm_min * kSecondsPerMinute + local.tm_sec);
    return day;
}

const char* logLevelName(int level)
{
    if (level < 0) {
        level = 0;
    }
    if (level >= kLevelCount) {
        level = kLevelCount - 1;
    }
    return kLevelNames[level];
}

int formatLogPrefix(char* dst, const LogDay& day, int64_t time, unsigned milliseconds, unsigned threadId, int level)
{
    int64_t ofDay = time - day.dwMidnight;
    if (ofDay < 0 || ofDay >= kSecondsPerDay) {
        ofDay = 0;  // a time outside the day cannot be placed in it; show midnight
    }
    int secs = static_cast<int>(ofDay);
    int year = day.nYear < 0 ? 0 : (day.nYear > kMaxYear ? kMaxYear : day.nYear);
    char* p = dst;
    p = putTwoDigits(p, year / kTwoDigitLimit);
    p = putTwoDigits(p, year % kTwoDigitLimit);
    *p++ = '-';
    p = putTwoDigits(p, day.nMonth);
    *p++ = '-';
    p = putTwoDigits(p, day.nDay);
    *p++ = ' ';
    p = putTwoDigits(p, secs / kSecondsPerHour);
    *p++ = ':';
    p = putTwoDigits(p, secs % kSecondsPerHour / kSecondsPerMinute);
    *p++ = ':';
    p = putTwoDigits(p, secs % kSecondsPerMinute);
    *p++ = '.';
    unsigned ms = milliseconds > kMaxMilliseconds ? kMaxMilliseconds : milliseconds;
    *p++ = static_cast<char>('0' + ms / kTwoDigitLimit);
    p = putTwoDigits(p, static_cast<int>(ms % kTwoDigitLimit));
    *p++ = ' ';
    *p++ = '[';
    p = putDecimal(p, threadId);
    *p++ = ']';
    *p++ = ' ';
    const char* name = logLevelName(level);
    size_t nameLen = strlen(name);
    memcpy(p, name, nameLen);
    p += nameLen;
    *p++ = ' ';
    return static_cast<int>(p - dst);
}

const char* logFileBaseName(const char* file)
{
    if (file == nullptr) {
        return nullptr;
    }
    const char* base = file;
    for (const char* p = file; *p != '\0'; ++p) {
        if (*p == '/' || *p == '\\') {
            base = p + 1;
        }
    }
    return base;
}

unsigned queuePressureRate(size_t queued)
{
    if (queued <= kLogQueueLimit) {
        return 0;
    }
    // The excess over the limit as a percentage of the limit.
    return static_cast<unsigned>((queued * 100 - kLogQueueLimit * 100) / kLogQueueLimit);
}

void trimLogConfig(std::string& text, const std::string& set)
{
    size_t first = text.find_first_not_of(set);
    if (first == std::string::npos) {
        text.clear();
        return;
    }
    size_t last = text.find_last_not_of(set);
    text = text.substr(first, last - first + 1);
}
