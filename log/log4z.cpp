// The logger manager: records, their pool, writing a record to its logger's
// file, the setting operations and the worker thread.
#include "log4z_manager.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

const char kLogStartBanner[] = "-----------------  log4z thread started!   ----------------------------";

namespace {

constexpr long kMicrosPerMilli = 1000;
// A new record is cleared over its header and the first byte of its text.
constexpr size_t kLogDataClearBytes = offsetof(LogData, text) + 1;
// A line may use the room up to here; the last three bytes take "\r\n" and the NUL.
constexpr int kLogLineMaxLength = kLogTextCapacity - 3;
// The limit size is given in megabytes.
constexpr int kMegabyteShift = 20;
// Directories are created as widely as the umask allows.
constexpr mode_t kLogDirMode = 0777;
// Rates up to this many percent only delay without rechecking the queue.
constexpr unsigned kPressureRecheckRate = 50;
constexpr unsigned kPressureMaxRate = 100;
constexpr int kPercent = 100;

// The kernel's id of the calling thread.
uint32_t currentThreadId()
{
    return static_cast<uint32_t>(syscall(SYS_gettid));
}

// Returns path with a '/' at the end; an empty path stays empty (the working directory).
std::string withTrailingSlash(const std::string& path)
{
    if (path.empty() || path.back() == '/') {
        return path;
    }
    return path + '/';
}

// Returns the directory of a logger's file for a day: the path, then
// "YYYY_MM/" when files are kept by month.
std::string logDirectory(const std::string& path, bool monthDir, const LogDay& day)
{
    std::string dir = withTrailingSlash(path);
    if (monthDir) {
        char month[16];  // "YYYY_MM/" and a NUL, with room for wider years
        snprintf(month, sizeof(month), "%04d_%02d/", day.nYear, day.nMonth);
        dir += month;
    }
    return dir;
}

// Creates every directory along dir that cannot be opened yet.
void makeDirectories(const std::string& dir)
{
    for (size_t i = 1; i <= dir.size(); ++i) {
        if (i < dir.size() && dir[i] != '/') {
            continue;
        }
        std::string prefix = dir.substr(0, i);
        DIR* handle = opendir(prefix.c_str());
        if (handle != nullptr) {
            closedir(handle);
            continue;
        }
        mkdir(prefix.c_str(), kLogDirMode);
    }
}

// Returns the process name: the first string of /proc/<pid>/cmdline after
// its last '/', or "process" when it cannot be read.
std::string readProcessName(int pid)
{
    char procPath[64];  // "/proc/" + a decimal pid + "/cmdline"
    snprintf(procPath, sizeof(procPath), "/proc/%d/cmdline", pid);
    Log4zFileHandler cmdline;
    std::string name;
    if (cmdline.open(procPath, "rb")) {
        std::string content = cmdline.readContent();
        name = content.substr(0, content.find('\0'));
        size_t slash = name.rfind('/');
        if (slash != std::string::npos) {
            name = name.substr(slash + 1);
        }
    }
    return name.empty() ? std::string("process") : name;
}

// Appends " <base name of file>:<line>" as far as the record's room allows.
void appendFileLine(LogData* pLog, const char* file, int line)
{
    int room = kLogTextCapacity - pLog->nLength;
    if (room <= 0) {
        return;
    }
    int len = snprintf(pLog->text + pLog->nLength, static_cast<size_t>(room), " %s:%d", logFileBaseName(file), line);
    if (len < 0) {
        len = 0;
    }
    pLog->nLength += len > room ? room : len;
}

// Ends the line with "\r\n" and a NUL, cutting it first when it is too long;
// the length then counts the "\r\n".
void terminateRecord(LogData* pLog)
{
    if (pLog->nLength > kLogLineMaxLength) {
        pLog->nLength = kLogLineMaxLength;
    }
    pLog->text[pLog->nLength] = '\r';
    pLog->text[pLog->nLength + 1] = '\n';
    pLog->text[pLog->nLength + 2] = '\0';
    pLog->nLength += 2;
}

// Clamps a record's length into its text, so that a damaged record cannot
// make the logger write outside it.
void sanitizeLength(LogData* pLog)
{
    if (pLog->nLength < 0) {
        pLog->nLength = 0;
    }
    if (pLog->nLength > kLogTextCapacity) {
        pLog->nLength = kLogTextCapacity;
    }
}

}  // namespace

