// Which files count, and who may have written them, with files of the test's own in the place of
// the machine's.
#include <basalt/sup/configuration_tree.h>
#include <basalt/sup/toml_bounds.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

namespace {

using basalt::ConfigurationPlaces;
using basalt::ConfigurationTree;

constexpr uid_t kSomebody = 4711;

class ConfigurationFiles : public testing::Test {
protected:
    ConfigurationFiles() {
        umask(S_IWGRP | S_IWOTH); // configuration that others may write to is refused
        std::string pattern = testing::TempDir() + "basalt_files_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        places_.machine_file = folder_ + "/machine.toml";
        places_.user_file = folder_ + "/user.toml";
        places_.user = geteuid() == 0 ? kSomebody : geteuid(); // files of root are anybody's
    }
    ~ConfigurationFiles() override { std::filesystem::remove_all(folder_); }

    static void write(const std::string& name, const std::string& text, mode_t mode = 0644) {
        std::ofstream(name) << text;
        chmod(name.c_str(), mode);
    }

    // The value of "\a", or -1; -2 for a broken tree.
    long value() const {
        const ConfigurationTree tree(places_);
        const basalt::FoundNode found = tree.find("\\a");
        return tree.broken() ? -2 : found.node == nullptr ? -1 : found.node->value_or(-1L);
    }

    std::string problem() const {
        const ConfigurationTree tree(places_);
        for (const basalt::ConfigurationFile& file : tree.files()) {
            if (!file.problem.empty()) {
                return file.problem;
            }
        }
        return "";
    }

    std::string folder_;
    ConfigurationPlaces places_;
};

TEST_F(ConfigurationFiles, MachinesFileGoesFirstAndStaysUnderAnOverride) {
    write(places_.user_file, "a = 1\nc = 1\n");
    EXPECT_EQ(value(), 1);
    write(places_.machine_file, "a = 2\n");
    EXPECT_EQ(value(), 2);
    places_.override_file = folder_ + "/other.toml";
    EXPECT_EQ(value(), -2); // has to be there
    write(places_.override_file, "a = 3\nb = 4\n");
    EXPECT_EQ(value(), 2);
    const ConfigurationTree tree(places_);
    EXPECT_NE(tree.find("\\b").node, nullptr); // it still adds
    EXPECT_EQ(tree.find("\\c").node, nullptr); // in the place of the user's
    EXPECT_EQ(tree.values(), (std::vector<std::string>{"\\a", "\\b"}));
}

TEST_F(ConfigurationFiles, MachineOrRootMayAllowTheOverride) {
    places_.override_file = folder_ + "/other.toml";
    write(places_.override_file, "a = 3\nconfig.basalt.AllowOverride = true\n");
    write(places_.machine_file, "a = 2\n");
    EXPECT_EQ(value(), 2); // only the machine's own word counts
    for (const char* no : {"false", "1", "'true'"}) {
        write(places_.machine_file, "a = 2\nconfig.basalt.AllowOverride = " + std::string(no));
        EXPECT_EQ(value(), 2) << no;
    }
    write(places_.machine_file, "a = 2\nb = 2\n[config.basalt]\nAllowOverride = true\n");
    EXPECT_EQ(value(), 3);
    EXPECT_EQ(ConfigurationTree(places_).find("\\b").node, nullptr);
    write(places_.machine_file, "a = 2\n[config.basalt]\nAllowOverride = true\nbroken");
    EXPECT_EQ(value(), -2);
    if (geteuid() == 0) {
        places_.user = 0;
        EXPECT_EQ(value(), 3); // root repairs a broken machine with a file beside it
    }
}

TEST_F(ConfigurationFiles, FilesThatOthersMayWriteAreFaultsAndNeverSkipped) {
    for (const mode_t mode : {0664U, 0646U, 0666U}) {
        for (const std::string& name : {places_.machine_file, places_.user_file}) {
            write(name, "b = 1\n", mode);
            EXPECT_EQ(value(), -2) << name << mode;
            EXPECT_TRUE(problem().starts_with(name + ": others may write")) << problem();
            std::filesystem::remove(name);
        }
        places_.override_file = folder_ + "/other.toml";
        write(places_.override_file, "a = 3\n", mode);
        EXPECT_EQ(value(), -2);
        places_.override_file.clear();
    }
    places_.override_file = "/dev/null"; // everybody writes to it, and nothing stays
    EXPECT_EQ(value(), -1);
}

TEST_F(ConfigurationFiles, FilesOfOthersAreFaults) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    write(places_.user_file, "a = 1\n");
    ASSERT_EQ(chown(places_.user_file.c_str(), kSomebody, kSomebody), 0);
    EXPECT_EQ(value(), 1); // one's own
    places_.user = 0;
    EXPECT_EQ(value(), -2); // root under another's HOME
    places_.user = kSomebody + 1;
    EXPECT_EQ(value(), -2);
    EXPECT_TRUE(problem().starts_with(places_.user_file + ": belongs to")) << problem();
    places_.user = kSomebody;
    write(places_.machine_file, "a = 2\n");
    EXPECT_EQ(value(), 2);
    ASSERT_EQ(chown(places_.machine_file.c_str(), kSomebody, kSomebody), 0);
    EXPECT_EQ(value(), -2); // the machine's is root's alone
}

