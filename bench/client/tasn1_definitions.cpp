// The definitions are text that libtasn1 reads from a file, so they are put into a temporary one.
#include "tasn1_definitions.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

#include "operation.h"

namespace tasn1 {

namespace {

const char kDefinitions[] = R"(TSP { }
DEFINITIONS IMPLICIT TAGS ::= BEGIN
AlgorithmIdentifier ::= SEQUENCE {
  algorithm OBJECT IDENTIFIER, parameters ANY DEFINED BY algorithm OPTIONAL }
AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }
RelativeDistinguishedName ::= SET OF AttributeTypeAndValue
RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
Name ::= CHOICE { rdnSequence RDNSequence }
Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }
Validity ::= SEQUENCE { notBefore Time, notAfter Time }
SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
Extension ::= SEQUENCE {
  extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE, extnValue OCTET STRING }
Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
TBSCertificate ::= SEQUENCE {
  version [0] EXPLICIT INTEGER DEFAULT 0, serialNumber INTEGER, signature AlgorithmIdentifier,
  issuer Name, validity Validity, subject Name, subjectPublicKeyInfo SubjectPublicKeyInfo,
  issuerUniqueID [1] IMPLICIT BIT STRING OPTIONAL,
  subjectUniqueID [2] IMPLICIT BIT STRING OPTIONAL, extensions [3] EXPLICIT Extensions OPTIONAL }
Certificate ::= SEQUENCE {
  tbsCertificate TBSCertificate, signatureAlgorithm AlgorithmIdentifier, signature BIT STRING }
Attribute ::= SEQUENCE { type OBJECT IDENTIFIER, values SET OF ANY }
IssuerAndSerialNumber ::= SEQUENCE { issuer Name, serialNumber INTEGER }
Attributes ::= SET SIZE (1..MAX) OF Attribute
SignerInfo ::= SEQUENCE {
  version INTEGER, sid IssuerAndSerialNumber, digestAlgorithm AlgorithmIdentifier,
  signedAttrs [0] IMPLICIT Attributes OPTIONAL, signatureAlgorithm AlgorithmIdentifier,
  signature OCTET STRING, unsignedAttrs [1] IMPLICIT Attributes OPTIONAL }
EncapsulatedContentInfo ::= SEQUENCE {
  eContentType OBJECT IDENTIFIER, eContent [0] EXPLICIT OCTET STRING OPTIONAL }
DigestAlgorithmIdentifiers ::= SET OF AlgorithmIdentifier
CertificateSet ::= SET OF Certificate
SignerInfos ::= SET OF SignerInfo
SignedData ::= SEQUENCE {
  version INTEGER, digestAlgorithms DigestAlgorithmIdentifiers,
  encapContentInfo EncapsulatedContentInfo, certificates [0] IMPLICIT CertificateSet OPTIONAL,
  signerInfos SignerInfos }
SignedMessage ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT SignedData }
FreeText ::= SEQUENCE SIZE (1..MAX) OF UTF8String
StatusInfo ::= SEQUENCE {
  status INTEGER, statusString FreeText OPTIONAL, failInfo BIT STRING OPTIONAL }
TimeStampResp ::= SEQUENCE { status StatusInfo, timeStampToken SignedMessage OPTIONAL }
MessageImprint ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier, hashedMessage OCTET STRING }
TimeStampReq ::= SEQUENCE {
  version INTEGER, messageImprint MessageImprint, reqPolicy OBJECT IDENTIFIER OPTIONAL,
  nonce INTEGER OPTIONAL, certReq BOOLEAN DEFAULT FALSE,
  extensions [0] IMPLICIT Extensions OPTIONAL }
Accuracy ::= SEQUENCE {
  seconds INTEGER OPTIONAL, millis [0] INTEGER OPTIONAL, micros [1] INTEGER OPTIONAL }
GeneralName ::= CHOICE { directoryName [4] EXPLICIT Name }
TSTInfo ::= SEQUENCE {
  version INTEGER, policy OBJECT IDENTIFIER, messageImprint MessageImprint, serialNumber INTEGER,
  genTime GeneralizedTime, accuracy Accuracy OPTIONAL, ordering BOOLEAN DEFAULT FALSE,
  nonce INTEGER OPTIONAL, tsa [0] EXPLICIT GeneralName OPTIONAL,
  extensions [1] IMPLICIT Extensions OPTIONAL }
END
)";

asn1_node load() {
    std::string path = "tsp_definitions_XXXXXX";
    const char* const folder = std::getenv("TMPDIR");
    path.insert(0, std::string(folder ? folder : P_tmpdir) + '/');
    const int descriptor = ::mkstemp(path.data());
    bench::require(descriptor >= 0, "temporary file");
    const bool written =
        ::write(descriptor, kDefinitions, sizeof(kDefinitions) - 1) == sizeof(kDefinitions) - 1;
    ::close(descriptor);
    asn1_node tree = nullptr;
    char message[ASN1_MAX_ERROR_DESCRIPTION_SIZE] = "";
    const bool parsed = written && asn1_parser2tree(path.c_str(), &tree, message) == ASN1_SUCCESS;
    ::unlink(path.c_str());
    bench::require(parsed, message);
    return tree;
}

} // namespace

Node create(const char* type) {
    static const asn1_node tree = load();
    asn1_node node = nullptr;
    bench::require(asn1_create_element(tree, type, &node) == ASN1_SUCCESS, type);
    return Node(node);
}

Node decode(const char* type, const void* data, std::size_t size) {
    auto* node = create(type).release();
    const bool good =
        asn1_der_decoding(&node, data, static_cast<int>(size), nullptr) == ASN1_SUCCESS;
    bench::require(good, type);
    return Node(node);
}

std::string read(const Node& node, const char* field) {
    char buffer[1024];
    int size = sizeof(buffer);
    bench::require(asn1_read_value(node.get(), field, buffer, &size) == ASN1_SUCCESS, field);
    return {buffer, static_cast<std::size_t>(size)};
}

void write(const Node& node, const char* field, const void* data, int size) {
    bench::require(asn1_write_value(node.get(), field, data, size) == ASN1_SUCCESS, field);
}

std::string encode(const Node& node) {
    char buffer[1024];
    int size = sizeof(buffer);
    bench::require(asn1_der_coding(node.get(), "", buffer, &size, nullptr) == ASN1_SUCCESS,
                   "encoding");
    return {buffer, static_cast<std::size_t>(size)};
}

} // namespace tasn1
