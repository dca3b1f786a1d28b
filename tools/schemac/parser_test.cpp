// Syntax out of modules given as strings.
#include "schemac/parser.h"

#include <gtest/gtest.h>

namespace schemac {
namespace {

struct Parsed {
    explicit Parsed(const std::string& body, const std::string& head = "IMPLICIT TAGS")
        : source("m.asn1", "M DEFINITIONS " + head + " ::= BEGIN\n" + body + "\nEND\n"),
          module(parse_module(source, diagnostics)) {}

    const syntax::Type& type(std::size_t index = 0) const {
        return *module.assignments.at(index).type;
    }

    Source source;
    Diagnostics diagnostics;
    syntax::Module module;
};

TEST(Parser, ReadsHeaderAndImports) {
    const Parsed parsed("IMPORTS A, b FROM X { iso(1) 5 } C FROM Y;\nT ::= NULL");
    EXPECT_EQ("", parsed.diagnostics.report());
    EXPECT_EQ("M", parsed.module.name);
    ASSERT_EQ(3U, parsed.module.imports.size());
    EXPECT_EQ("b", parsed.module.imports[1].name);
    EXPECT_EQ("X", parsed.module.imports[1].module);
    EXPECT_EQ("Y", parsed.module.imports[2].module);
}

TEST(Parser, ReadsTagsFromTheOutside) {
    const Parsed parsed("T ::= [APPLICATION 3] IMPLICIT [4] EXPLICIT [n] INTEGER");
    const syntax::Type& type = parsed.type();
    ASSERT_EQ(3U, type.tags.size());
    EXPECT_EQ(syntax::TagClass::application, type.tags[0].tag_class);
    EXPECT_EQ(syntax::TagMode::implicit, type.tags[0].mode);
    EXPECT_EQ(syntax::TagMode::explicit_, type.tags[1].mode);
    EXPECT_EQ(syntax::TagMode::by_default, type.tags[2].mode);
    EXPECT_EQ("n", type.tags[2].number.name);
}

TEST(Parser, ReadsComponents) {
    const Parsed parsed("T ::= SEQUENCE {\n  a [0] INTEGER (0..9 | 20..max) OPTIONAL,\n"
                        "  b BOOLEAN DEFAULT TRUE,\n  c INTEGER DEFAULT -1,\n"
                        "  d SEQUENCE SIZE (1..4) OF T DEFAULT { },\n  ... }");
    EXPECT_EQ("", parsed.diagnostics.report());
    const auto& components = parsed.type().components;
    ASSERT_EQ(4U, components.size());
    EXPECT_TRUE(components[0].optional);
    EXPECT_EQ(2U, components[0].type->constraints.at(0).ranges.size());
    EXPECT_EQ("TRUE", components[1].default_value->word);
    EXPECT_EQ(syntax::DefaultValue::Kind::number, components[2].default_value->kind);
    EXPECT_EQ(syntax::TypeKind::sequence_of, components[3].type->kind);
    EXPECT_EQ(syntax::Constraint::Kind::size, components[3].type->constraints.at(0).kind);
    EXPECT_TRUE(parsed.type().extensible);
}

TEST(Parser, GivesAnnotationsToWhatBeginsLastOnTheLine) {
    const Parsed parsed("T ::= SEQUENCE { --@ raw\n  a INTEGER, b INTEGER, --@ biguint\n"
                        "  c SET OF\n    INTEGER\n}");
    EXPECT_EQ("", parsed.diagnostics.report());
    ASSERT_EQ(1U, parsed.module.assignments[0].annotations.size());
    const auto& components = parsed.type().components;
    EXPECT_TRUE(components[0].annotations.empty());
    ASSERT_EQ(1U, components[1].annotations.size());
    EXPECT_EQ("biguint", components[1].annotations[0].word);
}

TEST(Parser, ReadsConstraints) {
    const Parsed parsed("A ::= IA5String (SIZE (1..5 | 9))\n"
                        "B ::= OCTET STRING (CONTAINING T)\n"
                        "C ::= SEQUENCE OF CLASS.&Type ({Set}{@id})");
    EXPECT_EQ("", parsed.diagnostics.report());
    const auto& a = parsed.type(0).constraints;
    ASSERT_EQ(1U, a.size());
    EXPECT_EQ(syntax::Constraint::Kind::size, a[0].kind);
    EXPECT_EQ(2U, a[0].ranges.size());
    EXPECT_EQ(syntax::TypeKind::reference, parsed.type(1).constraints.at(0).contained->kind);
    const auto& table = parsed.type(2).element->constraints.at(0);
    EXPECT_EQ("Set", table.set);
    EXPECT_EQ("id", table.field);
}

TEST(Parser, ReadsClassesAndObjects) {
    const Parsed parsed(
        "C ::= CLASS { &id OBJECT IDENTIFIER UNIQUE, &Type OPTIONAL } WITH SYNTAX { [TYPE &Type] "
        "ID &id }\n"
        "o C ::= { TYPE SEQUENCE OF T ID { 1 2 3 } }\n"
        "p C ::= { ID id-p }");
    EXPECT_EQ("", parsed.diagnostics.report());
    const syntax::Class& definition = parsed.module.assignments[0].definition;
    ASSERT_EQ(2U, definition.fields.size());
    EXPECT_TRUE(definition.fields[1].is_type);
    Diagnostics diagnostics;
    const auto first =
        parse_object(parsed.module, parsed.module.assignments[1].body, definition, diagnostics);
    ASSERT_EQ(2U, first.size());
    EXPECT_EQ(syntax::TypeKind::sequence_of, first[0].type->kind);
    EXPECT_EQ("id", first[1].field);
    const auto second =
        parse_object(parsed.module, parsed.module.assignments[2].body, definition, diagnostics);
    ASSERT_EQ(1U, second.size());
    EXPECT_EQ("id", second[0].field);
    EXPECT_EQ("", diagnostics.report());
}

TEST(Parser, RefusesNestingWithoutEnd) {
    std::string body = "T ::= ";
    for (int i = 0; i < 100000; ++i) {
        body += "SEQUENCE OF ";
    }
    EXPECT_EQ("m.asn1:2:487: types are nested too deep\n",
              Parsed(body + "NULL").diagnostics.report());
}

} // namespace
} // namespace schemac
