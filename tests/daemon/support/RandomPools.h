// What random hosts are made of. See RandomHost.h.
#pragma once

#include <string>
#include <vector>

using Texts = std::vector<std::string>;

// Column names as a CREATE TABLE takes them. Some are names of the joined columns, too.
inline const Texts kColumns = {"Tem",  "Hum",  "Ua",   "Run",     "Alm",
                               "电压", "Name", "Tag1", "\"A B\"", "Fld1"};

// Texts of vkApp.ini: no value can hold ";" or "#".
inline const Texts kLabels = {"正常", "告警", "on",  "off", "合闸", "A B",
                              "100%", "x=1",  "a&b", "%s",  ""};

inline const Texts kDeviceTypes = {"5", "257", "12", "2305"};
inline const Texts kStates = {"0", "0", "0", "1", "2", "3", "4", "-1", "null", "'1'", "'bad'"};
inline const Texts kModes = {"100", "101", "102", "103", "200", "201", "202", "1", "999", "0"};

// Values as SQL literals: what SQLite can store and what no encoding likes.
inline const Texts kValues = {"0",
                              "1",
                              "2",
                              "15",
                              "240",
                              "255",
                              "-1",
                              "4095",
                              "16777215",
                              "9223372036854775807",
                              "-9223372036854775808",
                              "2147483648",
                              "3.25",
                              "-0.5",
                              "1e100",
                              "9e999",
                              "''",
                              "null",
                              "'12'",
                              "'12abc'",
                              "' 7'",
                              "'正常'",
                              "'断路器合闸'",
                              "'a&b'",
                              "'x=1'",
                              "'a+b'",
                              "'100%'",
                              "'%41%s%n'",
                              "'line'||char(10)||'two'",
                              "'r'||char(13)||char(10)",
                              "x'c3'",
                              "x'fffe41'",
                              "'nul'||char(0)||'x'",
                              "'☃'",
                              "'é'",
                              "zeroblob(3)"};

inline const Texts kHeadFormats = {
    "suid=%s&sid=%d&stype=%d",
    "suid=%s&sid=%08d&stype=%x&stag1=%+d&sname=%-10s|&subsys=%o&dtupd=%.4s&state=%5s",
    "id=%s&n=%d&share=100%%&t=%d&g=%d&name=%.6s&s=%d&at=%s&st=%s",
    "suid=%s&sid=%n",
    "suid=%s&sid=%s&stype=%d",
    "suid=%s %d",
    "nothing of it"};
