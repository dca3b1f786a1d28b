// Listing, adding and taking away trusted roots.
#include "trust_command.h"

#include <fmt/format.h>

#include "short_name.h"

namespace cli {

namespace {

using chronoseal::to_hex;
using chronoseal::utc_text;

chronoseal::StorePlace place_of(const TrustChange& change) {
    return change.machine ? chronoseal::StorePlace::machine : chronoseal::StorePlace::user;
}

} // namespace

ExitStatus run_trust_list(const Output& output) {
    nlohmann::ordered_json roots = nlohmann::ordered_json::array();
    for (const chronoseal::TrustedRoot& root : chronoseal::trusted_roots()) {
        const chronoseal::CertificateInfo& certificate = root.certificate;
        output.text(fmt::format("{:<8} {} until {} {}\n", root.place, to_hex(certificate.sha256),
                                utc_text(certificate.not_after), short_name(certificate.subject)));
        roots.push_back({{"place", root.place},
                         {"subject", certificate.subject},
                         {"sha256", to_hex(certificate.sha256)},
                         {"notBefore", utc_text(certificate.not_before)},
                         {"notAfter", utc_text(certificate.not_after)}});
    }
    output.object(true, {{"roots", std::move(roots)}});
    return ExitStatus::good;
}

ExitStatus run_trust_add(const TrustChange& change, const Output& output) {
    const chronoseal::CertificateInfo added = chronoseal::trust_root(
        std::filesystem::path(change.root), chronoseal::from_hex(change.sha256), place_of(change));
    output.text(fmt::format("trusted: {}, {}\n", short_name(added.subject), to_hex(added.sha256)));
    output.object(true, {{"subject", added.subject}, {"sha256", to_hex(added.sha256)}});
    return ExitStatus::good;
}

ExitStatus run_trust_remove(const TrustChange& change, const Output& output) {
    const chronoseal::Bytes sha256 = chronoseal::from_hex(change.sha256);
    chronoseal::distrust_root(sha256, place_of(change));
    output.text(fmt::format("no longer trusted: {}\n", to_hex(sha256)));
    output.object(true, {{"sha256", to_hex(sha256)}});
    return ExitStatus::good;
}

} // namespace cli
