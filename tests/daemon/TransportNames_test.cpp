// Servers known by name: however their name server behaves, a post ends in time.
#include "tests/daemon/support/TransportTest.h"

namespace
{

// Servers by name; see stubs/SilentNames.cpp.
class Names : public Transport
{
protected:
    Names()
    {
        daemon.Env("LD_PRELOAD", VK_SILENT_NAMES);
        daemon.Env("ASAN_OPTIONS", "verify_asan_link_order=0");
    }

    // A URL of the receiver by that name.
    std::string UrlBy(const std::string& name) const
    {
        const std::string url = receiver.Url();
        const std::string address = "127.0.0.1";
        return std::string(url).replace(url.find(address), address.size(), name);
    }
};

} // namespace

TEST_F(Names, KnownNameLeadsToItsServer)
{
    // The answer comes through the daemon's own limit.
    ExpectOutcome(UrlBy("known.example"), 0);
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
}

TEST_F(Names, SilentNameServerIsBoundedByTheTimeout)
{
    // It never answers; both posts of the sweep end, and the second asks no second time.
    host.Post("Timeout", "1");
    ExpectOutcome(UrlBy("silent.example"), 28);
    EXPECT_EQ(read_file(host.File("asked")), "?");
}

TEST_F(Names, SilentNameServerHoldsUpSeveralUrlsNoLonger)
{
    // Of two, one is known by its address.
    host.Post("Timeout", "1");
    host.Post("maxURLs", "2");
    host.Post("Url1", UrlBy("silent.example"));
    StartSimpleRoom();
    EXPECT_TRUE(WaitOutcome(UrlBy("silent.example"), "-1 (28)", "Timeout was reached"));
    EXPECT_THAT(receiver.WaitBodies(2), testing::SizeIs(2));
}

TEST_F(Names, UnknownNameIsAnErrorOfItsOwn)
{
    // What the system says of a name is passed on.
    ExpectOutcome(UrlBy("unknown.example"), 6);
}
