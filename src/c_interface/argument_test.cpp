// The C interface against everything that a caller in C can get wrong.
#include <chronoseal/c_interface/testing/caller_fixture.h>

namespace chronoseal::testing {
namespace {

using namespace std::string_literals;

TEST_F(CInterfaceTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    const auto verifier = made<chronoseal_verifier_new>(trust);
    const auto stamp = made<chronoseal_stamp_read>(token());
    chronoseal_digest digest = hash("data");
    chronoseal_sealer* sealer_out = nullptr;
    chronoseal_verifier* verifier_out = nullptr;
    chronoseal_stamp* out = nullptr;
    chronoseal_stamp* many[2] = {};
    chronoseal_verdict* verdict = nullptr;
    chronoseal_hasher* hasher = nullptr;
    chronoseal_inspection* inspection = nullptr;
    const chronoseal_stamp_info* info = nullptr;
    const chronoseal_verdict_info* verdict_info = nullptr;
    const chronoseal_inspection_info* inspection_info = nullptr;
    const chronoseal_finding* finding = nullptr;
    chronoseal_bytes bytes{};
    unsigned char* data = nullptr;
    const char* name = nullptr;
    std::size_t size = 0;
    const auto batch = sized<chronoseal_batch>();
    chronoseal_trust no_roots = trust;
    no_roots.roots = nullptr;
    const chronoseal_source nothing{};
    chronoseal_trust empty_root = trust;
    empty_root.roots = &nothing;
    chronoseal_sealer_options no_authorities = options;
    no_authorities.url = nullptr;
    no_authorities.authority_count = 1;
    const auto* s = sealer.get();
    const auto* v = verifier.get();
    const auto* t = stamp.get();
    expect_argument_missing({
        ROW(chronoseal_time_text(0, 0, nullptr, 64, e)),
        ROW(chronoseal_stop_new(nullptr, e)),
        ROW(chronoseal_stop_request(nullptr, e)),
        ROW(chronoseal_hash(nullptr, nullptr, 1, &digest, e)),
        ROW(chronoseal_hash(nullptr, "", 0, nullptr, e)),
        ROW(chronoseal_hash_file(nullptr, nullptr, nullptr, &digest, e)),
        ROW(chronoseal_hash_file(nullptr, "/dev/null", nullptr, nullptr, e)),
        ROW(chronoseal_hasher_new(nullptr, nullptr, e)),
        ROW(chronoseal_hasher_update(nullptr, "", 0, e)),
        ROW(chronoseal_hasher_finish(nullptr, &digest, e)),
        ROW(chronoseal_hasher_finish(hasher, nullptr, e)),
        ROW(chronoseal_stamp_read(nullptr, 1, &out, e)),
        ROW(chronoseal_stamp_read("", 0, nullptr, e)),
        ROW(chronoseal_stamp_read_file(nullptr, &out, e)),
        ROW(chronoseal_stamp_read_file("/dev/null", nullptr, e)),
        ROW(chronoseal_stamp_copy(nullptr, &out, e)),
        ROW(chronoseal_stamp_copy(t, nullptr, e)),
        ROW(chronoseal_stamp_get_info(nullptr, &info, e)),
        ROW(chronoseal_stamp_get_info(t, nullptr, e)),
        ROW(chronoseal_stamp_token(nullptr, &bytes, e)),
        ROW(chronoseal_stamp_token(t, nullptr, e)),
        ROW(chronoseal_stamp_response(nullptr, &bytes, e)),
        ROW(chronoseal_stamp_response(t, nullptr, e)),
        ROW(chronoseal_stamp_as_response(nullptr, &data, &size, e)),
        ROW(chronoseal_stamp_as_response(t, nullptr, &size, e)),
        ROW(chronoseal_stamp_as_response(t, &data, nullptr, e)),
        ROW(chronoseal_verifier_new(&trust, nullptr, e)),
        ROW(chronoseal_verifier_new(&no_roots, &verifier_out, e)),
        ROW(chronoseal_verifier_new(&empty_root, &verifier_out, e)),
        ROW(chronoseal_verifier_for_one_file(nullptr, &verifier_out, e)),
        ROW(chronoseal_verifier_for_one_file(v, nullptr, e)),
        ROW(chronoseal_verify(nullptr, t, "", 0, &verdict, e)),
        ROW(chronoseal_verify(v, nullptr, "", 0, &verdict, e)),
        ROW(chronoseal_verify(v, t, nullptr, 1, &verdict, e)),
        ROW(chronoseal_verify_file(nullptr, t, "/dev/null", nullptr, &verdict, e)),
        ROW(chronoseal_verify_file(v, nullptr, "/dev/null", nullptr, &verdict, e)),
        ROW(chronoseal_verify_file(v, t, nullptr, nullptr, &verdict, e)),
        ROW(chronoseal_verify_digest(nullptr, t, &digest, &verdict, e)),
        ROW(chronoseal_verify_digest(v, nullptr, &digest, &verdict, e)),
        ROW(chronoseal_verify_digest(v, t, nullptr, &verdict, e)),
        ROW(chronoseal_verify_request(v, t, nullptr, 1, &verdict, e)),
        ROW(chronoseal_verify_expected(v, t, nullptr, &verdict, e)),
        ROW(chronoseal_verify_token(nullptr, t, &verdict, e)),
        ROW(chronoseal_verify_token(v, nullptr, &verdict, e)),
        ROW(chronoseal_verdict_get_info(nullptr, &verdict_info, e)),
        ROW(chronoseal_verdict_get_info(verdict, nullptr, e)),
        ROW(chronoseal_verdict_finding(nullptr, 0, &finding, e)),
        ROW(chronoseal_verdict_finding(verdict, 0, nullptr, e)),
        ROW(chronoseal_sealer_new(&options, nullptr, e)),
        ROW(chronoseal_sealer_new(&no_authorities, &sealer_out, e)),
        ROW(chronoseal_seal(nullptr, "", 0, nullptr, &out, e)),
        ROW(chronoseal_seal(s, nullptr, 1, nullptr, &out, e)),
        ROW(chronoseal_seal(s, "", 0, nullptr, nullptr, e)),
        ROW(chronoseal_seal_file(nullptr, "/dev/null", nullptr, &out, e)),
        ROW(chronoseal_seal_file(s, nullptr, nullptr, &out, e)),
        ROW(chronoseal_seal_file(s, "/dev/null", nullptr, nullptr, e)),
        ROW(chronoseal_seal_digest(nullptr, &digest, nullptr, &out, e)),
        ROW(chronoseal_seal_digest(s, nullptr, nullptr, &out, e)),
        ROW(chronoseal_seal_digest(s, &digest, nullptr, nullptr, e)),
        ROW(chronoseal_seal_quorum(nullptr, &digest, nullptr, many, 2, &size, e)),
        ROW(chronoseal_seal_quorum(s, nullptr, nullptr, many, 2, &size, e)),
        ROW(chronoseal_seal_quorum(s, &digest, nullptr, nullptr, 2, &size, e)),
        ROW(chronoseal_seal_quorum(s, &digest, nullptr, many, 2, nullptr, e)),
        ROW(chronoseal_send(nullptr, "", 0, nullptr, &out, e)),
        ROW(chronoseal_send(s, nullptr, 1, nullptr, &out, e)),
        ROW(chronoseal_request(nullptr, &digest, &data, &size, e)),
        ROW(chronoseal_request(s, nullptr, &data, &size, e)),
        ROW(chronoseal_request(s, &digest, nullptr, &size, e)),
        ROW(chronoseal_request(s, &digest, &data, nullptr, e)),
        ROW(chronoseal_sealer_hash(nullptr, &name, e)),
        ROW(chronoseal_sealer_hash(s, nullptr, e)),
        ROW(chronoseal_sealer_hash_file(nullptr, "/dev/null", nullptr, &digest, e)),
        ROW(chronoseal_sealer_hash_file(s, nullptr, nullptr, &digest, e)),
        ROW(chronoseal_seal_all(s, nullptr, nullptr, e)),
        ROW(chronoseal_seal_all(s, &batch, nullptr, e)),
        ROW(chronoseal_inspect(nullptr, 1, &inspection, e)),
        ROW(chronoseal_inspect("", 0, nullptr, e)),
        ROW(chronoseal_inspection_get_info(nullptr, &inspection_info, e)),
        ROW(chronoseal_policy(nullptr, nullptr, nullptr, e)),
        ROW(chronoseal_diagnose(&options, 0, nullptr, nullptr, e)),
    });
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(verdict, nullptr);
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
