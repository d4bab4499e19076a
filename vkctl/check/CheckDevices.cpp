#include "vkctl/check/CheckDevices.h"

#include <strings.h>

#include <algorithm>
#include <map>
#include <set>

#include "app/AppPostConfig.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr size_t kShown = 3;

// --- Rows ----------------------------------------------------------------------------------------

// A row as discovery reads it and as the queries behind it find it.
struct SidRow
{
    HostCell sid;
    bool found = false;
    bool is_text = false;
    HostCell state;
    HostCell type;

    bool IsPosted() const { return found && state.number >= 0; }
};

std::vector<SidRow> rows_of(CHostDatabase& db, const HostTable& table, const std::string& where)
{
    const std::string state = table.Has("State") ? "State" : "0";
    const std::string type = table.Has("Type") ? "Type" : "0";
    std::vector<SidRow> rows;
    for (const auto& row :
         db.Rows("select SID," + is_found("SID") + ",typeof(SID)='text'," + state + "," + type +
                 " from " + quoted(table.name) + " x where " + where))
    {
        rows.push_back({row[0], row[1].number != 0, row[2].number != 0, row[3], row[4]});
    }
    return rows;
}

void report_lost(const Place& place, const std::string& table, std::vector<std::string> sids,
                 const std::string& why, CFindings& findings)
{
    const size_t count = sids.size();
    sids.resize(std::min(count, kShown));
    if (count > 0)
    {
        findings.Warning(place, FindingId::kValueNotInteger,
                         table + ".SID holds " + shortened_list(sids, count) + why);
    }
}

void check_lost(const std::string& table, const std::vector<SidRow>& rows,
                const std::string& effect, const Place& place, CFindings& findings)
{
    std::vector<std::string> others;
    std::vector<std::string> texts;
    for (const SidRow& row : rows)
    {
        const bool spells = row.is_text && row.sid.text == std::to_string(row.sid.number);
        if (!row.found)
        {
            (spells ? texts : others).push_back("\"" + shortened(row.sid.text) + "\"");
        }
    }
    report_lost(place, table, others,
                ": a SID is an integer of 32 bits, and a row without one " + effect, findings);
    report_lost(place, table, texts,
                ", stored as text: rows are asked for by an integer, and such a one " + effect +
                    "; " + integer_advice("SID"),
                findings);
}

// A State decides whether the row is posted at all, and may be empty; a Type counts where it is.
void check_integer_column(const std::string& name, const std::vector<SidRow>& rows,
                          HostCell SidRow::*column, bool is_state, CFindings& findings)
{
    const auto wrong =
        std::find_if(rows.begin(), rows.end(),
                     [&](const SidRow& row)
                     {
                         const HostCell& cell = row.*column;
                         return (is_state ? row.found : row.IsPosted()) &&
                                (is_misread(cell) || (cell.text.empty() && !is_state));
                     });
    if (wrong == rows.end())
    {
        return;
    }
    const HostCell& cell = (*wrong).*column;
    findings.Warning({kDataDb, 0}, FindingId::kValueNotInteger,
                     name + " of SID " + wrong->sid.text + " holds " +
                         (cell.text.empty()
                              ? "nothing: it is read as "
                              : "\"" + shortened(cell.text) +
                                    "\", which is no integer of 32 bits: it is read as ") +
                         std::to_string(cell.number));
}

// State and Type decide what is posted, and how.
void check_integers(const HostTable& table, const std::vector<SidRow>& rows, CFindings& findings)
{
    check_lost(table.name, rows, "is never posted", {kDataDb, 0}, findings);
    if (table.Lacks({"State", "Type"}).empty()) // told already
    {
        check_integer_column(table.name + ".State", rows, &SidRow::state, true, findings);
        check_integer_column(table.name + ".Type", rows, &SidRow::type, false, findings);
    }
}

// --- Whose SID is whose --------------------------------------------------------------------------

// SIDs for a message, each once: the first few, and how many there are.
class CSidSample
{
public:
    void Add(int sid)
    {
        if (m_all.insert(sid).second && m_vFirst.size() < kShown)
        {
            m_vFirst.push_back(std::to_string(sid));
        }
    }
    bool Empty() const { return m_all.empty(); }
    std::string Text() const
    {
        return Verb("SID ", "SIDs ") + shortened_list(m_vFirst, m_all.size());
    }
    // The verb that goes with it.
    const char* Verb(const char* one, const char* many) const
    {
        return m_all.size() == 1 ? one : many;
    }

private:
    std::vector<std::string> m_vFirst;
    std::set<int> m_all;
};

using Samples = std::map<std::string, CSidSample>; // by the table that had them before

// A table whose rows are posted as inputs or outputs. That it is searched as well is another
// finding, and no other SID would help.
bool is_point_table(const std::string& name)
{
    return strcasecmp(name.c_str(), kInputTable) == 0 ||
           strcasecmp(name.c_str(), kOutputTable) == 0;
}

