// A file that is written over in place, without SQLite and its locks, as cp and scp do: what was
// met meanwhile must not stay.
#include "tests/vkdb/DatabaseTest.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace
{

constexpr char kNames[] = "select Name from tbSM order by SID";
constexpr int kRounds = 28;

class FileInPlaceTest : public DatabaseTest
{
protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        file.Sql("insert into tbSM select SID+100,Name,hex(zeroblob(3000)) from tbSM;"
                 "create table tbUps(SID); insert into tbUps values(7)");
    }

    // As a routine of a sweep that takes what comes.
    void ReadUnit()
    {
        Db().Open(nullptr, -2);
        thrown_by([&] { read_rows(Db(), "select * from tbUps"); });
        thrown_by([&] { read_rows(Db(), "select * from tbSM"); });
        Db().Close();
    }

    // The names that a unit of work reads from the sound file.
    Rows SoundUnit()
    {
        EXPECT_TRUE(Db().Open(nullptr, -2));
        Rows rows = read_rows(Db(), kNames);
        Db().Close();
        return rows;
    }

    // Writes the bytes over the file until that has a new time of change, by the kernel's clock.
    void WriteOver(const std::string& strBytes) const
    {
        const auto before = Changed();
        const auto written = std::filesystem::last_write_time(file.Path());
        do
        {
            file.Bytes(strBytes);
            std::filesystem::last_write_time(file.Path(), written); // as "cp -p"
        } while (Changed() == before);
    }

private:
    std::pair<time_t, long> Changed() const
    {
        struct stat st = {};
        ::stat(file.Path().c_str(), &st);
        return {st.st_ctim.tv_sec, st.st_ctim.tv_nsec};
    }
};

const Rows kWhole = {"动环", "UPS", "动环", "UPS"};

TEST_F(FileInPlaceTest, WorksAgainHoweverLittleOfItWasThereMeanwhile)
{
    const std::string strBytes = file.Bytes();
    ASSERT_EQ(SoundUnit(), kWhole);
    for (int i = 0; i < kRounds; ++i)
    {
        const auto nThere = strBytes.size() * static_cast<std::size_t>(i) / kRounds;
        file.Bytes(strBytes.substr(0, nThere));
        ReadUnit();
        ReadUnit();
        file.Bytes(strBytes);
        EXPECT_EQ(SoundUnit(), kWhole) << nThere << " bytes";
    }
}

TEST_F(FileInPlaceTest, WorksAgainInTheSameUnit)
{
    const std::string strBytes = file.Bytes();
    ASSERT_EQ(SoundUnit(), kWhole);
    for (int i = 0; i < kRounds; ++i)
    {
        ASSERT_TRUE(Db().Open(nullptr, -2));
        file.Bytes(strBytes.substr(0, strBytes.size() * static_cast<std::size_t>(i) / kRounds));
        thrown_by([&] { read_rows(Db(), "select * from tbUps"); });
        thrown_by([&] { read_rows(Db(), kNames); });
        file.Bytes(strBytes);
        EXPECT_EQ(read_rows(Db(), kNames), kWhole) << "round " << i;
        Db().Close();
    }
}

// Alarms are marked through Exec, which must not stick to what it met.
TEST_F(FileInPlaceTest, ExecWorksAgain)
{
    const std::string strBytes = file.Bytes();
    ASSERT_TRUE(Db().Open(nullptr, 0));
    file.Bytes(std::string(strBytes.size(), 'x'));
    EXPECT_EQ(thrown_by([&] { Db().Exec("update tbSM set Note='x'"); }),
              "26 file is not a database");
    file.Bytes(strBytes);
    EXPECT_EQ(Db().Exec("update tbSM set Note='x'"), 4);
}

// The new file's change counter is that of the old one, so SQLite takes what it remembers for good.
TEST_F(FileInPlaceTest, ShowsAnotherFileWithTheSameChangeCounter)
{
    const std::string strOld = file.Bytes();
    std::string strNew = strOld;
    for (auto at = strNew.find("UPS"); at != std::string::npos; at = strNew.find("UPS", at))
    {
        strNew.replace(at, 3, "new");
    }
    ASSERT_EQ(SoundUnit(), kWhole);
    WriteOver(strNew);
    EXPECT_EQ(SoundUnit(), (Rows{"动环", "new", "动环", "new"}));
    WriteOver(strOld);
    EXPECT_EQ(SoundUnit(), kWhole);
}

// A writer's transactions move the change counter: the connection stays, with what it remembers.
TEST_F(FileInPlaceTest, KeepsItsConnectionBesideAWriterThatUsesSqlite)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    Db().Exec("create temp table tbMark(a)"); // goes with the connection
    for (int i = 0; i < 5; ++i)
    {
        file.Sql("update tbSM set Note='other'");
        EXPECT_TRUE(Db().Open(nullptr, 0));
        EXPECT_EQ(Db().Exec("update tbSM set Note='own'"), 4);
        EXPECT_TRUE(Db().Open(nullptr, 0));
        EXPECT_TRUE(Db().Open(nullptr, 0));
    }
    EXPECT_EQ(read_rows(Db(), "select count(*) from tbMark"), Rows{"0"});
}

TEST_F(FileInPlaceTest, ADamageThatStaysIsToldEachTime)
{
    ASSERT_EQ(SoundUnit(), kWhole);
    file.Bytes(std::string(5000, 'x'));
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(Db().Open(nullptr, -2));
        EXPECT_EQ(thrown_by([&] { Query(kNames); }), "26 file is not a database");
    }
}

// Its parts would be seen one by one otherwise.
TEST_F(FileInPlaceTest, DoesNotTearATransaction)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    Db().Exec("begin");
    Db().Exec("update tbSM set Note='half'");
    file.SpoilLastPages(1);
    EXPECT_EQ(thrown_by([&] { read_rows(Db(), "select * from tbUps"); }),
              "11 database disk image is malformed");
    ASSERT_EQ(read_rows(Db(), "select count(*) from tbSM where Note='half'"), Rows{"4"});
    EXPECT_EQ(thrown_by([&] { Db().Exec("rollback"); }), "no exception"); // there is one
}

} // namespace
