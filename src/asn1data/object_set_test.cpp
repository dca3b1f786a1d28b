// The object sets: which identifiers each knows, which it must not know, and that there is one of
// each.
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "asn1data/cryptographic_message_syntax.h"
#include "asn1data/ets_electronic_signature.h"
#include "asn1data/information_object_sets.h"
#include "asn1data/ocsp.h"
#include "asn1data/pkix1_explicit.h"
#include "asn1data/pkix_cmp.h"
#include "asn1data/test_coding.h"

using namespace asn1data;
using namespace test_coding;

namespace {

using Identifiers = std::vector<const char*>;

template <class Set>
void expect_known(const Identifiers& known) {
    for (const char* text : known) {
        auto* object = Set::instance(nullptr)->lookupObject(oid(text));
        ASSERT_NE(object, nullptr) << text;
        EXPECT_TRUE(object->id == oid(text)) << text;
    }
}

template <class Set>
void expect_unknown(const Identifiers& unknown) {
    for (const char* text : unknown)
        EXPECT_EQ(Set::instance(nullptr)->lookupObject(oid(text)), nullptr) << text;
}

TEST(ObjectSet, AlgorithmsAreKnownByTheirIdentifiers) {
    expect_known<SupportedAlgorithms>(
        {"1.2.643.2.2.19",       "1.2.643.2.2.98",        "1.2.643.7.1.1.1.1",
         "1.2.643.7.1.1.1.2",    "1.2.643.2.2.3",         "1.2.643.7.1.1.3.2",
         "1.2.643.7.1.1.3.3",    "1.2.643.2.2.21",        "1.2.643.2.2.9",
         "1.2.643.7.1.1.2.2",    "1.2.643.7.1.1.2.3",     "1.2.840.113549.1.1.1",
         "1.2.840.113549.1.1.5", "1.2.840.113549.1.1.4",  "1.2.840.113549.1.1.2",
         "1.2.840.10040.4.1",    "1.2.840.10040.4.3",     "1.2.840.10046.2.1",
         "1.3.14.3.2.26",        "1.2.643.2.2.1.1.969.1", "1.2.643.7.1.1.5.1.1",
         "1.2.643.7.1.1.5.1.2",  "1.2.643.7.1.1.5.2.1",   "1.2.643.7.1.1.5.2.2"});
    expect_unknown<SupportedAlgorithms>({"1.2.643.7.1.1.6.1", "1.2.643.7.1.1.6.2",
                                         "1.2.840.10045.2.1", "2.16.840.1.101.3.4.2.1",
                                         "1.2.840.113549.1.1.11", "1.2"});
}

TEST(ObjectSet, AttributesAreKnownByTheirIdentifiers) {
    expect_known<SupportedAttributes>({"1.3.6.1.4.1.311.13.2.2",
                                       "1.3.6.1.4.1.311.13.2.3",
                                       "2.5.4.41",
                                       "2.5.4.3",
                                       "2.5.4.4",
                                       "2.5.4.42",
                                       "2.5.4.43",
                                       "2.5.4.44",
                                       "2.5.4.46",
                                       "2.5.4.6",
                                       "2.5.4.7",
                                       "2.5.4.9",
                                       "2.5.4.8",
                                       "2.5.4.10",
                                       "2.5.4.11",
                                       "2.5.4.12",
                                       "1.2.840.113549.1.9.1",
                                       "2.5.4.65",
                                       "1.2.840.113549.1.9.3",
                                       "1.2.840.113549.1.9.4",
                                       "1.2.840.113549.1.9.5",
                                       "1.2.840.113549.1.9.16.2.12",
                                       "1.2.840.113549.1.9.16.2.47",
                                       "0.9.2342.19200300.100.1.25",
                                       "1.3.6.1.4.1.311.2.1.14",
                                       "1.2.840.113549.1.9.14",
                                       "1.2.840.113549.1.9.2",
                                       "2.5.4.17",
                                       "2.5.4.16"});
    // A name's serial number, what long-term signatures add, and registration numbers arrive raw.
    expect_unknown<SupportedAttributes>(
        {"2.5.4.5", "1.2.840.113549.1.9.16.2.21", "1.2.840.113549.1.9.16.2.22",
         "1.2.840.113549.1.9.16.2.23", "1.2.840.113549.1.9.16.2.24", "1.2.840.113549.1.9.16.2.19",
         "1.2.840.113549.1.9.16.2.15", "1.2.840.113549.1.9.16.2.20", "1.2.840.113549.1.9.16.2.14",
         "1.2.840.113549.1.9.16.2.25", "1.2.840.113549.1.9.16.2.26", "1.2.840.113549.1.9.16.2.27",
         "1.2.643.100.1", "1.2.643.100.5", "1.2.643.100.3", "1.2.643.100.4", "1.2.643.3.131.1.1"});
}

TEST(ObjectSet, ExtensionsAreKnownByTheirIdentifiers) {
    expect_known<ExtensionSet>(
        {"2.5.29.35", "2.5.29.14",   "2.5.29.15",         "2.5.29.37",         "2.5.29.16",
         "2.5.29.32", "2.5.29.33",   "2.5.29.17",         "2.5.29.18",         "2.5.29.9",
         "2.5.29.19", "2.5.29.30.1", "2.5.29.36",         "2.5.29.20",         "2.5.29.21",
         "2.5.29.23", "2.5.29.24",   "2.5.29.31",         "2.5.29.28",         "2.5.29.29",
         "2.5.29.27", "2.5.29.46",   "1.3.6.1.5.5.7.1.1", "1.3.6.1.5.5.7.1.11"});
    expect_unknown<ExtensionSet>(
        {"2.5.29.30", "2.5.29.54", "1.2.643.100.111", "1.2.643.100.112", "1.2.643.100.114",
         "1.3.6.1.5.5.7.48.1.2", "1.3.6.1.5.5.7.48.1.3", "1.3.6.1.5.5.7.48.1.4",
         "1.3.6.1.5.5.7.48.1.5", "1.3.6.1.5.5.7.48.1.6", "1.3.6.1.5.5.7.48.1.7", "1.2.643.2.2.47.1",
         "1.2.643.2.2.47.2", "1.2.643.2.2.47.3", "1.2.643.2.2.47.4", "1.2.643.2.2.47.5"});
}

TEST(ObjectSet, ContentsAreKnownByTheirIdentifiers) {
    const Identifiers contents = {"1.2.840.113549.1.7.1", "1.2.840.113549.1.7.2",
                                  "1.2.840.113549.1.7.3", "1.2.840.113549.1.7.5",
                                  "1.2.840.113549.1.7.6", "1.2.840.113549.1.9.16.1.2"};
    expect_known<SupportedContentTypes>(contents);
    expect_known<SupportedContentTypesLegacy>(contents);
    expect_known<SupportedEContentTypes>(Identifiers(contents.begin() + 1, contents.end()));
    const Identifiers others = {"1.2.840.113549.1.9.16.1.4", "1.2.840.113549.1.9.16.1.6",
                                "1.2.840.113549.1.9.16.1.7", "1.2.840.113549.1.9.16.1.8"};
    expect_unknown<SupportedContentTypes>(others);
    expect_unknown<SupportedContentTypesLegacy>(others);
    expect_unknown<SupportedEContentTypes>(others);
    expect_unknown<SupportedEContentTypes>({"1.2.840.113549.1.7.1"});
}

TEST(ObjectSet, TheSmallSetsHoldTheirRows) {
    expect_known<SupportedInfos>({"1.3.6.1.5.5.7.4.1", "1.3.6.1.5.5.7.4.2", "1.3.6.1.5.5.7.4.3",
                                  "1.3.6.1.5.5.7.4.4", "1.3.6.1.5.5.7.4.5", "1.3.6.1.5.5.7.4.6",
                                  "1.2.643.2.2.41.1", "1.2.643.2.2.41.5", "1.2.643.2.2.41.4",
                                  "1.2.643.2.2.41.2", "1.2.643.2.2.41.3", "1.2.643.2.2.41.6",
                                  "1.2.643.2.2.41.7", "1.2.643.2.2.41.8", "1.2.643.2.2.41.10",
                                  "1.2.643.2.2.41.11", "1.2.643.2.2.41.12"});
    expect_unknown<SupportedInfos>({"1.2.643.2.2.41.9", "1.3.6.1.5.5.7.4.7"});
    expect_known<SupportedPolicyQualifiers>({"1.3.6.1.5.5.7.2.1", "1.3.6.1.5.5.7.2.2"});
    expect_known<SupportedOCSPResponseTypes>({"1.3.6.1.5.5.7.48.1.1"});
    expect_unknown<SupportedSigPolicyQualifiers>(
        {"1.2.840.113549.1.9.16.5.1", "1.2.840.113549.1.9.16.5.2"});
}

TEST(ObjectSet, TwoThreadsAtFirstUseGetOneInstance) {
    std::vector<SupportedInfos*> seen(8);
    std::vector<std::thread> threads;
    for (auto& slot : seen)
        threads.emplace_back([&slot] { slot = SupportedInfos::instance(nullptr); });
    for (auto& thread : threads)
        thread.join();
    for (const auto* instance : seen)
        EXPECT_EQ(instance, seen.front());
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
          "30 0c 06 08 2a 85 03 07 01 01 01 01 05 00", "30 0a 06 06 2a 85 03 02 02 13 05 00"})
        EXPECT_EQ(recode(asn1D_AlgorithmIdentifier, asn1E_AlgorithmIdentifier, from_hex(bytes)),
                  plain(bytes));
}

} // namespace
