// Records, trees, renewals and extending through the C interface, from the first hash
// to the verdict, and what a caller gets wrong.
#include <fstream>
#include <thread>

#include <sys/stat.h>

#include <chronoseal/c_interface/testing/caller.h>
#include <chronoseal/seal/testing/evidence_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>

namespace chronoseal::testing {
namespace {

using CRecord = Handle<chronoseal_evidence_record>;

class CEvidenceTest : public EvidenceTest, public Caller {
protected:
    CEvidenceTest() : root(authority.root_der()), roots(source_of(root)) {
        own_trust.as_of = (*trust().as_of).time_since_epoch().count();
        verifier = made<chronoseal_evidence_verifier_new>(own_trust);
    }

    Handle<chronoseal_stamp> stamp_over(const chronoseal_digest& digest,
                                        const char* time = "20240601120000Z") {
        const char* const oid = digest.size == 64 ? kSha512Oid : tsp::kSha256Oid;
        return made<chronoseal_stamp_read>(token(text_of(digest), time, oid));
    }
    // Of these data, stamped together, that of the first.
    CRecord record_of(const std::vector<std::string>& data) {
        const auto tree = made<chronoseal_evidence_tree_new>(nullptr);
        for (const std::string& one : data) {
            done<chronoseal_evidence_tree_add>(tree, hash(one));
        }
        const auto stamp = stamp_over(given<chronoseal_evidence_tree_root>(tree));
        return made<chronoseal_evidence_tree_record>(tree, hash(data[0]), 1, stamp);
    }
    std::string der_of(const CRecord& record) {
        return text_of(given<chronoseal_evidence_record_der>(record));
    }
    // Of data of which the record is; the word of what is wrong, empty: nothing.
    std::string judge(const CRecord& record, const std::string& data) {
        chronoseal_evidence_verdict* found = nullptr;
        const auto told = says<chronoseal_evidence_verify>(verifier, record, data, &found);
        verdict.reset(found);
        EXPECT_EQ(chronoseal_evidence_verdict_get_info(found, &info, nullptr), CHRONOSEAL_OK);
        EXPECT_EQ(info->good != 0, told.empty());
        EXPECT_EQ(info->failure == nullptr, told.empty());
        EXPECT_EQ(word(), chronoseal_error_word(info->failure));
        return word();
    }

    std::string root;
    chronoseal_source roots;
    chronoseal_trust own_trust = trust_in(roots);
    Handle<chronoseal_evidence_verifier> verifier;
    Handle<chronoseal_evidence_verdict> verdict;
    const chronoseal_evidence_verdict_info* info = nullptr;
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
    const auto* of_stamp = given<chronoseal_verdict_get_info>(info->stamps[0]->verdict);
    EXPECT_EQ(of_stamp->good, 1);
    EXPECT_EQ(of_stamp->error, nullptr);
    EXPECT_EQ(judge(record, "other"), "not_in_tree");
    EXPECT_EQ(info->has_existed_by, 0);
    const Time late = std::chrono::sys_days(std::chrono::year(2050) / 6 / 1);
    own_trust.as_of = late.time_since_epoch().count();
    verifier = made<chronoseal_evidence_verifier_new>(own_trust);
    EXPECT_EQ(judge(record, "data"), "");
    EXPECT_EQ(info->strength, CHRONOSEAL_EVIDENCE_AGED);
    EXPECT_STREQ(info->strength_name, "aged");
    EXPECT_EQ(info->stamps[0]->covered_in_time, 0);

