// The steps of a verification that look at the answer and the token; those of the chain stand in
// verification_chain.cpp.
#include <chronoseal/seal/verification.h>

#include <algorithm>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/signed_attributes.h>
#include <chronoseal/client/signing_certificate_attributes.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/configuration_value.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/token_signer.h>

namespace chronoseal {

namespace {

using namespace Halcyon::PKI::TSP::Client;

constexpr char kTstInfoOid[] = "1.2.840.113549.1.9.16.1.4";
constexpr char kContentType[] = "1.2.840.113549.1.9.3";
constexpr char kSigningCertificate[] = "1.2.840.113549.1.9.16.2.12";
constexpr char kSigningCertificateV2[] = "1.2.840.113549.1.9.16.2.47";
constexpr char kOtherSigningCertificate[] = "1.2.840.113549.1.9.16.2.19";
constexpr std::size_t kStatusTextLimit = 200;
constexpr char kRevocationKey[] = "\\config\\basalt\\Revocation";
constexpr char kStrengthKey[] = "\\config\\basalt\\Strength";
constexpr char kWeakerKey[] = "\\config\\basalt\\WeakerRevocation";
// Between two clocks that are both right.
constexpr auto kClockGrace = std::chrono::minutes(5);

constexpr std::array<std::string_view, kChecks> kCheckNames{
    "status",    "imprint",    "nonce", "policy", "time",       "content_type", "signer",
    "signature", "extensions", "chain", "usage",  "revocation", "strength"};

Revocation configured_revocation() {
    const std::string name = configured_text(kRevocationKey).value_or("");
    return name == "available" ? Revocation::available
           : name == "off"     ? Revocation::off
                               : Revocation::require;
}

// The weakest that this machine allows. Whoever forbids weaker ones means the mode in his own file:
// a user's file, which can add a mode where the machine's names none, doesn't move the bound. A
// switch that can't be read forbids.
Revocation weakest_revocation() {
    const std::string source = configured_origin(kWeakerKey);
    if (source.empty() || configured_switch(kWeakerKey).value_or(false)) {
        return Revocation::off;
    }
    return configured_origin(kRevocationKey) == source ? configured_revocation()
                                                       : Revocation::require;
}

// Nothing is judged by rules that can't be known: they may be stricter than those of nobody.
Revocation mode_in_force(Revocation wanted) {
    require_configuration();
    static_assert(Revocation::require < Revocation::available &&
                  Revocation::available < Revocation::off);
    const Revocation mode = wanted == Revocation::as_configured ? configured_revocation() : wanted;
    const Revocation weakest = weakest_revocation();
    if (mode > weakest) {
        throw Error(Category::refused, "revocation_denied", 0,
                    "the machine's policy forbids to look at revocation less strictly than \"" +
                        std::string(weakest == Revocation::require ? "require" : "available") +
                        "\"",
                    "see Revocation and WeakerRevocation in " +
                        quote_foreign(configured_origin(kWeakerKey)));
    }
    return mode;
}

Strength strength_in_force(Strength wanted) {
    if (wanted != Strength::as_configured) {
        return wanted;
    }
    // A slip closes and doesn't open, as where the chain is judged.
    const bool is_floor =
        configured_origin(kStrengthKey).empty() || configured_text(kStrengthKey) == "floor";
    return is_floor ? Strength::floor : Strength::current;
}

ATL2::CCertStore roots_of(const Trust& trust) {
    auto store = memory_store();
    add_sources(trust.roots, store, Wanted::certificates);
    return store;
}

ATL2::CCertStore extra_of(const Trust& trust) {
    auto store = memory_store();
    add_sources(trust.certificates, store);
    add_sources(trust.evidence, store, Wanted::evidence);
    return store;
}

ATL2::CCertStore address_book() {
    ATL2::CCertStore store;
    try {
        store.Open(CERT_STORE_PROV_SYSTEM_W, 0, 0,
                   CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG, L"AddressBook");
    } catch (const ATL::CAtlException&) {
        return memory_store(); // a user without stores
    }
    return store;
}

// Big-endian numbers are the same when they differ in leading zeros only.
ByteView without_zeros(ByteView number) {
    while (number.size() > 1 && number[0] == std::byte{0}) {
        number = number.subspan(1);
    }
    return number;
}

} // namespace

bool is_address_book_filled() {
    const auto store = address_book();
    ATL2::CCertContext first;
    first.attach(CertEnumCertificatesInStore(store.get(), nullptr));
    return static_cast<bool>(first);
}

std::string_view check_name(Check check) noexcept {
    return kCheckNames[static_cast<std::size_t>(check)];
}

TrustInForce::TrustInForce(const Trust& trust, Reach reached)
    : revocation(mode_in_force(trust.revocation)), strength(strength_in_force(trust.strength)),
      as_of(trust.as_of), extra(extra_of(trust)), roots(roots_of(trust)),
      own_roots(!trust.roots.empty()), reach(reached),
      engine(trust, as_of, own_roots ? roots.get() : nullptr, extra.get(), reached) {}

TrustInForce::TrustInForce(const TrustInForce& other, const Trust& trust, std::optional<Time> now)
    : revocation(other.revocation), strength(other.strength), as_of(now), extra(other.extra),
      roots(other.roots), own_roots(other.own_roots), reach(other.reach),
      engine(trust, now, own_roots ? roots.get() : nullptr, extra.get(), reach),
      sunsets(other.sunsets) {}

Verification::Verification(const TrustInForce& trust, const Stamp& stamp, const Expected& expected,
                           const SharedFetching* together)
    : trust_(trust), stamp_(StampAccess::of(stamp)), expected_(expected), together_(together) {
    verdict_.as_of = trust.as_of.value_or(
        std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now()));
    verdict_.findings.resize(kChecks);
    for (std::size_t i = 0; i < kChecks; ++i) {
        verdict_.findings[i].check = static_cast<Check>(i);
    }
}

