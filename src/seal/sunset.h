// Until when algorithms are to be relied on: a table, whose dates the configuration may set
// ([config.chronoseal.sunset]). The dates built in are those of ETSI TS 119 312.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

struct Sunset {
    std::string text; // "SHA-1 (the stamp's hash)"
    Time end{};
};

// The table as the configuration sets it at the time when this is made. Immutable.
class SunsetTable {
public:
    SunsetTable();

    // The end of each algorithm in the token and its chain that has one; each row of the table
    // once, with the first place in which it is used.
    std::vector<Sunset> ends_under(const TokenInfo& token,
                                   const std::vector<ChainLink>& chain) const;

private:
    std::vector<std::optional<Time>> ends_; // of each row; absent: never
};

// YYYY-MM or YYYY-MM-DD, its beginning. Nothing for other text.
std::optional<Time> date_of(std::string_view text);

} // namespace chronoseal
