// CAlgorithmIdentifier: an algorithm's object identifier and parameters (RFC 5280, 4.1.1.2).
#pragma once

#include "base/blob.h"
#include "base/string_proxy.h"

namespace Halcyon::ASN1 {

// The identifier is dotted text, the parameters are the complete DER of their value. Empty
// parameters are absent ones, and aren't the same as an explicit NULL (05 00). A value that owns
// its data.
class CAlgorithmIdentifier {
public:
    CAlgorithmIdentifier();
    // Without parameters. The text isn't checked before it is encoded.
    explicit CAlgorithmIdentifier(char const* oid);
    CAlgorithmIdentifier(CAlgorithmIdentifier const& other);
    CAlgorithmIdentifier& operator=(CAlgorithmIdentifier const& other);
    virtual ~CAlgorithmIdentifier();

    // A new text takes effect through this one operation, decoding included.
    virtual void put_algorithm(char const* oid);

    void assign(CAlgorithmIdentifier const& other);
    void swap(CAlgorithmIdentifier& other);

    // Good until the object changes.
    char const* get_algorithm() const noexcept { return algorithm_.c_str(); }
    // Never null.
    CBlob const* get_parameters() const noexcept { return &parameters_; }
    void put_parameters(CBlob const& parameters);

    // The DER. Throws 0x80093101 for a text that is no identifier, and for parameters that don't
    // fit a known algorithm.
    CBlob encode() const;
    // Throws 0x80093101, the value being unchanged.
    void decode(CBlob const& der);

private:
    CStringProxy algorithm_;
    CBlob parameters_;
};

// Texts and parameters byte for byte; neither is normalised.
bool operator==(CAlgorithmIdentifier const& a, CAlgorithmIdentifier const& b) noexcept;
inline bool operator!=(CAlgorithmIdentifier const& a, CAlgorithmIdentifier const& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
