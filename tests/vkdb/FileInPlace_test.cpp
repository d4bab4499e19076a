// A file that is written over in place, without SQLite and its locks, as cp and scp do: what was
// met meanwhile must not stay.
#include "tests/vkdb/DatabaseTest.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace
{

constexpr char kNames[] = "select Name from tbSM order by SID";
constexpr int kRounds = 28;
constexpr size_t kChangesAt = 24; // in the file's head
constexpr size_t kSchemaCookieAt = 40;

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
    void WriteOver(const std::string& bytes) const
    {
        const auto before = Changed();
        const auto written = std::filesystem::last_write_time(file.Path());
        do
        {
            file.Bytes(bytes);
            std::filesystem::last_write_time(file.Path(), written); // as "cp -p"
        } while (Changed() == before);
    }

    // A file with another catalogue and another change counter, but the same schema cookie.
    std::string OtherFile() const
    {
        const std::string old_bytes = file.Bytes();
        CDbFile other;
        other.Sql("create table tbOther(A);"
                  "create table tbSM(Other,Name,SID); insert into tbSM values('x','new',1)");
        while (Counter(other.Bytes(), kSchemaCookieAt) < Counter(old_bytes, kSchemaCookieAt))
        {
            other.Sql("create table tbTmp(a); drop table tbTmp");
        }
        EXPECT_EQ(Counter(other.Bytes(), kSchemaCookieAt), Counter(old_bytes, kSchemaCookieAt));
        EXPECT_NE(Counter(other.Bytes(), kChangesAt), Counter(old_bytes, kChangesAt));
        return other.Bytes();
    }

    // A counter in a file's head.
    static int Counter(const std::string& bytes, size_t at)
    {
        return static_cast<unsigned char>(bytes[at + 3]);
    }

    // The same file but for a name: another state with the same change counter.
    static std::string Renamed(std::string bytes)
    {
        for (auto at = bytes.find("UPS"); at != std::string::npos; at = bytes.find("UPS", at))
        {
            bytes.replace(at, 3, "new");
        }
        return bytes;
    }

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
    const std::string bytes = file.Bytes();
    ASSERT_EQ(SoundUnit(), kWhole);
    for (int i = 0; i < kRounds; ++i)
    {
        const auto there = bytes.size() * static_cast<size_t>(i) / kRounds;
        file.Bytes(bytes.substr(0, there));
        ReadUnit();
        ReadUnit();
        file.Bytes(bytes);
        EXPECT_EQ(SoundUnit(), kWhole) << there << " bytes";
    }
}

TEST_F(FileInPlaceTest, WorksAgainInTheSameUnit)
{
    const std::string bytes = file.Bytes();
    ASSERT_EQ(SoundUnit(), kWhole);
    for (int i = 0; i < kRounds; ++i)
    {
        ASSERT_TRUE(Db().Open(nullptr, -2));
        file.Bytes(bytes.substr(0, bytes.size() * static_cast<size_t>(i) / kRounds));
        thrown_by([&] { read_rows(Db(), "select * from tbUps"); });
        thrown_by([&] { read_rows(Db(), kNames); });
        file.Bytes(bytes);
        EXPECT_EQ(read_rows(Db(), kNames), kWhole) << "round " << i;
        Db().Close();
    }
}

// Alarms are marked through Exec, which must not stick to what it met.
TEST_F(FileInPlaceTest, ExecWorksAgain)
{
    const std::string bytes = file.Bytes();
    ASSERT_TRUE(Db().Open(nullptr, 0));
    file.Bytes(std::string(bytes.size(), 'x'));
    EXPECT_EQ(thrown_by([&] { Db().Exec("update tbSM set Note='x'"); }),
              "26 file is not a database");
    file.Bytes(bytes);
    EXPECT_EQ(Db().Exec("update tbSM set Note='x'"), 4);
}

// The new file's change counter is that of the old one, so SQLite takes what it remembers for good.
TEST_F(FileInPlaceTest, ShowsAnotherFileWithTheSameChangeCounter)
{
    const std::string old_bytes = file.Bytes();
    ASSERT_EQ(SoundUnit(), kWhole);
    WriteOver(Renamed(old_bytes));
    EXPECT_EQ(SoundUnit(), (Rows{"动环", "new", "动环", "new"}));
    WriteOver(old_bytes);
    EXPECT_EQ(SoundUnit(), kWhole);
}

