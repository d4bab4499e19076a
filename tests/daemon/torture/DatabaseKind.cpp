// Databases that are damaged, truncated or emptied, at rest and while the daemon works on them;
// then the sound bytes are put back, as a new file or into the same one.
#include "tests/daemon/torture/Kinds.h"

#include <filesystem>
#include <random>
#include <thread>

#include "tests/daemon/torture/Damage.h"
#include "tests/daemon/torture/Trial.h"

namespace
{

using Random = std::mt19937;

constexpr int kCases = 240; // of the full form
constexpr std::chrono::milliseconds kDamagedFor{150};

// One case, drawn from its number.
struct Case
{
    bool at_rest;   // damaged before the start
    bool of_alarms; // which file
    const Damage* damage;
    Way damaged_by;
    Way restored_by;

    std::string Text() const
    {
        return std::string(of_alarms ? "alarms" : "data") + (at_rest ? " at rest" : " in use") +
               ", " + damage->name + " (" + way_name(damaged_by) + "), restored (" +
               way_name(restored_by) + ")";
    }
};

Case draw(Random& random)
{
    Case one{};
    one.at_rest = random() % 2 == 0;
    one.of_alarms = random() % 3 == 0;
    one.damage = &some_damage(random);
    one.damaged_by = some_way(random);
    one.restored_by = some_way(random);
    return one;
}

// Whatever a program left beside a file that is no longer there would be taken for the new one's.
void remove_beside(const std::string& file)
{
    for (const char* end : {"-journal", "-wal", "-shm"})
    {
        std::filesystem::remove(file + end);
    }
}

// The alarm routine is at rest again when the sound bytes come: two that write one file at the same
// instant, without a lock, spoil it, and that is not the daemon's to prevent.
void live_with_damage(CTrial& trial)
{
    trial.Signal();
    trial.Request();
    std::this_thread::sleep_for(kDamagedFor);
    trial.Signal();
    std::this_thread::sleep_for(kDamagedFor);
}

// A sound file, and the same as the host has left it a little later. By SQLite's rules two states
// of a file are told apart by a counter in its head, so it is the later one that is put back.
struct Bytes
{
    std::string before;
    std::string after;
};

Bytes make_bytes(CRoom& room, const Case& one, const std::string& file)
{
    Bytes bytes;
    bytes.before = read_file(file);
    one.of_alarms ? room.Host().Alarms("update tbSMAlarm set AlmMask=0")
                  : room.Host().Data("update tbDev set ErrCnt=1");
    bytes.after = read_file(file);
    put_bytes(file, bytes.before, Way::kNewFile);
    return bytes;
}

Verdict run_case(CRoom& room, const Case& one, Random& random)
{
    CTrial trial(room, Scene::kPlain);
    room.Host().Post("ReTbls", "4"); // what was discovered in the damaged file is discovered anew
    trial.RaiseAlarm();
    const std::string file = one.of_alarms ? room.AlarmFile() : room.DataFile();
    const Bytes bytes = make_bytes(room, one, file);
    if (!one.at_rest)
    {
        trial.Start();
        trial.WaitUp();
    }
    put_bytes(file, one.damage->change(bytes.before, random), one.damaged_by);
    if (one.at_rest)
    {
        trial.Start();
    }
    live_with_damage(trial);
    remove_beside(file);
    put_bytes(file, bytes.after, one.restored_by);
    // The bytes that are put back know of no mark: what was sent may be sent once more, or twice.
    return trial.Judge(one.of_alarms ? 2 : 0);
}

} // namespace

void torture_with_databases(const Options& options, CTally& tally)
{
    CRoom room;
    const int cases = options.count > 0 ? options.count : kCases;
    for (int i = 0; i < cases; ++i)
    {
        Random random(options.seed * 100000 + static_cast<uint32_t>(i));
        if (!is_mine(options, i))
        {
            continue;
        }
        const Case one = draw(random);
        Verdict verdict = run_case(room, one, random);
        if (!verdict.problems.empty())
        {
            verdict.Problem(one.Text());
        }
        tally.Add(one.at_rest ? "databases-at-rest" : "databases-in-use", verdict,
                  repeat_command("databases", options, std::to_string(i)));
    }
}