void Verification::pass(Check check, std::string text) {
    Finding& target = finding(check);
    target.outcome = Outcome::passed;
    target.word = "passed";
    target.text = std::move(text);
}

void Verification::fail(Check check, std::uint32_t code, std::string_view word, std::string text,
                        std::string advice) {
    Finding& target = finding(check);
    target.outcome = Outcome::failed;
    target.word = word;
    target.code = code;
    target.text = std::move(text);
    target.advice = std::move(advice);
}

void Verification::fail(Check check, const Error& error) {
    fail(check, error.code(), error.word(), error.text(), error.advice());
}

void Verification::skip(Check check, std::string_view word, std::string text, bool required) {
    Finding& target = finding(check);
    target.outcome = Outcome::not_done;
    target.word = word;
    target.text = std::move(text);
    target.required = required;
}

void Verification::skip_after(Check failed, std::initializer_list<Check> checks) {
    for (const Check check : checks) {
        skip(check, kEarlierFailure, "needs " + std::string(check_name(failed)), true);
    }
}

void Verification::skip_as_too_costly(Check check) {
    const Error error = error_of_code(kTooCostly);
    skip(check, error.word(), error.text(), true);
    finding(check).code = error.code();
    finding(check).advice = error.advice();
}

Verdict Verification::run(Leniency leniency) {
    Verdict verdict = run_for_rest(leniency);
    verdict.stamp = stamp_.info;
    return verdict;
}

Verdict Verification::run_for_rest(Leniency leniency) {
    if (!check_status()) {
        return std::move(verdict_);
    }
    verdict_.judged_at = token().time;
    check_imprint();
    check_nonce();
    check_policy();
    check_time(leniency.any_time);
    if (leniency.answer_only) {
        for (std::size_t i = static_cast<std::size_t>(Check::content_type); i < kChecks; ++i) {
            skip(static_cast<Check>(i), "switched_off", "the token was not to be judged", false);
        }
        return std::move(verdict_);
    }
    message_ = open_message(stamp_.token);
    if (!check_frame()) {
        return std::move(verdict_);
    }
    own_ = token_store(message_, token().signature);
    check_content_type();
    find_signer_certificate();
    check_signature();
    check_extensions();
    judge_chain();
    return std::move(verdict_);
}