TEST_F(ConfigurationFiles, FolderOutOfReachIsNoFaultAndUnreadableFileIsOne) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root reads everything";
    }
    write(places_.user_file, "a = 1\n", 0);
    EXPECT_EQ(value(), -2);
    places_.user_file = folder_ + "/closed/user.toml";
    std::filesystem::create_directory(folder_ + "/closed");
    write(places_.user_file, "a = 1\n");
    chmod((folder_ + "/closed").c_str(), 0);
    EXPECT_EQ(value(), -1);
    chmod((folder_ + "/closed").c_str(), 0700);
}

// What the parser takes mustn't be refused for its quotes.
TEST(TomlBounds, QuotesAndCommentsAsTomlHasThem) {
    struct Case {
        const char* text;
        std::size_t line; // of the fault
    };
    const Case cases[] = {
        {"a = '''x'y''z''''' # it's\nb = \"\\\"#\"\n", 0},
        {"a = \"\"\"\"\"x\"\"\"\"\"\nb = ''\n", 0},
        {"a = \"\"\"\\\n  x\\\\\"\"\"\r\n", 0},
        {"a = ['1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17.18', 1.5, 07:32:00.99]\n", 0},
        {"x = { a.b = 1, c.d = 2, e.f = 3, g.h = 4, i.j = 5, k.l = 6, m.n = 7, o.p = 8, q.r = 9,"
         " a1.b = 1, c1.d = 2, e1.f = 3, g1.h = 4, i1.j = 5, k1.l = 6, m1.n = 7, o1.p = 8 }\n",
         0},
        {"a = 1\nb = 'x\n'\n", 2},
        {"a = \"\"\"\n\n\"\"", 3},
        {"\na = ''''''''''\n", 2},
        {"a = 1\rb = 2\n", 1},
        {"# \x01\n", 1},
        {"a = \"\\\n\"", 1},
        {"[a]\n [ . ]\n", 2},
        {"[[\n", 1},
        {"[ 'a' . b ]\nx = [\n[1],\n[ # it\n]]\n[[\"c\"]]\n", 0},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(basalt::find_toml_fault(each.text).line, each.line) << each.text;
        if (each.line == 0) {
            EXPECT_NO_THROW(static_cast<void>(toml::parse(each.text))) << each.text;
        }
    }
}

std::size_t depth_of(const toml::node& node) {
    std::size_t most = 0;
    if (const toml::table* table = node.as_table()) {
        for (const auto& [key, inner] : *table) {
            most = std::max(most, depth_of(inner));
        }
    } else if (const toml::array* array = node.as_array()) {
        for (const toml::node& inner : *array) {
            most = std::max(most, depth_of(inner));
        }
    }
    return most + 1;
}

// Whatever quotes, comments and line ends stand around it, a long dotted name doesn't get past the
// walk and into the parser's tree.
TEST(TomlBounds, NoMixtureHidesALongName) {
    std::string deep = "a";
    for (int i = 0; i < 400; ++i) {
        deep += ".a";
    }
    const std::string pieces[] = {"\"",
                                  "\"\"\"",
                                  "'",
                                  "'''",
                                  "#",
                                  "\n",
                                  "\\",
                                  "x = ",
                                  "[",
                                  "]",
                                  "{",
                                  "}",
                                  ",",
                                  "\r\n",
                                  " ",
                                  "y",
                                  "1",
                                  deep,
                                  deep + " = 1\n",
                                  "z = \"\"\"",
                                  "w = '''",
                                  "\"\"\"\n",
                                  "'''\n"};
    std::mt19937 random(1);
    std::size_t accepted = 0;
    for (int i = 0; i < 40000; ++i) {
        std::string text;
        for (auto count = random() % 12; count != 0; --count) {
            text += pieces[random() % std::size(pieces)];
        }
        if (basalt::find_toml_fault(text).line != 0) {
            continue;
        }
        try {
            EXPECT_LT(depth_of(toml::parse(text)), 400U) << text;
            ++accepted;
        } catch (const toml::parse_error&) {
            // Refused, and the part of a tree that was made has been taken down.
        }
    }
    EXPECT_GT(accepted, 1000U);
}

} // namespace
