// What each class says of threads, for the thread sanitizer to look at: shared ones used by many at
// once, the others handed from thread to thread, and the machine changed meanwhile.
#include <atomic>
#include <latch>
#include <thread>

#include <chronoseal/seal/testing/evidence_fixture.h>

namespace chronoseal::testing {
namespace {

constexpr int kThreads = 6;
constexpr int kRounds = 4;

// Runs `work` with its number on as many threads, which begin together.
template <class Work>
void together(const Work& work, int count = kThreads) {
    std::latch start(count);
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
}

class ThreadsTest : public EvidenceTest {
protected:
    Digest digest(const std::string& data) const { return Digest::of(bytes_of(data), sha256); }
    // A tree over these, and the record of the first of them.
    EvidenceRecord record_of(EvidenceTree& tree, const std::vector<std::string>& data) const {
        for (const std::string& one : data) {
            tree.add(digest(one));
        }
        return tree.record(digest(data[0]), stamp(tree.root()));
    }
};

TEST_F(ThreadsTest, WhatDoesntChangeIsReadByMany) {
    const Stamp one = stamp(digest("data"));
    const Stamp forged = [&] {
        std::string bytes = to_text(one.token());
        bytes.back() ^= 1;
        return Stamp::read(to_bytes(bytes));
    }();
    EvidenceTree tree(sha256);
    const EvidenceRecord record = record_of(tree, {"data", "b", "c"});
    const Verifier verifier(trust());
    const EvidenceVerifier of_records(trust());
    const Error error(Category::refused, "word", 1, "text", "advice");
    together([&](int i) {
        const Verifier copy = verifier;
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_TRUE(copy.verify(one, bytes_of("data")).good());
            EXPECT_EQ(verifier.verify(one, bytes_of("x")).deciding().word, "imprint_differs");
            EXPECT_FALSE(verifier.verify(forged, bytes_of("data")).good());
            EXPECT_TRUE(of_records.verify(record, bytes_of(i % 2 == 0 ? "data" : "x")).good() ==
                        (i % 2 == 0));
            EXPECT_EQ(Error(error).word(), "word");
            EXPECT_EQ(Stamp(one).info().token->imprint.size(), 32U);
            EXPECT_EQ(EvidenceRecord(record).info().stamps.size(), 1U);
            EXPECT_EQ(inspect(one.token()).kind, Kind::token);
            EXPECT_EQ(record.data_algorithms().size(), 1U);
        }
    });
}

// Each thread makes its own of what it is given; what the caller does with the value afterwards, or
// another thread with its copy, is nobody's business.
TEST_F(ThreadsTest, ATrustIsCopied) {
    const Stamp one = stamp(digest("data"));
    const Trust shared = trust();
    together([&](int i) {
        Trust own = shared;
        if (i % 2 == 0) {
            own.roots = {to_bytes(tsp::Authority().root_der())};
        }
        const Verifier verifier(own);
        own.roots.clear();
        EXPECT_EQ(verifier.verify(one, bytes_of("data")).good(), i % 2 != 0);
    });
}

TEST_F(ThreadsTest, RootsComeAndGoWhileOthersJudge) {
    const Stamp one = stamp(digest("data"));
    const Bytes root = to_bytes(authority.root_der());
    const Bytes sha256_of_root = Digest::of(root, sha256).value();
    Trust machine = trust();
    machine.roots.clear();
    together([&](int i) {
        for (int round = 0; round < kRounds; ++round) {
            if (i == 0) {
                trust_root(root, sha256_of_root);
                distrust_root(sha256_of_root);
            } else if (i == 1) {
                EXPECT_LE(trusted_roots().size(), 1U);
            } else {
                const Verdict verdict = Verifier(machine).verify(one, bytes_of("data"));
                EXPECT_TRUE(verdict.good() || verdict.deciding().check == Check::chain)
                    << verdict.deciding().text;
            }
        }
    });
    EXPECT_TRUE(trusted_roots().empty());
}

TEST_F(ThreadsTest, TheMachinesFileChangesWhileOthersReadIt) {
    together([&](int i) {
        for (int round = 0; round < kRounds; ++round) {
            if (i == 0) {
                tsp::Configuration::instance().set(round % 2 == 0 ? "RequireNonce = true" : "");
            } else if (i == 1) {
                EXPECT_EQ(policy().stores.size(), 4U);
            } else if (i == 2) {
                EXPECT_FALSE(diagnose({}).empty());
            } else {
                EXPECT_TRUE(configured_authorities().empty());
                EXPECT_FALSE(Sealer({.only_requests = true}).request(digest("x")).empty());
                EXPECT_FALSE(HashAlgorithm::all().empty());
            }
        }
    });
}

// Two sealers with one file of rates, and an authority that fails now and then, so that there is
// something to learn.
TEST_F(ThreadsTest, SealersShareTheirAuthoritiesAndTheFileOfRates) {
    std::atomic<unsigned> count = 0;
    const LiveAuthority shaky([&](const tsp::Authority& by, const std::string& request) {
        return ++count % 3 == 0 ? http_reply(503, "")
                                : http_reply(200, by.answer(body_of(request)));
    });
    const LiveAuthority steady;
    Trust both = shaky.trust();
    both.roots.push_back(to_bytes(steady.authority().root_der()));
    SealerOptions options = quick({shaky.settings(), steady.settings()}, both, folder);
    options.rest = std::chrono::milliseconds(20);
    for (Authority& one : options.authorities) {
        one.rate = {1000, std::chrono::milliseconds(1000)};
    }
    const Sealer first(options);
    const Sealer second(options);
    const Verifier verifier(both);
    std::stop_source stop;
    together([&](int i) {
        const Sealer& sealer = i % 2 == 0 ? first : second;
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_TRUE(verifier.verify(sealer.seal(bytes_of("x")), bytes_of("x")).good());
            EXPECT_EQ(sealer.authorities().size(), 2U);
            EXPECT_FALSE(sealer.request(digest("x")).empty());
        }
        std::vector<Item> items(8, Item(to_bytes("y")));
        std::size_t seen = 0; // `done` is called by one thread at a time
        const auto summary = sealer.seal_range(
            items, [&](const BatchResult&) { ++seen; }, 3, stop.get_token());
        EXPECT_EQ(summary.stamped + summary.failed, seen);
        stop.request_stop();
    });
}

