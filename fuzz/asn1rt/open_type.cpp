// Open types over any bytes: what is gathered are the bytes of the message, in their order; written
// again it is the same message; and so is a copy of it.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include <chronoseal/asn1rt/copy.h>
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/encode.h>

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

struct Context : ASN1CTXT {
    Context() { rtInitContext(this, nullptr); }
    ~Context() { rtFreeContext(this); }
};

// Joins the elements; the length, and whether each stands in `data` where the one before it ends.
std::size_t joined(const rtDList& list, const std::uint8_t* data, std::size_t size) {
    std::size_t offset = 0;
    for (const rtDListNode* node = list.head; node != nullptr; node = node->next) {
        const auto* element = static_cast<const ASN1TOpenType*>(node->data);
        require(offset + element->numocts <= size);
        require(element->numocts == 0 ||
                std::memcmp(element->data, data + offset, element->numocts) == 0);
        offset += element->numocts;
    }
    return offset;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 65536) {
        return 0;
    }
    for (const std::uint16_t flags : {std::uint16_t{0}, ctxFlagNoCopy}) {
        Context ctxt;
        rtInitContextBuffer(&ctxt, data, static_cast<std::uint32_t>(size));
        ctxt.flags = flags;
        rtDList list{};
        const ElementLocation all = rtContentLocation(&ctxt, static_cast<int>(size));
        const int status = xd_OpenTypeExt(&ctxt, &all, 0xFFFFFFFF, &list);
        require(ctxt.bufIndex <= size);
        const std::size_t length = joined(list, data, size);
        rtDList copy{};
        require(rtCopyOpenTypeExt(&ctxt, &list, &copy) == 1);
        require(joined(copy, data, size) == length && copy.count == list.count);
        Context out;
        xe_setp(&out, nullptr, 0);
        const int written = xe_OpenTypeExt(&out, &list);
        // Only what ends with the message, without its own end, is kept as it is and not written
        // again.
        if (written >= 0) {
            require(static_cast<std::size_t>(written) == length &&
                    std::memcmp(xe_getp(&out), data, length) == 0);
        } else {
            require(status != 0 || written == -2);
        }
        rtMemFreeOpenSeqExt(&ctxt, &copy);
        require(copy.count == 0);
        rtDList known{};
        rtInitContextBuffer(&ctxt, data, static_cast<std::uint32_t>(size));
        ctxt.flags = flags;
        xd_OpenTypeExt(&ctxt, &all, data[size - 1], &known);
        require(ctxt.bufIndex <= size);
        joined(known, data, size);
    }
    return 0;
}