ILog4zManager* ILog4zManager::getInstance()
{
    // Never destroyed, so process exit cannot race a destructor against the worker.
    static LogerManager* const instance = new LogerManager();
    return instance;
}

LoggerInfo::LoggerInfo()
        : strPath(kDefaultLogPath), nLevel(LOG_DEBUG), bDisplay(true), bOutFile(true), bMonthDir(false),
          dwLimitSize(kDefaultLimitSizeMb), bEnable(false), bFileLine(true), dwReserveTime(0), dwFileCreateTime(0),
          dwFileCreateDay(0), dwFileIndex(0), dwWriterSize(0)
{
}

LogerManager::LogerManager()
        : m_nLastId(LOG4Z_MAIN_LOGGER_ID), m_bRuning(false), m_nAutoUpdate(0), m_lastAutoCheck(0), m_nQueued(0),
          m_ullStatusTotalWriteCount(0), m_ullStatusTotalWriteBytes(0), m_ullStatusTotalPushQueue(0),
          m_ullStatusTotalPopQueue(0), m_writesSinceFlush(), m_day(LogDay::of(time(nullptr)))
{
    char pid[32];  // six or more digits and a NUL
    snprintf(pid, sizeof(pid), "%06d", static_cast<int>(getpid()));
    m_strPid = pid;
    m_strProcessName = readProcessName(static_cast<int>(getpid()));
    LoggerInfo& mainLogger = m_loggers[LOG4Z_MAIN_LOGGER_ID];
    mainLogger.strKey = "Main";
    mainLogger.strName = "Main";
    mainLogger.bEnable = true;
    m_ids[mainLogger.strKey] = LOG4Z_MAIN_LOGGER_ID;
}

LogerManager::~LogerManager()
{
    stop();
    ThreadHelper::wait();
    for (LogData* pLog : m_logs) {
        free(pLog);
    }
    for (LogData* pLog : m_freeLogDatas) {
        free(pLog);
    }
}

bool LogerManager::isValidId(LoggerId id) const
{
    return id >= 0 && id <= m_nLastId;
}

// True when the manager runs and the logger is on and wants this level.
bool LogerManager::accepts(LoggerId id, int level) const
{
    if (!isValidId(id) || !m_bRuning) {
        return false;
    }
    const LoggerInfo& info = m_loggers[id];
    return info.bEnable && level >= info.nLevel;
}

bool LogerManager::prePushLog(LoggerId id, int level)
{
    if (!accepts(id, level)) {
        return false;
    }
    size_t queued = m_nQueued;
    if (queued <= kLogQueueLimit) {
        return true;
    }
    unsigned rate = queuePressureRate(queued);
    unsigned draw = static_cast<unsigned>(rand() % kPercent);
    if (rate > kPressureMaxRate) {
        rate = kPressureMaxRate;
    } else {
        if (rate <= draw) {
            return true;
        }
        if (rate <= kPressureRecheckRate) {
            sleepMillis(rate);
            return true;
        }
    }
    // Heavy pressure: look again under the lock before making the caller wait.
    if (lockedQueueSize() <= kLogQueueLimit) {
        return true;
    }
    sleepMillis(rate);
    return true;
}

LogData* LogerManager::allocLogData()
{
    {
        AutoLock guard(m_freeLock);
        if (!m_freeLogDatas.empty()) {
            LogData* pLog = m_freeLogDatas.back();
            m_freeLogDatas.pop_back();
            return pLog;
        }
    }
    LogData* pLog = static_cast<LogData*>(malloc(sizeof(LogData)));
    if (pLog != nullptr) {
        memset(static_cast<void*>(pLog), 0, kLogDataClearBytes);
    }
    return pLog;
}

// Returns the local day of time, recomputing the cache only when time leaves it.
LogDay LogerManager::cachedDay(int64_t time)
{
    AutoLock guard(m_dayLock);
    if (!m_day.covers(time)) {
        m_day = LogDay::of(time);
    }
    return m_day;
}

LogData* LogerManager::makeLogData(LoggerId id, int level)
{
    LogData* pLog = allocLogData();
    if (pLog == nullptr) {
        return nullptr;
    }
    struct timeval now;
    gettimeofday(&now, nullptr);
    pLog->nId = id;
    pLog->nType = LDT_GENERAL;
    pLog->nValue = 0;
    pLog->nLevel = level;
    pLog->dwTime = now.tv_sec;
    pLog->dwMilliseconds = static_cast<uint32_t>(now.tv_usec / kMicrosPerMilli);
    pLog->dwThreadId = currentThreadId();
    LogDay day = cachedDay(pLog->dwTime);
    pLog->nLength = formatLogPrefix(pLog->text, day, pLog->dwTime, pLog->dwMilliseconds, pLog->dwThreadId, level);
    pLog->text[pLog->nLength] = '\0';
    return pLog;
}

