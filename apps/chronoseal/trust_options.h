// Whom a verification trusts and what it may look at, as options.
#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

#include <chronoseal/chronoseal.hpp>

namespace cli {

struct TrustOptions {
    std::vector<std::string> certs;
    std::vector<std::string> crls;
    std::vector<std::string> roots;
    std::string revocation; // "require", "available", "off"; empty: as the machine is configured
    std::string at;         // RFC 3339; empty: now
    bool offline = false;
};

void add_trust_options(CLI::App& command, TrustOptions& options);
// --at, for what judges stamps of the past.
void add_time_option(CLI::App& command, TrustOptions& options);

// The files that are read for it, and `others`: no result is written over one of them.
std::vector<std::string> files_of(const TrustOptions& options,
                                  std::vector<std::string> others = {});

// Throws `usage` for a time that can't be read.
chronoseal::Trust trust_of(const TrustOptions& options);

// A list of values, one an occurrence: a value never swallows the words that follow it.
CLI::Option* add_repeated(CLI::App& command, const std::string& name,
                          std::vector<std::string>& values, const std::string& help,
                          const std::string& value_name);

// Puts what is added to a command while it lives under a heading of its own in the help.
class OptionGroup {
public:
    OptionGroup(CLI::App& command, std::string name)
        : command_(command), name_(std::move(name)), first_(command.get_options().size()) {}
    OptionGroup(const OptionGroup&) = delete;
    OptionGroup& operator=(const OptionGroup&) = delete;
    ~OptionGroup();

private:
    CLI::App& command_;
    const std::string name_;
    const std::size_t first_;
};

// A single value that may not be empty: an unset variable of a script is told, not taken for an
// option left out.
CLI::Option* add_value(CLI::App& command, const std::string& name, std::string& value,
                       const std::string& help, const std::string& value_name);

} // namespace cli
