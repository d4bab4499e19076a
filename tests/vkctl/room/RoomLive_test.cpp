#include <gmock/gmock.h>

#include "tests/vkctl/VkctlTest.h"
#include "vkctl/base/CliError.h"
#include "vkctl/room/RoomLive.h"

using namespace vkctl;
using testing::Each;
using testing::MatchesRegex;
using testing::Ne;

namespace
{

constexpr char kNow[] = "2024-05-01 09:30:00";

class RoomLiveTest : public testing::Test
{
protected:
    void Steps(int count)
    {
        CRoomLive live(room.Dir(), 12);
        for (int i = 0; i < count; ++i)
        {
            live.Step(kNow);
        }
    }

    CTestRoom room;
};

} // namespace

TEST_F(RoomLiveTest, AStepWritesNewReadingsWithTheirTime)
{
    const std::string before = room.Value("select Uin,Iout,Load from tbUps where SID=1001");
    Steps(1);
    EXPECT_NE(room.Value("select Uin,Iout,Load from tbUps where SID=1001"), before);
    EXPECT_EQ(room.Value("select DateUpd,DateOk from tbUps where SID=1001"),
              "2024-05-01 09:30:00|2024-05-01 09:30:00");
}

TEST_F(RoomLiveTest, ReadingsKeepTheirDigits)
{
    Steps(7);
    EXPECT_THAT(room.Rows("select Uin from tbUps"), Each(MatchesRegex("[0-9]+\\.[0-9]")));
    EXPECT_THAT(room.Rows("select BatCap from tbUps"), Each(MatchesRegex("[0-9]+")));
}

TEST_F(RoomLiveTest, DetailRowsMoveAndKeepTheirNumber)
{
    const auto before = room.Rows("select Vol from tbBatCell where SID=1003");
    Steps(3);
    const auto after = room.Rows("select Vol from tbBatCell where SID=1003");
    EXPECT_NE(before, after);
    EXPECT_EQ(before.size(), after.size());
    EXPECT_EQ(room.Value("select count(*) from tbUpsItem where ValStr=''"), "2");
}

TEST_F(RoomLiveTest, ADeviceOutOfServiceIsLeftAlone)
{
    const std::string row = "select * from tbAirCon where SID=1017";
    const std::string before = room.Value(row);
    Steps(5);
    EXPECT_EQ(room.Value(row), before);
}

TEST_F(RoomLiveTest, StateFollowsTheAlarmBits)
{
    Steps(40);
    EXPECT_EQ(room.Value("select count(*) from tbMeter where (Alm<>0)<>(State=1)"), "0");
}

TEST_F(RoomLiveTest, InputsAndOutputsChangeOneAfterTheOther)
{
    Steps(5);
    EXPECT_EQ(room.Value("select group_concat(SID) from tbSubSysDetail where State=1"), "101");
    EXPECT_EQ(room.Value("select D09,D10,D11 from tbDio"), "0|1|0");
    EXPECT_EQ(room.Value("select State from tbSubSysDetail where SID=110"), "-1");
}

TEST_F(RoomLiveTest, AnInputGoesBack)
{
    Steps(10);
    EXPECT_EQ(room.Value("select count(*) from tbSubSysDetail where State=1"), "0");
    EXPECT_EQ(room.Value("select LastUpd from tbSubSysDetail where SID=101"), kNow);
}

TEST_F(RoomLiveTest, GeneralAndExtensionRowsMove)
{
    const std::string before = room.Value("select Value from tbGenEnergy where ID=2");
    Steps(1);
    EXPECT_THAT(room.Value("select Value from tbGenEnergy where ID=2"), Ne(before));
    EXPECT_EQ(room.Value("select DateUpd from tbExtUps"), kNow);
}

TEST(RoomLiveLargeTest, ALargeRoomIsPolledInTurn)
{
    RoomContent content;
    content.devices = 450;
    const CTestRoom room(content);
    CRoomLive live(room.Dir(), content.seed);
    EXPECT_EQ(live.Devices(), 450U);
    EXPECT_EQ(live.Step("t1"), 200);
    live.Step("t2");
    live.Step("t3");
    EXPECT_EQ(room.Value("select DateUpd from tbTempHum where SID=1004"), "t3"); // the second time
    EXPECT_EQ(room.Value("select DateUpd from tbTempHum where SID=1204"), "t2");
}

TEST(RoomLiveErrorTest, ADirectoryWithoutARoomIsRefused)
{
    const CTempDir dir;
    EXPECT_THROW(CRoomLive(dir.Path(), 1), CCliError);
}
