// What a value class over an ASN.1 CHOICE stands on: a kind number with an untyped value, and for
// each pair of value type and kind one immutable object that knows how to copy and destroy such a
// value.
#pragma once

#include <memory>

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

// The kind and the value of a choice. A subclass maps kinds to their traits and gives up the value
// in its destructor by `clearValue`.
class Choice {
public:
    Choice() noexcept = default;
    Choice(const Choice&) = delete;
    Choice& operator=(const Choice&) = delete;
    virtual ~Choice() = default;

    unsigned int type() const noexcept { return type_; }
    // The value if the kind is `kind`, otherwise null.
    template <class T>
    const T* get(unsigned int kind) const noexcept {
        return type_ == kind ? static_cast<const T*>(value_) : nullptr;
    }
    // Makes a copy of `source` the value, and `kind` the kind. `source` is of the type that belongs
    // to the kind. Throws 0x80070057 for a kind without traits.
    void put(unsigned int kind, const void* source);
    // Takes kind and a copy of the value from another choice of the same class; this one holds
    // nothing.
    void copyFrom(const Choice& other);

protected:
    // Null for a kind that the choice refuses.
    virtual const ChoiceValueTraits* findTraits(unsigned int kind) const noexcept = 0;
    void clearValue() noexcept;

private:
    unsigned int type_ = 0;
    void* value_ = nullptr;
};

// What the value classes do with the one pointer that they hold, which is null once they are
// cleared.

template <class Impl>
std::unique_ptr<Impl> copyChoice(const std::unique_ptr<Impl>& source) {
    auto copy = std::make_unique<Impl>();
    if (source)
        copy->copyFrom(*source);
    return copy;
}

// If the copy fails the target is left cleared.
template <class Impl>
void assignChoice(std::unique_ptr<Impl>& target, const std::unique_ptr<Impl>& source) {
    if (target == source)
        return;
    target.reset();
    target = copyChoice(source);
}

template <class Impl>
unsigned int choiceType(const std::unique_ptr<Impl>& impl) noexcept {
    return impl ? impl->type() : 0;
}

template <class T, class Impl>
const T* choiceValue(const std::unique_ptr<Impl>& impl, unsigned int kind) noexcept {
    return impl ? impl->template get<T>(kind) : nullptr;
}

template <class Impl>
void putChoice(std::unique_ptr<Impl>& impl, unsigned int kind, const void* source) {
    if (!impl)
        impl = std::make_unique<Impl>();
    impl->put(kind, source);
}

} // namespace Halcyon::ASN1
