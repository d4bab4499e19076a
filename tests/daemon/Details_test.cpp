// Detail and extension rows: what a device's body carries behind its own columns.
#include "tests/daemon/support/DaemonTest.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

namespace
{

class Details : public DaemonTest
{
protected:
    // A simple room whose device has a detail table of that mode, made by the statements.
    void Detail(int mode, const std::string& sql)
    {
        host.SimpleRoom();
        host.Ini("POST.Master", "tbDev", "tbCell");
        host.Ini("POST.Detail", "tbCell", std::to_string(mode));
        host.Data(sql);
    }

    // A simple room whose device's type has an extension table, by the key's value and the number
    // of fields.
    void Extension(int first, int fields)
    {
        host.SimpleRoom();
        host.Ini("POST.Ext.5", "tbExt", std::to_string(first));
        host.Ini("POST.Ext.5", "tbExt.flds", std::to_string(fields));
        host.Ini("POST.Detail", "tbExt", "1"); // not a device table
        host.Data("create table tbExt(Type,A,B,C,D); insert into tbExt values(5,1,2,3,4)");
    }

    // Expects the device's body with that behind it, and the host's body next.
    void ExpectAppended(const std::string& text)
    {
        Start();
        EXPECT_THAT(receiver.WaitBodies(2),
                    ElementsAre(kDevice7Body + text, MatchesRegex(kHostStatusPattern)));
    }
};

} // namespace

// --- Detail rows -------------------------------------------------------------------------------

TEST_F(Details, Mode100TellsFourFiguresOfACell)
{
    // Each under the cell's address; other devices' rows are not taken.
    Detail(100, "create table tbCell(SID,Addr,State,Vol,Reg,Tem);"
                "insert into tbCell values(7,1,0,2201,51,250),(7,2,1,2190,-5,251),(8,1,9,9,9,9)");
    ExpectAppended("&State1=0&Vol1=2201&Reg1=51&Tem1=250&State2=1&Vol2=2190&Reg2=-5&Tem2=251");
}

TEST_F(Details, Mode101ReadsVAndTAndPrintsVolAndTem)
{
    // The names on the wire are those of the other modes.
    Detail(101,
           "create table tbCell(SID,Fld,State,V,T); insert into tbCell values(7,3,0,2201,250)");
    ExpectAppended("&State3=0&Vol3=2201&Tem3=250");
}

TEST_F(Details, Mode102TellsTheModeOfACell)
{
    // No state here.
    Detail(102,
           "create table tbCell(SID,Fld,Vol,Tem,bSt); insert into tbCell values(7,3,2201,250,1)");
    ExpectAppended("&Vol3=2201&Tem3=250&bSt3=1");
}

TEST_F(Details, Mode103TellsTemperatures)
{
    // One figure each.
    Detail(103, "create table tbCell(SID,Fld,dat0); insert into tbCell values(7,1,215),(7,2,-3)");
    ExpectAppended("&Tem1=215&Tem2=-3");
}

TEST_F(Details, Mode200PutsTheUnitBehindTheValue)
{
    // Rows without a unit are left out.
    Detail(200, "create table tbCell(SID,Fld,Val,ValStr);"
                "insert into tbCell values(7,1,'2.5','kW'),(7,2,'3',''),(7,3,'4',null)");
    ExpectAppended("&Fld1=2.5kW");
}

TEST_F(Details, Mode201LeavesEmptyValuesOut)
{
    // The others stand in their order.
    Detail(201, "create table tbCell(SID,Fld,Val);"
                "insert into tbCell values(7,1,'a'),(7,2,''),(7,3,'c')");
    ExpectAppended("&Fld1=a&Fld3=c");
}

TEST_F(Details, Mode202NamesEachRowItself)
{
    // As the table says.
    Detail(202, "create table tbCell(SID,Fld,Val);"
                "insert into tbCell values(7,'Fan','on'),(7,'Pump','')");
    ExpectAppended("&Fan=on");
}

TEST_F(Details, ModeThatNobodyDefinedAddsNothing)
{
    // The rows are read.
    Detail(999, "create table tbCell(SID,Fld); insert into tbCell values(7,1)");
    ExpectAppended("");
}

TEST_F(Details, RequestedDeviceCarriesThemToo)
{
    // The same body on demand.
    Detail(103, "create table tbCell(SID,Fld,dat0); insert into tbCell values(7,1,215)");
    ExpectAppended("&Tem1=215");
    send_request(7);
    EXPECT_EQ(receiver.Body(2), std::string(kDevice7Body) + "&Tem1=215");
}

TEST_F(Details, TableThatIsLostIsTriedFiveTimes)
{
    // 3 s apart; then the body leaves without it.
    Detail(103, "select 1");
    ExpectAppended("");
    EXPECT_EQ(count_logged("   PostDetail...tbCell  exception, TryCnt="), 5U);
    EXPECT_TRUE(has_logged("   PostDetail...tbCell  exception, TryCnt=5\n"));
}

// --- Extension rows ------------------------------------------------------------------------------

TEST_F(Details, ExtensionPostsColumnsFromTheFirstOn)
{
    // Counted from 1: three fields from column 2 on.
    Extension(2, 3);
    ExpectAppended("&A=1&B=2&C=3");
}

