#include "vkctl/room/Room.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

#include "vkctl/Alarm.h"
#include "vkctl/base/CliError.h"
#include "vkctl/base/HostProcess.h"
#include "vkctl/room/RoomLive.h"

namespace fs = std::filesystem;

namespace vkctl
{

namespace
{

constexpr char kIniName[] = "vkApp.ini";
constexpr char kNewSuffix[] = ".new";

void make_directory(const fs::path& path)
{
    std::error_code error;
    fs::create_directories(path, error);
    if (error)
    {
        throw CCliError("cannot create the directory " + path.string() + ": " + error.message());
    }
}

void remove_file(const std::string& path)
{
    std::error_code error;
    fs::remove(path, error);
    if (error)
    {
        throw CCliError("cannot remove " + path + ": " + error.message());
    }
}

void rename_file(const std::string& from, const std::string& to)
{
    std::error_code error;
    fs::rename(from, to, error);
    if (error)
    {
        throw CCliError("cannot rename " + from + " to " + to + ": " + error.message());
    }
}

void remove_with_companions(const std::string& path)
{
    for (const char* suffix : {"", "-journal", "-wal", "-shm"})
    {
        remove_file(path + suffix);
    }
}

// Fills a new file beside the old one and puts it in its place in one go: a daemon at work sees
// the old database or the new one, never half of one.
void make_database(const std::string& path, const std::function<void(CSqliteFile&)>& fill)
{
    const std::string made = path + kNewSuffix;
    remove_with_companions(made);
    {
        CSqliteFile file(made, CSqliteFile::Mode::kCreate);
        fill(file);
    }
    remove_with_companions(path);
    rename_file(made, path);
}

void write_text(const std::string& path, const std::string& text)
{
    const std::string made = path + kNewSuffix;
    std::ofstream out(made, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out)
    {
        throw CCliError("cannot write " + made + "; is the disk full, or the directory read-only?");
    }
    rename_file(made, path);
}

void describe(const RoomOptions& options, std::ostream& out)
{
    const RoomContent& content = options.content;
    out << "room " << options.directory << ": " << content.devices << " devices, " << content.inputs
        << " digital inputs, 3 digital outputs, " << content.cameras
        << " cameras, 2 general tables, 6 alarms\n";
    out.flush();
}

// Alarms come and go, and the daemon is told of each.
void move_alarms(CRoomAlarms& alarms, long step, const std::string& time)
{
    constexpr long kPeriod = 3;
    constexpr int kStanding = 2; // more than that, and one goes
    if (step % kPeriod == 0)
    {
        alarms.Raise({}, time);
    }
    else if (step % kPeriod == 1 && alarms.Standing() > kStanding)
    {
        alarms.Clear(time);
    }
    else
    {
        return;
    }
    const pid_t daemon = daemon_pid(kPidFile);
    if (daemon != 0) // without a daemon the alarms wait for one
    {
        signal_alarm(daemon, kPidFile);
    }
}

void move_values(const RoomOptions& options, CStop& stop, std::ostream& out)
{
    CRoomLive live(options.directory, options.content.seed);
    CRoomAlarms alarms(options.directory);
    out << "live: " << live.Devices() << " devices move; Ctrl+C ends\n";
    out.flush();

    const auto begin = std::chrono::steady_clock::now();
    const auto is_over = [&]
    {
        return options.limit.count() >= 0 &&
               std::chrono::steady_clock::now() - begin >= options.limit;
    };
    long step = 0;
    do
    {
        const std::string time = local_time_text();
        live.Step(time);
        move_alarms(alarms, ++step, time);
    } while (!stop.WaitFor(options.step) && !is_over());
}

} // namespace

bool is_room(const std::string& directory)
{
    std::error_code ignored; // what cannot be looked at is reported by whoever writes there
    return fs::exists(fs::path(directory) / kIniName, ignored);
}

void create_room(const RoomOptions& options)
{
    if (is_room(options.directory) && !options.force)
    {
        throw CCliError(options.directory +
                        " already holds a vkApp.ini; choose another directory, or give --force to "
                        "replace the room");
    }
    const std::string ini = room_ini_text(options.ini); // refuses bad values before any write
    const std::string base = options.directory + "/";
    make_directory(base + "tmp");
    make_database(base + kDataDatabase,
                  [&](CSqliteFile& file) { fill_data_database(file, options.content); });
    make_database(base + kAlarmDatabase,
                  [&](CSqliteFile& file) { fill_alarm_database(file, options.content); });
    write_text(base + kIniName, ini);
}

int run_room(const RoomOptions& options, CStop& stop, std::ostream& out)
{
    const bool only_move =
        options.live && !options.has_content && !options.force && is_room(options.directory);
    if (!only_move)
    {
        create_room(options);
        describe(options, out);
    }
    if (options.live)
    {
        move_values(options, stop, out);
    }
    return 0;
}

int run_room(const RoomOptions& options)
{
    CStop stop;
    return run_room(options, stop, std::cout);
}

} // namespace vkctl
