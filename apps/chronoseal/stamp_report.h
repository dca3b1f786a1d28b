// What a stamp holds, taken out of it once, and its two forms: text for people, JSON for programs
// (docs/json.md).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "client/stamp.h"

namespace cli {

struct SignerReport {
    std::string subject;
    std::string issuer;
    std::string serial_number; // hexadecimal
    std::string not_before;    // RFC 3339, UTC
    std::string not_after;
    std::string sha256; // of the certificate
};

struct TokenReport {
    std::string time; // RFC 3339, UTC, with the fraction that the token has
    std::optional<std::int64_t> accuracy_microseconds;
    std::string serial_number; // hexadecimal
    std::string policy;        // OID
    std::string hash_oid;
    std::string digest; // hexadecimal
    bool nonce = false;
    bool ordering = false;
    std::optional<std::string> tsa;
    std::size_t certificates = 0;
    std::optional<SignerReport> signer;
};

struct StampReport {
    // Of a response; nothing for a bare token.
    std::optional<unsigned> status;
    std::string status_text;
    std::vector<std::string> failure_info; // RFC 3161 names
    // Nothing when the authority refused.
    std::optional<TokenReport> token;
};

// `stores`: where else the signer's certificate may be found; not owned. Throws CAtlException.
StampReport read_report(const Halcyon::PKI::TSP::Client::CStamp& stamp, void** stores,
                        unsigned long count);

std::string to_text(const StampReport& report);
nlohmann::ordered_json to_json(const StampReport& report);

// "granted", "rejection", ... of RFC 3161, 2.4.2.
std::string status_name(unsigned status);

// Upper-case-free hexadecimal digits.
std::string to_hex(const unsigned char* data, std::size_t size);

} // namespace cli
