// libFuzzer harness: the logger's configuration text. Each input goes to a
// fresh private manager that is never started, so no worker runs and no log
// file is opened: the parse, the section rules and the settings applied to
// the loggers are what is exercised, once as a first configuration and once
// as an update through the setting operations.
#include <cstddef>
#include <cstdint>
#include <string>

#include "log4z_manager.h"

namespace {

// Reads back what the text left in every logger, by id and by key.
void InspectLoggers(LogerManager& manager)
{
    for (LoggerId id = 0; id < kMaxLoggers; ++id) {
        LoggerSnapshot snapshot;
        if (!manager.getLoggerSnapshot(id, snapshot))
            break;
        manager.findLogger(snapshot.strKey.c_str());
        manager.isLoggerEnable(id);
    }
}

}  // namespace

// Applies one configuration text, then the same text as an update.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    LogerManager manager;
    manager.configFromString(text.c_str());
    InspectLoggers(manager);
    manager.configFromStringImpl(text, true);
    InspectLoggers(manager);
    return 0;
}
