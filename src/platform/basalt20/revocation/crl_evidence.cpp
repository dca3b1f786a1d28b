#include "basalt20/revocation/crl_evidence.h"

#include "basalt20/coding/openssl_owner.h"

#include <openssl/err.h>
#include <openssl/x509v3.h>

namespace basalt {

namespace {

using CrlOwner = OpensslOwner<X509_CRL, X509_CRL_free>;

CrlOwner parse(Bytes encoded) {
    const unsigned char* cursor = encoded.data();
    CrlOwner crl(d2i_X509_CRL(nullptr, &cursor, static_cast<long>(encoded.size())));
    if (crl && cursor != encoded.data() + encoded.size()) {
        crl.reset();
    }
    ERR_clear_error();
    return crl;
}

bool may_sign_crls(X509* issuer) {
    // Without the extension every usage is allowed, which OpenSSL tells by all bits set.
    return (X509_get_key_usage(issuer) & KU_CRL_SIGN) != 0;
}

bool has_unknown_critical_extension(const X509_CRL* crl) {
    for (int i = 0; i < X509_CRL_get_ext_count(crl); ++i) {
        X509_EXTENSION* extension = X509_CRL_get_ext(crl, i);
        if (X509_EXTENSION_get_critical(extension) == 1 &&
            OBJ_obj2nid(X509_EXTENSION_get_object(extension)) != NID_issuing_distribution_point) {
            return true;
        }
    }
    return false;
}

bool names_in_common(const GENERAL_NAMES* a, const GENERAL_NAMES* b) {
    for (int i = 0; i < sk_GENERAL_NAME_num(a); ++i) {
        for (int j = 0; j < sk_GENERAL_NAME_num(b); ++j) {
            if (GENERAL_NAME_cmp(sk_GENERAL_NAME_value(a, i), sk_GENERAL_NAME_value(b, j)) == 0) {
                return true;
            }
        }
    }
    return false;
}

// True when one of the certificate's distribution points is the one that the CRL is for. A
// certificate that names none is in the scope of any complete CRL of its issuer.
bool same_distribution_point(const DIST_POINT_NAME* of_crl, X509* certificate) {
    const OpensslOwner<CRL_DIST_POINTS, CRL_DIST_POINTS_free> points(static_cast<CRL_DIST_POINTS*>(
        X509_get_ext_d2i(certificate, NID_crl_distribution_points, nullptr, nullptr)));
    if (of_crl == nullptr || !points) {
        return true;
    }
    if (of_crl->type != 0) {
        return false;
    }
    for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
        const DIST_POINT_NAME* name = sk_DIST_POINT_value(points.get(), i)->distpoint;
        if (name != nullptr && name->type == 0 &&
            names_in_common(of_crl->name.fullname, name->name.fullname)) {
            return true;
        }
    }
    return false;
}

bool is_in_scope(const X509_CRL* crl, X509* certificate) {
    int critical = 0;
    const OpensslOwner<ISSUING_DIST_POINT, ISSUING_DIST_POINT_free> scope(
        static_cast<ISSUING_DIST_POINT*>(
            X509_CRL_get_ext_d2i(crl, NID_issuing_distribution_point, &critical, nullptr)));
    if (!scope) {
        return critical == -1; // absent; any other number tells of one that can't be read
    }
    const bool is_ca = (X509_get_extension_flags(certificate) & EXFLAG_CA) != 0;
    return !scope->indirectCRL && !scope->onlyattr && scope->onlysomereasons == nullptr &&
           !(scope->onlyuser && is_ca) && !(scope->onlyCA && !is_ca) &&
           same_distribution_point(scope->distpoint, certificate);
}

bool is_authentic(X509_CRL* crl, X509* issuer) {
    return X509_NAME_cmp(X509_CRL_get_issuer(crl), X509_get_subject_name(issuer)) == 0 &&
           may_sign_crls(issuer) && X509_get0_pubkey(issuer) != nullptr &&
           X509_CRL_verify(crl, X509_get0_pubkey(issuer)) == 1;
}

void read_entry(X509_REVOKED* entry, RevocationEvidence& evidence) {
    evidence.revoked = true;
    evidence.revoked_at = ticks_of(X509_REVOKED_get0_revocationDate(entry)).value_or(0);
    const OpensslOwner<ASN1_ENUMERATED, ASN1_ENUMERATED_free> reason(static_cast<ASN1_ENUMERATED*>(
        X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr)));
    if (reason) {
        evidence.reason = static_cast<int>(ASN1_ENUMERATED_get(reason.get()));
    }
}

} // namespace

std::optional<RevocationEvidence> evidence_of_crl(Bytes encoded, X509* certificate, X509* issuer) {
    const CrlOwner crl = parse(encoded);
    if (!crl || has_unknown_critical_extension(crl.get()) || !is_in_scope(crl.get(), certificate) ||
        !is_authentic(crl.get(), issuer)) {
        ERR_clear_error();
        return std::nullopt;
    }
    const std::optional<FileTicks> this_update = ticks_of(X509_CRL_get0_lastUpdate(crl.get()));
    if (!this_update) {
        return std::nullopt;
    }
    RevocationEvidence evidence;
    evidence.this_update = *this_update;
    evidence.next_update = ticks_of(X509_CRL_get0_nextUpdate(crl.get()));
    X509_REVOKED* entry = nullptr;
    // 1: listed; 2: listed as taken off again (removeFromCRL), which a complete CRL has no use for.
    if (X509_CRL_get0_by_cert(crl.get(), &entry, certificate) == 1) {
        read_entry(entry, evidence);
    }
    return evidence;
}

bool crl_is_current(Bytes encoded) {
    const CrlOwner crl = parse(encoded);
    if (!crl) {
        return false;
    }
    const std::optional<FileTicks> next = ticks_of(X509_CRL_get0_nextUpdate(crl.get()));
    return next && *next >= now_in_ticks();
}

} // namespace basalt
