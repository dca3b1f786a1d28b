// Records, trees, renewals and extending through the C interface, from the first hash
// to the verdict, and what a caller gets wrong.
#include <array>
#include <cstring>
#include <fstream>
#include <memory>
#include <thread>

#include <sys/stat.h>

#include <chronoseal/c_interface/testing/caller.h>
#include <chronoseal/seal/testing/evidence_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>

namespace chronoseal::testing {
namespace {

using RecordHandle =
    std::unique_ptr<chronoseal_evidence_record, FreeBy<chronoseal_evidence_record_free>>;
using TreeHandle = std::unique_ptr<chronoseal_evidence_tree, FreeBy<chronoseal_evidence_tree_free>>;
using ListHandle = std::unique_ptr<chronoseal_manifest_tree, FreeBy<chronoseal_manifest_tree_free>>;
using VerifierHandle =
    std::unique_ptr<chronoseal_evidence_verifier, FreeBy<chronoseal_evidence_verifier_free>>;
using VerdictHandle =
    std::unique_ptr<chronoseal_evidence_verdict, FreeBy<chronoseal_evidence_verdict_free>>;

class CEvidenceTest : public EvidenceTest {
protected:
    CEvidenceTest() : root(authority.root_der()), roots{nullptr, root.data(), root.size()} {
        own_trust.size = sizeof own_trust;
        own_trust.roots = &roots;
        own_trust.root_count = 1;
        own_trust.as_of = (*trust().as_of).time_since_epoch().count();
        chronoseal_evidence_verifier* made = nullptr;
        EXPECT_EQ(chronoseal_evidence_verifier_new(&own_trust, &made, &error), CHRONOSEAL_OK);
        verifier.reset(made);
    }
    ~CEvidenceTest() override { chronoseal_error_free(&error); }

    std::string word() const { return chronoseal_error_word(error); }
    std::string why() const { return chronoseal_error_message(error); }

    chronoseal_digest hash(const std::string& data, const char* algorithm = nullptr) {
        chronoseal_digest digest{};
        EXPECT_EQ(chronoseal_hash(algorithm, data.data(), data.size(), &digest, &error),
                  CHRONOSEAL_OK);
        return digest;
    }
    StampHandle stamp_over(const chronoseal_digest& digest, const char* time = "20240601120000Z") {
        const std::string value(reinterpret_cast<const char*>(digest.value), digest.size);
        const bool wide = digest.size == 64;
        const std::string bytes = token(value, time, wide ? kSha512Oid : tsp::kSha256Oid);
        chronoseal_stamp* made = nullptr;
        EXPECT_EQ(chronoseal_stamp_read(bytes.data(), bytes.size(), &made, &error), CHRONOSEAL_OK);
        return StampHandle(made);
    }
    // Of these data, stamped together, that of the first.
    RecordHandle record_of(const std::vector<std::string>& data) {
        chronoseal_evidence_tree* made = nullptr;
        EXPECT_EQ(chronoseal_evidence_tree_new(nullptr, &made, &error), CHRONOSEAL_OK);
        const TreeHandle tree(made);
        for (const std::string& one : data) {
            const auto digest = hash(one);
            EXPECT_EQ(chronoseal_evidence_tree_add(made, &digest, &error), CHRONOSEAL_OK) << why();
        }
        chronoseal_digest top{};
        EXPECT_EQ(chronoseal_evidence_tree_root(made, &top, &error), CHRONOSEAL_OK) << why();
        const auto first = hash(data[0]);
        chronoseal_evidence_record* record = nullptr;
        EXPECT_EQ(chronoseal_evidence_tree_record(made, &first, 1, stamp_over(top).get(), &record,
                                                  &error),
                  CHRONOSEAL_OK)
            << why();
        return RecordHandle(record);
    }
    std::string der_of(const RecordHandle& record) {
        chronoseal_bytes der{};
        EXPECT_EQ(chronoseal_evidence_record_der(record.get(), &der, &error), CHRONOSEAL_OK);
        return {reinterpret_cast<const char*>(der.data), der.size};
    }
    // Of data of which the record is; the word of what is wrong, empty: nothing.
    std::string judge(const RecordHandle& record, const std::string& data) {
        chronoseal_evidence_verdict* made = nullptr;
        const auto status = chronoseal_evidence_verify(verifier.get(), record.get(), data.data(),
                                                       data.size(), &made, &error);
        verdict.reset(made);
        EXPECT_EQ(chronoseal_evidence_verdict_get_info(made, &info, nullptr), CHRONOSEAL_OK);
        EXPECT_EQ(info->good != 0, status == CHRONOSEAL_OK);
        EXPECT_EQ(info->failure == nullptr, status == CHRONOSEAL_OK);
        EXPECT_EQ(word(), chronoseal_error_word(info->failure));
        return word();
    }

