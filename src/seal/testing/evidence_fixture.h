// For tests of evidence records: stamps over any hash at any time, and records put together by
// hand, without the library's own writer.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <chronoseal/evidence.hpp>
#include <chronoseal/seal/testing/seal_fixture.h>

namespace chronoseal::testing {

using Hashes = std::vector<std::string>;
using tsp::hashed;

inline constexpr char kSha512Oid[] = "2.16.840.1.101.3.4.2.3";

// Of hashes in their order.
inline std::string joined(Hashes hashes, const EVP_MD* algorithm = EVP_sha256()) {
    std::ranges::sort(hashes);
    std::string all;
    for (const std::string& one : hashes) {
        all += one;
    }
    return hashed(all, algorithm);
}

inline std::string tree_text(const std::vector<Hashes>& lists) {
    std::string tree;
    for (const Hashes& list : lists) {
        std::string hashes;
        for (const std::string& hash : list) {
            hashes += tsp::element(0x04, hash);
        }
        tree += tsp::sequence(hashes);
    }
    return tsp::element(0xA2, tree);
}

// An ArchiveTimeStamp; without lists it has no tree.
inline std::string stamp_text(const std::vector<Hashes>& lists, const std::string& token,
                              const char* oid = tsp::kSha256Oid) {
    return tsp::sequence(
        (lists.empty() ? "" : tsp::element(0xA0, tsp::oid(oid)) + tree_text(lists)) + token);
}

inline std::string sequence_text(const std::vector<Hashes>& chains) {
    std::string sequence;
    for (const Hashes& chain : chains) {
        std::string stamps;
        for (const std::string& stamp : chain) {
            stamps += stamp;
        }
        sequence += tsp::sequence(stamps);
    }
    return tsp::sequence(sequence);
}

// A record of these stamps in these chains; `middle` stands between algorithms and chains.
inline std::string record_text(const std::vector<Hashes>& chains,
                               const Hashes& oids = {tsp::kSha256Oid},
                               const std::string& middle = "") {
    std::string algorithms;
    for (const std::string& oid : oids) {
        algorithms += tsp::sequence(tsp::oid(oid));
    }
    return tsp::sequence(tsp::integer("\x01") + tsp::sequence(algorithms) + middle +
                         sequence_text(chains));
}

class EvidenceTest : public SealTest {
protected:
    // "Now" is 2040, whatever the clock says.
    Trust trust() const {
        Trust trust{.roots = {to_bytes(authority.root_der())}};
        trust.as_of = std::chrono::sys_days(std::chrono::year(2040) / 1 / 1);
        return trust;
    }

    std::string token(const std::string& digest, const char* time = "20240601120000Z",
                      const char* oid = tsp::kSha256Oid) const {
        return authority.token(tsp::TstInfo{.digest = digest, .hash_oid = oid, .genTime = time});
    }
    Stamp stamp(const Digest& digest, const char* time = "20240601120000Z") const {
        return Stamp::read(
            to_bytes(token(to_text(digest.value()), time, digest.algorithm().oid().c_str())));
    }
    static EvidenceRecord read(const std::string& text) {
        return EvidenceRecord::read(to_bytes(text));
    }
    EvidenceVerdict verify(const EvidenceRecord& record, const std::string& data = "data") const {
        return EvidenceVerifier(trust()).verify(record, bytes_of(data));
    }
    EvidenceVerdict verify(const std::string& record, const std::string& data = "data") const {
        return verify(read(record), data);
    }
    // The word of what is wrong; empty: nothing.
    template <class Record>
    std::string fault(const Record& record, const std::string& data = "data") const {
        const auto failure = verify(record, data).failure;
        return failure ? failure->word() : "";
    }

    const HashAlgorithm sha256 = HashAlgorithm::by_name("sha256");
    const HashAlgorithm sha512 = HashAlgorithm::by_name("sha512");
    tsp::Authority authority;
};

} // namespace chronoseal::testing
