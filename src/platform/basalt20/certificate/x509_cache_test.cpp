// How much the process keeps of prepared certificates.
#include <basalt/certificate/x509_cache.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace basalt {
namespace {

std::vector<BYTE> test_certificate() {
    std::ifstream in(CHRONOSEAL_TESTDATA "/rsa.cer", std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

Sha256 digest_of(std::size_t number) {
    return sha256({reinterpret_cast<const BYTE*>(&number), sizeof number});
}

std::shared_ptr<X509Entry> entry_of(std::size_t bytes) {
    auto entry = std::make_shared<X509Entry>();
    entry->encoded_size = bytes;
    return entry;
}

bool is_kept(std::size_t number, const std::shared_ptr<const X509Entry>& entry) {
    return x509_by_digest(digest_of(number), test_certificate()) == entry;
}

TEST(X509Cache, IsBoundedByBytesAndByNumberAndTakesNothingLarge) {
    constexpr std::size_t kKilobytes = 1024;
    std::vector<std::shared_ptr<X509Entry>> entries;
    for (std::size_t i = 0; i < 100; ++i) {
        entries.push_back(entry_of(15 * kKilobytes));
        keep_x509(digest_of(i), entries.back());
        EXPECT_LE(kept_x509_bytes(), 1024 * kKilobytes);
    }
    EXPECT_GT(kept_x509_bytes(), 1000 * kKilobytes);
    EXPECT_FALSE(is_kept(0, entries.front()));
    EXPECT_TRUE(is_kept(99, entries.back()));
    const auto large = entry_of(17 * kKilobytes);
    keep_x509(digest_of(1000), large);
    EXPECT_FALSE(is_kept(1000, large));
    for (std::size_t i = 2000; i < 3000; ++i) {
        keep_x509(digest_of(i), entry_of(1));
    }
    EXPECT_EQ(kept_x509_bytes(), 512U);
    EXPECT_FALSE(is_kept(99, entries.back()));
}

// Whoever only reads a certificate leaves nothing behind: that is for whoever has vouched for it.
TEST(X509Cache, ReadingKeepsNothing) {
    const std::size_t before = kept_x509_bytes();
    const std::vector<BYTE> encoded = test_certificate();
    EXPECT_NE(x509_by_digest(sha256(encoded), encoded), nullptr);
    EXPECT_EQ(kept_x509_bytes(), before);
}

} // namespace
} // namespace basalt