    std::string root;
    chronoseal_source roots;
    chronoseal_trust own_trust{};
    VerifierHandle verifier;
    VerdictHandle verdict;
    const chronoseal_evidence_verdict_info* info = nullptr;
    chronoseal_error* error = nullptr;
};

TEST_F(CEvidenceTest, OneStampForManyAndAProofForEach) {
    const auto record = record_of({"data", "second", "third"});
    EXPECT_EQ(judge(record, "data"), "");
    EXPECT_EQ(info->compared, 1);
    EXPECT_EQ(info->has_existed_by, 1);
    const Time stamped =
        std::chrono::sys_days(std::chrono::year(2024) / 6 / 1) + std::chrono::hours(12);
    EXPECT_EQ(info->existed_by, stamped.time_since_epoch().count());
    EXPECT_EQ(info->strength, CHRONOSEAL_EVIDENCE_FRESH);
    EXPECT_STREQ(info->strength_name, "fresh");
    ASSERT_EQ(info->stamp_count, 1U);
    EXPECT_EQ(info->stamps[0]->covered, 0);
    EXPECT_EQ(info->stamps[0]->covered_in_time, 1);
    EXPECT_EQ(info->stamps[0]->has_certificates_end, 1);
    EXPECT_EQ(info->renew_before, info->stamps[0]->certificates_end);
    const chronoseal_verdict_info* of_stamp = nullptr;
    ASSERT_EQ(chronoseal_verdict_get_info(info->stamps[0]->verdict, &of_stamp, &error),
              CHRONOSEAL_OK);
    EXPECT_EQ(of_stamp->good, 1);
    EXPECT_EQ(of_stamp->error, nullptr);
    EXPECT_EQ(judge(record, "other"), "not_in_tree");
    EXPECT_EQ(info->has_existed_by, 0);
    const Time late = std::chrono::sys_days(std::chrono::year(2050) / 6 / 1);
    own_trust.as_of = late.time_since_epoch().count();
    chronoseal_evidence_verifier* made = nullptr;
    ASSERT_EQ(chronoseal_evidence_verifier_new(&own_trust, &made, &error), CHRONOSEAL_OK);
    verifier.reset(made);
    EXPECT_EQ(judge(record, "data"), "");
    EXPECT_EQ(info->strength, CHRONOSEAL_EVIDENCE_AGED);
    EXPECT_STREQ(info->strength_name, "aged");
    EXPECT_EQ(info->stamps[0]->covered_in_time, 0);

    const auto file = folder.write("data", "data").string();
    EXPECT_EQ(chronoseal_evidence_verify_file(verifier.get(), record.get(), file.c_str(), nullptr,
                                              nullptr, &error),
              CHRONOSEAL_OK)
        << why();
    EXPECT_EQ(chronoseal_evidence_verify_record(verifier.get(), record.get(), nullptr, &error),
              CHRONOSEAL_OK)
        << why();
    chronoseal_evidence_verdict* none = verdict.get();
    EXPECT_EQ(chronoseal_evidence_verify_file(verifier.get(), record.get(), "/nowhere/at/all",
                                              nullptr, &none, &error),
              CHRONOSEAL_UNREACHABLE);
    EXPECT_EQ(word(), "file_unreadable");
    EXPECT_EQ(none, nullptr);
}

TEST_F(CEvidenceTest, ARecordIsReadAsItWasStored) {
    const auto record = record_of({"data", "second", "third"});
    const std::string der = der_of(record);
    chronoseal_evidence_record* again = nullptr;
    const auto file = folder.write("x.ers", der).string();
    ASSERT_EQ(chronoseal_evidence_record_read_file(file.c_str(), &again, &error), CHRONOSEAL_OK);
    EXPECT_EQ(der_of(RecordHandle(again)), der);
    const chronoseal_evidence_record_info* held = nullptr;
    ASSERT_EQ(chronoseal_evidence_record_get_info(record.get(), &held, &error), CHRONOSEAL_OK);
    ASSERT_EQ(held->algorithm_count, 1U);
    EXPECT_STREQ(held->algorithms[0]->name, "SHA-256");
    EXPECT_EQ(held->encrypted, 0);
    ASSERT_EQ(held->stamp_count, 1U);
    EXPECT_STREQ(held->stamps[0]->algorithm.oid, tsp::kSha256Oid);
    ASSERT_GE(held->stamps[0]->list_count, 1U);
    EXPECT_EQ(held->stamps[0]->lists[0], 1U);
    chronoseal_stamp* kept = nullptr;
    ASSERT_EQ(chronoseal_stamp_copy(held->stamps[0]->stamp, &kept, &error), CHRONOSEAL_OK);
    const StampHandle stamp(kept);
    chronoseal_evidence_record* plain = nullptr;
    ASSERT_EQ(chronoseal_evidence_record_of_stamp(kept, &plain, &error), CHRONOSEAL_OK);
    const RecordHandle of_stamp(plain);
    ASSERT_EQ(chronoseal_evidence_record_get_info(plain, &held, &error), CHRONOSEAL_OK);
    EXPECT_EQ(held->stamps[0]->list_count, 0U);
    EXPECT_EQ(judge(of_stamp, "data"), "not_in_tree"); // it is over the root alone

    for (std::size_t size = 0; size < der.size(); size += size < 64 ? 1 : 13) {
        const std::unique_ptr<char[]> exact(new char[size]);
        std::memcpy(exact.get(), der.data(), size);
        EXPECT_NE(chronoseal_evidence_record_read(exact.get(), size, &again, &error),
                  CHRONOSEAL_OK);
        EXPECT_EQ(again, nullptr);
    }
    ASSERT_EQ(chronoseal_evidence_record_read("hello", 5, &again, &error), CHRONOSEAL_REFUSED);
    EXPECT_EQ(word(), "not_a_record");
}

TEST_F(CEvidenceTest, AGroupIsProvedWhole) {
    chronoseal_evidence_tree* tree = nullptr;
    ASSERT_EQ(chronoseal_evidence_tree_new("sha256", &tree, &error), CHRONOSEAL_OK);
    const TreeHandle owner(tree);
    const chronoseal_digest group[] = {hash("one"), hash("two")};
    const auto alone = hash("alone");
    chronoseal_digest top{};
    EXPECT_EQ(chronoseal_evidence_tree_root(tree, &top, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "tree_empty");
    ASSERT_EQ(chronoseal_evidence_tree_add_group(tree, group, 2, &error), CHRONOSEAL_OK);
    ASSERT_EQ(chronoseal_evidence_tree_add(tree, &alone, &error), CHRONOSEAL_OK);
    ASSERT_EQ(chronoseal_evidence_tree_add(tree, &alone, &error), CHRONOSEAL_OK);
    std::uint64_t leaves = 0;
    ASSERT_EQ(chronoseal_evidence_tree_size(tree, &leaves, &error), CHRONOSEAL_OK);
    EXPECT_EQ(leaves, 2U);
    const auto wide = hash("wide", "SHA-512");
    EXPECT_EQ(chronoseal_evidence_tree_add(tree, &wide, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "digest_malformed");
    ASSERT_EQ(chronoseal_evidence_tree_root(tree, &top, &error), CHRONOSEAL_OK);
    const auto stamp = stamp_over(top);
    chronoseal_evidence_record* made = nullptr;
    EXPECT_NE(chronoseal_evidence_tree_record(tree, group, 1, stamp.get(), &made, &error),
              CHRONOSEAL_OK);
    EXPECT_EQ(word(), "not_in_tree");
    EXPECT_NE(chronoseal_evidence_tree_record(tree, group, 0, stamp.get(), &made, &error),
              CHRONOSEAL_OK);
    EXPECT_NE(
        chronoseal_evidence_tree_record(tree, &alone, 1, stamp_over(alone).get(), &made, &error),
        CHRONOSEAL_OK);
    EXPECT_EQ(word(), "imprint_differs");
    ASSERT_EQ(chronoseal_evidence_tree_record(tree, group, 2, stamp.get(), &made, &error),
              CHRONOSEAL_OK)
        << why();
    const RecordHandle record(made);
    const auto judged = [&](std::size_t count, std::size_t objects) {
        chronoseal_evidence_verify_digests(verifier.get(), made, group, count, objects, nullptr,
                                           &error);
        return word();
    };
    EXPECT_EQ(judged(2, 2), "");
    EXPECT_EQ(judged(2, 0), "digest_malformed");
    EXPECT_EQ(judged(1, 2), "digest_malformed");
    const chronoseal_digest mixed[] = {group[0], alone};
    EXPECT_EQ(
        chronoseal_evidence_verify_digests(verifier.get(), made, mixed, 2, 2, nullptr, &error),
        CHRONOSEAL_REFUSED);
    EXPECT_EQ(word(), "not_in_tree");
}

// Two trees under a third: what stands above the one makes its records those of the whole.
TEST_F(CEvidenceTest, ATreeUnderALargerOneNeedsTheWayUp) {
    std::array<TreeHandle, 3> trees;
    std::array<chronoseal_digest, 3> roots_of{};
    const std::array<std::vector<std::string>, 2> data = {{{"a", "b"}, {"c"}}};
    for (std::size_t i = 0; i < 3; ++i) {
        chronoseal_evidence_tree* made = nullptr;
        ASSERT_EQ(chronoseal_evidence_tree_new(nullptr, &made, &error), CHRONOSEAL_OK);
        trees.at(i).reset(made);
        EXPECT_EQ(chronoseal_evidence_tree_reserve(made, 2, &error), CHRONOSEAL_OK) << why();
        for (std::size_t leaf = 0; leaf < 2; ++leaf) {
            if (i == 2 || leaf < data.at(i).size()) {
                const auto digest = i == 2 ? roots_of.at(leaf) : hash(data.at(i)[leaf]);
                EXPECT_EQ(chronoseal_evidence_tree_add(made, &digest, &error), CHRONOSEAL_OK);
            }
        }
        ASSERT_EQ(chronoseal_evidence_tree_root(made, &roots_of.at(i), &error), CHRONOSEAL_OK);
    }
    EXPECT_EQ(chronoseal_evidence_tree_reserve(trees[0].get(), ~std::uint64_t{0}, &error),
              CHRONOSEAL_UNREACHABLE);
    EXPECT_EQ(word(), "out_of_memory");

    chronoseal_hash_path* path = nullptr;
    EXPECT_EQ(chronoseal_evidence_tree_path(trees[2].get(), "x", 1, &path, &error),
              CHRONOSEAL_REFUSED);
    EXPECT_EQ(word(), "not_in_tree");
    ASSERT_EQ(chronoseal_evidence_tree_path(trees[2].get(), roots_of[0].value, 32, &path, &error),
              CHRONOSEAL_OK)
        << why();
    const std::unique_ptr<chronoseal_hash_path, FreeBy<chronoseal_hash_path_free>> owner(path);
    const chronoseal_bytes* hashes = nullptr;
    std::size_t count = 0;
    ASSERT_EQ(chronoseal_hash_path_get(path, &hashes, &count, &error), CHRONOSEAL_OK);
    ASSERT_EQ(count, 1U);
    EXPECT_EQ(std::memcmp(hashes[0].data, roots_of[1].value, 32), 0);

    const auto stamp = stamp_over(roots_of[2]);
    const auto object = hash("a");
    chronoseal_evidence_record* made = nullptr;
    EXPECT_EQ(
        chronoseal_evidence_tree_record(trees[0].get(), &object, 1, stamp.get(), &made, &error),
        CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "imprint_differs");
    ASSERT_EQ(chronoseal_evidence_tree_record_below(trees[0].get(), &object, 1, stamp.get(), hashes,
                                                    count, &made, &error),
              CHRONOSEAL_OK)
        << why();
    const RecordHandle record(made);
    EXPECT_EQ(judge(record, "a"), "");
    EXPECT_EQ(judge(record, "b"), "not_in_tree");
    const char* algorithm = nullptr;
    ASSERT_EQ(chronoseal_evidence_record_renewal_algorithm(made, &algorithm, &error),
              CHRONOSEAL_OK);
    EXPECT_STREQ(algorithm, "SHA-256");
}

TEST_F(CEvidenceTest, RecordsAreRenewedByAStampAndByAHash) {
    const auto record = record_of({"data", "second"});
    chronoseal_stamp_renewal* stamps = nullptr;
    ASSERT_EQ(chronoseal_stamp_renewal_new(nullptr, &stamps, &error), CHRONOSEAL_OK);
    chronoseal_digest digest{};
    EXPECT_EQ(chronoseal_stamp_renewal_digest(stamps, &digest, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "tree_empty");
    ASSERT_EQ(chronoseal_stamp_renewal_add(stamps, record.get(), &error), CHRONOSEAL_OK);
    ASSERT_EQ(chronoseal_stamp_renewal_digest(stamps, &digest, &error), CHRONOSEAL_OK);
    chronoseal_evidence_record* made = nullptr;
    EXPECT_EQ(chronoseal_stamp_renewal_renewed(
                  stamps, record.get(), stamp_over(digest, "20230601120000Z").get(), &made, &error),
              CHRONOSEAL_REFUSED);
    EXPECT_EQ(word(), "time_goes_back");
    ASSERT_EQ(chronoseal_stamp_renewal_renewed(
                  stamps, record.get(), stamp_over(digest, "20250601120000Z").get(), &made, &error),
              CHRONOSEAL_OK)
        << why();
    chronoseal_stamp_renewal_free(&stamps);
    const RecordHandle second(made);
    EXPECT_EQ(judge(second, "data"), "");
    EXPECT_EQ(info->strength, CHRONOSEAL_EVIDENCE_RENEWED);
    ASSERT_EQ(info->stamp_count, 2U);
    EXPECT_EQ(info->stamps[0]->covered, 1);
    EXPECT_EQ(info->stamps[0]->covered_by, 1U);
    EXPECT_EQ(info->stamps[0]->covered_in_time, 1);

    chronoseal_hash_renewal* hashes = nullptr;
    ASSERT_EQ(chronoseal_hash_renewal_new("SHA-512", &hashes, &error), CHRONOSEAL_OK);
    const auto narrow = hash("data");
    EXPECT_EQ(chronoseal_hash_renewal_add(hashes, made, &narrow, 1, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "digest_malformed");
    const auto wide = hash("data", "SHA-512");
    ASSERT_EQ(chronoseal_hash_renewal_add(hashes, made, &wide, 1, &error), CHRONOSEAL_OK);
    ASSERT_EQ(chronoseal_hash_renewal_digest(hashes, &digest, &error), CHRONOSEAL_OK);
    ASSERT_EQ(chronoseal_hash_renewal_renewed(hashes, second.get(), &wide, 1,
                                              stamp_over(digest, "20260601120000Z").get(), &made,
                                              &error),
              CHRONOSEAL_OK)
        << why();
    chronoseal_hash_renewal_free(&hashes);
    const RecordHandle third(made);
    EXPECT_EQ(judge(third, "data"), "");
    ASSERT_EQ(info->stamp_count, 3U);
    EXPECT_EQ(info->stamps[2]->chain, 1U);
    EXPECT_EQ(judge(third, "other"), "not_in_tree");
    EXPECT_EQ(chronoseal_evidence_verify_record(verifier.get(), made, nullptr, &error),
              CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "data_needed");

    const char* const* names = nullptr;
    std::size_t count = 0;
    ASSERT_EQ(chronoseal_evidence_record_data_algorithms(made, &names, &count, &error),
              CHRONOSEAL_OK);
    ASSERT_EQ(count, 2U);
    EXPECT_STREQ(names[1], "SHA-512");
    chronoseal_digest both[2] = {};
    const auto file = folder.write("data", "data").string();
    EXPECT_EQ(
        chronoseal_evidence_record_hash_file(made, file.c_str(), nullptr, both, 1, &count, &error),
        CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "buffer_too_small");
    ASSERT_EQ(
        chronoseal_evidence_record_hash_file(made, file.c_str(), nullptr, both, 2, &count, &error),
        CHRONOSEAL_OK);
    EXPECT_EQ(
        chronoseal_evidence_verify_digests(verifier.get(), made, both, count, 1, nullptr, &error),
        CHRONOSEAL_OK)
        << why();
    // A pipe can be read but once.
    const auto pipe = (folder.path() / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::jthread writer([&] { std::ofstream(pipe) << "data"; });
    EXPECT_EQ(chronoseal_evidence_verify_file(verifier.get(), made, pipe.c_str(), nullptr, nullptr,
                                              &error),
              CHRONOSEAL_OK)
        << why();
}

TEST_F(CEvidenceTest, AListAndWhatStandsInIt) {
    const auto list = [&](const std::string& name) {
        return to_hex(to_bytes(hashed("data"))) + "  " + name + "\n" +
               to_hex(to_bytes(hashed("second"))) + "  b\n";
    };
    const auto path = folder.write("list", list("a")).string();
    chronoseal_manifest_tree* tree = nullptr;
    ASSERT_EQ(chronoseal_manifest_tree_new(path.c_str(), nullptr, &tree, &error), CHRONOSEAL_OK);
    const ListHandle owner(tree);
    chronoseal_digest digest{};
    std::uint64_t lines = 0;
    ASSERT_EQ(chronoseal_manifest_tree_get_info(tree, &digest, &lines, &error), CHRONOSEAL_OK);
    EXPECT_EQ(lines, 2U);
    const auto whole = hash(list("a"));
    EXPECT_EQ(std::memcmp(&digest, &whole, sizeof digest), 0);
    ASSERT_EQ(chronoseal_manifest_tree_root(tree, &digest, &error), CHRONOSEAL_OK);
    chronoseal_evidence_record* made = nullptr;
    ASSERT_EQ(chronoseal_manifest_tree_record(tree, stamp_over(digest).get(), &made, &error),
              CHRONOSEAL_OK)
        << why();
    const RecordHandle record(made);
    EXPECT_EQ(judge(record, list("a")), "");
    const auto object = hash("second");
    ASSERT_EQ(chronoseal_manifest_tree_prove(tree, &object, record.get(), &made, &error),
              CHRONOSEAL_OK)
        << why();
    EXPECT_EQ(judge(RecordHandle(made), "second"), "");
    const auto other = hash("other");
    EXPECT_NE(chronoseal_manifest_tree_prove(tree, &other, record.get(), &made, &error),
              CHRONOSEAL_OK);
    EXPECT_EQ(word(), "not_in_manifest");
    folder.write("list", list("c"));
    ASSERT_EQ(chronoseal_manifest_tree_new(path.c_str(), nullptr, &tree, &error), CHRONOSEAL_OK);
    const ListHandle changed(tree);
    EXPECT_NE(chronoseal_manifest_tree_prove(tree, &object, record.get(), &made, &error),
              CHRONOSEAL_OK);
    EXPECT_EQ(word(), "manifest_changed");
    folder.write("list", "hello\n");
    EXPECT_NE(chronoseal_manifest_tree_new(path.c_str(), nullptr, &tree, &error), CHRONOSEAL_OK);
    EXPECT_EQ(word(), "manifest_line");
}

TEST_F(CEvidenceTest, AWholeListIsRenewedByANewOne) {
    const auto path = folder.write("list", to_hex(to_bytes(hashed("data"))) + "  a\n").string();
    const auto wide =
        folder.write("wide", to_hex(to_bytes(hashed("data", EVP_sha512()))) + "  a\n").string();
    chronoseal_manifest_tree* tree = nullptr;
    ASSERT_EQ(chronoseal_manifest_tree_new(path.c_str(), nullptr, &tree, &error), CHRONOSEAL_OK);
    const ListHandle owner(tree);
    chronoseal_digest digest{};
    ASSERT_EQ(chronoseal_manifest_tree_root(tree, &digest, &error), CHRONOSEAL_OK);
    chronoseal_evidence_record* made = nullptr;
    ASSERT_EQ(chronoseal_manifest_tree_record(tree, stamp_over(digest).get(), &made, &error),
              CHRONOSEAL_OK);
    const RecordHandle record(made);
    chronoseal_manifest_renewal* lists = nullptr;
    EXPECT_NE(
        chronoseal_manifest_renewal_new(path.c_str(), made, path.c_str(), nullptr, &lists, &error),
        CHRONOSEAL_OK);
    EXPECT_EQ(word(), "algorithms_differ");
    ASSERT_EQ(
        chronoseal_manifest_renewal_new(path.c_str(), made, wide.c_str(), nullptr, &lists, &error),
        CHRONOSEAL_OK)
        << why();
    ASSERT_EQ(chronoseal_manifest_renewal_digest(lists, &digest, &error), CHRONOSEAL_OK);
    const auto stamp = stamp_over(digest, "20260601120000Z");
    ASSERT_EQ(chronoseal_manifest_renewal_renewed_list(lists, stamp.get(), &made, &error),
              CHRONOSEAL_OK);
    const RecordHandle beside(made);
    ASSERT_EQ(chronoseal_manifest_renewal_renewed(lists, stamp.get(), &made, &error),
              CHRONOSEAL_OK);
    const RecordHandle renewed(made);
    chronoseal_manifest_renewal_free(&lists);
    ASSERT_EQ(chronoseal_manifest_renewal_new(path.c_str(), renewed.get(), wide.c_str(), nullptr,
                                              &lists, &error),
              CHRONOSEAL_OK)
        << why();
    const chronoseal_digest both[] = {hash("data"), hash("data", "SHA-512")};
    ASSERT_EQ(chronoseal_manifest_renewal_prove(lists, both, 2, &made, &error), CHRONOSEAL_OK)
        << why();
    const RecordHandle proof(made);
    EXPECT_EQ(judge(proof, "data"), "");
    EXPECT_EQ(judge(proof, "other"), "not_in_tree");
    EXPECT_NE(chronoseal_manifest_renewal_prove(lists, both, 1, &made, &error), CHRONOSEAL_OK);
    EXPECT_EQ(word(), "data_needed");
    chronoseal_manifest_renewal_free(&lists);
    EXPECT_EQ(lists, nullptr);
}

TEST_F(CEvidenceTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto held = record_of({"data", "second"});
    const auto stamp = stamp_over(hash("data"));
    const auto digest = hash("data");
    chronoseal_evidence_tree* tree = nullptr;
    ASSERT_EQ(chronoseal_evidence_tree_new(nullptr, &tree, &error), CHRONOSEAL_OK);
    const TreeHandle owner(tree);
    chronoseal_stamp_renewal* renewal = nullptr;
    ASSERT_EQ(chronoseal_stamp_renewal_new(nullptr, &renewal, &error), CHRONOSEAL_OK);
    chronoseal_hash_renewal* rehash = nullptr;
    ASSERT_EQ(chronoseal_hash_renewal_new(nullptr, &rehash, &error), CHRONOSEAL_OK);
    chronoseal_evidence_record* out = nullptr;
    chronoseal_evidence_verdict* found = nullptr;
    chronoseal_extension* extension = nullptr;
    chronoseal_manifest_tree* list = nullptr;
    chronoseal_manifest_renewal* lists = nullptr;
    chronoseal_digest place{};
    chronoseal_hash_path* path = nullptr;
    const chronoseal_bytes no_hash{nullptr, 1};
    const chronoseal_bytes* hashes = nullptr;
    std::size_t size = 0;
    std::uint64_t lines = 0;
    const char* name = nullptr;
    const char* const* names = nullptr;
    const auto* r = held.get();
    const auto* v = verifier.get();
    const auto* s = stamp.get();
    expect_argument_missing({
        ROW(chronoseal_evidence_record_read(nullptr, 1, &out, e)),
        ROW(chronoseal_evidence_record_read("", 0, nullptr, e)),
        ROW(chronoseal_evidence_record_read_file(nullptr, &out, e)),
        ROW(chronoseal_evidence_record_of_stamp(nullptr, &out, e)),
        ROW(chronoseal_evidence_record_copy(nullptr, &out, e)),
        ROW(chronoseal_evidence_record_copy(r, nullptr, e)),
        ROW(chronoseal_evidence_record_get_info(r, nullptr, e)),
        ROW(chronoseal_evidence_record_der(r, nullptr, e)),
        ROW(chronoseal_evidence_record_data_algorithms(nullptr, &names, &size, e)),
        ROW(chronoseal_evidence_record_data_algorithms(r, nullptr, &size, e)),
        ROW(chronoseal_evidence_record_data_algorithms(r, &names, nullptr, e)),
        ROW(chronoseal_evidence_record_hash_file(r, nullptr, nullptr, &place, 1, &size, e)),
        ROW(chronoseal_evidence_record_hash_file(r, "/dev/null", nullptr, nullptr, 1, &size, e)),
        ROW(chronoseal_evidence_tree_new(nullptr, nullptr, e)),
        ROW(chronoseal_evidence_tree_add(nullptr, &digest, e)),
        ROW(chronoseal_evidence_tree_add(tree, nullptr, e)),
        ROW(chronoseal_evidence_tree_add_group(tree, nullptr, 1, e)),
        ROW(chronoseal_evidence_tree_size(nullptr, &lines, e)),
        ROW(chronoseal_evidence_tree_root(tree, nullptr, e)),
        ROW(chronoseal_evidence_tree_record(tree, nullptr, 1, s, &out, e)),
        ROW(chronoseal_evidence_tree_record(tree, &digest, 1, nullptr, &out, e)),
        ROW(chronoseal_evidence_tree_record(tree, &digest, 1, s, nullptr, e)),
        ROW(chronoseal_manifest_tree_new(nullptr, nullptr, &list, e)),
        ROW(chronoseal_manifest_tree_get_info(nullptr, &place, &lines, e)),
        ROW(chronoseal_manifest_tree_root(nullptr, &place, e)),
        ROW(chronoseal_manifest_tree_record(nullptr, s, &out, e)),
        ROW(chronoseal_manifest_tree_prove(nullptr, &digest, r, &out, e)),
        ROW(chronoseal_stamp_renewal_add(renewal, nullptr, e)),
        ROW(chronoseal_stamp_renewal_add(nullptr, r, e)),
        ROW(chronoseal_stamp_renewal_renewed(renewal, r, nullptr, &out, e)),
        ROW(chronoseal_stamp_renewal_renewed(renewal, nullptr, s, &out, e)),
        ROW(chronoseal_hash_renewal_add(rehash, r, nullptr, 1, e)),
        ROW(chronoseal_hash_renewal_add(rehash, nullptr, &digest, 1, e)),
        ROW(chronoseal_hash_renewal_renewed(rehash, r, nullptr, 1, s, &out, e)),
        ROW(chronoseal_evidence_verify(nullptr, r, "", 0, &found, e)),
        ROW(chronoseal_evidence_verify(v, nullptr, "", 0, &found, e)),
        ROW(chronoseal_evidence_verify(v, r, nullptr, 1, &found, e)),
        ROW(chronoseal_evidence_verify_file(v, r, nullptr, nullptr, &found, e)),
        ROW(chronoseal_evidence_verify_digests(v, r, nullptr, 1, 1, &found, e)),
        ROW(chronoseal_evidence_verify_record(v, nullptr, &found, e)),
        ROW(chronoseal_evidence_verdict_get_info(nullptr, &info, e)),
        ROW(chronoseal_extend(nullptr, &own_trust, &extension, e)),
        ROW(chronoseal_extend(s, &own_trust, nullptr, e)),
        ROW(chronoseal_evidence_record_renewal_algorithm(r, nullptr, e)),
        ROW(chronoseal_evidence_record_renewal_algorithm(nullptr, &name, e)),
        ROW(chronoseal_evidence_tree_reserve(nullptr, 1, e)),
        ROW(chronoseal_evidence_tree_path(nullptr, "x", 1, &path, e)),
        ROW(chronoseal_evidence_tree_path(tree, nullptr, 1, &path, e)),
        ROW(chronoseal_evidence_tree_path(tree, "x", 1, nullptr, e)),
        ROW(chronoseal_evidence_tree_record_below(tree, &digest, 1, s, nullptr, 1, &out, e)),
        ROW(chronoseal_evidence_tree_record_below(tree, &digest, 1, s, &no_hash, 1, &out, e)),
        ROW(chronoseal_manifest_tree_record_below(nullptr, s, nullptr, 0, &out, e)),
        ROW(chronoseal_hash_path_get(nullptr, &hashes, &size, e)),
        ROW(chronoseal_extend_record(nullptr, &own_trust, nullptr, &out, &extension, e)),
        ROW(chronoseal_extend_record(r, &own_trust, nullptr, nullptr, &extension, e)),
        ROW(chronoseal_extend_record(r, &own_trust, nullptr, &out, nullptr, e)),
        ROW(chronoseal_manifest_renewal_new(nullptr, r, "x", nullptr, &lists, e)),
        ROW(chronoseal_manifest_renewal_new("x", nullptr, "x", nullptr, &lists, e)),
        ROW(chronoseal_manifest_renewal_new("x", r, nullptr, nullptr, &lists, e)),
        ROW(chronoseal_manifest_renewal_new("x", r, "x", nullptr, nullptr, e)),
        ROW(chronoseal_manifest_renewal_digest(nullptr, &place, e)),
        ROW(chronoseal_manifest_renewal_renewed(nullptr, s, &out, e)),
        ROW(chronoseal_manifest_renewal_renewed_list(nullptr, s, &out, e)),
        ROW(chronoseal_manifest_renewal_prove(nullptr, &digest, 1, &out, e)),
    });
    chronoseal_hash_path_free(nullptr);
    chronoseal_stamp_renewal_free(&renewal);
    chronoseal_hash_renewal_free(&rehash);
    chronoseal_evidence_record_free(nullptr);
    chronoseal_evidence_tree_free(nullptr);
    chronoseal_manifest_tree_free(nullptr);
    chronoseal_stamp_renewal_free(nullptr);
    chronoseal_hash_renewal_free(nullptr);
    chronoseal_manifest_renewal_free(nullptr);
    chronoseal_evidence_verifier_free(nullptr);
    chronoseal_evidence_verdict_free(nullptr);
    chronoseal_extension_free(nullptr);
}

// The list was made after the stamp, and comes from the caller: nobody is asked.
TEST_F(CEvidenceTest, AnExtendedStampHoldsWhatItIsJudgedBy) {
    const tsp::Authority by("20200101000000Z", "20291231000000Z", "http://127.0.0.1:1/x.crl");
    const std::string list = list_by(by, "", -1, "20240602000000Z", "20240609000000Z");
    const std::string anchor = by.root_der();
    const std::string bytes = by.token(tsp::TstInfo().encode());
    const chronoseal_source anchors{nullptr, anchor.data(), anchor.size()};
    const chronoseal_source lists{nullptr, list.data(), list.size()};
    chronoseal_trust given{};
    given.size = sizeof given;
    given.roots = &anchors;
    given.root_count = 1;
    given.evidence = &lists;
    given.evidence_count = 1;
    given.revocation = CHRONOSEAL_REVOCATION_REQUIRE;
    const Time judged = std::chrono::sys_days(std::chrono::year(2024) / 6 / 3);
    given.as_of = judged.time_since_epoch().count();
    given.offline = 1;
    chronoseal_stamp* stamp = nullptr;
    ASSERT_EQ(chronoseal_stamp_read(bytes.data(), bytes.size(), &stamp, &error), CHRONOSEAL_OK);
    const StampHandle owner(stamp);
    chronoseal_extension* extension = nullptr;
    ASSERT_EQ(chronoseal_extend(stamp, &given, &extension, &error), CHRONOSEAL_OK) << why();
    const std::unique_ptr<chronoseal_extension, FreeBy<chronoseal_extension_free>> kept(extension);
    const chronoseal_extension_info* put = nullptr;
    ASSERT_EQ(chronoseal_extension_get_info(extension, &put, &error), CHRONOSEAL_OK);
    EXPECT_EQ(put->changed, 1);
    EXPECT_EQ(put->certificates, 1U);
    EXPECT_EQ(put->revocation_lists, 1U);
    EXPECT_EQ(put->ocsp_answers, 0U);
    EXPECT_EQ(put->remark_count, 0U);
    const chronoseal_verdict_info* good = nullptr;
    ASSERT_EQ(chronoseal_verdict_get_info(put->verdict, &good, &error), CHRONOSEAL_OK);
    EXPECT_EQ(good->good, 1);

    given.evidence_count = 0;
    chronoseal_verifier* alone = nullptr;
    ASSERT_EQ(chronoseal_verifier_new(&given, &alone, &error), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_verify(alone, stamp, "data", 4, nullptr, &error), CHRONOSEAL_UNREACHABLE);
    EXPECT_EQ(chronoseal_verify(alone, put->stamp, "data", 4, nullptr, &error), CHRONOSEAL_OK)
        << why();
    chronoseal_verifier_free(&alone);

    given.evidence_count = 1;
    chronoseal_evidence_record* made = nullptr;
    ASSERT_EQ(chronoseal_evidence_record_of_stamp(stamp, &made, &error), CHRONOSEAL_OK);
    const RecordHandle record(made);
    chronoseal_extension* last = nullptr;
    const std::size_t second = 1;
    EXPECT_EQ(chronoseal_extend_record(record.get(), &given, &second, &made, &last, &error),
              CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "stamp_missing");
    ASSERT_EQ(chronoseal_extend_record(record.get(), &given, nullptr, &made, &last, &error),
              CHRONOSEAL_OK)
        << why();
    const RecordHandle extended(made);
    chronoseal_extension_free(&last);
    EXPECT_GT(der_of(extended).size(), der_of(record).size() + list.size());
    given.revocation = CHRONOSEAL_REVOCATION_OFF;
    chronoseal_extension* none = nullptr;
    EXPECT_EQ(chronoseal_extend(stamp, &given, &none, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "revocation_off");
    EXPECT_EQ(none, nullptr);
}

} // namespace
} // namespace chronoseal::testing
