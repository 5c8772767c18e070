// Captures what the code under test writes to standard output or standard
// error, descriptor and stdio buffer alike, until Take() or destruction.
#ifndef KV_TESTS_STREAMCAPTURE_H
#define KV_TESTS_STREAMCAPTURE_H

#include <unistd.h>

#include <string>

#include "TempDir.h"

namespace kvtest {

class StreamCapture {
public:
    // Starts capturing descriptor `fd`: STDOUT_FILENO or STDERR_FILENO.
    explicit StreamCapture(int fd);
    ~StreamCapture();
    StreamCapture(const StreamCapture&) = delete;
    StreamCapture& operator=(const StreamCapture&) = delete;
    // Restores the stream and returns everything written meanwhile.
    std::string Take();

private:
    // Writes out what stdio still holds for the captured stream.
    void Flush() const;

    int m_fd;
    TempDir m_dir;
    int m_saved = -1;
    std::string m_text;
};

// Standard output, where the filter writes the printer's commands.
class StdoutCapture : public StreamCapture {
public:
    StdoutCapture() : StreamCapture(STDOUT_FILENO) {}
};

// Standard error, where the spooler reads the filter's messages and the
// logger reports files it cannot open.
class StderrCapture : public StreamCapture {
public:
    StderrCapture() : StreamCapture(STDERR_FILENO) {}
};

}  // namespace kvtest

#endif
