// The names of distribution points, relative ones in full, in an order by which two sets are held
// against each other without comparing each name with each. Reading stops at a bound, and says so;
// nothing else fails.
#pragma once

#include <basalt/coding/openssl_owner.h>

#include <openssl/x509v3.h>

#include <string>
#include <vector>

namespace basalt {

class PointNames {
public:
    // More nobody honest writes into one point, who names one place by two or three protocols; nor
    // so many parts into one relative name, which is a number as a rule.
    static constexpr int kMostNames = 256;
    static constexpr int kMostParts = 32;

    PointNames() = default;

    // The names and the point must outlive the object. Null is an empty set.
    explicit PointNames(const GENERAL_NAMES* names) { add(names); }
    PointNames(const DIST_POINT_NAME& point, const X509_NAME* issuer);

    // False when there are more than were read.
    bool complete() const { return complete_; }

    std::size_t size() const { return directories_.size() + others_.size(); }
    const std::vector<const X509_NAME*>& directories() const { return directories_; }
    bool contains(const X509_NAME* name) const;
    bool meets(const PointNames& other) const;

    // What meets() takes at most, in the budget's comparisons.
    std::size_t comparisons_with(const PointNames& other) const;

private:
    using NameOwner = OpensslOwner<X509_NAME, X509_NAME_free>;

    void add(const GENERAL_NAMES* names);
    void add_relative(const STACK_OF(X509_NAME_ENTRY) * fragment, const X509_NAME* issuer);

    std::vector<const X509_NAME*> directories_; // sorted
    std::vector<std::string> others_;           // kind and contents, sorted
    NameOwner expanded_;
    bool complete_ = true;
};

} // namespace basalt
