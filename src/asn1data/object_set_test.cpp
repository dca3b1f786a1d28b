// The object sets: which identifiers each knows and as what type, which it must not know, and that
// there is one of each.
#include <cxxabi.h>

#include <cstdlib>
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

struct Row {
    const char* id;
    const char* type; ///< empty: the object has no operations
};

using Rows = std::vector<Row>;
using Identifiers = std::vector<const char*>;

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
        return "";
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
void expect_known(const Rows& known) {
    for (const Row& row : known) {
        auto* object = Set::instance(nullptr)->lookupObject(oid(row.id));
        ASSERT_NE(object, nullptr) << row.id;
        EXPECT_TRUE(object->id == oid(row.id)) << row.id;
        EXPECT_EQ(type_of(*object), row.type) << row.id;
    }
}

template <class Set>
void expect_unknown(const Identifiers& unknown) {
    for (const char* text : unknown) {
        EXPECT_EQ(Set::instance(nullptr)->lookupObject(oid(text)), nullptr) << text;
    }
}

TEST(ObjectSet, AlgorithmsAreKnownByTheirIdentifiers) {
    expect_known<SupportedAlgorithms>(
        {{"1.2.643.2.2.19", "GostR3410_2001_KeyParameters"},
         {"1.2.643.2.2.98", "GostR3410_2001_KeyParameters"},
         {"1.2.643.7.1.1.1.1", "GostR3410_2012_KeyParameters"},
         {"1.2.643.7.1.1.1.2", "GostR3410_2012_KeyParameters"},
         {"1.2.643.2.2.3", ""},
         {"1.2.643.7.1.1.3.2", ""},
         {"1.2.643.7.1.1.3.3", ""},
         {"1.2.643.2.2.21", "Gost28147_89_Parameters"},
         {"1.2.643.2.2.9", "_gostR341194DigestParams_Type"},
         {"1.2.643.7.1.1.2.2", ""},
         {"1.2.643.7.1.1.2.3", ""},
         {"1.2.840.113549.1.1.1", ""},
         {"1.2.840.113549.1.1.5", ""},
         {"1.2.840.113549.1.1.4", ""},
         {"1.2.840.113549.1.1.2", ""},
         {"1.2.840.10040.4.1", "Dss_Parms"},
         {"1.2.840.10040.4.3", ""},
         {"1.2.840.10046.2.1", "DomainParameters"},
         {"1.3.14.3.2.26", ""},
         {"1.2.643.2.2.1.1.969.1", "PBEHalcyonGostParameters"},
         {"1.2.643.7.1.1.5.1.1", "Gost3412_15_Encryption_Parameters"},
         {"1.2.643.7.1.1.5.1.2", "Gost3412_15_Encryption_Parameters"},
         {"1.2.643.7.1.1.5.2.1", "Gost3412_15_Encryption_Parameters"},
         {"1.2.643.7.1.1.5.2.2", "Gost3412_15_Encryption_Parameters"}});
    expect_unknown<SupportedAlgorithms>({"1.2.643.7.1.1.6.1", "1.2.643.7.1.1.6.2",
                                         "1.2.840.10045.2.1", "2.16.840.1.101.3.4.2.1",
                                         "1.2.840.113549.1.1.11", "1.2"});
}

