// The printer application's drivers: one per shipped PPD model, with the
// same label sizes and raster resolutions, and the driver options of the
// option table as IPP attributes.
#ifndef KV_PRINTER_APP_DRIVERS_H
#define KV_PRINTER_APP_DRIVERS_H

#include <pappl/pappl.h>

#include <string>
#include <vector>

#include "PpdGenerator.h"

namespace kvapp {

// The IEEE 1284 device ID of a generic EPL2 label printer, the PPDs' own:
// what the driver list reports.
constexpr const char* kEpl2DeviceId = kvppd::kDeviceId;
// The MIME type of raw EPL2 jobs, sent to the printer as they are.
constexpr const char* kEplFormat = "application/vnd.eltron-epl";

// The driver name of `model`: "kivcp_epl2_203dpi_4in".
std::string DriverName(const kvppd::PpdModel& model);
// The model of driver `name`, or null.
const kvppd::PpdModel* ModelOfDriver(const char* name);

// PAPPL's list of the drivers, for papplMainloop.
std::vector<pappl_pr_driver_t>& DriverList();

// The PWG media names of the model's label sizes, in the table's order
// ("oe_2x1-label_2x1in"), and of the default size.
std::vector<std::string> MediaNames(const kvppd::PpdModel& model);
std::string DefaultMediaName(const kvppd::PpdModel& model);

// papplMainloop's callbacks.
bool DriverCallback(pappl_system_t* system, const char* driverName, const char* deviceUri, const char* deviceId,
                    pappl_pr_driver_data_t* data, ipp_t** attrs, void* cbData);
const char* AutoAddCallback(const char* deviceInfo, const char* deviceUri, const char* deviceId, void* cbData);

// True for the device URIs the application prints to: usb:, socket: and
// file:.
bool DeviceSchemeSupported(const char* deviceUri);

}  // namespace kvapp

#endif
