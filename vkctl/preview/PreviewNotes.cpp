#include "vkctl/preview/PreviewNotes.h"

#include <iostream>

#include "vkctl/preview/PreviewEncoding.h"

namespace vkctl
{

void note_missing_urls(const CAppPost& poster, const PreviewSelection& selection)
{
    const bool onlyAlarms = selection.kinds == std::set{BodyKind::kAlarm};
    if (!onlyAlarms && poster.m_strUrl.empty() && poster.m_vUrls.size() < 2)
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

void CReadFailures::Look(const std::string& line)
{
    const bool isFailure =
        line.find("exception") != std::string::npos || line.find("Error!") != std::string::npos;
    m_first = isFailure && m_count == 0 ? line : m_first;
    m_count += isFailure ? 1 : 0;
}

void CReadFailures::Tell() const
{
    if (Any())
    {
        std::cerr << "vkctl: not everything can be read. The daemon would log: " << m_first
                  << (m_count > 1 ? " (and " + std::to_string(m_count - 1) + " such lines more)"
                                  : "")
                  << "\n";
    }
}

std::size_t CCuts::Look(const PreviewBody& body)
{
    const std::size_t lost = encode_body(body.text).lost.size();
    if (lost > 0)
    {
        m_firstSid = m_count == 0 ? body.sid : m_firstSid;
        ++m_count;
    }
    return body.text.size() - lost;
}

void CCuts::Tell() const
{
    if (m_count > 0)
    {
        std::cerr << "vkctl: " << m_count << (m_count == 1 ? " body is" : " bodies are")
                  << " cut at a character that " << CAppPost::m_sEncoding
                  << " lacks, the first of SID " << m_firstSid << "; --encoding shows where\n";
    }
}

} // namespace vkctl