TEST(ObjectSet, AttributesAreKnownByTheirIdentifiers) {
    expect_known<SupportedAttributes>(
        {{"1.3.6.1.4.1.311.13.2.2", "EnrollmentCSPInfo"},
         {"1.3.6.1.4.1.311.13.2.3", "OSVersion"},
         {"2.5.4.41", "DirectoryString"},
         {"2.5.4.3", "DirectoryString"},
         {"2.5.4.4", "DirectoryString"},
         {"2.5.4.42", "DirectoryString"},
         {"2.5.4.43", "DirectoryString"},
         {"2.5.4.44", "DirectoryString"},
         {"2.5.4.46", "X520dnQualifier"},
         {"2.5.4.6", "X520countryName"},
         {"2.5.4.7", "DirectoryString"},
         {"2.5.4.9", "DirectoryString"},
         {"2.5.4.8", "DirectoryString"},
         {"2.5.4.10", "DirectoryString"},
         {"2.5.4.11", "DirectoryString"},
         {"2.5.4.12", "DirectoryString"},
         {"1.2.840.113549.1.9.1", "PHGStringNonStrict"},
         {"2.5.4.65", "DirectoryString"},
         {"1.2.840.113549.1.9.3", "ContentType"},
         {"1.2.840.113549.1.9.4", "MessageDigest"},
         {"1.2.840.113549.1.9.5", "Time"},
         {"1.2.840.113549.1.9.16.2.12", "SigningCertificate"},
         {"1.2.840.113549.1.9.16.2.47", "SigningCertificateV2"},
         {"0.9.2342.19200300.100.1.25", "CaseIgnoreIA5StringSyntaxNonStrict"},
         {"1.3.6.1.4.1.311.2.1.14", "Extensions"},
         {"1.2.840.113549.1.9.14", "Extensions"},
         {"1.2.840.113549.1.9.2", "UnstructuredName"},
         {"2.5.4.17", "DirectoryString"},
         {"2.5.4.16", "PostalAddress"}});
    // A name's serial number, what long-term signatures add, and registration numbers arrive raw.
    expect_unknown<SupportedAttributes>(
        {"2.5.4.5", "1.2.840.113549.1.9.16.2.21", "1.2.840.113549.1.9.16.2.22",
         "1.2.840.113549.1.9.16.2.23", "1.2.840.113549.1.9.16.2.24", "1.2.840.113549.1.9.16.2.19",
         "1.2.840.113549.1.9.16.2.15", "1.2.840.113549.1.9.16.2.20", "1.2.840.113549.1.9.16.2.14",
         "1.2.840.113549.1.9.16.2.25", "1.2.840.113549.1.9.16.2.26", "1.2.840.113549.1.9.16.2.27",
         "1.2.643.100.1", "1.2.643.100.5", "1.2.643.100.3", "1.2.643.100.4", "1.2.643.3.131.1.1"});
}

TEST(ObjectSet, ExtensionsAreKnownByTheirIdentifiers) {
    expect_known<ExtensionSet>({{"2.5.29.35", "AuthorityKeyIdentifier"},
                                {"2.5.29.14", "KeyIdentifier"},
                                {"2.5.29.15", "KeyUsage"},
                                {"2.5.29.37", "_extKeyUsage_ExtnType"},
                                {"2.5.29.16", "PrivateKeyUsagePeriod"},
                                {"2.5.29.32", "CertificatePoliciesSyntax"},
                                {"2.5.29.33", "PolicyMappingsSyntax"},
                                {"2.5.29.17", "GeneralNames"},
                                {"2.5.29.18", "GeneralNames"},
                                {"2.5.29.9", "AttributesSyntax"},
                                {"2.5.29.19", "BasicConstraintsSyntax"},
                                {"2.5.29.30.1", "NameConstraintsSyntax"},
                                {"2.5.29.36", "PolicyConstraintsSyntax"},
                                {"2.5.29.20", "CRLNumber"},
                                {"2.5.29.21", "CRLReason"},
                                {"2.5.29.23", "HoldInstruction"},
                                {"2.5.29.24", "InvalidityDate"},
                                {"2.5.29.31", "CRLDistPointsSyntax"},
                                {"2.5.29.28", "IssuingDistPointSyntax"},
                                {"2.5.29.29", "GeneralNames"},
                                {"2.5.29.27", "CRLNumber"},
                                {"2.5.29.46", "CRLDistPointsSyntax"},
                                {"1.3.6.1.5.5.7.1.1", "AuthorityInfoAccessSyntax"},
                                {"1.3.6.1.5.5.7.1.11", "SubjectInfoAccessSyntax"}});
    expect_unknown<ExtensionSet>(
        {"2.5.29.30", "2.5.29.54", "1.2.643.100.111", "1.2.643.100.112", "1.2.643.100.114",
         "1.3.6.1.5.5.7.48.1.2", "1.3.6.1.5.5.7.48.1.3", "1.3.6.1.5.5.7.48.1.4",
         "1.3.6.1.5.5.7.48.1.5", "1.3.6.1.5.5.7.48.1.6", "1.3.6.1.5.5.7.48.1.7", "1.2.643.2.2.47.1",
         "1.2.643.2.2.47.2", "1.2.643.2.2.47.3", "1.2.643.2.2.47.4", "1.2.643.2.2.47.5"});
}

