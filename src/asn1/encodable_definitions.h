// The functions of Encodable, for the sources that instantiate it beside their traits. Elsewhere
// they would be instantiated by whoever calls them, without the traits.
#pragma once

#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1/encodable.h>

namespace Halcyon::ASN1 {

template <class Value, class Traits>
CBlob Encodable<Value, Traits>::encode() const {
    return asn1Encode<Traits, Value>(static_cast<const Value&>(*this));
}

template <class Value, class Traits>
void Encodable<Value, Traits>::decode(const CBlob& der) {
    asn1Decode<Traits, Value>(der, static_cast<Value&>(*this));
}

} // namespace Halcyon::ASN1
