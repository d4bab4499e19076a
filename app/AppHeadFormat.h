// Fmt0, the format of a body's head: what it may be, and how a value of the head looks in it.
#pragma once

#include <cstddef>
#include <string>

#include "app/AppBodyKinds.h"
#include "app/AppRows.h"

// The eight values of a body's head, in the order in which Fmt0 takes them. Borrows its texts.
struct CHead
{
    const char* suid = "";
    int sid = 0;
    int stype = 0;
    int stag1 = 0;
    const char* sname = "";
    int subsys = 0;
    const char* dtupd = "";
    const char* state = "";
    BodyKind kind = BodyKind::kOther; // whose row says where the values come from
    const CRows* rows = nullptr;      // whose current row has them; null: none
};

// Head format when Fmt0 is not configured or not usable.
constexpr char kDefaultFmt0[] =
    "suid=%s&sid=%d&stype=%d&stag1=%d&sname=%s&subsys=%d&dtupd=%s&state=%s";

// Whether a format may take the eight values of a head: texts where texts stand, numbers where
// numbers stand, at most eight, with flags, width and precision, and with an integer's size, which
// changes nothing ("%ld" is "%d"). The empty text when it may; else what is wrong with which
// conversion.
std::string head_format_problem(const std::string& format);

// One conversion of a format: "%-5.3ld" is flags "-", width, precision, size and the letter.
struct CConversion
{
    std::string text;  // from "%" to the letter
    std::string plain; // the same without its size: the numbers of a head are all int
    std::string size;  // "l" and the like
    char letter = '\0';
    bool sane = true; // no "*", no position, no endless width
};

CConversion read_conversion(const std::string& format, size_t at);

// The head's value number arg, formatted as its conversion says. The format passed
// head_format_problem, so the conversion takes this value and nothing else.
std::string head_value(const CConversion& conversion, const CHead& head, size_t arg);
