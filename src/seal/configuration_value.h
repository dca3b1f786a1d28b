// Values of the configuration tree, for this floor.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// While a file of it can't be read, or mustn't be, all values are as if they weren't there. Throws
// `policy_unreadable` then, with the file and what is wrong with it.
void require_configuration();
Error policy_unreadable();

// Paths have the form "\config\basalt\Revocation". Nothing for a key that is absent or can't be
// read as this type.
std::optional<std::string> configured_text(const std::string& path);
std::optional<std::vector<std::string>> configured_list(const std::string& path);
std::optional<long> configured_number(const std::string& path);
std::optional<bool> configured_switch(const std::string& path);

// The file that the value comes from; empty where there is none.
std::string configured_origin(const std::string& path);
// One line for each file that can't be read.
std::vector<std::string> configuration_problems();

enum class Slip { unknown, wrong_type, wrong_value };
struct ConfigurationSlip {
    std::string path;
    Slip kind;
    std::string nearest; // the known path that was meant, or empty
};
// What in the tree means nothing, or can't be read as it is meant.
std::vector<ConfigurationSlip> configuration_slips();

// "config.basalt.Revocation", as it stands in TOML.
std::string toml_path(const std::string& path);

} // namespace chronoseal
