// The filter's job loop. Pages are rendered one header late: when header
// n + 1 arrives page n is sent, and the last page is sent at the end of the
// document, flagged as last so the cutter logic can finish the job.
#include "rastokivepl.h"

#include <fcntl.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "CLEFile.h"
#include "EPLRender.h"
#include "FileLock.h"
#include "GetPpdSelfOption.h"
#include "HeldPage.h"
#include "InitalizeOemCfg.h"
#include "MallocBuffer.h"
#include "PageLimits.h"
#include "RasterHeaderFields.h"
#include "SpoolerMessages.h"
#include "log4z.h"

volatile sig_atomic_t Canceled = 0;
tagOEMCFG g_oemCfg;
_DEVMODE g_devMode;
_OEMPDEV g_oemPDEV;
// The held page's red-blue swap, when it waits for the renderer.
kvrender::DeferredSwap g_heldSwap;

namespace {

// The driver log: each job starts a fresh file.
constexpr const char* kLogDir = "/tmp";
constexpr const char* kLogName = "kvepl";
constexpr const char* kLogFile = "/tmp/kvepl.log";
constexpr mode_t kLogUmask = 022;

// Messages for the spooler. None ends with a newline.
constexpr const char* kUsageText = "rastertokivcp job-id user title copies options [file]";
constexpr const char* kRasterOpenText = "ERROR: Unable to open raster file";
constexpr const char* kRasterStreamText = "cupsRasterOpen failed.";
constexpr const char* kPpdOpenText = "The PPD file could not be opened.";
constexpr const char* kPageDoneText = "Finish print operation.";
constexpr const char* kNoPagesText = "No pages were found.";

// The spooler passes "job-id user title copies options", plus the raster
// file when it does not come on standard input.
constexpr int kArgsWithStdin = 6, kArgsWithFile = 7;
constexpr int kStdinFd = 0;
constexpr unsigned kRasterOpenFailSleepSeconds = 1;

constexpr int kExitOk = 0, kExitFailure = 1;

// LERFIDJobTask result that stops the job.
constexpr int kRfidNotRfidJob = 0, kRfidStopJob = 1, kRfidDataSent = 2;
constexpr int kTaskInfoTimeoutSeconds = 5;

// What the page loop needs to know about the job.
struct JobContext {
    cups_raster_t* ras;
    ppd_file_t* ppd;
    const char* title;
    int jobId;
    bool logOn;
    int outputDpi;  // the printer's resolution, 0 when the PPD has none
};

// How the page loop ended: the pages counted, and whether the job failed
// (a page refused or its buffer not to be had).
struct LoopResult {
    int pages = 0;
    bool failed = false;
};

}  // namespace

// Removes the last job's log and starts the main logger on "/tmp/kvepl.log",
// with the file created under umask 022 so other users can read it.
void StartDriverLog()
{
    mode_t oldMask = umask(kLogUmask);
    remove(kLogFile);
    ILog4zManager* logger = ILog4zManager::getInstance();
    logger->setLoggerPath(LOG4Z_MAIN_LOGGER_ID, kLogDir);
    logger->setLoggerName(LOG4Z_MAIN_LOGGER_ID, kLogName);
    logger->start();
    umask(oldMask);
}

