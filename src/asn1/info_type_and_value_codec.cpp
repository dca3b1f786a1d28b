#include "asn1/info_type_and_value_codec.h"

#include "asn1/heap_copy.h"
#include "asn1/object_identifier.h"
#include "asn1data/pkix_cmp.h"

namespace Halcyon::ASN1 {

// InfoTypeAndValue ::= SEQUENCE {
//     infoType   OBJECT IDENTIFIER,
//     infoValue  ANY DEFINED BY infoType OPTIONAL }

namespace {

using Record = asn1data::ASN1T_InfoTypeAndValue;

CInfoTypeAndValue valueOf(const Record& record) {
    const CStringProxy oid = toOID(record.infoType);
    if (!record.m.infoValuePresent)
        return CInfoTypeAndValue(oid.c_str());
    return CInfoTypeAndValue(oid.c_str(), CBlob(record.infoValue.data, record.infoValue.numocts));
}

// The record lies in one block with its node, as rtDListAppendNode wants it.
Record* appendRecord(ASN1CTXT* ctxt, ASN1TSeqOfList& list, const CInfoTypeAndValue& value) {
    constexpr std::size_t nodeSize = sizeof(rtDListNode);
    void* const block =
        rtMemHeapAllocZ(&ctxt->typeHeap, static_cast<std::int32_t>(nodeSize + sizeof(Record)));
    if (!block)
        failMemory();
    auto* const record = reinterpret_cast<Record*>(static_cast<char*>(block) + nodeSize);
    if (value.get_infoValue().cbData() != 0) {
        record->m.infoValuePresent = 1;
        heapOctets(ctxt, record->infoValue, value.get_infoValue());
    }
    ASN1TObjId_traits::set(ctxt, record->infoType, value.get_infoType());
    if (asn1data::asn1DTC_InfoTypeAndValue(ctxt, record) != 0)
        failCodec();
    rtDListAppendNode(ctxt, &list, record);
    return record;
}

} // namespace

void ASN1TavList_Parse(ASN1TSeqOfList& list, CInfoTypeAndValueList& values) {
    values.clear();
    for (const rtDListNode* node = list.head; node; node = node->next)
        values.push_back(valueOf(*static_cast<const Record*>(node->data)));
}

void ASN1TavList_Encode(const CInfoTypeAndValueList& values, ASN1TSeqOfList& list,
                        ASN1BERDecodeBuffer& buffer) {
    for (const CInfoTypeAndValue& value : values)
        appendRecord(buffer.getCtxtPtr(), list, value);
}

} // namespace Halcyon::ASN1
