// Text, JSON and lines of failure on the two standard streams.
#include "output.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

#include <fmt/format.h>

#include "option_advice.h"

namespace cli {

namespace {

// Bytes that are no UTF-8, which a file's name may hold, are replaced and don't end the program;
// all that isn't ASCII is escaped, since a terminal obeys some of it.
std::string dump(const nlohmann::ordered_json& value, int indent) {
    return value.dump(indent, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

void write(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
}

// Behind the results told before: where both streams lead to one place their order counts.
void write_aside(const std::string& text) {
    std::fflush(stdout);
    write(stderr, text);
}

bool wants_colour() {
    const char* forbidden = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return ::isatty(STDOUT_FILENO) == 1 && (forbidden == nullptr || *forbidden == '\0') &&
           (terminal == nullptr || std::string_view(terminal) != "dumb");
}

} // namespace

Output::Output(std::string command, Format format, Detail detail)
    : command_(std::move(command)), format_(format), detail_(detail), colour_(wants_colour()) {}

void Output::text(const std::string& text) const {
    if (!json() && !quiet()) {
        write(stdout, text);
    }
}

void Output::note(const std::string& text) const {
    if (!quiet()) {
        write_aside("chronoseal: " + text + "\n");
    }
}

void Output::item(const nlohmann::ordered_json& members) const {
    nlohmann::ordered_json all = {{"command", command_}};
    all.update(members);
    write(stdout, dump(all, -1));
    std::fflush(stdout);
}

void Output::object(bool ok, const nlohmann::ordered_json& members) const {
    if (!json()) {
        return;
    }
    nlohmann::ordered_json all = {{"command", command_}, {"ok", ok}};
    if (command_.empty()) {
        all["command"] = nullptr;
    }
    all.update(members);
    write(stdout, dump(all, format_ == Format::json ? 2 : -1));
}

void Output::failure(const chronoseal::Error& error) const {
    write_aside(fmt::format("chronoseal: {}\n", with_options(error).what()));
}

std::string Output::good(const std::string& word) const {
    return colour_ ? "\x1b[32m" + word + "\x1b[0m" : word;
}

std::string Output::bad(const std::string& word) const {
    return colour_ ? "\x1b[31m" + word + "\x1b[0m" : word;
}

void ResultList::add(nlohmann::ordered_json result) {
    if (output_.format() == Format::json_lines) {
        output_.item(result);
    } else if (output_.format() == Format::json) {
        results_.push_back(std::move(result));
    }
}

chronoseal::Error unwritable_output() {
    return {chronoseal::Category::unreachable, "output_unwritable", 0,
            "can't write to standard output", "check where it leads"};
}

nlohmann::ordered_json error_json(const chronoseal::Error& error) {
    nlohmann::ordered_json code = nullptr;
    if (error.code() != 0) {
        code = chronoseal::code_text(error.code());
    }
    return {{"message", error.text()},
            {"word", error.word()},
            {"code", code},
            {"advice", with_options(error).advice()}};
}

} // namespace cli
