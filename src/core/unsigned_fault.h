// UnsignedFault: that a token can't be read for what no signature covers. Anybody can have put that
// there, so that it says nothing against the token; nor is the token good before all is read. It is
// caught as what the decoders throw for every other fault, with the same code.
#pragma once

#include <basalt/error_codes.h>
#include <chronoseal/base/atl_exception.h>

namespace Halcyon::PKI::TSP {

class UnsignedFault : public ATL::CAtlException {
public:
    enum class Kind { too_many, damaged };

    // `part` names the objects in the plural, and stays.
    UnsignedFault(Kind kind, const char* part) noexcept
        : CAtlException(hr(CRYPT_E_ASN1_INTERNAL)), kind_(kind), part_(part) {}
    Kind kind() const noexcept { return kind_; }
    const char* part() const noexcept { return part_; }

private:
    Kind kind_;
    const char* part_;
};

} // namespace Halcyon::PKI::TSP
