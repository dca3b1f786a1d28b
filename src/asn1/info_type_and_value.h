// CInfoTypeAndValue and its list: general information of the management protocols (RFC 4210,
// 5.3.19).
#pragma once

#include <chronoseal/asn1/typed_list.h>
#include <chronoseal/asn1rt/runtime.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

// The type is dotted text, the value is DER. An empty value is an absent one.
class CInfoTypeAndValue {
public:
    CInfoTypeAndValue() : infoType_("") {}
    explicit CInfoTypeAndValue(const char* infoType) : infoType_(infoType) {}
    CInfoTypeAndValue(const char* infoType, const CBlob& infoValue)
        : infoType_(infoType), infoValue_(infoValue) {}

    const char* get_infoType() const noexcept { return infoType_.c_str(); }
    const CBlob& get_infoValue() const noexcept { return infoValue_; }

    bool operator==(const CInfoTypeAndValue& other) const noexcept;

private:
    CStringProxy infoType_;
    CBlob infoValue_;
};

// Through `insert` a type stands once at most.
class CInfoTypeAndValueList : public TypedList<CInfoTypeAndValue> {
public:
    using TypedList::TypedList;

    // Removes the first element of that type, which must be there: throws 0x80070057 if it isn't.
    void remove(const char* oid);
};

// From a list of InfoTypeAndValue records and back.

// Replaces `values`.
void ASN1TavList_Parse(ASN1TSeqOfList& list, CInfoTypeAndValueList& values);

// Appends to `list`, on the heap of the buffer's context. Throws CAtlException 0x80070057 for a
// type that is no identifier, 0x80093101 for a value that doesn't fit a known type, 0x80093106
// without memory.
void ASN1TavList_Encode(const CInfoTypeAndValueList& values, ASN1TSeqOfList& list,
                        ASN1BERDecodeBuffer& buffer);

} // namespace Halcyon::ASN1
