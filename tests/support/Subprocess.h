// Runs a helper program of the test suite (a stand-in service, a writer) as
// a child process that the test can signal, wait for and read from.
#ifndef KV_TESTS_SUBPROCESS_H
#define KV_TESTS_SUBPROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace kvtest {

class Subprocess {
public:
    // Starts `binary` with `args` (argv[1..]); standard input is /dev/null,
    // standard error is the test's own. With `pipeStdout` the child's standard
    // output is a pipe read by ReadLine; otherwise it is /dev/null.
    Subprocess(const std::string& binary, const std::vector<std::string>& args, bool pipeStdout = false);
    // Kills and reaps a child that is still running.
    ~Subprocess();
    Subprocess(const Subprocess&) = delete;
    Subprocess& operator=(const Subprocess&) = delete;

    // Returns the next line of the child's standard output without its "\n",
    // or what came before end of file; empty when nothing is piped.
    std::string ReadLine();
    // Sends `sig` to the child while it has not been waited for.
    void Signal(int sig);
    // Waits for the child to end and returns its exit status, or -1 when a
    // signal ended it (or it was already waited for).
    int Wait();
    pid_t Pid() const { return m_pid; }

private:
    pid_t m_pid = -1;
    int m_stdout = -1;
};

}  // namespace kvtest

#endif
