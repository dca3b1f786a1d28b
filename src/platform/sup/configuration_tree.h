// The files of the configuration tree as one, for the readers of the tree only. A tree is
// immutable; a changed file makes a new one. Nothing here throws but for want of memory.
#pragma once

#include <basalt/sup/configuration_file.h>
#include <basalt/sup/known_keys.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace basalt {

struct FoundNode {
    const toml::node* node = nullptr; // null: no such key
    const ConfigurationFile* file = nullptr;
};

class ConfigurationTree {
public:
    explicit ConfigurationTree(ConfigurationPlaces places);
    ConfigurationTree(const ConfigurationTree&) = delete;
    ConfigurationTree& operator=(const ConfigurationTree&) = delete;

    // The process's tree. Its files are looked at again once a second at most, and at once when the
    // environment leads elsewhere or refresh() was called.
    static std::shared_ptr<const ConfigurationTree> current();
    static void refresh();

    bool broken() const;
    const std::vector<ConfigurationFile>& files() const { return files_; }

    // The value at the path, which begins with a backslash; a table is no value. A file further
    // back is asked only when those before it have nothing at all there, nor a value where the path
    // wants a table.
    FoundNode find(std::string_view path) const;

    // The paths of all values, sorted, but for those that a file before theirs covers.
    const std::vector<std::string>& values() const { return listing().values; }

    // What is unknown or wrong among them, and tables that hold nothing and mean nothing.
    const std::vector<ConfigurationFinding>& findings() const { return listing().findings; }

private:
    struct Listing {
        std::vector<std::string> values;
        std::vector<ConfigurationFinding> findings;
    };

    bool stale() const;
    Listing list() const;
    const Listing& listing() const;

    ConfigurationPlaces places_;
    std::vector<ConfigurationFile> files_;
    mutable std::mutex listing_up_;
    mutable std::optional<Listing> listing_; // made when somebody asks
};

} // namespace basalt
