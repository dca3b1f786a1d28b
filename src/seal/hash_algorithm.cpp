// Hash algorithms by the platform's table, and the names that people write.
#include <cctype>
#include <mutex>
#include <optional>

#include <basalt/error_codes.h>
#include <basalt/hash.h>
#include <basalt/oid_information.h>
#include <chronoseal/seal/out_of_memory.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/running_hash.h>

namespace chronoseal {

namespace {

struct NamedOid {
    const char* oid;
    const char* name;
    bool weak;
};

// How people write what the platform's table may hold, in the order in which one should choose.
constexpr NamedOid kNames[] = {
    {"2.16.840.1.101.3.4.2.1", "SHA-256", false},
    {"2.16.840.1.101.3.4.2.2", "SHA-384", false},
    {"2.16.840.1.101.3.4.2.3", "SHA-512", false},
    {"2.16.840.1.101.3.4.2.6", "SHA-512/256", false},
    {"2.16.840.1.101.3.4.2.8", "SHA3-256", false},
    {"2.16.840.1.101.3.4.2.9", "SHA3-384", false},
    {"2.16.840.1.101.3.4.2.10", "SHA3-512", false},
    {"2.16.840.1.101.3.4.2.4", "SHA-224", false},
    {"2.16.840.1.101.3.4.2.5", "SHA-512/224", false},
    {"2.16.840.1.101.3.4.2.7", "SHA3-224", false},
    {"1.2.643.7.1.1.2.2", "GOST-2012-256", false},
    {"1.2.643.7.1.1.2.3", "GOST-2012-512", false},
    {"1.2.643.2.2.9", "GOST-94", false},
    {"1.3.36.3.2.1", "RIPEMD-160", true},
    {"1.3.14.3.2.26", "SHA-1", true},
    {"1.2.840.113549.2.5", "MD5", true},
};

// Lower case, letters and digits only: "SHA-256" and "sha256" are one name.
std::string folded(std::string_view name) {
    std::string result;
    for (const char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return result;
}

bool looks_like_oid(std::string_view text) {
    return text.find('.') != std::string_view::npos &&
           text.find_first_not_of("0123456789.") == std::string_view::npos;
}

std::string oid_of(std::string_view name) {
    if (looks_like_oid(name)) {
        return std::string(name);
    }
    const std::string wanted = folded(name);
    for (const NamedOid& known : kNames) {
        if (folded(known.name) == wanted) {
            return known.oid;
        }
    }
    const std::wstring text = wide(name);
    const auto* info = text.empty() ? nullptr
                                    : CryptFindOIDInfo(CRYPT_OID_INFO_NAME_KEY, text.c_str(),
                                                       CRYPT_HASH_ALG_OID_GROUP_ID);
    return info != nullptr ? info->pszOID : "";
}

const NamedOid* named(std::string_view oid) {
    for (const NamedOid& known : kNames) {
        if (oid == known.oid) {
            return &known;
        }
    }
    return nullptr;
}

} // namespace

std::string algorithm_name(std::string_view oid) {
    return within_memory("name the algorithm", [&]() -> std::string {
        if (const NamedOid* known = named(oid)) {
            return known->name;
        }
        const std::string text(oid);
        const auto* info = CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, text.c_str(), 0);
        return info != nullptr ? narrow(info->pwszName) : text;
    });
}

std::optional<HashAlgorithm> HashAlgorithmAccess::find(const std::string& oid) {
    // Asking a provider costs as much as hashing a page, and the answer stays the same.
    static std::mutex mutex;
    static std::vector<HashAlgorithm> found;
    const std::lock_guard lock(mutex);
    for (const HashAlgorithm& algorithm : found) {
        if (algorithm.oid() == oid) {
            return algorithm;
        }
    }
    const auto* info =
        CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid.c_str(), CRYPT_HASH_ALG_OID_GROUP_ID);
    const DWORD number = info != nullptr ? CertOIDToAlgId(oid.c_str()) : 0;
    if (number == 0) {
        return std::nullopt;
    }
    try {
        HashAlgorithm algorithm;
        algorithm.size_ = RunningHash(number).size();
        algorithm.oid_ = oid;
        algorithm.number_ = number;
        const NamedOid* known = named(oid);
        algorithm.name_ = known != nullptr ? known->name : narrow(info->pwszName);
        algorithm.weak_ = known != nullptr && known->weak;
        found.push_back(algorithm);
        return algorithm;
    } catch (const Error& error) {
        if (error.word() == "out_of_memory") {
            throw;
        }
        return std::nullopt; // in the table, but no provider computes it
    }
}

HashAlgorithm HashAlgorithm::by_name(std::string_view name_or_oid) {
    return guarded("choose the hash", [&] {
        const std::string oid = oid_of(name_or_oid);
        if (auto algorithm = oid.empty() ? std::nullopt : HashAlgorithmAccess::find(oid)) {
            return *std::move(algorithm);
        }
        std::string names;
        for (const HashAlgorithm& algorithm : all()) {
            names += (names.empty() ? "" : ", ") + algorithm.name();
        }
        throw Error(Category::misuse, "hash_unknown", NTE_BAD_ALGID,
                    "the hash \"" + quote_foreign(name_or_oid, 80) + "\" isn't known here",
                    "choose one of " + names);
    });
}

std::vector<HashAlgorithm> HashAlgorithm::all() {
    return within_memory("list the hashes", [&] {
        std::vector<HashAlgorithm> result;
        for (const NamedOid& known : kNames) {
            if (auto algorithm = HashAlgorithmAccess::find(known.oid)) {
                result.push_back(*std::move(algorithm));
            }
        }
        return result;
    });
}

} // namespace chronoseal
