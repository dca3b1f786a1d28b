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

    // The body of a 200, or nothing. GET follows redirects, POST doesn't.
    std::optional<std::vector<BYTE>> get(const std::string& url);
    std::optional<std::vector<BYTE>> post(const std::string& url, const std::string& content_type,
                                          Bytes body);

    // As get, in the time for issuers. `outside_only` refuses hosts of this machine and of inner
    // networks, also behind a redirect. That it fails is kept in mind for such requests alone.
    std::optional<std::vector<BYTE>> get_issuer(const std::string& url, bool outside_only);

    // Exchanges that were begun.
    unsigned exchanges() const { return exchanges_; }
    // Addresses that weren't asked, or not to the end: no time or little was left, too many were,
    // or what came was too large. What they have to say nobody knows.
    unsigned not_asked() const { return not_asked_; }

private:
    // What one exchange may take.
    struct Share {
        std::chrono::milliseconds time;
        std::chrono::milliseconds fair; // a time-out behind less of it tells nothing
        bool for_issuer = false;
    };

    std::optional<std::vector<BYTE>> fetch(struct HttpRequest& request, const std::string& key,
                                           const Share& share);

    Budget& budget_;
    unsigned exchanges_ = 0;
    unsigned not_asked_ = 0;
};

} // namespace basalt
