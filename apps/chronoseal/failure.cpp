#include "failure.h"

#include <algorithm>
#include <iterator>
#include <new>

#include <fmt/format.h>

#include "base/atl_exception.h"

namespace cli {

namespace {

constexpr auto kRefused = ExitStatus::refused;
constexpr auto kUnreachable = ExitStatus::unreachable;

struct Explanation {
    std::uint32_t code;
    ExitStatus status;
    const char* what;
    const char* advice;
};

// In ascending order of the code.
constexpr Explanation kExplanations[] = {
    {0x80004005, kRefused, "the time-stamp is malformed or isn't one",
     "ask the authority for another"},
    {0x8007000B, kRefused, "the signing-certificate attributes aren't allowed in this form",
     "the authority is at fault; ask it for another stamp"},
    {0x8007000E, kUnreachable, "out of memory", "free some and try again"},
    {0x8007045A, kUnreachable, "the policy could not be read", "look into the configuration file"},
    {0x800705B4, kUnreachable, "the time-out ran out", "try again later"},
    {0x80072EE2, kUnreachable, "the server didn't answer in time", "try again later"},
    {0x80072EE4, kUnreachable, "the network layer failed", "try again later"},
    {0x80072EE5, kUnreachable, "the address can't be read", "give an http:// or https:// address"},
    {0x80072EE6, kUnreachable, "the address has a scheme that isn't known",
     "give an http:// or https:// address"},
    {0x80072EE7, kUnreachable, "the server or the page was not found", "check the address"},
    {0x80072EE9, kUnreachable, "the server refused the request as malformed", "check the address"},
    {0x80072EEB, kUnreachable, "the server doesn't accept this method", "check the address"},
    {0x80072EEF, kUnreachable, "the server asks for a login", "ask the authority for access"},
    {0x80072EFD, kUnreachable, "the server can't be connected to",
     "check the address, and whether the server is up"},
    {0x80072EFE, kUnreachable, "the connection broke off", "try again"},
    {0x80072F05, kUnreachable, "the server's certificate isn't valid now",
     "check the clock and the address"},
    {0x80072F06, kUnreachable, "the server's certificate is for another name", "check the address"},
    {0x80072F0D, kUnreachable, "the server's certificate is by an unknown authority",
     "check the address, or install the root"},
    {0x80072F76, kUnreachable, "the server's answer has no header that is needed",
     "check the address"},
    {0x80072F78, kUnreachable, "the server's answer isn't valid HTTP", "check the address"},
    {0x80072F7C, kUnreachable, "the server redirects elsewhere, which is not followed",
     "give the address that it redirects to"},
    {0x80072F8F, kUnreachable, "the secure connection failed",
     "check the address and its certificate"},
    {0x80072F9B, kUnreachable, "the proxy asks for a login", "set the proxy's user"},
    {0x80090006, kRefused, "the signature of the token is bad",
     "don't use it: it was changed, or isn't by this authority"},
    {0x80090008, kRefused, "the hash algorithm is unknown here", "choose another with --hash"},
    {0x80091002, kRefused, "an algorithm in the token is unknown here",
     "ask the authority for another stamp"},
    {0x80091007, kRefused, "the hash in the token is not that of the data",
     "the stamp belongs to other data"},
    {0x80092004, kRefused, "the authority's certificate was not found",
     "give it with --certs, or ask for it with --cert when stamping"},
    {0x80092010, kRefused, "a certificate in the chain was revoked before the stamp's time",
     "don't trust this stamp"},
    {0x80092012, kRefused, "the revocation of a certificate can't be checked",
     "give its CRL with --crls, or choose --revocation available"},
    {0x80092013, kRefused, "a source of revocation can't be reached",
     "give the CRL with --crls, or choose --revocation available"},
    {0x80093101, kRefused, "the bytes are not a time-stamp", "check the file or the address"},
    {0x80093106, kUnreachable, "out of memory while decoding", "free some and try again"},
    {0x80096004, kRefused, "a signature in the certificate chain is bad", "don't trust this stamp"},
    {0x80096019, kRefused, "a certificate in the chain may not issue others",
     "don't trust this stamp"},
    {0x800B0101, kRefused, "a certificate wasn't valid at the stamp's time",
     "don't trust this stamp"},
    {0x800B0105, kRefused, "a critical extension isn't recognised", "don't rely on this stamp"},
    {0x800B0109, kRefused, "the chain ends in a root that isn't trusted",
     "give the root with --roots if you trust it"},
    {0x800B010A, kRefused, "the chain doesn't lead to a trusted root",
     "give missing certificates with --certs and the root with --roots"},
    {0x800B010C, kRefused, "a certificate in the chain was revoked before the stamp's time",
     "don't trust this stamp"},
    {0x800B0110, kRefused, "the signer's certificate isn't one for time-stamping alone",
     "don't trust this stamp"},
    {0xC2100100, kUnreachable, "the server answered with a failure", "check the address"},
    {0xC2100101, kRefused, "the policy denies this authentication to the authority",
     "see `chronoseal policy show`"},
    {0xC2100102, kRefused, "the policy denies this authentication to the proxy",
     "see `chronoseal policy show`"},
    {0xC2100103, kRefused, "the policy doesn't allow this authority or this proxy",
     "see AllowedTSPs and AllowedProxies in `chronoseal policy show`"},
    {0xC2100104, kRefused, "the policy forbids or demands a nonce",
     "see RequireNonce and DisableNonce in `chronoseal policy show`"},
    {0xC2100110, kRefused, "the policy doesn't allow this hash algorithm",
     "see HashAlgsAllowed and HashAlgsDenied in `chronoseal policy show`"},
    {0xC2100111, kRefused, "the policy doesn't allow this policy ID",
     "see AllowedPolicyID and DisablePolicyID in `chronoseal policy show`"},
    {0xC2100120, kRefused, "the answer's nonce is not the request's",
     "the answer belongs to another request; try again"},
    {0xC2100121, kRefused, "no authority's address is set", "give one with --url"},
    {0xC2100122, kRefused, "the stamp's time is too far from this machine's",
     "check the clock, or use a nonce"},
    {0xC2100123, kRefused, "there is no data to stamp", "give a file"},
    {0xC2100124, kRefused, "the authority refused the request", "see its reason"},
};

const Explanation* find_explanation(std::uint32_t code) {
    const auto* const found =
        std::lower_bound(std::begin(kExplanations), std::end(kExplanations), code,
                         [](const Explanation& e, std::uint32_t c) { return e.code < c; });
    return found != std::end(kExplanations) && found->code == code ? found : nullptr;
}

bool is_network_code(std::uint32_t code) {
    constexpr std::uint32_t kFirst = 0x80072EE0; // 12000
    constexpr std::uint32_t kLast = 0x80073080;
    return code >= kFirst && code <= kLast;
}

std::string make_line(const std::string& message, const std::string& advice, std::uint32_t code) {
    std::string line = message;
    if (code != 0) {
        line += fmt::format(" ({})", code_text(code));
    }
    if (!advice.empty()) {
        line += "; " + advice;
    }
    return line;
}

} // namespace

Failure::Failure(ExitStatus status, std::string what, std::string advice, std::uint32_t code)
    : status_(status), message_(std::move(what)), advice_(std::move(advice)), code_(code),
      line_(make_line(message_, advice_, code_)) {}

std::string code_text(std::uint32_t code) {
    constexpr std::uint32_t kPlainErrors = 0x10000; // known by their decimal numbers
    return code < kPlainErrors ? std::to_string(code) : fmt::format("0x{:08X}", code);
}

Failure failure_of_code(const std::string& doing, std::uint32_t code) {
    if (const Explanation* e = find_explanation(code)) {
        return {e->status, fmt::format("can't {}: {}", doing, e->what), e->advice, code};
    }
    if (is_network_code(code)) {
        return {kUnreachable, fmt::format("can't {}: the exchange with the server failed", doing),
                "check the address and try again", code};
    }
    return {kRefused, fmt::format("can't {}: the platform refused", doing),
            "look the code up, or switch the trace on (docs/configuration.md)", code};
}

Failure failure_in_flight(const std::string& doing) {
    try {
        throw;
    } catch (const Failure& failure) {
        return failure;
    } catch (const ATL::CAtlException& exception) {
        return failure_of_code(doing, static_cast<std::uint32_t>(exception.m_hr));
    } catch (const std::bad_alloc&) {
        return failure_of_code(doing, 0x8007000E);
    } catch (const std::exception& exception) {
        return {ExitStatus::unreachable, fmt::format("can't {}: {}", doing, exception.what())};
    }
}

} // namespace cli
