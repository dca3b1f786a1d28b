// ASN1CGeneralizedTime, the object view on a GeneralizedTime's text. See time_control.h for what
// the operations answer.
#pragma once

#include <chronoseal/asn1rt/time_control.h>
#include <chronoseal/visibility.h>

class CHRONOSEAL_API ASN1CGeneralizedTime : public ASN1CTime {
public:
    ASN1CGeneralizedTime(ASN1MessageBufferIF& buffer, char*& text, int size, unsigned char der)
        : ASN1CTime(buffer, text, size, der) {}
    ASN1CGeneralizedTime(ASN1MessageBufferIF& buffer, const char*& text, unsigned char der)
        : ASN1CTime(buffer, text, der) {}
    ASN1CGeneralizedTime(ASN1Context& sharedContext, char*& text, int size, unsigned char der)
        : ASN1CTime(sharedContext, text, size, der) {}
    ASN1CGeneralizedTime(ASN1Context& sharedContext, const char*& text, unsigned char der)
        : ASN1CTime(sharedContext, text, der) {}
    ASN1CGeneralizedTime(char*& text, int size, unsigned char der) : ASN1CTime(text, size, der) {}
    ASN1CGeneralizedTime(const char*& text, unsigned char der) : ASN1CTime(text, der) {}

    int setTime(long time, unsigned char diffTime) override;
    int parseString(const char* text) override;
    int compileString() override;

    virtual int getCentury();            // the year divided by 100
    virtual int setCentury(int century); // keeps the last two digits of the year; 0 to 99
};
