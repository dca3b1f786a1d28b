// Which of several certificates of one name is likeliest to have signed something: by what the
// signed object says of its signer's key, and by what the certificates say of themselves. Nothing
// here is verified; it only tells which to try first. Pure functions, which never fail.
#pragma once

#include <basalt/chain/certificate_pool.h>

namespace basalt {

// What AuthorityKeyIdentifier (RFC 5280, 4.2.1.1) says, empty where it says nothing.
struct WantedKey {
    Bytes identifier;
    Bytes serial_number; // big-endian
};

// Of the extension's value, which may be empty; the result looks into it.
WantedKey wanted_key(Bytes authority_key_identifier);
WantedKey wanted_key(const CERT_INFO& child);

// In the budget's comparisons, for each certificate.
inline constexpr std::size_t kComparisonsToRank = 10;

// Anchors first, then what is the machine's and its user's own, however unlikely: of these there
// are few, and of what came along as many as whoever sent it likes. Among each the likeliest first,
// for a signature that is judged at that moment.
void put_likeliest_first(std::vector<PoolCertificate*>& issuers, const WantedKey& wanted,
                         FileTicks at);

} // namespace basalt
