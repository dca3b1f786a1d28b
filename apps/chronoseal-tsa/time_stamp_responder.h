// Answers RFC 3161 requests by OpenSSL's TS functions: granted with a token, or refused with status
// and failInfo. One responder serves one thread at a time.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hash_names.h"
#include "identity.h"

namespace tsa {

struct Accuracy {
    int seconds = 0;
    int millis = 0;
    int micros = 0;
};

struct ResponderOptions {
    // Dotted OIDs; the first is the one used when the request names none. A request for another is
    // refused with unacceptedPolicy.
    std::vector<std::string> policies = {"1.3.6.1.4.1.13762.3"};
    // Names of hash_names.h; an imprint by another algorithm is refused with badAlg.
    std::vector<std::string> imprints = default_hashes();
    std::optional<Accuracy> accuracy = Accuracy{1, 0, 0};
    bool ordering = false;
    bool tsa_name = true;
    // ESSCertID (SHA-1, RFC 2634) in place of ESSCertIDv2 (SHA-256, RFC 5816).
    bool ess_v1 = false;
};

struct Answer {
    std::string der;     // a TimeStampResp
    std::string outcome; // "granted 0x41AB...", "rejection badAlg"
};

class TimeStampResponder {
public:
    // Keeps a reference to `identity`. Throws OpenSslError when an option can't be set.
    TimeStampResponder(const Identity& identity, const ResponderOptions& options);

    // `request`: the DER of a TimeStampReq, or anything at all; bytes that are no request give a
    // rejection with badDataFormat. Throws OpenSslError only when
    // no answer could be made.
    Answer respond(const std::string& request);

private:
    ResponseContextPtr context_;
};

} // namespace tsa
