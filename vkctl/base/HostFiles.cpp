#include "vkctl/base/HostFiles.h"

#include <filesystem>
#include <fstream>

namespace vkctl
{

bool is_readable_file(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && std::ifstream(path).good();
}

} // namespace vkctl
