// What the front door makes of any bytes: it names them and reads the stamps in them, and no
// verdict without trust is good.
#include <cstdint>
#include <cstdlib>

#include <chronoseal/chronoseal.hpp>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Judges without the network and without a root that could be anybody's.
const chronoseal::Verifier& verifier() {
    static const chronoseal::Verifier shared([] {
        chronoseal::Trust trust;
        trust.revocation = chronoseal::Revocation::off;
        trust.offline = true;
        return trust;
    }());
    return shared;
}

void look_at(const chronoseal::Stamp& stamp) {
    const auto verdict = verifier().verify_token(stamp);
    require(verdict.findings.size() == chronoseal::kChecks);
    for (std::size_t i = 0; i < chronoseal::kChecks; ++i) {
        const auto& finding = verdict.findings[i];
        require(finding.check == static_cast<chronoseal::Check>(i) && !finding.word.empty());
        // Nothing foreign gets into a finding as it came.
        require(finding.text.find('\x1b') == std::string::npos);
    }
    require(!verdict.good());
    if (stamp.has_token()) {
        const auto again = chronoseal::Stamp::read(stamp.as_response());
        require(again.token() == stamp.token() && again.time() == stamp.time());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ::setenv("BASALT_CONFIG", "/dev/null", 1);
    ::setenv("BASALT_SYSTEM_ROOTS", "/dev/null", 1);
    ::setenv("BASALT_USER_STORES", "/nonexistent", 1);
    ::setenv("BASALT_MACHINE_STORES", "/nonexistent", 1);
    const auto found = chronoseal::inspect(std::as_bytes(std::span(data, size)));
    require(!found.description.empty());
    if (found.stamp) {
        look_at(*found.stamp);
    }
    for (const auto& embedded : found.stamps) {
        look_at(embedded.stamp);
    }
    return 0;
}
