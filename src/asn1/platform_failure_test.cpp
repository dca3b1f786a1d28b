// The platform's functions fail on demand here: what they report must leave as a result code, and
// nothing that they didn't fill may be taken for an answer.
#include <gtest/gtest.h>

#include <cstring>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/object_coding.h>
#include <basalt/provider.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/certificate_identification.h>
#include <chronoseal/asn1/test_certificate.h>
#include <chronoseal/base/test_seam.h>

namespace {

// The calls that fail while it lives, the first `after` of them excepted.
struct Failing {
    Failing(const char* name, int calls) : function(name), after(calls) { current = this; }
    ~Failing() { current = nullptr; }

    bool now(const char* name) { return std::strcmp(name, function) == 0 && after-- <= 0; }

    const char* function;
    int after;
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
    int hashes = 0;

    static Failing* current;
};

Failing* Failing::current = nullptr;

bool fails(const char* name) {
    if (!Failing::current || !Failing::current->now(name)) {
        return false;
    }
    SetLastError(Failing::current->error);
    return true;
}

} // namespace

extern "C" {

BOOL CryptGenRandom(HCRYPTPROV provider, DWORD size, BYTE* buffer) noexcept {
    return fails("CryptGenRandom") ? FALSE : REAL(CryptGenRandom)(provider, size, buffer);
}

BOOL CryptAcquireContextA(HCRYPTPROV* context, LPCSTR container, LPCSTR name, DWORD type,
                          DWORD flags) noexcept {
    return fails("CryptAcquireContextA")
               ? FALSE
               : REAL(CryptAcquireContextA)(context, container, name, type, flags);
}

BOOL CryptContextAddRef(HCRYPTPROV context, DWORD* reserved, DWORD flags) noexcept {
    return fails("CryptContextAddRef") ? FALSE : REAL(CryptContextAddRef)(context, reserved, flags);
}

BOOL CryptHashCertificate(HCRYPTPROV provider, ALG_ID algorithm, DWORD flags, const BYTE* data,
                          DWORD size, BYTE* hash, DWORD* hash_size) {
    if (Failing::current) {
        ++Failing::current->hashes;
    }
    if (fails("CryptHashCertificate")) {
        *hash_size = 80;
        return FALSE;
    }
    return REAL(CryptHashCertificate)(provider, algorithm, flags, data, size, hash, hash_size);
}

BOOL CryptEncodeObject(DWORD encoding, LPCSTR type, const void* info, BYTE* out, DWORD* size) {
    return fails("CryptEncodeObject") ? FALSE
                                      : REAL(CryptEncodeObject)(encoding, type, info, out, size);
}
}

namespace Halcyon::ASN1 {
namespace {

TEST(PlatformFailure, RandomSourceThatFailsGivesNoNumber) {
    for (const char* function : {"CryptGenRandom", "CryptAcquireContextA"}) {
        const Failing failing(function, 0);
        EXPECT_CODE(0x80070008u, MakeRandomBigInteger(0, 8)) << function;
    }
    EXPECT_CODE(0u, MakeRandomBigInteger(0, 8));
}

TEST(PlatformFailure, ReferenceThatCannotBeAddedIsForgiven) {
    HCRYPTPROV provider = 0;
    ASSERT_TRUE(
        CryptAcquireContextA(&provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT));
    {
        const Failing failing("CryptContextAddRef", 0);
        EXPECT_EQ(MakeRandomBigInteger(provider, 8).cbData(), 8u);
    }
    // The one reference went with the number.
    EXPECT_FALSE(CryptReleaseContext(provider, 0));
}

TEST(PlatformFailure, HashIsAskedForTwiceAtMost) {
    const CBlob data = from_hex("010203");
    auto hash = [&] { CalculateCertificateHash(data.pbData(), 3, "1.3.14.3.2.26"); };
    using Row = std::tuple<DWORD, int, std::uint32_t>;
    for (const auto& [error, hashes, code] :
         {Row{ERROR_NOT_ENOUGH_MEMORY, 1, 0x80070008u}, Row{ERROR_MORE_DATA, 2, 0x800700EAu},
          Row{static_cast<DWORD>(NTE_BAD_ALGID), 1, 0x80090008u}}) {
        Failing failing("CryptHashCertificate", 0);
        failing.error = error;
        EXPECT_EQ(code_of(hash), code);
        EXPECT_EQ(failing.hashes, hashes);
    }
}

TEST(PlatformFailure, CertificateThatCannotBeNamedIsAFailureAndNotAMismatch) {
    const CBlob certificate = make_certificate("05");
    CAlgorithmIdentifierEx algorithm("1.3.14.3.2.26");
    const COtherCertID id = OtherCertIDFromCertificate(certificate, algorithm, true);
    for (int calls : {0, 1}) {
        const Failing failing("CryptEncodeObject", calls);
        EXPECT_CODE(0x80070008u, GetIssuerSerialFromCertificate(certificate)) << calls;
    }
    const Failing failing("CryptHashCertificate", 0);
    EXPECT_CODE(0x80070008u, OtherCertIDMatches(id, certificate));
}

} // namespace
} // namespace Halcyon::ASN1
