// Writers of open types.
#include <climits>

#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/error.h>
#include <chronoseal/asn1rt/reader.h>

namespace {

// The size of the element at the front of the bytes, or a negative status. It takes a bare record
// for a context, since reading a header needs no heap.
int element_size(const unsigned char* data, std::uint32_t numocts) {
    ASN1CTXT header{};
    header.initCode = rtContextAlive;
    std::uint32_t tag = 0;
    int size = 0;
    const int status = xd_setp(&header, data, static_cast<int>(numocts), &tag, &size);
    if (status != rtStatusOk) {
        return status;
    }
    if (size == rtIndefiniteLength) {
        return asn1rt::indefinite_size(data, numocts);
    }
    const bool end_of_contents = tag == 0 && size == 2;
    return end_of_contents ? rtStatusInvalidArgument : size;
}

} // namespace

int xe_OpenType(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t numocts) {
    if (numocts == 0) {
        return 0;
    }
    if (data == nullptr) {
        return rtStatusInvalidArgument;
    }
    if (numocts > INT_MAX) {
        return rtStatusInvalidLength;
    }
    const int size = element_size(data, numocts);
    if (size < 0 || data == xe_getp(ctxt)) {
        return size;
    }
    return xe_memcpy(ctxt, data, size);
}

int xe_OpenTypeExt(ASN1CTXT* ctxt, const rtDList* list) {
    if (list == nullptr) {
        return 0;
    }
    int sum = 0;
    for (const rtDListNode* node = list->tail; node != nullptr; node = node->prev) {
        const auto* element = static_cast<const ASN1TOpenType*>(node->data);
        if (element == nullptr) {
            continue;
        }
        const int length = xe_OpenType(ctxt, element->data, element->numocts);
        if (length < 0) {
            return rtErrSetData(&ctxt->errInfo, length);
        }
        sum += length;
    }
    return sum;
}
