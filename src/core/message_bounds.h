// The look at a message's bytes before it is decoded: the counts of limits.h, OBJECT IDENTIFIERs
// that the decoders would read as others, and times that RFC 3161 doesn't allow. Throws
// CAtlException 0x80093101 for a message that is refused, and 0x80093106 without memory; an
// UnsignedFault where unsigned attributes are the reason. What the decoders themselves refuse may
// pass here.
#pragma once

#include <chronoseal/core/element_reader.h>

namespace Halcyon::PKI::TSP {

// A TimeStampResp, but for its token.
void check_answer(Element answer);
// A TimeStampReq.
void check_request(Element request);
// A TSTInfo. True if its genTime is YYYYMMDDhhmmss[.f+]Z (RFC 3161, 2.4.2): the decoder makes a
// time of other texts, too, and of some of them another one than they say.
bool check_info(Element info);
// A SignerInfo.
void check_signer(Element signer);
// The number of certificates in a CertificateValues (RFC 5126, 6.3.3).
std::size_t count_certificate_values(Element values);

} // namespace Halcyon::PKI::TSP
