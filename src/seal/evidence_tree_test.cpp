// Trees, and the records of what is in them.
#include <random>
#include <set>

#include <chronoseal/seal/testing/evidence_fixture.h>

namespace chronoseal::testing {
namespace {

class EvidenceTreeTest : public EvidenceTest {
protected:
    // By RFC 4998, 4.2, in pairs, straight from the words.
    static std::string root_by_hand(std::set<std::string> leaves) {
        Hashes level(leaves.begin(), leaves.end());
        while (level.size() > 1) {
            Hashes above;
            for (std::size_t i = 0; i < level.size(); i += 2) {
                above.push_back(i + 1 < level.size() ? joined({level[i], level[i + 1]}) : level[i]);
            }
            level = above;
        }
        return level.front();
    }
};

TEST_F(EvidenceTreeTest, EveryDigestOfTreesOfAllSizesHasARecordThatIsGood) {
    for (const std::size_t size : {1U, 2U, 3U, 5U, 8U, 33U}) {
        EvidenceTree tree(sha256);
        std::set<std::string> leaves;
        for (std::size_t i = 0; i < size; ++i) {
            const std::string data = "data " + std::to_string(i);
            tree.add(Digest::of(bytes_of(data), sha256));
            tree.add(Digest::of(bytes_of(data), sha256)); // equal files are one leaf
            leaves.insert(hashed(data));
        }
        EXPECT_EQ(tree.size(), size);
        EXPECT_EQ(to_text(tree.root().value()), root_by_hand(leaves)) << size;
        const Stamp over = stamp(tree.root());
        for (std::size_t i = 0; i < size; ++i) {
            const std::string data = "data " + std::to_string(i);
            const auto record = tree.record(Digest::of(bytes_of(data), sha256), over);
            EXPECT_EQ(fault(record, data), "") << size << ", " << i;
            EXPECT_EQ(fault(record, data + "."), "not_in_tree");
            EXPECT_EQ(EvidenceRecord::read(record.der()), record);
        }
    }
}

TEST_F(EvidenceTreeTest, TheOrderOfAddingMakesNoDifference) {
    std::vector<std::string> data;
    for (int i = 0; i < 100; ++i) {
        data.push_back(std::to_string(i));
    }
    EvidenceTree first(sha512), second(sha512);
    for (const std::string& one : data) {
        first.add(Digest::of(bytes_of(one), sha512));
    }
    std::ranges::shuffle(data, std::mt19937(1));
    for (const std::string& one : data) {
        second.add(Digest::of(bytes_of(one), sha512));
    }
    EXPECT_EQ(first.root(), second.root());
    second.add(Digest::of(bytes_of("one more"), sha512)); // a built tree grows
    EXPECT_NE(first.root(), second.root());
}

TEST_F(EvidenceTreeTest, AGroupIsProvedAsAWholeAndNotInParts) {
    EvidenceTree tree(sha256);
    const std::vector<std::string> group{"one", "two", "three"};
    std::vector<Digest> digests;
    for (const std::string& member : group) {
        digests.push_back(Digest::of(bytes_of(member), sha256));
    }
    tree.add_group(digests);
    tree.add(Digest::of(bytes_of("alone"), sha256));
    const auto record = tree.record(digests, stamp(tree.root()));
    EXPECT_EQ(record.info().stamps[0].lists, (std::vector<std::size_t>{3, 1}));
    const EvidenceVerifier verifier(trust());
    const auto verdict = [&](std::vector<std::size_t> which) {
        std::vector<DataDigests> objects;
        for (const std::size_t i : which) {
            objects.push_back({digests[i]});
        }
        const auto found = verifier.verify(record, objects);
        return found.failure ? found.failure->word() : "";
    };
    EXPECT_EQ(verdict({0, 1, 2}), "");
    EXPECT_EQ(verdict({2, 0, 1}), "");
    EXPECT_EQ(verdict({0, 1}), "not_in_tree");
    EXPECT_EQ(verify(record, "two").remarks.at(0).word, "legacy_layout");
    EXPECT_EQ(fault(record, "alone"), "not_in_tree");
}

TEST_F(EvidenceTreeTest, WhatCannotBeIsRefusedByItsWord) {
    EvidenceTree tree(sha256);
    const Digest digest = Digest::of(bytes_of("data"), sha256);
    EXPECT_WORD("tree_empty", tree.root());
    EXPECT_WORD("digest_malformed", tree.add(Digest::of({}, sha512)));
    EXPECT_WORD("digest_malformed", tree.add(ByteView(digest.value()).first(31)));
    EXPECT_WORD("tree_empty", tree.add_group({}));
    tree.add(digest);
    EXPECT_WORD("not_in_tree", tree.record(Digest::of({}, sha256), stamp(tree.root())));
    EXPECT_WORD("imprint_differs", tree.record(digest, stamp(Digest::of({}, sha256))));
    EXPECT_WORD("not_in_tree", tree.record(std::vector<Digest>{}, stamp(tree.root())));
}

} // namespace
} // namespace chronoseal::testing
