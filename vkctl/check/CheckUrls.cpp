#include "vkctl/check/CheckUrls.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <memory>

#include "app/AppPostConfig.h"
#include "app/AppRules.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kPost[] = "POST";

struct UrlDeleter
{
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

// How many of each list are read.
int max_urls(const CIniFile& ini)
{
    return taken_number(SettingId::kMaxUrls, setting_number(ini.Document(), SettingId::kMaxUrls));
}

// The number of a key of the list: 0 is the one without. -1: no such key.
int url_number(const std::string& key, UrlList list)
{
    const Setting* row = find_setting(kPost, key);
    const bool is_data = list == UrlList::kData;
    if (row != nullptr && row->id == (is_data ? SettingId::kUrl : SettingId::kAlmUrl))
    {
        return 0;
    }
    const bool is_numbered =
        row != nullptr && row->id == (is_data ? SettingId::kUrlN : SettingId::kAlmUrlN);
    return is_numbered ? SimpleIni::Number(key.substr(key.find_first_of("0123456789"))) : -1;
}

// All that stands in the file for the list, empty ones left out, in the order of numbers.
std::vector<WrittenUrl> written_urls(const CIniFile& ini, UrlList list)
{
    std::map<int, WrittenUrl> found;
    for (const std::string& key : ini.Keys(kPost))
    {
        const std::string url = ini.Text(kPost, key);
        const int number = url_number(key, list);
        if (number >= 0 && !url.empty())
        {
            found[number] = {key, url, ini.At(kPost, key)};
        }
    }
    std::vector<WrittenUrl> urls;
    std::transform(found.begin(), found.end(), std::back_inserter(urls),
                   [](const auto& entry) { return entry.second; });
    return urls;
}

void check_unused(const CIniFile& ini, UrlList list, CFindings& findings)
{
    for (const WrittenUrl& one : written_urls(ini, list))
    {
        const int number = url_number(one.key, list);
        if (number > 0 && number >= std::max(1, max_urls(ini)))
        {
            const std::string remedy =
                number < kMaxUrlKeys ? "set maxURLs to " + std::to_string(number + 1) + " or more"
                                     : "give it a number below " + std::to_string(kMaxUrlKeys);
            findings.Warning(
                one.place, FindingId::kUrlUnused,
                one.key + " is not read: maxURLs is " +
                    std::to_string(setting_number(ini.Document(), SettingId::kMaxUrls)) + "; " +
                    remedy);
        }
    }
}

void check_alarm_list(const CIniFile& ini, CFindings& findings)
{
    const std::string fewest = std::to_string(kFewestMaxUrls);
    const std::vector<WrittenUrl> written = written_urls(ini, UrlList::kAlarm);
    if (written.empty())
    {
        return;
    }
    if (ini.Text(kPost, "AlmUrl").empty())
    {
        findings.Error(written[0].place, FindingId::kAlarmUrlUnused,
                       written[0].key +
                           " is never used: without AlmUrl the daemon does not even read the "
                           "alarms; set AlmUrl");
    }
    else if (url_lists(ini).alarms.empty())
    {
        findings.Error(written[0].place, FindingId::kAlarmUrlUnused,
                       "AlmUrl is never posted to: with maxURLs below " + fewest +
                           " there is no list of alarm URLs, and every alarm is marked as sent and "
                           "goes nowhere; set maxURLs=" +
                           fewest);
    }
}

void check_targets(const CIniFile& ini, CFindings& findings)
{
    const std::vector<WrittenUrl> written = written_urls(ini, UrlList::kData);
    const bool has_alarms = !ini.Text(kPost, "AlmUrl").empty();
    const Place place = written.empty() ? ini.At(kPost, "Url") : written[0].place;
    if (ini.Text(kPost, "Url").empty() && !has_alarms)
    {
        findings.Error(place, FindingId::kNoUrl,
                       "neither Url nor AlmUrl is set in section [POST]: the daemon ends at start; "
                       "set Url (numbered ones alone are not enough)");
    }
    else if (url_lists(ini).data.empty())
    {
        findings.Warning(place, FindingId::kNoDataUrl,
                         written.empty()
                             ? "Url is empty: alarms are posted, readings and states go nowhere"
                             : written[0].key + " alone is never posted to: without Url, two "
                                                "numbered URLs at least must be within maxURLs; "
                                                "set Url");
    }
}

void check_doubles(const std::vector<WrittenUrl>& list, CFindings& findings)
{
    for (size_t i = 0; i < list.size(); ++i)
    {
        const auto end = list.begin() + static_cast<ptrdiff_t>(i);
        const auto first = std::find_if(
            list.begin(), end, [&](const WrittenUrl& other) { return other.url == list[i].url; });
        if (first != end)
        {
            findings.Warning(list[i].place, FindingId::kUrlTwice,
                             list[i].key + " is the same as " + first->key +
                                 ": every body goes there twice; remove one of them");
        }
    }
}

// A URL as libcurl takes it.
struct TakenUrl
{
    std::string problem; // why it does not; the rest is empty then
    std::string scheme;  // http, https, ...
    std::string host;
};

std::string part_of(CURLU* url, CURLUPart part)
{
    char* text = nullptr;
    curl_url_get(url, part, &text, 0);
    std::string copy = text != nullptr ? text : "";
    curl_free(text);
    return copy;
}

TakenUrl taken_url(const std::string& url)
{
    const std::unique_ptr<CURLU, UrlDeleter> parsed(curl_url());
    const CURLUcode code = curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(),
                                        CURLU_GUESS_SCHEME | CURLU_NON_SUPPORT_SCHEME);
    if (code != CURLUE_OK)
    {
        return {curl_url_strerror(code), "", ""};
    }
    return {"", part_of(parsed.get(), CURLUPART_SCHEME), part_of(parsed.get(), CURLUPART_HOST)};
}

