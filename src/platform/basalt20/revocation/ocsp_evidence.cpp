#include "basalt20/revocation/ocsp_evidence.h"

#include "basalt20/coding/openssl_owner.h"

#include <openssl/err.h>
#include <openssl/ocsp.h>

namespace basalt {

namespace {

using BasicOwner = OpensslOwner<OCSP_BASICRESP, OCSP_BASICRESP_free>;

BasicOwner parse(Bytes encoded) {
    const unsigned char* cursor = encoded.data();
    const OpensslOwner<OCSP_RESPONSE, OCSP_RESPONSE_free> response(
        d2i_OCSP_RESPONSE(nullptr, &cursor, static_cast<long>(encoded.size())));
    BasicOwner basic;
    if (response && OCSP_response_status(response.get()) == OCSP_RESPONSE_STATUS_SUCCESSFUL) {
        basic.reset(OCSP_response_get1_basic(response.get()));
    }
    ERR_clear_error();
    return basic;
}

bool is_about(const OCSP_SINGLERESP* single, X509* certificate, X509* issuer) {
    const OCSP_CERTID* id = OCSP_SINGLERESP_get0_id(single);
    ASN1_OBJECT* algorithm = nullptr;
    OCSP_id_get0_info(nullptr, &algorithm, nullptr, nullptr, const_cast<OCSP_CERTID*>(id));
    const EVP_MD* digest = EVP_get_digestbyobj(algorithm);
    if (digest == nullptr) {
        return false;
    }
    const OpensslOwner<OCSP_CERTID, OCSP_CERTID_free> wanted(
        OCSP_cert_to_id(digest, certificate, issuer));
    return wanted && OCSP_id_cmp(id, wanted.get()) == 0;
}

struct FreeStackOnly {
    void operator()(STACK_OF(X509) * stack) const noexcept { sk_X509_free(stack); }
};

// The issuer is the trust anchor of this little judgement, whatever stands above it.
bool is_authentic(OCSP_BASICRESP* basic, X509* issuer) {
    const OpensslOwner<X509_STORE, X509_STORE_free> store(X509_STORE_new());
    const std::unique_ptr<STACK_OF(X509), FreeStackOnly> candidates(sk_X509_new_null());
    const std::optional<FileTicks> made = ticks_of(OCSP_resp_get0_produced_at(basic));
    if (!store || !candidates || !made || sk_X509_push(candidates.get(), issuer) <= 0 ||
        X509_STORE_add_cert(store.get(), issuer) != 1) {
        return false;
    }
    const OpensslOwner<X509_VERIFY_PARAM, X509_VERIFY_PARAM_free> param(X509_VERIFY_PARAM_new());
    if (!param) {
        return false;
    }
    X509_VERIFY_PARAM_set_flags(param.get(), X509_V_FLAG_PARTIAL_CHAIN);
    X509_VERIFY_PARAM_set_time(param.get(), unix_time_of(*made));
    X509_STORE_set1_param(store.get(), param.get());
    return OCSP_basic_verify(basic, candidates.get(), store.get(), 0) == 1;
}

std::optional<RevocationEvidence> read_single(OCSP_SINGLERESP* single) {
    int reason = -1;
    ASN1_GENERALIZEDTIME* revoked_at = nullptr;
    ASN1_GENERALIZEDTIME* this_update = nullptr;
    ASN1_GENERALIZEDTIME* next_update = nullptr;
    const int status =
        OCSP_single_get0_status(single, &reason, &revoked_at, &this_update, &next_update);
    const std::optional<FileTicks> made = ticks_of(this_update);
    if (!made || (status != V_OCSP_CERTSTATUS_GOOD && status != V_OCSP_CERTSTATUS_REVOKED)) {
        return std::nullopt;
    }
    RevocationEvidence evidence;
    evidence.this_update = *made;
    evidence.next_update = ticks_of(next_update);
    if (status == V_OCSP_CERTSTATUS_REVOKED) {
        evidence.revoked = true;
        evidence.revoked_at = ticks_of(revoked_at).value_or(0);
        if (reason >= 0) {
            evidence.reason = reason;
        }
    }
    return evidence;
}

} // namespace

std::vector<BYTE> make_ocsp_request(X509* certificate, X509* issuer) {
    const OpensslOwner<OCSP_REQUEST, OCSP_REQUEST_free> request(OCSP_REQUEST_new());
    // SHA-1 as the identifier's hash is what every responder knows (RFC 5019, 2.1.1).
    OpensslOwner<OCSP_CERTID, OCSP_CERTID_free> id(
        OCSP_cert_to_id(EVP_sha1(), certificate, issuer));
    if (!request || !id || OCSP_request_add0_id(request.get(), id.get()) == nullptr) {
        ERR_clear_error();
        return {};
    }
    id.release(); // the request's now
    unsigned char* der = nullptr;
    const int size = i2d_OCSP_REQUEST(request.get(), &der);
    if (size <= 0) {
        return {};
    }
    std::vector<BYTE> bytes(der, der + size);
    OPENSSL_free(der);
    return bytes;
}

std::optional<RevocationEvidence> evidence_of_ocsp(Bytes encoded, X509* certificate, X509* issuer) {
    const BasicOwner basic = parse(encoded);
    if (!basic) {
        return std::nullopt;
    }
    std::optional<RevocationEvidence> found;
    for (int i = 0; i < OCSP_resp_count(basic.get()) && !found; ++i) {
        OCSP_SINGLERESP* single = OCSP_resp_get0(basic.get(), i);
        if (is_about(single, certificate, issuer)) {
            found = read_single(single);
        }
    }
    if (found && !is_authentic(basic.get(), issuer)) {
        found.reset();
    }
    ERR_clear_error();
    return found;
}

bool ocsp_is_current(Bytes encoded) {
    const BasicOwner basic = parse(encoded);
    if (!basic || OCSP_resp_count(basic.get()) == 0) {
        return false;
    }
    const FileTicks now = now_in_ticks();
    for (int i = 0; i < OCSP_resp_count(basic.get()); ++i) {
        ASN1_GENERALIZEDTIME* next_update = nullptr;
        OCSP_single_get0_status(OCSP_resp_get0(basic.get(), i), nullptr, nullptr, nullptr,
                                &next_update);
        const std::optional<FileTicks> next = ticks_of(next_update);
        if (!next || *next < now) {
            return false;
        }
    }
    return true;
}

} // namespace basalt
