// The chunked transfer coding (RFC 9112 7.1), taken apart piece by piece as it arrives. curl does
// this too, but swallows what stands behind a chunk's size without end and without telling, so that
// a server could keep a client busy for as long as it likes. Nothing here throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace basalt {

class ChunkedBody {
public:
    // Cuts the next piece of content off `coded`, which loses what was read. Empty when all of
    // `coded` was used up without any content, or when it broke a rule.
    std::string_view next(std::string_view& coded);

    // True when a rule was broken: no size, one that can't be, or more than 16 KiB beside the
    // content without any content between.
    bool bad() const { return bad_; }

private:
    enum class Place { kSize, kExtension, kContent, kAfterContent, kEnd };

    void take(char c);
    void take_size_digit(char c);

    Place place_ = Place::kSize;
    std::uint64_t left_ = 0;
    unsigned digits_ = 0;
    std::size_t overhead_ = 0;
    bool bad_ = false;
};

} // namespace basalt
