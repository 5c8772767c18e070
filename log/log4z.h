// Public face of the process-wide file logger: the levels, the log record, the
// manager interface every part of the filter talks to, and the logging macros.
#ifndef KV_LOG_LOG4Z_H
#define KV_LOG_LOG4Z_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Logger ids index a fixed table; id 0 is the main logger, key "Main".
using LoggerId = int;
constexpr LoggerId LOG4Z_MAIN_LOGGER_ID = 0;
constexpr LoggerId LOG4Z_INVALID_LOGGER_ID = -1;

// Levels, lowest first, numbered from 0 (LOG_TRACE) to 6 (LOG_FATAL); a
// logger drops every record below its own level.
enum LogLevel : int32_t { LOG_TRACE, LOG_DEBUG, LOG_INFO, LOG_WARN, LOG_ERROR, LOG_ALARM, LOG_FATAL };
static_assert(LOG_FATAL == 6, "the levels are numbered 0 to 6");

// Room for the text of one record, prefix included.
constexpr int kLogTextCapacity = 8192;
// The text array is three bytes longer than the room, so that a record that
// filled its room can still be ended with "\r\n" and a NUL in place.
constexpr int kLogTextArraySize = kLogTextCapacity + 3;
// Every record is one malloc'd block of exactly this many bytes.
constexpr size_t kLogDataBlockSize = 8231;

// What a record carries: a line to write, or a change of one logger setting
// that the worker applies (the numbering is shared with the worker).
enum LogDataType : int32_t {
    LDT_GENERAL = 0,
    LDT_ENABLE_LOGGER = 1,
    LDT_SET_LOGGER_NAME = 2,
    LDT_SET_LOGGER_PATH = 3,
    LDT_SET_LOGGER_LEVEL = 4,
    LDT_SET_LOGGER_FILELINE = 5,
    LDT_SET_LOGGER_DISPLAY = 6,
    LDT_SET_LOGGER_OUTFILE = 7,
    LDT_SET_LOGGER_LIMITSIZE = 8,
    LDT_SET_LOGGER_MONTHDIR = 9,
    LDT_SET_LOGGER_RESERVETIME = 10,
};

// One log record. The layout is fixed (packed, field by field) because a
// record is recycled as a raw block through the free-record pool.
struct __attribute__((packed)) LogData {
    int32_t nId;                   // logger id
    int32_t nType;                 // a LogDataType; 0 for a log line
    int32_t nValue;                // new value of a setting change
    int32_t nLevel;                // level of the line
    int64_t dwTime;                // seconds since the epoch
    uint32_t dwMilliseconds;       // milliseconds of the time stamp
    uint32_t dwThreadId;           // kernel thread id of the writer
    int32_t nLength;               // bytes used in text
    char text[kLogTextArraySize];  // the line (or a setting's name or path)
};
static_assert(sizeof(LogData) == kLogDataBlockSize, "a log record is one block of 8231 bytes");

// The manager's operations; the slot order is part of the binary contract.
class ILog4zManager {
public:
    virtual ~ILog4zManager() {}

