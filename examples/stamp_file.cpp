// Gets a verified time-stamp for a file:  stamp_file FILE URL OUT [ROOTS.pem]
// Without ROOTS the authority's root must be among the machine's trusted roots.
#include <cstdio>
#include <fstream>

#include <chronoseal/chronoseal.hpp>

int main(int argc, char** argv) try {
    if (argc != 4 && argc != 5) {
        std::fprintf(stderr, "usage: stamp_file FILE URL OUT [ROOTS.pem]\n");
        return 2;
    }
    chronoseal::SealerOptions options;
    options.authorities = {{.url = argv[2]}};
    if (argc == 5) {
        options.trust.roots = {std::filesystem::path(argv[4])};
    }
    // Throws unless the answer fits the request, and its signature and the authority's chain are
    // good.
    const chronoseal::Sealer sealer(options);
    const chronoseal::Stamp stamp = sealer.seal(std::filesystem::path(argv[1]));

    const chronoseal::Bytes& response = stamp.response();
    std::ofstream out(argv[3], std::ios::binary);
    out.write(reinterpret_cast<const char*>(response.data()),
              static_cast<std::streamsize>(response.size()));
    out.close();
    if (!out) {
        std::fprintf(stderr, "can't write %s\n", argv[3]);
        return 3;
    }
    std::printf("stamped at %s\n", chronoseal::utc_text(stamp.time()).c_str());
    return 0;
} catch (const chronoseal::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
