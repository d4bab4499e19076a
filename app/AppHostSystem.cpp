// What the host status takes from the system: lines of /proc files, device nodes, commands.
#include "app/AppHostSystem.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

namespace
{

struct FileCloser
{
    void operator()(FILE* file) const { std::fclose(file); }
};

struct PipeCloser
{
    void operator()(FILE* pipe) const { pclose(pipe); }
};

} // namespace

std::vector<std::string> first_lines(const char* path, size_t count)
{
    std::vector<std::string> lines;
    const std::unique_ptr<FILE, FileCloser> file(std::fopen(path, "re"));
    if (file == nullptr)
    {
        return lines;
    }
    char* line = nullptr;
    size_t room = 0;
    while (lines.size() < count && getline(&line, &room, file.get()) >= 0)
    {
        lines.emplace_back(line);
        if (!lines.back().empty() && lines.back().back() == '\n')
        {
            lines.back().pop_back();
        }
    }
    std::free(line);
    return lines;
}

bool device_exists(const char* path)
{
    return access(path, F_OK) == 0;
}

bool command_number(const char* command, int& value)
{
    const std::unique_ptr<FILE, PipeCloser> pipe(popen(command, "re"));
    // NOLINTNEXTLINE(cert-err34-c): what is no number leaves the value alone
    return pipe != nullptr && std::fscanf(pipe.get(), "%d", &value) == 1;
}
