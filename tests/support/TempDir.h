// A private temporary directory for one test (or one test process), removed
// with everything in it when its holder goes.
#ifndef KV_TESTS_TEMPDIR_H
#define KV_TESTS_TEMPDIR_H

#include <string>

namespace kvtest {

class TempDir {
public:
    // Makes a fresh directory under /tmp; throws when it cannot, so a test
    // never goes on to write beside the directory it was meant to use.
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // The directory's absolute path, without a trailing slash.
    const std::string& Path() const { return m_path; }
    // The path of `name` (which may hold slashes) inside the directory.
    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

}  // namespace kvtest

#endif
