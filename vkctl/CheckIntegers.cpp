#include "vkctl/CheckIntegers.h"

#include <algorithm>

#include "app/AppInternal.h"
#include "vkctl/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr std::size_t kShown = 3;

// Those of the rows whose SID the daemon reads as another one.
void check_lost(CCheckDatabase& db, const std::string& table, const std::string& rows,
                CFindings& findings)
{
    std::vector<std::string> lost;
    for (const std::string& sid :
         db.Column("select coalesce(SID,'') from " + quoted(table) + " where " + rows +
                   " and not coalesce(" + is_sid_found() + ",0)"))
    {
        lost.push_back("\"" + sid + "\"");
    }
    if (!lost.empty())
    {
        const std::size_t count = lost.size();
        lost.resize(std::min(count, kShown));
        findings.Warning({kDataDb, 0}, "value-not-integer",
                         table + ".SID holds " + shortened_list(lost, count) +
                             ": a SID is an integer of 32 bits, and a row without one is never "
                             "posted");
    }
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
                                 found[0].at(1) +
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
