// The trusted roots of this user and machine.
#include <algorithm>
#include <set>

#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/configuration_value.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/trust_store.h>

namespace chronoseal {

namespace {

constexpr char kRoot[] = "Root";
constexpr char kRootsOfSystem[] = "AuthRoot"; // those of the operating system alone

ATL2::CCertStore open_roots(DWORD place, DWORD flags = 0, const char* name = kRoot) {
    ATL2::CCertStore store;
    store.Open(CERT_STORE_PROV_SYSTEM_A, 0, 0, place | flags, name);
    return store;
}

DWORD number_of(StorePlace place) {
    return place == StorePlace::user ? CERT_SYSTEM_STORE_CURRENT_USER
                                     : CERT_SYSTEM_STORE_LOCAL_MACHINE;
}

template <class See>
void walk(const ATL2::CCertStore& store, See&& see) {
    ATL2::CCertContext current;
    for (;;) {
        current.attach(CertEnumCertificatesInStore(store.get(), current.detach()));
        if (!current || !see(current.get())) {
            return;
        }
    }
}

Bytes hash_of(PCCERT_CONTEXT certificate) {
    return sha256_of(view_of(certificate->pbCertEncoded, certificate->cbCertEncoded));
}

ATL2::CCertContext find(const ATL2::CCertStore& store, ByteView sha256) {
    ATL2::CCertContext found;
    walk(store, [&](PCCERT_CONTEXT certificate) {
        if (!std::ranges::equal(hash_of(certificate), sha256)) {
            return true;
        }
        found.attach(CertDuplicateCertificateContext(certificate));
        return false;
    });
    return found;
}

// Of the machine's store of that name.
std::set<Bytes> hashes_in(const char* name) {
    std::set<Bytes> hashes;
    walk(open_roots(CERT_SYSTEM_STORE_LOCAL_MACHINE, CERT_STORE_READONLY_FLAG, name),
         [&](PCCERT_CONTEXT certificate) { return hashes.insert(hash_of(certificate)), true; });
    return hashes;
}

// A root that another one's store holds can't be taken away here; who may, and how.
Error not_taken_away(const Error& failure, ByteView sha256, StorePlace place) {
    const Bytes hash(sha256.begin(), sha256.end());
    if (failure.word() != "access_denied") {
        return failure;
    }
    if (hashes_in(kRootsOfSystem).contains(hash)) {
        return Error(Category::refused, "root_of_system", failure.code(),
                     "can't take the root away: it comes with the system",
                     "SystemRoots = false in [config.basalt] leaves the system's roots out");
    }
    if (place == StorePlace::user && hashes_in(kRoot).contains(hash)) {
        return Error(Category::misuse, "root_of_machine", failure.code(),
                     "can't take the root away: it is in the machine's store, not in your own",
                     "take it away from there: --machine");
    }
    return failure;
}

// The one certificate of a source.
ATL2::CCertContext only_certificate(const Source& source) {
    const auto store = memory_store();
    add_source(source, store);
    ATL2::CCertContext only;
    std::size_t count = 0;
    walk(store, [&](PCCERT_CONTEXT certificate) {
        only.attach(CertDuplicateCertificateContext(certificate));
        return ++count < 2;
    });
    if (count != 1) {
        throw Error(Category::misuse, "no_certificates", 0,
                    "the source holds " + std::string(count == 0 ? "no" : "more than one") +
                        " certificate",
                    "give one root at a time");
    }
    return only;
}

} // namespace

namespace {

void check_length(ByteView sha256) {
    constexpr std::size_t kLength = 32;
    if (sha256.size() != kLength) {
        throw Error(Category::misuse, "digest_malformed", 0,
                    "a SHA-256 has 64 hexadecimal digits, not " + std::to_string(sha256.size() * 2),
                    "give the whole of it, as the root's owner tells it");
    }
}

} // namespace

std::vector<TrustedRoot> trusted_roots() {
    return guarded("list the roots", [] {
        require_configuration(); // it may leave the system's out
        const std::set<Bytes> of_machine = hashes_in(kRoot);
        const std::set<Bytes> of_system = hashes_in(kRootsOfSystem);
        std::vector<TrustedRoot> roots;
        walk(open_roots(CERT_SYSTEM_STORE_CURRENT_USER, CERT_STORE_READONLY_FLAG),
             [&](PCCERT_CONTEXT certificate) {
                 CertificateInfo info = certificate_info(certificate);
                 const char* const place = of_system.contains(info.sha256)    ? "system"
                                           : of_machine.contains(info.sha256) ? "machine"
                                                                              : "user";
                 roots.push_back({std::move(info), place});
                 return true;
             });
        return roots;
    });
}

CertificateInfo trust_root(const Source& root, ByteView sha256, StorePlace place) {
    return guarded("trust the root", [&] {
        check_length(sha256);
        const auto certificate = only_certificate(root);
        CertificateInfo info = certificate_info(certificate.get());
        if (!std::ranges::equal(info.sha256, sha256)) {
            throw Error(Category::refused, "root_differs", 0,
                        "the certificate of " + quote_foreign(info.subject) + " has the SHA-256 " +
                            to_hex(info.sha256) + ", which isn't the one given",
                        "compare with what the authority has published; don't trust it");
        }
        if (CertCompareCertificateName(ATL2::kAnyEncoding, &certificate->pCertInfo->Subject,
                                       &certificate->pCertInfo->Issuer) == 0) {
            throw Error(Category::refused, "not_a_root", 0,
                        quote_foreign(info.subject) + " is not a root: it was issued by " +
                            quote_foreign(info.issuer),
                        "trust that one, and give this one among the certificates");
        }
        const auto store = open_roots(number_of(place));
        if (CertAddCertificateContextToStore(store.get(), certificate.get(),
                                             CERT_STORE_ADD_REPLACE_EXISTING, nullptr) == 0) {
            throw error_of_last("trust the root");
        }
        return info;
    });
}

void distrust_root(ByteView sha256, StorePlace place) {
    guarded("take the root away", [&] {
        check_length(sha256);
        const auto store = open_roots(number_of(place));
        auto found = find(store, sha256);
        if (!found) {
            throw Error(Category::misuse, "root_not_found", 0,
                        "the store has no root with the SHA-256 " + to_hex(sha256),
                        "see the list of trusted roots");
        }
        if (CertDeleteCertificateFromStore(found.detach()) == 0) {
            throw not_taken_away(error_of_last("take the root away"), sha256, place);
        }
    });
}

} // namespace chronoseal
