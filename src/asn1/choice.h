// What a value class over an ASN.1 CHOICE stands on: a kind number with an untyped value, and for
// each pair of value type and kind one immutable object that knows how to copy and destroy such a
// value.
#pragma once

#include <memory>
#include <type_traits>

namespace Halcyon::ASN1 {

// The operations on the values of one kind.
class ChoiceValueTraits {
public:
    virtual ~ChoiceValueTraits() = default;

    virtual bool isType(unsigned int kind) const noexcept = 0;
    // A null value is accepted.
    virtual void deleteValue(void* value) const noexcept = 0;
    // A copy on the heap.
    virtual void* newValue(const void* source) const = 0;
    virtual void copyValue(void* target, const void* source) const = 0;
};

template <class T, unsigned int kind>
class ChoiceValueTraitsT final : public ChoiceValueTraits {
public:
    bool isType(unsigned int other) const noexcept override { return other == kind; }
    void deleteValue(void* value) const noexcept override { delete static_cast<T*>(value); }
    void* newValue(const void* source) const override {
        return new T(*static_cast<const T*>(source));
    }
    void copyValue(void* target, const void* source) const override {
        *static_cast<T*>(target) = *static_cast<const T*>(source);
    }

    static const ChoiceValueTraitsT instance;
};

template <class T, unsigned int kind>
const ChoiceValueTraitsT<T, kind> ChoiceValueTraitsT<T, kind>::instance;

// The empty alternative, for every kind that has no value or isn't supported. A null source stands
// for no value.
template <>
class ChoiceValueTraitsT<void*, 0> final : public ChoiceValueTraits {
public:
    bool isType(unsigned int kind) const noexcept override { return kind == 0; }
    void deleteValue(void* value) const noexcept override { delete static_cast<void**>(value); }
    void* newValue(const void* source) const override {
        return source ? new void*(*static_cast<void* const*>(source)) : nullptr;
    }
    void copyValue(void* target, const void* source) const override {
        *static_cast<void**>(target) = *static_cast<void* const*>(source);
    }

    static const ChoiceValueTraitsT instance;
};

// One alternative of a choice: its number in the schema's record with the type of its value, so
// that no other type can be put or got under that number.
template <class T, unsigned int number>
struct Alternative {
    using Value = T;
    static constexpr unsigned int kind = number;
};

// The kind and the value of a choice. A subclass maps kinds to their traits and gives up the value
// in its destructor by `clear_value`.
class Choice {
public:
    Choice() noexcept = default;
    Choice(const Choice&) = delete;
    Choice& operator=(const Choice&) = delete;
    virtual ~Choice() = default;

    unsigned int type() const noexcept { return type_; }
    // The value if the kind is that of the alternative, otherwise null.
    template <class T, unsigned int kind>
    const T* get(Alternative<T, kind>) const noexcept {
        return type_ == kind ? static_cast<const T*>(value_) : nullptr;
    }
    // Makes a copy of `source`, which may be part of the present value, the value.
    template <class T, unsigned int kind>
    void put(Alternative<T, kind>, const std::type_identity_t<T>& source) {
        put(kind, &source);
    }
    // Takes kind and a copy of the value from another choice of the same class; this one holds
    // nothing.
    void copy_from(const Choice& other);

protected:
    // Null for a kind that the choice refuses.
    virtual const ChoiceValueTraits* findTraits(unsigned int kind) const noexcept = 0;
    void clear_value() noexcept;

private:
    // Throws 0x80070057 for a kind without traits.
    void put(unsigned int kind, const void* source);

    unsigned int type_ = 0;
    void* value_ = nullptr;
};

// The choice of the given alternatives. Every other kind is an empty one.
template <auto... alternatives>
class ChoiceOf : public Choice {
public:
    ~ChoiceOf() override { clear_value(); }

protected:
    const ChoiceValueTraits* findTraits(unsigned int kind) const noexcept final {
        const ChoiceValueTraits* found = &ChoiceValueTraitsT<void*, 0>::instance;
        (void)((kind == alternatives.kind && (found = traits_of(alternatives))) || ...);
        return found;
    }

private:
    template <class T, unsigned int kind>
    static const ChoiceValueTraits* traits_of(Alternative<T, kind>) noexcept {
        return &ChoiceValueTraitsT<T, kind>::instance;
    }
};

// What all value classes over a choice have in common: one pointer to the choice, which is null
// once the object is cleared.
template <class Impl>
class ChoiceValue {
public:
    ChoiceValue() : impl_(std::make_unique<Impl>()) {}
    ChoiceValue(const ChoiceValue& other) : impl_(copy_of(other)) {}
    // If the copying fails the object is left cleared.
    ChoiceValue& operator=(const ChoiceValue& other) {
        if (this != &other) {
            impl_.reset();
            impl_ = copy_of(other);
        }
        return *this;
    }
    // Gives up the value. After that the object may only be assigned to or destroyed.
    void clear() noexcept { impl_.reset(); }

    unsigned int get_type() const noexcept { return impl_ ? impl_->type() : 0; }

protected:
    ~ChoiceValue() = default;

    template <class Of>
    const typename Of::Value* get(Of alternative) const noexcept {
        return impl_ ? impl_->get(alternative) : nullptr;
    }
    template <class Of>
    void put(Of alternative, const typename Of::Value& value) {
        if (!impl_) {
            impl_ = std::make_unique<Impl>();
        }
        impl_->put(alternative, value);
    }

private:
    static std::unique_ptr<Impl> copy_of(const ChoiceValue& other) {
        auto copy = std::make_unique<Impl>();
        if (other.impl_) {
            copy->copy_from(*other.impl_);
        }
        return copy;
    }

    std::unique_ptr<Impl> impl_;
};

} // namespace Halcyon::ASN1