TEST_F(ThreadsTest, AQuorumIsAskedForByMany) {
    const LiveAuthority a;
    const LiveAuthority b;
    Trust both = a.trust();
    both.roots.push_back(to_bytes(b.authority().root_der()));
    SealerOptions options = quick({a.settings(), b.settings()}, both, folder);
    options.quorum = 2;
    const Sealer sealer(options);
    together([&](int) { EXPECT_EQ(sealer.seal_quorum(digest("x")).size(), 2U); }, 4);
}

// Made on one thread, filled on a second, asked on a third, while others do the same with their
// own.
TEST_F(ThreadsTest, WhatBelongsToOneThreadCanBeHandedOn) {
    const auto list = folder.write("list", manifest_line(digest("data"), "a"));
    const std::string text = manifest_line(digest("data"), "a");
    const auto handed = [](auto&& work) {
        std::jthread(std::forward<decltype(work)>(work)).join();
    };
    together([&](int) {
        Hasher hasher(sha256);
        EvidenceTree tree(sha256);
        ManifestReader reader([](const ManifestLine&) {});
        ManifestTree manifest(list);
        StampRenewal by_stamp(sha256);
        HashRenewal by_hash(sha512);
        std::optional<EvidenceRecord> record;
        handed([&] {
            hasher.update(bytes_of("da"));
            record = record_of(tree, {"data", "b"});
            reader.feed(bytes_of(text));
            by_stamp.add(*record);
            by_hash.add(*record, {Digest::of(bytes_of("data"), sha512)});
        });
        handed([&, hashing = std::move(hasher), growing = std::move(tree),
                reading = std::move(reader), listed = std::move(manifest)]() mutable {
            hashing.update(bytes_of("ta"));
            EXPECT_EQ(hashing.finish(), digest("data"));
            EXPECT_EQ(growing.size(), 2U);
            EXPECT_EQ(reading.finish().lines, 1U);
            EXPECT_FALSE(listed.record(stamp(listed.root())).der().empty());
            const auto renewed =
                by_stamp.renewed(*record, stamp(by_stamp.digest(), "20250601120000Z"));
            EXPECT_EQ(renewed.info().stamps.size(), 2U);
            EXPECT_EQ(by_hash.digest().algorithm(), sha512);
        });
    });
}

} // namespace
} // namespace chronoseal::testing
