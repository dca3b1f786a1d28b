#include <openssl/pkcs12.h>

#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/testing/seal_fixture.h>

namespace chronoseal::testing {
namespace {

using tsp::base64;
using tsp::element;
using tsp::integer;
using tsp::oid;
using tsp::sequence;
using tsp::TstInfo;
using tsp::with_unsigned;

constexpr char kCountersignature[] = "1.2.840.113549.1.9.6";

std::string pem(const std::string& label, const std::string& bytes) {
    std::string text = "-----BEGIN " + label + "-----\n";
    const std::string digits = base64(bytes);
    for (std::size_t i = 0; i < digits.size(); i += 64) {
        text += digits.substr(i, 64) + "\r\n";
    }
    return text + "-----END " + label + "-----\n";
}

// A message with a signature, over some text.
std::string signed_message(const tsp::Authority& authority) {
    return authority.token("text", {.contentType = tsp::kDataOid});
}

std::string algorithm() {
    return sequence(oid("2.16.840.1.101.3.4.2.1") + element(0x05, ""));
}

TEST(Inspect, EachKindOfBytesIsNamed) {
    const tsp::Authority authority;
    const std::string token = authority.token();
    const std::string request =
        sequence(integer("\x01") + sequence(algorithm() + element(4, tsp::sha256("x"))));
    struct Row {
        const char* name;
        std::string bytes;
        Kind kind;
        Form form;
    };
    const Row rows[] = {
        {"nothing", "", Kind::empty, Form::binary},
        {"response", tsp::response(0, token), Kind::response, Form::binary},
        {"refusal", tsp::response(2, ""), Kind::response, Form::binary},
        {"token", token, Kind::token, Form::binary},
        {"token in Base64", base64(token) + "\n", Kind::token, Form::base64},
        {"token in PEM", "Subject: x\n" + pem("PKCS7", token), Kind::token, Form::pem},
        {"request", request, Kind::request, Form::binary},
        {"certificate", authority.root_der(), Kind::certificate, Form::binary},
        {"certificate in PEM", pem("CERTIFICATE", authority.root_der()), Kind::certificate,
         Form::pem},
        {"certificate in indented PEM",
         "\xEF\xBB\xBF \t" + pem("CERTIFICATE", authority.root_der()), Kind::certificate,
         Form::pem},
        {"token behind a date", "05.03.2026\n" + pem("PKCS7", token), Kind::token, Form::pem},
        {"certificate that is commented out", "#" + pem("CERTIFICATE", authority.root_der()),
         Kind::text, Form::binary},
        {"signed message", signed_message(authority), Kind::signed_message, Form::binary},
        {"authenticode signature",
         authority.token("text", {.contentType = "1.3.6.1.4.1.311.2.1.4"}),
         Kind::authenticode_signature, Form::binary},
        {"enveloped", sequence(oid("1.2.840.113549.1.7.3") + element(0xA0, sequence(""))),
         Kind::other_message, Form::binary},
        {"ocsp", sequence(element(0x0A, std::string(1, '\0'))), Kind::ocsp_answer, Form::binary},
        {"authenticode",
         sequence(oid("1.3.6.1.4.1.311.3.2.1") + sequence(oid("1.2.840.113549.1.7.1"))),
         Kind::authenticode_request, Form::binary},
        {"rsa key", sequence(integer(std::string(1, '\0')) + integer("\x11") + integer("\x03")),
         Kind::private_key, Form::binary},
        {"pkcs8", sequence(integer(std::string(1, '\0')) + algorithm() + element(4, "x")),
         Kind::private_key, Form::binary},
        {"pkcs12",
         sequence(integer("\x03") + sequence(oid("1.2.840.113549.1.7.1") + element(0xA0, ""))),
         Kind::key_store, Form::binary},
        {"evidence",
         sequence(integer("\x01") + sequence(algorithm()) + sequence(sequence(sequence(token)))),
         Kind::evidence_record, Form::binary},
        {"html", "\r\n<!DOCTYPE HTML><html>", Kind::html, Form::binary},
        {"xhtml", "<?xml version='1.0'?><html xmlns=''/>", Kind::html, Form::binary},
        {"xml", "<?xml version='1.0'?><a/>", Kind::xml, Form::binary},
        {"json", "{\"error\": 1}", Kind::json, Form::binary},
        {"pdf", "%PDF-1.7\n", Kind::pdf, Form::binary},
        {"zip", "PK\x03\x04...", Kind::archive, Form::binary},
        {"elf",
         "\x7f"
         "ELF\x02",
         Kind::executable, Form::binary},
        {"text",
         "Gr\xC3\xBC\xC3\x9F"
         "e, not a stamp!\n",
         Kind::text, Form::binary},
        {"a list of hashes", "0a" + std::string(62, 'b') + "  a file\n", Kind::text, Form::binary},
        {"the shortest list", "0a", Kind::text, Form::binary},
        {"other der", sequence(sequence(sequence(""))), Kind::unknown_der, Form::binary},
        {"noise", std::string("\x00\x01\x02\xFF", 4), Kind::unknown, Form::binary},
    };
    for (const Row& row : rows) {
        const Inspection found = inspect(to_bytes(row.bytes));
        EXPECT_EQ(kind_name(found.kind), kind_name(row.kind)) << row.name;
        EXPECT_EQ(found.form, row.form) << row.name;
        EXPECT_EQ(found.stamp.has_value(), row.kind == Kind::token || row.kind == Kind::response)
            << row.name;
        if (!found.stamp) {
            EXPECT_WORD("not_a_stamp", Stamp::read(to_bytes(row.bytes))) << row.name;
        }
    }
}

TEST(Inspect, WhatStandsBehindAStampIsToldAndNotLost) {
    const tsp::Authority authority;
    const std::string token = authority.token();
    const std::string answer = tsp::response(0, token);
    const struct {
        std::string bytes;
        std::size_t behind;
        bool lost; // with other bytes in the stamp's place
    } rows[] = {{token, 0, false},
                {answer, 0, false},
                {answer + answer, answer.size(), true},
                {token + "\n", 1, true},
                {base64(token + token), token.size(), true},
                {pem("PKCS7", token) + pem("CERTIFICATE", authority.root_der()), 0, false},
                {pem("PKCS7", token) + pem("PKCS7", token), token.size(), false}};
    for (const auto& row : rows) {
        const Bytes bytes = to_bytes(row.bytes);
        EXPECT_EQ(inspect(bytes).behind, row.behind) << row.bytes.size();
        EXPECT_EQ(to_text(Stamp::read(bytes).token()), token) << row.bytes.size();
        EXPECT_EQ(word_of([&] { rewrap(bytes, to_bytes(token)); }), row.lost ? "malformed" : "")
            << row.bytes.size();
    }
}

TEST(Inspect, CutAndChangedBytesNeverThrow) {
    const tsp::Authority authority;
    const std::string token = tsp::response(0, authority.token());
    for (std::size_t i = 0; i < token.size(); i += 7) {
        EXPECT_NO_THROW(inspect(to_bytes(token.substr(0, i)))) << i;
        std::string changed = token;
        changed[i] = static_cast<char>(changed[i] ^ 0x55);
        EXPECT_NO_THROW(inspect(to_bytes(changed))) << i;
    }
}

std::string with_many(std::string text, const char* attribute, const std::string& value,
                      std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        text = with_unsigned(text, attribute, value);
    }
    return text;
}

// The message with its one signer so many times.
std::string with_signers(const std::string& text, int count) {
    const auto message = tsp::message_of(text);
    auto* const signers = CMS_get0_SignerInfos(message.get());
    while (sk_CMS_SignerInfo_num(signers) < count) {
        sk_CMS_SignerInfo_push(signers, sk_CMS_SignerInfo_value(signers, 0));
    }
    std::string whole = tsp::der(message.get(), &i2d_CMS_ContentInfo);
    while (sk_CMS_SignerInfo_num(signers) > 1) { // each is freed once
        sk_CMS_SignerInfo_pop(signers);
    }
    return whole;
}

// Stamped in such an attribute.
std::string stamped_message(const tsp::Authority& authority, const std::string& attribute) {
    const std::string text = signed_message(authority);
    const auto message = tsp::message_of(text);
    const ASN1_OCTET_STRING* value = CMS_SignerInfo_get0_signature(
        sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(message.get()), 0));
    const std::string signature(reinterpret_cast<const char*>(value->data),
                                static_cast<std::size_t>(value->length));
    return with_unsigned(text, attribute.c_str(),
                         authority.token(TstInfo{.digest = tsp::sha256(signature)}));
}

