// Usage errors.
#include "wrong_usage.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include <unistd.h>

#include <fmt/format.h>

#include "exit_status.h"

namespace cli {

namespace {

using chronoseal::quote_foreign;

// How many letters have to be put in, taken out or changed.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t k = 0; k < b.size(); ++k) {
            const std::size_t above = row[k + 1];
            row[k + 1] = std::min({above + 1, row[k] + 1, diagonal + (a[i] == b[k] ? 0U : 1U)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

std::string nearest(const std::string& word, const std::vector<std::string>& known) {
    constexpr std::size_t kLongest = 64;
    const std::size_t farthest = std::clamp<std::size_t>(word.size() / 2, 1, 3);
    if (word.size() > kLongest) {
        return "";
    }
    std::string best;
    std::size_t least = farthest + 1;
    for (const std::string& candidate : known) {
        const std::size_t one = distance(word, candidate);
        if (one < least && one < candidate.size()) {
            least = one;
            best = candidate;
        }
    }
    return best;
}

const CLI::App* chosen_command(const CLI::App& app) {
    const CLI::App* command = &app;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
    }
    return command;
}

std::vector<std::string> option_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* level = &app; level != nullptr; level = level->get_parent()) {
        for (const CLI::Option* option : level->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    return names;
}

std::vector<std::string> command_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) {
        names.push_back(command->get_name());
    }
    return names;
}

std::string help_call(const CLI::App& command) {
    std::string names;
    for (const CLI::App* level = &command; level->get_parent() != nullptr;
         level = level->get_parent()) {
        names = " " + level->get_name() + names;
    }
    return names.empty() ? "see chronoseal --help" : "see chronoseal help" + names;
}

// The first word that no option and no command takes.
std::string unknown_word(const CLI::App& command) {
    for (const CLI::App* level = &command; level != nullptr; level = level->get_parent()) {
        for (const std::string& word : level->remaining()) {
            return word;
        }
    }
    return "";
}

} // namespace

chronoseal::Error wrong_usage(const CLI::ParseError& error, const CLI::App& app, int argc,
                              const char* const* argv) {
    const CLI::App* command = chosen_command(app);
    std::string word = unknown_word(*command);
    if (word.empty() && command == &app) {
        for (int i = 1; i < argc && word.empty(); ++i) {
            word = argv[i][0] == '-' ? "" : argv[i];
        }
    }
    if (word.empty() && command == &app &&
        dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        return usage_error("no command is given", help_call(app));
    }
    const std::vector<std::string> inner = command_names(*command);
    if (word.empty() && !inner.empty() &&
        dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        return usage_error(
            fmt::format("{} wants one of: {}", command->get_name(), fmt::join(inner, ", ")),
            help_call(*command));
    }
    const std::vector<std::string> known_commands = inner.empty() ? command_names(app) : inner;
    if (word.empty() || std::ranges::count(known_commands, word) != 0) {
        std::string text = error.what();
        std::ranges::replace(text, '\n', ' ');
        return usage_error(quote_foreign(text), help_call(*command));
    }
    const bool option = word.starts_with("-");
    const std::string key = word.substr(0, word.find('='));
    const std::string near = nearest(key, option ? option_names(*command) : known_commands);
    if (option && ::access(word.c_str(), F_OK) == 0) {
        return usage_error(fmt::format("\"{}\" is no option of {}", quote_foreign(word, 80),
                                       command == &app ? "chronoseal" : command->get_name()),
                           "a file of this name is given with ./ in front");
    }
    const char* what = option ? "no option" : inner.empty() ? "too much" : "no command";
    return usage_error(fmt::format("\"{}\" is {}{}", quote_foreign(word, 80), what,
                                   command == &app ? "" : " of " + command->get_name()),
                       near.empty()
                           ? help_call(*command)
                           : fmt::format("did you mean {}? Else {}", near, help_call(*command)));
}

} // namespace cli
