// What a stamp holds and what a verdict found, as JSON (docs/json.md).
#pragma once

#include <nlohmann/json.hpp>

#include <chronoseal/chronoseal.hpp>

namespace cli {

// The members "status" and "token"; `signer` is the certificate found, in the token or elsewhere.
nlohmann::ordered_json to_json(const chronoseal::StampInfo& info,
                               const std::optional<chronoseal::CertificateInfo>& signer);

// The members "status", "token", "good", "checks", "chain", "judgedAt" and "weak".
nlohmann::ordered_json to_json(const chronoseal::Verdict& verdict);

nlohmann::ordered_json to_json(const std::vector<chronoseal::Remark>& remarks);

} // namespace cli
