// What all generated codecs share: how a failure is reported, a block allocated, a value copied, an
// open value coded. Statuses and lengths are the run-time's. Functions without a status throw
// ASN1MessageBuffer::RTLError with -12 when memory is gone.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>

#include <chronoseal/asn1data/object_support.h>
#include <chronoseal/asn1data/record_memory.h>
#include <chronoseal/asn1rt/runtime.h>

namespace asn1data {

// Values of ASN1TagType.
inline constexpr ASN1TagType ownTag = 1; // the type's own tag and length are written, or matched
inline constexpr ASN1TagType noTag = 0;  // contents only

// Encoding and decoding.

/// Latches the status and answers it.
inline int failed(ASN1CTXT* ctx, int status) {
    return rtErrSetData(&ctx->errInfo, status);
}

/// A constraint is violated by the value at `path`: -23, latched.
int violated(ASN1CTXT* ctx, const char* path, std::int64_t value);
template <std::unsigned_integral Size>
int violated(ASN1CTXT* ctx, const char* path, Size size) {
    return violated(ctx, path, static_cast<std::int64_t>(size));
}

/// Puts the tag and the length around `length` bytes of contents if tagging asks for it.
int sealed(ASN1CTXT* ctx, ASN1TagType tagging, std::uint32_t tag, int length);

/// 0 when the contents have ended, as they must behind the last known element; otherwise -10.
int finished(ASN1CTXT* ctx, const ElementLocation& contents);

/// True when an OPTIONAL element's decoder found another tag. The status is forgotten, and the
/// cursor goes back to `start`.
bool isAbsent(ASN1CTXT* ctx, int status, std::uint32_t start);

/// Tag and length in front of an element with a tag of its own: reads the tag, of which the caller
/// knows that it is one byte and the right one.
int enter(ASN1CTXT* ctx, int* length);

/// Matches a tag in front of a mandatory element; -3 for another one.
int enter(ASN1CTXT* ctx, std::uint32_t tag, int* length);

/// What an element has to end with: `ElementEnd(ctx).after(asn1D_X(...))` around the decoder of a
/// whole element, or with the length that a header told around the decoder of its contents. Made
/// before the decoder runs.
class ElementEnd {
public:
    /// The element starts at the cursor.
    explicit ElementEnd(ASN1CTXT* ctx) : ctx_(ctx), start_(ctx->bufIndex), whole_(true) {}
    /// Its contents do.
    ElementEnd(ASN1CTXT* ctx, int length)
        : ctx_(ctx), start_(ctx->bufIndex), length_(length), whole_(false) {}

    /// A failure as it is. Otherwise 0 if an element of definite length has been read to its last
    /// byte and no further (-5, latched), or if the end-of-contents of an indefinite one follows,
    /// which is stepped over.
    int after(int status) const;

private:
    ASN1CTXT* ctx_;
    std::uint32_t start_;
    int length_ = 0;
    bool whole_;
};

inline int* asSigned(std::uint32_t* value) {
    return reinterpret_cast<int*>(value);
}

/// The elements of a SET OF while they are written one by one; sort() puts them in order.
class SortedElements {
public:
    explicit SortedElements(ASN1CTXT* ctx);
    /// The element of `length` bytes has just been written.
    void add(int length);
    /// The length of all, or a negative status.
    int sort();

private:
    void append(const BufLocDescr& descriptor);

