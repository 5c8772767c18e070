// PAPPL 1.3 browses DNS-SD through the avahi daemon and, when the daemon is
// not running, aborts the whole process on the first device listing: the
// web interface's "Add Printer" page takes the server down and "devices"
// dies. The application never prints to a dnssd: URI (a network label
// printer is a socket: device), so its own "dnssd" scheme, registered
// before PAPPL's, lists nothing and keeps listing safe on every machine.
#include "Devices.h"

#include <pappl/pappl.h>
#include <strings.h>

#include <cstring>
#include <initializer_list>

namespace kvapp {
namespace {

// Lists no device; false lets the listing go on to the other schemes.
bool ListNone(pappl_device_cb_t /*cb*/, void* /*data*/, pappl_deverror_cb_t /*errCb*/, void* /*errData*/)
{
    return false;
}

// Refuses every dnssd: URI with the reason.
bool OpenNone(pappl_device_t* device, const char* /*deviceUri*/, const char* /*name*/)
{
    papplDeviceError(device, "DNS-SD devices are not supported: use the printer's socket://HOST:9100 address.");
    return false;
}

void CloseNone(pappl_device_t* /*device*/) {}

ssize_t ReadNone(pappl_device_t* /*device*/, void* /*buffer*/, size_t /*bytes*/)
{
    return -1;
}

ssize_t WriteNone(pappl_device_t* /*device*/, const void* /*buffer*/, size_t /*bytes*/)
{
    return -1;
}

}  // namespace

bool DeviceSchemeSupported(const char* deviceUri)
{
    if (!deviceUri)
        return false;
    for (const char* scheme : {"usb://", "socket://", "file://"})
        if (strncasecmp(deviceUri, scheme, strlen(scheme)) == 0)
            return true;
    return false;
}

void ReplaceDnsSdScheme()
{
    papplDeviceAddScheme("dnssd", PAPPL_DEVTYPE_DNS_SD, ListNone, OpenNone, CloseNone, ReadNone, WriteNone, nullptr,
                         nullptr);
}

}  // namespace kvapp
