// The command: reads modules, writes files. Exit status 1 with all errors on standard error when a
// module has errors or a file can't be read or written, 2 for a wrong command line.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>

#include "schemac/compiler.h"
#include "schemac/emit/generate.h"

namespace {

constexpr const char* kUsage = "usage: schemac -o FOLDER [--table FOLDER] MODULE.asn1...\n"
                               "Writes the C++ of all modules to the folder, and with --table the "
                               "table of all types for tests.\n";

struct Arguments {
    std::string output;
    std::string table;
    std::vector<std::string> modules;
};

std::optional<Arguments> parse(int count, char** words) {
    Arguments result;
    for (int i = 1; i < count; ++i) {
        const std::string word = words[i];
        if ((word == "-o" || word == "--table") && i + 1 < count) {
            (word == "-o" ? result.output : result.table) = words[++i];
        } else if (word.starts_with("-")) {
            return std::nullopt;
        } else {
            result.modules.push_back(word);
        }
    }
    if (result.output.empty() || result.modules.empty()) {
        return std::nullopt;
    }
    return result;
}

std::optional<std::string> read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// A file that is already as it should be keeps its time, so that nothing is compiled for nothing.
bool write(const std::string& folder, const std::vector<schemac::GeneratedFile>& files) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    for (const schemac::GeneratedFile& file : files) {
        const std::filesystem::path path = std::filesystem::path(folder) / file.name;
        if (read(path) == file.text) {
            continue;
        }
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << file.text;
        out.close();
        if (!out) {
            std::cerr << path.string() << ": can't be written\n";
            return false;
        }
    }
    return true;
}

} // namespace

int main(int count, char** words) {
    const auto arguments = parse(count, words);
    if (!arguments) {
        std::cerr << kUsage;
        return 2;
    }
    std::vector<std::unique_ptr<schemac::Source>> sources;
    for (const std::string& path : arguments->modules) {
        auto text = read(path);
        if (!text) {
            std::cerr << path << ": can't be read\n";
            return 1;
        }
        sources.push_back(std::make_unique<schemac::Source>(path, std::move(*text)));
    }
    schemac::Diagnostics diagnostics;
    const auto schema = schemac::compile(sources, diagnostics);
    if (!schema) {
        std::cerr << diagnostics.report();
        return 1;
    }
    if (!write(arguments->output, schemac::generate(*schema))) {
        return 1;
    }
    if (!arguments->table.empty() && !write(arguments->table, schemac::generate_table(*schema))) {
        return 1;
    }
    return 0;
}
