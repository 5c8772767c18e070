// The renderer's connection to the job loop and to standard output.
#include "EPLRender.h"

#include <cstdio>

// Only the configuration pointer marks a job as set up; the other two are
// cleared as well so that a renderer used before set-up never follows a
// stray pointer.
CEPLRender::CEPLRender() : m_pOemCfg(nullptr), m_pDevMode(nullptr), m_pOemPdev(nullptr) {}

CEPLRender::~CEPLRender() = default;

void CEPLRender::SetOemCfgPointer(tagOEMCFG* cfg)
{
    m_pOemCfg = cfg;
}

void CEPLRender::SetDevModePointer(_DEVMODE* devMode)
{
    m_pDevMode = devMode;
}

void CEPLRender::SetOemPdevPointer(_OEMPDEV* pdev)
{
    m_pOemPdev = pdev;
}

int32_t CEPLRender::SendCommand(unsigned char* data, unsigned int size, unsigned char, wchar_t*)
{
    if (!m_pOemCfg)
        return 0;
    return fwrite(data, 1, size, stdout) > 0 ? 1 : 0;
}

// The printer set-up block is built by the command emulation, which is not
// part of this renderer yet: nothing is written.
int32_t CEPLRender::StartDocCMD()
{
    if (!m_pOemCfg)
        return 0;
    return 1;
}

// The page pipeline is not part of this renderer yet: the held page is
// accepted and nothing is written.
bool CEPLRender::TransCommand(bool /*lastPage*/, bool /*logOn*/)
{
    if (!m_pOemPdev || !m_pOemPdev->pBufStart)
        return false;
    return true;
}
