// Files that the command writes: complete or absent, and nothing overwritten that wasn't named for
// it. What can be refused is refused by `check`, before an authority is asked for anything.
#pragma once

#include <string>
#include <vector>

#include <chronoseal/chronoseal.hpp>

namespace cli {

enum class Existing { refuse, replace };

inline Existing existing_of(bool force) {
    return force ? Existing::replace : Existing::refuse;
}

class OutputFile {
public:
    // "-" is standard output. `option` names another place in an advice; null: none does.
    OutputFile(std::string path, Existing existing, const char* option = "--out")
        : path_(std::move(path)), existing_(existing), option_(option) {}

    const std::string& path() const { return path_; }
    bool is_standard_output() const { return path_ == "-"; }
    bool exists() const;

    // Throws `output_exists`, `output_is_input` (the same device and inode as one of `inputs`),
    // `output_not_a_file` (a folder, a pipe, a device), `output_is_terminal` or
    // `output_unwritable`.
    // Empty names among the inputs are those of options that weren't given.
    void check(const std::vector<std::string>& inputs) const;

    // The file appears under its name once it is complete and synced; one that is replaced keeps
    // its mode. Throws `output_exists` and `output_unwritable`.
    void write(chronoseal::ByteView content) const;

private:
    std::string path_;
    std::string another(const char* otherwise) const;

    Existing existing_;
    const char* option_;
};

// Where a file is to be written that is changed in its place: what a symbolic link leads to, so
// that the file is the changed one by all of its names.
std::string in_place(const std::string& file);

class Output;

// Wrong usage where JSON and the result, "the stamp", would both go to standard output.
void refuse_json_beside(const OutputFile& out, const Output& output, const char* result);

} // namespace cli