void LogerManager::freeLogData(LogData* log)
{
    if (log == nullptr) {
        return;
    }
    AutoLock guard(m_freeLock);
    if (m_freeLogDatas.size() >= kMaxFreeRecords) {
        free(log);
        return;
    }
    m_freeLogDatas.push_back(log);
}

size_t LogerManager::getFreePoolSize()
{
    AutoLock guard(m_freeLock);
    return m_freeLogDatas.size();
}

bool LogerManager::pushLog(LogData* pLog, const char* file, int line)
{
    if (pLog == nullptr) {
        return false;
    }
    if (!accepts(pLog->nId, pLog->nLevel)) {
        freeLogData(pLog);
        return false;
    }
    sanitizeLength(pLog);
    LoggerInfo& info = m_loggers[pLog->nId];
    if (info.bFileLine && file != nullptr) {
        appendFileLine(pLog, file, line);
    }
    terminateRecord(pLog);
    // The screen echo (display) is deliberately silent: the filter's
    // standard error belongs to the spooler.
    if (info.bOutFile) {
        writeRecord(pLog);
    }
    freeLogData(pLog);
    return true;
}

// Opens the logger's file, writes the record and closes the file again, so a
// crash never loses more than the line being written.
void LogerManager::writeRecord(LogData* pLog)
{
    AutoLock guard(m_writeLock);
    if (!openLogger(pLog)) {
        return;
    }
    LoggerInfo& info = m_loggers[pLog->nId];
    size_t len = static_cast<size_t>(pLog->nLength);
    if (info.fileHandle.write(pLog->text, len) != len) {
        info.fileHandle.close();
    }
    info.dwWriterSize += len;
    closeLogger(pLog->nId);
    ++m_writesSinceFlush[pLog->nId];
    ++m_ullStatusTotalWriteCount;
    m_ullStatusTotalWriteBytes += len;
}

// Makes sure the record's logger has its file open (caller holds the write
// lock); false when the record is not to be written or the file cannot open.
bool LogerManager::openLogger(LogData* pLog)
{
    if (!isValidId(pLog->nId)) {
        return false;
    }
    LoggerInfo& info = m_loggers[pLog->nId];
    if (!info.bEnable || !info.bOutFile || pLog->nLevel < info.nLevel) {
        return false;
    }
    bool sameDay = pLog->dwTime >= info.dwFileCreateDay && pLog->dwTime <= info.dwFileCreateDay + kSecondsPerDay - 1;
    bool overLimit = info.dwWriterSize > (static_cast<uint64_t>(info.dwLimitSize) << kMegabyteShift);
    if (sameDay) {
        if (!overLimit && info.fileHandle.isOpen()) {
            return true;
        }
        if (overLimit) {
            ++info.dwFileIndex;
        }
    } else {
        info.dwFileIndex = 0;
    }
    info.fileHandle.close();
    return reopenLogger(info, pLog->dwTime);
}

// Opens (or continues) the logger's file for a record stamped time. The file
// name carries neither date nor index, so a reopening continues the same file.
bool LogerManager::reopenLogger(LoggerInfo& info, int64_t time)
{
    LogDay day = LogDay::of(time);
    info.dwFileCreateTime = time;
    info.dwFileCreateDay = day.dwMidnight;
    info.dwWriterSize = 0;
    std::string dir = logDirectory(info.strPath, info.bMonthDir, day);
    makeDirectories(dir);
    std::string path = dir + info.strName + ".log";
    if (!info.fileHandle.openOwnForAppend(path.c_str())) {
        fprintf(stderr, "log4z: can not open log file %s. \r\n", path.c_str());
        info.bOutFile = false;
        return false;
    }
    info.dwWriterSize = info.fileHandle.size();
    // The history only serves the reserve-time deletion; without a reserve
    // time it is not kept, since every record reopens the file and the list
    // would grow by one entry per record.
    if (info.dwReserveTime >= 1) {
        pruneHistory(info, time);
        info.history.emplace_back(time, path);
    }
    return true;
}

