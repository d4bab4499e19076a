// Findings about the two lists of URLs.

#include <gmock/gmock.h>

#include "tests/vkctl/check/CheckTest.h"
#include "vkctl/check/CheckUrls.h"

using namespace vkctl;
using testing::ElementsAre;

namespace
{

std::vector<CheckCase> target_cases()
{
    return {
        {"no-url",
         {"POST/Url=", "POST/AlmUrl=", "POST/Url1=http://a/"},
         "vkApp.ini:N: error: neither Url nor AlmUrl is set in section [POST]: the daemon ends at "
         "start; set Url (numbered ones alone are not enough)",
         {"POST/Url=", "POST/AlmUrl=http://a/"}},
        {"no-data-url",
         {"POST/Url="},
         "vkApp.ini:N: warning: Url is empty: alarms are posted, readings and states go nowhere",
         {"POST/AlmUrl="}},
        {"no-data-url",
         {"POST/Url=", "POST/Url1=http://a/"},
         "vkApp.ini:N: warning: Url1 alone is never posted to: without Url, two numbered URLs at "
         "least must be within maxURLs; set Url",
         {"POST/Url=", "POST/maxURLs=3", "POST/Url1=http://a/", "POST/Url2=http://b/"}},
        {"url-unused",
         {"POST/Url2=http://a/"},
         "vkApp.ini:N: warning: Url2 is not read: maxURLs is 2; set maxURLs to 3 or more",
         {"POST/maxURLs=3", "POST/Url2=http://a/", "POST/Url3="}},
        {"alarm-url-unused",
         {"POST/maxURLs=1"},
         "vkApp.ini:N: error: AlmUrl is never posted to: with maxURLs below 2 there is no list of "
         "alarm URLs, and every alarm is marked as sent and goes nowhere; set maxURLs=2",
         {"POST/maxURLs=1", "POST/AlmUrl="}},
        {"alarm-url-unused",
         {"POST/AlmUrl=", "POST/AlmUrl1=http://a/"},
         "vkApp.ini:N: error: AlmUrl1 is never used: without AlmUrl the daemon does not even read "
         "the alarms; set AlmUrl",
         {"POST/AlmUrl1=http://a/"}},
        {"url-twice",
         {"POST/Url1=http://127.0.0.1:8080/data"},
         "vkApp.ini:N: warning: Url1 is the same as Url: every body goes there twice; remove one "
         "of them",
         {"POST/Url1=http://127.0.0.1:8080/alarm"}},
    };
}

std::vector<CheckCase> invalid_cases()
{
    const std::string url9 =
        "Url9 is no URL (No host part in the URL): http://; every transfer to it fails";
    return {
        {"url-invalid",
         {"POST/Url=http://a:99999/"},
         "vkApp.ini:N: error: Url is no URL (Port number was not a decimal number between 0 and "
         "65535): http://a:99999/; every transfer to it fails",
         {"POST/Url=http://a:65535/"}},
        {"url-invalid",
         {"POST/maxURLs=10", "POST/Url9=http://"},
         "vkApp.ini:N: error: " + url9,
         {"POST/Url9=http://"}},
        {"url-invalid",
         {"POST/maxURLs=10", "POST/AlmUrl9=http://"},
         "vkApp.ini:N: error: Alm" + url9,
         {"POST/maxURLs=10", "POST/AlmUrl9=http://", "POST/AlmUrl="}},
    };
}

std::vector<CheckCase> slash_cases()
{
    return {
        {"url-scheme",
         {"POST/Url=http:/a/data"},
         "vkApp.ini:N: warning: Url has one slash behind http:, which libcurl takes for two; write "
         "http://",
         {"POST/Url=http://a/data"}},
        {"url-scheme",
         {"POST/Url=https:/a/data"},
         "vkApp.ini:N: warning: Url has one slash behind https:: the daemon gives it neither CA "
         "nor its rules of verification; write https://",
         {"POST/Url=https://a/data"}},
        {"url-scheme",
         {"POST/Url=http:///data"},
         "vkApp.ini:N: error: Url has no host behind http://: libcurl takes data for it; write the "
         "host there",
         {"POST/Url=http://a///data"}},
        {"url-scheme",
         {"POST/Url=a.example/data?from=http://b/"},
         "vkApp.ini:N: warning: Url names no protocol: http is guessed; write it in front, such as "
         "http://a.example/data?from=http://b/",
         {"POST/Url=http://a.example/data?from=http:/b/"}},
    };
}

std::vector<CheckCase> scheme_cases()
{
    return {
        {"url-scheme",
         {"POST/Url=ftp://a/"},
         "vkApp.ini:N: error: Url begins with ftp://, where nothing can be posted to; write "
         "http:// or https://",
         {"POST/Url=http://ftp/"}},
        {"url-scheme",
         {"POST/Url=ftp.example/data"},
         "vkApp.ini:N: error: Url names no protocol: ftp is guessed, where nothing can be posted "
         "to; write http:// or https:// in front",
         {"POST/Url=http://ftp.example/data"}},
        {"url-scheme",
         {"POST/Url=a.example/data"},
         "vkApp.ini:N: warning: Url names no protocol: http is guessed; write it in front, such as "
         "http://a.example/data",
         {"POST/Url=http://a.example/data"}},
        {"url-scheme",
         {"POST/Url=HTTPS://a/"},
         "vkApp.ini:N: warning: Url does not spell https in small letters: the daemon gives it "
         "neither CA nor its rules of verification; write https://",
         {"POST/Url=HTTP://a/"}},
    };
}

std::vector<CheckCase> tls_cases()
{
    return {
        {"tls-unverified",
         {"POST/Url=https://a/"},
         "vkApp.ini:N: warning: Url is https, but without CA nobody checks whose server it is; set "
         "CA to the authority's PEM file",
         {"POST/Url2=https://a/"}},
        {"tls-unverified",
         {"POST/Url=https://a/?from=http://b/"},
         "vkApp.ini:N: warning: Url is https, but without CA nobody checks whose server it is; set "
         "CA to the authority's PEM file",
         {"POST/Url=http://a/?from=https://b/"}},
        {"ca-unused",
         {"POST/CA=ca.pem", "POST/Url=http://a/?from=https://b/"},
         "vkApp.ini:N: warning: CA has no effect: no URL in use begins with https://",
         {"POST/CA=ca.pem", "POST/Url=https://a/"}},
        {"ca-unused",
         {"POST/CA=ca.pem"},
         "vkApp.ini:N: warning: CA has no effect: no URL in use begins with https://",
         {"POST/CA=ca.pem", "POST/AlmUrl=https://a/"}},
    };
}

std::vector<std::string> urls(const std::vector<WrittenUrl>& list)
{
    std::vector<std::string> found;
    for (const WrittenUrl& one : list)
    {
        found.push_back(one.url);
    }
    return found;
}

UrlLists lists_of(const std::vector<std::string>& edits)
{
    const CCheckedHost host(edits);
    return url_lists(CIniFile(host.Path("vkApp.ini")));
}

} // namespace

std::vector<CheckCase> url_cases()
{
    return joined({target_cases(), invalid_cases(), scheme_cases(), slash_cases(), tls_cases()});
}

TEST(CheckUrlsTest, TheListsAreThoseThatTheDaemonPostsTo)
{
    const UrlLists lists =
        lists_of({"POST/maxURLs=11", "POST/Url2=http://c/", "POST/Url10=http://b/",
                  "POST/Url11=http://d/", "POST/AlmUrl1=http://e/"});
    EXPECT_THAT(urls(lists.data),
                ElementsAre("http://127.0.0.1:8080/data", "http://c/", "http://b/"));
    EXPECT_THAT(urls(lists.alarms), ElementsAre("http://127.0.0.1:8080/alarm", "http://e/"));
}

TEST(CheckUrlsTest, BelowTwoOnlyTheFirstUrlIsLeft)
{
    const UrlLists lists = lists_of({"POST/maxURLs=1", "POST/Url1=http://c/"});
    EXPECT_THAT(urls(lists.data), ElementsAre("http://127.0.0.1:8080/data"));
    EXPECT_THAT(urls(lists.alarms), ElementsAre());
}
