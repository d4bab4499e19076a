// `vkctl receive`: a server that shows each body as it arrives and counts the kinds.
#pragma once

#include <chrono>
#include <ostream>
#include <string>

#include "vkctl/base/Stop.h"
#include "vkctl/receive/ReceivePrint.h"
#include "vkctl/receive/ReceiveServer.h"

namespace vkctl
{

struct ReceiveOptions
{
    ServerOptions server;
    PrintOptions print;
    std::string ca_out;                  // where the authority's certificate goes; empty: chosen
    size_t count = 0;                    // ends after so many bodies; 0: does not
    std::chrono::milliseconds limit{-1}; // ends after this time; below 0: does not
};

// Runs until `stop`, the count or the limit, then writes the table of kinds. Bodies go to `out`,
// everything else to `notes`, except that the table follows the bodies when they are text. Returns
// the exit status; throws CCliError when it cannot listen or write the certificate.
int run_receive(const ReceiveOptions& options, CStop& stop, std::ostream& out, std::ostream& notes);

// The same on this process's standard output and error, until it is told to end.
int run_receive(ReceiveOptions options);

} // namespace vkctl
