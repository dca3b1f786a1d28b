// The tree over real files: the environment leads to a folder of the test's own.
#include <basalt/configuration.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace {

class Configuration : public testing::Test {
protected:
    Configuration() {
        umask(S_IWGRP | S_IWOTH); // configuration that others may write to is refused
        std::string pattern = testing::TempDir() + "basalt_configuration_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        file_ = folder_ + "/config.toml";
        setenv("BASALT_CONFIG", file_.c_str(), 1);
    }
    ~Configuration() override {
        unsetenv("BASALT_CONFIG");
        std::filesystem::remove_all(folder_);
    }

    void write(const std::string& text) const {
        std::ofstream(file_) << text;
        support_registry_refresh();
    }

    std::string folder_;
    std::string file_;
};

struct Answer {
    int size_code = 0;
    int code = -1; // -1: not asked
    std::string bytes;
};

using Reader = int (*)(const char*, std::size_t*, char*);

// The two calls as a careful reader makes them, into an exact heap block.
Answer read(Reader reader, const char* path) {
    Answer answer;
    std::size_t size = 0;
    answer.size_code = reader(path, &size, nullptr);
    if (answer.size_code == 0) {
        std::vector<char> buffer(size + 1, '#');
        answer.code = reader(path, &size, buffer.data());
        if (answer.code == 0) {
            EXPECT_EQ(buffer[size], '\0');
            answer.bytes.assign(buffer.data(), size);
        }
    }
    return answer;
}

// What a reading of a number, or of a switch, ends with, and what it has read; -1: nothing.
template <class Value>
std::pair<int, Value> value_at(int (*reader)(const char*, Value*), const char* path) {
    Value value = -1;
    const int code = reader(path, &value);
    return {code, value};
}

std::pair<int, long> number_at(const char* path) {
    return value_at(support_registry_get_long, path);
}

std::string problem() {
    return read([](const char*, std::size_t* size,
                   char* buffer) { return support_registry_problem(size, buffer); },
                "")
        .bytes;
}

} // namespace

TEST_F(Configuration, FourTypes) {
    write("[config.cades.tsppolicy]\n"
          "StampAccuracy = 180001\nNegative = -5\nRequireNonce = true\nDisableNonce = 0\nOne = 7\n"
          "DefaultTSPURL = 'http://tsa.example/\u00e9'\nEmpty = ''\n"
          "AllowedTSPs = ['http://a/', '', 'http://b/']\nNone = []\n");
    const std::string policy = "\\config\\cades\\tsppolicy\\";
    EXPECT_EQ(number_at((policy + "StampAccuracy").c_str()), std::pair(0, 180001L));
    EXPECT_EQ(number_at((policy + "Negative").c_str()), std::pair(0, -5L));
    for (const auto& [name, flag] :
         {std::pair{"RequireNonce", 1}, std::pair{"DisableNonce", 0}, std::pair{"One", 1}}) {
        EXPECT_EQ(value_at(support_registry_get_bool, (policy + name).c_str()), std::pair(0, flag));
    }
    const auto string = [&](const char* name) {
        return read(support_registry_get_string, (policy + name).c_str());
    };
    EXPECT_EQ(string("DefaultTSPURL").bytes, "http://tsa.example/\xC3\xA9");
    EXPECT_EQ(string("Empty").code, 0);
    EXPECT_EQ(string("Empty").bytes, "");
    const auto list = [&](const char* name) {
        return read(support_registry_get_multi_string, (policy + name).c_str());
    };
    EXPECT_EQ(list("AllowedTSPs").bytes, std::string("http://a/\0\0http://b/\0", 21));
    EXPECT_EQ(list("None").code, 0);
    EXPECT_EQ(list("None").bytes, "");
    EXPECT_EQ(list("DefaultTSPURL").bytes, std::string("http://tsa.example/\xC3\xA9\0", 22));
}

TEST_F(Configuration, AbsentKeysAndTables) {
    write("[config.cades]\nx = 1\n");
    for (const char* path : {"\\config\\cades\\y", "\\config\\cades", "\\config\\cades\\x\\z",
                             "\\config\\CADES\\x", "\\config\\cades\\", "\\"}) {
        EXPECT_EQ(number_at(path), std::pair(2, -1L)) << path;
        EXPECT_EQ(value_at(support_registry_get_bool, path), std::pair(2, -1)) << path;
        EXPECT_EQ(read(support_registry_get_string, path).size_code, 2) << path;
        EXPECT_EQ(read(support_registry_get_multi_string, path).size_code, 2) << path;
    }
    EXPECT_EQ(number_at("config\\cades\\x").first, 87);
    EXPECT_EQ(number_at(nullptr).first, 87);
    EXPECT_EQ(support_registry_get_long("\\config\\cades\\x", nullptr), 87);
    EXPECT_EQ(support_registry_get_string("\\config\\cades\\x", nullptr, nullptr), 87);
}

