// Gets a verified time-stamp for a file:  stamp_file FILE URL OUT
// The authority's root must be among the machine's trusted roots.
#include <cstdio>
#include <fstream>
#include <vector>

#include "base/atl_exception.h"
#include "client/request.h"
#include "client/stamp.h"

using Halcyon::PKI::TSP::Client::CRequest;
using Halcyon::PKI::TSP::Client::CStamp;

int main(int argc, char** argv) try {
    if (argc != 4) {
        std::fprintf(stderr, "usage: stamp_file FILE URL OUT\n");
        return 2;
    }
    CRequest request;
    request.put_DataHashAlg("2.16.840.1.101.3.4.2.1"); // SHA-256
    request.put_CertReq(true);
    const std::string url = argv[2];
    request.put_TSAAddress(std::wstring(url.begin(), url.end()).c_str());

    std::ifstream file(argv[1], std::ios::binary);
    std::vector<char> piece(1 << 16);
    while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())) ||
           file.gcount() > 0) {
        request.AddData(reinterpret_cast<const unsigned char*>(piece.data()),
                        static_cast<unsigned long>(file.gcount()));
    }

    // Throws unless the answer fits the request, and its signature and the authority's chain are
    // good.
    const CStamp& stamp = request.Send(true);
    std::printf("stamped at %s\n", stamp.get_Time().tostring().c_str());

    unsigned long size = 0;
    stamp.Export(nullptr, &size);
    std::vector<unsigned char> token(size);
    stamp.Export(token.data(), &size);
    std::ofstream(argv[3], std::ios::binary)
        .write(reinterpret_cast<const char*>(token.data()), static_cast<std::streamsize>(size));
    return 0;
} catch (const ATL::CAtlException& exception) {
    std::fprintf(stderr, "failed with code 0x%08X\n", static_cast<unsigned>(exception.m_hr));
    return 1;
}
