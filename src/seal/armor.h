// The forms in which people have bytes: as they are, PEM, or Base64.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <basalt/sup/pem_text.h>
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
    std::size_t size; // of its text
    bool is_damaged() const { return der.empty(); }
};

// All blocks of a text, damaged ones too; what stands around them doesn't matter. None of DER. The
// text must outlive it.
class PemBlocks {
public:
    explicit PemBlocks(ByteView text);
    std::optional<PemBlock> next();

private:
    basalt::PemReader reader_;
};

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

// The signature of a mail; or the first PEM block that isn't damaged; or the Base64 of something
// that begins as a SEQUENCE; or the bytes themselves.
Unarmored unarmor(ByteView bytes);

} // namespace chronoseal
