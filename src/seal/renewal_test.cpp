// Renewals: of one record and of many by one stamp, again and again, by stamps and by new hashes.
#include <set>

#include <chronoseal/seal/record_content.h>
#include <chronoseal/seal/testing/evidence_fixture.h>

namespace chronoseal::testing {
namespace {

class RenewalTest : public EvidenceTest {
protected:
    std::vector<EvidenceRecord> records_of(const std::vector<std::string>& data, EvidenceTree& tree,
                                           const char* time = "20240601120000Z") const {
        for (const std::string& one : data) {
            tree.add(Digest::of(bytes_of(one), tree.algorithm()));
        }
        const Stamp over = stamp(tree.root(), time);
        std::vector<EvidenceRecord> records;
        for (const std::string& one : data) {
            records.push_back(tree.record(Digest::of(bytes_of(one), tree.algorithm()), over));
        }
        return records;
    }
};

TEST_F(RenewalTest, OneStampRenewsAllRecordsThatShareOne) {
    const std::vector<std::string> data{"a", "b", "c"};
    EvidenceTree tree(sha256);
    auto records = records_of(data, tree);
    for (const char* time : {"20260601120000Z", "20280601120000Z", "20300601120000Z"}) {
        StampRenewal renewal(sha256);
        for (const EvidenceRecord& record : records) {
            renewal.add(record);
        }
        const Stamp over = stamp(renewal.digest(), time);
        for (EvidenceRecord& record : records) {
            record = renewal.renewed(record, over);
        }
    }
    for (std::size_t i = 0; i < data.size(); ++i) {
        const auto verdict = verify(records[i], data[i]);
        ASSERT_TRUE(verdict.good()) << verdict.failure->what();
        EXPECT_EQ(verdict.stamps.size(), 4U);
        EXPECT_EQ(utc_text(*verdict.existed_by), "2024-06-01T12:00:00Z");
        EXPECT_EQ(fault(records[i], "other"), "not_in_tree");
    }
    // The last stamp is over all three before it, which stand in the first list and in no other.
    EXPECT_EQ(records[0].info().stamps[3].lists, std::vector<std::size_t>{3});
    const auto& last = RecordAccess::parts(records[0]).chains[0].stamps;
    std::set<std::string> earlier, listed;
    for (std::size_t i = 0; i < 3; ++i) {
        earlier.insert(hashed(to_text(Bytes(last[i].token.begin(), last[i].token.end()))));
    }
    for (const ByteView hash : last[3].tree[0]) {
        listed.insert(to_text(Bytes(hash.begin(), hash.end())));
    }
    EXPECT_EQ(listed, earlier);
}

TEST_F(RenewalTest, RecordsOfDifferentStampsShareTheNext) {
    EvidenceTree first(sha256), second(sha256);
    auto records = records_of({"a", "b"}, first);
    records.push_back(records_of({"c"}, second, "20250601120000Z")[0]);
    StampRenewal renewal(sha256);
    for (const EvidenceRecord& record : records) {
        renewal.add(record);
    }
    const Stamp over = stamp(renewal.digest(), "20260601120000Z");
    EXPECT_EQ(fault(renewal.renewed(records[0], over), "a"), "");
    EXPECT_EQ(fault(renewal.renewed(records[2], over), "c"), "");
    EXPECT_EQ(renewal.renewed(records[2], over).info().stamps[1].lists,
              (std::vector<std::size_t>{1, 1}));
}

TEST_F(RenewalTest, ByANewHashAndOnByStampsOfThatHash) {
    const std::vector<std::string> data{"a", "b", ""};
    EvidenceTree tree(sha256);
    auto records = records_of(data, tree);
    HashRenewal renewal(sha512);
    const auto by = [&](const HashAlgorithm& hash, std::size_t i) {
        return std::vector{Digest::of(bytes_of(data[i]), hash)};
    };
    for (std::size_t i = 0; i < data.size(); ++i) {
        renewal.add(records[i], by(sha512, i));
    }
    const Stamp over = stamp(renewal.digest(), "20260601120000Z");
    StampRenewal again(sha512);
    for (std::size_t i = 0; i < data.size(); ++i) {
        records[i] = renewal.renewed(records[i], by(sha512, i), over);
        EXPECT_EQ(fault(records[i], data[i]), "");
        EXPECT_EQ(fault(records[i], data[i] + "x"), "not_in_tree");
        again.add(records[i]);
    }
    EXPECT_EQ(records[0].renewal_algorithm(), sha512);
    EXPECT_EQ(records[0].data_algorithms(), (std::vector{sha256, sha512}));
    EXPECT_EQ(records[0].info().algorithms.size(), 2U);
    const Stamp last = stamp(again.digest(), "20280601120000Z");
    for (std::size_t i = 0; i < data.size(); ++i) {
        const auto renewed = again.renewed(records[i], last);
        const auto verdict = verify(renewed, data[i]);
        EXPECT_TRUE(verdict.good()) << verdict.failure->what();
        EXPECT_TRUE(verdict.remarks.empty());
        EXPECT_EQ(verdict.stamps.back().chain, 1U);
    }
}

// Each pair of stamps exchanged, each one left out, and each put at another's place.
TEST_F(RenewalTest, StampsCannotBeLeftOutOrChangePlaces) {
    EvidenceTree tree(sha256);
    EvidenceRecord record = records_of({"a", "b"}, tree)[0];
    for (const char* time : {"20260601120000Z", "20280601120000Z"}) {
        StampRenewal renewal(sha256);
        renewal.add(record);
        record = renewal.renewed(record, stamp(renewal.digest(), time));
    }
    std::vector<std::string> stamps;
    for (const ArchiveStamp& one : RecordAccess::parts(record).chains[0].stamps) {
        stamps.push_back(to_text(Bytes(one.der.begin(), one.der.end())));
    }
    const auto judged = [&](const std::vector<Hashes>& chains) {
        return fault(read(record_text(chains)), "a");
    };
    ASSERT_EQ(judged({{stamps[0], stamps[1], stamps[2]}}), "");
    EXPECT_EQ(judged({{stamps[0], stamps[1]}}), ""); // an older copy of the record
    EXPECT_EQ(judged({{stamps[0]}}), "");
    std::vector<std::size_t> order{0, 1, 2};
    while (std::ranges::next_permutation(order).found) {
        EXPECT_NE(judged({{stamps[order[0]], stamps[order[1]], stamps[order[2]]}}), "");
        EXPECT_NE(judged({{stamps[order[0]]}, {stamps[order[1]], stamps[order[2]]}}), "");
    }
    EXPECT_NE(judged({{stamps[1], stamps[2]}}), "");
    EXPECT_NE(judged({{stamps[0]}, {stamps[1]}, {stamps[2]}}), "");
    EXPECT_NE(judged({{stamps[0], stamps[0]}}), "");
}

TEST_F(RenewalTest, WhatCannotBeRenewedIsRefusedByItsWord) {
    EvidenceTree tree(sha256);
    const auto records = records_of({"a", "b"}, tree);
    const EvidenceRecord record = records[0];
    StampRenewal renewal(sha256);
    EXPECT_WORD("tree_empty", renewal.digest());
    renewal.add(record);
    const Digest over = renewal.digest();
    EXPECT_WORD("time_goes_back", renewal.renewed(record, stamp(over, "20240601115959Z")));
    EXPECT_WORD("imprint_differs", renewal.renewed(record, stamp(Digest::of({}, sha256))));
    EXPECT_WORD("not_in_tree", renewal.renewed(renewal.renewed(record, stamp(over)), stamp(over)));
    EXPECT_WORD("algorithms_differ", StampRenewal(sha512).add(record));
    HashRenewal rehash(sha512);
    EXPECT_WORD("data_needed", rehash.add(record, {}));
    EXPECT_WORD("digest_malformed", rehash.add(record, {Digest::of({}, sha256)}));
}

} // namespace
} // namespace chronoseal::testing
