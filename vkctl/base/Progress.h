// A line that counts on a terminal while something long is under way, and is gone when it ends.
//
// Borrows the stream. Says nothing where nobody watches: asked for `shown` false, it writes no
// byte. One thread at a time.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>

namespace vkctl
{

class CProgress
{
public:
    // `what` is counted: "devices". A step is shown when `every` of them have come.
    CProgress(std::ostream& out, bool shown, std::string what, size_t every = 100);
    ~CProgress(); // clears the line
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    // `done` of `total`; a total of 0 is not known yet.
    void Show(size_t done, size_t total);

    void Clear();

private:
    std::ostream& m_out;
    const bool m_bShown;
    const std::string m_strWhat;
    const size_t m_nEvery;
    size_t m_nNext = 0;  // what is shown next
    size_t m_nWidth = 0; // of what stands on the line; 0: nothing
};

// Whether somebody watches standard error.
bool is_progress_wanted();

} // namespace vkctl
