// DER written front to back into a string: each call gives the bytes of one element, which the
// caller appends.
#pragma once

#include <basalt/coding/der_reader.h>
#include <basalt/encoded_values.h>

#include <string>
#include <string_view>
#include <vector>

namespace basalt {

inline Bytes bytes_of(std::string_view text) {
    return {reinterpret_cast<const BYTE*>(text.data()), text.size()};
}
inline std::string_view text_of(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Appends an element with the shortest length.
void append_element(std::string& out, BYTE tag, std::string_view contents);
void append_element(std::string& out, BYTE tag, Bytes contents);
std::string element(BYTE tag, std::string_view contents);

/// The contents of a SET OF: the encoded elements in DER's order (X.690 11.6).
std::string set_contents(std::vector<std::string_view> elements);

/// The contents of an OBJECT IDENTIFIER from dotted text; fault CRYPT_E_OID_FORMAT for text that
/// isn't one.
std::string oid_contents(std::string_view dotted);

/// AlgorithmIdentifier and SubjectPublicKeyInfo (RFC 5280 4.1) from their records.
std::string encode_algorithm(const CRYPT_ALGORITHM_IDENTIFIER& algorithm);
std::string encode_public_key_info(const CERT_PUBLIC_KEY_INFO& info);

/// The DER of any BER element: shortest lengths, strings in one piece, elements of a SET in order,
/// TRUE as 0xFF. A context-tagged constructed element keeps its pieces: whether it is a string
/// can't be seen. Faults: CRYPT_E_ASN1_LARGE for more than 64 levels, and those of the reader.
std::string canonical_der(const Element& element);

} // namespace basalt
