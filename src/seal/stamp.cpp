// Stamps: reading of responses and tokens, and what they hold as values.
#include <array>
#include <atomic>

#include <basalt/error_codes.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/core/response.h>
#include <chronoseal/core/unsigned_fault.h>
#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/file_bytes.h>
#include <chronoseal/seal/malformed_part.h>
#include <chronoseal/seal/out_of_memory.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/signed_bytes.h>
#include <chronoseal/seal/stamp_access.h>

namespace chronoseal {

namespace {

using Halcyon::PKI::TSP::CResponse;
using Halcyon::PKI::TSP::CToken;
using Halcyon::PKI::TSP::UnsignedFault;

constexpr unsigned kLastGranted = 1;
constexpr unsigned kLastKnown = 6;

struct BitName {
    unsigned bit;
    const char* name;
};

// PKIFailureInfo (RFC 3161, 2.4.2, and RFC 4210, 5.2.3).
constexpr BitName kFailureNames[] = {
    {0, "badAlg"},
    {1, "badMessageCheck"},
    {2, "badRequest"},
    {3, "badTime"},
    {4, "badCertId"},
    {5, "badDataFormat"},
    {6, "wrongAuthority"},
    {7, "incorrectData"},
    {8, "missingTimeStamp"},
    {9, "badPOP"},
    {14, "timeNotAvailable"},
    {15, "unacceptedPolicy"},
    {16, "unacceptedExtension"},
    {17, "addInfoNotAvailable"},
    {25, "systemFailure"},
};

std::vector<std::string> failure_names(std::uint32_t bits) {
    std::vector<std::string> names;
    for (unsigned bit = 0; bit < 32; ++bit) {
        if ((bits >> bit & 1U) == 0) {
            continue;
        }
        std::string name = "bit " + std::to_string(bit);
        for (const BitName& known : kFailureNames) {
            if (known.bit == bit) {
                name = known.name;
            }
        }
        names.push_back(name);
    }
    return names;
}

std::string status_name(unsigned status) {
    constexpr std::array<const char*, 7> kNames{
        "granted",           "grantedWithMods",        "rejection",       "waiting",
        "revocationWarning", "revocationNotification", "keyUpdateWarning"};
    return status < kNames.size() ? kNames[status] : "status " + std::to_string(status);
}

void read_status(const CResponse& response, StampInfo& info) {
    const auto& status = *response.get_status();
    info.status = static_cast<unsigned>(status.get_pkiStatus());
    info.status_name = status_name(*info.status);
    for (const auto& text : status.get_statusString()) {
        info.status_text += (info.status_text.empty() ? "" : "; ") + narrow(text.get_value());
    }
    info.failure_bits = status.get_failureInfo().get_value();
    info.failure_names = failure_names(info.failure_bits);
}

void read_fields(const CToken& token, TokenInfo& info) {
    info.version = token.get_version();
    info.time = time_of(token.get_genTime().getFileTime());
    if (const std::uint32_t* accuracy = token.get_accuracy()) {
        info.accuracy = std::chrono::seconds(accuracy[0]) + std::chrono::milliseconds(accuracy[1]) +
                        std::chrono::microseconds(accuracy[2]);
    }
    info.ordering = token.get_ordering();
    info.policy = token.get_policy();
    const auto& algorithm = token.get_hashAlgorithm();
    info.imprint_algorithm =
        algorithm_info(algorithm.get_algorithm(), copy_of(*algorithm.get_parameters()));
    info.imprint = copy_of(token.get_hashedMessage());
    info.serial_number = copy_of(token.get_serialNumber());
    if (token.get_nonce() != nullptr) {
        info.nonce = copy_of(*token.get_nonce());
    }
    if (token.get_extensions() != nullptr) {
        for (const auto& extension : *token.get_extensions()) {
            info.extensions.push_back({extension.get_extnID(), oid_name(extension.get_extnID()),
                                       extension.get_critical(),
                                       copy_of(extension.get_extnValue())});
        }
    }
}

// The name of the authority, [0] GeneralName among the last fields of the TSTInfo; its kind and
// value as text.
void read_authority(ByteView content, TokenInfo& info) {
    const auto outer = DerReader(content).next(der_tag::kSequence);
    DerReader fields(outer ? outer->content : ByteView{});
    auto field = fields.next();
    while (field && field->tag != der_tag::kContext0) {
        field = fields.next();
    }
    const auto name = field ? DerReader(field->content).next() : std::nullopt;
    if (!name) {
        return;
    }
    info.authority_der = copy_of(name->whole);
    const std::string text(reinterpret_cast<const char*>(name->content.data()),
                           name->content.size());
    switch (name->tag) {
    case 0x81:
        info.authority = "email: " + text;
        break;
    case 0x82:
        info.authority = "DNS: " + text;
        break;
    case 0x86:
        info.authority = "URI: " + text;
        break;
    case 0xA4:
        info.authority =
            name_text({static_cast<DWORD>(name->content.size()),
                       reinterpret_cast<BYTE*>(const_cast<std::byte*>(name->content.data()))});
        break;
    default:
        info.authority = "kind " + std::to_string(name->tag & 0x1F) + ": " + to_hex(name->content);
    }
}

// Takes the token of `content` apart.
void read_token(StampAccess::Content& content) {
    const CToken& token = *content.decoded;
    TokenInfo& info = content.info.token.emplace();
    read_fields(token, info);
    const auto message = open_message(content.token);
    if (const auto fields = message_bytes(message, CMSG_CONTENT_PARAM)) {
        read_authority(*fields, info);
    }
    const SignerRecord signer(message, 0);
    if (auto signature = signature_info(message, signer)) {
        info.signature = *std::move(signature);
    }
    info.revocation_lists = message_number(message, CMSG_CRL_COUNT_PARAM);
    if (token.get_certificates() != nullptr) {
        for (const auto& certificate : *token.get_certificates()) {
            if (auto one = certificate_info(copy_of(certificate))) {
                info.certificates.push_back(*std::move(one));
            }
        }
    }
    content.signer_name = SignerName(message, signer);
    for (const CertificateInfo& certificate : info.certificates) {
        if (content.signer_name.is(certificate)) {
            info.signer = certificate;
            break;
        }
    }
}

// A SEQUENCE of which not all is there.
bool is_cut_short(ByteView bytes) {
    constexpr std::size_t kLongestHead = 6;
    if (bytes.empty() || std::to_integer<unsigned>(bytes[0]) != der_tag::kSequence) {
        return false;
    }
    const ByteView head = bytes.first(std::min(bytes.size(), kLongestHead));
    Bytes padded(head.begin(), head.end());
    const unsigned first = padded.size() < 2 ? 0x80 : std::to_integer<unsigned>(padded[1]);
    const std::size_t count = first & 0x7F;
    if (first < 0x80) {
        return first > bytes.size() - 2;
    }
    if (count == 0 || count > 4) {
        return false;
    }
    std::size_t length = 0;
    for (std::size_t i = 0; i < count && i + 2 < padded.size(); ++i) {
        length = length << 8 | std::to_integer<std::size_t>(padded[i + 2]);
    }
    return bytes.size() < 2 + count || length > bytes.size() - 2 - count;
}

Error not_a_stamp(ByteView bytes) {
    if (kind_of(bytes) != Kind::text && is_cut_short(bytes)) {
        return Error(Category::refused, "cut_short", CRYPT_E_ASN1_EOD,
                     "the bytes end in the middle: more is announced than is there",
                     "get the file again, or ask again");
    }
    return Error(Category::refused, "not_a_stamp", CRYPT_E_ASN1_INTERNAL,
                 "the bytes are not a time-stamp but " + describe_bytes(bytes),
                 "check the file or the address");
}

Error unreadable(ByteView der) {
    const Kind kind = kind_of(der);
    if (kind != Kind::response && kind != Kind::token) {
        return not_a_stamp(der);
    }
    const bool response = kind == Kind::response;
    const std::string part =
        response ? malformed_part_of_response(der) : malformed_part_of_token(der);
    return Error(Category::refused, "malformed", CRYPT_E_ASN1_INTERNAL,
                 std::string(response ? "the response of the authority" : "the time-stamp token") +
                     " is malformed" + (part.empty() ? "" : ": " + part),
                 "ask the authority for another stamp");
}

// Unreachable and not refused: who adds to a token what nobody signed doesn't make it bad.
Error unread(const UnsignedFault& fault) {
    const bool too_many = fault.kind() == UnsignedFault::Kind::too_many;
    const std::string part = fault.part();
    return Error(Category::unreachable, too_many ? "unsigned_too_many" : "unsigned_damaged",
                 too_many ? TRUST_E_SYSTEM_ERROR : CRYPT_E_ASN1_INTERNAL,
                 (too_many ? "the time-stamp token holds more " + part + " than are looked at"
                           : "the " + part + " of the time-stamp token are damaged") +
                     ", so that nothing can be told; no signature covers them: anybody may have " +
                     (too_many ? "added" : "changed") + " them",
                 "take the token as the authority gave it, or without them");
}

Error no_token(std::string_view doing) {
    return error_of_code(Halcyon::PKI::TSP::Client::kResultNoStamp, doing);
}

} // namespace

const StampAccess::Content& StampAccess::of(const Stamp& stamp) {
    static const Content kNothing;
    return stamp.content_ == nullptr ? kNothing : *stamp.content_;
}

StampAccess::Content StampAccess::read_der(ByteView der) {
    Content content;
    const Halcyon::CBlob bytes = blob_of(der);
    CResponse response;
    bool is_response = true;
    try {
        response.decode(bytes);
    } catch (const UnsignedFault& fault) {
        throw unread(fault);
    } catch (const ATL::CAtlException&) {
        is_response = false;
    }
    if (is_response) {
        read_status(response, content.info);
        if (*content.info.status > kLastKnown) {
            throw Error(Category::refused, "malformed", E_FAIL,
                        "the response has the unknown status " +
                            std::to_string(*content.info.status),
                        "ask the authority for another");
        }
        content.response = copy_of(der);
        const bool granted = *content.info.status <= kLastGranted;
        if (granted && response.get_timeStampToken() != nullptr) {
            content.decoded = std::make_shared<const CToken>(*response.get_timeStampToken());
        }
        if (granted && content.decoded == nullptr) {
            throw Error(Category::refused, "token_missing", E_FAIL,
                        "the answer is granted but holds no token",
                        "the authority is at fault; ask it again");
        }
    } else {
        auto token = std::make_shared<CToken>();
        try {
            // What stands behind isn't its, and would make it one that the platform can't read.
            const auto first = DerReader(der).next();
            token->decode(first ? blob_of(first->whole) : bytes);
        } catch (const UnsignedFault& fault) {
            throw unread(fault);
        } catch (const ATL::CAtlException&) {
            throw unreadable(der);
        }
        content.decoded = std::move(token);
    }
    if (content.decoded != nullptr) {
        content.token = copy_of(content.decoded->encode());
        read_token(content);
    }
    return content;
}

StampInfo StampAccess::take_info(Stamp stamp) {
    if (stamp.content_.use_count() != 1) {
        return of(stamp).info;
    }
    // Whoever gave up a share has done with reading.
    std::atomic_thread_fence(std::memory_order_acquire);
    return std::move(const_cast<Content&>(*stamp.content_).info);
}

Stamp Stamp::read(ByteView bytes) {
    return guarded("read the time-stamp", [&] {
        const Unarmored form = unarmor(bytes);
        if (form.der.empty()) {
            throw not_a_stamp(bytes);
        }
        try {
            return StampAccess::make(StampAccess::read_der(form.der));
        } catch (const Error& error) {
            if (error.word() == "not_a_stamp" && form.form != Form::binary) {
                throw not_a_stamp(bytes); // "a certificate in PEM"
            }
            throw;
        }
    });
}

Stamp Stamp::read_file(const std::filesystem::path& path) {
    return read(chronoseal::read_file(path));
}

const StampInfo& Stamp::info() const noexcept {
    return StampAccess::of(*this).info;
}

bool Stamp::has_token() const noexcept {
    return StampAccess::of(*this).info.token.has_value();
}

Time Stamp::time() const {
    if (!has_token()) {
        throw no_token("tell the stamp's time");
    }
    return StampAccess::of(*this).info.token->time;
}

const Bytes& Stamp::token() const noexcept {
    return StampAccess::of(*this).token;
}

const Bytes& Stamp::response() const noexcept {
    return StampAccess::of(*this).response;
}

// TimeStampResp ::= SEQUENCE { status SEQUENCE { INTEGER 0 }, timeStampToken }
Bytes Stamp::as_response() const {
    return within_memory("write the response", [&]() -> Bytes {
        const StampAccess::Content& content = StampAccess::of(*this);
        if (!content.response.empty()) {
            return content.response;
        }
        if (content.token.empty()) {
            throw no_token("write the response");
        }
        constexpr std::array<unsigned char, 5> kGranted{0x30, 0x03, 0x02, 0x01, 0x00};
        std::size_t length = kGranted.size() + content.token.size();
        Bytes head;
        for (std::size_t rest = length; rest != 0; rest >>= 8) {
            head.insert(head.begin(), static_cast<std::byte>(rest & 0xFF));
        }
        if (length >= 0x80) {
            head.insert(head.begin(), static_cast<std::byte>(0x80 | head.size()));
        }
        head.insert(head.begin(), static_cast<std::byte>(der_tag::kSequence));
        const Bytes granted = copy_of(kGranted.data(), kGranted.size());
        head.insert(head.end(), granted.begin(), granted.end());
        head.insert(head.end(), content.token.begin(), content.token.end());
        return head;
    });
}

const std::string& Stamp::authority() const noexcept {
    return StampAccess::of(*this).authority;
}

const std::vector<Remark>& Stamp::remarks() const noexcept {
    return StampAccess::of(*this).remarks;
}

unsigned Stamp::attempts() const noexcept {
    return StampAccess::of(*this).attempts;
}

const Verdict* Stamp::verdict() const noexcept {
    return StampAccess::of(*this).verdict.get();
}

} // namespace chronoseal
