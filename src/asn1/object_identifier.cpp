#include "asn1/object_identifier.h"

#include <string>

#include "asn1/failure.h"

namespace Halcyon::ASN1 {

ASN1OBJID toASN1OBJID(const char* text) {
    ASN1OBJID oid{};
    ASN1TObjId_traits::set(nullptr, oid, text);
    return oid;
}

CStringProxy toOID(const ASN1OBJID& oid) {
    CStringProxy text("");
    ASN1TObjId_traits::get(oid, text);
    return text;
}

bool str2oid(const char* text, ASN1OBJID* oid) {
    return rtStrToOid(text, oid) == 0;
}

int oid2str(CBlob& text, const ASN1OBJID* oid) {
    if (!oid || oid->numids > maxObjectIdArcs)
        return 0;
    std::string dotted;
    for (std::uint32_t i = 0; i < oid->numids; ++i) {
        if (i != 0)
            dotted += '.';
        dotted += std::to_string(oid->subid[i]);
    }
    text.assign(reinterpret_cast<const unsigned char*>(dotted.c_str()), dotted.size() + 1);
    return 1;
}

void ASN1TObjId_traits::set(ASN1CTXT*, ASN1_T& record, const char* value) {
    if (str2oid(value, &record))
        failArgument();
}

void ASN1TObjId_traits::get(const ASN1_T& record, CStringProxy& value) {
    CBlob text;
    if (!oid2str(text, &record))
        failArgument();
    value = CStringProxy(reinterpret_cast<const char*>(text.pbData()));
}

void ASN1TObjId_traits::copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) {
    to = from;
}

int ASN1TObjId_traits::encode(ASN1BEREncodeBuffer& buffer, ASN1_T& record) {
    buffer.init();
    return xe_objid(buffer.getCtxtPtr(), &record, 1);
}

int ASN1TObjId_traits::decode(ASN1BERDecodeBuffer& buffer, ASN1_T& record) {
    try {
        buffer.init();
        return xd_objid(buffer.getCtxtPtr(), &record, 1, 0);
    } catch (const ASN1MessageBuffer::RTLError& error) {
        return error.getStatus();
    }
}

} // namespace Halcyon::ASN1
