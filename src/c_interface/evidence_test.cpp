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
    needs_all<chronoseal_evidence_verdict_get_info>(verdict, kPlace);
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

    EXPECT_EQ(failure<chronoseal_evidence_record_read>("hello", 5), "refused: not_a_record");
}

TEST_F(CEvidenceTest, AGroupIsProvedWhole) {
    const auto tree = made<chronoseal_evidence_tree_new>("sha256");
    const chronoseal_digest group[] = {hash("one"), hash("two")};
    const auto alone = hash("alone");
    done<chronoseal_evidence_tree_add_group>(tree, group, 2);
    done<chronoseal_evidence_tree_add>(tree, alone);
    done<chronoseal_evidence_tree_add>(tree, alone);
    EXPECT_EQ(given<chronoseal_evidence_tree_size>(tree), 2U);
    const auto stamp = stamp_over(given<chronoseal_evidence_tree_root>(tree));
    EXPECT_EQ(failure<chronoseal_evidence_tree_record>(tree, group, 0, stamp),
              "refused: not_in_tree");
    const auto record = made<chronoseal_evidence_tree_record>(tree, group, 2, stamp);
    const auto judged = [&](const chronoseal_digest* objects, std::size_t count,
                            std::size_t number) {
        return says<chronoseal_evidence_verify_digests>(verifier, record, objects, count, number,
                                                        nullptr);
    };
    EXPECT_EQ(judged(group, 2, 2), "");
    EXPECT_EQ(judged(group, 2, 0), "misuse: digest_malformed");
    EXPECT_EQ(judged(group, 1, 2), "misuse: digest_malformed");
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
    const auto record =
        made<chronoseal_evidence_tree_record_below>(lower, object, 1, stamp, hashes, count);
    EXPECT_EQ(judge(record, "a"), "");
    EXPECT_EQ(judge(record, "b"), "not_in_tree");
    EXPECT_STREQ(given<chronoseal_evidence_record_renewal_algorithm>(record), "SHA-256");
}

TEST_F(CEvidenceTest, RecordsAreRenewedByAStampAndByAHash) {
    const auto record = record_of({"data", "second"});
    const auto stamps = made<chronoseal_stamp_renewal_new>(nullptr);
    done<chronoseal_stamp_renewal_add>(stamps, record);
    auto digest = given<chronoseal_stamp_renewal_digest>(stamps);
    const auto second = made<chronoseal_stamp_renewal_renewed>(
        stamps, record, stamp_over(digest, "20250601120000Z"));
    EXPECT_EQ(judge(second, "data"), "");
    EXPECT_EQ(info->strength, CHRONOSEAL_EVIDENCE_RENEWED);
    ASSERT_EQ(info->stamp_count, 2U);
    EXPECT_EQ(info->stamps[0]->covered, 1);
    EXPECT_EQ(info->stamps[0]->covered_by, 1U);
    EXPECT_EQ(info->stamps[0]->covered_in_time, 1);

    const auto hashes = made<chronoseal_hash_renewal_new>("SHA-512");
    const auto wide = hash("data", "SHA-512");
    done<chronoseal_hash_renewal_add>(hashes, second, wide, 1);
    digest = given<chronoseal_hash_renewal_digest>(hashes);
    const auto third = made<chronoseal_hash_renewal_renewed>(hashes, second, wide, 1,
                                                             stamp_over(digest, "20260601120000Z"));
    EXPECT_EQ(judge(third, "data"), "");
    ASSERT_EQ(info->stamp_count, 3U);
    EXPECT_EQ(info->stamps[2]->chain, 1U);

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
    auto lists = made<chronoseal_manifest_renewal_new>(path, record, wide, nullptr);
    const auto stamp =
        stamp_over(given<chronoseal_manifest_renewal_digest>(lists), "20260601120000Z");
    const auto beside = made<chronoseal_manifest_renewal_renewed_list>(lists, stamp);
    const auto renewed = made<chronoseal_manifest_renewal_renewed>(lists, stamp);
    lists = made<chronoseal_manifest_renewal_new>(path, renewed, wide, nullptr);
    const chronoseal_digest both[] = {hash("data"), hash("data", "SHA-512")};
    needs_all<chronoseal_manifest_renewal_digest>(lists, kPlace);
    needs_all<chronoseal_manifest_renewal_renewed>(lists, stamp, kPlace);
    needs_all<chronoseal_manifest_renewal_renewed_list>(lists, stamp, kPlace);
    needs_all<chronoseal_manifest_renewal_prove>(lists, both, 2, kPlace);
    const auto proof = made<chronoseal_manifest_renewal_prove>(lists, both, 2);
    EXPECT_EQ(judge(proof, "data"), "");
    EXPECT_EQ(judge(proof, "other"), "not_in_tree");
    EXPECT_EQ(failure<chronoseal_manifest_renewal_prove>(lists, both, 1), "misuse: data_needed");
}

