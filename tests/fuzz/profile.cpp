// The profile-string functions on any file. The first three lines of an input are section, key
// and value; the rest is the file. Callers give names that are not empty.
#include <cstring>
#include <vector>

#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/MemFile.h"
#include "vkPub/vkLog.h"

namespace
{

void check_positions(const char* section, const char* key, const std::string& image)
{
    int at[6];
    const int found =
        parse_file(section, key, image.c_str(), &at[0], &at[1], &at[2], &at[3], &at[4], &at[5]);
    const auto length = static_cast<int>(std::strlen(image.c_str()));
    if (found == 1)
    {
        require(0 < at[0] && at[0] <= at[1] && at[1] <= at[2] && at[2] <= at[3]);
        require(at[3] + 2 == at[4] && at[4] <= at[5] && at[5] <= length);
        require(image[static_cast<size_t>(at[3]) + 1] == '=');
        return;
    }
    require(at[0] == -1 ? at[1] == -1 : 0 < at[0] && at[0] <= at[1] && at[1] <= length);
    require(at[2] == -1 && at[3] == -1 && at[4] == -1 && at[5] == -1);
}

void check_read(const char* section, const char* key, int size, const char* file)
{
    std::vector<char> value(static_cast<size_t>(size), '?'); // no byte more than was promised
    if (read_profile_string(section, key, value.data(), size, "default", file) == 1)
    {
        require(value.back() == '\0');
    }
    read_profile_int(section, key, 7, file);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const CMemFile ini("some.ini");
    std::string_view input = text_of(data, size);
    const std::string section = take_line(input);
    const std::string key = take_line(input);
    const std::string value = take_line(input);
    if (section.empty() || key.empty() || input.size() >= MAX_FILE_SIZE)
    {
        return 0;
    }

    ini.Set(input);
    const std::string file = ini.Path();
    check_positions(section.c_str(), key.c_str(), std::string(input));
    check_read(section.c_str(), key.c_str(), 1 + static_cast<int>(value.size()), file.c_str());
    if (write_profile_string(section.c_str(), key.c_str(), value.c_str(), file.c_str()) == 1)
    {
        check_read(section.c_str(), key.c_str(), 64, file.c_str());
    }
    return 0;
}
