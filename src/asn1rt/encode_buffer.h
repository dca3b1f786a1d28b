// The message buffer that control objects encode into. The message is what an encode answered as
// its length, from getMsgPtr() on; each encode starts with an empty message.
#pragma once

#include <chronoseal/asn1rt/message_buffer.h>
#include <chronoseal/visibility.h>

class ASN1CType;

class CHRONOSEAL_API ASN1BEREncodeBuffer : public ASN1BERMessageBuffer {
public:
    // A buffer that grows. Throws RTLError.
    ASN1BEREncodeBuffer();
    // The caller's storage, whose last byte is never used. Throws RTLError.
    ASN1BEREncodeBuffer(unsigned char* buffer, int size);

    // A copy for the caller to delete[]. It has one byte more than the message, the storage's
    // unused last one. Null without a message.
    unsigned char* getMsgCopy() override;
    const unsigned char* getMsgPtr() override;
    // Empties the buffer and keeps its storage.
    void init() override;
    bool isA(Type type) override;

    int setBuffer(unsigned char* buffer, int size);

    // Encodes, and throws ASN1RTLException with the result unless that is 0. A length isn't 0, so
    // every encode that writes something throws: use Encode or EncodeTo.
    ASN1BEREncodeBuffer& operator<<(ASN1CType& value);
};
