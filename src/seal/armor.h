// The forms in which people have bytes: as they are, PEM, or Base64.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// Where the Base64 stands in a text.
struct Base64Place {
    std::size_t begin = 0;
    std::size_t size = 0;
};

struct PemBlock {
    std::string label; // "CERTIFICATE"
    Bytes der;
    Base64Place base64; // behind header lines
};

// Where the next PEM block begins at or behind `from`: on a line of its own, since what somebody
// has commented out isn't meant. npos: nowhere.
std::size_t find_pem(std::string_view text, std::size_t from);

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
    Base64Place base64; // but of the binary form
};

// The signature of a mail; or the first PEM block; or the Base64 of something that begins as a
// SEQUENCE; or the bytes themselves.
Unarmored unarmor(ByteView bytes);

} // namespace chronoseal
