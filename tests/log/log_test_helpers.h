// Helpers shared by the logger's tests: the pieces of a written log line,
// records made by hand and the base of the configuration tests; the
// temporary directory, file helpers and standard-error capture come from
// the shared test support.
#ifndef KV_TESTS_LOG_TEST_HELPERS_H
#define KV_TESTS_LOG_TEST_HELPERS_H

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "StreamCapture.h"
#include "TempDir.h"
#include "TestFiles.h"
#include "log4z_manager.h"

namespace logtest {

using kvtest::FileExists;
using kvtest::ReadFile;
using kvtest::StderrCapture;
using kvtest::TempDir;
using kvtest::WriteFile;

// The size of a file in bytes; 0 when there is none.
inline uint64_t fileSize(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

// Splits a log file into its lines, each keeping its "\r\n".
inline std::vector<std::string> splitLines(const std::string& content)
{
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < content.size()) {
        size_t end = content.find("\r\n", start);
        if (end == std::string::npos) {
            lines.push_back(content.substr(start));
            break;
        }
        lines.push_back(content.substr(start, end + 2 - start));
        start = end + 2;
    }
    return lines;
}

// A written line taken apart: the thread id, the level name and what follows
// the prefix (message, optional " file:line" and "\r\n").
struct ParsedLine {
    bool ok = false;
    unsigned long threadId = 0;
    std::string level;
    std::string rest;
};

// Parses "YYYY-MM-DD hh:mm:ss.mmm [tid] LEVEL rest".
inline ParsedLine parseLine(const std::string& line)
{
    static const std::regex prefix(R"(^\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3} \[(\d+)\] (LOG_[A-Z]+) )");
    ParsedLine parsed;
    std::smatch m;
    if (std::regex_search(line, m, prefix)) {
        parsed.ok = true;
        parsed.threadId = std::stoul(m[1].str());
        parsed.level = m[2].str();
        parsed.rest = m.suffix().str();
    }
    return parsed;
}

inline unsigned long testThreadId()
{
    return static_cast<unsigned long>(syscall(SYS_gettid));
}

// Local time of a calendar moment, for records stamped on chosen days.
inline int64_t localTime(int year, int month, int day, int hour, int minute, int second)
{
    struct tm t = {};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    t.tm_isdst = -1;
    return static_cast<int64_t>(mktime(&t));
}

// Takes a record, writes msg after its prefix and, when time is given,
// restamps it; the caller pushes it. Returns null when refused.
inline LogData* recordWith(LogerManager& manager, LoggerId id, int level, const std::string& msg, int64_t time = -1)
{
    LogData* r = manager.makeLogData(id, level);
    if (r == nullptr) {
        return nullptr;
    }
    int room = kLogTextCapacity - r->nLength;
    int len = snprintf(r->text + r->nLength, static_cast<size_t>(room), "%s", msg.c_str());
    r->nLength += len > room ? room : len;
    if (time >= 0) {
        r->dwTime = time;
    }
    return r;
}

// The text of a record as it stands (prefix and message so far).
inline std::string recordText(const LogData* r)
{
    return std::string(r->text, r->nLength);
}

// Returns a snapshot of a logger; an empty one when the id is not in use.
inline LoggerSnapshot snapshotOf(LogerManager& manager, LoggerId id)
{
    LoggerSnapshot s;
    manager.getLoggerSnapshot(id, s);
    return s;
}

// Test base of the configuration tests: a manager of the test's own and a
// directory for configuration files.
class ConfigTest : public ::testing::Test {
protected:
    // Parses text on the test's manager and returns logger id's settings.
    LoggerSnapshot apply(const std::string& text, LoggerId id = 0)
    {
        EXPECT_TRUE(mgr.configFromString(text.c_str()));
        return snapshotOf(mgr, id);
    }

    TempDir dir;
    LogerManager mgr;
};

}  // namespace logtest

#endif  // KV_TESTS_LOG_TEST_HELPERS_H
