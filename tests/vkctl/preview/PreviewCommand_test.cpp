// vkctl preview as a user runs it: options, output, notes, exit statuses.
#include "tests/vkctl/preview/PreviewTest.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "tests/daemon/support/Command.h"

using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

class PreviewCommand : public PreviewTest
{
protected:
    CommandResult Run(Texts options)
    {
        host.WriteIni();
        options.insert(options.begin(), {"preview", host.Path()});
        return run_vkctl(options);
    }
};

} // namespace

TEST_F(PreviewCommand, BodiesAreLines)
{
    host.SimpleRoom();
    host.Device(9, "Dev9", "tbDev", "2");
    const CommandResult shown = Run({"--kind", "device"});
    EXPECT_EQ(shown.exit_status, 0);
    EXPECT_EQ(shown.err, "");
    EXPECT_EQ(shown.out, std::string(kDevice7Body) +
                             "\nsuid=xxx&sid=9&stype=5&stag1=3&sname=Dev9&subsys=2"
                             "&dtupd=2024-05-01 12:00:00&state=0&V=2\n");
}

TEST_F(PreviewCommand, NullEndsBodiesThatHoldLineEnds)
{
    using namespace std::string_literals;
    host.SimpleRoom();
    host.Data("update tbDev set V='a'||char(10)||'b'");
    EXPECT_EQ(Run({"--kind", "device", "--null"}).out,
              "suid=xxx&sid=7&stype=5&stag1=3&sname=Dev7&subsys=2"
              "&dtupd=2024-05-01 12:00:00&state=0&V=a\nb\0"s);
}

TEST_F(PreviewCommand, WithoutDirectoryItIsTheWorkingOne)
{
    host.SimpleRoom();
    host.WriteIni();
    std::filesystem::current_path(host.Path());
    EXPECT_EQ(run_vkctl({"preview", "--sid", "7"}).out, std::string(kDevice7Body) + "\n");
}

TEST_F(PreviewCommand, SeveralKindsAreShownInTheOrderOfASweep)
{
    AllKinds();
    const CommandResult shown = Run({"--kind", "camera", "--kind", "device"});
    EXPECT_THAT(shown.out, StartsWith(kDevice7Body));
    EXPECT_THAT(shown.out, HasSubstr("\nsuid=xxx&sid=31&"));
}

TEST_F(PreviewCommand, ExplanationHasAHeadingWithEveryUrl)
{
    host.SimpleRoom();
    host.Post("Url1", "http://b/");
    const CommandResult shown = Run({"--sid", "7", "--explain"});
    EXPECT_EQ(shown.exit_status, 0);
    EXPECT_THAT(shown.out, StartsWith("device 7 of tbDev, 88 bytes -> http://a/data -> http://b/\n"
                                      "  suid=xxx                      Dept (default)\n"
                                      "  sid=7                         tbDev.SID = 7\n"));
    EXPECT_THAT(shown.out, HasSubstr("  V=1                           tbDev.V = 1, as stored\n\n"));
}

TEST_F(PreviewCommand, LongPairHasALineOfItsOwn)
{
    host.SimpleRoom();
    host.Data("update tbDev set V='a value of thirty bytes or more'");
    EXPECT_THAT(Run({"--sid", "7", "--explain"}).out,
                HasSubstr("  V=a value of thirty bytes or more\n"
                          "                                tbDev.V = a value of"));
}

TEST_F(PreviewCommand, ControlCharactersAreShownAsSuch)
{
    host.SimpleRoom();
    host.Data("update tbDev set V='a'||char(10)||char(27)||'[2Jb'");
    EXPECT_THAT(
        Run({"--sid", "7", "--explain"}).out,
        HasSubstr("  V=a\\x0a\\x1b[2Jb               tbDev.V = a\\x0a\\x1b[2Jb, as stored\n"));
}

TEST_F(PreviewCommand, PairThatIsLeftOutIsSaid)
{
    host.SimpleRoom();
    host.Data("update tbDev set V=null");
    EXPECT_THAT(Run({"--sid", "7", "--explain"}).out,
                HasSubstr("  (left out)                    tbDev.V = (empty), as stored\n"));
}

TEST_F(PreviewCommand, EncodingShowsTheBytes)
{
    host.SimpleRoom();
    host.Post("Encoding", "GBK");
    host.Post("Fmt0", "n=%s");
    host.Data("update tbDev set V='正☃'");
    EXPECT_EQ(Run({"--sid", "7", "--encoding"}).out,
              "device 7 of tbDev, 14 bytes -> http://a/data\n"
              "  10 bytes in GBK\n"
              "  000000  6e 3d 78 78 78 26 56 3d d5 fd                    n=xxx&V=..\n"
              "  cut before: ☃\n\n");
}

