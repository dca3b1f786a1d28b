// The encode buffer of control objects.
#include <chronoseal/asn1rt/encode_buffer.h>

#include <cstring>
#include <new>

#include <chronoseal/asn1rt/control.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/status.h>

ASN1BEREncodeBuffer::ASN1BEREncodeBuffer() : ASN1BEREncodeBuffer(nullptr, 0) {}

ASN1BEREncodeBuffer::ASN1BEREncodeBuffer(unsigned char* buffer, int size)
    : ASN1BERMessageBuffer(BEREncode) {
    const int status = setBuffer(buffer, size);
    if (status != rtStatusOk) {
        throw RTLError(status);
    }
}

unsigned char* ASN1BEREncodeBuffer::getMsgCopy() {
    const std::size_t size = context->bufSize - context->bufIndex;
    if (size == 0) {
        return nullptr;
    }
    auto* copy = new (std::nothrow) unsigned char[size];
    if (copy != nullptr) {
        std::memcpy(copy, getMsgPtr(), size);
    }
    return copy;
}

const unsigned char* ASN1BEREncodeBuffer::getMsgPtr() {
    return xe_getp(context.get());
}

void ASN1BEREncodeBuffer::init() {
    context->bufIndex = context->bufSize == 0 ? 0 : context->bufSize - 1;
}

bool ASN1BEREncodeBuffer::isA(Type type) {
    return type == BEREncode;
}

int ASN1BEREncodeBuffer::setBuffer(unsigned char* buffer, int size) {
    return xe_setp(context.get(), buffer, size);
}

ASN1BEREncodeBuffer& ASN1BEREncodeBuffer::operator<<(ASN1CType& value) {
    const int result = value.EncodeTo(*this);
    if (result != rtStatusOk) {
        throw ASN1RTLException(result);
    }
    return *this;
}
