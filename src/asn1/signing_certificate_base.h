// CAttrSigningCertificateT: what the three signing-certificate attributes have in common, a list of
// certificate identifiers with an optional list of policies.
#pragma once

#include <memory>

#include "asn1/attr_value.h"
#include "asn1/optional_owner.h"
#include "asn1/policy_information.h"

namespace Halcyon::ASN1 {

// `List` is the list of the identifiers. The decoded form stands beside the encoded one of the
// base.
template <class List>
class CAttrSigningCertificateT : public CAttrValue {
public:
    const List& get_certs() const noexcept { return block_->certs; }
    // Null if absent.
    const CPolicyInformationList* get_policies() const noexcept { return block_->policies.get(); }

protected:
    struct Block {
        Block() = default;
        Block(const Block& other) : certs(other.certs) {
            copy_to_auto_ptr(policies, other.policies.get());
        }

        List certs;
        std::unique_ptr<CPolicyInformationList> policies;
    };

    explicit CAttrSigningCertificateT(const char* oid)
        : CAttrValue(oid), block_(std::make_unique<Block>()) {}
    CAttrSigningCertificateT(const CAttrSigningCertificateT& other)
        : CAttrValue(other), block_(std::make_unique<Block>(*other.block_)) {}
    CAttrSigningCertificateT& operator=(const CAttrSigningCertificateT& other) {
        if (this != &other) {
            auto block = std::make_unique<Block>(*other.block_);
            CAttrValue::operator=(other);
            block_ = std::move(block);
        }
        return *this;
    }
    ~CAttrSigningCertificateT() = default;

    std::unique_ptr<Block> block_;
};

} // namespace Halcyon::ASN1
