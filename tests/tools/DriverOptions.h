// The options of a PPD that only the driver acts on: every option but the
// page sizes and the raster resolution, which set the raster itself. The
// PPD tests try every choice of them against the raster the spooler makes.
#ifndef KV_TESTS_TOOLS_DRIVEROPTIONS_H
#define KV_TESTS_TOOLS_DRIVEROPTIONS_H

#include <cups/ppd.h>

#include <string>
#include <vector>

namespace kvtool {

struct DriverOption {
    std::string keyword;
    std::vector<std::string> choices;  // choice names, in the PPD's order
};

// The driver's options of `ppd`, in the PPD's order. Collected before any
// marking: the rasterizer's interpreter walks the same option list and
// would restart a walk still in progress.
std::vector<DriverOption> DriverOptions(ppd_file_t* ppd);

}  // namespace kvtool

#endif
