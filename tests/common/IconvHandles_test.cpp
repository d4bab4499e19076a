// What a conversion opens it closes, and nothing else; how much room it gives iconv. iconv's own
// close is counted on its way.
#include "common/BufHelper.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <iconv.h>
#include <string>
#include <vector>

namespace
{

using namespace std::string_literals;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<iconv_t> closed; // one thread

std::string convert(const char* to, std::string input)
{
    closed.clear();
    std::string output(64, '~');
    const int written = CBufHelper::conv_code(to, "UTF-8", output.data(), input.data());
    return output.substr(0, static_cast<size_t>(written));
}

} // namespace

extern "C" int iconv_close(iconv_t descriptor)
{
    closed.push_back(descriptor);
    static const auto real = reinterpret_cast<int (*)(iconv_t)>(dlsym(RTLD_NEXT, "iconv_close"));
    return real(descriptor);
}

TEST(IconvHandles, ConversionClosesItsDescriptor)
{
    EXPECT_EQ(convert("GBK", "动"), "\xB6\xAF");
    EXPECT_THAT(closed, SizeIs(1));
    EXPECT_EQ(convert("GBK", "\xFF"), "");
    EXPECT_THAT(closed, SizeIs(1));
}

TEST(IconvHandles, FailureValueIsNotClosed)
{
    EXPECT_EQ(convert("no-such-charset", "动"), "动");
    EXPECT_THAT(closed, IsEmpty());
}

TEST(IconvHandles, DescriptorOfTheCallerStaysOpen)
{
    closed.clear();
    const iconv_t descriptor = iconv_open("GBK", "UTF-8");
    char input[] = "动";
    char output[64];
    EXPECT_EQ(CBufHelper::conv_code(descriptor, output, input, 3), 2);
    EXPECT_THAT(closed, IsEmpty());
    iconv_close(descriptor);
}

TEST(IconvHandles, FourBytesPerInputByteAreTheWholeRoom)
{
    // With a byte order mark the fourth character would end at twenty.
    EXPECT_EQ(convert("UTF-32", "abcd"), "\xFF\xFE\0\0a\0\0\0b\0\0\0c\0\0\0"s);
}
