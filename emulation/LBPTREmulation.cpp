// The renderer's entry names, forwarded to the EPL command builder.
#include "LBPTREmulation.h"

CLBPTREmulation::CLBPTREmulation() : CEPLEmulation() {}

CLBPTREmulation::~CLBPTREmulation() = default;

int32_t CLBPTREmulation::GetStartDocCMD(tagOEMCFG* cfg, char* out, long outSize, long* outLen)
{
    return CEPLEmulation::GetStartDocCMD(cfg, out, outSize, outLen);
}

int32_t CLBPTREmulation::TransferImageData2CMD(tagOEMCFG* cfg, char* bitmap, long size, int x, int reserved, int width,
                                               int height, char* out, long outSize, long* outLen, bool lastPage)
{
    if (!cfg)
        return 0;
    return CEPLEmulation::TransferPageData2CMD(cfg, bitmap, size, x, reserved, width, height, out, outSize, outLen,
                                               lastPage);
}
