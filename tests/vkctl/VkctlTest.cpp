#include "tests/vkctl/VkctlTest.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "tests/support/Emulator.h"

namespace
{

std::vector<char*> pointers(const std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (const std::string& text : texts)
    {
        result.push_back(const_cast<char*>(text.c_str())); // exec does not write to them
    }
    result.push_back(nullptr);
    return result;
}

void redirect(const std::string& path, int fd)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(file, fd);
    close(file);
}

} // namespace

CTempDir::CTempDir()
{
    std::string name = (std::filesystem::temp_directory_path() / "vkctl-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
    {
        throw std::runtime_error("mkdtemp");
    }
    m_dir = name;
}

CTempDir::~CTempDir()
{
    std::error_code ignored; // what stays in the temporary directory fails no test
    std::filesystem::remove_all(m_dir, ignored);
}

std::string read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void write_file(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::vector<std::string> query_rows(const std::string& database, const std::string& sql)
{
    vkctl::CSqliteFile file(database, vkctl::CSqliteFile::Mode::kRead);
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(file.Handle(), sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
    {
        throw std::runtime_error(sql + ": " + sqlite3_errmsg(file.Handle()));
    }
    std::vector<std::string> rows;
    while (sqlite3_step(stmt) == SQLITE_ROW)
    {
        std::string row;
        for (int i = 0; i < sqlite3_column_count(stmt); ++i)
        {
            const unsigned char* text = sqlite3_column_text(stmt, i);
            row += (i > 0 ? "|" : "") +
                   (text ? std::string(text, text + sqlite3_column_bytes(stmt, i)) : "");
        }
        rows.push_back(row);
    }
    sqlite3_finalize(stmt);
    return rows;
}

CTestRoom::CTestRoom(vkctl::RoomContent content, vkctl::RoomIni ini)
{
    vkctl::RoomOptions options;
    options.directory = Dir();
    options.content = std::move(content);
    options.ini = std::move(ini);
    vkctl::create_room(options);
}

CProgram::CProgram(const std::vector<std::string>& arguments, const std::vector<std::string>& env,
                   const std::string& out)
{
    const std::vector<char*> argv = pointers(arguments);
    const std::string file = out.empty() ? m_dir.Path("out") : out;
    const std::string err = m_dir.Path("err");
    m_pid = fork();
    if (m_pid == 0)
    {
        redirect(file, STDOUT_FILENO);
        redirect(err, STDERR_FILENO);
        for (const std::string& setting : env)
        {
            putenv(const_cast<char*>(setting.c_str()));
        }
        exec_program(argv);
        _exit(127);
    }
}

CProgram::~CProgram()
{
    if (m_pid > 0)
    {
        Signal(SIGTERM);
        Wait();
    }
}

bool CProgram::WaitForNote(const std::string& text)
{
    constexpr int kTries = 3000;
    for (int i = 0; i < kTries; ++i)
    {
        if (read_file(m_dir.Path("err")).find(text) != std::string::npos)
        {
            return true;
        }
        siginfo_t info{};
        if (waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            info.si_pid != 0)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

std::string CProgram::Shown() const
{
    return read_file(m_dir.Path("out"));
}

void CProgram::Signal(int number) const
{
    kill(m_pid, number);
}

Outcome CProgram::Wait()
{
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, read_file(m_dir.Path("out")), read_file(m_dir.Path("err"))};
}

int CProgram::Port()
{
    if (!WaitForNote("listening on ") || !WaitForNote("/\n"))
    {
        throw std::runtime_error("does not listen: " + read_file(m_dir.Path("err")));
    }
    const std::string notes = read_file(m_dir.Path("err"));
    return std::atoi(notes.c_str() + notes.rfind(':') + 1);
}

Outcome run_program(const std::vector<std::string>& arguments, const std::string& out)
{
    CProgram program(arguments, {}, out);
    return program.Wait();
}
