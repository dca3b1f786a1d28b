// ASN1CUTCTime, the object view on a UTCTime's text: years from 1950 to 2049, no fraction. See
// time_control.h for what the operations answer.
#pragma once

#include <chronoseal/asn1rt/time_control.h>
#include <chronoseal/visibility.h>

class CHRONOSEAL_API ASN1CUTCTime : public ASN1CTime {
public:
    ASN1CUTCTime(ASN1MessageBufferIF& buffer, char*& text, int size, unsigned char der)
        : ASN1CTime(buffer, text, size, der) {}
    ASN1CUTCTime(ASN1MessageBufferIF& buffer, const char*& text, unsigned char der)
        : ASN1CTime(buffer, text, der) {}
    ASN1CUTCTime(ASN1Context& sharedContext, char*& text, int size, unsigned char der)
        : ASN1CTime(sharedContext, text, size, der) {}
    ASN1CUTCTime(ASN1Context& sharedContext, const char*& text, unsigned char der)
        : ASN1CTime(sharedContext, text, der) {}
    ASN1CUTCTime(char*& text, int size, unsigned char der) : ASN1CTime(text, size, der) {}
    ASN1CUTCTime(const char*& text, unsigned char der) : ASN1CTime(text, der) {}

    int getFraction() override;          // always 0
    int setFraction(int value) override; // always -99
    // Under DER the time stays one that ends in "Z".
    int setUTC(unsigned char value) override;
    // A year below 100 is that of the parser's rule: below 50 in the 2000s, else in the 1900s.
    int setYear(int value) override;
    int setTime(long time, unsigned char diffTime) override;
    int parseString(const char* text) override;
    // A cleared time is of the UTC form.
    void clear() override;
    int compileString() override;
};
