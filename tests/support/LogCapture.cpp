// Main-logger capture for unit tests.
#include "LogCapture.h"

#include <gtest/gtest.h>

#include "TestFiles.h"
#include "log4z.h"

namespace kvtest {

namespace {

constexpr const char* kCaptureName = "capture";
constexpr const char* kDebugLevel = "LOG_DEBUG";
constexpr const char* kLineEnd = "\r\n";

// Set once the capture has started the logger.
bool g_loggerStarted = false;

// Stops the logger after the last test of the process, so that its thread
// is not still writing while the process ends and the capture's directory
// is removed.
class StopLoggerAfterLastTest : public ::testing::Environment {
public:
    void TearDown() override
    {
        if (g_loggerStarted)
            ILog4zManager::getInstance()->stop();
    }
};

const ::testing::Environment* const kStopLogger = ::testing::AddGlobalTestEnvironment(new StopLoggerAfterLastTest);

// `raw` without its line end, for a message that shows the whole line.
std::string WithoutLineEnd(const std::string& raw)
{
    const std::string end = kLineEnd;
    if (raw.size() >= end.size() && raw.compare(raw.size() - end.size(), end.size(), end) == 0)
        return raw.substr(0, raw.size() - end.size());
    return raw;
}

}  // namespace

LogCapture& LogCapture::Instance()
{
    static LogCapture capture;
    return capture;
}

LogCapture::LogCapture() : m_path(m_dir.File(std::string(kCaptureName) + ".log"))
{
    ILog4zManager* logger = ILog4zManager::getInstance();
    logger->setLoggerPath(LOG4Z_MAIN_LOGGER_ID, m_dir.Path().c_str());
    logger->setLoggerName(LOG4Z_MAIN_LOGGER_ID, kCaptureName);
    logger->start();
    g_loggerStarted = true;
    Mark();
}

void LogCapture::Mark()
{
    m_mark = ReadFile(m_path).size();
}

std::vector<LogLine> LogCapture::Since() const
{
    std::string text = ReadFile(m_path);
    return ParseLog(text.size() > m_mark ? text.substr(m_mark) : std::string());
}

std::vector<std::string> LogCapture::MessagesSince() const
{
    std::vector<std::string> messages;
    for (const LogLine& line : Since())
        messages.push_back(line.message);
    return messages;
}

std::vector<std::string> LogCapture::DebugMessagesFrom(const std::string& sourceName) const
{
    std::vector<std::string> messages;
    for (const LogLine& line : Since()) {
        if (line.raw.find(" " + sourceName + ":") == std::string::npos)
            continue;
        if (line.level == kDebugLevel && line.file == sourceName)
            messages.push_back(line.message);
        else
            messages.push_back("MALFORMED: " + WithoutLineEnd(line.raw));
    }
    return messages;
}

}  // namespace kvtest
