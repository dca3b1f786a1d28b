// The forms in which people have bytes: as they are, PEM, or Base64.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

struct PemBlock {
    std::string label; // "CERTIFICATE"
    Bytes der;
};

// All well-formed blocks of a text, at most `most`; what stands around them doesn't matter.
std::vector<PemBlock> pem_blocks(ByteView text, std::size_t most = 10000);

// White space is skipped; nothing for text that isn't Base64 to the end, or is empty.
std::optional<Bytes> decode_base64(std::string_view text);

// In one line.
std::string encode_base64(ByteView bytes);

struct Unarmored {
    Form form = Form::binary;
    std::string label; // of PEM
    Bytes der;
};

// The signature of a mail; or the first PEM block; or the Base64 of something that begins as a
// SEQUENCE; or the bytes themselves.
Unarmored unarmor(ByteView bytes);

} // namespace chronoseal
