// Whole-filter benchmark: runs the built filter, as the spooler runs it, on
// a multi-page job of 4 x 6 inch labels at 203 dpi (printed as it is) and
// at 300 dpi (scaled to 203), for halftone methods 1 to 4, next to a program
// that only reads the same raster with libcups. Reports milliseconds per
// page, peak resident memory of each process, and whether the filter stays
// within its targets. It times real processes and is not part of the test
// suite; run it on an otherwise idle machine, and not while the test suite
// runs (both use the filter's fixed log path under /tmp).
//
// Usage: kv_filter_bench [PAGES [REPEATS]]
#include <cups/raster.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "BenchLabel.h"

namespace {

constexpr int kDefaultPages = 20;
constexpr int kDefaultRepeats = 5;
constexpr uint32_t kOutputDpi = 203;
constexpr uint32_t kSourceDpis[] = {203, 300};
constexpr int kMethods[] = {1, 2, 3, 4};
// Targets, for method 1: time per page within these multiples of the
// read-only program's (by source resolution), and memory above the
// read-only program's peak under this many raster pages.
constexpr double kTimeTarget203 = 10.0;
constexpr double kTimeTarget300 = 20.0;
constexpr double kMemoryTargetPages = 4.0;
constexpr uint32_t kBitsPerPixel = 24;
constexpr unsigned kPointsPerInch = 72;
constexpr double kBytesPerKilobyte = 1024.0;
constexpr double kBytesPerMegabyte = 1024.0 * 1024.0;

// The main keywords libcups requires of a PPD, and the filter's options
// with everyday choice codes: fixed settings, no driver log.
const char* const kPpdHeader =
    "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n*LanguageVersion: English\n"
    "*LanguageEncoding: ISOLatin1\n*PCFileName: \"KVBENCH.PPD\"\n*Manufacturer: \"Bench\"\n"
    "*Product: \"(Bench Label Printer)\"\n*ModelName: \"Bench Label Printer\"\n"
    "*ShortNickName: \"Bench Label Printer\"\n*NickName: \"Bench Label Printer\"\n"
    "*PSVersion: \"(3010.000) 0\"\n*ColorDevice: True\n*DefaultColorSpace: RGB\n";

std::map<std::string, std::string> OptionCodes(int method)
{
    return {
        {"Mirror", "0"},        {"Rotation", "0"},      {"NegativeFilm", "0"},  {"Density", "10"},
        {"HorizontalOffset", "0"}, {"HorizontalOffsetValue", "0"}, {"VerticalOffset", "0"},
        {"VerticalOffsetValue", "0"}, {"Brightness", "100"}, {"Contrast", "100"}, {"Levels", "100"},
        {"Halftone", std::to_string(method)}, {"PrintMethod", "0"}, {"MediaType", "1"}, {"GAPOffset", "0"},
        {"GAPHeight", "3"},     {"Mode", "0"},          {"CutMethod", "0"},     {"Interval", "1"},
        {"Feed", "100"},        {"MaxOutputWidth", "104"}, {"IsToDashed", "0"}, {"MinLength", "5"},
        {"IntervalBlack", "1"}, {"IntervalWhite", "1"}, {"SavePaper", "0"},     {"PrintMode", "0"},
        {"PrintSpeed", "4"},    {"FixedHeight", "0"},   {"AutoRotate", "0"},    {"StartOffsetValue", "0"},
        {"EndOffsetValue", "0"}, {"DriverLog", "0"},
    };
}

void WritePpd(const std::string& path, int method)
{
    std::ofstream out(path);
    out << kPpdHeader << "*OutputDPI: \"" << kOutputDpi << "\"\n";
    for (const auto& [keyword, code] : OptionCodes(method)) {
        out << "*OpenUI *" << keyword << "/" << keyword << ": PickOne\n*Default" << keyword << ": Only\n*"
            << keyword << " Only/Only: \"" << code << "\"\n*CloseUI: *" << keyword << "\n";
    }
}

// Writes `pages` copies of the label at `dpi` as a 24-bit RGB raster stream.
void WriteRaster(const std::string& path, uint32_t dpi, int pages)
{
    const uint32_t width = kvbench::LabelWidth(dpi);
    const uint32_t height = kvbench::LabelHeight(dpi);
    const std::vector<uint8_t> rgb = kvbench::LabelRgb(width, height);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    cups_raster_t* ras = fd >= 0 ? cupsRasterOpen(fd, CUPS_RASTER_WRITE) : nullptr;
    if (!ras)
        throw std::runtime_error("cannot write " + path);
    cups_page_header2_t h{};
    h.HWResolution[0] = h.HWResolution[1] = dpi;
    h.PageSize[0] = width * kPointsPerInch / dpi;
    h.PageSize[1] = height * kPointsPerInch / dpi;
    h.NumCopies = 1;
    h.cupsWidth = width;
    h.cupsHeight = height;
    h.cupsBitsPerColor = 8;
    h.cupsBitsPerPixel = kBitsPerPixel;
    h.cupsBytesPerLine = width * 3;
    h.cupsColorOrder = CUPS_ORDER_CHUNKED;
    h.cupsColorSpace = CUPS_CSPACE_RGB;
    std::vector<uint8_t> row(h.cupsBytesPerLine);
    for (int p = 0; p < pages; ++p) {
        cupsRasterWriteHeader2(ras, &h);
        for (uint32_t y = 0; y < height; ++y) {
            std::copy_n(&rgb[static_cast<size_t>(y) * h.cupsBytesPerLine], h.cupsBytesPerLine, row.begin());
            cupsRasterWritePixels(ras, row.data(), h.cupsBytesPerLine);
        }
    }
    cupsRasterClose(ras);
    close(fd);
}

struct Run {
    double ms = 0;       // wall-clock time of the whole process
    double cpuMs = 0;    // its user and system time
    long maxRssKb = 0;   // its peak resident set
};

// Milliseconds of a rusage time.
double Millis(const timeval& t)
{
    return t.tv_sec * 1000.0 + t.tv_usec / 1000.0;
}

// Runs `argv` with PPD=`ppd` (when not empty), standard streams on
// /dev/null, and measures it.
Run RunOnce(const std::vector<std::string>& argv, const std::string& ppd)
{
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid < 0)
        throw std::runtime_error("fork failed");
    if (pid == 0) {
        const int null = open("/dev/null", O_RDWR);
        dup2(null, 0);
        dup2(null, 1);
        dup2(null, 2);
        if (!ppd.empty())
            setenv("PPD", ppd.c_str(), 1);
        std::vector<char*> args;
        for (const std::string& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        execv(args[0], args.data());
        _exit(127);
    }
    int status = 0;
    struct rusage usage{};
    wait4(pid, &status, 0, &usage);
    const auto end = std::chrono::steady_clock::now();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(argv[0] + " failed");
    return {std::chrono::duration<double, std::milli>(end - start).count(),
            Millis(usage.ru_utime) + Millis(usage.ru_stime), usage.ru_maxrss};
}

// The median of `values`.
double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The median times and the largest peak of `repeats` runs.
Run Measure(const std::vector<std::string>& argv, const std::string& ppd, int repeats)
{
    std::vector<double> wall, cpu;
    Run result;
    for (int i = 0; i < repeats; ++i) {
        Run r = RunOnce(argv, ppd);
        wall.push_back(r.ms);
        cpu.push_back(r.cpuMs);
        result.maxRssKb = std::max(result.maxRssKb, r.maxRssKb);
    }
    result.ms = Median(wall);
    result.cpuMs = Median(cpu);
    return result;
}

// A private directory for the job files, removed at exit.
struct WorkDir {
    std::string path;
    WorkDir()
    {
        char pattern[] = "/tmp/kvbench.XXXXXX";
        if (!mkdtemp(pattern))
            throw std::runtime_error("mkdtemp failed");
        path = pattern;
    }
    ~WorkDir()
    {
        const std::string command = "rm -rf '" + path + "'";
        if (system(command.c_str()) != 0)
            fprintf(stderr, "could not remove %s\n", path.c_str());
    }
};

}  // namespace