// A list of addresses that was mistyped must not pass for no list: its reader would allow
// everything.
TEST_F(Configuration, ValueOfTheWrongTypeIsNotAbsent) {
    write("text = '1'\nnumber = 1\nreal = 1.0\nmixed = ['a', 1]\nzero = \"a\\u0000b\"\n"
          "zeros = [\"a\\u0000b\"]\n");
    EXPECT_EQ(number_at("\\text"), std::pair(1629, -1L));
    EXPECT_EQ(number_at("\\real"), std::pair(1629, -1L));
    EXPECT_EQ(value_at(support_registry_get_bool, "\\text"), std::pair(1629, -1));
    const auto expect = [](Reader reader, const char* path, int code) {
        const Answer answer = read(reader, path);
        EXPECT_EQ(answer.size_code, 0) << path;
        EXPECT_EQ(answer.code, code) << path;
    };
    expect(support_registry_get_string, "\\number", 1629);
    expect(support_registry_get_string, "\\mixed", 1629);
    expect(support_registry_get_string, "\\zero", 13);
    expect(support_registry_get_multi_string, "\\number", 1629);
    expect(support_registry_get_multi_string, "\\mixed", 1629);
    expect(support_registry_get_multi_string, "\\zeros", 13);
}

TEST_F(Configuration, BrokenFileIsAnErrorForEveryKeyAndSaysWhere) {
    write("[config]\nfine = 'x'\nbad = [1,\n[\n");
    EXPECT_EQ(number_at("\\config\\fine").first, 1009);
    for (const char* path : {"\\config\\fine", "\\config\\nothing"}) {
        const Answer answer = read(support_registry_get_multi_string, path);
        EXPECT_EQ(answer.size_code, 0);
        EXPECT_EQ(answer.code, 1009);
    }
    EXPECT_EQ(problem().find(file_ + ":4:"), 0U) << problem();
    write("[config]\nfine = 'x'\n");
    EXPECT_EQ(problem(), "");
    EXPECT_EQ(read(support_registry_get_string, "\\config\\fine").bytes, "x");
}

TEST_F(Configuration, NoFilePipeFolderAndHugeFileAreFaults) {
    EXPECT_EQ(number_at("\\a").first, 1009); // not there
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    support_registry_refresh();
    EXPECT_EQ(number_at("\\a").first, 1009);
    std::filesystem::remove(file_);
    std::filesystem::create_directory(file_);
    support_registry_refresh();
    EXPECT_EQ(number_at("\\a").first, 1009);
    std::filesystem::remove(file_);
    write("a = 1\n" + std::string((1 << 20), '#'));
    EXPECT_EQ(number_at("\\a").first, 1009);
    setenv("BASALT_CONFIG", "/dev/zero", 1);
    EXPECT_EQ(number_at("\\a").first, 1009);
    setenv("BASALT_CONFIG", "/dev/null", 1);
    EXPECT_EQ(number_at("\\a").first, 2);
}

TEST_F(Configuration, DeepNestingDoesNotOverflowTheStack) {
    const auto dots = [](std::size_t count) {
        std::string text = "a";
        for (std::size_t i = 0; i < count; ++i) {
            text += ".a";
        }
        return text;
    };
    // Each hides the dots from a reader that takes quotes, comments or line ends another way.
    const std::string deep = dots(400000) + " = 1\n";
    for (const std::string& text : {
             "x = [ { y = \"\"\"\n'\"\"\", " + dots(400000) + " = 1, b = 'x' } ]\n",
             "x = \"\"\"\"\"\\\"'\"\"\"\"\"\n" + deep,
             "x = '''\"\"\"'''\n" + deep,
             "x = \"\"\n\"'\".b = 1\n" + deep,
             "x = 'a\\'\n" + deep + "y = '''\n'''",
             "# \"\"\"\n" + deep + "# \"\"\"\n",
             "x = 1 # '\r\n" + deep,
             "x = 1 # \xE2\x80\xA8" + deep,
             "x = \"\"\"\\\r\n\"\"\"\r\n" + deep,
             "x = {" + dots(15) + "={" + dots(300000) + "=1}}",
             "[" + dots(400000) + "]\nx = 1\n",
             "x = " + std::string(500000, '['),
             "x = " + std::string(100, '[') + std::string(100, ']'),
         }) {
        write(text);
        EXPECT_EQ(number_at("\\a").first, 1009) << text.substr(0, 40);
    }
    // Within the bounds, in every way at once.
    std::string nested = "1";
    for (int i = 0; i < 8; ++i) {
        nested = "{" + dots(16) + " = [" + nested + "]}";
    }
    write("[" + dots(16) + "]\n" + dots(16) + " = " + nested + "\n");
    EXPECT_EQ(problem(), "");
}

