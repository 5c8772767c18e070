// The option table of a shipped PPD, as fuzz_raster_job and its seed maker
// number the options and choices.
#include "RasterJobInput.h"

#include <strings.h>

#include <cstdio>
#include <cstdlib>

#include <cups/ppd.h>

namespace kvfuzz {

// Lists every option of the PPD but DriverLog, with all its choices.
PpdTable ReadPpdTable(const std::string& path)
{
    PpdTable table;
    table.path = path;
    ppd_file_t* ppd = ppdOpenFile(path.c_str());
    if (!ppd) {
        fprintf(stderr, "cannot open %s\n", path.c_str());
        abort();
    }
    for (ppd_option_t* option = ppdFirstOption(ppd); option; option = ppdNextOption(ppd)) {
        if (strcasecmp(option->keyword, "DriverLog") == 0)
            continue;
        std::vector<std::string> pairs;
        for (int i = 0; i < option->num_choices; ++i)
            pairs.push_back(std::string(option->keyword) + "=" + option->choices[i].choice);
        if (!pairs.empty())
            table.options.push_back(pairs);
    }
    ppdClose(ppd);
    return table;
}

}  // namespace kvfuzz
