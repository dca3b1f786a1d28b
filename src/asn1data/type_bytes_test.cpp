// DER written from the published notation, one row a type: what a round trip can't show, since both
// ways follow the same schema. Optional elements are all there, so that each tag counts; a CHOICE
// has a row for each alternative with its selector; bounds have a row on either side.
#include <span>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/asn1data/test_value.h>

using namespace test_coding;

namespace {

using std::string;

struct Row {
    const char* type;
    string der;          ///< in the notation of test_coding::der
    unsigned selector;   ///< of a CHOICE; 0: not looked at
    string becomes = ""; ///< a refusal's status, or other bytes; empty: it comes back as it is
};

const string kUtc = "17('260102030405Z')";
const string kTime = "18('20260102030405Z')";
const string kAlg = "30(06(2a03))";
const string kSpki = "30(" + kAlg + "03(00))";
const string kExtension = "30(06(2a03)04(00))";
const string kAttribute = "30(06(2a03)31(05()))";
const string kIssuerSerial = "30(82('a'))02(05)"; // contents
const string kCert =
    "30(30(02(05)" + kAlg + "30()30(" + kUtc + kUtc + ")30()" + kSpki + ")" + kAlg + "03(00))";
const string kCertId = "30(" + kAlg + "04(01)04(02)02(05))";
const string kContent = "30(06(2a03)a0(05()))";
// Contents, for implicit tags.
const string kAttributeCertificate = "30(02(01)30(a1(82('a')))a0(30(82('b')))" + kAlg +
                                     "02(05)30(" + kTime + kTime + ")30())" + kAlg + "03(00)";
const string kEnveloped = "02(02)31(a4(06(2a03)05()))30(06(2a03)" + kAlg + ")";
const string kLongest = "('" + string(32768, 'a') + "')";
const string kTooLong = "('" + string(32769, 'a') + "')";

string times(int count, const string& text) {
    return count == 0 ? "" : text + times(count - 1, text);
}

const Row kExplicitModule[] = {
    // GOST R 34.10-2012 with its parameter sets, with a number in their place, and without; the
    // forms with NULL and a mere identifier; and sha1WithRSAEncryption, which has no operation.
    {"AlgorithmIdentifier", "30(06(2a85030701010101)30(06(2a850302022301)06(2a85030701010202)))",
     0},
    {"AlgorithmIdentifier", "30(06(2a85030701010101)02(05))", 0, "-11"},
    {"AlgorithmIdentifier", "30(06(2a85030701010101))", 0},
    {"AlgorithmIdentifier", "30(06(2a85030701010101)05())", 0},
    {"AlgorithmIdentifier", "30(06(2a8503020209)05())", 0},
    {"AlgorithmIdentifier", "30(06(2a8503020213)05())", 0},
    {"AlgorithmIdentifier", "30(06(2a8503020209)06(2a850302021e01))", 0},
    {"AlgorithmIdentifier", "30(06(2a864886f70d010105)02(05))", 0},
    {"TBSCertificate",
     "30(a0(02(02))02(05)" + kAlg + "30()30(" + kUtc + kTime + ")30()" + kSpki +
         "81(00)82(00)a3(30(" + kExtension + ")))",
     0},
    {"TBSCertList",
     "30(02(01)" + kAlg + "30()" + kUtc + kTime + "30(30(02(05)" + kUtc + "30(" + kExtension +
         ")))a0(30(" + kExtension + ")))",
     0},
    {"Time", kUtc, 1},
    {"Time", kTime, 2},
    {"DirectoryString", "14('a')", 1},
    {"DirectoryString", "13('a')", 2},
    {"DirectoryString", "1c(00000041)", 3},
    {"DirectoryString", "0c('a')", 4},
    {"DirectoryString", "1e(0041)", 5},
    {"DirectoryString", "12('1')", 6},
    {"CertificateList", "30(05())", 0},
    {"CertificateList", "02(05)", 0, "-3"},
    // Not a list inside, and lengths that aren't minimal: no one looks, nothing changes.
    {"CertificateList", "30820006028101050500", 0},
    {"CertificateListLegacy", "30820006028101050500", 0, "-3"},
    {"Time", "16('1111111111111')", 0, "-11"},
    {"Name", "30(31(30(06(550403)0c('A'))))", 0},
    // A known attribute of another type fails the name; a country is a PrintableString.
    {"Name", "30(31(30(06(550403)04('A'))))", 0, "-11"},
    {"Name", "30(31(30(06(550406)0c('RU'))))", 0, "-3"},
    {"Name", "30(31(30(06(550403)0c())))", 0, "-23"},
    // ... but an empty mail address passes.
    {"Name", "30(31(30(06(2a864886f70d010901)16())))", 0},
    {"RelativeDistinguishedName", "31()", 0, "-23"},
    {"RelativeDistinguishedName", "31(30(06(55040a)0c('A'))30(06(550403)0c('A')))", 0,
     "31(30(06(550403)0c('A'))30(06(55040a)0c('A')))"},
    {"DirectoryString", "0c" + kLongest, 4},
    {"DirectoryString", "13" + kLongest, 2},
    {"DirectoryString", "14" + kLongest, 1},
    {"DirectoryString", "0c" + kTooLong, 0, "-23"},
    {"DirectoryString", "13" + kTooLong, 0, "-23"},
    {"DirectoryString", "14" + kTooLong, 0, "-23"},
    {"DirectoryString", "1e()", 0, "-23"},
    {"DirectoryString", "12()", 0, "-23"},
    {"DirectoryString", "1c(0001f600)", 3},
    {"PHGString", "16()", 0, "-23"},
    {"PHGString", "16" + kTooLong, 0, "-23"},
    {"PHGStringNonStrict", "16()", 0},
    {"CaseIgnoreIA5StringSyntax", "16()", 0, "-23"},
    {"CaseIgnoreIA5StringSyntaxNonStrict", "16()", 0},
    {"PHGStringNonStrict", "16" + kTooLong, 0, "-23"},
    {"Extension", "30(06(2a0304)01(00)04(aa))", 0, "30(06(2a0304)04(aa))"},
    // Under an identifier of its own, the system's constraints are looked into.
    {"Extension", "30(06(551d1e01)04(05()))", 0, "-3"},
};

const Row kImplicitModule[] = {
    {"AuthorityKeyIdentifier", "30(80(01)a1(82('a'))82(05))", 0},
    {"PrivateKeyUsagePeriod", "30(80('20260102030405Z')81('20270102030405Z'))", 0},
    {"PolicyInformation", "30(06(2a03)30(30(06(2a03)05())))", 0},
    {"UserNotice", "30(30(0c('o')30(02(01)02(02)))0c('t'))", 0},
    {"DisplayText", "16('a')", 1},
    {"DisplayText", "1a('a')", 2},
    {"DisplayText", "1e(0041)", 3},
    {"DisplayText", "0c('a')", 4},
    {"DisplayText", "0c()", 0, "-23"},
    {"DisplayText", "16()", 0, "-23"},
    {"DisplayText", "1a()", 0, "-23"},
    {"DisplayText", "1e()", 0, "-23"},
    {"PolicyConstraintsSyntax", "30(80(01)81(02))", 0},
    {"BasicConstraintsSyntax", "30(01(ff)02(03))", 0},
    {"NameConstraintsSyntax", "30(a0(30(82('a')))a1(30(82('b'))))", 0},
    {"GeneralSubtree", "30(82('a')80(00)81(05))", 0},
    {"GeneralSubtrees", "30()", 0, "-23"},
    {"DistributionPoint", "30(a0(a0(82('a')))81(0640)a2(82('b')))", 0},
    {"DistributionPointName", "a0(82('a'))", 1},
    {"DistributionPointName", "a1(30(06(2a03)0c('x')))", 2},
    {"IssuingDistPointSyntax", "30(a0(a0(82('a')))81(ff)82(ff)83(0640)84(ff)85(ff))", 0},
    {"EDIPartyName", "30(a0(0c('a'))a1(13('b')))", 0},
    {"AccessDescription", "30(06(2a03)82('a'))", 0},
    {"KeyUsage", "03(00800001)", 0}, // longer than the names go
    {"ReasonFlags", "03(074080)", 0},
    {"ReasonFlags", "03(00800001)", 0, "-17"},
    {"CRLReason", "0a(07)", 0},
    {"CRLReason", "0a(0a)", 0},
    {"CRLReason", "0a(0b)", 0, "-6"},
    {"CRLReason", "0a(ff)", 0, "-6"},
    {"CRLNumber", "02('twenty bytes or even')", 0},
    {"GeneralName", "a0(06(2a0304)a0(05()))", 1},
    {"GeneralName", "81('a')", 2},
    {"GeneralName", "82('a')", 3},
    {"GeneralName", "a3(30())", 4},
    {"GeneralName", "a4(30())", 5},
    {"GeneralName", "a5(a1(0c('A')))", 6},
    {"GeneralName", "86('a')", 7},
    {"GeneralName", "87(0a000001)", 8},
    {"GeneralName", "88(2a03)", 9},
    {"GeneralName", "89('a')", 0, "-11"},
    {"IssuerSignTool", "30(0c('a')0c('b')0c('c'))", 0, "-8"},
    {"SkipCerts", "02(00)", 0},
    {"BaseDistance", "02(00)", 0},
    {"BasicConstraintsSyntax", "30(02(00))", 0},
};

const Row kAddresses[] = {
    {"CountryName", "61(12('643'))", 1},
    {"CountryName", "61(13('RU'))", 2},
    {"AdministrationDomainName", "62(12())", 1},
    {"AdministrationDomainName", "62(13(' '))", 2},
    {"AdministrationDomainName", "62(13())", 2},
    {"PrivateDomainName", "13()", 0, "-23"},
    {"BuiltInStandardAttributes",
     "30(61(13('RU'))62(12('1'))80('1')81('t')a2(13('p'))83('o')84('1')a5(80('s'))a6(13('u')))", 0},
    {"ExtensionAttribute", "30(80(01)a1(13('c')))", 0},
    {"PDSParameter", "31(13('a')14('b'))", 0},
    {"ExtendedNetworkAddress", "30(80('1')81('2'))", 1},
    {"ExtendedNetworkAddress", "a0(a0(04(01))a1(04(02))a2(04(03))a3(31(04(04))))", 2},
    {"UnstructuredName", "16('a')", 1},
    {"UnstructuredName", "14('a')", 2},
    {"UnstructuredName", "13('a')", 3},
    {"UnstructuredName", "0c('a')", 5},
    {"UnstructuredName", "12('1')", 7},
    // In any order, and nothing twice.
    {"PersonalName", "31(81('G')80('S'))", 0, "31(80('S')81('G'))"},
    {"PersonalName", "31(80('S')80('S'))", 0, "-7"},
    {"PersonalName", "31(81('G'))", 0, "-8"},
    {"PersonalName", "31(80('S')84('A'))", 0, "-9"},
    {"PersonalName", "31(80())", 0, "-23"},
    {"PersonalName", "31(80" + kLongest + ")", 0},
    {"PersonalName", "31(80('S')81('G')82('I')83('Q'))", 0},
    {"TeletexPersonalName", "31(80('S')81('G')82('I')83('Q'))", 0},
    {"PostalCode", "12('1')", 1},
    {"PostalCode", "13('1')", 2},
    {"TerminalType", "02(0100)", 0},
    {"TerminalType", "02(0101)", 0, "-23"},
    {"X520countryName", "13()", 0, "-23"},
    {"PostalAddress", "30()", 0, "-23"},
};

const Row kAttributeCertificates[] = {
    {"AttributeCertificateInfo",
     "30(02(00)a0(" + kIssuerSerial + ")30(82('b'))" + kAlg + "02(05)30(" + kTime + kTime + ")30(" +
         kAttribute + ")03(00)30(" + kExtension + "))",
     0},
    {"AttributeCertificateInfo_subject", "a0(" + kIssuerSerial + ")", 1},
    {"AttributeCertificateInfo_subject", "a1(82('a'))", 2},
    {"IssuerSerial", "30(" + kIssuerSerial + "03(00))", 0},
    {"ACPathData", "30(a0(" + kCert + "))", 0},
    {"ACPathData",
     "30(a1(30(30(02(00)a1(82('a'))30(82('b'))" + kAlg + "02(05)30(" + kTime + kTime + ")30())" +
         kAlg + "03(00))))",
     0},
    {"Holder", "30(a0(" + kIssuerSerial + ")a1(82('b'))a2(0a(00)" + kAlg + "03(00)))", 0},
    {"ObjectDigestInfo", "30(0a(02)06(2a03)" + kAlg + "03(00))", 0},
    {"ObjectDigestInfo", "30(0a(03)" + kAlg + "03(00))", 0, "-6"},
    {"AttCertIssuer", "30(82('a'))", 1},
    {"AttCertIssuer", "a0(30(82('a'))a0(" + kIssuerSerial + ")a1(0a(00)" + kAlg + "03(00)))", 2},
    {"Target", "a0(82('a'))", 1},
    {"Target", "a1(82('a'))", 2},
    {"Target", "a2(30(" + kIssuerSerial + ")82('n'))", 3},
    {"IetfAttrSyntax", "30(a0(82('a'))30(04(01)06(2a03)0c('x')))", 0},
    {"RoleSyntax", "30(a0(82('a'))a1(82('b')))", 0},
    {"Clearance", "30(80(2a03)81(0640)a2(30(80(2a03)a1(05()))))", 0},
    {"CertificatePair", "30(a0(" + kCert + ")a1(" + kCert + "))", 0},
    {"CertificateAssertion",
     "30(80(05)a1(30())82(01)a3()a4(" + kUtc +
         ")85('20260102030405Z')86(2a03)87(0640)a8(0a(01))"
         "a9(06(2a03))aa(30())ab(30())ac())",
     0},
    {"CertificateListAssertion",
     "30(30()80(01)81(02)03(0640)" + kUtc + "a2(a0(82('a')))a3(80(01)))", 0},
    {"AltNameType", "0a(09)", 0, "-6"},
    {"AAControls", "30(02(05)a0(06(2a03))a1(06(2a04))01(ff))", 0},
    {"CertificatePairAssertion", "30(a0(80(05))a1(80(06)))", 0},
    {"CertificateListExactAssertion", "30(30()" + kUtc + "a0(82('a')))", 0},
    {"CertificatePairExactAssertion", "30(a0(02(05)30())a1(02(06)30()))", 0},
    {"IetfAttrSyntax_values_element", "04(01)", 1},
    {"IetfAttrSyntax_values_element", "06(2a03)", 2},
    {"IetfAttrSyntax_values_element", "0c('a')", 3},
};

const string kContentType = "30(06(2a864886f70d010903)31(06(2a864886f70d010701)))";
const string kDamagedContentType = "30(06(2a864886f70d010903)31(05()))";

string signer_info(const string& attributes) {
    return "30(02(01)30(30(31(30(06()05())))02(05))" + kAlg + "a0(" + attributes + ")" + kAlg +
           "04(aabb))";
}

const Row kMessages[] = {
    // An issuer that is no name isn't looked into; nor are the attributes, whatever is in them.
    {"SignerIdentifier", "30(30(30(05()))02(05))", 1},
    {"SignerIdentifier", "80(aabb)", 2},
    {"SignerInfo", signer_info(kAttribute), 0},
    {"SignerInfo", signer_info(kContentType), 0},
    {"SignerInfo", signer_info(kDamagedContentType), 0},
    {"SignerInfoLegacy", signer_info(kContentType), 0},
    {"SignerInfoLegacy", signer_info(kDamagedContentType), 0, "-3"},
    {"AttributesRaw", "31()", 0, "-23"},
    {"AttributeRaw", "30(06(2a03)31())", 0, "-23"},
    {"AttributesRawSequence", "30()", 0, "-23"},
    // The set is sorted and the sequence isn't; so are values, the shorter first.
    {"AttributesRaw", "31(30(06(2a04)31(05()))" + kAttribute + ")", 0,
     "31(" + kAttribute + "30(06(2a04)31(05())))"},
    {"AttributesRawSequence", "30(30(06(2a04)31(05()))" + kAttribute + ")", 0},
    {"AttributeRaw_valuesRaw", "31(04(0100)04(02)04(01))", 0, "31(04(01)04(02)04(0100))"},
    {"EncapsulatedContentInfo", "30(06(2a864886f70d010702)a0(04(0500)))", 0, "-3"},
    {"EncapsulatedContentInfo", "308006092a864886f70d010701a0802480040141040142000000000000", 0,
     "30(06(2a864886f70d010701)a0(04('AB')))"},
    {"CertificateChoicesRaw", "a4(02(0500))", 0, "-11"},
    // A list whose inside no one looks at.
    {"RevocationInfoChoice", "308200020500", 1},
    {"RevocationInfoChoice", "a1(06(2a03)05())", 2},
    {"RevocationInfoChoice", "a2(05())", 0, "-11"},
    {"CertificateSetRaw", "31(30(30(05())30(06(2a03))03(00aa))30(30(05())30(06(2a03))03(0001)))", 0,
     "31(30(30(05())30(06(2a03))03(0001))30(30(05())30(06(2a03))03(00aa)))"},
    {"SignaturePolicyImplied_", "05()", 0},
    {"ESSCertIDv2", "30(04(aabb))", 0},
    {"ESSCertIDv2", "30(30(06(608648016503040201))04(aabb))", 0},
    {"OtherHash", "04(aabb)", 1},
    {"OtherHash", "30(" + kAlg + "04(aabb))", 2},
    {"SignerInfo",
     "30(02(01)80(01)" + kAlg + "a0(" + kAttribute + ")" + kAlg + "04(01)a1(" + kAttribute + "))",
     0},
    {"CertificateChoicesRaw", kCert, 1},
    {"CertificateChoicesRaw", "a0(30(02(00)" + kCert + "31(" + kAttribute + "))" + kAlg + "03(00))",
     2},
    // What authorities send here is of version 2.
    {"CertificateChoicesRaw", "a1(30(02(01))" + kAlg + "03(00))", 3},
    {"CertificateChoicesRaw",
     "a2(30(02(01)30(a1(82('a')))a0(30(82('b')))" + kAlg + "02(05)30(" + kTime + kTime + ")30())" +
         kAlg + "03(00))",
     4},
    {"CertificateChoicesRaw", "a3(06(2a03)05())", 5},
    {"EncapsulatedContentInfo", "30(06(2a03)a0(04(01)))", 0},
    {"EncapsulatedContentInfo", "30(06(2a03)a0(30(02(05))))", 0},
    {"RecipientInfo", "a1(02(03)a0(80(01))a1(04(02))" + kAlg + "30())", 2},
    {"RecipientInfo", "a2(02(04)30(04(01)" + kTime + "30(06(2a03)05()))" + kAlg + "04(01))", 3},
    {"RecipientInfo", "a3(02(00)a0(06(2a03))" + kAlg + "04(01))", 4},
    {"RecipientInfo", "a4(06(2a03)05())", 5},
    {"OriginatorIdentifierOrKey", "80(01)", 2},
    {"OriginatorIdentifierOrKey", "a1(" + kAlg + "03(00))", 3},
    {"EncryptedContentInfo", "30(06(2a03)" + kAlg + "80(01))", 0},
    {"AuthenticatedData",
     "30(02(00)a0()31(a4(06(2a03)05()))" + kAlg + "a1(06(2a03))30(06(2a03))a2(" + kAttribute +
         ")04(01)a3(" + kAttribute + "))",
     0},
    {"ReceiptsFrom", "80(01)", 1},
    {"ReceiptsFrom", "a1(30(82('a')))", 2},
    {"ContentHints", "30(0c('d')06(2a03))", 0},
    {"ESSSecurityLabel", "31(06(2a03)02(03)13('m')31(30(80(2a03)a1(05()))))", 0},
    {"SecurityClassification", "02(0100)", 0},
    {"SecurityClassification", "02(0101)", 0, "-23"},
    {"SMIMEEncryptionKeyPreference", "a0(30()02(05))", 1},
    {"SMIMEEncryptionKeyPreference", "a1(04(01))", 2},
    {"SMIMEEncryptionKeyPreference", "82(01)", 3},
    {"SignedData", "30(02(01)31()30(06(2a03))a0()a1()31())", 0},
    {"EnvelopedData",
     "30(02(02)a0(a0()a1())31(a4(06(2a03)05()))30(06(2a03)" + kAlg + ")a1(" + kAttribute + "))", 0},
    {"EncryptedData", "30(02(00)30(06(2a03)" + kAlg + ")a1(" + kAttribute + "))", 0},
    {"KeyAgreeRecipientIdentifier", "a0(04(01))", 2},
    {"CertificateChoices", kCert, 1},
    {"CertificateChoices", "a2(" + kAttributeCertificate + ")", 4},
    {"CertificateChoices", "a3(06(2a03)05())", 5},
    {"MLReceiptPolicy", "80()", 1},
    {"MLReceiptPolicy", "a1(30(82('a')))", 2},
    {"MLReceiptPolicy", "a2(30(82('a')))", 3},
    {"MLExpansionHistory", "30()", 0, "-23"},
    {"ESSPrivacyMark", "13('m')", 1},
    {"ESSPrivacyMark", "0c('m')", 2},
    {"ReceiptRequest", "30(04(01)80(00)30(" + times(16, "30(82('a'))") + "))", 0},
    {"ReceiptRequest", "30(04(01)80(00)30(" + times(17, "30(82('a'))") + "))", 0, "-23"},
    {"SecurityCategories", "31()", 0, "-23"},
    {"SMIMECapabilitiesParametersForRC2CBC", "02(27)", 0, "-23"},
};

const string kImprint = "30(30(06(2b0e03021a)05())04())";
const string kInfoStart = "02(01)06(2a0304)" + kImprint;
const string kInfoTime = "18('20240102030405Z')";

const Row kSignatureFormats[] = {
    // An element behind the last, one out of its place, one missing; and a damaged optional one,
    // whose own status is told.
    {"TSTInfo", "30(" + kInfoStart + "02(05)" + kInfoTime + "05())", 0, "-10"},
    {"TSTInfo", "30(" + kInfoStart + "02(05)02(07))", 0, "-3"},
    {"TSTInfo", "30(02(01)06(2a0304))", 0, "-8"},
    {"TSTInfo", "30(" + kInfoStart + "02(05)" + kInfoTime + "30(02(0102030405)))", 0, "-33"},
    {"TimeStampReq", "30(02(01)" + kImprint + ")", 0},
    {"TimeStampReq", "30(02(01)" + kImprint + "01(00))", 0, "30(02(01)" + kImprint + ")"},
    {"TimeStampReq", "30(02(01)" + kImprint + "01(ff))", 0},
    {"TimeStampReq", "30(02(010203040506070809)" + kImprint + ")", 0},
    {"Accuracy", "30()", 0},
    {"Accuracy", "30(80(01)81(01))", 0},
    {"Accuracy", "30(80(03e7))", 0},
    {"Accuracy", "30(80(00))", 0, "-23"},
    {"Accuracy", "30(80(03e8))", 0, "-23"},
    {"Accuracy", "30(81(00))", 0, "-23"},
    {"Accuracy", "30(02(80000000))", 0},
    {"Accuracy", "30(02(0080000000))", 0, "-33"},
    // A number beyond the named ones is read, and a negative one as unsigned.
    {"PKIStatusInfo", "30(02(0100))", 0},
    {"PKIStatusInfo", "30(02(ff))", 0, "30(02(00ff))"},
    {"PKIFailureInfo", "03(0520)", 0},
    {"PKIFailureInfo", "03(0600000040)", 0},
    {"PKIFailureInfo", "03(000000000001)", 0, "-17"},
    {"PKIFreeText", "30()", 0, "-23"},
    {"PKIFreeText", "30(0c('a')0c('b'))", 0},
    {"TimeStampAuthenticodeRequest", "30(06(2a0304)30(06(2a864886f70d010701)a0(040141)))", 0},
    {"TimeStampAuthenticodeRequest",
     "30(06(2a0304)31(" + kAttribute + ")30(06(2a864886f70d010701)a0(040141)))", 0},
    // id-spq-ets-uri with a number in place of the text.
    {"SigPolicyQualifierInfo", "30(06(2a864886f70d0109100501)0203008001)", 0},
    {"SignaturePolicy", "30(06(2a03)30(" + kAlg + "04(01))30(30(06(2a03)05())))", 1},
    {"SignaturePolicy", "05()", 2},
    {"SignerLocation", "30(a0(0c('a'))a1(13('b'))a2(30(0c('c'))))", 0},
    {"SignerAttribute", "30(a0(30(" + kAttribute + ")))", 0},
    {"CrlOcspRef", "30(a0(30(30()))a1(30(30()))a2(30(06(2a03)05())))", 0},
    {"CrlValidatedID", "30(04(01)30(30()" + kUtc + "02(05)))", 0},
    {"OcspResponsesID", "30(30(a1(30())" + kTime + ")04(01))", 0},
    {"RevocationValues",
     "30(a0(30(30()))a1(30(30(30(a2(04(01))" + kTime + "30())" + kAlg +
         "03(00))))a2(30(06(2a03)05())))",
     0},
    {"PKIStatusInfo", "30(02(02)30(0c('t'))03(0520))", 0},
    {"Accuracy", "30(02(01)80(01)81(03e7))", 0},
    {"Accuracy", "30(81(03e8))", 0, "-23"},
    {"EvidenceRecord",
     "30(02(01)30(" + kAlg + ")a0(" + kAttribute + ")a1(06(2a03)05())30(30(30(" + kContent + "))))",
     0},
    {"ArchiveTimeStampSequence", "30(30(05())30())", 0},
    {"ArchiveTimeStampChain", "30(30(" + kContent + ")30(30()))", 0},
    {"ArchiveTimeStamp",
     "30(a0(06(2a03))a1(" + kAttribute + ")a2(30(04(01)04(02))30())" + kContent + ")", 0},
    {"ArchiveTimeStamp", "30(a2(30(04(01))))", 0, "-8"},
    {"CryptoInfos", "30()", 0, "-23"},
    {"SignerAttribute", "30(a1(30(" + kAttributeCertificate + ")))", 0},
    {"TimeStampReq", "30(02(01)" + kImprint + "a0(" + kExtension + "))", 0},
};

const Row kOnlineStatus[] = {
    // A status in the gap passes, one behind the end doesn't; an unknown answer stays raw.
    {"OCSPResponse", "30(0a(04))", 0},
    {"OCSPResponse", "30(0a(07))", 0, "-6"},
    {"OCSPResponse", "30(0a(00)a0(30(06(2a03)04(028001))))", 0},
    {"TBSRequest",
     "30(a0(02(00))a1(82('a'))30(30(" + kCertId + "a0(30(" + kExtension + "))))a2(30(" +
         kExtension + ")))",
     0},
    {"ResponderID", "a1(30())", 1},
    {"ResponderID", "a2(04(01))", 2},
    {"SingleResponse",
     "30(" + kCertId + "80()" + kTime + "a0(" + kTime + ")a1(30(" + kExtension + ")))", 0},
    {"CertStatus", "80()", 1},
    {"CertStatus", "a1(" + kTime + "a0(0a(01)))", 2},
    {"CertStatus", "82()", 3},
    {"CrlID", "30(a0(16('u'))a1(02(01))a2(" + kTime + "))", 0},
    {"ServiceLocator", "30(30()30(30(06(2a03)82('a'))))", 0},
    {"DVCSRequestInformation",
     "30(02(01)0a(03)02(07)" + kTime + "a0(82('a'))a1(06(2a03))a2(82('b'))a3(82('c'))a4(" +
         kExtension + "))",
     0},
    {"ServiceType", "0a(05)", 0, "-6"},
    {"DVCSTime", kTime, 1},
    {"DVCSTime", kContent, 2},
    {"Data", "04(01)", 1},
    {"Data", "30(" + kAlg + "04(01))", 2},
    {"Data", "a0(30(a1(04(01))30(a2(02(00)))a0(30(30(06(2a03))))))", 3},
    {"CertEtcToken", "a2(02(00))", 3},
    {"CertEtcToken", "a3(06(2a03)a0(05()))", 4},
    {"CertEtcToken", "a5(80())", 6},
    {"CertEtcToken", "a6(" + kAlg + "04(01)04(02)02(05))", 7},
    {"CertEtcToken", "a7(0a(01))", 8},
    {"CertEtcToken", "a8(30(06(2a03)))", 9},
    {"CertEtcToken", kExtension, 10},
    {"PathProcInput", "30(30(30(06(2a03)))01(ff)80(ff)81(ff))", 0},
    {"DVCSResponse", "a0(30(02(02))82('a'))", 2},
    {"DVCSCertInfo",
     "30(02(01)30(0a(01))30(" + kAlg + "04(01))02(05)" + kTime +
         "a0(02(00))a1(06(2a03))a2()"
         "a3(30(a1(04(01))))30(" +
         kExtension + "))",
     0},
    {"OCSPRequest", "30(30(30())a0(30(" + kAlg + "03(00)a0(30(" + kCert + ")))))", 0},
    {"BasicOCSPResponse",
     "30(30(a2(04(01))" + kTime + "30()a1(30(" + kExtension + ")))" + kAlg + "03(00)a0(30(" +
         kCert + ")))",
     0},
    {"CertEtcToken", "a0(" + kCert.substr(3), 1},
    {"CertEtcToken", "a1(04(01))", 2},
    {"CertEtcToken", "a4(30(" + kAlg + "30()" + kUtc + ")" + kAlg + "03(00))", 5},
};

const Row kManagement[] = {
    // Sorted, but with the tag of a SEQUENCE.
    {"_SetOfAttribute", "30(30(06(2a04)31(05()))" + kAttribute + ")", 0,
     "30(" + kAttribute + "30(06(2a04)31(05())))"},
    {"_SetOfAttribute", "31(" + kAttribute + ")", 0, "-3"},
    {"EnrollmentCSPInfo", "30(02(ff)1e(0041)03(00aa))", 0},
    {"EnrollmentCSPInfo", "30(02(ff)1e(00410042004300440045)03(00aa))", 0},
    {"EnrollmentCSPInfo", "30(02(01)1e()03(00aa))", 0, "-23"},
    {"RsaPrivateKeyCRTComponents", "30(02(00c1)02(05)02(7f)02(00)02(00))", 0},
    {"PKIPublicationInfo", "30(02(7f))", 0},
    {"PKIPublicationInfo_action", "02(01)", 0},
    {"TR34EncryptedData", "30(02(00)30(30()02(05))04(aabb)30(06(2a03)31(04(0102))))", 0},
    {"CertTemplate",
     "30(80(02)81(05)a2(06(2a03))a3(30())a4(a0(" + kUtc + ")a1(" + kTime + "))a5(30())a6(" + kAlg +
         "03(00))87(00)88(00)a9(" + kExtension + "))",
     0},
    {"ProofOfPossession", "80()", 1},
    {"ProofOfPossession", "a1(a0(a0(82('a'))" + kSpki + ")" + kAlg + "03(00))", 2},
    {"ProofOfPossession", "a2(80(00))", 3},
    {"ProofOfPossession", "a3(81(01))", 4},
    {"POPOSigningKeyInput", "30(30(" + kAlg + "03(00))" + kSpki + ")", 0},
    {"POPOPrivKey", "80(00)", 1},
    {"POPOPrivKey", "81(01)", 2},
    {"POPOPrivKey", "82(00)", 3},
    {"POPOPrivKey", "a3(" + kAlg + "03(00))", 4},
    {"PKIArchiveOptions", "a0(30(a0(06(2a03))a1(06(2a03))82(00)a3(06(2a03))84(01)03(00)))", 1},
    {"PKIArchiveOptions", "81(01)", 2},
    {"PKIArchiveOptions", "82(ff)", 3},
    {"PKIPublicationInfo", "30(02(01)30(30(02(02)82('a'))))", 0},
    {"PrivateKeyInfo", "30(02(00)" + kAlg + "04(01)a0(" + kAttribute + "))", 0},
    {"PKIHeader",
     "30(02(02)82('a')82('b')a0(" + kTime + ")a1(" + kAlg +
         ")a2(04(01))a3(04(02))a4(04(03))a5(04(04))"
         "a6(04(05))a7(30(0c('t')))a8(30(30(06(2a03)))))",
     0},
    {"PKIBody", "a0(30(30(30(02(00)30()))))", 1},
    {"PKIBody", "a3(30(30()))", 4},
    {"PKIBody", "a5(30())", 6},
    {"PKIBody", "a6(30(02(05)))", 7},
    {"PKIBody", "a8(30(30()))", 9},
    {"PKIBody", "aa(30(30(02(00))))", 11},
    {"PKIBody", "ab(30(30(30())))", 12},
    {"PKIBody", "ac(30(30(30(02(00)))))", 13},
    {"PKIBody", "b1(30(02(05)30(82('a')02(05))" + kTime + kTime + "))", 18},
    {"PKIBody", "b2(30())", 19},
    {"PKIBody", "b3(05())", 20},
    {"PKIBody", "b6(30())", 23},
    {"PKIBody", "b7(30(30(02(02))02(07)30(0c('t'))))", 24},
    {"PKIBody", "b8(30(30(04(01)02(00)30(02(00)))))", 25},
    {"PKIBody", "ba(30(30(02(00)02(3c)30(0c('t')))))", 27},
    {"CertRepMessage",
     "30(a1(30(" + kCert + "))30(30(02(00)30(02(00))30(a0(" + kCert +
         ")a0(30(03(00)))"
         "a1(30(02(01))))04(01))))",
     0},
    {"KeyRecRepContent",
     "30(30(02(00))a0(" + kCert + ")a1(30(" + kCert + "))a2(30(30(a1(30(03(00)))))))", 0},
    {"RevRepContent", "30(30(30(02(00)))a0(30(30(82('a')02(05))))a1(30(30())))", 0},
    {"OOBCertHash", "30(a0(" + kAlg + ")a1(30(82('a')02(05)))03(00))", 0},
    {"PKIAudit", "30(0a(04)" + kTime + "30(0c('t')))", 0},
    {"PKIAuditType", "0a(05)", 0, "-6"},
    {"KeyBlockAsn1EncodedFormat", "30(02(01)04(01)" + kAlg + "04(02)a0(" + kAttribute + ")04(03))",
     0},
    {"EncryptedPKey", "a0(" + kEnveloped + ")", 2},
    {"POPOPrivKey", "a4(" + kEnveloped + ")", 5},
    {"CertOrEncCert", "a1(30(03(00)))", 2},
    {"PKIMessage", "30(30(02(02)82('a')82('b'))b3(05())a0(03(00))a1(30(" + kCert + ")))", 0},
    {"PKIBody", "a1(30(30()))", 2},
    {"PKIBody", "a2(30(30(30(02(00)30()))))", 3},
    {"PKIBody", "a4(30(30(02(00)30()" + kSpki + "a0())" + kAlg + "03(00)))", 5},
    {"PKIBody", "a7(30(30(30(02(00)30()))))", 8},
    {"PKIBody", "a9(30(30(30(02(00)30()))))", 10},
    {"PKIBody", "ad(30(30(30(02(00)30()))))", 14},
    {"PKIBody", "ae(30(30()))", 15},
    {"PKIBody", "af(30(" + times(3, kCert) + "))", 16},
    {"PKIBody", "b0(" + kCert + ")", 17},
    {"PKIBody", "b4(30(30(30(02(02)82('a')82('b'))b3(05()))))", 21},
    {"PKIBody", "b5(30())", 22},
    {"PKIBody", "b9(30(30(02(00))))", 26},
    {"PCI_HSM_CertificationRequestInfo", "30(02(00)30()" + kSpki + "a0(30(06(2a03)31(05()))))", 0},
    {"EncKeyWithID_identifier", "0c('a')", 1},
    {"EncKeyWithID_identifier", "82('a')", 2},
};

const Row kParameters[] = {
    // Whatever follows is kept in order.
    {"Gost28147_89_BlobParameters", "30(06(2a03)02(05)0c('A')30820000)", 0},
    {"Gost28147_89_BlobParameters", "30(06(2a03))", 0},
    {"Gost28147_89_IV", "04('7 bytes')", 0, "-23"},
    {"Gost28147_89_MAC", "04()", 0, "-23"},
    {"Gost28147_89_MAC", "04(aa)", 0},
    // The checksum of an encrypted key has all of its four bytes.
    {"Gost28147_89_EncryptedKey", "30(04('" + string(32, 'k') + "')04(aabbcc))", 0, "-23"},
    {"Gost28147_89_EncryptedKey",
     "30(04('" + string(32, 'k') + "')80('" + string(32, 'm') + "')04(aabbccdd))", 0},
    {"PBEHalcyonGostParameters", "30(04('8 bytes.')02(05)04('8 bytes.'))", 0},
    {"PBEHalcyonGostParameters", "30(04('" + string(33, 's') + "')02(05)04('8 bytes.'))", 0, "-23"},
    // No iteration at all is no derivation.
    {"PBKDF2_params", "30(04(aa)02(00))", 0, "-23"},
    {"SharedInfo", "30(" + kAlg + "a0(04(01))a2(04(02)))", 0},
    {"OtherInfo", "30(30(06(2a03)04(00000001))a0(04(01))a2(04(02)))", 0},
    {"KeySpecificInfo", "30(06(2a03)04(000001))", 0, "-23"},
    {"AES_IV", "04('15 characters..')", 0, "-23"},
    {"CBCParameter", "04('8 bytes.')", 0},
    {"RC2CBCParameter", "30(02(3a)04(01))", 0},
    {"RsaPubKey", "30(02(00c1)02(03))", 0},
    {"RSAES_OAEP_params", "30(a0(" + kAlg + ")a1(" + kAlg + ")a2(" + kAlg + "))", 0},
    {"RSASSA_PSS_params", "30(a0(" + kAlg + ")a1(" + kAlg + ")a2(02(20))a3(02(01)))", 0},
    {"PBKDF2_params", "30(04(01)02(05)02(20)" + kAlg + ")", 0},
    {"PBKDF2_params", "30(" + kAlg + "02(05))", 0},
    {"PBEParameter", "30(04('7 bytes')02(05))", 0, "-23"},
    {"RC5_CBC_Parameters", "30(02(10)02(0c)02(40)04(01))", 0},
    {"RC5_CBC_Parameters", "30(02(10)02(07)02(40))", 0, "-23"},
    {"DomainParameters", "30(02(07)02(02)02(03)02(01)30(03(00)02(05)))", 0},
    {"EcpkParameters", "30(02(01)30(06(2a03)02(07))30(04(01)04(02)03(00))04(03)02(05)02(01))", 1},
    {"EcpkParameters", "06(2a03)", 2},
    {"EcpkParameters", "05()", 3},
    {"GostR3410_2001_PublicKeyParameters", "30(06(2a03)06(2a04)06(2a05))", 0},
    {"GostR3410_2012_PublicKeyParameters", "30(06(2a03)06(2a04))", 0},
    {"GostR3410_2012_PublicKeyParameters", "30(06(2a03)06(2a04)06(2a05))", 0, "-10"},
    {"AES_IV", "04('8 bytes.')", 0, "-23"},
    {"RC2_CBC_parameter", "30(04('7 bytes'))", 0, "-23"},
    {"RC5_CBC_Parameters", "30(02(10)02(0c)02(20))", 0, "-23"},
    {"GostR3410_TransportParameters", "30(06(2a03)a0(" + kAlg + "03(00))04('8 bytes.'))", 0},
    {"Gost28147_89_UZ", "04('" + string(63, 'u') + "')", 0, "-23"},
    {"Gost28147_89_UZ", "04('" + string(64, 'u') + "')", 0},
    {"PBKDF2_params", "30(04(aa)02(01)02(00))", 0, "-23"},
};

void expect_bytes(const Row& row) {
    const asn1data::TypeEntry* type = find_type(row.type);
    ASSERT_NE(type, nullptr);
    const Bytes bytes = der(row.der);
    Value value(*type);
    const int status = value.decode(bytes);
    const string result = status != 0 ? std::to_string(status) : value.encode().hex();
    const bool told = !row.becomes.empty() && row.becomes[0] != '-';
    EXPECT_EQ(result,
              row.becomes[0] == '-' ? row.becomes : to_hex(told ? der(row.becomes) : bytes));
    if (status == 0 && row.selector != 0) {
        EXPECT_EQ(type->selector(value.record()), row.selector);
    }
}

TEST(TypeBytes, AreThoseOfThePublishedNotation) {
    using Rows = std::span<const Row>;
    for (const Rows rows : {Rows(kExplicitModule), Rows(kImplicitModule), Rows(kAddresses),
                            Rows(kAttributeCertificates), Rows(kMessages), Rows(kSignatureFormats),
                            Rows(kOnlineStatus), Rows(kManagement), Rows(kParameters)}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(string(row.type) + " " + row.der);
            expect_bytes(row);
        }
    }
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
