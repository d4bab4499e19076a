// Texts of vkApp.ini that stand in bodies, now or some day: what a receiver will misread in them,
// and what the encoding cannot say. Texts that nothing can post are not looked at.
//
// `texts` takes what was looked at.
// value-unescaped, character-lost. One thread.
#pragma once

#include <string>
#include <vector>

#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// Section POST, and the names of general tables (which check_generals looks at for separators).
void check_setting_texts(const CIniFile& ini, std::vector<std::string>& texts, CFindings& findings);

// The texts of values: keys of section POST.xFld.
void check_label_texts(const CIniFile& ini, const std::vector<std::string>& keys,
                       std::vector<std::string>& texts, CFindings& findings);

// Whether one of these texts holds the character, or, for a byte that is no character, is no UTF-8
// either.
bool is_in_texts(const std::vector<std::string>& texts, const std::string& character);

} // namespace vkctl
