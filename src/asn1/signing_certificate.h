// The signing-certificate attributes: SigningCertificate (RFC 2634, 5.4), SigningCertificateV2 (RFC
// 5035, 3) and OtherSigningCertificate (RFC 5126, 5.7.3.3). They differ in the identifiers that
// they list, and in when their encoded form follows a change.
#pragma once

#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/asn1/owned.h>
#include <chronoseal/asn1/policy_information.h>
#include <chronoseal/asn1/typed_value.h>

namespace Halcyon::ASN1 {

// A list of certificate identifiers with an optional list of policies.
template <class List>
struct CertsAndPolicies {
    List certs;
    Owned<CPolicyInformationList> policies;
};

// With `encodes_policies` a change of the policies is encoded at once.
template <class List, const char* oid, bool encodes_policies>
class CAttrSigningCertificateT : public TypedAttribute<Owned<CertsAndPolicies<List>>, oid> {
    using Fields = Owned<CertsAndPolicies<List>>;
    using Base = TypedAttribute<Fields, oid>;

public:
    // Without certificates and without an encoded form.
    CAttrSigningCertificateT() : Base(Fields(std::in_place)) {}
    // Throws 0x80093101, and 0x80070057 for a text that is no identifier.
    explicit CAttrSigningCertificateT(const List& certs) : CAttrSigningCertificateT() {
        put_certs(certs);
    }
    // Throws 0x80093101 if `der` isn't the attribute's value.
    explicit CAttrSigningCertificateT(const CBlob& der) : Base(Fields(std::in_place), der) {}

    const List& get_certs() const noexcept { return this->field()->certs; }
    // Null if absent.
    const CPolicyInformationList* get_policies() const noexcept {
        return this->field()->policies.get();
    }
    // Encodes at once.
    void put_certs(const List& certs) {
        this->field()->certs = certs;
        this->encode();
    }
    // Null makes the field absent; an empty list isn't encoded. In all but the last of the three
    // classes the encoded form stays as it was until `encode`.
    void put_policies(const CPolicyInformationList* policies) {
        copy_to_auto_ptr(this->field()->policies, policies);
        if constexpr (encodes_policies) {
            this->encode();
        }
    }
};

inline constexpr char kSigningCertificate[] = "1.2.840.113549.1.9.16.2.12";
template <>
void TypedAttribute<Owned<CertsAndPolicies<CESSCertIDList>>, kSigningCertificate>::encode();
template <>
void TypedAttribute<Owned<CertsAndPolicies<CESSCertIDList>>, kSigningCertificate>::decode();

class CAttrSigningCertificate
    : public CAttrSigningCertificateT<CESSCertIDList, kSigningCertificate, false> {
public:
    using CAttrSigningCertificateT::CAttrSigningCertificateT;
};

inline constexpr char kSigningCertificateV2[] = "1.2.840.113549.1.9.16.2.47";
template <>
void TypedAttribute<Owned<CertsAndPolicies<CESSCertIDv2List>>, kSigningCertificateV2>::encode();
template <>
void TypedAttribute<Owned<CertsAndPolicies<CESSCertIDv2List>>, kSigningCertificateV2>::decode();

class CAttrSigningCertificateV2
    : public CAttrSigningCertificateT<CESSCertIDv2List, kSigningCertificateV2, false> {
public:
    using CAttrSigningCertificateT::CAttrSigningCertificateT;
};

inline constexpr char kOtherSigningCertificate[] = "1.2.840.113549.1.9.16.2.19";
template <>
void TypedAttribute<Owned<CertsAndPolicies<COtherCertIDList>>, kOtherSigningCertificate>::encode();
template <>
void TypedAttribute<Owned<CertsAndPolicies<COtherCertIDList>>, kOtherSigningCertificate>::decode();

class CAttrOtherSigningCertificate
    : public CAttrSigningCertificateT<COtherCertIDList, kOtherSigningCertificate, true> {
public:
    using CAttrSigningCertificateT::CAttrSigningCertificateT;
};

} // namespace Halcyon::ASN1
