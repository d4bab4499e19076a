// The profile-string functions: single keys of an INI file, read and written on its text.
#include "vkPub/vkLog.h"

// The assertions are part of the contract: they hold in a release build too.
#undef NDEBUG
#include <cassert>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "vkPub/FormatText.h"

// NOLINTBEGIN(modernize-use-nullptr): the texts of the assertions are given
namespace
{

struct FileCloser
{
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// A whole file, on the heap: a caller's thread may have a small stack.
class CImage
{
public:
    explicit CImage(const char* file) : m_text(new char[MAX_FILE_SIZE]) // pages unused stay so
    {
        m_text[0] = '\0'; // a missing file is an empty one
        load_ini_file(file, m_text.get(), &m_size);
        m_size = static_cast<int>(std::strlen(m_text.get())); // a NUL in the file ends it
    }

    const char* Text() const { return m_text.get(); }
    std::string_view From(int start) const { return Range(start, m_size); }
    std::string_view Range(int start, int end) const
    {
        return {m_text.get() + start, static_cast<size_t>(end - start)};
    }

private:
    std::unique_ptr<char[]> m_text;
    int m_size = 0;
};

struct Positions
{
    int sec_s = -1;
    int sec_e = -1;
    int key_s = -1;
    int key_e = -1;
    int value_s = -1;
    int value_e = -1;
};

bool find(const char* section, const char* key, const CImage& image, Positions& at)
{
    return parse_file(section, key, image.Text(), &at.sec_s, &at.sec_e, &at.key_s, &at.key_e,
                      &at.value_s, &at.value_e) == 1;
}

bool at_line_start(const char* buf, int i)
{
    return i == 0 || newline(buf[i - 1]) != 0;
}

int end_of_line(const char* buf, int i)
{
    while (newline(buf[i]) == 0 && end_of_string(buf[i]) == 0)
    {
        ++i;
    }
    return i;
}

// The file's name matches when it is the beginning of the name asked for, or all of it.
bool matches(const char* asked, const char* name, int length)
{
    return std::strncmp(name, asked, static_cast<size_t>(length)) == 0;
}

// Whether the line from start to end holds the key; sets the key's and value's positions then.
bool line_has_key(const char* buf, int start, int end, const char* key, Positions& at)
{
    if (buf[start] == ';')
    {
        return false;
    }
    const void* found = std::memchr(buf + start, '=', static_cast<size_t>(end - start));
    if (found == nullptr)
    {
        return false;
    }
    const int equals = static_cast<int>(static_cast<const char*>(found) - buf);
    if (equals == start || !matches(key, buf + start, equals - start))
    {
        return false;
    }
    at.key_s = start;
    at.key_e = equals - 1;
    at.value_s = equals + 1;
    at.value_e = end;
    return true;
}

// Walks the lines of a section's body from i. True when the key was found, else i is where the
// next section or the end of the image begins.
bool body_has_key(const char* buf, int& i, const char* key, Positions& at)
{
    while (end_of_string(buf[i]) == 0 && !(at_line_start(buf, i) && left_barce(buf[i]) != 0))
    {
        const int end = end_of_line(buf, i);
        if (line_has_key(buf, i, end, key, at))
        {
            return true;
        }
        i = end_of_string(buf[end]) != 0 ? end : end + 1;
    }
    return false;
}

int end_of_header(const char* buf, int i)
{
    while (isright_brace(buf[i]) == 0 && end_of_string(buf[i]) == 0)
    {
        ++i;
    }
    return i;
}

int skip_white_space(const char* buf, int i)
{
    while (std::isspace(static_cast<unsigned char>(buf[i])) != 0)
    {
        ++i;
    }
    return i;
}

bool search(const char* section, const char* key, const char* buf, Positions& at)
{
    for (int i = 0; end_of_string(buf[i]) == 0;)
    {
        if (!at_line_start(buf, i) || left_barce(buf[i]) == 0)
        {
            ++i;
            continue;
        }
        const int name = i + 1;
        i = end_of_header(buf, name);
        if (!matches(section, buf + name, i - name))
        {
            continue;
        }
        at.sec_s = name;
        i = end_of_string(buf[i]) != 0 ? i : skip_white_space(buf, i + 1);
        at.sec_e = i;
        if (body_has_key(buf, i, key, at))
        {
            return true;
        }
    }
    return false;
}

// The file's text with the key set. False when formatting its rest failed.
bool text_with_key(const char* section, const char* key, const char* value, const char* file,
                   std::string& text)
{
    const CImage image(file);
    Positions at;
    const std::string line = std::string(key) + "=" + value + "\n";
    if (find(section, key, image, at))
    {
        text.append(image.Range(0, at.value_s)).append(value).append(image.From(at.value_e));
        return true;
    }
    if (at.sec_s == -1)
    {
        text = image.From(0);
        text += text.empty() ? "[" : "\n[";
        text.append(section).append("]\n").append(line);
        return true;
    }
    text.append(image.Range(0, at.sec_e)).append(line);
    return append_formatted(text, image.From(at.sec_e), MAX_FILE_SIZE);
}

bool rewrite(const char* file, const std::string& text)
{
    File out(std::fopen(file, "w"));
    if (out == nullptr)
    {
        return false;
    }
    const bool written = std::fputs(text.c_str(), out.get()) >= 0;
    return std::fclose(out.release()) == 0 && written;
}

} // namespace

int newline(char c)
{
    return c == '\n' || c == '\r' ? 1 : 0;
}

int end_of_string(char c)
{
    return c == '\0' ? 1 : 0;
}

int left_barce(char c)
{
    return c == '[' ? 1 : 0;
}

int isright_brace(char c)
{
    return c == ']' ? 1 : 0;
}

int load_ini_file(const char* file, char* buf, int* file_size)
{
    assert(file != NULL);
    assert(buf != NULL);
    *file_size = 0;
    const File in(std::fopen(file, "r"));
    if (in == nullptr)
    {
        return 0;
    }
    int i = 0;
    for (int c = std::fgetc(in.get()); c != EOF && c != 0xFF; c = std::fgetc(in.get()))
    {
        buf[i] = static_cast<char>(c);
        ++i;
        assert(i < MAX_FILE_SIZE);
    }
    buf[i] = '\0';
    *file_size = i;
    return 1;
}

int parse_file(const char* section, const char* key, const char* buf, int* sec_s, int* sec_e,
               int* key_s, int* key_e, int* value_s, int* value_e)
{
    assert(buf != NULL);
    assert(section != NULL && strlen(section));
    assert(key != NULL && strlen(key));
    Positions at;
    const bool found = search(section, key, buf, at);
    *sec_s = at.sec_s;
    *sec_e = at.sec_e;
    *key_s = at.key_s;
    *key_e = at.key_e;
    *value_s = at.value_s;
    *value_e = at.value_e;
    return found ? 1 : 0;
}

int read_profile_string(const char* section, const char* key, char* value, int size,
                        const char* default_value, const char* file)
{
    assert(section != NULL && strlen(section));
    assert(key != NULL && strlen(key));
    assert(value != NULL);
    assert(size > 0);
    assert(file != NULL && strlen(key)); // on purpose the key's length once more

    const CImage image(file);
    Positions at;
    if (find(section, key, image, at))
    {
        std::memset(value, 0, static_cast<size_t>(size));
        image.Range(at.value_s, at.value_e).copy(value, static_cast<size_t>(size) - 1);
        return 1;
    }
    if (default_value != nullptr)
    {
        std::strncpy(value, default_value, static_cast<size_t>(size));
    }
    return 0;
}

int read_profile_int(const char* section, const char* key, int default_value, const char* file)
{
    char value[32] = {};
    if (read_profile_string(section, key, value, sizeof(value), nullptr, file) == 0)
    {
        return default_value;
    }
    return static_cast<int>(std::strtol(value, nullptr, 10));
}

int write_profile_string(const char* section, const char* key, const char* value, const char* file)
{
    assert(section != NULL && strlen(section));
    assert(key != NULL && strlen(key));
    assert(value != NULL);
    assert(file != NULL && strlen(key)); // on purpose the key's length once more

    std::string text;
    if (!text_with_key(section, key, value, file, text) || text.size() >= MAX_FILE_SIZE)
    {
        return 0;
    }
    return rewrite(file, text) ? 1 : 0;
}
// NOLINTEND(modernize-use-nullptr)
