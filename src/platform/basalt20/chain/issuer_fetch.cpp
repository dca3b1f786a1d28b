#include <basalt/chain/issuer_fetch.h>

#include <basalt/coding/signed_message.h>
#include <basalt/network/retrieval_cache.h>

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr unsigned kMaxExchanges = 4;
constexpr std::size_t kMaxInOneBag = 32;

std::string cache_key(const std::string& url) {
    return "issuers\n" + url;
}

bool is_self_issued(const PoolCertificate& certificate) {
    return (X509_get_extension_flags(certificate.openssl()) & EXFLAG_SI) != 0;
}

std::vector<std::string> issuer_addresses(X509* certificate) {
    const OpensslOwner<AUTHORITY_INFO_ACCESS, AUTHORITY_INFO_ACCESS_free> access(
        static_cast<AUTHORITY_INFO_ACCESS*>(
            X509_get_ext_d2i(certificate, NID_info_access, nullptr, nullptr)));
    std::vector<std::string> addresses;
    for (int i = 0; access && i < sk_ACCESS_DESCRIPTION_num(access.get()); ++i) {
        const ACCESS_DESCRIPTION* entry = sk_ACCESS_DESCRIPTION_value(access.get(), i);
        if (OBJ_obj2nid(entry->method) != NID_ad_ca_issuers || entry->location->type != GEN_URI) {
            continue;
        }
        if (auto url = fetchable_address(entry->location->d.uniformResourceIdentifier);
            url && addresses.size() < kMaxExchanges) {
            addresses.push_back(std::move(*url));
        }
    }
    ERR_clear_error();
    return addresses;
}

std::shared_ptr<CertificateItem> item_of(Bytes encoded) {
    auto item = std::make_shared<CertificateItem>();
    item->body = std::make_shared<CertificateBody>(encoded);
    return item;
}

// A single certificate, or a message of signed data with nothing but certificates.
std::vector<std::shared_ptr<CertificateItem>> certificates_of(Bytes body) {
    try {
        return {item_of(body)};
    } catch (const Fault&) {
        // No certificate; a bag, then.
    }
    std::vector<std::shared_ptr<CertificateItem>> items;
    try {
        const SignedMessage message(body, false);
        for (const Bytes encoded : message.certificates()) {
            if (items.size() < kMaxInOneBag) {
                items.push_back(item_of(encoded));
            }
        }
    } catch (const Fault&) {
        // What was read so far may still help.
    }
    return items;
}

// Of each certificate the first, of each the second, and so on: one that names many may be made up.
std::vector<std::string> in_turns(const std::vector<PoolCertificate*>& certificates) {
    std::vector<std::vector<std::string>> of_each;
    for (const PoolCertificate* certificate : certificates) {
        if (!is_self_issued(*certificate)) {
            of_each.push_back(issuer_addresses(certificate->openssl()));
        }
    }
    std::vector<std::string> addresses;
    for (std::size_t turn = 0; turn < kMaxExchanges; ++turn) {
        for (std::vector<std::string>& its : of_each) {
            if (turn < its.size()) {
                addresses.push_back(std::move(its[turn]));
            }
        }
    }
    return addresses;
}

} // namespace

bool IssuerFetch::fetch_for(std::vector<PoolCertificate*> certificates, IssuerReach reach) {
    std::stable_partition(certificates.begin(), certificates.end(), [&](const auto* certificate) {
        return seen_.contains(certificate->digest());
    });
    const std::vector<std::string> addresses = in_turns(certificates);
    bool any = false;
    for (const std::string& url : addresses) {
        if (looked_up_.insert(url).second) {
            const std::optional<CachedObject> cached = cached_object(cache_key(url));
            any = (cached && take(url, cached->bytes, false)) || any;
        }
    }
    for (const std::string& url : addresses) {
        if (any || reach == IssuerReach::none) {
            break;
        }
        if (asked_.contains(url)) {
            continue;
        }
        if (exchanges_ >= kMaxExchanges) {
            left_out_ = true;
            break;
        }
        asked_.insert(url);
        ++exchanges_;
        const unsigned not_asked_before = retrieval_.not_asked();
        const auto body = retrieval_.get_issuer(url, reach == IssuerReach::outside);
        left_out_ = left_out_ || retrieval_.not_asked() != not_asked_before;
        any = body && take(url, *body, true);
    }
    return any;
}

bool IssuerFetch::take(const std::string& url, const std::vector<BYTE>& body, bool from_network) {
    bool any = false;
    Fetched fetched{url, {}, {}};
    for (auto& item : certificates_of(body)) {
        const Sha256& digest = item->body->digest();
        fetched.certificates.insert(digest);
        if (seen_.insert(digest).second) {
            pool_.add(std::move(item), PoolSource::given);
            any = true;
        }
    }
    if (from_network) {
        fetched.body = body;
        fetched_.push_back(std::move(fetched));
    }
    return any;
}

void IssuerFetch::keep_for(const std::vector<PoolCertificate*>& path) {
    for (const Fetched& fetched : fetched_) {
        const bool is_used =
            std::any_of(path.begin(), path.end(), [&](const PoolCertificate* certificate) {
                return fetched.certificates.contains(certificate->digest());
            });
        if (is_used) {
            cache_object(cache_key(fetched.url), fetched.body);
        }
    }
    fetched_.clear();
}

} // namespace basalt