// The one signer of a message, as a countersignature stands in an attribute.
std::string signer_of(const std::string& message) {
    const Bytes bytes = to_bytes(message);
    DerReader info(DerReader(bytes).next()->content);
    info.next();
    DerReader data(DerReader(info.next()->content).next()->content);
    ByteView signers;
    while (const auto part = data.next()) {
        signers = part->content;
    }
    return to_text(Bytes(signers.begin(), signers.end()));
}

TEST(Inspect, AStampInASignatureIsJudgedAgainstThatSignature) {
    tsp::Configuration::instance().set("");
    const tsp::Authority authority;
    const Verifier verifier({.roots = {to_bytes(authority.root_der())}});
    for (const char* attribute : {"1.2.840.113549.1.9.16.2.14", "1.3.6.1.4.1.311.3.3.1"}) {
        const std::string message = stamped_message(authority, attribute);
        const std::string countersigned =
            with_unsigned(signed_message(authority), kCountersignature, signer_of(message));
        for (const std::string& bytes : {message, countersigned}) {
            const Inspection found = inspect(to_bytes(bytes));
            EXPECT_EQ(found.kind, Kind::signed_message);
            ASSERT_EQ(found.stamps.size(), 1U) << attribute;
            EXPECT_EQ(found.stamps[0].attribute, attribute);
            EXPECT_TRUE(verifier.verify(found.stamps[0].stamp, found.stamps[0].stamped).good());
            Bytes other = found.stamps[0].stamped;
            other[0] ^= std::byte{1};
            EXPECT_EQ(verifier.verify(found.stamps[0].stamp, other).deciding().word,
                      "imprint_differs");
        }
    }
}

