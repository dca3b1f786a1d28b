#include "authenticode_responder.h"

#include <openssl/err.h>
#include <openssl/objects.h>

namespace tsa {

namespace {

constexpr char kCountersignatureType[] = "1.3.6.1.4.1.311.3.2.1";

// The bytes of the Base64 text; anything that isn't of its alphabet ends or is passed over, as in a
// mail body.
std::string decode_base64(const std::string& text) {
    std::string kept;
    for (const char c : text) {
        if (c == '\0') {
            break;
        }
        if (c != '\r' && c != '\n' && c != ' ') {
            kept += c;
        }
    }
    std::string bytes(kept.size() / 4 * 3, '\0');
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                     reinterpret_cast<const unsigned char*>(kept.data()),
                                     static_cast<int>(kept.size()));
    if (size < 0) {
        return {};
    }
    std::size_t padding = 0;
    while (padding < 2 && padding < kept.size() && kept[kept.size() - 1 - padding] == '=') {
        ++padding;
    }
    bytes.resize(static_cast<std::size_t>(size) - padding);
    return bytes;
}

std::string encode_base64(const std::string& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                     reinterpret_cast<const unsigned char*>(bytes.data()),
                                     static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

bool is_countersignature_type(const ASN1_OBJECT* object) {
    char text[64];
    return OBJ_obj2txt(text, sizeof text, object, 1) > 0 &&
           std::string(text) == kCountersignatureType;
}

// The content of the request, or nothing when `der` isn't a request over plain data.
std::optional<std::string> read_content(const std::string& der) {
    auto cursor = reinterpret_cast<const unsigned char*>(der.data());
    const unsigned char* const end = cursor + der.size();
    long length = 0;
    int tag = 0;
    int tag_class = 0;
    const auto next = [&](const unsigned char*& at) {
        return (ASN1_get_object(&at, &length, &tag, &tag_class, end - at) & 0x80) == 0;
    };
    if (!next(cursor) || tag != V_ASN1_SEQUENCE) {
        return std::nullopt;
    }
    const ObjectPtr type(d2i_ASN1_OBJECT(nullptr, &cursor, end - cursor));
    if (!type || !is_countersignature_type(type.get())) {
        return std::nullopt;
    }
    const unsigned char* inner = cursor;
    if (!next(inner)) {
        return std::nullopt;
    }
    if (tag != V_ASN1_SEQUENCE) { // the attributes, which this authority has no use for
        cursor = inner + length;
    }
    const Pkcs7Ptr content(d2i_PKCS7(nullptr, &cursor, end - cursor));
    if (!content || !PKCS7_type_is_data(content.get()) || content->d.data == nullptr) {
        return std::nullopt;
    }
    return std::string(reinterpret_cast<const char*>(content->d.data->data),
                       static_cast<std::size_t>(content->d.data->length));
}

std::string sign_content(const Identity& identity, const std::string& content) {
    const BioPtr data(require_made(
        BIO_new_mem_buf(content.data(), static_cast<int>(content.size())), "out of memory"));
    const int flags = PKCS7_BINARY | PKCS7_NOSMIMECAP | PKCS7_PARTIAL;
    const Pkcs7Ptr message(
        require_made(PKCS7_sign(nullptr, nullptr, nullptr, data.get(), flags), "can't sign"));
    require(PKCS7_sign_add_signer(message.get(), identity.certificate.get(), identity.key.get(),
                                  EVP_sha256(), flags) != nullptr &&
                PKCS7_add_certificate(message.get(), identity.root.get()) == 1 &&
                PKCS7_final(message.get(), data.get(), flags) == 1,
            "can't sign");
    unsigned char* der = nullptr;
    const int size = i2d_PKCS7(message.get(), &der);
    require(size > 0, "can't encode an answer");
    std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return bytes;
}

} // namespace

std::optional<std::string> answer_authenticode(const Identity& identity,
                                               const std::string& request) {
    const std::optional<std::string> content = read_content(decode_base64(request));
    ERR_clear_error();
    if (!content) {
        return std::nullopt;
    }
    return encode_base64(sign_content(identity, *content));
}

} // namespace tsa
