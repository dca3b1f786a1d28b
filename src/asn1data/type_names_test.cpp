// Every type that a caller may name exists with its whole family.
#include <fstream>
#include <string>

#include <gmock/gmock.h>

#include <chronoseal/asn1data/test_value.h>

using namespace test_coding;

namespace {

TEST(TypeNames, EachHasItsFamily) {
    std::ifstream names(std::string(CHRONOSEAL_TESTDATA) + "/type_names.txt");
    ASSERT_TRUE(names);
    std::size_t count = 0;
    for (std::string name; names >> name; ++count) {
        const asn1data::TypeEntry* type = find_type(name);
        ASSERT_NE(type, nullptr) << name;
        EXPECT_NE(type->encode, nullptr) << name;
        EXPECT_NE(type->decode, nullptr) << name;
        EXPECT_NE(type->copy, nullptr) << name;
        EXPECT_NE(type->control, nullptr) << name;
        EXPECT_NE(type->construct(), nullptr) << name;
    }
    EXPECT_GE(count, 490U);
}

} // namespace
