#include "basalt20/revocation/revocation_sources.h"

#include "basalt20/coding/openssl_owner.h"
#include "basalt20/network/http_client.h"
#include "basalt20/network/retrieval_cache.h"

#include <openssl/x509v3.h>

namespace basalt {

namespace {

constexpr std::size_t kMaxSourcesEach = 8;
constexpr std::chrono::milliseconds kConnectTimeout{5000};
constexpr std::chrono::milliseconds kTotalTimeout{15000};
constexpr unsigned kStatusOk = 200;

bool can_be_fetched(const std::string& url) {
    return url.starts_with("http://") || url.starts_with("https://");
}

void add_address(const ASN1_IA5STRING* address, std::vector<std::string>& list) {
    const std::string url(reinterpret_cast<const char*>(ASN1_STRING_get0_data(address)),
                          static_cast<std::size_t>(ASN1_STRING_length(address)));
    if (can_be_fetched(url) && url.find('\0') == std::string::npos &&
        list.size() < kMaxSourcesEach) {
        list.push_back(url);
    }
}

void read_access_descriptions(X509* certificate, RevocationSources& sources) {
    const OpensslOwner<AUTHORITY_INFO_ACCESS, AUTHORITY_INFO_ACCESS_free> access(
        static_cast<AUTHORITY_INFO_ACCESS*>(
            X509_get_ext_d2i(certificate, NID_info_access, nullptr, nullptr)));
    for (int i = 0; access && i < sk_ACCESS_DESCRIPTION_num(access.get()); ++i) {
        const ACCESS_DESCRIPTION* entry = sk_ACCESS_DESCRIPTION_value(access.get(), i);
        if (OBJ_obj2nid(entry->method) != NID_ad_OCSP) {
            continue;
        }
        sources.any_named = true;
        if (entry->location->type == GEN_URI) {
            add_address(entry->location->d.uniformResourceIdentifier, sources.ocsp);
        }
    }
}

void read_distribution_points(X509* certificate, RevocationSources& sources) {
    const OpensslOwner<CRL_DIST_POINTS, CRL_DIST_POINTS_free> points(static_cast<CRL_DIST_POINTS*>(
        X509_get_ext_d2i(certificate, NID_crl_distribution_points, nullptr, nullptr)));
    for (int i = 0; points && i < sk_DIST_POINT_num(points.get()); ++i) {
        sources.any_named = true;
        const DIST_POINT* point = sk_DIST_POINT_value(points.get(), i);
        if (point->distpoint == nullptr || point->distpoint->type != 0) {
            continue;
        }
        const GENERAL_NAMES* names = point->distpoint->name.fullname;
        for (int j = 0; j < sk_GENERAL_NAME_num(names); ++j) {
            const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, j);
            if (name->type == GEN_URI) {
                add_address(name->d.uniformResourceIdentifier, sources.crl);
            }
        }
    }
}

std::optional<std::vector<BYTE>> fetch(const std::string& key, HttpRequest request,
                                       Freshness fresh) {
    if (const std::optional<CachedObject> cached = cached_object(key);
        cached && fresh(cached->bytes)) {
        return cached->bytes;
    }
    request.limits = network_limits();
    request.limits.connect_timeout = std::min(request.limits.connect_timeout, kConnectTimeout);
    request.limits.total_timeout = std::min(request.limits.total_timeout, kTotalTimeout);
    HttpAnswer answer = http_exchange(request);
    if (answer.error != 0 || answer.status != kStatusOk) {
        return std::nullopt;
    }
    cache_object(key, answer.body);
    return std::move(answer.body);
}

} // namespace

RevocationSources revocation_sources(X509* certificate) {
    RevocationSources sources;
    read_access_descriptions(certificate, sources);
    read_distribution_points(certificate, sources);
    return sources;
}

std::optional<std::vector<BYTE>> fetch_crl(const std::string& url, Freshness fresh) {
    HttpRequest request;
    request.url = url;
    request.follow_redirects = true;
    return fetch(url, std::move(request), fresh);
}

std::optional<std::vector<BYTE>> fetch_ocsp(const std::string& url, Bytes body, Freshness fresh) {
    HttpRequest request;
    request.url = url;
    request.headers = {"Content-Type: application/ocsp-request"};
    request.body = body;
    const std::string key = url + '\n' + std::string(body.begin(), body.end());
    return fetch(key, std::move(request), fresh);
}

} // namespace basalt
