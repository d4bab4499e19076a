// Texts of vkApp.ini that stand in bodies, now or some day: what a receiver will misread in them,
// and what the encoding cannot say.
//
// value-unescaped, character-lost. One thread.
#pragma once

#include <string>
#include <vector>

#include "vkctl/CheckIni.h"
#include "vkctl/Finding.h"

namespace vkctl
{

// Section POST, and the names of general tables (which check_generals looks at for separators).
void check_setting_texts(const CIniFile& ini, CFindings& findings);

// The texts of values: keys of section POST.xFld.
void check_label_texts(const CIniFile& ini, const std::vector<std::string>& keys,
                       CFindings& findings);

// Whether a text that these functions look at holds the character, or, for a byte that is no
// character, is no UTF-8 either.
bool is_in_texts(const CIniFile& ini, const std::string& character);

} // namespace vkctl
