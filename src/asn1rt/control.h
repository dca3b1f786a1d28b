// ASN1CType, the base of control objects: it binds a value record to a message buffer, and offers
// encode and decode as calls without arguments.
#pragma once

#include <chronoseal/asn1rt/counted_context.h>
#include <chronoseal/asn1rt/message_buffer.h>
#include <chronoseal/visibility.h>

// The order of the virtual operations is given.
class CHRONOSEAL_API ASN1CType {
public:
    // Without a buffer, and with a context of its own. Throws ASN1MessageBuffer::RTLError.
    ASN1CType();
    // On the buffer and its context.
    explicit ASN1CType(ASN1MessageBufferIF& buffer);
    // Without a buffer, on a context from `new`.
    explicit ASN1CType(ASN1Context& sharedContext);
    // Shares the other's context and buffer.
    ASN1CType(const ASN1CType& other) = default;
    ASN1CType& operator=(const ASN1CType& other) = default;
    virtual ~ASN1CType();

    // EncodeTo and DecodeFrom on the bound buffer: a length or 0, or a negative status, that of a
    // thrown ASN1MessageBuffer::RTLError included. Without a buffer -99.
    virtual int Encode();
    virtual int Decode();
    // The base does nothing and answers 0.
    virtual int EncodeTo(ASN1MessageBufferIF& buffer);
    virtual int DecodeFrom(ASN1MessageBufferIF& buffer);

    // Binds another buffer, whose context's type heap the own context shares from now on.
    void setMsgBuf(ASN1MessageBufferIF& buffer);

    ASN1CTXT* getCtxtPtr() const { return context.get(); }
    ASN1CtxtPtr getContext() const { return context; }

protected:
    ASN1CtxtPtr context;
    ASN1MessageBufferIF* msgBuf = nullptr;
};