TEST_F(Details, ExtensionEndsWithItsTable)
{
    // However many fields are configured.
    Extension(2, 2'000'000'000);
    ExpectAppended("&A=1&B=2&C=3&D=4");
}

TEST_F(Details, ExtensionListsItsColumns)
{
    // No first column: a section of its own names them, in the order of its keys.
    Extension(0, 5);
    host.Ini("5.tbExt", "x", "4");
    host.Ini("5.tbExt", "y", "2");
    ExpectAppended("&C=3&A=1");
}

TEST_F(Details, ExtensionOfATypeWithoutARowAddsNothing)
{
    // The table has other types only.
    Extension(2, 3);
    host.Data("update tbExt set Type=6");
    ExpectAppended("");
}

TEST_F(Details, ExtensionsComeBeforeDetails)
{
    // Whatever the names of their tables.
    Extension(2, 1);
    host.Ini("POST.Master", "tbDev", "tbCell");
    host.Ini("POST.Detail", "tbCell", "103");
    host.Data("create table tbCell(SID,Fld,dat0); insert into tbCell values(7,1,215)");
    ExpectAppended("&A=1&Tem1=215");
}

TEST_F(Details, RequestedDeviceCarriesExtensions)
{
    // The same body on demand.
    Extension(2, 1);
    ExpectAppended("&A=1");
    send_request(7);
    EXPECT_EQ(receiver.Body(2), std::string(kDevice7Body) + "&A=1");
}

// --- Hostile input -----------------------------------------------------------------------------

TEST_F(Details, FiftyThousandRowsAreCutAtTheEndOfTheBuffer)
{
    // The body ends with a whole row, and the next device follows.
    Detail(103, "create table tbCell(SID,Fld,dat0); with recursive n(i) as (select 1 union all"
                " select i+1 from n where i<50000) insert into tbCell select 7,i,i from n");
    host.Device(8, "Next", "tbDev", "2");
    Start();
    const std::string body = receiver.Body(0);
    EXPECT_THAT(body, StartsWith(std::string(kDevice7Body) + "&Tem1=1&Tem2=2&"));
    EXPECT_THAT(body, MatchesRegex(".*&Tem[0-9]+=[0-9]+"));
    EXPECT_LE(body.size(), 102399U);
    EXPECT_GT(body.size(), 102399U - 20U);
    EXPECT_THAT(receiver.Body(1), HasSubstr("sname=Next&"));
    EXPECT_TRUE(has_logged("   sid=7: body of 102400 bytes is full, left out "));
}

TEST_F(Details, HugeTextsOfARowAreLeftOutAlone)
{
    // The rows around it are posted.
    Detail(202, "create table tbCell(SID,Fld,Val); insert into tbCell values(7,'A','1'),(7,'B'," +
                    sql_text(std::string(200'000, 'v')) + "),(7," +
                    sql_text(std::string(200'000, 'f')) + ",'1'),(7,'C','3')");
    ExpectAppended("&A=1&C=3");
    EXPECT_TRUE(has_logged("   sid=7: body of 102400 bytes is full, left out 2: B, "));
}

TEST_F(Details, NullRowsReadAsZero)
{
    // Not as the row before.
    Detail(100, "create table tbCell(SID,Addr,State,Vol,Reg,Tem);"
                "insert into tbCell values(7,1,2,3,4,5); insert into tbCell(SID) values(7)");
    ExpectAppended("&State1=2&Vol1=3&Reg1=4&Tem1=5&State0=0&Vol0=0&Reg0=0&Tem0=0");
}

TEST_F(Details, ExtensionIndexesOutOfRangeAreLogged)
{
    // Each for itself; those within are posted.
    Extension(0, 5);
    host.Ini("5.tbExt", "a", "0");
    host.Ini("5.tbExt", "b", "-2147483648");
    host.Ini("5.tbExt", "c", "2147483647");
    host.Ini("5.tbExt", "d", "2");
    host.Ini("5.tbExt", "e", "none");
    ExpectAppended("&A=1");
    EXPECT_EQ(count_logged("Err,AppPost PostExt line=1952,iindextmp=-1\n"), 2U);
    EXPECT_EQ(count_logged("Err,AppPost PostExt line=1952,iindextmp=2147483646\n"), 1U);
}

TEST_F(Details, ExtensionBeyondEveryColumnAddsNothing)
{
    // The first column lies behind the last one.
    Extension(2147483647, 2147483647);
    ExpectAppended("");
}

TEST_F(Details, NegativeFieldCountOfAnExtensionAddsNothing)
{
    // As none at all.
    Extension(2, -3);
    ExpectAppended("");
}

TEST_F(Details, LostExtensionTableIsLogged)
{
    // The body leaves without it.
    Extension(2, 3);
    host.Data("drop table tbExt");
    ExpectAppended("");
    EXPECT_EQ(count_logged("   PostExt...tbExt  exception, Type=5\n"), 1U);
}

TEST_F(Details, ExtensionTablesNameMayBreakItsQuery)
{
    // Quotes and blanks go into it as they are.
    host.SimpleRoom();
    host.Ini("POST.Ext.5", "tb 'odd", "1");
    ExpectAppended("");
    EXPECT_EQ(count_logged("   PostExt...tb 'odd  exception, Type=5\n"), 1U);
}
