// The table of ends, and where in a token and its chain each row applies.
#include <chronoseal/seal/sunset.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <utility>

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

class Uses {
public:
    void add(const Row& row, const std::string& what) {
        if (!std::exchange(found_, true)) {
            if (const auto end = end_of(row)) {
                result.push_back({what, *end});
            }
        }
    }
    void add_hash(const Row& row, const AlgorithmInfo& algorithm, const std::string& place) {
        std::string name;
        for (const char c : algorithm.name) {
            if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
                name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            }
        }
        if (!row.hash.empty() && name.starts_with(row.hash)) {
            add(row, std::string(row.name) + " (" + place + ")");
        }
    }
    void add_key(const Row& row, const CertificateInfo& certificate, const std::string& place) {
        if (!row.key_kind.empty() && certificate.key_algorithm.oid == row.key_kind &&
            certificate.key_bits != 0 && certificate.key_bits < row.bits) {
            add(row, std::string(row.key_kind == kRsa ? "RSA" : "a curve") + " of " +
                         std::to_string(certificate.key_bits) + " bits (the key of " + place + ")");
        }
    }
    void next_row() { found_ = false; }

    std::vector<Sunset> result;

private:
    bool found_ = false;
};

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

std::vector<Sunset> sunsets_of(const TokenInfo& token, const std::vector<ChainLink>& chain) {
    Uses uses;
    for (const Row& row : kRows) {
        uses.next_row();
        uses.add_hash(row, token.imprint_algorithm, "the stamp's hash");
        uses.add_hash(row, token.signature.digest_algorithm, "the token's digest");
        uses.add_hash(row, token.signature.signature_algorithm, "the token's signature");
        for (const ChainLink& link : chain) {
            const std::string name = quote_foreign(link.certificate.subject);
            uses.add_key(row, link.certificate, name);
            if (!link.anchor) { // nobody relies on a root's signature of itself
                uses.add_hash(row, link.certificate.signature_algorithm,
                              "the signature of " + name);
            }
        }
    }
    return std::move(uses.result);
}

} // namespace chronoseal