bool Verification::check_status() {
    const StampInfo& info = stamp_.info;
    if (info.token) {
        if (info.status) {
            pass(Check::status, info.status_name);
        } else {
            skip(Check::status, "not_asked", "a bare token has no status", false);
        }
        return true;
    }
    std::string why = info.status_name;
    for (const std::string& name : info.failure_names) {
        why += ", " + name;
    }
    if (!info.status_text.empty()) {
        why += ": \"" + quote_foreign(info.status_text, kStatusTextLimit) + "\"";
    }
    fail(Check::status, kResultNotGranted, "not_granted",
         "the authority refused the request (" + why + ")", "ask as the authority wants it");
    for (std::size_t i = 1; i < kChecks; ++i) {
        skip_after(Check::status, {static_cast<Check>(i)});
    }
    return false;
}

void Verification::check_imprint() {
    const TokenInfo& info = token();
    const AlgorithmInfo& algorithm = info.imprint_algorithm;
    if (!expected_.digest) {
        skip(Check::imprint, expected_.without_data ? "not_asked" : "data_missing",
             "there was no data to compare with", !expected_.without_data);
        finding(Check::imprint).advice = "give the data, or its digest";
    } else if (expected_.digest->algorithm().oid() != algorithm.oid) {
        fail(Check::imprint, CRYPT_E_HASH_VALUE, "imprint_algorithm_differs",
             "the stamp is over a hash by " + quote_foreign(algorithm.name) + ", not by " +
                 expected_.digest->algorithm().name(),
             "compare with a digest by the stamp's algorithm");
    } else if (expected_.digest->value() != info.imprint) {
        fail(Check::imprint, CRYPT_E_HASH_VALUE, "imprint_differs",
             "the stamp's " + quote_foreign(algorithm.name) + " hash " + to_hex(info.imprint) +
                 " is not that of the data, " + to_hex(expected_.digest->value()),
             "the stamp belongs to other data");
    } else {
        pass(Check::imprint, quote_foreign(algorithm.name) + " " + to_hex(info.imprint));
    }
}

void Verification::check_nonce() {
    if (!expected_.nonce && !expected_.nonce_known) {
        skip(Check::nonce, "not_asked", "the request's nonce isn't known", false);
        return;
    }
    const auto& has = token().nonce;
    const bool same = has && expected_.nonce
                          ? std::ranges::equal(without_zeros(*has), without_zeros(*expected_.nonce))
                          : !has && !expected_.nonce;
    if (!same) {
        fail(Check::nonce, error_of_code(kResultNonceDiffers));
    } else {
        pass(Check::nonce, has ? to_hex(*has) : "none, as asked");
    }
}

void Verification::check_policy() {
    const std::string& has = token().policy;
    if (expected_.policy.empty()) {
        skip(Check::policy, "not_asked", "any policy will do; it is " + quote_foreign(has), false);
    } else if (has != expected_.policy) {
        fail(Check::policy, kResultPolicyIdDenied, "policy_differs",
             "the stamp is under the policy " + quote_foreign(has) + ", not under " +
                 quote_foreign(expected_.policy),
             "ask another authority, or for a policy that this one has");
    } else {
        pass(Check::policy, quote_foreign(has));
    }
}

void Verification::check_time(bool any_time) {
    const Time time = token().time;
    if (!any_time &&
        time > verdict_.as_of + kClockGrace + token().accuracy.value_or(Time::duration{0})) {
        fail(Check::time, kResultTimeOutsideWindow, "time_in_future",
             "the stamp's time " + utc_text(time) + " lies in the future",
             "check this machine's clock; if that is right, don't trust this stamp");
    } else {
        pass(Check::time, utc_text(time));
    }
}

