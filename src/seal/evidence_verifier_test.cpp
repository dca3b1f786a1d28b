// Verdicts on records of other makers and of forgers: each trap of the format.
#include <chronoseal/seal/running_hash.h>
#include <chronoseal/seal/testing/evidence_fixture.h>

#include <fstream>

#include <unistd.h>

namespace chronoseal::testing {
namespace {

class EvidenceVerifierTest : public EvidenceTest {
protected:
    // A record renewed by a new hash: two chains, the second by SHA-512.
    std::string rehashed(const std::string& data, bool sorted, const std::string& sequence) const {
        const std::string object = hashed(data, EVP_sha512());
        const std::string before = hashed(sequence, EVP_sha512());
        const std::string leaf =
            hashed(sorted ? std::min(object, before) + std::max(object, before) : object + before,
                   EVP_sha512());
        return stamp_text({{leaf}}, token(leaf, "20250601120000Z", kSha512Oid), kSha512Oid);
    }

    const std::string digest = hashed("data");
    const std::string other = hashed("other");
    const std::string third = hashed("third");
};

// All readings of the standard, and the layouts that software has written in the course of time.
TEST_F(EvidenceVerifierTest, TreesOfEveryLayoutAreRead) {
    const std::string pair = joined({digest, other});
    const std::string wide = joined({digest, other, third});
    const std::string n_ary = joined({pair, third, hashed("x"), hashed("y")});
    struct Row {
        const char* name;
        std::vector<Hashes> lists;
        std::string root;
        bool noted;
    };
    const Row rows[] = {
        {"no tree", {}, digest, false},
        {"the object alone", {{digest}}, digest, false},
        {"split", {{digest}, {other}, {third}}, joined({pair, third}), false},
        {"the sibling in the first list", {{digest, other}, {third}}, joined({pair, third}), true},
        {"unsorted within its list", {{other, digest}}, pair, true},
        {"a group in a tree",
         {{third, digest, other}, {hashed("x")}},
         joined({wide, hashed("x")}),
         true},
        {"more than two on a level",
         {{digest}, {other}, {third, hashed("x"), hashed("y")}},
         n_ary,
         false},
    };
    for (const Row& row : rows) {
        const auto verdict = verify(record_text({{stamp_text(row.lists, token(row.root))}}));
        EXPECT_TRUE(verdict.good()) << row.name << ": " << verdict.failure->what();
        EXPECT_EQ(!verdict.remarks.empty(), row.noted) << row.name;
        EXPECT_EQ(fault(record_text({{stamp_text(row.lists, token(row.root))}}), "no"),
                  "not_in_tree")
            << row.name;
        EXPECT_EQ(fault(record_text({{stamp_text(row.lists, token(third))}})),
                  row.lists.empty() ? "not_in_tree" : "root_differs")
            << row.name;
    }
}

TEST_F(EvidenceVerifierTest, AHashOfALaterListIsNotTheObject) {
    const std::string root = joined({digest, other});
    EXPECT_EQ(fault(record_text({{stamp_text({{digest}, {other}}, token(root))}}), "other"),
              "not_in_tree");
}

TEST_F(EvidenceVerifierTest, TreeAndStampUseOneHash) {
    const std::string wide = hashed("data", EVP_sha512());
    EXPECT_EQ(fault(record_text({{stamp_text({{wide}}, token(digest), kSha512Oid)}})),
              "algorithms_differ");
    const auto unlisted = verify(record_text(
        {{stamp_text({{wide}}, token(wide, "20240601120000Z", kSha512Oid), kSha512Oid)}}));
    EXPECT_TRUE(unlisted.good()) << unlisted.failure->what();
    EXPECT_EQ(unlisted.remarks.at(0).word, "algorithm_unlisted");
    const auto listed =
        verify(record_text({{stamp_text({}, token(digest))}}, {tsp::kSha256Oid, "1.2.3.4"}));
    EXPECT_TRUE(listed.good());
    EXPECT_EQ(listed.remarks.at(0).word, "algorithm_unknown");
    const char* sha1 = "1.3.14.3.2.26";
    const auto weak = verify(record_text(
        {{stamp_text({}, token(hashed("data", EVP_sha1()), "20240601120000Z", sha1))}}, {sha1}));
    EXPECT_TRUE(weak.good());
    EXPECT_EQ(weak.remarks.at(0).word, "weak_chain");
    const auto unknown = read(record_text({{stamp_text({{digest}}, token(digest), "1.2.3.4")}}));
    EXPECT_EQ(EvidenceVerifier(trust()).verify_record(unknown).failure->word(), "hash_unknown");
    EXPECT_WORD("hash_unknown", unknown.data_algorithms());
}

TEST_F(EvidenceVerifierTest, ARenewalCoversTheStampBefore) {
    const std::string first = token(digest), hash = hashed(first);
    const std::string beside = hashed("somebody else's token");
    const auto with = [&](const std::vector<Hashes>& lists, const std::string& over,
                          const char* time = "20250601120000Z") {
        return record_text({{stamp_text({}, first), stamp_text(lists, token(over, time))}});
    };
    EXPECT_EQ(fault(with({{hash}}, hash)), "");
    EXPECT_EQ(fault(with({}, hash)), "");
    EXPECT_EQ(fault(with({{hash}, {beside}}, joined({hash, beside}))), "");
    EXPECT_EQ(fault(with({{hash, beside}}, joined({hash, beside}))), "");
    EXPECT_EQ(fault(with({{beside}}, beside)), "renewal_uncovered");
    EXPECT_EQ(fault(with({{beside}, {hash}}, joined({hash, beside}))), "renewal_uncovered");
    EXPECT_EQ(fault(with({}, digest)), "renewal_uncovered");
    EXPECT_EQ(fault(with({{hash}}, beside)), "root_differs");
    EXPECT_EQ(fault(with({{hash}}, hash, "20240601115959Z")), "time_goes_back");
    EXPECT_EQ(fault(with({{hash}}, hash, "20240601120000Z")), "");
    const auto verdict = verify(with({{hash}}, hash, "20240601115959Z"));
    EXPECT_EQ(verdict.failed_stamp, 1U);
}

// Half of all records hide by chance in which order the two hashes are joined.
TEST_F(EvidenceVerifierTest, ARenewalByANewHashIsReadInBothOrders) {
    unsigned greater = 0, lesser = 0;
    for (int i = 0; greater == 0 || lesser == 0; ++i) {
        const std::string data = "data " + std::to_string(i);
        const std::string first = stamp_text({}, token(hashed(data)));
        const std::string sequence = sequence_text({{first}});
        const bool above = hashed(data, EVP_sha512()) > hashed(sequence, EVP_sha512());
        (above ? greater : lesser) += 1;
        const Hashes oids{tsp::kSha256Oid, kSha512Oid};
        const auto plain =
            verify(record_text({{first}, {rehashed(data, false, sequence)}}, oids), data);
        EXPECT_TRUE(plain.good()) << plain.failure->what();
        EXPECT_TRUE(plain.remarks.empty());
        const auto sorted =
            verify(record_text({{first}, {rehashed(data, true, sequence)}}, oids), data);
        EXPECT_TRUE(sorted.good()) << sorted.failure->what();
        EXPECT_EQ(!sorted.remarks.empty() && sorted.remarks[0].word == "sorted_renewal", above);
        EXPECT_EQ(fault(record_text({{first}, {rehashed("other", false, sequence)}}, oids), data),
                  "renewal_uncovered");
        const std::string another = sequence_text({{stamp_text({}, token(hashed("x")))}});
        EXPECT_EQ(fault(record_text({{first}, {rehashed(data, false, another)}}, oids), data),
                  "renewal_uncovered");
        EXPECT_EQ(fault(record_text({{first}, {rehashed(data, false, sequence)}}, oids), "no"),
                  "not_in_tree");
    }
}

TEST_F(EvidenceVerifierTest, WithoutDataOnlyOneChainCanBeJudged) {
    const std::string first = stamp_text({{digest}}, token(digest));
    const EvidenceVerifier verifier(trust());
    const auto alone = verifier.verify_record(read(record_text({{first}})));
    EXPECT_TRUE(alone.good());
    EXPECT_FALSE(alone.compared);
    const auto two = verifier.verify_record(read(
        record_text({{first}, {rehashed("data", false, sequence_text({{first}}))}}, {kSha512Oid})));
    EXPECT_EQ(two.failure->word(), "data_needed");
    EXPECT_FALSE(two.existed_by);
}

TEST_F(EvidenceVerifierTest, EachStampIsJudgedAsOfTheOneThatRenewedIt) {
    const tsp::Authority short_lived("20200101000000Z", "20250101000000Z");
    const auto record_renewed = [&](const char* time) {
        const std::string first = short_lived.token(tsp::TstInfo{.digest = digest});
        return record_text(
            {{stamp_text({}, first), stamp_text({{hashed(first)}}, token(hashed(first), time))}});
    };
    Trust both = trust();
    both.roots.push_back(to_bytes(short_lived.root_der()));
    const EvidenceVerifier verifier(both);
    const auto timely = verifier.verify(read(record_renewed("20241231000000Z")), bytes_of("data"));
    ASSERT_TRUE(timely.good()) << timely.failure->what();
    EXPECT_EQ(timely.strength, EvidenceStrength::renewed);
    EXPECT_EQ(utc_text(timely.stamps[0].verdict.as_of), "2024-12-31T00:00:00Z");
    EXPECT_EQ(timely.stamps[0].covered_by, 1U);
    EXPECT_EQ(utc_text(*timely.existed_by), "2024-06-01T12:00:00Z");
    EXPECT_EQ(utc_text(*timely.renew_before), "2049-12-31T00:00:00Z");
    const auto late = verifier.verify(read(record_renewed("20250102000000Z")), bytes_of("data"));
    ASSERT_TRUE(late.good()) << late.failure->what();
    EXPECT_EQ(late.strength, EvidenceStrength::aged);
    EXPECT_EQ(late.remarks.at(0).word, "renewed_late");
    const auto bare = verifier.verify(
        EvidenceRecord::of_stamp(read(record_renewed("20241231000000Z")).info().stamps[0].stamp),
        bytes_of("data"));
    EXPECT_EQ(bare.strength, EvidenceStrength::aged);
    const auto fresh = verify(record_text({{stamp_text({}, token(digest))}}));
    EXPECT_EQ(fresh.strength, EvidenceStrength::fresh);
}

// However many renewals there are, each with a moment of its own.
TEST_F(EvidenceVerifierTest, TheRootsAreReadOnce) {
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("roots_" + std::to_string(getpid()));
    const Bytes root = to_bytes(authority.root_der());
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(root.data()),
               static_cast<std::streamsize>(root.size()));
    const EvidenceVerifier verifier(Trust{.roots = {file}});
    std::filesystem::remove(file);
    const std::string first = token(digest);
    const std::string second = token(hashed(first), "20250601120000Z");
    const auto record = read(
        record_text({{stamp_text({}, first), stamp_text({{hashed(first)}}, second),
                      stamp_text({{hashed(second)}}, token(hashed(second), "20250701120000Z"))}}));
    const EvidenceVerdict verdict = verifier.verify(record, bytes_of("data"));
    EXPECT_TRUE(verdict.good()) << verdict.failure->what();
    EXPECT_EQ(verdict.stamps.size(), 3U);
}

TEST_F(EvidenceVerifierTest, AStampThatIsNotGoodMakesTheRecordBad) {
    const tsp::Authority stranger;
    const std::string forged = stranger.token(tsp::TstInfo{.digest = digest});
    const auto verdict = verify(
        record_text({{stamp_text({}, forged),
                      stamp_text({{hashed(forged)}}, token(hashed(forged), "20250601120000Z"))}}));
    EXPECT_FALSE(verdict.good());
    EXPECT_EQ(verdict.failed_stamp, 0U);
    EXPECT_EQ(verdict.stamps.size(), 2U);
    EXPECT_FALSE(verdict.existed_by);
}

TEST_F(EvidenceVerifierTest, TheStampsOfARecordAskOnceForWhatFails) {
    LoopbackServer empty([](const std::string&) { return http_reply(404, ""); });
    const tsp::Authority listed("20200101000000Z", "20491231000000Z", utf8(empty.url()));
    const std::string first = listed.token(tsp::TstInfo{.digest = digest});
    const std::string second =
        listed.token(tsp::TstInfo{.digest = hashed(first), .genTime = "20250601120000Z"});
    const EvidenceRecord record =
        read(record_text({{stamp_text({}, first), stamp_text({{hashed(first)}}, second)}}));
    const EvidenceVerifier verifier(Trust{.roots = {to_bytes(listed.root_der())}});
    for (int times = 0; times < 2; ++times) {
        const EvidenceVerdict verdict = verifier.verify(record, bytes_of("data"));
        EXPECT_TRUE(verdict.open);
        EXPECT_EQ(verdict.stamps.size(), 2U);
        EXPECT_TRUE(verdict.stamps.back().verdict.indeterminate());
    }
    EXPECT_EQ(empty.requests().size(), 2U) << "the second stamp anew: it hadn't the whole time";
}

// Of a group each object is in its own new hash.
TEST_F(EvidenceVerifierTest, AGroupIsRenewedByANewHash) {
    const Hashes group{digest, other};
    const std::string first = stamp_text({group}, token(joined(group)));
    const std::string before = hashed(sequence_text({{first}}), EVP_sha512());
    Hashes leaves;
    for (const char* data : {"data", "other"}) {
        leaves.push_back(hashed(hashed(data, EVP_sha512()) + before, EVP_sha512()));
    }
    const std::string root = joined(leaves, EVP_sha512());
    const auto record = read(record_text(
        {{first}, {stamp_text({leaves}, token(root, "20250601120000Z", kSha512Oid), kSha512Oid)}}));
    const auto of = [&](const char* data) {
        return DataDigests{Digest::of(bytes_of(data), sha256), Digest::of(bytes_of(data), sha512)};
    };
    const EvidenceVerifier verifier(trust());
    EXPECT_TRUE(verifier.verify(record, {of("data"), of("other")}).good());
    EXPECT_TRUE(verifier.verify(record, {of("other")}).good());
    EXPECT_EQ(verifier.verify(record, {of("data"), of("third")}).failure->word(), "not_in_tree");
    HashRenewal renewal(sha512);
    const std::vector<Digest> objects{of("data")[1], of("other")[1]};
    renewal.add(record, objects);
    const auto again = renewal.renewed(record, objects, stamp(renewal.digest(), "20260601120000Z"));
    EXPECT_TRUE(verifier.verify(again, {of("data"), of("other")}).good());
}

// Each chain is over all before it, so that a few MiB can ask for hours of hashing.
TEST_F(EvidenceVerifierTest, TheWorkForOneRecordIsBounded) {
    constexpr char kGost94[] = "1.2.643.2.2.9";
    const struct {
        std::size_t mebibytes;
        std::size_t too_many; // chains above the first
        std::size_t few;
        const char* other = kSha512Oid; // beside SHA-256
    } cases[] = {{1, 65, 40}, {32, 5, 2}, {1, 12, 6, kGost94}, {8, 6, 2, kGost94}};
    for (const auto& c : cases) {
        const auto other = HashAlgorithmAccess::find(c.other);
        if (!other) {
            continue; // there is no engine for it
        }
        const Hashes oids{tsp::kSha256Oid, c.other};
        const auto by = [&](bool is_other, const std::string& data) {
            const auto digest = Digest::of(to_bytes(data), is_other ? *other : sha256);
            return std::string(reinterpret_cast<const char*>(digest.value().data()),
                               digest.value().size());
        };
        const std::string bulk =
            tsp::attribute("1.2.3", tsp::element(0x04, std::string(c.mebibytes << 20, 'x')));
        std::vector<Hashes> chains{{tsp::sequence(tsp::element(0xA1, bulk) + token(digest))}};
        std::string sequence = tsp::sequence(chains[0][0]);
        for (std::size_t i = 0; i < c.too_many; ++i) {
            const bool is_other = i % 2 == 0;
            const char* oid = is_other ? c.other : tsp::kSha256Oid;
            const std::string leaf =
                by(is_other, by(is_other, "data") + by(is_other, tsp::sequence(sequence)));
            chains.push_back({stamp_text({{leaf}}, token(leaf, "20250601120000Z", oid), oid)});
            sequence += tsp::sequence(chains.back()[0]);
        }
        EXPECT_EQ(fault(record_text(chains, oids)), "record_too_large") << c.mebibytes;
        chains.resize(1 + c.few);
        EXPECT_EQ(fault(record_text(chains, oids)), "") << c.mebibytes;
    }
}

TEST_F(EvidenceVerifierTest, ALargeGroupIsComparedWhole) {
    std::vector<DataDigests> objects;
    Hashes hashes;
    for (int i = 0; i < 30'000; ++i) {
        const std::string one = hashed(std::to_string(i));
        hashes.push_back(one);
        objects.push_back({Digest(sha256, to_bytes(one))});
    }
    const auto record = read(record_text({{stamp_text({hashes}, token(joined(hashes)))}}));
    const EvidenceVerifier verifier(trust());
    EXPECT_TRUE(verifier.verify(record, objects).good());
    objects.back() = {Digest(sha256, to_bytes(digest))};
    EXPECT_EQ(verifier.verify(record, objects).failure->word(), "not_in_tree");
}

// A byte that is changed makes the record unreadable or bad, with two exceptions: the record's list
// of its algorithms, which no hash covers, and what of the last token isn't signed. What is proved
// is the same then.
TEST_F(EvidenceVerifierTest, NoByteCanBeChangedUnnoticed) {
    const std::string first = stamp_text({{digest}, {other}}, token(joined({digest, other})));
    const std::string second = rehashed("data", false, sequence_text({{first}}));
    const std::string good = record_text({{first}, {second}}, {tsp::kSha256Oid, kSha512Oid});
    const std::size_t covered = good.find(first), last = good.find(second);
    const EvidenceVerifier verifier(trust());
    ASSERT_TRUE(verifier.verify(read(good), bytes_of("data")).good());
    std::size_t unnoticed = 0;
    for (std::size_t i = 0; i < good.size(); ++i) {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ (i % 2 == 0 ? 0x01 : 0x80));
        try {
            const auto verdict = verifier.verify(read(bad), bytes_of("data"));
            if (verdict.good()) {
                ++unnoticed;
                EXPECT_TRUE(i < covered || i > last) << i;
                EXPECT_EQ(utc_text(*verdict.existed_by), "2024-06-01T12:00:00Z");
                EXPECT_EQ(utc_text(verdict.stamps[1].verdict.judged_at), "2025-06-01T12:00:00Z");
            }
        } catch (const Error&) {
            continue;
        }
    }
    EXPECT_LT(unnoticed, 30U); // identifiers and version numbers that nobody decides by
}

} // namespace
} // namespace chronoseal::testing
