// What names a certificate: by issuer and serial number, by a SHA-1 hash, by a hash of any
// algorithm (RFC 2634, 5.4.1; RFC 5035, 4; RFC 5126, 5.7.3.3). The hashes are kept as given: they
// are neither computed nor checked here (see certificate_identification.h).
#pragma once

#include <list>

#include <chronoseal/asn1/algorithm_identifier.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/choice.h>
#include <chronoseal/asn1/encodable.h>
#include <chronoseal/asn1/general_name.h>
#include <chronoseal/asn1/owned.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

struct ASN1T_IssuerSerial_traits;
struct ASN1T_OtherHashAlgAndValue_traits;
struct ASN1T_OtherHash_traits;

// A certificate's issuer and serial number (RFC 2634, 5.4.1). Owns all its data.
class CIssuerSerial : public Encodable<CIssuerSerial, ASN1T_IssuerSerial_traits> {
public:
    CIssuerSerial() = default;
    CIssuerSerial(const CGeneralNames& issuer, const CBigInteger& serialNumber)
        : issuer_(issuer), serialNumber_(serialNumber) {}

    const CGeneralNames& get_issuer() const noexcept { return issuer_; }
    const CBigInteger& get_serialNumber() const noexcept { return serialNumber_; }
    void put_issuer(const CGeneralNames& issuer) { issuer_ = issuer; }
    void put_serialNumber(const CBigInteger& serialNumber) { serialNumber_ = serialNumber; }

    // The issuers' names pairwise in order by the rules of CGeneralName, the serial numbers by
    // value.
    bool operator==(const CIssuerSerial& other) const noexcept {
        return issuer_ == other.issuer_ && serialNumber_ == other.serialNumber_;
    }

    // The DER. Throws 0x80093101, and 0x80070057 for a name of a kind that isn't supported.
    using Encodable::encode;

private:
    CGeneralNames issuer_;
    CBigInteger serialNumber_;
};

// What the three identifiers below have in common: each is a block of `Fields`, of which the last
// is the OPTIONAL issuer and serial number. Owns all its data.
template <class Identifier, class Fields, class Traits>
class IdentifierWithIssuer : public Encodable<Identifier, Traits> {
public:
    // Null if absent.
    const CIssuerSerial* get_issuerSerial() const noexcept { return block_->issuerSerial.get(); }
    void put_issuerSerial(const CIssuerSerial* issuerSerial) {
        copy_to_auto_ptr(block_->issuerSerial, issuerSerial);
    }

    // Field by field: an identifier with issuer and serial number never equals one without.
    bool operator==(const IdentifierWithIssuer& other) const noexcept {
        return *block_ == *other.block_;
    }

protected:
    ~IdentifierWithIssuer() = default;
    IdentifierWithIssuer() = default;
    IdentifierWithIssuer(const IdentifierWithIssuer&) = default;
    IdentifierWithIssuer& operator=(const IdentifierWithIssuer&) = default;

    Owned<Fields> block_{std::in_place};
};

struct ASN1T_ESSCertID_traits;
struct ESSCertIDFields {
    bool operator==(const ESSCertIDFields&) const noexcept = default;

    CBlob certHash;
    Owned<CIssuerSerial> issuerSerial;
};

// By a SHA-1 hash.
class CESSCertID
    : public IdentifierWithIssuer<CESSCertID, ESSCertIDFields, ASN1T_ESSCertID_traits> {
public:
    CESSCertID() = default;
    explicit CESSCertID(const CBlob& certHash) { put_certHash(certHash); }

    const CBlob& get_certHash() const noexcept { return block_->certHash; }
    void put_certHash(const CBlob& certHash) { block_->certHash = certHash; }
};

class CESSCertIDList : public std::list<CESSCertID> {
public:
    using std::list<CESSCertID>::list;
};

inline constexpr char kSha256[] = "2.16.840.1.101.3.4.2.1";

struct ASN1T_ESSCertIDv2_traits;
struct ESSCertIDv2Fields {
    bool operator==(const ESSCertIDv2Fields&) const noexcept = default;

    CAlgorithmIdentifier hashAlgorithm{kSha256};
    CBlob certHash;
    Owned<CIssuerSerial> issuerSerial;
};

// By a hash of any algorithm, SHA-256 unless another is given. SHA-256 is the DEFAULT and is left
// out of the encoding, and with it whatever parameters it has.
class CESSCertIDv2
    : public IdentifierWithIssuer<CESSCertIDv2, ESSCertIDv2Fields, ASN1T_ESSCertIDv2_traits> {
public:
    CESSCertIDv2() = default;
    explicit CESSCertIDv2(const CBlob& certHash) { put_certHash(certHash); }
    CESSCertIDv2(const CBlob& certHash, const CAlgorithmIdentifier& hashAlgorithm)
        : CESSCertIDv2(certHash) {
        put_hashAlgorithm(hashAlgorithm);
    }

    const CAlgorithmIdentifier& get_hashAlgorithm() const noexcept { return block_->hashAlgorithm; }
    const CBlob& get_certHash() const noexcept { return block_->certHash; }
    void put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm) {
        block_->hashAlgorithm = hashAlgorithm;
    }
    void put_certHash(const CBlob& certHash) { block_->certHash = certHash; }
};