namespace {

// Makes a renderer for one call, pointed at the job's records and output.
void AttachRecords(CEPLRender& render, const JobRecords& job)
{
    render.SetOemCfgPointer(job.cfg);
    render.SetDevModePointer(job.devMode);
    render.SetOemPdevPointer(job.pdev);
    render.SetDeferredSwap(job.swap);
    render.SetCommandSink(job.sink);
}

// Whether the page of `header` may be held with red and blue as the raster
// sends them, the renderer making the swap where it costs least (after a
// shrink, or inside the grey conversion): a 24-bit page laid out exactly as
// the first page, which the renderer reads it as.
bool SwapInRenderer(const cups_page_header2_t& header, const PageGeometry& first)
{
    constexpr unsigned kRgbBits = 24;
    const bool plainRgb =
        header.cupsBitsPerPixel == kRgbBits && uint64_t{header.cupsBytesPerLine} == 3ull * header.cupsWidth;
    return plainRgb && PageGeometry::Of(header) == first;
}

// Renders the held page; returns the renderer's result. A step that went
// without memory is reported to the spooler: the page still goes on, but
// its label may be incomplete.
bool RenderHeldPage(const JobRecords& job, bool lastPage, bool logOn)
{
    CEPLRender render;
    AttachRecords(render, job);
    const bool rendered = render.TransCommand(lastPage, logOn);
    for (const char* step : render.MemoryShortfalls())
        PutSpoolerMessage(SpoolerLevel::kWarning, "Not enough memory for %s of page %u; the label may be incomplete",
                          step, static_cast<unsigned>(job.pdev->dwCurPageNum));
    return rendered;
}

// Builds the job records from the job's choices and the first header and
// sends the start of the document. The configuration is never rebuilt
// later.
void SetUpJob(const JobRecords& job, const ChoiceCodes& codes, cups_page_header2_t* header)
{
    LOGFMTD("Begin to initialize configures");
    InitalizeOemCfg(job.cfg, codes, header);
    InitDevmode(job.devMode, header);
    InitOemPDEV(job.pdev, header);
    LOGFMTD("Initializing configures finish");
    CEPLRender render;
    AttachRecords(render, job);
    int result = render.StartDocCMD();
    LOGFMTD("The resault of StartDocCMD is %d", result);
}

// Sends the page held from the previous header, if any, as a middle page.
// Returns false when the renderer refused it; the buffer is then released
// and the job must end.
bool FlushHeldPage(const JobRecords& job, bool logOn)
{
    if (job.pdev->dwCurPageNum == 0 || !job.pdev->pBufStart)
        return true;
    if (RenderHeldPage(job, false, logOn))
        return true;
    ReleaseHeldPage(job.pdev);
    return false;
}

// Reads and drops the page that follows `header`, in one read of the whole
// page, so the stream is consumed as the spooler sent it.
void DiscardPage(cups_raster_t* ras, const cups_page_header2_t& header)
{
    uint64_t size = uint64_t(header.cupsHeight) * header.cupsBytesPerLine;
    if (size == 0 || size > kMaxRasterPageBytes)
        return;
    const kvimg::MallocBuffer scratch = kvimg::AllocateBlock(size);
    if (scratch)
        cupsRasterReadPixels(ras, scratch.get(), static_cast<unsigned>(size));
}

// Says so when page `page` is beyond the limits; true when it may be printed.
bool PageWithinLimits(const cups_page_header2_t& header, int page, int outputDpi)
{
    std::string problem = PageLimitProblem(header, outputDpi);
    if (problem.empty())
        return true;
    PutSpoolerMessage(SpoolerLevel::kError, "Page %d not printed: %s", page, problem.c_str());
    return false;
}

// A later page is read with the first page's geometry, whatever its own.
void WarnOfOtherGeometry(const PageGeometry& first, const cups_page_header2_t& header, int page)
{
    PageGeometry own = PageGeometry::Of(header);
    if (page == 1 || own == first)
        return;
    PutSpoolerMessage(SpoolerLevel::kWarning,
                      "Page %d is %u x %u pixels at %u bits, page 1 %u x %u at %u bits: it is printed with page "
                      "1's size and may come out distorted",
                      page, own.width, own.height, own.bitsPerPixel, first.width, first.height, first.bitsPerPixel);
}

}  // namespace

JobRecords FilterJobRecords()
{
    return {&g_oemCfg, &g_devMode, &g_oemPDEV, &g_heldSwap, nullptr};
}

