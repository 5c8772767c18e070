// kivcp-printer-app: an IPP printer application for EPL2 label printers.
// PAPPL's main loop gives it the standard sub-commands (server, add,
// submit, printers, drivers, options, status, shutdown, ...) and the web
// interface; the drivers and the page path are the filter's own.
#include <pappl/pappl.h>

#include <vector>

#include "Drivers.h"

#if defined(KV_SANITIZED)
// PAPPL's main loop leaves its option arrays and its system to the end of
// the process; sanitized builds do not count those as leaks of ours (the
// application's own code is checked for leaks in the tests' processes).
extern "C" const char* __asan_default_options()
{
    return "detect_leaks=0";
}
#endif

int main(int argc, char* argv[])
{
    std::vector<pappl_pr_driver_t>& drivers = kvapp::DriverList();
    // PAPPL 1.3 looks the footer up in its translations on every page and
    // fails on a missing one: the application always gives one.
    static const char kFooter[] = "kivcp-printer-app 1.0.0: EPL2 label printers";
    return papplMainloop(argc, argv, "1.0.0", kFooter, static_cast<int>(drivers.size()), drivers.data(),
                         kvapp::AutoAddCallback, kvapp::DriverCallback, nullptr, nullptr, nullptr, nullptr, nullptr);
}
