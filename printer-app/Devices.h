// The devices the application prints to: PAPPL's usb:, socket: and file:
// devices. PAPPL's DNS-SD scheme is replaced by one that finds nothing, so
// that listing devices never needs the avahi daemon.
#ifndef KV_PRINTER_APP_DEVICES_H
#define KV_PRINTER_APP_DEVICES_H

namespace kvapp {

// True for the device URIs the application prints to: usb:, socket: and
// file:.
bool DeviceSchemeSupported(const char* deviceUri);

// Registers the application's "dnssd" scheme in place of PAPPL's: it lists
// no device and opens none. Called before PAPPL lists or opens a device.
void ReplaceDnsSdScheme();

}  // namespace kvapp

#endif
