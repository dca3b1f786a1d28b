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

class CManifestTest : public SealTest, public Caller {
protected:
    CManifestTest() {
        for (const std::string& name : names) {
            list += taken<chronoseal_manifest_write_line>(digest, name);
        }
    }

    const std::vector<std::string> names = {"a", "a\nb\x1b[2J"};
    std::string list;
    Seen seen;
    chronoseal_digest digest = hash("x");
    std::uint64_t lines = 0;
};

TEST_F(CManifestTest, AListIsReadWholeOrInPieces) {
    EXPECT_EQ(list.substr(0, 69), to_hex(to_bytes(tsp::sha256("x"))) + "  a\n\\");
    const auto path = folder.write("list", list);
    EXPECT_EQ(given<chronoseal_manifest_read>(path, see, &seen, nullptr, &digest), 2U);
    EXPECT_EQ(seen.names, names);
    EXPECT_EQ(seen.shown[1].find('\x1b'), std::string::npos);
    EXPECT_EQ(seen.last, 2U);
    EXPECT_EQ(text_of(digest), tsp::sha256(list));

    seen = {};
    const auto reader = made<chronoseal_manifest_reader_new>(see, &seen);
    for (const char& one : list) {
        done<chronoseal_manifest_reader_feed>(reader, &one, 1);
    }
    chronoseal_digest again{};
    EXPECT_EQ(given<chronoseal_manifest_reader_finish>(reader, &again), 2U);
    EXPECT_EQ(seen.names, names);
    EXPECT_EQ(std::memcmp(&again, &digest, sizeof again), 0);
    EXPECT_EQ(says<chronoseal_manifest_reader_feed>(reader, "x", 1), "misuse: manifest_finished");
    EXPECT_EQ(failure<chronoseal_manifest_reader_finish>(reader, &again),
              "misuse: manifest_finished");
}

TEST_F(CManifestTest, AListEndsByItsCallbackItsControlOrItsFaults) {
    const auto read = [&](const std::string& text, const chronoseal_control* control = nullptr) {
        const auto path = folder.write("list", text);
        const auto told = failure<chronoseal_manifest_read>(path, see, &seen, control, &digest);
        EXPECT_EQ(digest.size, 0U);
        return told;
    };
    EXPECT_EQ(read(list + "hello\n"), "refused: manifest_line");
    const auto stop = made<chronoseal_stop_new>();
    done<chronoseal_stop_request>(stop);
    const chronoseal_control control{sizeof control, stop.get(), nullptr, nullptr};
    EXPECT_EQ(read(list, &control), "unreachable: cancelled");
    seen = {};
    seen.answer = -1;
    EXPECT_EQ(read(list), "unreachable: cancelled");
    EXPECT_EQ(seen.last, 1U);

    // A reader that has failed doesn't go on in the middle. Small lists are told at their end.
    while (list.size() < 100'000) {
        list += list;
    }
    auto reader = made<chronoseal_manifest_reader_new>(see, &seen);
    EXPECT_EQ(says<chronoseal_manifest_reader_feed>(reader, list), "unreachable: cancelled");
    EXPECT_EQ(says<chronoseal_manifest_reader_feed>(reader, list), "misuse: manifest_finished");
    const auto thrower = [](void*, const chronoseal_manifest_line*) -> int { throw 5; };
    reader = made<chronoseal_manifest_reader_new>(thrower, nullptr);
    EXPECT_EQ(says<chronoseal_manifest_reader_feed>(reader, list), "misuse: callback_threw");
}

TEST_F(CManifestTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto reader = made<chronoseal_manifest_reader_new>(see, &seen);
    needs_all<chronoseal_manifest_read>("x", nullptr, nullptr, nullptr, kPlace, kPlace);
    needs_all<chronoseal_manifest_reader_new>(nullptr, nullptr, kPlace);
    needs_all<chronoseal_manifest_reader_finish>(reader, kPlace, kPlace);
    needs_all<chronoseal_manifest_reader_feed>(reader, nullptr, 0);
    EXPECT_EQ(says<chronoseal_manifest_reader_feed>(reader, nullptr, 1),
              "misuse: argument_missing");
    needs_all<chronoseal_manifest_write_line>(digest, "x", 1, kPlace, kPlace);
}

} // namespace
} // namespace chronoseal::testing
