// The C interface, and the front door under it, when memory runs out.
#include <utility>

#include <chronoseal/c_interface/testing/caller_fixture.h>
#include <chronoseal/client/testing/failing_new.h>

namespace chronoseal::testing {
namespace {

class AllocationTest : public CInterfaceTest {
protected:
    // Has one allocation of `attempt` after the other fail.
    template <class Attempt>
    void expect_every_failure_told(const Attempt& attempt) {
        ASSERT_EQ(attempt(&error), CHRONOSEAL_OK) << why(); // everything that is kept is there now
        long good = 0;
        long failures = 0;
        for (long n = 0; good < 3; n += 1 + n / 50) {
            allocations_left = n;
            const auto status = attempt(&error);
            allocations_left = -1;
            good += status == CHRONOSEAL_OK ? 1 : 0;
            failures += status != CHRONOSEAL_OK ? 1 : 0;
            if (status != CHRONOSEAL_OK) {
                EXPECT_NE(word(), "") << n;
            }
            ASSERT_LT(n, 10'000'000);
        }
        EXPECT_GT(failures, 50);
        EXPECT_EQ(attempt(&error), CHRONOSEAL_OK) << why();
    }
};

// Whichever allocation fails: an error and no end of the program, no leak, and the next call works.
TEST_F(AllocationTest, EveryAllocationMayFail) {
    const std::string bytes = token();
    const auto verifier = made<chronoseal_verifier_new>(trust);
    const auto kept = made<chronoseal_stamp_read>(bytes);
    const auto attempt = [&](chronoseal_error** place) {
        chronoseal_stamp* stamp = nullptr;
        chronoseal_verdict* verdict = nullptr;
        const chronoseal_stamp_info* info = nullptr;
        auto status = chronoseal_stamp_read(bytes.data(), bytes.size(), &stamp, place);
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_stamp_get_info(stamp, &info, place);
        }
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_verify(verifier.get(), kept.get(), "data", 4, &verdict, place);
        }
        chronoseal_verdict_free(&verdict);
        chronoseal_stamp_free(&stamp);
        return status;
    };
    expect_every_failure_told(attempt);
}

TEST_F(AllocationTest, EveryAllocationForARecordMayFail) {
    const auto stamp = made<chronoseal_stamp_read>(token());
    const auto verifier = made<chronoseal_evidence_verifier_new>(trust);
    const auto attempt = [&](chronoseal_error** place) {
        chronoseal_evidence_record* record = nullptr;
        chronoseal_evidence_verdict* verdict = nullptr;
        const chronoseal_evidence_record_info* info = nullptr;
        const char* const* names = nullptr;
        std::size_t count = 0;
        auto status = chronoseal_evidence_record_of_stamp(stamp.get(), &record, place);
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_evidence_record_get_info(record, &info, place);
            if (status != CHRONOSEAL_OK) { // what failed for want of memory can be asked for again
                allocations_left = -1;
                EXPECT_EQ(chronoseal_evidence_record_get_info(record, &info, nullptr),
                          CHRONOSEAL_OK);
                EXPECT_EQ(info->stamp_count, 1U);
            }
        }
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_evidence_record_data_algorithms(record, &names, &count, place);
        }
        if (status == CHRONOSEAL_OK) {
            status = chronoseal_evidence_verify(verifier.get(), record, "data", 4, &verdict, place);
        }
        chronoseal_evidence_verdict_free(&verdict);
        chronoseal_evidence_record_free(&record);
        return status;
    };
    expect_every_failure_told(attempt);
}

