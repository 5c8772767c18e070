// Temporary directories for tests.
#include "TempDir.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace kvtest {

// Under /tmp whatever TMPDIR says: a test run in a private /tmp (see
// tests/jobchannel) then keeps its directories there, and they go with it.
TempDir::TempDir()
{
    char pattern[] = "/tmp/kvtest.XXXXXX";
    if (mkdtemp(pattern) == nullptr)
        throw std::runtime_error("mkdtemp failed for a test directory");
    m_path = pattern;
}

// Removal is best effort: a left-over temporary directory harms no test.
TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

}  // namespace kvtest
