// What all message buffers share, the counted context and the exceptions with it.
#include <chronoseal/asn1rt/message_buffer.h>

#include <chronoseal/asn1rt/status.h>

ASN1RTLException::~ASN1RTLException() = default;

ASN1Context::ASN1Context() : refCount(0) {
    const int status = rtInitContext(this, nullptr);
    if (status != rtStatusOk) {
        throw ASN1MessageBuffer::RTLError(status);
    }
}

ASN1Context::~ASN1Context() {
    rtFreeContext(this);
}

void ASN1Context::_unref() {
    if (--refCount == 0) {
        delete this;
    }
}

ASN1MessageBufferIF::~ASN1MessageBufferIF() = default;

ASN1MessageBuffer::RTLError::~RTLError() = default;

ASN1MessageBuffer::ASN1MessageBuffer(Type type) : context(new ASN1Context), bufferType(type) {}

ASN1MessageBuffer::~ASN1MessageBuffer() = default;

ASN1CtxtPtr ASN1MessageBuffer::getContext() {
    return context;
}

ASN1CTXT* ASN1MessageBuffer::getCtxtPtr() {
    return context.get();
}

unsigned char* ASN1MessageBuffer::getMsgCopy() {
    return nullptr;
}

const unsigned char* ASN1MessageBuffer::getMsgPtr() {
    return context->bufData;
}

void ASN1MessageBuffer::init() {}

int ASN1MessageBuffer::initBuffer(ASN1MemBuf& buffer) {
    // Null would ask for a new buffer in place of an empty message.
    static constexpr unsigned char kNothing = 0;
    if (buffer.data == nullptr || buffer.usedLength <= buffer.startIndex) {
        return rtInitContextBuffer(context.get(), &kNothing, 0);
    }
    std::uint32_t length;
    const unsigned char* data = rtMemBufGetData(&buffer, &length);
    return rtInitContextBuffer(context.get(), data, length);
}

int ASN1MessageBuffer::initBuffer(unsigned short*) {
    return rtStatusNotSupported;
}

int ASN1MessageBuffer::initBuffer(char*) {
    return rtStatusNotSupported;
}
