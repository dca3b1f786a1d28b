// What messages of nothing but the smallest elements may cost: they are refused before they have
// taken more than their size allows, however many there are.
#include <algorithm>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/asn1data/test_value.h>

namespace {

using test_coding::Bytes;

std::size_t allocated;

void* counting_malloc(void*, std::size_t size) {
    allocated += size;
    return std::malloc(size);
}

// So many times the element, as the contents of an element with this tag.
Bytes repeated(unsigned char tag, const std::string& element, std::size_t count) {
    const Bytes one = test_coding::from_hex(element);
    const std::size_t size = one.size() * count;
    Bytes bytes{tag, 0x83, static_cast<unsigned char>(size >> 16),
                static_cast<unsigned char>(size >> 8), static_cast<unsigned char>(size)};
    bytes.reserve(bytes.size() + size);
    for (std::size_t i = 0; i < count; ++i) {
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    return bytes;
}

TEST(DecodeBudgetTest, ManySmallElements) {
    struct Row {
        const char* name;
        const char* type;
        unsigned char tag;
        const char* element;
        std::size_t count;
        int status;
    };
    const char* const name = "310B 3009 0603550403 0C026162";
    for (const Row& row :
         {Row{"names", "RDNSequence", 0x30, name, 50'000, -12},
          Row{"empty names, which aren't names", "RDNSequence", 0x30, "3100", 100'000, -23},
          Row{"empty status texts", "PKIFreeText", 0x30, "0C00", 300'000, 0},
          Row{"extensions", "Extensions", 0x30, "3005 06012A 0400", 100'000, -12},
          Row{"attributes", "SignedAttributes", 0x31, "3007 06012A 3102 0500", 100'000, -12},
          Row{"key purposes", "ExtKeyUsageSyntax", 0x30, "06012A", 100'000, -12},
          Row{"more names than anyone has", "RDNSequence", 0x30, name, 200, 0},
          Row{"and more purposes", "ExtKeyUsageSyntax", 0x30, "06082B06010505070308", 300, 0}}) {
        SCOPED_TRACE(row.name);
        const Bytes bytes = repeated(row.tag, row.element, row.count);
        test_coding::Value value(*test_coding::find_type(row.type));
        allocated = 0;
        g_malloc_func = counting_malloc;
        const int status = value.decode(bytes);
        g_malloc_func = rtDefaultMalloc;
        EXPECT_EQ(status, row.status);
        EXPECT_LE(allocated, rtDecodeBaseBytes + rtDecodeBytesPerMessageByte * bytes.size());
    }
}

} // namespace
