// Points the process's main logger at a private temporary file so unit
// tests can read back the lines the code under test logs.
#ifndef KV_TESTS_LOGCAPTURE_H
#define KV_TESTS_LOGCAPTURE_H

#include <string>
#include <vector>

#include "LogLines.h"
#include "TempDir.h"

namespace kvtest {

class LogCapture {
public:
    // Starts the main logger on "<tempdir>/capture.log" the first time;
    // the same capture serves the whole test process.
    static LogCapture& Instance();
    // Forgets what was logged so far.
    void Mark();
    // The lines logged since the last Mark.
    std::vector<LogLine> Since() const;
    // Only the messages of those lines.
    std::vector<std::string> MessagesSince() const;

private:
    LogCapture();
    TempDir m_dir;
    std::string m_path;
    size_t m_mark = 0;
};

}  // namespace kvtest

#endif
