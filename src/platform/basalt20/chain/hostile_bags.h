// For tests and benches: what could come with a token to make its verdict dear or wrong. Each bag
// is about one stamper, under one anchor, and revocation is looked at without asking anybody.
#pragma once

#include <basalt/chain/chain_session.h>
#include <basalt/revocation/test_authority.h>
#include <basalt/store/certificate_reference.h>
#include <basalt/store/record.h>

#include <openssl/core_names.h>
#include <openssl/param_build.h>

#include <functional>

namespace basalt::test {

struct HostileBag {
    std::string anchor{};
    std::string end{};
    std::vector<std::string> certificates{};
    std::vector<std::string> lists{};
    std::vector<std::string> answers{};

    std::size_t size() const {
        std::size_t sum = end.size();
        for (const auto* all : {&certificates, &lists, &answers}) {
            for (const std::string& one : *all) {
                sum += one.size();
            }
        }
        return sum;
    }
};

inline StoreReference store_of_bag(const HostileBag& bag) {
    StoreReference store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    const auto data = [](const std::string& der) {
        return reinterpret_cast<const BYTE*>(der.data());
    };
    for (const std::string& der : bag.certificates) {
        CertAddEncodedCertificateToStore(store.get(), X509_ASN_ENCODING, data(der),
                                         static_cast<DWORD>(der.size()), CERT_STORE_ADD_ALWAYS,
                                         nullptr);
    }
    for (const std::string& der : bag.lists) {
        CertAddEncodedCRLToStore(store.get(), X509_ASN_ENCODING, data(der),
                                 static_cast<DWORD>(der.size()), CERT_STORE_ADD_ALWAYS, nullptr);
    }
    for (const std::string& der : bag.answers) {
        BasaltAddOcspResponseToStore(store.get(), data(der), static_cast<DWORD>(der.size()));
    }
    return store;
}

// A verdict on the stamp, and the session that knows what it has cost.
struct HostileVerdict {
    explicit HostileVerdict(const HostileBag& bag) : store(store_of_bag(bag)) {
        ChainSettings settings;
        HostileBag anchor;
        anchor.certificates = {bag.anchor};
        const StoreReference anchors = store_of_bag(anchor);
        settings.anchors = std::make_shared<const TrustAnchors>(anchors.get());
        settings.now = ticks_at(0);
        settings.may_fetch = false;
        settings.uses_system_stores = false;
        SessionRequest request;
        const auto* der = reinterpret_cast<const BYTE*>(bag.end.data());
        const CertificateReference end(CertCreateCertificateContext(
            X509_ASN_ENCODING, der, static_cast<DWORD>(bag.end.size())));
        request.end = CertificateRecord::of(end.get()).shared_item();
        request.additional = store.get();
        request.revocation = RevocationScope::all_but_anchor;
        session = std::make_unique<ChainSession>(std::move(settings), std::move(request));
        UsageQuestion usage;
        usage.is_time_stamp = true;
        good = session->judge(ticks_at(0), usage).good();
    }

    StoreReference store;
    std::unique_ptr<ChainSession> session;
    bool good = false;
};

// An honest stamper with its authority and lists about both, with which hostile things can lie.
class HonestChain {
public:
    HonestChain() {
        root = make_party({"root", nullptr, kAuthority});
        middle = make_party({"middle", root.get(), kAuthority});
        stamper = make_party({"stamper", middle.get(), kStamper});
    }

    HostileBag bag() const {
        HostileBag bag;
        bag.anchor = encoded(root.get());
        bag.end = encoded(stamper.get());
        bag.certificates = {encoded(middle.get())};
        bag.lists = {make_list({root.get(), -1, 100}), make_list({middle.get(), -1, 100})};
        return bag;
    }

