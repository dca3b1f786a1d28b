// The exit statuses of the command; scripts may rely on them.
#pragma once

namespace cli {

enum class ExitStatus {
    good = 0,
    refused = 1,     // refused by policy or authority, or not valid
    usage = 2,       // wrong arguments
    unreachable = 3, // a server could not be reached, a file not read or written
};

// Of two outcomes the one that the process reports: with several files the worst counts.
inline ExitStatus worse(ExitStatus a, ExitStatus b) {
    return a < b ? b : a;
}

} // namespace cli
