#include "asn1/info_type_and_value.h"

#include <cstring>

#include "asn1/failure.h"
#include "asn1/find_by_oid.h"

namespace Halcyon::ASN1 {

CInfoTypeAndValue::CInfoTypeAndValue() : infoType_("") {}

CInfoTypeAndValue::CInfoTypeAndValue(const char* infoType) : infoType_(infoType) {}

CInfoTypeAndValue::CInfoTypeAndValue(const char* infoType, const CBlob& infoValue)
    : infoType_(infoType), infoValue_(infoValue) {}

bool CInfoTypeAndValue::operator==(const CInfoTypeAndValue& other) const noexcept {
    return std::strcmp(get_infoType(), other.get_infoType()) == 0 && infoValue_ == other.infoValue_;
}

CInfoTypeAndValueList::iterator CInfoTypeAndValueList::find(const char* oid) {
    return findElementByOid(*this, oid, &CInfoTypeAndValue::get_infoType);
}

CInfoTypeAndValueList::const_iterator CInfoTypeAndValueList::find(const char* oid) const {
    return findElementByOid(*this, oid, &CInfoTypeAndValue::get_infoType);
}

void CInfoTypeAndValueList::insert(const CInfoTypeAndValue& element) {
    const auto found = find(element.get_infoType());
    if (found == end())
        push_back(element);
    else
        *found = element;
}

void CInfoTypeAndValueList::remove(const char* oid) {
    const auto found = find(oid);
    if (found == end())
        failArgument();
    erase(found);
}

} // namespace Halcyon::ASN1
