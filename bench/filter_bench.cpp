// Whole-filter benchmark: runs the built filter as the spooler runs it, side
// by side with the programs it is measured against, medians of several runs
// in one run of the benchmark, and reports each target:
//
// - jobs of 4 x 6 inch shipping labels (bench/shipping-label.sh: barcode,
//   QR code, text), rendered by the spooler's rasterizer (cupsfilter) with
//   the shipped PPDs as 24-bit RGB raster at 203 dpi (printed as they are),
//   at 300 and at 609 dpi (shrunk to the printer's 203), printed with the
//   shipped 203 dpi PPD's defaults, next to a program that only reads the
//   same raster with libcups: CPU time per page at most 2 times the
//   reader's at 203 dpi and 3 times at 300 and 609 dpi; peak memory at most
//   the reader's plus two raster pages;
// - every halftone method at 203 dpi within 3 times method 1's time, on a
//   synthetic label dense with ink and grey (BenchLabel.h);
// - a one-label job of the shipping label as the spooler gives it to each
//   driver: the filter on the 24-bit raster of the shipped 203 dpi PPD,
//   CUPS's rastertolabel on the 1-bit raster of CUPS's sample EPL2 PPD
//   (compiled with ppdc), wall time at most 1.5 times rastertolabel's;
//   once with /tmp as the machine has it and once with a private tmpfs on
//   /tmp, where the driver log's forced writes cost nothing.
//
// It times real processes and is not part of the test suite; run it on an
// otherwise idle machine. Exit status 2 when a target is missed.
//
// Usage: kv_filter_bench [PAGES [REPEATS]]
#include <cups/raster.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "BenchLabel.h"

namespace {

constexpr int kDefaultPages = 50;
constexpr int kDefaultRepeats = 5;
constexpr uint32_t kOutputDpi = 203;
constexpr uint32_t kSourceDpis[] = {203, 300, 609};
// Jobs at 609 dpi have a fifth of the pages (each page is 9 times larger).
constexpr int kFinePageDivisor = 5;
constexpr int kFirstMethod = 1;
constexpr int kLastMethod = 10;
// Targets: CPU time per page within these multiples of the reader's; peak
// memory above the reader's at most this many raster pages; every halftone
// method within this multiple of method 1; a one-label job's wall time
// within this multiple of rastertolabel's.
constexpr double kTimeTargetNative = 2.0;
constexpr double kTimeTargetScaled = 3.0;
constexpr double kMemoryTargetPages = 2.0;
constexpr double kMethodTarget = 3.0;
constexpr double kOneLabelTarget = 1.5;
// One-label jobs run this many times as often as page jobs: they are short.
constexpr int kOneLabelRepeatFactor = 4;
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
        {"Mirror", "0"},
        {"Rotation", "0"},
        {"NegativeFilm", "0"},
        {"Density", "10"},
        {"HorizontalOffset", "0"},
        {"HorizontalOffsetValue", "0"},
        {"VerticalOffset", "0"},
        {"VerticalOffsetValue", "0"},
        {"Brightness", "100"},
        {"Contrast", "100"},
        {"Levels", "100"},
        {"Halftone", std::to_string(method)},
        {"PrintMethod", "0"},
        {"MediaType", "1"},
        {"GAPOffset", "0"},
        {"GAPHeight", "3"},
        {"Mode", "0"},
        {"CutMethod", "0"},
        {"Interval", "1"},
        {"Feed", "100"},
        {"MaxOutputWidth", "104"},
        {"IsToDashed", "0"},
        {"MinLength", "5"},
        {"IntervalBlack", "1"},
        {"IntervalWhite", "1"},
        {"SavePaper", "0"},
        {"PrintMode", "0"},
        {"PrintSpeed", "4"},
        {"FixedHeight", "0"},
        {"AutoRotate", "0"},
        {"StartOffsetValue", "0"},
        {"EndOffsetValue", "0"},
        {"DriverLog", "0"},
    };
}

