// The layout of a fuzz_raster_job input, shared by the harness and the seed
// maker so that the committed seeds and the harness read it the same way.
//
//   byte 0        bit 0: 0 = the PPD's defaults (empty options),
//                        1 = options chosen by the bytes that follow;
//                 bit 1: 0 = the 203 dpi 4-inch PPD, 1 = the 300 dpi one
//   (bit 0 set)   one byte: the number of option selections (modulo 16),
//                 then three bytes per selection: which option (modulo the
//                 PPD's options plus the out-of-table forms), which choice,
//                 and a number for the out-of-table forms
//   the rest      the raster stream, written to the job's file
#ifndef KV_TESTS_FUZZ_RASTERJOBINPUT_H
#define KV_TESTS_FUZZ_RASTERJOBINPUT_H

#include <cstdint>
#include <string>
#include <vector>

namespace kvfuzz {

constexpr uint8_t kFuzzedOptionsBit = 0x01;
constexpr uint8_t kHighResolutionPpdBit = 0x02;
constexpr unsigned kMaxSelections = 16;
constexpr unsigned kSelectionBytes = 3;

constexpr const char* kLowResolutionPpd = "kivcp-epl2-203dpi-4in.ppd";
constexpr const char* kHighResolutionPpd = "kivcp-epl2-300dpi-4in.ppd";

// The "option=choice" pairs of one PPD, per option in the PPD's order,
// DriverLog left out: the driver log would write bitmaps to /tmp on every
// run.
struct PpdTable {
    std::string path;
    std::vector<std::vector<std::string>> options;
};

// Reads the table of the PPD at `path`; aborts when it cannot be opened.
PpdTable ReadPpdTable(const std::string& path);

}  // namespace kvfuzz

#endif
