// The writer of form bodies. Main thread, or the alarm routine's.
#pragma once

#include <cstddef>
#include <string>

#include "app/AppBodyReport.h"
#include "app/AppHeadFormat.h"

// Writes one form body into a buffer of fixed size and is the only one that does.
//
// Borrows the buffer. The text is NUL-terminated after every call. A group ("&name=value") that
// does not fit is left out whole and noted, so the body stays valid and says less; smaller groups
// behind it are still taken. Values are not escaped: that is the wire format. What each part comes
// from, and what is left out, is reported (AppBodyReport.h).
class CBodyWriter
{
public:
    // Goes on at position iPos of a buffer of the given size, which holds iPos bytes already.
    CBodyWriter(char* buffer, size_t size, int iPos = 0);

    // Writes the head. The format has passed head_format_problem.
    void Head(const std::string& format, const CHead& head);

    // "&name=value"; Pair writes nothing when the value is empty.
    void Pair(const std::string& name, const std::string& value, const PartSource& source = {});
    void Field(const std::string& name, const std::string& value, const PartSource& source = {});

    // A group of pairs ("&name=1&other=2"), taken or left out as one.
    void Group(const std::string& pairs, const PartSource& source = {});

    int Position() const { return static_cast<int>(m_pos); }           // where the body ends
    int Appended() const { return static_cast<int>(m_pos - m_start); } // bytes written by this one

    // Logs in one line what was left out, if anything was: of what, and the number that names it.
    void LogLeftOut(const char* what, int number) const;

private:
    struct HeadCursor;
    bool HeadGroup(HeadCursor& cursor, const CHead& head);
    bool Put(const char* text, size_t length);
    void LeaveOut(const char* group, BodyPart part, const PartSource& source);

    char* m_buffer;
    size_t m_size; // with the terminator
    size_t m_start;
    size_t m_pos;
    int m_leftOut = 0;
    std::string m_leftOutNames; // the first few
};
