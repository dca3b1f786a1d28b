// What the front door makes of any bytes as an evidence record: what is read comes out again byte
// for byte, and without trust no verdict is good.
#include <cstdint>
#include <cstdlib>

#include <chronoseal/evidence.hpp>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Judges without the network and without a root that could be anybody's.
const chronoseal::EvidenceVerifier& verifier() {
    static const chronoseal::EvidenceVerifier shared([] {
        chronoseal::Trust trust;
        trust.revocation = chronoseal::Revocation::off;
        trust.offline = true;
        return trust;
    }());
    return shared;
}

void look_at(const chronoseal::EvidenceRecord& record) {
    const auto& stamps = record.info().stamps;
    require(!stamps.empty());
    const auto verdict = verifier().verify(record, chronoseal::bytes_of("data"));
    require(!verdict.good() && !verdict.failure->word().empty());
    require(verdict.failure->text().find('\x1b') == std::string::npos);
    require(!verifier().verify_record(record).good());
}

void renew(const chronoseal::EvidenceRecord& record) {
    const auto algorithm = record.renewal_algorithm();
    chronoseal::StampRenewal renewal(algorithm);
    renewal.add(record);
    require(renewal.digest().algorithm() == algorithm);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ::setenv("BASALT_CONFIG", "/dev/null", 1);
    ::setenv("BASALT_SYSTEM_ROOTS", "/dev/null", 1);
    ::setenv("BASALT_USER_STORES", "/nonexistent", 1);
    ::setenv("BASALT_MACHINE_STORES", "/nonexistent", 1);
    try {
        const auto record = chronoseal::EvidenceRecord::read(std::as_bytes(std::span(data, size)));
        require(chronoseal::EvidenceRecord::read(record.der()) == record);
        look_at(record);
        renew(record);
    } catch (const chronoseal::Error& error) {
        require(!error.word().empty());
    }
    return 0;
}
