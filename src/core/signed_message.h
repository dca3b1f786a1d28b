// The parts of a CMS message of signed data (RFC 5652, 3 and 5), as they lie in its bytes.
#pragma once

#include <vector>

#include <chronoseal/base/blob.h>
#include <chronoseal/core/element_reader.h>

namespace Halcyon::PKI::TSP {

// All spans lead into the message that was read, and live as long as it.
struct SignedMessage {
    CBlob content;                     // the octets, joined where they came in pieces
    bool has_certificates = false;     // the field is there, be it empty
    std::vector<Element> certificates; // X.509 certificates only, in the order of the message
    std::vector<Element> signers;      // SignerInfo each, at least one
};

// Takes DER or BER. Bytes behind the message aren't looked at. Throws CAtlException 0x80093101 for
// anything but signed data with a content and a signer, and for more of anything than limits.h
// allows, which is an UnsignedFault where a token's certificates or revocation lists are the
// reason, and 0x80093106 without memory.
SignedMessage read_signed_message(const CBlob& message);

// A SignerInfo, as BER, without its unsigned attributes: no signature covers them, and there are
// authorities that write an empty set, which isn't one. Throws CAtlException 0x80093101, an
// UnsignedFault where something stands behind them.
CBlob without_unsigned_attributes(Element signer);

} // namespace Halcyon::PKI::TSP
