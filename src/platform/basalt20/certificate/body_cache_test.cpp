// What is kept of certificates taken apart.
#include <basalt/certificate/body_cache.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace basalt {
namespace {

std::vector<BYTE> certificate(const std::string& name) {
    std::ifstream in(CHRONOSEAL_TESTDATA "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// The same certificate with another serial number: one byte in its TBSCertificate.
std::vector<BYTE> numbered(std::vector<BYTE> encoded, BYTE number) {
    const auto body = std::make_shared<const CertificateBody>(encoded);
    // Little-endian in the record, so that its first byte is the last one in the encoding.
    const CRYPT_INTEGER_BLOB& serial = body->info().SerialNumber;
    std::vector<BYTE> wanted(serial.pbData, serial.pbData + serial.cbData);
    std::reverse(wanted.begin(), wanted.end());
    const auto at = std::search(encoded.begin(), encoded.end(), wanted.begin(), wanted.end());
    *(at + static_cast<std::ptrdiff_t>(wanted.size()) - 1) = number;
    return encoded;
}

TEST(BodyCache, GivesWhatWasKeptForTheSameBytesAndNothingElse) {
    const std::vector<BYTE> first = certificate("rsa.cer");
    std::vector<BYTE> other = first;
    other.back() ^= 1; // of the signature: the same size
    const auto body = body_of(first);
    EXPECT_NE(body_of(first), body) << "reading alone keeps nothing";
    keep_body(body);
    keep_body(body_of(first));
    EXPECT_EQ(body_of(first), body);
    EXPECT_NE(body_of(other), body);
    EXPECT_TRUE(same_bytes(body_of(other)->encoded(), other));
    EXPECT_THROW(body_of(Bytes(first).first(first.size() - 1)), Fault);
}

TEST(BodyCache, TheOneUsedLeastRecentlyGoes) {
    const std::vector<BYTE> first = certificate("root.cer");
    const auto body = body_of(first);
    keep_body(body);
    const auto second = body_of(numbered(first, 1));
    keep_body(second);
    for (BYTE i = 2; i < 33; ++i) {
        EXPECT_EQ(body_of(first), body);
        keep_body(body_of(numbered(first, i)));
    }
    EXPECT_EQ(body_of(first), body);
    EXPECT_NE(body_of(second->encoded()), second);
}

} // namespace
} // namespace basalt
