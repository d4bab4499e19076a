// The writer of form bodies. Main thread, or the alarm routine's.
#pragma once

#include <cstddef>
#include <string>

#include "app/AppHeadFormat.h"

// How a part of a body is made.
enum class BodyPart
{
    kHead,  // one group of Fmt0, from "&" to "&"
    kPair,  // one "&name=value"
    kGroup, // several pairs, or one, of numbers only
};

// Told about every part that a body has got, in order (AppBodyPart.cpp): its text as it stands in
// the body, not terminated. The daemon has no use for it; a program that explains bodies links a
// definition of its own.
void body_part(BodyPart part, const char* text, size_t length);

// Writes one form body into a buffer of fixed size and is the only one that does.
//
// Borrows the buffer. The text is NUL-terminated after every call. A group ("&name=value") that
// does not fit is left out whole and noted, so the body stays valid and says less; smaller groups
// behind it are still taken. Values are not escaped: that is the wire format.
class CBodyWriter
{
public:
    // Goes on at position iPos of a buffer of the given size, which holds iPos bytes already.
    CBodyWriter(char* buffer, size_t size, int iPos = 0);

    // Writes the head. The format has passed head_format_problem.
    void Head(const std::string& format, const CHead& head);

    // "&name=value"; Pair writes nothing when the value is empty.
    void Pair(const std::string& name, const std::string& value);
    void Field(const std::string& name, const std::string& value);

    // A group of pairs, taken or left out as one.
    void Group(const char* format, ...) __attribute__((format(printf, 2, 3)));

    int Position() const { return static_cast<int>(m_pos); }           // where the body ends
    int Appended() const { return static_cast<int>(m_pos - m_start); } // bytes written by this one

    // Logs in one line what was left out, if anything was: of what, and the number that names it.
    void LogLeftOut(const char* what, int number) const;

private:
    struct HeadCursor;
    bool HeadGroup(HeadCursor& cursor, const CHead& head);
    bool Put(const char* text, size_t length);
    void LeaveOut(const char* group);

    char* m_buffer;
    size_t m_size; // with the terminator
    size_t m_start;
    size_t m_pos;
    int m_leftOut = 0;
    std::string m_leftOutNames; // the first few
};
