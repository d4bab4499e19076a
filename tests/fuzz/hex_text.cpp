// CBufHelper::AsciiStr2HexStr and BufFromStr on any characters, without a NUL behind them. The
// outputs have exactly the bytes that callers provide.
#include <algorithm>
#include <vector>

#include "common/BufHelper.h"
#include "tests/fuzz/Fuzz.h"

namespace
{

void check_groups(const std::vector<char>& text)
{
    std::vector<unsigned char> out(text.size() + 2, 0);
    const int groups =
        CBufHelper::AsciiStr2HexStr(out.data(), text.data(), static_cast<int>(text.size()));
    require(groups == 1 + std::count(text.begin(), text.end(), ' '));
    require(out[static_cast<size_t>(groups)] == 0);
}

void check_pairs(const std::vector<char>& text)
{
    std::vector<unsigned char> out((text.size() + 1) / 2);
    const int bytes =
        CBufHelper::BufFromStr(out.data(), text.data(), static_cast<int>(text.size()));
    require(static_cast<size_t>(bytes) == out.size());

    std::vector<char> digits(3 * out.size() + 1);
    const int characters = CBufHelper::HexStr2AsciiStr(digits.data(), out.data(), bytes, ' ');
    require(characters == 3 * bytes - 1);
    require(CBufHelper::BufToStr(out.data(), bytes, ' ').size() == static_cast<size_t>(characters));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
    {
        return 0; // no text but a null pointer
    }
    const std::vector<char> text(data, data + size);
    check_groups(text);
    check_pairs(text);
    return 0;
}
