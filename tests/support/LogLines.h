// Reads driver-log files back as records and finds where a log call stands
// in the source, so tests can check the exact file name and line of a line.
#ifndef KV_TESTS_LOGLINES_H
#define KV_TESTS_LOGLINES_H

#include <string>
#include <vector>

namespace kvtest {

// One parsed log line: "<date> <time>.<ms> [<tid>] <level> <message> <file>:<line>\r\n".
struct LogLine {
    std::string level;
    std::string message;
    std::string file;
    int line = 0;
    std::string raw;  // the whole line as written, "\r\n" included
};

// Parses every line of `text`; a line that does not match the format is
// kept with only `raw` set.
std::vector<LogLine> ParseLog(const std::string& text);

// Number of the first line of source file `relativePath` (from the
// repository root) that contains `text`; 0 when none does.
int SourceLine(const std::string& relativePath, const std::string& text);

// The expected record for a debug line logged at the line that holds
// `callText` in `relativePath`.
LogLine ExpectedDebug(const std::string& message, const std::string& relativePath, const std::string& callText);

}  // namespace kvtest

#endif
