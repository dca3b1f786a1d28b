// Deep copies of the plain value records.
#include <chronoseal/asn1rt/copy.h>

#include <cstring>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/error.h>
#include <chronoseal/asn1rt/open_type_node.h>
#include <chronoseal/asn1rt/status.h>

namespace {

// A copy of `size` bytes on the type heap; false, with -12 latched, without memory. No bytes are a
// null pointer.
bool copy_block(ASN1CTXT* ctxt, const void* source, std::uint64_t size, const void** target) {
    *target = nullptr;
    if (size == 0) {
        return true;
    }
    if (source == nullptr) {
        rtErrSetData(&ctxt->errInfo, rtStatusInvalidArgument);
        return false;
    }
    void* block = asn1rt::alloc_latched<unsigned char>(ctxt, size);
    if (block == nullptr) {
        return false;
    }
    std::memcpy(block, source, size);
    *target = block;
    return true;
}

// A record of `count` units whose data takes `size` bytes.
template <typename Record, typename Count>
int copy_record(ASN1CTXT* ctxt, const Record* source, Record* target, Count Record::*count,
                std::uint64_t size) {
    const void* data;
    const bool copied = copy_block(ctxt, source->data, size, &data);
    target->data = static_cast<decltype(target->data)>(data);
    target->*count = copied ? source->*count : 0;
    return copied ? 1 : 0;
}

std::uint64_t bytes_of_bits(std::uint32_t numbits) {
    return (std::uint64_t{numbits} + 7) / 8;
}

} // namespace

int rtCopyCharStr(ASN1CTXT* ctxt, const char* source, const char** target) {
    if (source == nullptr || target == nullptr) {
        return 0;
    }
    const std::size_t size = std::strlen(source) + 1;
    char* copy = asn1rt::alloc<char>(ctxt, size);
    if (copy == nullptr) {
        return 0;
    }
    *target = static_cast<const char*>(std::memcpy(copy, source, size));
    return 1;
}

int rtCopyDynOctStr(ASN1CTXT* ctxt, const ASN1TDynOctStr* source, ASN1TDynOctStr* target) {
    return copy_record(ctxt, source, target, &ASN1TDynOctStr::numocts, source->numocts);
}

int rtCopyDynBitStr(ASN1CTXT* ctxt, const ASN1TDynBitStr* source, ASN1TDynBitStr* target) {
    return copy_record(ctxt, source, target, &ASN1TDynBitStr::numbits,
                       bytes_of_bits(source->numbits));
}

int rtCopyOpenType(ASN1CTXT* ctxt, const ASN1TOpenType* source, ASN1TOpenType* target) {
    return copy_record(ctxt, source, target, &ASN1TOpenType::numocts, source->numocts);
}

int rtCopy16BitCharStr(ASN1CTXT* ctxt, const ASN1TBMPText* source, ASN1TBMPText* target) {
    return copy_record(ctxt, source, target, &ASN1TBMPText::nchars,
                       std::uint64_t{source->nchars} * sizeof(std::uint16_t));
}

int rtCopy32BitCharStr(ASN1CTXT* ctxt, const ASN1TUniversalText* source,
                       ASN1TUniversalText* target) {
    return copy_record(ctxt, source, target, &ASN1TUniversalText::nchars,
                       std::uint64_t{source->nchars} * sizeof(std::uint32_t));
}

int rtCopyOctStr(ASN1CTXT*, std::uint32_t numocts, const unsigned char* source,
                 std::uint32_t* targetCount, unsigned char* target) {
    if (source == nullptr || targetCount == nullptr || target == nullptr || numocts == 0) {
        return 0;
    }
    std::memcpy(target, source, numocts);
    *targetCount = numocts;
    return 1;
}

int rtCopyBitStr(ASN1CTXT*, std::uint32_t numbits, const unsigned char* source,
                 std::uint32_t* targetCount, unsigned char* target) {
    if (source == nullptr || targetCount == nullptr || target == nullptr || numbits == 0) {
        return 0;
    }
    std::memcpy(target, source, bytes_of_bits(numbits));
    *targetCount = numbits;
    return 1;
}

int rtCopyOID(ASN1CTXT*, const ASN1OBJID* source, ASN1OBJID* target) {
    if (source == nullptr || target == nullptr) {
        return 0;
    }
    if (source != target) {
        rtSetOID(target, source);
    }
    return 1;
}

int rtCopyOpenTypeExt(ASN1CTXT* ctxt, const rtDList* source, rtDList* target) {
    if (source == nullptr || target == nullptr) {
        return 0;
    }
    rtDListInit(target);
    for (const rtDListNode* node = source->head; node != nullptr; node = node->next) {
        const auto* element = static_cast<const ASN1TOpenType*>(node->data);
        if (element == nullptr) {
            continue;
        }
        ASN1TOpenType* copy = asn1rt::new_list_element(ctxt);
        if (copy == nullptr) {
            rtErrSetData(&ctxt->errInfo, rtStatusNoMemory);
            return 0;
        }
        if (rtCopyOpenType(ctxt, element, copy) == 0) {
            return 0;
        }
        rtDListAppendNode(ctxt, target, copy);
    }
    return 1;
}
