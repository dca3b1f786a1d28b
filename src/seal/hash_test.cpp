#include <fstream>
#include <thread>

#include <sys/stat.h>

#include <chronoseal/seal/testing/seal_fixture.h>

namespace chronoseal::testing {
namespace {

constexpr char kAbc[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

TEST(Hash, AlgorithmsGoByTheNamesThatPeopleWrite) {
    for (const char* name : {"SHA-256", "sha256", "Sha_256", "2.16.840.1.101.3.4.2.1"}) {
        const auto algorithm = HashAlgorithm::by_name(name);
        EXPECT_EQ(algorithm.oid(), "2.16.840.1.101.3.4.2.1");
        EXPECT_EQ(algorithm.name(), "SHA-256");
        EXPECT_EQ(algorithm.size(), 32U);
        EXPECT_FALSE(algorithm.weak());
    }
    EXPECT_TRUE(HashAlgorithm::by_name("sha1").weak());
    EXPECT_WORD("hash_unknown", HashAlgorithm::by_name("sha257"));
    EXPECT_WORD("hash_unknown", HashAlgorithm::by_name("1.2.3"));
    EXPECT_WORD("hash_unknown", HashAlgorithm::by_name(""));
}

TEST(Hash, PiecesFilesAndWholesGiveOneDigest) {
    const auto sha256 = HashAlgorithm::by_name("SHA-256");
    const Folder folder;
    Hasher hasher(sha256);
    hasher.update(bytes_of("a"));
    hasher.update({});
    hasher.update(bytes_of("bc"));
    const Digest digest = hasher.finish();
    EXPECT_EQ(to_hex(digest.value()), kAbc);
    EXPECT_EQ(digest, Digest::of(bytes_of("abc"), sha256));
    EXPECT_EQ(digest, Digest::from_hex(sha256, kAbc));
    std::uint64_t told = 0;
    EXPECT_EQ(digest, Digest::of_file(folder.write("abc", "abc"), sha256,
                                      [&](std::uint64_t done, std::uint64_t) { told = done; }));
    EXPECT_EQ(told, 3U);
    EXPECT_WORD("hash_finished", hasher.update(bytes_of("d")));
    EXPECT_WORD("digest_malformed", Digest::from_hex(sha256, "00"));
    EXPECT_WORD("file_unreadable", Digest::of_file(folder.path() / "none", sha256));
}

TEST(Hash, AStopEndsTheReadingOfAFile) {
    std::stop_source stop;
    stop.request_stop();
    const Folder folder;
    EXPECT_WORD("cancelled",
                Digest::of_file(folder.write("x", "x"), HashAlgorithm::by_name("sha256"), {},
                                stop.get_token()));
}

TEST(Hash, APipeIsReadAndAStopEndsItsSilence) {
    const Folder folder;
    const std::string pipe = (folder.path() / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const auto sha256 = HashAlgorithm::by_name("sha256");
    {
        const std::jthread writer([&] { std::ofstream(pipe) << "abc"; });
        EXPECT_EQ(to_hex(Digest::of_file(pipe, sha256).value()), kAbc);
    }
    std::stop_source stop;
    const std::jthread impatience([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        stop.request_stop();
    });
    EXPECT_WORD("cancelled", Digest::of_file(pipe, sha256, {}, stop.get_token()));
}

} // namespace
} // namespace chronoseal::testing
