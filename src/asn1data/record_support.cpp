// The shared part of the generated codecs.
#include <chronoseal/asn1data/record_support.h>

#include <cstring>

namespace asn1data {
namespace {

[[noreturn]] void throw_no_memory() {
    throw ASN1MessageBuffer::RTLError(rtStatusNoMemory);
}

void* or_throw(void* block) {
    if (block == nullptr) {
        throw_no_memory();
    }
    return block;
}

void or_throw(int copied) {
    if (copied == 0) {
        throw_no_memory();
    }
}

// Where the contents of an element start, and their length. Its header has been read before.
ElementLocation contents_at(const ASN1CTXT& ctx, std::uint32_t at) {
    const unsigned char* const bytes = ctx.bufData;
    if ((bytes[at++] & 0x1F) == 0x1F) {
        while ((bytes[at++] & 0x80) != 0) {
        }
    }
    const unsigned char first = bytes[at++];
    if (first == 0x80) {
        return {at, rtIndefiniteLength};
    }
    std::uint32_t length = first;
    if (first > 0x80) {
        const std::uint32_t behind = at + (first & 0x7F);
        for (length = 0; at != behind; ++at) {
            length = length << 8 | bytes[at];
        }
    }
    return {at, static_cast<std::int32_t>(length)};
}

} // namespace

int violated(ASN1CTXT* ctx, const char* path, std::int64_t value) {
    rtErrAddStrParm(&ctx->errInfo, path);
    rtErrAddIntParm(&ctx->errInfo, static_cast<int>(value));
    return rtErrSetData(&ctx->errInfo, rtStatusConstraintViolation);
}

int sealed(ASN1CTXT* ctx, ASN1TagType tagging, std::uint32_t tag, int length) {
    if (tagging == noTag) {
        return length;
    }
    const int total = xe_tag_len(ctx, tag, length);
    return total < 0 ? failed(ctx, total) : total;
}

int finished(ASN1CTXT* ctx, const ElementLocation& contents) {
    return rtContentEnded(ctx, &contents) ? 0 : failed(ctx, rtStatusTooManyElements);
}

bool isAbsent(ASN1CTXT* ctx, int status, std::uint32_t start) {
    if (status != rtStatusTagNotFound) {
        return false;
    }
    rtErrReset(&ctx->errInfo);
    ctx->bufIndex = start;
    return true;
}

int enter(ASN1CTXT* ctx, int* length) {
    return xd_Tag1AndLen(ctx, length);
}

int enter(ASN1CTXT* ctx, std::uint32_t tag, int* length) {
    const std::uint32_t number = tag & rtTagNumberMask;
    if (number >= 31) {
        return xd_match(ctx, tag, length, xdAdvance);
    }
    return xd_match1(ctx, static_cast<unsigned char>((tag >> 24) | number), length);
}

int ElementEnd::after(int status) const {
    if (status != 0) {
        return status;
    }
    const ElementLocation contents =
        whole_ ? contents_at(*ctx_, start_) : ElementLocation{start_, length_};
    if (contents.length == rtIndefiniteLength) {
        return xd_matchEoc(ctx_);
    }
    const std::int64_t read = std::int64_t{ctx_->bufIndex} - contents.start;
    return read == contents.length ? 0 : failed(ctx_, rtStatusInvalidLength);
}

SortedElements::SortedElements(ASN1CTXT* ctx) : ctx_(ctx) {
    rtSListInitEx(ctx, &list_);
}

// Most sets have one element, and one element is in order.
void SortedElements::add(int length) {
    BufLocDescr descriptor;
    xe_getBufLocDescr(ctx_, static_cast<std::uint32_t>(length), &descriptor);
    if (count_++ == 0) {
        first_ = descriptor;
        return;
    }
    if (count_ == 2) {
        append(first_);
    }
    append(descriptor);
}

void SortedElements::append(const BufLocDescr& descriptor) {
    auto* block =
        static_cast<BufLocDescr*>(or_throw(rtMemHeapAlloc(&ctx_->typeHeap, sizeof(BufLocDescr))));
    *block = descriptor;
    or_throw(static_cast<void*>(rtSListAppend(&list_, block)));
}

int SortedElements::sort() {
    return count_ > 1 ? xe_derCanonicalSort(ctx_, &list_) : static_cast<int>(first_.numocts);
}

void* zeroedArray(ASN1CTXT* ctx, std::uint32_t count, std::size_t size) {
    if (count > static_cast<std::size_t>(rtMaxBlockSize) / size) {
        return nullptr;
    }
    return zeroedBlock(ctx, count * size);
}

void* requiredArray(ASN1CTXT* ctx, std::uint32_t count, std::size_t size) {
    return or_throw(zeroedArray(ctx, count, size));
}

void* listElement(ASN1CTXT* ctx, std::size_t size) {
    void* node = zeroedBlock(ctx, sizeof(rtDListNode) + size);
    return node == nullptr ? nullptr : static_cast<rtDListNode*>(node) + 1;
}

void* appendedElement(ASN1CTXT* ctx, rtDList* list, std::size_t size) {
    void* element = or_throw(listElement(ctx, size));
    rtDListAppendNode(ctx, list, element);
    return element;
}

void copyValue(ASN1CTXT* ctx, const char* source, const char** target) {
    *target = nullptr;
    if (source != nullptr) {
        or_throw(rtCopyCharStr(ctx, source, target));
    }
}

void copyValue(ASN1CTXT* ctx, const ASN1TDynOctStr* source, ASN1TDynOctStr* target) {
    or_throw(rtCopyDynOctStr(ctx, source, target));
}

void copyValue(ASN1CTXT* ctx, const ASN1TDynBitStr* source, ASN1TDynBitStr* target) {
    or_throw(rtCopyDynBitStr(ctx, source, target));
}

void copyValue(ASN1CTXT* ctx, const ASN1TOpenType* source, ASN1TOpenType* target) {
    or_throw(rtCopyOpenType(ctx, source, target));
}

void copyValue(ASN1CTXT* ctx, const ASN1TBMPText* source, ASN1TBMPText* target) {
    or_throw(rtCopy16BitCharStr(ctx, source, target));
}

void copyValue(ASN1CTXT* ctx, const ASN1TUniversalText* source, ASN1TUniversalText* target) {
    or_throw(rtCopy32BitCharStr(ctx, source, target));
}

void copyValue(ASN1CTXT* ctx, const Asn1TObject* source, Asn1TObject* target) {
    or_throw(rtCopyOpenType(ctx, source, target));
    target->decoded = nullptr;
}

void copyValue(ASN1CTXT* ctx, const ASN1TSeqOfList* source, ASN1TSeqOfList* target) {
    or_throw(rtCopyOpenTypeExt(ctx, source, target));
}

int decodeOpen(ASN1CTXT* ctx, ASN1TOpenType* value) {
    value->numocts = 0;
    value->data = nullptr;
    const std::uint32_t start = ctx->bufIndex;
    const int stat = xd_OpenType(ctx, &value->data, &value->numocts);
    return stat == 0 && ctx->bufIndex == start ? rtStatusEndOfBuffer : stat;
}

int decodeOpen(ASN1CTXT* ctx, Asn1TObject* value) {
    value->decoded = nullptr;
    return decodeOpen(ctx, static_cast<ASN1TOpenType*>(value));
}

int decodeOpen(ASN1CTXT* ctx, std::uint32_t tag, ASN1TOpenType* value) {
    const std::uint32_t start = ctx->bufIndex;
    int length = 0;
    const int stat = enter(ctx, tag, &length);
    ctx->bufIndex = start;
    return stat != 0 ? stat : decodeOpen(ctx, value);
}

bool enterOpenValue(ASN1CTXT* ctx, const Asn1TObject& value) {
    if (value.numocts == 0 || value.data == nullptr) {
        return false;
    }
    // A damaged header shows in the decoder of the type.
    xd_setp(ctx, value.data, static_cast<int>(value.numocts), nullptr, nullptr);
    return true;
}

int keepEncoded(ASN1CTXT* ctx, Asn1TObject& value, int length) {
    if (length <= 0) {
        return length;
    }
    const auto size = static_cast<std::uint32_t>(length);
    const unsigned char* written = xe_getp(ctx);
    if (value.data != nullptr && value.numocts == size &&
        std::memcmp(value.data, written, size) == 0) {
        return length;
    }
    auto* copy = static_cast<unsigned char*>(rtMemHeapAlloc(&ctx->msgHeap, length));
    if (copy == nullptr) {
        return failed(ctx, rtStatusNoMemory);
    }
    std::memcpy(copy, written, size);
    value.numocts = size;
    value.data = copy;
    return length;
}

int ScratchBuffer::start() {
    if (prepared_) {
        ctx_->bufIndex = ctx_->bufSize - 1;
        return 0;
    }
    const int stat = xe_setp(ctx_, nullptr, 0);
    prepared_ = stat == 0;
    return stat;
}

ScratchBuffer::~ScratchBuffer() {
    if (prepared_) {
        xe_free(ctx_);
    }
}

} // namespace asn1data
