// Host status: the monitoring host posts itself as device 0, with its load, memory, clock and
// flash size.
#include "app/AppBodyWriter.h"
#include "app/AppClock.h"
#include "app/AppHostSystem.h"
#include "app/AppPost.h"
#include "app/AppText.h"
#include "app/HostFigures.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "vkPub/vkLog.h"

namespace
{

constexpr int kFlashDevices = 16;

int clamped(double value)
{
    if (!(value > INT_MIN)) // also what is no number
    {
        return value <= INT_MIN ? INT_MIN : 0;
    }
    return value >= INT_MAX ? INT_MAX : static_cast<int>(value);
}

} // namespace

LoadFigures parse_load(const std::string& line)
{
    LoadFigures load{};
    const char* at = line.c_str();
    load.cpu1 = clamped(std::strtod(at, nullptr) * 100);
    const size_t second = line.find(' ');
    if (second == std::string::npos)
    {
        return load;
    }
    load.cpu5 = clamped(std::strtod(at + second, nullptr) * 100);
    const size_t third = line.find(' ', second + 1);
    if (third != std::string::npos)
    {
        load.cpu15 = clamped(std::strtod(at + third, nullptr) * 100);
    }
    return load;
}

int parse_memory(const std::string& line)
{
    const size_t colon = line.find(':');
    if (colon == std::string::npos)
    {
        return 0;
    }
    const long kib = std::strtol(line.c_str() + colon + 1, nullptr, 10);
    return static_cast<int>(std::clamp<long>(kib, INT_MIN, INT_MAX));
}

int getcpufreq()
{
    int khz = 0;
    command_number("cat  /sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", khz);
    return khz;
}

int getflashsize()
{
    unsigned sum = 0;
    int size = 0; // not cleared between devices, on purpose: a silent one counts like the last
    for (int n = 0; n < kFlashDevices; ++n)
    {
        const std::string device = format_text("/dev/mtd%d", n);
        if (!device_exists(device.c_str()))
        {
            break;
        }
        command_number(("fdisk -l " + device + " | grep -w MB | awk '{print $5}'").c_str(), size);
        sum += static_cast<unsigned>(size);
    }
    return static_cast<int>(sum);
}

namespace
{

void append_load(CBodyWriter& body)
{
    const std::vector<std::string> lines = first_lines("/proc/loadavg", 1);
    const LoadFigures load = lines.empty() ? LoadFigures{} : parse_load(lines[0]);
    body.Group(format_text("&cpu1=%d&cpu5=%d&cpu15=%d", load.cpu1, load.cpu5, load.cpu15),
               {PartOrigin::kLoad});
}

void append_memory_and_system(CBodyWriter& body)
{
    int memory[4] = {0, 0, 0, 0}; // by position in the file, whatever the lines are called
    const std::vector<std::string> lines = first_lines("/proc/meminfo", std::size(memory));
    std::transform(lines.begin(), lines.end(), memory, parse_memory);
    const int cpufreq = getcpufreq();
    body.Group(format_text("&memtotal=%d&memfree=%d&membuf=%d&memcach=%d&cpufreq=%d&flashsize=%d",
                           memory[0], memory[1], memory[2], memory[3], cpufreq, getflashsize()),
               {PartOrigin::kSystem});
}

} // namespace

void CAppPost::PostOther()
{
    VKLOG_TRACE("PostOther...\n");
    const std::string stamp = local_time_stamp();
    CBodyWriter body(m_szPostBuf, kPostBufBytes);
    body.Head(m_strFmt0, {m_strDept.c_str(), 0, 0, 0, m_strDeptName.c_str(), 0, stamp.c_str(),
                          GetState(0), BodyKind::kHost});
    append_load(body);
    append_memory_and_system(body);
    body.LogLeftOut("sid", 0);

    m_iPostRow = 0;
    DoPost(nullptr, nullptr);
    SendMsgToTray(0, 1);
}
