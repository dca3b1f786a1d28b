#include "hash_names.h"

#include <cctype>

namespace tsa {

namespace {

struct Hash {
    const char* name;
    const char* openssl;
    bool weak;
};

constexpr Hash kHashes[] = {
    {"SHA-256", "SHA256", false},
    {"SHA-384", "SHA384", false},
    {"SHA-512", "SHA512", false},
    {"SHA-512/256", "SHA512-256", false},
    {"SHA3-256", "SHA3-256", false},
    {"SHA3-384", "SHA3-384", false},
    {"SHA3-512", "SHA3-512", false},
    {"SHA-224", "SHA224", false},
    {"SHA-512/224", "SHA512-224", false},
    {"SHA3-224", "SHA3-224", false},
    {"SHA-1", "SHA1", true},
};

// Letters and digits alone, in small letters.
std::string folded(const std::string& name) {
    std::string result;
    for (const char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return result;
}

} // namespace

std::vector<std::string> default_hashes() {
    std::vector<std::string> names;
    for (const Hash& hash : kHashes) {
        if (!hash.weak) {
            names.emplace_back(hash.name);
        }
    }
    return names;
}

std::vector<std::string> all_hashes() {
    std::vector<std::string> names;
    for (const Hash& hash : kHashes) {
        names.emplace_back(hash.name);
    }
    return names;
}

std::string openssl_name(const std::string& name) {
    for (const Hash& hash : kHashes) {
        if (folded(hash.name) == folded(name)) {
            return hash.openssl;
        }
    }
    return "";
}

} // namespace tsa
