// The typed attributes: ContentType, MessageDigest and SigningTime (RFC 5652, 11), and the name
// attributes with a text value (X.520; RFC 5280, appendix A). The signing-certificate attributes
// have a file of their own.
#pragma once

#include <chronoseal/asn1/owned.h>
#include <chronoseal/asn1/time_choice.h>
#include <chronoseal/asn1/typed_value.h>

namespace Halcyon::ASN1 {

inline constexpr char kContentType[] = "1.2.840.113549.1.9.3";
template <>
void TypedAttribute<CStringProxy, kContentType>::encode();
template <>
void TypedAttribute<CStringProxy, kContentType>::decode();

// The decoded form is dotted text.
class CAttrContentType : public TypedAttribute<CStringProxy, kContentType> {
public:
    // Throws 0x80070057 for a text that is no identifier.
    explicit CAttrContentType(const char* contentType) : TypedValue(contentType) { encode(); }
    // Throws 0x80093101 if `der` isn't an OBJECT IDENTIFIER.
    explicit CAttrContentType(const CBlob& der) : TypedValue("", der) {}

    const char* get_contentType() const noexcept { return field().c_str(); }
    // Encodes at once.
    void put_contentType(const char* contentType) { put(contentType); }
};

inline constexpr char kMessageDigest[] = "1.2.840.113549.1.9.4";
template <>
void TypedAttribute<CBlob, kMessageDigest>::encode();
template <>
void TypedAttribute<CBlob, kMessageDigest>::decode();

class CAttrMessageDigest : public TypedAttribute<CBlob, kMessageDigest> {
public:
    // Without a digest and without an encoded form, which `decode` refuses with 0x80093101.
    CAttrMessageDigest() : TypedValue(CBlob()) {}
    // Takes the encoded form, not the digest. Throws 0x80093101 if `der` isn't an OCTET STRING.
    explicit CAttrMessageDigest(const CBlob& der) : TypedValue(CBlob(), der) {}

    const CBlob& get_messageDigest() const noexcept { return field(); }
    // Encodes at once.
    void put_messageDigest(const CBlob& digest) { put(digest); }
};

inline constexpr char kSigningTime[] = "1.2.840.113549.1.9.5";
template <>
void TypedAttribute<Owned<CTimeChoice>, kSigningTime>::encode();
template <>
void TypedAttribute<Owned<CTimeChoice>, kSigningTime>::decode();

// A time up to the year 2049 is a UTCTime, a later one a GeneralizedTime; fractions of a second
// aren't encoded.
class CAttrSigningTime : public TypedAttribute<Owned<CTimeChoice>, kSigningTime> {
public:
    // Throws 0x80093101 for a time that can't be written.
    explicit CAttrSigningTime(const CDateTime& time) : CAttrSigningTime() { put_time(time); }
    // Throws 0x80093101 if `der` isn't a Time.
    explicit CAttrSigningTime(const CBlob& der)
        : TypedValue(Owned<CTimeChoice>(std::in_place), der) {}

    CDateTime get_time() const { return *field()->get_time(); }
    // Encodes at once.
    void put_time(const CDateTime& time) {
        field()->put_time(time);
        encode();
    }

private:
    CAttrSigningTime() : TypedValue(Owned<CTimeChoice>(std::in_place)) {}
};

// The value is encoded as the string type that the register of attribute types gives (see
// attribute_type_register.h). Throws 0x80070057 for a text above the register's limit, and
// 0x80093101 for one that can't be encoded.
class CAttrStringValue : public CAttrValue {
public:
    // Narrow text is in the system's code page.
    CAttrStringValue(const char* oid, const char* text);
    CAttrStringValue(const char* oid, const wchar_t* text);
};

class CAttrCommonName : public CAttrStringValue {
public:
    explicit CAttrCommonName(const char* text) : CAttrStringValue("2.5.4.3", text) {}
};

class CAttrSurname : public CAttrStringValue {
public:
    explicit CAttrSurname(const char* text) : CAttrStringValue("2.5.4.4", text) {}
};

class CAttrSerialNumber : public CAttrStringValue {
public:
    explicit CAttrSerialNumber(const char* text) : CAttrStringValue("2.5.4.5", text) {}
};

class CAttrCountry : public CAttrStringValue {
public:
    explicit CAttrCountry(const char* text) : CAttrStringValue("2.5.4.6", text) {}
};

class CAttrLocality : public CAttrStringValue {
public:
    explicit CAttrLocality(const char* text) : CAttrStringValue("2.5.4.7", text) {}
};

class CAttrStateOrProvinceName : public CAttrStringValue {
public:
    explicit CAttrStateOrProvinceName(const char* text) : CAttrStringValue("2.5.4.8", text) {}
};

class CAttrOrganizationName : public CAttrStringValue {
public:
    explicit CAttrOrganizationName(const char* text) : CAttrStringValue("2.5.4.10", text) {}
};

class CAttrOrganizationalUnitName : public CAttrStringValue {
public:
    explicit CAttrOrganizationalUnitName(const char* text) : CAttrStringValue("2.5.4.11", text) {}
};

class CAttrTitle : public CAttrStringValue {
public:
    explicit CAttrTitle(const char* text) : CAttrStringValue("2.5.4.12", text) {}
};

class CAttrGivenName : public CAttrStringValue {
public:
    explicit CAttrGivenName(const char* text) : CAttrStringValue("2.5.4.42", text) {}
};

class CAttrInitials : public CAttrStringValue {
public:
    explicit CAttrInitials(const char* text) : CAttrStringValue("2.5.4.43", text) {}
};

class CAttrPseudonym : public CAttrStringValue {
public:
    explicit CAttrPseudonym(const char* text) : CAttrStringValue("2.5.4.65", text) {}
};

class CAttrEmailAddress : public CAttrStringValue {
public:
    explicit CAttrEmailAddress(const char* text) : CAttrStringValue("1.2.840.113549.1.9.1", text) {}
};

} // namespace Halcyon::ASN1
