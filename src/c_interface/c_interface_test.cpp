// Stamps got, judged and looked into through the C interface, against a live authority.
#include <chronoseal/c_interface/testing/caller_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>

namespace chronoseal::testing {
namespace {

using namespace std::string_literals;

TEST_F(CInterfaceTest, AStampIsGotJudgedAndLookedInto) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    const auto verifier = made<chronoseal_verifier_new>(trust);
    const auto stamp = made<chronoseal_seal>(sealer, "data", 4, nullptr);
    const auto* info = given<chronoseal_stamp_get_info>(stamp);
    EXPECT_EQ(info->status, 0);
    EXPECT_STREQ(info->status_name, "granted");
    EXPECT_EQ(info->attempts, 1U);
    EXPECT_EQ(info->address, url);
    ASSERT_NE(info->token, nullptr);
    EXPECT_EQ(info->token->imprint.size, 32U);
    EXPECT_STREQ(info->token->imprint_algorithm.name, "SHA-256");
    ASSERT_NE(info->token->signer, nullptr);
    EXPECT_STREQ(info->token->signer->subject, "CN=Test Authority");

    const auto verdict = made<chronoseal_verify>(verifier, stamp, "data", 4);
    const auto* whole = given<chronoseal_verdict_get_info>(verdict);
    EXPECT_TRUE(whole->good && whole->compared && !whole->indeterminate);
    EXPECT_EQ(whole->judged_at, info->token->time);
    ASSERT_EQ(whole->chain_count, 2U);
    EXPECT_EQ(whole->chain[1]->anchor, 1);
    for (std::size_t i = 0; i < CHRONOSEAL_CHECKS; ++i) {
        const auto* finding = given<chronoseal_verdict_finding>(verdict, i);
        EXPECT_EQ(finding->check, static_cast<int>(i));
        EXPECT_STREQ(finding->name, check_name(static_cast<Check>(i)).data());
        EXPECT_NE(finding->outcome, CHRONOSEAL_FAILED) << finding->text;
    }
    EXPECT_EQ(failure<chronoseal_verdict_finding>(verdict, CHRONOSEAL_CHECKS),
              "misuse: index_too_large");

    // The other ways to say what was stamped.
    const chronoseal_digest digest = hash("data");
    auto expected = sized<chronoseal_expected>();
    expected.digest = &digest;
    const auto file = folder.write("data", "data");
    EXPECT_EQ(says<chronoseal_verify_digest>(verifier, stamp, digest, nullptr), "");
    EXPECT_EQ(says<chronoseal_verify_expected>(verifier, stamp, expected, nullptr), "");
    EXPECT_EQ(says<chronoseal_verify_file>(verifier, stamp, file, nullptr, nullptr), "");
    EXPECT_EQ(says<chronoseal_verify_token>(verifier, stamp, nullptr), "");
    expected.policy = "1.2.3.5";
    EXPECT_EQ(says<chronoseal_verify_expected>(verifier, stamp, expected, nullptr),
              "refused: policy_differs");
}

TEST_F(CInterfaceTest, OkStandsForAGoodStampAlone) {
    const auto verifier = made<chronoseal_verifier_new>(trust);
    const auto stamp = made<chronoseal_stamp_read>(token());
    chronoseal_verdict* found = nullptr;
    EXPECT_EQ(says<chronoseal_verify>(verifier, stamp, "other", 5, &found),
              "refused: imprint_differs");
    const Handle<chronoseal_verdict> verdict(found);
    const auto* whole = given<chronoseal_verdict_get_info>(verdict);
    EXPECT_EQ(whole->good, 0);
    EXPECT_EQ(whole->deciding->check, CHRONOSEAL_CHECK_IMPRINT);
    EXPECT_STREQ(whole->deciding->word, "imprint_differs");

    const auto nothing = sized<chronoseal_expected>();
    EXPECT_EQ(says<chronoseal_verify_expected>(verifier, stamp, nothing, nullptr),
              "misuse: data_missing");
}

TEST_F(CInterfaceTest, TheEvidenceIsGivenWithTheChain) {
    const std::string list =
        list_by(authority.authority(), "20240101000000Z", 4, "20240701000000Z", "20491231000000Z");
    const chronoseal_source evidence = source_of(list);
    trust.evidence = &evidence;
    trust.evidence_count = 1;
    chronoseal_verdict* found = nullptr;
    EXPECT_EQ(says<chronoseal_verify>(made<chronoseal_verifier_new>(trust),
                                      made<chronoseal_stamp_read>(token()), "data", 4, &found),
              "refused: revoked");
    const Handle<chronoseal_verdict> verdict(found);
    const auto* info = given<chronoseal_verdict_get_info>(verdict);
    ASSERT_GT(info->chain_count, 0U);
    const chronoseal_chain_link& link = *info->chain[0];
    EXPECT_EQ(link.revocation, CHRONOSEAL_REVOKED);
    ASSERT_EQ(link.evidence_count, 1U);
    const chronoseal_evidence& one = *link.evidence[0];
    EXPECT_EQ(one.kind, CHRONOSEAL_EVIDENCE_LIST);
    EXPECT_EQ(one.source, CHRONOSEAL_EVIDENCE_GIVEN);
    EXPECT_TRUE(one.revoked && one.has_next_update);
    std::array<char, CHRONOSEAL_TIME_ROOM> text{};
    chronoseal_time_text(one.revoked_at, 0, text.data(), text.size(), nullptr);
    EXPECT_STREQ(text.data(), "2024-01-01T00:00:00Z");
    EXPECT_EQ(text_of(one.der), list);
}

TEST_F(CInterfaceTest, ARequestGoesAnotherWayAndIsHeldAgainstTheAnswer) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    const auto verifier = made<chronoseal_verifier_new>(trust);
    const std::string request = taken<chronoseal_request>(sealer, hash("data"));
    const auto stamp = made<chronoseal_send>(sealer, request, nullptr);
    const auto judge = [&](const char* data, std::size_t size) {
        return says<chronoseal_verify_request>(verifier, stamp, data, size, nullptr);
    };
    EXPECT_EQ(judge(request.data(), request.size()), "");
    EXPECT_EQ(judge(request.data(), request.size() - 1), "refused: not_a_request");
    EXPECT_EQ(judge(nullptr, 0), "refused: not_a_request");
}

