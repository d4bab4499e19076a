// The texts of the queries; see AppQueries.h.
#include "app/AppQueries.h"

#include "app/AppRules.h"

namespace
{

// The columns of tbSM in front of all of another table's, kJoinedColumns of them.
std::string joined(const std::string& table)
{
    return "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from " + table + " x left join " +
           kNamesTable + " s on s.SID=x.SID where ";
}

std::string number(int value)
{
    return std::to_string(value);
}

} // namespace

std::string tables_query()
{
    return std::string("select * from sqlite_master where type='table' and not name like '") +
           kHiddenPrefix + "%'";
}

std::string names_query()
{
    return std::string("select SID,Name from ") + kNamesTable;
}

std::string sids_query(const std::string& table)
{
    return "select SID from " + table;
}

std::string inputs_query()
{
    return joined(kInputTable) + kIsInput;
}

std::string cameras_query()
{
    return std::string("select * from ") + kNamesTable + " where " + kIsCamera;
}

std::string device_query(const char* table, int sid)
{
    return joined(table) + "x.SID=" + number(sid);
}

std::string input_query(int sid)
{
    return joined(kInputTable) + "x.SID=" + number(sid) + " and " + kIsInput;
}

std::string outputs_query()
{
    return joined(kOutputTable) + "x.SID=" + number(kOutputsSid);
}

std::string camera_query(int sid)
{
    return std::string("select * from ") + kNamesTable + " where SID=" + number(sid);
}

std::string general_query(const std::string& table)
{
    return "select * from " + table;
}

std::string detail_query(const std::string& table, int sid)
{
    return "select * from " + table + " where SID=" + number(sid);
}

std::string extension_query(const std::string& table, int type)
{
    return "select * from " + table + " where Type=" + number(type);
}

std::string alarm_query()
{
    return std::string("select * from ") + kAlarmTable + " where " + kIsWaiting +
           " order by DID limit 1";
}

std::string mark_alarm(int did)
{
    return std::string("update ") + kAlarmTable + " set AFld=1 where DID=" + number(did);
}