PageStart StartHeldPage(const JobRecords& job, const ChoiceCodes& codes, cups_page_header2_t* header, int page,
                        const PageSetUp& setUp, PageGeometry& first, HeldPageFill& fill)
{
    StartPage(codes.Ppd(), header, page);
    if (!PageWithinLimits(*header, page, setUp.outputDpi))
        return PageStart::kRefused;
    if (page == 1) {
        first = PageGeometry::Of(*header);
        SetUpJob(job, codes, header);
    }
    WarnOfOtherGeometry(first, *header, page);
    LOGFMTD("curPage is %d, bufStart is 0x%x", static_cast<int>(job.pdev->dwCurPageNum),
            LogPointer32(job.pdev->pBufStart));
    if (!FlushHeldPage(job, setUp.logOn))
        return PageStart::kStop;
    job.pdev->dwCurPageNum = static_cast<uint32_t>(page);
    ReleaseHeldPage(job.pdev);
    const bool deferSwap = SwapInRenderer(*header, first);
    if (!fill.Begin(*header, job.pdev, !deferSwap)) {
        PutSpoolerMessage(SpoolerLevel::kError, "Not enough memory for the buffer of page %d", page);
        return PageStart::kNoMemory;
    }
    return PageStart::kReady;
}

void EndDocument(const JobRecords& job, bool logOn)
{
    LOGFMTD("EndDoc, bufStart is 0x%x", LogPointer32(job.pdev->pBufStart));
    if (!job.pdev->pBufStart)
        return;
    RenderHeldPage(job, true, logOn);
    ReleaseHeldPage(job.pdev);
}

namespace {

// The page loop. A page beyond the limits or without a buffer ends the job
// as failed; the page held before it is still sent, as the last page.
LoopResult RunPageLoop(const JobContext& job)
{
    const JobRecords records = FilterJobRecords();
    const PageSetUp setUp{job.outputDpi, job.logOn};
    cups_page_header2_t header;
    LoopResult result;
    PageGeometry first{};
    while (cupsRasterReadHeader2(job.ras, &header) && !Canceled) {
        int page = ++result.pages;
        if (LERFIDJobTask(job.title, job.jobId) == kRfidStopJob) {
            DiscardPage(job.ras, header);
            break;
        }
        HeldPageFill fill;
        const PageStart start = StartHeldPage(records, job.ppd, &header, page, setUp, first, fill);
        if (start == PageStart::kRefused || start == PageStart::kNoMemory)
            result.failed = true;
        if (start != PageStart::kReady)
            break;
        for (uint64_t row = 0; row < header.cupsHeight; ++row) {
            if (cupsRasterReadPixels(job.ras, fill.LineTarget(row), header.cupsBytesPerLine) == 0)
                break;
            fill.LineRead(row);
        }
        *records.swap = fill.End();
        if (Canceled == 1)
            break;
        PutKeptText(kPageDoneText);
        if (Canceled != 0)
            break;
    }
    return result;
}

// Opens the raster source: the file argument, else standard input.
// Returns -1 when the file cannot be opened.
int OpenRasterSource(int argc, char* argv[])
{
    if (argc == kArgsWithFile)
        return open(argv[6], O_RDONLY);
    return kStdinFd;
}

// Closes the raster file of a job that ends early; standard input stays open.
void CloseRasterSource(int fd)
{
    if (fd != kStdinFd)
        close(fd);
}

// Installs CancelJob for SIGTERM: handler only, empty mask, no flags.
void InstallCancelHandler()
{
    struct sigaction action;
    memset(&action, 0, sizeof(action));
    sigemptyset(&action.sa_mask);
    action.sa_handler = CancelJob;
    action.sa_flags = 0;
    sigaction(SIGTERM, &action, nullptr);
}

// Reports why the PPD could not be opened, as the PPD reader saw it.
void ReportPpdOpenFailure()
{
    int line = 0;
    ppd_status_t status = ppdLastError(&line);
    PutKeptText(kPpdOpenText);
    char reason[256];
    snprintf(reason, sizeof(reason), "%s on line %d.", ppdErrorString(status), line);
    PutKeptText(reason);
}

// Says what is wrong with the printer's resolution from the PPD. A PPD
// without one still runs the job, whose labels come out blank; one beyond
// any printer's is refused. True when the job can run.
bool PrinterResolutionUsable(int outputDpi)
{
    std::string problem = OutputDpiProblem(outputDpi);
    if (!problem.empty()) {
        PutSpoolerMessage(SpoolerLevel::kError, "%s", problem.c_str());
        return false;
    }
    if (outputDpi == 0)
        PutSpoolerMessage(SpoolerLevel::kError,
                          "The PPD file has no *OutputDPI, the printer's resolution: labels come out blank");
    return true;
}

// Writes the job's arguments to the debug log.
void LogJobArguments(int argc, char* argv[], int jobId)
{
    LOGFMTD("job_id = %d", jobId);
    LOGFMTD("user = %s", argv[2]);
    LOGFMTD("job_title = %s", argv[3]);
    LOGFMTD("num_copies = %d", static_cast<int>(strtol(argv[4], nullptr, 10)));
    LOGFMTD("options = %s", argv[5]);
    LOGFMTD("filename = %s", argc == kArgsWithFile ? argv[6] : "");
    LOGFMTD("pid = %ld", static_cast<long>(getpid()));
}

}  // namespace

