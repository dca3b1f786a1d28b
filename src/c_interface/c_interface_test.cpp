// The C interface against everything that a caller in C can get wrong, and against a live
// authority.
#include <chronoseal/chronoseal.h>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include <pthread.h>

#include <chronoseal/seal/testing/seal_fixture.h>

namespace {

// How many allocations of this thread succeed before one fails; below 0: all.
thread_local long allocations_left = -1;

void* allocate(std::size_t size) {
    if (allocations_left == 0) {
        throw std::bad_alloc();
    }
    allocations_left -= allocations_left > 0 ? 1 : 0;
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocations_left == 0 ? nullptr : std::malloc(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace chronoseal::testing {
namespace {

using namespace std::string_literals;

struct ErrorFree {
    void operator()(chronoseal_error* error) const { chronoseal_error_free(&error); }
};
struct HandleFree {
    void operator()(chronoseal_sealer* handle) const { chronoseal_sealer_free(&handle); }
    void operator()(chronoseal_verifier* handle) const { chronoseal_verifier_free(&handle); }
    void operator()(chronoseal_stamp* handle) const { chronoseal_stamp_free(&handle); }
    void operator()(chronoseal_verdict* handle) const { chronoseal_verdict_free(&handle); }
    void operator()(chronoseal_inspection* handle) const { chronoseal_inspection_free(&handle); }
    void operator()(chronoseal_hasher* handle) const { chronoseal_hasher_free(&handle); }
    void operator()(chronoseal_stop* handle) const { chronoseal_stop_free(&handle); }
};
template <class T>
using Handle = std::unique_ptr<T, HandleFree>;

chronoseal_source source_of(const std::string& bytes) {
    return {nullptr, bytes.data(), bytes.size()};
}

class CInterfaceTest : public SealTest {
protected:
    CInterfaceTest() : root(authority.authority().root_der()), roots(source_of(root)) {
        trust.size = sizeof trust;
        trust.roots = &roots;
        trust.root_count = 1;
        url = authority.url();
        rates = folder.path() / "rates";
        options.size = sizeof options;
        options.url = url.c_str();
        options.trust = &trust;
        options.first_wait_ms = 5;
        options.longest_wait_ms = 50;
        options.rate_file = rates.c_str();
    }
    ~CInterfaceTest() override { chronoseal_error_free(&error); }

    Handle<chronoseal_sealer> make_sealer() {
        chronoseal_sealer* handle = nullptr;
        EXPECT_EQ(chronoseal_sealer_new(&options, &handle, &error), CHRONOSEAL_OK) << why();
        return Handle<chronoseal_sealer>(handle);
    }
    Handle<chronoseal_verifier> make_verifier() {
        chronoseal_verifier* handle = nullptr;
        EXPECT_EQ(chronoseal_verifier_new(&trust, &handle, &error), CHRONOSEAL_OK) << why();
        return Handle<chronoseal_verifier>(handle);
    }
    Handle<chronoseal_stamp> read(const std::string& bytes) {
        chronoseal_stamp* handle = nullptr;
        EXPECT_EQ(chronoseal_stamp_read(bytes.data(), bytes.size(), &handle, &error), CHRONOSEAL_OK)
            << why();
        return Handle<chronoseal_stamp>(handle);
    }
    std::string token(const tsp::TstInfo& info = {}, const tsp::Signing& signing = {}) {
        return authority.authority().token(info.encode(), signing);
    }
    std::string why() const { return chronoseal_error_message(error); }
    std::string word() const { return chronoseal_error_word(error); }
    // Has one allocation of `attempt` after the other fail.
    template <class Attempt>
    void expect_every_failure_told(const Attempt& attempt) {
        ASSERT_EQ(attempt(&error), CHRONOSEAL_OK) << why(); // everything that is kept is there now
        long good = 0;
        long failures = 0;
        for (long n = 0; good < 3; n += 1 + n / 50) {
            allocations_left = n;
            const auto status = attempt(&error);
            allocations_left = -1;
            good += status == CHRONOSEAL_OK ? 1 : 0;
            failures += status != CHRONOSEAL_OK ? 1 : 0;
            if (status != CHRONOSEAL_OK) {
                EXPECT_NE(word(), "") << n;
            }
            ASSERT_LT(n, 10'000'000);
        }
        EXPECT_GT(failures, 50);
        EXPECT_EQ(attempt(&error), CHRONOSEAL_OK) << why();
    }

    LiveAuthority authority;
    std::string root, url, rates;
    chronoseal_source roots{};
    chronoseal_trust trust{};
    chronoseal_sealer_options options{};
    chronoseal_error* error = nullptr;
};

TEST_F(CInterfaceTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto sealer = make_sealer();
    const auto verifier = make_verifier();
    const auto stamp = read(token());
    chronoseal_digest digest{};
    ASSERT_EQ(chronoseal_hash(nullptr, "data", 4, &digest, &error), CHRONOSEAL_OK);
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
    chronoseal_batch batch{};
    batch.size = sizeof batch;
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
    using Call = std::function<chronoseal_status(chronoseal_error**)>;
#define ROW(call) Call([&](chronoseal_error** e) { return call; })
    const Call rows[] = {
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
    };
#undef ROW
    for (const Call& row : rows) {
        const auto place = &row - rows;
        EXPECT_EQ(row(nullptr), CHRONOSEAL_MISUSE) << "row " << place;
        EXPECT_EQ(row(&error), CHRONOSEAL_MISUSE) << "row " << place;
        EXPECT_EQ(word(), "argument_missing") << "row " << place << why();
        EXPECT_EQ(chronoseal_error_status(error), CHRONOSEAL_MISUSE);
    }
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(verdict, nullptr);
    EXPECT_EQ(authority.requests(), 0U);
}

TEST_F(CInterfaceTest, NothingIsFreedTwice) {
    auto* stamp = read(token()).release();
    chronoseal_stamp_free(&stamp);
    EXPECT_EQ(stamp, nullptr);
    chronoseal_stamp_free(&stamp);
    ASSERT_EQ(chronoseal_stamp_read("x", 1, &stamp, &error), CHRONOSEAL_REFUSED);
    ASSERT_EQ(chronoseal_stamp_read("x", 1, &stamp, &error), CHRONOSEAL_REFUSED); // frees the first
    EXPECT_EQ(word(), "not_a_stamp");
    chronoseal_error_free(&error);
    chronoseal_error_free(&error);
    for (auto* const text : {chronoseal_error_word(nullptr), chronoseal_error_text(nullptr),
                             chronoseal_error_advice(nullptr), chronoseal_error_message(nullptr)}) {
        EXPECT_STREQ(text, "");
    }
    EXPECT_EQ(chronoseal_error_status(nullptr), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_error_code(nullptr), 0U);
    chronoseal_error_free(nullptr);
    chronoseal_sealer_free(nullptr);
    chronoseal_verifier_free(nullptr);
    chronoseal_stamp_free(nullptr);
    chronoseal_verdict_free(nullptr);
    chronoseal_inspection_free(nullptr);
    chronoseal_hasher_free(nullptr);
    chronoseal_stop_free(nullptr);
    chronoseal_free(nullptr);
}

TEST_F(CInterfaceTest, StructsOfOtherVersionsAreReadAsFarAsTheyAreKnown) {
    struct Newer {
        chronoseal_trust known;
        void* later;
    } newer{trust, nullptr};
    newer.known.size = sizeof newer;
    chronoseal_verifier* verifier = nullptr;
    EXPECT_EQ(chronoseal_verifier_new(&newer.known, &verifier, &error), CHRONOSEAL_OK) << why();
    chronoseal_verifier_free(&verifier);
    newer.later = &newer;
    EXPECT_EQ(chronoseal_verifier_new(&newer.known, &verifier, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "option_unknown");
    for (const std::size_t size : {std::size_t{0}, sizeof trust - 1, ~std::size_t{0}}) {
        trust.size = size;
        EXPECT_EQ(chronoseal_verifier_new(&trust, &verifier, &error), CHRONOSEAL_MISUSE);
        EXPECT_EQ(word(), "size_wrong");
    }
}

TEST_F(CInterfaceTest, ValuesThatMeanNothingAreRefused) {
    const int wild = 77;
    chronoseal_sealer* sealer = nullptr;
    const auto word_for = [&](const auto& change) {
        const auto kept_options = options;
        const auto kept_trust = trust;
        change();
        EXPECT_EQ(chronoseal_sealer_new(&options, &sealer, &error), CHRONOSEAL_MISUSE);
        options = kept_options;
        trust = kept_trust;
        return word();
    };
    EXPECT_EQ(word_for([&] { std::memcpy(&trust.revocation, &wild, sizeof wild); }),
              "value_unknown");
    EXPECT_EQ(word_for([&] { std::memcpy(&trust.strength, &wild, sizeof wild); }), "value_unknown");
    EXPECT_EQ(word_for([&] { std::memcpy(&options.nonce, &wild, sizeof wild); }), "value_unknown");
    EXPECT_EQ(word_for([&] { options.rest_ms = -1; }), "value_unknown");
    EXPECT_EQ(word_for([&] { trust.as_of = INT64_MAX; }), "value_unknown");
    EXPECT_EQ(word_for([&] { trust.as_of = INT64_MIN; }), "value_unknown");
    EXPECT_EQ(word_for([&] { options.longest_wait_ms = INT64_MAX; }), "value_unknown");
    EXPECT_EQ(word_for([&] { options.url = "ftp://x/"; }), "address_malformed");
    EXPECT_EQ(word_for([&] { options.hash = "rot13"; }), "hash_unknown");
    EXPECT_EQ(word_for([&] { options.quorum = 2; }), "quorum_impossible");
    EXPECT_EQ(word_for([&] { options.authority_count = 1; }), "value_unknown");

    const auto verifier = make_verifier();
    const auto stamp = read(token());
    chronoseal_digest digest{};
    ASSERT_EQ(chronoseal_hash("sha512", "data", 4, &digest, &error), CHRONOSEAL_OK);
    EXPECT_STREQ(digest.algorithm, "SHA-512");
    for (const std::size_t size : {std::size_t{0}, std::size_t{63}, ~std::size_t{0}}) {
        digest.size = size;
        EXPECT_EQ(chronoseal_verify_digest(verifier.get(), stamp.get(), &digest, nullptr, &error),
                  CHRONOSEAL_MISUSE);
        EXPECT_EQ(word(), "digest_malformed");
    }
    std::memset(digest.algorithm, 'x', sizeof digest.algorithm); // without an end
    EXPECT_EQ(chronoseal_verify_digest(verifier.get(), stamp.get(), &digest, nullptr, &error),
              CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "hash_unknown");
    std::array<char, CHRONOSEAL_TIME_ROOM> text{};
    for (const chronoseal_time time : {INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(chronoseal_time_text(time, 1, text.data(), text.size(), &error),
                  CHRONOSEAL_MISUSE);
    }
    EXPECT_EQ(chronoseal_time_text(0, 0, text.data(), 20, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "buffer_too_small");
    EXPECT_EQ(chronoseal_time_text(0, 0, text.data(), 21, &error), CHRONOSEAL_OK);
    EXPECT_STREQ(text.data(), "1970-01-01T00:00:00Z");
}

// Paths are bytes; what they say comes back quoted.
TEST_F(CInterfaceTest, TextThatIsNoUtf8IsTakenAndToldQuoted) {
    const std::string odd = folder.path().string() + "/\xff\x1b[2J\xc3";
    chronoseal_digest digest{};
    EXPECT_EQ(chronoseal_hash_file(nullptr, odd.c_str(), nullptr, &digest, &error),
              CHRONOSEAL_UNREACHABLE);
    EXPECT_NE(why().find("\\xff\\x1b[2J\\xc3"), std::string::npos) << why();
    folder.write("\xff\x1b[2J\xc3", "data");
    EXPECT_EQ(chronoseal_hash_file(nullptr, odd.c_str(), nullptr, &digest, &error), CHRONOSEAL_OK);
    for (const char* const name : {"\xff\xfe", "", "1.2.3.4"}) {
        EXPECT_EQ(chronoseal_hash(name, "data", 4, &digest, &error), CHRONOSEAL_MISUSE);
        EXPECT_EQ(word(), "hash_unknown") << name;
        EXPECT_EQ(why().find_first_of("\n\xff"), std::string::npos) << why();
    }
    const auto refused = [&](auto& member, const char* text) {
        const auto before = std::exchange(member, text);
        chronoseal_sealer* sealer = nullptr;
        EXPECT_EQ(chronoseal_sealer_new(&options, &sealer, &error), CHRONOSEAL_MISUSE) << text;
        EXPECT_EQ(why().find_first_of("\x1b\xff"), std::string::npos) << why();
        member = before;
    };
    refused(options.url, "http://\xff\x1b/");
    refused(options.hash, "\xff\x1b");
    refused(options.policy, "\xff\x1b");
}

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
        authority.authority().list("20240101000000Z", 4, "20240701000000Z", "20491231000000Z");
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

TEST_F(CInterfaceTest, BytesThatEndEarlyAreRefusedWithinTheirBounds) {
    const std::string whole = token();
    for (std::size_t size = 0; size < whole.size(); size += size < 64 ? 1 : 7) {
        const std::unique_ptr<char[]> exact(new char[size]); // so that a sanitizer sees a byte more
        std::memcpy(exact.get(), whole.data(), size);
        chronoseal_stamp* stamp = nullptr;
        EXPECT_EQ(chronoseal_stamp_read(exact.get(), size, &stamp, &error), CHRONOSEAL_REFUSED);
        EXPECT_EQ(stamp, nullptr);
        chronoseal_inspection* found = nullptr;
        ASSERT_EQ(chronoseal_inspect(exact.get(), size, &found, &error), CHRONOSEAL_OK);
        const Handle<chronoseal_inspection> inspection(found);
        const chronoseal_inspection_info* info = nullptr;
        ASSERT_EQ(chronoseal_inspection_get_info(found, &info, &error), CHRONOSEAL_OK);
        EXPECT_NE(info->kind, CHRONOSEAL_KIND_TOKEN);
        EXPECT_EQ(info->kind == CHRONOSEAL_KIND_EMPTY, size == 0);
    }
    chronoseal_inspection* found = nullptr;
    ASSERT_EQ(chronoseal_inspect(whole.data(), whole.size(), &found, &error), CHRONOSEAL_OK);
    const Handle<chronoseal_inspection> inspection(found);
    const chronoseal_inspection_info* info = nullptr;
    ASSERT_EQ(chronoseal_inspection_get_info(found, &info, &error), CHRONOSEAL_OK);
    EXPECT_EQ(info->kind, CHRONOSEAL_KIND_TOKEN);
    EXPECT_STREQ(info->kind_name, "token");
    chronoseal_stamp* copy = nullptr;
    ASSERT_EQ(chronoseal_stamp_copy(info->stamp, &copy, &error), CHRONOSEAL_OK);
    chronoseal_stamp_free(&copy);
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

// What one batch is told to do, and saw.
struct BatchState {
    std::size_t items = 6;
    std::size_t given = 0;
    std::size_t results = 0;
    std::vector<std::string> words;
    std::vector<Handle<chronoseal_stamp>> kept;
    std::function<int()> next, done;
    std::string missing = "/nowhere/at/all";
};

int next_item(void* user, chronoseal_item* item) {
    auto& state = *static_cast<BatchState*>(user);
    if (state.next) {
        return state.next();
    }
    if (state.given == state.items) {
        return CHRONOSEAL_END;
    }
    if (++state.given % 3 == 0) {
        item->path = state.missing.c_str();
    } else {
        item->data = &state.given;
        item->size = sizeof state.given;
    }
    return CHRONOSEAL_GO_ON;
}

int take_result(void* user, const chronoseal_batch_result* result) {
    auto& state = *static_cast<BatchState*>(user);
    ++state.results;
    if (result->error != nullptr) {
        EXPECT_EQ(result->path, state.missing);
        state.words.emplace_back(chronoseal_error_word(result->error));
    } else {
        EXPECT_EQ(result->stamp_count, 1U);
        chronoseal_stamp* copy = nullptr;
        EXPECT_EQ(chronoseal_stamp_copy(result->stamps[0], &copy, nullptr), CHRONOSEAL_OK);
        state.kept.emplace_back(copy);
    }
    return state.done ? state.done() : CHRONOSEAL_GO_ON;
}

TEST_F(CInterfaceTest, ABatchGoesOnAndEndsAsItsFunctionsSay) {
    const auto sealer = make_sealer();
    BatchState state;
    chronoseal_batch_summary summary{};
    const auto run = [&](unsigned connections = 1, chronoseal_stop* stop = nullptr) {
        state.given = state.results = 0;
        state.words.clear();
        state.kept.clear();
        const chronoseal_batch batch{sizeof batch, connections, next_item,
                                     take_result,  &state,      stop};
        return chronoseal_seal_all(sealer.get(), &batch, &summary, &error);
    };
    ASSERT_EQ(run(3), CHRONOSEAL_OK) << why();
    EXPECT_EQ(summary.stamped, 4U);
    EXPECT_EQ(summary.failed, 2U);
    EXPECT_EQ(summary.stopped, 0);
    EXPECT_EQ(state.words, (std::vector<std::string>{"file_unreadable", "file_unreadable"}));
    EXPECT_EQ(state.kept.size(), 4U);

    for (const auto step : {CHRONOSEAL_END, CHRONOSEAL_ABORT}) {
        state.done = [step] { return step; };
        ASSERT_EQ(run(), CHRONOSEAL_OK) << why();
        EXPECT_EQ(state.results, 1U);
        EXPECT_EQ(summary.stopped, 1);
    }
    state.done = {};
    state.next = [] { return CHRONOSEAL_ABORT; };
    ASSERT_EQ(run(), CHRONOSEAL_OK) << why();
    EXPECT_EQ(summary.stopped, 1);
    state.next = {};

    chronoseal_stop* stop = nullptr;
    ASSERT_EQ(chronoseal_stop_new(&stop, &error), CHRONOSEAL_OK);
    const Handle<chronoseal_stop> owner(stop);
    state.done = [&] {
        chronoseal_stop_request(stop, nullptr);
        return CHRONOSEAL_GO_ON;
    };
    ASSERT_EQ(run(1, stop), CHRONOSEAL_OK) << why();
    EXPECT_EQ(state.results, 1U);
    EXPECT_EQ(summary.stopped, 1);
}

TEST_F(CInterfaceTest, WhatACallbackThrowsOrMakesUpEndsTheCallAlone) {
    const auto sealer = make_sealer();
    BatchState state;
    const chronoseal_batch batch{sizeof batch, 2, next_item, take_result, &state, nullptr};
    const auto run = [&] { return chronoseal_seal_all(sealer.get(), &batch, nullptr, &error); };
    state.next = []() -> int { throw 5; };
    EXPECT_EQ(run(), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "callback_threw");
    state.next = []() -> int { throw std::runtime_error("a \x1b reason"); };
    EXPECT_EQ(run(), CHRONOSEAL_UNREACHABLE);
    EXPECT_EQ(why().find('\x1b'), std::string::npos);
    state.next = [] { return -3; };
    EXPECT_EQ(run(), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "value_unknown");
    const auto each = [](void*, const chronoseal_setting*) -> int { throw 5; };
    EXPECT_EQ(chronoseal_policy(each, nullptr, nullptr, &error), CHRONOSEAL_MISUSE);
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

// Whichever allocation fails: an error and no end of the program, no leak, and the next call works.
TEST_F(CInterfaceTest, EveryAllocationMayFail) {
    const std::string bytes = token();
    const auto verifier = make_verifier();
    const auto kept = read(bytes);
    const auto attempt = [&](chronoseal_error** place) {
        chronoseal_stamp* stamp = nullptr;
        chronoseal_verdict* verdict = nullptr;
        const chronoseal_stamp_info* info = nullptr;
        auto status = chronoseal_stamp_read(bytes.data(), bytes.size(), &stamp, place);
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_stamp_get_info(stamp, &info, place);
        }
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_verify(verifier.get(), kept.get(), "data", 4, &verdict, place);
        }
        chronoseal_verdict_free(&verdict);
        chronoseal_stamp_free(&stamp);
        return status;
    };
    expect_every_failure_told(attempt);
}

TEST_F(CInterfaceTest, EveryAllocationForARecordMayFail) {
    const auto stamp = read(token());
    chronoseal_evidence_verifier* verifier = nullptr;
    ASSERT_EQ(chronoseal_evidence_verifier_new(&trust, &verifier, &error), CHRONOSEAL_OK);
    const auto attempt = [&](chronoseal_error** place) {
        chronoseal_evidence_record* record = nullptr;
        chronoseal_evidence_verdict* verdict = nullptr;
        const chronoseal_evidence_record_info* info = nullptr;
        const char* const* names = nullptr;
        std::size_t count = 0;
        auto status = chronoseal_evidence_record_of_stamp(stamp.get(), &record, place);
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_evidence_record_get_info(record, &info, place);
            if (status != CHRONOSEAL_OK) { // what failed for want of memory can be asked for again
                allocations_left = -1;
                EXPECT_EQ(chronoseal_evidence_record_get_info(record, &info, nullptr),
                          CHRONOSEAL_OK);
                EXPECT_EQ(info->stamp_count, 1U);
            }
        }
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_evidence_record_data_algorithms(record, &names, &count, place);
        }
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_evidence_verify(verifier, record, "data", 4, &verdict, place);
        }
        chronoseal_evidence_verdict_free(&verdict);
        chronoseal_evidence_record_free(&record);
        return status;
    };
    expect_every_failure_told(attempt);
    chronoseal_evidence_verifier_free(&verifier);
}

// The same of the functions of C++: what leaves them is an Error, whatever fails within.
TEST_F(CInterfaceTest, NothingButAnErrorLeavesTheFrontDoor) {
    const Bytes bytes = to_bytes(token());
    const Stamp stamp = Stamp::read(bytes);
    const HashAlgorithm sha256 = HashAlgorithm::by_name("sha256");
    const Digest digest = Digest::of(bytes_of("data"), sha256);
    const Trust own{.roots = {to_bytes(root)}};
    const Verifier verifier(own);
    const EvidenceRecord record = EvidenceRecord::of_stamp(stamp);
    const std::string line = manifest_line(digest, "a\nb");
    const auto list = folder.write("list", line);
    const SealerOptions wanted{.authorities = {{.url = url}}, .trust = own, .rate_file = rates};
    // What a caller copies and what it makes of texts is the caller's own.
    const auto callers = [](auto&& make) {
        const long left = std::exchange(allocations_left, -1);
        auto made = make();
        allocations_left = left;
        return made;
    };
    const auto trusted = [&] { return callers([&] { return own; }); };
    const auto wide = Digest::of(bytes_of("data"), HashAlgorithm::by_name("sha512"));
    const struct {
        const char* name;
        std::function<void()> call;
    } rows[] = {
        {"Stamp::read", [&] { Stamp::read(bytes).as_response(); }},
        {"Verifier", [&] { Verifier{trusted()}; }},
        {"verify", [&] { verifier.verify(stamp, bytes_of("data")); }},
        {"verdict", [&] { verifier.verify(stamp, bytes_of("x")).error(); }},
        {"inspect", [&] { inspect(bytes); }},
        {"extend", [&] { word_of([&] { extend(stamp, own); }); }},
        {"hash", [&] { Digest::of_file(list, sha256).value(); }},
        {"hasher", [&] { Hasher(sha256).finish(); }},
        {"algorithms", [&] { HashAlgorithm::all(); }},
        {"by_name", [&] { HashAlgorithm::by_name("2.16.840.1.101.3.4.2.1"); }},
        {"hexadecimal", [&] { from_hex(to_hex(bytes)); }},
        {"quoting",
         [&] {
             quote_address("http://u:p@x/"
                           "\x1b and more than fits");
         }},
        {"times",
         [&] {
             utc_text(stamp.time());
             local_text(stamp.time());
         }},
        {"record", [&] { EvidenceRecord::read(record.der()).info(); }},
        {"judge records", [&] { EvidenceVerifier(trusted()).verify(record, bytes_of("data")); }},
        {"tree",
         [&] {
             EvidenceTree tree(sha256);
             tree.add(digest);
             tree.record(digest, stamp);
             tree.path(digest.value());
         }},
        {"list",
         [&] {
             ManifestReader reader([](const ManifestLine&) {});
             reader.feed(bytes_of(line));
             reader.finish();
         }},
        {"write a line",
         [&] { manifest_line(digest, "a name\n that isn't short at all, and not plain"); }},
        {"tree of a list", [&] { ManifestTree(list).root(); }},
        {"renewal",
         [&] {
             StampRenewal renewal(sha256);
             renewal.add(record);
             renewal.digest();
         }},
        {"rehash",
         [&] {
             HashRenewal renewal(wide.algorithm());
             renewal.add(record, callers([&] { return std::vector{wide}; }));
             renewal.digest();
         }},
        {"signature", [&] { word_of([&] { CmsSignature::read(bytes); }); }},
        {"sealer", [&] { Sealer(callers([&] { return wanted; })).request(digest); }},
        {"policy", [&] { policy(); }},
        {"roots", [&] { trusted_roots(); }},
        {"words", [&] { error_of_code(0xC2100103, "do something that takes long to name"); }},
        {"rewrap", [&] { rewrap(bytes_of("-----BEGIN X-----\nAAAA\n-----END X-----\n"), bytes); }},
    };
    for (const auto& row : rows) {
        row.call();
        bool whole = false;
        for (long n = 0; !whole; n += 1 + n / 20) {
            const std::function<void()> call = row.call;
            allocations_left = n;
            try {
                call();
                whole = allocations_left > 0;
            } catch (const Error& told) {
                allocations_left = -1;
                EXPECT_FALSE(told.word().empty()) << row.name;
            } catch (const std::exception& other) {
                allocations_left = -1;
                ADD_FAILURE() << row.name << " lets out " << other.what() << " at " << n;
                break;
            }
            allocations_left = -1;
        }
    }
}

TEST_F(CInterfaceTest, ManyThreadsUseOneOfEach) {
    const auto sealer = make_sealer();
    const auto verifier = make_verifier();
    const auto stamp = read(token());
    std::atomic<int> good = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                const chronoseal_stamp_info* info = nullptr;
                chronoseal_stamp* got = nullptr;
                chronoseal_error* own = nullptr;
                const bool all =
                    chronoseal_stamp_get_info(stamp.get(), &info, &own) == CHRONOSEAL_OK &&
                    chronoseal_verify(verifier.get(), stamp.get(), "data", 4, nullptr, &own) ==
                        CHRONOSEAL_OK &&
                    chronoseal_seal(sealer.get(), "data", 4, nullptr, &got, &own) == CHRONOSEAL_OK;
                EXPECT_TRUE(all) << chronoseal_error_message(own);
                good += all ? 1 : 0;
                chronoseal_stamp_free(&got);
                chronoseal_error_free(&own);
            });
        }
    }
    EXPECT_EQ(good, 8);
}

struct CancelledThread {
    Handle<chronoseal_sealer> sealer;
    std::atomic<bool> returned = false;
    chronoseal_status status = CHRONOSEAL_MISUSE;
};

void seal_once(CancelledThread& thread) {
    chronoseal_stamp* stamp = nullptr;
    thread.status = chronoseal_seal(thread.sealer.get(), "data", 4, nullptr, &stamp, nullptr);
    chronoseal_stamp_free(&stamp);
    thread.returned = true;
}

// Has no locals of its own: the address sanitizer takes those of a cancelled thread for alive.
void* seal_and_be_cancelled(void* user) {
    seal_once(*static_cast<CancelledThread*>(user));
    pthread_testcancel();
    return nullptr;
}

// A thread that is cancelled within a call ends after it: unwinding through the library would end
// the program.
TEST_F(CInterfaceTest, ACancelledThreadFinishesItsCall) {
    std::atomic<bool> asked = false;
    LiveAuthority slow([&](const tsp::Authority& by, const std::string& request) {
        asked = true;
        LoopbackReply reply = http_reply(200, by.answer(body_of(request)));
        reply.delay = std::chrono::milliseconds(100);
        return reply;
    });
    root = slow.authority().root_der();
    roots = source_of(root);
    url = slow.url();
    options.url = url.c_str();
    CancelledThread state;
    state.sealer = make_sealer();
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, seal_and_be_cancelled, &state), 0);
    while (!asked) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(state.returned);
    EXPECT_EQ(state.status, CHRONOSEAL_OK);
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
