// libFuzzer harness: the reader of the job information record
// ("JOB_ID = <n>" and "JOB_IDX = <n>" lines) that RFID jobs share.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FileLock.h"

// Parses one record text; the outputs start preset, as the job loop sets them.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    int jobId = -1;
    int jobIdx = -1;
    FileLock::parseJobInfo(text, jobId, jobIdx);
    return 0;
}
