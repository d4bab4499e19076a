// A host's database as a preview reads it: its cells can be asked for, the library's rules stay,
// and a database that cannot be read says why.
#include "tests/vkctl/preview/PreviewTest.h"

#include "vkctl/base/CliError.h"
#include "vkctl/preview/PreviewDatabase.h"
#include "vkctl/preview/PreviewRecorder.h"

using ::testing::HasSubstr;
using vkctl::CPreviewDatabase;
using vkctl::CPreviewRecorder;

namespace
{

class PreviewDatabase : public ::testing::Test
{
protected:
    PreviewDatabase() { host.SimpleRoom(); }

    std::string Path() const { return host.File("tmp/dbDat0.db3"); }

    // A cell as "tbDev.SID=7/7", its text and its number; "none" without one.
    template <typename Column>
    static std::string Cell(CPreviewDatabase& db, int query, const Column& column)
    {
        const std::optional<vkctl::PreviewCell> cell = db.Cell(query, column);
        return cell ? cell->table + "." + cell->column + "=" + cell->value + "/" +
                          std::to_string(cell->number)
                    : "none";
    }

    static std::string Refused(const std::string& path)
    {
        try
        {
            const CPreviewDatabase db(path, 0);
        }
        catch (const vkctl::CCliError& e)
        {
            return std::to_string(e.ExitStatus()) + " " + e.what();
        }
        return "no error";
    }

    CHostDir host;
};

} // namespace

TEST_F(PreviewDatabase, CellsAreFoundByNumberAndByName)
{
    CPreviewDatabase db(Path());
    const int query = db.QryExec("select * from tbDev where SID=7", -1);
    EXPECT_EQ(Cell(db, query, "SID"), "tbDev.SID=7/7");
    EXPECT_EQ(Cell(db, query, 6), "tbDev.DateUpd=2024-05-01 12:00:00/2024");
    EXPECT_EQ(Cell(db, query, "v"), "tbDev.V=1/1");
}

TEST_F(PreviewDatabase, JoinedColumnsAreThoseOfTbSM)
{
    CPreviewDatabase db(Path());
    const int query = db.QryExec("select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbDev x"
                                 " left join tbSM s on s.SID=x.SID where x.SID=7",
                                 -1);
    EXPECT_EQ(Cell(db, query, "Name"), "tbSM.Name=Dev7/0");
    EXPECT_EQ(Cell(db, query, "ASubSys"), "tbSM.ASubSys=2/2");
    EXPECT_EQ(Cell(db, query, "SID"), "tbDev.SID=7/7");
}

TEST_F(PreviewDatabase, ColumnThatIsNotThereHasNoCell)
{
    CPreviewDatabase db(Path());
    const int query = db.QryExec("select * from tbDev", -1);
    EXPECT_EQ(Cell(db, query, "Nothing"), "none");
    EXPECT_EQ(Cell(db, query, 99), "none");
    EXPECT_EQ(Cell(db, query, -1), "none");
}

TEST_F(PreviewDatabase, FailureIsToldUntilALaterTrySucceeds)
{
    CPreviewRecorder& recorder = CPreviewRecorder::Get();
    recorder.Begin({}, {});
    CPreviewDatabase db(Path());
    const int query = db.QryExec("select * from tbDev", -1);
    EXPECT_THROW(db.QryGetInt(query, "Nothing"), CppSQLite3Exception);
    db.QryFree(query);
    ASSERT_EQ(recorder.Failures().size(), 1U);
    EXPECT_EQ(recorder.Failures()[0].table, "tbDev");
    EXPECT_EQ(recorder.Failures()[0].message, "no such column: Nothing");
    db.QryFree(db.QryExec("select * from tbDev", -1));
    EXPECT_TRUE(recorder.Failures().empty());
    recorder.End();
}

TEST_F(PreviewDatabase, NothingIsWritten)
{
    CPreviewDatabase db(Path());
    EXPECT_THROW(db.Exec("update tbDev set V=2"), CppSQLite3Exception);
}

TEST_F(PreviewDatabase, MissingFileIsNamed)
{
    EXPECT_EQ(Refused(host.File("tmp/none.db3")),
              "74 " + host.File("tmp/none.db3") +
                  ": No such file or directory; start the process that makes it, or name the "
                  "host's directory");
}

TEST_F(PreviewDatabase, FileThatIsNoDatabaseIsNamed)
{
    write_file(host.File("tmp/text.db3"), std::string(5000, 'x'));
    EXPECT_EQ(Refused(host.File("tmp/text.db3")),
              "74 " + host.File("tmp/text.db3") +
                  ": file is not a database; put a sound copy in its place");
}

TEST_F(PreviewDatabase, LockedFileIsNamed)
{
    const CDbLock lock(Path());
    EXPECT_EQ(Refused(Path()),
              "74 " + Path() + ": locked by another process for too long; try again");
}
