// Frames a Modbus request for a power meter, and checks a rectifier's answer in a "~" frame.
#include <cstdio>
#include <cstring>
#include <string>

#include "common/BufHelper.h"

namespace
{

void show_modbus_request()
{
    const unsigned char meter = 1;
    const unsigned char read_registers = 3;

    unsigned char rtu[8];
    const int length = CBufHelper::ModBusCmd(rtu, meter, read_registers, 0, 1);
    char digits[3 * sizeof(rtu) + 1];
    CBufHelper::HexStr2AsciiStr(digits, rtu, length, ' ');
    std::printf("Modbus RTU request: %s\n", digits);

    char ascii[2 * sizeof(rtu) + 1];
    const int characters = CBufHelper::ModBusRtu2Ascii(rtu, ascii, static_cast<unsigned>(length));
    std::printf("Modbus ASCII request: %.*s\n", characters - 2, ascii); // without CR LF
}

void show_answer(const std::string& frame)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(frame.data());
    const auto length = static_cast<int>(frame.size());
    const int code = CBufHelper::YdChk(bytes, length);
    if (code != 0)
    {
        std::printf("Answer refused with code %d\n", code);
        return;
    }
    std::printf("Answer with %d info characters, first value %.1f\n",
                CBufHelper::YdDatLen(frame.data(), length),
                static_cast<double>(CBufHelper::YdDatF(frame.data(), 1, 0, 0)));
}

} // namespace

int main()
{
    show_modbus_request();
    show_answer("~21016000800800005C43FC07\r"); // 220.0 V
    show_answer("~21016000800800005C44FC07\r"); // the same with one digit damaged on the line
    return 0;
}
