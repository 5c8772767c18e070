// Writes the printer descriptions (PPD files) of the driver's models from one
// table, so the four files never drift apart: every model offers the same
// options, and only the resolution and the print width differ.
#ifndef KV_TOOLS_PPDGENERATOR_H
#define KV_TOOLS_PPDGENERATOR_H

#include <string>
#include <vector>

namespace kvppd {

// One printer model: a generic EPL2 label printer of one resolution and one
// print-head width.
struct PpdModel {
    std::string fileName;      // file name in ppd/, e.g. "kivcp-epl2-203dpi-4in.ppd"
    std::string pcFileName;    // the 8.3 name that the PPD format asks for
    int dpi;                   // printer resolution in dots per inch
    int headInches;            // widest label the printer takes, in whole inches
    int maxSupersampling;      // finest raster offered, as a multiple of dpi
    int defaultSupersampling;  // the raster asked for unless the job says otherwise
};

// The IEEE 1284 device ID of a generic EPL2 label printer, which every PPD
// carries (*1284DeviceID) so that CUPS proposes it for printers that report
// the EPL2 command set.
constexpr const char* kDeviceId = "MFG:Generic;MDL:EPL2 Label Printer;CMD:EPL2;";

// The models the driver ships, in the order of their files.
const std::vector<PpdModel>& PpdModels();

// The raster resolutions a job may ask of the spooler for `model`, in dots
// per inch, coarsest first: the printer's own and its whole multiples up to
// maxSupersampling. The filter shrinks a finer raster to the printer's
// resolution by averaging, which places thin bars more exactly than
// rendering at the printer's resolution does.
std::vector<int> RasterResolutions(const PpdModel& model);

// The complete PPD text of `model`, byte for byte as shipped.
std::string PpdText(const PpdModel& model);

}  // namespace kvppd

#endif
