// What the body writer tells of its work: each part once, in order, with what it comes from, and
// what it leaves out. The daemon has no use for it; this program takes it down.
#include "app/AppBodyWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

std::vector<std::string> g_parts;    // as "head suid=xxx"
std::vector<std::string> g_left_out; // as "pair Run: no room"
std::vector<int> g_values;           // number of values in each part of a head
std::vector<int> g_begun;            // SIDs

const char* name_of(BodyPart part)
{
    return part == BodyPart::kHead ? "head " : part == BodyPart::kPair ? "pair " : "group ";
}

constexpr CHead kHead{"xxx", 101, 5, 7, "UPS-1", 2, "2024-05-01 12:00:00", "S0"};

class BodyReport : public ::testing::Test
{
protected:
    BodyReport()
    {
        g_parts.clear();
        g_left_out.clear();
        g_values.clear();
        g_begun.clear();
    }

    // A writer with room for that many characters.
    CBodyWriter Body(size_t room) { return {m_buffer, room + 1}; }

private:
    char m_buffer[500] = "";
};

} // namespace

void body_begun(const CHead& head)
{
    g_begun.push_back(head.sid);
}

void body_part(BodyPart part, const char* text, size_t length, const PartSource& source)
{
    g_parts.push_back(name_of(part) + std::string(text, length));
    g_values.push_back(source.number);
}

void body_left_out(BodyPart part, const PartSource& source, LeftOut why)
{
    g_left_out.push_back(name_of(part) +
                         std::string(source.column != nullptr ? source.column : "") +
                         (why == LeftOut::kNoRoom ? ": no room" : ": empty"));
}

void body_details_begun(bool)
{
}

TEST_F(BodyReport, HeadIsToldGroupByGroup)
{
    Body(400).Head("suid=%s&sid=%d&of=%d of %d&", kHead);
    EXPECT_THAT(g_parts,
                ElementsAre("head suid=xxx", "head &sid=101", "head &of=5 of 7", "head &"));
    EXPECT_THAT(g_values, ElementsAre(1, 1, 2, 0));
    EXPECT_THAT(g_begun, ElementsAre(101));
}

TEST_F(BodyReport, PairsAndGroupsAreToldAsTheyStandInTheBody)
{
    CBodyWriter body = Body(400);
    body.Pair("Run", "on");
    body.Group("&Vol1=2&Tem1=3");
    body.Field("title", "");
    EXPECT_THAT(g_parts, ElementsAre("pair &Run=on", "group &Vol1=2&Tem1=3", "pair &title="));
}

TEST_F(BodyReport, EmptyPairIsLeftOut)
{
    Body(400).Pair("Run", "", {PartOrigin::kText, nullptr, "Run"});
    EXPECT_THAT(g_parts, IsEmpty());
    EXPECT_THAT(g_left_out, ElementsAre("pair Run: empty"));
}

TEST_F(BodyReport, PairWithoutRoomIsLeftOut)
{
    CBodyWriter body = Body(10);
    body.Pair("Run", "too long a value", {PartOrigin::kText, nullptr, "Run"});
    body.Pair("A", "12");
    EXPECT_THAT(g_parts, ElementsAre("pair &A=12"));
    EXPECT_THAT(g_left_out, ElementsAre("pair Run: no room"));
}

TEST_F(BodyReport, GroupWithoutRoomIsLeftOut)
{
    CBodyWriter body = Body(10);
    body.Group("&Voltage100=200");
    body.Group("&A=12");
    EXPECT_THAT(g_parts, ElementsAre("group &A=12"));
    EXPECT_THAT(g_left_out, ElementsAre("group : no room"));
}

TEST_F(BodyReport, GroupOfTheHeadWithoutRoomIsLeftOut)
{
    Body(14).Head("suid=too long a text %s&sid=%d&t=%d", kHead);
    EXPECT_THAT(g_parts, ElementsAre("head sid=101", "head &t=5"));
    EXPECT_THAT(g_left_out, ElementsAre("head : no room"));
}
