// CBufHelper::conv_code between any two character sets. The first two lines of an input name them;
// the rest is the text. The output has the four bytes per byte that callers provide, and behind
// them bytes that must stay: iconv itself is not instrumented.
#include <algorithm>
#include <cstring>
#include <vector>

#include "common/BufHelper.h"
#include "tests/fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr char kUntouched = '?';
    constexpr size_t kGuard = 64;
    std::string_view input = text_of(data, size);
    const std::string to = take_line(input);
    const std::string from = take_line(input);
    std::string text(input);
    const size_t length = std::strlen(text.c_str());

    std::vector<char> output(4 * length + kGuard, kUntouched);
    const int written = CBufHelper::conv_code(to.c_str(), from.c_str(), output.data(), text.data());
    require(written >= 0 && static_cast<size_t>(written) <= 4 * length);
    require(std::count(output.end() - kGuard, output.end(), kUntouched) ==
            static_cast<ptrdiff_t>(kGuard));
    return 0;
}
