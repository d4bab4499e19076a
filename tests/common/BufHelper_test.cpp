// Character-set conversion: exact bytes in, exact bytes out, and nothing behind them.
#include "common/BufHelper.h"

#include <gtest/gtest.h>
#include <iconv.h>
#include <string>

namespace
{

using namespace std::string_literals;

constexpr size_t kRoom = 64;

// What one conversion wrote: the bytes returned, and whether those behind them were left alone.
struct Converted
{
    std::string bytes;
    bool rest_untouched;
};

Converted result(const std::string& buffer, int written)
{
    const std::string bytes = buffer.substr(0, static_cast<size_t>(written));
    return {bytes, buffer.find_first_not_of('~', bytes.size()) == std::string::npos};
}

std::string convert(const char* to, const char* from, std::string input)
{
    std::string buffer(kRoom, '~');
    const int written = CBufHelper::conv_code(to, from, buffer.data(), input.data());
    const Converted converted = result(buffer, written);
    EXPECT_TRUE(converted.rest_untouched);
    return converted.bytes;
}

std::string convert_with(void* descriptor, std::string input, int length)
{
    std::string buffer(kRoom, '~');
    const int written = CBufHelper::conv_code(descriptor, buffer.data(), input.data(), length);
    const Converted converted = result(buffer, written);
    EXPECT_TRUE(converted.rest_untouched);
    return converted.bytes;
}

// An open conversion from UTF-8.
class CDescriptor
{
public:
    explicit CDescriptor(const char* to) : m_descriptor(iconv_open(to, "UTF-8")) {}
    ~CDescriptor() { iconv_close(m_descriptor); }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    iconv_t Get() const { return m_descriptor; }

private:
    iconv_t m_descriptor;
};

void* failed_descriptor()
{
    return iconv_open("no-such-charset", "UTF-8");
}

} // namespace

TEST(ConvCode, Utf8ToGbkGivesTheExactBytes)
{
    EXPECT_EQ(convert("GBK", "UTF-8", "动环监控主机"),
              "\xB6\xAF\xBB\xB7\xBC\xE0\xBF\xD8\xD6\xF7\xBB\xFA");
    EXPECT_EQ(convert("GBK", "UTF-8", "sname=UPS-1号"), "sname=UPS-1\xBA\xC5");
}

TEST(ConvCode, GbkToUtf8IsTheWayBack)
{
    EXPECT_EQ(convert("UTF-8", "GBK", "\xB6\xAF\xBB\xB7"), "动环");
}

TEST(ConvCode, CharsetNamesAreIconvsOwn)
{
    EXPECT_EQ(convert("gb2312", "utf-8", "门"), "\xC3\xC5");
    EXPECT_EQ(convert("utf-8", "UTF-8", "门"), "门");
}

TEST(ConvCode, TargetComesBeforeSource)
{
    EXPECT_EQ(convert("UTF-16LE", "UTF-8", "ab"), "a\0b\0"s);
}

TEST(ConvCode, EmptyInputGivesNothing)
{
    EXPECT_EQ(convert("GBK", "UTF-8", ""), "");
}

TEST(ConvCode, NullBuffersGiveZero)
{
    char text[] = "text";
    char untouched[] = "before";
    EXPECT_EQ(CBufHelper::conv_code("GBK", "UTF-8", nullptr, text), 0);
    EXPECT_EQ(CBufHelper::conv_code("GBK", "UTF-8", untouched, nullptr), 0);
    EXPECT_STREQ(untouched, "before");
}

TEST(ConvCode, UnknownCharsetsCopyTheInputUnchanged)
{
    EXPECT_EQ(convert("no-such-charset", "UTF-8", "动a\xFFz"), "动a\xFFz");
    EXPECT_EQ(convert("GBK", "no-such-charset", "动"), "动");
    EXPECT_EQ(convert("no-such-charset", "UTF-8", ""), "");
}

TEST(ConvCode, OutputEndsBeforeAnInvalidPlace)
{
    EXPECT_EQ(convert("GBK", "UTF-8", "a动\xFFz"), "a\xB6\xAF");
    EXPECT_EQ(convert("GBK", "UTF-8", "\xFFz"), "");
}

TEST(ConvCode, OutputEndsBeforeAnIncompleteCharacter)
{
    EXPECT_EQ(convert("GBK", "UTF-8", "ab\xE5\x8A"), "ab");
}

TEST(ConvCode, OutputEndsBeforeACharacterThatTheTargetLacks)
{
    EXPECT_EQ(convert("GBK", "UTF-8", "state=\xF0\x9F\x94\xA5&x=1"), "state=");
}

TEST(ConvCode, OutputStopsAtFourBytesPerInputByte)
{
    // A byte order mark and two characters need twelve bytes; two bytes of input have room for 8.
    EXPECT_EQ(convert("UTF-32", "UTF-8", "ab"), "\xFF\xFE\0\0a\0\0\0"s);
}

TEST(ConvCode, NoFlushIsMadeBehindTheText)
{
    // A flush would add the way back to ASCII, ESC ( B.
    EXPECT_EQ(convert("ISO-2022-JP", "UTF-8", "\xE3\x81\x82"), "\x1B$B$\"");
}

TEST(ConvCode, NoStateIsLeftBetweenTwoConversions)
{
    EXPECT_EQ(convert("ISO-2022-JP", "UTF-8", "\xE3\x81\x82"), "\x1B$B$\"");
    EXPECT_EQ(convert("ISO-2022-JP", "UTF-8", "a"), "a");
}

TEST(ConvCodeWithDescriptor, ConvertsTheGivenLength)
{
    const CDescriptor gbk("GBK");
    EXPECT_EQ(convert_with(gbk.Get(), "动环", 3), "\xB6\xAF");
    EXPECT_EQ(convert_with(gbk.Get(), "a\0b"s, 3), "a\0b"s);
    EXPECT_EQ(convert_with(gbk.Get(), "动环", 0), "");
}

TEST(ConvCodeWithDescriptor, MakesNoResetBetweenCalls)
{
    const CDescriptor shifting("ISO-2022-JP");
    EXPECT_EQ(convert_with(shifting.Get(), "\xE3\x81\x82", 3), "\x1B$B$\"");
    EXPECT_EQ(convert_with(shifting.Get(), "\xE3\x81\x82", 3), "$\""); // still shifted
}

TEST(ConvCodeWithDescriptor, FailureValueCopiesTheGivenLength)
{
    EXPECT_EQ(convert_with(failed_descriptor(), "动a\0\xFFz"s, 6), "动a\0\xFF"s);
    EXPECT_EQ(convert_with(failed_descriptor(), "动", 0), "");
}
