// libtasn1 takes its definitions from a file, so they are written to a temporary one.
#include "tasn1_codec.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <libtasn1.h>
#include <unistd.h>

namespace tasn1_codec {
namespace {

// Certificates, lists and signed data in the notation that libtasn1 reads. Open values stay open,
// as libtasn1 doesn't know what to do with them.
const char* const definitions = R"(PKIX { }
DEFINITIONS IMPLICIT TAGS ::= BEGIN
AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY DEFINED BY algorithm OPTIONAL }
AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }
RelativeDistinguishedName ::= SET OF AttributeTypeAndValue
RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
Name ::= CHOICE { rdnSequence RDNSequence }
Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }
Validity ::= SEQUENCE { notBefore Time, notAfter Time }
SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE, extnValue OCTET STRING }
Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
TBSCertificate ::= SEQUENCE {
  version [0] EXPLICIT INTEGER DEFAULT 0, serialNumber INTEGER, signature AlgorithmIdentifier, issuer Name,
  validity Validity, subject Name, subjectPublicKeyInfo SubjectPublicKeyInfo,
  issuerUniqueID [1] IMPLICIT BIT STRING OPTIONAL, subjectUniqueID [2] IMPLICIT BIT STRING OPTIONAL,
  extensions [3] EXPLICIT Extensions OPTIONAL }
Certificate ::= SEQUENCE { tbsCertificate TBSCertificate, signatureAlgorithm AlgorithmIdentifier, signature BIT STRING }
RevokedCertificate ::= SEQUENCE { userCertificate INTEGER, revocationDate Time, crlEntryExtensions Extensions OPTIONAL }
TBSCertList ::= SEQUENCE {
  version INTEGER OPTIONAL, signature AlgorithmIdentifier, issuer Name, thisUpdate Time, nextUpdate Time OPTIONAL,
  revokedCertificates SEQUENCE OF RevokedCertificate OPTIONAL, crlExtensions [0] EXPLICIT Extensions OPTIONAL }
CertificateList ::= SEQUENCE { tbsCertList TBSCertList, signatureAlgorithm AlgorithmIdentifier, signature BIT STRING }
Attribute ::= SEQUENCE { type OBJECT IDENTIFIER, values SET OF ANY }
IssuerAndSerialNumber ::= SEQUENCE { issuer Name, serialNumber INTEGER }
SignerInfo ::= SEQUENCE {
  version INTEGER, sid IssuerAndSerialNumber, digestAlgorithm AlgorithmIdentifier,
  signedAttrs [0] IMPLICIT SignedAttributes OPTIONAL, signatureAlgorithm AlgorithmIdentifier, signature OCTET STRING,
  unsignedAttrs [1] IMPLICIT SignedAttributes OPTIONAL }
SignedAttributes ::= SET SIZE (1..MAX) OF Attribute
EncapsulatedContentInfo ::= SEQUENCE { eContentType OBJECT IDENTIFIER, eContent [0] EXPLICIT OCTET STRING OPTIONAL }
DigestAlgorithmIdentifiers ::= SET OF AlgorithmIdentifier
CertificateSet ::= SET OF Certificate
CertificateRevocationLists ::= SET OF CertificateList
SignerInfos ::= SET OF SignerInfo
SignedData ::= SEQUENCE {
  version INTEGER, digestAlgorithms DigestAlgorithmIdentifiers, encapContentInfo EncapsulatedContentInfo,
  certificates [0] IMPLICIT CertificateSet OPTIONAL, crls [1] IMPLICIT CertificateRevocationLists OPTIONAL,
  signerInfos SignerInfos }
SignedMessage ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT SignedData }
END
)";

[[noreturn]] void fail(const char* what, int code) {
    std::fprintf(stderr, "libtasn1: %s: %s\n", what, asn1_strerror(code));
    std::abort();
}

asn1_node load() {
    std::string path = (std::filesystem::temp_directory_path() / "tasn1_XXXXXX").string();
    const int descriptor = mkstemp(path.data());
    std::FILE* file = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
    if (file == nullptr)
        fail("temporary file", ASN1_FILE_NOT_FOUND);
    std::fputs(definitions, file);
    std::fclose(file);
    asn1_node tree = nullptr;
    char message[ASN1_MAX_ERROR_DESCRIPTION_SIZE] = "";
    const int code = asn1_parser2tree(path.c_str(), &tree, message);
    unlink(path.c_str());
    if (code != ASN1_SUCCESS)
        fail(message, code);
    return tree;
}

} // namespace

int recode(const char* type, const std::vector<unsigned char>& bytes,
           std::vector<unsigned char>& scratch) {
    static const asn1_node tree = load();
    asn1_node element = nullptr;
    int code = asn1_create_element(tree, type, &element);
    if (code != ASN1_SUCCESS)
        fail("create", code);
    code = asn1_der_decoding(&element, bytes.data(), static_cast<int>(bytes.size()), nullptr);
    if (code != ASN1_SUCCESS)
        fail("decode", code);
    scratch.resize(bytes.size() + 16);
    int size = static_cast<int>(scratch.size());
    code = asn1_der_coding(element, "", scratch.data(), &size, nullptr);
    if (code != ASN1_SUCCESS)
        fail("encode", code);
    asn1_delete_structure(&element);
    return size;
}

} // namespace tasn1_codec
