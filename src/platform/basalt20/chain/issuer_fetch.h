// Missing issuers, from where certificates say that they lie (authorityInfoAccess, caIssuers: a
// certificate, or a bag of them). What comes is a candidate like any other. First what lies in the
// cache, then the network: four exchanges at most for one object and 32 for those of one file,
// within the budget's time for issuers.
//
// This is the one thing that is fetched before anything is trusted, so whoever made the token has
// chosen the addresses. Hence nobody is asked for the issuer of what is self-issued: only another
// root could come, and roots that are trusted are at hand. And unless the configuration allows it
// (FetchIssuers), no host of this machine or of an inner network is asked, by whatever name it goes
// and wherever a redirect leads.
#pragma once

#include <basalt/chain/certificate_pool.h>
#include <basalt/network/http_client.h>
#include <basalt/revocation/retrieval.h>

#include <set>

namespace basalt {

class IssuerFetch {
public:
    IssuerFetch(CertificatePool& pool, Retrieval& retrieval) : pool_(pool), retrieval_(retrieval) {}

    // True when new candidates came from the addresses of these certificates; the network is asked
    // only when the cache gave none. Those of what was fetched go first: whoever handed the
    // question in had no say in that, unless the address was his.
    bool fetch_for(std::vector<PoolCertificate*> certificates, IssuerReach reach);

    // Some address wasn't asked, since there were too many or no time was left.
    bool left_out() const { return left_out_; }

    // Keeps those bodies that one of these certificates came in: a path with them has been found
    // good.
    void keep_for(const std::vector<PoolCertificate*>& path);

private:
    struct Fetched {
        std::string url;
        std::vector<BYTE> body;
        std::set<Sha256> certificates;
    };

    bool take(const std::string& url, const std::vector<BYTE>& body, bool from_network);

    CertificatePool& pool_;
    Retrieval& retrieval_;
    unsigned exchanges_ = 0;
    bool left_out_ = false;
    std::set<std::string> looked_up_;
    std::set<std::string> asked_;
    std::set<Sha256> seen_;
    std::vector<Fetched> fetched_;
};

} // namespace basalt
