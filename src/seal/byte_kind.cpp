// Recognition by shape: outermost elements of DER, and the first bytes of other files.
#include <chronoseal/seal/byte_kind.h>

#include <algorithm>
#include <array>
#include <cctype>

#include <basalt/crl.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/signed_bytes.h>

namespace chronoseal {

namespace {

using namespace der_tag;

constexpr std::string_view kSignedData = "1.2.840.113549.1.7.2";
constexpr std::string_view kTstInfo = "1.2.840.113549.1.9.16.1.4";
constexpr std::string_view kData = "1.2.840.113549.1.7.1";
constexpr std::string_view kSigningTime = "1.2.840.113549.1.9.5";
constexpr std::string_view kTimeStamping = "1.3.6.1.5.5.7.3.8";
constexpr std::string_view kIndirectData = "1.3.6.1.4.1.311.2.1.4";
constexpr std::string_view kAuthenticodeRequest = "1.3.6.1.4.1.311.3.2.1";
constexpr std::string_view kPkcs7 = "1.2.840.113549.1.7.";
constexpr std::string_view kCmsContent = "1.2.840.113549.1.9.16.1.";

struct KindWords {
    Kind kind;
    std::string_view name, phrase;
};

constexpr KindWords kWords[] = {
    {Kind::empty, "empty", "an empty file"},
    {Kind::response, "response", "a time-stamp response"},
    {Kind::token, "token", "a time-stamp token"},
    {Kind::request, "request", "a request for a time-stamp"},
    {Kind::signed_message, "signed_message", "a signed message without a time-stamp"},
    {Kind::authenticode_signature, "authenticode_signature", "an Authenticode signature"},
    {Kind::other_message, "other_message", "a CMS message that isn't signed"},
    {Kind::certificate, "certificate", "an X.509 certificate"},
    {Kind::revocation_list, "revocation_list", "a certificate revocation list"},
    {Kind::ocsp_answer, "ocsp_answer", "an OCSP answer"},
    {Kind::authenticode_request, "authenticode_request", "a request of the Authenticode protocol"},
    {Kind::certificate_request, "certificate_request", "a request for a certificate"},
    {Kind::private_key, "private_key", "a private key"},
    {Kind::key_store, "key_store", "a PKCS#12 key store"},
    {Kind::evidence_record, "evidence_record", "an evidence record"},
    {Kind::html, "html", "an HTML page"},
    {Kind::xml, "xml", "an XML document"},
    {Kind::json, "json", "a JSON document"},
    {Kind::pdf, "pdf", "a PDF document"},
    {Kind::archive, "archive", "a ZIP archive"},
    {Kind::executable, "executable", "a program"},
    {Kind::text, "text", "plain text"},
    {Kind::unknown_der, "unknown_der", "an ASN.1 encoding of an unknown kind"},
    {Kind::unknown, "unknown", "bytes of an unknown kind"},
};

const KindWords& words_of(Kind kind) {
    return *std::ranges::find(kWords, kind, &KindWords::kind);
}

// The elements of a SEQUENCE, as far as they count here.
struct Children {
    explicit Children(ByteView content) {
        DerReader reader(content);
        while (count < at.size()) {
            const auto element = reader.next();
            if (!element) {
                break;
            }
            at[count++] = *element;
        }
    }
    unsigned tag(std::size_t i) const { return i < count ? at[i].tag : 0; }

