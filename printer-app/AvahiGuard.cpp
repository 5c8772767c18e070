// PAPPL 1.3 browses and resolves DNS-SD services through one avahi client,
// made when first needed. When the avahi daemon is not running that client
// is null, and PAPPL still asks for a browser with it: avahi asserts, and
// the whole application aborts on the first device listing (the web
// interface's "Add Printer" page takes the server down, "devices" dies).
//
// The application's own definitions of avahi's lookup constructors stand
// in front of avahi's (the executable's symbols come first for the
// libraries it loads): without a client they fail as avahi documents a
// failure, with null, and PAPPL reports "Unable to create service
// browser." and lists the other devices; with a client they are avahi's.
#include <avahi-client/lookup.h>
#include <dlfcn.h>

namespace {

// avahi's own definition of `name`, the next one after this executable's.
template <typename Function>
Function Avahis(Function /*ours*/, const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

AvahiServiceBrowser* avahi_service_browser_new(AvahiClient* client, AvahiIfIndex interface, AvahiProtocol protocol,
                                               const char* type, const char* domain, AvahiLookupFlags flags,
                                               AvahiServiceBrowserCallback callback, void* userdata)
{
    static const auto next = Avahis(&avahi_service_browser_new, "avahi_service_browser_new");
    if (!client || !next)
        return nullptr;
    return next(client, interface, protocol, type, domain, flags, callback, userdata);
}

AvahiServiceResolver* avahi_service_resolver_new(AvahiClient* client, AvahiIfIndex interface, AvahiProtocol protocol,
                                                 const char* name, const char* type, const char* domain,
                                                 AvahiProtocol aprotocol, AvahiLookupFlags flags,
                                                 AvahiServiceResolverCallback callback, void* userdata)
{
    static const auto next = Avahis(&avahi_service_resolver_new, "avahi_service_resolver_new");
    if (!client || !next)
        return nullptr;
    return next(client, interface, protocol, name, type, domain, aprotocol, flags, callback, userdata);
}

AvahiRecordBrowser* avahi_record_browser_new(AvahiClient* client, AvahiIfIndex interface, AvahiProtocol protocol,
                                             const char* name, uint16_t clazz, uint16_t type, AvahiLookupFlags flags,
                                             AvahiRecordBrowserCallback callback, void* userdata)
{
    static const auto next = Avahis(&avahi_record_browser_new, "avahi_record_browser_new");
    if (!client || !next)
        return nullptr;
    return next(client, interface, protocol, name, clazz, type, flags, callback, userdata);
}

}  // extern "C"
