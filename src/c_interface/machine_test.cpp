// Algorithms, settings, stores, roots, authorities and Authenticode through the C interface.
#include <algorithm>
#include <map>
#include <vector>

#include <chronoseal/c_interface/testing/caller.h>

namespace chronoseal::testing {
namespace {

class CMachineTest : public SealTest {
protected:
    CallerError error;
    std::vector<std::string> told;
};

// Keeps all that a function tells, each as the text that `Show` makes of it.
template <class Item, std::string (*Show)(const Item&)>
int keep(void* user, const Item* item) {
    static_cast<std::vector<std::string>*>(user)->push_back(Show(*item));
    return 0;
}

std::string show(const chronoseal_hash_algorithm& one) {
    return std::string(one.name) + " " + one.oid + " " + std::to_string(one.size) +
           (one.weak != 0 ? " weak" : "");
}

TEST_F(CMachineTest, TheHashAlgorithmsAreThoseOfCpp) {
    ASSERT_EQ(chronoseal_hash_algorithms(keep<chronoseal_hash_algorithm, show>, &told, &error),
              CHRONOSEAL_OK);
    EXPECT_EQ(told.size(), HashAlgorithm::all().size());
    EXPECT_EQ(std::ranges::count(told, "SHA-256 2.16.840.1.101.3.4.2.1 32"), 1);
    EXPECT_EQ(std::ranges::count(told, "SHA-1 1.3.14.3.2.26 20 weak"), 1);
}

std::string show(const chronoseal_setting& one) {
    return std::string(one.key) + " " + std::to_string(one.state);
}

std::string show(const chronoseal_store& one) {
    return std::string(one.name) + " " + std::to_string(one.certificates) + one.problem;
}

std::string show(const char& first) {
    return &first;
}

TEST_F(CMachineTest, WhatIsWithEachSettingAndStoreIsTold) {
    auto& machine = tsp::Configuration::instance();
    machine.set("RequireNonce = 'yes'\nAllowedTSPs = ['x']\nAllowedTPSs = ['x']",
                "[config.basalt]\nRevocation = 'requier'\n");
    ASSERT_EQ(chronoseal_policy(keep<chronoseal_setting, show>, &told, nullptr, &error),
              CHRONOSEAL_OK);
    for (const char* const row :
         {"config.cades.tsppolicy.RequireNonce 2", "config.cades.tsppolicy.AllowedTSPs 1",
          "config.basalt.Revocation 3", "config.basalt.Strength 0",
          "config.cades.tsppolicy.AllowedTPSs 4"}) {
        EXPECT_EQ(std::ranges::count(told, row), 1) << row;
    }
    told.clear();
    EXPECT_EQ(chronoseal_policy_problems(keep<char, show>, &told, &error), CHRONOSEAL_OK);
    EXPECT_TRUE(told.empty());
    machine.set_raw("no toml [");
    EXPECT_EQ(chronoseal_policy_problems(keep<char, show>, &told, &error), CHRONOSEAL_OK);
    EXPECT_EQ(told.size(), 1U);
    machine.set("");
    told.clear();
    ASSERT_EQ(chronoseal_stores(keep<chronoseal_store, show>, &told, &error), CHRONOSEAL_OK);
    ASSERT_EQ(told.size(), 4U);
    EXPECT_EQ(told[0], "Root 0");
}

std::string show(const chronoseal_trusted_root& one) {
    return std::string(one.place) + " " + text_of(one.certificate->sha256);
}

TEST_F(CMachineTest, ARootIsTrustedByItsHashAndUntilItIsTakenAway) {
    const tsp::Authority authority;
    const std::string root = authority.root_der();
    const std::string hash = tsp::sha256(root);
    const auto given = source_of(root);
    const auto trust = [&](const chronoseal_source& source, const std::string& sha256) {
        chronoseal_trust_root(&source, sha256.data(), sha256.size(), CHRONOSEAL_PLACE_USER, &error);
        return error.word();
    };
    const auto distrust = [&](const std::string& sha256) {
        chronoseal_distrust_root(sha256.data(), sha256.size(), CHRONOSEAL_PLACE_USER, &error);
        return error.word();
    };
    const auto all = [&] {
        told.clear();
        EXPECT_EQ(chronoseal_trusted_roots(keep<chronoseal_trusted_root, show>, &told, &error),
                  CHRONOSEAL_OK);
        return told;
    };
    const std::string signer = authority.signer_der();
    EXPECT_EQ(trust(given, tsp::sha256("x")), "root_differs");
    EXPECT_EQ(trust(given, ""), "digest_malformed");
    EXPECT_EQ(trust(source_of(signer), tsp::sha256(signer)), "not_a_root");
    EXPECT_TRUE(all().empty());
    EXPECT_EQ(trust(given, hash), "");
    EXPECT_EQ(all(), std::vector{"user " + hash});
    EXPECT_EQ(distrust(tsp::sha256("x")), "root_not_found");
    EXPECT_EQ(distrust(hash), "");
    EXPECT_TRUE(all().empty());
}

std::string show(const chronoseal_authority& one) {
    const auto text = [](const char* text) { return text == nullptr ? "-" : text; };
    return std::string(one.url) + " " + text(one.user) + " " + text(one.login_file) + " " +
           text(one.proxy) + " " + std::to_string(one.rate_count) + " " +
           std::to_string(one.rate_period_ms) + " " + std::to_string(one.timeout_ms);
}

// What is told can be handed back as options.
int seal_by(void* user, const chronoseal_authority* authority) {
    chronoseal_sealer_options options{};
    options.size = sizeof options;
    options.authorities = &authority;
    options.authority_count = 1;
    chronoseal_sealer* sealer = nullptr;
    EXPECT_EQ(chronoseal_sealer_new(&options, &sealer, nullptr), CHRONOSEAL_OK);
    EXPECT_EQ(
        chronoseal_sealer_authorities(sealer, keep<chronoseal_authority, show>, user, nullptr),
        CHRONOSEAL_OK);
    chronoseal_sealer_free(&sealer);
    return 1;
}

TEST_F(CMachineTest, TheMachinesAuthoritiesAreToldAndTaken) {
    const auto login = folder.write("login", "user:pw").string();
    tsp::Configuration::instance().set(
        "", "[[config.chronoseal.authority]]\nUrl = 'http://a.example/'\nLoginFile = '" + login +
                "'\nRateCount = 3\nRateMilliseconds = 2000\n"
                "[[config.chronoseal.authority]]\nUrl = 'http://b.example/'\nProxy = ''\n");
    const std::vector<std::string> both = {"http://a.example/ - " + login + " - 3 2000 0",
                                           "http://b.example/ - -  0 1000 0"};
    ASSERT_EQ(chronoseal_configured_authorities(keep<chronoseal_authority, show>, &told, &error),
              CHRONOSEAL_OK);
    EXPECT_EQ(told, both);
    told.clear();
    ASSERT_EQ(chronoseal_configured_authorities(seal_by, &told, &error), CHRONOSEAL_OK);
    EXPECT_EQ(told, std::vector{both[0]});
}

TEST_F(CMachineTest, AnAuthenticodeAnswerIsJudgedBeforeItIsGiven) {
    const LiveAuthority server([](const tsp::Authority& by, const std::string&) {
        tsp::Signing plain;
        plain.contentType = "1.2.840.113549.1.7.1";
        plain.flags = 0;
        const std::string der = by.token("content", plain);
        std::string text(der.size() * 2 + 4, '\0');
        text.resize(static_cast<std::size_t>(EVP_EncodeBlock(
            reinterpret_cast<unsigned char*>(text.data()),
            reinterpret_cast<const unsigned char*>(der.data()), static_cast<int>(der.size()))));
        return http_reply(200, text);
    });
    const std::string root = server.authority().root_der();
    const std::string url = server.url();
    const auto roots = source_of(root);
    chronoseal_trust trust{};
    trust.size = sizeof trust;
    trust.roots = &roots;
    trust.root_count = 1;
    chronoseal_authenticode_options options{};
    options.size = sizeof options;
    options.url = url.c_str();
    const auto get = [&](const std::string& content) {
        chronoseal_authenticode_stamp* made = nullptr;
        chronoseal_authenticode(content.data(), content.size(), &options, &made, &error);
        return std::unique_ptr<chronoseal_authenticode_stamp,
                               FreeBy<chronoseal_authenticode_stamp_free>>(made);
    };
    EXPECT_EQ(get("content"), nullptr); // this machine has no roots
    EXPECT_EQ(error.word(), "chain_incomplete");
    options.without_verification = 1;
    EXPECT_NE(get("content"), nullptr) << error.why();
    options = {sizeof options, url.c_str(), &trust, 0};
    EXPECT_EQ(get("other"), nullptr);
    EXPECT_EQ(error.word(), "imprint_differs");
    const auto stamp = get("content");
    const chronoseal_authenticode_info* info = nullptr;
    ASSERT_EQ(chronoseal_authenticode_stamp_get_info(stamp.get(), &info, &error), CHRONOSEAL_OK)
        << error.why();
    EXPECT_EQ(info->has_time, 1);
    EXPECT_STREQ(info->signer->subject, "CN=Test Authority");
    EXPECT_GT(info->der.size, 500U);
    ASSERT_EQ(info->signer->usage_count, 1U);
    EXPECT_STREQ(info->signer->extended_usages[0], "1.3.6.1.5.5.7.3.8");
    EXPECT_EQ(chronoseal_authenticode("x", 1, nullptr, nullptr, &error), CHRONOSEAL_MISUSE);
    options.size = 8;
    EXPECT_EQ(get("content"), nullptr);
    EXPECT_EQ(error.word(), "size_wrong");
}

TEST_F(CMachineTest, AMissingArgumentIsToldAndNeverFollowed) {
    const chronoseal_source nothing{};
    const auto user = CHRONOSEAL_PLACE_USER;
    chronoseal_authenticode_stamp* stamp = nullptr;
    const chronoseal_authenticode_info* info = nullptr;
    expect_argument_missing({
        ROW(chronoseal_hash_algorithms(nullptr, nullptr, e)),
        ROW(chronoseal_policy_problems(nullptr, nullptr, e)),
        ROW(chronoseal_stores(nullptr, nullptr, e)),
        ROW(chronoseal_trusted_roots(nullptr, nullptr, e)),
        ROW(chronoseal_trust_root(nullptr, "x", 1, user, e)),
        ROW(chronoseal_trust_root(&nothing, "x", 1, user, e)),
        ROW(chronoseal_trust_root(&nothing, nullptr, 32, user, e)),
        ROW(chronoseal_distrust_root(nullptr, 32, user, e)),
        ROW(chronoseal_sealer_authorities(nullptr, seal_by, nullptr, e)),
        ROW(chronoseal_configured_authorities(nullptr, nullptr, e)),
        ROW(chronoseal_authenticode(nullptr, 1, nullptr, &stamp, e)),
        ROW(chronoseal_authenticode("x", 1, nullptr, nullptr, e)),
        ROW(chronoseal_authenticode_stamp_get_info(nullptr, &info, e)),
    });
    chronoseal_authenticode_stamp_free(nullptr);
}

} // namespace
} // namespace chronoseal::testing
