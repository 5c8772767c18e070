// The emulation class the renderer instantiates: the EPL command builder
// under the entry names the renderer calls.
#ifndef KV_EMULATION_LBPTREMULATION_H
#define KV_EMULATION_LBPTREMULATION_H

#include <cstdint>

#include "EPLEmulation.h"
#include "OemCfg.h"

class CLBPTREmulation : public CEPLEmulation {
public:
    CLBPTREmulation();
    ~CLBPTREmulation();

    // Returns CEPLEmulation::GetStartDocCMD with the same arguments.
    int32_t GetStartDocCMD(tagOEMCFG* cfg, char* out, long outSize, long* outLen);

    // Returns 0 at once for a null configuration; otherwise the result of
    // CEPLEmulation::TransferPageData2CMD with the same arguments.
    int32_t TransferImageData2CMD(tagOEMCFG* cfg, char* bitmap, long size, int x, int reserved, int width, int height,
                                  char* out, long outSize, long* outLen, bool lastPage);
};

#endif
