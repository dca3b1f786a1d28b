// Stamps on signatures: the oracle is OpenSSL, which made the signatures and must go on taking
// them.
#include <algorithm>

#include <chronoseal/seal/definite_form.h>
#include <chronoseal/seal/signed_data_parts.h>
#include <chronoseal/seal/testing/signers.h>

namespace chronoseal::testing {
namespace {

using tsp::element;
using tsp::owned;
using tsp::sequence;
using tsp::TstInfo;

const std::string kData = "first line\nsecond line\n";

class CmsSignatureTest : public SealTest {
protected:
    Stamp stamp_over(const Bytes& value) const {
        return Stamp::read(
            to_bytes(authority.token(TstInfo{.digest = tsp::sha256(to_text(value))})));
    }
    CmsSignature stamped(CmsSignature signature, std::string_view attribute = kSignatureTimeStamp) {
        for (std::size_t i = 0; i < signature.signers(); ++i) {
            signature = signature.with_stamp(i, stamp_over(signature.value(i)), attribute);
        }
        return signature;
    }

    Signers people{kData};
    tsp::Authority authority;
};

TEST_F(CmsSignatureTest, OpenSslGoesOnTakingWhatWasStamped) {
    struct Row {
        const char* name;
        unsigned flags;
        int signers;
    };
    const Row rows[] = {
        {"attached", CMS_BINARY, 1},
        {"detached", CMS_BINARY | CMS_DETACHED, 1},
        {"without signed attributes", CMS_BINARY | CMS_NOATTR, 1},
        {"two signers", CMS_BINARY, 2},
        {"by key identifier", CMS_BINARY | CMS_USE_KEYID, 1},
    };
    const Verifier verifier({.roots = {to_bytes(authority.root_der())}});
    for (const Row& row : rows) {
        const std::string der = people.der(row.flags, row.signers);
        const CmsSignature before = CmsSignature::read(to_bytes(der));
        const bool detached = (row.flags & CMS_DETACHED) != 0;
        EXPECT_EQ(before.detached(), detached) << row.name;
        EXPECT_EQ(to_text(before.encoded()), der) << row.name;
        CmsSignature after = stamped(before);
        after = stamped(after, kAuthenticodeTimeStamp); // a second one each
        const std::string result = to_text(after.encoded());
        EXPECT_TRUE(people.verifies(result, detached)) << row.name;
        const Inspection found = inspect(to_bytes(result));
        ASSERT_EQ(found.stamps.size(), static_cast<std::size_t>(row.signers) * 2) << row.name;
        for (const Embedded& one : found.stamps) {
            EXPECT_TRUE(verifier.verify(one.stamp, one.stamped).good()) << row.name;
        }
        // The set of certificates and the order of signers are as they were.
        const SignedDataParts a(to_bytes(der)), b(to_bytes(result));
        EXPECT_TRUE(std::ranges::equal(a.certificates(), b.certificates(), std::ranges::equal));
        for (std::size_t i = 0; i < before.signers(); ++i) {
            EXPECT_EQ(before.value(i), after.value(i)) << row.name;
        }
    }
}

TEST_F(CmsSignatureTest, ArithmeticIsCheckedAsFarAsTheContentAllows) {
    const auto read = [](const std::string& der) { return CmsSignature::read(to_bytes(der)); };
    const std::string detached = people.der(CMS_BINARY | CMS_DETACHED);
    const std::string bare = people.der(CMS_BINARY | CMS_DETACHED | CMS_NOATTR);
    const std::string whole = people.der(CMS_BINARY);
    const std::string nameless = people.der(CMS_BINARY | CMS_NOCERTS);
    std::string forged = whole;
    forged.back() = static_cast<char>(forged.back() ^ 1);
    const std::string other = "other data";
    const std::vector<Source> certificates{to_bytes(people.certificate(0))};

    EXPECT_TRUE(read(whole).check(0));
    EXPECT_FALSE(read(detached).check(0)); // the attributes alone
    EXPECT_TRUE(read(detached).check(0, {}, bytes_of(kData)));
    EXPECT_TRUE(read(bare).check(0, {}, bytes_of(kData)));
    EXPECT_TRUE(read(nameless).check(0, certificates));

    EXPECT_WORD("signature_bad", read(forged).check(0));
    EXPECT_WORD("content_differs", read(detached).check(0, {}, bytes_of(other)));
    EXPECT_WORD("signature_bad", read(bare).check(0, {}, bytes_of(other)));
    EXPECT_WORD("content_missing", read(bare).check(0));
    EXPECT_WORD("signer_not_found", read(nameless).check(0));
    EXPECT_WORD("content_twice", read(whole).check(0, {}, bytes_of(kData)));
    EXPECT_WORD("no_signer", read(whole).check(1));
    std::string forged_detached = detached;
    forged_detached.back() = static_cast<char>(forged_detached.back() ^ 1);
    EXPECT_WORD("signature_bad", read(forged_detached).check(0));
}

TEST_F(CmsSignatureTest, AStampOverSomethingElseIsNotAttached) {
    const CmsSignature two = CmsSignature::read(to_bytes(people.der(CMS_BINARY, 2)));
    const Stamp first = stamp_over(two.value(0));
    EXPECT_WORD("imprint_differs", two.with_stamp(1, first));
    EXPECT_WORD("oid_malformed", two.with_stamp(0, first, "1.2.x"));
    EXPECT_WORD("no_signer", two.with_stamp(2, first));
}

// Each form comes back as it was, with other Base64 in it.
TEST_F(CmsSignatureTest, EveryFormIsReadAndKept) {
    const auto written = [&](auto write) {
        const auto out = owned(BIO_new(BIO_s_mem()), &BIO_free_all);
        write(out.get());
        return text_of(out.get());
    };
    const std::string der = people.der(CMS_BINARY);
    const std::string streamed = written([&](BIO* out) {
        const auto message = people.sign(CMS_BINARY | CMS_STREAM);
        i2d_CMS_bio_stream(out, message.get(), memory(kData).get(), CMS_STREAM | CMS_BINARY);
    });
    const std::string pem =
        "Bag of somebody\n" +
        written([&](BIO* out) { PEM_write_bio_CMS(out, people.sign(CMS_BINARY).get()); }) +
        "behind\n";
    const auto mail = [&](unsigned flags) {
        return written([&](BIO* out) {
            const auto message = people.sign(flags | CMS_STREAM);
            SMIME_write_CMS(out, message.get(), memory(kData).get(),
                            static_cast<int>(flags) | CMS_STREAM);
        });
    };
    const std::string parts = "From: somebody\n" + mail(CMS_DETACHED | CMS_TEXT);
    // Quoting PEM, which isn't the mail's signature.
    std::string quoting = parts;
    quoting.replace(quoting.find("This is an S/MIME"), 4,
                    "-----BEGIN X-----\nMAA=\n-----END X-----\nThis");
    const std::string opaque = mail(0);
    EXPECT_EQ(static_cast<unsigned char>(streamed[1]), 0x80U) << "indefinite lengths";
    struct Row {
        const char* name;
        const std::string& text;
        std::string begin, end;
        bool verbatim;
    };
    const Row rows[] = {
        {"DER", der, "\x30", "", true},
        {"BER", streamed, "\x30", "", false},
        {"PEM", pem, "Bag of somebody\n-----BEGIN CMS-----\n", "-----END CMS-----\nbehind\n", true},
        {"multipart", parts, "From: somebody\nMIME-Version: 1.0\n", "--\n\n", true},
        {"multipart that quotes PEM", quoting, "From: somebody\nMIME-Version: 1.0\n", "--\n\n",
         true},
        {"opaque", opaque, "MIME-Version: 1.0\n", "\n\n", false},
    };
    for (const Row& row : rows) {
        const CmsSignature signature = CmsSignature::read(to_bytes(row.text));
        EXPECT_FALSE(signature.detached()) << row.name;
        EXPECT_TRUE(signature.check(0)) << row.name;
        if (row.verbatim) {
            EXPECT_EQ(to_text(signature.encoded()), row.text) << row.name;
        }
        const std::string result = to_text(stamped(signature).encoded());
        EXPECT_TRUE(result.starts_with(row.begin)) << row.name << result;
        EXPECT_TRUE(result.ends_with(row.end)) << row.name << result;
        const CmsSignature again = CmsSignature::read(to_bytes(result));
        EXPECT_TRUE(again.check(0)) << row.name;
        EXPECT_EQ(inspect(to_bytes(result)).stamps.size(), 1U) << row.name;
    }
    const std::string result = to_text(stamped(CmsSignature::read(to_bytes(streamed))).encoded());
    EXPECT_TRUE(people.verifies(result, false)) << "re-encoded from BER";
}

// However the first one is written, it is the one that is read, and the one that is written.
TEST_F(CmsSignatureTest, AnotherMessageOfTheTextStays) {
    const auto block = [](const std::string& between, const std::string& der) {
        return "-----BEGIN CMS-----" + between + tsp::base64(der) + "\n-----END CMS-----\n";
    };
    const std::string other = block("\n", Signers("other data").der(CMS_BINARY));
    const std::string der = people.der(CMS_BINARY);
    const struct {
        const char* name;
        std::string between, behind;
    } rows[] = {
        {"plain", "\n", other},
        {"header lines", "\nComment: first\nOther: line\n\n", other},
        {"header lines of a mail", "\r\nComment: first\r\n\r\n", other},
        {"header lines before both", "\nComment: first\n\n", block("\nComment: x\n\n", der)},
        {"header lines alone", "\nComment: first\n\n", "behind\n"},
        {"on the label's line", "", other},
    };
    for (const auto& row : rows) {
        const std::string text = "in front\n" + block(row.between, der) + row.behind;
        const CmsSignature before = CmsSignature::read(to_bytes(text));
        EXPECT_EQ(to_text(before.encoded()), text) << row.name;
        EXPECT_NO_THROW(before.check_place(0)) << row.name;
        const CmsSignature after = stamped(before);
        const std::string result = to_text(after.encoded());
        EXPECT_TRUE(result.starts_with("in front\n-----BEGIN CMS-----" + row.between)) << row.name;
        EXPECT_TRUE(result.ends_with("\n-----END CMS-----\n" + row.behind)) << row.name;
        EXPECT_EQ(CmsSignature::read(to_bytes(result)).value(0), before.value(0)) << row.name;
        EXPECT_EQ(inspect(to_bytes(result)).stamps.size(), 1U) << row.name;
        const std::string again = to_text(rewrap(to_bytes(text), to_bytes(der)));
        EXPECT_EQ(again, text) << row.name;
    }
}

TEST_F(CmsSignatureTest, LinesKeepTheirIndentationAndTheirEnds) {
    const std::string digits = tsp::base64(people.der(CMS_BINARY));
    for (const std::string& end :
         std::initializer_list<std::string>{"\n", "\r\n", "\r", "\n  ", "\r\n\t"}) {
        std::string text = "stamp: |" + end + "-----BEGIN CMS-----" + end;
        for (std::size_t at = 0; at < digits.size(); at += 64) {
            text += digits.substr(at, 64) + end;
        }
        text += "-----END CMS-----" + end;
        const CmsSignature before = CmsSignature::read(to_bytes(text));
        const std::string after = to_text(stamped(before).encoded());
        EXPECT_EQ(inspect(to_bytes(after)).stamps.size(), 1U);
        std::size_t lines = 0;
        for (std::size_t at = 0; at < after.size(); ++lines) {
            const std::size_t line = after.find_first_of("\r\n", at);
            if (line == std::string::npos) {
                break;
            }
            EXPECT_TRUE(after.substr(line).starts_with(end)) << lines;
            at = line + end.size();
        }
        EXPECT_GT(lines, 10U);
    }
}

TEST_F(CmsSignatureTest, AMessageThatTheContentQuotesIsNotTheMessage) {
    const std::string text = "see:\n-----BEGIN CMS-----\n" + tsp::base64(people.der(CMS_BINARY)) +
                             "\n-----END CMS-----\n";
    const Signers quoting(text);
    const auto out = owned(BIO_new(BIO_s_mem()), &BIO_free_all);
    const auto message = quoting.sign(CMS_BINARY | CMS_STREAM);
    i2d_CMS_bio_stream(out.get(), message.get(), memory(text).get(), CMS_STREAM | CMS_BINARY);
    const std::string streamed = text_of(out.get());
    ASSERT_EQ(static_cast<unsigned char>(streamed[1]), 0x80U) << "indefinite lengths";
    for (const std::string& bytes : {quoting.der(CMS_BINARY), streamed}) {
        EXPECT_EQ(inspect(to_bytes(bytes)).form, Form::binary);
        const CmsSignature signature = CmsSignature::read(to_bytes(bytes));
        EXPECT_TRUE(quoting.verifies(to_text(stamped(signature).encoded()), false));
    }
}

TEST_F(CmsSignatureTest, WhatIsNoSignatureIsNamed) {
    const auto word = [](const std::string& bytes) {
        return word_of([&] { CmsSignature::read(to_bytes(bytes)); });
    };
    EXPECT_EQ(word("just text"), "not_a_signature");
    EXPECT_EQ(word(authority.root_der()), "not_a_signature");
    EXPECT_EQ(word(authority.token()), "is_a_stamp");
    const auto shell = [](const std::string& lists, const std::string& signers) {
        return sequence(tsp::oid("1.2.840.113549.1.7.2") +
                        element(0xA0, sequence(tsp::integer("\x01") + element(0x31, "") +
                                               sequence(tsp::oid("1.2.840.113549.1.7.1")) + lists +
                                               element(0x31, signers))));
    };
    EXPECT_EQ(word(shell("", "")), "no_signers");
    EXPECT_EQ(word(people.der(CMS_BINARY) + "x"), "malformed");
    EXPECT_EQ(word(shell(element(0xA1, "\x30\x05"), sequence(""))), "malformed");
}

TEST_F(CmsSignatureTest, AThousandSignersAreRead) {
    const CmsSignature many = CmsSignature::read(to_bytes(people.der(CMS_BINARY, 1000)));
    EXPECT_EQ(many.signers(), 1000U);
    const CmsSignature one = many.with_stamp(999, stamp_over(many.value(999)));
    EXPECT_TRUE(one.check(999));
    EXPECT_TRUE(people.verifies(to_text(one.encoded()), false));
}

TEST(DefiniteForm, LengthsAreRewrittenAndNothingElse) {
    struct Row {
        const char* name;
        std::string bytes, expected; // empty: refused
    };
    const std::string end(2, '\0');
    const Row rows[] = {
        {"definite", sequence(element(4, "a")), sequence(element(4, "a"))},
        {"a length longer than needed stays", std::string("\x30\x81\x03\x04\x01\x61", 6),
         std::string("\x30\x81\x03\x04\x01\x61", 6)},
        {"indefinite", "\x30\x80" + element(4, "a") + end, sequence(element(4, "a"))},
        {"pieces of definite length stay", element(0x24, element(4, "a") + element(4, "b")),
         element(0x24, element(4, "a") + element(4, "b"))},
        {"pieces", "\x24\x80" + element(4, "a") + element(4, "b") + end, element(4, "ab")},
        {"within", sequence("\xA0\x80" + element(4, "a") + end),
         sequence(element(0xA0, element(4, "a")))},
        {"high tag", std::string("\xBF\x81\x01\x80", 4) + element(4, "a") + end,
         std::string("\xBF\x81\x01\x03\x04\x01\x61", 7)},
        {"no end", "\x30\x80" + element(4, "a"), ""},
        {"half an end", "\x30\x80" + element(4, "a") + std::string(1, '\0'), ""},
        {"primitive and indefinite", "\x04\x80" + end, ""},
        {"longer than the bytes", "\x30\x05\x04", ""},
        {"five octets of length", std::string("\x30\x85\0\0\0\0\0", 7), ""},
        {"something behind", sequence("") + "x", ""},
        {"nothing", "", ""},
        {"too deep", tsp::repeated(100, "\x30\x80") + tsp::repeated(100, end), ""},
    };
    for (const Row& row : rows) {
        const auto result = with_definite_lengths(to_bytes(row.bytes));
        EXPECT_EQ(result ? to_text(*result) : "", row.expected) << row.name;
    }
}

} // namespace
} // namespace chronoseal::testing
