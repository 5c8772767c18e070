// The print chain of the readability suite, step by step as a queue runs
// it; each step is a program run with its real arguments.
#include "PrintChain.h"

#include <dirent.h>

#include <algorithm>

#include "CommandRunner.h"
#include "TestFiles.h"

namespace kvread {
namespace {

// Joins the job's choices into the filter's fifth argument.
std::string OptionsArgument(const std::vector<std::string>& options)
{
    std::string joined;
    for (const std::string& o : options)
        joined += (joined.empty() ? "" : " ") + o;
    return joined;
}

// The spooler's rasterizer: PDF to CUPS raster as the PPD and choices ask.
kvtool::CommandResult Rasterize(const PrintSetup& setup, const std::string& pdf)
{
    std::vector<std::string> argv = {KV_CUPSFILTER, "-p", setup.ppd, "-m", "application/vnd.cups-raster"};
    for (const std::string& o : setup.options) {
        argv.push_back("-o");
        argv.push_back(o);
    }
    argv.push_back(pdf);
    return kvtool::RunCommand(argv);
}

// The driver's filter on the raster file, with the standard arguments.
kvtool::CommandResult RunDriver(const PrintSetup& setup, const std::string& raster)
{
    std::string program = setup.driver == Driver::kThisFilter
                              ? KV_FILTER_BINARY
                              : std::string(KV_CUPS_SERVERBIN) + "/filter/rastertolabel";
    return kvtool::RunCommand({program, "1", "user", "labels", "1", OptionsArgument(setup.options), raster}, "",
                              {{"PPD", setup.ppd}});
}

// The label images eplview wrote as `prefix`-1.png, -2.png, ...
std::vector<std::string> LabelImages(const std::string& prefix)
{
    std::vector<std::string> images;
    for (int n = 1;; ++n) {
        std::string path = prefix + "-" + std::to_string(n) + ".png";
        if (!kvtest::FileExists(path))
            return images;
        images.push_back(path);
    }
}

// Returns `s` without the line ends at its end.
std::string TrimLineEnds(std::string s)
{
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r'))
        s.pop_back();
    return s;
}

}  // namespace

PrintedJob PrintPdf(const PrintSetup& setup, const std::string& pdf, const std::string& dir)
{
    PrintedJob job;
    kvtool::CommandResult raster = Rasterize(setup, pdf);
    if (raster.status != 0 || raster.out.empty()) {
        job.error = "cupsfilter failed: " + raster.err.substr(0, 2000);
        return job;
    }
    const std::string rasterPath = dir + "/job.ras";
    kvtest::WriteFile(rasterPath, raster.out);
    kvtool::CommandResult driver = RunDriver(setup, rasterPath);
    if (driver.status != 0) {
        job.error = "the driver failed: " + driver.err.substr(0, 2000);
        return job;
    }
    job.epl = driver.out;
    const std::string eplPath = dir + "/job.epl";
    kvtest::WriteFile(eplPath, job.epl);
    kvtool::CommandResult view = kvtool::RunCommand({KV_EPLVIEW_BINARY, "-o", dir + "/label", eplPath});
    if (view.status != 0) {
        job.error = "eplview failed: " + view.err;
        return job;
    }
    job.images = LabelImages(dir + "/label");
    return job;
}

std::string ScanImage(const std::string& png)
{
    kvtool::CommandResult r =
        kvtool::RunCommand({"zbarimg", "-q", "--raw", "-Sdisable", "-Scode128.enable", "-Sqrcode.enable", png});
    return TrimLineEnds(r.out);
}

std::string SampleEpl2Ppd(const std::string& dir, std::string& error)
{
    kvtool::CommandResult r = kvtool::RunCommand({"ppdc", "-d", dir, std::string(KV_CUPS_DATADIR) + "/drv/sample.drv"});
    if (r.status != 0) {
        error = "ppdc failed: " + r.err;
        return "";
    }
    // The sample file describes many printers; the EPL2 one is the PPD
    // whose model name says so and whose filter is rastertolabel.
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d))
            names.push_back(e->d_name);
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        std::string text = kvtest::ReadFile(dir + "/" + name);
        bool epl2 = text.find("*ModelName: \"") != std::string::npos &&
                    text.find("EPL2 Label Printer\"") != std::string::npos &&
                    text.find("rastertolabel\"") != std::string::npos;
        if (epl2)
            return dir + "/" + name;
    }
    error = "no EPL2 printer among the PPDs of sample.drv";
    return "";
}

std::string ShippedPpd(const std::string& fileName)
{
    return std::string(KV_PPD_DIR) + "/" + fileName;
}

}  // namespace kvread