// "http://" with as many slashes as are there; empty when no protocol is named. libcurl finds a
// name by the ":/" behind it.
std::string written_scheme(const std::string& url)
{
    const auto end = std::find_if(url.begin(), url.end(),
                                  [](unsigned char c)
                                  { return std::isalnum(c) == 0 && !std::strchr("+-.", c); });
    const auto length = static_cast<size_t>(end - url.begin());
    if (length == 0 || url.compare(length, 2, ":/") != 0)
    {
        return "";
    }
    return url.substr(0, std::min(url.find_first_not_of('/', length + 1), url.size()));
}

void check_guessed(const WrittenUrl& one, const TakenUrl& taken, CFindings& findings)
{
    if (taken.scheme == "http" || taken.scheme == "https")
    {
        findings.Warning(one.place, FindingId::kUrlScheme,
                         one.key + " names no protocol: " + taken.scheme +
                             " is guessed; write it in front, such as http://" + one.url);
        return;
    }
    findings.Error(one.place, FindingId::kUrlScheme,
                   one.key + " names no protocol: " + taken.scheme +
                       " is guessed, where nothing can be posted to; write http:// or https:// "
                       "in front");
}

// What stands in front of the host, of a URL that can be posted to.
void check_slashes(const WrittenUrl& one, const TakenUrl& taken, const std::string& written,
                   CFindings& findings)
{
    const auto slashes = std::count(written.begin(), written.end(), '/');
    if (slashes > 2)
    {
        findings.Error(one.place, FindingId::kUrlScheme,
                       one.key + " has no host behind " + written.substr(0, written.size() - 1) +
                           ": libcurl takes " + taken.host + " for it; write the host there");
    }
    else if (taken.scheme == "https" && !is_https(one.url))
    {
        findings.Warning(one.place, FindingId::kUrlScheme,
                         one.key +
                             (slashes == 2 ? " does not spell https in small letters"
                                           : " has one slash behind https:") +
                             ": the daemon gives it neither CA nor its rules of verification; "
                             "write https://");
    }
    else if (slashes == 1)
    {
        findings.Warning(one.place, FindingId::kUrlScheme,
                         one.key + " has one slash behind " + taken.scheme +
                             ":, which libcurl takes for two; write " + taken.scheme + "://");
    }
}

void check_url(const WrittenUrl& one, CFindings& findings)
{
    const TakenUrl taken = taken_url(one.url);
    const std::string written = written_scheme(one.url);
    if (!taken.problem.empty())
    {
        findings.Error(one.place, FindingId::kUrlInvalid,
                       one.key + " is no URL (" + taken.problem + "): " + one.url +
                           "; every transfer to it fails");
    }
    else if (written.empty())
    {
        check_guessed(one, taken, findings);
    }
    else if (taken.scheme != "http" && taken.scheme != "https")
    {
        findings.Error(one.place, FindingId::kUrlScheme,
                       one.key + " begins with " + written +
                           ", where nothing can be posted to; write http:// or https://");
    }
    else
    {
        check_slashes(one, taken, written, findings);
    }
}

void check_tls(const CIniFile& ini, const std::vector<WrittenUrl>& urls, CFindings& findings)
{
    const auto secure = std::find_if(
        urls.begin(), urls.end(), [](const WrittenUrl& one) { return is_https_server(one.url); });
    const bool has_ca = !ini.Text(kPost, "CA").empty();
    if (secure != urls.end() && !has_ca)
    {
        findings.Warning(secure->place, FindingId::kTlsUnverified,
                         secure->key + " is https, but without CA nobody checks whose server it "
                                       "is; set CA to the authority's PEM file");
    }
    if (secure == urls.end() && has_ca)
    {
        findings.Warning(ini.At(kPost, "CA"), FindingId::kCaUnused,
                         "CA has no effect: no URL in use begins with https://");
    }
}

} // namespace

bool is_https(const std::string& url)
{
    return url.find("https://") != std::string::npos;
}

bool is_https_server(const std::string& url)
{
    return is_https(url) && taken_url(url).scheme == "https";
}

UrlLists url_lists(const CIniFile& ini)
{
    const auto placed = [&](UrlList list)
    {
        std::vector<WrittenUrl> urls;
        for (const ConfiguredUrl& one : posted_urls(ini.Document(), list))
        {
            urls.push_back({one.key, one.url, ini.At(kPost, one.key)});
        }
        return urls;
    };
    return {placed(UrlList::kData), placed(UrlList::kAlarm)};
}

void check_urls(const CIniFile& ini, CFindings& findings)
{
    check_targets(ini, findings);
    check_unused(ini, UrlList::kData, findings);
    if (!ini.Text(kPost, "AlmUrl").empty())
    {
        check_unused(ini, UrlList::kAlarm, findings);
    }
    check_alarm_list(ini, findings);

    const UrlLists lists = url_lists(ini);
    check_doubles(lists.data, findings);
    check_doubles(lists.alarms, findings);
    std::vector<WrittenUrl> used = lists.data;
    used.insert(used.end(), lists.alarms.begin(), lists.alarms.end());
    for (const WrittenUrl& one : used)
    {
        check_url(one, findings);
    }
    check_tls(ini, used, findings);
}

} // namespace vkctl
