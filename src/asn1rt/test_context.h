// For the tests of this folder: a live context on the stack, and bytes written as hexadecimal text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/encode.h>

using Bytes = std::vector<unsigned char>;

// "30 03 02 01 05": blanks are for the eye.
inline Bytes bytes_of(std::string_view hex) {
    Bytes result;
    std::string digits;
    for (const char c : hex) {
        if (c == ' ') {
            continue;
        }
        digits += c;
        if (digits.size() == 2) {
            result.push_back(static_cast<unsigned char>(std::stoi(digits, nullptr, 16)));
            digits.clear();
        }
    }
    return result;
}

struct TestContext : ASN1CTXT {
    TestContext() { rtInitContext(this, nullptr); }
    ~TestContext() { rtFreeContext(this); }
    TestContext(const TestContext&) = delete;
    TestContext& operator=(const TestContext&) = delete;

    // The bytes as they are: unlike xd_setp this looks at no header. They are copied to a block of
    // their exact size, so that the address sanitizer sees the first byte too far.
    void read(const Bytes& bytes) {
        message = bytes;
        message.shrink_to_fit();
        static unsigned char nothing;
        rtInitContextBuffer(this, message.empty() ? &nothing : message.data(),
                            static_cast<std::uint32_t>(message.size()));
    }

    Bytes written(int length) {
        const unsigned char* at = xe_getp(this);
        return length < 0 ? Bytes{} : Bytes(at, at + length);
    }

    Bytes message;
};