void CancelJob(int /*sig*/)
{
    Canceled = 1;
}

void InitializeSetting(const char* options, ppd_file_t* ppd)
{
    ppdMarkDefaults(ppd);
    cups_option_t* parsed = nullptr;
    int count = cupsParseOptions(options, 0, &parsed);
    if (count != 0 && parsed) {
        cupsMarkOptions(ppd, count, parsed);
        cupsFreeOptions(count, parsed);
    }
}

bool UpdateLogStatus(ppd_file_t* ppd)
{
    int index = GetOptionChoiceIndex("DriverLog", ppd);
    if (index > 0)
        return true;
    LOGFMTD("driver log record: %d", index);
    ILog4zManager::getInstance()->stop();
    return false;
}

// The enum-typed fields are read through RasterHeaderValue: a stream may
// carry any number there.
void StartPage(ppd_file_t* /*ppd*/, cups_page_header2_t* header, int page)
{
    const cups_page_header2_t& h = *header;
    LOGFMTD("****************Start Page %d *****************", page);
    LOGFMTD("Duplex = %d", static_cast<int>(RasterHeaderValue(h.Duplex)));
    LOGFMTD("HWResolution = [ %d %d ]", static_cast<int>(h.HWResolution[0]), static_cast<int>(h.HWResolution[1]));
    LOGFMTD("ImagingBoundingBox = [ %d %d %d %d ]", static_cast<int>(h.ImagingBoundingBox[0]),
            static_cast<int>(h.ImagingBoundingBox[1]), static_cast<int>(h.ImagingBoundingBox[2]),
            static_cast<int>(h.ImagingBoundingBox[3]));
    LOGFMTD("Margins = [ %d %d ]", static_cast<int>(h.Margins[0]), static_cast<int>(h.Margins[1]));
    LOGFMTD("ManualFeed = %d", static_cast<int>(RasterHeaderValue(h.ManualFeed)));
    LOGFMTD("MediaPosition = %d", static_cast<int>(h.MediaPosition));
    LOGFMTD("NumCopies = %d", static_cast<int>(h.NumCopies));
    LOGFMTD("Orientation = %d", static_cast<int>(RasterHeaderValue(h.Orientation)));
    LOGFMTD("PageSize = [ %d %d ]", static_cast<int>(h.PageSize[0]), static_cast<int>(h.PageSize[1]));
    LOGFMTD("cupsWidth = %d", static_cast<int>(h.cupsWidth));
    LOGFMTD("cupsHeight = %d", static_cast<int>(h.cupsHeight));
    LOGFMTD("cupsMediaType = %d", static_cast<int>(h.cupsMediaType));
    LOGFMTD("cupsBitsPerColor = %d", static_cast<int>(h.cupsBitsPerColor));
    LOGFMTD("cupsBitsPerPixel = %d", static_cast<int>(h.cupsBitsPerPixel));
    LOGFMTD("cupsBytesPerLine = %d", static_cast<int>(h.cupsBytesPerLine));
    LOGFMTD("cupsColorOrder = %d", static_cast<int>(RasterHeaderValue(h.cupsColorOrder)));
    LOGFMTD("cupsColorSpace = %d", static_cast<int>(RasterHeaderValue(h.cupsColorSpace)));
    LOGFMTD("cupsCompression = %d", static_cast<int>(h.cupsCompression));
}

