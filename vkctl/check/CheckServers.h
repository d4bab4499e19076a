// The https servers: whether they answer, and whether their certificates are good, and for how
// long.
//
// server-unreachable, certificate-refused, certificate-expiring. One TLS handshake with each server
// that is in use, nothing else: no request is made. Waits kServerLimitS at most for each.
#pragma once

#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

constexpr long kServerLimitS = 5;

void check_servers(const CIniFile& ini, CFindings& findings);

} // namespace vkctl
