// What a preview says on standard error beside the bodies: that they would go nowhere, that not
// everything can be read, that the encoding cuts some.
#pragma once

#include <string>
#include <vector>

#include "vkctl/preview/Preview.h"

namespace vkctl
{

void note_missing_urls(const CAppPost& poster, const PreviewSelection& selection);

// What could not be read, and may be missing in what was shown. Nothing when there is nothing.
void note_failures(const std::vector<PreviewFailure>& failures);

// Bodies that end early, at a character that the configured encoding lacks, and those in which it
// puts another one into such a character's place.
class CCuts
{
public:
    // What of the body's text arrives, in UTF-8.
    std::string Look(const PreviewBody& body);
    void Tell() const; // nothing when there are none

private:
    int m_firstCut = 0; // SIDs
    int m_firstReplaced = 0;
    size_t m_cuts = 0;
    size_t m_replaced = 0;
};

} // namespace vkctl
