// findByOid: the search of a list for the element of one type.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

namespace Halcyon::ASN1 {

// Tells whether a type, dotted text, is exactly the one held.
class findByOid {
public:
    explicit findByOid(const char* oid) : oid_(oid ? oid : "") {}
    bool operator()(const char* oid) const noexcept { return oid_ == oid; }

private:
    std::string oid_;
};

// The first element whose type is `oid`, or the end. `type` is the element's member that gives its
// type.
template <class List, class Element>
auto findElementByOid(List& list, const char* oid, const char* (Element::*type)() const noexcept) {
    return std::find_if(
        list.begin(), list.end(),
        [found = findByOid(oid), type](const auto& element) { return found((element.*type)()); });
}

} // namespace Halcyon::ASN1
