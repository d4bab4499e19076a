// The encoding of the bodies: whether the daemon can use it, and which characters it lacks.
//
// encoding-unknown, encoding-unfit. A CEncoding owns its converter; one thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// As it is configured; the daemon's default when it is not.
std::string configured_encoding(const CIniFile& ini);

void check_encoding(const CIniFile& ini, CFindings& findings);

class CEncoding
{
public:
    explicit CEncoding(const std::string& name);

    const std::string& Name() const { return m_strName; }

    // The first character of the text at which a body would be cut; a single byte where the text is
    // no UTF-8. Empty when all can be said: also for UTF-8, which is not converted, and for an
    // encoding that check_encoding refuses.
    std::string FirstLost(std::string_view text) const;

private:
    struct Closer
    {
        void operator()(void* converter) const;
    };

    const std::string m_strName;
    std::unique_ptr<void, Closer> m_pConverter; // null: nothing is ever lost
};

// A character in quotation marks; for what is no UTF-8 its first byte's number.
std::string shown_character(const std::string& character);

} // namespace vkctl
