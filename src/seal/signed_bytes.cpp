// Reading of CMS messages by the platform.
#include <chronoseal/seal/signed_bytes.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

constexpr DWORD kMostMessage = 0x7FFFFFFF;
// Certificates that name themselves as the same signer's.
constexpr unsigned kMostNamesakes = 16;

// Aligned for the record at its beginning.
using Block = std::vector<std::max_align_t>;

std::optional<Block> parameter(const ATL2::CCryptMsg& message, DWORD type, DWORD index,
                               DWORD& size) {
    constexpr std::size_t kMost = 64; // 2 KiB: more than nearly all of them take
    if (!message) {
        return std::nullopt;
    }
    Block block(kMost);
    size = static_cast<DWORD>(block.size() * sizeof(Block::value_type));
    if (CryptMsgGetParam(message.get(), type, index, block.data(), &size) != 0) {
        return block;
    }
    if (GetLastError() != ERROR_MORE_DATA) {
        return std::nullopt;
    }
    block.resize(size / sizeof(Block::value_type) + 1);
    if (CryptMsgGetParam(message.get(), type, index, block.data(), &size) == 0) {
        return std::nullopt;
    }
    return block;
}

} // namespace

ATL2::CCryptMsg open_message(ByteView bytes) {
    if (bytes.size() > kMostMessage) {
        return {};
    }
    ATL2::CCryptMsg message(CryptMsgOpenToDecode(ATL2::kAnyEncoding, 0, 0, 0, nullptr, nullptr));
    if (message &&
        CryptMsgUpdate(message.get(), octets(bytes), static_cast<DWORD>(bytes.size()), TRUE) == 0) {
        message.close();
    }
    return message;
}

std::optional<Bytes> message_bytes(const ATL2::CCryptMsg& message, DWORD type, DWORD index) {
    DWORD size = 0;
    const auto block = parameter(message, type, index, size);
    return block ? std::optional(copy_of(block->data(), size)) : std::nullopt;
}

DWORD message_number(const ATL2::CCryptMsg& message, DWORD type) {
    DWORD number = 0;
    DWORD size = sizeof number;
    return message && CryptMsgGetParam(message.get(), type, 0, &number, &size) != 0 ? number : 0;
}

std::string content_type(const ATL2::CCryptMsg& message) {
    DWORD size = 0;
    const auto block = parameter(message, CMSG_INNER_CONTENT_TYPE_PARAM, 0, size);
    return block ? reinterpret_cast<const char*>(block->data()) : "";
}

std::vector<AttributeInfo> attributes_of(const CRYPT_ATTRIBUTES& attributes) {
    std::vector<AttributeInfo> result;
    result.reserve(attributes.cAttr);
    for (DWORD i = 0; i < attributes.cAttr; ++i) {
        const CRYPT_ATTRIBUTE& attribute = attributes.rgAttr[i];
        AttributeInfo info{attribute.pszObjId, oid_name(attribute.pszObjId), {}};
        info.values.reserve(attribute.cValue);
        for (DWORD j = 0; j < attribute.cValue; ++j) {
            info.values.push_back(
                copy_of(attribute.rgValue[j].pbData, attribute.rgValue[j].cbData));
        }
        result.push_back(std::move(info));
    }
    return result;
}

SignerRecord::SignerRecord(const ATL2::CCryptMsg& message, DWORD index) {
    DWORD size = 0;
    block_ = parameter(message, CMSG_CMS_SIGNER_INFO_PARAM, index, size);
}

std::optional<SignatureInfo> signature_info(const ATL2::CCryptMsg& message, DWORD index) {
    return signature_info(message, SignerRecord(message, index));
}

std::optional<SignatureInfo> signature_info(const ATL2::CCryptMsg& message,
                                            const SignerRecord& record) {
    if (record.get() == nullptr) {
        return std::nullopt;
    }
    const CMSG_CMS_SIGNER_INFO& signer = *record.get();
    SignatureInfo info;
    info.digest_algorithm = algorithm_info(signer.HashAlgorithm);
    info.signature_algorithm = algorithm_info(signer.HashEncryptionAlgorithm);
    if (signer.SignerId.dwIdChoice == CERT_ID_ISSUER_SERIAL_NUMBER) {
        info.issuer = name_text(signer.SignerId.IssuerSerialNumber.Issuer);
        info.serial_number = big_endian(signer.SignerId.IssuerSerialNumber.SerialNumber);
    }
    info.value = copy_of(signer.EncryptedHash.pbData, signer.EncryptedHash.cbData);
    info.signed_attributes = attributes_of(signer.AuthAttrs);
    info.unsigned_attributes = attributes_of(signer.UnauthAttrs);
    info.signers = message_number(message, CMSG_SIGNER_COUNT_PARAM);
    return info;
}

SignatureCheck check_signature(const ATL2::CCryptMsg& message, DWORD signer, DWORD control,
                               const ATL2::CCertStore& among) {
    SignatureCheck check{CRYPT_E_SIGNER_NOT_FOUND, {}};
    ATL2::CCertContext& current = check.signer;
    for (unsigned tried = 0; tried < kMostNamesakes;) {
        current.attach(CertEnumCertificatesInStore(among.get(), current.detach()));
        if (!current) {
            return check;
        }
        CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA parameter{};
        parameter.cbSize = sizeof parameter;
        parameter.dwSignerIndex = signer;
        parameter.dwSignerType = CMSG_VERIFY_SIGNER_CERT;
        parameter.pvSigner = const_cast<CERT_CONTEXT*>(current.get());
        if (CryptMsgControl(message.get(), 0, control, &parameter) != 0) {
            check.code = 0;
            return check;
        }
        if (const DWORD code = GetLastError(); code != CRYPT_E_SIGNER_NOT_FOUND) {
            check.code = code;
            ++tried;
        }
    }
    current.attach(nullptr);
    return check;
}

} // namespace chronoseal