// The platform reads with more rigour than the token was read with. What it refuses of the message
// around content and signer is signed by nobody; of a signer it can be either.
bool Verification::check_frame() {
    const bool has_signer = token().signature.signers != 0;
    if (message_ && has_signer) {
        return true;
    }
    if (!message_ || message_bytes(message_, CMSG_SIGNER_AUTH_ATTR_PARAM)) {
        skip(Check::content_type, kUnsignedDamaged,
             std::string(message_ ? "the unsigned attributes of the token are"
                                  : "the message around the time-stamp is") +
                 " damaged, so that nothing can be told; anybody may have done that: no signature "
                 "covers it",
             true);
        finding(Check::content_type).code = CRYPT_E_ASN1_CORRUPT;
        finding(Check::content_type).advice = "take the token as the authority gave it";
    } else {
        fail(Check::content_type, CRYPT_E_ASN1_CORRUPT, "malformed",
             "what the token tells of its signer is malformed", "don't trust this stamp");
    }
    skip_after(Check::content_type,
               {Check::signer, Check::signature, Check::extensions, Check::chain, Check::usage,
                Check::revocation, Check::strength});
    return false;
}

bool Verification::has_signed_attribute(std::initializer_list<std::string_view> oids) const {
    return std::ranges::any_of(token().signature.signed_attributes, [&](const AttributeInfo& one) {
        return std::ranges::find(oids, one.oid) != oids.end();
    });
}

void Verification::fail_attribute(Check check, std::string text) {
    fail(check, CRYPT_E_ATTRIBUTES_MISSING, "attribute_missing", std::move(text),
         "the authority is at fault; ask it for another stamp");
}

// One contentType attribute with one value, that of a TSTInfo's DER: what every good token has.
bool Verification::has_usual_content_type() const {
    constexpr unsigned char kEncoded[] = {0x06, 0x0B, 0x2A, 0x86, 0x48, 0x86, 0xF7,
                                          0x0D, 0x01, 0x09, 0x10, 0x01, 0x04};
    std::size_t count = 0;
    bool usual = true;
    for (const AttributeInfo& attribute : token().signature.signed_attributes) {
        if (attribute.oid == kContentType) {
            ++count;
            usual &=
                attribute.values.size() == 1 &&
                std::ranges::equal(attribute.values.front(), view_of(kEncoded, sizeof kEncoded));
        }
    }
    return usual && count == 1 && content_type(message_) == kTstInfoOid;
}

void Verification::check_content_type() {
    if (token().signature.signed_attributes.empty()) {
        fail_attribute(Check::content_type, "the token has no signed attributes");
        return;
    }
    if (!has_signed_attribute({kContentType})) {
        fail_attribute(Check::content_type, "the token has no signed attribute contentType");
        return;
    }
    if (has_usual_content_type()) {
        pass(Check::content_type, "tstInfo");
        return;
    }
    try {
        if (Halcyon::MatchEContentType(message_.get(), 0, kTstInfoOid, false)) {
            pass(Check::content_type, "tstInfo");
            return;
        }
        fail(Check::content_type, E_FAIL, "content_type_wrong",
             "what the token signs isn't a time-stamp, or its contentType attribute names "
             "something else",
             "don't trust this stamp");
    } catch (const ATL::CAtlException& failure) {
        fail(Check::content_type, static_cast<std::uint32_t>(failure.m_hr), "malformed",
             "the signed attribute contentType is malformed", "don't trust this stamp");
    }
}

// One of the attributes names this certificate: where there are several, all have to.
bool Verification::names_contradict(const ATL2::CCertContext& certificate) const {
    if (stamp_.signer_name.compares_all()) {
        return false;
    }
    const bool are_many = has_signed_attribute({kOtherSigningCertificate}) ||
                          (has_signed_attribute({kSigningCertificate}) &&
                           has_signed_attribute({kSigningCertificateV2}));
    try {
        return are_many &&
               !Halcyon::PKI::CheckSignerCertId(
                   message_.get(), 0,
                   blob_of(copy_of(certificate->pbCertEncoded, certificate->cbCertEncoded)), true,
                   true);
    } catch (const ATL::CAtlException&) {
        return true; // by a hash that isn't known, it names nobody
    }
}

