// Renewals of whole lists as handles.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/evidence_record.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_manifest_renewal {
    ManifestRenewal renewal;
};

chronoseal_status
chronoseal_manifest_renewal_new(const char* list, const chronoseal_evidence_record* record,
                                const char* renewed_list, const chronoseal_control* control,
                                chronoseal_manifest_renewal** renewal, chronoseal_error** error) {
    return give_new(renewal, "renewal", error, [&] {
        Watch watch(control);
        return ManifestRenewal(needed_text(list, "list"), needed(record, "record").record,
                               needed_text(renewed_list, "renewed_list"), watch.progress(),
                               watch.stop());
    });
}

chronoseal_status chronoseal_manifest_renewal_digest(chronoseal_manifest_renewal* renewal,
                                                     chronoseal_digest* digest,
                                                     chronoseal_error** error) {
    return give(digest, "digest", error,
                [&] { return digest_of(needed(renewal, "renewal").renewal.digest()); });
}

chronoseal_status chronoseal_manifest_renewal_renewed(chronoseal_manifest_renewal* renewal,
                                                      const chronoseal_stamp* stamp,
                                                      chronoseal_evidence_record** renewed,
                                                      chronoseal_error** error) {
    return give_new(renewed, "renewed", error, [&] {
        return needed(renewal, "renewal").renewal.renewed(needed(stamp, "stamp").stamp);
    });
}

chronoseal_status chronoseal_manifest_renewal_renewed_list(chronoseal_manifest_renewal* renewal,
                                                           const chronoseal_stamp* stamp,
                                                           chronoseal_evidence_record** record,
                                                           chronoseal_error** error) {
    return give_new(record, "record", error, [&] {
        return needed(renewal, "renewal").renewal.renewed_list(needed(stamp, "stamp").stamp);
    });
}

chronoseal_status chronoseal_manifest_renewal_prove(chronoseal_manifest_renewal* renewal,
                                                    const chronoseal_digest* digests, size_t count,
                                                    chronoseal_evidence_record** proof,
                                                    chronoseal_error** error) {
    return give_new(proof, "proof", error, [&] {
        needed(digests, "digests");
        return needed(renewal, "renewal").renewal.prove(digests_of(digests, count, "digests"));
    });
}

void chronoseal_manifest_renewal_free(chronoseal_manifest_renewal** renewal) {
    release(renewal);
}
