#include "stamp_verification.h"

#include <fmt/format.h>

#include "base/atl_exception.h"
#include "failure.h"
#include "stamp_report.h"

namespace cli {

namespace {

using Halcyon::PKI::TSP::Client::CStamp;

constexpr std::uint32_t kNotFound = 0x80092004;
constexpr std::uint32_t kFail = 0x80004005;

Failure refused(const std::string& doing, const char* what, std::uint32_t code) {
    return {ExitStatus::refused, fmt::format("can't {}: {}", doing, what), "don't trust this stamp",
            code};
}

// The same code can have several causes, which the state of the stamp tells apart.
Failure token_failure(const std::string& doing, std::uint32_t code, bool signer_found) {
    if (code == kNotFound && signer_found) {
        return refused(
            doing, "no signing-certificate attribute of the token names the signer's certificate",
            code);
    }
    if (code == kFail) {
        return refused(doing, "what the token signs isn't a time-stamp", code);
    }
    return failure_of_code(doing, code);
}

} // namespace

void require_granted(const std::string& doing, const CStamp& stamp) {
    const StampReport report = read_report(stamp, nullptr, 0);
    if (report.token) {
        return;
    }
    std::string why = status_name(report.status.value_or(2));
    for (const std::string& name : report.failure_info) {
        why += ", " + name;
    }
    if (!report.status_text.empty()) {
        why += ": \"" + report.status_text + "\"";
    }
    throw Failure(ExitStatus::refused,
                  fmt::format("can't {}: the authority refused the request ({})", doing, why),
                  "ask as the authority wants it", 0xC2100124);
}

void verify_stamp(const std::string& doing, const CStamp& stamp, Trust& trust) {
    const CERT_CONTEXT* signer = stamp.get_TSACertificate(trust.stores(), trust.store_count());
    const auto token = static_cast<std::uint32_t>(stamp.Verify(signer, nullptr));
    if (token != 0) {
        throw token_failure(doing, token, signer != nullptr);
    }
    const auto chain = static_cast<std::uint32_t>(
        stamp.VerifyCertificate(nullptr, trust.stores(), trust.store_count()));
    if (chain != 0) {
        throw failure_of_code(doing, chain);
    }
}

} // namespace cli
