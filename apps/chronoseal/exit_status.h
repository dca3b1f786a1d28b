// The exit statuses of the command; scripts may rely on them.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace cli {

enum class ExitStatus {
    good = 0,
    refused = 1,     // found to be bad, or refused by policy or authority
    usage = 2,       // wrong arguments
    unreachable = 3, // could not be reached, read or judged
};

// Of two outcomes the one that the process reports: with several files the worst counts.
inline ExitStatus worse(ExitStatus a, ExitStatus b) {
    return a < b ? b : a;
}

inline ExitStatus status_of(chronoseal::Category category) {
    switch (category) {
    case chronoseal::Category::refused:
        return ExitStatus::refused;
    case chronoseal::Category::misuse:
        return ExitStatus::usage;
    case chronoseal::Category::unreachable:
        break;
    }
    return ExitStatus::unreachable;
}

inline chronoseal::Error usage_error(std::string text, std::string advice) {
    return {chronoseal::Category::misuse, "usage", 0, std::move(text), std::move(advice)};
}

} // namespace cli
