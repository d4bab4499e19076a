#include "vkctl/check/CheckIntegers.h"

#include <algorithm>

#include "app/AppInternal.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr std::size_t kShown = 3;

void report_lost(const std::string& table, std::vector<std::string> sids, const std::string& why,
                 CFindings& findings)
{
    const std::size_t count = sids.size();
    sids.resize(std::min(count, kShown));
    if (count > 0)
    {
        findings.Warning({kDataDb, 0}, "value-not-integer",
                         table + ".SID holds " + shortened_list(sids, count) + why);
    }
}

// Those of the rows whose SID the daemon reads as another one, or asks for in vain.
void check_lost(CCheckDatabase& db, const std::string& table, const std::string& rows,
                CFindings& findings)
{
    std::vector<std::string> others;
    std::vector<std::string> texts;
    for (const auto& row :
         db.Rows("select coalesce(SID,'')," + is_integer_as_text("SID") + " from " + quoted(table) +
                 " where " + rows + " and not coalesce(" + is_sid_found() + ",0)"))
    {
        (row[1] == "1" ? texts : others).push_back("\"" + shortened(row[0]) + "\"");
    }
    report_lost(table, others,
                ": a SID is an integer of 32 bits, and a row without one is never posted",
                findings);
    report_lost(table, texts,
                ", stored as text: rows are asked for by an integer, and such a one is never "
                "posted; " +
                    integer_advice("SID"),
                findings);
}

// The SQL condition that the row is posted, and the daemon reads another integer than stands there.
std::string is_misread(const std::string& column)
{
    return is_sid_found() + " and " + read_as_integer("State") + ">=0 and (" +
           is_no_integer(column) + " or typeof(" + column + ")='integer' and " + column + "<>" +
           read_as_integer(column) + ")";
}

void check_states_and_types(CCheckDatabase& db, const HostTable& table, const std::string& rows,
                            CFindings& findings)
{
    if (!table.Lacks({"State", "Type"}).empty())
    {
        return; // told already
    }
    for (const std::string column : {"State", "Type"})
    {
        const auto found = db.Rows("select SID," + column + "," + read_as_integer(column) +
                                   " from " + quoted(table.name) + " where " + rows + " and " +
                                   is_misread(column) + " limit 1");
        if (!found.empty())
        {
            findings.Warning({kDataDb, 0}, "value-not-integer",
                             table.name + "." + column + " of SID " + found[0].at(0) + " holds \"" +
                                 shortened(found[0].at(1)) +
                                 "\", which is no integer of 32 bits: it is read as " +
                                 found[0].at(2));
        }
    }
}

} // namespace

std::string is_sid_found()
{
    return "SID=" + read_as_integer("SID");
}

void check_integers(CCheckDatabase& db, const HostTable& table, const std::string& rows,
                    CFindings& findings)
{
    check_lost(db, table.name, rows, findings);
    check_states_and_types(db, table, rows, findings);
}

} // namespace vkctl
