// SimpleIni::Load of any file, every key read, and the document written and loaded again.
#include "common/SimpleIni.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/MemFile.h"

namespace
{

size_t read_all(const SimpleIni& ini)
{
    size_t keys = 0;
    for (auto section = ini.beginSection(); section != ini.endSection(); ++section)
    {
        for (auto key = ini.beginKey(*section); key != ini.endKey(*section); ++key)
        {
            const std::string value = ini.GetValue(*section, *key, "");
            require(value == SimpleIni::Trim(value));
            require(value.find_first_of("\n;#") == std::string::npos);
            ini.GetValue<int>(*section, *key, 7);
            ini.GetComment(*section, *key);
            ++keys;
        }
    }
    return keys;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const CMemFile source("source.ini");
    static const CMemFile saved("saved.ini");
    source.Set(text_of(data, size));

    SimpleIni ini("");
    require(ini.Load(source.Path()));
    const size_t keys = read_all(ini);
    require(ini.SaveAs(saved.Path()));
    SimpleIni again(saved.Path());
    require(read_all(again) <= keys);
    return 0;
}
