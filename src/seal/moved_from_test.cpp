// What is left of an object that was moved from: every call on it ends with an answer or an Error.
#include <chronoseal/seal/testing/evidence_fixture.h>

namespace chronoseal::testing {
namespace {

class MovedFromTest : public EvidenceTest {
protected:
    // Leaves `from` as a caller would.
    template <class T>
    static T moved(T& from) {
        return std::move(from);
    }

    Folder folder;
};

TEST_F(MovedFromTest, AStampIsAnEmptyOne) {
    Stamp stamp = this->stamp(Digest::of(bytes_of("data"), sha256));
    const Stamp kept = moved(stamp);
    EXPECT_FALSE(stamp.has_token());
    EXPECT_TRUE(stamp.token().empty() && stamp.response().empty() && stamp.authority().empty());
    EXPECT_TRUE(stamp.remarks().empty() && !stamp.info().token && stamp.attempts() == 0);
    const Verifier verifier(trust());
    EXPECT_EQ(verifier.verify(stamp, bytes_of("data")).deciding().word, "not_granted");
    EXPECT_EQ(verifier.verify(moved(stamp), Expected{}).deciding().word, "not_granted");
    EvidenceTree tree(sha256);
    tree.add(Digest::of(bytes_of("data"), sha256));
    for (const auto& [name, call] : std::vector<std::pair<const char*, std::function<void()>>>{
             {"time", [&] { stamp.time(); }},
             {"as_response", [&] { stamp.as_response(); }},
             {"of_stamp", [&] { EvidenceRecord::of_stamp(stamp); }},
             {"extend", [&] { extend(stamp, trust()); }},
             {"record", [&] { tree.record(Digest::of(bytes_of("data"), sha256), stamp); }}}) {
        EXPECT_NE(word_of(call), "") << name;
    }
    stamp = kept;
    EXPECT_EQ(stamp.token(), kept.token());
}

TEST_F(MovedFromTest, WhatIsSharedStays) {
    const Stamp stamp = this->stamp(Digest::of(bytes_of("data"), sha256));
    EvidenceRecord record = EvidenceRecord::of_stamp(stamp);
    const EvidenceRecord other = moved(record);
    EXPECT_EQ(record, other);
    EvidenceVerifier verifier(trust());
    const EvidenceVerifier judge = moved(verifier);
    EXPECT_TRUE(verifier.verify(record, bytes_of("data")).good());
    Verifier plain(trust());
    const Verifier same = moved(plain);
    EXPECT_TRUE(plain.for_one_file().verify(stamp, bytes_of("data")).good());
    Error error(Category::misuse, "word", 1, "text", "advice");
    const Error told = moved(error);
    EXPECT_STREQ(error.what(), told.what());
    CmsSignature signature = CmsSignature::read(
        to_bytes(tsp::Authority().token("text", {.contentType = tsp::kDataOid})));
    const CmsSignature kept = moved(signature);
    EXPECT_EQ(signature.encoded(), kept.encoded());
}

TEST_F(MovedFromTest, WhatIsOwnedSaysSo) {
    const Digest digest = Digest::of(bytes_of("data"), sha256);
    const Stamp stamp = this->stamp(digest);
    const EvidenceRecord record = EvidenceRecord::of_stamp(stamp);
    EvidenceTree tree(sha256);
    StampRenewal by_stamp(sha256);
    HashRenewal by_hash(sha256);
    ManifestReader reader({});
    Hasher hasher(sha256);
    const auto list = folder.write("sums", manifest_line(digest, "data"));
    const auto longer =
        folder.write("wide", manifest_line(Digest::of(bytes_of("data"), sha512), "data"));
    ManifestTree lines(list);
    const Stamp whole = this->stamp(lines.root());
    ManifestRenewal renewal(list, lines.record(whole), longer);
    const auto kept = std::tuple(moved(tree), moved(by_stamp), moved(by_hash), moved(reader),
                                 moved(hasher), moved(lines), moved(renewal));
    const std::pair<const char*, std::function<void()>> calls[] = {
        {"tree.algorithm", [&] { tree.algorithm(); }},
        {"tree.reserve", [&] { tree.reserve(1); }},
        {"tree.add octets", [&] { tree.add(ByteView(digest.value())); }},
        {"tree.add", [&] { tree.add(digest); }},
        {"tree.add_group", [&] { tree.add_group({digest}); }},
        {"tree.size", [&] { tree.size(); }},
        {"tree.root", [&] { tree.root(); }},
        {"tree.path", [&] { tree.path(digest.value()); }},
        {"tree.record", [&] { tree.record(digest, stamp); }},
        {"stamp.add", [&] { by_stamp.add(record); }},
        {"stamp.digest", [&] { by_stamp.digest(); }},
        {"stamp.renewed", [&] { by_stamp.renewed(record, stamp); }},
        {"hash.add", [&] { by_hash.add(record, {digest}); }},
        {"hash.digest", [&] { by_hash.digest(); }},
        {"hash.renewed", [&] { by_hash.renewed(record, {digest}, stamp); }},
        {"reader.feed", [&] { reader.feed({}); }},
        {"reader.finish", [&] { reader.finish(); }},
        {"reader.algorithm", [&] { reader.algorithm(); }},
        {"lines.root", [&] { lines.root(); }},
        {"lines.record", [&] { lines.record(whole); }},
        {"lines.prove", [&] { lines.prove(digest, record); }},
        {"renewal.info", [&] { renewal.info(); }},
        {"renewal.renewed_info", [&] { renewal.renewed_info(); }},
        {"renewal.digest", [&] { renewal.digest(); }},
        {"renewal.renewed", [&] { renewal.renewed(whole); }},
        {"renewal.renewed_list", [&] { renewal.renewed_list(whole); }},
        {"renewal.prove", [&] { renewal.prove({digest}); }},
    };
    for (const auto& [name, call] : calls) {
        EXPECT_EQ(word_of(call), "moved_from") << name;
    }
    EXPECT_WORD("hash_finished", hasher.update({}));
    EXPECT_WORD("hash_finished", hasher.finish());
    EXPECT_EQ(lines.info().lines, 1U); // what is told without looking stays
}

} // namespace
} // namespace chronoseal::testing
