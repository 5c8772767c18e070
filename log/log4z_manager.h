// The logger manager behind ILog4zManager: the table of loggers, their files,
// the record pool and the worker thread. Included by the logger itself and by
// its tests, which make private managers so that they do not share state.
#ifndef KV_LOG_LOG4Z_MANAGER_H
#define KV_LOG_LOG4Z_MANAGER_H

#include <atomic>
#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "log4z.h"
#include "log4z_support.h"

// Directory of a logger that is not given one.
constexpr char kDefaultLogPath[] = "./log/";
// File size limit of a logger that is not given one, in megabytes.
constexpr uint32_t kDefaultLimitSizeMb = 100;
// At most this many loggers, ids 0..19.
constexpr int kMaxLoggers = 20;
// At most this many spare records are kept for reuse.
constexpr size_t kMaxFreeRecords = 200;
// How long start() waits for the worker to report in, in milliseconds.
constexpr int kWorkerStartTimeoutMs = 3000;
// How long the worker rests when it has nothing to do, in milliseconds;
// stop() cuts the rest short.
constexpr int kWorkerIdleMs = 50;
// The worker's first line in every log it starts.
extern const char kLogStartBanner[];

// The settings of one logger as plain values: what a configuration section
// holds, and what a snapshot of a logger reports.
struct LoggerSettings {
    std::string strKey;
    std::string strName;
    std::string strPath;
    int32_t nLevel = LOG_DEBUG;
    bool bDisplay = true;
    bool bOutFile = true;
    bool bMonthDir = false;
    uint32_t dwLimitSize = kDefaultLimitSizeMb;
    bool bEnable = true;
    bool bFileLine = true;
    int64_t dwReserveTime = 0;  // seconds; 0 keeps every file
};

// A logger's settings plus the state of its current file, for inspection.
struct LoggerSnapshot : LoggerSettings {
    int64_t dwFileCreateTime = 0;
    int64_t dwFileCreateDay = 0;
    uint32_t dwFileIndex = 0;
    uint64_t dwWriterSize = 0;
    bool bFileOpen = false;
    size_t nHistory = 0;
};

// One logger's settings and file state. The fields that producers test
// without taking the write lock are atomic; the rest change only under it.
struct LoggerInfo {
    std::string strKey;                                  // found by configuration and findLogger
    std::string strName;                                 // file name stem
    std::string strPath;                                 // directory
    std::atomic<int32_t> nLevel;                         // records below it are dropped
    std::atomic<bool> bDisplay;                          // screen echo (a no-op here)
    std::atomic<bool> bOutFile;                          // write to the file
    bool bMonthDir;                                      // files under a "YYYY_MM/" subdirectory
    uint32_t dwLimitSize;                                // megabytes before the file is reopened
    std::atomic<bool> bEnable;                           // logger on or off
    std::atomic<bool> bFileLine;                         // append " file:line" to each record
    int64_t dwReserveTime;                               // seconds after which old files are deleted
    int64_t dwFileCreateTime;                            // time of the record that opened the file
    int64_t dwFileCreateDay;                             // local midnight of that day
    uint32_t dwFileIndex;                                // reopenings on the same day
    uint64_t dwWriterSize;                               // bytes in the current file
    Log4zFileHandler fileHandle;                         // the open file, if any
    std::list<std::pair<int64_t, std::string>> history;  // (time, path) of files opened

    LoggerInfo();
};

class LogerManager : public ThreadHelper, public ILog4zManager {
public:
    // A stopped manager with only the main logger (key and name "Main") enabled.
    LogerManager();
    // Stops the worker and releases every record still held.
    ~LogerManager() override;

