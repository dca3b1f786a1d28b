// The steps of a verification that look at the chain: each reads what concerns it in the platform's
// judgement, and none is inferred from another.
#include <algorithm>

#include <basalt/error_codes.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/outlook.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/verification.h>

namespace chronoseal {

namespace {

constexpr std::string_view kTimeStamping = "1.3.6.1.5.5.7.3.8";
constexpr std::string_view kExtendedUsage = "2.5.29.37";

// What is wrong with a chain beside usage, revocation and strength, with the code of each, worst
// first.
struct ChainFault {
    DWORD bit;
    std::uint32_t code;
};
constexpr ChainFault kChainFaults[] = {
    {CERT_TRUST_IS_EXPLICIT_DISTRUST, TRUST_E_EXPLICIT_DISTRUST},
    {CERT_TRUST_IS_NOT_SIGNATURE_VALID, TRUST_E_CERT_SIGNATURE},
    {CERT_TRUST_IS_PARTIAL_CHAIN, CERT_E_CHAINING},
    {CERT_TRUST_IS_CYCLIC, CERT_E_CHAINING},
    {CERT_TRUST_IS_UNTRUSTED_ROOT, CERT_E_UNTRUSTEDROOT},
    {CERT_TRUST_IS_NOT_TIME_VALID, CERT_E_EXPIRED},
    {CERT_TRUST_INVALID_BASIC_CONSTRAINTS, TRUST_E_BASIC_CONSTRAINTS},
    {CERT_TRUST_INVALID_NAME_CONSTRAINTS, CERT_E_INVALID_NAME},
    {CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT, CERT_E_INVALID_NAME},
    {CERT_TRUST_INVALID_POLICY_CONSTRAINTS, CERT_E_INVALID_POLICY},
    {CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY, CERT_E_INVALID_POLICY},
    {CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT, CERT_E_CRITICAL},
    {CERT_TRUST_INVALID_EXTENSION, CERT_E_MALFORMED},
};

constexpr std::size_t kAddressLimit = 200;

bool is_revocation_code(std::uint32_t code) {
    return code == CRYPT_E_REVOKED || code == CERT_E_REVOKED ||
           code == CRYPT_E_NO_REVOCATION_CHECK || code == CRYPT_E_REVOCATION_OFFLINE ||
           code == kTooCostly;
}

// The codes of the policy that speak of the chain itself.
bool is_chain_code(std::uint32_t code) {
    return code != 0 && code != CERT_E_WRONG_USAGE && code != TRUST_E_FAIL &&
           !is_revocation_code(code);
}

std::string chain_text(const std::vector<ChainLink>& links) {
    std::string text;
    for (const ChainLink& link : links) {
        text += (text.empty() ? "" : " <- ") + quote_foreign(link.certificate.subject);
    }
    return text;
}

std::string root_advice(const std::vector<ChainLink>& links) {
    return "if you know " + quote_foreign(links.back().certificate.subject) +
           " to be the authority's root, trust it; its SHA-256 is " +
           to_hex(links.back().certificate.sha256);
}

// MD5 and the like, and keys below the floor; SHA-1 and RSA below 2048 bits as well under
// `current`.
bool is_below(const AlgorithmInfo& algorithm, Strength strength) {
    return !algorithm.weakness.empty() &&
           (strength == Strength::current || algorithm.weakness.find("SHA-1") != 0);
}

constexpr std::size_t kFloorRsaBits = 1024;
constexpr std::size_t kFloorCurveBits = 160;

bool is_below(const CertificateInfo& certificate, Strength strength) {
    if (certificate.key_algorithm.weakness.empty()) {
        return false;
    }
    const bool curve = certificate.key_algorithm.oid == "1.2.840.10045.2.1";
    return strength == Strength::current ||
           certificate.key_bits < (curve ? kFloorCurveBits : kFloorRsaBits);
}

// Why asking might still tell whether a certificate was revoked.
struct Open {
    std::string text;
    std::string advice;
    std::string address; // that gave nothing; foreign, empty when none is known
};

Open why_open(const std::vector<ChainLink>& links, const ChainJudgement& judgement) {
    for (std::size_t i = 0; i < links.size(); ++i) {
        const ChainLink& link = links[i];
        const std::string name = quote_foreign(link.certificate.subject);
        if (judgement.accused == i) {
            return {"somebody calls the key of " + name +
                        " compromised, and whether he may can't be told",
                    "give the lists that speak of him, see to the network, or judge later",
                    judgement.unreached[i]};
        }
        if (link.revocation == RevocationState::unknown && !link.evidence.empty() &&
            link.evidence.front().revoked) {
            return {name + " was on hold since " + utc_text(*link.evidence.front().revoked) +
                        ", and whether it still is can't be told",
                    "give a newer list of its authority, see to the network, or judge later",
                    judgement.unreached[i]};
        }
    }
    const Error offline = error_of_code(CRYPT_E_REVOCATION_OFFLINE);
    const auto first = std::ranges::find_if(
        judgement.unreached, [](const std::string& address) { return !address.empty(); });
    return {offline.text(), offline.advice(),
            first != judgement.unreached.end() ? *first : std::string()};
}

} // namespace

const Finding* Verification::first_failure() const {
    const auto found = std::ranges::find(verdict_.findings, Outcome::failed, &Finding::outcome);
    return found != verdict_.findings.end() ? &*found : nullptr;
}

void Verification::judge_chain() {
    static constexpr auto kOfChain = {Check::chain, Check::usage, Check::revocation,
                                      Check::strength};
    if (!signer_) {
        skip_after(Check::signer, kOfChain);
        return;
    }
    if (!passed(Check::signature)) {
        skip_after(Check::signature, kOfChain); // nothing is asked for a token that nobody signed
        return;
    }
    // What is bad anyway is worth no connection.
    ChainJudgement judgement = trust_.engine.judge(signer_.get(), token().time, own_.store.get(),
                                                   {together_, first_failure() == nullptr});
    // What wasn't looked at may lead elsewhere than through a revoked authority, or revoke.
    const bool may_change = judgement.code != 0 || trust_.revocation != Revocation::off;
    if (!own_.is_whole && may_change &&
        !(judgement.condemned && judgement.code == CRYPT_E_REVOKED)) {
        judgement.code = kTooCostly;
    }
    verdict_.chain = std::move(judgement.links);
    check_chain(judgement);
    check_usage(judgement);
    check_revocation(judgement);
    check_strength(judgement);
    look_ahead();
}

void Verification::look_ahead() {
    if (!passed(Check::chain)) {
        return;
    }
    const auto sunsets = trust_.sunsets.ends_under(token(), verdict_.chain);
    verdict_.outlook = outlook_of(verdict_, sunsets);
    if (auto remark = aged_remark(verdict_.outlook)) {
        finding(Check::chain).remarks.push_back(*std::move(remark));
    }
    auto& remarks = finding(Check::strength).remarks;
    for (Remark& remark : sunset_remarks(sunsets, verdict_.as_of)) {
        remarks.push_back(std::move(remark));
    }
    Finding& revocation = finding(Check::revocation);
    if (revocation.outcome == Outcome::not_done && revocation.required) {
        advise_on_evidence(revocation);
    }
}

// What would have been needed, and when.
void Verification::advise_on_evidence(Finding& revocation) const {
    const Outlook& outlook = verdict_.outlook;
    if (outlook.evidence_until && *outlook.evidence_until <= verdict_.as_of) {
        revocation.text +=
            "; the evidence at hand spoke until " + utc_text(*outlook.evidence_until);
        if (outlook.evidence_again) {
            revocation.text += ", and speaks again from " + utc_text(*outlook.evidence_again);
        }
    }
    if (outlook.strength == EvidenceStrength::aged) {
        revocation.advice = "extend stamps before their authority's certificate ends, by evidence "
                            "made after the stamp; --revocation available judges without it";
    }
}

void Verification::check_chain(const ChainJudgement& judgement) {
    std::uint32_t code = 0;
    for (const ChainFault& fault : kChainFaults) {
        if (code == 0 && (judgement.trust_bits & fault.bit) != 0) {
            code = fault.code;
        }
    }
    // Where nobody looks at revocation nothing but a better path can have been meant.
    const bool is_about_path = code != 0 || trust_.revocation == Revocation::off;
    if (is_about_path && judgement.code == kTooCostly) {
        skip_as_too_costly(Check::chain); // of another path that may be the right one
        return;
    }
    if (is_chain_code(judgement.code)) {
        code = judgement.code;
    }
    if (code == 0) {
        pass(Check::chain, chain_text(verdict_.chain));
        return;
    }
    const Error error = error_of_code(code);
    std::string text = error.text();
    if ((judgement.trust_bits & CERT_TRUST_IS_PARTIAL_CHAIN) != 0 && code == CERT_E_CHAINING &&
        !verdict_.chain.empty()) {
        text += ": the certificate of " + quote_foreign(verdict_.chain.back().certificate.issuer) +
                " isn't at hand";
    }
    if (code == CERT_E_MALFORMED) {
        const auto link = std::ranges::find_if(verdict_.chain, [](const ChainLink& one) {
            return std::ranges::find(one.faults, "malformed") != one.faults.end();
        });
        text += link != verdict_.chain.end()
                    ? ": that of " + quote_foreign(link->certificate.subject)
                    : "";
    }
    const bool known_root = code == CERT_E_UNTRUSTEDROOT && !verdict_.chain.empty();
    fail(Check::chain, code, error.word(), text,
         known_root ? root_advice(verdict_.chain) : error.advice());
}

// RFC 3161, 2.3: the extended usage is there, critical, and time-stamping alone.
void Verification::check_usage(const ChainJudgement& judgement) {
    const bool is_wrong = (judgement.trust_bits & CERT_TRUST_IS_NOT_VALID_FOR_USAGE) != 0;
    const CertificateInfo& signer = *verdict_.signer;
    const auto extension =
        std::ranges::find(signer.extensions, kExtendedUsage, &ExtensionInfo::oid);
    std::string why;
    if (extension == signer.extensions.end()) {
        why = "the signer's certificate has no extended usage";
    } else if (!extension->critical) {
        why = "the extended usage of the signer's certificate isn't critical";
    } else if (signer.extended_usages.size() != 1 ||
               signer.extended_usages.front() != kTimeStamping) {
        why = "the signer's certificate isn't one for time-stamping alone";
    } else if (is_wrong && judgement.code == kTooCostly) {
        skip_as_too_costly(Check::usage); // of another path that may be the right one
        return;
    } else if (is_wrong || judgement.code == CERT_E_WRONG_USAGE) {
        why = "a certificate of the chain isn't one for time-stamping";
    }
    if (why.empty()) {
        pass(Check::usage, "time-stamping alone");
    } else {
        fail(Check::usage, CERT_E_WRONG_USAGE, "usage_wrong", why, "don't trust this stamp");
    }
}

void Verification::check_revocation(const ChainJudgement& judgement) {
    if (trust_.revocation == Revocation::off) {
        skip(Check::revocation, "switched_off", "revocation was not to be looked at", false);
        return;
    }
    // By the policy alone: of a path that isn't the only one the bits say nothing.
    if (judgement.code == CRYPT_E_REVOKED || judgement.code == CERT_E_REVOKED) {
        const Error error = error_of_code(CRYPT_E_REVOKED);
        std::string text = error.text();
        for (const ChainLink& link : verdict_.chain) {
            if (link.revocation == RevocationState::revoked) {
                text = quote_foreign(link.certificate.subject) + " was revoked";
                if (!link.evidence.empty() && link.evidence.front().revoked) {
                    const Evidence& evidence = link.evidence.front();
                    const bool later = *evidence.revoked > verdict_.judged_at;
                    text += " at " + utc_text(*evidence.revoked) +
                            (evidence.reason.empty() ? "" : " (" + evidence.reason + ")") +
                            (later ? ", after the stamp, in a way that voids what it signed before"
                                   : "");
                }
            }
        }
        fail(Check::revocation, error.code(), error.word(), text, error.advice());
        return;
    }
    if (!passed(Check::chain)) {
        skip_after(Check::chain, {Check::revocation});
        return;
    }
    if (judgement.code == CERT_E_WRONG_USAGE) {
        skip_after(Check::usage, {Check::revocation}); // nobody looked
        return;
    }
    if (const Finding* earlier = first_failure();
        earlier != nullptr && is_revocation_code(judgement.code)) {
        skip_after(earlier->check, {Check::revocation}); // nobody was asked
        return;
    }
    if (is_revocation_code(judgement.code)) {
        const Error error = error_of_code(judgement.code);
        const Open open = error.code() == CRYPT_E_REVOCATION_OFFLINE
                              ? why_open(verdict_.chain, judgement)
                              : Open{error.text(), error.advice(), {}};
        skip(Check::revocation, error.word(),
             open.text +
                 (open.address.empty() ? "" : ": " + quote_foreign(open.address, kAddressLimit)),
             true);
        finding(Check::revocation).code = error.code();
        finding(Check::revocation).advice = open.advice;
        return;
    }
    std::vector<Remark>& remarks = finding(Check::revocation).remarks;
    std::size_t known = 0;
    for (const ChainLink& link : verdict_.chain) {
        if (link.anchor) {
            continue;
        }
        if (link.evidence.empty()) {
            remarks.push_back({"no_evidence", "nothing speaks of the revocation of " +
                                                  quote_foreign(link.certificate.subject)});
        } else {
            ++known;
        }
    }
    pass(Check::revocation, known == 0 ? "nothing is known of a revocation"
                            : remarks.empty()
                                ? "none of the certificates was revoked"
                                : "none was revoked of those that something speaks of");
}

void Verification::remark_weakness(std::string_view word, std::string_view where,
                                   const AlgorithmInfo& what) {
    if (!what.weakness.empty()) {
        finding(Check::strength)
            .remarks.push_back({std::string(word), std::string(where) + ": " + what.weakness});
    }
}

void Verification::check_strength(const ChainJudgement& judgement) {
    const SignatureInfo& signature = token().signature;
    remark_weakness("weak_hash", "the stamp's hash", token().imprint_algorithm);
    remark_weakness("weak_signature", "the token's digest", signature.digest_algorithm);
    remark_weakness("weak_signature", "the token's signature", signature.signature_algorithm);
    bool below = is_below(token().imprint_algorithm, trust_.strength) ||
                 is_below(signature.digest_algorithm, trust_.strength) ||
                 is_below(signature.signature_algorithm, trust_.strength);
    // Of SHA-1, by which many are named, no second preimage can be found.
    const AlgorithmInfo naming = algorithm_info(stamp_.signer_name.hash_oid(), {});
    if (is_below(naming, Strength::floor)) {
        remark_weakness("weak_signature", "the hash that names the signer", naming);
        below = true;
    }
    // Of a way up beside which a better one may be hidden nothing is said.
    const bool is_the_one = judgement.code != kTooCostly;
    for (const ChainLink& link : is_the_one ? verdict_.chain : std::vector<ChainLink>()) {
        const std::string name = quote_foreign(link.certificate.subject);
        remark_weakness("weak_key", name, link.certificate.key_algorithm);
        below |= is_below(link.certificate, trust_.strength);
        if (!link.anchor) { // nobody relies on a root's signature of itself
            remark_weakness("weak_signature", name, link.certificate.signature_algorithm);
            below |= is_below(link.certificate.signature_algorithm, trust_.strength);
        }
    }
    below |= judgement.code == TRUST_E_FAIL ||
             (is_the_one && (judgement.trust_bits & CERT_TRUST_HAS_WEAK_SIGNATURE) != 0);
    if (!below) {
        pass(Check::strength, finding(Check::strength).remarks.empty()
                                  ? "strong enough"
                                  : "weak, but above the floor");
        return;
    }
    const Error error = error_of_code(TRUST_E_FAIL);
    const auto& remarks = finding(Check::strength).remarks;
    fail(Check::strength, error.code(), "strength_too_low",
         remarks.empty() ? error.text() : remarks.front().text, error.advice());
}

} // namespace chronoseal
