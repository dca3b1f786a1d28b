// The typed extensions: those of CRL entries (RFC 5280, 5.3; RFC 3280, 5.3.2) and
// privateKeyUsagePeriod (RFC 3280, 4.2.1.4).
#pragma once

#include <chronoseal/asn1/general_name.h>
#include <chronoseal/asn1/owned.h>
#include <chronoseal/asn1/typed_value.h>
#include <chronoseal/base/date_time.h>

namespace Halcyon::ASN1 {

enum CrlReason : unsigned int {
    crlReasonUnspecified = 0,
    crlReasonKeyCompromise = 1,
    crlReasonCACompromise = 2,
    crlReasonAffiliationChanged = 3,
    crlReasonSuperseded = 4,
    crlReasonCessationOfOperation = 5,
    crlReasonCertificateHold = 6,
    crlReasonRemoveFromCRL = 8,
    crlReasonPrivilegeWithdrawn = 9,
    crlReasonAACompromise = 10,
};

inline constexpr char kCRLReason[] = "2.5.29.21";
template <>
void TypedExtension<CrlReason, kCRLReason>::encode();
template <>
void TypedExtension<CrlReason, kCRLReason>::decode();

// A number that is no reason is refused with 0x80093101 both ways.
class CExtCRLReason : public TypedExtension<CrlReason, kCRLReason> {
public:
    // Reason 0 and no encoded form.
    CExtCRLReason() : TypedValue(crlReasonUnspecified) {}
    explicit CExtCRLReason(CrlReason reason) : TypedValue(reason) { encode(); }
    explicit CExtCRLReason(const CBlob& der) : TypedValue(crlReasonUnspecified, der) {}

    CrlReason get_reason() const noexcept { return field(); }
    // Encodes at once.
    void put_reason(CrlReason reason) { put(reason); }
};

inline constexpr char kHoldInstructionCode[] = "2.5.29.23";
template <>
void TypedExtension<CStringProxy, kHoldInstructionCode>::encode();
template <>
void TypedExtension<CStringProxy, kHoldInstructionCode>::decode();

// The code is dotted text.
class CExtHoldInstructionCode : public TypedExtension<CStringProxy, kHoldInstructionCode> {
public:
    // No code and no encoded form.
    CExtHoldInstructionCode() : TypedValue("") {}
    // Throws 0x80070057 for a text that is no identifier.
    explicit CExtHoldInstructionCode(const char* code) : TypedValue(code) { encode(); }
    // Throws 0x80093101 if `der` isn't an OBJECT IDENTIFIER.
    explicit CExtHoldInstructionCode(const CBlob& der) : TypedValue("", der) {}

    const char* get_code() const noexcept { return field().c_str(); }
    // Encodes at once.
    void put_code(const char* code) { put(code); }
};

inline constexpr char kInvalidityDate[] = "2.5.29.24";
template <>
void TypedExtension<CDateTime, kInvalidityDate>::encode();
template <>
void TypedExtension<CDateTime, kInvalidityDate>::decode();

// Fractions of a second are cut off in the encoded form.
class CExtInvalidityDate : public TypedExtension<CDateTime, kInvalidityDate> {
public:
    // 1970-01-01 and no encoded form.
    CExtInvalidityDate() : TypedValue(CDateTime(0L, 0)) {}
    explicit CExtInvalidityDate(const CDateTime& date) : TypedValue(date) { encode(); }
    // Throws 0x80093101 if `der` isn't a GeneralizedTime, and as the constructor of CDateTime for a
    // text that isn't a date: 0x8007076D or 0x80004005.
    explicit CExtInvalidityDate(const CBlob& der) : TypedValue(CDateTime(0L, 0), der) {}

    const CDateTime& get_invalidityDate() const noexcept { return field(); }
    // Encodes at once.
    void put_invalidityDate(const CDateTime& date) { put(date); }
};

inline constexpr char kCertificateIssuer[] = "2.5.29.29";
template <>
void TypedExtension<CGeneralNames, kCertificateIssuer>::encode();
template <>
void TypedExtension<CGeneralNames, kCertificateIssuer>::decode();

class CExtCertificateIssuer : public TypedExtension<CGeneralNames, kCertificateIssuer> {
public:
    // No names and no encoded form.
    CExtCertificateIssuer() : TypedValue(CGeneralNames()) {}
    explicit CExtCertificateIssuer(const CGeneralNames& issuer) : TypedValue(issuer) { encode(); }
    // Throws as `CGeneralNames::decode`.
    explicit CExtCertificateIssuer(const CBlob& der) : TypedValue(CGeneralNames(), der) {}

    const CGeneralNames& get_issuer() const noexcept { return field(); }
    // Encodes at once.
    void put_issuer(const CGeneralNames& issuer) { put(issuer); }
};

// The two dates of a privateKeyUsagePeriod, each of which may be absent.
struct UsagePeriod {
    Owned<CDateTime> notBefore;
    Owned<CDateTime> notAfter;
};

inline constexpr char kPrivateKeyUsagePeriod[] = "2.5.29.16";
template <>
void TypedExtension<UsagePeriod, kPrivateKeyUsagePeriod>::encode();
template <>
void TypedExtension<UsagePeriod, kPrivateKeyUsagePeriod>::decode();

// Null stands for an absent date. Fractions of a second are cut off in the encoded form.
class CExtPrivateKeyUsagePeriod : public TypedExtension<UsagePeriod, kPrivateKeyUsagePeriod> {
public:
    CExtPrivateKeyUsagePeriod(const CDateTime* notBefore, const CDateTime* notAfter);
    // Throws 0x80093101 if `der` isn't such a period, and as the constructor of CDateTime for a
    // text that isn't a date: 0x8007076D or 0x80004005.
    explicit CExtPrivateKeyUsagePeriod(const CBlob& der) : TypedValue(UsagePeriod(), der) {}

    const CDateTime* get_notBefore() const noexcept { return field().notBefore.get(); }
    const CDateTime* get_notAfter() const noexcept { return field().notAfter.get(); }
    // Both encode at once.
    void put_notBefore(const CDateTime* date);
    void put_notAfter(const CDateTime* date);
};

} // namespace Halcyon::ASN1
