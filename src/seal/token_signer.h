// Who has signed a token: by the signed attributes that name a certificate.
#pragma once

#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/cert_store.h>
#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/signed_bytes.h>

namespace chronoseal {

// Whether the signed attributes name this certificate. False for attributes that can't be read.
bool names_certificate(const ATL2::CCryptMsg& message, ByteView certificate);

struct SignerSearch {
    ATL2::CCertContext certificate; // empty: none
    std::uint32_t code = 0;         // why there is none
};

// The certificate that the signed attributes name, looked for in the stores in their order.
SignerSearch find_signer(const ATL2::CCryptMsg& message,
                         const std::vector<const ATL2::CCertStore*>& stores);

} // namespace chronoseal
