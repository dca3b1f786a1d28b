#include <basalt/chain/issuer_rank.h>

#include <basalt/coding/flat_block.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace basalt {

namespace {

constexpr char kSubjectKeyIdentifier[] = "2.5.29.14";
constexpr char kAuthorityKeyIdentifier[] = "2.5.29.35";
constexpr char kBasicConstraints[] = "2.5.29.19";

enum class KeyMatch { equal, none, differs };

Bytes extension_value(const CERT_INFO& info, const char* oid) {
    const CERT_EXTENSION* extension = CertFindExtension(oid, info.cExtension, info.rgExtension);
    return extension != nullptr ? bytes_of(extension->Value) : Bytes{};
}

Bytes key_identifier(const CERT_INFO& info) {
    try {
        const Bytes value = extension_value(info, kSubjectKeyIdentifier);
        return value.empty() ? value : sole_element(value, tag::kOctetString).contents;
    } catch (const Fault&) {
        return {};
    }
}

bool is_ca(const CERT_INFO& info) {
    try {
        const Bytes value = extension_value(info, kBasicConstraints);
        if (value.empty()) {
            return false;
        }
        DerReader fields(sole_element(value, tag::kSequence).contents);
        const Element flag = fields.take_if(tag::kBoolean);
        return flag.tag != 0 && boolean_of(flag.contents);
    } catch (const Fault&) {
        return false;
    }
}

KeyMatch key_match(const WantedKey& wanted, const CERT_INFO& issuer) {
    if (!wanted.identifier.empty()) {
        const Bytes own = key_identifier(issuer);
        if (own.empty()) {
            return KeyMatch::none;
        }
        return same_bytes(own, wanted.identifier) ? KeyMatch::equal : KeyMatch::differs;
    }
    if (!wanted.serial_number.empty()) {
        const Bytes own = bytes_of(issuer.SerialNumber);
        return std::equal(own.rbegin(), own.rend(), wanted.serial_number.begin(),
                          wanted.serial_number.end())
                   ? KeyMatch::equal
                   : KeyMatch::differs;
    }
    return KeyMatch::none;
}

// Smaller is tried earlier; the digest settles the rest, so that no order of a bag shows.
auto rank_of(const WantedKey& wanted, const PoolCertificate& issuer, FileTicks at) {
    const CERT_INFO& info = issuer.info();
    return std::tuple(!issuer.is_anchor, !issuer.is_own(), key_match(wanted, info),
                      !issuer.is_valid_at(at), !is_ca(info),
                      same_bytes(issuer.subject(), issuer.issuer()), issuer.digest());
}

} // namespace

WantedKey wanted_key(Bytes authority_key_identifier) {
    WantedKey wanted;
    try {
        if (authority_key_identifier.empty()) {
            return wanted;
        }
        DerReader fields(sole_element(authority_key_identifier, tag::kSequence).contents);
        wanted.identifier = fields.take_if(tag::context(0)).contents;
        fields.take_if(tag::context_constructed(1));
        if (const Element serial = fields.take_if(tag::context(2)); serial.tag != 0) {
            wanted.serial_number = minimal_integer(serial.contents);
        }
    } catch (const Fault&) {
        wanted = {};
    }
    return wanted;
}

WantedKey wanted_key(const CERT_INFO& child) {
    return wanted_key(extension_value(child, kAuthorityKeyIdentifier));
}

void put_likeliest_first(std::vector<PoolCertificate*>& issuers, const WantedKey& wanted,
                         FileTicks at) {
    using Ranked = std::pair<decltype(rank_of(wanted, *issuers[0], at)), PoolCertificate*>;
    std::vector<Ranked> ranked;
    ranked.reserve(issuers.size());
    for (PoolCertificate* issuer : issuers) {
        ranked.emplace_back(rank_of(wanted, *issuer, at), issuer);
    }
    std::sort(ranked.begin(), ranked.end(),
              [](const Ranked& a, const Ranked& b) { return a.first < b.first; });
    std::transform(ranked.begin(), ranked.end(), issuers.begin(),
                   [](const Ranked& r) { return r.second; });
}

} // namespace basalt
