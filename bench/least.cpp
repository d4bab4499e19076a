// The least program that does the visible work of the daemon's device sweep: for each device the
// same query on the same file, the same body, the same log lines, each with its own open and
// close, and one fresh libcurl transfer. What it leaves out is what nobody outside sees: the
// configuration, the catalogue, retries, requests, tray reports, bounds on what a database may
// hold. It is the yardstick for the daemon, so it is written as leanly as one would write it by
// hand, and not leaner.
//
//     vk_least URL [SWEEPS [PAUSE_MS]]
//
// Runs in a host directory. SWEEPS 0 (the default) is for ever; PAUSE_MS is waited after each
// device. After the last sweep it prints the median wall time of a transfer in microseconds.
#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <curl/curl.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "bench/BenchTables.h"

namespace
{

constexpr char kLogPath[] = "/NandFlash/tmp/vkapppost.log.ini";
constexpr char kLogBackup[] = "/NandFlash/tmp/vkapppost.log.ini.bak";
constexpr unsigned kLogLines = 20000;
constexpr size_t kBodyBytes = 102400;
constexpr long kTimeoutS = 15;

struct Device
{
    int sid;
    const CBenchTable* table;
};

char g_line_buffer[20480 + 128];
unsigned g_line_key = 0;
char g_body[kBodyBytes];

__attribute__((format(printf, 1, 2))) void log_line(const char* format, ...)
{
    if (g_line_key == kLogLines)
    {
        std::remove(kLogBackup);
        std::rename(kLogPath, kLogBackup);
        g_line_key = 0;
    }
    const time_t now = std::time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    int length = std::snprintf(g_line_buffer, sizeof(g_line_buffer),
                               "%u=[RtLog][%d-%02d-%02d %02d:%02d:%02d] ", g_line_key++,
                               local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                               local.tm_min, local.tm_sec);
    va_list args;
    va_start(args, format);
    length += std::vsnprintf(g_line_buffer + length,
                             sizeof(g_line_buffer) - static_cast<size_t>(length), format, args);
    va_end(args);

    const int fd = open(kLogPath, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (write(fd, g_line_buffer, static_cast<size_t>(length)) < 0)
    {
        std::perror(kLogPath);
    }
    close(fd);
}

// --- Form body -------------------------------------------------------------------------------

const char* state_text(int state)
{
    static constexpr const char* kTexts[] = {"0", "alarm", "lost", "recovered"};
    return kTexts[state >= 1 && state <= 3 ? state : 0];
}

__attribute__((format(printf, 2, 3))) void append(char*& end, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    end += std::vsnprintf(end, static_cast<size_t>(g_body + kBodyBytes - end), format, args);
    va_end(args);
}

void append_bits(char*& end, const CBenchColumn& column, int value)
{
    if (value == 0)
    {
        if (column.kind == CValueKind::kBits8)
        {
            append(end, "&%s=%s", column.name, kNoBits);
        }
        return;
    }
    append(end, "&%s=", column.name);
    const char* separator = "";
    for (int bit = 0; bit < column.label_count; ++bit)
    {
        if ((value >> bit & 1) != 0)
        {
            append(end, "%s%s", separator, column.labels[bit]);
            separator = " ";
        }
    }
}

void append_column(char*& end, const CBenchColumn& column, sqlite3_stmt* row, int index)
{
    if (column.kind == CValueKind::kText)
    {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, index));
        if (text != nullptr && *text != '\0')
        {
            append(end, "&%s=%s", sqlite3_column_name(row, index), text);
        }
        return;
    }
    const int value = sqlite3_column_int(row, index);
    if (column.kind == CValueKind::kTable)
    {
        const bool known = value >= 0 && value < column.label_count;
        append(end, "&%s=%s", column.name, known ? column.labels[value] : kUnknownValue);
        return;
    }
    append_bits(end, column, value);
}

void write_body(sqlite3_stmt* row, const CBenchTable& table)
{
    // Columns of the query: Name, Note, Tag1, ASubSys, SID, Type, Port, Addr, State, ErrCnt,
    // DateUpd, DateOk, then the table's own.
    char* end = g_body;
    append(end, "suid=%s&sid=%d&stype=%d&stag1=%d&sname=%s&subsys=%d&dtupd=%s&state=%s", "bench",
           sqlite3_column_int(row, 4), sqlite3_column_int(row, 5), sqlite3_column_int(row, 2),
           reinterpret_cast<const char*>(sqlite3_column_text(row, 0)), sqlite3_column_int(row, 3),
           reinterpret_cast<const char*>(sqlite3_column_text(row, 10)),
           state_text(sqlite3_column_int(row, 8)));
    for (int i = 0; i < table.column_count; ++i)
    {
        append_column(end, table.columns[i], row, kBenchFixedColumns + i);
    }
}

