#include <basalt/revocation/scope.h>

#include <openssl/err.h>

#include <algorithm>

namespace basalt {

namespace {

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

const X509_NAME* first_directory_name(const GENERAL_NAMES* names) {
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, i);
        if (name->type == GEN_DIRNAME) {
            return name->d.directoryName;
        }
    }
    return nullptr;
}

bool is_same(const X509_NAME* a, const X509_NAME* b) {
    return X509_NAME_cmp(a, b) == 0;
}

} // namespace

CertificateScope::CertificateScope(X509* certificate)
    : certificate_(certificate), decoded_(static_cast<CRL_DIST_POINTS*>(X509_get_ext_d2i(
                                     certificate, NID_crl_distribution_points, nullptr, nullptr))) {
    ERR_clear_error();
    const int count = std::max(sk_DIST_POINT_num(decoded_.get()), 0);
    complete_ = count <= kMostPoints;
    for (int i = 0; i < std::min(count, kMostPoints); ++i) {
        points_.push_back(read(*sk_DIST_POINT_value(decoded_.get(), i)));
        complete_ =
            complete_ && points_.back().names.complete() && points_.back().issuers.complete();
    }
    gather_list_issuers();
}

CertificateScope::Point CertificateScope::read(const DIST_POINT& point) const {
    Point read;
    read.has_issuers = point.CRLissuer != nullptr;
    read.issuers = PointNames(point.CRLissuer);
    read.is_named = point.distpoint != nullptr;
    if (read.is_named) {
        read.names =
            PointNames(*point.distpoint, read.has_issuers ? first_directory_name(point.CRLissuer)
                                                          : X509_get_issuer_name(certificate_));
    }
    read.reasons = reasons_of_bits(point.reasons);
    return read;
}

void CertificateScope::gather_list_issuers() {
    const X509_NAME* issuer = X509_get_issuer_name(certificate_);
    list_issuers_.push_back(issuer);
    for (const Point& point : points_) {
        const std::vector<const X509_NAME*>& issuers = point.issuers.directories();
        list_issuers_.insert(list_issuers_.end(), issuers.begin(), issuers.end());
    }
    std::sort(list_issuers_.begin(), list_issuers_.end(),
              [](const X509_NAME* a, const X509_NAME* b) { return X509_NAME_cmp(a, b) < 0; });
    list_issuers_.erase(std::unique(list_issuers_.begin(), list_issuers_.end(), is_same),
                        list_issuers_.end());
}

bool CertificateScope::points_to(const X509_NAME* list_issuer) const {
    return std::any_of(points_.begin(), points_.end(),
                       [&](const Point& point) { return point.issuers.contains(list_issuer); });
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

bool CertificateScope::is_by(const Point& point, const CrlFacts& list) const {
    return point.has_issuers ? list.is_indirect() && point.issuers.contains(list.issuer())
                             : is_same(list.issuer(), X509_get_issuer_name(certificate_));
}

bool CertificateScope::has_name_of(const Point& point, const CrlFacts& list) const {
    return !list.names_its_point() ||
           list.point_names.meets(point.is_named ? point.names : point.issuers);
}

// The point that every certificate has, told or not: all reasons, under its issuer's name.
bool CertificateScope::is_of_the_issuers_own_point(const CrlFacts& list) const {
    const X509_NAME* issuer = X509_get_issuer_name(certificate_);
    return is_same(list.issuer(), issuer) &&
           (!list.names_its_point() || list.point_names.contains(issuer));
}

std::optional<ReasonSet> CertificateScope::reasons(const CrlFacts& list) const {
    if (!kind_fits(list)) {
        return ReasonSet{0};
    }
    if (!list.point_names.complete()) {
        return std::nullopt;
    }
    ReasonSet reasons = 0;
    for (const Point& point : points_) {
        if (is_by(point, list) && has_name_of(point, list)) {
            reasons |= point.reasons;
        }
    }
    if (reasons == 0 && is_of_the_issuers_own_point(list)) {
        reasons = kAllReasons;
    }
    const ASN1_BIT_STRING* some = list.point ? list.point->onlysomereasons : nullptr;
    return static_cast<ReasonSet>(reasons & reasons_of_bits(some));
}

std::size_t CertificateScope::comparisons_with(const CrlFacts& list) const {
    std::size_t comparisons = 1;
    for (const Point& point : points_) {
        comparisons +=
            1 + list.point_names.comparisons_with(point.is_named ? point.names : point.issuers);
    }
    return comparisons;
}

} // namespace basalt
