#include <basalt/revocation/budget.h>

#include <basalt/certificate/element_count.h>
#include <basalt/coding/rsa_exponent.h>

#include <openssl/core_names.h>
#include <openssl/obj_mac.h>

#include <algorithm>
#include <string_view>

namespace basalt {

namespace {

constexpr unsigned kCheap = 1;
constexpr unsigned kDearReading = 15;
constexpr std::size_t kOctetsHashedForOneCost = 20'000; // by SHA-3 and SHA-512, in software
constexpr std::size_t kOctetsReadForOneCost = 4'096;    // of a certificate, by OpenSSL
constexpr std::size_t kElementsReadForOneCost = 160;    // the same
constexpr char kCurveKey[] = "1.2.840.10045.2.1";

constexpr std::size_t kComparisonsOfOneCost = 1000;

template <class Count>
bool take(Count& used, Count limit, Count wanted) {
    if (wanted > limit || used > limit - wanted) {
        return false;
    }
    used += wanted;
    return true;
}

bool is_p256(const EVP_PKEY* key) {
    char name[32];
    std::size_t size = 0;
    return EVP_PKEY_get_base_id(key) == EVP_PKEY_EC &&
           EVP_PKEY_get_group_name(key, name, sizeof name, &size) == 1 &&
           std::string_view(name, size) == SN_X9_62_prime256v1;
}

bool is_over_two(const EVP_PKEY* key) {
    char field[32];
    std::size_t size = 0;
    return EVP_PKEY_get_utf8_string_param(key, OSSL_PKEY_PARAM_EC_FIELD_TYPE, field, sizeof field,
                                          &size) == 1 &&
           std::string_view(field, size) != SN_X9_62_prime_field;
}

// Measured with OpenSSL 3.0: P-384 1.2 ms, brainpool's 512 bits 1.7, 163 bits over two 0.7 and 571
// bits 6.1. The bounds lie above what was measured between.
unsigned curve_cost(const EVP_PKEY* key) {
    if (is_p256(key)) {
        return kCheap;
    }
    const auto bits = static_cast<unsigned>(std::max(EVP_PKEY_get_bits(key), 1));
    return is_over_two(key) ? 2 + bits * bits / 5'000 : 1 + bits / 28;
}

// 0.02 ms with 2048 bits and 0.3 with 7680, by the exponent that nearly all have, of 17 bits. Each
// further bit is one multiplication more, or two: 3072 bits with an exponent of as many take 6 ms.
unsigned rsa_cost(const EVP_PKEY* key, unsigned bits) {
    constexpr unsigned kUsualExponent = 17;
    const unsigned usual = bits * (bits / 64);
    const std::optional<RsaExponent> exponent = rsa_exponent_of(key);
    const unsigned steps = std::max(exponent ? exponent->bits : 0, kUsualExponent);
    return 1 + usual / 1000 * steps / 160 / kUsualExponent;
}

} // namespace

unsigned signature_cost(const EVP_PKEY* key) {
    const auto bits = static_cast<unsigned>(std::max(EVP_PKEY_get_bits(key), 1));
    switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
        return rsa_cost(key, bits);
    case EVP_PKEY_EC:
        return curve_cost(key);
    case EVP_PKEY_ED25519:
        return 2;
    case EVP_PKEY_ED448:
        return 4;
    case EVP_PKEY_DSA:
        return 2 + bits * (bits / 64) / 20'000; // 0.1 ms with 1024 bits, 0.7 with 3072
    default:
        return bits <= 256 ? 3 : 12; // GOST takes 0.24 ms with 256 bits, 1.15 with 512
    }
}

// In software, by digests of which only an engine knows: 17 and 70 MB/s where SHA-3 has 200.
unsigned hashing_weight(const X509_ALGOR* signature) {
    int digest = NID_undef;
    OBJ_find_sigid_algs(OBJ_obj2nid(signature->algorithm), &digest, nullptr);
    switch (digest) {
    case NID_id_GostR3411_94:
        return 12;
    case NID_id_GostR3411_2012_256:
    case NID_id_GostR3411_2012_512:
        return 3;
    default:
        return 1;
    }
}

unsigned reading_cost(const CERT_INFO& certificate) {
    constexpr BYTE kUncompressed = 4;
    constexpr BYTE kName = 6; // the tag of an OID
    const CERT_PUBLIC_KEY_INFO& key = certificate.SubjectPublicKeyInfo;
    const CRYPT_BIT_BLOB& bits = key.PublicKey;
    const CRYPT_OBJID_BLOB& curve = key.Algorithm.Parameters;
    const bool is_curve = std::string_view(key.Algorithm.pszObjId) == kCurveKey;
    const bool is_plain = bits.cbData > 0 && bits.pbData[0] == kUncompressed && curve.cbData > 0 &&
                          curve.pbData[0] == kName;
    return (is_curve && !is_plain ? kDearReading : kCheap) +
           static_cast<unsigned>(element_count(certificate) / kElementsReadForOneCost);
}

