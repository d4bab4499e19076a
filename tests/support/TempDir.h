// A new directory, which is the working directory as long as this object lives; then everything
// in it is removed. One thread.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>

class CTempDir
{
public:
    CTempDir() : m_before(std::filesystem::current_path())
    {
        std::string name = std::filesystem::temp_directory_path() / "vktest.XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("cannot make " + name);
        }
        m_path = name;
        std::filesystem::current_path(m_path);
    }
    ~CTempDir()
    {
        std::error_code ignored;
        std::filesystem::current_path(m_before, ignored);
        std::filesystem::remove_all(m_path, ignored);
    }
    CTempDir(const CTempDir&) = delete;
    CTempDir& operator=(const CTempDir&) = delete;

private:
    std::filesystem::path m_before;
    std::filesystem::path m_path;
};

inline void write_file(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

// The whole content; empty when there is no such file.
inline std::string read_file(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}
