// Listing, adding and taking away trusted roots.
#include "trust_command.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include <fmt/format.h>

#include "input_file.h"
#include "named_failure.h"
#include "short_name.h"

namespace cli {

namespace {

using chronoseal::to_hex;
using chronoseal::utc_text;

chronoseal::StorePlace place_of(const TrustChange& change) {
    return change.machine ? chronoseal::StorePlace::machine : chronoseal::StorePlace::user;
}

// The certificate itself, or the one with this SHA-256 of those that a stamp carries.
chronoseal::Source source_of(const std::string& file, const chronoseal::Bytes& sha256) {
    const chronoseal::Bytes bytes = read_file(file);
    const chronoseal::Inspection found = chronoseal::inspect(bytes);
    if (found.stamp && found.stamp->has_token()) {
        for (const auto& certificate : found.stamp->info().token->certificates) {
            if (certificate.sha256 == sha256) {
                return certificate.der;
            }
        }
        throw chronoseal::Error(chronoseal::Category::refused, "root_not_found", 0,
                                "the stamp " + chronoseal::quote_foreign(file) +
                                    " carries no certificate with this SHA-256",
                                "give the root's own file");
    }
    return bytes;
}

} // namespace

namespace {

// A name as a shell takes it, whatever stands in it: the line is there to be copied. One that can't
// be shown as it is has to be filled in.
std::string shell_word(const std::string& name) {
    if (chronoseal::quote_foreign(name) != name) {
        return "FILE";
    }
    const bool plain = std::ranges::all_of(name, [](unsigned char c) {
        return std::isalnum(c) != 0 || std::strchr("._-/+=:,@%", c) != nullptr;
    });
    std::string word = name.starts_with("-") ? "./" + name : name;
    if (plain) {
        return word;
    }
    for (std::size_t at = 0; (at = word.find('\'', at)) != std::string::npos; at += 4) {
        word.replace(at, 1, "'\\''");
    }
    return "'" + word + "'";
}

} // namespace

chronoseal::Error with_trust_call(const chronoseal::Error& error, const std::string& file) {
    // The advice ends in the root's SHA-256.
    constexpr std::size_t kDigits = 64;
    const std::string& advice = error.advice();
    const std::string digits =
        advice.size() > kDigits ? advice.substr(advice.size() - kDigits) : "";
    if (error.word() != "root_untrusted" || digits.empty() ||
        digits.find_first_not_of("0123456789abcdef") != std::string::npos) {
        return error;
    }
    return {error.category(), error.word(), error.code(), error.text(),
            fmt::format("{}: chronoseal trust add {} --sha256 {}",
                        advice.substr(0, advice.rfind(';')), shell_word(file), digits)};
}

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

namespace {

chronoseal::CertificateInfo trusted(const TrustChange& change) {
    const chronoseal::Bytes sha256 = chronoseal::from_hex(change.sha256);
    try {
        return chronoseal::trust_root(source_of(change.root, sha256), sha256, place_of(change));
    } catch (const chronoseal::Error& error) {
        throw about_file(change.root, "trust", error);
    }
}

} // namespace

ExitStatus run_trust_add(const TrustChange& change, const Output& output) {
    const chronoseal::CertificateInfo added = trusted(change);
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
