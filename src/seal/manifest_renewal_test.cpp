// Whole lists renewed by a new hash of their files, which is brought in another list.
#include <chronoseal/seal/testing/evidence_fixture.h>

namespace chronoseal::testing {
namespace {

struct Row {
    std::string name, data;
};
using Rows = std::vector<Row>;

class ManifestRenewalTest : public EvidenceTest {
protected:
    static std::string list_of(const Rows& rows, const HashAlgorithm& algorithm) {
        std::string list;
        for (const Row& row : rows) {
            list += manifest_line(Digest::of(bytes_of(row.data), algorithm), row.name);
        }
        return list;
    }

    // The list's record, under a stamp.
    EvidenceRecord stamped(const std::string& list) {
        old_list = folder.write("sums", list);
        ManifestTree tree(old_list);
        return tree.record(stamp(tree.root()));
    }

    ManifestRenewal renewal(const EvidenceRecord& record, const std::string& list) {
        new_list = folder.write("new", list);
        return ManifestRenewal(old_list, record, new_list);
    }

    DataDigests by_both(const std::string& data) const {
        return {Digest::of(bytes_of(data), sha256), Digest::of(bytes_of(data), sha512)};
    }

    EvidenceRecord by_stamp(const EvidenceRecord& record, const char* time) const {
        StampRenewal next(record.renewal_algorithm());
        next.add(record);
        return next.renewed(record, stamp(next.digest(), time));
    }

