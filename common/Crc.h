// The CRCs of any number of bytes; CBufHelper's are these under their public names.
//
// No state: any thread may call. A table of 256 entries each (2 KiB in all, made by the compiler)
// takes a byte in one step; docs/helpers.md says what that is worth.
#pragma once

#include <cstddef>
#include <cstdint>

uint16_t crc16_modbus(const unsigned char* bytes, size_t length);
uint16_t crc16_xmodem(const unsigned char* bytes, size_t length);
uint32_t crc32_mpeg2(const unsigned char* bytes, size_t length);
