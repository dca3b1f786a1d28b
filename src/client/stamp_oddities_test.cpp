// Odd answers and tokens by name, and what their import says: which of them are taken, and by which
// code the others are refused. Whoever makes the import quicker must change no line here. Each is
// read in three forms, by DER's lengths, with lengths at the end, and with lengths longer than they
// need be, since each form takes another road through the reading. An import that takes a thing
// says nothing of its being good: that is the verification's.
#include <vector>

#include <basalt/error_codes.h>
#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

constexpr std::uint32_t kGood = 0;
constexpr std::uint32_t kRefused = CRYPT_E_ASN1_INTERNAL;

enum class Lengths { open, superfluous };

// The same values by other lengths; what isn't an element stays as it is. Strings of octets aren't
// looked into.
std::string relengthened(const std::string& der, Lengths lengths) {
    std::string result;
    std::size_t at = 0;
    while (at + 2 <= der.size()) {
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(der[i]); };
        std::size_t size = byte(at + 1);
        std::size_t head = 2;
        if (size > 0x80 && size <= 0x84 && at + 2 + (size & 0x0F) <= der.size()) {
            head += size & 0x0F;
            size = 0;
            for (std::size_t i = at + 2; i < at + head; ++i) {
                size = size << 8 | byte(i);
            }
        }
        if (size > der.size() - at - head) {
            break;
        }
        const bool constructed = (byte(at) & 0x20) != 0;
        const auto content = der.substr(at + head, size);
        const auto inner = constructed ? relengthened(content, lengths) : content;
        result += der[at];
        if (lengths == Lengths::superfluous) {
            result += '\x84';
            for (int shift = 24; shift >= 0; shift -= 8) {
                result += static_cast<char>(inner.size() >> shift & 0xFF);
            }
            result += inner;
        } else if (constructed) {
            result += '\x80' + inner + std::string(2, '\0');
        } else {
            result += der.substr(at + 1, head - 1) + inner;
        }
        at += head + size;
    }
    return result + der.substr(at);
}

struct Oddity {
    const char* name;
    std::string bytes;
    std::uint32_t code;
};

void expect_codes(const std::vector<Oddity>& oddities) {
    for (const Oddity& odd : oddities) {
        EXPECT_EQ(imported(odd.bytes), odd.code) << odd.name;
        EXPECT_EQ(imported(relengthened(odd.bytes, Lengths::open)), odd.code)
            << odd.name << ", lengths at the end";
        EXPECT_EQ(imported(relengthened(odd.bytes, Lengths::superfluous)), odd.code)
            << odd.name << ", superfluous lengths";
    }
}

// A byte of zero, as contents: no text has one.
const std::string kZero(1, '\0');

std::string with_content(const std::string& info) {
    return Parts{.info = info}.token();
}

// The usual fields, and then those.
std::string followed_by(const std::string& fields) {
    return with_content(sequence(TstInfo().encode().substr(2) + fields));
}

std::string versioned(const std::string& version) {
    return with_content(sequence(version + TstInfo().encode().substr(5)));
}

