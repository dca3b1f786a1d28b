#include "basalt20/chain/chain_path.h"

#include "basalt20/coding/openssl_owner.h"

#include <openssl/err.h>
#include <openssl/x509_vfy.h>

#include <cstring>

namespace basalt {

namespace {

constexpr int kMaxDepth = 16;
constexpr std::size_t kMaxCandidates = 64;

struct FreeStackOnly {
    void operator()(STACK_OF(X509) * stack) const noexcept { sk_X509_free(stack); }
};
using StackOwner = std::unique_ptr<STACK_OF(X509), FreeStackOnly>;

// What one building step may choose from, each certificate once.
class Candidates {
public:
    Candidates(PCCERT_CONTEXT end, const TrustAnchors& anchors) : anchors_(anchors) {
        add(duplicate(end));
    }

    // Collects whatever could stand above the certificates that are already here.
    void collect_from(const std::vector<HCERTSTORE>& stores) {
        for (std::size_t i = 0; i < found_.size() && found_.size() < kMaxCandidates; ++i) {
            const CERT_NAME_BLOB issuer = found_[i].certificate->pCertInfo->Issuer;
            const std::size_t before = found_.size();
            for (const PCCERT_CONTEXT anchor : anchors_.by_subject(issuer)) {
                add(duplicate(anchor));
            }
            for (const HCERTSTORE store : stores) {
                add_named(store, issuer);
            }
            if (found_.size() == before && !has_issuer_of(i)) {
                add_like_named(stores, found_[i].openssl());
            }
        }
    }

    const std::vector<PathElement>& found() const { return found_; }

    const PathElement* find(const X509* certificate) const {
        for (const PathElement& element : found_) {
            if (element.openssl() == certificate) {
                return &element;
            }
        }
        return nullptr;
    }

    // [0] is the end certificate. What is an anchor goes to the trusted ones.
    std::pair<StackOwner, StackOwner> stacks() const {
        StackOwner trusted(sk_X509_new_null());
        StackOwner untrusted(sk_X509_new_null());
        for (const PathElement& element : found_) {
            sk_X509_push(anchors_.contains(element.certificate.get()) ? trusted.get()
                                                                      : untrusted.get(),
                         element.openssl());
        }
        return {std::move(trusted), std::move(untrusted)};
    }

private:
    void add(CertificateReference certificate) {
        for (const PathElement& element : found_) {
            if (element.certificate->cbCertEncoded == certificate->cbCertEncoded &&
                std::memcmp(element.certificate->pbCertEncoded, certificate->pbCertEncoded,
                            certificate->cbCertEncoded) == 0) {
                return;
            }
        }
        if (found_.size() >= kMaxCandidates) {
            return;
        }
        try {
            auto x509 = x509_of(certificate.get());
            found_.push_back({std::move(certificate), std::move(x509), {}});
        } catch (const Fault&) {
            if (found_.empty()) {
                throw; // the end certificate itself
            }
            // One that OpenSSL can't read is no candidate.
        }
    }

    void add_named(HCERTSTORE store, const CERT_NAME_BLOB& subject) {
        PCCERT_CONTEXT certificate = nullptr;
        while (store != nullptr && (certificate = CertFindCertificateInStore(
                                        store, X509_ASN_ENCODING, 0, CERT_FIND_SUBJECT_NAME,
                                        &subject, certificate)) != nullptr) {
            add(duplicate(certificate));
        }
    }

    bool has_issuer_of(std::size_t index) const {
        const X509_NAME* issuer = X509_get_issuer_name(found_[index].openssl());
        for (const PathElement& element : found_) {
            if (X509_NAME_cmp(X509_get_subject_name(element.openssl()), issuer) == 0) {
                return true;
            }
        }
        return false;
    }