TEST_F(Configuration, LargeTextsAreReadAndListedInTime) {
    std::string keys = "[config.cades.tsppolicy]\n";
    for (int i = 0; keys.size() < 300000; ++i) {
        keys += "k" + std::to_string(i) + "=1\n";
    }
    write(keys);
    EXPECT_EQ(problem(), "");
    DWORD count = 0;
    char name[64];
    for (std::size_t size = sizeof name - 1;
         support_registry_enum("\\config", count, &size, name) == 0; size = sizeof name - 1) {
        ++count;
    }
    EXPECT_GT(count, 30000U);
    int finding = 0;
    DWORD findings = 0;
    for (std::size_t size = sizeof name - 1;
         support_registry_check(findings, &finding, &size, name) == 0; size = sizeof name - 1) {
        ++findings;
    }
    EXPECT_EQ(findings, count);
    std::string tables;
    while (tables.size() < 900000) {
        tables += "[[a]]\n";
    }
    for (const std::string& text : {"a = [" + std::string(900000, '\n') + "1]",
                                    "a = \"\"\"" + std::string(900000, '\'') + "\"\"\"", tables}) {
        write(text);
        EXPECT_EQ(problem(), "");
    }
}

TEST_F(Configuration, ChangedFileIsReadAgain) {
    for (long i = 1; i < 10; ++i) { // quicker than the clock that stamps files, and of one size
        write("a = " + std::to_string(i) + "\n");
        ASSERT_EQ(number_at("\\a"), std::pair(0, i));
    }
    std::ofstream(file_ + ".new") << "a = 0\n";
    std::filesystem::rename(file_ + ".new", file_);
    support_registry_refresh();
    EXPECT_EQ(number_at("\\a"), std::pair(0, 0L));
}

TEST_F(Configuration, SmallBufferGetsNothingAndTheNeededSize) {
    write("s = 'abcdef'\n");
    char buffer[] = "######";
    std::size_t size = 5;
    EXPECT_EQ(support_registry_get_string("\\s", &size, buffer), 234);
    EXPECT_EQ(size, 6U);
    EXPECT_STREQ(buffer, "######");
}

TEST_F(Configuration, UserFileAddsButNeverOverrides) {
    if (std::filesystem::exists("/etc/basalt/config.toml")) {
        GTEST_SKIP() << "this machine has a configuration of its own";
    }
    const char* home = std::getenv("HOME");
    const std::string old_home = home != nullptr ? home : "";
    unsetenv("BASALT_CONFIG");
    std::filesystem::create_directories(folder_ + "/.config/basalt");
    const std::string user_file = folder_ + "/.config/basalt/config.toml";
    std::ofstream(user_file) << "a = 1\n";
    setenv("HOME", folder_.c_str(), 1);
    EXPECT_EQ(number_at("\\a"), std::pair(0, 1L));
    EXPECT_EQ(read(support_registry_origin, "\\a").bytes, user_file);
    setenv("HOME", "relative", 1);
    EXPECT_EQ(number_at("\\a").first, 2);
    setenv("HOME", old_home.c_str(), 1);
}

TEST_F(Configuration, ListingIsSortedWithTypesAndOrigin) {
    write("[config.b]\nz = 1\na = true\nd = 1979-05-27\nl = ['x']\nm = ['x', 2]\n[config.bb]\nq = "
          "'s'\n");
    std::vector<std::pair<std::string, int>> found;
    for (DWORD i = 0;; ++i) {
        char name[64];
        std::size_t size = sizeof name - 1;
        const int code = support_registry_enum("\\config\\b", i, &size, name);
        if (code != 0) {
            EXPECT_EQ(code, 259);
            break;
        }
        int type = 0;
        EXPECT_EQ(support_registry_get_type(name, &type), 0);
        EXPECT_EQ(read(support_registry_origin, name).bytes, file_);
        found.emplace_back(name, type);
    }
    const std::vector<std::pair<std::string, int>> expected = {
        {"\\config\\b\\a", SUPPORT_REGISTRY_BOOL},
        {"\\config\\b\\d", SUPPORT_REGISTRY_OTHER},
        {"\\config\\b\\l", SUPPORT_REGISTRY_MULTI_STRING},
        {"\\config\\b\\m", SUPPORT_REGISTRY_OTHER},
        {"\\config\\b\\z", SUPPORT_REGISTRY_NUMBER}};
    EXPECT_EQ(found, expected);
}

