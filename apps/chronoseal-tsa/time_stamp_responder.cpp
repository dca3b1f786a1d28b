#include "time_stamp_responder.h"

#include <openssl/bn.h>
#include <openssl/err.h>

namespace tsa {

namespace {

struct FreeStack {
    void operator()(STACK_OF(X509) * stack) const noexcept { sk_X509_free(stack); }
};
// The stack alone: its certificates stay their owners'.
using CertificateStackPtr = std::unique_ptr<STACK_OF(X509), FreeStack>;

// A random positive number of 16 bytes: unique without a counter to keep.
ASN1_INTEGER* random_serial(TS_RESP_CTX*, void*) {
    const std::unique_ptr<BIGNUM, Releaser<BN_free>> number(BN_new());
    if (!number || BN_rand(number.get(), 127, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) != 1) {
        return nullptr;
    }
    return BN_to_ASN1_INTEGER(number.get(), nullptr);
}

void add_policies(TS_RESP_CTX* context, const std::vector<std::string>& policies) {
    bool first = true;
    for (const std::string& text : policies) {
        const ObjectPtr policy(require_made(OBJ_txt2obj(text.c_str(), 1), "bad policy OID"));
        require((first ? TS_RESP_CTX_set_def_policy(context, policy.get())
                       : TS_RESP_CTX_add_policy(context, policy.get())) == 1,
                "can't set a policy");
        first = false;
    }
}

void add_imprints(TS_RESP_CTX* context, const std::vector<std::string>& imprints) {
    for (const std::string& name : imprints) {
        const EVP_MD* digest =
            require_made(EVP_get_digestbyname(openssl_name(name).c_str()), name.c_str());
        require(TS_RESP_CTX_add_md(context, digest) == 1, "can't add a digest");
    }
}

std::string serial_text(const ASN1_INTEGER* serial) {
    const std::unique_ptr<BIGNUM, Releaser<BN_free>> number(ASN1_INTEGER_to_BN(serial, nullptr));
    char* digits = number ? BN_bn2hex(number.get()) : nullptr;
    const std::string text = digits != nullptr ? digits : "?";
    OPENSSL_free(digits);
    return "0x" + text;
}

std::string outcome_of(TS_RESP* response) {
    if (TS_TST_INFO* info = TS_RESP_get_tst_info(response)) {
        return "granted " + serial_text(TS_TST_INFO_get_serial(info));
    }
    constexpr struct {
        int bit;
        const char* name;
    } kFailures[] = {{0, "badAlg"},
                     {2, "badRequest"},
                     {5, "badDataFormat"},
                     {14, "timeNotAvailable"},
                     {15, "unacceptedPolicy"},
                     {16, "unacceptedExtension"},
                     {17, "addInfoNotAvailable"},
                     {25, "systemFailure"}};
    std::string text = "rejection";
    const ASN1_BIT_STRING* bits =
        TS_STATUS_INFO_get0_failure_info(TS_RESP_get_status_info(response));
    for (const auto& failure : kFailures) {
        if (bits != nullptr && ASN1_BIT_STRING_get_bit(bits, failure.bit) == 1) {
            text += std::string(" ") + failure.name;
        }
    }
    return text;
}

} // namespace

TimeStampResponder::TimeStampResponder(const Identity& identity, const ResponderOptions& options)
    : context_(require_made(TS_RESP_CTX_new(), "can't make a responder")) {
    TS_RESP_CTX* context = context_.get();
    TS_RESP_CTX_set_serial_cb(context, random_serial, nullptr);
    // With a chain in the context the root goes into the token beside the signer when certReq is
    // set.
    const CertificateStackPtr chain(sk_X509_new_null());
    require(chain && sk_X509_push(chain.get(), identity.root.get()) > 0, "can't make a chain");
    require(TS_RESP_CTX_set_signer_cert(context, identity.certificate.get()) == 1 &&
                TS_RESP_CTX_set_signer_key(context, identity.key.get()) == 1 &&
                TS_RESP_CTX_set_certs(context, chain.get()) == 1 &&
                TS_RESP_CTX_set_signer_digest(context, EVP_sha256()) == 1 &&
                TS_RESP_CTX_set_ess_cert_id_digest(context,
                                                   options.ess_v1 ? EVP_sha1() : EVP_sha256()) == 1,
            "can't set the signer");
    add_policies(context, options.policies);
    add_imprints(context, options.imprints);
    if (options.accuracy) {
        require(TS_RESP_CTX_set_accuracy(context, options.accuracy->seconds,
                                         options.accuracy->millis, options.accuracy->micros) == 1,
                "can't set the accuracy");
    }
    if (options.tsa_name) {
        TS_RESP_CTX_add_flags(context, TS_TSA_NAME);
    }
    if (options.ordering) {
        TS_RESP_CTX_add_flags(context, TS_ORDERING);
    }
}

Answer TimeStampResponder::respond(const std::string& request) {
    const BioPtr in(require_made(BIO_new_mem_buf(request.data(), static_cast<int>(request.size())),
                                 "out of memory"));
    const ResponsePtr response(
        require_made(TS_RESP_create_response(context_.get(), in.get()), "can't make an answer"));
    // What made a refusal stays in OpenSSL's queue otherwise.
    ERR_clear_error();
    unsigned char* der = nullptr;
    const int size = i2d_TS_RESP(response.get(), &der);
    require(size > 0, "can't encode an answer");
    std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return {std::move(bytes), outcome_of(response.get())};
}

} // namespace tsa
