// From a value to its DER and back through a traits class: the templates under every `encode` and
// `decode` of the value layer.
//
// A traits class has no state. It names its schema record `ASN1_T` and has static functions:
//   set(ASN1CTXT*, ASN1_T&, Value const&)          fills the record; what it points to is made on
//   the context's heap get(ASN1_T const&, Value&)                     replaces the value; nothing
//   of it points into the record copy(ASN1CTXT*, ASN1_T const&, ASN1_T&)        deep copy onto the
//   context's heap encode(ASN1BEREncodeBuffer&, ASN1_T&)          length or negative status
//   decode(ASN1BERDecodeBuffer&, ASN1_T&)          0 or negative status
// The last two mostly come from CCodeClassT. Each call here makes its own buffers and contexts, so
// calls on different values need no lock. All failures are CAtlException: 0x80093101 if the
// run-time refused, 0x80093106 without memory, and what `set` and `get` throw.
#pragma once

#include <limits>

#include "asn1/failure.h"
#include "base/blob.h"

namespace Halcyon::ASN1 {

// The message that `buffer` holds after an encoder gave `length`.
inline CBlob encodedMessage(ASN1BEREncodeBuffer& buffer, int length) {
    if (length < 0)
        failCodec();
    return CBlob(buffer.getMsgPtr(), static_cast<unsigned long>(length));
}

// A decode buffer reads the blob in place.
inline int messageLength(const CBlob& der) {
    if (der.cbData() > static_cast<unsigned long>(std::numeric_limits<int>::max()))
        failCodec();
    return static_cast<int>(der.cbData());
}

template <class Traits, class Value>
CBlob asn1Encode(const Value& value) {
    return withResultCodes([&] {
        ASN1BEREncodeBuffer buffer;
        ASN1BERDecodeBuffer scratch;
        typename Traits::ASN1_T record{};
        Traits::set(scratch.getCtxtPtr(), record, value);
        return encodedMessage(buffer, Traits::encode(buffer, record));
    });
}

// Bytes behind the first complete element aren't looked at. If the decoder refuses, the value stays
// as it was; if `get` fails it may be half replaced.
template <class Traits, class Value>
void asn1Decode(const CBlob& der, Value& value) {
    withResultCodes([&] {
        ASN1BERDecodeBuffer buffer(der.pbData(), messageLength(der));
        typename Traits::ASN1_T record{};
        if (Traits::decode(buffer, record) < 0)
            failCodec();
        Traits::get(record, value);
    });
}

// The DER of a record.
template <class Traits>
CBlob asn1EncodeT(const typename Traits::ASN1_T& record) {
    return withResultCodes([&] {
        ASN1BEREncodeBuffer buffer;
        typename Traits::ASN1_T local{};
        Traits::copy(buffer.getCtxtPtr(), record, local);
        return encodedMessage(buffer, Traits::encode(buffer, local));
    });
}

// A record from DER, with all its data on the heap of `ctxt`.
template <class Traits>
void asn1DecodeT(const CBlob& der, ASN1CTXT* ctxt, typename Traits::ASN1_T& record) {
    withResultCodes([&] {
        ASN1BERDecodeBuffer buffer(der.pbData(), messageLength(der));
        typename Traits::ASN1_T local{};
        if (Traits::decode(buffer, local) < 0)
            failCodec();
        Traits::copy(ctxt, local, record);
    });
}

} // namespace Halcyon::ASN1
