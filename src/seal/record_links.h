// What holds an evidence record together (RFC 4998, 4.3 and 5.3): from the object's hash up to each
// chain's first stamp, and from each stamp to the next. Pure arithmetic over the record's bytes; no
// signature is looked at here.
#pragma once

#include <optional>

#include <chronoseal/seal/record_content.h>
#include <chronoseal/seal/repeated_hash.h>

namespace chronoseal {

struct LinkReport {
    std::optional<Error> failure;
    std::optional<std::size_t> failed_stamp;
    // What each stamp has to be over, as far as the links hold.
    std::vector<Digest> roots;
    std::vector<Remark> remarks;
};

// Without objects what a stamp is over is compared with nothing. Throws only where nothing can be
// judged.
LinkReport check_links(const EvidenceRecord& record, const std::vector<DataDigests>& objects);

// Up from the lists of a reduced tree; each but the first takes the hash from below among its own.
Bytes root_of_lists(RepeatedHash& hash, const std::vector<HashList>& lists);

// H(hash of the object ‖ hash of the sequence so far): what stands for an object in a new chain.
Bytes rehashed_object(RepeatedHash& hash, ByteView object, ByteView sequence_hash);

} // namespace chronoseal