TEST_F(CInterfaceTest, AnInspectionTellsWhatIsBehindAndWhatARequestWants) {
    const std::string whole = token();
    for (const std::string& behind : {std::string(), std::string("more"), whole}) {
        const auto inspection = made<chronoseal_inspect>(whole + behind);
        const auto* info = given<chronoseal_inspection_get_info>(inspection);
        EXPECT_EQ(info->behind, behind.size());
        EXPECT_EQ(info->certificates_wanted, 0);
    }
    for (const bool wanted : {false, true}) {
        options.certificates = wanted ? CHRONOSEAL_YES : CHRONOSEAL_NO;
        const auto sealer = made<chronoseal_sealer_new>(options);
        const auto request =
            made<chronoseal_inspect>(taken<chronoseal_request>(sealer, hash("data")));
        EXPECT_EQ(given<chronoseal_inspection_get_info>(request)->certificates_wanted,
                  wanted ? 1 : 0);
    }
}

TEST_F(CInterfaceTest, AQuorumFillsAllPlacesOrNone) {
    const LiveAuthority second;
    const std::string other_root = second.authority().root_der();
    const chronoseal_source both[] = {roots, source_of(other_root)};
    trust.roots = both;
    trust.root_count = 2;
    const std::string other_url = second.url();
    auto one = sized<chronoseal_authority>();
    one.url = url.c_str();
    chronoseal_authority two = one;
    two.url = other_url.c_str();
    const chronoseal_authority* const authorities[] = {&one, &two};
    options.url = nullptr;
    options.authorities = authorities;
    options.authority_count = 2;
    options.quorum = 2;
    const auto sealer = made<chronoseal_sealer_new>(options);
    chronoseal_stamp* stamps[3] = {};
    EXPECT_EQ(failure<chronoseal_seal_quorum>(sealer, hash("data"), nullptr, &stamps[0], 1),
              "misuse: buffer_too_small");
    EXPECT_EQ(authority.requests(), 0U);
    EXPECT_EQ(given<chronoseal_seal_quorum>(sealer, hash("data"), nullptr, &stamps[0], 3), 2U);
    EXPECT_EQ(stamps[2], nullptr);
    for (chronoseal_stamp*& stamp : stamps) {
        chronoseal_stamp_free(&stamp);
    }
}

