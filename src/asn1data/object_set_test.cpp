// The object sets: which identifiers each knows and as what type, which it must not know, and that
// there is one of each.
#include <cxxabi.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include <gmock/gmock.h>

#include <chronoseal/asn1data/cryptographic_message_syntax.h>
#include <chronoseal/asn1data/ets_electronic_signature.h>
#include <chronoseal/asn1data/information_object_sets.h>
#include <chronoseal/asn1data/ocsp.h>
#include <chronoseal/asn1data/pkix1_explicit.h>
#include <chronoseal/asn1data/pkix_cmp.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

// The type of an object's control class, named as in the schema.
template <class Class>
std::string type_of(Class& object) {
    ASN1BEREncodeBuffer buffer;
    ASN1CType* control = nullptr;
    if constexpr (requires { object.constructASN1TExtnType(nullptr); }) {
        void* record = object.constructASN1TExtnType(buffer.getCtxtPtr());
        control = object.constructASN1CExtnType(buffer, record);
    } else {
        void* record = object.constructASN1TType(buffer.getCtxtPtr());
        control = object.constructASN1CType(buffer, record);
    }
    if (control == nullptr) {
        return "raw";
    }
    char* name = abi::__cxa_demangle(typeid(*control).name(), nullptr, nullptr, nullptr);
    const std::string type = std::string(name).substr(std::string("asn1data::ASN1C_").size());
    std::free(name);
    if constexpr (requires { object.destructASN1CExtnType(nullptr); }) {
        object.destructASN1CExtnType(control);
    } else {
        object.destructASN1CType(control);
    }
    return type;
}

template <class Set>
void expect_row(const std::string& id, const std::string& type) {
    auto* object = Set::instance(nullptr)->lookupObject(oid(id.c_str()));
    ASSERT_EQ(object == nullptr, type == "unknown") << id;
    if (object != nullptr) {
        EXPECT_TRUE(object->id == oid(id.c_str())) << id;
        EXPECT_EQ(type_of(*object), type) << id;
    }
}

// Sets, identifiers, and what each is in that set: a type, raw (an object without operations), or
// unknown. A name's serial number, what long-term signatures add, and registration numbers aren't
// known on purpose.
TEST(ObjectSet, EachIdentifierIsKnownAsItsType) {
    const std::map<std::string, void (*)(const std::string&, const std::string&)> sets{
        {"SupportedAlgorithms", expect_row<SupportedAlgorithms>},
        {"SupportedAttributes", expect_row<SupportedAttributes>},
        {"ExtensionSet", expect_row<ExtensionSet>},
        {"SupportedContentTypes", expect_row<SupportedContentTypes>},
        {"SupportedContentTypesLegacy", expect_row<SupportedContentTypesLegacy>},
        {"SupportedEContentTypes", expect_row<SupportedEContentTypes>},
        {"SupportedInfos", expect_row<SupportedInfos>},
        {"SupportedPolicyQualifiers", expect_row<SupportedPolicyQualifiers>},
        {"SupportedOCSPResponseTypes", expect_row<SupportedOCSPResponseTypes>},
        {"SupportedSigPolicyQualifiers", expect_row<SupportedSigPolicyQualifiers>}};
    std::ifstream table(std::string(CHRONOSEAL_TESTDATA) + "/object_sets.tsv");
    std::size_t count = 0;
    for (std::string set, id, type; table >> set >> id >> type; ++count) {
        SCOPED_TRACE(set);
        sets.at(set)(id, type);
    }
    EXPECT_GE(count, 170U);
}

// The signatures that a caller's pointer or override has to meet.
struct CountingAttribute : ATTRIBUTE {
    int copies = 0;
    void copyType(ASN1CTXT*, Asn1TObject&, Asn1TObject&) override { ++copies; }
};

TEST(ObjectSet, OperationsHaveTheGivenSignatures) {
    CountingAttribute counting;
    ATTRIBUTE& attribute = counting;
    Asn1TObject object{};
    attribute.copyType(nullptr, object, object);
    EXPECT_EQ(counting.copies, 1);
    ATTRIBUTE* (SupportedAttributes::*lookup)(ASN1TObjId) = &SupportedAttributes::lookupObject;
    EXPECT_NE((SupportedAttributes::instance(nullptr)->*lookup)(oid("2.5.4.3")), nullptr);
    void (*copy)(ASN1CTXT*, ASN1T_Name*, ASN1T_Name*) = asn1Copy_Name;
    EXPECT_NE(copy, nullptr);
    EXPECT_TRUE(ASN1TObjId(id_at) == oid("2.5.4"));
}

TEST(ObjectSet, TwoThreadsAtFirstUseGetOneInstance) {
    std::vector<SupportedInfos*> seen(8);
    std::vector<std::thread> threads;
    for (auto& slot : seen) {
        threads.emplace_back([&slot] { slot = SupportedInfos::instance(nullptr); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (const auto* instance : seen) {
        EXPECT_EQ(instance, seen.front());
    }
}

} // namespace
