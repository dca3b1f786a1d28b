#include "policy_command.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "sup/configuration.h"

namespace cli {

namespace {

enum class Kind { number, boolean, text, list };

struct Key {
    const char* path; // below the folder "config"
    Kind kind;
    const char* fallback; // what holds when the key is absent
};

constexpr Key kKeys[] = {
    {"cades\\tsppolicy\\DefaultTSPURL", Kind::text, "(none)"},
    {"cades\\tsppolicy\\AllowedTSPs", Kind::list, "(all)"},
    {"cades\\tsppolicy\\DefaultProxy", Kind::text, "(none)"},
    {"cades\\tsppolicy\\AllowedProxies", Kind::list, "(all)"},
    {"cades\\tsppolicy\\DefaultHashAlg", Kind::text, "(the library's)"},
    {"cades\\tsppolicy\\HashAlgsAllowed", Kind::list, "(all)"},
    {"cades\\tsppolicy\\HashAlgsDenied", Kind::list, "(none)"},
    {"cades\\tsppolicy\\DefaultPolicyID", Kind::text, "(none)"},
    {"cades\\tsppolicy\\AllowedPolicyID", Kind::list, "(all)"},
    {"cades\\tsppolicy\\DisablePolicyID", Kind::boolean, "false"},
    {"cades\\tsppolicy\\DefaultCertReq", Kind::boolean, "false"},
    {"cades\\tsppolicy\\UseNonceByDefault", Kind::boolean, "true"},
    {"cades\\tsppolicy\\RequireNonce", Kind::boolean, "false"},
    {"cades\\tsppolicy\\DisableNonce", Kind::boolean, "false"},
    {"cades\\tsppolicy\\NonceLength", Kind::number, "8"},
    {"cades\\tsppolicy\\StampAccuracy", Kind::number, "180000"},
    {"cades\\tsppolicy\\AuthTypeDefault", Kind::number, "0"},
    {"cades\\tsppolicy\\AuthSSLTypeDefault", Kind::number, "0"},
    {"cades\\tsppolicy\\AuthDenyAnonym", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthDenyBasic", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthDenyDigest", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthDenyNTLM", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthDenyNegotiate", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthSSLDenyAnonym", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthSSLDenyBasic", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthSSLDenyDigest", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthSSLDenyNTLM", Kind::boolean, "false"},
    {"cades\\tsppolicy\\AuthSSLDenyNegotiate", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthTypeDefault", Kind::number, "0"},
    {"cades\\tsppolicy\\ProxyAuthSSLTypeDefault", Kind::number, "0"},
    {"cades\\tsppolicy\\ProxyAuthDenyAnonym", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthDenyBasic", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthDenyDigest", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthDenyNTLM", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthDenyNegotiate", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthSSLDenyAnonym", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthSSLDenyBasic", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthSSLDenyDigest", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthSSLDenyNTLM", Kind::boolean, "false"},
    {"cades\\tsppolicy\\ProxyAuthSSLDenyNegotiate", Kind::boolean, "false"},
    {"cades\\tsppolicy\\LegacyPolicyReading", Kind::boolean, "false"},
    {"cades\\tsppolicy\\DefaultMSTSPURL", Kind::text, "(none)"},
    {"cades\\tsppolicy\\AllowedMSTSPs", Kind::list, "(all)"},
    {"Tinlayer\\SendRequestTimeoutMilliseconds", Kind::number, "5000"},
    {"Tinlayer\\cache_settings\\OcspValiditySeconds", Kind::number, "(no cache)"},
    {"network\\ConnectTimeoutMilliseconds", Kind::number, "10000"},
    {"network\\TotalTimeoutMilliseconds", Kind::number, "30000"},
    {"network\\MaxAnswerBytes", Kind::number, "16777216"},
    {"network\\CaFile", Kind::text, "(the system's)"},
    {"basalt\\Revocation", Kind::text, "require"},
};

constexpr char kRoot[] = "\\config\\";
constexpr char kPolicyFolder[] = "\\config\\cades\\tsppolicy";

struct Row {
    std::string name;
    nlohmann::ordered_json value; // null when the key is absent or can't be read
    std::string shown;
    std::string origin; // empty: the built-in default
};

// The two calls, for size and for bytes, that the tree's text readers want. Nothing when the first
// one fails.
template <class Read>
std::optional<std::pair<int, std::string>> read_text(Read&& read) {
    std::size_t size = 0;
    if (read(&size, nullptr) != 0) {
        return std::nullopt;
    }
    std::string text(size + 1, '\0');
    const int error = read(&size, text.data());
    text.resize(error == 0 ? size : 0);
    return std::pair(error, text);
}

nlohmann::ordered_json split(const std::string& text) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\0', begin), text.size());
        list.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return list;
}

nlohmann::ordered_json read_value(const std::string& path, Kind kind) {
    if (kind == Kind::number) {
        long number = 0;
        return support_registry_get_long(path.c_str(), &number) == 0
                   ? nlohmann::ordered_json(number)
                   : nullptr;
    }
    if (kind == Kind::boolean) {
        int flag = 0;
        return support_registry_get_bool(path.c_str(), &flag) == 0
                   ? nlohmann::ordered_json(flag != 0)
                   : nullptr;
    }
    const auto text = read_text([&](std::size_t* size, char* buffer) {
        return kind == Kind::text ? support_registry_get_string(path.c_str(), size, buffer)
                                  : support_registry_get_multi_string(path.c_str(), size, buffer);
    });
    if (!text || text->first != 0) {
        return nullptr;
    }
    return kind == Kind::text ? nlohmann::ordered_json(text->second) : split(text->second);
}

std::string origin_of(const std::string& path) {
    const auto origin = read_text([&](std::size_t* size, char* buffer) {
        return support_registry_origin(path.c_str(), size, buffer);
    });
    return origin ? origin->second : "";
}

Row read_row(const Key& key) {
    const std::string path = std::string(kRoot) + key.path;
    Row row;
    row.name = key.path;
    row.origin = origin_of(path);
    row.value = read_value(path, key.kind);
    if (!row.value.is_null()) {
        row.shown = row.value.dump();
        return row;
    }
    // A switch or a number of a wrong type counts as absent; a text or a list that can't be read
    // stops every request.
    const bool fatal = key.kind == Kind::text || key.kind == Kind::list;
    row.shown = row.origin.empty() ? key.fallback
                : fatal            ? "UNREADABLE: no request can be made"
                        : fmt::format("{} (UNREADABLE, the default holds)", key.fallback);
    return row;
}

// Keys of the policy's folder that mean nothing: slips of the pen, mostly.
std::vector<std::string> unknown_keys() {
    std::set<std::string> known;
    for (const Key& key : kKeys) {
        known.insert(std::string(kRoot) + key.path);
    }
    std::vector<std::string> unknown;
    for (DWORD index = 0;; ++index) {
        const auto path = read_text([&](std::size_t* size, char* buffer) {
            return support_registry_enum(kPolicyFolder, index, size, buffer);
        });
        if (!path) {
            return unknown;
        }
        if (known.count(path->second) == 0) {
            unknown.push_back(path->second.substr(sizeof kRoot - 1));
        }
    }
}

} // namespace

ExitStatus run_policy_show(const Output& output) {
    nlohmann::ordered_json keys = nlohmann::ordered_json::array();
    for (const Key& key : kKeys) {
        const Row row = read_row(key);
        output.text(fmt::format("{:<46} {:<28} {}\n", row.name, row.shown,
                                row.origin.empty() ? "default" : row.origin));
        nlohmann::ordered_json origin = nullptr;
        if (!row.origin.empty()) {
            origin = row.origin;
        }
        keys.push_back(
            {{"key", row.name}, {"value", row.value}, {"shown", row.shown}, {"origin", origin}});
    }
    const std::vector<std::string> unknown = unknown_keys();
    for (const std::string& name : unknown) {
        output.text(fmt::format("{:<46} {:<28} {}\n", name, "UNKNOWN KEY, without effect",
                                origin_of(kRoot + name)));
    }
    const auto problem = read_text(
        [](std::size_t* size, char* buffer) { return support_registry_problem(size, buffer); });
    const std::string problems = problem ? problem->second : "";
    output.object(problems.empty(), {{"keys", keys}, {"unknown", unknown}, {"problems", problems}});
    if (problems.empty()) {
        return ExitStatus::good;
    }
    output.line(Failure(ExitStatus::unreachable, "can't read the configuration: " + problems,
                        "correct the file; until then no request can be made"));
    return ExitStatus::unreachable;
}

} // namespace cli
