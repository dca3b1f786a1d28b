// The message buffer that control objects decode from. It reads the caller's bytes in place, which
// must stay. Several decodes in a row go on from the cursor.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/message_buffer.h>
#include <chronoseal/visibility.h>

class ASN1CType;

class CHRONOSEAL_API ASN1BERDecodeBuffer : public ASN1BERMessageBuffer {
public:
    // Nothing to read until setBuffer.
    ASN1BERDecodeBuffer();
    // The bytes aren't looked at before init(). Throws RTLError without memory.
    ASN1BERDecodeBuffer(const unsigned char* data, int length);

    // The first call after construction prepares the message; later calls do nothing. Throws
    // RTLError with -99 when there are no bytes, or with the status of a bad header.
    void init() override;
    bool isA(Type type) override;

    // Other bytes to read, from their start. With `keep` the same bytes again are not started anew.
    // -99 without bytes, or the status of their header.
    int setBuffer(const unsigned char* data, int length, unsigned char keep = 0);

    // The header of the next element with this packed tag, at any depth, or null. With `first` the
    // search starts at the start of the message, otherwise behind (or inside) the current element.
    // `length` receives that of the contents. The cursor stands on the header.
    const unsigned char* findElement(unsigned int tag, int& length, int first = 1);

    // Decodes, and throws ASN1RTLException with the status unless that is 0.
    ASN1BERDecodeBuffer& operator>>(ASN1CType& value);

private:
    const unsigned char* source = nullptr;
    std::int32_t sourceLength = 0;
    unsigned char ready = 0;
};