// Deletes the oldest files older than the reserve time, always keeping the
// newest entry of the history.
void LogerManager::pruneHistory(LoggerInfo& info, int64_t now)
{
    while (info.history.size() > 1 && info.history.front().first < now - info.dwReserveTime) {
        remove(info.history.front().second.c_str());
        info.history.pop_front();
    }
}

void LogerManager::closeLogger(LoggerId id)
{
    if (id >= 0 && id < kMaxLoggers) {
        m_loggers[id].fileHandle.close();
    }
}

LoggerId LogerManager::createLogger(const char* key)
{
    if (key == nullptr) {
        return LOG4Z_INVALID_LOGGER_ID;
    }
    std::string trimmed = key;
    trimLogConfig(trimmed);
    if (trimmed.empty()) {
        return LOG4Z_INVALID_LOGGER_ID;
    }
    AutoLock guard(m_writeLock);
    auto found = m_ids.find(trimmed);
    if (found != m_ids.end()) {
        return found->second;
    }
    if (m_nLastId + 1 >= kMaxLoggers) {
        return LOG4Z_INVALID_LOGGER_ID;
    }
    LoggerId id = m_nLastId + 1;
    LoggerInfo& info = m_loggers[id];
    info.strKey = trimmed;
    info.strName = trimmed;
    info.bEnable = true;
    m_ids[trimmed] = id;
    m_nLastId = id;
    return id;
}

LoggerId LogerManager::findLogger(const char* key)
{
    if (key == nullptr) {
        return LOG4Z_INVALID_LOGGER_ID;
    }
    AutoLock guard(m_writeLock);
    auto found = m_ids.find(key);
    return found == m_ids.end() ? LOG4Z_INVALID_LOGGER_ID : found->second;
}

// Builds a setting record and hands it to the worker; with no worker running
// it is applied here, so settings made before start() shape the first file.
bool LogerManager::changeSetting(LoggerId id, LogDataType type, int32_t value, const char* text)
{
    if (!isValidId(id)) {
        return false;
    }
    LogData* pLog = allocLogData();
    if (pLog == nullptr) {
        return false;
    }
    memset(static_cast<void*>(pLog), 0, kLogDataClearBytes);
    pLog->nId = id;
    pLog->nType = type;
    pLog->nValue = value;
    if (text != nullptr) {
        snprintf(pLog->text, kLogTextCapacity, "%s", text);
        pLog->nLength = static_cast<int32_t>(strlen(pLog->text));
    }
    if (m_bRuning) {
        pushToQueue(pLog);
        return true;
    }
    onHotChange(pLog);
    freeLogData(pLog);
    return true;
}

// Applies a setting record and closes the logger's file so the next record
// reopens it with the new settings.
void LogerManager::onHotChange(const LogData* pLog)
{
    AutoLock guard(m_writeLock);
    if (!isValidId(pLog->nId)) {
        return;
    }
    LoggerInfo& info = m_loggers[pLog->nId];
    switch (pLog->nType) {
    case LDT_ENABLE_LOGGER:
        info.bEnable = pLog->nValue != 0;
        break;
    case LDT_SET_LOGGER_NAME:
        info.strName = pLog->text;
        break;
    case LDT_SET_LOGGER_PATH:
        info.strPath = pLog->text;
        break;
    case LDT_SET_LOGGER_LEVEL:
        info.nLevel = pLog->nValue;
        break;
    case LDT_SET_LOGGER_FILELINE:
        info.bFileLine = pLog->nValue != 0;
        break;
    case LDT_SET_LOGGER_DISPLAY:
        info.bDisplay = pLog->nValue != 0;
        break;
    case LDT_SET_LOGGER_OUTFILE:
        info.bOutFile = pLog->nValue != 0;
        break;
    case LDT_SET_LOGGER_LIMITSIZE:
        info.dwLimitSize = static_cast<uint32_t>(pLog->nValue);
        break;
    case LDT_SET_LOGGER_MONTHDIR:
        info.bMonthDir = pLog->nValue != 0;
        break;
    case LDT_SET_LOGGER_RESERVETIME:
        info.dwReserveTime = pLog->nValue;
        break;
    default:
        break;
    }
    closeLogger(pLog->nId);
}

bool LogerManager::enableLogger(LoggerId id, bool enable)
{
    return changeSetting(id, LDT_ENABLE_LOGGER, enable ? 1 : 0, nullptr);
}

bool LogerManager::setLoggerName(LoggerId id, const char* name)
{
    return name != nullptr && changeSetting(id, LDT_SET_LOGGER_NAME, 0, name);
}

