// One case of the table in C++:  case_runner seal|authenticode URL DATA ROOTS |
// verify STAMP DATA ROOTS [EVIDENCE] | attach STAMP SIGNATURE ROOTS | list LIST DATA ROOTS
// Prints the status and the word, and of a verdict each finding.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string_view>

#include <chronoseal/chronoseal.hpp>

namespace fs = std::filesystem;

namespace {

void print(const chronoseal::Error& error) {
    static const char* const names[] = {"refused", "misuse", "unreachable"};
    std::printf("%s %s\n", names[static_cast<int>(error.category())], error.word().c_str());
}

chronoseal::Trust trust_of(int argc, char** argv) {
    chronoseal::Trust trust{.roots = {fs::path(argv[4])}};
    if (argc > 5) {
        trust.evidence = {fs::path(argv[5])};
    }
    return trust;
}

void print(const chronoseal::Verdict& verdict) {
    static const char* const outcomes[] = {"passed", "failed", "not_done"};
    if (verdict.good()) {
        std::printf("ok good\n");
    } else {
        print(verdict.error());
    }
    for (const chronoseal::Finding& finding : verdict.findings) {
        std::printf("%s %s %s\n", std::string(check_name(finding.check)).c_str(),
                    outcomes[static_cast<int>(finding.outcome)], finding.word.c_str());
    }
}

void seal(int argc, char** argv) {
    chronoseal::SealerOptions options;
    options.authorities = {{.url = argv[2]}};
    options.attempts = 1;
    options.trust = trust_of(argc, argv);
    const chronoseal::Sealer sealer(options);
    sealer.seal(fs::path(argv[3]));
}

void attach(const char* stamp, const char* path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto signature = chronoseal::CmsSignature::read(chronoseal::bytes_of(bytes));
    signature.check(0);
    signature.with_stamp(0, chronoseal::Stamp::read_file(stamp));
}

// Whether the action printed nothing of its own.
bool run(int argc, char** argv) {
    const std::string_view action = argv[1];
    if (action == "verify") {
        const chronoseal::Verifier verifier(trust_of(argc, argv));
        print(verifier.verify_file(chronoseal::Stamp::read_file(argv[2]), argv[3]));
        return false;
    }
    if (action == "seal") {
        seal(argc, argv);
    } else if (action == "authenticode") {
        chronoseal::authenticode(chronoseal::bytes_of(argv[3]),
                                 {.url = argv[2], .trust = trust_of(argc, argv)});
    } else if (action == "attach") {
        attach(argv[2], argv[3]);
    } else {
        chronoseal::read_manifest(argv[2]);
    }
    return true;
}

} // namespace

int main(int argc, char** argv) try {
    if (argc < 5) {
        return 2;
    }
    if (run(argc, argv)) {
        std::printf("ok good\n");
    }
    return 0;
} catch (const chronoseal::Error& error) {
    print(error);
    return 0;
}
