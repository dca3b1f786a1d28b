// What a revocation list has of one certificate. Its entries are read where they lie, and nothing
// is made of them; nothing fails.
#pragma once

#include <basalt/revocation/evidence_item.h>

namespace basalt {

struct Revocation {
    FileTicks at = 0; // 0 for a date that is none
    std::optional<int> reason;
};

struct Listing {
    std::vector<Revocation> entries; // that revoke it: one, unless the list repeats it
    bool removed = false;            // it says that it isn't revoked any more
    bool is_readable = true;         // else the list is as useless as one that isn't a list
};

Listing listing_of(const EvidenceItem& list, const X509* certificate);

// Whether it has the certificate's number at all, or may have it where it can't be read.
bool has_number(const EvidenceItem& list, const X509* certificate);

// What these take at most, in the budget's comparisons.
std::size_t comparisons_for_listing(const EvidenceItem& list);
std::size_t comparisons_for_number(const EvidenceItem& list);

} // namespace basalt
