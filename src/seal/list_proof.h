// From a list's own record to those of its lines: they hang in one tree, so that the list's way up,
// with that of a line in the place of its lower part, is the line's.
#pragma once

#include <filesystem>

#include <chronoseal/seal/hash_tree.h>
#include <chronoseal/seal/record_content.h>

namespace chronoseal {

// Whether the stamp's tree leads up from this leaf by this way, and perhaps on.
bool leads_up(const ArchiveStamp& stamp, ByteView leaf, const HashPath& way);

// The same stamp over another leaf of the tree; `way` is how it leads up from the one that it
// is over.
Bytes stamp_of_other_leaf(const ArchiveStamp& stamp, const HashPath& way, ByteView leaf,
                          const HashPath& its_way);

// Belongs to one thread; what it is made of has to outlive it.
class ListProof {
public:
    // `tree` is that of the list. Throws `manifest_changed` where the record isn't that of the
    // list's bytes, and `manifest_unproved` for one that wasn't made with its lines.
    ListProof(HashTree& tree, const ManifestInfo& info, const std::filesystem::path& path,
              const EvidenceRecord& record);

    // The first chain of the record of an object whose hash stands in a line. Throws
    // `not_in_manifest`.
    Bytes chain_of(ByteView object);
    // The hash of a sequence of that chain alone, for any number of objects: no memory is asked for
    // with each.
    void hash_sequence(ByteView object, RepeatedHash& hash, std::byte* target);

private:
    void write(ByteView object, bool as_sequence);

    HashTree& tree_;
    const std::filesystem::path& path_;
    const ArchiveChain& chain_;
    // A chain is `front_`, `lists_`, and the rest, which is the same for all.
    Bytes front_; // heads, and what stands before the lists
    Bytes lists_; // of the object and its way
    Bytes above_; // the lists above the tree
    Bytes rest_;  // the token, and the stamps behind
    std::size_t token_size_;
};

} // namespace chronoseal
