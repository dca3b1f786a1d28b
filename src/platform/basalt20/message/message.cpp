// Messages behind their handles: bytes gathered by updates, then parameters and verification.
#include <basalt/message.h>

#include <basalt/certificate/x509_cache.h>
#include <basalt/coding/signature_algorithm.h>
#include <basalt/coding/signer_layout.h>
#include <basalt/message/signer_verification.h>
#include <basalt/store/record.h>

#include <atomic>
#include <memory>

namespace basalt {
namespace {

constexpr std::size_t kMaxSize = 0x7FFFFFFF;

class Message {
public:
    Message(bool detached, bool bare) : detached_(detached), bare_(bare) {}

    void update(Bytes bytes, bool last);
    const SignedMessage& parsed() const;
    const SignedMessage& signed_data() const;
    const SignerInfo& signer(DWORD index) const;
    Bytes content() const;
    Bytes content_parameter() const;
    Bytes encoded() const { return encoded_; }

    void add_reference() { references_.fetch_add(1, std::memory_order_relaxed); }
    bool release() { return references_.fetch_sub(1, std::memory_order_acq_rel) == 1; }

private:
    enum class State { kMessage, kContent, kComplete, kBroken };

    static void append(std::vector<BYTE>& to, Bytes bytes) {
        require(bytes.size() <= kMaxSize - to.size(), CRYPT_E_ASN1_LARGE);
        to.insert(to.end(), bytes.begin(), bytes.end());
    }

