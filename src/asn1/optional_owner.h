// The holder of an OPTIONAL field of a value class: an owning pointer, null when the field is
// absent.
#pragma once

#include <memory>

namespace Halcyon::ASN1 {

// Puts a copy of `source` into the owner; a null source empties it. If the copying fails the owner
// stays as it was.
template <class T>
void copy_to_auto_ptr(std::unique_ptr<T>& owner, const T* source) {
    owner = source ? std::make_unique<T>(*source) : nullptr;
}

// Both absent, or both present and equal.
template <class T>
bool equal_optional(const T* a, const T* b) {
    return a && b ? *a == *b : a == b;
}

} // namespace Halcyon::ASN1
