#include "vkctl/base/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace vkctl
{

CProgress::CProgress(std::ostream& out, bool shown, std::string what, size_t every)
    : m_out(out), m_bShown(shown), m_strWhat(std::move(what)), m_nEvery(every)
{
}

CProgress::~CProgress()
{
    Clear();
}

void CProgress::Show(size_t done, size_t total)
{
    if (!m_bShown || done < m_nNext)
    {
        return;
    }
    m_nNext = done + m_nEvery;
    char count[32];
    std::snprintf(count, sizeof count, "%7zu", done);
    const std::string of = total > 0 ? " of " + std::to_string(total) : "";
    const std::string line = count + of + " " + m_strWhat;
    m_out << '\r' << line << std::flush;
    m_nWidth = line.size();
}

void CProgress::Clear()
{
    if (m_nWidth > 0)
    {
        m_out << '\r' << std::string(m_nWidth, ' ') << '\r' << std::flush;
        m_nWidth = 0;
    }
}

bool is_progress_wanted()
{
    return isatty(STDERR_FILENO) != 0;
}

} // namespace vkctl
