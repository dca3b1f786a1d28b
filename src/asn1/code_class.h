// CCodeClassT: encodes and decodes a schema record through its control class.
#pragma once

#include "asn1rt/runtime.h"

namespace Halcyon::ASN1 {

// `T` is the record, `C` its control class. The results are those of the run-time, what it throws
// included: a length above 0 or 0 on success, a negative status otherwise.
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

} // namespace Halcyon::ASN1
