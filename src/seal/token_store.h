// What a token brings along to be judged by: certificates, revocation lists and OCSP answers. All
// are candidates, none is trusted.
#pragma once

#include <chronoseal/atl/cert_store.h>
#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/signed_bytes.h>

namespace chronoseal {

struct TokenStore {
    ATL2::CCertStore store;
    bool is_whole = true; // false: there was more than anybody needs, and what may be needed
};

// Those in the message itself, and those of the unsigned attributes certificateValues and
// revocationValues of long-term signatures (RFC 5126, 6.3.3 and 6.3.4). What can't be read is left
// out.
TokenStore token_store(const ATL2::CCryptMsg& message, const SignatureInfo& signature);

} // namespace chronoseal
