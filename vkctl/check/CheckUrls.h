// The two lists of URLs: what is in them as the daemon fills them, and what is wrong with them.
//
// no-url, no-data-url, url-unused, alarm-url-unused, url-twice, url-invalid, url-scheme,
// tls-unverified, ca-unused. Nothing is connected to.
#pragma once

#include <string>
#include <vector>

#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// A URL and where it stands.
struct WrittenUrl
{
    std::string key;
    std::string url;
    Place place;
};

struct UrlLists
{
    std::vector<WrittenUrl> data;   // every reading goes to all of them
    std::vector<WrittenUrl> alarms; // every alarm goes to all of them
};

UrlLists url_lists(const CIniFile& ini);

// The daemon's own test, by which it gives a transfer its rules of verification: the text anywhere
// in the URL.
bool is_https(const std::string& url);

// Whether a connection to the URL follows these rules: they change nothing about plain http.
bool is_https_server(const std::string& url);

void check_urls(const CIniFile& ini, CFindings& findings);

} // namespace vkctl
