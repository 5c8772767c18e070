// The two sources of choice codes: the job's PPD and a keyword map.
#include "ChoiceCodes.h"

#include "GetPpdSelfOption.h"
#include "PageLimits.h"

ChoiceCodes::ChoiceCodes(ppd_file_t* ppd) : m_ppd(ppd) {}

ChoiceCodes::ChoiceCodes(const ChoiceCodeMap& codes, int16_t outputDpi) : m_codes(&codes), m_outputDpi(outputDpi) {}

const char* ChoiceCodes::Code(const char* keyword) const
{
    if (m_ppd)
        return GetOptionChoiceCode(keyword, m_ppd);
    if (!m_codes || !keyword)
        return nullptr;
    auto it = m_codes->find(keyword);
    return it == m_codes->end() ? nullptr : it->second.c_str();
}

// The filter's resolution is the PPD text's "OutputDPI", whether or not a
// PPD handle was given: that is where it has always come from.
int16_t ChoiceCodes::OutputDpi() const
{
    if (m_codes)
        return m_outputDpi;
    return PpdOutputDpi();
}
