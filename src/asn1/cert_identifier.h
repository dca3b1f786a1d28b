// What names a certificate: by issuer and serial number, by a SHA-1 hash, by a hash of any
// algorithm (RFC 2634, 5.4.1; RFC 5035, 4; RFC 5126, 5.7.3.3). The hashes are kept as given: they
// are neither computed nor checked here (see certificate_identification.h).
#pragma once

#include <list>

#include <chronoseal/asn1/algorithm_identifier.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/choice.h>
#include <chronoseal/asn1/general_name.h>
#include <chronoseal/asn1/owned.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

// A certificate's issuer and serial number (RFC 2634, 5.4.1). Owns all its data.
class CIssuerSerial {
public:
    CIssuerSerial() = default;
    CIssuerSerial(const CGeneralNames& issuer, const CBigInteger& serialNumber)
        : issuer_(issuer), serialNumber_(serialNumber) {}

    const CGeneralNames& get_issuer() const noexcept { return issuer_; }
    const CBigInteger& get_serialNumber() const noexcept { return serialNumber_; }
    void put_issuer(const CGeneralNames& issuer) { issuer_ = issuer; }
    void put_serialNumber(const CBigInteger& serialNumber) { serialNumber_ = serialNumber; }

    // The DER. Throws 0x80093101, and 0x80070057 for a name of a kind that isn't supported.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    CGeneralNames issuer_;
    CBigInteger serialNumber_;
};

// The issuers' names pairwise in order by the rules of CGeneralName, the serial numbers by value.
bool operator==(const CIssuerSerial& a, const CIssuerSerial& b) noexcept;
inline bool operator!=(const CIssuerSerial& a, const CIssuerSerial& b) noexcept {
    return !(a == b);
}

// By a SHA-1 hash. Owns all its data.
class CESSCertID {
public:
    CESSCertID() = default;
    explicit CESSCertID(const CBlob& certHash) { put_certHash(certHash); }

    const CBlob& get_certHash() const noexcept { return block_->certHash; }
    // Null if absent.
    const CIssuerSerial* get_issuerSerial() const noexcept { return block_->issuerSerial.get(); }
    void put_certHash(const CBlob& certHash) { block_->certHash = certHash; }
    void put_issuerSerial(const CIssuerSerial* issuerSerial) {
        copy_to_auto_ptr(block_->issuerSerial, issuerSerial);
    }

    // The DER. Throws as `CIssuerSerial`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    struct Block {
        CBlob certHash;
        Owned<CIssuerSerial> issuerSerial;
    };

    Owned<Block> block_{std::in_place};
};

// Hashes, then issuer and serial number: an identifier with them never equals one without.
bool operator==(const CESSCertID& a, const CESSCertID& b) noexcept;
inline bool operator!=(const CESSCertID& a, const CESSCertID& b) noexcept {
    return !(a == b);
}

class CESSCertIDList : public std::list<CESSCertID> {
public:
    using std::list<CESSCertID>::list;
};

inline constexpr char kSha256[] = "2.16.840.1.101.3.4.2.1";

// By a hash of any algorithm, SHA-256 unless another is given. SHA-256 is the DEFAULT and is left
// out of the encoding, and with it whatever parameters it has. Owns all its data.
class CESSCertIDv2 {
public:
    CESSCertIDv2() = default;
    explicit CESSCertIDv2(const CBlob& certHash) { put_certHash(certHash); }
    CESSCertIDv2(const CBlob& certHash, const CAlgorithmIdentifier& hashAlgorithm)
        : CESSCertIDv2(certHash) {
        put_hashAlgorithm(hashAlgorithm);
    }