int main(int argc, char* argv[])
{
    const int pages = argc > 1 ? std::max(1, atoi(argv[1])) : kDefaultPages;
    const int repeats = argc > 2 ? std::max(1, atoi(argv[2])) : kDefaultRepeats;
    WorkDir dir;
    bool targetsMet = true;
    printf("%d pages of 4 x 6 in per job, median of %d runs; output at %u dpi, driver log off\n\n", pages, repeats,
           kOutputDpi);
    printf("Times are milliseconds per page, wall clock (cpu: user + system); the ratio is of the cpu\n"
           "times, which other load on the machine does not inflate. Memory is the peak resident set;\n"
           "extra is the filter's peak above the reader's, in raster pages (4 x 6 in, 24 bits).\n\n");
    printf("%-4s %-8s %19s %17s %6s %9s %9s %7s\n", "dpi", "halftone", "filter ms (cpu)", "read ms (cpu)",
           "ratio", "filter MB", "read MB", "extra");
    for (uint32_t dpi : kSourceDpis) {
        const std::string raster = dir.path + "/job" + std::to_string(dpi) + ".ras";
        WriteRaster(raster, dpi, pages);
        const double pageBytes =
            static_cast<double>(kvbench::LabelWidth(dpi)) * kvbench::LabelHeight(dpi) * kBitsPerPixel / 8;
        const Run read = Measure({KV_READ_ONLY_BINARY, raster}, "", repeats);
        for (int method : kMethods) {
            const std::string ppd = dir.path + "/halftone" + std::to_string(method) + ".ppd";
            WritePpd(ppd, method);
            const Run filter = Measure({KV_FILTER_BINARY, "1", "bench", "label", "1", "", raster}, ppd, repeats);
            const double ratio = filter.cpuMs / read.cpuMs;
            const double extraPages = (filter.maxRssKb - read.maxRssKb) * kBytesPerKilobyte / pageBytes;
            printf("%-4u %-8d %9.2f (%6.2f) %8.2f (%5.2f) %6.1f %9.1f %9.1f %7.2f\n", dpi, method, filter.ms / pages,
                   filter.cpuMs / pages, read.ms / pages, read.cpuMs / pages, ratio,
                   filter.maxRssKb * kBytesPerKilobyte / kBytesPerMegabyte,
                   read.maxRssKb * kBytesPerKilobyte / kBytesPerMegabyte, extraPages);
            if (method == 1) {
                const double timeTarget = dpi == kOutputDpi ? kTimeTarget203 : kTimeTarget300;
                if (ratio > timeTarget || extraPages >= kMemoryTargetPages) {
                    printf("     target missed: time ratio %.1f (limit %.0f), extra memory %.2f pages (limit %.0f)\n",
                           ratio, timeTarget, extraPages, kMemoryTargetPages);
                    targetsMet = false;
                }
            }
        }
    }
    printf("\n%s\n", targetsMet ? "halftone 1 targets met" : "halftone 1 targets MISSED");
    return targetsMet ? 0 : 2;
}
