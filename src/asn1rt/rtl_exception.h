// What the object layer throws: a status (status.h) and no text. ASN1RTLException itself comes from
// the stream operators of the message buffers only; failures inside are
// ASN1MessageBuffer::RTLError.
#pragma once

#include <chronoseal/visibility.h>

class CHRONOSEAL_API ASN1RTLException {
public:
    explicit ASN1RTLException(int status) : status(status) {}
    virtual ~ASN1RTLException();

    int getStatus() const { return status; }

    int status;
};