    std::unique_ptr<Party> root;
    std::unique_ptr<Party> middle;
    std::unique_ptr<Party> stamper;
};

// Adds what `make` makes until so many bytes have come together.
inline void fill(std::vector<std::string>& to, std::size_t bytes,
                 const std::function<std::string(int)>& make) {
    std::size_t sum = 0;
    for (int i = 0; sum < bytes; ++i) {
        to.push_back(make(i));
        sum += to.back().size();
    }
}

// Certificates that call themselves the issuer, down to the key identifier.
inline HostileBag like_named_junk(std::size_t bytes) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    const ASN1_OCTET_STRING* identifier = X509_get0_subject_key_id(honest.middle->certificate());
    char* text = OPENSSL_buf2hexstr(ASN1_STRING_get0_data(identifier), identifier->length);
    const std::string like_the_honest =
        std::string(kPlainAuthority) + "subjectKeyIdentifier=" + text;
    OPENSSL_free(text);
    fill(bag.certificates, bytes, [&](int) {
        return encoded(make_party({"middle", nullptr, like_the_honest}).get());
    });
    return bag;
}

// The same with names of nearly 4 KiB, each written otherwise.
inline HostileBag huge_names(std::size_t bytes) {
    const std::string name(2000, 'n');
    const auto root = make_party({"root", nullptr, kAuthority});
    const auto middle = make_party({name, root.get(), kAuthority});
    const auto stamper = make_party({"stamper", middle.get(), kStamper});
    HostileBag bag;
    bag.anchor = encoded(root.get());
    bag.end = encoded(stamper.get());
    bag.certificates = {encoded(middle.get())};
    bag.lists = {make_list({root.get(), -1, 100}), make_list({middle.get(), -1, 100})};
    fill(bag.certificates, bytes, [&](int i) {
        std::string other = name;
        for (std::size_t bit = 0; bit < 16; ++bit) {
            other[bit] = (i >> bit & 1) != 0 ? 'N' : 'n';
        }
        return encoded(make_party({other, nullptr, kPlainAuthority}).get());
    });
    return bag;
}

// Authorities that all certify each other, with no anchor above.
inline HostileBag lattice(int nodes) {
    std::vector<std::unique_ptr<Party>> parties;
    for (int i = 0; i < nodes; ++i) {
        parties.push_back(make_party({"node" + std::to_string(i), nullptr, kPlainAuthority}));
    }
    HostileBag bag = HonestChain().bag();
    bag.end = encoded(make_party({"stamper", parties[0].get(), kStamper}).get());
    for (const auto& subject : parties) {
        for (const auto& issuer : parties) {
            bag.certificates.push_back(
                encoded(make_twin(*subject, {subject->name, issuer.get(), kPlainAuthority}).get()));
        }
    }
    return bag;
}

