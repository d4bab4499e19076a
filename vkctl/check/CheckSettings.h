// Section POST apart from its URLs: keys that nothing reads, numbers, head format, encoding, and
// texts that go into the bodies.
//
// section-unread, key-unread (of POST and POST.DO), integer-invalid, value-range,
// head-format-refused, head-short, encoding-unknown, encoding-unfit, value-unescaped,
// character-lost.
#pragma once

#include <string>
#include <vector>

#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// texts: takes those of the file, see CheckTexts.h.
void check_settings(const CIniFile& ini, std::vector<std::string>& texts, CFindings& findings);

} // namespace vkctl
