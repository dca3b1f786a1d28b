// Stamps all files of a folder over four connections, by two authorities of which the second is
// asked where the first one fails:  stamp_folder FOLDER URL URL ROOTS.pem
// Writes FILE.tsr beside each file that has none yet.
#include <cstdio>
#include <fstream>
#include <set>

#include <chronoseal/chronoseal.hpp>

namespace fs = std::filesystem;

int main(int argc, char** argv) try {
    if (argc != 5) {
        std::fprintf(stderr, "usage: stamp_folder FOLDER URL URL ROOTS.pem\n");
        return 2;
    }
    chronoseal::SealerOptions options;
    options.authorities = {{.url = argv[2]}, {.url = argv[3]}};
    options.trust.roots = {fs::path(argv[4])};
    const chronoseal::Sealer sealer(options);

    std::set<fs::path> files;
    for (const auto& entry : fs::directory_iterator(argv[1])) {
        if (entry.is_regular_file() && entry.path().extension() != ".tsr" &&
            !fs::exists(entry.path().string() + ".tsr")) {
            files.insert(entry.path());
        }
    }
    int unwritten = 0; // `done` is called by one thread at a time
    const auto done = [&](const chronoseal::BatchResult& result) {
        const std::string name = std::get<fs::path>(result.item).string();
        if (result.error) {
            std::fprintf(stderr, "%s: %s\n", chronoseal::quote_foreign(name).c_str(),
                         result.error->what());
            return;
        }
        const chronoseal::Stamp& stamp = result.stamps.front();
        std::ofstream out(name + ".tsr", std::ios::binary);
        out.write(reinterpret_cast<const char*>(stamp.response().data()),
                  static_cast<std::streamsize>(stamp.response().size()));
        out.close();
        if (!out) {
            ++unwritten;
            std::fprintf(stderr, "can't write %s.tsr\n", chronoseal::quote_foreign(name).c_str());
            return;
        }
        std::printf("%s: %s by %s\n", chronoseal::quote_foreign(name).c_str(),
                    chronoseal::utc_text(stamp.time()).c_str(), stamp.authority().c_str());
    };
    const auto summary = sealer.seal_range(files, done, 4);
    std::printf("%llu stamped, %llu failed\n", static_cast<unsigned long long>(summary.stamped),
                static_cast<unsigned long long>(summary.failed));
    return summary.failed == 0 && unwritten == 0 ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 3;
}
