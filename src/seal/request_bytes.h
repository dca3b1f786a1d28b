// TimeStampReq as bytes: made from a digest, and read for what it asks.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

struct RequestFields {
    std::string hash_oid;
    Bytes imprint;
    bool certificates = false;
    // The digest is absent where the hash isn't known here, or the imprint has another length.
    Expected expected;
};

// Looks through armor. Throws `not_a_request`.
RequestFields read_request(ByteView bytes);

struct RequestWishes {
    std::string policy; // dotted; empty: none
    bool certificates = false;
    std::size_t nonce_bytes = 0; // 0: none
};

// Whether it comes back out of a request as it went in.
bool is_object_identifier(const std::string& text);

Bytes make_request(const Digest& digest, const RequestWishes& wishes);

} // namespace chronoseal
