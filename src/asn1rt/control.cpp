// Control objects without a type.
#include <chronoseal/asn1rt/control.h>

#include <chronoseal/asn1rt/status.h>

ASN1CType::ASN1CType() : context(new ASN1Context) {}

ASN1CType::ASN1CType(ASN1MessageBufferIF& buffer) : context(buffer.getContext()), msgBuf(&buffer) {}

ASN1CType::ASN1CType(ASN1Context& sharedContext) : context(&sharedContext) {}

ASN1CType::~ASN1CType() = default;

int ASN1CType::Encode() {
    if (msgBuf == nullptr) {
        return rtStatusNotSupported;
    }
    try {
        return EncodeTo(*msgBuf);
    } catch (const ASN1MessageBuffer::RTLError& error) {
        return error.status;
    }
}

int ASN1CType::Decode() {
    if (msgBuf == nullptr) {
        return rtStatusNotSupported;
    }
    try {
        return DecodeFrom(*msgBuf);
    } catch (const ASN1MessageBuffer::RTLError& error) {
        return error.status;
    }
}

int ASN1CType::EncodeTo(ASN1MessageBufferIF&) {
    return rtStatusOk;
}

int ASN1CType::DecodeFrom(ASN1MessageBufferIF&) {
    return rtStatusOk;
}

void ASN1CType::setMsgBuf(ASN1MessageBufferIF& buffer) {
    msgBuf = &buffer;
    rtCtxtSetMemHeap(context.get(), buffer.getCtxtPtr());
}
