// What the machine's policy says about requests, asked before anything is hashed or sent.
#pragma once

#include <chronoseal/client/request_policy.h>
#include <chronoseal/seal/endpoint.h>

namespace chronoseal {

struct RequestShape {
    std::string hash_oid;
    std::string policy; // dotted; empty: none
    bool nonce = true;
};

// Of [[config.chronoseal.authority]]; those behind aren't asked.
inline constexpr std::size_t kMostAuthorities = 64;

using RequestRules = Halcyon::PKI::TSP::Client::CRequestPolicy;

// The policy in force. Throws `policy_unreadable`.
RequestRules read_rules();
// The same, but a switch or a number of a wrong type, whose default the client would take, is
// `setting_invalid`.
RequestRules settled_rules();

// The hash of a request that names none, by the text of DefaultHashAlg. Throws `hash_unknown`.
HashAlgorithm default_hash(const std::string& configured);

// Throw `hash_denied`, `policy_denied`, `nonce_denied`; `address_denied`, `auth_denied`,
// `proxy_auth_denied`.
void check_shape(const RequestRules& rules, const RequestShape& shape);
void check_endpoint(const RequestRules& rules, const Endpoint& endpoint);

} // namespace chronoseal