    std::array<DerElement, 4> at{};
    std::size_t count = 0;
};

std::string oid_in(const DerElement& sequence) {
    const auto oid = DerReader(sequence.content).next(kObjectIdentifier);
    return oid ? dotted_oid(oid->content) : std::string();
}

Kind kind_of_message(ByteView bytes, std::string_view oid) {
    if (oid != kSignedData) {
        return Kind::other_message;
    }
    const auto message = open_message(bytes);
    const std::string type = content_type(message);
    return type == kTstInfo        ? Kind::token
           : type == kIndirectData ? Kind::authenticode_signature
                                   : Kind::signed_message;
}

// SEQUENCE { INTEGER ...
Kind kind_by_number(const Children& outer) {
    const ByteView number = outer.at[0].content;
    const unsigned value = number.size() == 1 ? std::to_integer<unsigned>(number[0]) : 99;
    if (outer.tag(1) == kInteger || (value == 1 && outer.tag(1) == kOctetString)) {
        return Kind::private_key; // PKCS#1, SEC 1
    }
    if (outer.tag(1) != kSequence) {
        return Kind::unknown_der;
    }
    const Children inner(outer.at[1].content);
    if (value == 3 && oid_in(outer.at[1]).starts_with(kPkcs7)) {
        return Kind::key_store;
    }
    if (inner.tag(0) == kObjectIdentifier) {
        return outer.tag(2) == kOctetString ? Kind::private_key : Kind::unknown_der;
    }
    if (inner.tag(0) == kSequence && inner.tag(1) == kOctetString) {
        return Kind::request;
    }
    const bool algorithms = inner.tag(0) == kSequence && !oid_in(inner.at[0]).empty();
    return value == 1 && algorithms ? Kind::evidence_record : Kind::unknown_der;
}

// SEQUENCE { SEQUENCE ...
Kind kind_by_sequence(ByteView bytes, const Children& outer) {
    if (outer.tag(2) == kBitString) {
        const auto size = static_cast<DWORD>(bytes.size());
        const ATL2::CCertContext certificate(
            CertCreateCertificateContext(ATL2::kAnyEncoding, octets(bytes), size));
        if (certificate) {
            return Kind::certificate;
        }
        if (const auto* list = CertCreateCRLContext(ATL2::kAnyEncoding, octets(bytes), size)) {
            CertFreeCRLContext(list);
            return Kind::revocation_list;
        }
        const Children request(outer.at[0].content);
        return request.tag(0) == kInteger && request.tag(1) == kSequence &&
                       request.tag(2) == kSequence && request.tag(3) == kContext0
                   ? Kind::certificate_request
                   : Kind::unknown_der;
    }
    const Children first(outer.at[0].content);
    if (first.tag(0) == kInteger && (outer.count == 1 || outer.tag(1) == kSequence)) {
        return Kind::response;
    }
    const bool encrypted_key = oid_in(outer.at[0]).starts_with("1.2.840.113549.1.") &&
                               outer.tag(1) == kOctetString && outer.count == 2;
    return encrypted_key ? Kind::private_key : Kind::unknown_der;
}

Kind kind_of_der(ByteView bytes, const DerElement& outer) {
    const Children children(outer.content);
    switch (children.tag(0)) {
    case kObjectIdentifier: {
        const std::string oid = dotted_oid(children.at[0].content);
        if (oid == kAuthenticodeRequest) {
            return Kind::authenticode_request;
        }
        return oid.starts_with(kPkcs7) || oid.starts_with(kCmsContent) ? kind_of_message(bytes, oid)
                                                                       : Kind::unknown_der;
    }
    case kInteger:
        return kind_by_number(children);
    case kSequence:
        return kind_by_sequence(bytes, children);
    case kEnumerated:
        return Kind::ocsp_answer;
    default:
        return Kind::unknown_der;
    }
}

bool starts_with_word(std::string_view text, std::string_view word) {
    return text.size() >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin(), [](char a, char b) {
               return a == std::tolower(static_cast<unsigned char>(b));
           });
}

// Printable UTF-8 with blanks and line ends. The last character may have been cut.
bool is_plain_text(std::string_view text) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 ? (byte < 0x09 || byte > 0x0D) : byte == 0x7F) {
            return false;
        }
    }
    const std::size_t last = text.find_last_of('\n');
    std::string sample(text.substr(0, last == std::string_view::npos ? text.size() : last));
    std::erase_if(sample, [](char c) { return (c >= 0x09 && c <= 0x0D) || c == '\\'; });
    return quote_foreign(sample).find("\\x") == std::string::npos;
}

