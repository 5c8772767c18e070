// Starts the singleton logger in a fresh temporary directory for the tests of
// this process and parses the lines written to its file.
#include "LogCapture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "log4z.h"

namespace {

constexpr char kLoggerName[] = "jobchannel";
constexpr char kDirTemplate[] = "/tmp/kv-jobchannel-log-XXXXXX";
constexpr char kLineEnd[] = "\r\n";
constexpr char kDebugLevel[] = "] LOG_DEBUG ";

// Returns true when `text` is "<name>:<one or more digits>".
bool isSourceOf(const std::string& text, const std::string& name)
{
    if (text.size() <= name.size() + 1 || text.compare(0, name.size(), name) != 0 ||
        text[name.size()] != ':') {
        return false;
    }
    for (std::size_t i = name.size() + 1; i < text.size(); ++i) {
        if (!std::isdigit(static_cast<unsigned char>(text[i]))) {
            return false;
        }
    }
    return true;
}

// Returns the message of a debug line from `name`, or "MALFORMED: " + line.
std::string messageOf(const std::string& line, const std::string& name)
{
    const std::size_t level = line.find(kDebugLevel);
    const std::size_t sourceStart = line.rfind(' ');
    if (level == std::string::npos || sourceStart == std::string::npos) {
        return "MALFORMED: " + line;
    }
    // The message sits between the level's trailing blank and the blank
    // before the source; an empty message leaves the two blanks adjacent.
    const std::size_t messageStart = level + sizeof(kDebugLevel) - 1;
    if (sourceStart < messageStart || !isSourceOf(line.substr(sourceStart + 1), name)) {
        return "MALFORMED: " + line;
    }
    return line.substr(messageStart, sourceStart - messageStart);
}

// Stops the logger after the last test of the process.
class LogCaptureEnvironment : public ::testing::Environment {
public:
    void TearDown() override { LogCapture::instance().shutDown(); }
};

const ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new LogCaptureEnvironment);

}  // namespace

LogCapture& LogCapture::instance()
{
    static LogCapture capture;
    return capture;
}

LogCapture::LogCapture() : m_mark(0)
{
    char dir[sizeof(kDirTemplate)];
    std::snprintf(dir, sizeof(dir), "%s", kDirTemplate);
    if (mkdtemp(dir) == nullptr) {
        ADD_FAILURE() << "cannot create the log directory";
        return;
    }
    m_dir = dir;
    m_file = m_dir + "/" + kLoggerName + ".log";
    ILog4zManager* manager = ILog4zManager::getInstance();
    manager->setLoggerPath(LOG4Z_MAIN_LOGGER_ID, m_dir.c_str());
    manager->setLoggerName(LOG4Z_MAIN_LOGGER_ID, kLoggerName);
    manager->start();
}

std::string LogCapture::fileContent() const
{
    std::ifstream in(m_file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void LogCapture::mark()
{
    m_mark = fileContent().size();
}

std::vector<std::string> LogCapture::debugMessagesFrom(const std::string& sourceName) const
{
    const std::string content = fileContent();
    std::vector<std::string> messages;
    std::size_t begin = m_mark < content.size() ? m_mark : content.size();
    while (begin < content.size()) {
        std::size_t end = content.find(kLineEnd, begin);
        if (end == std::string::npos) {
            end = content.size();
        }
        const std::string line = content.substr(begin, end - begin);
        if (line.find(" " + sourceName + ":") != std::string::npos) {
            messages.push_back(messageOf(line, sourceName));
        }
        begin = end + sizeof(kLineEnd) - 1;
    }
    return messages;
}

void LogCapture::shutDown()
{
    ILog4zManager::getInstance()->stop();
    if (!m_dir.empty()) {
        std::remove(m_file.c_str());
        rmdir(m_dir.c_str());
    }
}
