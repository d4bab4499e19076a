#include "tests/daemon/support/Certificates.h"

#include <cstdio>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace
{

struct Deleter
{
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
    void operator()(FILE* file) const { std::fclose(file); }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter>;
using Certificate = std::unique_ptr<X509, Deleter>;

constexpr long kLifeS = 24 * 3600;
constexpr long kVersion3 = 2;

void check(bool ok, const char* what)
{
    if (!ok)
    {
        throw std::runtime_error(std::string("certificates: ") + what);
    }
}

void extend(X509* certificate, int nid, const char* value)
{
    const std::unique_ptr<X509_EXTENSION, Deleter> extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, nid, value));
    check(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1, value);
}

// A certificate of key under that name, not yet signed.
Certificate new_certificate(EVP_PKEY* key, const std::string& name, long serial)
{
    Certificate certificate(X509_new());
    X509_set_version(certificate.get(), kVersion3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kLifeS);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kLifeS);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    return certificate;
}

void sign(X509* certificate, X509* issuer, EVP_PKEY* issuer_key)
{
    X509_set_issuer_name(certificate, X509_get_subject_name(issuer));
    check(X509_sign(certificate, issuer_key, EVP_sha256()) > 0, "cannot sign");
}

void save(const std::string& path, X509* certificate)
{
    const std::unique_ptr<FILE, Deleter> file(std::fopen(path.c_str(), "we"));
    check(file != nullptr && PEM_write_X509(file.get(), certificate) == 1, path.c_str());
}

void save(const std::string& path, EVP_PKEY* key)
{
    const std::unique_ptr<FILE, Deleter> file(std::fopen(path.c_str(), "we"));
    check(file != nullptr &&
              PEM_write_PrivateKey(file.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
          path.c_str());
}

} // namespace

struct CAuthority::Keys
{
    Key key;
    Certificate certificate;
};

CAuthority::CAuthority(const std::string& dir, const std::string& name)
    : m_keys(std::make_unique<Keys>()), m_strBase(dir + "/" + name)
{
    m_keys->key.reset(EVP_EC_gen("P-256"));
    check(m_keys->key != nullptr, "no key");
    m_keys->certificate = new_certificate(m_keys->key.get(), name, 1);
    X509* certificate = m_keys->certificate.get();
    extend(certificate, NID_basic_constraints, "critical,CA:TRUE");
    sign(certificate, certificate, m_keys->key.get());
    save(CertificateFile(), certificate);
}

CAuthority::~CAuthority() = default;

std::string CAuthority::CertificateFile() const
{
    return m_strBase + ".pem";
}

Identity CAuthority::Issue(const std::string& names)
{
    ++m_issued;
    const std::string base = m_strBase + "-" + std::to_string(m_issued);
    const Key key(EVP_EC_gen("P-256"));
    check(key != nullptr, "no key");
    const Certificate certificate = new_certificate(key.get(), "server", 1 + m_issued);
    extend(certificate.get(), NID_subject_alt_name, names.c_str());
    sign(certificate.get(), m_keys->certificate.get(), m_keys->key.get());

    Identity identity{base + ".pem", base + ".key"};
    save(identity.certificate_file, certificate.get());
    save(identity.key_file, key.get());
    return identity;
}
