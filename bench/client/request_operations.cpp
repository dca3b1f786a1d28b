// Requests: from a value in hand to DER, and a new request with a random nonce.
#include <openssl/rand.h>

#include "authority.h"
#include "operation.h"
#include "tasn1_definitions.h"
#include <chronoseal/client/request.h>
#include <chronoseal/core/request.h>

namespace bench {

namespace {

using namespace Halcyon;

constexpr char kSha256Oid[] = "2.16.840.1.101.3.4.2.1";

void encode() {
    PKI::TSP::CRequest value(ASN1::CAlgorithmIdentifierEx(kSha256Oid),
                             CBlob(bytes(digest()), digest().size()), true);
    const ASN1::CBigInteger number(nonce, sizeof(nonce));
    value.put_nonce(&number);
    require(value.encode().cbData() > digest().size(), "request");
}

int encode_by_openssl(const unsigned char* nonce_bytes, unsigned char** out) {
    const Owner<TS_REQ, TS_REQ_free> made(TS_REQ_new());
    const Owner<TS_MSG_IMPRINT, TS_MSG_IMPRINT_free> imprint(TS_MSG_IMPRINT_new());
    const Owner<X509_ALGOR, X509_ALGOR_free> algorithm(X509_ALGOR_new());
    const Owner<ASN1_INTEGER, ASN1_INTEGER_free> number(ASN1_INTEGER_new());
    X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_sha256), V_ASN1_UNDEF, nullptr);
    TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get());
    TS_MSG_IMPRINT_set_msg(imprint.get(), const_cast<unsigned char*>(bytes(digest())), 32);
    ASN1_STRING_set(number.get(), nonce_bytes, sizeof(nonce));
    TS_REQ_set_version(made.get(), 1);
    TS_REQ_set_msg_imprint(made.get(), imprint.get());
    TS_REQ_set_nonce(made.get(), number.get());
    TS_REQ_set_cert_req(made.get(), 1);
    return i2d_TS_REQ(made.get(), out);
}

void encode_with_openssl() {
    unsigned char* out = nullptr;
    require(encode_by_openssl(nonce, &out) > 0, "request");
    OPENSSL_free(out);
}

void encode_with_tasn1() {
    static const unsigned char one = 1;
    const auto node = tasn1::create("TSP.TimeStampReq");
    tasn1::write(node, "version", &one, 1);
    tasn1::write(node, "messageImprint.hashAlgorithm.algorithm", kSha256Oid, 1);
    tasn1::write(node, "messageImprint.hashAlgorithm.parameters", nullptr, 0);
    tasn1::write(node, "messageImprint.hashedMessage", digest().data(), 32);
    tasn1::write(node, "reqPolicy", nullptr, 0);
    tasn1::write(node, "nonce", nonce, sizeof(nonce));
    tasn1::write(node, "certReq", "TRUE", 1);
    tasn1::write(node, "extensions", nullptr, 0);
    require(!tasn1::encode(node).empty(), "request");
}

// As an application does it; the object is kept, so each one is made by a change of the last.
void make() {
    static PKI::TSP::Client::CRequest request;
    static bool certReq = false;
    certReq = !certReq;
    request.put_DataHashAlg(kSha256Oid);
    request.put_DataHash(bytes(digest()), digest().size());
    request.put_CertReq(certReq);
    unsigned char out[128];
    unsigned long size = sizeof(out);
    request.Export(out, &size);
}

void make_with_openssl() {
    unsigned char random[sizeof(nonce)];
    require(RAND_bytes(random, sizeof(random)) == 1, "random numbers");
    unsigned char* out = nullptr;
    require(encode_by_openssl(random, &out) > 0, "request");
    OPENSSL_free(out);
}

} // namespace

void add_request_operations(Operations& operations) {
    operations.push_back({"encode_request", "chronoseal", &encode});
    operations.push_back({"encode_request", "openssl", &encode_with_openssl});
    operations.push_back({"encode_request", "libtasn1", &encode_with_tasn1});
    operations.push_back({"new_request", "chronoseal", &make});
    operations.push_back({"new_request", "openssl", &make_with_openssl});
}

} // namespace bench
