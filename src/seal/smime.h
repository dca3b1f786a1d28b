// S/MIME (RFC 8551, 3.4 and 3.5): a mail whose signature stands in a part of its own, or that is
// the signature as a whole, as far as the Base64 of it has to be found.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

struct SmimeMessage {
    std::string_view base64; // a view into the text
    // What a detached signature is over: the part with its lines ended by CRLF, as mails are
    // signed, and as it stands, as some tools sign; empty for a signature that holds its content.
    std::vector<Bytes> contents;
};

// Nothing for text that isn't such a mail. Headers are looked for in the first 64 KiB only.
std::optional<SmimeMessage> find_smime(std::string_view text);

} // namespace chronoseal
