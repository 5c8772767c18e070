// Opening files at shared paths without following links planted there and
// without writing into files that are not our own.
#include "SafeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kvfile {

namespace {

// Added to every open: no link followed at the last component, no handle
// leaked into programs we start, no wait for a reader when a pipe sits at
// the path, and no terminal taken as ours.
constexpr int kGuardFlags = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// What is wrong with the file `info` describes, for us to write it; None when
// nothing is.
Refusal judge(const struct stat& info)
{
    if (S_ISLNK(info.st_mode))
        return Refusal::SymbolicLink;
    if (!S_ISREG(info.st_mode))
        return Refusal::NotRegular;
    if (info.st_uid != geteuid())
        return Refusal::ForeignOwner;
    if (info.st_nlink > 1)
        return Refusal::SeveralLinks;
    if (info.st_nlink == 0)
        return Refusal::Unopenable;  // removed since it was opened: no longer the file at the path
    return Refusal::None;
}

// Why an open of `path` failed: what sits at the path when that is the
// reason (a link, a directory, someone else's file), else Unopenable.
Refusal explainFailure(const char* path)
{
    struct stat info;
    if (lstat(path, &info) != 0)
        return Refusal::Unopenable;
    const Refusal found = judge(info);
    return found == Refusal::None ? Refusal::Unopenable : found;
}

// Makes the checked descriptor behave as a plain open would have: blocking
// again, and truncated when the caller asked for it. False on failure.
bool finishOpen(int fd, int flags)
{
    const int status = fcntl(fd, F_GETFL);
    if (status < 0 || fcntl(fd, F_SETFL, status & ~O_NONBLOCK) != 0)
        return false;
    return (flags & O_TRUNC) == 0 || ftruncate(fd, 0) == 0;
}

}  // namespace

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept
{
    if (this != &other) {
        reset();
        m_fd = other.release();
    }
    return *this;
}

int UniqueFd::release()
{
    const int fd = m_fd;
    m_fd = -1;
    return fd;
}

void UniqueFd::reset()
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

OwnFile openOwnFile(const char* path, int flags, mode_t mode)
{
    OwnFile file;
    if (path == nullptr)
        return file;
    file.fd = UniqueFd(::open(path, (flags & ~O_TRUNC) | kGuardFlags, mode));
    if (!file.fd.valid()) {
        file.error = errno;
        file.refusal = explainFailure(path);
        return file;
    }
    struct stat info;
    if (fstat(file.fd.get(), &info) != 0) {
        file.error = errno;
        file.fd.reset();
        return file;
    }
    file.refusal = judge(info);
    if (file.refusal == Refusal::None && !finishOpen(file.fd.get(), flags)) {
        file.error = errno;
        file.refusal = Refusal::Unopenable;
    }
    if (file.refusal != Refusal::None)
        file.fd.reset();
    return file;
}

FILE* openOwnStream(const char* path, int flags, mode_t mode, const char* streamMode, Refusal* refusal)
{
    OwnFile file = openOwnFile(path, flags, mode);
    FILE* stream = nullptr;
    if (file.fd.valid()) {
        stream = fdopen(file.fd.get(), streamMode);
        if (stream != nullptr)
            file.fd.release();
        else
            file.refusal = Refusal::Unopenable;
    }
    if (refusal != nullptr)
        *refusal = file.refusal;
    return stream;
}

std::string describeRefusal(const std::string& path, Refusal refusal)
{
    switch (refusal) {
    case Refusal::SymbolicLink:
        return path + " is a symbolic link";
    case Refusal::ForeignOwner:
        return path + " belongs to another user";
    case Refusal::NotRegular:
        return path + " is not a regular file";
    case Refusal::SeveralLinks:
        return path + " has more than one hard link";
    case Refusal::None:
    case Refusal::Unopenable:
        break;
    }
    return std::string();
}

}  // namespace kvfile
