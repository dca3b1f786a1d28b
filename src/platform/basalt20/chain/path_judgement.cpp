#include <basalt/chain/path_judgement.h>

#include <basalt/chain/policy_demand.h>
#include <basalt/coding/openssl_owner.h>

#include <openssl/err.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <memory>

namespace basalt {

namespace {

constexpr int kNoBoundOnDepth = 64;
constexpr char kAnyPolicy[] = "2.5.29.32.0";

struct FreeStackOnly {
    void operator()(STACK_OF(X509) * stack) const noexcept { sk_X509_free(stack); }
};
using StackOwner = std::unique_ptr<STACK_OF(X509), FreeStackOnly>;
using GeneralNames = OpensslOwner<GENERAL_NAMES, GENERAL_NAMES_free>;

// What the verifier's callbacks work on: the certificates that it sees, and what it finds.
struct Verification {
    std::vector<X509*> path;
    PathErrors* errors;
};

Verification& verification_of(X509_STORE_CTX* context) {
    return *static_cast<Verification*>(X509_STORE_CTX_get_app_data(context));
}

// The path is given: whoever comes next in it is the issuer.
int is_next(X509_STORE_CTX* context, X509* certificate, X509* issuer) {
    const std::vector<X509*>& path = verification_of(context).path;
    const auto found = std::find(path.begin(), path.end(), certificate);
    return found != path.end() && found + 1 != path.end() && *(found + 1) == issuer ? 1 : 0;
}

// Goes on after each error, so that all of them are known in the end.
int note_error(int ok, X509_STORE_CTX* context) {
    if (ok == 0) {
        Verification& verification = verification_of(context);
        const int depth = std::max(X509_STORE_CTX_get_error_depth(context), 0);
        const std::size_t index =
            std::min(static_cast<std::size_t>(depth), verification.path.size() - 1);
        (*verification.errors)[index].push_back(X509_STORE_CTX_get_error(context));
    }
    return 1;
}

// In the place of the verifier's last step: the search has verified the signatures, and validity is
// judged elsewhere. What is left is whether the keys may sign certificates at all.
int check_signers(X509_STORE_CTX* context) {
    const Verification& verification = verification_of(context);
    for (std::size_t i = 1; i < verification.path.size(); ++i) {
        if ((X509_get_key_usage(verification.path[i]) & KU_KEY_CERT_SIGN) == 0) {
            (*verification.errors)[i].push_back(X509_V_ERR_KEYUSAGE_NO_CERTSIGN);
        }
    }
    return 1;
}

// A store without content: all that the verifier uses is handed over apart.
X509_STORE* position_store() {
    static X509_STORE* const store = [] {
        X509_STORE* made = X509_STORE_new();
        if (made != nullptr) {
            X509_STORE_set_check_issued(made, is_next);
            X509_STORE_set_verify(made, check_signers);
            X509_STORE_set_verify_cb(made, note_error);
        }
        return made;
    }();
    return store;
}

struct FreeIdentifiers {
    void operator()(STACK_OF(ASN1_OBJECT) * stack) const noexcept {
        sk_ASN1_OBJECT_pop_free(stack, ASN1_OBJECT_free);
    }
};
using Identifiers = std::unique_ptr<STACK_OF(ASN1_OBJECT), FreeIdentifiers>;

Identifiers identifiers_of(const std::vector<std::string>& texts) {
    Identifiers identifiers(sk_ASN1_OBJECT_new_null());
    require(identifiers != nullptr, E_OUTOFMEMORY);
    for (const std::string& text : texts) {
        ASN1_OBJECT* object = OBJ_txt2obj(text.c_str(), 1);
        require(object != nullptr, E_INVALIDARG);
        if (sk_ASN1_OBJECT_push(identifiers.get(), object) <= 0) {
            ASN1_OBJECT_free(object);
            fail(E_OUTOFMEMORY);
        }
    }
    return identifiers;
}

void note_unreadable_policies(const std::vector<X509*>& path, PathErrors& errors) {
    bool noted = false;
    for (std::size_t i = 0; i < path.size(); ++i) {
        if ((X509_get_extension_flags(path[i]) & EXFLAG_INVALID_POLICY) != 0) {
            errors[i].push_back(X509_V_ERR_INVALID_POLICY_EXTENSION);
            noted = true;
        }
    }
    if (!noted) {
        errors.front().push_back(X509_V_ERR_INVALID_POLICY_EXTENSION);
    }
}

// Over the whole path, however many pieces the verifier needs. False when it gave up, as it does
// where policies branch a thousand times.
bool check_policies(const std::vector<X509*>& path, const std::vector<std::string>& policies,
                    PathErrors& errors) {
    if (demands_policies_without_offering(path)) {
        if (const PolicyFault fault = policy_fault(path, !policies.empty());
            fault.error != X509_V_OK) {
            errors[fault.index].push_back(fault.error);
        }
        return true;
    }
    const StackOwner certificates(sk_X509_new_null());
    require(certificates != nullptr, E_OUTOFMEMORY);
    for (X509* each : path) {
        require(sk_X509_push(certificates.get(), each) > 0, E_OUTOFMEMORY);
    }
    // No set is taken for an empty one, which no policy that is demanded can be in.
    const Identifiers wanted =
        identifiers_of(policies.empty() ? std::vector<std::string>{kAnyPolicy} : policies);
    X509_POLICY_TREE* tree = nullptr;
    int is_explicit = 0;
    const int result = X509_policy_check(&tree, &is_explicit, certificates.get(), wanted.get(),
                                         policies.empty() ? 0 : X509_V_FLAG_EXPLICIT_POLICY);
    X509_policy_tree_free(tree);
    ERR_clear_error();
    if (result == X509_PCY_TREE_INVALID) {
        note_unreadable_policies(path, errors);
    } else if (result == X509_PCY_TREE_FAILURE) {
        errors.front().push_back(X509_V_ERR_NO_EXPLICIT_POLICY);
    }
    return result != X509_PCY_TREE_INTERNAL;
}

// False when the verifier gave up.
bool run_verifier(const std::vector<X509*>& path, PathErrors& errors) {
    const StackOwner between(sk_X509_new_null());
    const StackOwner anchor(sk_X509_new_null());
    const OpensslOwner<X509_STORE_CTX, X509_STORE_CTX_free> context(X509_STORE_CTX_new());
    require(between && anchor && context && position_store() != nullptr, E_OUTOFMEMORY);
    sk_X509_push(anchor.get(), path.back());
    for (std::size_t i = 1; i + 1 < path.size(); ++i) {
        sk_X509_push(between.get(), path[i]);
    }
    require(X509_STORE_CTX_init(context.get(), position_store(), path.front(), between.get()) == 1,
            E_OUTOFMEMORY);
    Verification verification{path, &errors};
    X509_STORE_CTX_set0_trusted_stack(context.get(), anchor.get());
    X509_STORE_CTX_set_app_data(context.get(), &verification);
    X509_VERIFY_PARAM* param = X509_STORE_CTX_get0_param(context.get());
    // Every anchor is trusted for what it is, a root or not.
    X509_VERIFY_PARAM_set_flags(param, X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_NO_CHECK_TIME);
    X509_VERIFY_PARAM_set_depth(param, kNoBoundOnDepth);
    const bool ran = X509_verify_cert(context.get()) == 1;
    ERR_clear_error();
    if (!ran && X509_STORE_CTX_get_error(context.get()) == X509_V_ERR_OUT_OF_MEM) {
        return false;
    }
    const int used = sk_X509_num(X509_STORE_CTX_get0_chain(context.get()));
    if (!ran || used != static_cast<int>(path.size())) {
        errors.front().push_back(X509_V_ERR_UNSPECIFIED);
    }
    return true;
}

// The verifier takes a certificate with one name twice and no key identifiers for a root of its own
// and stops there: the path goes to it in pieces. The place behind the last one of each.
std::vector<std::size_t> piece_ends(const std::vector<X509*>& path) {
    std::vector<std::size_t> ends;
    for (std::size_t i = 0; i + 1 < path.size(); ++i) {
        if ((X509_get_extension_flags(path[i]) & EXFLAG_SS) != 0) {
            ends.push_back(i + 1);
        }
    }
    ends.push_back(path.size());
    return ends;
}

bool has_host_names(X509* certificate) {
    const GeneralNames names(static_cast<GENERAL_NAMES*>(
        X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        if (sk_GENERAL_NAME_value(names.get(), i)->type == GEN_DNS) {
            return true;
        }
    }
    return false;
}

// As the verifier has it: of who isn't an authority a name that looks like a host's is one, where
// there are no others.
int name_error(X509* certificate, bool is_end, NAME_CONSTRAINTS* constraints) {
    const int error = NAME_CONSTRAINTS_check(certificate, constraints);
    return error == X509_V_OK && is_end && !has_host_names(certificate)
               ? NAME_CONSTRAINTS_check_CN(certificate, constraints)
               : error;
}

// What the certificates of one piece say about the names in those below it; and in its own first
// one, which the verifier took for the end of a path.
void check_names_across(const std::vector<X509*>& path, const std::vector<std::size_t>& ends,
                        PathErrors& errors) {
    using Constraints = OpensslOwner<NAME_CONSTRAINTS, NAME_CONSTRAINTS_free>;
    std::size_t first = 0; // of the piece
    for (std::size_t above = 1; above < path.size(); ++above) {
        if (std::find(ends.begin(), ends.end(), above) != ends.end()) {
            first = above;
            std::erase_if(errors[first], is_about_names);
        }
        const Constraints constraints(static_cast<NAME_CONSTRAINTS*>(
            X509_get_ext_d2i(path[above], NID_name_constraints, nullptr, nullptr)));
        const std::size_t judged = first == 0 ? 0 : std::min(first + 1, above);
        for (std::size_t below = 0; constraints && below < judged; ++below) {
            const bool self_issued = (X509_get_extension_flags(path[below]) & EXFLAG_SI) != 0;
            if (below > 0 && self_issued) {
                continue;
            }
            const int error = name_error(path[below], below == 0, constraints.get());
            require(error != X509_V_ERR_OUT_OF_MEM, E_OUTOFMEMORY);
            if (error != X509_V_OK) {
                errors[below].push_back(error);
            }
        }
    }
}

// RFC 5280, 6.1.4 (k), (l) and (m). The verifier lets a key usage stand for the basic constraints;
// so it is for anchors, which may be of version 1. One that is a piece for itself it asks nothing.
void check_authorities(const std::vector<X509*>& path, PathErrors& errors) {
    long below = 0; // authorities that aren't self-issued
    for (std::size_t i = 1; i < path.size(); ++i) {
        const bool is_last = i + 1 == path.size();
        const int authority = X509_check_ca(path[i]); // 0: no; 1: by its basic constraints
        if (is_last ? authority == 0 : authority != 1) {
            errors[i].push_back(X509_V_ERR_INVALID_CA);
        }
        const long bound = X509_get_pathlen(path[i]);
        if (bound >= 0 && below > bound) {
            errors[i].push_back(X509_V_ERR_PATH_LENGTH_EXCEEDED);
        }
        if ((X509_get_extension_flags(path[i]) & EXFLAG_SI) == 0) {
            ++below;
        }
    }
}

std::vector<X509*> openssl_path(const Path& path) {
    std::vector<X509*> certificates;
    for (const PoolCertificate* certificate : path) {
        certificates.push_back(certificate->openssl());
    }
    return certificates;
}

// Of all but a trusted anchor, which nobody has certified.
void check_dates(const Path& path, PathErrors& errors) {
    for (std::size_t i = 0; i < path.size(); ++i) {
        const X509* certificate = path[i]->openssl();
        const bool is_trusted = i + 1 == path.size() && path[i]->is_anchor;
        if (!is_trusted && !(has_plain_form(*X509_get0_notBefore(certificate)) &&
                             has_plain_form(*X509_get0_notAfter(certificate)))) {
            errors[i].push_back(X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD);
        }
    }
}

} // namespace

bool is_about_names(int error) {
    switch (error) {
    case X509_V_ERR_PERMITTED_VIOLATION:
    case X509_V_ERR_EXCLUDED_VIOLATION:
    case X509_V_ERR_SUBTREE_MINMAX:
    case X509_V_ERR_UNSUPPORTED_CONSTRAINT_TYPE:
    case X509_V_ERR_UNSUPPORTED_CONSTRAINT_SYNTAX:
    case X509_V_ERR_UNSUPPORTED_NAME_SYNTAX:
        return true;
    default:
        return false;
    }
}

std::optional<PathErrors> structure_errors(const Path& path,
                                           const std::vector<std::string>& policies) {
    PathErrors errors(path.size());
    const std::vector<X509*> certificates = openssl_path(path);
    const std::vector<std::size_t> ends = piece_ends(certificates);
    bool told = check_policies(certificates, policies, errors);
    std::size_t begin = 0;
    for (const std::size_t end : ends) {
        PathErrors found(end - begin);
        told =
            run_verifier({certificates.data() + begin, certificates.data() + end}, found) && told;
        for (std::size_t i = 0; i < found.size(); ++i) {
            errors[begin + i].insert(errors[begin + i].end(), found[i].begin(), found[i].end());
        }
        begin = end;
    }
    if (ends.size() > 1) {
        check_names_across(certificates, ends, errors);
    }
    if (!told) {
        return std::nullopt;
    }
    check_authorities(certificates, errors);
    check_dates(path, errors);
    return errors;
}

std::vector<Strength> strengths(const Path& path) {
    std::vector<Strength> found;
    for (const PoolCertificate* certificate : path) {
        const auto& entry = certificate->entry;
        Strength strength = entry->key ? strength_of(*entry->key) : Strength::current;
        if (certificate != path.back() || !certificate->is_anchor) {
            strength = weaker(strength, strength_of(X509_get0_tbs_sigalg(certificate->openssl())));
        }
        found.push_back(strength);
    }
    return found;
}

std::vector<bool> out_of_time(const Path& path, FileTicks at) {
    std::vector<bool> found;
    for (const PoolCertificate* certificate : path) {
        found.push_back(!certificate->is_valid_at(at));
    }
    return found;
}

} // namespace basalt
