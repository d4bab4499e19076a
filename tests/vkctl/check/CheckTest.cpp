#include "tests/vkctl/check/CheckTest.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace
{

void run_sql(const std::string& database, const std::string& sql)
{
    vkctl::CSqliteFile(database, vkctl::CSqliteFile::Mode::kUpdate).Exec(sql);
}

bool is_command(const std::string& edit, const std::string& name, std::string& rest)
{
    if (edit.compare(0, name.size(), name) != 0)
    {
        return false;
    }
    rest = edit.substr(name.size());
    return true;
}

// "POST/Url=x" and "POST/Url".
std::string edited_ini(const std::string& text, const std::string& edit)
{
    const size_t slash = edit.find('/');
    const size_t equals = edit.find('=', slash);
    if (slash == std::string::npos)
    {
        throw std::runtime_error("no such edit: " + edit);
    }
    const std::string line = edit.substr(slash + 1);
    const std::string key = edit.substr(slash + 1, equals - slash - 1);
    return with_ini_line(text, edit.substr(0, slash), key,
                         equals == std::string::npos ? "" : line + "\n");
}

} // namespace

void PrintTo(const CheckCase& one, std::ostream* out)
{
    *out << one.id;
}

std::vector<CheckCase> joined(const std::vector<std::vector<CheckCase>>& parts)
{
    std::vector<CheckCase> all;
    for (const std::vector<CheckCase>& part : parts)
    {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

std::string with_ini_line(const std::string& text, const std::string& section,
                          const std::string& key, const std::string& line)
{
    std::istringstream in(text);
    std::string result;
    bool inside = false;
    bool done = false;
    for (std::string one; std::getline(in, one);)
    {
        if (one.compare(0, 1, "[") == 0)
        {
            result += inside && !done ? line : "";
            done = done || inside;
            inside = one == "[" + section + "]";
        }
        const bool replaced = inside && !done && one.compare(0, key.size() + 1, key + "=") == 0;
        result += replaced ? line : one + "\n";
        done = done || replaced;
    }
    return inside && !done ? result + line : result;
}

CCheckedHost::CCheckedHost(const std::vector<std::string>& edits)
{
    static const CTestRoom room;
    fs::copy(room.Dir(), Dir(), fs::copy_options::recursive);
    fs::create_directories(Path("flash/tmp"));
    fs::create_symlink(VK_DB_LIBRARY, Path("libvkdb.so"));
    for (const std::string& edit : edits)
    {
        Edit(edit);
    }
}

std::vector<std::string> CCheckedHost::Files() const
{
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(Dir()))
    {
        if (entry.is_regular_file())
        {
            files.push_back(entry.path().lexically_relative(Dir()).string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void CCheckedHost::Edit(const std::string& edit)
{
    const std::string ini = Path("vkApp.ini");
    std::string rest;
    if (is_command(edit, "data: ", rest))
    {
        run_sql(Path("tmp/dbDat0.db3"), rest);
    }
    else if (is_command(edit, "alarms: ", rest))
    {
        run_sql(Path("tmp/dbData.db3"), rest);
    }
    else if (is_command(edit, "remove ", rest))
    {
        fs::remove_all(Path(rest));
    }
    else if (is_command(edit, "write ", rest))
    {
        const size_t blank = rest.find(' ');
        fs::remove(Path(rest.substr(0, blank))); // what a link leads to stays as it is
        write_file(Path(rest.substr(0, blank)), rest.substr(blank + 1));
    }
    else if (is_command(edit, "+", rest))
    {
        write_file(ini, read_file(ini) + rest);
    }
    else if (is_command(edit, "^", rest))
    {
        write_file(ini, rest + read_file(ini));
    }
    else
    {
        write_file(ini, edited_ini(read_file(ini), edit));
    }
}

vkctl::CFindings CCheckedHost::Findings(bool offline, int sqlite_version) const
{
    const fs::path before = fs::current_path();
    vkctl::CFindings findings;
    vkctl::CheckOptions options;
    options.sqlite_version = sqlite_version;
    options.directory = Dir();
    options.offline = offline;
    options.flash = "flash";
    vkctl::check_host(options, findings);
    fs::current_path(before);
    return findings;
}

std::string CCheckedHost::Check() const
{
    std::ostringstream out;
    print_findings(out, Findings(), false);
    return out.str();
}

std::string CCheckedHost::Check(const std::string& id) const
{
    static const std::regex number("^vkApp\\.ini:[0-9]+:");
    static const std::regex other_line("in line [0-9]+");
    std::istringstream in(Check());
    std::string found;
    for (std::string line; std::getline(in, line);)
    {
        const std::string mark = " [" + id + "]";
        if (line.size() > mark.size() &&
            line.compare(line.size() - mark.size(), mark.size(), mark) == 0)
        {
            line.resize(line.size() - mark.size());
            line = std::regex_replace(line, number, "vkApp.ini:N:");
            found +=
                (found.empty() ? "" : "\n") + std::regex_replace(line, other_line, "in line N");
        }
    }
    return found;
}
