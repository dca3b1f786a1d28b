// What an evidence record holds and what a verdict on it found, as lines for people and as JSON.
// Foreign text is quoted in the lines.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include <chronoseal/evidence.hpp>

namespace cli {

class Output;

// "1 file", "1,000,000 files".
std::string counted(std::uint64_t number, const char* noun);

// For `info`.
std::string info_text(const chronoseal::EvidenceInfo& info, std::size_t bytes);
nlohmann::ordered_json to_json(const chronoseal::EvidenceInfo& info);

// A line a stamp, indented, and the remarks.
std::string stamps_text(const chronoseal::EvidenceVerdict& verdict, const Output& output);
// The members "verdict", "provenTime", "stamps", "strength", "renewBefore" and "notes".
nlohmann::ordered_json to_json(const chronoseal::EvidenceVerdict& verdict);

} // namespace cli