    ASN1CTXT* ctx_;
    std::uint32_t count_ = 0;
    BufLocDescr first_{};
    rtSList list_;
};

/// Makes the message buffer's description what it was when the object goes.
class BufferKeeper {
public:
    explicit BufferKeeper(ASN1CTXT* ctx)
        : ctx_(ctx), data_(ctx->bufData), index_(ctx->bufIndex), size_(ctx->bufSize),
          bit_offset_(ctx->bufBitOffset), flags_(ctx->flags), dynamic_(ctx->bufDynamic) {}
    ~BufferKeeper() {
        ctx_->bufData = data_;
        ctx_->bufIndex = index_;
        ctx_->bufSize = size_;
        ctx_->bufBitOffset = bit_offset_;
        ctx_->flags = flags_;
        ctx_->bufDynamic = dynamic_;
    }
    BufferKeeper(const BufferKeeper&) = delete;
    BufferKeeper& operator=(const BufferKeeper&) = delete;

private:
    ASN1CTXT* ctx_;
    unsigned char* data_;
    std::uint32_t index_;
    std::uint32_t size_;
    std::uint16_t bit_offset_;
    std::uint16_t flags_;
    unsigned char dynamic_;
};

// Memory.

/// A zeroed array of `count` elements, at least a valid pointer for none; null also when the
/// product is too large.
void* zeroedArray(ASN1CTXT* ctx, std::uint32_t count, std::size_t size);
void* requiredArray(ASN1CTXT* ctx, std::uint32_t count, std::size_t size);

/// A zeroed element in one block with its list node, for rtDListAppendNode; null without memory.
void* listElement(ASN1CTXT* ctx, std::size_t size);
template <class T>
T* newElement(ASN1CTXT* ctx) {
    return static_cast<T*>(listElement(ctx, sizeof(T)));
}

/// The same, appended; throws.
void* appendedElement(ASN1CTXT* ctx, rtDList* list, std::size_t size);
template <class T>
T* appended(ASN1CTXT* ctx, rtDList* list) {
    return static_cast<T*>(appendedElement(ctx, list, sizeof(T)));
}

/// Frees the block at `pointer` and clears it. Under ctxFlagNoCopy it may be a place in the
/// message: then all that was decoded stays until the heap goes.
template <class T>
void release(ASN1CTXT* ctx, T*& pointer) {
    if ((ctx->flags & ctxFlagNoCopy) == 0 && rtMemHeapCheckPtr(&ctx->typeHeap, pointer)) {
        rtMemHeapFreePtr(&ctx->typeHeap, pointer);
    }
    pointer = nullptr;
}

/// Characters of a text that is measured for a constraint; none for null, which its encoder
/// refuses.
inline std::size_t textSize(const char* text) {
    return text == nullptr ? 0 : std::strlen(text);
}

// Copies onto the type heap; an empty source gives an empty target.

void copyValue(ASN1CTXT* ctx, const char* source, const char** target);
void copyValue(ASN1CTXT* ctx, const ASN1TDynOctStr* source, ASN1TDynOctStr* target);
void copyValue(ASN1CTXT* ctx, const ASN1TDynBitStr* source, ASN1TDynBitStr* target);
void copyValue(ASN1CTXT* ctx, const ASN1TOpenType* source, ASN1TOpenType* target);
void copyValue(ASN1CTXT* ctx, const ASN1TBMPText* source, ASN1TBMPText* target);
void copyValue(ASN1CTXT* ctx, const ASN1TUniversalText* source, ASN1TUniversalText* target);

/// The bytes only: what they were decoded to is for the set to copy.
void copyValue(ASN1CTXT* ctx, const Asn1TObject* source, Asn1TObject* target);
/// Extension elements.
void copyValue(ASN1CTXT* ctx, const ASN1TSeqOfList* source, ASN1TSeqOfList* target);

// Open values.

/// Reads one element as it is. An element without a byte is refused, so that a loop always gets on.
int decodeOpen(ASN1CTXT* ctx, ASN1TOpenType* value);
int decodeOpen(ASN1CTXT* ctx, Asn1TObject* value);
/// The same; -3 for an element with another tag.
int decodeOpen(ASN1CTXT* ctx, std::uint32_t tag, ASN1TOpenType* value);

/// Prepares the context for the raw bytes of an open value; false when it has none.
bool enterOpenValue(ASN1CTXT* ctx, const Asn1TObject& value);

/// The `length` bytes that have just been written become the value's raw form, unless they already
/// are. Answers `length`, a negative one or 0 at once, or -12, latched.
int keepEncoded(ASN1CTXT* ctx, Asn1TObject& value, int length);

/// A dynamic buffer of its own for the time in which open values are encoded apart from the
/// message; the context is as before when the object goes.
class ScratchBuffer {
public:
    explicit ScratchBuffer(ASN1CTXT* ctx) : ctx_(ctx), keeper_(ctx) {}
    ~ScratchBuffer();
    /// An empty buffer for the next value: 0 or a status.
    int start();

private:
    ASN1CTXT* ctx_;
    BufferKeeper keeper_;
    bool prepared_ = false;
};

} // namespace asn1data
