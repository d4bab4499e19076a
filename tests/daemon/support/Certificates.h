// A certificate authority for one test: makes its own certificate and those of servers on the
// spot, as PEM files in a directory.
#pragma once

#include <memory>
#include <openssl/types.h>
#include <string>

// The files of a server's certificate and key.
struct Identity
{
    std::string certificate_file;
    std::string key_file;
};

class CAuthority
{
public:
    // The name tells the files of several authorities apart.
    CAuthority(const std::string& dir, const std::string& name);
    ~CAuthority();
    CAuthority(const CAuthority&) = delete;
    CAuthority& operator=(const CAuthority&) = delete;

    std::string CertificateFile() const; // what a client is to trust

    // A server that is known by these names, in OpenSSL's words ("IP:127.0.0.1").
    Identity Issue(const std::string& names);

private:
    struct Keys;
    std::unique_ptr<Keys> m_keys;
    std::string m_strBase; // of its file names
    int m_issued = 0;
};
