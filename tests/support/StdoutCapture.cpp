// Standard-output capture for unit tests.
#include "StdoutCapture.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "TestFiles.h"

namespace kvtest {

StdoutCapture::StdoutCapture()
{
    fflush(stdout);
    m_saved = dup(1);
    int file = open(m_dir.File("stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(file, 1);
    close(file);
}

StdoutCapture::~StdoutCapture()
{
    Take();
}

std::string StdoutCapture::Take()
{
    if (m_saved >= 0) {
        fflush(stdout);
        dup2(m_saved, 1);
        close(m_saved);
        m_saved = -1;
        m_text = ReadFile(m_dir.File("stdout"));
    }
    return m_text;
}

}  // namespace kvtest
