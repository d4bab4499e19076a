#include "vkctl/check/CheckServers.h"

#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/pem.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <tuple>

#include "vkctl/check/CheckUrls.h"

namespace vkctl
{

namespace
{

constexpr int kSoonDays = 30;

std::string day_of(const ASN1_TIME* time)
{
    std::tm parts{};
    ASN1_TIME_to_tm(time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d", &parts);
    return text;
}

// Days from now to the time, in the past negative; -1 for one that is hours ago.
int days_to(const ASN1_TIME* time)
{
    int days = 0;
    int seconds = 0;
    ASN1_TIME_diff(&days, &seconds, nullptr, time);
    return days == 0 && seconds < 0 ? -1 : days;
}

std::string subject_of(const X509* certificate)
{
    char text[256] = "";
    X509_NAME_oneline(X509_get_subject_name(certificate), text, sizeof text);
    return text;
}

bool uses_https(const CIniFile& ini)
{
    const UrlLists lists = url_lists(ini);
    const auto secure = [](const WrittenUrl& one)
    {
        return is_https_server(one.url);
    };
    return std::any_of(lists.data.begin(), lists.data.end(), secure) ||
           std::any_of(lists.alarms.begin(), lists.alarms.end(), secure);
}

// A server needs one of the authorities, and only a handshake shows which. So they are told of when
// none of them is good, by the one that lasts longest.
void check_authorities(const Place& place, const std::string& path,
                       const std::vector<CertificatePtr>& authorities, CFindings& findings)
{
    const auto last = std::max_element(
        authorities.begin(), authorities.end(),
        [](const CertificatePtr& a, const CertificatePtr& b) {
            return ASN1_TIME_compare(X509_get0_notAfter(a.get()), X509_get0_notAfter(b.get())) < 0;
        });
    const bool good =
        std::any_of(authorities.begin(), authorities.end(),
                    [](const CertificatePtr& one) { return expiry_problem(one.get()).empty(); });
    if (last == authorities.end() || good)
    {
        return;
    }
    const std::string which =
        authorities.size() == 1
            ? "the authority "
            : "of the " + std::to_string(authorities.size()) + " authorities the one that lasts ";
    findings.Warning(place, FindingId::kCertificateExpiring,
                     which + (authorities.size() == 1 ? "" : "longest, ") +
                         subject_of(last->get()) + " in " + path + " " +
                         expiry_problem(last->get()) + ": nothing is posted to its servers then");
}

// Empty when it cannot be read.
std::string text_of(const std::string& path)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored))
    {
        return "";
    }
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

std::vector<CertificatePtr> read_certificates(const std::string& pem)
{
    std::vector<CertificatePtr> certificates;
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), &BIO_free);
    while (X509* one = PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr))
    {
        certificates.emplace_back(one);
    }
    ERR_clear_error(); // "no start line" is the end
    return certificates;
}

std::string expiry_problem(const X509* certificate)
{
    const ASN1_TIME* begin = X509_get0_notBefore(certificate);
    const ASN1_TIME* end = X509_get0_notAfter(certificate);
    const int days = days_to(end);
    if (days < 0)
    {
        return "has expired on " + day_of(end);
    }
    if (X509_cmp_current_time(begin) > 0)
    {
        return "is valid from " + day_of(begin) + " on only";
    }
    return days < kSoonDays ? "expires in " + std::to_string(days) + " days, on " + day_of(end)
                            : "";
}

void check_ca(const CIniFile& ini, CFindings& findings)
{
    const std::string path = ini.Text("POST", "CA");
    const Place place = ini.At("POST", "CA");
    if (path.empty() || !uses_https(ini))
    {
        return;
    }
    const std::vector<CertificatePtr> certificates = read_certificates(text_of(path));
    if (certificates.empty())
    {
        const bool there = !text_of(path).empty();
        findings.Error(place, FindingId::kCaMissing,
                       "CA " + path +
                           (there ? " holds no certificate in PEM form" : " cannot be read") +
                           ": nothing is posted to any https server");
    }
    check_authorities(place, path, certificates, findings);
}

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

// A server as it is asked: once, however many URLs lead to it.
struct Server
{
    std::string scheme; // empty: nothing that takes posts
    std::string name;   // "host:port"

    bool operator<(const Server& other) const
    {
        return std::tie(scheme, name) < std::tie(other.scheme, other.name);
    }
};

Server server_of(const std::string& url)
{
    CURLU* parsed = curl_url();
    curl_url_set(parsed, CURLUPART_URL, url.c_str(), CURLU_GUESS_SCHEME);
    Server server{part_of(parsed, CURLUPART_SCHEME),
                  part_of(parsed, CURLUPART_HOST) + ":" + part_of(parsed, CURLUPART_PORT)};
    curl_url_cleanup(parsed);
    const bool takes_posts = server.scheme == "http" || server.scheme == "https";
    return takes_posts ? server : Server{};
}

// The rules by which the daemon accepts a server; where it does not see https, libcurl has its own.
void set_tls(CURL* handle, const std::string& url, const std::string& ca)
{
    if (!is_https(url))
    {
        return;
    }
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
    set_tls(handle.get(), url, ca);
    result.code = curl_easy_perform(handle.get());
    result.reason = *reason != '\0' ? reason : curl_easy_strerror(result.code);
    result.certificates = certificates_of(handle.get());
    return result;
}

// A certificate that the daemon looks at: one of a chain tells enough.
void report_expiry(const WrittenUrl& one, const std::string& server,
                   const std::vector<CertificatePtr>& chain, CFindings& findings)
{
    for (const CertificatePtr& certificate : chain)
    {
        const std::string problem = expiry_problem(certificate.get());
        if (!problem.empty())
        {
            findings.Warning(one.place, FindingId::kCertificateExpiring,
                             "the certificate of " + server + " " + problem +
                                 ": nothing is posted to " + one.key + " then");
            return;
        }
    }
}

void report(const WrittenUrl& one, const std::string& server, const Handshake& answer,
            CFindings& findings)
{
    if (answer.code == CURLE_PEER_FAILED_VERIFICATION || answer.code == CURLE_SSL_ISSUER_ERROR)
    {
        findings.Error(one.place, FindingId::kCertificateRefused,
                       "the certificate of " + server + " is refused (" + answer.reason +
                           "): nothing is posted to " + one.key);
    }
    else if (answer.code != CURLE_OK && answer.code != CURLE_SSL_CACERT_BADFILE)
    {
        findings.Warning(one.place, FindingId::kServerUnreachable,
                         one.key + " cannot be reached now: " + answer.reason +
                             "; --offline asks no server");
    }
}

} // namespace

void check_servers(const CIniFile& ini, CFindings& findings)
{
    const UrlLists lists = url_lists(ini);
    const std::string ca = ini.Text("POST", "CA");
    std::vector<WrittenUrl> urls = lists.data;
    urls.insert(urls.end(), lists.alarms.begin(), lists.alarms.end());
    std::set<Server> asked;
    for (const WrittenUrl& one : urls)
    {
        const Server server = server_of(one.url);
        if (!server.scheme.empty() && asked.insert(server).second)
        {
            const Handshake answer = shake_hands(one.url, ca);
            report(one, server.name, answer, findings);
            if (!ca.empty() && answer.code == CURLE_OK) // without CA nobody looks at the time
            {
                report_expiry(one, server.name, answer.certificates, findings);
            }
        }
    }
}

} // namespace vkctl
