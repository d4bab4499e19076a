// CBufHelper::YdChk and YdDatLen on any bytes, without a NUL behind them, and the values of a frame
// that was found valid.
#include <vector>

#include "common/BufHelper.h"
#include "tests/fuzz/Fuzz.h"

namespace
{

// Callers ask for values that lie within the frame.
void read_values(const std::vector<char>& frame)
{
    for (unsigned char lead = 0; lead < 4; ++lead)
    {
        for (unsigned char field = 0; field < 255; ++field)
        {
            if (static_cast<size_t>(CBufHelper::YdIdxF(field, lead, 1)) + 8 <= frame.size())
            {
                CBufHelper::YdDatF(frame.data(), field, lead, 1);
            }
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<unsigned char> frame(data, data + size);
    const std::vector<char> text(data, data + size);
    const auto length = static_cast<int>(size);

    const int code = CBufHelper::YdChk(frame.data(), length);
    const int characters = CBufHelper::YdDatLen(text.data(), length);
    require(code >= 0 && code <= 7);
    require(code != 0 || (size >= 18 && frame[0] == '~'));
    require(characters >= -1 && characters <= 0xFFF);
    require((characters == -1) == (size < 18));
    if (code == 0)
    {
        read_values(text);
    }
    return 0;
}