void ReleaseHeldPage(_OEMPDEV* pdev)
{
    free(pdev->pBufStart);
    pdev->pBufStart = nullptr;
}

bool ReadPageIntoHeldBuffer(cups_raster_t* ras, const cups_page_header2_t& header, _OEMPDEV* pdev, bool swap)
{
    return ReadPageIntoHeldBuffer(ras, header, pdev, swap, &g_heldSwap);
}

bool ReadPageIntoHeldBuffer(cups_raster_t* ras, const cups_page_header2_t& header, _OEMPDEV* pdev, bool swap,
                            kvrender::DeferredSwap* pending)
{
    HeldPageFill fill;
    if (!fill.Begin(header, pdev, swap))
        return false;
    for (uint64_t row = 0; row < header.cupsHeight; ++row) {
        if (cupsRasterReadPixels(ras, fill.LineTarget(row), header.cupsBytesPerLine) == 0)
            break;
        fill.LineRead(row);
    }
    *pending = fill.End();
    return true;
}

namespace {

// What could stop the RFID step, for the spooler's message.
const char* const kJobFileUnopenable = "the job information file /tmp/TASK_INFO.lock cannot be opened";
const char* const kJobFileLocked = "the job information file /tmp/TASK_INFO.lock stayed locked by another job";
const char* const kJobFileNoRecord = "the job information file /tmp/TASK_INFO.lock holds no job record";
const char* const kRfidQueueMissing = "the RFID service's message queue is missing (is the service running?)";
const char* const kRfidRefused = "the RFID service refused the request";
const char* const kRfidNoAnswer = "the RFID service did not answer";
const char* const kRfidNoData = "its RFID data could not be written";
const char* const kRfidErrorReply = "MSG_ERRIR/";

// Why the job information file could not be used: its own reason when it
// was refused as unsafe, else that it cannot be opened.
std::string UnopenedReason(const FileLock& file)
{
    return file.unsafeReason().empty() ? kJobFileUnopenable : file.unsafeReason();
}

// Reads the stored record under the lock. Returns an empty text when it was
// read and parsed, else why not.
std::string ReadStoredJobInfo(FileLock& file, int& storedId, int& storedIdx)
{
    if (!file.lockTimeout(kTaskInfoTimeoutSeconds)) {
        if (!file.isLocked())
            LOGFMTD("read-timeout failed");
        file.unlock();
        return file.isOpen() ? kJobFileLocked : UnopenedReason(file);
    }
    bool parsed = false;
    try {
        std::string text;
        parsed = file.readAll(text) && FileLock::parseJobInfo(text, storedId, storedIdx);
    } catch (const std::exception&) {
        LOGFMTD("Read exception");
        parsed = false;
    }
    file.unlock();
    return parsed ? "" : kJobFileNoRecord;
}

// TaskInfo that says why it failed: empty when the index was derived and
// the new record stored.
std::string RunTaskInfo(int jobId, int& index)
{
    FileLock file;
    int storedId = -1;
    int storedIdx = -1;
    std::string problem = ReadStoredJobInfo(file, storedId, storedIdx);
    if (!problem.empty()) {
        file.close();
        return problem;
    }
    index = (jobId == storedId) ? storedIdx + 1 : 0;
    file.writeJobInfoTimeout(jobId, index, kTaskInfoTimeoutSeconds);
    file.close();
    return "";
}

// Tells the spooler why the RFID job ends unprinted; returns the result
// that stops the job.
int RfidJobNotPrinted(const std::string& problem)
{
    PutSpoolerMessage(SpoolerLevel::kError, "RFID job not printed: %s", problem.c_str());
    return kRfidStopJob;
}

}  // namespace

