#include <basalt/trace.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

class Trace : public testing::Test {
protected:
    Trace() {
        umask(S_IWGRP | S_IWOTH); // configuration that others may write to is refused
        std::string pattern = testing::TempDir() + "basalt_trace_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        file_ = folder_ + "/trace.log";
        setenv("BASALT_CONFIG", "/dev/null", 1);
        setenv("BASALT_TRACE_FILE", file_.c_str(), 1);
    }
    ~Trace() override {
        for (const char* name : {"BASALT_CONFIG", "BASALT_TRACE", "BASALT_TRACE_FILE"}) {
            unsetenv(name);
        }
        std::filesystem::remove_all(folder_);
    }

    std::vector<std::string> lines() const {
        std::vector<std::string> result;
        std::ifstream in(file_);
        for (std::string line; std::getline(in, line);) {
            result.push_back(line);
        }
        return result;
    }

    // The levels of the low eight bits that a new context of the module would write.
    static unsigned int levels(const char* module, unsigned int level = 0,
                               unsigned int mask = 127) {
        TSupportDbContext_* context = support_print_init(0, module, level, mask);
        unsigned int result = 0;
        for (unsigned int bit = 1; bit < 256; bit <<= 1) {
            result |= support_print_is(context, bit) != 0 ? bit : 0;
        }
        support_print_done(context);
        return result;
    }

    std::string folder_;
    std::string file_;
};

} // namespace

TEST_F(Trace, OffUnlessSwitchedOn) {
    EXPECT_EQ(levels("tsp"), 0U);
    EXPECT_FALSE(std::filesystem::exists(file_));
    EXPECT_EQ(levels("tsp", 3), 3U);
}

TEST_F(Trace, LevelsByEnvironmentAndTree) {
    setenv("BASALT_TRACE", "network=1,tsp=8,all=4", 1);
    EXPECT_EQ(levels("tsp"), 8U);
    EXPECT_EQ(levels("network"), 1U);
    EXPECT_EQ(levels("tspx"), 4U);
    EXPECT_EQ(levels("tsp", 0, 7), 0U); // the mask wins
    setenv("BASALT_TRACE", "tsp", 1);
    EXPECT_EQ(levels("tsp"), 127U);
    EXPECT_EQ(levels("network"), 0U);

    std::ofstream(folder_ + "/c.toml") << "[config.trace.levels]\ntsp = 2\nnetwork = 9\nall = 16\n";
    setenv("BASALT_CONFIG", (folder_ + "/c.toml").c_str(), 1);
    setenv("BASALT_TRACE", "tsp=8", 1);
    EXPECT_EQ(levels("tsp"), 8U);
    EXPECT_EQ(levels("network"), 9U);
    EXPECT_EQ(levels("other"), 16U);
}

TEST_F(Trace, LineHoldsItsPartsAndLeavesErrnoAlone) {
    setenv("BASALT_TRACE", "tsp", 1);
    TSupportDbContext_* context = support_print_init(0, "tsp", 0, 127);
    ASSERT_NE(support_print_is(context, 8), 0);
    errno = EDOM;
    support_dprint_print_(context, "Loading policy \"%s\" ...\n", "", 12, "Load", "\\x");
    support_dprint_print_(context, "no end of line %d", "f.cpp", 7, "Send", 5);
    EXPECT_EQ(errno, EDOM);
    support_print_done(context);
    const std::vector<std::string> found = lines();
    ASSERT_EQ(found.size(), 2U);
    const std::string head = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{6}Z "
                             "tsp [0-9]+\\.[0-9]+ ";
    EXPECT_THAT(found[0], testing::MatchesRegex(head + "Load: Loading policy \"\\\\x\" \\.\\.\\."));
    EXPECT_THAT(found[1], testing::MatchesRegex(head + "f\\.cpp:7 Send: no end of line 5"));
}

TEST_F(Trace, LinesOfThreadsDoNotMix) {
    setenv("BASALT_TRACE", "tsp", 1);
    TSupportDbContext_* context = support_print_init(0, "tsp", 0, 127);
    const std::string text(3000, 'x');
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 50 && support_print_is(context, 8) != 0; ++n) {
                support_dprint_print_(context, "%s\n", "", 0, "f", text.c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    support_print_done(context);
    const std::vector<std::string> found = lines();
    EXPECT_EQ(found.size(), 200U);
    for (const std::string& line : found) {
        EXPECT_TRUE(line.ends_with("f: " + text));
    }
}

TEST_F(Trace, NullContextIsHarmless) {
    EXPECT_EQ(support_print_init(0, nullptr, 0, 127), nullptr);
    EXPECT_EQ(support_print_is(nullptr, 8), 0);
    support_dprint_print_(nullptr, "x", "", 0, "f");
    support_print_done(nullptr);
}
