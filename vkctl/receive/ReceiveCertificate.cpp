#include "vkctl/receive/ReceiveCertificate.h"

#include <arpa/inet.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <cstdint>

#include "vkctl/base/CliError.h"

namespace vkctl
{

namespace
{

constexpr long kDayS = 24L * 60 * 60;
constexpr long kValidDays = 90; // vkctl check warns 30 days before the end

void require(bool ok, const char* what)
{
    if (!ok)
    {
        char text[256];
        ERR_error_string_n(ERR_get_error(), text, sizeof text);
        throw CCliError(std::string("cannot make a certificate: ") + what + ": " + text);
    }
}

EVP_PKEY* new_key()
{
    EVP_PKEY* key = EVP_EC_gen("P-256");
    require(key != nullptr, "key");
    return key;
}

void set_serial(X509* cert)
{
    uint32_t random = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&random), sizeof random) == 1, "serial");
    require(ASN1_INTEGER_set(X509_get_serialNumber(cert), (random & 0x7FFFFFFFL) + 1) == 1,
            "serial");
}

void set_subject(X509* cert, const char* common_name)
{
    X509_NAME* name = X509_get_subject_name(cert);
    const auto* text = reinterpret_cast<const unsigned char*>(common_name);
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1, "name");
}

void add_extension(X509* cert, X509* issuer, int nid, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, cert, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str());
    require(extension != nullptr, "extension");
    const int added = X509_add_ext(cert, extension, -1);
    X509_EXTENSION_free(extension);
    require(added == 1, "extension");
}

// A certificate with everything but issuer, extensions and signature.
X509* new_certificate(const char* common_name, EVP_PKEY* key)
{
    X509* cert = X509_new();
    require(cert != nullptr, "memory");
    X509_set_version(cert, X509_VERSION_3);
    set_serial(cert);
    // A board's clock may be behind: the certificate begins a day ago.
    X509_gmtime_adj(X509_getm_notBefore(cert), -kDayS);
    X509_gmtime_adj(X509_getm_notAfter(cert), kValidDays * kDayS);
    require(X509_set_pubkey(cert, key) == 1, "key");
    set_subject(cert, common_name);
    return cert;
}

void sign(X509* cert, EVP_PKEY* issuer_key)
{
    require(X509_sign(cert, issuer_key, EVP_sha256()) != 0, "signature");
}

} // namespace

std::string alternative_names(const std::string& host)
{
    std::string names = "DNS:localhost,IP:127.0.0.1,IP:::1";
    unsigned char address[16];
    const bool is_ip = inet_pton(AF_INET, host.c_str(), address) == 1 ||
                       inet_pton(AF_INET6, host.c_str(), address) == 1;
    const bool is_known = host == "localhost" || host == "127.0.0.1" || host == "::1";
    const bool is_any = host == "0.0.0.0" || host == "::" || host.empty();
    return is_known || is_any ? names : names + (is_ip ? ",IP:" : ",DNS:") + host;
}

CServerCertificate::CServerCertificate(const std::string& host) : m_pKey(new_key())
{
    const std::unique_ptr<EVP_PKEY, Deleter> authority_key(new_key());
    m_pAuthority.reset(new_certificate("vkctl receive, test authority", authority_key.get()));
    X509* authority = m_pAuthority.get();
    X509_set_issuer_name(authority, X509_get_subject_name(authority));
    add_extension(authority, authority, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    add_extension(authority, authority, NID_key_usage, "critical,keyCertSign,cRLSign");
    add_extension(authority, authority, NID_subject_key_identifier, "hash");
    sign(authority, authority_key.get());

    m_pServer.reset(new_certificate("localhost", m_pKey.get()));
    X509* server = m_pServer.get();
    X509_set_issuer_name(server, X509_get_subject_name(authority));
    add_extension(server, authority, NID_basic_constraints, "critical,CA:FALSE");
    add_extension(server, authority, NID_key_usage, "critical,digitalSignature");
    add_extension(server, authority, NID_ext_key_usage, "serverAuth");
    add_extension(server, authority, NID_subject_key_identifier, "hash");
    add_extension(server, authority, NID_authority_key_identifier, "keyid");
    add_extension(server, authority, NID_subject_alt_name, alternative_names(host));
    sign(server, authority_key.get());
}

std::string CServerCertificate::AuthorityPem() const
{
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), &BIO_free);
    require(memory != nullptr && PEM_write_bio_X509(memory.get(), m_pAuthority.get()) == 1, "PEM");
    char* data = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &data);
    return std::string(data, static_cast<size_t>(length));
}

} // namespace vkctl