TEST(StampOddities, FieldsOfTheTimeStamp) {
    const auto accuracy = [](const std::string& fields) {
        return token_of({.accuracy = sequence(fields)});
    };
    const auto name = [](const std::string& general_name) {
        return token_of({.tsa = general_name});
    };
    const auto extended = [](const std::string& extensions) {
        return token_of({.extensions = extensions});
    };
    const auto null = element(0x05, "");
    const auto part = sequence(oid("2.5.4.3") + element(0x0C, "x"));
    expect_codes({
        {"nothing odd", token_of({}), kGood},
        {"no version", versioned(""), kRefused},
        {"version 0", versioned(integer(kZero)), kGood},
        {"version 2", versioned(integer("\x02")), kGood},
        {"version without content", versioned(integer("")), kGood},
        {"version as a string", versioned(element(0x04, "\x01")), kRefused},
        {"serial number without content", token_of({.serial = ""}), kGood},
        {"serial number below zero", token_of({.serial = "\xFF"}), kGood},
        {"serial number with a zero too many", token_of({.serial = std::string("\0\x01", 2)}),
         kGood},
        {"serial number of 64 bytes", token_of({.serial = std::string(64, '\x11')}), kGood},
        {"hash without content", token_of({.digest = ""}), kGood},
        {"hash of another length", token_of({.digest = "short"}), kGood},
        {"hash of an unknown kind", token_of({.hash_oid = "1.2.3.4.5"}), NTE_BAD_ALGID},
        {"accuracy of nothing", accuracy(""), kGood},
        {"accuracy of a second", accuracy(integer("\x01")), kGood},
        {"accuracy below zero", accuracy(integer("\xFF")), kGood},
        {"accuracy of no milliseconds", accuracy(element(0x80, kZero)), kRefused},
        {"accuracy of 1000 milliseconds", accuracy(element(0x80, "\x03\xE8")), kRefused},
        {"accuracy the other way round", accuracy(element(0x81, "\x01") + element(0x80, "\x01")),
         kRefused},
        {"accuracy with more in it", accuracy(integer("\x01") + null), kRefused},
        {"ordering written out as false", followed_by(element(0x01, kZero)), kGood},
        {"ordering by another byte", followed_by(element(0x01, "\x01")), kGood},
        {"ordering of two bytes", followed_by(element(0x01, "\xFF\xFF")), kRefused},
        {"nonce without content", followed_by(integer("")), kGood},
        {"nonce with zeros", followed_by(integer(std::string("\0\0\x01", 3))), kGood},
        {"nonce twice", followed_by(integer("\x01") + integer("\x01")), kRefused},
        {"nonce before ordering", followed_by(integer("\x01") + element(0x01, "\xFF")), kRefused},
        {"no name in its place", name(""), kGood},
        {"name of no known kind", name(element(0x99, "x")), kRefused},
        {"name of other parts", name(element(0xA5, element(0xA1, element(0x0C, "x")))), kGood},
        {"name of no text", name(element(0x81, "")), kGood},
        {"name with a zero byte", name(element(0x82, std::string("a\0b", 3))), kGood},
        {"name without parts", name(element(0xA4, sequence(""))), kGood},
        {"name whose part is empty", name(element(0xA4, sequence(element(0x31, "")))), kRefused},
        {"name of odd text", name(element(0xA4, sequence(element(0x31, part + null)))), kRefused},
        {"two names", name(element(0x82, "a") + element(0x82, "b")), kRefused},
        {"no extensions in their place", followed_by(element(0xA1, "")), kGood},
        {"extension twice", extended(repeated(2, extension("1.2.3", false))), kGood},
        {"extension without a value", extended(sequence(oid("1.2.3"))), kRefused},
        {"extension written out as uncritical",
         extended(sequence(oid("1.2.3") + element(0x01, kZero) + element(0x04, ""))), kGood},
        {"extension with more in it", extended(sequence(oid("1.2.3") + element(0x04, "") + null)),
         kRefused},
        {"something behind all fields", followed_by(element(0xA1, extension("1.2.3", true)) + null),
         kRefused},
        {"something behind the whole", with_content(TstInfo().encode() + null), kGood},
    });
}

