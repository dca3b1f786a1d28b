// What small modules become: all of one, and of the others what they are about, named in their
// second line. And the whole report for bad ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

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

// The names behind `-- shows:`; none for a module that is shown whole.
std::vector<std::string> shown(const std::string& module) {
    const std::string mark = "-- shows: ";
    const std::size_t at = module.find(mark);
    std::vector<std::string> names;
    if (at != std::string::npos) {
        std::istringstream words(module.substr(at + mark.size(), module.find('\n', at) - at));
        for (std::string word; words >> word && word != "--";) {
            names.push_back(word);
        }
    }
    return names;
}

// Does a definition of this name begin on the line? Declarations end on theirs.
bool defines(const std::string& line, const std::string& name) {
    const std::size_t at = line.find(name);
    if (at == std::string::npos || line[0] == ' ' || line[0] == '/' || line[0] == '#') {
        return false;
    }
    if (line.find(" : ") < at) { // a base class
        return false;
    }
    const std::string front = at == 0 ? " " : line.substr(at - 1, 1);
    const std::string behind = line.substr(at + name.size(), 1);
    return std::string(" *").find(front) != std::string::npos &&
           (behind.empty() || std::string("( {;=").find(behind) != std::string::npos);
}

// All definitions of the name, each with its body.
std::string definitions(const std::string& text, const std::string& name) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        if (!defines(line, name)) {
            continue;
        }
        std::string block;
        std::ptrdiff_t depth = 0;
        do {
            depth += std::count(line.begin(), line.end(), '{');
            depth -= std::count(line.begin(), line.end(), '}');
            block += line + "\n";
        } while ((depth != 0 || !(line.ends_with("}") || line.ends_with(";"))) &&
                 std::getline(lines, line));
        const bool declaration = block.find_first_of("{=") == std::string::npos;
        result += declaration ? "" : block + "\n";
    }
    return result;
}

std::string includes(const GeneratedFile& file) {
    std::istringstream lines(file.text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        const bool forward = line.starts_with("struct ") && line.ends_with(";");
        result += forward || line.starts_with("#include") ? line + "\n" : "";
    }
    return result;
}

std::string output(const model::Schema& schema, const std::string& module) {
    const std::vector<std::string> names = shown(module);
    std::string text;
    std::string parts;
    for (const GeneratedFile& file : generate(schema)) {
        text += file.text;
        if (names.empty() || names.front() == "includes") {
            parts += "==== " + file.name + "\n" + (names.empty() ? file.text : includes(file));
        }
    }
    for (const std::string& name : names) {
        parts += definitions(text, name);
    }
    return parts;
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
    const std::string text = output(*schema, std::string(sources.front()->text()));
    EXPECT_EQ(text.find('\t'), std::string::npos);
    expect_golden(fs::path(GetParam()).replace_extension(".golden"), text);
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