    std::atomic<long> references_{1};
    const bool detached_;
    const bool bare_;
    State state_ = State::kMessage;
    std::vector<BYTE> encoded_;
    std::vector<BYTE> detached_content_;
    std::unique_ptr<const SignedMessage> parsed_;
    // The signer read last: the callers ask for one again and again.
    mutable std::unique_ptr<const SignerInfo> signer_;
    mutable DWORD signer_index_ = 0;
};

void Message::update(Bytes bytes, bool last) {
    if (state_ == State::kContent) {
        append(detached_content_, bytes);
        state_ = last ? State::kComplete : State::kContent;
        return;
    }
    require(state_ == State::kMessage, CRYPT_E_MSG_ERROR);
    append(encoded_, bytes);
    if (!last) {
        return;
    }
    state_ = State::kBroken;
    parsed_ = std::make_unique<const SignedMessage>(encoded_, bare_);
    state_ = detached_ && !parsed_->has_content() ? State::kContent : State::kComplete;
}

const SignedMessage& Message::parsed() const {
    require(parsed_ != nullptr, CRYPT_E_STREAM_MSG_NOT_READY);
    return *parsed_;
}

const SignedMessage& Message::signed_data() const {
    require(parsed().is_signed(), CRYPT_E_INVALID_MSG_TYPE);
    return *parsed_;
}

const SignerInfo& Message::signer(DWORD index) const {
    const std::vector<Bytes>& signers = signed_data().signers();
    require(index < signers.size(), CRYPT_E_INVALID_INDEX);
    if (!signer_ || signer_index_ != index) {
        signer_ = std::make_unique<const SignerInfo>(signers[index]);
        signer_index_ = index;
    }
    return *signer_;
}

Bytes Message::content() const {
    parsed();
    require(state_ == State::kComplete, CRYPT_E_STREAM_MSG_NOT_READY);
    return parsed_->has_content() ? parsed_->content() : Bytes(detached_content_);
}

Bytes Message::content_parameter() const {
    parsed();
    require(state_ == State::kComplete, CRYPT_E_STREAM_MSG_NOT_READY);
    return parsed_->has_content() ? parsed_->content_parameter() : Bytes(detached_content_);
}

Message& message_of(HCRYPTMSG handle) {
    require(handle != nullptr);
    return *static_cast<Message*>(handle);
}

void give_number(std::size_t value, void* data, DWORD* size) {
    const auto number = static_cast<DWORD>(value);
    give_bytes({reinterpret_cast<const BYTE*>(&number), sizeof(number)}, data, size);
}

void give_attributes(const Element& set, void* data, DWORD* size) {
    require(set.tag != 0, CRYPT_E_ATTRIBUTES_MISSING);
    const std::vector<Attribute> attributes = read_attributes(set.contents);
    const auto fill = [&](FlatBlock& block) { return lay_out_attributes(block, attributes); };
    give_block([&](FlatBlock& block) { lay_out_record<CRYPT_ATTRIBUTES>(block, fill); }, data,
               size);
}

void give_signer_id(const SignerInfo& signer, void* data, DWORD* size) {
    const auto fill = [&](FlatBlock& block) { return lay_out_identifier(block, signer); };
    give_block([&](FlatBlock& block) { lay_out_record<CERT_ID>(block, fill); }, data, size);
}

// The older records name a signer by issuer and serial number alone.
CERT_ISSUER_SERIAL_NUMBER issuer_and_serial(FlatBlock& block, const SignerInfo& signer) {
    require(!signer.by_key_identifier, CRYPT_E_ISSUER_SERIALNUMBER);
    return lay_out_identifier(block, signer).IssuerSerialNumber;
}

void give_signer_info(const SignerInfo& signer, void* data, DWORD* size) {
    const auto fill = [&](FlatBlock& block) {
        CMSG_SIGNER_INFO info{};
        const CERT_ISSUER_SERIAL_NUMBER name = issuer_and_serial(block, signer);
        info.Issuer = name.Issuer;
        info.SerialNumber = name.SerialNumber;
        lay_out_rest(info, block, signer);
        return info;
    };
    give_block([&](FlatBlock& block) { lay_out_record<CMSG_SIGNER_INFO>(block, fill); }, data,
               size);
}

void give_signer_cert_info(const SignerInfo& signer, void* data, DWORD* size) {
    const auto fill = [&](FlatBlock& block) {
        CERT_INFO info{};
        const CERT_ISSUER_SERIAL_NUMBER name = issuer_and_serial(block, signer);
        info.Issuer = name.Issuer;
        info.SerialNumber = name.SerialNumber;
        return info;
    };
    give_block([&](FlatBlock& block) { lay_out_record<CERT_INFO>(block, fill); }, data, size);
}

void give_algorithm(const Algorithm& algorithm, void* data, DWORD* size) {
    const auto fill = [&](FlatBlock& block) { return lay_out(block, algorithm); };
    give_block([&](FlatBlock& block) { lay_out_record<CRYPT_ALGORITHM_IDENTIFIER>(block, fill); },
               data, size);
}

void give_entry(const std::vector<Bytes>& entries, DWORD index, void* data, DWORD* size) {
    require(index < entries.size(), CRYPT_E_INVALID_INDEX);
    give_bytes(entries[index], data, size);
}

void give_content_type(const Message& message, void* data, DWORD* size) {
    const std::string text = oid_text(message.parsed().content_type());
    give_bytes({reinterpret_cast<const BYTE*>(text.c_str()), text.size() + 1}, data, size);
}

void give_computed_hash(const Message& message, DWORD index, void* data, DWORD* size) {
    const EVP_MD* algorithm = digest_of(message.signer(index).digest_algorithm);
    const std::string value = digest(algorithm, message.content());
    give_bytes({reinterpret_cast<const BYTE*>(value.data()), value.size()}, data, size);
}

void give_signer_parameter(const Message& message, DWORD type, DWORD index, void* data,
                           DWORD* size) {
    const SignerInfo& signer = message.signer(index);
    switch (type) {
    case CMSG_SIGNER_INFO_PARAM:
        return give_signer_info(signer, data, size);
    case CMSG_SIGNER_CERT_INFO_PARAM:
        return give_signer_cert_info(signer, data, size);
    case CMSG_SIGNER_HASH_ALGORITHM_PARAM:
        return give_algorithm(signer.digest_algorithm, data, size);
    case CMSG_SIGNER_AUTH_ATTR_PARAM:
        return give_attributes(signer.signed_attributes, data, size);
    case CMSG_SIGNER_UNAUTH_ATTR_PARAM:
        return give_attributes(signer.unsigned_attributes, data, size);
    case CMSG_SIGNER_CERT_ID_PARAM:
        return give_signer_id(signer, data, size);
    case CMSG_CMS_SIGNER_INFO_PARAM:
        return give_cms_signer_info(signer, data, size);
    default:
        fail(CRYPT_E_INVALID_MSG_TYPE);
    }
}

void give_parameter(const Message& message, DWORD type, DWORD index, void* data, DWORD* size) {
    switch (type) {
    case CMSG_TYPE_PARAM:
        return give_number(message.parsed().is_signed() ? CMSG_SIGNED : CMSG_DATA, data, size);
    case CMSG_CONTENT_PARAM:
        return give_bytes(message.content_parameter(), data, size);
    case CMSG_BARE_CONTENT_PARAM:
        return give_bytes(message.parsed().bare_content(), data, size);
    case CMSG_INNER_CONTENT_TYPE_PARAM:
        return give_content_type(message, data, size);
    case CMSG_SIGNER_COUNT_PARAM:
        return give_number(message.signed_data().signers().size(), data, size);
    case CMSG_CERT_COUNT_PARAM:
        return give_number(message.signed_data().certificates().size(), data, size);
    case CMSG_CERT_PARAM:
        return give_entry(message.signed_data().certificates(), index, data, size);
    case CMSG_CRL_COUNT_PARAM:
        return give_number(message.signed_data().crls().size(), data, size);
    case CMSG_CRL_PARAM:
        return give_entry(message.signed_data().crls(), index, data, size);
    case CMSG_COMPUTED_HASH_PARAM:
        return give_computed_hash(message, index, data, size);
    case CMSG_ENCODED_SIGNER:
        return give_entry(message.signed_data().signers(), index, data, size);
    case CMSG_ENCODED_MESSAGE:
        message.parsed();
        return give_bytes(message.encoded(), data, size);
    case CMSG_VERSION_PARAM:
        return give_number(message.signed_data().version(), data, size);
    default:
        return give_signer_parameter(message, type, index, data, size);
    }
}

enum class Extent { whole, attributes };

void verify(const Message& message, DWORD index, const PublicKey& key, Extent extent) {
    const SignerInfo& signer = message.signer(index);
    if (extent == Extent::attributes) {
        return verify_attributes(signer, key);
    }
    verify_signer(signer, message.parsed().content_type(), message.content(), key);
}

void verify_named_signer(const Message& message, const CERT_INFO& info) {
    const auto count = static_cast<DWORD>(message.signed_data().signers().size());
    for (DWORD index = 0; index < count; ++index) {
        if (names_certificate(message.signer(index), info)) {
            return verify(message, index, *public_key_of(info.SubjectPublicKeyInfo), Extent::whole);
        }
    }
    fail(CRYPT_E_SIGNER_NOT_FOUND);
}

void verify_signer_by_index(const Message& message, const CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA& para,
                            Extent extent) {
    require(para.cbSize >= sizeof(para) && para.pvSigner != nullptr);
    const SignerInfo& signer = message.signer(para.dwSignerIndex);
    if (para.dwSignerType == CMSG_VERIFY_SIGNER_PUBKEY) {
        const auto* info = static_cast<const CERT_PUBLIC_KEY_INFO*>(para.pvSigner);
        return verify(message, para.dwSignerIndex, *public_key_of(*info), extent);
    }
    require(para.dwSignerType == CMSG_VERIFY_SIGNER_CERT);
    const auto* context = static_cast<PCCERT_CONTEXT>(para.pvSigner);
    require(names_certificate(signer, *context->pCertInfo), CRYPT_E_SIGNER_NOT_FOUND);
    const auto entry = x509_of(context);
    require(entry->key != nullptr, NTE_BAD_PUBLIC_KEY);
    verify(message, para.dwSignerIndex, *entry->key, extent);
}

void control(const Message& message, DWORD type, const void* para) {
    switch (type) {
    case CMSG_CTRL_VERIFY_SIGNATURE:
        require(para != nullptr);
        return verify_named_signer(message, *static_cast<const CERT_INFO*>(para));
    case CMSG_CTRL_VERIFY_SIGNATURE_EX:
        require(para != nullptr);
        return verify_signer_by_index(
            message, *static_cast<const CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA*>(para), Extent::whole);
    case BASALT_CTRL_VERIFY_ATTRIBUTES:
        require(para != nullptr);
        return verify_signer_by_index(message,
                                      *static_cast<const CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA*>(para),
                                      Extent::attributes);
    case CMSG_CTRL_VERIFY_HASH:
        return verify_content_digest(message.signer(0), message.content());
    default:
        fail(CRYPT_E_CONTROL_TYPE);
    }
}

} // namespace
} // namespace basalt

