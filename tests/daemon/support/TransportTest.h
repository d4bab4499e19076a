// What tests of the way to the servers have in common.
#pragma once

#include <string>

#include "tests/daemon/support/DaemonTest.h"

class Transport : public DaemonTest
{
protected:
    // Starts a simple room that posts there; expects that all posts of a sweep end with that
    // outcome, by libcurl's code.
    void ExpectOutcome(const std::string& url, int code)
    {
        host.Post("Url", url);
        host.SimpleRoom();
        Start();
        const std::string line = " rec-0=1 (" + std::to_string(code) + ")\n";
        EXPECT_TRUE(wait_until([&] { return count_logged(line) == 2; })) << line;
    }

    // Likewise, with whatever outcome.
    void ExpectTwoEnds(const std::string& url)
    {
        host.Post("Url", url);
        host.SimpleRoom();
        Start();
        EXPECT_TRUE(wait_until([] { return count_logged(" rec-0=1 (") == 2; }));
    }

    // Waits for the line that tells one transfer's outcome among several.
    static bool WaitOutcome(const std::string& url, const std::string& outcome,
                            const std::string& text)
    {
        return wait_logged(" rec-0=" + outcome + "<" + url + "-" + text + ">\n");
    }
};
