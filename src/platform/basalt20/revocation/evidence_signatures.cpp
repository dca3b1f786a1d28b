#include <basalt/revocation/evidence_signatures.h>

#include <openssl/err.h>

namespace basalt {

namespace {

// A key of another type than the algorithm's can't have made the signature, and isn't asked.
bool fits(const X509_ALGOR* algorithm, const EVP_PKEY* key) {
    int key_type = NID_undef;
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    if (OBJ_find_sigid_algs(OBJ_obj2nid(object), nullptr, &key_type) != 1) {
        return false;
    }
    const int type = EVP_PKEY_get_base_id(key);
    return EVP_PKEY_type(key_type) == type ||
           (key_type == EVP_PKEY_RSA_PSS && type == EVP_PKEY_RSA);
}

} // namespace

template <class Check>
bool EvidenceSignatures::look_up(const void* object, const X509_ALGOR* algorithm,
                                 const X509Entry& signer, StrengthLevel level, bool given,
                                 Check&& check) {
    EVP_PKEY* key = X509_get0_pubkey(signer.certificate.get());
    if (key == nullptr || !fits(algorithm, key) ||
        !passes(weaker(strength_of(algorithm), strength_of(key)), level)) {
        ERR_clear_error();
        return false;
    }
    const auto known = known_.find({object, &signer});
    if (known != known_.end()) {
        return known->second;
    }
    if (!budget_.take_evidence_signature(key, given)) {
        note_left_out();
        return false;
    }
    const bool good = check(key);
    ERR_clear_error();
    known_[{object, &signer}] = good;
    return good;
}

bool EvidenceSignatures::good(const CrlFacts& list, const X509Entry& signer, StrengthLevel level,
                              bool given) {
    const X509_ALGOR* algorithm = nullptr;
    X509_CRL_get0_signature(list.list.get(), nullptr, &algorithm);
    return look_up(&list, algorithm, signer, level, given,
                   [&](EVP_PKEY* key) { return X509_CRL_verify(list.list.get(), key) == 1; });
}

bool EvidenceSignatures::good(const OcspFacts& answer, const X509Entry& signer, StrengthLevel level,
                              bool given) {
    const X509_ALGOR* algorithm = OCSP_resp_get0_tbs_sigalg(answer.basic.get());
    return look_up(&answer, algorithm, signer, level, given, [&](EVP_PKEY* key) {
        return ASN1_item_verify(ASN1_ITEM_rptr(OCSP_RESPDATA), algorithm,
                                OCSP_resp_get0_signature(answer.basic.get()),
                                OCSP_resp_get0_respdata(answer.basic.get()), key) == 1;
    });
}

bool EvidenceSignatures::good(const X509Entry& certificate, const X509Entry& issuer,
                              StrengthLevel level, bool given) {
    const X509_ALGOR* algorithm = nullptr;
    X509_get0_signature(nullptr, &algorithm, certificate.certificate.get());
    return look_up(&certificate, algorithm, issuer, level, given, [&](EVP_PKEY* key) {
        return X509_verify(certificate.certificate.get(), key) == 1;
    });
}

} // namespace basalt
