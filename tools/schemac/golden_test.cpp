// The whole output for small modules, one a construct, and the whole report for bad ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "schemac/compiler.h"
#include "schemac/emit/generate.h"

namespace schemac {
namespace {

namespace fs = std::filesystem;

std::string read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string how_to_update() {
    return "If the change is meant: SCHEMAC_UPDATE_GOLDEN=1 " +
           fs::read_symlink("/proc/self/exe").string() + " --gtest_filter='*Golden*'";
}

void expect_golden(const fs::path& golden, const std::string& text) {
    if (std::getenv("SCHEMAC_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(golden, std::ios::binary) << text;
    }
    const std::string expected = read(golden);
    if (expected == text) {
        return;
    }
    const auto [a, b] = std::mismatch(expected.begin(), expected.end(), text.begin(), text.end());
    const auto line = std::count(expected.begin(), a, '\n') + 1;
    const auto start = text.rfind('\n', static_cast<std::size_t>(b - text.begin()));
    ADD_FAILURE() << golden.filename() << " differs from line " << line << " on; now:\n"
                  << text.substr(start == std::string::npos ? 0 : start + 1, 200) << "\n"
                  << how_to_update();
}

std::unique_ptr<Source> source(const fs::path& path) {
    // The bare name, so that reports don't depend on where the tests lie.
    return std::make_unique<Source>(path.filename().string(), read(path));
}

std::vector<fs::path> modules(const std::string& folder) {
    std::vector<fs::path> result;
    for (const auto& entry : fs::directory_iterator(fs::path(CHRONOSEAL_TESTDATA) / folder)) {
        if (entry.path().extension() == ".asn1") {
            result.push_back(entry.path());
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

std::string name_of(const testing::TestParamInfo<fs::path>& info) {
    return info.param.stem().string();
}

class GoldenOutput : public testing::TestWithParam<fs::path> {};

TEST_P(GoldenOutput, IsAsBefore) {
    std::vector<std::unique_ptr<Source>> sources;
    sources.push_back(source(GetParam()));
    const fs::path partner =
        GetParam().parent_path() / (GetParam().stem().string() + "_types.asn1");
    if (fs::exists(partner)) {
        sources.push_back(source(partner));
    } else if (GetParam().stem().string().ends_with("_types") &&
               GetParam().stem() != "simple_types") {
        return; // stands in the output of its partner
    }
    Diagnostics diagnostics;
    const auto schema = compile(sources, diagnostics);
    ASSERT_TRUE(schema) << diagnostics.report();
    std::string text;
    for (const GeneratedFile& file : generate(*schema)) {
        text += "==== " + file.name + "\n" + file.text;
    }
    expect_golden(fs::path(GetParam()).replace_extension(".golden"), text);
    for (const GeneratedFile& file : generate(*schema)) {
        EXPECT_EQ(file.text.find("\t"), std::string::npos) << file.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Modules, GoldenOutput, testing::ValuesIn(modules("golden")), name_of);

class GoldenReport : public testing::TestWithParam<fs::path> {};

TEST_P(GoldenReport, IsAsBefore) {
    std::vector<std::unique_ptr<Source>> sources;
    sources.push_back(source(GetParam()));
    Diagnostics diagnostics;
    EXPECT_FALSE(compile(sources, diagnostics));
    expect_golden(fs::path(GetParam()).replace_extension(".errors"), diagnostics.report());
}

INSTANTIATE_TEST_SUITE_P(Modules, GoldenReport, testing::ValuesIn(modules("bad")), name_of);

} // namespace
} // namespace schemac
