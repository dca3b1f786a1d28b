// Delivery into a caller's buffer.
#include <chronoseal/client/sized_output.h>

#include <cstring>
#include <utility>

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/result_codes.h>

namespace Halcyon::PKI::TSP::Client {

void deliver(const CBlob& bytes, unsigned char* out, unsigned long* size) {
    const auto room = std::exchange(*size, bytes.cbData());
    if (!out) {
        return;
    }
    if (bytes.cbData() > room) {
        ATL::AtlThrowImpl(hr(kResultBufferTooSmall));
    }
    if (bytes.cbData() != 0) {
        std::memcpy(out, bytes.pbData(), bytes.cbData());
    }
}

} // namespace Halcyon::PKI::TSP::Client
