// Cameras: one body for each, whatever its state.
#include "tests/support/PosterTest.h"

namespace
{

const std::string kTick = "tray(0,1)";

class CamTest : public PosterTest
{
protected:
    void Camera(int sid, const std::string& state = "0", const Cell& info = "rtsp://a/b?c&d")
    {
        db.On("select * from tbSM where SID=" + std::to_string(sid))
            .Rows("SID,Type,Name,Tag1,ASubSys,State,SerDef",
                  {{std::to_string(sid), "12", "Cam", "1", "4", state, info}});
        Found(sid);
    }
    void Found(int sid)
    {
        app.m_vCamSid.push_back(sid);
        app.m_vCamTry.push_back(0);
    }
    static std::string Body(int sid, const std::string& stamp = "2024-05-01 12:00:00")
    {
        return "suid=xxx&sid=" + std::to_string(sid) +
               "&stype=12&stag1=1&sname=Cam&subsys=4&dtupd=" + stamp +
               "&state=0&info=rtsp://a/b?c&d";
    }
};

} // namespace

TEST_F(CamTest, PostsACameraInThisOrder)
{
    Camera(40);
    app.PostCam();
    EXPECT_THAT(rec.Events(), ElementsAre("log PostCam...\n", "open(NULL,-2)",
                                          "sql select * from tbSM where SID=40", kTick, "free",
                                          "post " + Body(40), "close"));
}

TEST_F(CamTest, NoCameraStillOpensAndCloses)
{
    app.PostCam();
    EXPECT_THAT(rec.Events(), ElementsAre("log PostCam...\n", "open(NULL,-2)", "close"));
}

TEST_F(CamTest, EachCameraHasANumberAndATimeOfItsOwn)
{
    rec.stamps = {"T1", "T2"};
    Camera(41);
    Camera(40);
    app.PostCam();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Body(41, "T1"), Body(40, "T2")));
    EXPECT_EQ(rec.posts.at(0).row, 0);
    EXPECT_EQ(rec.posts.at(1).row, 1);
}

TEST_F(CamTest, StateDoesNotMatter)
{
    Camera(40, "-1");
    Camera(41, "3");
    app.PostCam();
    EXPECT_THAT(rec.Bodies(), ElementsAre(HasSubstr("&state=0&"), HasSubstr("&state=3&")));
}

TEST_F(CamTest, EmptyServiceTextLeavesAnEmptyInfo)
{
    Camera(40, "0", kNull);
    app.PostCam();
    ASSERT_THAT(rec.posts, SizeIs(1));
    EXPECT_THAT(rec.posts[0].body, ::testing::EndsWith("&state=0&info="));
}

TEST_F(CamTest, CameraWhoseRowHasGoneIsNotPosted)
{
    Found(40);
    db.On("SID=40").Rows("SID", {});
    Camera(41);
    app.PostCam();
    EXPECT_THAT(rec.Between("sql", "sql select * from tbSM where SID=41"),
                ElementsAre("sql select * from tbSM where SID=40", "free", kTick));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Body(41)));
    EXPECT_EQ(rec.posts.at(0).row, 0);
}

TEST_F(CamTest, QueryIsTriedTenMoreTimesThenTheNextCameraFollows)
{
    Found(40);
    db.On("SID=40").FailAlways();
    Camera(41);
    app.PostCam();
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, 3000)));
    EXPECT_EQ(rec.Count("log    iqryX=-1 iSmTry=9\n"), 1);
    EXPECT_THAT(rec.Between("log    iqryX=-1 iSID=40", kTick),
                ElementsAre("log    iqryX=-1 iSID=40\n", "sql select * from tbSM where SID=41"));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Body(41)));
}

TEST_F(CamTest, CameraThatThrowsIsTriedThreeTimesAndLoggedUnderTheNameOfInputs)
{
    Found(40);
    db.On("SID=40").Throw(11, "malformed", 3);
    Camera(41);
    app.PostCam();
    EXPECT_THAT(rec.Pauses(), ElementsAre(2000, 2000));
    EXPECT_EQ(rec.Count("log [CAppPost::PostDio] Post Cam exception, SID=40, TryCnt=1\n"), 1);
    EXPECT_EQ(rec.Count("log [CAppPost::PostDio] Post Cam exception, SID=40, TryCnt=2\n"), 1);
    EXPECT_EQ(rec.Count("log [CAppPost::PostDio] Post Cam exception, SID=40, TryCnt=3\n"), 1);
    EXPECT_THAT(app.m_vCamTry, ElementsAre(0, 0));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Body(41)));
}

TEST_F(CamTest, HeldQueryIsFreedAfterThePause)
{
    db.ThrowForeignIn("QryGetStr", 1);
    Camera(40);
    app.PostCam();
    EXPECT_THAT(rec.Between("log [CAppPost", "sql"),
                ElementsAre("log [CAppPost::PostDio] Post Cam exception, SID=40, TryCnt=1\n",
                            "pause 2000", "free"));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Body(40)));
}

TEST_F(CamTest, QueryWhoseFreeingThrowsIsFreedOnceMoreAndTheCameraTriedAgain)
{
    db.ThrowIn("QryFree", 1, 10, "disk I/O error");
    Camera(40);
    app.PostCam();
    EXPECT_EQ(db.OpenQueries(), 0);
    EXPECT_THAT(rec.Between("log [CAppPost", "sql"),
                ElementsAre("log [CAppPost::PostDio] Post Cam exception, SID=40, TryCnt=1\n",
                            "pause 2000", "free"));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Body(40)));
}

TEST_F(CamTest, PostThatThrowsDoesNotFreeTheQueryAgain)
{
    Camera(40);
    rec.on_post = [&]
    {
        rec.on_post = nullptr;
        throw ForeignError{};
    };
    app.PostCam();
    EXPECT_EQ(rec.CountStarting("free"), 2); // one for each try
    EXPECT_THAT(rec.Bodies(), ElementsAre(Body(40), Body(40)));
}

TEST_F(CamTest, QueryOfARowThatHasGoneIsFreedOnceMoreToo)
{
    Found(40);
    db.ThrowIn("QryFree", 1, 10, "disk I/O error");
    db.On("SID=40").Rows("SID", {});
    app.PostCam();
    EXPECT_EQ(db.OpenQueries(), 0);
    EXPECT_EQ(rec.Count("close"), 1);
}

TEST_F(CamTest, SuccessClearsTheFailureCount)
{
    Camera(40);
    app.m_vCamTry[0] = 2;
    app.PostCam();
    EXPECT_THAT(app.m_vCamTry, ElementsAre(0));
}

TEST_F(CamTest, ExceptionWhileRecoveringEndsTheCamerasAndCloses)
{
    db.ThrowForeignIn("QryGetStr", 1);
    db.ThrowForeignIn("QryFree", 1);
    db.ExpectLeftOpen(1); // to Close
    Camera(40);
    Camera(41);
    EXPECT_NO_THROW(app.PostCam());
    EXPECT_THAT(rec.posts, IsEmpty());
    EXPECT_THAT(rec.Between("log CAppPost::PostCam", "none"),
                ElementsAre("log CAppPost::PostCam exception\n", "close"));
}

TEST_F(CamTest, ServiceTextLargerThanTheBufferIsLeftOutAndLogged)
{
    Camera(40, "0", Long(200000));
    app.PostCam();
    ASSERT_THAT(rec.posts, SizeIs(1));
    EXPECT_THAT(rec.posts[0].body, ::testing::EndsWith("&state=0"));
    EXPECT_EQ(rec.Count("log    sid=40: body of 102400 bytes is full, left out 1: info\n"), 1);
}