TEST_F(PreviewCommand, BodyIsShownAsFarAsItArrives)
{
    host.SimpleRoom();
    host.Device(9, "Dev9", "tbDev", "2");
    host.Post("Encoding", "GBK");
    host.Post("Fmt0", "n=%s");
    host.Data("update tbDev set V='正☃' where SID=7");
    const CommandResult shown = Run({"--kind", "device"});
    EXPECT_EQ(shown.out, "n=xxx&V=正\nn=xxx&V=2\n");
    EXPECT_EQ(shown.err, "vkctl: 1 body is cut at a character that GBK lacks, the first of SID 7; "
                         "--encoding shows where\n");
    EXPECT_EQ(Run({"--sid", "7", "--encoding"}).err, "");
    EXPECT_EQ(Run({"--sid", "9"}).err, "");
}

TEST_F(PreviewCommand, BodyIsShownAsItArrivesWithOtherCharactersInIt)
{
    host.SimpleRoom();
    host.Post("Encoding", "GBK//TRANSLIT");
    host.Post("Fmt0", "n=%s");
    host.Data("alter table tbDev add W; update tbDev set V='©☃1',W='a'||x'ff'||'b'");
    const CommandResult shown = Run({"--kind", "device"});
    EXPECT_EQ(shown.out, "n=xxx&V=(C)?1&W=a\n");
    EXPECT_EQ(shown.err,
              "vkctl: 1 body is cut at a character that GBK//TRANSLIT lacks, the first of SID 7; "
              "--encoding shows where\n"
              "vkctl: 1 body has other characters where GBK//TRANSLIT lacks one, the first of SID "
              "7; --encoding shows them\n");
    EXPECT_THAT(Run({"--sid", "7", "--encoding"}).out,
                HasSubstr("\n  replaced: 2 characters\n  cut before: \xff"));
}

TEST_F(PreviewCommand, EncodingThatIsUnknownIsSaid)
{
    host.SimpleRoom();
    host.Post("Encoding", "NOPE");
    EXPECT_THAT(Run({"--sid", "7", "--encoding"}).out,
                HasSubstr("\n  88 bytes in UTF-8, since iconv does not know NOPE\n"));
    host.Post("Encoding", "");
    EXPECT_THAT(Run({"--sid", "7", "--encoding"}).out,
                HasSubstr("\n  88 bytes in the locale's encoding\n"));
}

TEST_F(PreviewCommand, AlarmsThatGoNowhereAreShownAsSuch)
{
    host.SimpleRoom();
    host.Post("maxURLs", "1");
    host.Alarm(1, 7, "hot");
    const CommandResult shown = Run({"--alarms", "--explain"});
    EXPECT_EQ(shown.exit_status, 0);
    EXPECT_THAT(shown.out, StartsWith("alarm 7 of tbSMAlarm, 163 bytes -> nowhere\n"));
    EXPECT_THAT(shown.err, HasSubstr("maxURLs"));
}

TEST_F(PreviewCommand, LogGoesToStandardError)
{
    host.SimpleRoom();
    const CommandResult shown = Run({"--kind", "device", "--log"});
    EXPECT_THAT(shown.err, HasSubstr("PostNormal...\n   tbDev...\n"));
    EXPECT_EQ(shown.out, std::string(kDevice7Body) + "\n");
}

TEST_F(PreviewCommand, ReadsThatFailAreTold)
{
    host.SimpleRoom();
    host.Alarm(1, 7, "hot");
    host.Alarms("alter table tbSMAlarm drop column AlmImg");
    const CommandResult shown = Run({"--alarms"});
    EXPECT_EQ(shown.exit_status, 74);
    EXPECT_EQ(shown.err, "vkctl: not everything can be read, by the daemon neither: tbSMAlarm: "
                         "no such column: AlmImg\n");
}

TEST_F(PreviewCommand, BodiesThatCanBeReadAreShownBesideReadsThatFail)
{
    host.SimpleRoom();
    host.Ini("POST.Ext.5", "tbNone", "1");
    const CommandResult shown = Run({"--kind", "device"});
    EXPECT_EQ(shown.exit_status, 0); // it is what the daemon would post
    EXPECT_EQ(shown.out, std::string(kDevice7Body) + "\n");
    EXPECT_EQ(shown.err, "vkctl: not everything can be read, by the daemon neither: tbNone: "
                         "no such table: tbNone\n");
}

