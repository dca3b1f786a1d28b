// The ends under a verdict.
#include <chronoseal/seal/outlook.h>

#include <algorithm>
#include <span>

#include <chronoseal/seal/der_element.h>

namespace chronoseal {

namespace {

// For a statement that doesn't say when the next one comes; the rule of the platform.
constexpr auto kUndatedLife = std::chrono::days(1);
// The end is told in whole seconds, and its second belongs to it.
constexpr auto kWholeSecond = std::chrono::seconds(1);

Time end_of(const ChainLink& link) {
    return link.certificate.not_after + kWholeSecond;
}

void earlier(std::optional<Time>& time, Time other) {
    time = time ? std::min(*time, other) : other;
}

Time next_of(const Evidence& evidence) {
    return evidence.next_update.value_or(evidence.this_update + kUndatedLife);
}

// The Name in DER; empty of an answer.
ByteView issuer_of_list(const Evidence& evidence) {
    const auto outer = DerReader(evidence.der).next(der_tag::kSequence);
    const auto list = outer ? DerReader(outer->content).next(der_tag::kSequence) : std::nullopt;
    if (!list || evidence.kind != EvidenceKind::revocation_list) {
        return {};
    }
    DerReader fields(list->content);
    fields.next(der_tag::kInteger);  // the version
    fields.next(der_tag::kSequence); // the algorithm
    const auto issuer = fields.next(der_tag::kSequence);
    return issuer ? issuer->whole : ByteView();
}

// Of a delta the base, and of a list for some reasons the others: by the same issuer.
bool is_part_of(const Evidence& evidence, const Evidence& first) {
    const ByteView issuer = issuer_of_list(evidence);
    return !issuer.empty() && std::ranges::equal(issuer, issuer_of_list(first));
}

// What spoke for the signer of the evidence has to go on doing so, and does once he has ended if it
// was made after what he has signed. When that will be isn't known here.
void add_support(const ChainLink& link, Time as_of, Outlook& outlook, bool& again) {
    const Evidence& first = link.evidence.front();
    for (const Evidence& support : std::span(link.evidence).subspan(1)) {
        const bool has_run_out = next_of(support) <= as_of;
        if (is_part_of(support, first) ||
            (has_run_out && link.revocation == RevocationState::good)) { // he has ended
            continue;
        }
        earlier(outlook.evidence_until, next_of(support));
        if (support.this_update < first.this_update) {
            again = false;
            earlier(outlook.evidence_until, end_of(link));
        }
    }
}

// The evidence of one certificate: until when it speaks, and whether it speaks again once the
// certificate has ended, which it does if it was made after the stamp (lists drop certificates that
// have ended, so that nothing made later can).
void add_evidence(const ChainLink& link, Time stamped, Time as_of, Outlook& outlook, bool& again) {
    const Evidence& evidence = link.evidence.front();
    const bool made_after = evidence.this_update >= stamped;
    const Time next = next_of(evidence);
    again &= made_after;
    add_support(link, as_of, outlook, again);
    if (as_of >= end_of(link) && link.revocation == RevocationState::good) {
        return; // it speaks for good
    }
    if (next < link.certificate.not_after) {
        earlier(outlook.evidence_until, next);
    } else if (!made_after) {
        earlier(outlook.evidence_until, end_of(link));
    }
}

void read_evidence(const Verdict& verdict, Outlook& outlook) {
    bool any = false;
    bool again = true;
    bool stored = true;
    Time last{};
    for (const ChainLink& link : verdict.chain) {
        if (!link.evidence.empty() && link.evidence.front().revoked) {
            again = false; // it speaks against it
        } else if (!link.evidence.empty()) {
            any = true;
            stored &= link.evidence.front().source == EvidenceSource::given;
            add_evidence(link, verdict.judged_at, verdict.as_of, outlook, again);
            last = std::max(last, end_of(link));
        }
    }
    outlook.evidence_stored = any && stored;
    if (again && outlook.evidence_until) {
        outlook.evidence_again = last;
    }
}

} // namespace

std::string_view strength_name(EvidenceStrength strength) noexcept {
    switch (strength) {
    case EvidenceStrength::fresh:
        return "fresh";
    case EvidenceStrength::renewed:
        return "renewed";
    case EvidenceStrength::aged:
        break;
    }
    return "aged";
}

Outlook outlook_of(const Verdict& verdict, const std::vector<Sunset>& sunsets) {
    Outlook outlook;
    for (const ChainLink& link : verdict.chain) {
        if (link.anchor) {
            continue;
        }
        if (verdict.as_of >= end_of(link)) {
            outlook.strength = EvidenceStrength::aged;
            earlier(outlook.aged_since, link.certificate.not_after);
        }
        if (!outlook.renew_before || link.certificate.not_after < *outlook.renew_before) {
            outlook.renew_before = link.certificate.not_after;
            outlook.renew_reason =
                "the certificate of " + quote_foreign(link.certificate.subject) + " ends";
        }
    }
    for (const Sunset& sunset : sunsets) {
        if (!outlook.renew_before || sunset.end < *outlook.renew_before) {
            outlook.renew_before = sunset.end;
            outlook.renew_reason = sunset.text + " is not to be relied on any more";
        }
    }
    read_evidence(verdict, outlook);
    return outlook;
}

std::optional<Remark> aged_remark(const Outlook& outlook) {
    if (outlook.strength != EvidenceStrength::aged) {
        return std::nullopt;
    }
    return Remark{"aged", "the stamp rests on a certificate that ended at " +
                              utc_text(*outlook.aged_since) +
                              "; a key stolen later could forge it: renew stamps before that"};
}

std::vector<Remark> sunset_remarks(const std::vector<Sunset>& sunsets, Time as_of) {
    std::vector<Remark> remarks;
    for (const Sunset& sunset : sunsets) {
        if (sunset.end <= as_of) {
            remarks.push_back({"algorithm_sunset", sunset.text + " was to be relied on until " +
                                                       utc_text(sunset.end).substr(0, 10)});
        }
    }
    return remarks;
}

} // namespace chronoseal
