// A fixture for the diagnostic log. Each test logs in a process of its own, whose counter starts at
// 0, at a clock that stands still at 2024-05-01 12:00:00 until the test moves it.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>

#include "tests/support/TempDir.h"
#include "vkPub/vkLog.h"

namespace fs = std::filesystem;

constexpr char kDir[] = "/NandFlash/tmp";
constexpr char kLog[] = "/NandFlash/tmp/vkapppost.log.ini";
constexpr char kBackup[] = "/NandFlash/tmp/vkapppost.log.ini.bak";
constexpr char kConsole[] = "/tmp/console";
constexpr char kPrefix[] = "=[RtLog][2024-05-01 12:00:00] ";

// The log writer's clock.
extern time_t log_now;

// How the system writes lines.
struct Flash
{
    bool is_real = true;
    ssize_t answer = 0;     // where it is not: what a write returns, with errno ENOSPC
    size_t most = SIZE_MAX; // bytes taken at a time
    std::atomic<int> writes{0};
    std::atomic<bool> is_inherited{false}; // whether a child process would have got the file
};
extern Flash flash;

// One message for each key of the range.
void log_keys(int first, int end);

std::string line(int key, const std::string& message);
std::string lines(int first, int end); // what log_keys leaves in the file

class VkLogTest : public ::testing::Test
{
protected:
    VkLogTest();

    // Logs in a new process.
    static void Run(const std::function<void()>& work);

    // The same under a value of VKLOG, with standard output in a file.
    static void RunWith(const std::string& sink, const std::function<void()>& work);

    static std::string Log() { return read_file(kLog); }
    static std::string Backup() { return read_file(kBackup); }
    static std::string Console() { return read_file(kConsole); }
};
