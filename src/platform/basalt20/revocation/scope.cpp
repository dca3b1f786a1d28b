#include <basalt/revocation/scope.h>

#include <openssl/err.h>

#include <algorithm>

namespace basalt {

namespace {

using NamesOwner = OpensslOwner<GENERAL_NAMES, GENERAL_NAMES_free>;
using NameOwner = OpensslOwner<X509_NAME, X509_NAME_free>;

constexpr int kFullName = 0;

ReasonSet reasons_of_bits(const ASN1_BIT_STRING* bits) {
    if (bits == nullptr) {
        return kAllReasons;
    }
    ReasonSet reasons = 0;
    for (int i = 1; i <= 8; ++i) {
        if (ASN1_BIT_STRING_get_bit(bits, i) == 1) {
            reasons |= static_cast<ReasonSet>(1U << i);
        }
    }
    return reasons;
}

bool holds_name(const GENERAL_NAMES* names, const X509_NAME* wanted) {
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, i);
        if (name->type == GEN_DIRNAME && X509_NAME_cmp(name->d.directoryName, wanted) == 0) {
            return true;
        }
    }
    return false;
}

const X509_NAME* first_directory_name(const GENERAL_NAMES* names) {
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, i);
        if (name->type == GEN_DIRNAME) {
            return name->d.directoryName;
        }
    }
    return nullptr;
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

// The names of a distribution point in full: one relative to an issuer becomes a directory name.
class FullNames {
public:
    FullNames(const DIST_POINT_NAME& point, const X509_NAME* issuer) {
        if (point.type == kFullName) {
            names_ = point.name.fullname;
            return;
        }
        expanded_.reset(GENERAL_NAMES_new());
        NameOwner name(issuer != nullptr ? X509_NAME_dup(issuer) : nullptr);
        const STACK_OF(X509_NAME_ENTRY)* fragment = point.name.relativename;
        for (int i = 0; name && i < sk_X509_NAME_ENTRY_num(fragment); ++i) {
            // All of the fragment is one relative name: a new set first, the others beside it.
            if (X509_NAME_add_entry(name.get(), sk_X509_NAME_ENTRY_value(fragment, i), -1,
                                    i == 0 ? 0 : -1) != 1) {
                name.reset();
            }
        }
        GENERAL_NAME* general = name && expanded_ ? GENERAL_NAME_new() : nullptr;
        if (general != nullptr) {
            GENERAL_NAME_set0_value(general, GEN_DIRNAME, name.release());
            if (sk_GENERAL_NAME_push(expanded_.get(), general) <= 0) {
                GENERAL_NAME_free(general);
            }
        }
        names_ = expanded_.get();
    }

    const GENERAL_NAMES* get() const { return names_; }

private:
    NamesOwner expanded_;
    const GENERAL_NAMES* names_ = nullptr;
};

} // namespace

CertificateScope::CertificateScope(X509* certificate)
    : certificate_(certificate), points_(static_cast<CRL_DIST_POINTS*>(X509_get_ext_d2i(
                                     certificate, NID_crl_distribution_points, nullptr, nullptr))),
      list_issuers_{X509_get_issuer_name(certificate)} {
    ERR_clear_error();
    for (int i = 0; i < sk_DIST_POINT_num(points_.get()); ++i) {
        const GENERAL_NAMES* issuers = sk_DIST_POINT_value(points_.get(), i)->CRLissuer;
        for (int j = 0; j < sk_GENERAL_NAME_num(issuers); ++j) {
            const GENERAL_NAME* name = sk_GENERAL_NAME_value(issuers, j);
            const auto same = [&](const X509_NAME* known) {
                return X509_NAME_cmp(known, name->d.directoryName) == 0;
            };
            if (name->type == GEN_DIRNAME &&
                std::none_of(list_issuers_.begin(), list_issuers_.end(), same)) {
                list_issuers_.push_back(name->d.directoryName);
            }
        }
    }
}

bool CertificateScope::points_to(const X509_NAME* list_issuer) const {
    for (int i = 0; i < sk_DIST_POINT_num(points_.get()); ++i) {
        if (holds_name(sk_DIST_POINT_value(points_.get(), i)->CRLissuer, list_issuer)) {
            return true;
        }
    }
    return false;
}

bool CertificateScope::kind_fits(const CrlFacts& list) const {
    if (!list.point) {
        return true;
    }
    const ISSUING_DIST_POINT& point = *list.point;
    const bool is_ca = (X509_get_extension_flags(certificate_) & EXFLAG_CA) != 0;
    // A certificate too old for extensions doesn't tell what it is.
    const bool tells = X509_get_version(certificate_) >= X509_VERSION_3;
    return point.onlyattr <= 0 && !(point.onlyuser > 0 && (is_ca || !tells)) &&
           !(point.onlyCA > 0 && (!is_ca || !tells));
}

ReasonSet CertificateScope::reasons_of_point(const DIST_POINT& point, const CrlFacts& list) const {
    const X509_NAME* issuer = X509_get_issuer_name(certificate_);
    if (point.CRLissuer != nullptr) {
        if (!list.is_indirect() || !holds_name(point.CRLissuer, list.issuer())) {
            return 0;
        }
    } else if (X509_NAME_cmp(list.issuer(), issuer) != 0) {
        return 0;
    }
    if (list.point && list.point->distpoint != nullptr) {
        const FullNames of_list(*list.point->distpoint, list.issuer());
        if (point.distpoint != nullptr) {
            const X509_NAME* above =
                point.CRLissuer != nullptr ? first_directory_name(point.CRLissuer) : issuer;
            const FullNames of_point(*point.distpoint, above);
            if (!names_in_common(of_list.get(), of_point.get())) {
                return 0;
            }
        } else if (!names_in_common(of_list.get(), point.CRLissuer)) {
            return 0;
        }
    }
    return reasons_of_bits(point.reasons);
}

// The point that every certificate has, told or not: all reasons, under its issuer's name.
bool CertificateScope::is_of_the_issuers_own_point(const CrlFacts& list) const {
    const X509_NAME* issuer = X509_get_issuer_name(certificate_);
    if (X509_NAME_cmp(list.issuer(), issuer) != 0) {
        return false;
    }
    if (!list.point || list.point->distpoint == nullptr) {
        return true;
    }
    const FullNames names(*list.point->distpoint, list.issuer());
    return holds_name(names.get(), issuer);
}

ReasonSet CertificateScope::reasons(const CrlFacts& list) const {
    if (!kind_fits(list)) {
        return 0;
    }
    ReasonSet reasons = 0;
    for (int i = 0; i < sk_DIST_POINT_num(points_.get()); ++i) {
        reasons |= reasons_of_point(*sk_DIST_POINT_value(points_.get(), i), list);
    }
    if (reasons == 0 && is_of_the_issuers_own_point(list)) {
        reasons = kAllReasons;
    }
    const ASN1_BIT_STRING* some = list.point ? list.point->onlysomereasons : nullptr;
    ERR_clear_error();
    return reasons & reasons_of_bits(some);
}

} // namespace basalt
