// CAttrStringValue and its subclasses: name attributes with a text value (X.520; RFC 5280, appendix
// A).
#pragma once

#include "asn1/attr_value.h"

namespace Halcyon::ASN1 {

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
