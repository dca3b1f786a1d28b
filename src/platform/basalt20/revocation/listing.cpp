#include <basalt/revocation/listing.h>

#include <openssl/err.h>

namespace basalt {

namespace {

using NamesOwner = OpensslOwner<GENERAL_NAMES, GENERAL_NAMES_free>;
using EntryOwner = OpensslOwner<X509_REVOKED, X509_REVOKED_free>;

void add(const X509_REVOKED* entry, Listing& listing) {
    const OpensslOwner<ASN1_ENUMERATED, ASN1_ENUMERATED_free> why(static_cast<ASN1_ENUMERATED*>(
        X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr)));
    Revocation revocation;
    revocation.at = ticks_of(X509_REVOKED_get0_revocationDate(entry)).value_or(0);
    if (why) {
        revocation.reason = static_cast<int>(ASN1_ENUMERATED_get(why.get()));
    }
    if (revocation.reason == reason::kRemoveFromCrl) {
        listing.removed = true;
    } else {
        listing.entries.push_back(revocation);
    }
}

bool is_of(const X509_REVOKED* entry, const ASN1_INTEGER* serial) {
    return ASN1_INTEGER_cmp(X509_REVOKED_get0_serialNumber(entry), serial) == 0;
}

// The list of revokedCertificates (RFC 5280, 5.1) in the order in which it came.
Bytes entries_in(Bytes encoded) {
    DerReader tbs(DerReader(sole_element(encoded, tag::kSequence).contents).take().contents);
    tbs.take_if(tag::kInteger);
    tbs.take(tag::kSequence); // the algorithm
    tbs.take(tag::kSequence); // the issuer
    tbs.take();               // the dates
    tbs.take_if(tag::kUtcTime);
    tbs.take_if(tag::kGeneralizedTime);
    return tbs.take_if(tag::kSequence).contents;
}

bool names(const GENERAL_NAMES* issuers, const X509_NAME* wanted) {
    for (int i = 0; i < sk_GENERAL_NAME_num(issuers); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(issuers, i);
        if (name->type == GEN_DIRNAME && X509_NAME_cmp(name->d.directoryName, wanted) == 0) {
            return true;
        }
    }
    return false;
}

// An entry speaks of the issuer that it names, or the last one before it, or else of the list's own
// (RFC 5280, 5.3.3). OpenSSL knows that too, but gives the first entry of a number alone, and has
// put the entries into another order.
Listing indirect_listing(const EvidenceItem& item, const X509* certificate) try {
    const X509_NAME* wanted = X509_get_issuer_name(certificate);
    bool is_the_issuers = X509_NAME_cmp(item.list->issuer(), wanted) == 0;
    Listing listing;
    for (DerReader entries(entries_in(item.encoded)); !entries.at_end();) {
        const Bytes encoded = entries.take(tag::kSequence).whole;
        const unsigned char* cursor = encoded.data();
        const EntryOwner entry(
            d2i_X509_REVOKED(nullptr, &cursor, static_cast<long>(encoded.size())));
        require(entry != nullptr, CRYPT_E_ASN1_CORRUPT);
        const NamesOwner issuers(static_cast<GENERAL_NAMES*>(
            X509_REVOKED_get_ext_d2i(entry.get(), NID_certificate_issuer, nullptr, nullptr)));
        if (issuers) {
            is_the_issuers = names(issuers.get(), wanted);
        }
        if (is_the_issuers && is_of(entry.get(), X509_get0_serialNumber(certificate))) {
            add(entry.get(), listing);
        }
    }
    return listing;
} catch (const Fault&) {
    return {};
}

} // namespace

Listing listing_of(const EvidenceItem& item, X509* certificate) {
    X509_REVOKED* first = nullptr;
    Listing listing;
    if (X509_CRL_get0_by_cert(item.list->list.get(), &first, certificate) == 0) {
        return listing;
    }
    if (item.list->is_indirect()) {
        listing = indirect_listing(item, certificate);
        if (listing.entries.empty() && !listing.removed) {
            add(first, listing); // whatever became of the others
        }
        ERR_clear_error();
        return listing;
    }
    const STACK_OF(X509_REVOKED)* all = X509_CRL_get_REVOKED(item.list->list.get());
    for (int i = 0; i < sk_X509_REVOKED_num(all); ++i) {
        const X509_REVOKED* entry = sk_X509_REVOKED_value(all, i);
        if (is_of(entry, X509_REVOKED_get0_serialNumber(first))) {
            add(entry, listing);
        }
    }
    return listing;
}

} // namespace basalt
