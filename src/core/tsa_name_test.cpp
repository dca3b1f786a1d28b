// Names that are read in one walk over the bytes, beside the value that every name could be read
// as: they have to agree on text, encoding, and on what is refused.
#include <chronoseal/core/tsa_name.h>

#include <string>

#include <gtest/gtest.h>

#include <chronoseal/asn1/general_name.h>
#include <chronoseal/base/atl_exception.h>

namespace Halcyon::PKI::TSP {
namespace {

std::string element(unsigned char tag, const std::string& contents) {
    std::string der(1, static_cast<char>(tag));
    if (contents.size() >= 0x100) {
        der += {static_cast<char>(0x82), static_cast<char>(contents.size() >> 8)};
    } else if (contents.size() >= 0x80) {
        der += static_cast<char>(0x81);
    }
    return der + static_cast<char>(contents.size() & 0xFF) + contents;
}

std::string attribute(const std::string& type, unsigned char tag, const std::string& value) {
    return element(0x30, element(0x06, type) + element(tag, value));
}

std::string level(unsigned char arc, unsigned char tag, const std::string& value) {
    return element(0x31, attribute({0x55, 0x04, static_cast<char>(arc)}, tag, value));
}

std::string directory(const std::string& levels) {
    return element(0xA4, element(0x30, levels));
}

struct Read {
    std::uint32_t code = 0;
    std::wstring text;
    CBlob encoded;
};

template <class Make>
Read read(Make make) {
    Read result;
    try {
        const auto name = make();
        result.encoded = name.encode();
        result.text = name.toString().c_str();
    } catch (const ATL::CAtlException& failure) {
        result.code = static_cast<std::uint32_t>(failure.m_hr);
    }
    return result;
}

void expect_same(const std::string& der, const std::string& what) {
    const CBlob bytes(reinterpret_cast<const unsigned char*>(der.data()), der.size());
    const auto by_name = read([&] { return TsaName(bytes); });
    const auto by_value = read([&] {
        ASN1::CGeneralName value;
        value.decode(bytes);
        return value;
    });
    EXPECT_EQ(by_name.code, by_value.code) << what;
    EXPECT_EQ(by_name.text, by_value.text) << what;
    EXPECT_EQ(by_name.encoded, by_value.encoded) << what;
}

TEST(TsaName, ReadsEveryNameAsItsValueIsRead) {
    const std::string values[] = {"",
                                  "Plain",
                                  "a,b+c=\"d\"",
                                  "Gr\xC3\xBC\xC3\x9F",
                                  "\xFF",
                                  "a\tb",
                                  std::string("a\0b", 3),
                                  std::string(200, 'x'),
                                  std::string(32769, 'x')};
    for (unsigned arc = 0; arc < 70; ++arc) {
        for (const unsigned tag : {0x0CU, 0x12U, 0x13U, 0x14U, 0x16U, 0x1EU, 0x04U, 0x2CU}) {
            for (const auto& value : values) {
                expect_same(directory(level(static_cast<unsigned char>(arc),
                                            static_cast<unsigned char>(tag), value)),
                            std::to_string(arc) + ", tag " + std::to_string(tag) + ": " +
                                value.substr(0, 20));
            }
        }
    }
}

TEST(TsaName, ReadsEveryShapeAsItsValueIsRead) {
    const auto country = level(6, 0x13, "ZZ"), name = level(3, 0x0C, "A");
    const auto common = attribute("\x55\x04\x03", 0x0C, "A");
    const std::string shapes[] = {
        directory(""), directory(country + name), directory(country + country + name + name),
        directory(element(0x31, common + attribute("\x55\x04\x06", 0x13, "ZZ"))),
        directory(element(0x31, "")), directory(element(0x30, common)), directory(common),
        directory(element(0x31, element(0x30, ""))), directory(name + '\0'),
        directory(element(0x31, element(0x30, element(0x06, "\x55\x04\x03")))),
        directory(element(0x31, attribute("\x2A\x03", 0x0C, "A"))),
        directory(element(0x31, attribute("\x55\x04\x83\x00", 0x0C, "A"))),
        directory(element(0x31, element(0x30, common.substr(2) + element(5, "")))),
        element(0xA4, element(0x30, name) + element(0x30, name)), element(0xA4, ""), "\xA4",
        element(0xA5, element(0x30, name)), element(0x30, name), directory(name) + '\0',
        // Lengths that aren't DER's: indefinite, and longer than they need be.
        "\xA4\x80" + element(0x30, name) + std::string(2, '\0'),
        element(0xA4, std::string("\x30\x81") + static_cast<char>(name.size()) + name),
        element(0xA4, std::string("\x30\x82", 2) + '\0' + static_cast<char>(name.size()) + name)};
    for (const auto& shape : shapes) {
        expect_same(shape, CBlob(reinterpret_cast<const unsigned char*>(shape.data()), shape.size())
                               .writeToHexString(0)
                               .c_str());
    }
}

TEST(TsaName, ReadsEveryDamagedNameAsItsValueIsRead) {
    const auto whole = directory(level(6, 0x13, "ZZ") + level(10, 0x0C, std::string(130, 'o')) +
                                 level(3, 0x13, "Signer"));
    for (std::size_t i = 0; i < whole.size(); ++i) {
        expect_same(whole.substr(0, i), "the first " + std::to_string(i));
        for (const int change : {1, -1, 0x20, 0x80}) {
            auto damaged = whole;
            damaged[i] = static_cast<char>(damaged[i] ^ change);
            expect_same(damaged, "byte " + std::to_string(i));
        }
    }
}

} // namespace
} // namespace Halcyon::PKI::TSP
