// The parts of an evidence record, read from its DER and put together again. All hashes of a record
// are over encodings, so every part is kept as it came: the views lead into the record's own bytes,
// which have to stay.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <chronoseal/evidence.hpp>

namespace chronoseal {

inline constexpr std::size_t kMostRecordBytes = std::size_t{256} << 20;
inline constexpr std::size_t kMostStamps = 1000;
inline constexpr std::size_t kMostLists = 64;
inline constexpr std::size_t kMostHashes = 1'000'000; // of one list

using HashList = std::vector<ByteView>;

struct ArchiveStamp {
    ByteView der;
    ByteView algorithm;  // the content of [0] digestAlgorithm; empty: absent
    ByteView attributes; // the element; empty: absent
    std::vector<HashList> tree;
    ByteView token;
};

struct ArchiveChain {
    ByteView der;
    std::vector<ArchiveStamp> stamps; // one at least
};

struct RecordParts {
    ByteView algorithms;              // the element digestAlgorithms
    ByteView crypto_infos;            // the elements; empty: absent
    ByteView encryption_info;         //
    std::vector<ArchiveChain> chains; // one at least
};

// Throws `record_malformed` for all that isn't the DER of a record, and `record_too_large`.
RecordParts read_parts(ByteView der);

// An AlgorithmIdentifier of a hash without parameters.
Bytes hash_identifier(const std::string& oid);
// A PartialHashtree, behind what is there.
void append_list(Bytes& target, std::span<const ByteView> hashes);
// An ArchiveTimeStamp; without lists it is over one hash, and has no tree. `attributes` may be
// empty.
Bytes stamp_der(ByteView algorithm, ByteView attributes, const std::vector<HashList>& tree,
                ByteView token);
Bytes chain_der(const std::vector<ByteView>& stamps);
// ArchiveTimeStampSequence: what a chain of a new hash is over.
Bytes sequence_der(const std::vector<ByteView>& chains);
Bytes record_der(const RecordParts& frame, const std::vector<ByteView>& chains);
// The element digestAlgorithms with this one at its end, unless it is there.
Bytes with_algorithm(ByteView algorithms, const std::string& oid);

// The dotted OIDs of the element digestAlgorithms.
std::vector<AlgorithmInfo> algorithms_in(ByteView element);
// Of the content of an AlgorithmIdentifier.
AlgorithmInfo algorithm_in(ByteView content);

struct EvidenceRecord::Content {
    Bytes der;
    RecordParts parts;
    EvidenceInfo info;
};

// The inside of a record, for the parts of this floor that make and judge records.
struct RecordAccess {
    using Content = EvidenceRecord::Content;

    static const Content& of(const EvidenceRecord& record) { return *record.content_; }
    static const RecordParts& parts(const EvidenceRecord& record) { return record.content_->parts; }
    // Reads DER of ours or others, the tokens and the lengths of the hashes included.
    static EvidenceRecord make(Bytes der);
    // The stamps of the last chain, as indices into `info().stamps`.
    static std::size_t first_of_last_chain(const EvidenceRecord& record);
};

} // namespace chronoseal
