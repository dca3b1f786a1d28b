#include <basalt/revocation/source_addresses.h>

#include <basalt/revocation/retrieval.h>

#include <openssl/err.h>

#include <algorithm>

namespace basalt {

namespace {

void add(const ASN1_IA5STRING* address, std::vector<std::string>& list) {
    std::optional<std::string> url = fetchable_address(address);
    if (url && std::find(list.begin(), list.end(), *url) == list.end()) {
        list.push_back(std::move(*url));
    }
}

// What X509_get_ext_d2i tells of an extension that isn't there.
constexpr int kAbsent = -1;

// There more than once, or in no form that can be read: it names a source all the same.
template <class Extension>
bool is_unreadable(const Extension& extension, int found) {
    return extension == nullptr && found != kAbsent;
}

void read_access_descriptions(X509* certificate, SourceAddresses& sources) {
    int found = kAbsent;
    const OpensslOwner<AUTHORITY_INFO_ACCESS, AUTHORITY_INFO_ACCESS_free> access(
        static_cast<AUTHORITY_INFO_ACCESS*>(
            X509_get_ext_d2i(certificate, NID_info_access, &found, nullptr)));
    sources.any_named = sources.any_named || is_unreadable(access, found);
    for (int i = 0; access && i < sk_ACCESS_DESCRIPTION_num(access.get()); ++i) {
        const ACCESS_DESCRIPTION* entry = sk_ACCESS_DESCRIPTION_value(access.get(), i);
        if (OBJ_obj2nid(entry->method) != NID_ad_OCSP) {
            continue;
        }
        sources.any_named = true;
        if (entry->location->type == GEN_URI) {
            add(entry->location->d.uniformResourceIdentifier, sources.ocsp);
        }
    }
}

void read_points(const CRL_DIST_POINTS* points, SourceAddresses& sources) {
    for (int i = 0; i < sk_DIST_POINT_num(points); ++i) {
        sources.any_named = true;
        const DIST_POINT* point = sk_DIST_POINT_value(points, i);
        if (point->distpoint == nullptr || point->distpoint->type != 0) {
            continue;
        }
        const GENERAL_NAMES* names = point->distpoint->name.fullname;
        for (int j = 0; j < sk_GENERAL_NAME_num(names); ++j) {
            const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, j);
            if (name->type == GEN_URI) {
                add(name->d.uniformResourceIdentifier, sources.crl);
            }
        }
    }
}

} // namespace

SourceAddresses source_addresses(X509* certificate, const CertificateScope& scope, unsigned most) {
    SourceAddresses sources;
    read_access_descriptions(certificate, sources);
    read_points(scope.points(), sources);
    int found = kAbsent;
    const OpensslOwner<CRL_DIST_POINTS, CRL_DIST_POINTS_free> freshest(
        static_cast<CRL_DIST_POINTS*>(
            X509_get_ext_d2i(certificate, NID_freshest_crl, &found, nullptr)));
    sources.any_named = sources.any_named || is_unreadable(freshest, found);
    read_points(freshest.get(), sources);
    ERR_clear_error();
    sources.left_out = sources.ocsp.size() + sources.crl.size() > most;
    const std::size_t for_lists = std::min<std::size_t>(sources.crl.size(), most / 2);
    sources.ocsp.resize(std::min<std::size_t>(sources.ocsp.size(), most - for_lists));
    sources.crl.resize(std::min<std::size_t>(sources.crl.size(), most - sources.ocsp.size()));
    return sources;
}

} // namespace basalt
