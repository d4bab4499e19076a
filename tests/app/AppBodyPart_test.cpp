// What the body writer tells of the parts of a body: each once, in order, nothing of what is left
// out. The daemon has no use for it; this program takes it down.
#include "app/AppBodyWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

std::vector<std::string> g_parts; // as "head suid=xxx"

const char* name_of(BodyPart part)
{
    return part == BodyPart::kHead ? "head " : part == BodyPart::kPair ? "pair " : "group ";
}

constexpr CHead kHead{"xxx", 101, 5, 7, "UPS-1", 2, "2024-05-01 12:00:00", "S0"};

class BodyPartTest : public ::testing::Test
{
protected:
    BodyPartTest() { g_parts.clear(); }

    // A writer with room for that many characters.
    CBodyWriter Body(size_t room) { return {m_buffer, room + 1}; }

private:
    char m_buffer[500] = "";
};

} // namespace

void body_part(BodyPart part, const char* text, size_t length)
{
    g_parts.push_back(name_of(part) + std::string(text, length));
}

TEST_F(BodyPartTest, HeadIsToldGroupByGroup)
{
    Body(400).Head("suid=%s&sid=%d&of=%d of %d&", kHead);
    EXPECT_THAT(g_parts,
                ElementsAre("head suid=xxx", "head &sid=101", "head &of=5 of 7", "head &"));
}

TEST_F(BodyPartTest, PairsAndGroupsAreToldAsTheyStandInTheBody)
{
    CBodyWriter body = Body(400);
    body.Pair("Run", "on");
    body.Group("&Vol%d=%d&Tem%d=%d", 1, 2, 1, 3);
    body.Field("title", "");
    EXPECT_THAT(g_parts, ElementsAre("pair &Run=on", "group &Vol1=2&Tem1=3", "pair &title="));
}

TEST_F(BodyPartTest, EmptyPairIsNotTold)
{
    Body(400).Pair("Run", "");
    EXPECT_THAT(g_parts, IsEmpty());
}

TEST_F(BodyPartTest, PairWithoutRoomIsNotTold)
{
    CBodyWriter body = Body(10);
    body.Pair("Run", "too long a value");
    body.Pair("A", "12");
    EXPECT_THAT(g_parts, ElementsAre("pair &A=12"));
}

TEST_F(BodyPartTest, GroupWithoutRoomIsNotTold)
{
    CBodyWriter body = Body(10);
    body.Group("&Voltage%d=%d", 100, 200);
    body.Group("&A=%d", 12);
    EXPECT_THAT(g_parts, ElementsAre("group &A=12"));
}

TEST_F(BodyPartTest, HeadGroupWithoutRoomIsNotTold)
{
    Body(14).Head("suid=too long a text %s&sid=%d&t=%d", kHead);
    EXPECT_THAT(g_parts, ElementsAre("head sid=101", "head &t=5"));
}
