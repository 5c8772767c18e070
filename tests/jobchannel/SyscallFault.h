// Makes lseek or ftruncate fail on one file, for the tests of the code that
// reports those failures: the job information file is only ever a regular
// file of our own, on which the system would not fail them.
#pragma once

#include <sys/types.h>

class SyscallFault {
public:
    enum class Call { Lseek, Ftruncate };

    // From now until destruction, `call` fails with `error` on every
    // descriptor of the file that is at `path` now; other files are untouched.
    SyscallFault(Call call, const char* path, int error);
    ~SyscallFault();
    SyscallFault(const SyscallFault&) = delete;
    SyscallFault& operator=(const SyscallFault&) = delete;
};