    // Names can be the same in another choice of string types or letter case (RFC 5280, 7.1): the
    // slow search, for the rare case that none has the same bytes.
    void add_like_named(const std::vector<HCERTSTORE>& stores, X509* child) {
        const X509_NAME* issuer = X509_get_issuer_name(child);
        for (const CertificateReference& anchor : anchors_.all()) {
            add_if_subject(anchor.get(), issuer);
        }
        for (const HCERTSTORE store : stores) {
            PCCERT_CONTEXT certificate = nullptr;
            while (store != nullptr &&
                   (certificate = CertEnumCertificatesInStore(store, certificate)) != nullptr) {
                add_if_subject(certificate, issuer);
            }
        }
    }

    void add_if_subject(PCCERT_CONTEXT certificate, const X509_NAME* wanted) {
        const unsigned char* cursor = certificate->pCertInfo->Subject.pbData;
        const OpensslOwner<X509_NAME, X509_NAME_free> subject(
            d2i_X509_NAME(nullptr, &cursor, certificate->pCertInfo->Subject.cbData));
        if (subject && X509_NAME_cmp(subject.get(), wanted) == 0) {
            add(duplicate(certificate));
        }
    }

    const TrustAnchors& anchors_;
    std::vector<PathElement> found_;
};

bool is_judged_elsewhere(int error) {
    switch (error) {
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD:
    case X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD:
        return true;
    default:
        return false;
    }
}

struct FoundError {
    int depth;
    int error;
};

// What the verifier's callbacks work on.
struct Verification {
    const Candidates& candidates;
    X509_STORE_CTX_verify_fn verify_signatures; // OpenSSL's own
    std::vector<FoundError> errors;
};

Verification& verification_of(X509_STORE_CTX* context) {
    return *static_cast<Verification*>(X509_STORE_CTX_get_app_data(context));
}

// Goes on after each error, so that all of them are known in the end.
int note_error(int ok, X509_STORE_CTX* context) {
    const int error = X509_STORE_CTX_get_error(context);
    if (ok == 0 && !is_judged_elsewhere(error)) {
        verification_of(context).errors.push_back({X509_STORE_CTX_get_error_depth(context), error});
    }
    return 1;
}

// The chain that the verifier has built; empty if any of it isn't ours.
std::vector<std::shared_ptr<const X509Entry>> entries_of_chain(X509_STORE_CTX* context) {
    std::vector<std::shared_ptr<const X509Entry>> entries;
    const STACK_OF(X509)* chain = X509_STORE_CTX_get0_chain(context);
    for (int i = 0; i < sk_X509_num(chain); ++i) {
        const PathElement* element =
            verification_of(context).candidates.find(sk_X509_value(chain, i));
        if (element == nullptr) {
            return {};
        }
        entries.push_back(element->x509);
    }
    return entries;
}

// The verifier's last step: the signature of each certificate by the one above it, and whether that
// one may sign certificates. Both hang on the two certificates alone, so a pair that has passed
// before needn't do so again. (Validity in time, which this step looks at too, is judged
// elsewhere.)
int verify_new_signatures(X509_STORE_CTX* context) {
    Verification& verification = verification_of(context);
    const auto entries = entries_of_chain(context);
    bool known = entries.size() > 1;
    for (std::size_t i = 0; known && i + 1 < entries.size(); ++i) {
        known = entries[i]->verified_by.contains(entries[i + 1]);
    }
    if (known) {
        return 1;
    }
    const std::size_t before = verification.errors.size();
    const int result = verification.verify_signatures(context);
    if (result == 1 && verification.errors.size() == before) {
        for (std::size_t i = 0; i + 1 < entries.size(); ++i) {
            entries[i]->verified_by.add(entries[i + 1]);
        }
    }
    return result;
}

// A store without content: the verifier wants one, though all that it uses is handed over apart.
X509_STORE* empty_store() {
    static X509_STORE* const store = X509_STORE_new();
    return store;
}

// What stands above the first anchor doesn't matter: the verifier leaves it in the chain when the
// certificate asked about is an anchor itself.
void cut_above_anchor(ChainPath& path, const TrustAnchors& anchors) {
    const auto anchor =
        std::find_if(path.elements.begin(), path.elements.end(), [&](const PathElement& element) {
            return anchors.contains(element.certificate.get());
        });
    path.ends_in_anchor = anchor != path.elements.end();
    if (path.ends_in_anchor) {
        path.elements.erase(anchor + 1, path.elements.end());
    }
}

ChainPath verify(const Candidates& candidates, const TrustAnchors& anchors, FileTicks at) {
    const auto [trusted, untrusted] = candidates.stacks();
    const OpensslOwner<X509_STORE_CTX, X509_STORE_CTX_free> context(X509_STORE_CTX_new());
    require(trusted && untrusted && context && empty_store() != nullptr, E_OUTOFMEMORY);
    X509* const end = candidates.found().front().openssl();
    require(X509_STORE_CTX_init(context.get(), empty_store(), end, untrusted.get()) == 1,
            E_OUTOFMEMORY);

    Verification verification{candidates, X509_STORE_CTX_get_verify(context.get()), {}};
    std::vector<FoundError>& errors = verification.errors;
    X509_STORE_CTX_set0_trusted_stack(context.get(), trusted.get());
    X509_STORE_CTX_set_app_data(context.get(), &verification);
    X509_STORE_CTX_set_verify_cb(context.get(), note_error);
    X509_STORE_CTX_set_verify(context.get(), verify_new_signatures);
    X509_VERIFY_PARAM* param = X509_STORE_CTX_get0_param(context.get());
    // Every anchor is trusted for what it is, a root or not.
    X509_VERIFY_PARAM_set_flags(param, X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_TRUSTED_FIRST);
    X509_VERIFY_PARAM_set_time(param, unix_time_of(at));
    X509_VERIFY_PARAM_set_depth(param, kMaxDepth);
    const bool ran = X509_verify_cert(context.get()) == 1;
    ERR_clear_error();

    ChainPath path;
    const STACK_OF(X509)* chain = X509_STORE_CTX_get0_chain(context.get());
    for (int i = 0; i < sk_X509_num(chain); ++i) {
        if (const PathElement* element = candidates.find(sk_X509_value(chain, i))) {
            path.elements.push_back({duplicate(element->certificate.get()), element->x509, {}});
        }
    }
    if (path.elements.empty()) {
        const PathElement& only = candidates.found().front();
        path.elements.push_back({duplicate(only.certificate.get()), only.x509, {}});
    }
    if (!ran) {
        errors.push_back({0, X509_STORE_CTX_get_error(context.get())});
    }
    cut_above_anchor(path, anchors);
    for (const FoundError& found : errors) {
        if (static_cast<std::size_t>(found.depth) < path.elements.size()) {
            path.elements[static_cast<std::size_t>(found.depth)].errors.push_back(found.error);
        } else if (!path.ends_in_anchor) {
            path.elements.back().errors.push_back(found.error);
        }
    }
    return path;
}

StoreReference open_system_store(const char* name) {
    return StoreReference(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0,
                                        CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG,
                                        name));
}

} // namespace

ChainPath find_path(PCCERT_CONTEXT end, FileTicks at, HCERTSTORE additional) {
    const std::shared_ptr<const TrustAnchors> anchors = trust_anchors();
    Candidates candidates(end, *anchors);
    candidates.collect_from({additional});
    ChainPath path = verify(candidates, *anchors, at);
    if (path.ends_in_anchor) {
        return path;
    }
    // The folders of the system stores are read only when the rest doesn't do.
    const std::size_t before = candidates.found().size();
    const StoreReference authorities = open_system_store("CA");
    const StoreReference own = open_system_store("My");
    candidates.collect_from({additional, authorities.get(), own.get()});
    return candidates.found().size() == before ? std::move(path) : verify(candidates, *anchors, at);
}

} // namespace basalt
