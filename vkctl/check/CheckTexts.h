// Texts in bodies: the encoding that they are posted in, which characters it lacks, and what of
// vkApp.ini stands in bodies, now or some day. Texts that nothing can post are not looked at.
//
// encoding-unknown, encoding-unfit, value-unescaped, character-lost. `texts` takes what was looked
// at. A CEncoding owns its converter; one thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

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

// Section POST, and the names of general tables (which check_generals looks at for separators).
void check_setting_texts(const CIniFile& ini, std::vector<std::string>& texts, CFindings& findings);

// The texts of values: keys of section POST.xFld.
void check_label_texts(const CIniFile& ini, const std::vector<std::string>& keys,
                       std::vector<std::string>& texts, CFindings& findings);

// Whether one of these texts holds the character, or, for a byte that is no character, is no UTF-8
// either.
bool is_in_texts(const std::vector<std::string>& texts, const std::string& character);

} // namespace vkctl
