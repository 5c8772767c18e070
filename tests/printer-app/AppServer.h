// kivcp-printer-app run by a test: a server of its own on a free loopback
// port, its state, socket and spool in a temporary folder, printers on
// file: devices in that folder; and the printing through it with ipptool
// and the application's own sub-commands.
#ifndef KV_TESTS_PRINTER_APP_APPSERVER_H
#define KV_TESTS_PRINTER_APP_APPSERVER_H

#include <memory>
#include <string>
#include <vector>

#include "CommandRunner.h"
#include "Subprocess.h"
#include "TempDir.h"

namespace kvapptest {

// IPP job states.
constexpr int kJobCompleted = 9, kJobAborted = 8, kJobCanceled = 7;

class AppServer {
public:
    // Starts the server; Running() says whether it listens.
    AppServer();
    // Shuts the server down (and kills it if it does not go).
    ~AppServer();
    AppServer(const AppServer&) = delete;
    AppServer& operator=(const AppServer&) = delete;

    bool Running() const { return m_running; }
    int Port() const { return m_port; }
    // Whether the server still accepts connections.
    bool Listening() const;
    // The printer's URI: ipp://127.0.0.1:port/ipp/print/NAME.
    std::string PrinterUri(const std::string& printer) const;
    // The server's log so far.
    std::string Log() const;
    // The temporary folder of everything of this server.
    const std::string& Folder() const { return m_dir.Path(); }

    // Runs the application with `args` (a sub-command and its options)
    // against this server.
    kvtool::CommandResult Command(const std::vector<std::string>& args) const;
    // Adds printer `name` with `driver` on a file: device (a folder of this
    // server's, where each job leaves JOB-NAME.prn); false when it fails.
    bool AddPrinter(const std::string& name, const std::string& driver);
    // The folder of printer `name`'s file device.
    std::string OutputFolder(const std::string& name) const;

    // Prints `file` of MIME type `format` on `printer` with ipptool, as job
    // `jobName`, with the job attributes `attributes` (ipptool ATTR lines);
    // returns the job's id, or -1 (with the reason in LastError()).
    int PrintWithIpptool(const std::string& printer, const std::string& file, const std::string& format,
                         const std::string& jobName, const std::string& attributes = "");
    // Waits until the job has ended or `seconds` pass; returns its last
    // IPP job state.
    int WaitForJob(const std::string& printer, int jobId, int seconds = 60) const;
    // The web interface's page at `path` ("/addprinter"): its HTTP status
    // and body; status 0 when the server does not answer.
    struct WebPage {
        int status = 0;
        std::string body;
    };
    WebPage GetPage(const std::string& path) const;
    // What the job `jobName` left in `printer`'s file device.
    std::string Output(const std::string& printer, const std::string& jobName) const;
    const std::string& LastError() const { return m_error; }

private:
    kvtest::TempDir m_dir;
    int m_port = 0;
    bool m_running = false;
    std::string m_error;
    std::unique_ptr<kvtest::Subprocess> m_server;
};

// The built programs the tests run.
std::string AppBinary();
std::string FilterBinary();
std::string EplviewBinary();
// A shipped PPD's path.
std::string PpdFile(const std::string& fileName);

// Runs the built filter on `raster` with `ppd` and the job options
// `options`; returns its standard output (the EPL).
std::string FilterEpl(const std::string& ppd, const std::string& raster, const std::string& options = "");

// Renders `document` as 24-bit sRGB PWG raster at `dpi` with the spooler's
// own filters and `ppd`; returns the raster file's path (empty on failure).
std::string PwgRaster(const std::string& ppd, const std::string& document, int dpi, const std::string& outFile);

// eplview's summary (-n) of an EPL stream; empty when eplview refuses it.
std::string EplviewSummary(const std::string& epl, const std::string& folder);

}  // namespace kvapptest

#endif
