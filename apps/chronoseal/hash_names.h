// Names of hash algorithms as people write them, and their OIDs.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cli {

inline constexpr char kSha256Oid[] = "2.16.840.1.101.3.4.2.1";

// "SHA-256", "sha256", or a dotted OID, which is passed on as it stands. Nothing for a name that
// isn't known.
std::optional<std::string> hash_oid(std::string_view name_or_oid);

// "SHA-256" for its OID; the OID itself where no name is known.
std::string hash_name(std::string_view oid);

// "MD5, SHA-1, ...": for messages.
std::string known_hash_names();

} // namespace cli
