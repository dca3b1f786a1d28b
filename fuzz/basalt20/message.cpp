// Messages of any bytes: every parameter is read, every signer verified with a key of each kind.
// What is taken as a signed message with signers that can be read, OpenSSL's reader takes too, or
// there is one of the reasons named below.
#include <basalt/message.h>

#include <openssl/asn1.h>
#include <openssl/asn1err.h>
#include <openssl/cms.h>
#include <openssl/err.h>

#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using Octets = std::vector<BYTE>;

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::optional<Octets> parameter(HCRYPTMSG message, DWORD type, DWORD index = 0) {
    DWORD size = 0;
    if (!CryptMsgGetParam(message, type, index, nullptr, &size)) {
        return std::nullopt;
    }
    Octets value(size);
    check(CryptMsgGetParam(message, type, index, value.data(), &size) && size == value.size());
    return value;
}

DWORD number(HCRYPTMSG message, DWORD type) {
    DWORD value = 0;
    DWORD size = sizeof(value);
    CryptMsgGetParam(message, type, 0, &value, &size);
    return value;
}

// Reads all of a signer; false when it can't be.
bool read_signer(HCRYPTMSG message, DWORD index) {
    for (const DWORD type :
         {CMSG_SIGNER_INFO_PARAM, CMSG_SIGNER_CERT_INFO_PARAM, CMSG_SIGNER_HASH_ALGORITHM_PARAM,
          CMSG_SIGNER_AUTH_ATTR_PARAM, CMSG_SIGNER_UNAUTH_ATTR_PARAM, CMSG_COMPUTED_HASH_PARAM,
          CMSG_ENCODED_SIGNER, CMSG_SIGNER_CERT_ID_PARAM}) {
        parameter(message, type, index);
    }
    return parameter(message, CMSG_CMS_SIGNER_INFO_PARAM, index).has_value();
}

void verify_by_certificates(HCRYPTMSG message, DWORD signer) {
    const DWORD count = number(message, CMSG_CERT_COUNT_PARAM);
    for (DWORD i = 0; i < count && i < 4; ++i) {
        const Octets encoded = *parameter(message, CMSG_CERT_PARAM, i);
        const PCCERT_CONTEXT context =
            CertCreateCertificateContext(1, encoded.data(), static_cast<DWORD>(encoded.size()));
        if (context != nullptr) {
            CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA para{sizeof(para), 0, signer,
                                                    CMSG_VERIFY_SIGNER_PUBKEY,
                                                    &context->pCertInfo->SubjectPublicKeyInfo};
            CryptMsgControl(message, 0, CMSG_CTRL_VERIFY_SIGNATURE_EX, &para);
            CertFreeCertificateContext(context);
        }
    }
}

// Each value of an attribute is one element, whatever is in it.
void check_values(HCRYPTMSG message, DWORD type, DWORD index) {
    const std::optional<Octets> found = parameter(message, type, index);
    const auto* attributes =
        found ? reinterpret_cast<const CRYPT_ATTRIBUTES*>(found->data()) : nullptr;
    for (DWORD i = 0; attributes != nullptr && i < attributes->cAttr; ++i) {
        for (DWORD j = 0; j < attributes->rgAttr[i].cValue; ++j) {
            const CRYPT_ATTR_BLOB& value = attributes->rgAttr[i].rgValue[j];
            const unsigned char* at = value.pbData;
            long length = 0;
            int tag = 0;
            int tag_class = 0;
            const int form = ASN1_get_object(&at, &length, &tag, &tag_class, value.cbData);
            constexpr int kFailed = 0x80;
            constexpr int kIndefinite = 0x01;
            check((form & kFailed) == 0);
            check((form & kIndefinite) != 0 || at + length == value.pbData + value.cbData);
        }
    }
}

// The reasons for which a message is taken here and not by OpenSSL's reader, which reads along what
// is only kept here: the entries of the certificate and CRL sets, issuers' names, what attributes
// and the parameters of algorithms hold, the padding of integers, the emptiness of NULL; and
// content without an OCTET STRING, which PKCS #7 has in messages of version 1.
bool has_reason(HCRYPTMSG message) {
    const bool is_pkcs7 = number(message, CMSG_VERSION_PARAM) == 1;
    bool found = false;
    const char* detail = nullptr;
    int flags = 0;
    while (const unsigned long error =
               ERR_get_error_all(nullptr, nullptr, nullptr, &detail, &flags)) {
        const std::string_view where = (flags & ERR_TXT_STRING) != 0 ? detail : "";
        const int reason = ERR_GET_REASON(error);
        found = found || reason == ASN1_R_ILLEGAL_PADDING ||
                reason == ASN1_R_NULL_IS_WRONG_LENGTH || where.starts_with("Field=certificates") ||
                where.starts_with("Field=crls") || where.starts_with("Field=issuer,") ||
                (is_pkcs7 && where.starts_with("Field=eContent,")) ||
                where.starts_with("Field=set, Type=X509_ATTRIBUTE") ||
                where.starts_with("Field=parameter, Type=X509_ALGOR");
    }
    return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const HCRYPTMSG message = CryptMsgOpenToDecode(0x10001, 0, 0, 0, nullptr, nullptr);
    bool taken = CryptMsgUpdate(message, data, static_cast<DWORD>(size), TRUE) != FALSE;
    if (taken) {
        for (DWORD type = CMSG_TYPE_PARAM; type < CMSG_CMS_SIGNER_INFO_PARAM + 2; ++type) {
            parameter(message, type);
        }
        const DWORD signers = number(message, CMSG_SIGNER_COUNT_PARAM);
        for (DWORD i = 0; i < signers && i < 8; ++i) {
            taken = read_signer(message, i) && taken;
            check_values(message, CMSG_SIGNER_AUTH_ATTR_PARAM, i);
            check_values(message, CMSG_SIGNER_UNAUTH_ATTR_PARAM, i);
            verify_by_certificates(message, i);
        }
        taken = taken && signers != 0 && signers <= 8;
    }
    if (taken) {
        const unsigned char* at = data;
        ERR_clear_error();
        CMS_ContentInfo* theirs = d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(size));
        if (theirs == nullptr) {
            check(has_reason(message));
        }
        CMS_ContentInfo_free(theirs);
        ERR_clear_error();
    }
    CryptMsgClose(message);
    return 0;
}
