// Standard-output and standard-error capture for unit tests.
#include "StreamCapture.h"

#include <fcntl.h>

#include <cstdio>

#include "TestFiles.h"

namespace kvtest {

StreamCapture::StreamCapture(int fd) : m_fd(fd)
{
    Flush();
    m_saved = dup(m_fd);
    int file = open(m_dir.File("captured").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(file, m_fd);
    close(file);
}

StreamCapture::~StreamCapture()
{
    Take();
}

std::string StreamCapture::Take()
{
    if (m_saved >= 0) {
        Flush();
        dup2(m_saved, m_fd);
        close(m_saved);
        m_saved = -1;
        m_text = ReadFile(m_dir.File("captured"));
    }
    return m_text;
}

void StreamCapture::Flush() const
{
    std::fflush(m_fd == STDERR_FILENO ? stderr : stdout);
}

}  // namespace kvtest
