// For tests and benches, beside hostile_bags.h: what could come with a token to make it dear to
// find out which lists are about a certificate, who has signed them and what they say, and which
// names a path allows.
#pragma once

#include <basalt/chain/hostile_bags.h>

namespace basalt::test {

// Lists in the honest issuer's name by a key that nobody knows, each with such extensions.
inline void add_unsigned_lists(HostileBag& bag, int count, const EvpKey& key,
                               const std::function<std::string(int)>& extensions) {
    CertificateSpec spec{"middle", nullptr, kAuthority};
    spec.key = key.get();
    const auto impostor = make_party(spec);
    for (int i = 0; i < count; ++i) {
        bag.lists.push_back(make_list({.signer = impostor.get(),
                                       .made = -1 - i,
                                       .next = 100,
                                       .entries = {},
                                       .extensions = extensions(i)}));
    }
}

// That many points, each relative to its certificate's issuer's name.
inline std::string relative_points_of(int points) {
    std::string named = "crlDistributionPoints=";
    std::string sections;
    for (int i = 0; i < points; ++i) {
        const std::string number = std::to_string(i);
        named += (i > 0 ? ",p" : "p") + number;
        sections += "[p" + number + "]\nrelativename=n\n";
    }
    return named + "\n" + sections + "[n]\nOU=1";
}

// Certificates that call themselves the issuer have very many points relative to a long name.
inline HostileBag points_of_namesakes(int points, int namesakes) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    const auto nobody = make_party({std::string(2000, 'n'), nullptr, kAuthority});
    for (int i = 0; i < namesakes; ++i) {
        bag.certificates.push_back(
            encoded(make_party({"middle", nobody.get(),
                                kAuthority + std::string("\n") + relative_points_of(points)})
                        .get()));
    }
    return bag;
}

// The stamper's certificate has such points, and each list one.
inline HostileBag relative_points(int points, int lists) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    bag.end = encoded(
        make_party({"stamper", honest.middle.get(), kStamper + relative_points_of(points)}).get());
    add_unsigned_lists(bag, lists, EvpKey(EVP_EC_gen("P-256")), [](int) {
        return "issuingDistributionPoint=critical,@p\n[p]\nrelativename=n\n[n]\nOU=2";
    });
    return bag;
}

// One point of the stamper's certificate has so many names, and one of each list as many others.
inline HostileBag names_of_points(int names_of_certificate, int names_of_list, int lists) {
    const auto names = [](const std::string& host, int count) {
        std::string text = "fullname=URI:" + host;
        for (int i = 1; i < count; ++i) {
            text += ",URI:" + host + std::to_string(i);
        }
        return text;
    };
    const HonestChain honest;
    HostileBag bag = honest.bag();
    bag.end = encoded(make_party({"stamper", honest.middle.get(),
                                  std::string(kStamper) + "crlDistributionPoints=p\n[p]\n" +
                                      names("a", names_of_certificate)})
                          .get());
    add_unsigned_lists(bag, lists, EvpKey(EVP_EC_gen("P-256")), [&](int) {
        return "issuingDistributionPoint=critical,@p\n[p]\n" + names("b", names_of_list);
    });
    return bag;
}

// The honest issuer has that many certificates for one key, so that there are as many paths.
inline void add_twins(HostileBag& bag, const HonestChain& honest, int twins,
                      const std::string& extensions = kAuthority) {
    for (int i = 0; i < twins; ++i) {
        bag.certificates.push_back(
            encoded(make_twin(*honest.middle, {"middle", honest.root.get(), extensions}).get()));
    }
}

// An indirect list, signed, that has the stamper's number very often, of another issuer.
inline HostileBag indirect_list(int entries, int twins) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    add_twins(bag, honest, twins);
    const auto other = make_party({"other", nullptr, kAuthority});
    ListSpec spec{.signer = honest.middle.get(),
                  .made = -1,
                  .next = 100,
                  .entries = {},
                  .extensions = "issuingDistributionPoint=critical,@p\n[p]\nindirectCRL=TRUE"};
    for (int i = 0; i < entries; ++i) {
        spec.entries.push_back(
            {honest.stamper.get(), -10, 1, i % 2 == 0 ? other.get() : honest.root.get()});
    }
    bag.lists.push_back(make_list(spec));
    return bag;
}

// Certificates that call themselves the issuer, and lists that each name another key of it, of a
// kind that none of these has: no signature is ever checked.
inline HostileBag namesakes_of_lists(int namesakes, int lists, int twins) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    add_twins(bag, honest, twins);
    for (int i = 0; i < namesakes; ++i) {
        bag.certificates.push_back(encoded(make_party({"middle", nullptr, kAuthority}).get()));
    }
    add_unsigned_lists(bag, lists, EvpKey(EVP_RSA_gen(1024)), [](int i) {
        char identifier[5];
        std::snprintf(identifier, sizeof identifier, "%04X", static_cast<unsigned>(i) & 0xFFFFU);
        return std::string("2.5.29.35=DER:30048002") + identifier;
    });
    return bag;
}

