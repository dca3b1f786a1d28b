// Owned: the one owner of what a value class holds on the heap, its OPTIONAL fields and its blocks
// of fields. A class whose fields are values and owners needs no special members of its own.
#pragma once

#include <memory>
#include <utility>

namespace Halcyon::ASN1 {

// Null, or an object of its own. Copies are deep; an assignment that fails leaves the target as it
// was. There is no move on purpose: what was moved from is whole. A const owner gives a const
// object.
template <class T>
class Owned {
public:
    Owned() noexcept = default;
    template <class... Arguments>
    explicit Owned(std::in_place_t, Arguments&&... arguments)
        : object_(std::make_unique<T>(std::forward<Arguments>(arguments)...)) {}
    Owned(const Owned& other) : object_(copy_of(other.get())) {}
    Owned& operator=(const Owned& other) {
        if (this != &other) {
            object_ = copy_of(other.get());
        }
        return *this;
    }
    ~Owned() = default;

    const T* get() const noexcept { return object_.get(); }
    T* get() noexcept { return object_.get(); }
    const T& operator*() const noexcept { return *object_; }
    T& operator*() noexcept { return *object_; }
    const T* operator->() const noexcept { return object_.get(); }
    T* operator->() noexcept { return object_.get(); }

    // A copy of `source`, which may be part of what is held; null for null.
    void assign(const T* source) { object_ = copy_of(source); }

private:
    static std::unique_ptr<T> copy_of(const T* source) {
        return source ? std::make_unique<T>(*source) : nullptr;
    }

    std::unique_ptr<T> object_;
};

// Puts a copy of `source` into the owner; a null source empties it. If the copying fails the owner
// stays as it was.
template <class T>
void copy_to_auto_ptr(Owned<T>& owner, const T* source) {
    owner.assign(source);
}

// Both absent, or both present and equal.
template <class T>
bool equal_optional(const T* a, const T* b) {
    return a && b ? *a == *b : a == b;
}

template <class T>
bool operator==(const Owned<T>& a, const Owned<T>& b) {
    return equal_optional(a.get(), b.get());
}

} // namespace Halcyon::ASN1
