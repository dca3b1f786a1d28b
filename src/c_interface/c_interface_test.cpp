// Stamps got, judged and looked into through the C interface, against a live authority.
#include <chronoseal/chronoseal.h>

#include <cstring>

#include <chronoseal/c_interface/testing/caller_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>

namespace chronoseal::testing {
namespace {

using namespace std::string_literals;

TEST_F(CInterfaceTest, AStampIsGotJudgedAndLookedInto) {
    const auto sealer = make_sealer();
    const auto verifier = make_verifier();
    chronoseal_stamp* got = nullptr;
    ASSERT_EQ(chronoseal_seal(sealer.get(), "data", 4, nullptr, &got, &error), CHRONOSEAL_OK)
        << why();
    const Handle<chronoseal_stamp> stamp(got);
    const chronoseal_stamp_info* info = nullptr;
    ASSERT_EQ(chronoseal_stamp_get_info(stamp.get(), &info, &error), CHRONOSEAL_OK);
    EXPECT_EQ(info->status, 0);
    EXPECT_STREQ(info->status_name, "granted");
    EXPECT_EQ(info->attempts, 1U);
    EXPECT_EQ(info->address, url);
    ASSERT_NE(info->token, nullptr);
    EXPECT_EQ(info->token->imprint.size, 32U);
    EXPECT_STREQ(info->token->imprint_algorithm.name, "SHA-256");
    ASSERT_NE(info->token->signer, nullptr);
    EXPECT_STREQ(info->token->signer->subject, "CN=Test Authority");

    chronoseal_verdict* found = nullptr;
    ASSERT_EQ(chronoseal_verify(verifier.get(), stamp.get(), "data", 4, &found, &error),
              CHRONOSEAL_OK)
        << why();
    const Handle<chronoseal_verdict> verdict(found);
    EXPECT_EQ(error, nullptr);
    const chronoseal_verdict_info* whole = nullptr;
    ASSERT_EQ(chronoseal_verdict_get_info(verdict.get(), &whole, &error), CHRONOSEAL_OK);
    EXPECT_TRUE(whole->good && whole->compared && !whole->indeterminate);
    EXPECT_EQ(whole->judged_at, info->token->time);
    ASSERT_EQ(whole->chain_count, 2U);
    EXPECT_EQ(whole->chain[1]->anchor, 1);
    for (std::size_t i = 0; i < CHRONOSEAL_CHECKS; ++i) {
        const chronoseal_finding* finding = nullptr;
        ASSERT_EQ(chronoseal_verdict_finding(verdict.get(), i, &finding, &error), CHRONOSEAL_OK);
        EXPECT_EQ(finding->check, static_cast<int>(i));
        EXPECT_STREQ(finding->name, check_name(static_cast<Check>(i)).data());
        EXPECT_NE(finding->outcome, CHRONOSEAL_FAILED) << finding->text;
    }
    const chronoseal_finding* beyond = nullptr;
    EXPECT_EQ(chronoseal_verdict_finding(verdict.get(), CHRONOSEAL_CHECKS, &beyond, &error),
              CHRONOSEAL_MISUSE);

    // The other ways to say what was stamped.
    chronoseal_digest digest{};
    ASSERT_EQ(chronoseal_hash(nullptr, "data", 4, &digest, &error), CHRONOSEAL_OK);
    chronoseal_expected expected{};
    expected.size = sizeof expected;
    expected.digest = &digest;
    const auto file = folder.write("data", "data").string();
    EXPECT_EQ(chronoseal_verify_digest(verifier.get(), stamp.get(), &digest, nullptr, &error), 0);
    EXPECT_EQ(chronoseal_verify_expected(verifier.get(), stamp.get(), &expected, nullptr, &error),
              0);
    EXPECT_EQ(
        chronoseal_verify_file(verifier.get(), stamp.get(), file.c_str(), nullptr, nullptr, &error),
        0);
    EXPECT_EQ(chronoseal_verify_token(verifier.get(), stamp.get(), nullptr, &error), 0);
    expected.policy = "1.2.3.5";
    EXPECT_EQ(chronoseal_verify_expected(verifier.get(), stamp.get(), &expected, nullptr, &error),
              CHRONOSEAL_REFUSED);
    EXPECT_EQ(word(), "policy_differs");
}

TEST_F(CInterfaceTest, OkStandsForAGoodStampAlone) {
    const auto verifier = make_verifier();
    const auto stamp = read(token());
    chronoseal_verdict* found = nullptr;
    EXPECT_EQ(chronoseal_verify(verifier.get(), stamp.get(), "other", 5, &found, &error),
              CHRONOSEAL_REFUSED);
    const Handle<chronoseal_verdict> verdict(found);
    EXPECT_EQ(word(), "imprint_differs");
    const chronoseal_verdict_info* whole = nullptr;
    ASSERT_EQ(chronoseal_verdict_get_info(verdict.get(), &whole, &error), CHRONOSEAL_OK);
    EXPECT_EQ(whole->good, 0);
    EXPECT_EQ(whole->deciding->check, CHRONOSEAL_CHECK_IMPRINT);
    EXPECT_STREQ(whole->deciding->word, "imprint_differs");

    chronoseal_expected nothing{};
    nothing.size = sizeof nothing;
    EXPECT_NE(chronoseal_verify_expected(verifier.get(), stamp.get(), &nothing, nullptr, &error),
              CHRONOSEAL_OK);
    EXPECT_EQ(word(), "data_missing");
}

TEST_F(CInterfaceTest, TheEvidenceIsGivenWithTheChain) {
    const std::string list =
        list_by(authority.authority(), "20240101000000Z", 4, "20240701000000Z", "20491231000000Z");
    const chronoseal_source evidence = source_of(list);
    trust.evidence = &evidence;
    trust.evidence_count = 1;
    chronoseal_verdict* found = nullptr;
    EXPECT_EQ(
        chronoseal_verify(make_verifier().get(), read(token()).get(), "data", 4, &found, &error),
        CHRONOSEAL_REFUSED);
    const Handle<chronoseal_verdict> verdict(found);
    EXPECT_EQ(word(), "revoked");
    const chronoseal_verdict_info* info = nullptr;
    ASSERT_EQ(chronoseal_verdict_get_info(found, &info, &error), CHRONOSEAL_OK);
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
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(one.der.data), one.der.size), list);
}

