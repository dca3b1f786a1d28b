// For tests: what a test's authority says of its own signer, as lists and as OCSP answers.
#pragma once

#include <string>

#include <openssl/ocsp.h>

#include <chronoseal/client/testing/authority.h>

namespace chronoseal::testing {

namespace tsp = Halcyon::PKI::TSP::Client::testing;

// A revocation list by the authority's root that names its signer, revoked then for that reason
// (-1: none told); with an empty time it names nobody. Times as GeneralizedTime.
inline std::string list_by(const tsp::Authority& by, const std::string& revoked, int reason,
                           const char* from, const char* to) {
    const auto crl = tsp::owned(X509_CRL_new(), &X509_CRL_free);
    const auto time = tsp::owned(ASN1_TIME_new(), &ASN1_TIME_free);
    X509_CRL_set_version(crl.get(), X509_CRL_VERSION_2);
    X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(by.root()));
    ASN1_TIME_set_string_X509(time.get(), from);
    X509_CRL_set1_lastUpdate(crl.get(), time.get());
    ASN1_TIME_set_string_X509(time.get(), to);
    X509_CRL_set1_nextUpdate(crl.get(), time.get());
    if (!revoked.empty()) {
        X509_REVOKED* entry = X509_REVOKED_new();
        ASN1_TIME_set_string_X509(time.get(), revoked.c_str());
        X509_REVOKED_set_revocationDate(entry, time.get());
        X509_REVOKED_set_serialNumber(entry, X509_get_serialNumber(by.signer()));
        if (reason >= 0) {
            const auto number = tsp::owned(ASN1_ENUMERATED_new(), &ASN1_ENUMERATED_free);
            ASN1_ENUMERATED_set(number.get(), reason);
            X509_REVOKED_add1_ext_i2d(entry, NID_crl_reason, number.get(), 0, 0);
        }
        X509_CRL_add0_revoked(crl.get(), entry);
    }
    X509_CRL_sign(crl.get(), by.root_key(), EVP_sha256());
    return tsp::der(crl.get(), &i2d_X509_CRL);
}

// An OCSPResponse by the root about the signer, from the same arguments.
inline std::string status_answer_by(const tsp::Authority& by, const std::string& revoked,
                                    int reason, const char* from, const char* to) {
    using Time = std::unique_ptr<ASN1_GENERALIZEDTIME, decltype(&ASN1_GENERALIZEDTIME_free)>;
    const auto time = [](const std::string& text) {
        Time made(text.empty() ? nullptr : ASN1_GENERALIZEDTIME_new(), &ASN1_GENERALIZEDTIME_free);
        if (made) {
            ASN1_GENERALIZEDTIME_set_string(made.get(), text.c_str());
        }
        return made;
    };
    const auto basic = tsp::owned(OCSP_BASICRESP_new(), &OCSP_BASICRESP_free);
    const auto id =
        tsp::owned(OCSP_cert_to_id(EVP_sha1(), by.signer(), by.root()), &OCSP_CERTID_free);
    OCSP_basic_add1_status(basic.get(), id.get(),
                           revoked.empty() ? V_OCSP_CERTSTATUS_GOOD : V_OCSP_CERTSTATUS_REVOKED,
                           reason, time(revoked).get(), time(from).get(), time(to).get());
    OCSP_basic_sign(basic.get(), by.root(), by.root_key(), EVP_sha256(), nullptr, 0);
    const auto response = tsp::owned(
        OCSP_response_create(OCSP_RESPONSE_STATUS_SUCCESSFUL, basic.get()), &OCSP_RESPONSE_free);
    return tsp::der(response.get(), &i2d_OCSP_RESPONSE);
}

} // namespace chronoseal::testing
