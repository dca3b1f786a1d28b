// The model of modules given as strings: representations, tags, names, ownership.
#include "schemac/resolver.h"

#include <gtest/gtest.h>

#include "schemac/compiler.h"
#include "schemac/emit/generate.h"
#include "schemac/tagging.h"

namespace schemac {
namespace {

struct Resolved {
    explicit Resolved(const std::string& body, const std::string& tags = "IMPLICIT") {
        sources.push_back(std::make_unique<Source>(
            "m.asn1", "M DEFINITIONS " + tags + " TAGS ::= BEGIN\n" + body + "\nEND\n"));
        schema = compile(sources, diagnostics);
        EXPECT_TRUE(schema) << diagnostics.report();
    }

    const model::Family& family(const std::string& name) const {
        for (const model::Family& family : schema->families) {
            if (family.name == name) {
                return family;
            }
        }
        ADD_FAILURE() << name << " is missing";
        return schema->families.front();
    }
    model::Rep rep(const std::string& name) const { return family(name).body.simple.rep; }

    std::vector<std::unique_ptr<Source>> sources;
    Diagnostics diagnostics;
    std::unique_ptr<model::Schema> schema;
};

TEST(Resolver, ChoosesTheHoldOfIntegers) {
    const Resolved r(
        "ub INTEGER ::= 10\nA ::= INTEGER\nB ::= INTEGER (0..65535)\nC ::= INTEGER (1..MAX)\n"
        "D ::= INTEGER (-1..1)\nE ::= INTEGER (0..4294967296)\nF ::= INTEGER { a(0) }\n"
        "G ::= INTEGER { a(-1) }\nH ::= INTEGER { a(0) } --@ text\nI ::= INTEGER (1..ub) --@ "
        "unsigned\n"
        "J ::= INTEGER (MIN..5)");
    using enum model::Rep;
    EXPECT_EQ(big_text, r.rep("A"));
    EXPECT_EQ(uint16, r.rep("B"));
    EXPECT_EQ(model::Check::Kind::none, r.family("B").body.check.kind);
    EXPECT_EQ(uint32, r.rep("C"));
    EXPECT_EQ(1, r.family("C").body.check.low);
    EXPECT_FALSE(r.family("C").body.check.high);
    EXPECT_EQ(int32, r.rep("D"));
    EXPECT_EQ(big_text, r.rep("E"));
    EXPECT_EQ(uint32, r.rep("F"));
    EXPECT_EQ(int32, r.rep("G"));
    EXPECT_EQ(big_text, r.rep("H"));
    EXPECT_EQ(uint32, r.rep("I"));
    EXPECT_EQ(10, r.family("I").body.check.high);
    EXPECT_EQ(big_text, r.rep("J"));
}

TEST(Resolver, ChoosesTheHoldOfBitStrings) {
    const Resolved r("A ::= BIT STRING { a(0), b(25) }\nB ::= BIT STRING { a(0) } --@ dynamic\n"
                     "C ::= BIT STRING (SIZE (0..16))\nD ::= BIT STRING");
    EXPECT_EQ(26U, r.family("A").body.simple.bits);
    EXPECT_EQ(model::Rep::dyn_bits, r.rep("B"));
    EXPECT_EQ(16U, r.family("C").body.simple.bits);
    EXPECT_EQ(model::Rep::dyn_bits, r.rep("D"));
}

std::vector<std::uint32_t> tags_of(const Resolved& r, std::size_t field) {
    return r.family("T").fields.at(field).use.tagging.tags;
}

TEST(Resolver, SettlesImplicitAndExplicitTags) {
    const Resolved r(
        "C ::= CHOICE { a NULL }\nS ::= SEQUENCE { }\nW ::= [APPLICATION 7] OCTET STRING\n"
        "T ::= SEQUENCE { a [0] INTEGER, b [1] S, c [2] C, d [3] EXPLICIT S, e [4] ANY, f [5] W,\n"
        "  g [6] EXPLICIT [7] INTEGER, h W }");
    using Tags = std::vector<std::uint32_t>;
    EXPECT_EQ(Tags({0x80000000}), tags_of(r, 0));
    EXPECT_EQ(Tags({0xA0000001}), tags_of(r, 1));
    EXPECT_FALSE(r.family("T").fields[1].use.tagging.own_tag);
    EXPECT_EQ(Tags({0xA0000002}), tags_of(r, 2)) << "a CHOICE can't be implicit";
    EXPECT_TRUE(r.family("T").fields[2].use.tagging.own_tag);
    EXPECT_TRUE(r.family("T").fields[3].use.tagging.own_tag);
    EXPECT_EQ(Tags({0xA0000004}), tags_of(r, 4));
    EXPECT_EQ(Tags({0x80000005}), tags_of(r, 5)) << "takes the place of the application tag";
    EXPECT_EQ(Tags({0xA0000006, 0x80000007}), tags_of(r, 6));
    EXPECT_EQ(0x40000007U, outer_tag(r.family("T").fields[7].use));
}

TEST(Resolver, NamesNestedTypes) {
    const Resolved r(
        "Item ::= SEQUENCE { a BOOLEAN }\n"
        "T ::= SEQUENCE { sub-part SEQUENCE { x NULL }, list SEQUENCE OF Item,\n"
        "  sets SET OF Item, kind INTEGER { a(0) }, rows SEQUENCE OF SEQUENCE { y NULL },\n"
        "  mine OCTET STRING (SIZE (3)) } --@ type\n");
    for (const char* name :
         {"T_sub_part", "_SeqOfItem", "_SetOfItem", "T_kind", "T_rows", "T_rows_element"}) {
        EXPECT_EQ(name, r.family(name).name);
    }
    EXPECT_EQ("T_mine", r.family("T").fields[5].use.family->name);
    EXPECT_FALSE(r.family("T_sub_part").pdu);
    EXPECT_TRUE(r.family("T").pdu);
}

TEST(Resolver, ArraysHoldWhatHasNoRecord) {
    const Resolved r("A ::= SEQUENCE OF OBJECT IDENTIFIER\nB ::= SEQUENCE OF OCTET STRING\nC ::= "
                     "SEQUENCE OF Later\n"
                     "Later ::= UTF8String");
    EXPECT_EQ(model::Family::Kind::array, r.family("A").kind);
    EXPECT_EQ(model::Family::Kind::list, r.family("B").kind);
    EXPECT_EQ(model::Family::Kind::array, r.family("C").kind);
}

TEST(Resolver, KnowsWhoOwnsMemory) {
    const Resolved r(
        "A ::= SEQUENCE { a INTEGER (0..5), b OBJECT IDENTIFIER, c D }\nB ::= SEQUENCE { c C "
        "OPTIONAL }\n"
        "C ::= SEQUENCE { c INTEGER }\nD ::= ENUMERATED { x }\nE ::= SEQUENCE { f F }\n"
        "F ::= CHOICE { n NULL, e E }");
    EXPECT_FALSE(r.family("A").owns_memory);
    EXPECT_TRUE(r.family("B").owns_memory);
    EXPECT_FALSE(r.family("D").owns_memory);
    EXPECT_TRUE(r.family("E").owns_memory);
}

TEST(Resolver, ResolvesObjectIdentifiers) {
    const Resolved r("id-a OBJECT IDENTIFIER ::= { joint-iso-itu-t ds(5) 4 }\nid-b OBJECT "
                     "IDENTIFIER ::= { id-a 3 x(9) }\n"
                     "id-c OBJECT IDENTIFIER ::= id-b");
    const auto& oids = r.schema->modules[0].oids;
    EXPECT_EQ(std::vector<std::uint32_t>({2, 5, 4}), oids[0].arcs);
    EXPECT_EQ(std::vector<std::uint32_t>({2, 5, 4, 3, 9}), oids[2].arcs);
}

TEST(Resolver, RowsOfASetKeepTheirOrder) {
    const Resolved r("K ::= CLASS { &id OBJECT IDENTIFIER UNIQUE, &Type OPTIONAL } WITH "
                     "SYNTAX { &Type ID &id }\n"
                     "b K ::= { NULL ID { 1 2 } }\na K ::= { T ID { 1 3 } }\nT ::= SEQUENCE { }\n"
                     "S K ::= { b | a | b }");
    const auto& rows = r.schema->sets[0].rows;
    ASSERT_EQ(3U, rows.size());
    EXPECT_EQ("b", rows[0]->name);
    EXPECT_EQ(nullptr, rows[0]->type) << "NULL keeps the empty operations";
    EXPECT_EQ("_a_Type", rows[1]->type->name);
}

TEST(Resolver, DefinesRecordsBehindThoseThatTheyContain) {
    const Resolved r(
        "A ::= SEQUENCE { b B, list SEQUENCE OF C }\nB ::= SEQUENCE { c C }\nC ::= SEQUENCE { }");
    std::string order;
    for (const model::Family* family : r.schema->modules[0].families) {
        order += family->name + " ";
    }
    EXPECT_EQ("C B _SeqOfC A ", order);
}

std::string generated(std::vector<std::pair<std::string, std::string>> modules) {
    std::vector<std::unique_ptr<Source>> sources;
    for (auto& [path, text] : modules) {
        sources.push_back(std::make_unique<Source>(path, text));
    }
    Diagnostics diagnostics;
    const auto schema = compile(sources, diagnostics);
    std::string result = diagnostics.report();
    for (const auto& file : schema ? generate(*schema) : std::vector<GeneratedFile>()) {
        result += file.name + "\n" + file.text;
    }
    return result;
}

// A list of a foreign type lies in the other module, and records stand behind those they contain.
TEST(Resolver, TheOrderOfFilesDoesNotMatter) {
    const std::pair<std::string, std::string> a = {
        "x/a.asn1", "A DEFINITIONS ::= BEGIN IMPORTS T, U FROM B;\n"
                    "One ::= SEQUENCE { list SEQUENCE OF T, u [0] U }\nLast ::= SEQUENCE { } END"};
    const std::pair<std::string, std::string> b = {
        "b.asn1", "B DEFINITIONS ::= BEGIN IMPORTS Last FROM A; T ::= SEQUENCE { c C }\n"
                  "U ::= CHOICE { t [0] T, l Last }\nC ::= SEQUENCE { } END"};
    const std::string text = generated({a, b});
    EXPECT_NE(std::string::npos, text.find("asn1E_One"));
    EXPECT_EQ(text, generated({b, a}));
}

TEST(Resolver, RefusesTwoFilesOfOneStem) {
    const std::string module = " DEFINITIONS ::= BEGIN A ::= NULL END";
    EXPECT_EQ("y/a.asn1:1:1: the output of x/a.asn1 has the same name\n",
              generated({{"y/a.asn1", "A" + module}, {"x/a.asn1", "B DEFINITIONS ::= BEGIN END"}}));
}

TEST(Resolver, RefusesDefinitionsWithoutBottom) {
    std::string body;
    for (int i = 0; i < 5000; ++i) {
        body += "T" + std::to_string(i) + " ::= SEQUENCE { a T" + std::to_string(i + 1) + " }\n";
    }
    std::vector<std::unique_ptr<Source>> sources;
    sources.push_back(std::make_unique<Source>("m.asn1", "M DEFINITIONS ::= BEGIN\n" + body +
                                                             "T5000 ::= NULL\nEND\n"));
    Diagnostics diagnostics;
    EXPECT_FALSE(compile(sources, diagnostics));
    EXPECT_NE(std::string::npos, diagnostics.report().find("refer to each other too deep"));
}

} // namespace
} // namespace schemac