TEST_F(CInterfaceTest, ARequestGoesAnotherWayAndIsHeldAgainstTheAnswer) {
    const auto sealer = make_sealer();
    const auto verifier = make_verifier();
    chronoseal_digest digest{};
    ASSERT_EQ(chronoseal_hash(nullptr, "data", 4, &digest, &error), CHRONOSEAL_OK);
    unsigned char* request = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(chronoseal_request(sealer.get(), &digest, &request, &size, &error), CHRONOSEAL_OK);
    chronoseal_stamp* got = nullptr;
    ASSERT_EQ(chronoseal_send(sealer.get(), request, size, nullptr, &got, &error), CHRONOSEAL_OK)
        << why();
    const Handle<chronoseal_stamp> stamp(got);
    EXPECT_EQ(
        chronoseal_verify_request(verifier.get(), stamp.get(), request, size, nullptr, &error),
        CHRONOSEAL_OK)
        << why();
    EXPECT_EQ(
        chronoseal_verify_request(verifier.get(), stamp.get(), request, size - 1, nullptr, &error),
        CHRONOSEAL_REFUSED)
        << why();
    chronoseal_free(request);
    EXPECT_EQ(chronoseal_verify_request(verifier.get(), stamp.get(), nullptr, 0, nullptr, &error),
              CHRONOSEAL_REFUSED);
    EXPECT_EQ(word(), "not_a_request");
}

TEST_F(CInterfaceTest, AQuorumFillsAllPlacesOrNone) {
    const LiveAuthority second;
    const std::string other_root = second.authority().root_der();
    const chronoseal_source both[] = {roots, source_of(other_root)};
    trust.roots = both;
    trust.root_count = 2;
    const std::string other_url = second.url();
    chronoseal_authority one{};
    one.size = sizeof one;
    one.url = url.c_str();
    chronoseal_authority two = one;
    two.url = other_url.c_str();
    const chronoseal_authority* const authorities[] = {&one, &two};
    options.url = nullptr;
    options.authorities = authorities;
    options.authority_count = 2;
    options.quorum = 2;
    const auto sealer = make_sealer();
    chronoseal_digest digest{};
    ASSERT_EQ(chronoseal_hash(nullptr, "data", 4, &digest, &error), CHRONOSEAL_OK);
    chronoseal_stamp* stamps[3] = {};
    std::size_t count = 0;
    EXPECT_EQ(chronoseal_seal_quorum(sealer.get(), &digest, nullptr, stamps, 1, &count, &error),
              CHRONOSEAL_MISUSE);
    EXPECT_EQ(authority.requests(), 0U);
    EXPECT_EQ(chronoseal_seal_quorum(sealer.get(), &digest, nullptr, stamps, 3, &count, &error),
              CHRONOSEAL_OK)
        << why();
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(stamps[2], nullptr);
    for (chronoseal_stamp*& stamp : stamps) {
        chronoseal_stamp_free(&stamp);
    }
}

// A name that would end a C string early, or draw on a terminal, must not pass as another one.
TEST_F(CInterfaceTest, TextOfOthersIsQuotedNullBytesIncluded) {
    tsp::TstInfo info;
    info.tsa = tsp::element(
        0xA4,
        tsp::sequence(tsp::element(
            0x31, tsp::sequence(tsp::oid("2.5.4.3") + tsp::element(0x0C, "good\0evil\x1b[2J"s)))));
    const auto stamp = read(token(info));
    const chronoseal_stamp_info* view = nullptr;
    ASSERT_EQ(chronoseal_stamp_get_info(stamp.get(), &view, &error), CHRONOSEAL_OK);
    const std::string name = view->token->authority;
    EXPECT_NE(name.find("evil"), std::string::npos) << name;
    EXPECT_EQ(name.find('\x1b'), std::string::npos) << name;
}

