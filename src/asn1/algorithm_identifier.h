// CAlgorithmIdentifier: an algorithm's object identifier and parameters (RFC 5280, 4.1.1.2).
#pragma once

#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>
#include <chronoseal/visibility.h>

namespace Halcyon::ASN1 {

// The identifier is dotted text, the parameters are the complete DER of their value. Empty
// parameters are absent ones, and aren't the same as an explicit NULL (05 00). A value that owns
// its data.
class CHRONOSEAL_API CAlgorithmIdentifier {
public:
    CAlgorithmIdentifier();
    // Without parameters. The text isn't checked before it is encoded.
    explicit CAlgorithmIdentifier(const char* oid);
    CAlgorithmIdentifier(const CAlgorithmIdentifier& other) = default;
    CAlgorithmIdentifier& operator=(const CAlgorithmIdentifier& other);
    virtual ~CAlgorithmIdentifier();

    // A new text takes effect through this one operation, decoding included.
    virtual void put_algorithm(const char* oid);

    void assign(const CAlgorithmIdentifier& other);
    void swap(CAlgorithmIdentifier& other);

    // Good until the object changes.
    const char* get_algorithm() const noexcept { return algorithm_.c_str(); }
    // Never null.
    const CBlob* get_parameters() const noexcept { return &parameters_; }
    void put_parameters(const CBlob& parameters);

    // The DER. Throws 0x80093101 for a text that is no identifier, and for parameters that don't
    // fit a known algorithm.
    CBlob encode() const;
    // Throws 0x80093101, the value being unchanged.
    void decode(const CBlob& der);

private:
    CStringProxy algorithm_;
    CBlob parameters_;
};

// Texts and parameters byte for byte; neither is normalised.
CHRONOSEAL_API bool operator==(const CAlgorithmIdentifier& a,
                               const CAlgorithmIdentifier& b) noexcept;
inline bool operator!=(const CAlgorithmIdentifier& a, const CAlgorithmIdentifier& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
