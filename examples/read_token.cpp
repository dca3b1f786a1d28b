// Prints what a stored response or token holds, without verifying anything:  read_token STAMP
#include <cstdio>

#include <chronoseal/chronoseal.hpp>

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fprintf(stderr, "usage: read_token STAMP\n");
        return 2;
    }
    const auto stamp = chronoseal::Stamp::read_file(argv[1]);
    if (!stamp.has_token()) {
        std::printf("refused: %s\n", stamp.info().status_name.c_str());
        return 1;
    }
    const chronoseal::TokenInfo& token = *stamp.info().token;
    std::printf("time      %s, here %s\n", chronoseal::utc_text(token.time).c_str(),
                chronoseal::local_text(token.time).c_str());
    std::printf("policy    %s\n", token.policy.c_str());
    std::printf("hash      %s (%s)\n", token.imprint_algorithm.name.c_str(),
                token.imprint_algorithm.oid.c_str());
    std::printf("digest    %s\n", chronoseal::to_hex(token.imprint).c_str());
    std::printf("authority %s\n", chronoseal::quote_foreign(token.authority).c_str());
    for (const auto& certificate : token.certificates) {
        std::printf("with      %s\n", chronoseal::quote_foreign(certificate.subject).c_str());
    }
    return 0;
} catch (const chronoseal::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
