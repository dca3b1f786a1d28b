// Readers of open types: whole elements, kept as bytes.
#include <cstring>

#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/open_type_node.h>
#include <chronoseal/asn1rt/reader.h>

namespace {

using asn1rt::latch;

constexpr std::uint32_t kNoNextTag = 0xFFFFFFFF;

// Steps over one element. `measured` tells whether its size is known by then, be it with a failure.
int pass_element(ASN1CTXT* ctxt, bool* measured) {
    std::uint32_t tag;
    int length;
    const int status = xd_tag_len(ctxt, &tag, &length, xdAdvance);
    *measured = status == rtStatusOk;
    if (status != rtStatusOk) {
        return status;
    }
    if (length == rtIndefiniteLength) {
        return xd_MovePastEOC(ctxt);
    }
    const bool end_of_contents = length == 0 && tag == 0;
    return asn1rt::skip(ctxt, static_cast<std::uint32_t>(length)) && !end_of_contents
               ? rtStatusOk
               : rtStatusInvalidArgument;
}

int append_element(ASN1CTXT* ctxt, rtDList* list) {
    ASN1TOpenType* element = asn1rt::new_list_element(ctxt);
    if (element == nullptr) {
        return rtStatusNoMemory;
    }
    const int status = xd_OpenType(ctxt, &element->data, &element->numocts);
    if (status == rtStatusOk) {
        rtDListAppendNode(ctxt, list, element);
    }
    return status;
}

} // namespace

int xd_OpenType(ASN1CTXT* ctxt, const unsigned char** data, std::uint32_t* numocts) {
    const std::uint32_t start = ctxt->bufIndex;
    *numocts = 0;
    bool measured;
    const int status = pass_element(ctxt, &measured);
    if (!measured && status == rtStatusInvalidLength) {
        return status;
    }
    if (measured) {
        *numocts = ctxt->bufIndex - start;
    }
    if ((ctxt->flags & ctxFlagNoCopy) != 0) {
        *data = ctxt->bufData + start;
    } else {
        auto* copy = asn1rt::alloc<unsigned char>(ctxt, *numocts);
        if (copy == nullptr) {
            *numocts = 0;
            return rtStatusNoMemory;
        }
        if (*numocts != 0) {
            std::memcpy(copy, ctxt->bufData + start, *numocts);
        }
        *data = copy;
    }
    return status == rtStatusEndOfBuffer ? rtStatusOk : status;
}

int xd_OpenTypeAppend(ASN1CTXT* ctxt, rtDList* list) {
    const int status = list == nullptr ? xd_NextElement(ctxt) : append_element(ctxt, list);
    return status == rtStatusOk ? rtStatusOk : latch(ctxt, status);
}

int xd_OpenTypeExt(ASN1CTXT* ctxt, const ElementLocation* location, std::uint32_t nextTag,
                   rtDList* list) {
    for (;;) {
        if (nextTag != kNoNextTag) {
            const int status = xd_match(ctxt, nextTag, nullptr, 0);
            if (status != rtStatusTagNotFound) {
                return status;
            }
        }
        if (rtContentEnded(ctxt, location)) {
            return nextTag == kNoNextTag ? rtStatusOk : latch(ctxt, rtStatusEndOfBuffer);
        }
        const std::uint32_t before = ctxt->bufIndex;
        const int status = xd_OpenTypeAppend(ctxt, list);
        if (status != rtStatusOk) {
            return status;
        }
        // What was taken for an element without being one must not be met again.
        if (ctxt->bufIndex == before) {
            return latch(ctxt, rtStatusEndOfBuffer);
        }
    }
}