// The same of the functions of C++: what leaves them is an Error, whatever fails within.
TEST_F(AllocationTest, NothingButAnErrorLeavesTheFrontDoor) {
    const Bytes bytes = to_bytes(token());
    const Stamp stamp = Stamp::read(bytes);
    const HashAlgorithm sha256 = HashAlgorithm::by_name("sha256");
    const Digest digest = Digest::of(bytes_of("data"), sha256);
    const Trust own{.roots = {to_bytes(root)}};
    const Verifier verifier(own);
    const EvidenceRecord record = EvidenceRecord::of_stamp(stamp);
    const std::string line = manifest_line(digest, "a\nb");
    const auto list = folder.write("list", line);
    const SealerOptions wanted{.authorities = {{.url = url}}, .trust = own, .rate_file = rates};
    // What a caller copies and what it makes of texts is the caller's own.
    const auto callers = [](auto&& make) {
        const long left = std::exchange(allocations_left, -1);
        auto made = make();
        allocations_left = left;
        return made;
    };
    const auto trusted = [&] { return callers([&] { return own; }); };
    const auto wide = Digest::of(bytes_of("data"), HashAlgorithm::by_name("sha512"));
    const struct {
        const char* name;
        std::function<void()> call;
    } rows[] = {
        {"Stamp::read", [&] { Stamp::read(bytes).as_response(); }},
        {"Verifier", [&] { Verifier{trusted()}; }},
        {"verify", [&] { verifier.verify(stamp, bytes_of("data")); }},
        {"verdict", [&] { verifier.verify(stamp, bytes_of("x")).error(); }},
        {"inspect", [&] { inspect(bytes); }},
        {"extend", [&] { word_of([&] { extend(stamp, own); }); }},
        {"hash", [&] { Digest::of_file(list, sha256).value(); }},
        {"hasher", [&] { Hasher(sha256).finish(); }},
        {"algorithms", [&] { HashAlgorithm::all(); }},
        {"by_name", [&] { HashAlgorithm::by_name("2.16.840.1.101.3.4.2.1"); }},
        {"hexadecimal", [&] { from_hex(to_hex(bytes)); }},
        {"quoting",
         [&] {
             quote_address("http://u:p@x/"
                           "\x1b and more than fits");
         }},
        {"times",
         [&] {
             utc_text(stamp.time());
             local_text(stamp.time());
         }},
        {"record", [&] { EvidenceRecord::read(record.der()).info(); }},
        {"judge records", [&] { EvidenceVerifier(trusted()).verify(record, bytes_of("data")); }},
        {"tree",
         [&] {
             EvidenceTree tree(sha256);
             tree.add(digest);
             tree.record(digest, stamp);
             tree.path(digest.value());
         }},
        {"list",
         [&] {
             ManifestReader reader([](const ManifestLine&) {});
             reader.feed(bytes_of(line));
             reader.finish();
         }},
        {"write a line",
         [&] { manifest_line(digest, "a name\n that isn't short at all, and not plain"); }},
        {"tree of a list", [&] { ManifestTree(list).root(); }},
        {"renewal",
         [&] {
             StampRenewal renewal(sha256);
             renewal.add(record);
             renewal.digest();
         }},
        {"rehash",
         [&] {
             HashRenewal renewal(wide.algorithm());
             renewal.add(record, callers([&] { return std::vector{wide}; }));
             renewal.digest();
         }},
        {"signature", [&] { word_of([&] { CmsSignature::read(bytes); }); }},
        {"sealer", [&] { Sealer(callers([&] { return wanted; })).request(digest); }},
        {"policy", [&] { policy(); }},
        {"changed settings",
         [&] {
             callers([] {
                 tsp::Configuration::instance().set({});
                 return 0;
             });
             policy();
         }},
        {"roots", [&] { trusted_roots(); }},
        {"words", [&] { error_of_code(0xC2100103, "do something that takes long to name"); }},
        {"rewrap", [&] { rewrap(bytes_of("-----BEGIN X-----\nAAAA\n-----END X-----\n"), bytes); }},
    };
    for (const auto& row : rows) {
        row.call();
        bool whole = false;
        for (long n = 0; !whole; n += 1 + n / 20) {
            const std::function<void()> call = row.call;
            allocations_left = n;
            try {
                call();
                whole = allocations_left > 0;
            } catch (const Error& told) {
                allocations_left = -1;
                EXPECT_FALSE(told.word().empty()) << row.name;
            } catch (const std::exception& other) {
                allocations_left = -1;
                ADD_FAILURE() << row.name << " lets out " << other.what() << " at " << n;
                break;
            }
            allocations_left = -1;
        }
    }
}

} // namespace
} // namespace chronoseal::testing
