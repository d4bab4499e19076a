#include "tests/vkdb/RandomSql.h"

namespace
{

using Choice = std::vector<std::string>;

const Choice kTables = {"tbSM", "tbUps", "tbAir", "tbDio", "表"};
const Choice kSources = {"tbSM", "tbUps", "tbAir",  "tbDio",
                         "表",   "vwUps", "tbNone", "sqlite_master"};
const Choice kColumns = {"SID", "Type", "State", "Name", "V"};
const Choice kTypes = {"",     " integer", " text",          " real",       " numeric",
                       " any", " blob",    " text not null", " int unique", " text collate nocase"};
const Choice kValues = {"'5'",        "'05'",       "'5.0'", "5.0", "null",
                        "x'35'",      "-5",         "'UPS'", "5.5", "'5 '",
                        "1e3",        "0",          "1",     "-1",  "9007199254740993",
                        "2147483647", "-2147483648"};
const Choice kNumbers = {"0",
                         "1",
                         "-1",
                         "2147483647",
                         "2147483648",
                         "-2147483648",
                         "05",
                         "5.",
                         "5.0",
                         "0x5",
                         "+5",
                         "'5'",
                         "?1",
                         "- 5",
                         "5e0",
                         "null",
                         "9007199254740993",
                         "99999999999999999999",
                         "5x",
                         "(5)"};
const Choice kTails = {"",           " order by V",  " order by 1 desc",
                       " limit 2",   " -- end",      ";",
                       "; select 1", " or SID=3",    " group by V",
                       " and",       "\n",           " ",
                       " and V<3",   " and State=5", " union select * from tbUps where SID=5"};
const Choice kHeads = {"select *",
                       "select count(*)",
                       "select SID, V+1",
                       "SELECT x.*",
                       "select distinct V",
                       "select max(V), Name",
                       "select SID as V",
                       "select 'a', *",
                       "select \"V\"",
                       "select abs(V)",
                       "select x.SID,x.V",
                       "select V/* */",
                       "explain query plan select *",
                       "select typeof(V)",
                       "select rowid, *",
                       "selec *"};
const Choice kConditions = {" where x.SID=#",
                            " where SID = #",
                            " where V==#",
                            " where x.V>2 and x.SID=#",
                            " where not V=#",
                            " where V between 2 and SID=#",
                            " where SID<>#",
                            " where V+0=#",
                            " where # = V",
                            " where V collate nocase=#",
                            " where SID=# and V=#",
                            " where SID=V and V=#",
                            " where x.State=#",
                            " where rowid=#",
                            " where V in (#, 3)",
                            " where SID=# and x.SID<>x.Type",
                            " where x.SID=x.Type and x.SID=#",
                            " where true=#"};

} // namespace

std::string CRandomSql::Number()
{
    if (Below(4) == 0)
    {
        return OneOf(kNumbers);
    }
    return (Below(8) == 0 ? "-" : "") + std::to_string(2 + Below(9));
}

std::string CRandomSql::Value()
{
    return Below(3) == 0 ? OneOf(kValues) : std::to_string(Below(11));
}

std::string CRandomSql::CreateTable(const std::string& name)
{
    const bool has_rowid = Below(4) != 0;
    std::string sql = "create table " + name + "(SID" +
                      (has_rowid ? OneOf(kTypes) : " integer primary key") + ",Type" +
                      OneOf(kTypes) + ",State" + OneOf(kTypes) + ",Name,V" + OneOf(kTypes);
    if (Below(4) == 0)
    {
        sql += ",G as (V+1)";
    }
    return sql + (!has_rowid && Below(2) == 0 ? ") without rowid" : ")");
}

std::string CRandomSql::CreateIndex()
{
    static const Choice kIndexed = {"(SID)",
                                    "(V)",
                                    "(V,SID)",
                                    "(V) where SID=5",
                                    "(V desc)",
                                    "(SID) where V=3",
                                    "(State) where V>2",
                                    "(V+0)"};
    return "create index i" + std::to_string(Below(6)) + " on " + OneOf(kTables) + OneOf(kIndexed);
}

std::string CRandomSql::Insert()
{
    return "insert or ignore into " + OneOf(kTables) + "(SID,Type,State,Name,V) values(" + Value() +
           "," + Value() + "," + Value() + "," + Value() + "," + Value() + ")";
}

std::vector<std::string> CRandomSql::Database()
{
    std::vector<std::string> all;
    for (const std::string& table : kTables)
    {
        all.push_back(CreateTable(table));
    }
    all.emplace_back("create view vwUps as select * from tbUps where V is not null");
    for (int i = 0; i < 60; ++i)
    {
        all.push_back(i % 20 == 0 ? CreateIndex() : Insert());
    }
    return all;
}

std::string CRandomSql::Change()
{
    const std::string table = OneOf(kTables);
    switch (Below(16))
    {
    case 0:
        return "drop table " + table;
    case 1:
        return CreateTable(table);
    case 2:
        return "alter table " + table + " add column A" + std::to_string(Below(100));
    case 3:
        return "alter table " + table + " rename column Name to " +
               (Below(2) == 0 ? "name" : "Note");
    case 4:
        return CreateIndex();
    case 5:
        return "drop index i" + std::to_string(Below(6));
    case 6:
        return "analyze";
    case 7:
        return "drop view vwUps; create view vwUps as select V, * from " + table;
    case 8:
        return "delete from " + table + " where SID=" + Value();
    case 9:
        return "update " + table + " set V=" + Value() + " where SID=" + Value();
    default:
        return Insert();
    }
}

std::string CRandomSql::Condition(const std::string& prefix)
{
    std::string text = prefix + OneOf(kConditions);
    for (size_t i = text.find('#'); i != std::string::npos; i = text.find('#'))
    {
        text.replace(i, 1, Number());
    }
    return text;
}

std::string CRandomSql::Plain()
{
    const std::string table = OneOf(kSources);
    const std::string number = Number();
    switch (Below(5))
    {
    case 0:
        return "select * from " + table + " where SID=" + number;
    case 1:
        return "select * from " + table + " where Type=" + number;
    case 2:
        return "select * from " + table;
    case 3:
        return "select s.Name,s.State,x.* from " + table +
               " x left join tbSM s on s.SID=x.SID where x.SID=" + number + " and x.SID<>x.Type";
    default:
        return "select s.Name,s.State,x.* from " + table +
               " x left join tbSM s on s.SID=x.SID where x.SID=" + number;
    }
}

std::string CRandomSql::Nasty()
{
    static const Choice kFrom = {" from @ x",
                                 " from @ x, tbSM s",
                                 " from @ x join tbSM using(SID)",
                                 " from @ x left join tbSM s on s.V=x.SID",
                                 " from (@) x",
                                 " from x.@"};
    std::string text = OneOf(kHeads) + OneOf(kFrom);
    text.replace(text.find('@'), 1, OneOf(kSources));
    return Condition(text) + (Below(2) == 0 ? OneOf(kTails) : "");
}

std::string CRandomSql::Query()
{
    return Below(2) == 0 ? Plain() : Nasty();
}
