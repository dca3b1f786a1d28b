// Lists of hashes, line by line, through the C interface.
#include <vector>

#include <chronoseal/c_interface/testing/caller.h>

namespace chronoseal::testing {
namespace {

struct Seen {
    std::vector<std::string> names, shown;
    std::uint64_t last = 0;
    int answer = 0;
};

int see(void* user, const chronoseal_manifest_line* line) {
    auto& seen = *static_cast<Seen*>(user);
    EXPECT_STREQ(line->algorithm, "SHA-256");
    EXPECT_EQ(line->digest.size, 32U);
    seen.names.push_back(text_of(line->name));
    seen.shown.emplace_back(line->shown_name);
    seen.last = line->number;
    return seen.answer;
}

class CManifestTest : public SealTest {
protected:
    CManifestTest() {
        EXPECT_EQ(chronoseal_hash(nullptr, "x", 1, &digest, &error), CHRONOSEAL_OK);
        for (const std::string& name : names) {
            unsigned char* line = nullptr;
            std::size_t size = 0;
            EXPECT_EQ(chronoseal_manifest_write_line(&digest, name.data(), name.size(), &line,
                                                     &size, &error),
                      CHRONOSEAL_OK);
            list += taken(line, size);
        }
    }

    const std::vector<std::string> names = {"a", "a\nb\x1b[2J"};
    CallerError error;
    std::string list;
    Seen seen;
    chronoseal_digest digest{};
    std::uint64_t lines = 0;
};

TEST_F(CManifestTest, AListIsReadWholeOrInPieces) {
    EXPECT_EQ(list.substr(0, 69), to_hex(to_bytes(tsp::sha256("x"))) + "  a\n\\");
    const auto path = folder.write("list", list).string();
    ASSERT_EQ(chronoseal_manifest_read(path.c_str(), see, &seen, nullptr, &digest, &lines, &error),
              CHRONOSEAL_OK)
        << error.why();
    EXPECT_EQ(lines, 2U);
    EXPECT_EQ(seen.names, names);
    EXPECT_EQ(seen.shown[1].find('\x1b'), std::string::npos);
    EXPECT_EQ(seen.last, 2U);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(digest.value), digest.size),
              tsp::sha256(list));

    seen = {};
    chronoseal_manifest_reader* reader = nullptr;
    ASSERT_EQ(chronoseal_manifest_reader_new(see, &seen, &reader, &error), CHRONOSEAL_OK);
    const std::unique_ptr<chronoseal_manifest_reader, FreeBy<chronoseal_manifest_reader_free>>
        owner(reader);
    for (const char& one : list) {
        ASSERT_EQ(chronoseal_manifest_reader_feed(reader, &one, 1, &error), CHRONOSEAL_OK);
    }
    chronoseal_digest again{};
    ASSERT_EQ(chronoseal_manifest_reader_finish(reader, &again, &lines, &error), CHRONOSEAL_OK);
    EXPECT_EQ(seen.names, names);
    EXPECT_EQ(std::memcmp(&again, &digest, sizeof again), 0);
    EXPECT_EQ(chronoseal_manifest_reader_feed(reader, "x", 1, &error), CHRONOSEAL_MISUSE);
    EXPECT_EQ(error.word(), "manifest_finished");
    EXPECT_EQ(chronoseal_manifest_reader_finish(reader, &again, &lines, &error), CHRONOSEAL_MISUSE);
}

TEST_F(CManifestTest, AListEndsByItsCallbackItsControlOrItsFaults) {
    const auto word_of = [&](const std::string& text, const chronoseal_control* control = nullptr) {
        const auto path = folder.write("list", text).string();
        chronoseal_manifest_read(path.c_str(), see, &seen, control, &digest, &lines, &error);
        EXPECT_EQ(lines, 0U);
        EXPECT_EQ(digest.size, 0U);
        return error.word();
    };
    EXPECT_EQ(word_of(list + "hello\n"), "manifest_line");
    EXPECT_EQ(word_of(""), "manifest_empty");
    EXPECT_EQ(word_of("d41d8cd98f00b204e9800998ecf8427e  a\n"), "manifest_hash");
    chronoseal_stop* stop = nullptr;
    ASSERT_EQ(chronoseal_stop_new(&stop, &error), CHRONOSEAL_OK);
    chronoseal_stop_request(stop, nullptr);
    chronoseal_control control{};
    control.size = sizeof control;
    control.stop = stop;
    EXPECT_EQ(word_of(list, &control), "cancelled");
    chronoseal_stop_free(&stop);
    seen = {};
    seen.answer = -1;
    EXPECT_EQ(word_of(list), "cancelled");
    EXPECT_EQ(seen.last, 1U);
    EXPECT_EQ(chronoseal_manifest_read("/nowhere/at/all", nullptr, nullptr, nullptr, &digest,
                                       &lines, &error),
              CHRONOSEAL_UNREACHABLE);

    // A reader that has failed doesn't go on in the middle. Small lists are told at their end.
    while (list.size() < 100'000) {
        list += list;
    }
    chronoseal_manifest_reader* reader = nullptr;
    ASSERT_EQ(chronoseal_manifest_reader_new(see, &seen, &reader, &error), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_manifest_reader_feed(reader, list.data(), list.size(), &error),
              CHRONOSEAL_UNREACHABLE);
    EXPECT_EQ(error.word(), "cancelled");
    EXPECT_EQ(chronoseal_manifest_reader_feed(reader, list.data(), list.size(), &error),
              CHRONOSEAL_MISUSE);
    chronoseal_manifest_reader_free(&reader);
    const auto thrower = [](void*, const chronoseal_manifest_line*) -> int { throw 5; };
    ASSERT_EQ(chronoseal_manifest_reader_new(thrower, nullptr, &reader, &error), CHRONOSEAL_OK);
    EXPECT_EQ(chronoseal_manifest_reader_feed(reader, list.data(), list.size(), &error),
              CHRONOSEAL_MISUSE);
    EXPECT_EQ(error.word(), "callback_threw");
    chronoseal_manifest_reader_free(&reader);
}

TEST_F(CManifestTest, AMissingArgumentIsToldAndNeverFollowed) {
    chronoseal_manifest_reader* reader = nullptr;
    unsigned char* line = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(chronoseal_hash(nullptr, "x", 1, &digest, &error), CHRONOSEAL_OK);
    expect_argument_missing({
        ROW(chronoseal_manifest_read(nullptr, see, &seen, nullptr, &digest, &lines, e)),
        ROW(chronoseal_manifest_read("x", see, &seen, nullptr, nullptr, &lines, e)),
        ROW(chronoseal_manifest_read("x", see, &seen, nullptr, &digest, nullptr, e)),
        ROW(chronoseal_manifest_reader_new(see, &seen, nullptr, e)),
        ROW(chronoseal_manifest_reader_feed(nullptr, "x", 1, e)),
        ROW(chronoseal_manifest_reader_finish(nullptr, &digest, &lines, e)),
        ROW(chronoseal_manifest_reader_finish(reader, nullptr, &lines, e)),
        ROW(chronoseal_manifest_write_line(nullptr, "x", 1, &line, &size, e)),
        ROW(chronoseal_manifest_write_line(&digest, nullptr, 1, &line, &size, e)),
        ROW(chronoseal_manifest_write_line(&digest, "x", 1, nullptr, &size, e)),
    });
    chronoseal_manifest_reader_free(nullptr);
}

} // namespace
} // namespace chronoseal::testing
