// What a stamp holds and what a verdict found, as JSON (docs/json.md).
#pragma once

#include <optional>
#include <vector>

#include <nlohmann/json.hpp>

#include <chronoseal/chronoseal.hpp>

namespace cli {

// The OID of what holds a stamp; null for none.
nlohmann::ordered_json attribute_json(const std::string& oid);

nlohmann::ordered_json time_or_null(const std::optional<chronoseal::Time>& time);

// The members "status" and "token"; `signer` is the certificate found, in the token or elsewhere.
nlohmann::ordered_json to_json(const chronoseal::StampInfo& info,
                               const std::optional<chronoseal::CertificateInfo>& signer);

// Of a stamp that has come: the members "url", "verified", "remarks", "status" and "token".
nlohmann::ordered_json to_json(const chronoseal::Stamp& stamp, bool verified);

// The members "status", "token", "verdict", "checks", "chain", "judgedAt", "asOf", and what lies
// ahead of the stamp.
nlohmann::ordered_json to_json(const chronoseal::Verdict& verdict);

nlohmann::ordered_json to_json(const std::vector<chronoseal::Remark>& remarks);

} // namespace cli
