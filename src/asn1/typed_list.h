// TypedList: a list of elements that each have a type, by which they are found.
#pragma once

#include <algorithm>
#include <list>
#include <string>

namespace Halcyon::ASN1 {

// Tells whether the type of a list's element, dotted text, is exactly the one held.
class findByOid {
public:
    explicit findByOid(const char* oid) : oid_(oid ? oid : "") {}

    template <class Element>
    bool operator()(const Element& element) const noexcept {
        return oid_ == type_of(element);
    }

    template <class Element>
    static const char* type_of(const Element& element) noexcept {
        if constexpr (requires { element.get_oid(); }) {
            return element.get_oid();
        } else if constexpr (requires { element.get_extnID(); }) {
            return element.get_extnID();
        } else {
            return element.get_infoType();
        }
    }

private:
    std::string oid_;
};

// In the order of the encoding or of insertion. A decoded list keeps what came, two elements of one
// type included.
template <class Element>
class TypedList : public std::list<Element> {
public:
    using std::list<Element>::list;
    using typename std::list<Element>::iterator;
    using typename std::list<Element>::const_iterator;

    // The first element of that type, by the exact text, or `end()`.
    iterator find(const char* oid) {
        return std::find_if(this->begin(), this->end(), findByOid(oid));
    }
    const_iterator find(const char* oid) const {
        return std::find_if(this->begin(), this->end(), findByOid(oid));
    }
    // Removes the first element of that type, if there is one.
    void erase(const char* oid) {
        if (const auto found = find(oid); found != this->end()) {
            erase(found);
        }
    }
    using std::list<Element>::erase;
    // Replaces the first element of the same type, or appends.
    void insert(const Element& element) {
        if (const auto found = find(findByOid::type_of(element)); found != this->end()) {
            *found = element;
        } else {
            this->push_back(element);
        }
    }
    using std::list<Element>::insert;
};

} // namespace Halcyon::ASN1
