// CRLs taken apart.
#include <basalt/certificate/crl_body.h>

#include <basalt/basalt10/digest.h>

#include <openssl/err.h>

#include <string_view>
#include <tuple>

namespace basalt {
namespace {

bool is_time(BYTE tag) {
    return tag == tag::kUtcTime || tag == tag::kGeneralizedTime;
}

} // namespace

// CertificateList (RFC 5280 5.1).
CrlBody::CrlBody(Bytes encoded) : storage_(encoded) {
    DerReader list(sole_element(storage_.encoded(), tag::kSequence).contents);
    const Bytes tbs = list.take(tag::kSequence).contents;
    list.take(tag::kSequence);
    bits_of(list.take(tag::kBitString).contents);
    list.expect_end();
    read_tbs(tbs);
}

void CrlBody::read_tbs(Bytes bytes) {
    DerReader tbs(bytes);
    if (const Element version = tbs.take_if(tag::kInteger); version.tag != 0) {
        info_.dwVersion = small_integer(version.contents);
    }
    info_.SignatureAlgorithm = storage_.algorithm(tbs.take(tag::kSequence).contents);
    info_.Issuer = FieldStorage::view(tbs.take(tag::kSequence).whole);
    info_.ThisUpdate = time_of(tbs.take());
    if (is_time(tbs.peek())) {
        info_.NextUpdate = time_of(tbs.take());
    }
    if (const Element list = tbs.take_if(tag::kSequence); list.tag != 0) {
        read_entries(list.contents);
    }
    if (const Element outer = tbs.take_if(tag::context_constructed(0)); outer.tag != 0) {
        const Element list = sole_element(outer.contents, tag::kSequence);
        std::tie(info_.rgExtension, info_.cExtension) = storage_.extensions(list.contents);
    }
    tbs.expect_end();
}

void CrlBody::read_entries(Bytes list) {
    constexpr std::size_t kUsualEntrySize = 36;
    entries_.reserve(list.size() / kUsualEntrySize);
    DerReader reader(list);
    while (!reader.at_end()) {
        DerReader fields(reader.take(tag::kSequence).contents);
        CRL_ENTRY entry{};
        entry.SerialNumber =
            storage_.reversed(minimal_integer(fields.take(tag::kInteger).contents));
        entry.RevocationDate = time_of(fields.take());
        if (const Element extensions = fields.take_if(tag::kSequence); extensions.tag != 0) {
            std::tie(entry.rgExtension, entry.cExtension) =
                storage_.extensions(extensions.contents);
        }
        fields.expect_end();
        entries_.push_back(entry);
    }
    info_.rgCRLEntry = entries_.data();
    info_.cCRLEntry = static_cast<DWORD>(entries_.size());
}

} // namespace basalt