// Numbers that several rows have, one of which the daemon finds.
CSidSample doubled(const std::vector<SidRow>& rows)
{
    std::map<int, std::pair<int, bool>> seen; // how many, and whether one is found
    for (const SidRow& row : rows)
    {
        auto& [count, found] = seen[row.sid.number];
        ++count;
        found = found || row.found;
    }
    CSidSample sample;
    for (const auto& [sid, told] : seen)
    {
        if (told.first > 1 && told.second)
        {
            sample.Add(sid);
        }
    }
    return sample;
}

class CSidCheck
{
public:
    CSidCheck(std::set<int> named, size_t generals, bool outputs, CFindings& findings)
        : m_named(std::move(named)), m_nGenerals(generals), m_bOutputs(outputs),
          m_findings(findings)
    {
    }

    // Of a table of devices. Each row of it takes its SID from an earlier table.
    void Table(const std::string& table, const std::vector<SidRow>& rows)
    {
        std::map<int, const SidRow*> devices; // the row that a query finds first; null: none
        for (const SidRow& row : rows)
        {
            const SidRow*& found = devices[row.sid.number];
            found = found == nullptr && row.found ? &row : found;
        }
        CSidSample unnamed;
        CSidSample taken;
        for (const auto& [sid, row] : devices)
        {
            const bool posted = row != nullptr && row->IsPosted();
            if (posted && m_named.count(sid) == 0)
            {
                unnamed.Add(sid);
            }
            if (posted && IsTaken(sid) && !is_point_table(table))
            {
                taken.Add(sid);
            }
        }
        Unnamed(table, unnamed);
        Doubled(table, doubled(rows), ": only the first is posted");
        Taken(table, taken);
        MoveFromEarlier(table, devices);
    }

    // Things that are posted as well, none of them a device of a table.
    void Others(const std::string& from, const std::vector<SidRow>& rows)
    {
        CSidSample taken;
        Samples shared;
        for (const SidRow& row : rows)
        {
            const int sid = row.sid.number;
            const auto [found, added] = m_posted.insert({sid, from});
            if (IsTaken(sid))
            {
                taken.Add(sid);
            }
            else if (!added && found->second != from)
            {
                shared[found->second].Add(sid);
            }
        }
        Taken(from, taken);
        for (const auto& [other, sample] : shared)
        {
            Warn(FindingId::kSidTaken, sample.Text() + " of " + from + sample.Verb(" is", " are") +
                                           " posted for " + other + " as well; choose another SID");
        }
    }

    void Unnamed(const std::string& table, const CSidSample& sample)
    {
        if (!sample.Empty())
        {
            Warn(FindingId::kDeviceUnnamed, sample.Text() + " of " + table +
                                                sample.Verb(" has", " have") +
                                                " no name in tbSM: sname is posted empty");
        }
    }

    void Doubled(const std::string& table, const CSidSample& sample, const std::string& effect)
    {
        if (!sample.Empty())
        {
            Warn(FindingId::kSidTwice, sample.Text() + sample.Verb(" stands", " stand") +
                                           " in several rows of " + table + effect);
        }
    }

private:
    void MoveFromEarlier(const std::string& table, const std::map<int, const SidRow*>& devices)
    {
        Samples elsewhere;
        Samples hidden;
        Samples stolen;
        for (const auto& [sid, row] : devices)
        {
            const bool posted = row != nullptr && row->IsPosted();
            const auto earlier = m_tables.find(sid);
            if (earlier != m_tables.end() && (row != nullptr || m_posted.count(sid) != 0))
            {
                (posted ? elsewhere : row != nullptr ? hidden : stolen)[earlier->second].Add(sid);
            }
            m_tables[sid] = table;
            m_posted.erase(sid);
            if (posted && !is_point_table(table))
            {
                m_posted[sid] = table;
            }
        }
        Twice(table, elsewhere, " too, and is posted from there only",
              " too, and are posted from there only");
        Twice(table, hidden, " too, with a State below 0, so it is not posted",
              " too, with a State below 0, so they are not posted");
        Twice(table, stolen,
              " too, in a form that is read as this number and never found again, so it is not "
              "posted",
              " too, in a form that is read as these numbers and never found again, so they are "
              "not posted");
    }

    bool IsTaken(int sid) const
    {
        return sid == 0 || (sid == kOutputsSid && m_bOutputs) ||
               (sid >= kFirstGeneralSid && sid < general_sid(m_nGenerals));
    }

    void Warn(FindingId id, const std::string& message)
    {
        m_findings.Warning({kDataDb, 0}, id, message);
    }

    void Twice(const std::string& table, const Samples& samples, const char* one, const char* many)
    {
        for (const auto& [earlier, sample] : samples)
        {
            Warn(FindingId::kSidTwice, sample.Text() + " of " + earlier +
                                           sample.Verb(" stands", " stand") + " in " + table +
                                           sample.Verb(one, many));
        }
    }

