// What a verdict holds, as structs.
#include <chronoseal/c_interface/verdict.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

static_assert(kChecks == CHRONOSEAL_CHECKS);

namespace {

const chronoseal_finding* view_of(Kept& kept, const Finding& finding) {
    chronoseal_finding view{};
    view.check = static_cast<chronoseal_check>(finding.check);
    view.name = check_name(finding.check).data(); // a literal
    view.outcome = static_cast<chronoseal_outcome>(finding.outcome);
    view.required = finding.required ? 1 : 0;
    view.word = kept.text(finding.word);
    view.code = finding.code;
    view.text = kept.text(finding.text);
    view.advice = kept.text(finding.advice);
    view.remarks = c_interface::view_of(kept, finding.remarks);
    view.remark_count = finding.remarks.size();
    return kept.value(view);
}

const chronoseal_evidence* view_of(Kept& kept, const Evidence& evidence) {
    chronoseal_evidence view{};
    view.kind = static_cast<chronoseal_evidence_kind>(evidence.kind);
    view.source = static_cast<chronoseal_evidence_source>(evidence.source);
    view.this_update = time_of(evidence.this_update);
    view.has_next_update = evidence.next_update ? 1 : 0;
    view.next_update = time_of(evidence.next_update.value_or(Time{}));
    view.revoked = evidence.revoked ? 1 : 0;
    view.revoked_at = time_of(evidence.revoked.value_or(Time{}));
    view.reason = kept.text(evidence.reason);
    view.url = kept.foreign(evidence.url);
    view.der = c_interface::view_of(evidence.der);
    return kept.value(view);
}

const chronoseal_chain_link* view_of(Kept& kept, const ChainLink& link) {
    chronoseal_chain_link view{};
    view.certificate = c_interface::view_of(kept, link.certificate);
    view.anchor = link.anchor ? 1 : 0;
    view.faults = kept.words(link.faults);
    view.fault_count = link.faults.size();
    view.revocation = static_cast<chronoseal_revocation_state>(link.revocation);
    std::vector<const chronoseal_evidence*> evidence;
    for (const Evidence& one : link.evidence) {
        evidence.push_back(view_of(kept, one));
    }
    view.evidence_count = evidence.size();
    view.evidence = kept.array(std::move(evidence));
    return kept.value(view);
}

const chronoseal_outlook* view_of(Kept& kept, const Outlook& outlook) {
    chronoseal_outlook view{};
    view.strength = static_cast<chronoseal_evidence_strength>(outlook.strength);
    view.has_aged_since = outlook.aged_since ? 1 : 0;
    view.aged_since = time_of(outlook.aged_since.value_or(Time{}));
    view.has_renew_before = outlook.renew_before ? 1 : 0;
    view.renew_before = time_of(outlook.renew_before.value_or(Time{}));
    view.renew_reason = kept.text(outlook.renew_reason);
    view.has_evidence_until = outlook.evidence_until ? 1 : 0;
    view.evidence_until = time_of(outlook.evidence_until.value_or(Time{}));
    view.has_evidence_again = outlook.evidence_again ? 1 : 0;
    view.evidence_again = time_of(outlook.evidence_again.value_or(Time{}));
    view.evidence_stored = outlook.evidence_stored ? 1 : 0;
    return kept.value(view);
}

} // namespace

chronoseal_verdict::chronoseal_verdict(Verdict found) : verdict(std::move(found)) {
    for (std::size_t i = 0; i < kChecks; ++i) {
        findings[i] = view_of(kept, verdict.findings.at(i));
    }
    chronoseal_verdict_info view{};
    view.good = verdict.good() ? 1 : 0;
    view.indeterminate = verdict.indeterminate() ? 1 : 0;
    view.compared = verdict.compared() ? 1 : 0;
    view.deciding = findings.at(static_cast<std::size_t>(verdict.deciding().check));
    const auto& token = verdict.stamp.token;
    view.token = token ? view_of(kept, *token) : nullptr;
    view.signer = verdict.signer ? view_of(kept, *verdict.signer) : nullptr;
    std::vector<const chronoseal_chain_link*> chain;
    for (const ChainLink& link : verdict.chain) {
        chain.push_back(view_of(kept, link));
    }
    view.chain_count = chain.size();
    view.chain = kept.array(std::move(chain));
    view.judged_at = time_of(verdict.judged_at);
    view.as_of = time_of(verdict.as_of);
    if (!verdict.good()) {
        error.emplace(verdict.error());
    }
    view.error = error ? &*error : nullptr;
    view.outlook = verdict.chain.empty() ? nullptr : view_of(kept, verdict.outlook);
    info = kept.value(view);
}
