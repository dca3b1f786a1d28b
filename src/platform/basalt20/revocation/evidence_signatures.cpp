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

using AnyOwner = OpensslOwner<ASN1_TYPE, ASN1_TYPE_free>;

// An element that OpenSSL encodes as the bytes that it is; null when there is no memory.
AnyOwner as_any(Bytes encoded) {
    AnyOwner any(ASN1_TYPE_new());
    ASN1_STRING* bytes = ASN1_STRING_type_new(V_ASN1_SEQUENCE);
    if (!any || ASN1_STRING_set(bytes, encoded.data(), static_cast<int>(encoded.size())) != 1) {
        ASN1_STRING_free(bytes);
        return nullptr;
    }
    ASN1_TYPE_set(any.get(), V_ASN1_SEQUENCE, bytes);
    return any;
}

} // namespace

bool has_signed(EVP_PKEY* key, const CrlFacts& list) {
    const X509_ALGOR* algorithm = nullptr;
    const ASN1_BIT_STRING* signature = nullptr;
    X509_CRL_get0_signature(list.head.get(), &signature, &algorithm);
    if (!fits(algorithm, key)) {
        return false;
    }
    const AnyOwner signed_part = as_any(list.parts.signed_part);
    const bool good = signed_part && ASN1_item_verify(ASN1_ITEM_rptr(ASN1_ANY), algorithm,
                                                      signature, signed_part.get(), key) == 1;
    ERR_clear_error();
    return good;
}

const X509Entry* EvidenceSignatures::of_same_key(const X509Entry& signer) {
    const auto [place, is_new] = of_same_key_.try_emplace(&signer, &signer);
    if (is_new) {
        const X509_PUBKEY* whole = X509_get_X509_PUBKEY(signer.certificate.get());
        if (std::string key = der_of(i2d_X509_PUBKEY, whole); !key.empty()) {
            place->second = by_key_.try_emplace(std::move(key), &signer).first->second;
        }
    }
    return place->second;
}

template <class Check>
bool EvidenceSignatures::look_up(const void* object, const X509_ALGOR* algorithm,
                                 const X509Entry& signer, StrengthLevel level, Terms terms,
                                 Check&& check) {
    EVP_PKEY* key = X509_get0_pubkey(signer.certificate.get());
    if (key == nullptr || signer.key == nullptr || !fits(algorithm, key) ||
        !passes(weaker(strength_of(algorithm), strength_of(*signer.key)), level)) {
        ERR_clear_error();
        return false;
    }
    const std::pair<const void*, const X509Entry*> checked{object, of_same_key(signer)};
    const auto known = known_.find(checked);
    if (known != known_.end()) {
        return known->second;
    }
    if (!budget_.take_evidence_signature(key, terms.given,
                                         terms.octets * hashing_weight(algorithm))) {
        note_left_out();
        return false;
    }
    const bool good = check(key);
    ERR_clear_error();
    known_[checked] = good;
    return good;
}

bool EvidenceSignatures::good(const CrlFacts& list, const X509Entry& signer, StrengthLevel level,
                              bool given, std::size_t octets) {
    const X509_ALGOR* algorithm = nullptr;
    X509_CRL_get0_signature(list.head.get(), nullptr, &algorithm);
    return look_up(&list, algorithm, signer, level, {given, octets},
                   [&](EVP_PKEY* key) { return has_signed(key, list); });
}

bool EvidenceSignatures::good(const OcspFacts& answer, const X509Entry& signer, StrengthLevel level,
                              bool given, std::size_t octets) {
    const X509_ALGOR* algorithm = OCSP_resp_get0_tbs_sigalg(answer.basic.get());
    return look_up(&answer, algorithm, signer, level, {given, octets}, [&](EVP_PKEY* key) {
        return ASN1_item_verify(ASN1_ITEM_rptr(OCSP_RESPDATA), algorithm,
                                OCSP_resp_get0_signature(answer.basic.get()),
                                OCSP_resp_get0_respdata(answer.basic.get()), key) == 1;
    });
}

bool EvidenceSignatures::good(const X509Entry& certificate, const X509Entry& issuer,
                              StrengthLevel level, bool given) {
    const X509_ALGOR* algorithm = nullptr;
    X509_get0_signature(nullptr, &algorithm, certificate.certificate.get());
    return look_up(&certificate, algorithm, issuer, level, {given, 0}, [&](EVP_PKEY* key) {
        return X509_verify(certificate.certificate.get(), key) == 1;
    });
}

} // namespace basalt