void Verification::find_signer_certificate() {
    std::function<ATL2::CCertStore()> last;
    if (trust_.reach == Reach::everywhere) {
        last = address_book;
    }
    SignerSearch search = find_signer(stamp_.signer_name, {&own_.store, &trust_.extra}, last);
    if (search.certificate && names_contradict(search.certificate)) {
        fail(Check::signer, CRYPT_E_SIGNER_NOT_FOUND, "signer_contradicted",
             "the signed attributes of the token name different certificates as its signer's",
             "don't trust this stamp");
    } else if (search.certificate) {
        signer_ = std::move(search.certificate);
        verdict_.signer = certificate_info(signer_.get());
        pass(Check::signer, quote_foreign(verdict_.signer->subject));
    } else if (search.code == CRYPT_E_NOT_FOUND && !own_.is_whole) {
        skip_as_too_costly(Check::signer);
    } else if (!has_signed_attribute({kSigningCertificate, kSigningCertificateV2})) {
        fail(Check::signer, search.code, "signer_not_named",
             "the token has no signed attribute that names its signer's certificate",
             "the authority is at fault; ask it for another stamp");
    } else if (search.code == CRYPT_E_NOT_FOUND && token().certificates.empty()) {
        fail(Check::signer, search.code, "signer_not_found",
             "the authority's certificate is not in the token, nor among those given",
             "give it, or ask for it when stamping");
    } else if (search.code == CRYPT_E_NOT_FOUND) {
        fail(Check::signer, search.code, "signer_not_named",
             "no signed attribute of the token names a certificate that is there",
             "give the authority's certificate; if it is there, don't trust this stamp");
    } else if (search.code == CRYPT_E_ASN1_INTERNAL) {
        fail(Check::signer, search.code, "malformed",
             "the signed attribute that names the signer's certificate is malformed",
             "don't trust this stamp");
    } else {
        fail(Check::signer, error_of_code(search.code));
    }
}

void Verification::check_signature() {
    if (!signer_) {
        skip_after(Check::signer, {Check::signature});
        return;
    }
    constexpr char kAdvice[] = "don't use it: it was changed, or isn't by this authority";
    if (const DWORD signers = message_number(message_, CMSG_SIGNER_COUNT_PARAM); signers != 1) {
        fail(Check::signature, NTE_BAD_SIGNATURE, "signers_many",
             "the token has " + std::to_string(signers) + " signers, where one is allowed",
             kAdvice);
        return;
    }
    if (together_ != nullptr && !together_->take_signature(signer_.get())) {
        skip_as_too_costly(Check::signature);
        return;
    }
    CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA parameter{};
    parameter.cbSize = sizeof parameter;
    parameter.dwSignerType = CMSG_VERIFY_SIGNER_CERT;
    parameter.pvSigner = const_cast<CERT_CONTEXT*>(signer_.get());
    if (CryptMsgControl(message_.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE_EX, &parameter) != 0) {
        pass(Check::signature, quote_foreign(token().signature.signature_algorithm.name) + ", " +
                                   quote_foreign(token().signature.digest_algorithm.name));
        return;
    }
    const DWORD code = GetLastError();
    switch (code) {
    case CRYPT_E_HASH_VALUE:
        fail(Check::signature, code, "signature_bad",
             "the content of the token isn't the one that was signed", kAdvice);
        break;
    case NTE_BAD_SIGNATURE:
        fail(Check::signature, error_of_code(code));
        break;
    case NTE_BAD_ALGID:
        fail(Check::signature, code, "algorithm_unknown",
             "the key, the hash or the scheme of the token's signature is unknown here or too weak",
             "don't trust this stamp; ask for one by an authority that signs as is usual now");
        break;
    default:
        fail(Check::signature, error_of_code(code == 0 ? NTE_BAD_SIGNATURE : code));
    }
}

void Verification::check_extensions() {
    for (const ExtensionInfo& extension : token().extensions) {
        if (extension.critical) {
            fail(Check::extensions, CERT_E_CRITICAL, "extension_critical",
                 "the token has the critical extension " + quote_foreign(extension.name) +
                     ", which isn't understood",
                 "don't rely on this stamp");
            return;
        }
    }
    pass(Check::extensions, token().extensions.empty() ? "none" : "none of them is critical");
}

} // namespace chronoseal
