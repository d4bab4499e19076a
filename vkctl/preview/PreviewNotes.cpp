#include "vkctl/preview/PreviewNotes.h"

#include <iostream>

#include "vkctl/preview/PreviewEncoding.h"

namespace vkctl
{

void note_missing_urls(const CAppPost& poster, const PreviewSelection& selection)
{
    const bool only_alarms = selection.kinds == std::set{BodyKind::kAlarm};
    if (!only_alarms && poster.m_strUrl.empty() && poster.m_vUrls.size() < 2)
    {
        std::cerr << "vkctl: vkApp.ini sets no Url: the daemon would post none of these\n";
    }
    if (selection.kinds.count(BodyKind::kAlarm) == 0)
    {
        return;
    }
    if (poster.m_strAlmUrl.empty())
    {
        std::cerr << "vkctl: vkApp.ini sets no AlmUrl: alarms are neither read nor posted\n";
    }
    else if (poster.m_iMaxURLs < 2)
    {
        std::cerr << "vkctl: maxURLs in vkApp.ini is below 2: alarms are marked as sent and go "
                     "nowhere\n";
    }
}

void note_failures(const std::vector<PreviewFailure>& failures)
{
    if (failures.empty())
    {
        return;
    }
    const PreviewFailure& first = failures.front();
    std::cerr << "vkctl: not everything can be read, by the daemon neither: "
              << (first.table.empty() ? "" : first.table + ": ") << first.message;
    if (failures.size() > 1)
    {
        std::cerr << " (and " << failures.size() - 1 << " more)";
    }
    std::cerr << "\n";
}

std::string CCuts::Look(const PreviewBody& body)
{
    const EncodedBody encoded = encode_body(body.text);
    if (!encoded.lost.empty())
    {
        m_firstCut = m_cuts == 0 ? body.sid : m_firstCut;
        ++m_cuts;
    }
    if (encoded.replaced > 0)
    {
        m_firstReplaced = m_replaced == 0 ? body.sid : m_firstReplaced;
        ++m_replaced;
    }
    return encoded.arrives;
}

void CCuts::Tell() const
{
    if (m_cuts > 0)
    {
        std::cerr << "vkctl: " << m_cuts << (m_cuts == 1 ? " body is" : " bodies are")
                  << " cut at a character that " << CAppPost::m_sEncoding
                  << " lacks, the first of SID " << m_firstCut << "; --encoding shows where\n";
    }
    if (m_replaced > 0)
    {
        std::cerr << "vkctl: " << m_replaced << (m_replaced == 1 ? " body has" : " bodies have")
                  << " other characters where " << CAppPost::m_sEncoding
                  << " lacks one, the first of SID " << m_firstReplaced
                  << "; --encoding shows them\n";
    }
}

} // namespace vkctl
