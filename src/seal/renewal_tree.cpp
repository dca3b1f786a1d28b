// Leaves and stamps of renewals.
#include <chronoseal/seal/renewal_tree.h>

#include <algorithm>

#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/tree_stamp.h>

namespace chronoseal {

void RenewalTree::add(const std::vector<Bytes>& members) {
    tree_.add(hash().of_sorted({members.begin(), members.end()}));
}

Digest RenewalTree::digest() {
    if (tree_.size() == 0) {
        throw Error(Category::misuse, "tree_empty", 0, "there is no record to renew",
                    "add records");
    }
    return Digest(algorithm(), copy_of(tree_.root()));
}

HashPath RenewalTree::path(const std::vector<Bytes>& members) {
    HashList sorted(members.begin(), members.end());
    std::ranges::sort(sorted, less);
    if (auto path = tree_.path(hash().of_sorted(sorted))) {
        return *std::move(path);
    }
    throw Error(Category::misuse, "not_in_tree", 0, "the record isn't among those of this renewal",
                "add it before the stamp is asked for");
}

Bytes RenewalTree::stamp_for(const EvidenceRecord& record, const std::vector<Bytes>& members,
                             const Stamp& stamp) {
    HashList sorted(members.begin(), members.end());
    std::ranges::sort(sorted, less);
    Bytes der = tree_stamp_der(hash(), sorted, path(members), stamp);
    if (stamp.time() < record.info().stamps.back().stamp.time()) {
        throw Error(Category::refused, "time_goes_back", 0,
                    "the new time-stamp of " + utc_text(stamp.time()) +
                        " is older than the one that it would renew",
                    "ask an authority whose clock is right");
    }
    return der;
}

std::vector<ByteView> chains_of(const EvidenceRecord& record) {
    std::vector<ByteView> chains;
    for (const ArchiveChain& chain : RecordAccess::parts(record).chains) {
        chains.push_back(chain.der);
    }
    return chains;
}

EvidenceRecord with_chains(const EvidenceRecord& record, const HashAlgorithm& algorithm,
                           const std::vector<ByteView>& chains) {
    RecordParts frame = RecordAccess::parts(record);
    const Bytes algorithms = with_algorithm(frame.algorithms, algorithm.oid());
    frame.algorithms = algorithms;
    return RecordAccess::make(record_der(frame, chains));
}

} // namespace chronoseal
