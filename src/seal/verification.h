// One verification: a stamp, what it is compared with, and the findings step by step.
#pragma once

#include <basalt/error_codes.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/chain_engine.h>
#include <chronoseal/seal/signed_bytes.h>
#include <chronoseal/seal/stamp_access.h>
#include <chronoseal/seal/sunset.h>
#include <chronoseal/seal/token_store.h>
#include <chronoseal/seal/trust_store.h>

namespace chronoseal {

// What a verifier has made of its Trust. Immutable.
struct TrustInForce {
    explicit TrustInForce(const Trust& trust, Reach reach = Reach::everywhere);
    // What `other` has made of the same Trust, at another moment: nothing is read again.
    TrustInForce(const TrustInForce& other, const Trust& trust, std::optional<Time> now);

    Revocation revocation; // never as_configured
    Strength strength;     // the same
    std::optional<Time> as_of;
    ATL2::CCertStore extra; // certificates and evidence
    ATL2::CCertStore roots; // in use only with `own_roots`
    bool own_roots;
    Reach reach;
    ChainEngine engine;
    SunsetTable sunsets;
};

// The code of what wasn't looked at to the end: it is neither good nor bad.
inline constexpr std::uint32_t kTooCostly = TRUST_E_SYSTEM_ERROR;
// The word where what nobody signed keeps the token from being judged.
inline constexpr std::string_view kUnsignedDamaged = "unsigned_damaged";

// Whether there are certificates that a signer may be found among where none were given.
bool is_address_book_filled();

// The word of what wasn't done because something before it wasn't.
inline constexpr std::string_view kEarlierFailure = "earlier_failure";

// What of a verification is left out.
struct Leniency {
    bool answer_only = false; // the checks up to `time` alone
    bool any_time = false;    // whoever asked has compared the clocks in its own way
};

// Belongs to one thread, and serves for one verdict. What it is given has to outlive it.
class Verification {
public:
    // `together`: with the other stamps of a file; null: it is the only one.
    Verification(const TrustInForce& trust, const Stamp& stamp, const Expected& expected,
                 const SharedFetching* together = nullptr);

    Verdict run(Leniency leniency);
    // All of the verdict but what the stamp holds.
    Verdict run_for_rest(Leniency leniency);

private:
    const TokenInfo& token() const { return *stamp_.info.token; }
    Finding& finding(Check check) { return verdict_.findings[static_cast<std::size_t>(check)]; }
    bool passed(Check check) { return finding(check).outcome == Outcome::passed; }
    void pass(Check check, std::string text);
    void fail(Check check, const Error& error);
    void fail(Check check, std::uint32_t code, std::string_view word, std::string text,
              std::string advice);
    void skip(Check check, std::string_view word, std::string text, bool required);
    // `not_done` for all of these, because of that one.
    void skip_after(Check failed, std::initializer_list<Check> checks);
    void skip_as_too_costly(Check check);

    bool has_signed_attribute(std::initializer_list<std::string_view> oids) const;
    void fail_attribute(Check check, std::string text);

    bool check_status();
    void check_imprint();
    void check_nonce();
    void check_policy();
    void check_time(bool any_time);
    bool has_usual_content_type() const;
    bool check_frame();
    void check_content_type();
    bool names_contradict(const ATL2::CCertContext& certificate) const;
    void find_signer_certificate();
    void check_signature();
    void check_extensions();
    const Finding* first_failure() const;
    void judge_chain();
    void check_chain(const ChainJudgement& judgement);
    void check_usage(const ChainJudgement& judgement);
    void check_revocation(const ChainJudgement& judgement);
    void check_strength(const ChainJudgement& judgement);
    void look_ahead();
    void advise_on_evidence(Finding& revocation) const;
    void remark_weakness(std::string_view word, std::string_view where, const AlgorithmInfo& what);

    const TrustInForce& trust_;
    const StampAccess::Content& stamp_;
    const Expected& expected_;
    const SharedFetching* together_;
    ATL2::CCryptMsg message_;
    TokenStore own_; // what came with the token
    ATL2::CCertContext signer_;
    Verdict verdict_;
};

} // namespace chronoseal
