// Main-logger capture for unit tests.
#include "LogCapture.h"

#include "TestFiles.h"
#include "log4z.h"

namespace kvtest {

namespace {

constexpr const char* kCaptureName = "capture";

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

}  // namespace kvtest
