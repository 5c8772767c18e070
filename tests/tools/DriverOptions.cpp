// The driver's own options of a PPD.
#include "DriverOptions.h"

#include <cstring>

namespace kvtool {

namespace {

// True for the options that set the raster rather than the driver.
bool SetsTheRaster(const char* keyword)
{
    return std::strcmp(keyword, "PageSize") == 0 || std::strcmp(keyword, "PageRegion") == 0 ||
           std::strcmp(keyword, "Resolution") == 0;
}

}  // namespace

std::vector<DriverOption> DriverOptions(ppd_file_t* ppd)
{
    std::vector<DriverOption> options;
    for (ppd_option_t* o = ppdFirstOption(ppd); o; o = ppdNextOption(ppd)) {
        if (SetsTheRaster(o->keyword))
            continue;
        DriverOption option{o->keyword, {}};
        for (int i = 0; i < o->num_choices; ++i)
            option.choices.push_back(o->choices[i].choice);
        options.push_back(option);
    }
    return options;
}

}  // namespace kvtool