    void Taken(const std::string& from, const CSidSample& taken)
    {
        if (!taken.Empty())
        {
            Warn(FindingId::kSidTaken,
                 taken.Text() + " of " + from + taken.Verb(" is", " are") +
                     " posted for something else as well: 0 is the host's own status, " +
                     std::to_string(kOutputsSid) + " are its outputs, from " +
                     std::to_string(kFirstGeneralSid) +
                     " up are the general tables; choose another SID");
        }
    }

    const std::set<int> m_named;         // SIDs that have a name
    std::map<int, std::string> m_tables; // SID -> the last device table that has it
    std::map<int, std::string> m_posted; // SID -> the table whose row is posted
    const size_t m_nGenerals;
    const bool m_bOutputs;
    CFindings& m_findings;
};

// --- What there is -------------------------------------------------------------------------------

std::set<int> named_devices(CHostDatabase& db)
{
    std::map<int, bool> named; // the last row of a SID counts
    for (const auto& row : db.Rows("select SID,Name from tbSM"))
    {
        named[row[0].number] = !row[1].text.empty();
    }
    std::set<int> sids;
    for (const auto& [sid, has] : named)
    {
        if (has)
        {
            sids.insert(sid);
        }
    }
    return sids;
}

// Without those that are not posted, in the order of their SIDs.
std::vector<SidRow> posted_of(std::vector<SidRow> rows, bool any_state)
{
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [&](const SidRow& row)
                              { return !(any_state ? row.found : row.IsPosted()); }),
               rows.end());
    std::stable_sort(rows.begin(), rows.end(),
                     [](const SidRow& a, const SidRow& b) { return a.sid.number < b.sid.number; });
    return rows;
}

// An input has its name from the row of tbSM that it is joined with.
CSidSample unnamed_inputs(CHostDatabase& db, const std::vector<SidRow>& posted)
{
    std::set<int> unnamed;
    for (const auto& row :
         db.Rows(std::string("select x.SID from tbSubSysDetail x left join tbSM s on s.SID=x.SID "
                             "where coalesce(s.Name,'')='' and ") +
                 kIsInput))
    {
        unnamed.insert(row[0].number);
    }
    CSidSample sample;
    for (const SidRow& row : posted)
    {
        if (unnamed.count(row.sid.number) != 0)
        {
            sample.Add(row.sid.number);
        }
    }
    return sample;
}

void check_inputs(CHostDatabase& db, const HostTable& table, CSidCheck& sids, CFindings& findings)
{
    const std::vector<SidRow> rows = rows_of(db, table, kIsInput);
    sids.Doubled(table.name, doubled(rows), ": the first of them is posted each time");
    check_integers(table, rows, findings);
    if (table.Has("State"))
    {
        const std::vector<SidRow> posted = posted_of(rows, false);
        sids.Unnamed(table.name, unnamed_inputs(db, posted));
        sids.Others(table.name, posted);
    }
}

void check_cameras(CHostDatabase& db, const HostTable& names, CSidCheck& sids, CFindings& findings)
{
    if (names.Lacks({"Kind", "State", "DataMode"}).empty())
    {
        const std::vector<SidRow> rows = rows_of(db, names, kIsCamera);
        check_lost(names.name, rows, "is never posted", {kDataDb, 0}, findings);
        sids.Others(names.name + " (a camera: " + kIsCamera + ")", posted_of(rows, true));
    }
}

bool has_outputs(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini)
{
    const HostTable* table = catalogue.FindAnyCase(kOutputTable);
    return table != nullptr && table->Has("SID") &&
           setting_number(ini.Document(), SettingId::kDoCount) > 0 &&
           db.Number("select count(*) from tbDio where SID=" + std::to_string(kOutputsSid)) != 0;
}

} // namespace

void check_devices(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    const HostTable* names = catalogue.FindAnyCase(kNamesTable);
    if (names == nullptr || !names->Lacks({"SID", "Name"}).empty())
    {
        return; // told already
    }
    CSidCheck sids(named_devices(db), catalogue.Of(TableRole::kGeneral).size(),
                   has_outputs(db, catalogue, ini), findings);
    for (const HostTable* table : catalogue.Of(TableRole::kDevice))
    {
        if (table->Has("SID") && name_problem(db, *table, table->name).empty())
        {
            const std::vector<SidRow> rows = rows_of(db, *table, "1");
            check_integers(*table, rows, findings);
            sids.Table(table->name, rows);
        }
    }
    sids.Doubled(names->name, doubled(rows_of(db, *names, "1")),
                 ": the name is that of the last, place and tag are those of the first");
    const HostTable* inputs = catalogue.FindAnyCase(kInputTable);
    if (inputs != nullptr && inputs->Lacks({"SID", "SIDD"}).empty())
    {
        check_inputs(db, *inputs, sids, findings);
    }
    check_cameras(db, *names, sids, findings);
}

void check_lost_sids(CHostDatabase& db, const HostTable& table, const std::string& where,
                     const std::string& effect, const Place& place, CFindings& findings)
{
    check_lost(table.name, rows_of(db, table, where), effect, place, findings);
}

} // namespace vkctl
