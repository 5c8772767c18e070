// Points the process's main logger at a private temporary file so unit
// tests can read back the exact lines the code under test logs.
#ifndef KV_TESTS_LOGCAPTURE_H
#define KV_TESTS_LOGCAPTURE_H

#include <cstddef>
#include <string>
#include <vector>

#include "LogLines.h"
#include "TempDir.h"

namespace kvtest {

class LogCapture {
public:
    // Starts the main logger on "<tempdir>/capture.log" the first time;
    // the same capture serves the whole test process, and the logger is
    // stopped after its last test.
    static LogCapture& Instance();
    // Forgets what was logged so far; later reads see only newer lines.
    void Mark();
    // The lines logged since the last Mark.
    std::vector<LogLine> Since() const;
    // Only the messages of those lines.
    std::vector<std::string> MessagesSince() const;
    // The messages of the lines logged since the last Mark from the source
    // file `sourceName` (e.g. "CLEFile.cpp"). A line naming that file that
    // is not a well-formed debug line from it is returned whole (without
    // its "\r\n"), prefixed with "MALFORMED: ", so a comparison fails.
    std::vector<std::string> DebugMessagesFrom(const std::string& sourceName) const;

private:
    LogCapture();

    TempDir m_dir;
    std::string m_path;
    std::size_t m_mark = 0;
};

}  // namespace kvtest

#endif
