// Findings about the authority's certificate.

#include <gmock/gmock.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include "tests/vkctl/check/CheckTest.h"
#include "vkctl/check/CheckServers.h"

using namespace vkctl;
using testing::MatchesRegex;
using testing::StartsWith;

namespace
{

// A certificate in PEM form that signs itself and is valid between two times, "20190101000000Z".
std::string pem_between(const char* begin, const char* end)
{
    const CertificatePtr made(X509_new());
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"),
                                                                  &EVP_PKEY_free);
    ASN1_TIME_set_string(X509_getm_notBefore(made.get()), begin);
    ASN1_TIME_set_string(X509_getm_notAfter(made.get()), end);
    X509_set_pubkey(made.get(), key.get());
    const auto* name = reinterpret_cast<const unsigned char*>("Room CA");
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made.get()), "CN", MBSTRING_UTF8, name, -1, -1,
                               0);
    X509_sign(made.get(), key.get(), EVP_sha256());
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), &BIO_free);
    PEM_write_bio_X509(bio.get(), made.get());
    char* text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return {text, static_cast<size_t>(length)};
}

// The same for one that ends so many seconds from now.
std::string problem_of_one_that_ends_in(long seconds)
{
    const CertificatePtr made(X509_new());
    X509_gmtime_adj(X509_getm_notBefore(made.get()), -1);
    X509_gmtime_adj(X509_getm_notAfter(made.get()), seconds);
    return expiry_problem(made.get());
}

const std::string kGood = "write ca.pem " + pem_between("20200101000000Z", "20991231000000Z");
const std::string kOld = "write ca.pem " + pem_between("20190101000000Z", "20200102000000Z");
const std::string kEarly = "write ca.pem " + pem_between("20980101000000Z", "20991231000000Z");

} // namespace

std::vector<CheckCase> certificate_cases()
{
    const std::string url = "POST/Url=https://a/";
    const std::string ca = "POST/CA=ca.pem";
    return {
        {"ca-missing",
         {url, ca},
         "vkApp.ini:N: error: CA ca.pem cannot be read: nothing is posted to any https server",
         {ca, "POST/Url=http://a/?from=https://b/"}},
        {"ca-missing",
         {url, ca, "write ca.pem not a certificate"},
         "vkApp.ini:N: error: CA ca.pem holds no certificate in PEM form: nothing is posted to any "
         "https server",
         {url, ca, kGood}},
        {"certificate-expiring",
         {url, ca, kOld},
         "vkApp.ini:N: warning: the authority /CN=Room CA in ca.pem has expired on 2020-01-02: "
         "nothing is posted to its servers then",
         {url, ca, kGood}},
        {"certificate-expiring",
         {url, ca, kEarly},
         "vkApp.ini:N: warning: the authority /CN=Room CA in ca.pem is valid from 2098-01-01 on "
         "only: nothing is posted to its servers then",
         {ca, kEarly}},
        {"certificate-expiring",
         {url, ca, kOld + pem_between("20180101000000Z", "20210304000000Z")},
         "vkApp.ini:N: warning: of the 2 authorities the one that lasts longest, /CN=Room CA in "
         "ca.pem has expired on 2021-03-04: nothing is posted to its servers then",
         {url, ca, kOld + pem_between("20200101000000Z", "20991231000000Z")}},
    };
}

TEST(CheckCertificateTest, TheLastThirtyDaysAreCounted)
{
    constexpr long kHour = 3600;
    EXPECT_THAT(problem_of_one_that_ends_in(-kHour), StartsWith("has expired on 20"));
    EXPECT_THAT(problem_of_one_that_ends_in(kHour), StartsWith("expires in 0 days, on 20"));
    EXPECT_THAT(problem_of_one_that_ends_in(29 * 24 * kHour + kHour),
                StartsWith("expires in 29 days, on 20"));
    EXPECT_EQ(problem_of_one_that_ends_in(30 * 24 * kHour + kHour), "");
}

TEST(CheckCertificateTest, ItsFirstDayHasNotComeBeforeItsFirstSecond)
{
    const CertificatePtr made(X509_new());
    X509_gmtime_adj(X509_getm_notAfter(made.get()), 400L * 24 * 3600);
    X509_gmtime_adj(X509_getm_notBefore(made.get()), 3600);
    EXPECT_THAT(expiry_problem(made.get()), MatchesRegex("is valid from 20..-..-.. on only"));
    X509_gmtime_adj(X509_getm_notBefore(made.get()), -1);
    EXPECT_EQ(expiry_problem(made.get()), "");
}

TEST(CheckCertificateTest, AllCertificatesOfAFileAreRead)
{
    const std::string pem = pem_between("20200101000000Z", "20991231000000Z");
    EXPECT_EQ(read_certificates("remark\n" + pem + pem).size(), 2U);
    EXPECT_EQ(read_certificates("").size(), 0U);
}