inline EvpKey rsa_key(const BIGNUM* modulus, int exponent_bits, int variation) {
    const OpensslOwner<BIGNUM, BN_free> exponent(BN_new());
    BN_set_word(exponent.get(), static_cast<BN_ULONG>(2 * variation + 1));
    BN_set_bit(exponent.get(), exponent_bits - 1);
    const OpensslOwner<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free> numbers(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_BN(numbers.get(), OSSL_PKEY_PARAM_RSA_N, modulus);
    OSSL_PARAM_BLD_push_BN(numbers.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get());
    OSSL_PARAM* parameters = OSSL_PARAM_BLD_to_param(numbers.get());
    const OpensslOwner<EVP_PKEY_CTX, EVP_PKEY_CTX_free> context(
        EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters);
    OSSL_PARAM_free(parameters);
    return EvpKey(key);
}

// Like-named issuers with keys that are slow to try, for a stamper that was signed by RSA.
inline HostileBag slow_keys(int modulus_bits, int exponent_bits, std::size_t bytes) {
    const EvpKey honest(EVP_RSA_gen(2048));
    const auto root = make_party({"root", nullptr, kAuthority});
    CertificateSpec spec{"middle", root.get(), kAuthority};
    spec.key = honest.get();
    const auto middle = make_party(spec);
    const auto stamper = make_party({"stamper", middle.get(), kStamper});
    HostileBag bag;
    bag.anchor = encoded(root.get());
    bag.end = encoded(stamper.get());
    bag.certificates = {encoded(middle.get())};
    bag.lists = {make_list({root.get(), -1, 100}), make_list({middle.get(), -1, 100})};
    const OpensslOwner<BIGNUM, BN_free> modulus(BN_new());
    BN_set_bit(modulus.get(), modulus_bits - 1);
    BN_set_bit(modulus.get(), modulus_bits / 2);
    BN_set_bit(modulus.get(), 0);
    fill(bag.certificates, bytes, [&](int i) {
        const EvpKey slow = rsa_key(modulus.get(), exponent_bits, i);
        const OpensslOwner<X509, X509_free> copy(X509_dup(middle->certificate()));
        X509_set_pubkey(copy.get(), slow.get());
        ASN1_INTEGER_set(X509_get_serialNumber(copy.get()), 5'000 + i);
        X509_sign(copy.get(), root->private_key.get(), EVP_sha256());
        return encoded(copy.get());
    });
    return bag;
}

// Many names under many constraints, by many ways up.
inline HostileBag names_under_constraints(int ways) {
    std::string names = "subjectAltName=@names\n[names]\n";
    std::string constraints = "nameConstraints=critical,@subtrees\n[subtrees]\n";
    for (int i = 0; i < 900; ++i) {
        const std::string number = std::to_string(i);
        names += "DNS." + number + "=h" + number + ".example\n";
        constraints += "excluded;DNS." + number + "=x" + number + ".example\n";
    }
    const HonestChain honest;
    HostileBag bag = honest.bag();
    bag.end =
        encoded(make_party({"stamper", honest.middle.get(), std::string(kStamper) + names}).get());
    bag.certificates.clear();
    for (int i = 0; i < ways; ++i) {
        CertificateSpec spec{"middle", honest.root.get(),
                             std::string(kAuthority) + "\n" + constraints + "permitted;DNS=none"};
        spec.same_key = honest.middle.get();
        bag.certificates.push_back(encoded(make_party(spec).get()));
    }
    return bag;
}

// Each authority maps two policies to two others, so that the tree of them doubles each time.
inline HostileBag doubling_policies(int authorities) {
    HostileBag bag;
    auto above = make_party({"root", nullptr, kAuthority});
    bag.anchor = encoded(above.get());
    bag.lists = {make_list({above.get(), -1, 100})};
    for (int i = 0; i < authorities; ++i) {
        std::string policies = "\ncertificatePolicies=";
        std::string mappings = "policyMappings=";
        for (int from = 0; from < 12; ++from) {
            policies += (from > 0 ? "," : "") + ("1.2.3." + std::to_string(from));
            for (int to = 0; to < 12; ++to) {
                mappings += (from + to > 0 ? "," : "") + ("1.2.3." + std::to_string(from)) +
                            ":1.2.3." + std::to_string(to);
            }
        }
        auto next = make_party({"authority" + std::to_string(i), above.get(),
                                kAuthority + policies + "\n" + mappings +
                                    "\npolicyConstraints=requireExplicitPolicy:0"});
        above = std::move(next);
        bag.certificates.push_back(encoded(above.get()));
        bag.lists.push_back(make_list({above.get(), -1, 100}));
    }
    bag.end = encoded(
        make_party({"stamper", above.get(), kStamper + std::string("certificatePolicies=1.2.3.1")})
            .get());
    return bag;
}

// Lists in the issuer's name that another key has signed.
inline HostileBag forged_lists(std::size_t bytes) {
    HostileBag bag = HonestChain().bag();
    const auto impostor = make_party({"middle", nullptr, kAuthority});
    fill(bag.lists, bytes, [&](int i) { return make_list({impostor.get(), -1 - i, 100}); });
    return bag;
}

// One list of the issuer's own with very many entries.
inline HostileBag long_list(int entries) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    bag.lists = {
        make_list({honest.root.get(), -1, 100}),
        make_list({.signer = honest.middle.get(), .made = -1, .next = 100, .strangers = entries})};
    return bag;
}

// Very many entries about the same certificate, in one forged answer and then in another.
inline HostileBag long_answers(int entries, int answers) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    const auto impostor = make_party({"middle", nullptr, kAuthority});
    const AnswerEntry entry{.certificate = honest.stamper.get(),
                            .issuer = honest.middle.get(),
                            .made = -1,
                            .next = 100};
    const std::vector<AnswerEntry> all(static_cast<std::size_t>(entries), entry);
    for (int i = 0; i < answers; ++i) {
        bag.answers.push_back(
            make_answer({.signer = impostor.get(), .entries = all, .produced = -i}));
    }
    return bag;
}

