// Which of what the poster tells is part of a body that it posts.
#include "tests/vkctl/preview/PreviewTest.h"

#include "vkctl/preview/PreviewRecorder.h"

using ::testing::ElementsAre;
using vkctl::CPreviewRecorder;

namespace
{

class PreviewRecorder : public ::testing::Test
{
protected:
    PreviewRecorder()
    {
        recorder.Begin([&](const vkctl::PreviewBody& body) { posted.push_back(Text(body)); }, {});
    }
    ~PreviewRecorder() override { recorder.End(); }

    // "7: sid &V=1", with "-" for what was left out.
    static std::string Text(const vkctl::PreviewBody& body)
    {
        std::string text = std::to_string(body.sid) + ":";
        for (const vkctl::PreviewPart& part : body.parts)
        {
            text += part.left_out ? " -" : " " + part.text;
        }
        return text;
    }

    void Begin(BodyKind kind, int sid)
    {
        recorder.BodyBegun({"", sid, 0, 0, "", 0, "", "", kind, nullptr});
        Part("sid");
    }
    void Part(const std::string& text) { recorder.Part(BodyPart::kPair, text, {}); }
    void LeaveOut() { recorder.PartLeftOut(BodyPart::kPair, {}, LeftOut::kEmpty); }

    CPreviewRecorder& recorder = CPreviewRecorder::Get();
    Texts posted;
};

} // namespace

TEST_F(PreviewRecorder, BodyThatWasDroppedIsNoneOfThePostedOnes)
{
    Begin(BodyKind::kDevice, 7);
    Begin(BodyKind::kDevice, 8);
    recorder.Post("sid", {});
    EXPECT_THAT(posted, ElementsAre("8: sid"));
}

TEST_F(PreviewRecorder, OutputsAreComposedBeforeTheFirstIsPosted)
{
    Begin(BodyKind::kInput, 7);
    Begin(BodyKind::kOutput, 1);
    Begin(BodyKind::kOutput, 2);
    recorder.Post("sid", {});
    recorder.Post("sid", {});
    EXPECT_THAT(posted, ElementsAre("1: sid", "2: sid"));
}

TEST_F(PreviewRecorder, DetailRowsOfATryThatBrokeAreForgotten)
{
    Begin(BodyKind::kDevice, 7);
    LeaveOut(); // a column
    recorder.DetailsBegun(false);
    Part("&Fld1=a");
    LeaveOut();
    recorder.DetailsBegun(true);
    Part("&Fld1=b");
    recorder.Post("sid&Fld1=b", {});
    EXPECT_THAT(posted, ElementsAre("7: sid - &Fld1=b"));
}

TEST_F(PreviewRecorder, OutsideOfAPreviewNothingIsTold)
{
    recorder.End();
    Begin(BodyKind::kDevice, 7);
    recorder.Post("sid", {});
    EXPECT_THAT(posted, ElementsAre());
}
