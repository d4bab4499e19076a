// What the tests of vkctl share: a directory of their own, a room in it, questions to its
// databases, and runs of the real program.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "vkctl/room/Room.h"

// A directory that is removed with everything in it.
class CTempDir
{
public:
    CTempDir();
    ~CTempDir();
    CTempDir(const CTempDir&) = delete;
    CTempDir& operator=(const CTempDir&) = delete;

    std::string Path(const std::string& name = "") const { return (m_dir / name).string(); }

private:
    std::filesystem::path m_dir;
};

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& text);

// The rows of a query, columns joined by "|".
std::vector<std::string> query_rows(const std::string& database, const std::string& sql);

// A room made for a test.
class CTestRoom
{
public:
    explicit CTestRoom(vkctl::RoomContent content = {}, vkctl::RoomIni ini = {});

    std::string Dir() const { return m_dir.Path("room"); }
    std::string Ini() const { return Dir() + "/vkApp.ini"; }
    std::string Data() const { return Dir() + "/tmp/dbDat0.db3"; }
    std::string Alarms() const { return Dir() + "/tmp/dbData.db3"; }

    std::vector<std::string> Rows(const std::string& sql) const { return query_rows(Data(), sql); }
    std::string Value(const std::string& sql) const { return Rows(sql).at(0); }

private:
    CTempDir m_dir;
};

// What a program did.
struct Outcome
{
    int exit_status = -1; // 128 + n when signal n ended it
    std::string out;
    std::string err;
};

// A program that runs beside the test, its output in files of a temporary directory, or standard
// output in the file that is named; ended by SIGTERM when the object goes.
class CProgram
{
public:
    explicit CProgram(const std::vector<std::string>& arguments,
                      const std::vector<std::string>& env = {}, const std::string& out = "");
    ~CProgram();
    CProgram(const CProgram&) = delete;
    CProgram& operator=(const CProgram&) = delete;

    // Reads standard error up to the text; false when the program ends or half a minute passes
    // without it.
    bool WaitForNote(const std::string& text);

    // What it has written to standard output by now, a file.
    std::string Shown() const;

    void Signal(int number) const;
    Outcome Wait(); // for its end; once

    // The number behind the last ":" of its "listening on" line.
    int Port();

private:
    CTempDir m_dir;
    pid_t m_pid = -1;
};

// To its end; without what went to a file that is named.
Outcome run_program(const std::vector<std::string>& arguments, const std::string& out = "");