TEST(Inspect, AnOlderCountersignatureIsTold) {
    const tsp::Authority authority;
    const std::string plain = signed_message(authority);
    EXPECT_FALSE(inspect(to_bytes(plain)).countersignature);
    for (const std::string& value : {signer_of(plain), sequence("")}) {
        const Inspection found = inspect(to_bytes(with_many(plain, kCountersignature, value, 65)));
        EXPECT_TRUE(found.countersignature);
        EXPECT_TRUE(found.stamps.empty() && found.unread.empty());
    }
}

TEST(Inspect, WhatIsNotLookedIntoIsTold) {
    constexpr char kStamp[] = "1.2.840.113549.1.9.16.2.14", kNested[] = "1.3.6.1.4.1.311.2.4.1";
    const tsp::Authority authority;
    const std::string plain = signed_message(authority);
    const std::string token = authority.token();
    const std::string stamped = stamped_message(authority, kStamp);
    const std::string countersigner = signer_of(stamped);
    std::string deep = stamped, chain = token, answers = tsp::response(0, token), tower = stamped;
    for (unsigned i = 0; i < 5; ++i) {
        deep = with_unsigned(plain, kNested, deep);
        chain = with_unsigned(token, kStamp, chain);
        answers = tsp::response(0, with_unsigned(token, kStamp, answers));
        tower = with_unsigned(plain, kCountersignature, signer_of(tower));
    }
    struct Row {
        const char* name;
        std::string bytes;
        std::size_t stamps;
        std::string word; // of what wasn't looked into; empty: nothing
        Category category = Category::refused;
        std::string place = "signer 1, attribute 1.";
    };
    const Row rows[] = {
        {"as many signers as are looked at", with_signers(plain, 64), 0, ""},
        {"too many signers", with_signers(plain, 65), 0, "too_many_stamps", Category::unreachable,
         "signer 65"},
        {"a good one", stamped_message(authority, kStamp), 1, ""},
        {"no stamp", with_unsigned(plain, kStamp, sequence("")), 0, "not_a_stamp"},
        {"beside a good one",
         with_unsigned(stamped_message(authority, kStamp), "1.3.6.1.4.1.311.3.3.1",
                       token.substr(0, 4) + std::string(token.size() - 4, '\x05')),
         1, "not_a_stamp"},
        {"no signature", with_unsigned(plain, kNested, sequence("")), 0, "malformed"},
        {"too many", with_many(plain, kStamp, token, 257), 256, "too_many_stamps",
         Category::unreachable},
        {"too deep", deep, 0, "too_many_stamps", Category::unreachable},
        {"as many nested ones as are looked at", with_many(plain, kNested, plain, 64), 0, ""},
        {"too many nested ones", with_many(plain, kNested, plain, 65), 0, "too_many_stamps",
         Category::unreachable},
        {"stamps on stamps", with_unsigned(plain, kStamp, chain), 5, "too_many_stamps",
         Category::unreachable},
        {"a stamp on that of an answer",
         with_unsigned(plain, kStamp, tsp::response(0, with_unsigned(token, kStamp, token))), 2,
         ""},
        {"stamps on those of answers", with_unsigned(plain, kStamp, answers), 5, "too_many_stamps",
         Category::unreachable},
        {"on a countersignature", with_unsigned(plain, kCountersignature, countersigner), 1, ""},
        {"a countersignature that can't be read",
         with_unsigned(plain, kCountersignature, sequence(oid(kStamp))), 0, "malformed"},
        {"one whose stamps have a long length",
         with_unsigned(plain, kCountersignature, sequence("\x06\x81" + oid(kStamp).substr(1))), 0,
         "malformed"},
        {"too many countersignatures", with_many(plain, kCountersignature, countersigner, 65), 64,
         "too_many_stamps", Category::unreachable},
        {"countersignatures of countersignatures", tower, 0, "too_many_stamps",
         Category::unreachable},
    };
    for (const Row& row : rows) {
        const Inspection found = inspect(to_bytes(row.bytes));
        EXPECT_EQ(found.stamps.size(), row.stamps) << row.name;
        ASSERT_EQ(found.unread.size(), row.word.empty() ? 0U : 1U) << row.name;
        if (!row.word.empty()) {
            EXPECT_EQ(found.unread[0].reason.word(), row.word) << row.name;
            EXPECT_EQ(found.unread[0].reason.category(), row.category) << row.name;
            EXPECT_EQ(found.unread[0].place.find(row.place), 0U) << row.name;
        }
    }
}

