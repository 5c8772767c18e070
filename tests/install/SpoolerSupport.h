// Installation and a private print spooler for the tests: "cmake --install"
// into a staging folder, and a CUPS scheduler of its own (loopback only,
// every folder temporary) that finds the staged filter and PPDs.
#ifndef KV_TESTS_INSTALL_SPOOLERSUPPORT_H
#define KV_TESTS_INSTALL_SPOOLERSUPPORT_H

#include <string>
#include <vector>

#include "CommandRunner.h"
#include "TempDir.h"

namespace kvinstall {

// The project installed with "cmake --install" under a temporary DESTDIR.
class StagedInstall {
public:
    StagedInstall();
    // True when the installation succeeded; `Log` says what went wrong.
    bool Ok() const { return m_ok; }
    const std::string& Log() const { return m_log; }
    // Folder that stands for "/" of the installed system.
    const std::string& Root() const { return m_dir.Path(); }
    // Path of an installed absolute path inside the staging folder.
    std::string Staged(const std::string& absolute) const { return m_dir.Path() + absolute; }

private:
    kvtest::TempDir m_dir;
    bool m_ok = false;
    std::string m_log;
};

// A CUPS scheduler of the test's own: it listens on a free loopback port,
// keeps its configuration, spool, cache, state and logs in a temporary
// folder, allows file: devices, and sees the system's filters and data plus
// the staged filter and PPDs. Stopped and removed at destruction.
class PrivateCupsd {
public:
    explicit PrivateCupsd(const StagedInstall& install);
    // The same for a driver installed under `root` ("/" for the system's
    // own installation, as a package puts it).
    explicit PrivateCupsd(const std::string& root);
    ~PrivateCupsd();
    PrivateCupsd(const PrivateCupsd&) = delete;
    PrivateCupsd& operator=(const PrivateCupsd&) = delete;

    // True once the scheduler accepts connections.
    bool Running() const { return m_running; }
    // "127.0.0.1:port", for the client programs' -h option.
    std::string Host() const;
    int Port() const { return m_port; }
    // The temporary folder that holds everything of this scheduler.
    const std::string& Folder() const { return m_folder; }
    // A path in the folder that file: devices may write to.
    std::string OutputFile(const std::string& name) const;
    // The scheduler's error log so far.
    std::string ErrorLog() const;
    // Runs a client program (lp, lpadmin, lpinfo, ...) against this server.
    kvtool::CommandResult Client(const std::string& program, std::vector<std::string> args) const;
    // Waits until job `jobId` has ended or `timeoutSeconds` pass; returns
    // its last IPP job state (9 completed, 7 canceled, 8 aborted, ...).
    int WaitForJob(int jobId, int timeoutSeconds) const;
    // Stops the scheduler and removes its folder; returns whether the
    // process ended.
    bool Stop();
    // Process id of the scheduler (0 once stopped).
    int Pid() const;

private:
    void Layout(const std::string& root);
    void WriteConfiguration();
    bool WaitUntilListening(int timeoutSeconds);

    std::string m_folder;
    int m_port = 0;
    int m_pid = 0;  // the scheduler while it has not been reaped
    bool m_running = false;
};

// The job number in lp's answer "request id is printer-12 (1 file(s))";
// -1 when there is none.
int JobIdFromLp(const std::string& lpOutput);

}  // namespace kvinstall

#endif
