// For tests: blobs as hexadecimal text, and what OpenSSL makes of an encoding.
#pragma once

#include <string>

#include <chronoseal/base/blob.h>
#include <chronoseal/base/test_code.h>

namespace Halcyon::ASN1 {

inline CBlob from_hex(const char* text) {
    CBlob blob;
    blob.readFromHexString(text);
    return blob;
}

inline std::string to_hex(const CBlob& blob) {
    return blob.writeToHexString(0).c_str();
}

// The encoding as OpenSSL writes the value that it read from `der`, in hexadecimal digits.
// "refused" if OpenSSL can't read it or doesn't use it up.
template <class T, class Read, class Write, class Free>
std::string through_openssl(const CBlob& der, Read read, Write write, Free release) {
    const unsigned char* input = der.pbData();
    T* value = read(nullptr, &input, static_cast<long>(der.cbData()));
    if (!value || input != der.pbData() + der.cbData()) {
        release(value);
        return "refused";
    }
    unsigned char* output = nullptr;
    const int length = write(value, &output);
    release(value);
    if (length < 0) {
        return "not written";
    }
    const CBlob blob(output, static_cast<unsigned long>(length));
    free(output);
    return to_hex(blob);
}

#define THROUGH_OPENSSL(Type, der)                                                                 \
    ::Halcyon::ASN1::through_openssl<Type>(der, d2i_##Type, i2d_##Type, Type##_free)

// The encoding that OpenSSL writes for a value, which stays the caller's.
template <class T, class Write>
CBlob written_by_openssl(const T* value, Write write) {
    unsigned char* output = nullptr;
    const int length = write(value, &output);
    const CBlob blob(output, length < 0 ? 0 : static_cast<unsigned long>(length));
    free(output);
    return blob;
}

} // namespace Halcyon::ASN1