// A made-up issuer has signed lists, and names as its own one whom very many certificates call
// themselves: with each list a path is looked for.
inline HostileBag crowded_issuer(int namesakes, int lists) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    const auto nobody = make_party({"nobody", nullptr, kAuthority});
    const auto impostor = make_party({"middle", nobody.get(), kAuthority});
    bag.certificates.push_back(encoded(impostor.get()));
    for (int i = 0; i < namesakes; ++i) {
        bag.certificates.push_back(
            encoded(make_twin(*nobody, {"nobody", nullptr, kAuthority}).get()));
    }
    for (int i = 0; i < lists; ++i) {
        bag.lists.push_back(make_list({impostor.get(), -1 - i, 100}));
    }
    return bag;
}

// A made-up issuer has certified the honest issuer's key, and very many certificates call
// themselves that one, with its key.
inline HostileBag crowded_key(int namesakes) {
    const HonestChain honest;
    HostileBag bag = honest.bag();
    const auto nobody = make_party({"nobody", nullptr, kAuthority});
    bag.certificates.push_back(
        encoded(make_twin(*honest.middle, {"middle", nobody.get(), kAuthority}).get()));
    for (int i = 0; i < namesakes; ++i) {
        bag.certificates.push_back(
            encoded(make_twin(*nobody, {"nobody", nullptr, kAuthority}).get()));
    }
    return bag;
}

// A deep chain of authorities with such extensions, the last with as many certificates more, so
// that there are as many paths.
inline HostileBag deep_chain(const std::string& of_authorities, const std::string& of_stamper,
                             int depth, int twins) {
    const std::string extensions = std::string(kAuthority) + "\n" + of_authorities;
    std::vector<std::unique_ptr<Party>> chain;
    chain.push_back(make_party({"root", nullptr, kAuthority}));
    HostileBag bag;
    bag.anchor = encoded(chain[0].get());
    for (int i = 0; i < depth; ++i) {
        bag.lists.push_back(make_list({chain.back().get(), -1, 100}));
        chain.push_back(
            make_party({"authority" + std::to_string(i), chain.back().get(), extensions}));
        bag.certificates.push_back(encoded(chain.back().get()));
    }
    bag.lists.push_back(make_list({chain.back().get(), -1, 100}));
    for (int i = 0; i < twins; ++i) {
        bag.certificates.push_back(
            encoded(make_twin(*chain.back(),
                              {chain.back()->name, chain[chain.size() - 2].get(), extensions})
                        .get()));
    }
    bag.end = encoded(make_party({"stamper", chain.back().get(), kStamper + of_stamper}).get());
    return bag;
}

// Each authority constrains the stamper's many names.
inline HostileBag deep_constraints(int names, int constraints) {
    std::string mailboxes = "subjectAltName=@names\n[names]\n";
    for (int i = 0; i < names; ++i) {
        mailboxes += "email." + std::to_string(i) + "=a@b" + std::to_string(i) + "\n";
    }
    std::string constrained = "nameConstraints=critical,@subtrees\n[subtrees]\n";
    for (int i = 0; i < constraints; ++i) {
        constrained += "excluded;email." + std::to_string(i) + "=c" + std::to_string(i) + "\n";
    }
    return deep_chain(constrained, mailboxes, 14, 14);
}

// Each authority may be used for very many things.
inline HostileBag deep_usages(int usages) {
    std::string named = "extendedKeyUsage=";
    for (int i = 0; i < usages; ++i) {
        named += "1.2.3." + std::to_string(1'000'000 + i) + ",";
    }
    return deep_chain(named + "timeStamping", "", 14, 14);
}

// So many policies, or mappings of one to the next.
inline std::string policies_of(int policies) {
    std::string named = "certificatePolicies=";
    for (int i = 0; i < policies; ++i) {
        named += (i > 0 ? ",1.2.3." : "1.2.3.") + std::to_string(i);
    }
    return named + "\n";
}

inline std::string mappings_of(int mappings) {
    std::string named = "policyMappings=";
    for (int i = 0; i < mappings; ++i) {
        named +=
            (i > 0 ? ",1.2.3." : "1.2.3.") + std::to_string(i) + ":1.2.3." + std::to_string(i + 1);
    }
    return named + "\n";
}

// As hostile_bags().
inline std::vector<NamedBag> hostile_lists(int divisor = 1) {
    return {
        {"1,000 relative points", [=] { return relative_points(1000 / divisor, 20); }},
        {"points at the bound", [=] { return relative_points(32, 1000 / divisor); }},
        {"19,000 names of a point", [=] { return names_of_points(3'000, 19'000 / divisor, 2); }},
        {"19,000 names of a list", [=] { return names_of_points(200, 19'000 / divisor, 2); }},
        {"names at the bound", [=] { return names_of_points(256, 256, 200 / divisor); }},
        {"an indirect list by 14 paths", [=] { return indirect_list(12'000 / divisor, 13); }},
        {"namesakes of lists", [=] { return namesakes_of_lists(80, 5'000 / divisor, 14); }},
        {"a crowded issuer", [=] { return crowded_issuer(2'300, 150 / divisor); }},
        {"a crowded key", [=] { return crowded_key(4'000 / divisor); }},
        {"deep constraints", [=] { return deep_constraints(4'000 / divisor, 250); }},
        {"deep usages", [=] { return deep_usages(4'000 / divisor); }},
        {"deep policies",
         [=] { return deep_chain(policies_of(8'000 / divisor), policies_of(200), 12, 14); }},
        {"policies at the bound",
         [] { return deep_chain(policies_of(256), policies_of(256), 12, 14); }},
    };
}

} // namespace basalt::test