    // Reads the configuration file once; false on a second call or an unreadable file.
    virtual bool config(const char* configPath) = 0;
    // Parses a configuration text; false only for a null text.
    virtual bool configFromString(const char* configContent) = 0;
    // Returns the id registered under the trimmed key, creating it when new; -1 when impossible.
    virtual LoggerId createLogger(const char* key) = 0;
    // Starts the worker; false when already running or when it did not report in time.
    virtual bool start() = 0;
    // Stops and joins the worker; false when it was not running.
    virtual bool stop() = 0;
    // Returns the id registered under key, or -1.
    virtual LoggerId findLogger(const char* key) = 0;
    // True when a record of this level for this logger would be written.
    virtual bool prePushLog(LoggerId id, int level) = 0;
    // Ends the record with file:line and "\r\n", writes it and frees it; false when refused.
    virtual bool pushLog(LogData* pLog, const char* file = nullptr, int line = 0) = 0;
    // The setting operations: each returns false for an id outside 0..highest
    // id in use (and for a null name or path), true once the change is applied
    // or queued for the worker; the logger's file is reopened with it.
    virtual bool enableLogger(LoggerId id, bool enable) = 0;
    virtual bool setLoggerName(LoggerId id, const char* name) = 0;
    virtual bool setLoggerPath(LoggerId id, const char* path) = 0;
    // A lower or equal level applies at once; a higher one goes through the worker.
    virtual bool setLoggerLevel(LoggerId id, int nLevel) = 0;
    virtual bool setLoggerFileLine(LoggerId id, bool enable) = 0;
    virtual bool setLoggerDisplay(LoggerId id, bool enable) = 0;
    virtual bool setLoggerOutFile(LoggerId id, bool enable) = 0;
    virtual bool setLoggerLimitsize(LoggerId id, unsigned int limitsize) = 0;
    virtual bool setLoggerMonthdir(LoggerId id, bool enable) = 0;
    virtual bool setLoggerReserveTime(LoggerId id, long seconds) = 0;
    // Sets the interval in seconds at which the worker re-reads the configuration file; 0 is off.
    virtual bool setAutoUpdate(int interval) = 0;
    // Re-reads the stored configuration file; false when none was given.
    virtual bool updateConfig() = 0;
    // False for an id not in use or a logger switched off.
    virtual bool isLoggerEnable(LoggerId id) = 0;
    // Status counters: records and bytes written, records queued and taken
    // from the queue, and loggers currently enabled.
    virtual unsigned long long getStatusTotalWriteCount() = 0;
    virtual unsigned long long getStatusTotalWriteBytes() = 0;
    virtual unsigned long long getStatusTotalPushQueue() = 0;
    virtual unsigned long long getStatusTotalPopQueue() = 0;
    virtual unsigned int getStatusActiveLoggers() = 0;
    // Returns a record stamped with the time, thread and level prefix; null only when out of memory.
    virtual LogData* makeLogData(LoggerId id, int level) = 0;
    // Returns a record to the pool (or to the heap when the pool is full).
    virtual void freeLogData(LogData* log) = 0;

    // The single process-wide manager, built on first use and never destroyed.
    static ILog4zManager* getInstance();
};

// Logs one formatted line through a given manager: ask, take a record, format
// after the prefix with snprintf, count what fitted, hand it back with the
// caller's file and line.
#define LOG_FORMAT_ON(manager, id, level, fmt, ...)                                                                    \
    do {                                                                                                               \
        ::ILog4zManager* kvLogMgr_ = (manager);                                                                        \
        if (kvLogMgr_->prePushLog((id), (level))) {                                                                    \
            ::LogData* kvLogRec_ = kvLogMgr_->makeLogData((id), (level));                                              \
            if (kvLogRec_ != nullptr) {                                                                                \
                int kvLogRoom_ = ::kLogTextCapacity - kvLogRec_->nLength;                                              \
                if (kvLogRoom_ < 0)                                                                                    \
                    kvLogRoom_ = 0;                                                                                    \
                int kvLogLen_ = snprintf(kvLogRec_->text + kvLogRec_->nLength, static_cast<size_t>(kvLogRoom_), fmt,   \
                                         ##__VA_ARGS__);                                                               \
                if (kvLogLen_ < 0)                                                                                     \
                    kvLogLen_ = 0;                                                                                     \
                if (kvLogLen_ > kvLogRoom_)                                                                            \
                    kvLogLen_ = kvLogRoom_;                                                                            \
                kvLogRec_->nLength += kvLogLen_;                                                                       \
                kvLogMgr_->pushLog(kvLogRec_, __FILE__, __LINE__);                                                     \
            }                                                                                                          \
        }                                                                                                              \
    } while (0)

// Pointers go into log lines as 32-bit hexadecimal values ("0x%x"), their
// low half, as the driver log has always shown them.
inline unsigned LogPointer32(const void* p)
{
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p));
}

// The one call form used everywhere: a line on the single manager.
#define LOG_FORMAT(id, level, fmt, ...) LOG_FORMAT_ON(::ILog4zManager::getInstance(), id, level, fmt, ##__VA_ARGS__)

// A debug-level line on the main logger.
#define LOGFMTD(fmt, ...) LOG_FORMAT(LOG4Z_MAIN_LOGGER_ID, LOG_DEBUG, fmt, ##__VA_ARGS__)

#endif  // KV_LOG_LOG4Z_H
