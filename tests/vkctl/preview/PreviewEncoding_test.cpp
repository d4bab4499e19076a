// A body's bytes in the configured encoding, and what gets lost on the way.
#include "tests/vkctl/preview/PreviewTest.h"

#include "vkctl/preview/PreviewEncoding.h"

using vkctl::encode_body;
using vkctl::EncodedBody;
using vkctl::hex_dump;

namespace
{

class PreviewEncoding : public ::testing::Test
{
protected:
    ~PreviewEncoding() override { CAppPost::m_sEncoding = "UTF-8"; }

    static EncodedBody Encoded(const std::string& encoding, const std::string& body)
    {
        CAppPost::m_sEncoding = encoding;
        return encode_body(body);
    }
};

} // namespace

TEST_F(PreviewEncoding, Utf8IsTheBodyItself)
{
    const EncodedBody body = Encoded("UTF-8", "a=正常\xff");
    EXPECT_EQ(body.bytes, "a=正常\xff");
    EXPECT_EQ(body.lost, "");
}

TEST_F(PreviewEncoding, GbkHasTwoBytesForACharacter)
{
    const EncodedBody body = Encoded("GBK", "a=正常");
    EXPECT_EQ(body.bytes, "a=\xd5\xfd\xb3\xa3");
    EXPECT_EQ(body.lost, "");
}

TEST_F(PreviewEncoding, CharacterThatTheEncodingLacksCutsTheBody)
{
    const EncodedBody body = Encoded("GBK", "a=正☃&b=1");
    EXPECT_EQ(body.bytes, "a=\xd5\xfd");
    EXPECT_EQ(body.lost, "☃&b=1");
}

TEST_F(PreviewEncoding, ReplacedCharactersDoNotHideACut)
{
    const EncodedBody body = Encoded("GBK//TRANSLIT", "a=☃&b=\xff&c=1");
    EXPECT_EQ(body.bytes, "a=?&b=");
    EXPECT_EQ(body.arrives, "a=?&b=");
    EXPECT_EQ(body.lost, "\xff&c=1");
    EXPECT_EQ(body.replaced, 1U);
}

TEST_F(PreviewEncoding, CharactersThatAreLeftOutAreCounted)
{
    const EncodedBody body = Encoded("GBK//IGNORE", "a=☃正☃&b=1");
    EXPECT_EQ(body.arrives, "a=正&b=1");
    EXPECT_EQ(body.lost, "");
    EXPECT_EQ(body.replaced, 2U);
}

TEST_F(PreviewEncoding, MarkOfByteOrderTakesTheLastCharactersRoom)
{
    const EncodedBody body = Encoded("UTF-32", "a=b");
    EXPECT_EQ(body.bytes, std::string("\xff\xfe")); // up to the first zero byte
    EXPECT_EQ(body.lost, "b");
}

TEST_F(PreviewEncoding, TextThatIsNoUtf8CutsTheBody)
{
    const EncodedBody body = Encoded("GBK", "a=\xff&b=1");
    EXPECT_EQ(body.bytes, "a=");
    EXPECT_EQ(body.lost, "\xff&b=1");
}

TEST_F(PreviewEncoding, LatinHasNoChineseCharacter)
{
    const EncodedBody body = Encoded("ISO-8859-1", "a=é&b=正&c=1");
    EXPECT_EQ(body.bytes, "a=\xe9&b=");
    EXPECT_EQ(body.lost, "正&c=1");
}

TEST_F(PreviewEncoding, UnknownEncodingLeavesTheBodyAsItIs)
{
    const EncodedBody body = Encoded("no-such-encoding", "a=正常");
    EXPECT_EQ(body.bytes, "a=正常");
    EXPECT_EQ(body.lost, "");
}

TEST_F(PreviewEncoding, EmptyBodyIsEmpty)
{
    EXPECT_EQ(Encoded("GBK", "").bytes, "");
    EXPECT_EQ(Encoded("GBK", "").lost, "");
}

TEST_F(PreviewEncoding, DumpHasSixteenBytesALine)
{
    EXPECT_EQ(hex_dump("abcdefghijklmnop\x01\xd5"),
              "  000000  61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70  abcdefghijklmnop\n"
              "  000010  01 d5                                            ..\n");
    EXPECT_EQ(hex_dump(""), "");
}
