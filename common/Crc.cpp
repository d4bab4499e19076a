// CRCs, a byte at a time. What eight shifts do to a byte is worked out by the compiler, by the
// polynomial, into tables.
#include "common/Crc.h"

#include <array>

namespace
{

template <typename T> using Table = std::array<T, 256>;

// For CRCs that take the least significant bit first.
template <typename T> constexpr T reflected_byte(T crc, T polynomial)
{
    for (int bit = 0; bit < 8; ++bit)
    {
        crc = static_cast<T>((crc & 1) != 0 ? crc >> 1 ^ polynomial : crc >> 1);
    }
    return crc;
}

// For CRCs that take the most significant bit first.
template <typename T> constexpr T plain_byte(T crc, T polynomial)
{
    constexpr T kTop = static_cast<T>(T{1} << (8 * sizeof(T) - 1));
    for (int bit = 0; bit < 8; ++bit)
    {
        crc = static_cast<T>((crc & kTop) != 0 ? crc << 1 ^ polynomial : crc << 1);
    }
    return crc;
}

template <typename T> constexpr Table<T> reflected_table(T polynomial)
{
    Table<T> table{};
    for (unsigned int byte = 0; byte < table.size(); ++byte)
    {
        table[byte] = reflected_byte(static_cast<T>(byte), polynomial);
    }
    return table;
}

template <typename T> constexpr Table<T> plain_table(T polynomial)
{
    Table<T> table{};
    for (unsigned int byte = 0; byte < table.size(); ++byte)
    {
        const T first = static_cast<T>(static_cast<T>(byte) << (8 * sizeof(T) - 8));
        table[byte] = plain_byte(first, polynomial);
    }
    return table;
}

constexpr Table<uint16_t> kModbus = reflected_table<uint16_t>(0xA001);
constexpr Table<uint16_t> kXmodem = plain_table<uint16_t>(0x1021);
constexpr Table<uint32_t> kMpeg2 = plain_table<uint32_t>(0x04C11DB7);

} // namespace

uint16_t crc16_modbus(const unsigned char* bytes, size_t length)
{
    uint16_t crc = 0xFFFF;
    for (size_t i = 0; i < length; ++i)
    {
        crc = static_cast<uint16_t>(crc >> 8 ^ kModbus[(crc ^ bytes[i]) & 0xFF]);
    }
    return crc;
}

uint16_t crc16_xmodem(const unsigned char* bytes, size_t length)
{
    uint16_t crc = 0;
    for (size_t i = 0; i < length; ++i)
    {
        crc = static_cast<uint16_t>(crc << 8 ^ kXmodem[(crc >> 8 ^ bytes[i]) & 0xFF]);
    }
    return crc;
}

uint32_t crc32_mpeg2(const unsigned char* bytes, size_t length)
{
    uint32_t crc = 0xFFFFFFFF;
    for (size_t i = 0; i < length; ++i)
    {
        crc = crc << 8 ^ kMpeg2[(crc >> 24 ^ bytes[i]) & 0xFF];
    }
    return crc;
}