namespace {

unsigned checking_cost(const EVP_PKEY* key, std::size_t octets) {
    return signature_cost(key) + static_cast<unsigned>(octets / kOctetsHashedForOneCost);
}

} // namespace

Budget::Budget(const BudgetLimits& limits, Clock clock, std::shared_ptr<Fetching> shared)
    : limits_(limits), own_(limits.fetching_time, std::move(clock)), shared_(std::move(shared)) {}

bool Budget::take_with_work(unsigned& used, unsigned limit, unsigned cost) {
    if (!take(used, limit, cost)) {
        return false;
    }
    if (!take_work(cost)) {
        used -= cost;
        return false;
    }
    return true;
}

bool Budget::take_certificate_signature(const EVP_PKEY* key, bool own) {
    const unsigned cost = signature_cost(key);
    return (own && take_with_work(own_certificate_signatures_, limits_.own_certificate_signatures,
                                  cost)) ||
           take_with_work(certificate_signatures_, limits_.certificate_signatures, cost);
}

bool Budget::take_kept_signature(const EVP_PKEY* key, std::size_t octets) {
    return take_with_work(kept_signatures_, limits_.kept_signatures, checking_cost(key, octets));
}

bool Budget::take_evidence_signature(const EVP_PKEY* key, bool given, std::size_t octets) {
    const unsigned cost = checking_cost(key, octets);
    if (given && !take(given_signatures_, limits_.given_evidence_signatures, cost)) {
        return false;
    }
    return take_with_work(evidence_signatures_, limits_.evidence_signatures, cost);
}

bool Budget::take_reading(std::size_t octets) {
    constexpr std::size_t kOctetsForOneCost = 800; // of many small extensions
    return take_work(static_cast<unsigned>(std::min(octets, kMostUnverified) / kOctetsForOneCost));
}

bool Budget::take_responder(const CERT_INFO& certificate, std::size_t octets, bool given) {
    const unsigned cost =
        reading_cost(certificate) + static_cast<unsigned>(octets / kOctetsReadForOneCost);
    if (given && !take(given_responders_, limits_.given_responders, cost)) {
        return false;
    }
    return take_with_work(responders_, limits_.responders, cost);
}

bool Budget::take_comparisons(std::size_t count, bool given) {
    if (given && !take(given_comparisons_, limits_.given_comparisons, count)) {
        given_comparisons_ = limits_.given_comparisons;
        return false;
    }
    if (!take(comparisons_, limits_.comparisons, count)) {
        comparisons_ = limits_.comparisons;
        return false;
    }
    const std::size_t due = (comparisons_ - comparisons_paid_) / kComparisonsOfOneCost;
    if (due > 0 && !take_work(static_cast<unsigned>(due))) {
        comparisons_ = limits_.comparisons;
        return false;
    }
    comparisons_paid_ += due * kComparisonsOfOneCost;
    return true;
}

bool Budget::take_judged_path() {
    return take(judged_paths_, limits_.judged_paths, 1U);
}

bool Budget::take_step() {
    return take(steps_, limits_.steps, 1U);
}

bool Budget::take_fetching_path() {
    return take(fetching_paths_, limits_.fetching_paths, 1U);
}

void Budget::give_back_fetching_path() {
    if (fetching_paths_ > 0 &&
        take(fetching_paths_given_back_, limits_.fetching_paths_given_back, 1U)) {
        --fetching_paths_;
    }
}

std::chrono::milliseconds Budget::fetching_time_left() {
    const std::chrono::milliseconds left = own_.time_left();
    return shared_ ? std::min(left, shared_->time_left()) : left;
}

std::chrono::milliseconds Budget::share_of(std::chrono::milliseconds left) const {
    return std::min(left, std::max(least_exchange_time(), left / 3));
}

std::chrono::milliseconds Budget::exchange_time() {
    const std::chrono::milliseconds left = fetching_time_left();
    return std::min(left, share_of(own_.time_left()));
}

std::chrono::milliseconds Budget::fair_exchange_time() {
    return std::max(least_exchange_time(), share_of(own_.time_left()));
}

std::chrono::milliseconds Budget::issuer_exchange_time() {
    const std::chrono::milliseconds own = own_.issuer_time_left();
    const auto left = shared_ ? std::min(own, shared_->issuer_time_left()) : own;
    return std::min(left, std::max(least_issuer_exchange_time(), left / 2));
}

void Budget::take_issuer_time(TimePoint begin) {
    const auto used = std::chrono::ceil<std::chrono::milliseconds>(now() - begin);
    own_.take_issuer_time(used);
    if (shared_) {
        shared_->take_issuer_time(used);
    }
}

} // namespace basalt
