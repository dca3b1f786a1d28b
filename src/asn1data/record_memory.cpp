// The part of the records' memory that isn't a template.
#include <chronoseal/asn1data/record_memory.h>

namespace asn1data {

void* requiredBlock(ASN1CTXT* ctx, std::size_t size) {
    void* block = zeroedBlock(ctx, size);
    if (block == nullptr) {
        throw ASN1MessageBuffer::RTLError(rtStatusNoMemory);
    }
    return block;
}

void adopt(ASN1TPDU& record, const ASN1CtxtPtr& context) {
    if (record.context == nullptr) {
        record.setContext(context.get());
    }
}

ASN1Context* contextForCopy(const ASN1TPDU& source) {
    return source.context != nullptr ? source.context : new ASN1Context;
}

} // namespace asn1data
