// Driver-log parsing for tests.
#include "LogLines.h"

#include <fstream>
#include <regex>

namespace kvtest {

std::vector<LogLine> ParseLog(const std::string& text)
{
    static const std::regex kLine(
        R"(^\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3} \[\d+\] (LOG_[A-Z]+) ([\s\S]*) ([^ :]+):(\d+)\r\n$)");
    std::vector<LogLine> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find("\r\n", start);
        end = (end == std::string::npos) ? text.size() : end + 2;
        LogLine line;
        line.raw = text.substr(start, end - start);
        std::smatch m;
        if (std::regex_match(line.raw, m, kLine)) {
            line.level = m[1];
            line.message = m[2];
            line.file = m[3];
            line.line = std::stoi(m[4]);
        }
        lines.push_back(line);
        start = end;
    }
    return lines;
}

int SourceLine(const std::string& relativePath, const std::string& text)
{
    std::ifstream in(std::string(KV_SOURCE_DIR) + "/" + relativePath);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.find(text) != std::string::npos)
            return number;
    }
    return 0;
}

LogLine ExpectedDebug(const std::string& message, const std::string& relativePath, const std::string& callText)
{
    LogLine line;
    line.level = "LOG_DEBUG";
    line.message = message;
    line.file = relativePath.substr(relativePath.find_last_of('/') + 1);
    line.line = SourceLine(relativePath, callText);
    return line;
}

}  // namespace kvtest
