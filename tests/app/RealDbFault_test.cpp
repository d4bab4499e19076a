// The poster on the real database library when a file is damaged, or a read of it fails.
#include <dlfcn.h>

#include "tests/support/PosterTest.h"
#include "tests/vkdb/DbFile.h"
#include "tests/vkdb/FaultVfs.h"

namespace
{

constexpr int kDevices = 300;

// Devices 1 to kDevices in two tables, filled up so that they take many pages.
std::string room()
{
    const std::string numbers = "with recursive n(i) as (select 1 union all select i+1 from n"
                                " where i<" +
                                std::to_string(kDevices) + ") ";
    return "create table tbSM (SID int, Kind int, Type int, Name text, Note text, Tag1 int,"
           "                   ASubSys int, State int, DataMode int);"
           "create table tbSubSysDetail (SID int, SIDD int);"
           "create table tbUps (SID int, Type int, Fill text);"
           "insert into tbSM(SID,Name) " +
           numbers + "select i,'Dev' || i from n; insert into tbUps " + numbers +
           "select i,5,hex(zeroblob(50)) from n;";
}

class RealDbFaultTest : public PosterTest
{
protected:
    void SetUp() override
    {
        m_lib = dlopen(VKDB_LIBRARY, RTLD_NOW | RTLD_NODELETE);
        ASSERT_NE(m_lib, nullptr) << dlerror();
        OpenAnew();
    }
    void TearDown() override
    {
        Function<void (*)()>("FreeDbManager")();
        dlclose(m_lib);
    }

    // A database object without a connection that has read something before.
    void OpenAnew()
    {
        Function<void (*)()>("FreeDbManager")();
        app.pDb = Function<DbManager* (*)()>("GetDbManager")()->OpenDb(file.Path().c_str(), 0);
        ASSERT_NE(app.pDb, nullptr);
    }

    // Destroys the last page but a few, which holds rows of tbUps. The result is how many rows
    // of that table SQLite reads before it.
    size_t DamageUps()
    {
        file.SpoilPage(file.Pages() - 3);
        CWriter plain(file.Path());
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(plain.Handle(), "select * from tbUps", -1, &statement, nullptr);
        size_t rows = 0;
        while (sqlite3_step(statement) == SQLITE_ROW)
        {
            ++rows;
        }
        EXPECT_EQ(sqlite3_finalize(statement), SQLITE_CORRUPT);
        EXPECT_GT(rows, 100U);
        EXPECT_LT(rows, static_cast<size_t>(kDevices));
        return rows;
    }

    CDbFile file{room()};

    template <typename Type> Type Function(const char* name)
    {
        return reinterpret_cast<Type>(dlsym(m_lib, name));
    }

private:
    void* m_lib = nullptr;
};

} // namespace

TEST_F(RealDbFaultTest, DevicesBeforeADamagedPageAreKnown)
{
    const size_t rows = DamageUps();
    app.GetTbls();
    EXPECT_THAT(app.m_mapSidTbl, SizeIs(rows));
    EXPECT_THAT(app.m_mapSidTry, SizeIs(rows));
    EXPECT_THAT(app.m_mapSidTbl, Contains(Pair(static_cast<int>(rows), "tbUps")));
    EXPECT_THAT(rec.Logs(),
                Contains("[CAppPost::GetTbls] read sid exception: 11 database disk image is "
                         "malformed\r\n")
                    .Times(10)); // every try meets it
}

TEST_F(RealDbFaultTest, RowsOfAGeneralTableBeforeADamagedPageArePosted)
{
    const size_t rows = DamageUps();
    app.m_vGenTbls = {"tbUps"};
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), SizeIs(rows));
}

TEST_F(RealDbFaultTest, OneReadErrorAnywhereInDiscoveryCostsNoNameAndNoTry)
{
    CFaultVfs faults;
    int read = 0;
    do
    {
        OpenAnew();
        app.m_mapSidTbl.clear();
        faults.FailRead(++read);
        app.GetTbls();
        ASSERT_THAT(app.m_mapSmName, SizeIs(kDevices)) << "read " << read;
        ASSERT_THAT(app.m_mapSidTbl, SizeIs(kDevices)) << "read " << read;
        ASSERT_THAT(rec.Pauses(), IsEmpty()) << "read " << read;
    } while (faults.IsDone());
    EXPECT_GT(read, 10);
    Function<void (*)()>("FreeDbManager")(); // its files go through the faults
}
