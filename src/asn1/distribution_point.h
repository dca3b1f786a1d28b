// CDistributionPoint, what it is made of and the list of such: where CRLs are found (RFC 5280,
// 4.2.1.13).
#pragma once

#include <list>

#include <chronoseal/asn1/choice.h>
#include <chronoseal/asn1/encodable.h>
#include <chronoseal/asn1/general_name.h>
#include <chronoseal/asn1/owned.h>

namespace Halcyon::ASN1 {

struct ASN1T_DistributionPointName_traits;
struct ASN1T_DistributionPoint_traits;
struct ASN1T_CRLDistPointsSyntax_traits;

// The revocation reasons that a CRL covers. Bit n of the number stands for bit n of the BIT STRING,
// whose first 16 bits are encoded.
class CReasonFlags {
public:
    enum Flag : unsigned int {
        unused = 0x1,
        keyCompromise = 0x2,
        cACompromise = 0x4,
        affiliationChanged = 0x8,
        superseded = 0x10,
        cessationOfOperation = 0x20,
        certificateHold = 0x40,
        privilegeWithdrawn = 0x80,
        aACompromise = 0x100,
    };
    // All flags in ascending order, ended by 0.
    static const Flag sequence[10];

    explicit CReasonFlags(unsigned int value) noexcept : value_(value) {}

    unsigned int get_value() const noexcept { return value_; }
    void put_value(unsigned int value) noexcept { value_ = value; }
    // The number of the bit counts modulo 32.
    bool get_bit(unsigned int n) const noexcept { return (value_ >> (n % 32) & 1u) != 0; }
    void put_bit(unsigned int n, bool on) noexcept;
    void add_flag(Flag flag) noexcept { value_ |= flag; }
    void remove_flag(Flag flag) noexcept { value_ &= ~static_cast<unsigned int>(flag); }
    // True if any bit of the mask is set.
    bool get_flag(Flag flag) const noexcept { return (value_ & flag) != 0; }

private:
    unsigned int value_;
};

inline bool operator==(const CReasonFlags& a, const CReasonFlags& b) noexcept {
    return a.get_value() == b.get_value();
}

inline constexpr Alternative<CGeneralNames, 1> kFullName;

class CDistributionPointNameImpl final : public ChoiceOf<kFullName> {};

// Kind 0 is nothing. A nameRelativeToCRLIssuer isn't held: it leaves a decoded object as it was.
class CDistributionPointName
    : public ChoiceValue<CDistributionPointNameImpl>,
      public Encodable<CDistributionPointName, ASN1T_DistributionPointName_traits> {
public:
    CDistributionPointName() = default;
    explicit CDistributionPointName(const CGeneralNames& fullName) { put_fullName(fullName); }

    // Null for another kind.
    const CGeneralNames* get_fullName() const noexcept { return get(kFullName); }
    void put_fullName(const CGeneralNames& fullName) { put(kFullName, fullName); }

    // The DER. Throws 0x80093101, for kind 0 too, and as `CGeneralName`.
    using Encodable::encode;
};

bool operator==(const CDistributionPointName& a, const CDistributionPointName& b) noexcept;

// All three fields are optional: null stands for an absent one. An empty list of issuers isn't
// encoded.
class CDistributionPoint : public Encodable<CDistributionPoint, ASN1T_DistributionPoint_traits> {
public:
    // Makes all fields absent.
    void clear() noexcept { *impl_ = {}; }

    const CDistributionPointName* get_distributionPoint() const noexcept {
        return impl_->distributionPoint.get();
    }
    const CReasonFlags* get_reasons() const noexcept { return impl_->reasons.get(); }
    const CGeneralNames* get_cRLIssuer() const noexcept { return impl_->cRLIssuer.get(); }
    void put_distributionPoint(const CDistributionPointName* name) {
        copy_to_auto_ptr(impl_->distributionPoint, name);
    }
    void put_reasons(const CReasonFlags* reasons) { copy_to_auto_ptr(impl_->reasons, reasons); }
    void put_cRLIssuer(const CGeneralNames* issuer) { copy_to_auto_ptr(impl_->cRLIssuer, issuer); }

    // The DER. Throws as `CDistributionPointName`.
    using Encodable::encode;

private:
    struct Impl {
        Owned<CDistributionPointName> distributionPoint;
        Owned<CReasonFlags> reasons;
        Owned<CGeneralNames> cRLIssuer;
    };

    Owned<Impl> impl_{std::in_place};
};

// Issuers, then names, then reasons.
bool operator==(const CDistributionPoint& a, const CDistributionPoint& b) noexcept;

class CCRLDistPointsSyntax
    : public std::list<CDistributionPoint>,
      public Encodable<CCRLDistPointsSyntax, ASN1T_CRLDistPointsSyntax_traits> {
public:
    using std::list<CDistributionPoint>::list;
};

} // namespace Halcyon::ASN1