// A key that takes OpenSSL a millisecond and more to read: roots modulo the prime of P-224 are hard
// to find. With `explicit_curve` the curve is written out.
inline EvpKey dear_key(bool explicit_curve) {
    EvpKey key(EVP_EC_gen("P-224"));
    EVP_PKEY_set_utf8_string_param(key.get(), OSSL_PKEY_PARAM_EC_POINT_CONVERSION_FORMAT,
                                   "compressed");
    if (explicit_curve) {
        EVP_PKEY_set_utf8_string_param(key.get(), OSSL_PKEY_PARAM_EC_ENCODING, "explicit");
    }
    return key;
}

// Like-named issuers with such keys.
inline HostileBag dear_keys(bool explicit_curve, std::size_t bytes) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    fill(bag.certificates, bytes, [&](int) {
        CertificateSpec spec{"middle", nullptr, kPlainAuthority};
        const EvpKey key = dear_key(explicit_curve);
        spec.key = key.get();
        return encoded(make_party(spec).get());
    });
    return bag;
}

// Answers that each bring as many responders as are looked at, with dear keys, all to be tried.
inline HostileBag crowded_answers(int answers) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    std::vector<std::unique_ptr<Party>> responders;
    for (int i = 0; i < 20; ++i) {
        const EvpKey key = dear_key(false);
        CertificateSpec spec{"middle", honest.middle.get(),
                             "extendedKeyUsage=OCSPSigning\nnoCheck=ignored"};
        spec.key = key.get();
        responders.push_back(make_party(spec));
    }
    AnswerSpec spec{.signer = responders[0].get(),
                    .entries = {{.certificate = honest.stamper.get(),
                                 .issuer = honest.middle.get(),
                                 .made = -1,
                                 .next = 100}}};
    for (const auto& responder : responders) {
        spec.certificates.push_back(responder.get());
    }
    const auto impostor = make_party({"middle", nullptr, kAuthority});
    spec.signer = impostor.get();
    for (int i = 0; i < answers; ++i) {
        spec.produced = -i;
        bag.answers.push_back(make_answer(spec));
    }
    return bag;
}

struct NamedBag {
    const char* name;
    std::function<HostileBag()> make;
};

// Of a mebibyte each at most, divided by `divisor`.
inline std::vector<NamedBag> hostile_bags(std::size_t divisor = 1) {
    const std::size_t kilobyte = 1000 / divisor;
    const int part = static_cast<int>(divisor);
    return {
        {"like-named junk 106 KB", [=] { return like_named_junk(106 * kilobyte); }},
        {"like-named junk 811 KB", [=] { return like_named_junk(811 * kilobyte); }},
        {"huge names 1 MB", [=] { return huge_names(1000 * kilobyte); }},
        {"lattice of 12", [] { return lattice(12); }},
        {"lattice of 50", [=] { return lattice(50 / part); }},
        {"exponents of 3071 bits 1 MB", [=] { return slow_keys(3072, 3071, 1000 * kilobyte); }},
        {"moduli of 4096 bits 1 MB", [=] { return slow_keys(4096, 64, 1000 * kilobyte); }},
        {"moduli of 8192 bits 1 MB", [=] { return slow_keys(8192, 64, 1000 * kilobyte); }},
        {"keys on P-224 1 MB", [=] { return dear_keys(false, 1000 * kilobyte); }},
        {"curves written out 1 MB", [=] { return dear_keys(true, 1000 * kilobyte); }},
        {"names under constraints", [=] { return names_under_constraints(40); }},
        {"policies that double", [] { return doubling_policies(14); }},
        {"forged lists 1 MB", [=] { return forged_lists(1000 * kilobyte); }},
        {"a list of 40,000 entries", [=] { return long_list(40'000 / part); }},
        {"answers of 4,000 entries", [=] { return long_answers(4'000 / part, 2); }},
        {"answers with 16 responders", [=] { return crowded_answers(130 / part); }},
    };
}

} // namespace basalt::test
