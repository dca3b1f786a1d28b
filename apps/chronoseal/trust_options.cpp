// --roots, --certs, --crls, --revocation, --at, --offline.
#include "trust_options.h"

#include <cctype>
#include <charconv>
#include <chrono>
#include <optional>

#include "exit_status.h"

namespace cli {

namespace {

std::string not_empty(const std::string& value) {
    return value.empty() ? "the value is empty" : "";
}

std::vector<chronoseal::Source> sources(const std::vector<std::string>& names) {
    std::vector<chronoseal::Source> result;
    for (const std::string& name : names) {
        result.emplace_back(std::filesystem::path(name));
    }
    return result;
}

// The digits at `at`; nothing if one of them isn't.
std::optional<int> number_at(const std::string& text, std::size_t at, std::size_t count) {
    if (at + count > text.size()) {
        return std::nullopt;
    }
    int value = 0;
    const char* end = text.data() + at + count;
    const auto result = std::from_chars(text.data() + at, end, value);
    const bool digits = std::isdigit(static_cast<unsigned char>(text[at])) != 0;
    return digits && result.ec == std::errc() && result.ptr == end ? std::optional(value)
                                                                   : std::nullopt;
}

// YYYY-MM-DD, or YYYY-MM-DDThh:mm:ssZ.
std::optional<chronoseal::Time> parse_time(const std::string& text) {
    using namespace std::chrono;
    const auto year_number = number_at(text, 0, 4);
    const auto month_number = number_at(text, 5, 2);
    const auto day_number = number_at(text, 8, 2);
    if (!year_number || !month_number || !day_number || text[4] != '-' || text[7] != '-') {
        return std::nullopt;
    }
    const year_month_day date{year(*year_number), month(static_cast<unsigned>(*month_number)),
                              day(static_cast<unsigned>(*day_number))};
    if (!date.ok()) {
        return std::nullopt;
    }
    if (text.size() == 10) {
        return sys_days(date);
    }
    const auto hour = number_at(text, 11, 2);
    const auto minute = number_at(text, 14, 2);
    const auto second = number_at(text, 17, 2);
    if (text.size() != 20 || text[10] != 'T' || text[13] != ':' || text[16] != ':' ||
        text[19] != 'Z' || !hour || !minute || !second || *hour > 23 || *minute > 59 ||
        *second > 60) {
        return std::nullopt;
    }
    return sys_days(date) + hours(*hour) + minutes(*minute) + seconds(*second);
}

} // namespace

OptionGroup::~OptionGroup() {
    const std::vector<CLI::Option*> options = command_.get_options();
    for (std::size_t i = first_; i < options.size(); ++i) {
        options[i]->group(name_);
    }
}

CLI::Option* add_repeated(CLI::App& command, const std::string& name,
                          std::vector<std::string>& values, const std::string& help,
                          const std::string& value_name) {
    return command.add_option(name, values, help + "; repeatable")
        ->type_name(value_name)
        ->allow_extra_args(false)
        ->check(not_empty, "");
}

CLI::Option* add_value(CLI::App& command, const std::string& name, std::string& value,
                       const std::string& help, const std::string& value_name) {
    return command.add_option(name, value, help)->type_name(value_name)->check(not_empty, "");
}

void add_trust_options(CLI::App& command, TrustOptions& options) {
    const OptionGroup group(command, "Trust options");
    add_repeated(command, "--roots", options.roots,
                 "trusted certificates, in place of the machine's roots", "FILE");
    add_repeated(command, "--certs", options.certs, "certificates that a chain may need", "FILE");
    add_repeated(command, "--crls", options.crls,
                 "revocation lists and OCSP answers, looked at before any is fetched", "FILE");
    add_value(command, "--revocation", options.revocation,
              "what must be known of revocation: all of it, what is available, or nothing",
              "require|available|off")
        ->check(CLI::IsMember({"require", "available", "off"}).description(""));
    command.add_flag("--offline", options.offline, "fetch nothing from the network");
}

void add_time_option(CLI::App& command, TrustOptions& options) {
    add_value(command, "--at", options.at,
              "judge as of this time in place of now (2031-05-01, or 2031-05-01T12:00:00Z)",
              "TIME");
}

std::vector<std::string> files_of(const TrustOptions& options, std::vector<std::string> files) {
    for (const auto* list : {&options.roots, &options.certs, &options.crls}) {
        files.insert(files.end(), list->begin(), list->end());
    }
    return files;
}

chronoseal::Trust trust_of(const TrustOptions& options) {
    using chronoseal::Revocation;
    chronoseal::Trust trust;
    trust.roots = sources(options.roots);
    trust.certificates = sources(options.certs);
    trust.evidence = sources(options.crls);
    trust.offline = options.offline;
    trust.revocation = options.revocation == "require"     ? Revocation::require
                       : options.revocation == "available" ? Revocation::available
                       : options.revocation == "off"       ? Revocation::off
                                                           : Revocation::as_configured;
    if (!options.at.empty()) {
        trust.as_of = parse_time(options.at);
        if (!trust.as_of) {
            throw usage_error("--at: \"" + chronoseal::quote_foreign(options.at) + "\" is no time",
                              "give a date, 2031-05-01, or a time in UTC, 2031-05-01T12:00:00Z");
        }
    }
    return trust;
}

} // namespace cli
