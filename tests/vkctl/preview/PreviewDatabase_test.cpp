// A host's database as a preview reads it: every cell is told, the library's rules stay, and a
// database that cannot be read says why.
#include "tests/vkctl/preview/PreviewTest.h"

#include "vkctl/base/CliError.h"
#include "vkctl/preview/PreviewDatabase.h"
#include "vkctl/preview/PreviewRecorder.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using vkctl::CPreviewDatabase;
using vkctl::CPreviewRecorder;

namespace
{

class PreviewDatabase : public ::testing::Test
{
protected:
    PreviewDatabase()
    {
        host.SimpleRoom();
        CPreviewRecorder::Get().Begin([&](const vkctl::PreviewBody& body)
                                      { bodies.push_back(body); },
                                      [](const std::string&) {});
    }
    ~PreviewDatabase() override { CPreviewRecorder::Get().End(); }

    std::string Path() const { return host.File("tmp/dbDat0.db3"); }

    // The cells that were read since the recording began: those of a body that is posted now.
    Texts Cells()
    {
        CPreviewRecorder::Get().Part(BodyPart::kHead, "head");
        CPreviewRecorder::Get().Post("head", {});
        Texts cells;
        for (const vkctl::PreviewCell& cell : bodies.back().parts.at(0).cells)
        {
            cells.push_back(cell.table + "." + cell.column + "=" + cell.value + "/" +
                            std::to_string(cell.number));
        }
        return cells;
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
    std::vector<vkctl::PreviewBody> bodies;
};

} // namespace

TEST_F(PreviewDatabase, CellsAreToldAsTheyAreRead)
{
    CPreviewDatabase db(Path());
    const int query = db.QryExec("select * from tbDev where SID=7", -1);
    CPreviewRecorder::Get().SetStep(BodyKind::kDevice);
    EXPECT_EQ(db.QryGetInt(query, "SID"), 7);
    EXPECT_STREQ(db.QryGetStrAt(query, 6), "2024-05-01 12:00:00");
    EXPECT_STREQ(db.QryGetStr(query, "v"), "1");
    EXPECT_EQ(db.QryGetIntAt(query, 1), 5);
    EXPECT_THAT(Cells(), ElementsAre("tbDev.SID=7/7", "tbDev.DateUpd=2024-05-01 12:00:00/2024",
                                     "tbDev.V=1/1", "tbDev.Type=5/5"));
}

TEST_F(PreviewDatabase, JoinedColumnsAreThoseOfTbSM)
{
    CPreviewDatabase db(Path());
    const int query = db.QryExec("select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbDev x"
                                 " left join tbSM s on s.SID=x.SID where x.SID=7",
                                 -1);
    CPreviewRecorder::Get().SetStep(BodyKind::kDevice);
    db.QryGetStr(query, "Name");
    db.QryGetInt(query, "ASubSys");
    db.QryGetInt(query, "SID");
    EXPECT_THAT(Cells(), ElementsAre("tbSM.Name=Dev7/0", "tbSM.ASubSys=2/2", "tbDev.SID=7/7"));
}

TEST_F(PreviewDatabase, ColumnThatIsNotThereThrowsAndIsNotTold)
{
    CPreviewDatabase db(Path());
    const int query = db.QryExec("select * from tbDev", -1);
    CPreviewRecorder::Get().SetStep(BodyKind::kDevice);
    EXPECT_THROW(db.QryGetInt(query, "Nothing"), CppSQLite3Exception);
    EXPECT_STREQ(db.QryGetStrAt(query, 99), "");
    EXPECT_THAT(Cells(), IsEmpty());
}

TEST_F(PreviewDatabase, OutsideOfAStepNothingIsTold)
{
    CPreviewDatabase db(Path());
    const int query = db.QryExec("select * from tbDev", -1);
    db.QryGetInt(query, "SID");
    CPreviewRecorder::Get().SetStep(BodyKind::kDevice);
    EXPECT_THAT(Cells(), IsEmpty());
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
