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

#include "DevMode.h"
#include "OemCfg.h"

// Set to 1 by SIGTERM; never goes back to 0.
extern volatile sig_atomic_t Canceled;

// The three job records, built on the first page and kept for the process.
extern tagOEMCFG g_oemCfg;
extern _DEVMODE g_devMode;
extern _OEMPDEV g_oemPDEV;

// Runs one job as the spooler starts it ("job-id user title copies options
// [file]"); returns the process exit status.
int FilterMain(int argc, char* argv[]);

// Marks the PPD's defaults, then the job's options (argv[5]).
void InitializeSetting(const char* options, ppd_file_t* ppd);

// True when the PPD's "DriverLog" choice code is above 0. Otherwise logs the
// code and stops the logger, so every later log call of the job does nothing.
bool UpdateLogStatus(ppd_file_t* ppd);

// Writes the page header to the debug log; changes nothing.
void StartPage(ppd_file_t* ppd, cups_page_header2_t* header, int page);

// SIGTERM handler: stores 1 into Canceled and nothing else.
void CancelJob(int sig);

// Bytes of one held-buffer row: rows padded to a multiple of 4 bytes.
uint64_t PageStride(const cups_page_header2_t& header);

// Exchanges byte 0 and byte 2 of each of the first `width` 3-byte groups of
// `line`, never touching a byte at or beyond `lineBytes`.
void SwapRedBlue(unsigned char* line, uint64_t lineBytes, uint64_t width);

// Reads the page that follows `header` into a fresh zero-filled held buffer
// of `pdev` (the old one must already be released). The buffer is at least
// as large as the first page's geometry in `pdev->bmInfoHeader` needs, so a
// smaller later page is still read safely with that geometry; missing rows
// of a short page stay zero. Returns false, with no buffer held, when the
// buffer cannot be had. Red and blue are swapped as each row arrives unless
// `swap` is false; then the page waits in raster order, and what the swap
// needs is in the held page's deferred swap (see CEPLRender).
bool ReadPageIntoHeldBuffer(cups_raster_t* ras, const cups_page_header2_t& header, _OEMPDEV* pdev, bool swap = true);

// Releases the held page buffer, if any.
void ReleaseHeldPage(_OEMPDEV* pdev);

// RFID step for one page header: 0 not an RFID job, 1 an RFID job whose
// data could not be sent (the job must stop), 2 RFID data written.
int LERFIDJobTask(const char* title, int jobId);

// Derives this run's repeat index for `jobId` from the job information file
// and stores the new record. False when the file cannot be read or parsed.
bool TaskInfo(int jobId, int& index);

#endif