// A process that makes thirty readings in a row looks at its file once, and a server that runs for
// days sees a change all the same.
TEST_F(Configuration, ArraysOfTablesGoByNumber) {
    write("[[config.chronoseal.authority]]\nUrl = 'a'\n"
          "[[config.chronoseal.authority]]\nUrl = 'b'\nUrk = 'c'\n");
    EXPECT_EQ(read(support_registry_get_string, "\\config\\chronoseal\\authority\\1\\Url").bytes,
              "b");
    EXPECT_EQ(
        read(support_registry_get_string, "\\config\\chronoseal\\authority\\2\\Url").size_code, 2);
    EXPECT_EQ(
        read(support_registry_get_string, "\\config\\chronoseal\\authority\\x\\Url").size_code, 2);
    int finding = 0;
    std::string path(200, '\0');
    std::size_t size = path.size() - 1;
    ASSERT_EQ(support_registry_check(0, &finding, &size, path.data()), 0);
    EXPECT_EQ(finding, SUPPORT_REGISTRY_UNKNOWN);
    EXPECT_EQ(path.substr(0, size), "\\config\\chronoseal\\authority\\1\\Urk");
    size = path.size() - 1;
    EXPECT_NE(support_registry_check(1, &finding, &size, path.data()), 0);
}

TEST_F(Configuration, FilesAreLookedAtOnceASecond) {
    write("a = 1\n");
    EXPECT_EQ(number_at("\\a"), std::pair(0, 1L));
    std::ofstream(file_) << "a = 2\n";
    EXPECT_EQ(number_at("\\a"), std::pair(0, 1L));
    for (int tries = 0; number_at("\\a").second == 1 && tries < 100; ++tries) {
        usleep(50000);
    }
    EXPECT_EQ(number_at("\\a"), std::pair(0, 2L));
}

TEST_F(Configuration, FindingsTellSlipsOfThePen) {
    write("[config.cades.tsppolicy]\nRequireNonce = 'yes'\nAllowedTSPs = ['a', 1]\n"
          "AuthTypeDefault = 3\nDefaultTSPURL = \"a\\u0000\"\nDisableNonce = 1\nrequirenonce = 1\n"
          "[config.cades.tspolicy]\nAllowedTSPs = []\n[config.cades.tsppolicies]\n"
          "[config.trace.levels]\ntsp = 8\nall = 'x'\n"
          "[config.network]\nMaxAnswerBytes = 0\n[config.basalt]\nRevocation = 'Off'\n[other]\n");
    std::vector<std::pair<std::string, int>> found;
    std::vector<std::string> nearest;
    char name[80];
    for (DWORD i = 0;; ++i) {
        std::size_t size = sizeof name - 1;
        int finding = 0;
        const int code = support_registry_check(i, &finding, &size, name);
        if (code != 0) {
            EXPECT_EQ(code, 259);
            break;
        }
        found.emplace_back(name, finding);
        size = sizeof name - 1;
        if (finding == SUPPORT_REGISTRY_UNKNOWN) {
            const bool any = support_registry_nearest(found.back().first.c_str(), &size, name) == 0;
            nearest.emplace_back(any ? name : "");
        }
    }
    const std::string policy = "\\config\\cades\\tsppolicy\\";
    const std::vector<std::pair<std::string, int>> expected = {
        {"\\config\\basalt\\Revocation", SUPPORT_REGISTRY_WRONG_VALUE},
        {"\\config\\cades\\tspolicy\\AllowedTSPs", SUPPORT_REGISTRY_UNKNOWN},
        {"\\config\\cades\\tsppolicies", SUPPORT_REGISTRY_UNKNOWN},
        {policy + "AllowedTSPs", SUPPORT_REGISTRY_WRONG_TYPE},
        {policy + "AuthTypeDefault", SUPPORT_REGISTRY_WRONG_VALUE},
        {policy + "DefaultTSPURL", SUPPORT_REGISTRY_WRONG_VALUE},
        {policy + "RequireNonce", SUPPORT_REGISTRY_WRONG_TYPE},
        {policy + "requirenonce", SUPPORT_REGISTRY_UNKNOWN},
        {"\\config\\network\\MaxAnswerBytes", SUPPORT_REGISTRY_WRONG_VALUE},
        {"\\config\\trace\\levels\\all", SUPPORT_REGISTRY_WRONG_TYPE},
        {"\\other", SUPPORT_REGISTRY_UNKNOWN}};
    EXPECT_EQ(found, expected);
    const std::vector<std::string> meant = {policy + "AllowedTSPs", "", policy + "RequireNonce",
                                            ""};
    EXPECT_EQ(nearest, meant);
}
