#include "common/IniReader.h"

#include "common/SimpleIni.h"

namespace
{

std::string header_name(const std::string& line)
{
    const size_t end = line.find(']');
    return SimpleIni::Trim(line.substr(1, end == std::string::npos ? end : end - 1));
}

// A line that is neither a header nor a comment from its first column on.
void read_key(std::string line, size_t comment, IniItem& item)
{
    item.kind = IniItemKind::kKey;
    if (comment != std::string::npos)
    {
        item.comment = line.substr(comment + 1);
        line.erase(comment);
    }
    const size_t equals = line.find('=');
    item.has_equals = equals != std::string::npos;
    if (item.has_equals)
    {
        item.value = SimpleIni::Trim(line.substr(equals + 1));
        line.erase(equals);
    }
    item.key = SimpleIni::Trim(line);
}

} // namespace

bool CIniReader::Next(IniItem& item)
{
    std::string line;
    do
    {
        if (!std::getline(m_in, line))
        {
            return false;
        }
        ++m_line;
        SimpleIni::ParasitCar(line);
    } while (line.empty());

    item = IniItem();
    item.line = m_line;
    const size_t comment = line.find_first_of(";#");
    if (line[0] == '[')
    {
        item.kind = IniItemKind::kSection;
        m_section = header_name(line);
    }
    else if (comment == 0)
    {
        item.comment = line.substr(1);
    }
    else
    {
        read_key(std::move(line), comment, item);
    }
    item.section = m_section;
    return true;
}
