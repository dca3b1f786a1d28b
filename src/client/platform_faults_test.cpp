// What the client makes of a platform that fails, or answers oddly: the functions with C linkage do
// as a test wants.
#include <algorithm>
#include <optional>

#include <basalt/chain.h>
#include <basalt/error_codes.h>
#include <basalt/hash.h>
#include <basalt/last_error.h>
#include <basalt/message.h>
#include <basalt/provider.h>
#include <chronoseal/base/test_seam.h>
#include <chronoseal/client/signed_attributes.h>
#include <chronoseal/client/signing_certificate_attributes.h>
#include <chronoseal/client/testing/suite.h>

namespace {

std::optional<DWORD> update_fault, chain_policy_fault; // last errors
std::optional<DWORD> missing_parameter;
std::optional<BYTE> random_byte;
std::string released; // a letter for each handle

BOOL fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

} // namespace

extern "C" {

BOOL CryptMsgUpdate(HCRYPTMSG message, const BYTE* data, DWORD size, BOOL final) {
    const auto result = REAL(CryptMsgUpdate)(message, data, size, final);
    return update_fault ? fail(*update_fault) : result;
}

BOOL CryptMsgGetParam(HCRYPTMSG message, DWORD type, DWORD index, void* data, DWORD* size) {
    if (missing_parameter == type) {
        return fail(CRYPT_E_ATTRIBUTES_MISSING);
    }
    return REAL(CryptMsgGetParam)(message, type, index, data, size);
}

BOOL CryptGenRandom(HCRYPTPROV context, DWORD size, BYTE* buffer) noexcept {
    if (random_byte) {
        std::fill_n(buffer, size, *random_byte);
        return TRUE;
    }
    return REAL(CryptGenRandom)(context, size, buffer);
}

BOOL CryptDestroyHash(HCRYPTHASH hash) noexcept {
    released += 'h';
    return REAL(CryptDestroyHash)(hash);
}

BOOL CryptReleaseContext(HCRYPTPROV context, DWORD flags) noexcept {
    released += 'p';
    return REAL(CryptReleaseContext)(context, flags);
}

BOOL CertVerifyCertificateChainPolicy(LPCSTR policy, PCCERT_CHAIN_CONTEXT chain,
                                      CERT_CHAIN_POLICY_PARA* parameter,
                                      CERT_CHAIN_POLICY_STATUS* status) {
    if (chain_policy_fault) {
        return fail(*chain_policy_fault);
    }
    return REAL(CertVerifyCertificateChainPolicy)(policy, chain, parameter, status);
}
}

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

class PlatformFaults : public ::testing::Test {
protected:
    PlatformFaults() { Configuration::instance().set(""); }
    ~PlatformFaults() override {
        update_fault = chain_policy_fault = missing_parameter = std::nullopt;
        random_byte = std::nullopt;
    }

    Authority authority_;
    std::string token_ = authority_.token();
};

TEST_F(PlatformFaults, ImportForgivesDigestsThatCannotBeComputedAndNothingElse) {
    for (const auto& [fault, code] :
         {std::pair{NTE_BAD_ALGID, 0u}, std::pair{CRYPT_E_UNKNOWN_ALGO, 0u},
          std::pair{CRYPT_E_MSG_ERROR, 0x80091001u}, std::pair{ERROR_INVALID_DATA, 0x8007000Du}}) {
        update_fault = fault;
        CStamp stamp;
        EXPECT_CODE(code, import(stamp, token_)) << std::hex << fault;
    }
}

TEST_F(PlatformFaults, AttributesAreReadFromTheSignerWhereTheyAreNotGivenAlone) {
    const HCRYPTMSG message = CryptMsgOpenToDecode(0x10001, 0, 0, 0, nullptr, nullptr);
    ASSERT_TRUE(CryptMsgUpdate(message, bytes(token_), static_cast<DWORD>(token_.size()), TRUE));
    missing_parameter = CMSG_SIGNER_AUTH_ATTR_PARAM;
    const auto signer = authority_.signer_der();
    EXPECT_TRUE(CheckSignerCertId(message, 0, CBlob(bytes(signer), signer.size()), true, true));
    EXPECT_TRUE(MatchEContentType(message, 0, kTstInfoOid, false));
    missing_parameter = CMSG_INNER_CONTENT_TYPE_PARAM;
    EXPECT_CODE(0x8009100Fu, MatchEContentType(message, 0, "", true));
    CryptMsgClose(message);
}

TEST_F(PlatformFaults, NoncesArePositive) {
    for (const auto& [byte, first] :
         {std::pair{BYTE{0xFF}, '\x7F'}, std::pair{BYTE{0x11}, '\x11'}}) {
        random_byte = byte;
        Configuration::instance().set("NonceLength = 12");
        CRequest request;
        request.put_DataHash(bytes("hash"), 4);
        const auto der = delivered(request, &CRequest::Export);
        const auto nonce = first + std::string(11, static_cast<char>(byte));
        EXPECT_NE(der.find(integer(nonce)), std::string::npos);
    }
}

TEST_F(PlatformFaults, RequestGivesUpItsHashBeforeTheProviderOfIt) {
    {
        CRequest request;
        request.AddData(bytes("data"), 4);
        released.clear();
    }
    EXPECT_TRUE(released.starts_with("h")) << released; // which lets go of a provider, too
    EXPECT_TRUE(released.ends_with("p"));
}

TEST_F(PlatformFaults, ChainPolicyThatCannotRunIsThrown) {
    const Trust trust(authority_.root_der());
    const auto other = certificate_of(authority_.root_der());
    CStamp stamp;
    import(stamp, token_);
    stamp.VerifyCertificate(other.get(), nullptr, 0); // doesn't match the attributes
    chain_policy_fault = CRYPT_E_NO_PROVIDER;
    EXPECT_CODE(0x80092006u, stamp.VerifyCertificate(nullptr, nullptr, 0));
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
