#include <chronoseal/asn1/choice.h>

#include <utility>

#include <chronoseal/asn1/failure.h>

namespace Halcyon::ASN1 {

const ChoiceValueTraitsT<void*, 0> ChoiceValueTraitsT<void*, 0>::instance;

// The new value is made before the old one goes: the source may be part of the old one, and a
// failed copy leaves the choice as it was.
void Choice::put(unsigned int kind, const void* source) {
    const ChoiceValueTraits* const next = findTraits(kind);
    if (!next) {
        fail_argument();
    }
    void* const value = next->newValue(source);
    clear_value();
    value_ = value;
    type_ = kind;
}

void Choice::copy_from(const Choice& other) {
    value_ = other.value_ ? other.findTraits(other.type_)->newValue(other.value_) : nullptr;
    type_ = other.type_;
}

void Choice::clear_value() noexcept {
    findTraits(type_)->deleteValue(std::exchange(value_, nullptr));
}

} // namespace Halcyon::ASN1
