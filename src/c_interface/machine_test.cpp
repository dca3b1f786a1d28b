// Algorithms, settings, stores, roots, authorities and Authenticode through the C interface.
#include <algorithm>
#include <map>
#include <vector>

#include <chronoseal/c_interface/testing/caller.h>

namespace chronoseal::testing {
namespace {

class CMachineTest : public SealTest, public Caller {
protected:
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
    done<chronoseal_hash_algorithms>(keep<chronoseal_hash_algorithm, show>, &told);
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
    done<chronoseal_policy>(keep<chronoseal_setting, show>, &told, nullptr);
    for (const char* const row :
         {"config.cades.tsppolicy.RequireNonce 2", "config.cades.tsppolicy.AllowedTSPs 1",
          "config.basalt.Revocation 3", "config.basalt.Strength 0",
          "config.cades.tsppolicy.AllowedTPSs 4"}) {
        EXPECT_EQ(std::ranges::count(told, row), 1) << row;
    }
    told.clear();
    done<chronoseal_policy_problems>(keep<char, show>, &told);
    EXPECT_TRUE(told.empty());
    machine.set_raw("no toml [");
    done<chronoseal_policy_problems>(keep<char, show>, &told);
    EXPECT_EQ(told.size(), 1U);
    machine.set("");
    told.clear();
    done<chronoseal_stores>(keep<chronoseal_store, show>, &told);
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
    const auto trust = [&](const std::string& der, const std::string& sha256) {
        return says<chronoseal_trust_root>(source_of(der), sha256, CHRONOSEAL_PLACE_USER);
    };
    const auto distrust = [&](const std::string& sha256) {
        return says<chronoseal_distrust_root>(sha256, CHRONOSEAL_PLACE_USER);
    };
    const auto all = [&] {
        told.clear();
        done<chronoseal_trusted_roots>(keep<chronoseal_trusted_root, show>, &told);
        return told;
    };
    EXPECT_EQ(trust(root, ""), "misuse: digest_malformed");
    EXPECT_TRUE(all().empty());
    EXPECT_EQ(trust(root, hash), "");
    EXPECT_EQ(all(), std::vector{"user " + hash});
    EXPECT_EQ(distrust(hash), "");
    EXPECT_TRUE(all().empty());
}

std::string show(const chronoseal_authority& one) {
    const auto text = [](const char* text) { return text == nullptr ? "-" : text; };
    return std::string(one.url) + " " + text(one.user) + " " + text(one.login_file) + " " +
           text(one.proxy) + " " + std::to_string(one.rate_count) + " " +
           std::to_string(one.rate_period_ms) + " " + std::to_string(one.timeout_ms) + " " +
           text(one.proxy_login_file);
}

// What is told can be handed back as options.
int seal_by(void* user, const chronoseal_authority* authority) {
    auto options = sized<chronoseal_sealer_options>();
    options.authorities = &authority;
    options.authority_count = 1;
    Caller caller;
    const auto sealer = caller.made<chronoseal_sealer_new>(options);
    caller.done<chronoseal_sealer_authorities>(sealer, keep<chronoseal_authority, show>, user);
    return 1;
}

TEST_F(CMachineTest, TheMachinesAuthoritiesAreToldAndTaken) {
    const auto login = folder.write("login", "user:pw").string();
    tsp::Configuration::instance().set(
        "", "[[config.chronoseal.authority]]\nUrl = 'http://a.example/'\nLoginFile = '" + login +
                "'\nProxyLoginFile = '" + login +
                "'\nRateCount = 3\nRateMilliseconds = 2000\n"
                "[[config.chronoseal.authority]]\nUrl = 'http://b.example/'\nProxy = ''\n");
    const std::vector<std::string> both = {"http://a.example/ - " + login + " - 3 2000 0 " + login,
                                           "http://b.example/ - -  0 1000 0 -"};
    done<chronoseal_configured_authorities>(keep<chronoseal_authority, show>, &told);
    EXPECT_EQ(told, both);
    told.clear();
    done<chronoseal_configured_authorities>(seal_by, &told);
    EXPECT_EQ(told, std::vector{both[0]});
}

TEST_F(CMachineTest, AnAuthenticodeAnswerIsJudgedBeforeItIsGiven) {
    const LiveAuthority server([](const tsp::Authority& by, const std::string&) {
        return http_reply(200, authenticode_answer(by, "content"));
    });
    const std::string root = server.authority().root_der();
    const std::string url = server.url();
    const auto roots = source_of(root);
    const auto trust = trust_in(roots);
    auto options = sized<chronoseal_authenticode_options>();
    options.url = url.c_str();
    EXPECT_EQ(failure<chronoseal_authenticode>("content", 7, options),
              "refused: chain_incomplete"); // this machine has no roots
    options.without_verification = 1;
    EXPECT_NE(made<chronoseal_authenticode>("content", 7, options), nullptr);
    options = {sizeof options, url.c_str(), &trust, 0};
    EXPECT_EQ(failure<chronoseal_authenticode>("other", 5, options), "refused: imprint_differs");
    const auto stamp = made<chronoseal_authenticode>("content", 7, options);
    needs_all<chronoseal_authenticode_stamp_get_info>(stamp, kPlace);
    const auto* info = given<chronoseal_authenticode_stamp_get_info>(stamp);
    EXPECT_EQ(info->has_time, 1);
    EXPECT_STREQ(info->signer->subject, "CN=Test Authority");
    EXPECT_GT(info->der.size, 500U);
    ASSERT_EQ(info->signer->usage_count, 1U);
    EXPECT_STREQ(info->signer->extended_usages[0], "1.3.6.1.5.5.7.3.8");
    options.size = 8;
    EXPECT_EQ(failure<chronoseal_authenticode>("content", 7, options), "misuse: size_wrong");
}

TEST_F(CMachineTest, AMissingArgumentIsToldAndNeverFollowed) {
    auto options = sized<chronoseal_sealer_options>();
    options.url = "http://a.example/";
    const auto sealer = made<chronoseal_sealer_new>(options);
    const std::string root(1, 'x');
    const auto user = CHRONOSEAL_PLACE_USER;
    needs_all<chronoseal_hash_algorithms>(keep<chronoseal_hash_algorithm, show>, nullptr);
    needs_all<chronoseal_policy_problems>(keep<char, show>, nullptr);
    needs_all<chronoseal_stores>(keep<chronoseal_store, show>, nullptr);
    needs_all<chronoseal_trusted_roots>(keep<chronoseal_trusted_root, show>, nullptr);
    needs_all<chronoseal_trust_root>(source_of(root), "x", 1, user);
    EXPECT_EQ(says<chronoseal_trust_root>(chronoseal_source{}, "x", 1, user),
              "misuse: argument_missing");
    needs_all<chronoseal_distrust_root>("x", 1, user);
    needs_all<chronoseal_sealer_authorities>(sealer, seal_by, nullptr);
    needs_all<chronoseal_configured_authorities>(seal_by, nullptr);
    needs_all<chronoseal_authenticode>("x", 1, nullptr, kPlace);
}

} // namespace
} // namespace chronoseal::testing
