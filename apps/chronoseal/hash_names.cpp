#include "hash_names.h"

#include <algorithm>
#include <cctype>

namespace cli {

namespace {

struct HashName {
    const char* name;
    const char* oid;
};

constexpr HashName kHashNames[] = {
    {"MD5", "1.2.840.113549.2.5"},          {"SHA-1", "1.3.14.3.2.26"},
    {"SHA-224", "2.16.840.1.101.3.4.2.4"},  {"SHA-256", kSha256Oid},
    {"SHA-384", "2.16.840.1.101.3.4.2.2"},  {"SHA-512", "2.16.840.1.101.3.4.2.3"},
    {"GOST-94", "1.2.643.2.2.9"},           {"GOST-2012-256", "1.2.643.7.1.1.2.2"},
    {"GOST-2012-512", "1.2.643.7.1.1.2.3"},
};

// Lower case, without hyphens: "SHA-256" and "sha256" are one name.
std::string folded(std::string_view name) {
    std::string result;
    for (const char c : name) {
        if (c != '-' && c != '_') {
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return result;
}

bool looks_like_oid(std::string_view text) {
    return !text.empty() && text.find('.') != std::string_view::npos &&
           text.find_first_not_of("0123456789.") == std::string_view::npos;
}

} // namespace

std::optional<std::string> hash_oid(std::string_view name_or_oid) {
    if (looks_like_oid(name_or_oid)) {
        return std::string(name_or_oid);
    }
    const std::string wanted = folded(name_or_oid);
    for (const HashName& entry : kHashNames) {
        if (folded(entry.name) == wanted) {
            return entry.oid;
        }
    }
    return std::nullopt;
}

std::string hash_name(std::string_view oid) {
    for (const HashName& entry : kHashNames) {
        if (oid == entry.oid) {
            return entry.name;
        }
    }
    return std::string(oid);
}

std::string known_hash_names() {
    std::string names;
    for (const HashName& entry : kHashNames) {
        names += (names.empty() ? "" : ", ") + std::string(entry.name);
    }
    return names;
}

} // namespace cli
