// DER written from the published notation, one row a type (testdata/type_bytes.tsv): what a round
// trip can't show, since both ways follow the same schema.
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/asn1data/test_value.h>

using namespace test_coding;

namespace {

using std::string;

struct Row {
    string type;
    string der;
    string selector; ///< of a CHOICE; empty: not looked at
    string becomes;  ///< a refusal's status, or other bytes; empty: it comes back as it is
};

// The text with its names and repetitions written out.
string expanded(const string& text, const std::map<string, string>& names) {
    const std::size_t open = text.find('<');
    if (open == string::npos) {
        return text;
    }
    const std::size_t close = text.find('>', open);
    const string inside = text.substr(open + 1, close - open - 1);
    const std::size_t star = inside.find('*');
    string value;
    if (star == string::npos) {
        value = names.at(inside);
    } else {
        for (int left = std::stoi(inside); left > 0; --left) {
            value += inside.substr(star + 1);
        }
    }
    return text.substr(0, open) + value + expanded(text.substr(close + 1), names);
}

void expect_bytes(const Row& row) {
    const asn1data::TypeEntry* type = find_type(row.type.c_str());
    ASSERT_NE(type, nullptr);
    const Bytes bytes = der(row.der);
    Value value(*type);
    const int status = value.decode(bytes);
    const string result = status != 0 ? std::to_string(status) : value.encode().hex();
    const bool refused = row.becomes.starts_with('-');
    EXPECT_EQ(result,
              refused ? row.becomes : to_hex(row.becomes.empty() ? bytes : der(row.becomes)));
    if (status == 0 && !row.selector.empty()) {
        EXPECT_EQ(std::to_string(type->selector(value.record())), row.selector);
    }
}

TEST(TypeBytes, AreThoseOfThePublishedNotation) {
    std::ifstream file(CHRONOSEAL_TESTDATA "/type_bytes.tsv");
    std::map<string, string> names;
    int rows = 0;
    for (string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        SCOPED_TRACE(line);
        std::istringstream fields(line);
        Row row;
        std::getline(fields, row.type, '\t');
        std::getline(fields, row.der, '\t');
        std::getline(fields, row.selector, '\t');
        std::getline(fields, row.becomes);
        row.der = expanded(row.der, names);
        row.becomes = expanded(row.becomes, names);
        if (row.type.starts_with('=')) {
            names[row.type.substr(1)] = row.der;
        } else {
            expect_bytes(row);
            ++rows;
        }
    }
    EXPECT_GE(rows, 400) << "the file was read";
}

TEST(TypeBytes, EncodersRefuseWhatIsEmpty) {
    for (const char* name :
         {"RelativeDistinguishedName", "AttributesRaw", "AttributeRaw_valuesRaw",
          "AttributesRawSequence", "PKIFreeText", "PBEHalcyonGostParameters_iv"}) {
        const Encoded encoded = Value(*find_type(name)).encode();
        EXPECT_EQ(encoded.status, -23) << name;
        EXPECT_EQ(encoded.latched, -23) << name;
    }
}

} // namespace
