#include <basalt/revocation/listing.h>

#include <basalt/coding/der_writer.h>

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

// The names of an entry's certificateIssuer, or none.
Bytes issuers_in(DerReader entry) {
    constexpr BYTE kCertificateIssuer[] = {0x55, 0x1D, 0x1D};
    if (entry.at_end()) {
        return {};
    }
    for (DerReader extensions(entry.take(tag::kSequence).contents); !extensions.at_end();) {
        DerReader extension(extensions.take(tag::kSequence).contents);
        if (same_bytes(extension.take(tag::kOid).contents, kCertificateIssuer)) {
            extension.take_if(tag::kBoolean);
            return extension.take(tag::kOctetString).contents;
        }
    }
    return {};
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

// Whose certificates the entries speak of: the list's own issuer's, until they name another one.
// Only of an entry that matters it is looked at who that is.
class IssuerOfEntries {
public:
    IssuerOfEntries(const X509_NAME* of_list, const X509_NAME* wanted)
        : of_list_(of_list), wanted_(wanted) {}

    void take(Bytes issuers) {
        if (!issuers.empty()) {
            issuers_ = issuers;
            is_wanted_.reset();
        }
    }

    bool is_wanted() {
        if (!is_wanted_) {
            is_wanted_ = look();
        }
        return *is_wanted_;
    }

private:
    bool look() const {
        if (issuers_.empty()) {
            return X509_NAME_cmp(of_list_, wanted_) == 0;
        }
        const unsigned char* cursor = issuers_.data();
        const NamesOwner decoded(
            d2i_GENERAL_NAMES(nullptr, &cursor, static_cast<long>(issuers_.size())));
        return decoded == nullptr || names(decoded.get(), wanted_); // it was read before
    }

    const X509_NAME* of_list_;
    const X509_NAME* wanted_;
    Bytes issuers_;
    std::optional<bool> is_wanted_; // by these
};

// The contents of the INTEGER, as a list has them.
std::string number_of(const X509* certificate) {
    const std::string number = der_of(i2d_ASN1_INTEGER, X509_get0_serialNumber(certificate));
    return std::string(text_of(sole_element(bytes_of(number), tag::kInteger).contents));
}

EntryOwner decoded(Bytes entry) {
    const unsigned char* cursor = entry.data();
    return EntryOwner(d2i_X509_REVOKED(nullptr, &cursor, static_cast<long>(entry.size())));
}

} // namespace

bool has_number(const EvidenceItem& list, const X509* certificate) try {
    const std::string wanted = number_of(certificate);
    for (DerReader entries(list.list->parts.entries); !entries.at_end();) {
        DerReader fields(entries.take(tag::kSequence).contents);
        if (text_of(fields.take(tag::kInteger).contents) == wanted) {
            return true;
        }
    }
    return false;
} catch (const Fault&) {
    return true; // behind what can't be read
}

std::size_t comparisons_for_listing(const EvidenceItem& item) {
    // An entry takes as many octets at least, and less than a comparison; one that names an issuer
    // is read by OpenSSL, once for all certificates, and takes two microseconds and eighty octets.
    constexpr std::size_t kOctetsOfAnEntry = 32;
    constexpr std::size_t kOctetsOfAnIndirectOne = 5;
    return 1 + item.encoded.size() /
                   (item.list->is_indirect() ? kOctetsOfAnIndirectOne : kOctetsOfAnEntry);
}

std::size_t comparisons_for_number(const EvidenceItem& item) {
    constexpr std::size_t kOctets = 128;
    return item.encoded.size() / kOctets;
}

// An entry speaks of the issuer that it names, or the last one before it, or else of the list's own
// (RFC 5280, 5.3.3). OpenSSL knows that too, but gives the first entry of a number alone.
Listing listing_of(const EvidenceItem& item, const X509* certificate) try {
    const std::string wanted = number_of(certificate);
    IssuerOfEntries issuer(item.list->issuer(), X509_get_issuer_name(certificate));
    Listing listing;
    require(item.list->has_known_entries(), CRYPT_E_ASN1_CORRUPT);
    for (DerReader entries(item.list->parts.entries); !entries.at_end();) {
        const Element whole = entries.take(tag::kSequence);
        DerReader fields(whole.contents);
        const Bytes number = fields.take(tag::kInteger).contents;
        fields.take(); // the date
        issuer.take(issuers_in(fields));
        if (text_of(number) == wanted && issuer.is_wanted()) {
            const EntryOwner entry = decoded(whole.whole);
            require(entry != nullptr, CRYPT_E_ASN1_CORRUPT);
            add(entry.get(), listing);
        }
    }
    ERR_clear_error();
    return listing;
} catch (const Fault&) {
    ERR_clear_error();
    Listing none;
    none.is_readable = false;
    return none;
}

} // namespace basalt
