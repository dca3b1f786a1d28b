// The one exception, and the words for result codes: what a person reads and what a program decides
// by, in one table.
#include <chronoseal/chronoseal.hpp>

#include <algorithm>
#include <array>
#include <iterator>
#include <new>

#include <chronoseal/seal/out_of_memory.h>

namespace chronoseal {

namespace {

constexpr auto kRefused = Category::refused;
constexpr auto kMisuse = Category::misuse;
constexpr auto kUnreachable = Category::unreachable;

constexpr char kNewStamp[] = "ask the authority for another stamp";
constexpr char kNoTrust[] = "don't trust this stamp";
constexpr char kTryLater[] = "try again later";
constexpr char kCheckAddress[] = "check the address";
constexpr char kOpenMemory[] = "free some and try again";

// In ascending order of the code.
constexpr ErrorWords kTable[] = {
    {1260, kRefused, "server_denied", "the policy doesn't allow this server",
     "see AllowedMSTSPs in the machine's policy"},
    {0x80004005, kRefused, "malformed", "the time-stamp is malformed", kNewStamp},
    {0x80070002, kUnreachable, "file_unreadable", "the file is not there", "check its name"},
    {0x80070005, kUnreachable, "access_denied", "access was denied", "check owner and mode"},
    {0x80070008, kUnreachable, "out_of_memory", "out of memory", kOpenMemory},
    {0x8007000B, kRefused, "signing_certificate_form",
     "the signing-certificate attributes aren't allowed in this form",
     "the authority is at fault; ask it for another stamp"},
    {0x8007000E, kUnreachable, "out_of_memory", "out of memory", kOpenMemory},
    {0x80070057, kRefused, "malformed", "a value is malformed or of a kind that isn't known",
     kNewStamp},
    {0x8007045A, kUnreachable, "policy_unreadable", "the machine's policy could not be read",
     "look into the configuration file"},
    {0x800704C7, kUnreachable, "cancelled", "it was cancelled", "start it again"},
    {0x800704EC, kRefused, "server_denied", "the policy doesn't allow this server",
     "see AllowedMSTSPs in the machine's policy"},
    {0x800705B4, kUnreachable, "time_out", "the time ran out", kTryLater},
    {0x8007139F, kRefused, "no_token", "there is no time-stamp token in it",
     "see the authority's reason"},
    {0x80072EE2, kUnreachable, "time_out", "the server didn't answer in time", kTryLater},
    {0x80072EE4, kUnreachable, "network_failed", "the network layer failed", kTryLater},
    {0x80072EE5, kMisuse, "address_malformed", "the address can't be read",
     "give an http:// or https:// address"},
    {0x80072EE6, kMisuse, "address_malformed", "the address has a scheme that isn't known",
     "give an http:// or https:// address"},
    {0x80072EE7, kUnreachable, "name_not_found", "the server's name was not found", kCheckAddress},
    {0x80072EE9, kUnreachable, "http_refused", "the server refused the request as malformed",
     kCheckAddress},
    {0x80072EEB, kUnreachable, "http_refused", "the server doesn't accept this method",
     kCheckAddress},
    {0x80072EEF, kUnreachable, "login_required", "the server asks for a login",
     "give the login in a file, or ask the authority for access"},
    {0x80072EFD, kUnreachable, "cannot_connect", "the server can't be connected to",
     "check the address, and whether the server is up"},
    {0x80072EFE, kUnreachable, "connection_lost", "the connection broke off", "try again"},
    {0x80072F05, kUnreachable, "tls_certificate_expired",
     "the server's certificate isn't valid now", "check the clock, or tell the server's operator"},
    {0x80072F06, kUnreachable, "tls_wrong_name", "the server's certificate is for another name",
     kCheckAddress},
    {0x80072F0D, kUnreachable, "tls_unknown_issuer",
     "the server's certificate is by an unknown authority",
     "check the address, or name the authority's root as CA file"},
    {0x80072F76, kUnreachable, "http_malformed", "the server's answer has no header that is needed",
     kCheckAddress},
    {0x80072F78, kUnreachable, "http_malformed", "the server's answer isn't valid HTTP",
     kCheckAddress},
    {0x80072F7C, kUnreachable, "http_redirect",
     "the server redirects elsewhere, which is not followed",
     "give the address that it redirects to"},
    {0x80072F7D, kUnreachable, "tls_failed", "the secure connection failed",
     "check the address, and which versions of TLS the server speaks"},
    {0x80072F8F, kUnreachable, "tls_failed", "the server's certificate isn't accepted",
     "check the address and its certificate"},
    {0x80072F96, kUnreachable, "http_malformed", "the header of the server's answer is too long",
     kCheckAddress},
    {0x80072F98, kUnreachable, "answer_too_large", "the server's answer is too large",
     kCheckAddress},
    {0x80072F9B, kUnreachable, "proxy_login_required", "the proxy asks for a login",
     "give the proxy's login in a file"},
    {0x80072F9C, kUnreachable, "tls_failed", "the secure connection to the proxy failed",
     "check the proxy's address and its certificate"},
    {0x80090005, kRefused, "bad_data", "the authority couldn't read the request",
     "see the authority's reason"},
    {0x80090006, kRefused, "signature_bad", "the signature of the token is bad",
     "don't use it: it was changed, or isn't by this authority"},
    {0x80090008, kRefused, "hash_unknown", "the hash algorithm is unknown here", "choose another"},
    {0x80090015, kRefused, "key_unreadable", "the signer's public key can't be read", kNoTrust},
    {0x80091001, kRefused, "malformed", "the signed message is malformed", kNewStamp},
    {0x80091002, kRefused, "algorithm_unknown", "an algorithm in the token is unknown here",
     kNewStamp},
    {0x80091004, kRefused, "content_type_wrong", "the message isn't signed data", kNewStamp},
    {0x80091006, kRefused, "attribute_missing",
     "the signed attributes contentType and messageDigest aren't there once each", kNewStamp},
    {0x80091007, kRefused, "imprint_differs", "the hash in the token is not that of the data",
     "the stamp belongs to other data"},
    {0x80091008, kRefused, "no_signer", "nobody has signed the message", kNewStamp},
    {0x8009100E, kRefused, "signer_differs", "the signature isn't by the certificate named",
     kNoTrust},
    {0x8009100F, kRefused, "attribute_missing", "the token has no signed attributes", kNewStamp},
    {0x80092004, kRefused, "signer_not_found", "the authority's certificate was not found",
     "give it among the certificates, or ask for it when stamping"},
    {0x8009200A, kRefused, "content_type_wrong",
     "the contentType attribute names another type than the content's", kNoTrust},
    {0x80092010, kRefused, "revoked", "a certificate in the chain was revoked", kNoTrust},
    {0x80092012, kUnreachable, "revocation_unknown",
     "the revocation of a certificate can't be told",
     "give an archived revocation list, or choose to take what is available"},
    {0x80092013, kUnreachable, "revocation_offline", "a source of revocation can't be reached",
     "give the revocation list, choose to take what is available, or see to the network"},
    {0x80093101, kRefused, "not_a_stamp", "the bytes are not a time-stamp",
     "check the file or the address"},
    {0x80093102, kRefused, "cut_short", "the bytes end in the middle", "get the file again"},
    {0x80093103, kRefused, "malformed", "the encoding is malformed", kNewStamp},
    {0x80093104, kRefused, "malformed", "a value is too large", kNewStamp},
    {0x80093106, kUnreachable, "out_of_memory", "out of memory while decoding", kOpenMemory},
    {0x8009310B, kRefused, "malformed", "the encoding is of something else", kNewStamp},
    {0x80096001, kUnreachable, "chain_too_costly",
     "more came along than may be looked at, so that nothing can be told",
     "give the authority's certificates and lists apart, or verify the stamps of a file one by "
     "one"},
    {0x80096004, kRefused, "certificate_signature_bad",
     "a signature in the certificate chain is bad", kNoTrust},
    {0x80096019, kRefused, "not_an_issuer", "a certificate in the chain may not issue others",
     kNoTrust},
    {0x800B0101, kRefused, "certificate_expired", "a certificate wasn't valid at the stamp's time",
     kNoTrust},
    {0x800B0105, kRefused, "extension_critical", "a critical extension isn't understood",
     "don't rely on this stamp"},
    {0x800B0108, kRefused, "certificate_malformed",
     "a certificate in the chain has dates or extensions in a form that isn't allowed", kNoTrust},
    {0x800B0109, kRefused, "root_untrusted", "the chain ends in a root that isn't trusted",
     "trust the root if you know it to be the authority's"},
    {0x800B010A, kRefused, "chain_incomplete", "the chain doesn't lead to a trusted root",
     "give the missing certificates and the root"},
    {0x800B010B, kRefused, "strength_too_low", "an algorithm or a key is too weak", kNoTrust},
    {0x800B010C, kRefused, "revoked", "a certificate in the chain was revoked", kNoTrust},
    {0x800B0110, kRefused, "usage_wrong",
     "the signer's certificate isn't one for time-stamping alone", kNoTrust},
    {0x800B0111, kRefused, "distrusted", "a certificate in the chain is distrusted on this machine",
     kNoTrust},
    {0x800B0113, kRefused, "policy_constraints", "the chain breaks its own policy constraints",
     kNoTrust},
    {0x800B0114, kRefused, "name_constraints",
     "a name in the chain isn't one that its issuer allows", kNoTrust},
    {0xC2100100, kUnreachable, "http_status", "the server answered with a failure", kCheckAddress},
    {0xC2100101, kRefused, "auth_denied",
     "the policy denies this kind of login, or none, to the authority",
     "see the AuthDeny switches of the machine's policy"},
    {0xC2100102, kRefused, "proxy_auth_denied",
     "the policy denies this kind of login, or none, to the proxy",
     "see the ProxyAuthDeny switches of the machine's policy"},
    {0xC2100103, kRefused, "address_denied",
     "the policy doesn't allow this authority or this proxy",
     "see AllowedTSPs and AllowedProxies in the machine's policy"},
    {0xC2100104, kRefused, "nonce_denied", "the policy forbids or demands a nonce",
     "see RequireNonce and DisableNonce in the machine's policy"},
    {0xC2100110, kRefused, "hash_denied", "the policy doesn't allow this hash algorithm",
     "see HashAlgsAllowed and HashAlgsDenied in the machine's policy"},
    {0xC2100111, kRefused, "policy_denied", "the policy doesn't allow this policy ID",
     "see AllowedPolicyID and DisablePolicyID in the machine's policy"},
    {0xC2100120, kRefused, "nonce_differs", "the answer's nonce is not the request's",
     "the answer belongs to another request; try again"},
    {0xC2100121, kMisuse, "no_address", "no authority's address is set",
     "give one, or set DefaultTSPURL in the machine's policy"},
    {0xC2100122, kRefused, "time_differs", "the stamp's time is too far from this machine's",
     "check the clock, or use a nonce"},
    {0xC2100123, kMisuse, "no_data", "there is no data to stamp", "give some"},
    {0xC2100124, kRefused, "not_granted", "the authority refused the request",
     "ask as the authority wants it"},
};

static_assert(std::ranges::is_sorted(kTable, {}, &ErrorWords::code));

const ErrorWords* find_words(std::uint32_t code) {
    const auto* const found = std::ranges::lower_bound(kTable, code, {}, &ErrorWords::code);
    return found != std::end(kTable) && found->code == code ? found : nullptr;
}

bool is_network_code(std::uint32_t code) {
    constexpr std::uint32_t kFirst = 0x80072EE0; // 12000
    constexpr std::uint32_t kLast = 0x80073080;
    return code >= kFirst && code <= kLast;
}

std::string sentence(std::string_view doing, std::string_view text) {
    return doing.empty() ? std::string(text)
                         : "can't " + std::string(doing) + ": " + std::string(text);
}

} // namespace

struct Error::Content {
    Category category;
    std::uint32_t code;
    std::string word, text, advice, line;
};

Error::Error(Category category, std::string_view word, std::uint32_t code, std::string text,
             std::string advice) {
    auto content = std::make_shared<Content>();
    content->line = text;
    if (code != 0) {
        content->line += " (" + code_text(code) + ")";
    }
    if (!advice.empty()) {
        content->line += "; " + advice;
    }
    content->category = category;
    content->code = code;
    content->word = word;
    content->text = std::move(text);
    content->advice = std::move(advice);
    content_ = std::move(content);
}

const char* Error::what() const noexcept {
    return content_->line.c_str();
}

Category Error::category() const noexcept {
    return content_->category;
}

const std::string& Error::word() const noexcept {
    return content_->word;
}

std::uint32_t Error::code() const noexcept {
    return content_->code;
}

const std::string& Error::text() const noexcept {
    return content_->text;
}

const std::string& Error::advice() const noexcept {
    return content_->advice;
}

std::string code_text(std::uint32_t code) {
    constexpr std::uint32_t kPlainErrors = 0x10000; // known by their decimal numbers
    if (code < kPlainErrors) {
        return std::to_string(code);
    }
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text = "0x00000000";
    for (std::size_t i = text.size(); code != 0; code >>= 4) {
        text[--i] = kDigits[code & 0xF];
    }
    return text;
}

std::span<const ErrorWords> error_table() {
    return kTable;
}

namespace {

Error told_of_code(std::uint32_t code, std::string_view doing) {
    if (const ErrorWords* words = find_words(code)) {
        return Error(words->category, words->word, code, sentence(doing, words->text),
                     std::string(words->advice));
    }
    if (is_network_code(code)) {
        return Error(kUnreachable, "network_failed", code,
                     sentence(doing, "the exchange with the server failed"),
                     "check the address and try again");
    }
    return Error(kRefused, "platform_refused", code, sentence(doing, "the platform refused"),
                 "look the code up, or switch the trace on");
}

} // namespace

// Not by `within_memory`, which asks here for its words.
Error error_of_code(std::uint32_t code, std::string_view doing) {
    try {
        return told_of_code(code, doing);
    } catch (const std::bad_alloc&) {
        return no_memory();
    }
}

} // namespace chronoseal
