// For tests: values that many of them need, and what holds for every value that has an encoding.
#pragma once

#include <cstdint>
#include <initializer_list>

#include <gtest/gtest.h>

#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/asn1/test_blob.h>

namespace Halcyon::ASN1 {

inline constexpr char kSha1[] = "1.3.14.3.2.26";
inline constexpr std::uint32_t kRefusedEncoding = 0x80093101;

inline CBigInteger number(const char* hex) {
    CBigInteger value;
    value.readFromHexString(hex);
    return value;
}

inline CAlgorithmIdentifier with_parameters(const char* oid, const char* der = "0500") {
    CAlgorithmIdentifier value(oid);
    value.put_parameters(from_hex(der));
    return value;
}

inline CGeneralName dns(const wchar_t* text) {
    CGeneralName name;
    name.put_dNSName(text);
    return name;
}

inline CIssuerSerial issuer_serial(const wchar_t* name, const char* serial) {
    return CIssuerSerial(CGeneralNames(1, dns(name)), number(serial));
}

template <class Id>
Id with_issuer(Id id, const char* serial) {
    const CIssuerSerial issuer = issuer_serial(L"a", serial);
    id.put_issuerSerial(&issuer);
    return id;
}

template <class Value>
Value decoded(const CBlob& der) {
    Value value;
    value.decode(der);
    return value;
}

template <class Value>
Value decoded(const char* der) {
    return decoded<Value>(from_hex(der));
}

template <class Value>
void expect_round_trip(const Value& value, const std::string& expected) {
    const CBlob der = value.encode();
    EXPECT_EQ(to_hex(der), expected);
    EXPECT_TRUE(decoded<Value>(der) == value) << expected;
}

// None of these encodings is taken, and the value stays what it was.
template <class Value>
void expect_refused(Value value, std::initializer_list<const char*> encodings) {
    const Value before(value);
    for (const char* der : encodings) {
        EXPECT_CODE(kRefusedEncoding, value.decode(from_hex(der))) << der;
    }
    EXPECT_TRUE(value == before);
}

} // namespace Halcyon::ASN1
