// Test helper: runs the process-wide logger in a private temporary directory so
// that tests can read back the exact lines the job side channels logged.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class LogCapture {
public:
    // The capture of this test process; the logger is started on first use.
    static LogCapture& instance();

    // Forgets everything logged so far; later reads see only newer lines.
    void mark();

    // Messages of the lines logged since the last mark from the source file
    // `sourceName` (e.g. "CLEFile.cpp"). A line from that file that is not a
    // well-formed debug line ("... LOG_DEBUG <message> <source>:<digits>\r\n")
    // is returned whole, prefixed with "MALFORMED: ", so a comparison fails.
    std::vector<std::string> debugMessagesFrom(const std::string& sourceName) const;

    // Stops the logger and removes its directory; called once at the end.
    void shutDown();

private:
    LogCapture();
    std::string fileContent() const;

    std::string m_dir;
    std::string m_file;
    std::size_t m_mark;
};
