#include <basalt/revocation/budget.h>

#include <openssl/obj_mac.h>

#include <algorithm>
#include <string_view>

namespace basalt {

namespace {

constexpr unsigned kCheap = 1;
constexpr unsigned kDear = 10;
constexpr int kCheapRsaBits = 4096;

bool take(unsigned& used, unsigned limit, unsigned wanted) {
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

} // namespace

unsigned signature_weight(const EVP_PKEY* key) {
    const int type = EVP_PKEY_get_base_id(key);
    const bool small_rsa = (type == EVP_PKEY_RSA || type == EVP_PKEY_RSA_PSS) &&
                           EVP_PKEY_get_bits(key) <= kCheapRsaBits;
    return small_rsa || is_p256(key) ? kCheap : kDear;
}

Budget::Budget(const BudgetLimits& limits, Clock clock, std::shared_ptr<Fetching> shared)
    : limits_(limits), own_(limits.fetching_time, std::move(clock)), shared_(std::move(shared)) {}

bool Budget::take_certificate_signature(const EVP_PKEY* key) {
    return take(certificate_signatures_, limits_.certificate_signatures, signature_weight(key));
}

bool Budget::take_evidence_signature(const EVP_PKEY* key, bool given) {
    const unsigned weight = signature_weight(key);
    if (given && !take(given_signatures_, limits_.given_evidence_signatures, weight)) {
        return false;
    }
    return take(evidence_signatures_, limits_.evidence_signatures, weight);
}

bool Budget::take_responder(bool given) {
    if (given && !take(given_responders_, limits_.given_responders, 1)) {
        return false;
    }
    return take(responders_, limits_.responders, 1);
}

bool Budget::take_judged_path() {
    return take(judged_paths_, limits_.judged_paths, 1);
}

bool Budget::take_step() {
    return take(steps_, limits_.steps, 1);
}

bool Budget::take_fetching_path() {
    return take(fetching_paths_, limits_.fetching_paths, 1);
}

std::chrono::milliseconds Budget::fetching_time_left() {
    const std::chrono::milliseconds left = own_.time_left();
    return shared_ ? std::min(left, shared_->time_left()) : left;
}

} // namespace basalt
