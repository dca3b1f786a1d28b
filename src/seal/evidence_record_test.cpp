// Reading of records: what is taken, what is refused and by which word.
#include <chronoseal/seal/signed_data_parts.h>
#include <chronoseal/seal/testing/evidence_fixture.h>

namespace chronoseal::testing {
namespace {

class EvidenceRecordTest : public EvidenceTest {
protected:
    std::string word(const std::string& text) const {
        return word_of([&] { read(text); });
    }

    const std::string digest = hashed("data");
    const std::string over = token(digest);
    const std::string plain = stamp_text({}, over);
};

TEST_F(EvidenceRecordTest, AStampBecomesARecordAndLosesNothing) {
    const Stamp before = stamp(Digest::of(bytes_of("data"), sha256));
    const auto record = EvidenceRecord::of_stamp(before);
    EXPECT_EQ(to_text(record.der()), record_text({{stamp_text({}, to_text(before.token()))}}));
    EXPECT_EQ(record.info().stamps[0].stamp.token(), before.token());
    EXPECT_EQ(fault(record), "");
    EXPECT_EQ(fault(record, "other"), "not_in_tree");
    const auto refusal = [] { // a response that refuses
        return EvidenceRecord::of_stamp(
            Stamp::read(to_bytes(tsp::sequence(tsp::sequence(tsp::integer("\x02"))))));
    };
    EXPECT_EQ(word_of(refusal), "no_token");
}

TEST_F(EvidenceRecordTest, OptionalPartsAreReadAndKept) {
    const std::string crypto = tsp::element(0xA0, tsp::attribute("1.2.3", tsp::element(0x05, "")));
    const std::string encryption = tsp::element(0xA1, tsp::oid("1.2.3") + tsp::element(0x05, ""));
    const std::string with_parameters =
        tsp::sequence(tsp::element(0xA0, tsp::oid(tsp::kSha256Oid) + tsp::element(0x05, "")) +
                      tsp::element(0xA1, tsp::attribute("1.2.3", tsp::element(0x05, ""))) +
                      tree_text({{digest}}) + over);
    const std::string text =
        record_text({{with_parameters}}, {tsp::kSha256Oid}, crypto + encryption);
    const auto record = read(text);
    EXPECT_TRUE(record.info().encrypted);
    const auto verdict = verify(record);
    EXPECT_TRUE(verdict.good()) << verdict.failure->what();
    EXPECT_EQ(verdict.remarks.at(0).word, "encrypted");
    StampRenewal renewal(sha256);
    renewal.add(record);
    const auto renewed = renewal.renewed(record, stamp(renewal.digest()));
    EXPECT_NE(to_text(renewed.der()).find(crypto + encryption), std::string::npos);
    EXPECT_NE(to_text(renewed.der()).find(with_parameters), std::string::npos);
    EXPECT_EQ(fault(renewed), "");
}

TEST_F(EvidenceRecordTest, MalformedRecordsAreRefused) {
    const std::string good = record_text({{plain}});
    ASSERT_EQ(word(good), "");
    const std::string odd = std::string("\x00", 1) + std::string(9, 'x'); // ten bytes
    const std::pair<const char*, std::string> rows[] = {
        {"no chain", record_text({})},
        {"an empty chain", record_text({{}})},
        {"an empty tree", record_text({{tsp::sequence(tsp::element(0xA2, "") + over)}})},
        {"an empty list", record_text({{stamp_text({{}}, over)}})},
        {"no token", record_text({{tsp::sequence(tree_text({{digest}}))}})},
        {"a response for a token",
         record_text({{tsp::sequence(
             tsp::sequence(tsp::sequence(tsp::integer(std::string(1, '\0'))) + over))}})},
        {"version 2", tsp::sequence(tsp::integer("\x02") + good.substr(7))},
        {"a byte behind", good + std::string(1, '\0')},
        {"a hash that is no octet string",
         record_text(
             {{tsp::sequence(tsp::element(0xA2, tsp::sequence(tsp::integer(digest))) + over)}})},
        {"an empty algorithm", record_text({{tsp::sequence(tsp::element(0xA0, "") + over)}})},
        {"cut short", good.substr(0, good.size() - 1)},
    };
    for (const auto& [name, text] : rows) {
        EXPECT_TRUE(word(text) == "record_malformed" || word(text) == "not_a_record")
            << name << ": " << word(text);
    }
    EXPECT_EQ(word("hello"), "not_a_record");
    EXPECT_EQ(word(over), "not_a_record");
    EXPECT_EQ(word(""), "not_a_record");
}

// Of a token whose unsigned attributes are damaged nobody can tell whether it is bad.
TEST_F(EvidenceRecordTest, WhatNobodySignedMakesNoRecordMalformed) {
    SignedDataParts parts(to_bytes(over));
    parts.add_unsigned_attribute(0, "1.2.3", to_bytes("\x30\x05\x02\x01\x01"));
    const std::string damaged = stamp_text({}, to_text(parts.encode()));
    EXPECT_EQ(word(record_text({{damaged}})), "unsigned_damaged");
}

// Its hashes are over DER: a frame in another form can't be what was hashed.
TEST_F(EvidenceRecordTest, TheFrameHasToBeDer) {
    const std::string content = tsp::integer("\x01") +
                                tsp::sequence(tsp::sequence(tsp::oid(tsp::kSha256Oid))) +
                                sequence_text({{plain}});
    const std::string indefinite = std::string("\x30\x80", 2) + content + std::string(2, '\0');
    EXPECT_EQ(word(indefinite), "not_a_record");
    const std::string chain = tsp::sequence(plain);
    std::string long_length = chain; // its length in one byte more than it needs
    long_length[1] = static_cast<char>(chain[1] + 1);
    long_length.insert(2, 1, '\0');
    EXPECT_EQ(word(tsp::sequence(tsp::integer("\x01") +
                                 tsp::sequence(tsp::sequence(tsp::oid(tsp::kSha256Oid))) +
                                 tsp::sequence(long_length))),
              "record_malformed");
}

TEST_F(EvidenceRecordTest, HashesOfAnotherLengthAreRefused) {
    for (const std::size_t size : {0U, 1U, 16U, 31U, 33U, 64U}) {
        const std::string odd(size, 'x');
        EXPECT_EQ(word(record_text({{stamp_text({{odd, digest}}, over)}})), "hash_length") << size;
        EXPECT_EQ(word(record_text({{stamp_text({{digest}, {odd}}, over)}})), "hash_length");
    }
    // What some software takes: the digest in the middle of two odd pieces.
    EXPECT_EQ(word(record_text({{stamp_text(
                  {{std::string(10, '\0'), digest, std::string(22, '\xff')}}, over)}})),
              "hash_length");
}

TEST_F(EvidenceRecordTest, OneHashAChain) {
    EXPECT_EQ(word(record_text({{stamp_text({{digest}}, over),
                                 stamp_text({{hashed(over, EVP_sha512())}}, over, kSha512Oid)}})),
              "algorithms_differ");
}

TEST_F(EvidenceRecordTest, SizesAreBounded) {
    EXPECT_EQ(word(record_text({Hashes(1001, plain)})), "record_too_large");
    EXPECT_EQ(word(record_text(std::vector<Hashes>(1001, {plain}))), "record_too_large");
    EXPECT_EQ(word(record_text({{stamp_text(std::vector<Hashes>(65, {digest}), over)}})),
              "record_too_large");
    EXPECT_EQ(word(record_text({{stamp_text(std::vector<Hashes>(64, {digest}), over)}})), "");
    EXPECT_EQ(word(record_text({{stamp_text({Hashes(1'000'001, digest)}, over)}})),
              "record_too_large");
    std::string nested;
    for (int i = 0; i < 2000; ++i) {
        nested = tsp::sequence(nested);
    }
    EXPECT_NE(word(record_text({{tsp::sequence(nested)}})), "");
    // Where nothing is looked into, depth costs nothing.
    EXPECT_EQ(word(record_text({{plain}}, {tsp::kSha256Oid}, tsp::element(0xA0, nested))), "");
}

TEST_F(EvidenceRecordTest, AMillionHashesInOneListAreJudged) {
    Hashes many;
    for (std::uint32_t i = 0; i < 999'999; ++i) {
        std::string hash(32, '\0');
        hash.replace(0, 4, reinterpret_cast<const char*>(&i), 4);
        many.push_back(hash);
    }
    many.push_back(digest);
    const std::string text = record_text({{stamp_text({many}, token(joined(many)))}});
    EXPECT_EQ(fault(text), "");
    EXPECT_EQ(fault(text, "other"), "not_in_tree");
}

} // namespace
} // namespace chronoseal::testing
