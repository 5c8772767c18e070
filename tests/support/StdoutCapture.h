// Captures what the code under test writes to standard output, descriptor
// and stdio buffer alike, until Take() or destruction.
#ifndef KV_TESTS_STDOUTCAPTURE_H
#define KV_TESTS_STDOUTCAPTURE_H

#include <string>

#include "TempDir.h"

namespace kvtest {

class StdoutCapture {
public:
    StdoutCapture();
    ~StdoutCapture();
    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;
    // Restores standard output and returns everything written meanwhile.
    std::string Take();

private:
    TempDir m_dir;
    int m_saved = -1;
    std::string m_text;
};

}  // namespace kvtest

#endif
