// vkctl preview shows what the daemon posts, byte for byte and in order. Only the times of reading
// and the host's own figures may differ, since the two do not look at the same instant.
#include "tests/daemon/support/DaemonTest.h"

#include <algorithm>
#include <csignal>

#include "tests/daemon/support/Command.h"
#include "tests/daemon/support/PreviewOutput.h"
#include "tests/daemon/support/RandomHost.h"

using ::testing::ElementsAreArray;

namespace
{

constexpr char kAlarmsEnd[] = "CAppPost::OnAlmIns end\r\n";

class Preview : public DaemonTest
{
protected:
    // What the preview shows of this host.
    std::vector<ShownBody> Show(std::vector<std::string> options = {}) const
    {
        std::vector<std::string> arguments = {"preview", host.Path(), "--encoding"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const CommandResult shown = run_vkctl(arguments);
        EXPECT_EQ(shown.exit_status, 0) << shown.err;
        return parse_encoding_output(shown.out);
    }

    // Without --encoding the bodies are the same, but for the encoding.
    void ExpectPlainOutput(const std::vector<ShownBody>& shown) const
    {
        std::vector<std::string> plain =
            parse_null_output(run_vkctl({"preview", host.Path(), "--null"}).out);
        ASSERT_EQ(plain.size(), shown.size());
        for (size_t i = 0; i < plain.size() && host.Setting("POST", "Encoding").empty(); ++i)
        {
            EXPECT_EQ(Comparable(shown[i].kind, plain[i]),
                      Comparable(shown[i].kind, shown[i].bytes));
        }
    }

    // The bodies that go to a URL, without what may differ.
    std::vector<std::string> Shown(const std::vector<ShownBody>& bodies,
                                   const std::string& url) const
    {
        std::vector<std::string> texts;
        for (const ShownBody& body : bodies)
        {
            if (std::find(body.urls.begin(), body.urls.end(), url) != body.urls.end())
            {
                texts.push_back(Comparable(body.kind, body.bytes));
            }
        }
        return texts;
    }

    std::string Comparable(const std::string& kind, const std::string& body) const
    {
        const bool has_now = kind == "general" || kind == "camera" || kind == "host";
        const std::string timeless = has_now ? now.Without(body) : body;
        return kind == "host" ? without_host_figures(timeless) : timeless;
    }

    // What has arrived on a path, without what may differ: the bodies' kinds are those shown.
    std::vector<std::string> Arrived(const std::vector<ShownBody>& shown, const std::string& path)
    {
        std::vector<std::string> bodies = receiver.Bodies(path);
        for (size_t i = 0; i < bodies.size(); ++i)
        {
            bodies[i] = Comparable(i < shown.size() ? shown[i].kind : "", bodies[i]);
        }
        return bodies;
    }

    // The first sweep on its three paths, as the preview shows it. Its last body is the host's.
    void ExpectSweep(const std::vector<ShownBody>& shown)
    {
        for (const char* const path : {"/post", "/post1", "/post2"})
        {
            const std::vector<std::string> expected = Shown(shown, receiver.Url(path));
            receiver.WaitBodies(expected.size(), path);
            EXPECT_THAT(Arrived(shown, path), ElementsAreArray(expected)) << path;
        }
        EXPECT_EQ(shown.back().kind, "host");
    }

    // The alarms on their three paths, once the daemon is told of them.
    void ExpectAlarms(const std::vector<ShownBody>& shown)
    {
        const size_t before = count_logged(kAlarmsEnd);
        daemon.Signal(SIGRTMIN + 1);
        ASSERT_TRUE(wait_until([&] { return count_logged(kAlarmsEnd) > before; }));
        for (const char* const path : {"/alarm", "/alarm1", "/alarm2"})
        {
            EXPECT_THAT(Arrived(shown, path), ElementsAreArray(Shown(shown, receiver.Url(path))))
                << path;
        }
    }

    CNow now;
};

class PreviewOfRandomHost : public Preview, public ::testing::WithParamInterface<unsigned>
{
};

} // namespace

TEST_F(Preview, ShowsWhatTheSampleRoomPosts)
{
    ASSERT_EQ(
        run_vkctl({"room", host.Path(), "--devices", "60", "--delay", "100000000", "--timeout",
                   "100", "--url", receiver.Url(), "--alarm-url", receiver.Url("/alarm")})
            .exit_status,
        0);
    const std::vector<ShownBody> sweep = Show();
    const std::vector<ShownBody> alarms = Show({"--alarms"});
    ASSERT_GT(sweep.size(), 70U);
    ASSERT_GT(alarms.size(), 0U);
    daemon.Start(host.Path());
    ExpectSweep(sweep);
    ExpectAlarms(alarms);
}

TEST_P(PreviewOfRandomHost, ShowsWhatIsPosted)
{
    SCOPED_TRACE("seed " + std::to_string(GetParam()));
    make_random_host(host, GetParam(), {receiver.Url(), receiver.Url("/alarm")});
    const std::vector<ShownBody> sweep = Show();
    const std::vector<ShownBody> alarms = Show({"--alarms"});
    ExpectPlainOutput(sweep);
    daemon.Start(host.Path());
    ExpectSweep(sweep);
    ExpectAlarms(alarms);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PreviewOfRandomHost, ::testing::Range(1U, 101U));