// --- Transfer --------------------------------------------------------------------------------

size_t on_reply(char* data, size_t size, size_t count, void*)
{
    log_line("OnPost... %.*s\n", static_cast<int>(size * count), data);
    return size * count;
}

int64_t now_us()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

// Wall time of the transfer alone, in microseconds.
int64_t post(const char* url)
{
    log_line("   DoPost...\n");
    log_line("   DoPost Msg: %s\n", g_body);
    const int64_t start = now_us();
    CURL* handle = curl_easy_init();
    curl_easy_setopt(handle, CURLOPT_URL, url);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, g_body);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, on_reply);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, nullptr);
    curl_easy_setopt(handle, CURLOPT_POST, 1L);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, kTimeoutS);
    curl_easy_setopt(handle, CURLOPT_COOKIEFILE, "/NandFlash/curl.cookie");
    const CURLcode code = curl_easy_perform(handle);
    curl_easy_cleanup(handle);
    const int64_t end = now_us();
    log_line(" rec-%d=%d (%d)\n", 0, 1, static_cast<int>(code));
    return end - start;
}

// --- Sweep -----------------------------------------------------------------------------------

sqlite3_stmt* prepare(sqlite3* db, const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK)
    {
        std::fprintf(stderr, "%s: %s\n", sql, sqlite3_errmsg(db));
        std::exit(1);
    }
    return statement;
}

std::vector<Device> find_devices(sqlite3* db)
{
    std::vector<Device> devices;
    for (const CBenchTable& table : kBenchTables)
    {
        sqlite3_stmt* row = prepare(db, (std::string("select SID from ") + table.name).c_str());
        while (sqlite3_step(row) == SQLITE_ROW)
        {
            devices.push_back({sqlite3_column_int(row, 0), &table});
        }
        sqlite3_finalize(row);
    }
    std::sort(devices.begin(), devices.end(),
              [](const Device& a, const Device& b) { return a.sid < b.sid; });
    return devices;
}

// True when the body was written.
bool compose(sqlite3* db, const Device& device)
{
    char sql[512];
    std::snprintf(sql, sizeof(sql),
                  "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from %s x"
                  " left join tbSM s on s.SID=x.SID where x.SID=%d",
                  device.table->name, device.sid);
    sqlite3_stmt* row = prepare(db, sql);
    const bool found = sqlite3_step(row) == SQLITE_ROW && sqlite3_column_int(row, 8) >= 0;
    if (found)
    {
        write_body(row, *device.table);
    }
    sqlite3_finalize(row);
    return found;
}

void pause_after_device(long ms)
{
    if (ms > 0)
    {
        const timespec time{ms / 1000, ms % 1000 * 1000000};
        nanosleep(&time, nullptr);
    }
}

void sweep(sqlite3* db, const std::vector<Device>& devices, const char* url, long pause_ms,
           std::vector<int64_t>* transfers_us)
{
    log_line("PostNormal...\n");
    for (const Device& device : devices)
    {
        log_line("   %s...\n", device.table->name);
        if (compose(db, device))
        {
            const int64_t transfer_us = post(url);
            if (transfers_us != nullptr)
            {
                transfers_us->push_back(transfer_us);
            }
        }
        pause_after_device(pause_ms);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
    {
        std::fprintf(stderr, "usage: vk_least URL [SWEEPS [PAUSE_MS]]\n");
        return 2;
    }
    const long sweeps = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 0;
    const long pause_ms = argc > 3 ? std::strtol(argv[3], nullptr, 10) : 0;

    curl_global_init(CURL_GLOBAL_ALL);
    sqlite3_config(SQLITE_CONFIG_SINGLETHREAD);
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    sqlite3* db = nullptr;
    if (sqlite3_open_v2("tmp/dbDat0.db3", &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK)
    {
        std::fprintf(stderr, "tmp/dbDat0.db3: %s\n", sqlite3_errmsg(db));
        return 1;
    }
    const std::vector<Device> devices = find_devices(db);
    std::vector<int64_t> transfers_us;
    for (long done = 0; sweeps == 0 || done < sweeps; ++done)
    {
        sweep(db, devices, argv[1], pause_ms, sweeps == 0 ? nullptr : &transfers_us);
    }

    std::sort(transfers_us.begin(), transfers_us.end());
    if (!transfers_us.empty())
    {
        std::printf("%" PRId64 "\n", transfers_us[transfers_us.size() / 2]);
    }
    sqlite3_close(db);
    curl_global_cleanup();
    return 0;
}