bool LogerManager::setLoggerPath(LoggerId id, const char* path)
{
    return path != nullptr && changeSetting(id, LDT_SET_LOGGER_PATH, 0, path);
}

// Lowering (or keeping) the level takes effect at once so no wanted line is
// lost; raising it waits its turn in the queue behind the records before it.
bool LogerManager::setLoggerLevel(LoggerId id, int nLevel)
{
    if (!isValidId(id)) {
        return false;
    }
    if (nLevel <= m_loggers[id].nLevel) {
        m_loggers[id].nLevel = nLevel;
        return true;
    }
    return changeSetting(id, LDT_SET_LOGGER_LEVEL, nLevel, nullptr);
}

bool LogerManager::setLoggerFileLine(LoggerId id, bool enable)
{
    return changeSetting(id, LDT_SET_LOGGER_FILELINE, enable ? 1 : 0, nullptr);
}

bool LogerManager::setLoggerDisplay(LoggerId id, bool enable)
{
    return changeSetting(id, LDT_SET_LOGGER_DISPLAY, enable ? 1 : 0, nullptr);
}

bool LogerManager::setLoggerOutFile(LoggerId id, bool enable)
{
    return changeSetting(id, LDT_SET_LOGGER_OUTFILE, enable ? 1 : 0, nullptr);
}

// The limit travels in the record's signed value and comes back unsigned.
bool LogerManager::setLoggerLimitsize(LoggerId id, unsigned int limitsize)
{
    return changeSetting(id, LDT_SET_LOGGER_LIMITSIZE, static_cast<int32_t>(limitsize), nullptr);
}

bool LogerManager::setLoggerMonthdir(LoggerId id, bool enable)
{
    return changeSetting(id, LDT_SET_LOGGER_MONTHDIR, enable ? 1 : 0, nullptr);
}

// The record's value is 32 bits; longer reserve times are cut to the largest
// that fits (about 68 years), shorter negative ones to the smallest.
bool LogerManager::setLoggerReserveTime(LoggerId id, long seconds)
{
    long clamped = seconds > INT32_MAX ? INT32_MAX : (seconds < INT32_MIN ? INT32_MIN : seconds);
    return changeSetting(id, LDT_SET_LOGGER_RESERVETIME, static_cast<int32_t>(clamped), nullptr);
}

bool LogerManager::setAutoUpdate(int interval)
{
    m_nAutoUpdate = interval < 0 ? 0 : interval;
    return true;
}

bool LogerManager::isLoggerEnable(LoggerId id)
{
    return isValidId(id) && m_loggers[id].bEnable;
}

unsigned long long LogerManager::getStatusTotalWriteCount()
{
    return m_ullStatusTotalWriteCount;
}

unsigned long long LogerManager::getStatusTotalWriteBytes()
{
    return m_ullStatusTotalWriteBytes;
}

unsigned long long LogerManager::getStatusTotalPushQueue()
{
    return m_ullStatusTotalPushQueue;
}

unsigned long long LogerManager::getStatusTotalPopQueue()
{
    return m_ullStatusTotalPopQueue;
}

unsigned int LogerManager::getStatusActiveLoggers()
{
    unsigned int active = 0;
    for (LoggerId id = 0; id <= m_nLastId; ++id) {
        active += m_loggers[id].bEnable ? 1 : 0;
    }
    return active;
}

bool LogerManager::getLoggerSnapshot(LoggerId id, LoggerSnapshot& out)
{
    AutoLock guard(m_writeLock);
    if (!isValidId(id)) {
        return false;
    }
    const LoggerInfo& info = m_loggers[id];
    out.strKey = info.strKey;
    out.strName = info.strName;
    out.strPath = info.strPath;
    out.nLevel = info.nLevel;
    out.bDisplay = info.bDisplay;
    out.bOutFile = info.bOutFile;
    out.bMonthDir = info.bMonthDir;
    out.dwLimitSize = info.dwLimitSize;
    out.bEnable = info.bEnable;
    out.bFileLine = info.bFileLine;
    out.dwReserveTime = info.dwReserveTime;
    out.dwFileCreateTime = info.dwFileCreateTime;
    out.dwFileCreateDay = info.dwFileCreateDay;
    out.dwFileIndex = info.dwFileIndex;
    out.dwWriterSize = info.dwWriterSize;
    out.bFileOpen = info.fileHandle.isOpen();
    out.nHistory = info.history.size();
    return true;
}

