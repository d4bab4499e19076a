// `vkctl check`: looks at a host and prints what it found.
#pragma once

#include "vkctl/check/Check.h"

namespace vkctl
{

struct CheckCommand
{
    CheckOptions options;
    bool strict = false; // warnings are a failure
    bool json = false;
};

// Findings on standard output, their number on standard error. The exit status.
int run_check(const CheckCommand& command);

} // namespace vkctl
