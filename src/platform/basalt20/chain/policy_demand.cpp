// RFC 5280, 6.1.3 (f) and 6.1.4 (h) and (i), for an empty tree of policies.
#include <basalt/chain/policy_demand.h>

#include <basalt/coding/openssl_owner.h>

#include <openssl/x509v3.h>

#include <algorithm>
#include <optional>

namespace basalt {

namespace {

template <class Value, void (*free_value)(Value*)>
bool is_readable(X509* certificate, int nid) {
    int critical = 0;
    const OpensslOwner<Value, free_value> value(
        static_cast<Value*>(X509_get_ext_d2i(certificate, nid, &critical, nullptr)));
    return value != nullptr || critical == -1; // -1: there is none
}

using Constraints = OpensslOwner<POLICY_CONSTRAINTS, POLICY_CONSTRAINTS_free>;

bool is_skip_readable(const ASN1_INTEGER* skip) {
    return skip == nullptr || ASN1_STRING_type(skip) != V_ASN1_NEG_INTEGER;
}

// What policyConstraints says; `readable` is false when there is one that can't be read.
Constraints constraints_of(X509* certificate, bool& readable) {
    int critical = 0;
    Constraints constraints(static_cast<POLICY_CONSTRAINTS*>(
        X509_get_ext_d2i(certificate, NID_policy_constraints, &critical, nullptr)));
    readable = constraints ? (constraints->requireExplicitPolicy != nullptr ||
                              constraints->inhibitPolicyMapping != nullptr) &&
                                 is_skip_readable(constraints->requireExplicitPolicy) &&
                                 is_skip_readable(constraints->inhibitPolicyMapping)
                           : critical == -1;
    return constraints;
}

bool are_policies_readable(X509* certificate) {
    return is_readable<CERTIFICATEPOLICIES, CERTIFICATEPOLICIES_free>(certificate,
                                                                      NID_certificate_policies) &&
           is_readable<ASN1_INTEGER, ASN1_INTEGER_free>(certificate, NID_inhibit_any_policy);
}

} // namespace

bool demands_policies_without_offering(const std::vector<X509*>& path) {
    return path.size() > 1 && std::any_of(path.begin(), path.end() - 1, [](const X509* each) {
               return X509_get_ext_by_NID(each, NID_policy_constraints, -1) >= 0 &&
                      X509_get_ext_by_NID(each, NID_certificate_policies, -1) < 0;
           });
}

PolicyFault policy_fault(const std::vector<X509*>& path, bool is_explicit) {
    // How many certificates more may come before a policy has to hold.
    long left = is_explicit ? 0 : static_cast<long>(path.size());
    for (std::size_t i = path.size() - 1; i-- > 0;) {
        bool readable = false;
        const Constraints constraints = constraints_of(path[i], readable);
        if (!readable || !are_policies_readable(path[i])) {
            return {i, X509_V_ERR_INVALID_POLICY_EXTENSION};
        }
        if (left > 0 && (X509_get_extension_flags(path[i]) & EXFLAG_SI) == 0) {
            --left;
        }
        if (constraints && constraints->requireExplicitPolicy != nullptr) {
            // One that doesn't fit a number is beyond every path, and comes as -1.
            const long skip = ASN1_INTEGER_get(constraints->requireExplicitPolicy);
            left = skip >= 0 ? std::min(left, skip) : left;
        }
    }
    return {0, left == 0 ? X509_V_ERR_NO_EXPLICIT_POLICY : X509_V_OK};
}

} // namespace basalt