bool TaskInfo(int jobId, int& index)
{
    return RunTaskInfo(jobId, index).empty();
}

int LERFIDJobTask(const char* title, int jobId)
{
    LOGFMTD("LERFIDJobTask - %s, %d", title, jobId);
    CLEFile rfid(title ? title : "");
    if (!rfid.CheckRFIDTask())
        return kRfidNotRfidJob;
    if (!rfid.InitMsgQueue())
        return RfidJobNotPrinted(kRfidQueueMissing);
    int index = -1;
    std::string problem = RunTaskInfo(jobId, index);
    if (!problem.empty())
        return RfidJobNotPrinted(problem);
    std::string reply;
    if (!rfid.GetLERFIDData(reply, index))
        return RfidJobNotPrinted(reply == kRfidErrorReply ? kRfidRefused : kRfidNoAnswer);
    size_t written = fwrite(reply.data(), 1, reply.size(), stdout);
    LOGFMTD("RFID write size: %d", static_cast<int>(written));
    return written > 0 ? kRfidDataSent : RfidJobNotPrinted(kRfidNoData);
}

namespace {

// Keeps page-sized blocks in the process's heap once freed, so that each
// page and each pipeline step takes the memory the one before gave back
// instead of mapping fresh pages from the kernel (each page fault costs as
// much as converting the pixels on it). A block of up to 32 MB, the most the
// allocator lets stay in the heap, covers a 4 x 6 inch label at 609 dpi.
void KeepPageBuffersInTheHeap()
{
#if defined(__GLIBC__)
    constexpr int kHeapBlockMax = 32 << 20;
    constexpr int kNeverTrim = INT32_MAX;
    mallopt(M_MMAP_THRESHOLD, kHeapBlockMax);
    mallopt(M_TRIM_THRESHOLD, kNeverTrim);
#endif
}

}  // namespace

int FilterMain(int argc, char* argv[])
{
    KeepPageBuffersInTheHeap();
    setbuf(stderr, nullptr);
    StartDriverLog();
    if (argc != kArgsWithStdin && argc != kArgsWithFile) {
        PutKeptText(kUsageText);
        return kExitFailure;
    }
    int fd = OpenRasterSource(argc, argv);
    if (fd < 0) {
        PutKeptText(kRasterOpenText);
        sleep(kRasterOpenFailSleepSeconds);
        return kExitFailure;
    }
    cups_raster_t* ras = cupsRasterOpen(fd, CUPS_RASTER_READ);
    if (!ras) {
        PutKeptText(kRasterStreamText);
        CloseRasterSource(fd);
        return kExitFailure;
    }
    Canceled = 0;
    InstallCancelHandler();
    ppd_file_t* ppd = ppdOpenFile(getenv("PPD"));
    if (!ppd) {
        ReportPpdOpenFailure();
        cupsRasterClose(ras);
        CloseRasterSource(fd);
        return kExitFailure;
    }
    InitializeSetting(argv[5], ppd);
    bool logOn = UpdateLogStatus(ppd);
    int jobId = static_cast<int>(strtol(argv[1], nullptr, 10));
    LogJobArguments(argc, argv, jobId);

    JobContext job{ras, ppd, argv[3], jobId, logOn, PpdOutputDpi()};
    LoopResult result;
    if (PrinterResolutionUsable(job.outputDpi)) {
        result = RunPageLoop(job);
        EndDocument(FilterJobRecords(), logOn);
    } else {
        result.failed = true;
    }

    ppdClose(ppd);
    cupsRasterClose(ras);
    CloseRasterSource(fd);
    if (result.pages == 0 && !result.failed)
        PutKeptText(kNoPagesText);
    return result.failed ? kExitFailure : kExitOk;
}
