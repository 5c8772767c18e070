// Runs the built filter binary as the spooler does: real argv, the PPD
// environment variable, raster on standard input or from a file, and
// standard output and standard error captured to files.
#ifndef KV_TESTS_FILTERPROCESS_H
#define KV_TESTS_FILTERPROCESS_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "TempDir.h"

namespace kvtest {

// Path of the built filter, set by the build.
std::string FilterBinary();

// The standard filter arguments: job-id user title copies options [file].
std::vector<std::string> FilterArgs(const std::string& options = "", const std::string& title = "label",
                                    const std::optional<std::string>& file = std::nullopt,
                                    const std::string& jobId = "42", const std::string& copies = "1");

struct FilterResult {
    int status = -1;  // exit status, or -1 when killed by a signal
    int signal = 0;   // signal that ended the process, if any
    std::string out;  // standard output
    std::string err;  // standard error
    long peakKb = 0;  // the filter's peak resident memory, in kilobytes
};

// An unprivileged account to run the filter as, as the spooler does.
struct FilterUser {
    uid_t uid;
    gid_t gid;
};

class FilterProcess {
public:
    // Starts the filter with `args` (argv[1..]) and PPD=`ppd` (unset when
    // nullopt). With `pipeStdin` standard input is a pipe fed by Write;
    // otherwise it is /dev/null. With `user` (root only) the filter runs as
    // that account, without supplementary groups; the PPD must be readable
    // by it.
    FilterProcess(const std::vector<std::string>& args, const std::optional<std::string>& ppd, bool pipeStdin,
                  const std::optional<FilterUser>& user = std::nullopt);
    ~FilterProcess();
    FilterProcess(const FilterProcess&) = delete;
    FilterProcess& operator=(const FilterProcess&) = delete;

    // Writes bytes to the filter's standard input (blocks until taken).
    void Write(const std::string& data);
    // Closes the filter's standard input.
    void CloseInput();
    // Sends a signal to the filter.
    void Signal(int sig);
    // Waits for the filter to end and collects its output.
    FilterResult Wait();
    pid_t Pid() const { return m_pid; }

private:
    TempDir m_dir;
    pid_t m_pid = -1;
    int m_stdin = -1;
};

// Runs the filter to completion with `stdinData` on standard input, as
// `user` when given.
FilterResult RunFilter(const std::vector<std::string>& args, const std::optional<std::string>& ppd,
                       const std::string& stdinData = "", const std::optional<FilterUser>& user = std::nullopt);

// Polls `path` until it contains `text` or `timeoutMs` pass; returns
// whether it appeared.
bool WaitForFileText(const std::string& path, const std::string& text, int timeoutMs = 10000);

}  // namespace kvtest

#endif
