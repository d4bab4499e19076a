// The servers: whether they answer, whether the certificates of https ones and of their authority
// are good, and for how long.
//
// ca-missing, certificate-expiring, certificate-refused, server-unreachable. Files are only read;
// of each server a connection is made and nothing sent over it. One thread.
#pragma once

#include <openssl/x509.h>

#include <memory>
#include <string>
#include <vector>

#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

struct CertificateDeleter
{
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using CertificatePtr = std::unique_ptr<X509, CertificateDeleter>;

// The certificates of a PEM text; none when it holds none.
std::vector<CertificatePtr> read_certificates(const std::string& pem);

// "expires in 9 days, on 2024-05-10"; empty when there is time.
std::string expiry_problem(const X509* certificate);

// The file that CA names, when a URL in use is https.
void check_ca(const CIniFile& ini, CFindings& findings);

constexpr long kServerLimitS = 5;

void check_servers(const CIniFile& ini, CFindings& findings);

} // namespace vkctl
