// Verifies a stored response or token with roots of one's own:  verify_token STAMP ROOTS.pem
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "basalt20/surface/chain.h"
#include "basalt20/surface/store.h"
#include "base/atl_exception.h"
#include "client/stamp.h"

using Halcyon::PKI::TSP::Client::CStamp;

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: verify_token STAMP ROOTS.pem\n");
        return 2;
    }
    HCERTSTORE roots = CertOpenStore(CERT_STORE_PROV_FILENAME_A, 0, 0, 0, argv[2]);
    if (roots == nullptr || !BasaltSetTrustAnchors(roots)) {
        std::fprintf(stderr, "can't read %s\n", argv[2]);
        return 2;
    }
    CertCloseStore(roots, 0);

    std::ifstream file(argv[1], std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    CStamp stamp;
    stamp.Import(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), nullptr);

    int code = stamp.Verify(nullptr, nullptr); // the token: signer, content type, signature
    if (code == 0) {
        code = stamp.VerifyCertificate(nullptr, nullptr,
                                       0); // the authority's chain at the stamp's time
    }
    std::printf("%s (0x%08X)\n", code == 0 ? "good" : "not valid", static_cast<unsigned>(code));
    return code == 0 ? 0 : 1;
} catch (const ATL::CAtlException& exception) {
    std::fprintf(stderr, "failed with code 0x%08X\n", static_cast<unsigned>(exception.m_hr));
    return 1;
}
