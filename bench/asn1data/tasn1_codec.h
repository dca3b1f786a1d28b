// The same types through libtasn1, for comparison: definitions that it parses at start, and one
// decode and encode.
#pragma once

#include <vector>

namespace tasn1_codec {

/// Decodes `bytes` as `type` ("PKIX.Certificate") and encodes it again; the encoding's size. Aborts
/// when libtasn1 refuses.
int recode(const char* type, const std::vector<unsigned char>& bytes,
           std::vector<unsigned char>& scratch);

} // namespace tasn1_codec
