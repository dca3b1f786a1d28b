// Stamps and verdicts as text.
#include "stamp_text.h"

#include <fmt/format.h>

#include "output.h"
#include "record_text.h"
#include "short_name.h"

namespace cli {

namespace {

using chronoseal::quote_foreign;
using chronoseal::to_hex;
using chronoseal::utc_text;

constexpr std::size_t kStatusTextLimit = 200;

void add_line(std::string& text, const char* name, const std::string& value) {
    text += fmt::format("{:<14} {}\n", name, value);
}

std::string algorithm_text(const chronoseal::AlgorithmInfo& algorithm) {
    const std::string name = quote_foreign(algorithm.name);
    return algorithm.weakness.empty() ? name
                                      : fmt::format("{} (weak: {})", name, algorithm.weakness);
}

std::string key_text(const chronoseal::CertificateInfo& certificate) {
    return certificate.key_bits == 0
               ? algorithm_text(certificate.key_algorithm)
               : fmt::format("{}, {} bits", algorithm_text(certificate.key_algorithm),
                             certificate.key_bits);
}

void add_certificate(std::string& text, const char* role,
                     const chronoseal::CertificateInfo& certificate) {
    add_line(text, role, quote_foreign(certificate.subject));
    add_line(text, "  issued by", quote_foreign(certificate.issuer));
    add_line(text, "  serial", to_hex(certificate.serial_number));
    add_line(text, "  valid",
             utc_text(certificate.not_before) + " to " + utc_text(certificate.not_after));
    add_line(text, "  key", key_text(certificate));
    add_line(text, "  sha-256", to_hex(certificate.sha256));
}

void add_token(std::string& text, const chronoseal::TokenInfo& token) {
    add_line(text, "time",
             fmt::format("{} ({})", utc_text(token.time), chronoseal::local_text(token.time)));
    add_line(text, "accuracy", token.accuracy ? accuracy_text(*token.accuracy) : "not told");
    add_line(text, "serial number", to_hex(token.serial_number));
    add_line(text, "policy", token.policy);
    add_line(text, "hash", algorithm_text(token.imprint_algorithm));
    add_line(text, "digest", to_hex(token.imprint));
    add_line(text, "nonce", token.nonce ? to_hex(*token.nonce) : "no");
    add_line(text, "ordering", token.ordering ? "yes" : "no");
    add_line(text, "authority",
             token.authority.empty() ? "not told" : quote_foreign(token.authority));
    for (const chronoseal::ExtensionInfo& extension : token.extensions) {
        add_line(text, "extension",
                 fmt::format("{}{}", quote_foreign(extension.name),
                             extension.critical ? " (critical)" : ""));
    }
    add_line(text, "signature",
             fmt::format("{} with {}", algorithm_text(token.signature.signature_algorithm),
                         algorithm_text(token.signature.digest_algorithm)));
    add_line(text, "certificates", fmt::format("{} in the token", token.certificates.size()));
    if (token.revocation_lists != 0) {
        add_line(text, "lists", fmt::format("{} in the token", token.revocation_lists));
    }
    if (token.signer) {
        add_certificate(text, "signer", *token.signer);
    } else {
        add_line(text, "signer", "its certificate was not found");
    }
}

std::string evidence_text(const chronoseal::Evidence& evidence) {
    constexpr const char* kSources[] = {"given", "from the cache", "fetched"};
    std::string text = fmt::format(
        "{} {} of {}",
        evidence.kind == chronoseal::EvidenceKind::ocsp_answer ? "OCSP answer" : "list",
        kSources[static_cast<std::size_t>(evidence.source)], utc_text(evidence.this_update));
    if (evidence.revoked) {
        text += fmt::format(", revoked since {}{}", utc_text(*evidence.revoked),
                            evidence.reason.empty() ? "" : " (" + evidence.reason + ")");
    }
    if (!evidence.url.empty()) {
        text += ", " + chronoseal::quote_address(evidence.url);
    }
    return text;
}

void add_link(std::string& text, const chronoseal::ChainLink& link) {
    constexpr const char* kStates[] = {"not checked", "good", "revoked", "unknown"};
    text +=
        fmt::format("    {} {}, {}, valid {} to {}\n", link.anchor ? "root" : "    ",
                    short_name(link.certificate.subject), key_text(link.certificate),
                    utc_text(link.certificate.not_before), utc_text(link.certificate.not_after));
    for (const std::string& fault : link.faults) {
        text += fmt::format("           {}\n", fault);
    }
    if (!link.anchor) {
        text += fmt::format("           revocation: {}\n",
                            kStates[static_cast<std::size_t>(link.revocation)]);
    }
    for (const chronoseal::Evidence& evidence : link.evidence) {
        text += fmt::format("           {}\n", evidence_text(evidence));
    }
}

} // namespace

std::string accuracy_text(std::chrono::microseconds accuracy) {
    using namespace std::chrono;
    return accuracy % seconds(1) == microseconds(0)
               ? fmt::format("{} s", duration_cast<seconds>(accuracy).count())
           : accuracy % milliseconds(1) == microseconds(0)
               ? fmt::format("{} ms", duration_cast<milliseconds>(accuracy).count())
               : fmt::format("{} microseconds", accuracy.count());
}

bool is_signature(const chronoseal::Inspection& found) {
    return found.kind == chronoseal::Kind::signed_message ||
           found.kind == chronoseal::Kind::authenticode_signature;
}

std::string behind_text(const chronoseal::Inspection& found) {
    return found.behind == 0 ? ""
                             : fmt::format("  remark: {} behind the {}, not looked at\n",
                                           counted(found.behind, "byte"),
                                           is_signature(found) ? "signed message" : "stamp");
}

std::string info_text(const chronoseal::StampInfo& info) {
    std::string text;
    add_line(text, "kind", info.status ? "response" : "bare token");
    if (info.status) {
        add_line(text, "status", info.status_name);
        if (!info.status_text.empty()) {
            add_line(text, "  text", quote_foreign(info.status_text, kStatusTextLimit));
        }
        for (const std::string& name : info.failure_names) {
            add_line(text, "  failure", name);
        }
    }
    if (info.token) {
        add_token(text, *info.token);
    }
    return text;
}

std::string authority_text(const chronoseal::StampInfo& info) {
    if (!info.token) {
        return "nobody";
    }
    if (info.token->signer) {
        return short_name(info.token->signer->subject);
    }
    return info.token->authority.empty() ? "an unnamed authority"
                                         : short_name(info.token->authority);
}

std::string authority_text(const chronoseal::Verdict& verdict) {
    return verdict.signer ? short_name(verdict.signer->subject) : authority_text(verdict.stamp);
}

std::string stamped_text(const std::string& label, const chronoseal::Stamp& stamp, bool verified,
                         const std::string& out) {
    return fmt::format("{} {} {} by {}, {} -> {}\n{}", label,
                       verified ? "stamped and verified" : "stamped (not verified)",
                       utc_text(stamp.time()), authority_text(stamp.info()),
                       chronoseal::quote_address(stamp.authority()), quote_foreign(out),
                       remarks_text(stamp.remarks()));
}

std::string verdict_text(const chronoseal::Verdict& verdict, const Output& output) {
    std::string text;
    if (verdict.stamp.token) {
        text += fmt::format("  {:<13} {}\n", "local time",
                            chronoseal::local_text(verdict.stamp.token->time));
    }
    for (const chronoseal::Finding& finding : verdict.findings) {
        const std::string outcome =
            finding.outcome == chronoseal::Outcome::passed   ? output.good("passed")
            : finding.outcome == chronoseal::Outcome::failed ? output.bad("FAILED")
                                                             : "not done";
        text += fmt::format("  {:<13} {}{}\n", chronoseal::check_name(finding.check), outcome,
                            finding.text.empty() ? "" : ": " + finding.text);
        if (finding.check == chronoseal::Check::chain) {
            for (const chronoseal::ChainLink& link : verdict.chain) {
                add_link(text, link);
            }
        }
    }
    return text;
}

std::string term_text(const chronoseal::Outlook& outlook) {
    if (!outlook.evidence_stored) {
        return "";
    }
    if (!outlook.evidence_until) {
        return "; its evidence speaks for good";
    }
    return fmt::format(
        "; its evidence speaks until {}{}", utc_text(*outlook.evidence_until),
        outlook.evidence_again ? ", and again from " + utc_text(*outlook.evidence_again) : "");
}

std::string outlook_text(const chronoseal::Verdict& verdict) {
    const chronoseal::Outlook& outlook = verdict.outlook;
    const bool ahead = outlook.renew_before && *outlook.renew_before > verdict.as_of;
    return term_text(outlook) +
           (ahead ? "; renew before " + utc_text(*outlook.renew_before).substr(0, 10) : "");
}

std::string remarks_text(const std::vector<chronoseal::Remark>& remarks) {
    std::string text;
    for (const chronoseal::Remark& remark : remarks) {
        text += fmt::format("  remark: {}\n", remark.text);
    }
    return text;
}

std::string remarks_text(const chronoseal::Verdict& verdict) {
    std::string text;
    for (const chronoseal::Finding& finding : verdict.findings) {
        text += remarks_text(finding.remarks);
    }
    return text;
}

std::string labelled_remarks(const std::string& label, const chronoseal::Verdict& verdict) {
    const std::string text = remarks_text(verdict);
    return text.empty() || verdict.good() ? text : label + ":\n" + text;
}

} // namespace cli
