#include "vkctl/check/CheckServers.h"

#include <curl/curl.h>

#include <memory>
#include <set>

#include "vkctl/check/CheckCertificate.h"
#include "vkctl/check/CheckUrls.h"

namespace vkctl
{

namespace
{

struct EasyDeleter
{
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};

// What one handshake told.
struct Handshake
{
    CURLcode code = CURLE_OK;
    std::string reason; // libcurl's own words, when it failed
    std::vector<CertificatePtr> certificates;
};

std::string part_of(CURLU* url, CURLUPart part)
{
    char* text = nullptr;
    curl_url_get(url, part, &text, CURLU_DEFAULT_PORT);
    std::string copy = text != nullptr ? text : "";
    curl_free(text);
    return copy;
}

// "host:port", to ask each server once.
std::string server_of(const std::string& url)
{
    CURLU* parsed = curl_url();
    curl_url_set(parsed, CURLUPART_URL, url.c_str(), 0);
    const std::string server =
        part_of(parsed, CURLUPART_HOST) + ":" + part_of(parsed, CURLUPART_PORT);
    const bool secure = part_of(parsed, CURLUPART_SCHEME) == "https";
    curl_url_cleanup(parsed);
    return secure ? server : "";
}

// The rules by which the daemon accepts a server.
void set_tls(CURL* handle, const std::string& ca)
{
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, ca.empty() ? 0L : 1L);
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L); // also what 1 means to libcurl
    if (!ca.empty())
    {
        curl_easy_setopt(handle, CURLOPT_CAINFO, ca.c_str());
    }
}

std::vector<CertificatePtr> certificates_of(CURL* handle)
{
    std::vector<CertificatePtr> certificates;
    curl_certinfo* info = nullptr;
    if (curl_easy_getinfo(handle, CURLINFO_CERTINFO, &info) != CURLE_OK || info == nullptr)
    {
        return certificates;
    }
    const std::string mark = "Cert:";
    for (int i = 0; i < info->num_of_certs; ++i)
    {
        for (const curl_slist* line = info->certinfo[i]; line != nullptr; line = line->next)
        {
            const std::string text = line->data;
            if (text.compare(0, mark.size(), mark) == 0)
            {
                for (CertificatePtr& one : read_certificates(text.substr(mark.size())))
                {
                    certificates.push_back(std::move(one));
                }
            }
        }
    }
    return certificates;
}

Handshake shake_hands(const std::string& url, const std::string& ca)
{
    Handshake result;
    char reason[CURL_ERROR_SIZE] = "";
    const std::unique_ptr<CURL, EasyDeleter> handle(curl_easy_init());
    curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle.get(), CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(handle.get(), CURLOPT_CERTINFO, 1L);
    curl_easy_setopt(handle.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle.get(), CURLOPT_TIMEOUT, kServerLimitS);
    curl_easy_setopt(handle.get(), CURLOPT_CONNECTTIMEOUT, kServerLimitS);
    curl_easy_setopt(handle.get(), CURLOPT_ERRORBUFFER, reason);
    set_tls(handle.get(), ca);
    result.code = curl_easy_perform(handle.get());
    result.reason = *reason != '\0' ? reason : curl_easy_strerror(result.code);
    result.certificates = certificates_of(handle.get());
    return result;
}

// A certificate that the daemon looks at: one of a chain tells enough.
void report_expiry(const ConfiguredUrl& one, const std::string& server,
                   const std::vector<CertificatePtr>& chain, CFindings& findings)
{
    for (const CertificatePtr& certificate : chain)
    {
        const std::string problem = expiry_problem(certificate.get());
        if (!problem.empty())
        {
            findings.Warning(one.place, "certificate-expiring",
                             "the certificate of " + server + " " + problem +
                                 ": nothing is posted to " + one.key + " then");
            return;
        }
    }
}

void report(const ConfiguredUrl& one, const std::string& server, const Handshake& answer,
            CFindings& findings)
{
    if (answer.code == CURLE_PEER_FAILED_VERIFICATION || answer.code == CURLE_SSL_ISSUER_ERROR)
    {
        findings.Error(one.place, "certificate-refused",
                       "the certificate of " + server + " is refused (" + answer.reason +
                           "): nothing is posted to " + one.key);
    }
    else if (answer.code != CURLE_OK && answer.code != CURLE_SSL_CACERT_BADFILE)
    {
        findings.Warning(one.place, "server-unreachable",
                         one.key + " cannot be reached now: " + answer.reason +
                             "; --offline asks no server");
    }
}

} // namespace

void check_servers(const CIniFile& ini, CFindings& findings)
{
    const UrlLists lists = url_lists(ini);
    const std::string ca = ini.Text("POST", "CA");
    std::vector<ConfiguredUrl> urls = lists.data;
    urls.insert(urls.end(), lists.alarms.begin(), lists.alarms.end());
    std::set<std::string> asked;
    for (const ConfiguredUrl& one : urls)
    {
        const std::string server = server_of(one.url);
        if (is_https_server(one.url) && !server.empty() && asked.insert(server).second)
        {
            const Handshake answer = shake_hands(one.url, ca);
            report(one, server, answer, findings);
            if (!ca.empty() && answer.code == CURLE_OK) // without CA nobody looks at the time
            {
                report_expiry(one, server, answer.certificates, findings);
            }
        }
    }
}

} // namespace vkctl