TEST(StampOddities, PartsOfTheMessage) {
    const auto null = element(0x05, "");
    const auto info = TstInfo().encode();
    const auto pieces = [&](std::size_t size) {
        std::string all;
        for (std::size_t at = 0; at < info.size(); at += size) {
            all += element(0x04, info.substr(at, size));
        }
        // In place of the string that holds the whole; no length around it tells of that.
        const auto whole = element(0x04, info);
        auto token = relengthened(Parts{.info = info}.token(), Lengths::open);
        return token.replace(token.find(whole), whole.size(), element(0x24, all));
    };
    const auto signer = [](const std::string& attributes) {
        return Parts{.signed_attributes = attributes}.token();
    };
    const auto good = Parts{}.token();
    expect_codes({
        {"nothing", "", kRefused},
        {"a tag", "\x30", kRefused},
        {"an empty record", sequence(""), kRefused},
        {"noise", std::string(100, '\x5A'), kRefused},
        {"half of it", good.substr(0, good.size() / 2), kRefused},
        {"a byte less", good.substr(0, good.size() - 1), kRefused},
        {"a byte more", good + '\0', CRYPT_E_ASN1_CORRUPT},
        {"twice", good + good, CRYPT_E_ASN1_CORRUPT},
        {"another type", Parts{.type = oid("1.2.840.113549.1.7.1")}.token(), kRefused},
        {"another content", Parts{.content_type = oid("1.2.840.113549.1.7.1")}.token(), kGood},
        {"no signer", Parts{.signers = 0}.token(), kRefused},
        {"two signers", Parts{.signers = 2}.token(), kGood},
        {"no content", Parts{.info = ""}.token(), kRefused},
        {"content of other kind", with_content(null), kRefused},
        {"certificates that are none", Parts{.certificates = null}.token(), kGood},
        {"lists that are none", Parts{.lists = null}.token(), kGood},
        {"attribute without values", signer(attribute("1.2.3", "")), kRefused},
        {"attribute twice", signer(repeated(2, attribute("1.2.3", null))), kGood},
        {"attribute that is none", signer(null), kRefused},
        {"attribute without its set", signer(sequence(oid("1.2.3"))), kRefused},
        {"unsigned attribute that is none", Parts{.unsigned_attributes = null}.token(), kRefused},
        {"signer's name that is none",
         signer(attribute("1.2.840.113549.1.9.16.2.47", element(0x04, "x"))), kGood},
    });
    for (const std::size_t size : {1U, 7U, 1000U}) {
        EXPECT_EQ(imported(pieces(size)), kGood) << "content in pieces of " << size;
    }
}

TEST(StampOddities, Answers) {
    const auto null = element(0x05, "");
    const auto token = Parts{}.token();
    const auto answer = [&](const std::string& status) {
        return sequence(sequence(status) + token);
    };
    const auto zero = integer(kZero);
    expect_codes({
        {"granted", response(0, token), kGood},
        {"granted with changes", response(1, token), kGood},
        {"granted without a token", response(0, ""), kGood},
        {"refused with a token", response(2, token), kGood},
        {"refused", response(2, ""), kGood},
        {"status 6", response(6, ""), kGood},
        {"status 7", response(7, ""), E_FAIL},
        {"status below zero", answer(integer("\xFF")), E_FAIL},
        {"status of nine bytes", answer(integer(std::string(9, '\x11'))), kRefused},
        {"status without content", answer(integer("")), kGood},
        {"status as an enumeration", answer(element(0x0A, kZero)), kRefused},
        {"no status", sequence(token), kRefused},
        {"texts that are none", answer(zero + sequence(null)), kRefused},
        {"no texts in their place", answer(zero + sequence("")), kRefused},
        {"text that isn't UTF-8", response(2, "", element(0x0C, "\xFF\xFE")), kRefused},
        {"no bits", response(2, "", "", element(0x03, kZero)), kGood},
        {"bits without content", response(2, "", "", element(0x03, "")), kGood},
        {"40 bits", response(2, "", "", element(0x03, std::string(6, '\0'))), kRefused},
        {"unused bits past the byte", response(2, "", "", element(0x03, "\x09\x01")), kRefused},
        {"something behind the bits", answer(zero + element(0x03, kZero) + null), kRefused},
        {"token that is none", response(0, null), kRefused},
        {"token twice", response(0, token + token), kRefused},
        {"something behind the answer", response(0, token) + '\0', kGood},
        {"granted, time without a zone", response(0, token_of({.genTime = "20240601120000"})),
         kRefused},
    });
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