using namespace basalt;

HCRYPTMSG CryptMsgOpenToDecode(DWORD, DWORD dwFlags, DWORD dwMsgType, HCRYPTPROV,
                               CERT_INFO* pRecipientInfo, void* pStreamInfo) {
    return guarded<HCRYPTMSG>(nullptr, [&]() -> HCRYPTMSG {
        require(pRecipientInfo == nullptr && pStreamInfo == nullptr);
        require(dwMsgType == 0 || dwMsgType == CMSG_SIGNED || dwMsgType == CMSG_DATA,
                CRYPT_E_INVALID_MSG_TYPE);
        return new Message((dwFlags & CMSG_DETACHED_FLAG) != 0, dwMsgType == CMSG_SIGNED);
    });
}

BOOL CryptMsgUpdate(HCRYPTMSG hCryptMsg, const BYTE* pbData, DWORD cbData, BOOL fFinal) {
    return guarded<BOOL>(FALSE, [&] {
        require(pbData != nullptr || cbData == 0);
        message_of(hCryptMsg).update({pbData, cbData}, fFinal != FALSE);
        return TRUE;
    });
}

BOOL CryptMsgGetParam(HCRYPTMSG hCryptMsg, DWORD dwParamType, DWORD dwIndex, void* pvData,
                      DWORD* pcbData) {
    return guarded<BOOL>(FALSE, [&] {
        require(pcbData != nullptr);
        // Hardly any signer has these, so that their absence isn't worth an exception.
        if (dwParamType == CMSG_SIGNER_UNAUTH_ATTR_PARAM &&
            message_of(hCryptMsg).signer(dwIndex).unsigned_attributes.tag == 0) {
            SetLastError(CRYPT_E_ATTRIBUTES_MISSING);
            return FALSE;
        }
        give_parameter(message_of(hCryptMsg), dwParamType, dwIndex, pvData, pcbData);
        return TRUE;
    });
}

BOOL CryptMsgControl(HCRYPTMSG hCryptMsg, DWORD, DWORD dwCtrlType, const void* pvCtrlPara) {
    return guarded<BOOL>(FALSE, [&] {
        control(message_of(hCryptMsg), dwCtrlType, pvCtrlPara);
        return TRUE;
    });
}

HCRYPTMSG CryptMsgDuplicate(HCRYPTMSG hCryptMsg) {
    if (hCryptMsg != nullptr) {
        static_cast<Message*>(hCryptMsg)->add_reference();
    }
    return hCryptMsg;
}

BOOL CryptMsgClose(HCRYPTMSG hCryptMsg) {
    auto* message = static_cast<Message*>(hCryptMsg);
    if (message != nullptr && message->release()) {
        delete message;
    }
    return TRUE;
}
