// The keys of the configuration tree that mean something, in one table, and what can be told of a
// tree by it. Nothing here fails.
#pragma once

#include <basalt/configuration.h>
#include <basalt/sup/toml_parser.h>

#include <span>
#include <string>
#include <string_view>

namespace basalt {

struct ConfigurationFinding {
    std::string path;
    int kind; // of support_registry_finding
};

std::span<const support_registry_known_key> known_keys();

// Of support_registry_type.
int type_of(const toml::node& node);

// Of support_registry_finding; 0 for a value as it should be.
int check_value(std::string_view path, const toml::node& node);

// True for a table that a known key lies in, directly or below.
bool is_known_table(std::string_view path);

// Null when none is near.
const support_registry_known_key* nearest_key(std::string_view path);

} // namespace basalt
