// From a list's own record to those of its lines: they hang in one tree, so that the list's way up,
// with that of a line in the place of its lower part, is the line's.
#pragma once

#include <filesystem>

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
    ListProof(EvidenceTree& tree, const ManifestInfo& info, const std::filesystem::path& path,
              const EvidenceRecord& record);

    // The first chain of the record of an object whose hash stands in a line. Throws
    // `not_in_manifest`.
    Bytes chain_of(ByteView object);

private:
    EvidenceTree& tree_;
    const std::filesystem::path& path_;
    const ArchiveChain& chain_;
    HashPath way_;
};

} // namespace chronoseal
