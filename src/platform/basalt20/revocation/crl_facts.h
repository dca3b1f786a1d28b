// What a revocation list says of itself, read once: dates, numbers, whom and what it is for, and
// whether it can be used at all. Nothing here is authentic yet, and so the entries, of which there
// may be very many, are read when somebody asks for them.
#pragma once

#include <basalt/coding/der_reader.h>
#include <basalt/coding/file_ticks.h>
#include <basalt/coding/openssl_owner.h>
#include <basalt/revocation/point_names.h>

#include <openssl/x509v3.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace basalt {

using CrlOwner = OpensslOwner<X509_CRL, X509_CRL_free>;
using IssuingPoint = OpensslOwner<ISSUING_DIST_POINT, ISSUING_DIST_POINT_free>;
using IntegerOwner = OpensslOwner<ASN1_INTEGER, ASN1_INTEGER_free>;

// RFC 5280, 5.1, as views into the bytes that it was read from.
struct CrlParts {
    Bytes signed_part;
    Bytes before_entries; // in the signed part
    Bytes entries;        // one behind the other
    Bytes behind_entries; // in the signed part
    Bytes outside;        // the algorithm and the signature
};

// For one thread; the bytes must outlive it.
struct CrlFacts {
    CrlParts parts;
    CrlOwner head; // all but the entries
    FileTicks this_update = 0;
    std::optional<FileTicks> next_update;
    IssuingPoint point;      // the issuing distribution point, null when there is none
    std::string point_bytes; // the extension's octets
    PointNames point_names;
    std::string key_identifier_bytes;
    IntegerOwner number;
    IntegerOwner base_number; // of a delta
    std::optional<FileTicks> reaches_back_to;

    const X509_NAME* issuer() const { return X509_CRL_get_issuer(head.get()); }
    bool is_delta() const { return base_number != nullptr; }
    bool names_its_point() const { return point && point->distpoint != nullptr; }
    bool is_indirect() const { return point && point->indirectCRL > 0; }

    // False when one of its entries can't be read or isn't understood. They are looked through
    // once.
    bool has_known_entries() const;

private:
    mutable std::optional<bool> has_known_entries_;
};

// Null for what can't be used: no list, bytes behind it, another signature algorithm inside than
// outside, an unknown critical extension, extensions that can't be read or don't go together, dates
// that are none.
std::shared_ptr<const CrlFacts> read_crl(Bytes encoded);

// The octets that are read for it; 0 of what isn't a list.
std::size_t size_beside_entries(Bytes encoded);

// True when the delta continues the base: same issuer, distribution point and key identifier, the
// base not older than the one that the delta builds on and older than the delta.
bool continues(const CrlFacts& delta, const CrlFacts& base);

} // namespace basalt
