// Section POST apart from its URLs: keys that nothing reads, numbers, head format, encoding, and
// texts that go into the bodies.
//
// section-unread, key-unread (of POST and POST.DO), integer-invalid, value-range,
// head-format-refused, head-short, encoding-unknown, encoding-unfit, value-unescaped,
// character-lost.
#pragma once

#include "vkctl/CheckIni.h"
#include "vkctl/Finding.h"

namespace vkctl
{

void check_settings(const CIniFile& ini, CFindings& findings);

} // namespace vkctl
