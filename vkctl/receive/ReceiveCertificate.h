// A certificate authority made on the spot, and one server certificate signed by it.
//
// The authority's key is forgotten at once: nothing but this one server certificate will ever be
// signed by it. Owns its OpenSSL objects. Failures are thrown as CCliError.
#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

namespace vkctl
{

class CServerCertificate
{
public:
    // Valid for localhost, 127.0.0.1, ::1 and `host` (a name or an IP address), for thirty days.
    explicit CServerCertificate(const std::string& host);

    X509* Certificate() const { return m_pServer.get(); }
    EVP_PKEY* Key() const { return m_pKey.get(); }
    std::string AuthorityPem() const; // what a client has to trust

private:
    struct Deleter
    {
        void operator()(X509* p) const { X509_free(p); }
        void operator()(EVP_PKEY* p) const { EVP_PKEY_free(p); }
    };

    std::unique_ptr<EVP_PKEY, Deleter> m_pKey;
    std::unique_ptr<X509, Deleter> m_pAuthority;
    std::unique_ptr<X509, Deleter> m_pServer;
};

// The "subjectAltName" text for a host, an IP address or a name.
std::string alternative_names(const std::string& host);

} // namespace vkctl
