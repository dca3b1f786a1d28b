// Evidence put into the last stamp of a record, and into no other.
#include <chronoseal/seal/testing/evidence_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>

namespace chronoseal::testing {
namespace {

// Certificates end with 2029; lists come by HTTP.
class RecordExtensionTest : public EvidenceTest {
protected:
    RecordExtensionTest()
        : server([this](const std::string&) { return http_reply(200, served); }),
          naming("20200101000000Z", "20291231000000Z", utf8(server.url()) + "x.crl") {
        ::setenv("XDG_CACHE_HOME", (folder.path() / "cache").c_str(), 1);
    }

    Stamp stamp_of(const Digest& digest, const char* time) const {
        return Stamp::read(to_bytes(
            naming.token(tsp::TstInfo{.digest = to_text(digest.value()), .genTime = time})));
    }
    Trust as_of(int year, bool offline = false) const {
        return {.roots = {to_bytes(naming.root_der())},
                .revocation = Revocation::require,
                .as_of = std::chrono::sys_days(std::chrono::year(year) / 7 / 1),
                .offline = offline};
    }

    std::string served;
    LoopbackServer server;
    tsp::Authority naming;
};

TEST_F(RecordExtensionTest, OnlyTheLastStampIsExtended) {
    served = list_by(naming, "", -1, "20240602000000Z", "20240802000000Z");
    EvidenceTree tree(sha256);
    const Digest digest = Digest::of(bytes_of("data"), sha256);
    tree.add(digest);
    tree.add(Digest::of({}, sha256));
    const auto record = tree.record(digest, stamp_of(tree.root(), "20240601120000Z"));
    const auto first = extend(record, as_of(2024));
    EXPECT_EQ(first.extension.revocation_lists, 1U);
    EXPECT_NE(first.record, record);
    EXPECT_EQ(first.record.info().stamps[0].lists, record.info().stamps[0].lists);
    const std::size_t asked = server.requests().size();
    EXPECT_TRUE(EvidenceVerifier(as_of(2024, true)).verify(first.record, bytes_of("data")).good());
    EXPECT_EQ(extend(first.record, as_of(2024, true)).record, first.record);

    StampRenewal renewal(sha256);
    renewal.add(first.record);
    const auto renewed =
        renewal.renewed(first.record, stamp_of(renewal.digest(), "20240701000000Z"));
    EXPECT_WORD("stamp_covered", extend(renewed, as_of(2024), 0));
    EXPECT_WORD("stamp_missing", extend(renewed, as_of(2024), 2));
    EXPECT_EQ(server.requests().size(), asked);
    served = list_by(naming, "", -1, "20240701000001Z", "20240802000000Z");
    std::filesystem::remove_all(folder.path() / "cache");
    const auto last = extend(renewed, as_of(2024), 1);
    EXPECT_EQ(last.extension.revocation_lists, 1U);
    // Long after its certificates ended, nothing but the roots is needed.
    std::filesystem::remove_all(folder.path() / "cache");
    const auto verdict = EvidenceVerifier(as_of(2035, true)).verify(last.record, bytes_of("data"));
    EXPECT_TRUE(verdict.good()) << verdict.failure->what();
    EXPECT_EQ(verdict.strength, EvidenceStrength::aged);
    EXPECT_FALSE(EvidenceVerifier(as_of(2035, true)).verify(renewed, bytes_of("data")).good());
}

} // namespace
} // namespace chronoseal::testing
