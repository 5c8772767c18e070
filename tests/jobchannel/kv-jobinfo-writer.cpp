// Test program that rewrites the job information file through FileLock, the
// way the filter does, so tests can run several writers as real processes and
// read back what one of them logged.
//
// Usage: kv-jobinfo-writer JOB_ID FIRST_INDEX COUNT [LOG_DIR]
//
// Writes the records (JOB_ID, FIRST_INDEX), (JOB_ID, FIRST_INDEX + 1), ...
// COUNT of them, each with the filter's 5-second lock time-out. With LOG_DIR
// the main logger writes to LOG_DIR/writer.log. Exit status 0 when every
// write succeeded, 1 when any gave up, 2 on a bad command line.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "FileLock.h"
#include "log4z.h"

namespace {

// The time-out every caller in the filter passes.
constexpr int kFilterTimeoutSeconds = 5;
constexpr char kLogName[] = "writer";

constexpr int kExitOk = 0;
constexpr int kExitWriteFailed = 1;
constexpr int kExitUsage = 2;

// Reads a decimal argument; false when it is not one whole number.
bool ParseNumber(const char* text, long& value)
{
    char* end = nullptr;
    value = strtol(text, &end, 10);
    return end != text && *end == '\0';
}

}  // namespace

int main(int argc, char* argv[])
{
    long jobId = 0;
    long firstIndex = 0;
    long count = 0;
    if ((argc != 4 && argc != 5) || !ParseNumber(argv[1], jobId) || !ParseNumber(argv[2], firstIndex) ||
        !ParseNumber(argv[3], count)) {
        fputs("usage: kv-jobinfo-writer JOB_ID FIRST_INDEX COUNT [LOG_DIR]\n", stderr);
        return kExitUsage;
    }
    ILog4zManager* logger = ILog4zManager::getInstance();
    if (argc == 5) {
        logger->setLoggerPath(LOG4Z_MAIN_LOGGER_ID, argv[4]);
        logger->setLoggerName(LOG4Z_MAIN_LOGGER_ID, kLogName);
        logger->start();
    }
    bool allWritten = true;
    {
        FileLock file;
        for (long i = 0; i < count; ++i) {
            if (!file.writeJobInfoTimeout(static_cast<int>(jobId), static_cast<int>(firstIndex + i),
                                          kFilterTimeoutSeconds))
                allWritten = false;
        }
    }
    if (argc == 5)
        logger->stop();
    return allWritten ? kExitOk : kExitWriteFailed;
}
