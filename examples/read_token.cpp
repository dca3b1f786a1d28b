// Prints the fields of a stored response or token, without verifying anything:  read_token STAMP
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "base/atl_exception.h"
#include "client/stamp.h"

using Halcyon::PKI::TSP::Client::CStamp;

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fprintf(stderr, "usage: read_token STAMP\n");
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    CStamp stamp;
    stamp.Import(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), nullptr);

    std::printf("time      %s\n", stamp.get_Time().tostring().c_str());
    std::printf("policy    %s\n", stamp.get_PolicyID());
    std::printf("hash      %s\n", stamp.get_DataHashAlgOID());
    std::printf("authority %ls\n", stamp.get_TSA());
    unsigned long size = 0;
    stamp.get_DataHash(nullptr, &size);
    std::vector<unsigned char> digest(size);
    stamp.get_DataHash(digest.data(), &size);
    std::printf("digest    ");
    for (const unsigned char byte : digest) {
        std::printf("%02x", byte);
    }
    std::printf("\n");
    return 0;
} catch (const ATL::CAtlException& exception) {
    std::fprintf(stderr, "failed with code 0x%08X\n", static_cast<unsigned>(exception.m_hr));
    return 1;
}
