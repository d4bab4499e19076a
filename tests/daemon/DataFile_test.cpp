// The data database while the daemon runs: copied over in place, as cp and scp do.
#include "tests/daemon/support/DaemonTest.h"

#include <algorithm>

namespace
{

class DataFile : public DaemonTest
{
protected:
    std::string Path() const { return host.File("tmp/dbDat0.db3"); }

    // Waits for one more body of the device than there are now.
    bool WaitDevice()
    {
        const size_t before = Devices();
        return wait_until([&] { return Devices() > before; });
    }

private:
    size_t Devices()
    {
        const std::vector<std::string> bodies = receiver.Bodies();
        return static_cast<size_t>(std::count(bodies.begin(), bodies.end(), kDevice7Body));
    }
};

} // namespace

TEST_F(DataFile, CopiedOverInPlaceIsReadAgainWhenItIsWhole)
{
    // The daemon meets it empty, then half-written; the copy's change counter is that of before.
    host.Post("Delay", "100");
    host.SimpleRoom();
    Start();
    ASSERT_TRUE(WaitDevice());
    const std::string bytes = read_file(Path());
    const std::string error = "[CAppPost::PostNormal] db exception: ";
    for (const size_t there : {size_t{0}, size_t{512}, bytes.size() / 2})
    {
        const size_t errors = count_logged(error);
        write_file(Path(), bytes.substr(0, there));
        ASSERT_TRUE(wait_until([&] { return count_logged(error) > errors; })) << there;
        write_file(Path(), bytes);
        EXPECT_TRUE(WaitDevice()) << there;
    }
}
