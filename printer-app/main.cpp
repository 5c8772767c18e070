// kivcp-printer-app: an IPP printer application for EPL2 label printers.
// PAPPL's main loop gives it the standard sub-commands (server, add,
// submit, printers, drivers, options, status, shutdown, ...) and the web
// interface; the drivers and the page path are the filter's own.
#include <pappl/pappl.h>

#include "Drivers.h"

int main(int argc, char* argv[])
{
    std::vector<pappl_pr_driver_t>& drivers = kvapp::DriverList();
    return papplMainloop(argc, argv, "1.0.0", nullptr, static_cast<int>(drivers.size()), drivers.data(),
                         kvapp::AutoAddCallback, kvapp::DriverCallback, nullptr, nullptr, nullptr, nullptr, nullptr);
}
