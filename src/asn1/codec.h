// From a value to its DER and back through a traits class: the templates under every `encode` and
// `decode` of the value layer.
//
// A traits class has no state. It names its schema record `ASN1_T` and has static functions:
//   set(ASN1CTXT*, ASN1_T&, const Value&)     fills the record; what it points to is made on the
//                                             context's heap
//   get(const ASN1_T&, Value&)                replaces the value; nothing of it points into the
//                                             record
//   copy(ASN1CTXT*, const ASN1_T&, ASN1_T&)   deep copy onto the context's heap
//   encode(ASN1BEREncodeBuffer&, ASN1_T&)     length or negative status
//   decode(ASN1BERDecodeBuffer&, ASN1_T&)     0 or negative status
// The last three mostly come from RecordTraits (record_traits.h). Each call here makes its own
// buffers and contexts, so calls on different values need no lock. All failures are CAtlException:
// 0x80093101 if the run-time refused, 0x80093106 without memory, and what `set` and `get` throw.
#pragma once

#include <limits>

#include <chronoseal/asn1/failure.h>
#include <chronoseal/asn1rt/runtime.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

// A context on the stack that is freed with its scope.
class ctxt_handle {
public:
    ctxt_handle() = default;
    ctxt_handle(const ctxt_handle&) = delete;
    ctxt_handle& operator=(const ctxt_handle&) = delete;
    ~ctxt_handle() { release(); }

    // True on success. The context has no buffer yet.
    bool init() { return rtInitContext(&ctxt_, nullptr) == 0; }
    void release() { rtFreeContext(&ctxt_); }
    ASN1CTXT* get() { return &ctxt_; }

private:
    ASN1CTXT ctxt_{};
};

// The codec of the record `T` through its control class `C`. The results are those of the run-time,
// what it throws included: a length above 0 or 0 on success, a negative status otherwise.
template <class T, class C>
struct CCodeClassT {
    using ASN1_T = T;

    static int encode(ASN1BEREncodeBuffer& buffer, T& record) {
        try {
            C control(buffer, record);
            return control.EncodeTo(buffer);
        } catch (const ASN1MessageBuffer::RTLError& error) {
            return error.getStatus();
        }
    }

    static int decode(ASN1BERDecodeBuffer& buffer, T& record) {
        try {
            C control(buffer, record);
            return control.DecodeFrom(buffer);
        } catch (const ASN1MessageBuffer::RTLError& error) {
            return error.getStatus();
        }
    }
};

// The message that `buffer` holds after an encoder gave `length`.
inline CBlob encoded_message(ASN1BEREncodeBuffer& buffer, int length) {
    if (length < 0) {
        fail_codec();
    }
    return CBlob(buffer.getMsgPtr(), static_cast<unsigned long>(length));
}

// A decode buffer reads the blob in place.
inline int message_length(const CBlob& der) {
    if (der.cbData() > static_cast<unsigned long>(std::numeric_limits<int>::max())) {
        fail_codec();
    }
    return static_cast<int>(der.cbData());
}

template <class Traits, class Value>
CBlob asn1Encode(const Value& value) {
    return with_result_codes([&] {
        ASN1BEREncodeBuffer buffer;
        ASN1BERDecodeBuffer scratch;
        typename Traits::ASN1_T record{};
        Traits::set(scratch.getCtxtPtr(), record, value);
        return encoded_message(buffer, Traits::encode(buffer, record));
    });
}

// Bytes behind the first complete element aren't looked at. If the decoder refuses, the value stays
// as it was; if `get` fails it may be half replaced.
template <class Traits, class Value>
void asn1Decode(const CBlob& der, Value& value) {
    with_result_codes([&] {
        ASN1BERDecodeBuffer buffer(der.pbData(), message_length(der));
        typename Traits::ASN1_T record{};
        if (Traits::decode(buffer, record) < 0) {
            fail_codec();
        }
        Traits::get(record, value);
    });
}

// The DER of a record.
template <class Traits>
CBlob asn1EncodeT(const typename Traits::ASN1_T& record) {
    return with_result_codes([&] {
        ASN1BEREncodeBuffer buffer;
        typename Traits::ASN1_T local{};
        Traits::copy(buffer.getCtxtPtr(), record, local);
        return encoded_message(buffer, Traits::encode(buffer, local));
    });
}

// A record from DER, with all its data on the heap of `ctxt`.
template <class Traits>
void asn1DecodeT(const CBlob& der, ASN1CTXT* ctxt, typename Traits::ASN1_T& record) {
    with_result_codes([&] {
        ASN1BERDecodeBuffer buffer(der.pbData(), message_length(der));
        typename Traits::ASN1_T local{};
        if (Traits::decode(buffer, local) < 0) {
            fail_codec();
        }
        Traits::copy(ctxt, local, record);
    });
}

} // namespace Halcyon::ASN1
