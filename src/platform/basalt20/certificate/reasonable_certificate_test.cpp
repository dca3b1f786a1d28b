// The forms of keys: two certificates of one key must be told to be that.
#include <basalt/certificate/reasonable_certificate.h>

#include <basalt/coding/der_writer.h>

#include <gtest/gtest.h>

namespace basalt {
namespace {

constexpr char kDsa[] = "1.2.840.10040.4.1";
constexpr char kRsa[] = "1.2.840.113549.1.1.1";
constexpr char kPss[] = "1.2.840.113549.1.1.10";
constexpr char kCurve[] = "1.2.840.10045.2.1";
constexpr char kEd25519[] = "1.3.101.112";

struct Form {
    const char* name;
    const char* algorithm;
    std::string bits;
    bool canonical;
    char unused = 0;
};

std::string sequence(const std::string& contents) {
    return element(tag::kSequence, contents);
}

std::string integer(const std::string& contents) {
    return element(tag::kInteger, contents);
}

// Nobody has signed it.
CertificateBody certificate_with(const Form& form) {
    const std::string algorithm = sequence(element(tag::kOid, oid_contents(form.algorithm)));
    const std::string date = element(tag::kUtcTime, "260101000000Z");
    const std::string key =
        sequence(algorithm + element(tag::kBitString, std::string(1, form.unused) + form.bits));
    const std::string tbs = sequence(integer("\1") + algorithm + sequence("") +
                                     sequence(date + date) + sequence("") + key);
    return CertificateBody(
        bytes_of(sequence(tbs + algorithm + element(tag::kBitString, std::string_view("\0x", 2)))));
}

TEST(ReasonableCertificate, KeysHaveOneForm) {
    const std::string exponent = integer("\3");
    const std::string high = "\xC1" + std::string(127, 'm'); // as a number it is negative
    const std::string signed_high = std::string(1, '\0') + high;
    const std::string low = "\x41" + std::string(127, 'm');
    const std::string rsa = sequence(integer(signed_high) + exponent);
    const std::string point = "\2" + std::string(32, 'x');
    const Form forms[] = {
        {"RSA", kRsa, rsa, true},
        {"RSA, as PSS", kPss, rsa, true},
        {"RSA, its top bit clear", kRsa, sequence(integer(low) + exponent), true},
        {"RSA, negative", kRsa, sequence(integer(high) + exponent), false},
        {"RSA, as PSS, negative", kPss, sequence(integer(high) + exponent), false},
        {"RSA, negative exponent", kRsa, sequence(integer(signed_high) + integer("\x83")), false},
        {"RSA, padded", kRsa, sequence(integer(std::string(1, '\0') + low) + exponent), false},
        {"RSA, more within", kRsa, sequence(integer(low) + exponent + exponent), false},
        {"RSA, more behind", kRsa, rsa + exponent, false},
        {"RSA, unused bits", kRsa, rsa, false, 1},
        {"DSA", kDsa, integer(signed_high), true},
        {"DSA, negative", kDsa, integer(high), false},
        {"DSA, padded", kDsa, integer(std::string(2, '\0') + low), false},
        {"DSA, long length", kDsa, std::string("\2\x82\0\x80", 4) + low, false},
        {"DSA, more behind", kDsa, integer(signed_high) + exponent, false},
        {"a point", kCurve, point, true},
        {"a point, unused bits", kCurve, point, false, 1},
        {"Ed25519", kEd25519, std::string(32, 'x'), true},
        {"Ed25519, unused bits", kEd25519, std::string(32, 'x'), false, 7},
    };
    for (const Form& form : forms) {
        const CertificateBody certificate = certificate_with(form);
        EXPECT_EQ(has_canonical_key(certificate), form.canonical) << form.name;
        EXPECT_EQ(is_reasonable(certificate), form.canonical && form.algorithm != kCurve)
            << form.name; // curves have a name
    }
}

} // namespace
} // namespace basalt
