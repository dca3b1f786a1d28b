// The C interface against everything that a caller in C can get wrong.
#include <chronoseal/c_interface/testing/caller_fixture.h>

namespace chronoseal::testing {
namespace {

using namespace std::string_literals;

TEST_F(CInterfaceTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    const auto verifier = made<chronoseal_verifier_new>(trust);
    const auto stamp = made<chronoseal_stamp_read>(token());
    const auto verdict = made<chronoseal_verify>(verifier, stamp, "data", 4);
    const auto hasher = made<chronoseal_hasher_new>(nullptr);
    const auto inspection = made<chronoseal_inspect>("x", 1);
    const auto stop = made<chronoseal_stop_new>();
    const chronoseal_digest digest = hash("data");
    const auto expected = sized<chronoseal_expected>();
    const auto batch = sized<chronoseal_batch>();
    chronoseal_stamp* many[2] = {};
    needs_all<chronoseal_time_text>(0, 0, kPlace, 64);
    needs_all<chronoseal_stop_new>(kPlace);
    needs_all<chronoseal_stop_request>(stop);
    needs_all<chronoseal_hash>(nullptr, "x", 1, kPlace);
    needs_all<chronoseal_hash_file>(nullptr, "/dev/null", nullptr, kPlace);
    needs_all<chronoseal_hasher_new>(nullptr, kPlace);
    needs_all<chronoseal_hasher_update>(hasher, "x", 1);
    needs_all<chronoseal_hasher_finish>(hasher, kPlace);
    needs_all<chronoseal_stamp_read>("x", 1, kPlace);
    needs_all<chronoseal_stamp_read_file>("/dev/null", kPlace);
    needs_all<chronoseal_stamp_copy>(stamp, kPlace);
    needs_all<chronoseal_stamp_get_info>(stamp, kPlace);
    needs_all<chronoseal_stamp_token>(stamp, kPlace);
    needs_all<chronoseal_stamp_response>(stamp, kPlace);
    needs_all<chronoseal_stamp_as_response>(stamp, kPlace, kPlace);
    needs_all<chronoseal_verifier_new>(nullptr, kPlace);
    needs_all<chronoseal_verifier_for_one_file>(verifier, kPlace);
    needs_all<chronoseal_verify>(verifier, stamp, "x", 1, nullptr);
    needs_all<chronoseal_verify_file>(verifier, stamp, "/dev/null", nullptr, nullptr);
    needs_all<chronoseal_verify_digest>(verifier, stamp, digest, nullptr);
    needs_all<chronoseal_verify_request>(verifier, stamp, "x", 1, nullptr);
    needs_all<chronoseal_verify_expected>(verifier, stamp, expected, nullptr);
    needs_all<chronoseal_verify_token>(verifier, stamp, nullptr);
    needs_all<chronoseal_verdict_get_info>(verdict, kPlace);
    needs_all<chronoseal_verdict_finding>(verdict, 0, kPlace);
    needs_all<chronoseal_sealer_new>(nullptr, kPlace);
    needs_all<chronoseal_seal>(sealer, "x", 1, nullptr, kPlace);
    needs_all<chronoseal_seal_file>(sealer, "/dev/null", nullptr, kPlace);
    needs_all<chronoseal_seal_digest>(sealer, digest, nullptr, kPlace);
    needs_all<chronoseal_seal_quorum>(sealer, digest, nullptr, &many[0], 2, kPlace);
    needs_all<chronoseal_send>(sealer, "x", 1, nullptr, kPlace);
    needs_all<chronoseal_request>(sealer, digest, kPlace, kPlace);
    needs_all<chronoseal_sealer_hash>(sealer, kPlace);
    needs_all<chronoseal_sealer_hash_file>(sealer, "/dev/null", nullptr, kPlace);
    needs_all<chronoseal_seal_all>(sealer, batch, nullptr);
    needs_all<chronoseal_inspect>("x", 1, kPlace);
    needs_all<chronoseal_inspection_get_info>(inspection, kPlace);
    const auto each = +[](void*, const chronoseal_setting*) { return 0; };
    needs_all<chronoseal_policy>(each, nullptr, nullptr);
    const auto tell = +[](void*, const chronoseal_diagnosis*) { return 0; };
    needs_all<chronoseal_diagnose>(nullptr, 0, tell, nullptr);
    // The same of what stands in a struct.
    const std::string missing = "misuse: argument_missing";
    const chronoseal_source nothing{};
    for (const chronoseal_source* const none :
         {static_cast<const chronoseal_source*>(nullptr), &nothing}) {
        trust.roots = none;
        EXPECT_EQ(failure<chronoseal_verifier_new>(trust), missing);
    }
    options.url = nullptr;
    options.authority_count = 1;
    EXPECT_EQ(failure<chronoseal_sealer_new>(options), missing);
    EXPECT_EQ(says<chronoseal_seal_all>(sealer, batch, nullptr), missing);
    EXPECT_EQ(authority.requests(), 0U);
}

TEST_F(CInterfaceTest, NothingIsFreedTwice) {
    auto* stamp = made<chronoseal_stamp_read>(token()).release();
    chronoseal_stamp_free(&stamp);
    EXPECT_EQ(stamp, nullptr);
    chronoseal_stamp_free(&stamp);
    EXPECT_EQ(failure<chronoseal_stamp_read>("x", 1), "refused: not_a_stamp");
    EXPECT_EQ(failure<chronoseal_stamp_read>("x", 1), "refused: not_a_stamp"); // frees the first
    chronoseal_error_free(&error);
    chronoseal_error_free(&error);
    for (auto* const text : {chronoseal_error_word(nullptr), chronoseal_error_text(nullptr),
                             chronoseal_error_advice(nullptr), chronoseal_error_message(nullptr)}) {
        EXPECT_STREQ(text, "");
    }
    EXPECT_EQ(chronoseal_error_status(nullptr), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_error_code(nullptr), 0U);
    std::apply([](auto... free) { (free(nullptr), ...); }, kFreeFunctions);
    chronoseal_free(nullptr);
}

TEST_F(CInterfaceTest, StructsOfOtherVersionsAreReadAsFarAsTheyAreKnown) {
    struct Newer {
        chronoseal_trust known;
        void* later;
    } newer{trust, nullptr};
    newer.known.size = sizeof newer;
    EXPECT_NE(made<chronoseal_verifier_new>(newer.known), nullptr);
    newer.later = &newer;
    EXPECT_EQ(failure<chronoseal_verifier_new>(newer.known), "misuse: option_unknown");
    for (const std::size_t size : {std::size_t{0}, sizeof trust - 1, ~std::size_t{0}}) {
        trust.size = size;
        EXPECT_EQ(failure<chronoseal_verifier_new>(trust), "misuse: size_wrong");
    }
}

TEST_F(CInterfaceTest, ValuesThatMeanNothingAreRefused) {
    const int wild = 77;
    const auto with = [&](const auto& change) {
        const auto kept_options = options;
        const auto kept_trust = trust;
        change();
        const std::string told = failure<chronoseal_sealer_new>(options);
        options = kept_options;
        trust = kept_trust;
        return told;
    };
    const std::string unknown = "misuse: value_unknown";
    EXPECT_EQ(with([&] { std::memcpy(&trust.revocation, &wild, sizeof wild); }), unknown);
    EXPECT_EQ(with([&] { std::memcpy(&trust.strength, &wild, sizeof wild); }), unknown);
    EXPECT_EQ(with([&] { std::memcpy(&options.nonce, &wild, sizeof wild); }), unknown);
    EXPECT_EQ(with([&] { options.rest_ms = -1; }), unknown);
    EXPECT_EQ(with([&] { trust.as_of = INT64_MAX; }), unknown);
    EXPECT_EQ(with([&] { trust.as_of = INT64_MIN; }), unknown);
    EXPECT_EQ(with([&] { options.longest_wait_ms = INT64_MAX; }), unknown);
    EXPECT_EQ(with([&] { options.url = "ftp://x/"; }), "misuse: address_malformed");
    EXPECT_EQ(with([&] { options.hash = "rot13"; }), "misuse: hash_unknown");
    EXPECT_EQ(with([&] { options.quorum = 2; }), "misuse: quorum_impossible");
    EXPECT_EQ(with([&] { options.authority_count = 1; }), unknown);

    const auto verifier = made<chronoseal_verifier_new>(trust);
    const auto stamp = made<chronoseal_stamp_read>(token());
    auto digest = hash("data", "sha512");
    EXPECT_STREQ(digest.algorithm, "SHA-512");
    for (const std::size_t size : {std::size_t{0}, std::size_t{63}, ~std::size_t{0}}) {
        digest.size = size;
        EXPECT_EQ(failure<chronoseal_verify_digest>(verifier, stamp, digest),
                  "misuse: digest_malformed");
    }
    std::memset(digest.algorithm, 'x', sizeof digest.algorithm); // without an end
    EXPECT_EQ(failure<chronoseal_verify_digest>(verifier, stamp, digest), "misuse: hash_unknown");
    std::array<char, CHRONOSEAL_TIME_ROOM> text{};
    for (const chronoseal_time time : {INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(says<chronoseal_time_text>(time, 1, text.data(), text.size()), unknown);
    }
    EXPECT_EQ(says<chronoseal_time_text>(0, 0, text.data(), 20), "misuse: buffer_too_small");
    EXPECT_EQ(says<chronoseal_time_text>(0, 0, text.data(), 21), "");
    EXPECT_STREQ(text.data(), "1970-01-01T00:00:00Z");
}

// Paths are bytes; what they say comes back quoted.
TEST_F(CInterfaceTest, TextThatIsNoUtf8IsTakenAndToldQuoted) {
    const std::string odd = folder.path().string() + "/\xff\x1b[2J\xc3";
    EXPECT_EQ(failure<chronoseal_hash_file>(nullptr, odd.c_str(), nullptr),
              "unreachable: file_unreadable");
    EXPECT_NE(why().find("\\xff\\x1b[2J\\xc3"), std::string::npos) << why();
    folder.write("\xff\x1b[2J\xc3", "data");
    EXPECT_EQ(given<chronoseal_hash_file>(nullptr, odd.c_str(), nullptr).size, 32U);
    for (const char* const name : {"\xff\xfe", "", "1.2.3.4"}) {
        EXPECT_EQ(failure<chronoseal_hash>(name, "data", 4), "misuse: hash_unknown") << name;
        EXPECT_EQ(why().find_first_of("\n\xff"), std::string::npos) << why();
    }
    const auto refused = [&](auto& member, const char* text) {
        const auto before = std::exchange(member, text);
        EXPECT_EQ(failure<chronoseal_sealer_new>(options).find("misuse: "), 0U) << text;
        EXPECT_EQ(why().find_first_of("\x1b\xff"), std::string::npos) << why();
        member = before;
    };
    refused(options.url, "http://\xff\x1b/");
    refused(options.hash, "\xff\x1b");
    refused(options.policy, "\xff\x1b");
}

TEST_F(CInterfaceTest, BytesThatEndEarlyAreRefusedWithinTheirBounds) {
    const std::string whole = token();
    for (std::size_t size = 0; size < whole.size(); size += size < 64 ? 1 : 7) {
        const std::unique_ptr<char[]> exact(new char[size]); // so that a sanitizer sees a byte more
        std::memcpy(exact.get(), whole.data(), size);
        EXPECT_EQ(failure<chronoseal_stamp_read>(exact.get(), size).find("refused: "), 0U);
        const auto inspection = made<chronoseal_inspect>(exact.get(), size);
        const auto* info = given<chronoseal_inspection_get_info>(inspection);
        EXPECT_NE(info->kind, CHRONOSEAL_KIND_TOKEN);
        EXPECT_EQ(info->kind == CHRONOSEAL_KIND_EMPTY, size == 0);
    }
    const auto inspection = made<chronoseal_inspect>(whole);
    const auto* info = given<chronoseal_inspection_get_info>(inspection);
    EXPECT_EQ(info->kind, CHRONOSEAL_KIND_TOKEN);
    EXPECT_STREQ(info->kind_name, "token");
    EXPECT_NE(made<chronoseal_stamp_copy>(info->stamp), nullptr);
}

} // namespace
} // namespace chronoseal::testing
