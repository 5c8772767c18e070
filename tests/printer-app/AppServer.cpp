// The application's server for a test. Its state file and control socket
// follow SNAP_COMMON (PAPPL's main loop puts them there when it is set), so
// each test's server is private even when the suite runs as root.
#include "AppServer.h"

#include <arpa/inet.h>
#include <cups/cups.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

#include "LoopbackPorts.h"
#include "TestFiles.h"

namespace kvapptest {
namespace {

namespace fs = std::filesystem;

constexpr int kStartSeconds = 30;
constexpr auto kPoll = std::chrono::milliseconds(100);

std::string ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

std::string AppBinary()
{
    return KV_APP_BINARY;
}

std::string FilterBinary()
{
    return KV_FILTER_BINARY;
}

std::string EplviewBinary()
{
    return KV_EPLVIEW_BINARY;
}

std::string PpdFile(const std::string& fileName)
{
    return std::string(KV_PPD_DIR) + "/" + fileName;
}

AppServer::AppServer()
{
    m_port = kvtest::FreeLoopbackPort();
    setenv("SNAP_COMMON", m_dir.Path().c_str(), 1);
    fs::create_directories(m_dir.File("spool"));
    const std::string port = std::to_string(m_port);
    m_server = std::make_unique<kvtest::Subprocess>(
        AppBinary(),
        std::vector<std::string>{"server", "-o", "server-port=" + port, "-o", "listen-hostname=127.0.0.1", "-o",
                                 "spool-directory=" + m_dir.File("spool"), "-o", "log-file=" + m_dir.File("log"), "-o",
                                 "log-level=debug", "-o", "server-options=no-multicast,no-tls"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kStartSeconds);
    while (std::chrono::steady_clock::now() < deadline) {
        if (kvtest::LoopbackPortListening(m_port) && fs::exists(m_dir.File("kivcp-printer-app.sock"))) {
            m_running = true;
            break;
        }
        std::this_thread::sleep_for(kPoll);
    }
}

AppServer::~AppServer()
{
    if (m_running)
        Command({"shutdown"});
    m_server.reset();  // kills and reaps it if it is still there
}

bool AppServer::Listening() const
{
    return kvtest::LoopbackPortListening(m_port);
}

std::string AppServer::PrinterUri(const std::string& printer) const
{
    return "ipp://127.0.0.1:" + std::to_string(m_port) + "/ipp/print/" + printer;
}

std::string AppServer::Log() const
{
    return ReadAll(m_dir.File("log"));
}

kvtool::CommandResult AppServer::Command(const std::vector<std::string>& args) const
{
    std::vector<std::string> argv{AppBinary()};
    argv.insert(argv.end(), args.begin(), args.end());
    return kvtool::RunCommand(argv, "", {{"SNAP_COMMON", m_dir.Path()}});
}

std::string AppServer::OutputFolder(const std::string& name) const
{
    return m_dir.File("out-" + name);
}

bool AppServer::AddPrinter(const std::string& name, const std::string& driver)
{
    fs::create_directories(OutputFolder(name));
    kvtool::CommandResult r = Command({"add", "-d", name, "-m", driver, "-v", "file://" + OutputFolder(name)});
    m_error = r.err;
    return r.status == 0;
}

int AppServer::PrintWithIpptool(const std::string& printer, const std::string& file, const std::string& format,
                                const std::string& jobName, const std::string& attributes)
{
    const std::string test = m_dir.File(jobName + ".test");
    std::ofstream(test) << "{\nOPERATION Print-Job\nGROUP operation-attributes-tag\n"
                           "ATTR charset attributes-charset utf-8\n"
                           "ATTR naturalLanguage attributes-natural-language en\n"
                           "ATTR uri printer-uri $uri\nATTR name requesting-user-name test\n"
                           "ATTR name job-name "
                        << jobName << "\nATTR mimeMediaType document-format " << format
                        << "\nGROUP job-attributes-tag\n"
                        << attributes << "FILE $filename\nSTATUS successful-ok\nDISPLAY job-id\n}\n";
    kvtool::CommandResult r = kvtool::RunCommand({"ipptool", "-t", "-f", file, PrinterUri(printer), test});
    std::smatch m;
    static const std::regex kJobId("job-id \\(integer\\) = ([0-9]+)");
    if (r.status != 0 || !std::regex_search(r.out, m, kJobId)) {
        m_error = r.out + r.err;
        return -1;
    }
    return std::stoi(m[1]);
}

int AppServer::WaitForJob(const std::string& printer, int jobId, int seconds) const
{
    const std::string uri = PrinterUri(printer);
    int state = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (std::chrono::steady_clock::now() < deadline) {
        http_t* http = httpConnect2("127.0.0.1", m_port, nullptr, AF_INET, HTTP_ENCRYPTION_NEVER, 1, 30000, nullptr);
        if (http) {
            ipp_t* request = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
            ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri.c_str());
            ippAddInteger(request, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", jobId);
            ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, "test");
            ipp_t* response = cupsDoRequest(http, request, "/ipp/print");
            if (ipp_attribute_t* a = ippFindAttribute(response, "job-state", IPP_TAG_ENUM))
                state = ippGetInteger(a, 0);
            ippDelete(response);
            httpClose(http);
        }
        if (state >= kJobCanceled)
            return state;
        std::this_thread::sleep_for(kPoll);
    }
    return state;
}

AppServer::WebPage AppServer::GetPage(const std::string& path) const
{
    WebPage page;
    http_t* http = httpConnect2("127.0.0.1", m_port, nullptr, AF_INET, HTTP_ENCRYPTION_NEVER, 1, 30000, nullptr);
    if (!http)
        return page;
    httpClearFields(http);
    http_status_t status = HTTP_STATUS_ERROR;
    if (httpGet(http, path.c_str()) == 0) {
        while ((status = httpUpdate(http)) == HTTP_STATUS_CONTINUE) {
        }
    }
    if (status != HTTP_STATUS_ERROR) {
        page.status = status;
        char buffer[8192];
        ssize_t bytes;
        while ((bytes = httpRead2(http, buffer, sizeof buffer)) > 0)
            page.body.append(buffer, static_cast<size_t>(bytes));
    }
    httpClose(http);
    return page;
}

std::string AppServer::Output(const std::string& printer, const std::string& jobName) const
{
    return ReadAll(OutputFolder(printer) + "/" + jobName + ".prn");
}

std::string FilterEpl(const std::string& ppd, const std::string& raster, const std::string& options)
{
    return kvtool::RunCommand({FilterBinary(), "1", "test", "label", "1", options, raster}, "", {{"PPD", ppd}}).out;
}

std::string PwgRaster(const std::string& ppd, const std::string& document, int dpi, const std::string& outFile)
{
    kvtool::CommandResult r =
        kvtool::RunCommand({KV_CUPSFILTER, "-p", ppd, "-m", "image/pwg-raster", "-o",
                            "Resolution=" + std::to_string(dpi) + "dpi", "-o", "print-color-mode=color", document});
    if (r.status != 0 || r.out.size() < 4 || r.out.compare(0, 4, "RaS2") != 0)
        return "";
    std::ofstream(outFile, std::ios::binary) << r.out;
    return outFile;
}

std::string EplviewSummary(const std::string& epl, const std::string& folder)
{
    const std::string file = folder + "/summary.epl";
    std::ofstream(file, std::ios::binary) << epl;
    kvtool::CommandResult r = kvtool::RunCommand({EplviewBinary(), "-n", file});
    return r.status == 0 ? r.out : "";
}

}  // namespace kvapptest
