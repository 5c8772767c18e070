// Helpers for the command-builder tests: reading the command buffer back,
// the typical job configuration and the two-call page hand-over.
#ifndef KV_TESTS_EMULATION_SUPPORT_H
#define KV_TESTS_EMULATION_SUPPORT_H

#include <cstring>
#include <string>
#include <vector>

#include "EPLEmulation.h"
#include "OemCfg.h"

namespace kvtest {

// Returns the builder's current command buffer without changing it.
inline std::string BufferOf(CEPLEmulation& emulation)
{
    long length = -1;
    emulation.GetOutputData(nullptr, 0, &length);
    std::string bytes(static_cast<size_t>(length), '\0');
    if (length > 0)
        emulation.GetOutputData(&bytes[0], length, &length);
    return bytes;
}

// Returns an all-zero configuration record.
inline tagOEMCFG ZeroConfig()
{
    tagOEMCFG cfg;
    std::memset(&cfg, 0, sizeof(cfg));
    return cfg;
}

// The typical job: 203 dpi both ways, speed 4, density 10, no operation
// after printing, thermal-transfer paper, gapped labels 80 x 50 mm with a
// 3 mm gap, one copy of page 1.
inline tagOEMCFG TypicalConfig()
{
    tagOEMCFG cfg = ZeroConfig();
    cfg.sOutputXDPI = 203;
    cfg.sOutputYDPI = 203;
    cfg.sPrintSpeed = 4;
    cfg.sDensity = 10;
    cfg.sLabelType = 1;
    cfg.GAPHeight = 30;
    cfg.GAPHeight2 = 30;
    cfg.dwLabelWidth = 800;
    cfg.dwLabelLength = 500;
    cfg.sCopies = 1;
    cfg.nPageNum = 1;
    cfg.sPageNum = 1;
    return cfg;
}

// The start-of-document block built from `cfg` by a fresh builder through
// the size query and the copying call.
inline std::string StartDoc(tagOEMCFG cfg)
{
    CEPLEmulation emulation;
    long length = 0;
    emulation.GetStartDocCMD(&cfg, nullptr, 0, &length);
    std::string bytes(static_cast<size_t>(length), '\0');
    if (length > 0)
        emulation.GetStartDocCMD(&cfg, &bytes[0], length, &length);
    return bytes;
}

// A page bitmap of `size` bytes whose values run through every byte,
// carriage returns and zeros included.
inline std::vector<char> PatternBitmap(size_t size)
{
    std::vector<char> bitmap(size);
    for (size_t i = 0; i < size; ++i)
        bitmap[i] = static_cast<char>(i * 7 + 13);
    return bitmap;
}

// The page commands of one page through the two-call protocol; `cfg` gets
// the written-back configuration. Empty when the first call kept nothing.
inline std::string PageCommands(CEPLEmulation& emulation, tagOEMCFG& cfg, std::vector<char>& bitmap, int x, int width,
                                int height, bool lastPage)
{
    long length = 0;
    emulation.TransferPageData2CMD(&cfg, bitmap.data(), static_cast<long>(bitmap.size()), x, 0, width, height, nullptr,
                                   0, &length, lastPage);
    if (length <= 0)
        return std::string();
    std::string bytes(static_cast<size_t>(length), '\0');
    emulation.TransferPageData2CMD(&cfg, bitmap.data(), static_cast<long>(bitmap.size()), x, 0, width, height,
                                   &bytes[0], length, &length, lastPage);
    return bytes;
}

// As above with a fresh builder.
inline std::string PageCommands(tagOEMCFG& cfg, std::vector<char>& bitmap, int x, int width, int height, bool lastPage)
{
    CEPLEmulation emulation;
    return PageCommands(emulation, cfg, bitmap, x, width, height, lastPage);
}

// "GW" header, raw rows and line end as the graphic block carries them.
inline std::string GraphicBlock(const std::string& header, const std::vector<char>& bitmap)
{
    return header + std::string(bitmap.begin(), bitmap.end()) + "\r\n";
}

}  // namespace kvtest

#endif
