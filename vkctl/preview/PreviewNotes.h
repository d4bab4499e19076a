// What a preview says on standard error beside the bodies: that they would go nowhere, that not
// everything can be read, that the encoding cuts some.
#pragma once

#include <string>

#include "vkctl/preview/Preview.h"

namespace vkctl
{

void note_missing_urls(const CAppPost& poster, const PreviewSelection& selection);

// What the daemon would log about reads that fail. With it in the log a body may be missing.
class CReadFailures
{
public:
    void Look(const std::string& line);
    bool Any() const { return m_count > 0; }
    void Tell() const; // nothing when there are none

private:
    std::string m_first;
    std::size_t m_count = 0;
};

// Bodies that end early, at a character that the configured encoding lacks.
class CCuts
{
public:
    // How much of the body's text arrives, in bytes.
    std::size_t Look(const PreviewBody& body);
    void Tell() const; // nothing when there are none

private:
    int m_firstSid = 0;
    std::size_t m_count = 0;
};

} // namespace vkctl
