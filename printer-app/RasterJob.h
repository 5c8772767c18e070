// Printing a job: raster pages through the filter's own page steps (the
// held page, one page late, with the job records built from the job's IPP
// attributes), and raw EPL2 files straight to the device.
#ifndef KV_PRINTER_APP_RASTERJOB_H
#define KV_PRINTER_APP_RASTERJOB_H

#include <pappl/pappl.h>

namespace kvapp {

bool StartJob(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device);
bool StartPage(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device, unsigned page);
bool WriteLine(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device, unsigned y,
               const unsigned char* line);
bool EndPage(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device, unsigned page);
bool EndJob(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device);
bool PrintRawFile(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device);

}  // namespace kvapp

#endif
