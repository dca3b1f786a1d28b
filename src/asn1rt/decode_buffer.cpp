// The decode buffer of control objects.
#include <chronoseal/asn1rt/decode_buffer.h>

#include <chronoseal/asn1rt/control.h>
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/status.h>

ASN1BERDecodeBuffer::ASN1BERDecodeBuffer() : ASN1BERMessageBuffer(BERDecode) {}

ASN1BERDecodeBuffer::ASN1BERDecodeBuffer(const unsigned char* data, int length)
    : ASN1BERMessageBuffer(BERDecode), source(data), sourceLength(length) {}

void ASN1BERDecodeBuffer::init() {
    if (ready != 0) {
        return;
    }
    const int status = setBuffer(source, sourceLength);
    if (status != rtStatusOk) {
        throw RTLError(status);
    }
}

bool ASN1BERDecodeBuffer::isA(Type type) {
    return type == BERDecode;
}

int ASN1BERDecodeBuffer::setBuffer(const unsigned char* data, int length, unsigned char keep) {
    if (keep != 0 && ready != 0 && data == source && length == sourceLength) {
        return rtStatusOk;
    }
    source = data;
    sourceLength = length;
    if (data == nullptr || length < 1) {
        return rtStatusNotSupported;
    }
    ready = 1;
    return xd_setp(context.get(), source, sourceLength, nullptr, nullptr);
}

const unsigned char* ASN1BERDecodeBuffer::findElement(unsigned int tag, int& length, int first) {
    ASN1CTXT* ctxt = context.get();
    if (first != 0) {
        ready = 1;
        if (source != nullptr && sourceLength >= 1 &&
            xd_setp(ctxt, source, sourceLength, nullptr, nullptr) != rtStatusOk) {
            return nullptr;
        }
    }
    const int options = first != 0 ? xdSeek : xdSeek | xdStepOver;
    if (xd_match(ctxt, tag, &length, options) != rtStatusOk) {
        return nullptr;
    }
    return ctxt->bufData + ctxt->bufIndex;
}

ASN1BERDecodeBuffer& ASN1BERDecodeBuffer::operator>>(ASN1CType& value) {
    const int status = value.DecodeFrom(*this);
    if (status != rtStatusOk) {
        throw ASN1RTLException(status);
    }
    return *this;
}
