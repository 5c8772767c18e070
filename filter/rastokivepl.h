// The filter's job loop: start-up, the page loop over the CUPS raster
// stream with its held page buffer, the end of document, and the small
// pieces around it (job options, log switch, header dump, cancellation,
// RFID job step).
#ifndef KV_FILTER_RASTOKIVEPL_H
#define KV_FILTER_RASTOKIVEPL_H

#include <csignal>
#include <cstdint>

#include <cups/ppd.h>
#include <cups/raster.h>

#include "ChoiceCodes.h"
#include "DevMode.h"
#include "EPLRender.h"
#include "HeldPage.h"
#include "OemCfg.h"
#include "PagePipeline.h"

// Set to 1 by SIGTERM; never goes back to 0.
extern volatile sig_atomic_t Canceled;

// The three job records, built on the first page and kept for the process.
extern tagOEMCFG g_oemCfg;
extern _DEVMODE g_devMode;
extern _OEMPDEV g_oemPDEV;

// Runs one job as the spooler starts it ("job-id user title copies options
// [file]"); returns the process exit status.
int FilterMain(int argc, char* argv[]);

// Removes the last job's driver log and starts the logger on
// "/tmp/kvepl.log" (created under umask 022, so other users can read it).
void StartDriverLog();

// Marks the PPD's defaults, then the job's options (argv[5]).
void InitializeSetting(const char* options, ppd_file_t* ppd);

// True when the PPD's "DriverLog" choice code is above 0. Otherwise logs the
// code and stops the logger, so every later log call of the job does nothing.
bool UpdateLogStatus(ppd_file_t* ppd);

// Writes the page header to the debug log; changes nothing.
void StartPage(ppd_file_t* ppd, cups_page_header2_t* header, int page);

// SIGTERM handler: stores 1 into Canceled and nothing else.
void CancelJob(int sig);

// Reads the page that follows `header` into a fresh zero-filled held buffer
// of `pdev` (the old one must already be released). The buffer is at least
// as large as the first page's geometry in `pdev->bmInfoHeader` needs, so a
// smaller later page is still read safely with that geometry; missing rows
// of a short page stay zero. Returns false, with no buffer held, when the
// buffer cannot be had. Red and blue are swapped as each row arrives unless
// `swap` is false; then the page waits in raster order, and what the swap
// needs is in the held page's deferred swap (see CEPLRender).
bool ReadPageIntoHeldBuffer(cups_raster_t* ras, const cups_page_header2_t& header, _OEMPDEV* pdev, bool swap = true);
// The same, leaving what the renderer must swap in `pending`.
bool ReadPageIntoHeldBuffer(cups_raster_t* ras, const cups_page_header2_t& header, _OEMPDEV* pdev, bool swap,
                            kvrender::DeferredSwap* pending);

// Releases the held page buffer, if any.
void ReleaseHeldPage(_OEMPDEV* pdev);

// One job's records and where its printer commands go. The filter's job is
// the three globals above with the held page's pending swap, its commands
// on standard output; the printer application keeps one set per job and
// sends the commands to its printer's device.
struct JobRecords {
    tagOEMCFG* cfg;
    _DEVMODE* devMode;
    _OEMPDEV* pdev;
    kvrender::DeferredSwap* swap;
    kvrender::CommandSink* sink;  // null: standard output
};

// The filter's own records (the globals).
JobRecords FilterJobRecords();

// Width, height and depth of a raster page.
struct PageGeometry {
    unsigned width;
    unsigned height;
    unsigned bitsPerPixel;

    static PageGeometry Of(const cups_page_header2_t& h) { return {h.cupsWidth, h.cupsHeight, h.cupsBitsPerPixel}; }
    bool operator==(const PageGeometry& o) const
    {
        return width == o.width && height == o.height && bitsPerPixel == o.bitsPerPixel;
    }
};

// What the page steps need to know of the job.
struct PageSetUp {
    int outputDpi;  // the printer's resolution, 0 when unknown (blank labels)
    bool logOn;     // the driver log's switch, handed to every page render
};

// What became of a page header.
enum class PageStart {
    kReady,    // the held buffer waits for the page's lines
    kRefused,  // beyond the limits (said on standard error): the job fails
    kStop,     // the renderer refused the page held before: the job ends
    kNoMemory  // no buffer for the page (said on standard error): the job fails
};

// The job loop's steps for one page header, once the RFID step let it
// through, as the filter and the printer application both run them: the
// header dump, the limits, on page 1 the job records built from `codes`
// and the start of the document, the page held from the header before
// sent one header late, and a fresh held buffer for this page in `fill`,
// ready for the page's lines. `first` keeps page 1's geometry.
PageStart StartHeldPage(const JobRecords& job, const ChoiceCodes& codes, cups_page_header2_t* header, int page,
                        const PageSetUp& setUp, PageGeometry& first, HeldPageFill& fill);

// The end of the document: the held page, if any, sent as the last page
// and released.
void EndDocument(const JobRecords& job, bool logOn);

// RFID step for one page header: 0 not an RFID job, 1 an RFID job whose
// data could not be sent (the job must stop), 2 RFID data written.
int LERFIDJobTask(const char* title, int jobId);

// Derives this run's repeat index for `jobId` from the job information file
// and stores the new record. False when the file cannot be read or parsed.
bool TaskInfo(int jobId, int& index);

#endif
