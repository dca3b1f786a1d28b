// What is in force on this machine, key by key.
#include <algorithm>

#include <basalt/configuration.h>
#include <basalt/store.h>
#include <chronoseal/seal/configuration_value.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/setting_check.h>

namespace chronoseal {

namespace {

using Key = support_registry_known_key;

// An address may hold a password, though it has no place there. A proxy's may have no scheme.
bool is_address(std::string_view path) {
    constexpr std::string_view kEnds[] = {"URL", "Url", "Proxy", "Proxies", "TSPs"};
    return std::ranges::any_of(kEnds, [&](std::string_view end) { return path.ends_with(end); });
}

std::string quoted(const std::string& path, const std::string& text) {
    return "\"" + (is_address(path) ? quote_address(text) : quote_foreign(text)) + "\"";
}

// As it would stand in TOML; nothing for an absent or unreadable key.
std::optional<std::string> value_text(const std::string& path, int type) {
    switch (type) {
    case SUPPORT_REGISTRY_NUMBER: {
        const auto number = configured_number(path);
        return number ? std::optional(std::to_string(*number)) : std::nullopt;
    }
    case SUPPORT_REGISTRY_BOOL: {
        const auto flag = configured_switch(path);
        return flag ? std::optional<std::string>(*flag ? "true" : "false") : std::nullopt;
    }
    case SUPPORT_REGISTRY_STRING: {
        const auto text = configured_text(path);
        return text ? std::optional(quoted(path, *text)) : std::nullopt;
    }
    default: {
        const auto list = configured_list(path);
        std::string text;
        for (const std::string& entry : list.value_or(std::vector<std::string>())) {
            text += (text.empty() ? "" : ", ") + quoted(path, entry);
        }
        return list ? std::optional("[" + text + "]") : std::nullopt;
    }
    }
}

std::string default_text(const Key& key) {
    const std::string fallback = key.fallback != nullptr ? key.fallback : "";
    return key.type == SUPPORT_REGISTRY_STRING && !fallback.empty() ? quoted(key.path, fallback)
                                                                    : fallback;
}

const char* type_name(int type) {
    switch (type) {
    case SUPPORT_REGISTRY_NUMBER:
        return "a number";
    case SUPPORT_REGISTRY_BOOL:
        return "true or false";
    case SUPPORT_REGISTRY_STRING:
        return "a string";
    default:
        return "a list of strings";
    }
}

std::string range_text(const Key& key) {
    if (key.words != nullptr) {
        std::string words = key.words;
        std::ranges::replace(words, '|', ',');
        return "one of " + words;
    }
    return "between " + std::to_string(key.least) + " and " + std::to_string(key.most);
}

void tell_slip(const Key& key, Slip slip, Setting& setting) {
    if (slip == Slip::wrong_type) {
        setting.state = SettingState::unreadable;
        setting.problem = std::string("it has to be ") + type_name(key.type);
        setting.fatal = true;
    } else {
        setting.state = SettingState::not_allowed;
        setting.problem = "it has to be " + range_text(key);
    }
}

Setting setting_of(const Key& key, const std::string& path,
                   const std::vector<ConfigurationSlip>& slips) {
    Setting setting;
    setting.key = toml_path(path);
    setting.source = configured_origin(path);
    if (setting.source.empty()) {
        setting.value = default_text(key);
        return setting;
    }
    setting.state = SettingState::set;
    setting.value = value_text(path, key.type).value_or("");
    const auto slip = std::ranges::find(slips, path, &ConfigurationSlip::path);
    if (slip != slips.end()) {
        tell_slip(key, slip->kind, setting);
    }
    return setting;
}

// The keys below a table with names of one's own that are set: "\config\trace\levels\*".
void add_free_keys(const Key& key, const std::vector<ConfigurationSlip>& slips,
                   std::vector<Setting>& settings) {
    const std::string pattern = key.path;
    const std::size_t star = pattern.find('*');
    const std::string folder = pattern.substr(0, star - 1);
    const std::string tail = pattern.substr(star + 1);
    for (DWORD index = 0;; ++index) {
        std::size_t size = 0;
        if (support_registry_enum(folder.c_str(), index, &size, nullptr) != 0) {
            return;
        }
        std::string path(size + 1, '\0');
        if (support_registry_enum(folder.c_str(), index, &size, path.data()) != 0) {
            return;
        }
        path.resize(size);
        const std::string_view rest = std::string_view(path).substr(folder.size() + 1);
        const std::size_t end = std::min(rest.find('\\'), rest.size());
        if (rest.substr(end) == tail) {
            settings.push_back(setting_of(key, path, slips));
        }
    }
}

StoreInfo store_info(const char* name) {
    StoreInfo info{name, 0, 0, ""};
    const HCERTSTORE store = CertOpenSystemStoreA(0, name);
    if (store == nullptr) {
        info.problem = error_of_last("open the store").text();
        return info;
    }
    const CERT_CONTEXT* certificate = nullptr;
    while ((certificate = CertEnumCertificatesInStore(store, certificate)) != nullptr) {
        ++info.certificates;
    }
    const CRL_CONTEXT* list = nullptr;
    while ((list = CertEnumCRLsInStore(store, list)) != nullptr) {
        ++info.revocation_lists;
    }
    CertCloseStore(store, 0);
    return info;
}

// Without its value, which may be a secret that stands under no name of one.
Setting unknown_setting(const ConfigurationSlip& slip) {
    Setting setting;
    setting.key = toml_path(slip.path);
    setting.source = configured_origin(slip.path);
    setting.state = SettingState::unknown;
    setting.problem = "it means nothing";
    if (!slip.nearest.empty()) {
        setting.problem += "; was " + toml_path(slip.nearest) + " meant?";
    }
    return setting;
}

} // namespace

MachinePolicy policy() {
    return guarded("read the policy", [] {
        MachinePolicy result;
        for (const std::string& problem : configuration_problems()) {
            result.problems.push_back(quote_foreign(problem));
        }
        const auto slips = configuration_slips();
        const Key* key = nullptr;
        for (DWORD index = 0; (key = support_registry_known(index)) != nullptr; ++index) {
            if (std::string_view(key->path).find('*') != std::string_view::npos) {
                add_free_keys(*key, slips, result.settings);
            } else {
                result.settings.push_back(setting_of(*key, key->path, slips));
            }
        }
        for (const ConfigurationSlip& slip : slips) {
            if (slip.kind == Slip::unknown) {
                result.settings.push_back(unknown_setting(slip));
            }
        }
        if (result.problems.empty()) {
            check_settings(result.settings);
        } else { // what is in force isn't known, the built-in values least of all
            for (Setting& setting : result.settings) {
                setting.value.clear();
                setting.state = SettingState::unreadable;
            }
        }
        for (const char* name : {"Root", "CA", "My", "AddressBook"}) {
            result.stores.push_back(store_info(name));
        }
        result.usable =
            result.problems.empty() && std::ranges::none_of(result.settings, &Setting::fatal);
        return result;
    });
}

std::string_view version() noexcept {
    return "1.0.0";
}

} // namespace chronoseal
