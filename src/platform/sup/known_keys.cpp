// The table of known keys and the searches in it. A new key gets its row here and one in
// docs/configuration.md.
#include <basalt/sup/known_keys.h>

#include <algorithm>
#include <vector>

namespace basalt {

namespace {

using Key = support_registry_known_key;

constexpr long kLongestMilliseconds = 24L * 60 * 60 * 1000;
constexpr const char* kAuthSchemes = "0|1|2|8|16";
constexpr const char* kSwitch = "true|false";
// Slips of the pen are at most this far from what was meant.
constexpr std::size_t kNear = 3;

constexpr Key number(const char* path, const char* fallback, long least = 0, long most = 0) {
    return {path, SUPPORT_REGISTRY_NUMBER, least, most, nullptr, fallback};
}
constexpr Key scheme(const char* path) {
    return {path, SUPPORT_REGISTRY_NUMBER, 0, 0, kAuthSchemes, "0"};
}
constexpr Key flag(const char* path, const char* fallback = "false") {
    return {path, SUPPORT_REGISTRY_BOOL, 0, 0, kSwitch, fallback};
}
constexpr Key text(const char* path, const char* fallback = "", const char* words = nullptr) {
    return {path, SUPPORT_REGISTRY_STRING, 0, 0, words, fallback};
}
constexpr Key list(const char* path) {
    return {path, SUPPORT_REGISTRY_MULTI_STRING, 0, 0, nullptr, ""};
}

constexpr Key kKeys[] = {
    text("\\config\\cades\\tsppolicy\\DefaultTSPURL"),
    text("\\config\\cades\\tsppolicy\\DefaultProxy"),
    text("\\config\\cades\\tsppolicy\\DefaultHashAlg"),
    text("\\config\\cades\\tsppolicy\\DefaultPolicyID"),
    flag("\\config\\cades\\tsppolicy\\DefaultCertReq"),
    flag("\\config\\cades\\tsppolicy\\UseNonceByDefault", "true"),
    number("\\config\\cades\\tsppolicy\\NonceLength", "8", 1, 128),
    scheme("\\config\\cades\\tsppolicy\\AuthTypeDefault"),
    scheme("\\config\\cades\\tsppolicy\\AuthSSLTypeDefault"),
    scheme("\\config\\cades\\tsppolicy\\ProxyAuthTypeDefault"),
    scheme("\\config\\cades\\tsppolicy\\ProxyAuthSSLTypeDefault"),
    list("\\config\\cades\\tsppolicy\\AllowedTSPs"),
    list("\\config\\cades\\tsppolicy\\AllowedProxies"),
    list("\\config\\cades\\tsppolicy\\AllowedPolicyID"),
    flag("\\config\\cades\\tsppolicy\\DisablePolicyID"),
    list("\\config\\cades\\tsppolicy\\HashAlgsAllowed"),
    list("\\config\\cades\\tsppolicy\\HashAlgsDenied"),
    flag("\\config\\cades\\tsppolicy\\RequireNonce"),
    flag("\\config\\cades\\tsppolicy\\DisableNonce"),
    flag("\\config\\cades\\tsppolicy\\AuthDenyAnonym"),
    flag("\\config\\cades\\tsppolicy\\AuthDenyBasic"),
    flag("\\config\\cades\\tsppolicy\\AuthDenyDigest"),
    flag("\\config\\cades\\tsppolicy\\AuthDenyNTLM"),
    flag("\\config\\cades\\tsppolicy\\AuthDenyNegotiate"),
    flag("\\config\\cades\\tsppolicy\\AuthSSLDenyAnonym"),
    flag("\\config\\cades\\tsppolicy\\AuthSSLDenyBasic"),
    flag("\\config\\cades\\tsppolicy\\AuthSSLDenyDigest"),
    flag("\\config\\cades\\tsppolicy\\AuthSSLDenyNTLM"),
    flag("\\config\\cades\\tsppolicy\\AuthSSLDenyNegotiate"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthDenyAnonym"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthDenyBasic"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthDenyDigest"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthDenyNTLM"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthDenyNegotiate"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthSSLDenyAnonym"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthSSLDenyBasic"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthSSLDenyDigest"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthSSLDenyNTLM"),
    flag("\\config\\cades\\tsppolicy\\ProxyAuthSSLDenyNegotiate"),
    number("\\config\\cades\\tsppolicy\\StampAccuracy", "180000", 0, 429496),
    text("\\config\\cades\\tsppolicy\\DefaultMSTSPURL"),
    list("\\config\\cades\\tsppolicy\\AllowedMSTSPs"),
    flag("\\config\\cades\\tsppolicy\\LegacyPolicyReading"),
    text("\\config\\chronoseal\\authority\\*\\Url"),
    text("\\config\\chronoseal\\authority\\*\\LoginFile"),
    text("\\config\\chronoseal\\authority\\*\\Netrc"),
    text("\\config\\chronoseal\\authority\\*\\ClientCertificate"),
    text("\\config\\chronoseal\\authority\\*\\ClientKey"),
    text("\\config\\chronoseal\\authority\\*\\CaFile"),
    text("\\config\\chronoseal\\authority\\*\\Proxy"),
    text("\\config\\chronoseal\\authority\\*\\ProxyLoginFile"),
    number("\\config\\chronoseal\\authority\\*\\RateCount", "0", 0, 1000),
    number("\\config\\chronoseal\\authority\\*\\RateMilliseconds", "1000", 1, kLongestMilliseconds),
    number("\\config\\chronoseal\\authority\\*\\TimeoutMilliseconds", "0", 0, kLongestMilliseconds),
    text("\\config\\chronoseal\\sunset\\MD5", "2004-08"),
    text("\\config\\chronoseal\\sunset\\SHA-1", "2012-08"),
    text("\\config\\chronoseal\\sunset\\SHA-224", "2029-01"),
    text("\\config\\chronoseal\\sunset\\RSA-1900", "2019-10"),
    text("\\config\\chronoseal\\sunset\\RSA-3000", "2029-01"),
    text("\\config\\chronoseal\\sunset\\ECDSA-256", "2021-10"),
    text("\\config\\basalt\\Revocation", "require", "require|available|off"),
    flag("\\config\\basalt\\WeakerRevocation", "true"),
    text("\\config\\basalt\\Strength", "floor", "floor|current"),
    flag("\\config\\basalt\\SystemRoots", "true"),
    flag("\\config\\basalt\\AllowOverride"),
    number("\\config\\network\\ConnectTimeoutMilliseconds", "10000", 1, kLongestMilliseconds),
    number("\\config\\network\\TotalTimeoutMilliseconds", "30000", 1, kLongestMilliseconds),
    number("\\config\\network\\MaxAnswerBytes", "16777216", 1, 1L << 30),
    text("\\config\\network\\CaFile"),
    text("\\config\\network\\FetchProxy"),
    text("\\config\\network\\FetchIssuers", "outside", "outside|anywhere|none"),
    number("\\config\\Tinlayer\\SendRequestTimeoutMilliseconds", "5000"),
    number("\\config\\Tinlayer\\cache_settings\\OcspValiditySeconds", "0"),
    number("\\config\\trace\\levels\\*", "0"),
    text("\\config\\trace\\file"),
};

// Name by name, where a `*` stands for any.
bool fits(const Key& key, std::string_view path) {
    std::string_view known = key.path;
    while (!known.empty() && !path.empty()) {
        known.remove_prefix(1);
        path.remove_prefix(1);
        const std::size_t known_end = std::min(known.find('\\'), known.size());
        const std::size_t end = std::min(path.find('\\'), path.size());
        if (known.substr(0, known_end) != "*" &&
            known.substr(0, known_end) != path.substr(0, end)) {
            return false;
        }
        known.remove_prefix(known_end);
        path.remove_prefix(end);
    }
    return known.empty() && path.empty();
}

const Key* key_at(std::string_view path) {
    const auto* const found = std::find_if(std::begin(kKeys), std::end(kKeys),
                                           [&](const Key& key) { return fits(key, path); });
    return found != std::end(kKeys) ? found : nullptr;
}

bool has_type(const Key& key, int type) {
    return type == key.type ||
           (key.type == SUPPORT_REGISTRY_BOOL && type == SUPPORT_REGISTRY_NUMBER) ||
           (key.type == SUPPORT_REGISTRY_MULTI_STRING && type == SUPPORT_REGISTRY_STRING);
}

bool is_among(std::string_view words, std::string_view wanted) {
    while (!words.empty()) {
        const std::size_t end = std::min(words.find('|'), words.size());
        if (words.substr(0, end) == wanted) {
            return true;
        }
        words.remove_prefix(std::min(end + 1, words.size()));
    }
    return false;
}

// Such a text can't be handed out (ERROR_INVALID_DATA).
bool has_zero(const toml::node& node) {
    return node.value_or<std::string_view>("").find('\0') != std::string_view::npos;
}

bool is_allowed(const Key& key, const toml::node& node) {
    if (key.type == SUPPORT_REGISTRY_NUMBER) {
        const long value = node.value_or<long>(0);
        const bool in_range =
            (key.least == 0 && key.most == 0) || (value >= key.least && value <= key.most);
        return in_range && (key.words == nullptr || is_among(key.words, std::to_string(value)));
    }
    if (key.type == SUPPORT_REGISTRY_STRING) {
        const auto text = node.value_or<std::string_view>("");
        return key.words != nullptr ? is_among(key.words, text) : !has_zero(node);
    }
    const toml::array* array = node.as_array();
    return array != nullptr ? std::none_of(array->begin(), array->end(), has_zero)
                            : !has_zero(node);
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// How many letters one has to put in, take out or change, whatever their case; more than kNear
// isn't counted on.
std::size_t distance(std::string_view first, std::string_view second) {
    if (std::max(first.size(), second.size()) - std::min(first.size(), second.size()) > kNear) {
        return kNear + 1;
    }
    std::vector<std::size_t> row(second.size() + 1);
    for (std::size_t i = 0; i < row.size(); ++i) {
        row[i] = i;
    }
    for (std::size_t i = 0; i < first.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < second.size(); ++j) {
            const std::size_t change = diagonal + (lower(first[i]) == lower(second[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({change, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::string_view last_name(std::string_view path) {
    return path.substr(path.rfind('\\') + 1);
}

bool has_text_for_list(const toml::array& array) {
    return std::all_of(array.begin(), array.end(),
                       [](const toml::node& entry) { return entry.is_string(); });
}

} // namespace

std::span<const support_registry_known_key> known_keys() {
    return kKeys;
}

int type_of(const toml::node& node) {
    if (node.is_integer()) {
        return SUPPORT_REGISTRY_NUMBER;
    }
    if (node.is_boolean()) {
        return SUPPORT_REGISTRY_BOOL;
    }
    if (node.is_string()) {
        return SUPPORT_REGISTRY_STRING;
    }
    const toml::array* array = node.as_array();
    return array != nullptr && has_text_for_list(*array) ? SUPPORT_REGISTRY_MULTI_STRING
                                                         : SUPPORT_REGISTRY_OTHER;
}

int check_value(std::string_view path, const toml::node& node) {
    const Key* key = key_at(path);
    if (key == nullptr) {
        return SUPPORT_REGISTRY_UNKNOWN;
    }
    if (!has_type(*key, type_of(node))) {
        return SUPPORT_REGISTRY_WRONG_TYPE;
    }
    return is_allowed(*key, node) ? 0 : SUPPORT_REGISTRY_WRONG_VALUE;
}

bool is_known_table(std::string_view path) {
    return std::any_of(std::begin(kKeys), std::end(kKeys), [&](const Key& key) {
        const std::string_view known = key.path;
        return known.starts_with(path) && known.size() > path.size() && known[path.size()] == '\\';
    });
}

const support_registry_known_key* nearest_key(std::string_view path) {
    const Key* best = nullptr;
    std::size_t least = kNear + 1;
    for (const Key& key : kKeys) {
        if (const std::size_t far = distance(path, key.path); far < least) {
            least = far;
            best = &key;
        }
    }
    for (const Key& key : kKeys) { // the right name in another table
        if (best == nullptr && last_name(key.path) == last_name(path)) {
            best = &key;
        }
    }
    return best;
}

} // namespace basalt
