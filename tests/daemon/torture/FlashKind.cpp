// A flash that is full or read-only. Both need a box that is made so: scripts/torture says how.
#include "tests/daemon/torture/Kinds.h"

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <thread>
#include <unistd.h>

#include "tests/daemon/torture/Trial.h"

namespace
{

using Random = std::mt19937;

constexpr int kCases = 30; // of the full form
constexpr std::chrono::milliseconds kFullFor{300};
constexpr std::uintmax_t kSmallBytes = 16U << 20;

// Takes what a file system has left, to the last byte but some, until it goes.
class CFiller
{
public:
    CFiller(const std::string& dir, size_t bytes_left) : m_file(dir + "/filler")
    {
        if (std::filesystem::space(dir).capacity > kSmallBytes)
        {
            throw std::runtime_error(dir + " is too large to be filled: see scripts/torture");
        }
        const int fd = open(m_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const std::string block(4096, 'f');
        off_t size = 0;
        for (ssize_t n = write(fd, block.data(), block.size()); n > 0;
             n = write(fd, block.data(), block.size()))
        {
            size += n;
        }
        if (ftruncate(fd, std::max<off_t>(0, size - static_cast<off_t>(bytes_left))) != 0)
        {
            close(fd);
            throw std::runtime_error("the filler cannot be cut");
        }
        close(fd);
    }
    ~CFiller() { std::filesystem::remove(m_file); }
    CFiller(const CFiller&) = delete;
    CFiller& operator=(const CFiller&) = delete;

private:
    std::string m_file;
};

// dir: of the log, or of the host's databases.
Verdict run_full(CRoom& room, const std::string& dir, Random& random)
{
    CTrial trial(room, Scene::kPlain);
    trial.ExpectNoLog();
    const bool from_start = random() % 2 == 0;
    for (int i = 0; i < 3; ++i)
    {
        trial.RaiseAlarm();
    }
    if (!from_start)
    {
        trial.Start();
        trial.WaitUp();
    }
    {
        const CFiller filler(dir, random() % 3 * 4096);
        if (from_start)
        {
            trial.Start();
            trial.WaitUp();
        }
        for (int i = 0; i < 3; ++i)
        {
            trial.Signal();
            trial.Request();
            std::this_thread::sleep_for(kFullFor);
        }
    }
    // A mark that cannot be written doubles the alarm in flight at each signal.
    return trial.Judge(trial.Signals());
}

} // namespace

void torture_with_full_disk(const Options& options, CTally& tally)
{
    CRoom room("/small");
    const int cases = options.count > 0 ? options.count : kCases;
    for (int i = 0; i < cases; ++i)
    {
        Random random(options.seed * 100000 + static_cast<uint32_t>(i));
        if (is_mine(options, i))
        {
            const bool of_log = i % 2 == 0;
            const Verdict verdict =
                run_full(room, of_log ? "/NandFlash" : room.Host().Path(), random);
            tally.Add(of_log ? "full-log" : "full-databases", verdict,
                      repeat_command("full-disk", options, std::to_string(i)));
        }
    }
}

void torture_with_no_log(const Options& options, CTally& tally)
{
    CRoom room;
    CTrial trial(room, Scene::kPlain);
    trial.RaiseAlarm();
    trial.Start();
    trial.WaitUp();
    trial.Signal();
    tally.Add("read-only", trial.Judge(0), repeat_command("read-only", options, "0"));
}