// The new file's change counter is another one, its schema cookie is not: SQLite reads the rows
// anew and finds them by the old file's catalogue.
TEST_F(FileInPlaceTest, ShowsAnotherFileWithTheSameSchemaCookie)
{
    ASSERT_EQ(SoundUnit(), kWhole);
    WriteOver(OtherFile());
    EXPECT_EQ(SoundUnit(), Rows{"new"});
}

TEST_F(FileInPlaceTest, ShowsAnotherFileBehindAConnectionMadeWithinAUnit)
{
    const std::string old_bytes = file.Bytes();
    ASSERT_TRUE(Db().Open(nullptr, -2));
    WriteOver(std::string(old_bytes.size(), 'x'));
    ASSERT_EQ(thrown_by([&] { Query(kNames); }), "26 file is not a database");
    WriteOver(old_bytes);
    ASSERT_EQ(read_rows(Db(), kNames), kWhole);
    Db().Close();
    WriteOver(OtherFile());
    EXPECT_EQ(SoundUnit(), Rows{"new"});
}

// SQLite notices the new head at a query; what is written behind it has the same counter.
TEST_F(FileInPlaceTest, ShowsTheRestOfAFileThatIsWrittenInPieces)
{
    constexpr size_t kHead = 4096;
    const std::string old_bytes = file.Bytes();
    file.Sql("update tbSM set Name='new' where Name='UPS'");
    const std::string new_bytes = file.Bytes();
    WriteOver(old_bytes);
    ASSERT_TRUE(Db().Open(nullptr, -2));
    WriteOver(new_bytes.substr(0, kHead) + old_bytes.substr(kHead));
    read_rows(Db(), kNames);
    Db().Close();
    WriteOver(new_bytes);
    EXPECT_EQ(SoundUnit(), (Rows{"动环", "new", "动环", "new"}));
}

// All that is done to a file within one tick of the kernel's clock may have one time.
TEST(FileStampTest, IsSettledWhenTheTickOfTheChangeIsOver)
{
    constexpr long kMs = 1'000'000;
    EXPECT_TRUE((vkdb::CFileStamp{0, {9, 999 * kMs}}.IsSettled({10, 3 * kMs})));
    EXPECT_FALSE((vkdb::CFileStamp{0, {10, 3 * kMs}}.IsSettled({10, 3 * kMs})));
    EXPECT_FALSE((vkdb::CFileStamp{0, {10, 2 * kMs}}.IsSettled({9, 999 * kMs})));
    EXPECT_TRUE((vkdb::CFileStamp{0, {3610, 0}}.IsSettled({10, 0}))) << "the clock was set back";
}

// The two states have one change counter: the own change's, and that of the file put back.
TEST_F(FileInPlaceTest, ItsOwnChangeDoesNotHideAFileWrittenOverBehindIt)
{
    const std::string before = file.Bytes();
    file.Sql("update tbSM set Note='host'");
    const std::string after = file.Bytes();
    WriteOver(before);
    ASSERT_TRUE(Db().Open(nullptr, 0));
    ASSERT_EQ(Db().Exec("update tbSM set Note='own'"), 4);
    Db().Close();
    WriteOver(after);
    ASSERT_TRUE(Db().Open(nullptr, 0));
    EXPECT_EQ(read_rows(Db(), "select count(*) from tbSM where Note='host'"), Rows{"4"});
}

TEST_F(FileInPlaceTest, ItsOwnChangeDoesNotHideAFileWrittenOverBeforeIt)
{
    const std::string old_bytes = file.Bytes();
    file.WaitForTick();
    ASSERT_TRUE(Db().Open(nullptr, 0));
    ASSERT_EQ(read_rows(Db(), kNames), kWhole);
    WriteOver(Renamed(old_bytes));
    ASSERT_EQ(Db().Exec("update tbUps set SID=8"), 1);
    Db().Close();
    ASSERT_TRUE(Db().Open(nullptr, 0));
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"动环", "new", "动环", "new"}));
}

// A writer's transactions move the change counter: the connection stays, with what it remembers.
TEST_F(FileInPlaceTest, KeepsItsConnectionBesideAWriterThatUsesSqlite)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    Db().Exec("create temp table tbMark(a)"); // goes with the connection
    for (int i = 0; i < 5; ++i)
    {
        file.Sql("update tbSM set Note='other'");
        file.WaitForTick();
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