TEST_F(CEvidenceTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto record = record_of({"data", "second"});
    const auto digest = hash("data");
    const auto stamp = stamp_over(digest);
    const auto tree = made<chronoseal_evidence_tree_new>(nullptr);
    done<chronoseal_evidence_tree_add>(tree, digest);
    const auto path = made<chronoseal_evidence_tree_path>(tree, text_of(digest));
    const auto renewal = made<chronoseal_stamp_renewal_new>(nullptr);
    const auto rehash = made<chronoseal_hash_renewal_new>(nullptr);
    const auto list = folder.write("list", to_hex(to_bytes(hashed("data"))) + "  a\n");
    const auto lines = made<chronoseal_manifest_tree_new>(list, nullptr);
    needs_all<chronoseal_evidence_record_read>("x", 1, kPlace);
    needs_all<chronoseal_evidence_record_read_file>("/dev/null", kPlace);
    needs_all<chronoseal_evidence_record_of_stamp>(stamp, kPlace);
    needs_all<chronoseal_evidence_record_copy>(record, kPlace);
    needs_all<chronoseal_evidence_record_get_info>(record, kPlace);
    needs_all<chronoseal_evidence_record_der>(record, kPlace);
    needs_all<chronoseal_evidence_record_data_algorithms>(record, kPlace, kPlace);
    needs_all<chronoseal_evidence_record_renewal_algorithm>(record, kPlace);
    needs_all<chronoseal_evidence_record_hash_file>(record, list, nullptr, kPlace, 1, kPlace);
    needs_all<chronoseal_evidence_tree_new>(nullptr, kPlace);
    needs_all<chronoseal_evidence_tree_reserve>(tree, 1);
    needs_all<chronoseal_evidence_tree_add>(tree, digest);
    needs_all<chronoseal_evidence_tree_add_group>(tree, digest, 1);
    needs_all<chronoseal_evidence_tree_size>(tree, kPlace);
    needs_all<chronoseal_evidence_tree_root>(tree, kPlace);
    needs_all<chronoseal_evidence_tree_record>(tree, digest, 1, stamp, kPlace);
    needs_all<chronoseal_evidence_tree_path>(tree, "x", 1, kPlace);
    needs_all<chronoseal_hash_path_get>(path, kPlace, kPlace);
    const chronoseal_bytes no_hash{nullptr, 1};
    for (const chronoseal_bytes* const above :
         {static_cast<const chronoseal_bytes*>(nullptr), &no_hash}) {
        EXPECT_EQ(failure<chronoseal_evidence_tree_record_below>(tree, digest, 1, stamp, above, 1),
                  "misuse: argument_missing");
    }
    needs_all<chronoseal_manifest_tree_new>(list, nullptr, kPlace);
    needs_all<chronoseal_manifest_tree_get_info>(lines, kPlace, kPlace);
    needs_all<chronoseal_manifest_tree_root>(lines, kPlace);
    needs_all<chronoseal_manifest_tree_record>(lines, stamp, kPlace);
    needs_all<chronoseal_manifest_tree_record_below>(lines, stamp, nullptr, 0, kPlace);
    needs_all<chronoseal_manifest_tree_prove>(lines, digest, record, kPlace);
    needs_all<chronoseal_stamp_renewal_new>(nullptr, kPlace);
    needs_all<chronoseal_stamp_renewal_add>(renewal, record);
    needs_all<chronoseal_stamp_renewal_digest>(renewal, kPlace);
    needs_all<chronoseal_stamp_renewal_renewed>(renewal, record, stamp, kPlace);
    needs_all<chronoseal_hash_renewal_new>(nullptr, kPlace);
    needs_all<chronoseal_hash_renewal_add>(rehash, record, digest, 1);
    needs_all<chronoseal_hash_renewal_digest>(rehash, kPlace);
    needs_all<chronoseal_hash_renewal_renewed>(rehash, record, digest, 1, stamp, kPlace);
    needs_all<chronoseal_manifest_renewal_new>("x", record, "x", nullptr, kPlace);
    needs_all<chronoseal_evidence_verifier_new>(nullptr, kPlace);
    needs_all<chronoseal_evidence_verify>(verifier, record, "x", 1, nullptr);
    needs_all<chronoseal_evidence_verify_file>(verifier, record, list, nullptr, nullptr);
    needs_all<chronoseal_evidence_verify_digests>(verifier, record, digest, 1, 1, nullptr);
    needs_all<chronoseal_evidence_verify_record>(verifier, record, nullptr);
    needs_all<chronoseal_extend>(stamp, nullptr, kPlace);
    needs_all<chronoseal_extend_record>(record, nullptr, nullptr, kPlace, kPlace);
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
    const auto stamp = made<chronoseal_stamp_read>(by.token());
    const auto extension = made<chronoseal_extend>(stamp, given_trust);
    needs_all<chronoseal_extension_get_info>(extension, kPlace);
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
