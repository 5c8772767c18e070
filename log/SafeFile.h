// Opening the filter's files at fixed, shared paths (the driver log, the
// debug bitmaps and the job information file under /tmp) so that another
// user cannot turn them against us: no file is used through a symbolic link,
// and none is written unless it is a regular file of our own with a single
// name. Anyone may create names in /tmp, so whatever sits at such a path may
// have been put there to redirect our writes to a file of ours elsewhere.
#ifndef KV_LOG_SAFEFILE_H
#define KV_LOG_SAFEFILE_H

#include <sys/types.h>

#include <cstdio>
#include <string>

namespace kvfile {

// Why a file was not used.
enum class Refusal {
    None,          // opened, and the file is ours to write
    Unopenable,    // the system refused the open for an ordinary reason
    SymbolicLink,  // the name is a symbolic link
    ForeignOwner,  // the file belongs to another user
    NotRegular,    // a directory, a pipe, a device or a socket
    SeveralLinks,  // the file has more than one hard link
};

// Owns one file descriptor and closes it at destruction.
class UniqueFd {
public:
    explicit UniqueFd(int fd = -1) : m_fd(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    // Gives the descriptor up without closing it.
    int release();
    // Closes the descriptor held, if any.
    void reset();

private:
    int m_fd;
};

// What openOwnFile got: the descriptor when the file may be used, else why not.
struct OwnFile {
    UniqueFd fd;
    Refusal refusal = Refusal::Unopenable;
    int error = 0;  // errno of the failed open, when there was one
};

// Opens `path` with the open(2) `flags` and creation `mode` (the process
// mask applies as usual), never following a symbolic link in its last
// component and without blocking on a pipe, then checks the open file: it
// must be a regular file owned by the effective user with exactly one hard
// link. O_TRUNC is applied only once the checks have passed, so a file that
// is refused is never changed. The descriptor is close-on-exec.
OwnFile openOwnFile(const char* path, int flags, mode_t mode);

// openOwnFile, with the file handed over as a stdio stream opened with
// `streamMode` (an fdopen mode matching `flags`). Returns null when the file
// cannot be used; `refusal`, when given, receives the reason.
FILE* openOwnStream(const char* path, int flags, mode_t mode, const char* streamMode, Refusal* refusal = nullptr);

// "<path> is a symbolic link", "<path> belongs to another user", ... for a
// refusal that says something is wrong with the file; empty for None and
// Unopenable.
std::string describeRefusal(const std::string& path, Refusal refusal);

}  // namespace kvfile

#endif  // KV_LOG_SAFEFILE_H
