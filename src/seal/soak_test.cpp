// Many stamps over many threads by two authorities that fail at random, each looked at again by
// OpenSSL's own verifier, and what memory they take. CHRONOSEAL_SOAK in the environment gives
// another number of them.
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <random>

#include <openssl/ts.h>

#include <chronoseal/seal/testing/seal_fixture.h>

namespace chronoseal::testing {
namespace {

constexpr std::uint64_t kUsualCount = 300;
// What may be kept for good or vary: sessions, a batch's queue, what the allocator holds back.
constexpr std::size_t kHeapSlack = 512 << 10;
constexpr std::size_t kResidentSlack = 6 << 20;

std::uint64_t count_of_stamps() {
    const char* wanted = std::getenv("CHRONOSEAL_SOAK");
    return wanted != nullptr ? std::strtoull(wanted, nullptr, 10) : kUsualCount;
}

// Refuses, forges, cuts, breaks down and dawdles, one time in twenty each.
class MoodyAuthority {
public:
    explicit MoodyAuthority(unsigned seed)
        : random_(seed), live_([this](const tsp::Authority& tsa, const std::string& request) {
              return answer(tsa, body_of(request));
          }) {}

    LiveAuthority& live() { return live_; }

private:
    LoopbackReply answer(const tsp::Authority& tsa, const std::string& request) {
        switch (draw()) {
        case 0:
            return http_reply(200, tsp::response(2, ""));
        case 1:
            return http_reply(200, stranger_.answer(request));
        case 2: {
            LoopbackReply cut = http_reply(200, tsa.answer(request));
            cut.bytes.resize(cut.bytes.size() / 2);
            cut.close = true;
            return cut;
        }
        case 3:
            return http_reply(503, "");
        case 4: {
            LoopbackReply late = http_reply(200, tsa.answer(request));
            late.delay = std::chrono::milliseconds(20);
            return late;
        }
        default:
            return http_reply(200, tsa.answer(request));
        }
    }

    unsigned draw() {
        const std::lock_guard lock(mutex_);
        return std::uniform_int_distribution<unsigned>(0, 19)(random_);
    }

    std::mutex mutex_;
    std::minstd_rand random_;
    tsp::Authority stranger_;
    LiveAuthority live_;
};

// Judges a response by OpenSSL alone.
class OtherReader {
public:
    explicit OtherReader(const std::vector<std::string>& roots)
        : store_(X509_STORE_new(), &X509_STORE_free) {
        for (const std::string& root : roots) {
            const auto* place = reinterpret_cast<const unsigned char*>(root.data());
            const auto certificate =
                tsp::owned(d2i_X509(nullptr, &place, static_cast<long>(root.size())), &X509_free);
            X509_STORE_add_cert(store_.get(), certificate.get());
        }
    }

    bool finds_good(const Bytes& response, const Digest& digest) const {
        const auto* place = reinterpret_cast<const unsigned char*>(response.data());
        const auto read = tsp::owned(
            d2i_TS_RESP(nullptr, &place, static_cast<long>(response.size())), &TS_RESP_free);
        const auto context = tsp::owned(TS_VERIFY_CTX_new(), &TS_VERIFY_CTX_free);
        TS_VERIFY_CTX_set_flags(context.get(),
                                TS_VFY_VERSION | TS_VFY_SIGNER | TS_VFY_SIGNATURE | TS_VFY_IMPRINT);
        X509_STORE_up_ref(store_.get());
        TS_VERIFY_CTX_set_store(context.get(), store_.get());
        auto* imprint = static_cast<unsigned char*>(OPENSSL_malloc(digest.value().size()));
        std::memcpy(imprint, digest.value().data(), digest.value().size());
        TS_VERIFY_CTX_set_imprint(context.get(), imprint, static_cast<long>(digest.value().size()));
        return read != nullptr && TS_RESP_verify_response(context.get(), read.get()) == 1;
    }

private:
    std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> store_;
};

// What the process takes: bytes handed out by malloc (none under the sanitizers) and pages in use.
struct Memory {
    std::size_t heap = 0;
    std::size_t resident = 0;

    static Memory now() {
        const struct mallinfo2 heap = ::mallinfo2();
        std::size_t whole = 0;
        std::size_t resident = 0;
        std::ifstream("/proc/self/statm") >> whole >> resident;
        return {heap.uordblks + heap.hblkhd,
                resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))};
    }
};

TEST(Soak, NoStampIsLostNoneIsWrongAndMemoryStaysLevel) {
    tsp::Configuration::instance().set("");
    const Folder folder;
    MoodyAuthority first(1);
    MoodyAuthority second(2);
    const std::string roots[] = {first.live().authority().root_der(),
                                 second.live().authority().root_der()};
    SealerOptions options = quick({first.live().settings(), second.live().settings()},
                                  {.roots = {to_bytes(roots[0]), to_bytes(roots[1])}}, folder);
    options.rest = std::chrono::milliseconds(1);
    const Sealer sealer(options);
    const OtherReader reader({roots[0], roots[1]});

    std::vector<std::uint64_t> open(count_of_stamps());
    for (std::uint64_t i = 0; i < open.size(); ++i) {
        open[i] = i;
    }
    const std::uint64_t count = open.size();
    std::uint64_t stamped = 0;
    Memory early;
    Memory late;
    for (int round = 0; !open.empty() && round < 20; ++round) {
        std::vector<std::uint64_t> left;
        std::size_t next = 0;
        const auto digest_of = [&](std::uint64_t number) {
            return Digest::of(bytes_of(std::to_string(number)), sealer.hash());
        };
        sealer.seal_all(
            [&]() -> std::optional<Item> {
                return next == open.size() ? std::nullopt
                                           : std::optional<Item>(digest_of(open[next++]));
            },
            [&](const BatchResult& result) {
                const std::uint64_t number = open[result.index];
                if (result.error) {
                    EXPECT_NE(result.error->word(), "system_failed") << result.error->what();
                    left.push_back(number);
                    return;
                }
                ++stamped;
                if (stamped == count / 3 || stamped == count - count / 10) {
                    (stamped == count / 3 ? early : late) = Memory::now();
                }
                first.live().forget_requests();
                second.live().forget_requests();
                EXPECT_TRUE(reader.finds_good(result.stamps.at(0).response(), digest_of(number)))
                    << number;
            },
            8);
        open = left;
    }
    EXPECT_EQ(stamped, count);
    EXPECT_TRUE(open.empty());
    if (early.heap != 0) { // the sanitizers keep what is freed
        EXPECT_LT(late.heap, early.heap + kHeapSlack);
        EXPECT_LT(late.resident, early.resident + kResidentSlack);
    }
    RecordProperty("heap", std::to_string(early.heap) + " to " + std::to_string(late.heap));
    RecordProperty("resident",
                   std::to_string(early.resident) + " to " + std::to_string(late.resident));
}

} // namespace
} // namespace chronoseal::testing