    const auto file = folder.write("data", "data");
    EXPECT_EQ(says<chronoseal_evidence_verify_file>(verifier, record, file, nullptr, nullptr), "");
    EXPECT_EQ(says<chronoseal_evidence_verify_record>(verifier, record, nullptr), "");
    EXPECT_EQ(
        failure<chronoseal_evidence_verify_file>(verifier, record, "/nowhere/at/all", nullptr),
        "unreachable: file_unreadable");
}

TEST_F(CEvidenceTest, ARecordIsReadAsItWasStored) {
    const auto record = record_of({"data", "second", "third"});
    const std::string der = der_of(record);
    const auto file = folder.write("x.ers", der);
    EXPECT_EQ(der_of(made<chronoseal_evidence_record_read_file>(file)), der);
    const auto* held = given<chronoseal_evidence_record_get_info>(record);
    ASSERT_EQ(held->algorithm_count, 1U);
    EXPECT_STREQ(held->algorithms[0]->name, "SHA-256");
    EXPECT_EQ(held->encrypted, 0);
    ASSERT_EQ(held->stamp_count, 1U);
    EXPECT_STREQ(held->stamps[0]->algorithm.oid, tsp::kSha256Oid);
    ASSERT_GE(held->stamps[0]->list_count, 1U);
    EXPECT_EQ(held->stamps[0]->lists[0], 1U);
    const auto stamp = made<chronoseal_stamp_copy>(held->stamps[0]->stamp);
    const auto of_stamp = made<chronoseal_evidence_record_of_stamp>(stamp);
    held = given<chronoseal_evidence_record_get_info>(of_stamp);
    EXPECT_EQ(held->stamps[0]->list_count, 0U);
    EXPECT_EQ(judge(of_stamp, "data"), "not_in_tree"); // it is over the root alone

    for (std::size_t size = 0; size < der.size(); size += size < 64 ? 1 : 13) {
        const std::unique_ptr<char[]> exact(new char[size]);
        std::memcpy(exact.get(), der.data(), size);
        EXPECT_NE(failure<chronoseal_evidence_record_read>(exact.get(), size), "");
    }
    EXPECT_EQ(failure<chronoseal_evidence_record_read>("hello", 5), "refused: not_a_record");
}

TEST_F(CEvidenceTest, AGroupIsProvedWhole) {
    const auto tree = made<chronoseal_evidence_tree_new>("sha256");
    const chronoseal_digest group[] = {hash("one"), hash("two")};
    const auto alone = hash("alone");
    EXPECT_EQ(failure<chronoseal_evidence_tree_root>(tree), "misuse: tree_empty");
    done<chronoseal_evidence_tree_add_group>(tree, group, 2);
    done<chronoseal_evidence_tree_add>(tree, alone);
    done<chronoseal_evidence_tree_add>(tree, alone);
    EXPECT_EQ(given<chronoseal_evidence_tree_size>(tree), 2U);
    EXPECT_EQ(says<chronoseal_evidence_tree_add>(tree, hash("wide", "SHA-512")),
              "misuse: digest_malformed");
    const auto stamp = stamp_over(given<chronoseal_evidence_tree_root>(tree));
    const auto refusal = [&](const chronoseal_digest* objects, std::size_t count,
                             const Handle<chronoseal_stamp>& over) {
        return failure<chronoseal_evidence_tree_record>(tree, objects, count, over);
    };
    EXPECT_EQ(refusal(group, 1, stamp), "refused: not_in_tree");
    EXPECT_EQ(refusal(group, 0, stamp), "refused: not_in_tree");
    EXPECT_EQ(refusal(&alone, 1, stamp_over(alone)), "misuse: imprint_differs");
    const auto record = made<chronoseal_evidence_tree_record>(tree, group, 2, stamp);
    const auto judged = [&](const chronoseal_digest* objects, std::size_t count,
                            std::size_t number) {
        return says<chronoseal_evidence_verify_digests>(verifier, record, objects, count, number,
                                                        nullptr);
    };
    EXPECT_EQ(judged(group, 2, 2), "");
    EXPECT_EQ(judged(group, 2, 0), "misuse: digest_malformed");
    EXPECT_EQ(judged(group, 1, 2), "misuse: digest_malformed");
    const chronoseal_digest mixed[] = {group[0], alone};
    EXPECT_EQ(judged(mixed, 2, 2), "refused: not_in_tree");
}

// A tree whose root stands in another: what stands above it makes its records those of the whole.
TEST_F(CEvidenceTest, ATreeUnderALargerOneNeedsTheWayUp) {
    const auto tree_of = [&](const std::vector<chronoseal_digest>& leaves) {
        auto tree = made<chronoseal_evidence_tree_new>(nullptr);
        done<chronoseal_evidence_tree_reserve>(tree, leaves.size());
        for (const chronoseal_digest& leaf : leaves) {
            done<chronoseal_evidence_tree_add>(tree, leaf);
        }
        return tree;
    };
    const auto lower = tree_of({hash("a"), hash("b")});
    const auto top = given<chronoseal_evidence_tree_root>(lower);
    const auto upper = tree_of({top, hash("c")});
    EXPECT_EQ(says<chronoseal_evidence_tree_reserve>(lower, ~std::uint64_t{0}),
              "unreachable: out_of_memory");
    EXPECT_EQ(failure<chronoseal_evidence_tree_path>(upper, "x", 1), "refused: not_in_tree");
    const auto path = made<chronoseal_evidence_tree_path>(upper, text_of(top));
    const chronoseal_bytes* hashes = nullptr;
    const auto count = given<chronoseal_hash_path_get>(path, &hashes);
    ASSERT_EQ(count, 1U);
    EXPECT_EQ(text_of(hashes[0]), hashed("c"));

    const auto stamp = stamp_over(given<chronoseal_evidence_tree_root>(upper));
    const auto object = hash("a");
    EXPECT_EQ(failure<chronoseal_evidence_tree_record>(lower, object, 1, stamp),
              "misuse: imprint_differs");
    const auto record =
        made<chronoseal_evidence_tree_record_below>(lower, object, 1, stamp, hashes, count);
    EXPECT_EQ(judge(record, "a"), "");
    EXPECT_EQ(judge(record, "b"), "not_in_tree");
    EXPECT_STREQ(given<chronoseal_evidence_record_renewal_algorithm>(record), "SHA-256");
}

TEST_F(CEvidenceTest, RecordsAreRenewedByAStampAndByAHash) {
    const auto record = record_of({"data", "second"});
    const auto stamps = made<chronoseal_stamp_renewal_new>(nullptr);
    EXPECT_EQ(failure<chronoseal_stamp_renewal_digest>(stamps), "misuse: tree_empty");
    done<chronoseal_stamp_renewal_add>(stamps, record);
    auto digest = given<chronoseal_stamp_renewal_digest>(stamps);
    EXPECT_EQ(failure<chronoseal_stamp_renewal_renewed>(stamps, record,
                                                        stamp_over(digest, "20230601120000Z")),
              "refused: time_goes_back");
    const auto second = made<chronoseal_stamp_renewal_renewed>(
        stamps, record, stamp_over(digest, "20250601120000Z"));
    EXPECT_EQ(judge(second, "data"), "");
    EXPECT_EQ(info->strength, CHRONOSEAL_EVIDENCE_RENEWED);
    ASSERT_EQ(info->stamp_count, 2U);
    EXPECT_EQ(info->stamps[0]->covered, 1);
    EXPECT_EQ(info->stamps[0]->covered_by, 1U);
    EXPECT_EQ(info->stamps[0]->covered_in_time, 1);

    const auto hashes = made<chronoseal_hash_renewal_new>("SHA-512");
    EXPECT_EQ(says<chronoseal_hash_renewal_add>(hashes, second, hash("data"), 1),
              "misuse: digest_malformed");
    const auto wide = hash("data", "SHA-512");
    done<chronoseal_hash_renewal_add>(hashes, second, wide, 1);
    digest = given<chronoseal_hash_renewal_digest>(hashes);
    const auto third = made<chronoseal_hash_renewal_renewed>(hashes, second, wide, 1,
                                                             stamp_over(digest, "20260601120000Z"));
    EXPECT_EQ(judge(third, "data"), "");
    ASSERT_EQ(info->stamp_count, 3U);
    EXPECT_EQ(info->stamps[2]->chain, 1U);
    EXPECT_EQ(judge(third, "other"), "not_in_tree");
    EXPECT_EQ(says<chronoseal_evidence_verify_record>(verifier, third, nullptr),
              "misuse: data_needed");

    const char* const* names = nullptr;
    ASSERT_EQ(given<chronoseal_evidence_record_data_algorithms>(third, &names), 2U);
    EXPECT_STREQ(names[1], "SHA-512");
    chronoseal_digest both[2] = {};
    const auto file = folder.write("data", "data");
    EXPECT_EQ(failure<chronoseal_evidence_record_hash_file>(third, file, nullptr, &both[0], 1),
              "misuse: buffer_too_small");
    EXPECT_EQ(given<chronoseal_evidence_record_hash_file>(third, file, nullptr, &both[0], 2), 2U);
    EXPECT_EQ(says<chronoseal_evidence_verify_digests>(verifier, third, both, 2, 1, nullptr), "");
    // A pipe can be read but once.
    const auto pipe = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::jthread writer([&] { std::ofstream(pipe) << "data"; });
    EXPECT_EQ(says<chronoseal_evidence_verify_file>(verifier, third, pipe, nullptr, nullptr), "");
}

TEST_F(CEvidenceTest, AListAndWhatStandsInIt) {
    const auto list = [&](const std::string& name) {
        return to_hex(to_bytes(hashed("data"))) + "  " + name + "\n" +
               to_hex(to_bytes(hashed("second"))) + "  b\n";
    };
    const auto path = folder.write("list", list("a"));
    const auto tree = made<chronoseal_manifest_tree_new>(path, nullptr);
    chronoseal_digest digest{};
    EXPECT_EQ(given<chronoseal_manifest_tree_get_info>(tree, &digest), 2U);
    EXPECT_EQ(text_of(digest), hashed(list("a")));
    const auto stamp = stamp_over(given<chronoseal_manifest_tree_root>(tree));
    const auto record = made<chronoseal_manifest_tree_record>(tree, stamp);
    EXPECT_EQ(judge(record, list("a")), "");
    const auto object = hash("second");
    EXPECT_EQ(judge(made<chronoseal_manifest_tree_prove>(tree, object, record), "second"), "");
    EXPECT_EQ(failure<chronoseal_manifest_tree_prove>(tree, hash("other"), record),
              "refused: not_in_manifest");
    folder.write("list", list("c"));
    const auto changed = made<chronoseal_manifest_tree_new>(path, nullptr);
    EXPECT_EQ(failure<chronoseal_manifest_tree_prove>(changed, object, record),
              "refused: manifest_changed");
    folder.write("list", "hello\n");
    EXPECT_EQ(failure<chronoseal_manifest_tree_new>(path, nullptr), "refused: manifest_line");
}

TEST_F(CEvidenceTest, AWholeListIsRenewedByANewOne) {
    const auto path = folder.write("list", to_hex(to_bytes(hashed("data"))) + "  a\n");
    const auto wide =
        folder.write("wide", to_hex(to_bytes(hashed("data", EVP_sha512()))) + "  a\n");
    const auto tree = made<chronoseal_manifest_tree_new>(path, nullptr);
    const auto first = stamp_over(given<chronoseal_manifest_tree_root>(tree));
    const auto record = made<chronoseal_manifest_tree_record>(tree, first);
    EXPECT_EQ(failure<chronoseal_manifest_renewal_new>(path, record, path, nullptr),
              "refused: algorithms_differ");
    auto lists = made<chronoseal_manifest_renewal_new>(path, record, wide, nullptr);
    const auto stamp =
        stamp_over(given<chronoseal_manifest_renewal_digest>(lists), "20260601120000Z");
    const auto beside = made<chronoseal_manifest_renewal_renewed_list>(lists, stamp);
    const auto renewed = made<chronoseal_manifest_renewal_renewed>(lists, stamp);
    lists = made<chronoseal_manifest_renewal_new>(path, renewed, wide, nullptr);
    const chronoseal_digest both[] = {hash("data"), hash("data", "SHA-512")};
    const auto proof = made<chronoseal_manifest_renewal_prove>(lists, both, 2);
    EXPECT_EQ(judge(proof, "data"), "");
    EXPECT_EQ(judge(proof, "other"), "not_in_tree");
    EXPECT_EQ(failure<chronoseal_manifest_renewal_prove>(lists, both, 1), "misuse: data_needed");
}

TEST_F(CEvidenceTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto held = record_of({"data", "second"});
    const auto stamp = stamp_over(hash("data"));
    const auto digest = hash("data");
    const auto own_tree = made<chronoseal_evidence_tree_new>(nullptr);
    const auto stamps = made<chronoseal_stamp_renewal_new>(nullptr);
    const auto hash_renewal = made<chronoseal_hash_renewal_new>(nullptr);
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
    auto* tree = own_tree.get();
    auto* renewal = stamps.get();
    auto* rehash = hash_renewal.get();
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
}

// The list was made after the stamp, and comes from the caller: nobody is asked.
TEST_F(CEvidenceTest, AnExtendedStampHoldsWhatItIsJudgedBy) {
    const tsp::Authority by("20200101000000Z", "20291231000000Z", "http://127.0.0.1:1/x.crl");
    const std::string list = list_by(by, "", -1, "20240602000000Z", "20240609000000Z");
    const std::string anchor = by.root_der();
    const auto anchors = source_of(anchor);
    const auto lists = source_of(list);
    auto given_trust = trust_in(anchors);
    given_trust.evidence = &lists;
    given_trust.evidence_count = 1;
    given_trust.revocation = CHRONOSEAL_REVOCATION_REQUIRE;
    const Time judged = std::chrono::sys_days(std::chrono::year(2024) / 6 / 3);
    given_trust.as_of = judged.time_since_epoch().count();
    given_trust.offline = 1;
    const auto stamp = made<chronoseal_stamp_read>(by.token(tsp::TstInfo().encode()));
    const auto extension = made<chronoseal_extend>(stamp, given_trust);
    const auto* put = given<chronoseal_extension_get_info>(extension);
    EXPECT_EQ(put->changed, 1);
    EXPECT_EQ(put->certificates, 1U);
    EXPECT_EQ(put->revocation_lists, 1U);
    EXPECT_EQ(put->ocsp_answers, 0U);
    EXPECT_EQ(put->remark_count, 0U);
    EXPECT_EQ(given<chronoseal_verdict_get_info>(put->verdict)->good, 1);

    given_trust.evidence_count = 0;
    const auto alone = made<chronoseal_verifier_new>(given_trust);
    EXPECT_EQ(says<chronoseal_verify>(alone, stamp, "data", 4, nullptr),
              "unreachable: revocation_offline");
    EXPECT_EQ(says<chronoseal_verify>(alone, put->stamp, "data", 4, nullptr), "");

    given_trust.evidence_count = 1;
    const auto record = made<chronoseal_evidence_record_of_stamp>(stamp);
    chronoseal_evidence_record* found = nullptr;
    const std::size_t second = 1;
    EXPECT_EQ(failure<chronoseal_extend_record>(record, given_trust, &second, &found),
              "misuse: stamp_missing");
    EXPECT_EQ(found, nullptr);
    made<chronoseal_extend_record>(record, given_trust, nullptr, &found);
    const CRecord extended(found);
    EXPECT_GT(der_of(extended).size(), der_of(record).size() + list.size());
    given_trust.revocation = CHRONOSEAL_REVOCATION_OFF;
    EXPECT_EQ(failure<chronoseal_extend>(stamp, given_trust), "misuse: revocation_off");
}

} // namespace
} // namespace chronoseal::testing
