#include <gmock/gmock.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <memory>

#include "vkctl/receive/ReceiveCertificate.h"

using namespace vkctl;

namespace
{

// Verifies the server's certificate against the authority as a client reads it from its file.
int verify_error(const CServerCertificate& made)
{
    const std::string pem = made.AuthorityPem();
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), &BIO_free);
    std::unique_ptr<X509, decltype(&X509_free)> authority(
        PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr), &X509_free);
    std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> store(X509_STORE_new(),
                                                                  &X509_STORE_free);
    X509_STORE_add_cert(store.get(), authority.get());
    std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> context(X509_STORE_CTX_new(),
                                                                            &X509_STORE_CTX_free);
    X509_STORE_CTX_init(context.get(), store.get(), made.Certificate(), nullptr);
    X509_STORE_CTX_set_purpose(context.get(), X509_PURPOSE_SSL_SERVER);
    X509_verify_cert(context.get());
    return X509_STORE_CTX_get_error(context.get());
}

bool is_for_ip(const CServerCertificate& made, const char* address)
{
    return X509_check_ip_asc(made.Certificate(), address, 0) == 1;
}

bool is_for_host(const CServerCertificate& made, const char* name)
{
    return X509_check_host(made.Certificate(), name, 0, 0, nullptr) == 1;
}

} // namespace

TEST(ReceiveCertificateTest, TheAuthorityVouchesForTheServer)
{
    EXPECT_EQ(verify_error(CServerCertificate("127.0.0.1")), X509_V_OK);
}

TEST(ReceiveCertificateTest, AnotherAuthorityDoesNot)
{
    const CServerCertificate one("127.0.0.1");
    const CServerCertificate two("127.0.0.1");
    EXPECT_NE(one.AuthorityPem(), two.AuthorityPem());
    EXPECT_EQ(X509_check_private_key(one.Certificate(), two.Key()), 0);
    EXPECT_EQ(X509_check_private_key(one.Certificate(), one.Key()), 1);
}

TEST(ReceiveCertificateTest, ItIsForThisMachineAndTheAddressGiven)
{
    const CServerCertificate made("192.168.7.9");
    EXPECT_TRUE(is_for_host(made, "localhost"));
    EXPECT_TRUE(is_for_ip(made, "127.0.0.1"));
    EXPECT_TRUE(is_for_ip(made, "192.168.7.9"));
    EXPECT_FALSE(is_for_host(made, "example.com"));
}

TEST(ReceiveCertificateTest, NamesAndAddressesAreToldApart)
{
    EXPECT_EQ(alternative_names("127.0.0.1"), "DNS:localhost,IP:127.0.0.1,IP:::1");
    EXPECT_EQ(alternative_names("0.0.0.0"), "DNS:localhost,IP:127.0.0.1,IP:::1");
    EXPECT_EQ(alternative_names("10.0.0.1"), "DNS:localhost,IP:127.0.0.1,IP:::1,IP:10.0.0.1");
    EXPECT_EQ(alternative_names("room.example"),
              "DNS:localhost,IP:127.0.0.1,IP:::1,DNS:room.example");
}
