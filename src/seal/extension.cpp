// Putting evidence into a token.
#include <chronoseal/seal/extension.h>

#include <algorithm>

#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/long_term_values.h>
#include <chronoseal/seal/signed_data_parts.h>
#include <chronoseal/seal/stamp_access.h>
#include <chronoseal/seal/verification.h>

namespace chronoseal {

namespace {

// The response with another token in it: SEQUENCE { status, timeStampToken }.
Bytes response_with(ByteView response, const Bytes& token) {
    const auto outer = DerReader(response).next(der_tag::kSequence);
    const auto status = outer ? DerReader(outer->content).next() : std::nullopt;
    if (!status) {
        throw Error(Category::refused, "malformed", 0, "the response is malformed",
                    "extend the token itself");
    }
    Bytes content(status->whole.begin(), status->whole.end());
    append(content, token);
    return der_element(der_tag::kSequence, content);
}

Verdict judged(const Stamp& stamp, const TrustInForce& trust,
               const SharedFetching* together = nullptr) {
    Expected expected;
    expected.without_data = true;
    // Both verdicts are of one moment: whether the clocks agree is no question here.
    return Verification(trust, stamp, expected, together).run({.any_time = true});
}

class Extending {
public:
    Extending(const Stamp& stamp, const Trust& trust, const SharedFetching* together)
        : stamp_(stamp), trust_(trust), in_force_(trust), verdict_(judge(together)) {}

    Extension run() {
        SignedDataParts parts(stamp_.token());
        LongTermValues values(parts);
        for (const ChainLink& link : verdict_.chain) {
            values.add_certificate(link.certificate.der);
            if (link.revocation == RevocationState::good) {
                add_evidence(link, values);
            }
        }
        values.finish();
        Extension extension{.stamp = values.any() ? rebuilt(parts.encode()) : stamp_,
                            .verdict = {}};
        extension.certificates = values.certificates();
        extension.revocation_lists = values.lists();
        extension.ocsp_answers = values.answers();
        extension.verdict = judge_alone(extension.stamp);
        extension.remarks = remarks();
        return extension;
    }

private:
    static void add_evidence(const ChainLink& link, LongTermValues& values) {
        for (const Evidence& evidence : link.evidence) {
            if (evidence.kind == EvidenceKind::revocation_list) {
                values.add_list(evidence.der);
            } else {
                values.add_answer(evidence.der);
            }
        }
    }

    Verdict judge(const SharedFetching* together) const {
        if (!stamp_.has_token()) {
            throw Error(Category::refused, "no_token", 0,
                        "the authority refused: there is no stamp", "ask for another");
        }
        if (in_force_.revocation == Revocation::off) {
            throw Error(Category::misuse, "revocation_off", 0,
                        "there is no evidence to put into the stamp while revocation isn't looked "
                        "at",
                        "use require or available");
        }
        Verdict verdict = judged(stamp_, in_force_, together);
        if (!verdict.good()) {
            throw verdict.error();
        }
        return verdict;
    }

    Stamp rebuilt(const Bytes& token) const {
        return StampAccess::make(StampAccess::read_der(
            stamp_.response().empty() ? token : response_with(stamp_.response(), token)));
    }

    // By the roots and what the stamp holds, and neither cache nor network nor stores.
    Verdict judge_alone(const Stamp& extended) const {
        Trust alone;
        alone.roots = trust_.roots;
        alone.revocation = in_force_.revocation;
        alone.strength = trust_.strength;
        alone.as_of = verdict_.as_of;
        alone.offline = true;
        Verdict verdict = judged(extended, TrustInForce(alone, Reach::given_only));
        std::string why = verdict.good() ? "" : verdict.error().text();
        for (const ChainLink& link : verdict_.chain) {
            const auto same = std::ranges::find_if(verdict.chain, [&](const ChainLink& other) {
                return other.certificate.sha256 == link.certificate.sha256;
            });
            const bool kept = same != verdict.chain.end() && same->revocation == link.revocation;
            if (why.empty() && !kept) {
                why = "what spoke for " + quote_foreign(link.certificate.subject) + " is missing";
            }
        }
        if (!why.empty()) {
            throw Error(Category::refused, "extension_insufficient", 0,
                        "the evidence doesn't suffice to judge the stamp offline: " + why,
                        "keep the stamp as it is, with certificates and lists beside it");
        }
        return verdict;
    }

    std::vector<Remark> remarks() const {
        std::vector<Remark> remarks;
        for (const ChainLink& link : verdict_.chain) {
            const std::string name = quote_foreign(link.certificate.subject);
            if (link.anchor) {
                continue;
            }
            if (link.revocation != RevocationState::good || link.evidence.empty()) {
                remarks.push_back({"no_evidence", "nothing speaks of the revocation of " + name});
            } else if (link.evidence.front().this_update <= stamp_.time()) {
                remarks.push_back({"evidence_early", early_text(link, name)});
            }
        }
        return remarks;
    }

    static std::string early_text(const ChainLink& link, const std::string& name) {
        const Evidence& evidence = link.evidence.front();
        const std::string text =
            (evidence.kind == EvidenceKind::ocsp_answer ? "the answer about " : "the list about ") +
            name + " was made at " + utc_text(evidence.this_update) + ", before the stamp; ";
        if (evidence.next_update && *evidence.next_update >= link.certificate.not_after) {
            return text + "no newer one is announced before that certificate ends";
        }
        return text + "asked again " +
               (evidence.next_update ? "after " + utc_text(*evidence.next_update) : "later") +
               " gives stronger evidence";
    }

    const Stamp& stamp_;
    const Trust& trust_;
    TrustInForce in_force_;
    Verdict verdict_;
};

} // namespace

Extension extend(const Stamp& stamp, const Trust& trust) {
    return guarded("extend the time-stamp", [&] { return Extending(stamp, trust, nullptr).run(); });
}

Extension extend_together(const Stamp& stamp, const Trust& trust, const SharedFetching& together) {
    return Extending(stamp, trust, &together).run();
}

} // namespace chronoseal