    const CAlgorithmIdentifier& get_hashAlgorithm() const noexcept { return block_->hashAlgorithm; }
    const CBlob& get_certHash() const noexcept { return block_->certHash; }
    // Null if absent.
    const CIssuerSerial* get_issuerSerial() const noexcept { return block_->issuerSerial.get(); }
    void put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm) {
        block_->hashAlgorithm = hashAlgorithm;
    }
    void put_certHash(const CBlob& certHash) { block_->certHash = certHash; }
    void put_issuerSerial(const CIssuerSerial* issuerSerial) {
        copy_to_auto_ptr(block_->issuerSerial, issuerSerial);
    }

    // The DER. Throws as `CIssuerSerial` and `CAlgorithmIdentifier`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    struct Block {
        CAlgorithmIdentifier hashAlgorithm{kSha256};
        CBlob certHash;
        Owned<CIssuerSerial> issuerSerial;
    };

    Owned<Block> block_{std::in_place};
};

// Algorithms with their parameters, hashes, then issuer and serial number.
bool operator==(const CESSCertIDv2& a, const CESSCertIDv2& b) noexcept;
inline bool operator!=(const CESSCertIDv2& a, const CESSCertIDv2& b) noexcept {
    return !(a == b);
}

class CESSCertIDv2List : public std::list<CESSCertIDv2> {
public:
    using std::list<CESSCertIDv2>::list;
};

// A hash with its algorithm (RFC 5126, 5.8.1).
class COtherHashAlgAndValue {
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

    // The DER. Throws as `CAlgorithmIdentifier`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    CAlgorithmIdentifier hashAlgorithm_;
    CBlob hashValue_;
};

bool operator==(const COtherHashAlgAndValue& a, const COtherHashAlgAndValue& b) noexcept;
inline bool operator!=(const COtherHashAlgAndValue& a, const COtherHashAlgAndValue& b) noexcept {
    return !(a == b);
}

inline constexpr Alternative<CBlob, 1> kSha1Hash;
inline constexpr Alternative<COtherHashAlgAndValue, 2> kOtherHash;

class COtherHashImpl final : public ChoiceOf<kSha1Hash, kOtherHash> {};

// The CHOICE of a plain SHA-1 hash and a hash with its algorithm (RFC 5126, 5.8.1). Kind 0 is
// nothing.
class COtherHash : public ChoiceValue<COtherHashImpl> {
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
    CBlob encode() const;
    void decode(const CBlob& der);
};

// Kinds and values, algorithms with their parameters included. Two empty ones are equal.
bool operator==(const COtherHash& a, const COtherHash& b) noexcept;
inline bool operator!=(const COtherHash& a, const COtherHash& b) noexcept {
    return !(a == b);
}

// By either of them. Owns all its data.
class COtherCertID {
public:
    COtherCertID() = default;
    // A hash of kind 1.
    explicit COtherCertID(const CBlob& sha1) { put_otherCertHash(COtherHash(sha1)); }
    // A hash of kind 2.
    COtherCertID(const CBlob& hash, const CAlgorithmIdentifier& algorithm) {
        put_otherCertHash(COtherHash(COtherHashAlgAndValue(hash, algorithm)));
    }

    const COtherHash& get_otherCertHash() const noexcept { return block_->otherCertHash; }
    // Null if absent.
    const CIssuerSerial* get_issuerSerial() const noexcept { return block_->issuerSerial.get(); }
    void put_otherCertHash(const COtherHash& hash) { block_->otherCertHash = hash; }
    void put_issuerSerial(const CIssuerSerial* issuerSerial) {
        copy_to_auto_ptr(block_->issuerSerial, issuerSerial);
    }

    // As `operator==`, but without regard to the algorithms of the hashes.
    bool compare_noHashParam(const COtherCertID& other) const noexcept;

    // The DER. Throws 0x80093101, without a hash too, and as `CIssuerSerial`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    struct Block {
        COtherHash otherCertHash;
        Owned<CIssuerSerial> issuerSerial;
    };

    Owned<Block> block_{std::in_place};
};

// Hashes with their kinds and algorithms, then issuer and serial number.
bool operator==(const COtherCertID& a, const COtherCertID& b) noexcept;
inline bool operator!=(const COtherCertID& a, const COtherCertID& b) noexcept {
    return !(a == b);
}

class COtherCertIDList : public std::list<COtherCertID> {
public:
    using std::list<COtherCertID>::list;
};

} // namespace Halcyon::ASN1
