// Servers behind TLS: whom the daemon trusts, and that nothing leaves for anybody else.
#include "tests/daemon/support/Certificates.h"
#include "tests/daemon/support/RawServer.h"
#include "tests/daemon/support/TransportTest.h"

using ::testing::IsEmpty;

namespace
{

// A server with a certificate, and authorities that a daemon may trust.
class Https : public Transport
{
protected:
    CAuthority ours{host.Path(), "ours"};
    CAuthority others{host.Path(), "others"};
    CReceiver secure{ours.Issue("IP:127.0.0.1")};
    CReceiver impostor{ours.Issue("DNS:other.example,IP:127.0.0.2")};
};

} // namespace

TEST_F(Https, RightAuthorityLetsTheBodyPass)
{
    // As with plain HTTP.
    host.Post("CA", ours.CertificateFile());
    ExpectOutcome(secure.Url(), 0);
    EXPECT_EQ(secure.Body(0), kDevice7Body);
}

TEST_F(Https, WrongAuthorityIsRefused)
{
    // The server's certificate was made by another one; no body leaves.
    host.Post("CA", others.CertificateFile());
    ExpectOutcome(secure.Url(), 60);
    EXPECT_THAT(secure.Bodies(), IsEmpty());
}

TEST_F(Https, AnotherHostsCertificateIsRefused)
{
    // Made by the right authority, for somebody else.
    host.Post("CA", ours.CertificateFile());
    ExpectOutcome(impostor.Url(), 60);
    EXPECT_THAT(impostor.Bodies(), IsEmpty());
}

TEST_F(Https, MissingAuthorityFileIsAnError)
{
    // Not a reason to do without.
    host.Post("CA", host.File("no-such.pem"));
    ExpectOutcome(secure.Url(), 77);
    EXPECT_THAT(secure.Bodies(), IsEmpty());
}

TEST_F(Https, WithoutAuthorityAnyIssuerIsTrusted)
{
    // No CA configured: who made the certificate is not asked.
    ExpectOutcome(secure.Url(), 0);
    EXPECT_EQ(secure.Body(0), kDevice7Body);
}

TEST_F(Https, WithoutAuthorityTheHostIsStillChecked)
{
    // The certificate must be this host's.
    ExpectOutcome(impostor.Url(), 60);
    EXPECT_THAT(impostor.Bodies(), IsEmpty());
}

TEST_F(Https, SeveralUrlsMayMixSchemes)
{
    // One plain, one trusted, one impostor.
    host.Post("CA", ours.CertificateFile());
    host.Post("maxURLs", "3");
    host.Post("Url1", secure.Url());
    host.Post("Url2", impostor.Url());
    StartSimpleRoom();
    EXPECT_EQ(secure.Body(0), kDevice7Body);
    EXPECT_TRUE(WaitOutcome(impostor.Url(), "-1 (60)",
                            "SSL peer certificate or SSH remote key was not OK"));
}

TEST_F(Https, PlainServerBehindAnHttpsUrlIsAnError)
{
    // No body leaves unencrypted.
    std::string url = receiver.Url();
    ExpectOutcome(url.insert(4, "s"), 35);
    EXPECT_THAT(receiver.Bodies(), IsEmpty());
}
