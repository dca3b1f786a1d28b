// Tags, lengths and the readers that skip, find and measure elements, over any bytes. No reader may
// move the cursor out of the buffer; what OpenSSL reads as a header must read the same here; and a
// header that is written again must read the same.
#include <cstdint>
#include <cstdlib>
#include <initializer_list>

#include <openssl/asn1.h>

#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/encode.h>

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

struct Reader : ASN1CTXT {
    Reader(const std::uint8_t* data, std::size_t size) {
        rtInitContext(this, nullptr);
        rtInitContextBuffer(this, data, static_cast<std::uint32_t>(size));
    }
    ~Reader() { rtFreeContext(this); }
};

void agrees_with_openssl(const std::uint8_t* data, std::size_t size, std::uint32_t tag, int length,
                         std::uint32_t header) {
    const unsigned char* at = data;
    long their_length = 0;
    int number = 0;
    int their_class = 0;
    const int flags =
        ASN1_get_object(&at, &their_length, &number, &their_class, static_cast<long>(size));
    if ((flags & 0x80) != 0) {
        return;
    }
    require(static_cast<std::uint32_t>(number) == (tag & rtTagNumberMask));
    require((static_cast<std::uint32_t>(their_class) & 0xC0) == (tag >> 24 & 0xC0));
    require(((flags & V_ASN1_CONSTRUCTED) != 0) == ((tag & rtTagConstructed) != 0));
    require((flags & 1) != 0 ? length == rtIndefiniteLength : length == their_length);
    require(static_cast<std::uint32_t>(at - data) == header);
}

void survives_rewriting(std::uint32_t tag, int length) {
    ASN1CTXT ctxt;
    rtInitContext(&ctxt, nullptr);
    xe_setp(&ctxt, nullptr, 64);
    xe_tag_len(&ctxt, tag, length);
    const unsigned char* header = xe_getp(&ctxt);
    Reader again(header, 63U - static_cast<std::uint32_t>(header - ctxt.bufData));
    again.flags = ctxFlagNoLengthCheck;
    std::uint32_t tag_again = 0;
    int length_again = 0;
    require(xd_tag_len(&again, &tag_again, &length_again, xdAdvance) == 0);
    require(tag_again == tag && length_again == length);
    require(again.bufIndex == again.bufSize);
    rtFreeContext(&ctxt);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 65536) {
        return 0;
    }
    std::uint32_t tag = 0;
    int length = 0;
    Reader ctxt(data, size);
    if (xd_tag_len(&ctxt, &tag, &length, xdAdvance) == 0) {
        agrees_with_openssl(data, size, tag, length, ctxt.bufIndex);
        survives_rewriting(tag, length);
    }
    require(ctxt.bufIndex <= size);
    const int status = xd_setp(&ctxt, data, static_cast<int>(size), &tag, &length);
    require(ctxt.bufSize <= size && ctxt.bufIndex <= ctxt.bufSize);
    if (status == 0 && length == rtIndefiniteLength) {
        const int whole = xd_indeflen_ex(data, static_cast<int>(size));
        require(whole <= static_cast<int>(size));
        require((xd_NextElement(&ctxt) == 0) == (whole > 0) || size < 5);
    }
    for (const int options : {0, 1, 2, 3, 8, 9, 10, 11}) {
        rtInitContextBuffer(&ctxt, data, static_cast<std::uint32_t>(size));
        for (int i = 0; i < 4 && xd_match(&ctxt, data[size - 1], &length, options) == 0; ++i) {
            require(ctxt.bufIndex <= size);
        }
        require(ctxt.bufIndex <= size);
    }
    rtInitContextBuffer(&ctxt, data, static_cast<std::uint32_t>(size));
    std::uint32_t count = 0;
    if (xd_count(&ctxt, static_cast<int>(size), &count) == 0) {
        require(ctxt.bufIndex == 0 && count <= size / 2);
    }
    rtInitContextBuffer(&ctxt, data, static_cast<std::uint32_t>(size));
    int contents = 0;
    if (xd_consStrIndefLenAndSize(&ctxt, 0x20000004, &contents, &length) == 0) {
        require(contents <= length && length <= static_cast<int>(size));
    }
    return 0;
}
