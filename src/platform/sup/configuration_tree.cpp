// Looks up paths in what the files hold, and looks at the files again when it is time.
#include <basalt/sup/configuration_tree.h>

#include <algorithm>
#include <atomic>
#include <charconv>

namespace basalt {

namespace {

constexpr time_t kLookAgainSeconds = 1;

std::atomic<bool> look_again = false;

// Takes the next name off the path "\a\b".
std::string_view take_name(std::string_view& path) {
    path.remove_prefix(1);
    const std::size_t end = std::min(path.find('\\'), path.size());
    const std::string_view name = path.substr(0, end);
    path.remove_prefix(end);
    return name;
}

// The entries of an array of tables go by their numbers from 0. Null where it has none of that one.
const toml::node* entry_of(const toml::array& tables, std::string_view name) {
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), index);
    const bool whole = error == std::errc() && end == name.data() + name.size();
    return whole && index < tables.size() ? tables.get(index) : nullptr;
}

// How far a path leads in one file.
struct Descent {
    const toml::node* node = nullptr;
    bool blocked = false; // a value stands where the path wants a table
};

// An array of tables counts as one value: a file further back adds nothing to it.
Descent descend(const toml::table& root, std::string_view path) {
    const toml::node* node = &root;
    bool in_array = false;
    while (!path.empty()) {
        const toml::table* table = node->as_table();
        const toml::array* tables = node->is_array_of_tables() ? node->as_array() : nullptr;
        if (table == nullptr && tables == nullptr) {
            return {nullptr, true};
        }
        const std::string_view name = take_name(path);
        node = table != nullptr ? table->get(name) : entry_of(*tables, name);
        in_array = in_array || tables != nullptr;
        if (node == nullptr) {
            return {nullptr, in_array};
        }
    }
    return {node, false};
}

void collect(const toml::table& table, const std::string& prefix, std::vector<std::string>& paths) {
    for (const auto& [key, node] : table) {
        const std::string path = prefix + "\\" + std::string(key.str());
        const toml::table* inner = node.as_table();
        if (inner != nullptr && !inner->empty()) {
            collect(*inner, path, paths);
        } else if (node.is_array_of_tables()) {
            for (std::size_t i = 0; i < node.as_array()->size(); ++i) {
                collect(*node.as_array()->get_as<toml::table>(i), path + "\\" + std::to_string(i),
                        paths);
            }
        } else {
            paths.push_back(path);
        }
    }
}

bool is_time(const timespec& looked, const timespec& now) {
    const time_t seconds = now.tv_sec - looked.tv_sec;
    return seconds > kLookAgainSeconds ||
           (seconds == kLookAgainSeconds && now.tv_nsec >= looked.tv_nsec);
}

} // namespace

ConfigurationTree::ConfigurationTree(ConfigurationPlaces places)
    : places_(std::move(places)), files_(read_configuration_files(places_)) {}

std::shared_ptr<const ConfigurationTree> ConfigurationTree::current() {
    static std::mutex mutex;
    static std::shared_ptr<const ConfigurationTree> last;
    static timespec looked{};
    ConfigurationPlaces places = ConfigurationPlaces::of_process();
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const std::lock_guard lock(mutex);
    if (last == nullptr || last->places_ != places) {
        last = std::make_shared<ConfigurationTree>(std::move(places));
        look_again = false;
        looked = now;
    } else if (look_again.exchange(false) || is_time(looked, now)) {
        if (last->stale()) {
            last = std::make_shared<ConfigurationTree>(std::move(places));
        }
        looked = now;
    }
    return last;
}

void ConfigurationTree::refresh() {
    look_again = true;
}

bool ConfigurationTree::stale() const {
    return std::any_of(files_.begin(), files_.end(), [](const ConfigurationFile& file) {
        return !file.settled || !(FileStamp::of_path(file.name) == file.stamp);
    });
}

bool ConfigurationTree::broken() const {
    return std::any_of(files_.begin(), files_.end(),
                       [](const ConfigurationFile& file) { return !file.problem.empty(); });
}

FoundNode ConfigurationTree::find(std::string_view path) const {
    for (const ConfigurationFile& file : files_) {
        if (!file.in_force) {
            continue;
        }
        const Descent descent = descend(file.root, path);
        if (descent.node != nullptr) {
            return descent.node->is_table() ? FoundNode{} : FoundNode{descent.node, &file};
        }
        if (descent.blocked) {
            break;
        }
    }
    return {};
}

ConfigurationTree::Listing ConfigurationTree::list() const {
    std::vector<std::string> all;
    for (const ConfigurationFile& file : files_) {
        if (file.in_force) {
            collect(file.root, "", all);
        }
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    Listing listing;
    for (std::string& path : all) {
        const auto holds_table = [&](const ConfigurationFile& file) {
            const Descent descent = descend(file.root, path);
            return file.in_force && descent.node != nullptr && descent.node->is_table();
        };
        if (const FoundNode found = find(path); found.node != nullptr) {
            if (const int kind = check_value(path, *found.node); kind != 0) {
                listing.findings.push_back({path, kind});
            }
            listing.values.push_back(std::move(path));
        } else if (std::any_of(files_.begin(), files_.end(), holds_table) &&
                   !is_known_table(path)) {
            listing.findings.push_back({std::move(path), SUPPORT_REGISTRY_UNKNOWN});
        }
    }
    return listing;
}

const ConfigurationTree::Listing& ConfigurationTree::listing() const {
    const std::lock_guard lock(listing_up_);
    if (!listing_) {
        listing_ = list();
    }
    return *listing_;
}

} // namespace basalt
