// Verifies a stored stamp for a file with roots of one's own, and prints what each check found:
// verify_stamp FILE STAMP ROOTS.pem
#include <cstdio>

#include <chronoseal/chronoseal.hpp>

namespace {

const char* name_of(chronoseal::Outcome outcome) {
    switch (outcome) {
    case chronoseal::Outcome::passed:
        return "passed";
    case chronoseal::Outcome::failed:
        return "FAILED";
    default:
        return "not done";
    }
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 4) {
        std::fprintf(stderr, "usage: verify_stamp FILE STAMP ROOTS.pem\n");
        return 2;
    }
    const chronoseal::Verifier verifier({.roots = {std::filesystem::path(argv[3])}});
    const auto stamp = chronoseal::Stamp::read_file(argv[2]);
    const auto verdict = verifier.verify_file(stamp, argv[1]);
    for (const auto& finding : verdict.findings) {
        std::printf("%-13s %-9s %s\n", std::string(chronoseal::check_name(finding.check)).c_str(),
                    name_of(finding.outcome), finding.text.c_str());
    }
    if (verdict.good()) {
        std::printf("good, %s\n", chronoseal::utc_text(stamp.time()).c_str());
        return 0;
    }
    std::printf("%s: %s\n", verdict.indeterminate() ? "can't be told" : "not valid",
                verdict.error().what());
    return verdict.indeterminate() ? 3 : 1;
} catch (const chronoseal::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 3;
}
