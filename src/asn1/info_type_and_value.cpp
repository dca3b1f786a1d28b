#include <chronoseal/asn1/info_type_and_value.h>

#include <cstring>

#include <chronoseal/asn1/heap_copy.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1data/pkix_cmp.h>

namespace Halcyon::ASN1 {

bool CInfoTypeAndValue::operator==(const CInfoTypeAndValue& other) const noexcept {
    return std::strcmp(get_infoType(), other.get_infoType()) == 0 && infoValue_ == other.infoValue_;
}

void CInfoTypeAndValueList::remove(const char* oid) {
    const auto found = find(oid);
    if (found == end()) {
        fail_argument();
    }
    erase(found);
}

// InfoTypeAndValue ::= SEQUENCE {
//     infoType   OBJECT IDENTIFIER,
//     infoValue  ANY DEFINED BY infoType OPTIONAL }

namespace {

using Record = asn1data::ASN1T_InfoTypeAndValue;

CInfoTypeAndValue value_of(const Record& record) {
    const CStringProxy oid = toOID(record.infoType);
    if (!record.m.infoValuePresent) {
        return CInfoTypeAndValue(oid.c_str());
    }
    return CInfoTypeAndValue(oid.c_str(), CBlob(record.infoValue.data, record.infoValue.numocts));
}

// The record lies in one block with its node, as rtDListAppendNode wants it.
Record* append_record(ASN1CTXT* ctxt, ASN1TSeqOfList& list, const CInfoTypeAndValue& value) {
    constexpr std::size_t kNodeSize = sizeof(rtDListNode);
    void* const block =
        rtMemHeapAllocZ(&ctxt->typeHeap, static_cast<std::int32_t>(kNodeSize + sizeof(Record)));
    if (!block) {
        fail_memory();
    }
    auto* const record = reinterpret_cast<Record*>(static_cast<char*>(block) + kNodeSize);
    if (value.get_infoValue().cbData() != 0) {
        record->m.infoValuePresent = 1;
        heap_octets(ctxt, record->infoValue, value.get_infoValue());
    }
    ASN1TObjId_traits::set(ctxt, record->infoType, value.get_infoType());
    if (asn1data::asn1DTC_InfoTypeAndValue(ctxt, record) != 0) {
        fail_codec();
    }
    rtDListAppendNode(ctxt, &list, record);
    return record;
}

} // namespace

void ASN1TavList_Parse(ASN1TSeqOfList& list, CInfoTypeAndValueList& values) {
    values.clear();
    for (const rtDListNode* node = list.head; node; node = node->next) {
        values.push_back(value_of(*static_cast<const Record*>(node->data)));
    }
}

void ASN1TavList_Encode(const CInfoTypeAndValueList& values, ASN1TSeqOfList& list,
                        ASN1BERDecodeBuffer& buffer) {
    for (const CInfoTypeAndValue& value : values) {
        append_record(buffer.getCtxtPtr(), list, value);
    }
}

} // namespace Halcyon::ASN1
