// One trusted root, one honest token under it: whatever bytes are found good, by signature and
// chain, say what the honest token says. Each input is taken by a new stamp, and by one that has
// verified the honest token before.
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "honest_token.h"
#include "surroundings.h"
#include <basalt/certificate.h>
#include <chronoseal/client/stamp.h>

namespace {

using namespace Halcyon::PKI::TSP::Client;
using fuzzing::code_of;
using fuzzing::require;
using Octets = std::vector<unsigned char>;

Octets bytes_of(std::string_view digits) {
    Octets bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(
            static_cast<unsigned char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

Octets octets(const CStamp& stamp, void (CStamp::*getter)(unsigned char*, unsigned long*) const) {
    unsigned long size = 0;
    (stamp.*getter)(nullptr, &size);
    Octets out(size + 1);
    (stamp.*getter)(out.data(), &size);
    out.resize(size);
    return out;
}

// All that the authority signs and a user reads.
auto claims(const CStamp& stamp) {
    return std::tuple(octets(stamp, &CStamp::get_DataHash), std::string(stamp.get_DataHashAlgOID()),
                      stamp.get_DataHashAlg(), stamp.get_Time().ticks(),
                      octets(stamp, &CStamp::get_SerialNumber), std::string(stamp.get_PolicyID()),
                      stamp.get_Accuracy(), stamp.get_Ordering(), stamp.get_HasNonce(),
                      octets(stamp, &CStamp::get_TSABlob));
}

bool is_good(const CStamp& stamp) {
    bool good = false;
    code_of([&] {
        good = stamp.Verify(nullptr, nullptr) == 0 &&
               stamp.VerifyCertificate(nullptr, nullptr, 0) == 0;
    });
    return good;
}

CStamp honest() {
    const auto token = bytes_of(fuzzing::kHonestToken);
    CStamp stamp;
    stamp.Import(token.data(), token.size(), nullptr);
    require(is_good(stamp));
    return stamp;
}

void trust_the_root() {
    static const bool done = [] {
        fuzzing::isolate();
        const auto root = bytes_of(fuzzing::kTrustedRoot);
        const HCERTSTORE anchors = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
        PCCERT_CONTEXT context = CertCreateCertificateContext(X509_ASN_ENCODING, root.data(),
                                                              static_cast<DWORD>(root.size()));
        require(CertAddCertificateContextToStore(anchors, context, CERT_STORE_ADD_ALWAYS, nullptr));
        CertFreeCertificateContext(context);
        BasaltSetTrustAnchors(anchors);
        return true;
    }();
    require(done);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    trust_the_root();
    static const auto truth = claims(honest());
    CStamp fresh;
    CStamp used = honest();
    require(is_good(used));
    for (CStamp* const stamp : {&fresh, &used}) {
        if (code_of([&] { stamp->Import(data, size, nullptr); }) == 0 && is_good(*stamp)) {
            require(claims(*stamp) == truth);
        }
    }
    return 0;
}