TEST_F(CInterfaceTest, HashesInPiecesAndStopsWhenItIsTold) {
    chronoseal_hasher* made = nullptr;
    ASSERT_EQ(chronoseal_hasher_new("SHA-384", &made, &error), CHRONOSEAL_OK);
    const Handle<chronoseal_hasher> hasher(made);
    chronoseal_digest pieces{};
    chronoseal_digest whole{};
    EXPECT_EQ(chronoseal_hasher_update(made, "da", 2, &error), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_hasher_update(made, nullptr, 0, &error), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_hasher_update(made, "ta", 2, &error), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_hasher_finish(made, &pieces, &error), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_hash("SHA-384", "data", 4, &whole, &error), CHRONOSEAL_OK);
    EXPECT_EQ(std::memcmp(&pieces, &whole, sizeof whole), 0);
    EXPECT_EQ(chronoseal_hasher_update(made, "x", 1, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "hash_finished");
    EXPECT_EQ(chronoseal_hasher_finish(made, &pieces, &error), CHRONOSEAL_MISUSE);

    const auto file = folder.write("large", std::string(8 << 20, 'x')).string();
    std::uint64_t calls = 0;
    chronoseal_control control{};
    control.size = sizeof control;
    control.user = &calls;
    control.progress = [](void* user, std::uint64_t, std::uint64_t total) {
        EXPECT_EQ(total, 8U << 20);
        return ++*static_cast<std::uint64_t*>(user) == 2 ? -1 : 0;
    };
    EXPECT_EQ(chronoseal_hash_file(nullptr, file.c_str(), &control, &whole, &error),
              CHRONOSEAL_UNREACHABLE);
    EXPECT_EQ(word(), "cancelled");
    EXPECT_EQ(calls, 2U);
    EXPECT_EQ(whole.size, 0U);

    const auto sealer = make_sealer();
    chronoseal_stop* stop = nullptr;
    ASSERT_EQ(chronoseal_stop_new(&stop, &error), CHRONOSEAL_OK);
    const Handle<chronoseal_stop> owner(stop);
    chronoseal_control stopped{};
    stopped.size = sizeof stopped;
    stopped.stop = stop;
    ASSERT_EQ(chronoseal_stop_request(stop, &error), CHRONOSEAL_OK);
    chronoseal_stamp* stamp = nullptr;
    EXPECT_EQ(chronoseal_seal(sealer.get(), "data", 4, &stopped, &stamp, &error),
              CHRONOSEAL_UNREACHABLE);
    EXPECT_EQ(word(), "cancelled");
    EXPECT_EQ(authority.requests(), 0U);
}

TEST_F(CInterfaceTest, ThePolicyAndTheDiagnosisAreTold) {
    tsp::Configuration::instance().set("RequireNonce = 'yes'");
    struct Seen {
        std::size_t settings = 0, fatal = 0, diagnoses = 0;
    } seen;
    int usable = 1;
    ASSERT_EQ(chronoseal_policy(
                  [](void* user, const chronoseal_setting* setting) {
                      auto& all = *static_cast<Seen*>(user);
                      ++all.settings;
                      all.fatal += setting->fatal != 0 ? 1 : 0;
                      return 0;
                  },
                  &seen, &usable, &error),
              CHRONOSEAL_OK);
    EXPECT_GT(seen.settings, 10U);
    EXPECT_EQ(seen.fatal, 1U);
    EXPECT_EQ(usable, 0);
    ASSERT_EQ(chronoseal_diagnose(
                  &options, 0,
                  [](void* user, const chronoseal_diagnosis* diagnosis) {
                      ++static_cast<Seen*>(user)->diagnoses;
                      EXPECT_STRNE(diagnosis->word, "");
                      return 1;
                  },
                  &seen, &error),
              CHRONOSEAL_OK)
        << why();
    EXPECT_EQ(seen.diagnoses, 1U);
}

TEST_F(CInterfaceTest, AnotherWayToStore) {
    const std::string bare = token();
    const auto stamp = read(bare);
    chronoseal_bytes view{};
    ASSERT_EQ(chronoseal_stamp_response(stamp.get(), &view, &error), CHRONOSEAL_OK);
    EXPECT_EQ(view.size, 0U);
    EXPECT_EQ(view.data, nullptr);
    ASSERT_EQ(chronoseal_stamp_token(stamp.get(), &view, &error), CHRONOSEAL_OK);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(view.data), view.size), bare);
    unsigned char* response = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(chronoseal_stamp_as_response(stamp.get(), &response, &size, &error), CHRONOSEAL_OK);
    const std::string stored(reinterpret_cast<const char*>(response), size);
    chronoseal_free(response);
    const auto again = read(stored);
    const chronoseal_stamp_info* info = nullptr;
    ASSERT_EQ(chronoseal_stamp_get_info(again.get(), &info, &error), CHRONOSEAL_OK);
    EXPECT_EQ(info->status, 0);
    EXPECT_STREQ(chronoseal_version(), std::string(version()).c_str());
}

} // namespace
} // namespace chronoseal::testing