TEST(ObjectSet, ContentsAreKnownByTheirIdentifiers) {
    expect_known<SupportedContentTypes>({{"1.2.840.113549.1.7.1", "_simpleData_Type"},
                                         {"1.2.840.113549.1.7.2", "SignedData"},
                                         {"1.2.840.113549.1.7.3", "EnvelopedData"},
                                         {"1.2.840.113549.1.7.5", "DigestedData"},
                                         {"1.2.840.113549.1.7.6", "EncryptedData"},
                                         {"1.2.840.113549.1.9.16.1.2", "AuthenticatedData"}});
    expect_known<SupportedContentTypesLegacy>({{"1.2.840.113549.1.7.1", "_simpleData_Type"},
                                               {"1.2.840.113549.1.7.2", "SignedDataLegacy"},
                                               {"1.2.840.113549.1.7.3", "EnvelopedData"},
                                               {"1.2.840.113549.1.7.5", "DigestedData"},
                                               {"1.2.840.113549.1.7.6", "EncryptedData"},
                                               {"1.2.840.113549.1.9.16.1.2", "AuthenticatedData"}});
    expect_known<SupportedEContentTypes>({{"1.2.840.113549.1.7.2", "SignedData"},
                                          {"1.2.840.113549.1.7.3", "EnvelopedData"},
                                          {"1.2.840.113549.1.7.5", "DigestedData"},
                                          {"1.2.840.113549.1.7.6", "EncryptedData"},
                                          {"1.2.840.113549.1.9.16.1.2", "AuthenticatedData"}});
    const Identifiers others = {"1.2.840.113549.1.9.16.1.4", "1.2.840.113549.1.9.16.1.6",
                                "1.2.840.113549.1.9.16.1.7", "1.2.840.113549.1.9.16.1.8"};
    expect_unknown<SupportedContentTypes>(others);
    expect_unknown<SupportedContentTypesLegacy>(others);
    expect_unknown<SupportedEContentTypes>(others);
    expect_unknown<SupportedEContentTypes>({"1.2.840.113549.1.7.1"});
}

