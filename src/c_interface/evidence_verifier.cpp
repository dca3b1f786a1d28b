// Verifiers of evidence records, and what they find, as handles.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/evidence_record.h>
#include <chronoseal/c_interface/options.h>
#include <chronoseal/c_interface/verdict.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

static_assert(static_cast<int>(EvidenceStrength::fresh) == CHRONOSEAL_EVIDENCE_FRESH);
static_assert(static_cast<int>(EvidenceStrength::renewed) == CHRONOSEAL_EVIDENCE_RENEWED);
static_assert(static_cast<int>(EvidenceStrength::aged) == CHRONOSEAL_EVIDENCE_AGED);

struct chronoseal_evidence_verifier {
    const EvidenceVerifier verifier;
};

struct chronoseal_evidence_verdict {
    explicit chronoseal_evidence_verdict(EvidenceVerdict found) : verdict(std::move(found)) {
        if (verdict.failure) {
            failure.emplace(*verdict.failure);
        }
        std::vector<const chronoseal_judged_stamp*> all;
        for (const JudgedStamp& stamp : verdict.stamps) {
            all.push_back(view_of(stamp));
        }
        chronoseal_evidence_verdict_info view{};
        view.good = verdict.good() ? 1 : 0;
        view.indeterminate = verdict.indeterminate() ? 1 : 0;
        view.compared = verdict.compared ? 1 : 0;
        view.failure = failure ? &*failure : nullptr;
        view.has_failed_stamp = verdict.failed_stamp ? 1 : 0;
        view.failed_stamp = verdict.failed_stamp.value_or(0);
        view.has_existed_by = verdict.existed_by ? 1 : 0;
        view.existed_by = time_of(verdict.existed_by.value_or(Time{}));
        view.strength = static_cast<chronoseal_evidence_strength>(verdict.strength);
        view.strength_name = strength_name(verdict.strength).data(); // a literal
        view.has_renew_before = verdict.renew_before ? 1 : 0;
        view.renew_before = time_of(verdict.renew_before.value_or(Time{}));
        view.stamp_count = all.size();
        view.stamps = kept.array(std::move(all));
        view.remarks = c_interface::view_of(kept, verdict.remarks);
        view.remark_count = verdict.remarks.size();
        info = kept.value(view);
    }

    const chronoseal_judged_stamp* view_of(const JudgedStamp& stamp) {
        verdicts.push_back(std::make_unique<chronoseal_verdict>(stamp.verdict));
        chronoseal_judged_stamp view{};
        view.chain = stamp.chain;
        view.verdict = verdicts.back().get();
        view.covered = stamp.covered_by ? 1 : 0;
        view.covered_by = stamp.covered_by.value_or(0);
        view.has_certificates_end = stamp.certificates_end ? 1 : 0;
        view.certificates_end = time_of(stamp.certificates_end.value_or(Time{}));
        view.covered_in_time = stamp.covered_in_time ? 1 : 0;
        return kept.value(view);
    }

    const EvidenceVerdict verdict;
    std::optional<KeptError> failure;
    std::vector<std::unique_ptr<chronoseal_verdict>> verdicts;
    Kept kept;
    const chronoseal_evidence_verdict_info* info = nullptr;
};

namespace {

// Has `judge` make a verdict, and answers by it.
template <class Judge>
chronoseal_status
verify(const chronoseal_evidence_verifier* verifier, const chronoseal_evidence_record* record,
       chronoseal_evidence_verdict** verdict, chronoseal_error** error, Judge&& judge) {
    return call(error, [&] {
        if (verdict != nullptr) {
            *verdict = nullptr;
        }
        auto handle = std::make_unique<chronoseal_evidence_verdict>(
            judge(needed(verifier, "verifier").verifier, needed(record, "record").record));
        const auto why = handle->verdict.failure;
        if (verdict != nullptr) {
            *verdict = handle.release();
        }
        return why ? report(error, *why) : CHRONOSEAL_OK;
    });
}

// The hashes of so many objects, one object's after the other's.
std::vector<DataDigests> objects_of(const chronoseal_digest* digests, std::size_t count,
                                    std::size_t objects) {
    needed(digests, "digests");
    if (objects == 0 || count % objects != 0) {
        throw Error(Category::misuse, "digest_malformed", 0,
                    "the digests can't be shared out among the objects",
                    "give as many for each object as the record has data algorithms");
    }
    const std::size_t each = count / objects;
    std::vector<DataDigests> all;
    for (std::size_t i = 0; i < objects; ++i) {
        all.push_back(digests_of(digests + i * each, each, "digests"));
    }
    return all;
}

} // namespace

chronoseal_status chronoseal_evidence_verifier_new(const chronoseal_trust* trust,
                                                   chronoseal_evidence_verifier** verifier,
                                                   chronoseal_error** error) {
    return give_new(verifier, "verifier", error, [&] { return EvidenceVerifier(trust_of(trust)); });
}

chronoseal_status chronoseal_evidence_verify(const chronoseal_evidence_verifier* verifier,
                                             const chronoseal_evidence_record* record,
                                             const void* data, size_t size,
                                             chronoseal_evidence_verdict** verdict,
                                             chronoseal_error** error) {
    return verify(verifier, record, verdict, error,
                  [&](const EvidenceVerifier& by, const EvidenceRecord& of) {
                      return by.verify(of, needed_bytes(data, size, "data"));
                  });
}

chronoseal_status chronoseal_evidence_verify_file(const chronoseal_evidence_verifier* verifier,
                                                  const chronoseal_evidence_record* record,
                                                  const char* path,
                                                  const chronoseal_control* control,
                                                  chronoseal_evidence_verdict** verdict,
                                                  chronoseal_error** error) {
    return verify(verifier, record, verdict, error,
                  [&](const EvidenceVerifier& by, const EvidenceRecord& of) {
                      Watch watch(control);
                      return by.verify_file(of, needed_text(path, "path"), watch.progress(),
                                            watch.stop());
                  });
}

chronoseal_status chronoseal_evidence_verify_digests(const chronoseal_evidence_verifier* verifier,
                                                     const chronoseal_evidence_record* record,
                                                     const chronoseal_digest* digests, size_t count,
                                                     size_t objects,
                                                     chronoseal_evidence_verdict** verdict,
                                                     chronoseal_error** error) {
    return verify(verifier, record, verdict, error,
                  [&](const EvidenceVerifier& by, const EvidenceRecord& of) {
                      return by.verify(of, objects_of(digests, count, objects));
                  });
}

chronoseal_status chronoseal_evidence_verify_record(const chronoseal_evidence_verifier* verifier,
                                                    const chronoseal_evidence_record* record,
                                                    chronoseal_evidence_verdict** verdict,
                                                    chronoseal_error** error) {
    return verify(
        verifier, record, verdict, error,
        [&](const EvidenceVerifier& by, const EvidenceRecord& of) { return by.verify_record(of); });
}

void chronoseal_evidence_verifier_free(chronoseal_evidence_verifier** verifier) {
    release(verifier);
}

chronoseal_status
chronoseal_evidence_verdict_get_info(const chronoseal_evidence_verdict* verdict,
                                     const chronoseal_evidence_verdict_info** info,
                                     chronoseal_error** error) {
    return give_info(verdict, "verdict", info, error);
}

void chronoseal_evidence_verdict_free(chronoseal_evidence_verdict** verdict) {
    release(verdict);
}
