// Lists of hashes as people have them, and the records of their lines.
#include <numeric>

#include <chronoseal/seal/testing/evidence_fixture.h>

namespace chronoseal::testing {
namespace {

struct Read {
    std::vector<std::string> names;
    std::vector<std::string> digests;
    std::string word, text;
    std::optional<ManifestInfo> info;
};

// Fed in pieces of this size.
Read read_list(const std::string& list, std::size_t piece = 1000) {
    Read result;
    try {
        ManifestReader reader([&](const ManifestLine& line) {
            result.names.emplace_back(line.name);
            result.digests.push_back(to_hex(line.digest));
        });
        for (std::size_t at = 0; at < list.size(); at += piece) {
            reader.feed(bytes_of(std::string_view(list).substr(at, piece)));
        }
        result.info = reader.finish();
    } catch (const Error& error) {
        result.word = error.word();
        result.text = error.text();
    }
    return result;
}

const std::string a(64, 'a'), b = "B" + std::string(63, '0');
const std::string b_small = "b" + std::string(63, '0');
const std::string wide(128, 'c');

using Names = std::vector<std::string>;

TEST(ManifestReader, ReadsTheListsThatPeopleHave) {
    const std::pair<std::string, Names> rows[] = {
        {a + "  x\n" + b + "  y z\n", {"x", "y z"}},
        {a + " *x\n" + b + " *y\n", {"x", "y"}},
        {a + "  x\n" + b + "  y", {"x", "y"}},       // without a last line end
        {a + "  x\r\n" + b + "  y\r\n", {"x", "y"}}, //
        {a + "   x\n" + b + "  *y\n", {" x", "*y"}}, // blanks and stars of the names
        {"\\" + a + "  x\\ny\\\\z\\r\n" + b + "  y\\n\n", {"x\ny\\z\r", "y\\n"}},
        {a + "  x\ny" + '\0' + b + "  \\z" + '\0', {"x\ny", "\\z"}}, // -z
        {"SHA256 (x) = " + a + "\nSHA256 (y) = (z) = " + b + "\n", {"x", "y) = (z"}},
        {"\\SHA256 (x\\n) = " + a + "\n" + b + "  y\n", {"x\n", "y"}},
        {"# made by a script\n" + a + "  x\n#\n" + b + "  y\n", {"x", "y"}},
        {a + "  \xff\xfe\n" + b + "  \xd0\xbf\n", {"\xff\xfe", "\xd0\xbf"}},
    };
    for (const auto& [list, names] : rows) {
        for (const std::size_t piece : {1U, 7U, 64U, 100000U}) {
            const Read read = read_list(list, piece);
            EXPECT_EQ(read.names, names) << list << read.text;
            EXPECT_EQ(read.digests, (Names{a, b_small}));
            ASSERT_TRUE(read.info);
            EXPECT_EQ(read.info->lines, 2U);
            EXPECT_EQ(to_text(read.info->digest.value()), hashed(list));
        }
    }
    const Read sha512 = read_list(wide + "  x\n");
    EXPECT_EQ(sha512.info->algorithm.name(), "SHA-512");
    EXPECT_EQ(to_text(sha512.info->digest.value()), hashed(wide + "  x\n", EVP_sha512()));
    EXPECT_EQ(read_list(std::string(96, '0') + "  x\n").info->algorithm.name(), "SHA-384");
    EXPECT_EQ(read_list("SHA512 (x) = " + wide + "\n").info->algorithm.name(), "SHA-512");
}

TEST(ManifestReader, NamesTheLineThatCannotBeRead) {
    const std::string good = a + "  x\n";
    const std::tuple<std::string, const char*, const char*> rows[] = {
        {"", "manifest_empty", "no line"},
        {"# nothing\n", "manifest_empty", "no line"},
        {"\n", "manifest_line", "line 1 "},
        {good + "\n" + good, "manifest_line", "line 2 "},
        {good + good + "hello\n", "manifest_line", "line 3 "},
        {good + a + "\n", "manifest_line", "line 2 "},
        {good + a + "  \n", "manifest_line", "line 2 "},
        {good + a + " x\n", "manifest_line", "line 2 "},
        {good + a + "x  x\n", "manifest_line", "line 2 "},
        {good + a.substr(1) + "  x\n", "manifest_line", "63 hexadecimal digits"},
        {good + a + "0  x\n", "manifest_line", "65 hexadecimal digits"},
        {good + a.substr(1) + "g  x\n", "manifest_line", "line 2 "},
        {good + "SHA256 (x) = " + a.substr(1) + "\n", "manifest_line", "line 2 "},
        {good + "SHA256 () = " + a + "\n", "manifest_line", "line 2 "},
        {good + "SHA256 (x) = " + wide + "\n", "manifest_line", "line 2 "},
        {good + "\\" + a + "  x\\t\n", "manifest_line", "line 2 "},
        {good + "\\" + a + "  x\\\n", "manifest_line", "line 2 "},
        {good + a + "  " + std::string(70000, 'n') + "\n", "manifest_line", "line 2 "},
        {std::string(3 << 20, '#'), "manifest_line", "line 1 "},
        {good + wide + "  y\n", "manifest_mixed", "line 2 "},
        {"SHA512 (x) = " + wide + "\n" + good, "manifest_mixed", "line 2 "},
        {std::string(32, '0') + "  x\n", "manifest_hash", "MD5"},
        {std::string(40, '0') + "  x\n", "manifest_hash", "SHA-1"},
        {good + std::string(56, '0') + "  x\n", "manifest_hash", "SHA-224"},
        {"MD5 (x) = " + std::string(32, '0') + "\n", "manifest_hash", "MD5"},
        {"BLAKE2b (x) = " + wide + "\n", "manifest_hash", "BLAKE2b"},
        {"BLAKE2b-256 (x) = " + a + "\n", "manifest_hash", "BLAKE2b"},
        {"SHA1 (x) = " + std::string(40, '0') + "\n", "manifest_hash", "SHA-1"},
    };
    for (const auto& [list, word, part] : rows) {
        const Read read = read_list(list);
        EXPECT_EQ(read.word, word) << list.substr(0, 200);
        EXPECT_NE(read.text.find(part), std::string::npos) << read.text;
    }
}

TEST(ManifestReader, ALineThatIsWrittenIsReadAsItWas) {
    const Digest digest = Digest::of({}, HashAlgorithm::by_name("sha256"));
    for (const std::string name : {"a", " a", "*a", "a\nb", "a\\b", "\\", "a\rb", "\xff", "#"}) {
        EXPECT_EQ(read_list(manifest_line(digest, name)).names, Names{name});
    }
}

class ManifestTreeTest : public EvidenceTest {
protected:
    // A list of "data 0", "data 1", ...
    static std::string list_of(int first, int last) {
        std::string list;
        for (int i = first; i < last; ++i) {
            list += manifest_line(
                Digest::of(bytes_of("data " + std::to_string(i)), HashAlgorithm::by_name("sha256")),
                "name " + std::to_string(i));
        }
        return list;
    }
    Digest digest(const std::string& data) const { return Digest::of(bytes_of(data), sha256); }
};

TEST_F(ManifestTreeTest, EveryLineIsProvedAfterRenewalsToo) {
    const std::string list = list_of(0, 7) + list_of(2, 3) + manifest_line(digest(""), "empty");
    const auto path = folder.write("sums", list);
    ManifestTree tree(path);
    EXPECT_EQ(tree.info().lines, 9U);
    EvidenceRecord record = tree.record(stamp(tree.root()));
    EXPECT_EQ(fault(record, list), "");
    for (int round = 0; round < 3; ++round) {
        for (const std::string data : {"data 0", "data 2", "data 6", ""}) {
            const auto proof = ManifestTree(path).prove(digest(data), record);
            EXPECT_EQ(fault(proof, data), "") << data;
            EXPECT_EQ(fault(proof, "data 7"), "not_in_tree");
            EXPECT_EQ(proof.info().stamps.size(), record.info().stamps.size());
        }
        StampRenewal renewal(sha256);
        renewal.add(record);
        record = renewal.renewed(record, stamp(renewal.digest(), "20260601120000Z"));
    }
    EXPECT_WORD("not_in_manifest", tree.prove(digest("data 7"), record));
    EXPECT_WORD("not_in_manifest", tree.prove(digest(list), record));
    // Two digests side by side are a node's data; the standard doesn't tell them from a file's.
    const Bytes one = digest("data 0").value(), two = digest("data 1").value();
    const std::string node = to_text(one < two ? one : two) + to_text(one < two ? two : one);
    EXPECT_WORD("not_in_manifest", tree.prove(digest(node), record));
}

TEST_F(ManifestTreeTest, AListMayBeShortStandInAnotherAndNameItself) {
    const std::string one = manifest_line(digest("only"), "only");
    const std::string odd = manifest_line(digest("as it once was"), "outer") + "#\n";
    const std::string outer = odd + manifest_line(digest(one), "one") + odd;
    for (const auto& [list, data] : {std::pair(one, std::string("only")), std::pair(outer, one),
                                     std::pair(outer, std::string("as it once was"))}) {
        ManifestTree tree(folder.write("outer", list));
        const auto record = tree.record(stamp(tree.root()));
        EXPECT_EQ(fault(record, list), "");
        EXPECT_EQ(fault(tree.prove(digest(data), record), data), "");
        const Digest itself = digest(list);
        EXPECT_WORD("not_in_manifest", tree.prove(itself, record));
    }
}

TEST_F(ManifestTreeTest, ListsUnderOneStampAreProvedEachByItsOwn) {
    EvidenceTree top(sha256);
    std::vector<ManifestTree> trees;
    const std::string lists[] = {list_of(0, 5), list_of(3, 4), list_of(0, 0) + list_of(9, 12)};
    for (const std::string& list : lists) {
        trees.emplace_back(folder.write("list " + std::to_string(trees.size()), list));
        top.add(trees.back().root());
    }
    const Stamp over = stamp(top.root());
    const int inside[] = {4, 3, 11};
    for (std::size_t i = 0; i < trees.size(); ++i) {
        const auto record = trees[i].record(over, top.path(trees[i].root().value()));
        EXPECT_EQ(fault(record, lists[i]), "");
        const std::string data = "data " + std::to_string(inside[i]);
        EXPECT_EQ(fault(trees[i].prove(digest(data), record), data), "");
        EXPECT_WORD("manifest_changed", trees[(i + 1) % 3].prove(digest("data 4"), record));
    }
}

TEST_F(ManifestTreeTest, AListThatWasChangedOrStampedAloneProvesNoLine) {
    const std::string list = list_of(0, 4);
    const auto path = folder.write("sums", list);
    ManifestTree tree(path);
    const auto record = tree.record(stamp(tree.root()));
    for (const std::string& changed :
         {list_of(0, 5), list_of(1, 4) + list_of(0, 1), list + "#\n"}) {
        ManifestTree other(folder.write("other", changed));
        EXPECT_WORD("manifest_changed", other.prove(digest("data 1"), record));
    }
    const auto alone = EvidenceRecord::of_stamp(stamp(digest(list)));
    EXPECT_WORD("manifest_changed", tree.prove(digest("data 1"), alone));
    EvidenceTree single(sha256);
    single.add(digest(list));
    single.add(digest("something else"));
    const auto without = single.record(digest(list), stamp(single.root()));
    EXPECT_WORD("manifest_unproved", tree.prove(digest("data 1"), without));
    HashRenewal renewal(sha512);
    const std::vector wide_digest{Digest::of(bytes_of(list), sha512)};
    renewal.add(record, wide_digest);
    const auto rehashed = renewal.renewed(record, wide_digest, stamp(renewal.digest()));
    EXPECT_EQ(fault(rehashed, list), "");
    EXPECT_WORD("manifest_rehashed", tree.prove(digest("data 1"), rehashed));
}

TEST_F(ManifestTreeTest, AnUnreadableListIsNamed) {
    EXPECT_WORD("file_unreadable", ManifestTree(folder.path() / "none"));
    const auto path = folder.write("sums", "hello\n");
    try {
        read_manifest(path);
        FAIL();
    } catch (const Error& error) {
        EXPECT_NE(error.text().find("sums: line 1 "), std::string::npos) << error.text();
    }
}

} // namespace
} // namespace chronoseal::testing
