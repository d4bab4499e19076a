#include "vkctl/check/CheckDevices.h"

#include <strings.h>

#include <map>
#include <set>

#include "app/AppInternal.h"
#include "vkctl/check/CheckIntegers.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr int kFirstGeneralSid = 900;
constexpr std::size_t kSidsShown = 3;
constexpr int kOutputsSid = 1;

// The rows of tbSubSysDetail that are inputs, and not the module that they belong to.
const std::string kInputs = "SID<>SIDD";

// SIDs for a message, each once: the first few, and how many there are.
class CSidSample
{
public:
    void Add(int sid)
    {
        if (m_all.insert(sid).second && m_vFirst.size() < kSidsShown)
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

struct KnownDevice
{
    int sid;
    bool posted; // its State is not negative
};

// A table whose rows are posted as inputs or outputs. That it is searched as well is another
// finding, and no other SID would help.
bool is_point_table(const std::string& name)
{
    return strcasecmp(name.c_str(), "tbSubSysDetail") == 0 ||
           strcasecmp(name.c_str(), "tbDio") == 0;
}

std::vector<KnownDevice> devices_of(CCheckDatabase& db, const HostTable& table)
{
    const std::string state = table.Has("State") ? read_as_integer("State") : "0";
    std::vector<KnownDevice> devices;
    for (const auto& row : db.Rows("select " + read_as_integer("SID") + "," + state + ">=0 from " +
                                   quoted(table.name) + " where " + is_sid_found()))
    {
        devices.push_back({cell_number(row[0]), row[1] == "1"});
    }
    return devices;
}

std::map<int, std::string> names_of(CCheckDatabase& db)
{
    std::map<int, std::string> names;
    for (const auto& row : db.Rows("select SID,Name from tbSM"))
    {
        names[cell_number(row[0])] = row[1];
    }
    return names;
}

// Which table has each SID, for those that several have, and what is wrong with it.
class CSidCheck
{
public:
    CSidCheck(std::map<int, std::string> names, std::size_t generals, bool outputs,
              CFindings& findings)
        : m_names(std::move(names)), m_nGenerals(static_cast<int>(generals)), m_bOutputs(outputs),
          m_findings(findings)
    {
    }

    void Table(CCheckDatabase& db, const HostTable& table)
    {
        Samples samples;
        for (const KnownDevice& device : devices_of(db, table))
        {
            CheckTables(device, table.name, samples);
            if (device.posted)
            {
                CheckPosted(device.sid, table.name, samples);
            }
        }
        Report(table.name, samples);
    }

    // Things that are posted as well, none of them a device of a table.
    void Others(const std::string& from, const std::vector<std::string>& sids)
    {
        CSidSample taken;
        std::map<std::string, CSidSample> shared;
        for (const std::string& one : sids)
        {
            const int sid = cell_number(one);
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
        ReportTaken(from, taken);
        for (const auto& [other, sample] : shared)
        {
            Warn("sid-taken", sample.Text() + " of " + from + sample.Verb(" is", " are") +
                                  " posted for " + other + " as well; choose another SID");
        }
    }

private:
    struct Samples
    {
        CSidSample unnamed;
        CSidSample doubled;
        CSidSample taken;
        std::map<std::string, CSidSample> elsewhere; // earlier table -> posted from this one
        std::map<std::string, CSidSample> hidden;    // the same, and this one has it not posted
    };

    void CheckTables(const KnownDevice& device, const std::string& table, Samples& samples)
    {
        const auto [found, added] = m_tables.insert({device.sid, table});
        if (added)
        {
            return;
        }
        if (found->second == table)
        {
            samples.doubled.Add(device.sid);
            return;
        }
        (device.posted ? samples.elsewhere : samples.hidden)[found->second].Add(device.sid);
        found->second = table;
        m_posted.erase(device.sid);
    }

    void CheckPosted(int sid, const std::string& table, Samples& samples)
    {
        const auto name = m_names.find(sid);
        if (name == m_names.end() || name->second.empty())
        {
            samples.unnamed.Add(sid);
        }
        if (is_point_table(table))
        {
            return;
        }
        if (IsTaken(sid))
        {
            samples.taken.Add(sid);
        }
        m_posted[sid] = table;
    }

    bool IsTaken(int sid) const
    {
        return sid == 0 || (sid == kOutputsSid && m_bOutputs) ||
               (sid >= kFirstGeneralSid && sid < kFirstGeneralSid + m_nGenerals);
    }

    void Warn(const char* id, const std::string& message)
    {
        m_findings.Warning({kDataDb, 0}, id, message);
    }

    void Report(const std::string& table, const Samples& samples)
    {
        const CSidSample& unnamed = samples.unnamed;
        const CSidSample& doubled = samples.doubled;
        if (!unnamed.Empty())
        {
            Warn("device-unnamed", unnamed.Text() + " of " + table + unnamed.Verb(" has", " have") +
                                       " no name in tbSM: sname is posted empty");
        }
        if (!doubled.Empty())
        {
            Warn("sid-twice", doubled.Text() + doubled.Verb(" stands", " stand") +
                                  " in several rows of " + table + ": only the first is posted");
        }
        ReportTaken(table, samples.taken);
        ReportTwice(table, samples.elsewhere, " too, and is posted from there only",
                    " too, and are posted from there only");
        ReportTwice(table, samples.hidden, " too, with a State below 0, so it is not posted",
                    " too, with a State below 0, so they are not posted");
    }

    void ReportTwice(const std::string& table, const std::map<std::string, CSidSample>& samples,
                     const char* one, const char* many)
    {
        for (const auto& [earlier, sample] : samples)
        {
            Warn("sid-twice", sample.Text() + " of " + earlier + sample.Verb(" stands", " stand") +
                                  " in " + table + sample.Verb(one, many));
        }
    }

    void ReportTaken(const std::string& from, const CSidSample& taken)
    {
        if (!taken.Empty())
        {
            Warn("sid-taken", taken.Text() + " of " + from + taken.Verb(" is", " are") +
                                  " posted for something else as well: 0 is the host's own status, "
                                  "1 are its outputs, from 900 up are the general tables; choose "
                                  "another SID");
        }
    }

    const std::map<int, std::string> m_names;
    std::map<int, std::string> m_tables; // SID -> the last device table that has it
    std::map<int, std::string> m_posted; // SID -> the table whose row is posted
    const int m_nGenerals;
    const bool m_bOutputs;
    CFindings& m_findings;
};

// Rows that the daemon reads by a SID that should be theirs alone.
void check_rows_twice(CCheckDatabase& db, const std::string& from, const std::string& effect,
                      CFindings& findings)
{
    CSidSample sample;
    for (const std::string& sid :
         db.Column("select SID from " + from + " group by SID having count(*)>1 order by SID"))
    {
        sample.Add(cell_number(sid));
    }
    if (!sample.Empty())
    {
        findings.Warning({kDataDb, 0}, "sid-twice",
                         sample.Text() + sample.Verb(" stands", " stand") + " in several rows of " +
                             effect);
    }
}

std::string posted_inputs()
{
    return "tbSubSysDetail where " + kInputs + " and " + is_sid_found() + " and " +
           read_as_integer("State") + ">=0";
}

void check_unnamed_inputs(CCheckDatabase& db, CFindings& findings)
{
    CSidSample sample;
    for (const std::string& sid :
         db.Column("select distinct x.SID from (select SID from " + posted_inputs() +
                   ") x left join tbSM s on s.SID=x.SID where coalesce(s.Name,'')='' order by 1"))
    {
        sample.Add(cell_number(sid));
    }
    if (!sample.Empty())
    {
        findings.Warning({kDataDb, 0}, "device-unnamed",
                         sample.Text() + " of tbSubSysDetail" + sample.Verb(" has", " have") +
                             " no name in tbSM: sname is posted empty");
    }
}

void check_inputs(CCheckDatabase& db, const HostTable& table, CSidCheck& sids, CFindings& findings)
{
    check_rows_twice(db, "tbSubSysDetail where " + kInputs,
                     "tbSubSysDetail: the first of them is posted each time", findings);
    check_integers(db, table, kInputs, findings);
    if (table.Has("State"))
    {
        check_unnamed_inputs(db, findings);
        sids.Others(table.name, db.Column("select SID from " + posted_inputs() + " order by SID"));
    }
}

void check_cameras(CCheckDatabase& db, const HostTable& names, CSidCheck& sids)
{
    if (names.Lacks({"Kind", "State", "DataMode"}).empty())
    {
        sids.Others("tbSM (a camera: Kind 3072)",
                    db.Column("select SID from tbSM where Kind=3072 and State=0 and DataMode=1 "
                              "order by SID"));
    }
}

bool has_outputs(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini)
{
    const HostTable* table = catalogue.FindAnyCase("tbDio");
    return table != nullptr && table->Has("SID") &&
           ini.Int("POST.DO", "Count", kDefaultOutputs) > 0 &&
           db.Value("select count(*) from tbDio where SID=" + std::to_string(kOutputsSid)) != "0";
}

} // namespace

void check_devices(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    const HostTable* names = catalogue.FindAnyCase("tbSM");
    if (names == nullptr || !names->Lacks({"SID", "Name"}).empty())
    {
        return; // told already
    }
    CSidCheck check(names_of(db), catalogue.Of(TableRole::kGeneral).size(),
                    has_outputs(db, catalogue, ini), findings);
    for (const HostTable* table : catalogue.Of(TableRole::kDevice))
    {
        if (table->Has("SID") && name_problem(db, *table, table->name).empty())
        {
            check_integers(db, *table, "1", findings);
            check.Table(db, *table);
        }
    }
    check_rows_twice(db, "tbSM",
                     "tbSM: the name is that of the last, place and tag are those of the first",
                     findings);
    const HostTable* inputs = catalogue.FindAnyCase("tbSubSysDetail");
    if (inputs != nullptr && inputs->Lacks({"SID", "SIDD"}).empty())
    {
        check_inputs(db, *inputs, check, findings);
    }
    check_cameras(db, *names, check);
}

} // namespace vkctl