TEST(ObjectSet, TheSmallSetsHoldTheirRows) {
    expect_known<SupportedInfos>({{"1.3.6.1.5.5.7.4.1", "Certificate"},
                                  {"1.3.6.1.5.5.7.4.2", "_itSignKeyPairTypes_Type"},
                                  {"1.3.6.1.5.5.7.4.3", "_itEncKeyPairTypes_Type"},
                                  {"1.3.6.1.5.5.7.4.4", "AlgorithmIdentifier"},
                                  {"1.3.6.1.5.5.7.4.5", "CAKeyUpdAnnContent"},
                                  {"1.3.6.1.5.5.7.4.6", "CertificateList"},
                                  {"1.2.643.2.2.41.1", "PKIAudit"},
                                  {"1.2.643.2.2.41.5", "ChangeNameReq"},
                                  {"1.2.643.2.2.41.4", "CertId"},
                                  {"1.2.643.2.2.41.2", "MessageId"},
                                  {"1.2.643.2.2.41.3", "_itGetMessages_Type"},
                                  {"1.2.643.2.2.41.6", "GeneralName"},
                                  {"1.2.643.2.2.41.7", "PKIStatusInfo"},
                                  {"1.2.643.2.2.41.8", "GeneralName"},
                                  {"1.2.643.2.2.41.10", "_itHalcyonPolicy_Type"},
                                  {"1.2.643.2.2.41.11", "Name"},
                                  {"1.2.643.2.2.41.12", "Certificate"}});
    expect_unknown<SupportedInfos>({"1.2.643.2.2.41.9", "1.3.6.1.5.5.7.4.7"});
    expect_known<SupportedPolicyQualifiers>(
        {{"1.3.6.1.5.5.7.2.1", "CPSuri"}, {"1.3.6.1.5.5.7.2.2", "UserNotice"}});
    expect_known<SupportedOCSPResponseTypes>({{"1.3.6.1.5.5.7.48.1.1", "BasicOCSPResponse"}});
    expect_unknown<SupportedSigPolicyQualifiers>(
        {"1.2.840.113549.1.9.16.5.1", "1.2.840.113549.1.9.16.5.2"});
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

TEST(AlgorithmIdentifier, ParametersOfAKnownAlgorithmAreChecked) {
    // GOST R 34.10-2012 with its parameter sets, and with a number in their place.
    const Bytes good = from_hex("30 1f 06 08 2a 85 03 07 01 01 01 01 30 13"
                                "06 07 2a 85 03 02 02 23 01 06 08 2a 85 03 07 01 01 02 02");
    Decoded<ASN1T_AlgorithmIdentifier> algorithm(asn1D_AlgorithmIdentifier, good);
    ASSERT_EQ(algorithm.status, 0);
    EXPECT_NE(algorithm.value.parameters.decoded, nullptr);
    EXPECT_EQ(encode(asn1E_AlgorithmIdentifier, algorithm.value).hex(), to_hex(good));
    const Bytes bad = from_hex("30 0d 06 08 2a 85 03 07 01 01 01 01 02 01 05");
    EXPECT_EQ(recode(asn1D_AlgorithmIdentifier, asn1E_AlgorithmIdentifier, bad), "-11");
}

TEST(AlgorithmIdentifier, AbsentParametersOfAKnownAlgorithmStayAbsent) {
    const Bytes absent = from_hex("30 0a 06 08 2a 85 03 07 01 01 01 01");
    Decoded<ASN1T_AlgorithmIdentifier> algorithm(asn1D_AlgorithmIdentifier, absent);
    ASSERT_EQ(algorithm.status, 0);
    EXPECT_EQ(presence(algorithm.value.m, 1), 0U);
    EXPECT_EQ(encode(asn1E_AlgorithmIdentifier, algorithm.value).hex(), to_hex(absent));
}

TEST(AlgorithmIdentifier, ParametersWithoutAnOperationStayAsTheyAre) {
    // sha1WithRSAEncryption with no NULL at all.
    const Bytes odd = from_hex("30 0e 06 09 2a 86 48 86 f7 0d 01 01 05 02 01 05");
    EXPECT_EQ(recode(asn1D_AlgorithmIdentifier, asn1E_AlgorithmIdentifier, odd), to_hex(odd));
}

TEST(AlgorithmIdentifier, GostParametersMayBeNull) {
    // The hash in a message's digest algorithms, a key's identifier as a message's signature
    // algorithm.
    for (const char* bytes :
         {"30 0a 06 06 2a 85 03 02 02 09 05 00",
          "30 11 06 06 2a 85 03 02 02 09 06 07 2a 85 03 02 02 1e 01",
          "30 0c 06 08 2a 85 03 07 01 01 01 01 05 00", "30 0a 06 06 2a 85 03 02 02 13 05 00"}) {
        EXPECT_EQ(recode(asn1D_AlgorithmIdentifier, asn1E_AlgorithmIdentifier, from_hex(bytes)),
                  plain(bytes));
    }
}

} // namespace