class CESSCertIDv2List : public std::list<CESSCertIDv2> {
public:
    using std::list<CESSCertIDv2>::list;
};

// A hash with its algorithm (RFC 5126, 5.8.1).
class COtherHashAlgAndValue
    : public Encodable<COtherHashAlgAndValue, ASN1T_OtherHashAlgAndValue_traits> {
public:
    COtherHashAlgAndValue() = default;
    COtherHashAlgAndValue(const CBlob& hashValue, const CAlgorithmIdentifier& hashAlgorithm)
        : hashAlgorithm_(hashAlgorithm), hashValue_(hashValue) {}

    const CAlgorithmIdentifier& get_hashAlgorithm() const noexcept { return hashAlgorithm_; }
    const CBlob& get_hashValue() const noexcept { return hashValue_; }
    void put_hashAlgorithm(const CAlgorithmIdentifier& algorithm) { hashAlgorithm_ = algorithm; }
    void put_hashValue(const CBlob& hashValue) { hashValue_ = hashValue; }

    // True if the hashes are equal, whatever the algorithms.
    bool compare_hashValue(const COtherHashAlgAndValue& other) const noexcept {
        return hashValue_ == other.hashValue_;
    }

    bool operator==(const COtherHashAlgAndValue& other) const noexcept {
        return hashAlgorithm_ == other.hashAlgorithm_ && compare_hashValue(other);
    }

    // The DER. Throws as `CAlgorithmIdentifier`.
    using Encodable::encode;

private:
    CAlgorithmIdentifier hashAlgorithm_;
    CBlob hashValue_;
};

inline constexpr Alternative<CBlob, 1> kSha1Hash;
inline constexpr Alternative<COtherHashAlgAndValue, 2> kOtherHash;

class COtherHashImpl final : public ChoiceOf<kSha1Hash, kOtherHash> {};

// The CHOICE of a plain SHA-1 hash and a hash with its algorithm (RFC 5126, 5.8.1). Kind 0 is
// nothing.
class COtherHash : public ChoiceValue<COtherHashImpl>,
                   public Encodable<COtherHash, ASN1T_OtherHash_traits> {
public:
    COtherHash() = default;
    explicit COtherHash(const CBlob& sha1) { put_sha1Hash(sha1); }
    explicit COtherHash(const COtherHashAlgAndValue& hash) { put_otherHash(hash); }
    COtherHash(const COtherHash& other) = default;
    COtherHash& operator=(const COtherHash& other) = default;
    virtual ~COtherHash() = default;

    // Null for another kind.
    const CBlob* get_sha1Hash() const noexcept { return get(kSha1Hash); }
    const COtherHashAlgAndValue* get_otherHash() const noexcept { return get(kOtherHash); }
    void put_sha1Hash(const CBlob& sha1) { put(kSha1Hash, sha1); }
    void put_otherHash(const COtherHashAlgAndValue& hash) { put(kOtherHash, hash); }

    // True if the kinds are equal and the hashes too, whatever the algorithms.
    bool compare_hashValue(const COtherHash& other) const noexcept;

    // The DER. Throws 0x80093101, for kind 0 too.
    using Encodable::encode;
};

// Kinds and values, algorithms with their parameters included. Two empty ones are equal.
bool operator==(const COtherHash& a, const COtherHash& b) noexcept;

struct ASN1T_OtherCertID_traits;
struct OtherCertIDFields {
    bool operator==(const OtherCertIDFields&) const noexcept = default;

    COtherHash otherCertHash;
    Owned<CIssuerSerial> issuerSerial;
};

// By either of them. Without a hash there is no encoding: 0x80093101.
class COtherCertID
    : public IdentifierWithIssuer<COtherCertID, OtherCertIDFields, ASN1T_OtherCertID_traits> {
public:
    COtherCertID() = default;
    // A hash of kind 1.
    explicit COtherCertID(const CBlob& sha1) { put_otherCertHash(COtherHash(sha1)); }
    // A hash of kind 2.
    COtherCertID(const CBlob& hash, const CAlgorithmIdentifier& algorithm) {
        put_otherCertHash(COtherHash(COtherHashAlgAndValue(hash, algorithm)));
    }

    const COtherHash& get_otherCertHash() const noexcept { return block_->otherCertHash; }
    void put_otherCertHash(const COtherHash& hash) { block_->otherCertHash = hash; }

    // As `operator==`, but without regard to the algorithms of the hashes.
    bool compare_noHashParam(const COtherCertID& other) const noexcept;
};

class COtherCertIDList : public std::list<COtherCertID> {
public:
    using std::list<COtherCertID>::list;
};

} // namespace Halcyon::ASN1
