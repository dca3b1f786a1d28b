// Renewals of records as handles.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/evidence_record.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_stamp_renewal {
    StampRenewal renewal;
};

struct chronoseal_hash_renewal {
    HashRenewal renewal;
};

chronoseal_status chronoseal_stamp_renewal_new(const char* algorithm,
                                               chronoseal_stamp_renewal** renewal,
                                               chronoseal_error** error) {
    return give_new(renewal, "renewal", error,
                    [&] { return StampRenewal(algorithm_of(algorithm)); });
}

chronoseal_status chronoseal_stamp_renewal_add(chronoseal_stamp_renewal* renewal,
                                               const chronoseal_evidence_record* record,
                                               chronoseal_error** error) {
    return call(error, [&] {
        needed(renewal, "renewal").renewal.add(needed(record, "record").record);
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_stamp_renewal_digest(chronoseal_stamp_renewal* renewal,
                                                  chronoseal_digest* digest,
                                                  chronoseal_error** error) {
    return give(digest, "digest", error,
                [&] { return digest_of(needed(renewal, "renewal").renewal.digest()); });
}

chronoseal_status chronoseal_stamp_renewal_renewed(chronoseal_stamp_renewal* renewal,
                                                   const chronoseal_evidence_record* record,
                                                   const chronoseal_stamp* stamp,
                                                   chronoseal_evidence_record** renewed,
                                                   chronoseal_error** error) {
    return give_new(renewed, "renewed", error, [&] {
        return needed(renewal, "renewal")
            .renewal.renewed(needed(record, "record").record, needed(stamp, "stamp").stamp);
    });
}

void chronoseal_stamp_renewal_free(chronoseal_stamp_renewal** renewal) {
    release(renewal);
}

chronoseal_status chronoseal_hash_renewal_new(const char* algorithm,
                                              chronoseal_hash_renewal** renewal,
                                              chronoseal_error** error) {
    return give_new(renewal, "renewal", error,
                    [&] { return HashRenewal(algorithm_of(algorithm)); });
}

chronoseal_status chronoseal_hash_renewal_add(chronoseal_hash_renewal* renewal,
                                              const chronoseal_evidence_record* record,
                                              const chronoseal_digest* objects, size_t count,
                                              chronoseal_error** error) {
    return call(error, [&] {
        needed(objects, "objects");
        needed(renewal, "renewal")
            .renewal.add(needed(record, "record").record, digests_of(objects, count, "objects"));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_hash_renewal_digest(chronoseal_hash_renewal* renewal,
                                                 chronoseal_digest* digest,
                                                 chronoseal_error** error) {
    return give(digest, "digest", error,
                [&] { return digest_of(needed(renewal, "renewal").renewal.digest()); });
}

chronoseal_status chronoseal_hash_renewal_renewed(chronoseal_hash_renewal* renewal,
                                                  const chronoseal_evidence_record* record,
                                                  const chronoseal_digest* objects, size_t count,
                                                  const chronoseal_stamp* stamp,
                                                  chronoseal_evidence_record** renewed,
                                                  chronoseal_error** error) {
    return give_new(renewed, "renewed", error, [&] {
        needed(objects, "objects");
        return needed(renewal, "renewal")
            .renewal.renewed(needed(record, "record").record, digests_of(objects, count, "objects"),
                             needed(stamp, "stamp").stamp);
    });
}

void chronoseal_hash_renewal_free(chronoseal_hash_renewal** renewal) {
    release(renewal);
}
