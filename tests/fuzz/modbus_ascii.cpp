// CBufHelper::ModBusAscii2Rtu on any characters, and an accepted frame turned back. The output
// has exactly the half of the input's length that callers provide.
#include <cstring>
#include <vector>

#include "common/BufHelper.h"
#include "tests/fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<char> ascii(data, data + size);
    std::vector<unsigned char> rtu(size / 2);
    const int length =
        CBufHelper::ModBusAscii2Rtu(ascii.data(), rtu.data(), static_cast<unsigned>(size));
    if (length < 0)
    {
        require(length == -1);
        return 0;
    }
    require(length >= 2 && static_cast<size_t>(length) == size / 2);

    std::vector<char> back(2 * rtu.size() + 1);
    std::vector<unsigned char> again(back.size() / 2);
    const int characters =
        CBufHelper::ModBusRtu2Ascii(rtu.data(), back.data(), static_cast<unsigned>(length));
    require(static_cast<size_t>(characters) == back.size());
    require(CBufHelper::ModBusAscii2Rtu(back.data(), again.data(),
                                        static_cast<unsigned>(characters)) == length);
    require(again == rtu);
    return 0;
}
