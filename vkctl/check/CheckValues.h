// What the columns with a kind hold, judged by the cells that the daemon itself has read to render
// them: numbers that are none, bits that nobody posts, texts that are asked for and not there.
//
// value-not-integer, kind-narrow, fallback-missing, bit-label-missing. Owns what it has seen. One
// thread.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/CheckFields.h"
#include "vkctl/preview/Preview.h"

namespace vkctl
{

class CFieldValues
{
public:
    CFieldValues(const CIniFile& ini, const CTypeColumns& columns);

    void Body(const PreviewBody& body);
    void Report(CFindings& findings) const;

private:
    // What one table's rows hold in the column.
    struct Seen
    {
        HostCell misread;
        bool has_empty = false;
        int wide = 0; // the first number with bits beyond those of the kind
        std::string wide_row;
        size_t wide_rows = 0;
    };

    struct Column
    {
        FieldKey key;
        int kind;
        std::map<std::string, Seen> tables; // those that the column is posted from
        std::map<int, std::string> numbers; // with a row that holds each, for a message
    };

    void Cell(Column& column, const PreviewBody& body, const PreviewCell& cell) const;
    bool HasText(const Column& column, const std::string& suffix) const;
    void ReportTable(const Column& column, const std::string& table, const Seen& seen,
                     CFindings& findings) const;
    void ReportFallback(const Column& column, CFindings& findings) const;
    void ReportBits(const Column& column, CFindings& findings) const;

    const CIniFile& m_ini;
    std::map<std::pair<int, std::string>, Column> m_columns; // by type and name
};

} // namespace vkctl