    bool config(const char* configPath) override;
    bool configFromString(const char* configContent) override;
    LoggerId createLogger(const char* key) override;
    bool start() override;
    bool stop() override;
    LoggerId findLogger(const char* key) override;
    bool prePushLog(LoggerId id, int level) override;
    bool pushLog(LogData* pLog, const char* file = nullptr, int line = 0) override;
    bool enableLogger(LoggerId id, bool enable) override;
    bool setLoggerName(LoggerId id, const char* name) override;
    bool setLoggerPath(LoggerId id, const char* path) override;
    bool setLoggerLevel(LoggerId id, int nLevel) override;
    bool setLoggerFileLine(LoggerId id, bool enable) override;
    bool setLoggerDisplay(LoggerId id, bool enable) override;
    bool setLoggerOutFile(LoggerId id, bool enable) override;
    bool setLoggerLimitsize(LoggerId id, unsigned int limitsize) override;
    bool setLoggerMonthdir(LoggerId id, bool enable) override;
    bool setLoggerReserveTime(LoggerId id, long seconds) override;
    bool setAutoUpdate(int interval) override;
    bool updateConfig() override;
    bool isLoggerEnable(LoggerId id) override;
    unsigned long long getStatusTotalWriteCount() override;
    unsigned long long getStatusTotalWriteBytes() override;
    unsigned long long getStatusTotalPushQueue() override;
    unsigned long long getStatusTotalPopQueue() override;
    unsigned int getStatusActiveLoggers() override;
    LogData* makeLogData(LoggerId id, int level) override;
    void freeLogData(LogData* log) override;

    // The worker: banner and logger table, then settings from the queue,
    // idle flushing and the configuration timer until stopped.
    void run() override;

    // Parses a configuration text and applies its sections; isUpdate sends
    // changes to existing loggers through the setting operations. Always true.
    bool configFromStringImpl(const std::string& content, bool isUpdate);

    // Copies a logger's settings and file state; false for an id not in use.
    bool getLoggerSnapshot(LoggerId id, LoggerSnapshot& out);
    // Returns how many spare records the pool holds.
    size_t getFreePoolSize();
    // Returns the process id as six zero-padded digits.
    const std::string& getPid() const { return m_strPid; }
    // Returns the process name from /proc, or "process".
    const std::string& getProcessName() const { return m_strProcessName; }

private:
    bool isValidId(LoggerId id) const;
    bool accepts(LoggerId id, int level) const;
    LogData* allocLogData();
    LogDay cachedDay(int64_t time);
    bool changeSetting(LoggerId id, LogDataType type, int32_t value, const char* text);
    void pushToQueue(LogData* pLog);
    LogData* popFromQueue();
    size_t lockedQueueSize();
    void onHotChange(const LogData* pLog);
    void serviceRecord(LogData* pLog);
    void writeRecord(LogData* pLog);
    bool openLogger(LogData* pLog);
    bool reopenLogger(LoggerInfo& info, int64_t time);
    void pruneHistory(LoggerInfo& info, int64_t now);
    void closeLogger(LoggerId id);
    void writeStartBanner();
    void idleMaintenance();
    void autoUpdateIfDue();
    void closeAllFiles();
    void applyLeftoverSettings();
    void applySection(const LoggerSettings& section, bool isUpdate);
    void copySettings(LoggerId id, const LoggerSettings& section);
    void applyBySetters(LoggerId id, const LoggerSettings& section);

    std::string m_strPid;
    std::string m_strProcessName;
    LoggerInfo m_loggers[kMaxLoggers];
    std::atomic<int> m_nLastId;
    std::map<std::string, LoggerId> m_ids;  // key -> id, under the write lock
    std::atomic<bool> m_bRuning;
    std::string m_strConfigFile;  // under m_configLock
    LockHelper m_configLock;
    std::atomic<int> m_nAutoUpdate;  // seconds; 0 is off
    int64_t m_lastAutoCheck;         // worker only

    std::deque<LogData*> m_logs;
    LockHelper m_logLock;
    std::atomic<size_t> m_nQueued;  // m_logs.size(), readable without the lock
    SemHelper m_semaphore;
    SemHelper m_wake;  // posted by stop() to end the worker's rest at once

    std::vector<LogData*> m_freeLogDatas;
    LockHelper m_freeLock;

    LockHelper m_writeLock;
    std::atomic<unsigned long long> m_ullStatusTotalWriteCount;
    std::atomic<unsigned long long> m_ullStatusTotalWriteBytes;
    std::atomic<unsigned long long> m_ullStatusTotalPushQueue;
    std::atomic<unsigned long long> m_ullStatusTotalPopQueue;
    uint32_t m_writesSinceFlush[kMaxLoggers];  // under the write lock

    LogDay m_day;  // cached local date, under m_dayLock
    LockHelper m_dayLock;
};

#endif  // KV_LOG_LOG4Z_MANAGER_H
