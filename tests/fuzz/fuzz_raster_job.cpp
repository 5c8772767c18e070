// libFuzzer harness: a whole raster job through the filter's entry point,
// in-process, with a shipped PPD and either the PPD's defaults or options
// made from the input (see RasterJobInput.h for the input's layout).
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "RasterJobInput.h"
#include "SpoolerMessages.h"
#include "TempDir.h"
#include "TestFiles.h"
#include "rastokivepl.h"

namespace {

// Everything the runs share, made once by LLVMFuzzerInitialize.
struct Harness {
    kvtest::TempDir dir;
    std::string rasterPath = dir.File("job.ras");
    kvfuzz::PpdTable low;
    kvfuzz::PpdTable high;
    // /dev/null, where the spooler messages go.
    std::unique_ptr<FILE, int (*)(FILE*)> quiet{nullptr, &fclose};
};

// The shared state; a static, so that its temporary folder goes at exit.
Harness& State()
{
    static Harness harness;
    return harness;
}

// Out-of-table forms: custom label sizes in each unit and numbers that no
// choice of the PPD has.
constexpr unsigned kOutOfTableForms = 8;

// Returns out-of-table pair number `form`, made with the selection's second
// and third bytes `c` and `x`.
std::string OutOfTableOption(unsigned form, unsigned c, unsigned x)
{
    char text[96];
    switch (form) {
    case 0:
        snprintf(text, sizeof(text), "PageSize=Custom.%ux%umm", 1 + c, 1 + x * 4);
        break;
    case 1:
        snprintf(text, sizeof(text), "PageSize=Custom.%u.%ux%uin", c % 12, x % 10, x % 48);
        break;
    case 2:
        snprintf(text, sizeof(text), "PageSize=Custom.%ux%u", c * 4, x * 16);
        break;
    case 3:
        snprintf(text, sizeof(text), "Density=%d", static_cast<int>(c) - 128);
        break;
    case 4:
        snprintf(text, sizeof(text), "interval=%u", c * x);
        break;
    case 5:
        snprintf(text, sizeof(text), "Halftone=%u", c);
        break;
    case 6:
        snprintf(text, sizeof(text), "MaxOutputWidth=%umm", c);
        break;
    default:
        snprintf(text, sizeof(text), "GAPHeight=%u.%umm", c % 20, x);
        break;
    }
    return text;
}

// Builds the job's options from the selections at the front of `data`;
// moves `data` and `size` past them.
std::string FuzzedOptions(const kvfuzz::PpdTable& table, const uint8_t*& data, size_t& size)
{
    if (size == 0)
        return "";
    unsigned count = data[0] % kvfuzz::kMaxSelections;
    ++data;
    --size;
    std::string options;
    const unsigned forms = static_cast<unsigned>(table.options.size()) + kOutOfTableForms;
    for (unsigned i = 0; i < count && size >= kvfuzz::kSelectionBytes; ++i) {
        const unsigned which = data[0] % forms;
        const unsigned choice = data[1];
        const unsigned extra = data[2];
        data += kvfuzz::kSelectionBytes;
        size -= kvfuzz::kSelectionBytes;
        std::string pair;
        if (which < table.options.size()) {
            const std::vector<std::string>& pairs = table.options[which];
            pair = pairs[choice % pairs.size()];
        } else {
            pair = OutOfTableOption(which - static_cast<unsigned>(table.options.size()), choice, extra);
        }
        options += (options.empty() ? "" : " ") + pair;
    }
    return options;
}

// Clears what one job leaves in the process, as a fresh process would have
// it: a held page (which the process's exit would release), the job
// records and the cancel flag.
void ResetJobState()
{
    ReleaseHeldPage(&g_oemPDEV);
    memset(&g_oemCfg, 0, sizeof(g_oemCfg));
    memset(&g_devMode, 0, sizeof(g_devMode));
    memset(&g_oemPDEV, 0, sizeof(g_oemPDEV));
    Canceled = 0;
    SetSpoolerStream(State().quiet.get());
}

// Writes the raster, points PPD at the chosen file and runs the job.
void RunJob(const kvfuzz::PpdTable& table, const std::string& options, const uint8_t* raster, size_t size)
{
    kvtest::WriteFile(State().rasterPath, std::string(reinterpret_cast<const char*>(raster), size));
    setenv("PPD", table.path.c_str(), 1);
    std::vector<std::string> args{"rastertokivcp", "1", "user", "label", "1", options, State().rasterPath};
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    ResetJobState();
    FilterMain(static_cast<int>(args.size()), argv.data());
    ResetJobState();
}

}  // namespace

// Sends the EPL output to /dev/null for the whole session and reads the
// PPDs' option tables.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    int devNull = open("/dev/null", O_WRONLY);
    if (devNull < 0 || dup2(devNull, STDOUT_FILENO) < 0)
        abort();
    close(devNull);
    State().low = kvfuzz::ReadPpdTable(std::string(KV_PPD_DIR) + "/" + kvfuzz::kLowResolutionPpd);
    State().high = kvfuzz::ReadPpdTable(std::string(KV_PPD_DIR) + "/" + kvfuzz::kHighResolutionPpd);
    State().quiet.reset(fopen("/dev/null", "w"));
    if (!State().quiet)
        abort();
    return 0;
}

// Runs one job: mode and PPD from the first byte, then options, then raster.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const uint8_t control = data[0];
    ++data;
    --size;
    const kvfuzz::PpdTable& table = (control & kvfuzz::kHighResolutionPpdBit) ? State().high : State().low;
    std::string options;
    if (control & kvfuzz::kFuzzedOptionsBit)
        options = FuzzedOptions(table, data, size);
    RunJob(table, options, data, size);
    return 0;
}
