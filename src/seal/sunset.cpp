// The table of ends, and where in a token and its chain each row applies.
#include <chronoseal/seal/sunset.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include <chronoseal/seal/configuration_value.h>

namespace chronoseal {

namespace {

constexpr std::string_view kRsa = "1.2.840.113549.1.1.1";
constexpr std::string_view kEc = "1.2.840.10045.2.1";

// A hash by its name, or keys of a kind below so many bits.
struct Row {
    std::string_view name; // the key of the configuration
    std::string_view end;
    std::string_view hash;     // as in the names of algorithms, small letters and digits alone
    std::string_view key_kind; // OID
    std::size_t bits;
};

constexpr Row kRows[] = {
    {"MD5", "2004-08", "md5", {}, 0},        {"SHA-1", "2012-08", "sha1", {}, 0},
    {"SHA-224", "2029-01", "sha224", {}, 0}, {"RSA-1900", "2019-10", {}, kRsa, 1900},
    {"RSA-3000", "2029-01", {}, kRsa, 3000}, {"ECDSA-256", "2021-10", {}, kEc, 256},
};

std::optional<int> number_of(std::string_view digits) {
    int value = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

std::optional<Time> end_of(const Row& row) {
    const auto configured =
        configured_text("\\config\\chronoseal\\sunset\\" + std::string(row.name));
    if (configured == "never") {
        return std::nullopt;
    }
    const auto own = configured ? date_of(*configured) : std::nullopt;
    return own ? own : date_of(row.end);
}

// Where an algorithm or a key is used: in the token, or in the chain.
struct Use {
    std::string_view place;
    const CertificateInfo* certificate = nullptr;
    bool is_key = false;
    std::string hash = {}; // else: the algorithm's name, small letters and digits alone

    std::string place_text() const {
        return std::string(place) +
               (certificate == nullptr ? "" : quote_foreign(certificate->subject));
    }
};

std::string plain_name(std::string_view name) {
    std::string plain;
    for (const char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return plain;
}

// In the order in which the places of a row are looked for.
std::vector<Use> uses_in(const TokenInfo& token, const std::vector<ChainLink>& chain) {
    std::vector<Use> uses;
    uses.reserve(3 + 2 * chain.size());
    const auto add_hash = [&](std::string_view place, const AlgorithmInfo& algorithm,
                              const CertificateInfo* certificate) {
        uses.push_back({place, certificate, false, plain_name(algorithm.name)});
    };
    add_hash("the stamp's hash", token.imprint_algorithm, nullptr);
    add_hash("the token's digest", token.signature.digest_algorithm, nullptr);
    add_hash("the token's signature", token.signature.signature_algorithm, nullptr);
    for (const ChainLink& link : chain) {
        uses.push_back({"the key of ", &link.certificate, true});
        if (!link.anchor) { // nobody relies on a root's signature of itself
            add_hash("the signature of ", link.certificate.signature_algorithm, &link.certificate);
        }
    }
    return uses;
}

bool applies(const Row& row, const Use& use) {
    if (!use.is_key) {
        return !row.hash.empty() && use.hash.starts_with(row.hash);
    }
    return use.certificate->key_algorithm.oid == row.key_kind && use.certificate->key_bits != 0 &&
           use.certificate->key_bits < row.bits;
}

std::string text_of(const Row& row, const Use& use) {
    const std::string what = row.key_kind.empty()
                                 ? std::string(row.name)
                                 : std::string(row.key_kind == kRsa ? "RSA" : "a curve") + " of " +
                                       std::to_string(use.certificate->key_bits) + " bits";
    return what + " (" + use.place_text() + ")";
}

} // namespace

std::optional<Time> date_of(std::string_view text) {
    using namespace std::chrono;
    const bool with_day = text.size() == 10 && text[7] == '-';
    if ((text.size() != 7 && !with_day) || text[4] != '-') {
        return std::nullopt;
    }
    const auto years = number_of(text.substr(0, 4));
    const auto months = number_of(text.substr(5, 2));
    const auto days = with_day ? number_of(text.substr(8, 2)) : 1;
    if (!years || !months || !days || *months < 1 || *days < 1) {
        return std::nullopt;
    }
    const year_month_day date{year(*years), month(static_cast<unsigned>(*months)),
                              day(static_cast<unsigned>(*days))};
    return date.ok() ? std::optional<Time>(sys_days(date)) : std::nullopt;
}

SunsetTable::SunsetTable() {
    for (const Row& row : kRows) {
        ends_.push_back(end_of(row));
    }
}

std::vector<Sunset> SunsetTable::ends_under(const TokenInfo& token,
                                            const std::vector<ChainLink>& chain) const {
    const std::vector<Use> uses = uses_in(token, chain);
    std::vector<Sunset> result;
    for (std::size_t i = 0; i < ends_.size(); ++i) {
        const Row& row = kRows[i];
        const auto first =
            std::ranges::find_if(uses, [&](const Use& use) { return applies(row, use); });
        if (ends_[i] && first != uses.end()) {
            result.push_back({text_of(row, *first), *ends_[i]});
        }
    }
    return result;
}

} // namespace chronoseal
