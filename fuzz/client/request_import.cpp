// A request of any bytes: what is taken is given back as it came, has the fields that OpenSSL's
// reader sees, or there is a reason that openssl_view.h names; and made anew it is a request that
// OpenSSL reads with the same values.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <openssl/err.h>
#include <openssl/ts.h>

#include "openssl_view.h"
#include "surroundings.h"
#include <chronoseal/client/request.h>

namespace {

using namespace Halcyon::PKI::TSP::Client;
using fuzzing::code_of;
using fuzzing::require;
using Octets = std::vector<unsigned char>;

struct FreeRequest {
    void operator()(TS_REQ* request) const { TS_REQ_free(request); }
};
using TheirRequest = std::unique_ptr<TS_REQ, FreeRequest>;

Octets exported(CRequest& request) {
    unsigned long size = 0;
    request.Export(nullptr, &size);
    Octets out(size + 1);
    request.Export(out.data(), &size);
    out.resize(size);
    return out;
}

TheirRequest read_there(const Octets& bytes) {
    const auto* at = bytes.data();
    return TheirRequest(d2i_TS_REQ(nullptr, &at, static_cast<long>(bytes.size())));
}

void compare(const CRequest& ours, TS_REQ* theirs) {
    auto* const imprint = TS_REQ_get_msg_imprint(theirs);
    const ASN1_OBJECT* algorithm = nullptr;
    X509_ALGOR_get0(&algorithm, nullptr, nullptr, TS_MSG_IMPRINT_get_algo(imprint));
    require(fuzzing::is_same(ours.get_DataHashAlgOID(), algorithm));
    auto* const policy = TS_REQ_get_policy_id(theirs);
    const std::string our_policy = ours.get_PolicyID();
    require(policy != nullptr ? fuzzing::is_same(our_policy, policy) : our_policy.empty());
    require(ours.get_UseNonce() == (TS_REQ_get_nonce(theirs) != nullptr));
    require(ours.get_CertReq() == (TS_REQ_get_cert_req(theirs) != 0));
    unsigned long size = 0;
    if (code_of([&] { ours.get_DataHash(nullptr, &size); }) == 0) {
        Octets hash(size + 1);
        ours.get_DataHash(hash.data(), &size);
        hash.resize(size);
        const auto* expected = TS_MSG_IMPRINT_get_msg(imprint);
        const auto* data = ASN1_STRING_get0_data(expected);
        require(hash == Octets(data, data + ASN1_STRING_length(expected)));
    }
}

void make_anew(const CRequest& imported) {
    CRequest fresh(imported);
    fresh.put_CertReq(!fresh.get_CertReq());
    Octets bytes;
    if (code_of([&] { bytes = exported(fresh); }) != 0) {
        return;
    }
    const auto theirs = read_there(bytes);
    require(theirs != nullptr);
    compare(fresh, theirs.get());
    CRequest again;
    again.Import(bytes.data(), bytes.size());
    require(exported(again) == bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    fuzzing::isolate();
    Octets bytes(data, data + size);
    CRequest request;
    if (code_of([&] { request.Import(bytes.data(), bytes.size()); }) != 0) {
        return 0;
    }
    require(exported(request) == bytes);
    ERR_clear_error();
    if (const auto theirs = read_there(bytes)) {
        compare(request, theirs.get());
    } else {
        require(fuzzing::is_named_reason());
    }
    ERR_clear_error();
    make_anew(request);
    return 0;
}
