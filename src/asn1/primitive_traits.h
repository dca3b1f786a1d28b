// Traits of the primitive types: between the run-time's records and blobs or texts, and one
// complete OCTET STRING. See codec.h for what traits are and how they fail.
#pragma once

#include <chronoseal/asn1rt/runtime.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

// What the traits of blobs have in common: `data` and `numocts`, whole and copied.
template <class Record>
struct OctetsTraits {
    using ASN1_T = Record;

    static void set(ASN1CTXT* ctxt, Record& record, const CBlob& value);
    static void get(const Record& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const Record& from, Record& to);
};
extern template struct OctetsTraits<ASN1TDynOctStr>;
extern template struct OctetsTraits<ASN1TOpenType>;

// OCTET STRING.
struct ASN1TDynOctStr_traits : OctetsTraits<ASN1TDynOctStr> {};

// One complete element of any type.
struct ASN1TOpenType_traits : OctetsTraits<ASN1TOpenType> {};

// The same where the schema may know the type: only the encoded form is looked at.
struct Asn1TObject_traits {
    using ASN1_T = Asn1TObject;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value);
    static void get(const ASN1_T& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

// BIT STRING as whole bytes: the number of unused bits is dropped on reading, and 0 on writing.
struct ASN1TDynBitStr_traits {
    using ASN1_T = ASN1TDynBitStr;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value);
    static void get(const ASN1_T& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

struct ASN1IA5String_traits {
    using ASN1_T = const char*;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const char* value);
    static void get(const ASN1_T& record, CStringProxy& value);
    // The target shares the source's text, and must not outlive the source's context.
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

struct ASN1UTF8String_traits {
    using ASN1_T = const char*;

    // Throws 0x80070057 for a text that has no UTF-8 form.
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const wchar_t* value);
    // Throws 0x80093101 for a text that isn't UTF-8.
    static void get(const ASN1_T& record, CWStringProxy& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

// One complete OCTET STRING from its contents and back. Throw 0x80093101, and 0x80093106 if there
// is no context to be had.
CBlob toOctetString(const CBlob& content);
// Throws for an empty blob too. Bytes behind the element aren't looked at.
CBlob fromOctetString(const CBlob& der);

} // namespace Halcyon::ASN1