TEST(Inspect, StampsBehindASignedMessageAreTold) {
    constexpr char kStamp[] = "1.2.840.113549.1.9.16.2.14", kNested[] = "1.3.6.1.4.1.311.2.4.1";
    const tsp::Authority authority;
    const std::string token = authority.token(), plain = signed_message(authority);
    const std::string message = stamped_message(authority, kStamp);
    const std::string nested = with_unsigned(plain, kNested, message);
    const std::string first = pem("CMS", message);
    const struct {
        const char* name;
        std::string bytes;
        std::size_t behind;
    } rows[] = {
        {"nothing", message, 0},
        {"another", message + message, message.size()},
        {"in Base64", base64(message + message), message.size()},
        {"in one block", pem("CMS", message + message), message.size()},
        {"in a further block", first + pem("CMS", message), message.size()},
        {"in that of a signature within", first + pem("CMS", nested), nested.size()},
        {"none in a further block", first + pem("CMS", plain), 0},
        {"a stamp", first + pem("PKCS7", token), token.size()},
        {"behind a stamp", pem("PKCS7", token) + first, message.size()},
        {"a certificate", first + pem("CERTIFICATE", authority.root_der()), 0},
        {"without the end of a line",
         first.substr(0, first.size() - 1) + "\xEF\xBB\xBF" + pem("CMS", message), message.size()},
        {"what is damaged", "-----BEGIN CMS-----\n%\n-----END CMS-----\n" + first, 3},
        {"what is cut off", first + "-----BEGIN CMS-----\nMII=\n", 6},
    };
    for (const auto& row : rows) {
        const Inspection found = inspect(to_bytes(row.bytes));
        EXPECT_EQ(found.behind, row.behind) << row.name;
        EXPECT_EQ(found.stamps.size(), found.kind == Kind::token ? 0U : 1U) << row.name;
    }
}

} // namespace
} // namespace chronoseal::testing
