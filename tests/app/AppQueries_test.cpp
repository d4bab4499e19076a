// The texts of the queries, which the database library and its users know.
#include "app/AppQueries.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "app/AppRules.h"

namespace
{

TEST(AppQueries, Discovery)
{
    EXPECT_EQ(tables_query(),
              "select * from sqlite_master where type='table' and not name like 'tbSM%'");
    EXPECT_EQ(names_query(), "select SID,Name from tbSM");
    EXPECT_EQ(sids_query("tbUps"), "select SID from tbUps");
    EXPECT_EQ(inputs_query(), "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbSubSysDetail x"
                              " left join tbSM s on s.SID=x.SID where x.SID<>x.SIDD");
    EXPECT_EQ(cameras_query(), "select * from tbSM where Kind=3072 and State=0 and DataMode=1");
}

TEST(AppQueries, Things)
{
    EXPECT_EQ(device_query("tbUps", -7), "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbUps x"
                                         " left join tbSM s on s.SID=x.SID where x.SID=-7");
    EXPECT_EQ(input_query(9), "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbSubSysDetail x"
                              " left join tbSM s on s.SID=x.SID where x.SID=9 and x.SID<>x.SIDD");
    EXPECT_EQ(outputs_query(), "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbDio x"
                               " left join tbSM s on s.SID=x.SID where x.SID=1");
    EXPECT_EQ(camera_query(9), "select * from tbSM where SID=9");
    EXPECT_EQ(general_query("tbG"), "select * from tbG");
    EXPECT_EQ(detail_query("tbD", 9), "select * from tbD where SID=9");
    EXPECT_EQ(extension_query("tbE", 257), "select * from tbE where Type=257");
}

TEST(AppQueries, Alarms)
{
    EXPECT_EQ(alarm_query(),
              "select * from tbSMAlarm where AFld is null or AFld<1 order by DID limit 1");
    EXPECT_EQ(mark_alarm(12), "update tbSMAlarm set AFld=1 where DID=12");
}

TEST(AppQueries, AsManyColumnsAreJoinedAsTheRulesSay)
{
    const std::string query = device_query("t", 1);
    const std::string columns = query.substr(0, query.find("x.*"));
    EXPECT_EQ(std::count(columns.begin(), columns.end(), ','), kJoinedColumns);
}

} // namespace
