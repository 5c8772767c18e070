// The test program's own lseek and ftruncate, which the code under test
// (linked statically into the program) calls instead of the C library's: they
// fail on the armed file and pass every other call straight to the kernel.
#include "SyscallFault.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {

// The one armed fault; `armed` is set last and cleared first, so a call
// never sees half of it.
struct Fault {
    std::atomic<bool> armed{false};
    SyscallFault::Call call = SyscallFault::Call::Lseek;
    dev_t device = 0;
    ino_t inode = 0;
    int error = 0;
};
Fault g_fault;

// True when `call` on `fd` is to fail; errno is then set.
bool Hit(SyscallFault::Call call, int fd)
{
    if (!g_fault.armed.load() || g_fault.call != call)
        return false;
    struct stat info;
    if (fstat(fd, &info) != 0 || info.st_dev != g_fault.device || info.st_ino != g_fault.inode)
        return false;
    errno = g_fault.error;
    return true;
}

}  // namespace

SyscallFault::SyscallFault(Call call, const char* path, int error)
{
    struct stat info;
    if (stat(path, &info) != 0)
        return;  // nothing to fail on: the test sees the call succeed
    g_fault.call = call;
    g_fault.device = info.st_dev;
    g_fault.inode = info.st_ino;
    g_fault.error = error;
    g_fault.armed.store(true);
}

SyscallFault::~SyscallFault()
{
    g_fault.armed.store(false);
}

extern "C" off_t lseek(int fd, off_t offset, int whence) noexcept
{
    if (Hit(SyscallFault::Call::Lseek, fd))
        return -1;
    return static_cast<off_t>(syscall(SYS_lseek, fd, offset, whence));
}

extern "C" int ftruncate(int fd, off_t length) noexcept
{
    if (Hit(SyscallFault::Call::Ftruncate, fd))
        return -1;
    return static_cast<int>(syscall(SYS_ftruncate, fd, length));
}
