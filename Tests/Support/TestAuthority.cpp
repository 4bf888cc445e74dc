#include "TestAuthority.h"

#include <LumoKit/Platform/Foundation/FatalError.h>

#include <gnutls/x509.h>

#include <ctime>

namespace LumoKit::Test {

namespace {

void require(int result)
{
    if (result < 0)
        fatalError(gnutls_strerror(result));
}

/// A key and the certificate of it.
struct Pair {
    Pair()
    {
        require(gnutls_x509_privkey_init(&key));
        require(gnutls_x509_privkey_generate(
            key, GNUTLS_PK_ECDSA, GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0));
        require(gnutls_x509_crt_init(&certificate));
        require(gnutls_x509_crt_set_version(certificate, 3));
        require(gnutls_x509_crt_set_key(certificate, key));
        const unsigned char serial[]{static_cast<unsigned char>(++serials)};
        require(gnutls_x509_crt_set_serial(certificate, serial, sizeof serial));
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
    ~Pair()
    {
        gnutls_x509_crt_deinit(certificate);
        gnutls_x509_privkey_deinit(key);
    }

    void setDates(int begins, int ends) const
    {
        const std::time_t now = std::time(nullptr);
        require(gnutls_x509_crt_set_activation_time(certificate, now + begins * 3600));
        require(gnutls_x509_crt_set_expiration_time(certificate, now + ends * 3600));
    }

    [[nodiscard]] std::string certificateText() const
    {
        gnutls_datum_t text{};
        require(gnutls_x509_crt_export2(certificate, GNUTLS_X509_FMT_PEM, &text));
        return taken(text);
    }
    [[nodiscard]] std::string keyText() const
    {
        gnutls_datum_t text{};
        require(
            gnutls_x509_privkey_export2_pkcs8(key, GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN, &text));
        return taken(text);
    }

    static std::string taken(gnutls_datum_t text)
    {
        std::string copy(reinterpret_cast<const char*>(text.data), text.size);
        gnutls_free(text.data);
        return copy;
    }

    static inline int serials = 0;
    gnutls_x509_privkey_t key = nullptr;
    gnutls_x509_crt_t certificate = nullptr;
};

} // namespace

struct TestAuthority::Native : Pair { };

TestAuthority::TestAuthority()
    : native(std::make_unique<Native>())
{
    require(gnutls_x509_crt_set_dn(
        native->certificate, ("CN=Test Authority " + std::to_string(Pair::serials)).c_str(), nullptr));
    require(gnutls_x509_crt_set_ca_status(native->certificate, 1));
    require(gnutls_x509_crt_set_key_usage(native->certificate, GNUTLS_KEY_KEY_CERT_SIGN));
    native->setDates(-48, 48);
    require(
        gnutls_x509_crt_sign2(native->certificate, native->certificate, native->key, GNUTLS_DIG_SHA256, 0));
    writeInPlace(file(), native->certificateText());
}

TestAuthority::~TestAuthority() = default;

std::string TestAuthority::sign(const Request& request) const
{
    const Pair pair;
    require(gnutls_x509_crt_set_dn(pair.certificate, ("CN=" + request.name).c_str(), nullptr));
    require(gnutls_x509_crt_set_subject_alt_name(pair.certificate, GNUTLS_SAN_DNSNAME, request.name.data(),
        static_cast<unsigned>(request.name.size()), GNUTLS_FSAN_SET));
    require(gnutls_x509_crt_set_key_usage(pair.certificate, GNUTLS_KEY_DIGITAL_SIGNATURE));
    require(gnutls_x509_crt_set_key_purpose_oid(pair.certificate, GNUTLS_KP_TLS_WWW_SERVER, 0));
    pair.setDates(request.begins, request.ends);
    require(gnutls_x509_crt_sign2(pair.certificate, native->certificate, native->key, GNUTLS_DIG_SHA256, 0));
    return pair.certificateText() + pair.keyText();
}

} // namespace LumoKit::Test
