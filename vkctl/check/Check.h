// Everything that will surprise about one host, found without touching it: no file of the host is
// opened to be written, none is made, to servers a connection is made, and nothing is sent.
#pragma once

#include <sqlite3.h>

#include <string>

#include "vkctl/check/Finding.h"

namespace vkctl
{

struct CheckOptions
{
    std::string directory = ".";
    bool offline = false;                             // no server is asked
    bool away = false;                                // what only the board can tell is left out
    std::string flash = "/NandFlash";                 // where the board's flash is mounted
    bool progress = false;                            // shown on standard error
    int sqlite_version = sqlite3_libversion_number(); // of the library that is loaded
};

// Changes into the directory, as paths in vkApp.ini are relative to it. False when the directory
// cannot be entered, or vkApp.ini or a database could not be read; the findings tell which, and
// what the other files allowed to find.
bool check_host(const CheckOptions& options, CFindings& findings);

} // namespace vkctl
