#include "asn1/info_type_and_value.h"

#include <cstring>

#include "asn1/failure.h"
#include "asn1/find_by_oid.h"

namespace Halcyon::ASN1 {

CInfoTypeAndValue::CInfoTypeAndValue() : infoType_("") {}

CInfoTypeAndValue::CInfoTypeAndValue(char const* infoType) : infoType_(infoType) {}

CInfoTypeAndValue::CInfoTypeAndValue(char const* infoType, CBlob const& infoValue)
    : infoType_(infoType), infoValue_(infoValue) {}

bool CInfoTypeAndValue::operator==(CInfoTypeAndValue const& other) const noexcept {
    return std::strcmp(get_infoType(), other.get_infoType()) == 0 && infoValue_ == other.infoValue_;
}

CInfoTypeAndValueList::iterator CInfoTypeAndValueList::find(char const* oid) {
    return findElementByOid(*this, oid, &CInfoTypeAndValue::get_infoType);
}

CInfoTypeAndValueList::const_iterator CInfoTypeAndValueList::find(char const* oid) const {
    return findElementByOid(*this, oid, &CInfoTypeAndValue::get_infoType);
}

void CInfoTypeAndValueList::insert(CInfoTypeAndValue const& element) {
    auto const found = find(element.get_infoType());
    if (found == end())
        push_back(element);
    else
        *found = element;
}

void CInfoTypeAndValueList::remove(char const* oid) {
    auto const found = find(oid);
    if (found == end())
        failArgument();
    erase(found);
}

} // namespace Halcyon::ASN1
