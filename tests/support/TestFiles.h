// Whole-file reads and writes for tests, which compare files byte for byte
// and set up their inputs in one call.
#ifndef KV_TESTS_TESTFILES_H
#define KV_TESTS_TESTFILES_H

#include <string>

namespace kvtest {

// Reads a whole file; empty when it cannot be read.
std::string ReadFile(const std::string& path);
// Writes `data` to `path`, replacing what was there; true when every byte
// was written.
bool WriteFile(const std::string& path, const std::string& data);
// True when something is at `path` (a link is followed).
bool FileExists(const std::string& path);

}  // namespace kvtest

#endif
