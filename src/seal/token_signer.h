// Who has signed a token: by the signed attributes that name a certificate.
#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include <basalt/error_codes.h>
#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/cert_store.h>
#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/signed_bytes.h>
#include <chronoseal/seal/signer_naming.h>

namespace chronoseal {

// What the signed attributes of a token name.
class SignerName {
public:
    // Nobody.
    SignerName() = default;
    // `record` is that of the first signer.
    SignerName(const ATL2::CCryptMsg& message, const SignerRecord& record);

    // Why nobody is named that could be found; 0: somebody is.
    std::uint32_t code() const { return code_; }
    // Whether it is this certificate. The first throws an ATL exception where that can't be told,
    // the second says no.
    bool matches(const CertificateInfo& certificate) const;
    bool is(const CertificateInfo& certificate) const;
    // Whether all attributes that name somebody have been compared, and not the foremost alone.
    bool compares_all() const { return !namings_.empty(); }
    // The OID of the hash by which the certificate is named; empty when nobody is.
    std::string_view hash_oid() const;

private:
    // One of the three, if somebody is named: the SHA-256 of the certificate where that is all
    // there is, as in most tokens, else the whole identifier; or, where that can't be made into a
    // record, what each attribute names.
    std::shared_ptr<const Bytes> sha256_;
    std::shared_ptr<const Halcyon::ASN1::COtherCertID> id_;
    std::vector<SignerNaming> namings_;
    std::uint32_t code_ = static_cast<std::uint32_t>(E_FAIL);
};

struct SignerSearch {
    ATL2::CCertContext certificate; // empty: none
    std::uint32_t code = 0;         // why there is none
};

// The certificate of that name, looked for in the stores in their order. `last_store`, if there is
// one, opens one more, and is called only when the others haven't got it.
SignerSearch find_signer(const SignerName& name, const std::vector<const ATL2::CCertStore*>& stores,
                         const std::function<ATL2::CCertStore()>& last_store = {});

} // namespace chronoseal