Kind kind_of_file(std::string_view text) {
    constexpr std::size_t kLooked = 4096;
    text = text.substr(0, kLooked);
    if (text.starts_with("%PDF-")) {
        return Kind::pdf;
    }
    if (text.starts_with("PK\x03\x04")) {
        return Kind::archive;
    }
    if (text.starts_with("\x7f"
                         "ELF") ||
        (text.starts_with("MZ") && text.find('\0') != std::string_view::npos)) {
        return Kind::executable;
    }
    const std::size_t start = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    const std::string_view trimmed = start == std::string_view::npos ? "" : text.substr(start);
    if (starts_with_word(trimmed, "<!doctype html") || starts_with_word(trimmed, "<html")) {
        return Kind::html;
    }
    if (starts_with_word(trimmed, "<?xml")) {
        return trimmed.find("<html") != std::string_view::npos ? Kind::html : Kind::xml;
    }
    if (trimmed.starts_with("{\"") || trimmed.starts_with("{\n") || trimmed.starts_with("[{")) {
        return Kind::json;
    }
    return is_plain_text(text) ? Kind::text : Kind::unknown;
}

} // namespace

Kind kind_of(ByteView bytes) {
    if (bytes.empty()) {
        return Kind::empty;
    }
    const std::string_view text{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    if (const auto outer = DerReader(bytes).next(kSequence)) {
        const Kind kind = kind_of_der(outer->whole, *outer);
        // A list of hashes may begin with "0", and a digit that makes a length.
        return kind == Kind::unknown_der && kind_of_file(text) == Kind::text ? Kind::text : kind;
    }
    if (std::to_integer<unsigned>(bytes[0]) == kSequence) {
        // BER with indefinite lengths, which the platform reads.
        if (const auto message = open_message(bytes)) {
            return message_number(message, CMSG_TYPE_PARAM) == CMSG_SIGNED
                       ? kind_of_message(bytes, kSignedData)
                       : Kind::other_message;
        }
    }
    return kind_of_file(text);
}

std::string_view kind_name(Kind kind) noexcept {
    return words_of(kind).name;
}

std::string_view kind_phrase(Kind kind) {
    return words_of(kind).phrase;
}

std::string describe(Kind kind, Form form) {
    std::string text(words_of(kind).phrase);
    if (form != Form::binary) {
        text += form == Form::pem ? " in PEM" : form == Form::smime ? " in S/MIME" : " in Base64";
    }
    return text;
}

namespace {

// Such as nobody makes are passed over: this is for a sentence.
constexpr DWORD kMostSigners = 64;

bool holds_stamps(ByteView der) {
    const auto message = open_message(der);
    const DWORD signers = std::min(message_number(message, CMSG_SIGNER_COUNT_PARAM), kMostSigners);
    for (DWORD i = 0; i < signers; ++i) {
        const auto signature = signature_info(message, i);
        if (signature && std::ranges::any_of(signature->unsigned_attributes, is_stamp_attribute)) {
            return true;
        }
    }
    return false;
}

} // namespace

bool is_stamp_attribute(const AttributeInfo& attribute) {
    return attribute.oid == kSignatureTimeStamp || attribute.oid == kAuthenticodeTimeStamp;
}

// A message over plain data with a signing time, by somebody whose certificate is for stamping.
bool is_authenticode_answer(ByteView der) {
    const auto message = open_message(der);
    const auto signature = message ? signature_info(message, 0) : std::nullopt;
    if (!signature || content_type(message) != kData ||
        std::ranges::find(signature->signed_attributes, kSigningTime, &AttributeInfo::oid) ==
            signature->signed_attributes.end()) {
        return false;
    }
    const DWORD count = message_number(message, CMSG_CERT_COUNT_PARAM);
    for (DWORD i = 0; i < count; ++i) {
        const auto encoded = message_bytes(message, CMSG_CERT_PARAM, i);
        const auto certificate = encoded ? certificate_info(*encoded) : std::nullopt;
        if (certificate && std::ranges::find(certificate->extended_usages, kTimeStamping) !=
                               certificate->extended_usages.end()) {
            return true;
        }
    }
    return false;
}

std::string describe_bytes(ByteView bytes) {
    const Unarmored form = unarmor(bytes);
    const Kind kind = kind_of(form.der);
    const bool is_signature = kind == Kind::signed_message || kind == Kind::authenticode_signature;
    if (is_signature && holds_stamps(form.der)) {
        return kind == Kind::signed_message ? "a signed message with time-stamps in it"
                                            : "an Authenticode signature with time-stamps in it";
    }
    if (kind == Kind::signed_message && is_authenticode_answer(form.der)) {
        return "an answer of the older Authenticode protocol, which is no RFC 3161 time-stamp";
    }
    return describe(kind, form.form);
}

} // namespace chronoseal
