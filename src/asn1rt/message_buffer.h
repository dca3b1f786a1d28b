// Message buffers: a context of their own and the message in it. What a control object reads from
// or writes to.
#pragma once

#include <chronoseal/asn1rt/counted_context.h>
#include <chronoseal/asn1rt/memory_buffer.h>
#include <chronoseal/asn1rt/rtl_exception.h>
#include <chronoseal/visibility.h>

// The order of the virtual operations is given.
class CHRONOSEAL_API ASN1MessageBufferIF {
public:
    enum Type { BEREncode = 0, BERDecode = 1 };

    virtual ~ASN1MessageBufferIF();
    // The context, with a reference added.
    virtual ASN1CtxtPtr getContext() = 0;
    virtual ASN1CTXT* getCtxtPtr() = 0;
    // A copy of the message for the caller to delete[], or null.
    virtual unsigned char* getMsgCopy() = 0;
    virtual const unsigned char* getMsgPtr() = 0;
    // Prepares for the next message.
    virtual void init() = 0;
    // The valid bytes of a memory buffer become the context's buffer. Status.
    virtual int initBuffer(ASN1MemBuf& buffer) = 0;
    // Text forms aren't supported: -99.
    virtual int initBuffer(unsigned short* text) = 0;
    virtual int initBuffer(char* text) = 0;
    virtual bool isA(Type type) = 0;
};

class CHRONOSEAL_API ASN1MessageBuffer : public ASN1MessageBufferIF {
public:
    // A failure where there is no other way to tell its status.
    class RTLError : public ASN1RTLException {
    public:
        explicit RTLError(int status) : ASN1RTLException(status) {}
        ~RTLError() override;
    };

    ~ASN1MessageBuffer() override;
    ASN1MessageBuffer(const ASN1MessageBuffer&) = delete;
    ASN1MessageBuffer& operator=(const ASN1MessageBuffer&) = delete;

    ASN1CtxtPtr getContext() override;
    ASN1CTXT* getCtxtPtr() override;
    unsigned char* getMsgCopy() override;      // null
    const unsigned char* getMsgPtr() override; // the context's buffer
    void init() override;                      // nothing
    int initBuffer(ASN1MemBuf& buffer) override;
    int initBuffer(unsigned short* text) override;
    int initBuffer(char* text) override;
    bool isA(Type type) override = 0;

protected:
    // Makes the context. Throws RTLError.
    explicit ASN1MessageBuffer(Type type);

    ASN1CtxtPtr context;
    Type bufferType;
};

class CHRONOSEAL_API ASN1BERMessageBuffer : public ASN1MessageBuffer {
protected:
    explicit ASN1BERMessageBuffer(Type type) : ASN1MessageBuffer(type) {}
};
