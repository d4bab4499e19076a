// A fixture with a poster whose transport works on the test's own libcurl. Nothing waits.
#pragma once

#include <string>
#include <vector>

#include "tests/support/FakeCurl.h"
#include "tests/support/PosterTest.h"

using Texts = std::vector<std::string>;

class TransportFixture : public PosterTest
{
protected:
    TransportFixture()
    {
        curl.Clear();
        curl.poster = &app;
        app.m_iTimeout = 15;
        app.m_iPostRow = 5;
        app.m_strUrl = "http://main/";
        CAppPost::m_strCA.clear();
        CAppPost::m_sEncoding = "UTF-8";
    }
    ~TransportFixture() override { EXPECT_EQ(curl.OpenHandles(), 0); }

    // The events of one transfer's life, without its number: from its making to its cleanup.
    std::vector<std::string> EasyEvents(int number = 1) const
    {
        const std::string name = "e" + std::to_string(number) + " ";
        std::vector<std::string> found;
        for (const std::string& event : rec.Events())
        {
            if (event.compare(0, name.size(), name) == 0)
            {
                found.push_back(event.substr(name.size()));
            }
        }
        return found;
    }

    void Post(const std::string& url) { EXPECT_EQ(app.DoPost("a=1", url.c_str()), 1); }

    // The events of the multi handle.
    std::vector<std::string> MultiEvents() const
    {
        std::vector<std::string> found;
        for (const std::string& event : rec.Events())
        {
            if (event.compare(0, 2, "m1") == 0)
            {
                found.push_back(event);
            }
        }
        return found;
    }

    int PostEx(const std::vector<std::string>& urls) { return app.DoPostEx(urls, "a=1"); }

    FakeRound Failing(CURLMcode performed, CURLMcode waited, int running)
    {
        FakeRound round;
        round.performed = performed;
        round.waited = waited;
        round.running = running;
        return round;
    }

    // A round in which transfer number easy ends and others go on.
    FakeRound Ending(int easy, CURLcode code, int running)
    {
        FakeRound round;
        round.running = running;
        round.ends = {{easy, code}};
        return round;
    }

    FakeCurl& curl = FakeCurl::Get();
};
