// Writes the evidence record of files that belong together, which only the library makes:
// group_record URL ROOTS OUT FILE...
#include <fstream>
#include <iostream>

#include <chronoseal/evidence.hpp>

int main(int argc, char** argv) {
    if (argc < 5) {
        return 2;
    }
    try {
        chronoseal::SealerOptions options;
        options.authorities = {{.url = argv[1]}};
        options.trust.roots = {std::filesystem::path(argv[2])};
        options.hash = "sha256";
        const chronoseal::Sealer sealer(options);
        std::vector<chronoseal::Digest> group;
        for (int i = 4; i < argc; ++i) {
            group.push_back(sealer.digest_of(argv[i]));
        }
        chronoseal::EvidenceTree tree(sealer.hash());
        tree.add_group(group);
        tree.add(chronoseal::Digest::of(chronoseal::bytes_of("beside it"), sealer.hash()));
        const auto record = tree.record(group, sealer.seal_digest(tree.root()));
        std::ofstream(argv[3], std::ios::binary)
            .write(reinterpret_cast<const char*>(record.der().data()),
                   static_cast<std::streamsize>(record.der().size()));
        return 0;
    } catch (const chronoseal::Error& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
