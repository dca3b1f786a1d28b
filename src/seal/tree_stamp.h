// An ArchiveTimeStamp of a leaf in a tree under a stamp.
#pragma once

#include <chronoseal/seal/record_content.h>
#include <chronoseal/seal/repeated_hash.h>

namespace chronoseal {

// The members' own list first, alone, then a list for each hash beside the way up: the one layout
// whose root all readings of RFC 4998 agree on. Throws `no_token`, and `imprint_differs` for a
// stamp that isn't over the root.
Bytes tree_stamp_der(RepeatedHash& hash, const HashList& members, const HashPath& path,
                     const Stamp& stamp);

} // namespace chronoseal
