// A raster job of the printer application runs the filter's page steps:
// the job records are built on the first page from the job's choice codes,
// each page is stored line by line into the held page and sent when the
// next page starts (or the job ends), and the commands go to the PAPPL
// device instead of standard output. So a page prints here exactly as the
// filter prints it.
#include "RasterJob.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Drivers.h"
#include "GetPpdSelfOption.h"
#include "HeldPage.h"
#include "IppOptions.h"
#include "PageLimits.h"
#include "PageLines.h"
#include "log4z.h"
#include "rastokivepl.h"

namespace kvapp {
namespace {

// The renderer's commands, written to the job's device.
class DeviceSink : public kvrender::CommandSink {
public:
    explicit DeviceSink(pappl_device_t* device) : m_device(device) {}
    size_t Write(const void* data, size_t size) override
    {
        const ssize_t written = papplDeviceWrite(m_device, data, size);
        return written < 0 ? 0 : static_cast<size_t>(written);
    }

private:
    pappl_device_t* m_device;
};

// The widest grey line widened; wider pages are beyond the limits anyway
// and never get here.
constexpr unsigned kMaxWideLine = 1u << 20;

// The driver log and page dumps are files of fixed names in /tmp and the
// logger is one per process, so jobs run their pages one at a time even
// when several printers print at once. Labels print far slower than they
// render; no printer waits long.
std::mutex g_jobLock;

// The white level of the job's picture when PAPPL's lines of it need
// mending (a grey PNG); 0 for every other document.
int PictureWhite(pappl_job_t* job)
{
    constexpr size_t kHeadBytes = 26;  // the PNG signature and its IHDR chunk up to the colour type
    const char* format = papplJobGetFormat(job);
    if (!format || strcmp(format, "image/png") != 0)
        return 0;
    const int fd = open(papplJobGetFilename(job), O_RDONLY);
    if (fd < 0)
        return 0;
    std::string head(kHeadBytes, '\0');
    const ssize_t got = read(fd, &head[0], head.size());
    close(fd);
    head.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return GreyPngWhite(head);
}

// Everything of one raster job, from its start to its end.
struct AppJob {
    explicit AppJob(pappl_device_t* device) : sink(device) {}

    std::unique_lock<std::mutex> lock{g_jobLock};
    tagOEMCFG cfg{};
    _DEVMODE devMode{};
    _OEMPDEV pdev{};
    kvrender::DeferredSwap swap{};
    DeviceSink sink;
    ChoiceCodeMap codes;
    int16_t outputDpi = 0;
    bool logOn = false;
    PageGeometry first{};
    HeldPageFill fill;
    LineForm form;                    // what the page's lines are
    int pictureWhite = 0;             // see LineForm
    std::vector<unsigned char> wide;  // a line made RGB
    int pages = 0;                    // page headers seen
    bool pageOpen = false;            // a page's lines are being stored
    bool ended = false;               // the job stopped early: later pages are dropped

