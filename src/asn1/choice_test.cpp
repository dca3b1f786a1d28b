#include <chronoseal/asn1/choice.h>

#include <string>

#include <gtest/gtest.h>

#include <chronoseal/asn1/test_blob.h>

namespace Halcyon::ASN1 {
namespace {

TEST(ChoiceValueTraits, CopyAndDestroyTheValuesOfTheirKind) {
    const auto& texts = ChoiceValueTraitsT<std::string, 3>::instance;
    EXPECT_TRUE(texts.isType(3));
    EXPECT_FALSE(texts.isType(0));
    const std::string source = "a text too long to lie in the object itself";
    void* const copy = texts.newValue(&source);
    EXPECT_NE(copy, &source);
    EXPECT_EQ(*static_cast<std::string*>(copy), source);
    const std::string other = "other";
    texts.copyValue(copy, &other);
    EXPECT_EQ(*static_cast<std::string*>(copy), "other");
    texts.deleteValue(copy);
    texts.deleteValue(nullptr);
}

TEST(ChoiceValueTraits, EmptyAlternativeCopiesAPointer) {
    const auto& none = ChoiceValueTraitsT<void*, 0>::instance;
    EXPECT_TRUE(none.isType(0));
    EXPECT_FALSE(none.isType(1));
    EXPECT_EQ(none.newValue(nullptr), nullptr);
    int first = 0;
    int second = 0;
    void* source = &first;
    void* const copy = none.newValue(&source);
    EXPECT_EQ(*static_cast<void**>(copy), &first);
    source = &second;
    none.copyValue(copy, &source);
    EXPECT_EQ(*static_cast<void**>(copy), &second);
    none.deleteValue(copy);
    none.deleteValue(nullptr);
}

// A choice that knows one kind and refuses every other.
class Strict final : public Choice {
public:
    ~Strict() override { clear_value(); }

protected:
    const ChoiceValueTraits* findTraits(unsigned int kind) const noexcept override {
        return kind <= 1 ? kind == 0 ? static_cast<const ChoiceValueTraits*>(
                                           &ChoiceValueTraitsT<void*, 0>::instance)
                                     : &ChoiceValueTraitsT<std::string, 1>::instance
                         : nullptr;
    }
};

TEST(Choice, KindWithoutTraitsIsRefusedAndChangesNothing) {
    constexpr Alternative<std::string, 1> kKnown;
    constexpr Alternative<std::string, 2> kUnknown;
    Strict choice;
    choice.put(kKnown, "held");
    EXPECT_CODE(0x80070057u, choice.put(kUnknown, "other"));
    EXPECT_EQ(choice.type(), 1u);
    EXPECT_EQ(*choice.get(kKnown), "held");
    EXPECT_EQ(choice.get(kUnknown), nullptr);
}

} // namespace
} // namespace Halcyon::ASN1