void WritePpd(const std::string& path, int method)
{
    std::ofstream out(path);
    out << kPpdHeader << "*OutputDPI: \"" << kOutputDpi << "\"\n";
    for (const auto& [keyword, code] : OptionCodes(method)) {
        out << "*OpenUI *" << keyword << "/" << keyword << ": PickOne\n*Default" << keyword << ": Only\n*" << keyword
            << " Only/Only: \"" << code << "\"\n*CloseUI: *" << keyword << "\n";
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
    double ms = 0;      // wall-clock time of the whole process
    double cpuMs = 0;   // its user and system time
    long maxRssKb = 0;  // its peak resident set
};

// Milliseconds of a rusage time.
double Millis(const timeval& t)
{
    return t.tv_sec * 1000.0 + t.tv_usec / 1000.0;
}

// Starts `argv` (argv[0] a path or a program in PATH) with PPD=`ppd` when
// not empty, standard input and error on /dev/null and standard output into
// the file `out`; returns its process id, or -1 when it cannot fork.
pid_t Spawn(const std::vector<std::string>& argv, const std::string& ppd, const std::string& out)
{
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    const int null = open("/dev/null", O_RDWR);
    const int file = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(null, 0);
    dup2(file, 1);
    dup2(null, 2);
    if (!ppd.empty())
        setenv("PPD", ppd.c_str(), 1);
    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    _exit(127);
}

// Runs `argv` with PPD=`ppd` (when not empty), standard streams on
// /dev/null, and measures it.
Run RunOnce(const std::vector<std::string>& argv, const std::string& ppd)
{
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = Spawn(argv, ppd, "/dev/null");
    if (pid < 0)
        throw std::runtime_error("fork failed");
    int status = 0;
    struct rusage usage {};
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

// Prints one target's line; returns whether it is met.
bool Target(const std::string& what, double value, double limit)
{
    const bool met = value <= limit;
    printf("  %-58s %6.2f  (at most %.1f)  %s\n", what.c_str(), value, limit, met ? "met" : "MISSED");
    return met;
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

// Runs `argv` with standard output into `out`; false when it
// cannot run or fails.
bool RunToFile(const std::vector<std::string>& argv, const std::string& out, const std::string& ppd = "")
{
    const pid_t pid = Spawn(argv, ppd, out);
    if (pid < 0)
        return false;
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The shipped 4-inch PPD of the printer resolution `dpi` (203 or 300).
std::string ShippedPpd(uint32_t dpi)
{
    return std::string(KV_PPD_DIR) + "/kivcp-epl2-" + std::to_string(dpi) + "dpi-4in.ppd";
}

// Writes `pages` shipping labels as a PostScript document at `path`.
bool ShippingLabels(const std::string& path, int pages)
{
    return RunToFile({"sh", KV_SHIPPING_LABEL_SCRIPT, std::to_string(pages), path}, "/dev/null");
}

// The raster the spooler makes of the PostScript file `ps` with `ppd` at
// `dpi`, written to `raster`.
bool SpoolerRaster(const std::string& ps, const std::string& ppd, uint32_t dpi, const std::string& raster)
{
    return RunToFile({KV_CUPSFILTER, "-p", ppd, "-m", "application/vnd.cups-raster", "-o",
                      "Resolution=" + std::to_string(dpi) + "dpi", ps},
                     raster);
}

// The PPD of CUPS's sample EPL2 label printer, compiled into `dir`; empty
// when ppdc or the sample driver file is missing.
std::string SampleEpl2Ppd(const std::string& dir)
{
    const std::string listing = dir + "/ppdc.out";
    if (!RunToFile({"ppdc", "-d", dir, std::string(KV_CUPS_DATADIR) + "/drv/sample.drv"}, listing))
        return "";
    const std::string find = dir + "/sample.name";
    const std::string command = "grep -l 'EPL2 Label Printer\"' '" + dir +
                                "'/*.ppd | xargs grep -l 'rastertolabel\"' | head -1 > '" + find + "'";
    if (system(command.c_str()) != 0)
        return "";
    std::ifstream in(find);
    std::string path;
    std::getline(in, path);
    return path;
}

// Runs `body` in a child process that has a private, empty tmpfs on /tmp,
// with `dir` (a directory under /tmp) bound back into it: the driver log,
// whose path is fixed under /tmp and which is forced to storage after each
// record, then lives in memory, as on systems that mount /tmp as tmpfs.
// Returns 1 when `body` returned true, 0 when false, -1 when the mount
// cannot be made.
int InPrivateTmpfs(const std::string& dir, const std::function<bool()>& body)
{
    fflush(stdout);
    const pid_t pid = fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        // The directory is held open from inside the new namespace: a
        // mount of another namespace cannot be bound.
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            _exit(3);
        const int keep = open(dir.c_str(), O_PATH | O_DIRECTORY);
        const std::string kept = "/proc/self/fd/" + std::to_string(keep);
        if (keep < 0 || mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") != 0 || mkdir(dir.c_str(), 0700) != 0 ||
            mount(kept.c_str(), dir.c_str(), nullptr, MS_BIND, nullptr) != 0)
            _exit(3);
        const bool met = body();
        fflush(stdout);
        _exit(met ? 0 : 2);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) == 3)
        return -1;
    return WEXITSTATUS(status) == 0 ? 1 : 0;
}

// Whether the one-label comparison met its target; prints its lines.
bool CompareOneLabelJobs(const std::string& dir, int repeats)
{
    const std::string ps = dir + "/label.ps";
    const std::string shipped = ShippedPpd(kOutputDpi);
    const std::string sample = SampleEpl2Ppd(dir);
    const std::string rgb = dir + "/label-rgb.ras", bits = dir + "/label-1bit.ras";
    if (sample.empty() || !ShippingLabels(ps, 1) || !SpoolerRaster(ps, shipped, kOutputDpi, rgb) ||
        !RunToFile({KV_CUPSFILTER, "-p", sample, "-m", "application/vnd.cups-raster", "-o", "PageSize=w288h432", ps},
                   bits)) {
        printf("one-label job: cannot make the rasters (cupsfilter, ppdc, CUPS's sample driver file, barcode "
               "and qrencode needed)\n");
        return false;
    }
    const auto compare = [&](const char* where) {
        const int runs = repeats * kOneLabelRepeatFactor;
        const Run ours =
            Measure({KV_FILTER_BINARY, "1", "bench", "label", "1", "Resolution=203dpi", rgb}, shipped, runs);
        const Run theirs =
            Measure({std::string(KV_CUPS_SERVERBIN) + "/filter/rastertolabel", "1", "bench", "label", "1", "", bits},
                    sample, runs);
        printf("one-label job, %s, wall ms (cpu): rastertokivcp %.1f (%.1f) on 24-bit raster, rastertolabel %.1f "
               "(%.1f) on 1-bit raster\n",
               where, ours.ms, ours.cpuMs, theirs.ms, theirs.cpuMs);
        return Target(std::string("one-label job wall time / rastertolabel's, ") + where, ours.ms / theirs.ms,
                      kOneLabelTarget);
    };
    bool met = compare("/tmp as it is");
    const int tmpfs = InPrivateTmpfs(dir, [&] { return compare("/tmp on tmpfs"); });
    if (tmpfs < 0)
        printf("one-label job on tmpfs: cannot mount a private /tmp (needs root or user namespaces)\n");
    return met && tmpfs == 1;
}

}  // namespace

// One job's figures against the reader's.
struct Measured {
    double ratio;         // filter cpu / reader cpu
    double extraPages;    // filter peak above the reader's, in raster pages
    double cpuMsPerPage;  // the filter's
};

// Measures the filter with `ppd` and the reader on `raster` (24-bit pages of
// 4 x 6 inches at `dpi`) and prints the row.
Measured MeasureJob(const std::string& raster, const std::string& ppd, uint32_t dpi, int jobPages, int repeats,
                    const char* label, int method)
{
    const double pageBytes =
        static_cast<double>(kvbench::LabelWidth(dpi)) * kvbench::LabelHeight(dpi) * kBitsPerPixel / 8;
    const Run read = Measure({KV_READ_ONLY_BINARY, raster}, "", repeats);
    const Run filter = Measure({KV_FILTER_BINARY, "1", "bench", "label", "1", "", raster}, ppd, repeats);
    const Measured m{filter.cpuMs / read.cpuMs, (filter.maxRssKb - read.maxRssKb) * kBytesPerKilobyte / pageBytes,
                     filter.cpuMs / jobPages};
    printf("%-9s %-4u %-8d %9.2f (%6.2f) %8.2f (%5.2f) %6.1f %9.1f %9.1f %7.2f\n", label, dpi, method,
           filter.ms / jobPages, filter.cpuMs / jobPages, read.ms / jobPages, read.cpuMs / jobPages, m.ratio,
           filter.maxRssKb * kBytesPerKilobyte / kBytesPerMegabyte,
           read.maxRssKb * kBytesPerKilobyte / kBytesPerMegabyte, m.extraPages);
    return m;
}

// Milliseconds of CPU per page of each halftone method at one resolution.
using MethodTimes = std::map<int, double>;

int main(int argc, char* argv[])
{
    const int pages = argc > 1 ? std::max(1, atoi(argv[1])) : kDefaultPages;
    const int repeats = argc > 2 ? std::max(1, atoi(argv[2])) : kDefaultRepeats;
    WorkDir dir;
    printf("4 x 6 in labels, %d pages per job (%d at 609 dpi), median of %d runs; output at %u dpi, "
           "driver log off\n\n",
           pages, std::max(1, pages / kFinePageDivisor), repeats, kOutputDpi);
    printf("Times are milliseconds per page, wall clock (cpu: user + system); the ratio is of the cpu\n"
           "times, which other load on the machine does not inflate. Memory is the peak resident set;\n"
           "extra is the filter's peak above the reader's, in raster pages of the job's resolution.\n\n");
    printf("%-9s %-4s %-8s %19s %17s %6s %9s %9s %7s\n", "label", "dpi", "halftone", "filter ms (cpu)", "read ms (cpu)",
           "ratio", "filter MB", "read MB", "extra");
    bool met = true;
    MethodTimes methods;
    struct Row {
        uint32_t dpi;
        double ratio;
        double extraPages;
    };
    std::vector<Row> shipping;
    // Shipping labels with the shipped PPD's defaults: the time and memory
    // targets. The 300 dpi raster comes from the 300 dpi model's PPD and is
    // printed on the 203 dpi one.
    for (uint32_t dpi : kSourceDpis) {
        const int jobPages = dpi > 2 * kOutputDpi ? std::max(1, pages / kFinePageDivisor) : pages;
        const std::string ps = dir.path + "/shipping" + std::to_string(dpi) + ".ps";
        const std::string raster = dir.path + "/shipping" + std::to_string(dpi) + ".ras";
        const uint32_t model = dpi % kOutputDpi == 0 ? kOutputDpi : dpi;
        if (!ShippingLabels(ps, jobPages) || !SpoolerRaster(ps, ShippedPpd(model), dpi, raster)) {
            printf("cannot make the shipping labels' raster (sh, barcode, qrencode, ghostscript, cupsfilter)\n");
            return 2;
        }
        const Measured m = MeasureJob(raster, ShippedPpd(kOutputDpi), dpi, jobPages, repeats, "shipping", 1);
        shipping.push_back({dpi, m.ratio, m.extraPages});
    }
    // The synthetic label, dense with ink and grey, with every halftone.
    const std::string raster = dir.path + "/synthetic.ras";
    WriteRaster(raster, kOutputDpi, pages);
    for (int method = kFirstMethod; method <= kLastMethod; ++method) {
        const std::string ppd = dir.path + "/halftone" + std::to_string(method) + ".ppd";
        WritePpd(ppd, method);
        methods[method] = MeasureJob(raster, ppd, kOutputDpi, pages, repeats, "synthetic", method).cpuMsPerPage;
    }
    printf("\ntargets:\n");
    for (const Row& r : shipping) {
        const std::string at = std::to_string(r.dpi) + " dpi";
        met &= Target("filter cpu / reader's, shipping label, " + at, r.ratio,
                      r.dpi == kOutputDpi ? kTimeTargetNative : kTimeTargetScaled);
        met &= Target("extra memory in raster pages, shipping label, " + at, r.extraPages, kMemoryTargetPages);
    }
    for (const auto& [method, ms] : methods)
        if (method != kFirstMethod)
            met &= Target("halftone " + std::to_string(method) + " cpu / halftone 1's, synthetic label",
                          ms / methods[1], kMethodTarget);
    printf("\n");
    met &= CompareOneLabelJobs(dir.path, repeats);
    printf("\n%s\n", met ? "every target met" : "targets MISSED");
    return met ? 0 : 2;
}