    JobRecords Records() { return {&cfg, &devMode, &pdev, &swap, &sink}; }
};

AppJob* JobOf(pappl_job_t* job)
{
    return static_cast<AppJob*>(papplJobGetData(job));
}

const char* LabelModeKeyword(pappl_label_mode_t mode)
{
    if (mode & PAPPL_LABEL_MODE_CUTTER)
        return "cutter";
    if (mode & PAPPL_LABEL_MODE_PEEL_OFF)
        return "peel-off";
    return "tear-off";
}

// What the job asks for, with the printer's defaults where it says nothing.
JobChoices ChoicesOf(pappl_job_t* job, const pappl_pr_options_t* options)
{
    JobChoices c;
    c.mediaType = options->media.type;
    pappl_pr_driver_data_t data;
    papplPrinterGetDriverData(papplJobGetPrinter(job), &data);
    c.labelMode = LabelModeKeyword(data.mode_configured);
    c.darknessGiven = options->print_darkness != 0 || papplJobGetAttribute(job, "print-darkness") != nullptr;
    c.printDarkness = options->print_darkness;
    c.darknessConfigured = options->darkness_configured;
    c.printSpeed = options->print_speed;
    for (int i = 0; i < options->num_vendor; ++i)
        c.vendor.emplace_back(options->vendor[i].name, options->vendor[i].value);
    // PAPPL hands over the vendor attributes the job names; for the others
    // the printer's defaults (set in the web interface or with
    // "<name>-default") count, as a PPD queue's defaults do.
    ipp_t* attrs = papplPrinterGetDriverAttributes(papplJobGetPrinter(job));
    for (int i = 0; i < data.num_vendor; ++i) {
        const std::string name = data.vendor[i];
        if (cupsGetOption(name.c_str(), options->num_vendor, options->vendor))
            continue;
        ipp_attribute_t* def = ippFindAttribute(attrs, (name + "-default").c_str(), IPP_TAG_ZERO);
        char value[256];
        if (def && ippAttributeString(def, value, sizeof value) > 0)
            c.vendor.emplace_back(name, value);
    }
    ippDelete(attrs);
    return c;
}

// The driver log as the filter keeps it: a fresh /tmp/kvepl.log per job
// that asks for it, and no logging at all otherwise.
void EndDriverLog(const AppJob& state)
{
    if (state.logOn)
        ILog4zManager::getInstance()->stop();
}

void Finish(pappl_job_t* job, AppJob* state)
{
    EndDriverLog(*state);
    papplJobSetData(job, nullptr);
    delete state;
}

}  // namespace

bool StartJob(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device)
{
    const kvppd::PpdModel* model = ModelOfDriver(papplPrinterGetDriverName(papplJobGetPrinter(job)));
    if (!model) {
        papplLogJob(job, PAPPL_LOGLEVEL_ERROR, "The printer's driver is not one of this application's.");
        return false;
    }
    auto state = std::make_unique<AppJob>(device);
    std::vector<std::string> ignored;
    state->codes = CodesForJob(*model, ChoicesOf(job, options), &ignored);
    for (const std::string& value : ignored)
        papplLogJob(job, PAPPL_LOGLEVEL_WARN, "Ignoring %s: not a choice of this printer.", value.c_str());
    state->outputDpi = static_cast<int16_t>(model->dpi);
    state->pictureWhite = PictureWhite(job);
    state->logOn = ChoiceCodeIndex(ChoiceCodes(state->codes, state->outputDpi).Code("DriverLog")) > 0;
    if (state->logOn)
        StartDriverLog();
    papplJobSetData(job, state.release());
    return true;
}

bool StartPage(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* /*device*/, unsigned /*page*/)
{
    AppJob* state = JobOf(job);
    if (!state || state->ended)
        return state != nullptr;
    const ChoiceCodes codes(state->codes, state->outputDpi);
    const PageSetUp setUp{state->outputDpi, state->logOn};
    // PAPPL numbers pages from 1 in some versions and from 0 in its
    // documentation: the job counts them itself, as the filter does.
    const int number = ++state->pages;
    // PWG raster has no copy count (the spooler's queues send 0, and
    // PAPPL's own rasterizing of images leaves it 0 and makes the copies
    // itself): a page is one label then.
    cups_page_header2_t header = options->header;
    if (header.NumCopies == 0)
        header.NumCopies = 1;
    state->form.channels = WidenGreyHeader(header);
    state->form.pictureWhite = state->pictureWhite;
    state->wide.clear();
    if (!state->form.AsTheyCome() && header.cupsWidth <= kMaxWideLine)
        state->wide.assign(header.cupsBytesPerLine, 0);
    const PageStart start = StartHeldPage(state->Records(), codes, &header, number, setUp, state->first, state->fill);
    papplLogJob(job, PAPPL_LOGLEVEL_DEBUG, "Page %d: %u x %u pixels at %u x %u dpi, %u bits, %u copies, start %d.",
                number, header.cupsWidth, header.cupsHeight, header.HWResolution[0], header.HWResolution[1],
                header.cupsBitsPerPixel, header.NumCopies, static_cast<int>(start));
    if (start == PageStart::kReady) {
        state->pageOpen = true;
        return true;
    }
    state->ended = true;
    if (start == PageStart::kStop)
        return true;
    const std::string reason =
        start == PageStart::kRefused ? PageLimitProblem(header, state->outputDpi) : "not enough memory for its buffer";
    papplLogJob(job, PAPPL_LOGLEVEL_ERROR, "Page %d not printed: %s", number, reason.c_str());
    // As the filter does: the page held before is sent as the last page.
    EndDocument(state->Records(), state->logOn);
    return false;
}

bool WriteLine(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* /*device*/, unsigned y,
               const unsigned char* line)
{
    AppJob* state = JobOf(job);
    if (!state || !state->pageOpen)
        return state != nullptr;
    if (state->form.AsTheyCome()) {
        state->fill.StoreLine(y, line);
        return true;
    }
    if (state->wide.empty())
        return true;
    WidenLine(state->form, line, state->wide);
    state->fill.StoreLine(y, state->wide.data());
    return true;
}

// Closes the page being filled, if one is: its last rows are settled and
// the page is held until the next page or the job's end renders it.
void ClosePage(AppJob& state)
{
    if (state.pageOpen) {
        state.swap = state.fill.End();
        state.pageOpen = false;
    }
}

bool EndPage(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* /*device*/, unsigned /*page*/)
{
    AppJob* state = JobOf(job);
    if (!state)
        return false;
    ClosePage(*state);
    return true;
}

bool EndJob(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* device)
{
    AppJob* state = JobOf(job);
    if (!state)
        return false;
    ClosePage(*state);
    if (state->pdev.pBufStart && !state->ended)
        EndDocument(state->Records(), state->logOn);
    ReleaseHeldPage(&state->pdev);
    papplDeviceFlush(device);
    Finish(job, state);
    return true;
}

bool PrintRawFile(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* device)
{
    const int fd = open(papplJobGetFilename(job), O_RDONLY);
    if (fd < 0) {
        papplLogJob(job, PAPPL_LOGLEVEL_ERROR, "Unable to open the job's file: %s", strerror(errno));
        return false;
    }
    papplJobSetImpressions(job, 1);
    char buffer[65536];
    ssize_t bytes;
    bool ok = true;
    while ((bytes = read(fd, buffer, sizeof buffer)) > 0)
        if (papplDeviceWrite(device, buffer, static_cast<size_t>(bytes)) < 0) {
            papplLogJob(job, PAPPL_LOGLEVEL_ERROR, "Unable to send %d bytes to the printer.", static_cast<int>(bytes));
            ok = false;
            break;
        }
    close(fd);
    papplDeviceFlush(device);
    if (ok)
        papplJobSetImpressionsCompleted(job, 1);
    return ok;
}

}  // namespace kvapp
