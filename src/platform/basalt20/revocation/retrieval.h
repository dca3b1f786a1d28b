// Fetching for a verdict: GET and POST to addresses that certificates name, within the budget's
// deadline and bound on an object, through the proxy of the configuration tree. What has failed is
// not asked again by those who share the budget's fetching, nor a server where nobody is.
// Nothing here fails loudly, and nothing is cached: whoever has verified what came puts it into the
// cache.
#pragma once

#include <basalt/coding/der_reader.h>
#include <basalt/revocation/budget.h>

#include <openssl/asn1.h>

#include <optional>
#include <string>
#include <vector>

namespace basalt {

// The text when it is an http or https address without user-info, control characters and blanks;
// nothing otherwise.
std::optional<std::string> fetchable_address(const ASN1_IA5STRING* text);

class Retrieval {
public:
    explicit Retrieval(Budget& budget) : budget_(budget) {}
    Retrieval(const Retrieval&) = delete;
    Retrieval& operator=(const Retrieval&) = delete;

    // The body of a 200, or nothing. GET follows redirects, POST doesn't. `outside_only` refuses
    // hosts of this machine and of inner networks, also behind a redirect.
    std::optional<std::vector<BYTE>> get(const std::string& url, bool outside_only = false);
    std::optional<std::vector<BYTE>> post(const std::string& url, const std::string& content_type,
                                          Bytes body);

    // Takes what a request for an issuer needs; false when those who share the fetching have made
    // too many.
    bool take_issuer_exchange() { return budget_.fetching().take_issuer_exchange(); }

    // Exchanges that were begun.
    unsigned exchanges() const { return exchanges_; }
    // Addresses that weren't asked, or in vain, since no time or little was left.
    unsigned not_asked() const { return not_asked_; }

private:
    std::optional<std::vector<BYTE>> fetch(struct HttpRequest& request, const std::string& key);

    Budget& budget_;
    unsigned exchanges_ = 0;
    unsigned not_asked_ = 0;
};

} // namespace basalt
