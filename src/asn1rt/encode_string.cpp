// Writers of strings.
#include <climits>
#include <cstring>

#include <chronoseal/asn1rt/big_endian.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/writer.h>

namespace {

using asn1rt::finish;

int put_octets(ASN1CTXT* ctxt, const unsigned char* bytes, std::size_t count) {
    if (count > INT_MAX) {
        return rtStatusNoMemory;
    }
    return count == 0 ? 0 : xe_memcpy(ctxt, bytes, static_cast<int>(count));
}

// Characters of several bytes, big-endian.
template <typename Char>
int put_characters(ASN1CTXT* ctxt, const Char* characters, std::uint32_t count) {
    constexpr std::uint32_t kWidth = sizeof(Char);
    if (count == 0) {
        return 0;
    }
    if (characters == nullptr) {
        return rtStatusInvalidArgument;
    }
    if (count > INT_MAX / kWidth) {
        return rtStatusNoMemory;
    }
    int status;
    unsigned char* at = asn1rt::put_in_front(ctxt, count * kWidth, status);
    if (at == nullptr) {
        return status;
    }
    for (std::uint32_t i = 0; i < count; ++i, at += kWidth) {
        const Char character = asn1rt::big_endian(characters[i]);
        std::memcpy(at, &character, kWidth);
    }
    return static_cast<int>(count * kWidth);
}

} // namespace

int xe_bitstr(ASN1CTXT* ctxt, const unsigned char* bytes, std::uint32_t numbits,
              ASN1TagType tagging) {
    if (numbits == 0) {
        return finish(ctxt, tagging, rtTagBitString, asn1rt::put_byte(ctxt, 0), 1);
    }
    if (bytes == nullptr) {
        return 0;
    }
    const std::uint32_t in_last = numbits % 8;
    const int data = put_octets(ctxt, bytes, numbits / 8 + (in_last != 0 ? 1 : 0));
    if (data < 0) {
        return data;
    }
    const int count =
        asn1rt::put_byte(ctxt, static_cast<unsigned char>(in_last == 0 ? 0 : 8 - in_last));
    return count < 0 ? count : finish(ctxt, tagging, rtTagBitString, data + count, 1);
}

int xe_octstr(ASN1CTXT* ctxt, const unsigned char* bytes, std::uint32_t numocts,
              ASN1TagType tagging) {
    const int length = bytes == nullptr ? 0 : put_octets(ctxt, bytes, numocts);
    return finish(ctxt, tagging, rtTagOctetString, length);
}

int xe_charstr(ASN1CTXT* ctxt, const char* text, ASN1TagType tagging, std::uint32_t tag) {
    if (text == nullptr) {
        return rtStatusInvalidArgument;
    }
    const int length =
        put_octets(ctxt, reinterpret_cast<const unsigned char*>(text), std::strlen(text));
    return finish(ctxt, tagging, tag, length);
}

int xe_16BitCharStr(ASN1CTXT* ctxt, const ASN1TBMPText* text, ASN1TagType tagging,
                    std::uint32_t tag) {
    if (text == nullptr) {
        return rtStatusInvalidArgument;
    }
    return finish(ctxt, tagging, tag, put_characters(ctxt, text->data, text->nchars));
}

int xe_32BitCharStr(ASN1CTXT* ctxt, const ASN1TUniversalText* text, ASN1TagType tagging,
                    std::uint32_t tag) {
    if (text == nullptr) {
        return rtStatusInvalidArgument;
    }
    return finish(ctxt, tagging, tag, put_characters(ctxt, text->data, text->nchars));
}