void LogerManager::pushToQueue(LogData* pLog)
{
    AutoLock guard(m_logLock);
    m_logs.push_back(pLog);
    m_nQueued = m_logs.size();
    ++m_ullStatusTotalPushQueue;
}

// Returns the oldest queued record, or null when the queue is empty.
LogData* LogerManager::popFromQueue()
{
    AutoLock guard(m_logLock);
    if (m_logs.empty()) {
        return nullptr;
    }
    LogData* pLog = m_logs.front();
    m_logs.pop_front();
    m_nQueued = m_logs.size();
    ++m_ullStatusTotalPopQueue;
    return pLog;
}

size_t LogerManager::lockedQueueSize()
{
    AutoLock guard(m_logLock);
    return m_logs.size();
}

bool LogerManager::start()
{
    if (m_bRuning) {
        return false;
    }
    if (!m_semaphore.create(0) || !m_wake.create(0) || !ThreadHelper::start()) {
        return false;
    }
    return m_semaphore.wait(kWorkerStartTimeoutMs);
}

bool LogerManager::stop()
{
    if (!m_bRuning.exchange(false)) {
        return false;
    }
    m_wake.post();
    ThreadHelper::wait();
    applyLeftoverSettings();
    return true;
}

// Settings queued in the instant between a setter's look at the running flag
// and the worker leaving are applied here rather than lost.
void LogerManager::applyLeftoverSettings()
{
    LogData* pLog;
    while ((pLog = popFromQueue()) != nullptr) {
        if (pLog->nType != LDT_GENERAL) {
            onHotChange(pLog);
        }
        freeLogData(pLog);
    }
}

void LogerManager::run()
{
    m_bRuning = true;
    m_lastAutoCheck = time(nullptr);
    writeStartBanner();
    m_semaphore.post();
    while (true) {
        LogData* pLog = popFromQueue();
        if (pLog != nullptr) {
            serviceRecord(pLog);
            continue;
        }
        idleMaintenance();
        m_wake.wait(kWorkerIdleMs);
        if (!m_bRuning && m_nQueued == 0) {
            break;
        }
        autoUpdateIfDue();
    }
    closeAllFiles();
}

// The banner, then one line per logger id in use, on the main logger.
void LogerManager::writeStartBanner()
{
    LOG_FORMAT_ON(this, LOG4Z_MAIN_LOGGER_ID, LOG_ALARM, "%s", kLogStartBanner);
    for (LoggerId id = 0; id <= m_nLastId; ++id) {
        LoggerSnapshot s;
        if (!getLoggerSnapshot(id, s)) {
            continue;
        }
        LOG_FORMAT_ON(this, LOG4Z_MAIN_LOGGER_ID, LOG_ALARM, "logger id=%d key=%s name=%s path=%s level=%d display=%s",
                      id, s.strKey.c_str(), s.strName.c_str(), s.strPath.c_str(), s.nLevel,
                      s.bDisplay ? "true" : "false");
    }
}

// Serves one queued record: a setting is applied, a line is written.
void LogerManager::serviceRecord(LogData* pLog)
{
    if (!isValidId(pLog->nId)) {
        freeLogData(pLog);
        return;
    }
    if (pLog->nType != LDT_GENERAL) {
        onHotChange(pLog);
        freeLogData(pLog);
        return;
    }
    pushLog(pLog, nullptr, 0);
}

// Flushes files that took writes since the last pass and closes the files of
// loggers that were switched off.
void LogerManager::idleMaintenance()
{
    AutoLock guard(m_writeLock);
    for (LoggerId id = 0; id <= m_nLastId; ++id) {
        LoggerInfo& info = m_loggers[id];
        if (!info.bEnable) {
            info.fileHandle.close();
            continue;
        }
        if (info.fileHandle.isOpen() && m_writesSinceFlush[id] >= 1) {
            info.fileHandle.flush();
            m_writesSinceFlush[id] = 0;
        }
    }
}

// Re-reads the configuration file when more than the interval has passed.
void LogerManager::autoUpdateIfDue()
{
    int interval = m_nAutoUpdate;
    if (interval <= 0) {
        return;
    }
    int64_t now = time(nullptr);
    if (now - m_lastAutoCheck > interval) {
        m_lastAutoCheck = now;
        updateConfig();
    }
}

void LogerManager::closeAllFiles()
{
    AutoLock guard(m_writeLock);
    for (LoggerId id = 0; id < kMaxLoggers; ++id) {
        closeLogger(id);
    }
}
