// The Base64 decoder over any text, into a buffer that is just large enough; and what is encoded
// decodes to itself.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <chronoseal/atl/base64.h>

namespace {

void decode_any(const char* text, int size) {
    std::vector<unsigned char> out(static_cast<std::size_t>(size) / 4 * 3 + 3);
    int length = static_cast<int>(out.size());
    if (ATL::Base64Decode(text, size, out.data(), &length) &&
        (length < 0 || length > static_cast<int>(out.size()))) {
        std::abort();
    }
    for (int room = 0; room < 4; ++room) {
        std::vector<unsigned char> small(static_cast<std::size_t>(room));
        length = room;
        ATL::Base64Decode(text, size, small.data(), &length);
    }
}

void round_trip(const std::uint8_t* data, int size, unsigned flags) {
    int length = ATL::Base64EncodeGetRequiredLength(size, flags);
    std::vector<char> text(static_cast<std::size_t>(length) + 1);
    if (!ATL::Base64Encode(data, size, text.data(), &length, flags)) {
        std::abort();
    }
    std::vector<unsigned char> back(static_cast<std::size_t>(size) + 3);
    int count = static_cast<int>(back.size());
    if (!ATL::Base64Decode(text.data(), length, back.data(), &count) || count != size ||
        std::memcmp(back.data(), data, static_cast<std::size_t>(size)) != 0) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 65536) {
        return 0;
    }
    const int length = static_cast<int>(size);
    decode_any(reinterpret_cast<const char*>(data), length);
    for (unsigned flags = 0; flags < 4; ++flags) {
        round_trip(data, length, flags);
    }
    return 0;
}
