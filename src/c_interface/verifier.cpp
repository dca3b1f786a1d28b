// Verifiers, and verdicts with their findings, as handles.
#include <array>

#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/options.h>
#include <chronoseal/c_interface/view.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_verifier {
    const Verifier verifier;
};

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

} // namespace

struct chronoseal_verdict {
    explicit chronoseal_verdict(Verdict found) : verdict(std::move(found)) {
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
        info = kept.value(view);
    }

    const Verdict verdict;
    Kept kept;
    std::array<const chronoseal_finding*, kChecks> findings{};
    const chronoseal_verdict_info* info = nullptr;
};

namespace {

// Has `judge` make a verdict, and answers by it.
template <class Judge>
chronoseal_status verify(const chronoseal_verifier* verifier, const chronoseal_stamp* stamp,
                         chronoseal_verdict** verdict, chronoseal_error** error, Judge&& judge) {
    return call(error, [&] {
        if (verdict != nullptr) {
            *verdict = nullptr;
        }
        auto handle = std::make_unique<chronoseal_verdict>(
            judge(needed(verifier, "verifier").verifier, needed(stamp, "stamp").stamp));
        const bool good = handle->verdict.good();
        const auto why = good ? std::nullopt : std::optional(handle->verdict.error());
        if (verdict != nullptr) {
            *verdict = handle.release();
        }
        return good ? CHRONOSEAL_OK : report(error, *why);
    });
}

} // namespace

chronoseal_status chronoseal_verifier_new(const chronoseal_trust* trust,
                                          chronoseal_verifier** verifier,
                                          chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(verifier, "verifier");
        place = new chronoseal_verifier{Verifier(trust_of(trust))};
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_verify(const chronoseal_verifier* verifier,
                                    const chronoseal_stamp* stamp, const void* data, size_t size,
                                    chronoseal_verdict** verdict, chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        return by.verify(of, needed_bytes(data, size, "data"));
    });
}

chronoseal_status chronoseal_verify_file(const chronoseal_verifier* verifier,
                                         const chronoseal_stamp* stamp, const char* path,
                                         const chronoseal_control* control,
                                         chronoseal_verdict** verdict, chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        Watch watch(control);
        return by.verify_file(of, needed_text(path, "path"), watch.progress(), watch.stop());
    });
}

chronoseal_status chronoseal_verify_digest(const chronoseal_verifier* verifier,
                                           const chronoseal_stamp* stamp,
                                           const chronoseal_digest* digest,
                                           chronoseal_verdict** verdict, chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        return by.verify(of, digest_of(digest));
    });
}

chronoseal_status chronoseal_verify_request(const chronoseal_verifier* verifier,
                                            const chronoseal_stamp* stamp, const void* request,
                                            size_t size, chronoseal_verdict** verdict,
                                            chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        return by.verify(of, Expected::of_request(needed_bytes(request, size, "request")));
    });
}

chronoseal_status chronoseal_verify_expected(const chronoseal_verifier* verifier,
                                             const chronoseal_stamp* stamp,
                                             const chronoseal_expected* expected,
                                             chronoseal_verdict** verdict,
                                             chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        return by.verify(of, expected_of(expected));
    });
}

chronoseal_status chronoseal_verify_token(const chronoseal_verifier* verifier,
                                          const chronoseal_stamp* stamp,
                                          chronoseal_verdict** verdict, chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error,
                  [&](const Verifier& by, const Stamp& of) { return by.verify_token(of); });
}

void chronoseal_verifier_free(chronoseal_verifier** verifier) {
    release(verifier);
}

chronoseal_status chronoseal_verdict_get_info(const chronoseal_verdict* verdict,
                                              const chronoseal_verdict_info** info,
                                              chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(info, "info");
        place = needed(verdict, "verdict").info;
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_verdict_finding(const chronoseal_verdict* verdict, size_t check,
                                             const chronoseal_finding** finding,
                                             chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(finding, "finding");
        const auto& all = needed(verdict, "verdict").findings;
        if (check >= all.size()) {
            throw Error(Category::misuse, "index_too_large", 0, "there is no such check",
                        "count to CHRONOSEAL_CHECKS - 1");
        }
        place = all.at(check);
        return CHRONOSEAL_OK;
    });
}

void chronoseal_verdict_free(chronoseal_verdict** verdict) {
    release(verdict);
}
