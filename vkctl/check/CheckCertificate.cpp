#include "vkctl/check/CheckCertificate.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

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
    const auto secure = [](const ConfiguredUrl& one)
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
    findings.Warning(place, "certificate-expiring",
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
        findings.Error(place, "ca-missing",
                       "CA " + path +
                           (there ? " holds no certificate in PEM form" : " cannot be read") +
                           ": nothing is posted to any https server");
    }
    check_authorities(place, path, certificates, findings);
}

} // namespace vkctl
