#include <basalt/revocation/point_names.h>

#include <openssl/err.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr int kFullName = 0;
constexpr std::size_t kStepsOfOneSearch = 4; // at most eight pairs, some of them of long names

bool is_before(const X509_NAME* a, const X509_NAME* b) {
    return X509_NAME_cmp(a, b) < 0;
}

std::string encoded(const GENERAL_NAME& name) {
    return der_of(i2d_GENERAL_NAME, &name);
}

} // namespace

PointNames::PointNames(const DIST_POINT_NAME& point, const X509_NAME* issuer) {
    if (point.type == kFullName) {
        add(point.name.fullname);
    } else {
        add_relative(point.name.relativename, issuer);
    }
}

void PointNames::add(const GENERAL_NAMES* names) {
    const int count = std::max(sk_GENERAL_NAME_num(names), 0);
    complete_ = count <= kMostNames;
    for (int i = 0; i < std::min(count, kMostNames); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, i);
        if (name->type == GEN_DIRNAME) {
            directories_.push_back(name->d.directoryName);
        } else {
            others_.push_back(encoded(*name));
        }
    }
    std::sort(directories_.begin(), directories_.end(), is_before);
    std::sort(others_.begin(), others_.end());
}

void PointNames::add_relative(const STACK_OF(X509_NAME_ENTRY) * fragment, const X509_NAME* issuer) {
    const int parts = std::max(sk_X509_NAME_ENTRY_num(fragment), 0);
    complete_ = parts <= kMostParts;
    if (!complete_ || issuer == nullptr) {
        return;
    }
    NameOwner name(X509_NAME_dup(issuer));
    for (int i = 0; name && i < parts; ++i) {
        // All of the fragment is one relative name: a new set first, the others beside it.
        if (X509_NAME_add_entry(name.get(), sk_X509_NAME_ENTRY_value(fragment, i), -1,
                                i == 0 ? 0 : -1) != 1) {
            name.reset();
        }
    }
    // Encoding makes the form by which names are compared.
    if (name && i2d_X509_NAME(name.get(), nullptr) > 0) {
        expanded_ = std::move(name);
        directories_.push_back(expanded_.get());
    }
    ERR_clear_error();
}

bool PointNames::contains(const X509_NAME* name) const {
    return std::binary_search(directories_.begin(), directories_.end(), name, is_before);
}

bool PointNames::meets(const PointNames& other) const {
    if (size() > other.size()) {
        return other.meets(*this);
    }
    return std::any_of(directories_.begin(), directories_.end(),
                       [&](const X509_NAME* name) { return other.contains(name); }) ||
           std::any_of(others_.begin(), others_.end(), [&](const std::string& name) {
               return std::binary_search(other.others_.begin(), other.others_.end(), name);
           });
}

std::size_t PointNames::comparisons_with(const PointNames& other) const {
    return kStepsOfOneSearch * std::min(size(), other.size());
}

} // namespace basalt