TEST_F(PreviewCommand, GeneralTableThatBreaksInTheMiddleIsTold)
{
    // The daemon logs nothing about it.
    host.SimpleRoom();
    host.Ini("POST.General", "tbGen", "40");
    host.Data("create table tbGen(Id,Item); with recursive n(i) as (select 1 union all select i+1"
              " from n where i<3000) insert into tbGen select i,printf('%.100c','x') from n");
    const std::string path = host.File("tmp/dbDat0.db3");
    std::string bytes = read_file(path);
    std::fill(bytes.begin() + static_cast<ptrdiff_t>(bytes.size() / 2), bytes.end(), '\0');
    write_file(path, bytes);
    const CommandResult shown = Run({"--kind", "general"});
    EXPECT_THAT(shown.out, HasSubstr("&Item=xxx"));
    EXPECT_EQ(shown.err, "vkctl: not everything can be read, by the daemon neither: tbGen: "
                         "database disk image is malformed\n");
}

TEST_F(PreviewCommand, NamesThatLookLikeMessagesAreNoFailures)
{
    host.SimpleRoom();
    host.Data("update tbSM set Name='db exception: Error!'");
    EXPECT_EQ(Run({"--kind", "device"}).err, "");
}

TEST_F(PreviewCommand, ConfigurationThatIsNoFileIsNotOpened)
{
    host.WriteIni();
    std::filesystem::remove(host.Path() + "/vkApp.ini");
    ASSERT_EQ(mkfifo((host.Path() + "/vkApp.ini").c_str(), 0600), 0);
    EXPECT_EQ(run_vkctl({"preview", host.Path()}).exit_status, 74);
}

TEST_F(PreviewCommand, NothingToShowIsAFailure)
{
    host.SimpleRoom();
    EXPECT_EQ(Run({"--sid", "8"}).exit_status, 1);
    EXPECT_EQ(Run({"--table", "tbNone"}).exit_status, 1);
    EXPECT_THAT(Run({"--sid", "8"}).err, StartsWith("vkctl: nothing is posted for that"));
}

TEST_F(PreviewCommand, NoAlarmIsNoFailure)
{
    host.SimpleRoom();
    const CommandResult shown = Run({"--alarms"});
    EXPECT_EQ(shown.exit_status, 0);
    EXPECT_EQ(shown.out, "");
}

TEST_F(PreviewCommand, WhatIsNotUnderstoodIsAUsageError)
{
    host.SimpleRoom();
    EXPECT_EQ(Run({"--kind", "nonsense"}).exit_status, 64);
    EXPECT_EQ(Run({"--sid", "seven"}).exit_status, 64);
    EXPECT_EQ(Run({"--null", "--explain"}).exit_status, 64);
    EXPECT_EQ(Run({"--null", "--encoding"}).exit_status, 64);
    EXPECT_EQ(Run({"--alarms", "--kind", "device"}).exit_status, 64);
    EXPECT_EQ(Run({"more"}).exit_status, 64);
}

TEST_F(PreviewCommand, WhatCannotBeReadIsAFileError)
{
    EXPECT_EQ(run_vkctl({"preview", host.File("none")}).exit_status, 74);
    const CommandResult shown = Run({});
    EXPECT_EQ(shown.exit_status, 74);
    EXPECT_THAT(shown.err, HasSubstr("tmp/dbDat0.db3: No such file or directory"));
}

TEST_F(PreviewCommand, MissingAlarmDatabaseMattersToAlarmsOnly)
{
    host.SimpleRoom();
    std::filesystem::remove(host.File("tmp/dbData.db3"));
    EXPECT_EQ(Run({"--kind", "device"}).exit_status, 0);
    const CommandResult shown = Run({"--alarms"});
    EXPECT_EQ(shown.exit_status, 74);
    EXPECT_THAT(shown.err, HasSubstr("tmp/dbData.db3"));
}

TEST_F(PreviewCommand, AlarmDatabaseWithoutItsTableIsAFileError)
{
    host.SimpleRoom();
    host.Alarms("drop table tbSMAlarm");
    const CommandResult shown = Run({"--alarms"});
    EXPECT_EQ(shown.exit_status, 74);
    EXPECT_THAT(shown.err, HasSubstr("no such table"));
}

TEST_F(PreviewCommand, SpoiltDatabaseIsNoCrash)
{
    host.SimpleRoom();
    host.Data("with recursive n(i) as (select 100 union all select i+1 from n where i<400)"
              " insert into tbSM(SID,Name) select i,printf('%.200c','n') from n");
    const std::string path = host.File("tmp/dbDat0.db3");
    std::string bytes = read_file(path);
    bytes.resize(bytes.size() / 2);
    write_file(path, bytes);
    const CommandResult shown = Run({});
    EXPECT_LT(shown.exit_status, 128) << shown.err;
}
