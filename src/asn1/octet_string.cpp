#include "asn1/octet_string.h"

#include "asn1/codec.h"
#include "asn1/ctxt_handle.h"

namespace Halcyon::ASN1 {

CBlob toOctetString(const CBlob& content) {
    const int size = messageLength(content);
    ctxt_handle context;
    if (!context.init() || xe_setp(context.get(), nullptr, 0) != 0)
        failCodec();
    const int length =
        xe_octstr(context.get(), content.pbData(), static_cast<std::uint32_t>(size), 1);
    if (length < 0)
        failCodec();
    return CBlob(xe_getp(context.get()), static_cast<unsigned long>(length));
}

CBlob fromOctetString(const CBlob& der) {
    const int size = messageLength(der);
    if (size == 0)
        failCodec();
    ctxt_handle context;
    if (!context.init())
        failMemory();
    if (xd_setp(context.get(), der.pbData(), size, nullptr, nullptr) != 0)
        failCodec();
    CBlob content(der.cbData());
    auto count = static_cast<std::uint32_t>(size);
    if (xd_octstr_s(context.get(), content.pbData(), &count, 1, 0) != 0)
        failCodec();
    content.resize_to(count);
    return content;
}

} // namespace Halcyon::ASN1