// A name that would end a C string early, or draw on a terminal, must not pass as another one.
TEST_F(CInterfaceTest, TextOfOthersIsQuotedNullBytesIncluded) {
    const std::string part =
        tsp::sequence(tsp::oid("2.5.4.3") + tsp::element(0x0C, "good\0evil\x1b[2J"s));
    const std::string called = tsp::element(0xA4, tsp::sequence(tsp::element(0x31, part)));
    const auto stamp = made<chronoseal_stamp_read>(token({.tsa = called}));
    const std::string name = given<chronoseal_stamp_get_info>(stamp)->token->authority;
    EXPECT_NE(name.find("evil"), std::string::npos) << name;
    EXPECT_EQ(name.find('\x1b'), std::string::npos) << name;
}

TEST_F(CInterfaceTest, HashesInPiecesAndStopsWhenItIsTold) {
    const auto hasher = made<chronoseal_hasher_new>("SHA-384");
    done<chronoseal_hasher_update>(hasher, "da", 2);
    done<chronoseal_hasher_update>(hasher, nullptr, 0);
    done<chronoseal_hasher_update>(hasher, "ta", 2);
    const auto pieces = given<chronoseal_hasher_finish>(hasher);
    const auto whole = hash("data", "SHA-384");
    EXPECT_EQ(std::memcmp(&pieces, &whole, sizeof whole), 0);
    EXPECT_EQ(says<chronoseal_hasher_update>(hasher, "x", 1), "misuse: hash_finished");
    EXPECT_EQ(failure<chronoseal_hasher_finish>(hasher), "misuse: hash_finished");

    const auto file = folder.write("large", std::string(8 << 20, 'x'));
    std::uint64_t calls = 0;
    auto control = sized<chronoseal_control>();
    control.user = &calls;
    control.progress = [](void* user, std::uint64_t, std::uint64_t total) {
        EXPECT_EQ(total, 8U << 20);
        return ++*static_cast<std::uint64_t*>(user) == 2 ? -1 : 0;
    };
    EXPECT_EQ(failure<chronoseal_hash_file>(nullptr, file, control), "unreachable: cancelled");
    EXPECT_EQ(calls, 2U);

    const auto sealer = made<chronoseal_sealer_new>(options);
    const auto stop = made<chronoseal_stop_new>();
    done<chronoseal_stop_request>(stop);
    const chronoseal_control stopped{sizeof stopped, stop.get(), nullptr, nullptr};
    EXPECT_EQ(failure<chronoseal_seal>(sealer, "data", 4, stopped), "unreachable: cancelled");
    EXPECT_EQ(authority.requests(), 0U);
}

TEST_F(CInterfaceTest, ThePolicyAndTheDiagnosisAreTold) {
    tsp::Configuration::instance().set("RequireNonce = 'yes'");
    struct Seen {
        std::size_t settings = 0, fatal = 0, diagnoses = 0;
    } seen;
    const auto count = [](void* user, const chronoseal_setting* setting) {
        auto& all = *static_cast<Seen*>(user);
        ++all.settings;
        all.fatal += setting->fatal != 0 ? 1 : 0;
        return 0;
    };
    EXPECT_EQ(given<chronoseal_policy>(count, &seen), 0);
    EXPECT_GT(seen.settings, 10U);
    EXPECT_EQ(seen.fatal, 1U);
    const auto end = [](void* user, const chronoseal_diagnosis* diagnosis) {
        ++static_cast<Seen*>(user)->diagnoses;
        EXPECT_STRNE(diagnosis->word, "");
        return 1;
    };
    done<chronoseal_diagnose>(options, 0, end, &seen);
    EXPECT_EQ(seen.diagnoses, 1U);
}

TEST_F(CInterfaceTest, AnotherWayToStore) {
    const std::string bare = token();
    const auto stamp = made<chronoseal_stamp_read>(bare);
    const auto response = given<chronoseal_stamp_response>(stamp);
    EXPECT_EQ(response.size, 0U);
    EXPECT_EQ(response.data, nullptr);
    EXPECT_EQ(text_of(given<chronoseal_stamp_token>(stamp)), bare);
    const auto again = made<chronoseal_stamp_read>(taken<chronoseal_stamp_as_response>(stamp));
    EXPECT_EQ(given<chronoseal_stamp_get_info>(again)->status, 0);
    EXPECT_STREQ(chronoseal_version(), std::string(version()).c_str());
}

} // namespace
} // namespace chronoseal::testing