    // Two files are equal, one is empty, and a name has to be escaped.
    const Rows rows{{"a", "data a"}, {"b/c", "data c"},    {"equal", "data a"},
                    {"empty", ""},   {"odd\nname", "odd"}, {"last", "data z"}};
    std::filesystem::path old_list, new_list;
};

TEST_F(ManifestRenewalTest, EveryFileIsProvedByBothHashes) {
    const std::string old_text = list_of(rows, sha256);
    const Rows reversed(rows.rbegin(), rows.rend()); // the order of lines doesn't matter
    const std::string new_text = list_of(reversed, sha512);
    const auto record = by_stamp(stamped(old_text), "20250601120000Z");
    auto lists = renewal(record, new_text);
    EXPECT_EQ(lists.info().lines, rows.size());
    EXPECT_EQ(lists.renewed_info().algorithm, sha512);
    EXPECT_WORD("manifest_changed", lists.prove(by_both(""))); // not yet renewed
    const Stamp over = stamp(lists.digest(), "20260601120000Z");
    auto renewed = lists.renewed(over);
    EXPECT_EQ(fault(renewed, old_text), "");
    EXPECT_EQ(fault(renewed, old_text + "#\n"), "not_in_tree");
    EXPECT_EQ(fault(lists.renewed_list(over), new_text), "");
    for (int round = 0; round < 2; ++round) {
        ManifestRenewal after(old_list, renewed, new_list);
        for (const Row& row : rows) {
            const auto proof = after.prove(by_both(row.data));
            const auto verdict = verify(proof, row.data);
            ASSERT_TRUE(verdict.good()) << row.name << ": " << verdict.failure->what();
            EXPECT_EQ(verdict.strength, EvidenceStrength::renewed);
            EXPECT_EQ(proof.info().stamps.size(), renewed.info().stamps.size());
            EXPECT_EQ(utc_text(*verdict.existed_by), "2024-06-01T12:00:00Z");
            EXPECT_EQ(fault(proof, row.data + "x"), "not_in_tree");
        }
        EXPECT_WORD("not_in_manifest", after.prove(by_both("no line")));
        EXPECT_WORD("not_in_manifest", after.prove(by_both(old_text)));
        EXPECT_WORD("data_needed", after.prove({by_both("")[0]}));
        EXPECT_WORD("not_in_manifest", after.prove({by_both("")[0], by_both("odd")[1]}));
        EXPECT_WORD("manifest_rehashed", after.renewed(over));
        renewed = by_stamp(renewed, "20280601120000Z");
    }
    EXPECT_WORD("manifest_rehashed", ManifestTree(old_list).prove(by_both("")[0], renewed));
}

// Each line of both lists has its partner, by name; what hasn't is told by name and number.
TEST_F(ManifestRenewalTest, ListsThatDoNotMatchAreRefusedByLine) {
    Rows missing = rows, surplus = rows, renamed = rows, changed = rows, repeated = rows;
    missing.erase(missing.begin() + 3);
    surplus.insert(surplus.begin() + 1, {"more", "data"});
    renamed[1].name = "b\\c";
    changed[2].data = "no longer equal";
    repeated.push_back({"a", "something else"});
    Rows same_again = rows;
    same_again.push_back(rows[0]);
    struct Case {
        const char* name;
        std::string list, word;
        std::vector<const char*> parts;
    };
    const Case cases[] = {
        {"as it is", list_of(rows, sha512), "", {}},
        {"a line twice", list_of(same_again, sha512), "", {}},
        {"one is missing", list_of(missing, sha512), "manifest_line_missing", {"empty", "line 4"}},
        {"one is too many", list_of(surplus, sha512), "manifest_line_surplus", {"more", "line 2"}},
        {"another name", list_of(renamed, sha512), "manifest_line_missing", {"b/c", "line 2"}},
        {"a name with two hashes",
         list_of(repeated, sha512),
         "manifest_line_repeated",
         {"lines 1 and 7", "same name, a"}},
        {"equal files that differ now",
         list_of(changed, sha512),
         "manifest_contradicts",
         {"lines 1 and 3"}},
        {"the same hash", list_of(rows, sha256), "algorithms_differ", {"SHA-256"}},
        {"a line that can't be read", list_of(rows, sha512) + "x\n", "manifest_line", {"line 7"}},
        {"no list", "", "manifest_empty", {}},
    };
    const auto record = stamped(list_of(rows, sha256));
    for (const Case& one : cases) {
        std::string word, text;
        try {
            renewal(record, one.list);
        } catch (const Error& error) {
            word = error.word();
            text = error.text();
        }
        EXPECT_EQ(word, one.word) << one.name << ": " << text;
        for (const char* part : one.parts) {
            EXPECT_NE(text.find(part), std::string::npos) << one.name << ": " << text;
        }
    }
    const auto contradicting = stamped(list_of(repeated, sha256));
    EXPECT_WORD("manifest_line_repeated", renewal(contradicting, list_of(rows, sha512)));
}

TEST_F(ManifestRenewalTest, ARecordOfSomethingElseIsRefused) {
    const std::string text = list_of(rows, sha256), wide = list_of(rows, sha512);
    const auto record = stamped(text);
    auto lists = renewal(record, wide);
    const auto renewed = lists.renewed(stamp(lists.digest(), "20260601120000Z"));
    EXPECT_WORD("time_goes_back", lists.renewed(stamp(lists.digest(), "20230601120000Z")));
    EXPECT_WORD("imprint_differs", lists.renewed(stamp(Digest::of({}, sha512))));
    // The same files in another list of new hashes: its own octets are under the stamp, too.
    auto other = renewal(renewed, wide + "#\n");
    EXPECT_WORD("manifest_changed", other.prove(by_both("")));
    const auto sha384 = HashAlgorithm::by_name("sha384");
    EXPECT_WORD("algorithms_differ", renewal(renewed, list_of(rows, sha384)));
    HashRenewal third(sha384);
    const std::vector objects{Digest::of(bytes_of(text), sha384)};
    third.add(renewed, objects);
    const auto twice = third.renewed(renewed, objects, stamp(third.digest(), "20270601120000Z"));
    EXPECT_WORD("manifest_rehashed", renewal(twice, wide));
    // Renewed by a new hash of the list alone, whose files nobody hashed.
    HashRenewal alone(sha512);
    const std::vector own{Digest::of(bytes_of(text), sha512)};
    alone.add(record, own);
    const auto without = alone.renewed(record, own, stamp(alone.digest(), "20260601120000Z"));
    EXPECT_WORD("manifest_changed", renewal(without, wide).prove(by_both("")));
    EvidenceTree single(sha256);
    single.add(Digest::of(bytes_of(text), sha256));
    single.add(Digest::of({}, sha256));
    const auto as_file = single.record(Digest::of(bytes_of(text), sha256), stamp(single.root()));
    EXPECT_WORD("manifest_unproved", renewal(as_file, wide));
    folder.write("sums", text + "#\n");
    EXPECT_WORD("manifest_changed", ManifestRenewal(old_list, record, folder.write("new", wide)));
}

} // namespace
} // namespace chronoseal::testing
