// The same as verify_stamp, by the given interface:  verify_token FILE STAMP ROOTS.pem
// A token binds whatever has its hash: compare get_DataHash with the data's own hash first.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include <basalt/chain.h>
#include <basalt/store.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/request.h>
#include <chronoseal/client/stamp.h>

using Halcyon::PKI::TSP::Client::CStamp;

namespace {

using Halcyon::PKI::TSP::Client::CRequest;

std::vector<char> read(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// By a request, which is never sent.
std::vector<unsigned char> hash_of(const std::vector<char>& data, const char* algorithm) {
    CRequest request;
    request.put_DataHashAlg(algorithm);
    request.AddData(reinterpret_cast<const unsigned char*>(data.data()), data.size());
    unsigned long size = 0;
    request.get_DataHash(nullptr, &size);
    std::vector<unsigned char> hash(size);
    request.get_DataHash(hash.data(), &size);
    return hash;
}

std::vector<unsigned char> hash_in(const CStamp& stamp) {
    unsigned long size = 0;
    stamp.get_DataHash(nullptr, &size);
    std::vector<unsigned char> hash(size);
    stamp.get_DataHash(hash.data(), &size);
    return hash;
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 4) {
        std::fprintf(stderr, "usage: verify_token FILE STAMP ROOTS.pem\n");
        return 2;
    }
    HCERTSTORE roots = CertOpenStore(CERT_STORE_PROV_FILENAME_A, 0, 0, 0, argv[3]);
    if (roots == nullptr || !BasaltSetTrustAnchors(roots)) {
        std::fprintf(stderr, "can't read %s\n", argv[3]);
        return 2;
    }
    CertCloseStore(roots, 0);

    const std::vector<char> bytes = read(argv[2]);
    CStamp stamp;
    stamp.Import(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), nullptr);

    if (hash_of(read(argv[1]), stamp.get_DataHashAlgOID()) != hash_in(stamp)) {
        std::printf("not valid: the stamp belongs to other data\n");
        return 1;
    }
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
