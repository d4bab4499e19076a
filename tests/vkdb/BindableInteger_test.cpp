#include "vkdb/BindableInteger.h"

#include <gtest/gtest.h>

#include <string>

using vkdb::bindable_integer;

namespace
{

// The text with the integer that may be bound in braces; the text as it is when there is none.
std::string marked(std::string text)
{
    if (const auto integer = bindable_integer(text))
    {
        const size_t byte_count = integer->end - integer->begin;
        EXPECT_EQ(text.substr(integer->begin, byte_count), std::to_string(integer->value));
        text.insert(integer->end, "}").insert(integer->begin, "{");
    }
    return text;
}

void expect_unbound(const std::vector<std::string>& texts)
{
    for (const std::string& text : texts)
    {
        EXPECT_EQ(marked(text), text);
    }
}

} // namespace

TEST(BindableIntegerTest, IsTheNumberInEachQueryOfAPoller)
{
    EXPECT_EQ(marked("select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbUps x left join tbSM s on "
                     "s.SID=x.SID where x.SID=1001"),
              "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbUps x left join tbSM s on "
              "s.SID=x.SID where x.SID={1001}");
    EXPECT_EQ(marked("select * from tbSM where SID=7"), "select * from tbSM where SID={7}");
    EXPECT_EQ(marked("select * from tbExt where Type=23"), "select * from tbExt where Type={23}");
    EXPECT_EQ(marked("select x.* from tbSubSysDetail x left join tbSM s on s.SID=x.SID "
                     "where x.SID=9 and x.SID<>x.SIDD"),
              "select x.* from tbSubSysDetail x left join tbSM s on s.SID=x.SID "
              "where x.SID={9} and x.SID<>x.SIDD");
}

TEST(BindableIntegerTest, IsFoundHoweverItIsWritten)
{
    EXPECT_EQ(marked("SELECT a\nFROM\tt\r\nWHERE a == -25 \f"),
              "SELECT a\nFROM\tt\r\nWHERE a == {-25} \f");
    EXPECT_EQ(marked("select count(*) from 动环 where 编号=2147483647"),
              "select count(*) from 动环 where 编号={2147483647}");
    EXPECT_EQ(marked("select a from t where b>=3 and c != 0 and a=-2147483647"),
              "select a from t where b>=3 and c != 0 and a={-2147483647}");
    EXPECT_EQ(marked("select a from t where b=5 and c=6 and d=t.a"),
              "select a from t where b=5 and c={6} and d=t.a");
}

TEST(BindableIntegerTest, IsNoneWhereSqliteLooksAtTheNumber)
{
    expect_unbound({"select a from t where b=0", "select a from t where b=1",
                    "select a from t where b=-1", "select a from t where b=2147483648",
                    "select a from t where b=-2147483648", "select a from t where b=007",
                    "select a from t where b=99999999999999999999", "select a from t where b=0x10",
                    "select a from t where b=5.0", "select a from t where b=5e1",
                    "select a from t where b=.5", "select a from t where b=+5",
                    "select a from t where b=- 5", "select a from t where b=--5\n5"});
}

TEST(BindableIntegerTest, IsNoneBesideWhatMayChangeItsMeaning)
{
    expect_unbound({"select a from t where b=5 order by a",
                    "select a from t where b=5 limit 5",
                    "select a from t where b=5 group by a having a=7",
                    "select a from t where b=5 or c=7",
                    "select a from t where not b=5",
                    "select a from t where a between 2 and b=5",
                    "select a from t where b collate nocase=5",
                    "select a from t where b+1=5",
                    "select a from t where b<5",
                    "select a from t where b is 5",
                    "select a from t where 5=b",
                    "select a from t where b in (5)",
                    "select a from t where (b=5)",
                    "select a from t where a=7 and b<5",
                    "select a from t where a=7 and b=1",
                    "select a from t where a=7 and b='5'",
                    "select a from t where main.t.a=7",
                    "select a from t where b=5 union select a from u where b=7",
                    "select (select 1), a from t where b=5",
                    "select a from t where b=?1 and c=5"});
}

TEST(BindableIntegerTest, IsNoneInATextThatCannotBeSeenThrough)
{
    expect_unbound({"select 'a' from t where b=5", "select \"a\" from t where b=5",
                    "select [a] from t where b=5", "select `a` from t where b=5",
                    "select a from t /* where */ where b=5", "select a from t -- x\n where b=5",
                    "select a from t where b=5;", "select a from t where b=5; select 1",
                    "select a$b from t where b=5", "select @a from t where b=5",
                    "select a from t where b=5#", "select a from t where b=5x",
                    "select a from t where b=5\v", "select a/2 from t where b=5",
                    "select a from \xef\xbb\xbf t where b=5", "select 1.5 from t where b=5",
                    "select a-2 from t where b=5", std::string("select a from t where b=5\0", 26)});
}

TEST(BindableIntegerTest, IsNoneInWhatIsNoPlainSelect)
{
    expect_unbound({"", "5", "where b=5", "select", "select a from t", "select a from t where",
                    "select a from t where b",
                    "select a from t where b=", "select a from t where =5",
                    "select a from t where b.=5", "select a from t where b=5 and",
                    "select a from t where b=5 and c", "select a from t where b=5 7",
                    "explain select a from t where b=5", "update t set a=7 where b=5",
                    "delete from t where b=5", "pragma user_version=5",
                    "with u as (select a from t) select a from u where a=5",
                    "select count(*) filter (where a=5) from t where b=5"});
}
