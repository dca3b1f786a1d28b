// What renewals have in common: a tree over what stands for each record, a stamp of it for each,
// and records with other chains. Belongs to one thread.
#pragma once

#include <chronoseal/seal/hash_tree.h>
#include <chronoseal/seal/record_content.h>

namespace chronoseal {

class RenewalTree {
public:
    explicit RenewalTree(const HashAlgorithm& algorithm) : tree_(algorithm) {}

    RepeatedHash& hash() { return tree_.hash(); }
    const HashAlgorithm& algorithm() const { return tree_.algorithm(); }

    void reserve(std::uint64_t leaves) { tree_.reserve(leaves); }
    void add(ByteView leaf) { tree_.add(leaf); }
    // The members of one leaf.
    void add(const std::vector<Bytes>& members);
    // Throws `tree_empty`.
    Digest digest();
    // Throws `not_in_tree` for what wasn't added.
    HashPath path(const std::vector<Bytes>& members);
    // The new time-stamp of a record; throws `imprint_differs` and `time_goes_back` besides.
    Bytes stamp_for(const EvidenceRecord& record, const std::vector<Bytes>& members,
                    const Stamp& stamp);

private:
    HashTree tree_;
};

std::vector<ByteView> chains_of(const EvidenceRecord& record);

// The record with these chains, and with the algorithm among those that it says it uses.
EvidenceRecord with_chains(const EvidenceRecord& record, const HashAlgorithm& algorithm,
                           const std::vector<ByteView>& chains);

} // namespace chronoseal
