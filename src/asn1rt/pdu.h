// ASN1TPDU, the base of top-level value records: the reference to the context on whose heap the
// record's contents live. A record so stays valid when the buffer that it was decoded from is gone.
#pragma once

#include <chronoseal/asn1rt/counted_context.h>

struct ASN1TPDU {
    ASN1Context* context = nullptr; // null: the contents are not this record's to free

    ASN1TPDU() = default;
    ~ASN1TPDU() { setContext(nullptr); }
    // A copy of the members doesn't copy what they point at: the derived record says how it is
    // copied.
    ASN1TPDU(const ASN1TPDU&) = delete;
    ASN1TPDU& operator=(const ASN1TPDU&) = delete;

    // Takes a reference on the new context, which may be null, and drops the old one.
    void setContext(ASN1Context* new_context) {
        if (new_context != nullptr) {
            new_context->_ref();
        }
        if (context != nullptr) {
            context->_unref();
        }
        context = new_context;
    }
};
